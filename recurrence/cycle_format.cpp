#include "zds/recurrence/cycle_format.h"

#include <array>
#include <cctype>
#include <climits>
#include <cstdio>

namespace zds {

namespace {

constexpr std::array<const char*, 5> kTypeNames = {"day", "week", "month", "year", "self-defined"};
constexpr std::array<const char*, 3> kEventNames = {"sequence", "absolute_day", "absolute_week"};
constexpr std::array<const char*, 3> kRangeNames = {"notstop", "numlimited", "timelimited"};
constexpr std::array<const char*, 3> kStatusNames = {"virtual", "real", "delete"};

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

// Index of `word` in `names`, compared case-blind; -1 when absent.
template <size_t N>
int IndexOfName(const std::array<const char*, N>& names, std::string_view word) {
  for (size_t i = 0; i < N; ++i) {
    if (EqualsNoCase(names[i], word)) return static_cast<int>(i);
  }
  return -1;
}

template <size_t N>
std::string NameOf(const std::array<const char*, N>& names, int index) {
  return index >= 0 && static_cast<size_t>(index) < N ? names[static_cast<size_t>(index)] : "";
}

// atoi's reading (blanks, sign, leading digits, else 0), saturating instead
// of overflowing on absurd digit runs.
int ReadNumber(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  long long value = 0;
  for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
    value = value * 10 + (text[i] - '0');
    if (value > static_cast<long long>(INT_MAX) + 1) value = static_cast<long long>(INT_MAX) + 1;
  }
  if (negative) value = -value;
  if (value > INT_MAX) return INT_MAX;
  return static_cast<int>(value);
}

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
  if (int kind = IndexOfName(kTypeNames, name); kind >= 0) type.type = kind;
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
  if (int kind = IndexOfName(kEventNames, name); kind >= 0) event.type = kind;
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
  if (int kind = IndexOfName(kRangeNames, name); kind >= 0) range.type = kind;
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
      if (int status = IndexOfName(kStatusNames, values[i]); status >= 0) map.status = status;
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
