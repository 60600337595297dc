// How a document family's fields are spelled in its elements.
//
// The stored formats are full of deliberate quirks: a flag compared exactly
// beside one compared without regard to case in the same record, atoi here
// and atol there, priority words mapped differently by each family, a value
// written only when it is one of its words, fields written only while
// another field holds, a time kept as text. Each quirk is a named codec,
// chosen where the field is declared, and a family's element is a list:
//
//   static constexpr auto kRecFields = field::List(         // the schedule entry's, in part
//       field::Of("subject", &CScheduleExtendRec::subject),
//       field::Of("priority", &CScheduleExtendRec::priority, kSchedulePriorityWords),
//       field::Of("IsTimer", &CScheduleExtendRec::is_timer, field::kFlagExact),
//       field::When(&CScheduleExtendRec::is_timer, field::Of("TimerID", &CScheduleExtendRec::timer_id)),
//       field::ChildLines("variable", &CScheduleExtendRec::variables, kVariableFields));
//
// The list is written in its order: attributes onto the element's line,
// child lines after it. Reading takes the attributes first (in one pass,
// whatever their order in the file), then the groups and child lines in the
// list's order, so a condition reads the value its field was just given.
// A codec reads an attribute's text (empty when the attribute is absent)
// into a field, and writes the field back or asks for the attribute to be
// left out. Child element codecs are in field_lines.h.

#ifndef ZDS_FRAMEWORK_FIELD_CODEC_H_
#define ZDS_FRAMEWORK_FIELD_CODEC_H_

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "zds/framework/xml_line.h"
#include "zds/platform/ascii.h"
#include "zds/platform/time.h"

namespace zds::field {

// The C library's decimal readers: leading blanks, a sign, the leading
// digits; no digits reads as 0. Both stop at the 32-bit range the stored
// formats were written with (their int and long were both 32 bits).
int32_t ParseAtoi(std::string_view text);
inline int32_t ParseAtol(std::string_view text) { return ParseAtoi(text); }
std::string FormatInt(int64_t value);  // "%d"
// "%0*d": at least `digits` digits, zeros in front ("0007").
std::string FormatPadded(int64_t value, int digits);

enum class Case { kExact, kIgnore };
inline bool SameText(std::string_view a, std::string_view b, Case match) {
  return match == Case::kExact ? a == b : platform::SameIgnoringAsciiCase(a, b);
}

// ---- codecs of one value ----

// Text as stored.
struct TextCodec {
  void Read(std::string text, std::string& value) const { value = std::move(text); }
  bool Write(const std::string& value, std::string& text) const {
    text = value;
    return true;
  }
};
// Text that is left out when empty.
struct TextUnlessEmptyCodec {
  void Read(std::string text, std::string& value) const { value = std::move(text); }
  bool Write(const std::string& value, std::string& text) const {
    text = value;
    return !value.empty();
  }
};

// A flag written `yes` or `no`. What reads as true is `yes`, exactly or in
// any case; anything else, absence included, reads as false. A flag that
// is OnlyWhenSet is left out while false ("guid_isPermaLink", "Cycle").
struct FlagCodec {
  std::string_view yes = "yes";
  std::string_view no = "no";
  Case match = Case::kExact;
  bool only_when_set = false;

  constexpr FlagCodec IgnoringCase() const {
    FlagCodec flag = *this;
    flag.match = Case::kIgnore;
    return flag;
  }
  constexpr FlagCodec OnlyWhenSet() const {
    FlagCodec flag = *this;
    flag.only_when_set = true;
    return flag;
  }
  void Read(std::string_view text, bool& value) const { value = SameText(text, yes, match); }
  bool Write(bool value, std::string& text) const {
    text = value ? yes : no;
    return value || !only_when_set;
  }
};
// A flag of other words: "html" for true, "text" for false.
constexpr FlagCodec Flag(std::string_view yes, std::string_view no) { return FlagCodec{yes, no}; }

// Integers written with "%d"; named by the reader the format was kept with.
struct AtoiCodec {
  void Read(std::string_view text, int32_t& value) const { value = ParseAtoi(text); }
  bool Write(int32_t value, std::string& text) const {
    text = FormatInt(value);
    return true;
  }
};
struct AtolCodec {
  void Read(std::string_view text, int32_t& value) const { value = ParseAtol(text); }
  bool Write(int32_t value, std::string& text) const { return AtoiCodec{}.Write(value, text); }
};
// An integer written with "%d" and read with atoi, but for the empty text
// (the attribute absent included), which reads as `when_empty` (a count
// that is not known: -1).
struct AtoiOrCodec {
  int32_t when_empty;
  void Read(std::string_view text, int32_t& value) const { value = text.empty() ? when_empty : ParseAtoi(text); }
  bool Write(int32_t value, std::string& text) const { return AtoiCodec{}.Write(value, text); }
};
constexpr AtoiOrCodec AtoiOr(int32_t when_empty) { return {when_empty}; }
// An integer written with at least `digits` digits ("%04d"), read with atoi.
struct PaddedCodec {
  int digits;
  void Read(std::string_view text, int32_t& value) const { value = ParseAtoi(text); }
  bool Write(int32_t value, std::string& text) const {
    text = FormatPadded(value, digits);
    return true;
  }
};

// A time kept as text in one of the store's patterns (platform/time.h);
// text that does not parse reads as the time 0. LeftOutWhenUnset writes
// nothing for the time 0.
struct TimeTextCodec {
  const char* pattern;
  bool left_out_when_unset = false;

  constexpr TimeTextCodec LeftOutWhenUnset() const { return {pattern, true}; }
  void Read(std::string_view text, CTime& value, LocalTimeCache* cache = nullptr) const {
    value = ParseDateTime(text, cache);
  }
  bool Write(const CTime& value, std::string& text) const {
    if (left_out_when_unset && value.GetTime() == 0) return false;
    text = value.Format(pattern);
    return true;
  }
};

// A window's rectangle: left, top, right, bottom.
using IntRect = std::array<int32_t, 4>;
// Four integers written "%d,%d,%d,%d" and found by a comma search that
// takes a failed search as position -1: the second piece runs from the
// first comma to the next, the third from the second to the next, the last
// from the third to the end, where a negative length is empty text and a
// negative start counts from 0. So "1,2,3,4" reads as 1, 2, 3, 4, "10,20"
// as 10, 0, 10, 20 (the third search starts over from the front), and "7"
// as 0, 0, 0, 7. Each piece reads like atoi.
struct RectTextCodec {
  void Read(std::string_view text, IntRect& value) const;
  bool Write(const IntRect& value, std::string& text) const;
};

inline constexpr TextCodec kText;
inline constexpr TextUnlessEmptyCodec kTextUnlessEmpty;
inline constexpr FlagCodec kFlagExact;                              // "yes" exactly
inline constexpr FlagCodec kFlagNoCase = kFlagExact.IgnoringCase();  // "yes" in any case
inline constexpr FlagCodec kFlagWhenSet = kFlagExact.OnlyWhenSet();  // "yes" exactly, left out while false
inline constexpr AtoiCodec kAtoi;
inline constexpr AtolCodec kAtol;
inline constexpr PaddedCodec kFourDigits{4};
inline constexpr RectTextCodec kRect;

// ---- word tables ----

struct Word {
  int value;
  std::string_view word;
};
// What a word table does with what it does not know. By default a word is
// matched exactly, an unknown word leaves the field as it was, and a value
// without a word is not written; each call below changes one of the three.
struct WordPolicy {
  Case match = Case::kExact;
  std::optional<int> unknown_reads_as;
  std::optional<std::string_view> unknown_writes_as;

  constexpr WordPolicy IgnoringCase() const {
    WordPolicy policy = *this;
    policy.match = Case::kIgnore;
    return policy;
  }
  constexpr WordPolicy ReadingUnknownAs(int value) const {
    WordPolicy policy = *this;
    policy.unknown_reads_as = value;
    return policy;
  }
  constexpr WordPolicy WritingUnknownAs(std::string_view word) const {
    WordPolicy policy = *this;
    policy.unknown_writes_as = word;
    return policy;
  }
};
inline constexpr WordPolicy kWords{};

// One step of a reading that is a sequence of tests rather than a look-up:
// when the text is `word` the field becomes `value`, else `otherwise` (when
// given) or it stays as it was. Later steps overwrite earlier ones.
struct Test {
  constexpr Test(std::string_view word, int value) : word(word), value(value) {}
  constexpr Test(std::string_view word, int value, int otherwise) : word(word), value(value), otherwise(otherwise) {}

  std::string_view word;
  int value;
  std::optional<int> otherwise;
  Case match = Case::kExact;

  constexpr Test IgnoringCase() const {
    Test test = *this;
    test.match = Case::kIgnore;
    return test;
  }
  void Apply(std::string_view text, int& field) const {
    if (SameText(text, word, match)) field = value;
    else if (otherwise) field = *otherwise;
  }
};

// An integer field kept as one of a few words.
template <size_t N>
struct WordsCodec {
  WordPolicy policy;
  std::array<Word, N> words;

  // The value of a word, or nothing for a word not in the table.
  constexpr std::optional<int> ValueOf(std::string_view text) const {
    for (const Word& entry : words) {
      if (SameText(entry.word, text, policy.match)) return entry.value;
    }
    return std::nullopt;
  }
  // The word of a value, or what the policy writes for any other value.
  constexpr std::optional<std::string_view> WordOf(int value) const {
    for (const Word& entry : words) {
      if (entry.value == value) return entry.word;
    }
    return policy.unknown_writes_as;
  }
  void Read(std::string_view text, int& value) const {
    if (std::optional<int> known = ValueOf(text)) value = *known;
    else if (policy.unknown_reads_as) value = *policy.unknown_reads_as;
  }
  bool Write(int value, std::string& text) const {
    std::optional<std::string_view> word = WordOf(value);
    if (word) text = *word;
    return word.has_value();
  }

  // The same words written, but read by its own tests, in their order.
  template <size_t M>
  struct ReadByTests {
    WordsCodec writer;
    std::array<Test, M> tests;
    void Read(std::string_view text, int& value) const {
      for (const Test& test : tests) test.Apply(text, value);
    }
    bool Write(int value, std::string& text) const { return writer.Write(value, text); }
  };
  template <typename... Tests>
  constexpr ReadByTests<sizeof...(Tests)> ReadingBy(Tests... tests) const {
    return {*this, {Test(tests)...}};
  }
};

template <typename... Words>
constexpr WordsCodec<sizeof...(Words)> MakeWords(WordPolicy policy, Words... words) {
  return {policy, {Word(words)...}};
}

// ---- codecs that look at another field of the same owner ----

// A time written in the pattern a flag of its owner chooses: `when_set`
// while the flag holds, `otherwise` else. The field that Decides() also
// sets the flag when read: it holds when the text has no blank, that is
// for a date without a time of day (an all-day entry's "begin").
template <typename Owner>
struct TimeChosenByCodec {
  bool Owner::*flag;
  const char* when_set;
  const char* otherwise;
  bool decides = false;

  constexpr TimeChosenByCodec Decides() const {
    TimeChosenByCodec codec = *this;
    codec.decides = true;
    return codec;
  }
  void Read(std::string_view text, CTime& value, Owner& owner, LocalTimeCache* cache) const {
    if (decides) owner.*flag = text.find(' ') == std::string_view::npos;
    value = ParseDateTime(text, cache);
  }
  bool Write(const CTime& value, const Owner& owner, std::string& text) const {
    text = value.Format(owner.*flag ? when_set : otherwise);
    return true;
  }
};
template <typename Owner>
constexpr TimeChosenByCodec<Owner> TimeChosenBy(bool Owner::*flag, const char* when_set, const char* otherwise) {
  return {flag, when_set, otherwise};
}

// ---- the items of a list ----

// The attribute `name` is the member `member` of the owner, through `codec`.
// ReadFrom reads it from an attribute of another name than it is written
// with (a channel item's "downloaded" is looked up as "Downloaded", and
// the two never meet: names are compared exactly).
template <typename Owner, typename Member, typename Codec>
struct Field {
  static constexpr bool kAttribute = true;
  std::string_view name;
  Member Owner::*member;
  Codec codec;
  std::string_view read_name = name;

  constexpr Field ReadFrom(std::string_view other) const {
    Field field = *this;
    field.read_name = other;
    return field;
  }

  // Codecs of text take the decoded value; the others look at it in place.
  static constexpr bool kInPlace = requires(const Codec& c, std::string_view text, Member& value) {
    c.Read(text, value);
  };
  // Codecs of times convert through the load's cache.
  static constexpr bool kTimed = requires(const Codec& c, std::string_view text, Member& value,
                                          LocalTimeCache* cache) { c.Read(text, value, cache); };
  // Codecs that look at the rest of the owner.
  static constexpr bool kOwned = requires(const Codec& c, std::string_view text, Member& value, Owner& owner,
                                          LocalTimeCache* cache) { c.Read(text, value, owner, cache); };

  void Read(CXMLElementReader& item, size_t index, Owner& owner) const {
    if constexpr (kOwned) {
      std::string scratch;
      codec.Read(item.GetAttrTextAt(index, scratch), owner.*member, owner, item.GetTimeCache());
    } else if constexpr (kInPlace) {
      std::string scratch;
      const std::string_view text = item.GetAttrTextAt(index, scratch);
      if constexpr (kTimed) codec.Read(text, owner.*member, item.GetTimeCache());
      else codec.Read(text, owner.*member);
    } else {
      codec.Read(item.GetAttrValueAt(index), owner.*member);
    }
  }
  void ReadAbsent(Owner& owner) const {
    if constexpr (kOwned) {
      codec.Read(std::string_view(), owner.*member, owner, nullptr);
    } else if constexpr (kInPlace) {
      codec.Read(std::string_view(), owner.*member);
    } else {
      codec.Read(std::string(), owner.*member);
    }
  }
  void Write(const Owner& owner, CXMLLine& line) const {
    std::string text;
    bool written;
    if constexpr (kOwned) written = codec.Write(owner.*member, owner, text);
    else written = codec.Write(owner.*member, text);
    if (written) line.AddAttribute(name, text);
  }
};

template <typename Owner, typename Member, typename Codec = TextCodec>
constexpr Field<Owner, Member, Codec> Of(std::string_view name, Member Owner::*member, Codec codec = {}) {
  return {name, member, codec, name};
}

// An attribute that carries nothing: always written as `text`, and taken
// when read so that it does not come back among the unknown attributes.
struct Fixed {
  static constexpr bool kAttribute = true;
  std::string_view name;
  std::string_view text;
  std::string_view read_name = name;

  template <typename Owner>
  void Read(CXMLElementReader& item, size_t index, Owner&) const {
    std::string scratch;
    item.GetAttrTextAt(index, scratch);
  }
  template <typename Owner>
  void ReadAbsent(Owner&) const {}
  template <typename Owner>
  void Write(const Owner&, CXMLLine& line) const { line.AddAttribute(name, text); }
};

// The fields of one element, written in the order they are listed. The
// attributes are read as they come, each looked for among the fields from
// the one after the last found: a file written in the listed order is read
// in one pass. A field the element lacks reads the empty text. Only the
// first of two attributes of one name is taken; the other stays unread,
// kept with the node. Then the other items (groups, nested parts, child
// lines) read in the list's order.
template <typename... Items>
class FieldList {
  static constexpr size_t kCount = sizeof...(Items);
  static constexpr std::array<bool, kCount + 1> kIsAttribute = {Items::kAttribute..., false};
  static constexpr size_t kAttributeCount = (size_t{0} + ... + size_t{Items::kAttribute});
  // The places of the attribute items among all items.
  static constexpr std::array<size_t, kAttributeCount> kAttributeItem = [] {
    std::array<size_t, kAttributeCount> places{};
    size_t next = 0;
    for (size_t i = 0; i < kCount; ++i) {
      if (kIsAttribute[i]) places[next++] = i;
    }
    return places;
  }();

 public:
  static constexpr bool kAttribute = false;

  constexpr explicit FieldList(Items... items)
      : items_(items...), names_(NamesOf(items_, std::make_index_sequence<kAttributeCount>())) {}

  // A record without a closing line is refused (read returns false, and
  // the family's record stays in the file without being loaded).
  constexpr FieldList RequiringClosingLine() const {
    FieldList list = *this;
    list.requires_closing_line_ = true;
    return list;
  }

  // False only for an element the list refuses.
  template <typename Owner>
  bool Read(CXMLElementReader& item, Owner& owner) const {
    if (requires_closing_line_ && !item.HasClosingLine()) return false;
    if constexpr (kAttributeCount > 0) ReadAttributes(item, owner);
    if constexpr (kAttributeCount < kCount) {
      std::apply([&](const auto&... each) { (ReadRestOf(each, item, owner), ...); }, items_);
    }
    return true;
  }
  template <typename Owner>
  void Write(const Owner& owner, CXMLLine& line, std::vector<std::string>& lines) const {
    std::apply([&](const auto&... each) { (WriteOne(each, owner, line, lines), ...); }, items_);
  }
  template <typename Owner>
  void Write(const Owner& owner, CXMLLine& line) const {
    std::vector<std::string> none;
    Write(owner, line, none);
  }
  // As an item of another list (a group's fields): read after its attributes.
  template <typename Owner>
  void ReadRest(CXMLElementReader& item, Owner& owner) const {
    Read(item, owner);
  }

 private:
  template <typename Owner>
  void ReadAttributes(CXMLElementReader& item, Owner& owner) const {
    static constexpr auto kReaders = Readers<Owner>(std::make_index_sequence<kAttributeCount>());
    bool seen[kAttributeCount] = {};
    size_t next = 0;
    for (size_t i = 0; i < item.GetAttrCount(); ++i) {
      if (item.IsAttrRead(i)) continue;
      const std::string_view name = item.GetAttrName(i);
      for (size_t k = 0; k < kAttributeCount; ++k) {
        const size_t f = next + k < kAttributeCount ? next + k : next + k - kAttributeCount;
        if (!SameName(names_[f], name)) continue;
        if (!seen[f]) {
          seen[f] = true;
          kReaders[f](items_, &item, i, owner);
        }
        next = f + 1 < kAttributeCount ? f + 1 : 0;
        break;
      }
    }
    for (size_t f = 0; f < kAttributeCount; ++f) {
      if (!seen[f]) kReaders[f](items_, nullptr, 0, owner);
    }
  }
  template <typename Item, typename Owner>
  static void ReadRestOf(const Item& each, CXMLElementReader& item, Owner& owner) {
    if constexpr (!Item::kAttribute) each.ReadRest(item, owner);
  }
  template <typename Item, typename Owner>
  static void WriteOne(const Item& each, const Owner& owner, CXMLLine& line, std::vector<std::string>& lines) {
    if constexpr (Item::kAttribute) each.Write(owner, line);
    else each.Write(owner, line, lines);
  }

  // Each attribute's reader by its place, so that a field found by name is
  // read through one table look-up: attribute slot S from attribute
  // `index` of `item`, or as absent without an item.
  template <typename Owner>
  using Reader = void (*)(const std::tuple<Items...>&, CXMLElementReader*, size_t, Owner&);
  template <typename Owner, size_t S>
  static void ReadOne(const std::tuple<Items...>& items, CXMLElementReader* item, size_t index, Owner& owner) {
    const auto& field = std::get<kAttributeItem[S]>(items);
    if (item) field.Read(*item, index, owner);
    else field.ReadAbsent(owner);
  }
  template <typename Owner, size_t... S>
  static constexpr std::array<Reader<Owner>, kAttributeCount> Readers(std::index_sequence<S...>) {
    return {&ReadOne<Owner, S>...};
  }
  template <size_t... S>
  static constexpr std::array<std::string_view, kAttributeCount> NamesOf(const std::tuple<Items...>& items,
                                                                         std::index_sequence<S...>) {
    return {std::get<kAttributeItem[S]>(items).read_name...};
  }
  static bool SameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && (a.empty() || (a[0] == b[0] && std::memcmp(a.data(), b.data(), a.size()) == 0));
  }

  std::tuple<Items...> items_;
  std::array<std::string_view, kAttributeCount> names_;
  bool requires_closing_line_ = false;
};

template <typename... Items>
constexpr FieldList<Items...> List(Items... items) {
  return FieldList<Items...>(items...);
}

// Items written only while a flag of the owner holds ("MapID" and
// "MapType" only when "Map" is "yes"), and read only then, after the flag.
// WrittenWhen reads them whatever the flag says.
template <typename Owner, typename Items>
struct Group {
  static constexpr bool kAttribute = false;
  bool Owner::*flag;
  Items items;
  bool read_always = false;

  void ReadRest(CXMLElementReader& item, Owner& owner) const {
    if (read_always || owner.*flag) items.Read(item, owner);
  }
  void Write(const Owner& owner, CXMLLine& line, std::vector<std::string>& lines) const {
    if (owner.*flag) items.Write(owner, line, lines);
  }
};
template <typename Owner, typename... Items>
constexpr Group<Owner, FieldList<Items...>> When(bool Owner::*flag, Items... items) {
  return {flag, FieldList<Items...>(items...)};
}
template <typename Owner, typename... Items>
constexpr Group<Owner, FieldList<Items...>> WrittenWhen(bool Owner::*flag, Items... items) {
  return {flag, FieldList<Items...>(items...), true};
}

// The fields of a part the owner holds (a contact's address and its typing)
// written on the same element, after the items before it.
template <typename Owner, typename Part, typename Items>
struct Nested {
  static constexpr bool kAttribute = false;
  Part Owner::*part;
  Items items;

  void ReadRest(CXMLElementReader& item, Owner& owner) const { items.Read(item, owner.*part); }
  void Write(const Owner& owner, CXMLLine& line, std::vector<std::string>& lines) const {
    items.Write(owner.*part, line, lines);
  }
};
template <typename Owner, typename Part, typename... Items>
constexpr Nested<Owner, Part, FieldList<Items...>> PartOf(Part Owner::*part, FieldList<Items...> items) {
  return {part, items};
}

}  // namespace zds::field

#endif  // ZDS_FRAMEWORK_FIELD_CODEC_H_
