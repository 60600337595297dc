// How a document family's fields are spelled in its elements' attributes.
//
// The stored formats are full of deliberate quirks: a flag compared exactly
// beside one compared without regard to case in the same record, atoi here
// and atol there, priority words mapped differently by each family, a value
// written only when it is one of its words, a time kept as text. Each quirk
// is a named codec, chosen where the field is declared:
//
//   constexpr auto kFields = field::List(
//       field::Of("newflag", &CAEventExtendRec::new_flag, field::kFlagExact),
//       field::Of("status", &CAEventExtendRec::status, field::kAtoi),
//       field::Of("priority", &CAEventExtendRec::priority, kPriorityWords));
//   kFields.Read(item, event);   // in the family's InitExtendRecItem
//   kFields.Write(event, line);  // in its CreateExtendRecText, in this order
//
// A codec reads an attribute's text (empty when the attribute is absent)
// into a field, and writes the field back or asks for the attribute to be
// left out.

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

// ---- codecs ----

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

// Flags are written "yes" or "no"; they differ in what reads as true.
struct FlagExactCodec {  // "yes" exactly
  void Read(std::string_view text, bool& value) const { value = text == "yes"; }
  bool Write(bool value, std::string& text) const {
    text = value ? "yes" : "no";
    return true;
  }
};
struct FlagNoCaseCodec {  // "yes" in any case
  void Read(std::string_view text, bool& value) const { value = platform::SameIgnoringAsciiCase(text, "yes"); }
  bool Write(bool value, std::string& text) const { return FlagExactCodec{}.Write(value, text); }
};

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

// A time kept as text in one of the store's patterns (platform/time.h);
// text that does not parse reads as the time 0.
struct TimeTextCodec {
  const char* pattern;
  void Read(std::string_view text, CTime& value, LocalTimeCache* cache = nullptr) const {
    value = ParseDateTime(text, cache);
  }
  bool Write(const CTime& value, std::string& text) const {
    text = value.Format(pattern);
    return true;
  }
};

inline constexpr TextCodec kText;
inline constexpr TextUnlessEmptyCodec kTextUnlessEmpty;
inline constexpr FlagExactCodec kFlagExact;
inline constexpr FlagNoCaseCodec kFlagNoCase;
inline constexpr AtoiCodec kAtoi;
inline constexpr AtolCodec kAtol;

// ---- word tables ----

struct Word {
  int value;
  std::string_view word;
};
enum class Case { kExact, kIgnore };
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

// An integer field kept as one of a few words.
template <size_t N>
struct WordsCodec {
  WordPolicy policy;
  std::array<Word, N> words;

  // The value of a word, or nothing for a word not in the table.
  constexpr std::optional<int> ValueOf(std::string_view text) const {
    for (const Word& entry : words) {
      const bool same =
          policy.match == Case::kExact ? entry.word == text : platform::SameIgnoringAsciiCase(entry.word, text);
      if (same) return entry.value;
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
};

template <typename... Words>
constexpr WordsCodec<sizeof...(Words)> MakeWords(WordPolicy policy, Words... words) {
  return {policy, {Word(words)...}};
}

// ---- declaring fields ----

// The attribute `name` is the member `member` of the owner, through `codec`.
template <typename Owner, typename Member, typename Codec>
struct Field {
  std::string_view name;
  Member Owner::*member;
  Codec codec;

  // Codecs of text take the decoded value; the others look at it in place.
  static constexpr bool kInPlace = requires(const Codec& c, std::string_view text, Member& value) {
    c.Read(text, value);
  };
  // Codecs of times convert through the load's cache.
  static constexpr bool kTimed = requires(const Codec& c, std::string_view text, Member& value,
                                          LocalTimeCache* cache) { c.Read(text, value, cache); };
  void Read(CXMLElementReader& item, size_t index, Owner& owner) const {
    if constexpr (kInPlace) {
      std::string scratch;
      const std::string_view text = item.GetAttrTextAt(index, scratch);
      if constexpr (kTimed) codec.Read(text, owner.*member, item.GetTimeCache());
      else codec.Read(text, owner.*member);
    } else {
      codec.Read(item.GetAttrValueAt(index), owner.*member);
    }
  }
  void ReadAbsent(Owner& owner) const {
    if constexpr (kInPlace) {
      codec.Read(std::string_view(), owner.*member);
    } else {
      codec.Read(std::string(), owner.*member);
    }
  }
  void Write(const Owner& owner, CXMLLine& line) const {
    std::string text;
    if (codec.Write(owner.*member, text)) line.AddAttribute(name, text);
  }
};

template <typename Owner, typename Member, typename Codec = TextCodec>
constexpr Field<Owner, Member, Codec> Of(std::string_view name, Member Owner::*member, Codec codec = {}) {
  return {name, member, codec};
}

// An attribute that carries nothing: always written as `text`, and taken
// when read so that it does not come back among the unknown attributes.
struct Fixed {
  std::string_view name;
  std::string_view text;

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

// The fields of one element, written in the order they are listed. Reading
// takes the element's attributes as they come, looking for each among the
// fields from the one after the last found: a file written in the listed
// order is read in one pass. A field the element lacks reads the empty text.
// Only the first of two attributes of one name is taken; the other stays
// unread, kept with the node.
template <typename... Fields>
class FieldList {
 public:
  static constexpr size_t kCount = sizeof...(Fields);

  constexpr explicit FieldList(Fields... fields) : fields_(fields...), names_{fields.name...} {}

  template <typename Owner>
  void Read(CXMLElementReader& item, Owner& owner) const {
    static constexpr auto kReaders = Readers<Owner>(std::index_sequence_for<Fields...>());
    bool seen[kCount] = {};
    size_t next = 0;
    for (size_t i = 0; i < item.GetAttrCount(); ++i) {
      if (item.IsAttrRead(i)) continue;
      const std::string_view name = item.GetAttrName(i);
      for (size_t k = 0; k < kCount; ++k) {
        const size_t f = next + k < kCount ? next + k : next + k - kCount;
        if (!SameName(names_[f], name)) continue;
        if (!seen[f]) {
          seen[f] = true;
          kReaders[f](fields_, &item, i, owner);
        }
        next = f + 1 < kCount ? f + 1 : 0;
        break;
      }
    }
    for (size_t f = 0; f < kCount; ++f) {
      if (!seen[f]) kReaders[f](fields_, nullptr, 0, owner);
    }
  }
  template <typename Owner>
  void Write(const Owner& owner, CXMLLine& line) const {
    std::apply([&](const auto&... field) { (field.Write(owner, line), ...); }, fields_);
  }

 private:
  // Each field's reader by its place, so that a field found by name is read
  // through one table look-up.
  // Reads field I from attribute `index` of `item`, or as absent without an item.
  template <typename Owner>
  using Reader = void (*)(const std::tuple<Fields...>&, CXMLElementReader*, size_t, Owner&);
  template <typename Owner, size_t I>
  static void ReadOne(const std::tuple<Fields...>& fields, CXMLElementReader* item, size_t index, Owner& owner) {
    if (item) std::get<I>(fields).Read(*item, index, owner);
    else std::get<I>(fields).ReadAbsent(owner);
  }
  template <typename Owner, size_t... I>
  static constexpr std::array<Reader<Owner>, kCount> Readers(std::index_sequence<I...>) {
    return {&ReadOne<Owner, I>...};
  }
  static bool SameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && (a.empty() || (a[0] == b[0] && std::memcmp(a.data(), b.data(), a.size()) == 0));
  }

  std::tuple<Fields...> fields_;
  std::array<std::string_view, kCount> names_;
};

template <typename... Fields>
constexpr FieldList<Fields...> List(Fields... fields) {
  return FieldList<Fields...>(fields...);
}

}  // namespace zds::field

#endif  // ZDS_FRAMEWORK_FIELD_CODEC_H_
