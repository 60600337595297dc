#include "zds/recurrence/cycle_format.h"

#include <cstdio>

#include "zds/framework/field_codec.h"
#include "zds/platform/ascii.h"

namespace zds {

namespace {

// The names of the kinds, matched case-blind; an unknown name leaves the
// kind as it was, and a kind without a name is written as an empty name.
constexpr auto kNames = field::kWords.IgnoringCase().WritingUnknownAs("");
constexpr auto kTypeNames = field::MakeWords(kNames, field::Word{kCycleDay, "day"}, field::Word{kCycleWeek, "week"},
                                             field::Word{kCycleMonth, "month"}, field::Word{kCycleYear, "year"},
                                             field::Word{kCycleSelfDefined, "self-defined"});
constexpr auto kEventNames =
    field::MakeWords(kNames, field::Word{kEventSequence, "sequence"}, field::Word{kEventAbsoluteDay, "absolute_day"},
                     field::Word{kEventAbsoluteWeek, "absolute_week"});
constexpr auto kRangeNames =
    field::MakeWords(kNames, field::Word{kRangeNotStop, "notstop"}, field::Word{kRangeNumLimited, "numlimited"},
                     field::Word{kRangeTimeLimited, "timelimited"});
constexpr auto kStatusNames = field::MakeWords(kNames, field::Word{kMapVirtual, "virtual"},
                                               field::Word{kMapReal, "real"}, field::Word{kMapDelete, "delete"});

template <typename Words>
std::string NameOf(const Words& words, int value) {
  return std::string(words.WordOf(value).value_or(""));
}

bool EqualsNoCase(std::string_view a, std::string_view b) { return platform::SameIgnoringAsciiCase(a, b); }

// atoi's reading: blanks, a sign, the leading digits, else 0.
int ReadNumber(std::string_view text) { return field::ParseAtoi(text); }

std::string WriteNumber(int value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%02d", value);
  return buffer;
}

std::string WriteTime(CTime time) { return time.Format(kTimeFormatMinutes); }

// Splits `text` at the first ':'; the part before it is returned and `text`
// keeps what follows.
std::string_view TakeField(std::string_view& text) {
  size_t colon = text.find(':');
  std::string_view field = text.substr(0, colon);
  text = colon == std::string_view::npos ? std::string_view() : text.substr(colon + 1);
  return field;
}

void ReadAbsoluteDay(std::string_view value, CCycleEvent& event) {
  std::string text(value);
  text += ':';
  std::string_view rest = text;
  event.day1 = ReadNumber(TakeField(rest));
  event.day2 = ReadNumber(TakeField(rest));
  event.day3 = ReadNumber(TakeField(rest));
}

void ReadAbsoluteWeek(std::string_view value, CCycleEvent& event) {
  std::string text(value);
  text += ':';
  std::string_view rest = text;
  // Stored rules have always read all three week numbers from the first
  // field; files written since depend on that reading.
  event.week1 = ReadNumber(TakeField(rest));
  event.week2 = event.week1;
  event.week3 = event.week1;
}

std::string WriteDate(int a, int b, int c) { return WriteNumber(a) + ":" + WriteNumber(b) + ":" + WriteNumber(c); }

}  // namespace

int CCycleFormat::Analyse(std::string_view text, std::string& name, std::vector<std::string>& keys,
                          std::vector<std::string>& values) {
  std::string work(text);
  work += ';';
  size_t cut = work.find(';');
  name = work.substr(0, cut);
  std::string_view rest = std::string_view(work).substr(cut + 1);
  for (size_t end = rest.find(';'); end != std::string_view::npos; end = rest.find(';')) {
    std::string_view piece = rest.substr(0, end);
    size_t equals = piece.find('=');
    keys.emplace_back(equals == std::string_view::npos ? std::string_view() : piece.substr(0, equals));
    values.emplace_back(equals == std::string_view::npos ? piece : piece.substr(equals + 1));
    rest = rest.substr(end + 1);
  }
  return 1;
}

int CCycleFormat::Compose(const std::string& name, const std::vector<std::string>& keys,
                          const std::vector<std::string>& values, std::string& text) {
  text = name;
  for (size_t i = 0; i < keys.size() && i < values.size(); ++i) text += ";" + keys[i] + "=" + values[i];
  return 1;
}

int CCycleFormat::AnalyseCycleType(std::string_view text, CCycleType& type) {
  std::string name;
  std::vector<std::string> keys, values;
  Analyse(text, name, keys, values);
  kTypeNames.Read(name, type.type);
  for (size_t i = 0; i < keys.size(); ++i) {
    if (EqualsNoCase(keys[i], "multiple")) type.multiple = ReadNumber(values[i]);
    else if (EqualsNoCase(keys[i], "length")) type.length = ReadNumber(values[i]);
    else if (EqualsNoCase(keys[i], "from")) type.from = ParseDateTime(values[i]);
    else if (EqualsNoCase(keys[i], "workday")) type.workday = EqualsNoCase(values[i], "yes") ? 1 : 0;
  }
  return 1;
}

int CCycleFormat::ComposeCycleType(const CCycleType& type, std::string& text) {
  return Compose(NameOf(kTypeNames, type.type), {"multiple", "length", "from", "workday"},
                 {WriteNumber(type.multiple), WriteNumber(type.length), WriteTime(type.from),
                  type.workday != 0 ? "yes" : "no"},
                 text);
}

int CCycleFormat::AnalyseCycleEvent(std::string_view text, CCycleEvent& event) {
  std::string name;
  std::vector<std::string> keys, values;
  Analyse(text, name, keys, values);
  kEventNames.Read(name, event.type);
  for (size_t i = 0; i < keys.size(); ++i) {
    if (EqualsNoCase(keys[i], "number")) event.number = values[i];
    else if (EqualsNoCase(keys[i], "from")) event.from = ParseDateTime(values[i]);
    else if (EqualsNoCase(keys[i], "to")) event.to = ParseDateTime(values[i]);
    else if (EqualsNoCase(keys[i], "date") && event.type == kEventAbsoluteDay) ReadAbsoluteDay(values[i], event);
    else if (EqualsNoCase(keys[i], "date") && event.type == kEventAbsoluteWeek) ReadAbsoluteWeek(values[i], event);
  }
  return 1;
}

int CCycleFormat::ComposeCycleEvent(const CCycleEvent& event, std::string& text) {
  // The mask is always written: an absent key would read back as the
  // default mask "1", so an empty one ("no day") would turn into Sundays.
  std::vector<std::string> keys{"number"}, values{event.number};
  std::string date;
  if (event.type == kEventAbsoluteDay) date = WriteDate(event.day1, event.day2, event.day3);
  if (event.type == kEventAbsoluteWeek) date = WriteDate(event.week1, event.week2, event.week3);
  keys.insert(keys.end(), {"from", "to", "date"});
  values.insert(values.end(), {WriteTime(event.from), WriteTime(event.to), date});
  return Compose(NameOf(kEventNames, event.type), keys, values, text);
}

int CCycleFormat::AnalyseCycleRange(std::string_view text, CCycleRange& range) {
  std::string name;
  std::vector<std::string> keys, values;
  Analyse(text, name, keys, values);
  kRangeNames.Read(name, range.type);
  for (size_t i = 0; i < keys.size(); ++i) {
    if (EqualsNoCase(keys[i], "number")) range.number = ReadNumber(values[i]);
    else if (EqualsNoCase(keys[i], "from")) range.from = ParseDateTime(values[i]);
    else if (EqualsNoCase(keys[i], "to") && range.type == kRangeTimeLimited) range.to = ParseDateTime(values[i]);
  }
  return 1;
}

int CCycleFormat::ComposeCycleRange(const CCycleRange& range, std::string& text) {
  return Compose(NameOf(kRangeNames, range.type), {"number", "from", "to"},
                 {WriteNumber(range.number), WriteTime(range.from), WriteTime(range.to)}, text);
}

int CCycleFormat::AnalyseCycleMap(std::string_view text, CCycleMap& map) {
  std::string name;
  std::vector<std::string> keys, values;
  Analyse(text, name, keys, values);
  map.number = ReadNumber(name);
  for (size_t i = 0; i < keys.size(); ++i) {
    if (EqualsNoCase(keys[i], "status")) {
      kStatusNames.Read(values[i], map.status);
    } else if (EqualsNoCase(keys[i], "from")) {
      map.from = ParseDateTime(values[i]);
    } else if (EqualsNoCase(keys[i], "to")) {
      map.to = ParseDateTime(values[i]);
    } else if (EqualsNoCase(keys[i], "event")) {
      map.event = values[i];
    }
  }
  return 1;
}

int CCycleFormat::ComposeCycleMap(const CCycleMap& map, std::string& text) {
  return Compose(WriteNumber(map.number), {"status", "from", "to", "event"},
                 {NameOf(kStatusNames, map.status), WriteTime(map.from), WriteTime(map.to), map.event}, text);
}

}  // namespace zds
