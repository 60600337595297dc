#include "zds/contacts/vcard.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "zds/framework/content_line.h"
#include "zds/platform/ascii.h"

namespace zds {
namespace {

bool IsNameChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
}

bool IsName(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), IsNameChar); }

// ---- writing ----

using content_line::AppendText;

// URI and date values go out as they are, less any line break.
void AppendRaw(std::string& out, std::string_view text) {
  for (char c : text) {
    if (c != '\r' && c != '\n') out += c;
  }
}

using content_line::AppendFolded;

// Builds one content line and appends it folded.
class LineWriter {
 public:
  explicit LineWriter(std::string& out) : out_(out) {}

  // The name, with the group and TYPE and PREF parameters of a typed entry.
  LineWriter& Start(std::string_view name, const CContactTyping* typing = nullptr) {
    line_.clear();
    if (typing && IsName(typing->group)) line_.append(typing->group).append(".");
    line_.append(name);
    if (typing) Typing(*typing);
    return *this;
  }
  void Text(std::string_view value) {
    line_ += ':';
    AppendText(line_, value);
    Line(line_);
  }
  void Raw(std::string_view value) {
    line_ += ':';
    AppendRaw(line_, value);
    Line(line_);
  }
  // Parts joined by ";", each escaped.
  void Parts(std::initializer_list<std::string_view> parts) {
    char separator = ':';
    for (std::string_view part : parts) {
      line_ += separator;
      AppendText(line_, part);
      separator = ';';
    }
    Line(line_);
  }
  void Line(std::string_view line) { AppendFolded(out_, line); }

 private:
  // The place word leads, unless the kinds hold it where it stood among
  // the words read (ReadTyping), so that the order survives a round trip.
  void Typing(const CContactTyping& typing) {
    std::vector<std::string_view> words;
    for (std::string_view kinds = typing.kinds; !kinds.empty();) {
      std::string_view word = kinds.substr(0, kinds.find(','));
      kinds.remove_prefix(std::min(kinds.size(), word.size() + 1));
      if (!word.empty()) words.push_back(word);
    }
    const std::string_view place = typing.place == kContactPlaceHome   ? "home"
                                   : typing.place == kContactPlaceWork ? "work"
                                                                       : "";
    if (!place.empty() && std::find(words.begin(), words.end(), place) == words.end()) {
      words.insert(words.begin(), place);
    }
    for (size_t i = 0; i < words.size(); ++i) AppendParamValue(i == 0 ? ";TYPE=" : ",", words[i]);
    if (typing.preferred) line_ += ";PREF=1";
  }
  // A value holding a separator is quoted; a quote cannot be in one.
  void AppendParamValue(std::string_view lead, std::string_view value) {
    line_ += lead;
    bool quote = value.find_first_of(",;:") != std::string_view::npos;
    if (quote) line_ += '"';
    for (char c : value) {
      if (c != '"') line_ += c;
    }
    if (quote) line_ += '"';
  }

  std::string& out_;
  std::string line_;
};

// ---- reading ----

// The logical lines of a text: physical lines (CR LF, LF or CR ended) with
// their continuation lines (those starting with a blank or a tab) joined on.
class LogicalLines {
 public:
  explicit LogicalLines(std::string_view text) : text_(text) {
    if (text_.starts_with("\xEF\xBB\xBF")) text_.remove_prefix(3);
  }

  bool Next(std::string_view& line) {
    if (at_ >= text_.size()) return false;
    std::string_view first = Physical();
    if (!ContinuationFollows()) {
      line = first;
      return true;
    }
    joined_.assign(first);
    while (ContinuationFollows()) joined_.append(Physical().substr(1));
    line = joined_;
    return true;
  }

 private:
  std::string_view Physical() {
    size_t end = text_.find_first_of("\r\n", at_);
    if (end == std::string_view::npos) end = text_.size();
    std::string_view line = text_.substr(at_, end - at_);
    at_ = end;
    if (at_ < text_.size() && text_[at_] == '\r') ++at_;
    if (at_ < text_.size() && text_[at_] == '\n') ++at_;
    return line;
  }
  bool ContinuationFollows() const { return at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t'); }

  std::string_view text_;
  size_t at_ = 0;
  std::string joined_;
};

struct Param {
  std::string name;  // upper case; empty for a bare 2.1-style type word
  std::vector<std::string_view> values;
};

struct Property {
  std::string_view line;
  std::string_view group;
  std::string name;  // upper case
  std::vector<Param> params;
  std::string_view value;

  const Param* Find(std::string_view param) const {
    for (const Param& p : params) {
      if (p.name == param) return &p;
    }
    return nullptr;
  }
};

// Splits a parameter's value list at the commas outside quotes and drops the quotes.
void SplitParamValues(std::string_view text, std::vector<std::string_view>& values) {
  while (true) {
    size_t end = 0;
    bool quoted = false;
    while (end < text.size() && (quoted || text[end] != ',')) quoted ^= text[end++] == '"';
    std::string_view value = text.substr(0, end);
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
    values.push_back(value);
    if (end >= text.size()) return;
    text.remove_prefix(end + 1);
  }
}

// [group "."] name *(";" param) ":" value. False for a line that is none.
bool ParseProperty(std::string_view line, Property& property) {
  property.line = line;
  property.params.clear();
  size_t name_end = line.find_first_of(";:");
  if (name_end == std::string_view::npos) return false;
  std::string_view name = line.substr(0, name_end);
  size_t dot = name.find('.');
  property.group = dot == std::string_view::npos ? std::string_view() : name.substr(0, dot);
  if (dot != std::string_view::npos && !IsName(property.group)) return false;
  name.remove_prefix(dot == std::string_view::npos ? 0 : dot + 1);
  if (!IsName(name)) return false;
  property.name = platform::AsciiUpperCase(name);
  size_t at = name_end;
  while (line[at] == ';') {
    size_t end = ++at;
    bool quoted = false;
    while (end < line.size() && (quoted || (line[end] != ';' && line[end] != ':'))) quoted ^= line[end++] == '"';
    if (end >= line.size()) return false;
    std::string_view param = line.substr(at, end - at);
    size_t equals = param.find('=');
    Param& added = property.params.emplace_back();
    if (equals == std::string_view::npos) {
      added.values.push_back(param);  // "TEL;WORK;VOICE:" as vCard 2.1 wrote it
    } else {
      added.name = platform::AsciiUpperCase(param.substr(0, equals));
      SplitParamValues(param.substr(equals + 1), added.values);
    }
    at = end;
  }
  property.value = line.substr(at + 1);
  return true;
}

// A text value with its escapes undone; an unknown escape is kept as it is.
std::string UnescapeText(std::string_view text) {
  std::string value;
  value.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c != '\\' || i + 1 == text.size()) {
      value += c;
      continue;
    }
    char next = text[++i];
    if (next == 'n' || next == 'N') value += '\n';
    else if (next == '\\' || next == ',' || next == ';') value += next;
    else value.append({c, next});
  }
  return value;
}

// The parts of a structured value, split at the ";" not escaped.
std::vector<std::string> SplitParts(std::string_view text, size_t count) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || text[i] == ';') {
      parts.push_back(UnescapeText(text.substr(start, i - start)));
      start = i + 1;
    } else if (text[i] == '\\' && i + 1 < text.size()) {
      ++i;  // the escaped character, whatever it is
    }
  }
  parts.resize(std::max(parts.size(), count));
  return parts;
}

// Type words from TYPE parameters (repeated, comma lists quoted or not),
// bare parameters and PREF, in the order they came. The first "home" or
// "work" sets the place; unless it leads and comes once, the kinds keep
// it where it stood too, so that writing the card back gives its words in
// their order (LineWriter::Typing).
CContactTyping ReadTyping(const Property& property, std::string_view dropped_word) {
  CContactTyping typing;
  typing.group = property.group;
  std::vector<std::string> words;
  size_t place_at = 0;
  for (const Param& param : property.params) {
    if (param.name == "PREF") typing.preferred = true;
    if (!param.name.empty() && param.name != "TYPE") continue;
    for (std::string_view list : param.values) {
      while (true) {
        const size_t end = list.find(',');
        std::string word = platform::AsciiLowerCase(list.substr(0, end));
        if (word == "pref") {
          typing.preferred = true;
        } else if (!word.empty() && word != "other" && word != dropped_word) {
          if (typing.place == kContactPlaceOther && (word == "home" || word == "work")) {
            typing.place = word == "home" ? kContactPlaceHome : kContactPlaceWork;
            place_at = words.size();
          }
          words.push_back(std::move(word));
        }
        if (end == std::string_view::npos) break;
        list.remove_prefix(end + 1);
      }
    }
  }
  // The leading place word is left out only where writing puts it back:
  // when no other word is the same.
  const bool place_leads = typing.place != kContactPlaceOther && place_at == 0 &&
                           std::find(words.begin() + 1, words.end(), words[0]) == words.end();
  for (size_t i = place_leads ? 1 : 0; i < words.size(); ++i) {
    typing.kinds += (typing.kinds.empty() ? "" : ",") + words[i];
  }
  return typing;
}

// Whether the bytes are UTF-8: no stray continuation byte, no sequence
// cut short, none longer than needed or beyond U+10FFFF, no surrogate.
bool IsUtf8(std::string_view text) {
  for (size_t i = 0; i < text.size();) {
    auto byte = [&text](size_t at) { return static_cast<unsigned char>(text[at]); };
    unsigned char lead = byte(i);
    size_t length = lead < 0x80 ? 1 : lead >= 0xc2 && lead < 0xe0 ? 2 : lead >= 0xe0 && lead < 0xf0 ? 3
                  : lead >= 0xf0 && lead < 0xf5 ? 4 : 0;
    if (length == 0 || i + length > text.size()) return false;
    for (size_t k = 1; k < length; ++k) {
      if ((byte(i + k) & 0xc0) != 0x80) return false;
    }
    if ((lead == 0xe0 && byte(i + 1) < 0xa0) || (lead == 0xed && byte(i + 1) >= 0xa0) ||
        (lead == 0xf0 && byte(i + 1) < 0x90) || (lead == 0xf4 && byte(i + 1) >= 0x90)) {
      return false;
    }
    i += length;
  }
  return true;
}

// What base64 readers take: the alphabet in groups of four, "=" padding,
// blanks anywhere.
bool IsBase64(std::string_view text) {
  size_t count = 0;
  for (char c : text) {
    bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
    if (letter || c == '=') ++count;
    else if (c != ' ' && c != '\t') return false;
  }
  return count % 4 == 0;
}

enum class Encoding { kText, kBase64, kOther };

// The encoding a property declares, as ENCODING=... or a bare 2.1-style word.
Encoding EncodingOf(const Property& property) {
  for (const Param& param : property.params) {
    if (param.values.size() != 1 || (!param.name.empty() && param.name != "ENCODING")) continue;
    std::string word = platform::AsciiUpperCase(param.values[0]);
    if (word == "B" || word == "BASE64") return Encoding::kBase64;
    if (word == "8BIT" || word == "7BIT") continue;  // the text as it is
    if (!param.name.empty() || word == "QUOTED-PRINTABLE") return Encoding::kOther;
  }
  return Encoding::kText;
}

// A card is refused for a property it cannot give back as readers expect:
// bytes that are no UTF-8, a character set other than UTF-8, an encoding
// other than base64 (quoted-printable included), base64 that is none.
bool IsAcceptable(const Property& property) {
  if (!IsUtf8(property.line)) return false;
  const Param* charset = property.Find("CHARSET");
  if (charset && (charset->values.size() != 1 || platform::AsciiUpperCase(charset->values[0]) != "UTF-8")) return false;
  Encoding encoding = EncodingOf(property);
  return encoding == Encoding::kText || (encoding == Encoding::kBase64 && IsBase64(property.value));
}

// Puts one card's properties into a contact.
class CardBuilder {
 public:
  // False when the card is to be refused for this property.
  bool Add(const Property& property) {
    if (!IsAcceptable(property)) return false;
    if (property.name == "VERSION") return true;
    // Binary data is kept as it came, whatever the property.
    if (EncodingOf(property) != Encoding::kText || !Take(property)) fields_.extra_lines.emplace_back(property.line);
    return true;
  }

  CPIDLRec Finish() {
    CPIDLRec contact;
    contact.SetAttribute(kAttrNormal);
    contact.SetAlias(has_name_ ? name_ : DefaultName());
    contact.GetExtendRec() = std::move(fields_);
    return contact;
  }

 private:
  // False for a property the record has no place for (any more).
  bool Take(const Property& property) {
    const std::string& name = property.name;
    if (name == "EMAIL") return AddItem(fields_.emails, property, "internet");
    if (name == "TEL") return AddItem(fields_.phones, property, {});
    if (name == "ADR") return AddAddress(property);
    if (name == "FN") return TakeOnce(has_name_, name_, UnescapeText(property.value));
    if (name == "N") return TakeName(property);
    if (name == "ORG") return TakeOrganization(property);
    if (name == "UID") return TakeOnce(has_uid_, fields_.uid, UnescapeText(property.value));
    if (name == "NICKNAME") return TakeOnce(has_nickname_, fields_.nickname, UnescapeText(property.value));
    if (name == "TITLE") return TakeOnce(has_title_, fields_.title, UnescapeText(property.value));
    if (name == "NOTE") return TakeOnce(has_note_, fields_.note, UnescapeText(property.value));
    if (name == "URL") return TakeOnce(has_url_, fields_.url, std::string(property.value));
    if (name == "BDAY") return TakeOnce(has_birthday_, fields_.birthday, std::string(property.value));
    return false;
  }

  // A field holds the first of its properties; any later one is kept as a line.
  static bool TakeOnce(bool& taken, std::string& field, std::string value) {
    if (taken) return false;
    taken = true;
    field = std::move(value);
    return true;
  }

  bool AddItem(std::vector<CContactItem>& items, const Property& property, std::string_view dropped_word) {
    std::string_view value = property.value;
    const Param* type = property.Find("VALUE");
    const bool uri = type && type->values.size() == 1 && platform::AsciiUpperCase(type->values[0]) == "URI";
    if (uri && value.starts_with("tel:")) {
      value.remove_prefix(4);
    }
    items.push_back({UnescapeText(value), ReadTyping(property, dropped_word)});
    return true;
  }

  bool AddAddress(const Property& property) {
    std::vector<std::string> parts = SplitParts(property.value, 7);
    fields_.addresses.push_back({std::move(parts[0]), std::move(parts[1]), std::move(parts[2]), std::move(parts[3]),
                                 std::move(parts[4]), std::move(parts[5]), std::move(parts[6]),
                                 ReadTyping(property, {})});
    return true;
  }

  bool TakeName(const Property& property) {
    if (has_structured_name_) return false;
    has_structured_name_ = true;
    std::vector<std::string> parts = SplitParts(property.value, 5);
    fields_.family_name = std::move(parts[0]);
    fields_.given_name = std::move(parts[1]);
    fields_.additional_names = std::move(parts[2]);
    fields_.honorific_prefixes = std::move(parts[3]);
    fields_.honorific_suffixes = std::move(parts[4]);
    return true;
  }

  // The organisation and its units; units past the first stay in the
  // department, joined by ";".
  bool TakeOrganization(const Property& property) {
    if (has_organization_) return false;
    has_organization_ = true;
    std::vector<std::string> parts = SplitParts(property.value, 1);
    fields_.organization = std::move(parts[0]);
    for (size_t i = 1; i < parts.size(); ++i) fields_.department += (i > 1 ? ";" : "") + parts[i];
    return true;
  }

  // A card without FN is named by what else it has.
  std::string DefaultName() const {
    std::string name = fields_.given_name;
    if (!fields_.family_name.empty()) name += (name.empty() ? "" : " ") + fields_.family_name;
    if (name.empty()) name = fields_.organization;
    if (name.empty() && !fields_.emails.empty()) name = fields_.emails.front().value;
    return name;
  }

  CPIDLExtendRec fields_;
  std::string name_;
  bool has_name_ = false, has_structured_name_ = false, has_organization_ = false, has_uid_ = false;
  bool has_nickname_ = false, has_title_ = false, has_note_ = false, has_url_ = false, has_birthday_ = false;
};

bool IsMarker(const Property& property, std::string_view name) {
  std::string_view value = property.value.substr(0, property.value.find_last_not_of(" \t") + 1);
  return property.name == name && property.group.empty() && platform::AsciiUpperCase(value) == "VCARD";
}

}  // namespace

std::string FormatVCard(const CPIDLRec& contact) {
  const CPIDLExtendRec& fields = contact.GetExtendRec();
  std::string out;
  LineWriter writer(out);
  writer.Line("BEGIN:VCARD");
  writer.Line("VERSION:4.0");
  if (!fields.uid.empty()) writer.Start("UID").Text(fields.uid);
  writer.Start("FN").Text(contact.GetAlias());
  const std::initializer_list<std::string_view> name = {fields.family_name, fields.given_name, fields.additional_names,
                                                        fields.honorific_prefixes, fields.honorific_suffixes};
  if (std::any_of(name.begin(), name.end(), [](std::string_view part) { return !part.empty(); })) {
    writer.Start("N").Parts(name);
  }
  if (!fields.nickname.empty()) writer.Start("NICKNAME").Text(fields.nickname);
  if (!fields.department.empty()) writer.Start("ORG").Parts({fields.organization, fields.department});
  else if (!fields.organization.empty()) writer.Start("ORG").Text(fields.organization);
  if (!fields.title.empty()) writer.Start("TITLE").Text(fields.title);
  for (const CContactItem& email : fields.emails) writer.Start("EMAIL", &email.typing).Text(email.value);
  for (const CContactItem& phone : fields.phones) writer.Start("TEL", &phone.typing).Text(phone.value);
  for (const CContactAddress& address : fields.addresses) {
    writer.Start("ADR", &address.typing)
        .Parts({address.po_box, address.extended, address.street, address.locality, address.region,
                address.postal_code, address.country});
  }
  if (!fields.url.empty()) writer.Start("URL").Raw(fields.url);
  if (!fields.birthday.empty()) writer.Start("BDAY").Raw(fields.birthday);
  if (!fields.note.empty()) writer.Start("NOTE").Text(fields.note);
  for (const std::string& line : fields.extra_lines) writer.Line(line);
  writer.Line("END:VCARD");
  return out;
}

std::string ExportVCards(const CPIDLDoc& book) {
  std::string out;
  for (const CPIDLRec& contact : book.Recs()) out += FormatVCard(contact);
  return out;
}

std::string ExportVCards(CAdrBookDoc& address_book) {
  std::string out;
  for (CAdrBookFolder& folder : address_book.GetBooks()) {
    if (const CPIDLDoc* book = address_book.GetPIDLDoc(folder)) out += ExportVCards(*book);
  }
  return out;
}

VCardReadResult ReadVCards(std::string_view text) {
  VCardReadResult result;
  LogicalLines lines(text);
  std::optional<CardBuilder> card;
  bool damaged = false;
  Property property;
  for (std::string_view line; lines.Next(line);) {
    if (line.find_first_not_of(" \t") == std::string_view::npos) continue;
    bool parsed = ParseProperty(line, property);
    if (parsed && IsMarker(property, "BEGIN")) {
      if (card) ++result.refused;  // the card before it had no END
      card.emplace();
      damaged = false;
    } else if (!card) {
      continue;  // nothing of a card: skipped
    } else if (parsed && IsMarker(property, "END")) {
      if (damaged) ++result.refused;
      else result.contacts.push_back(card->Finish());
      card.reset();
    } else if (!parsed || !card->Add(property)) {
      damaged = true;
    }
  }
  if (card) ++result.refused;
  return result;
}

namespace {

// Adds the contacts to the book's root folder, or replaces the contact
// with the same uid; how many were stored.
int StoreContacts(CPIDLDoc& book, const std::vector<CPIDLRec>& contacts) {
  std::unordered_map<std::string, std::string> by_uid;  // uid -> position
  for (const CPIDLRec& contact : std::as_const(book).Recs()) {
    if (!contact.GetExtendRec().uid.empty()) by_uid.emplace(contact.GetExtendRec().uid, contact.GetPos());
  }
  const std::string root = book.GetRoot()->GetPos();
  int stored = 0;
  for (const CPIDLRec& contact : contacts) {
    const std::string& uid = contact.GetExtendRec().uid;
    if (auto known = uid.empty() ? by_uid.end() : by_uid.find(uid); known != by_uid.end()) {
      stored += book.UpdateRec(known->second, contact, false) ? 1 : 0;
    } else if (std::string pos = book.AddRec(root, contact, false); !pos.empty()) {
      by_uid.emplace(book.GetRec(pos)->GetExtendRec().uid, pos);  // a uid given by AddRec
      ++stored;
    }
  }
  return stored;
}

}  // namespace

// One save for the whole import, and the book as it was if that fails.
VCardImportResult ImportVCards(CPIDLDoc& book, std::string_view text) {
  if (book.GetRoot() == nullptr) return {};
  VCardReadResult cards = ReadVCards(text);
  const bool auto_save = book.GetAutoSaveFlag();
  const std::string before = auto_save ? book.GetXml() : std::string();
  book.SetAutoSaveFlag(false);
  int stored = StoreContacts(book, cards.contacts);
  book.SetAutoSaveFlag(auto_save);
  if (auto_save && stored > 0 && !book.SaveXMLDoc()) {
    static_cast<void>(book.SetXml(before));  // the text it was built from parses again
    stored = 0;
  }
  return {stored, cards.refused + static_cast<int>(cards.contacts.size()) - stored};
}

}  // namespace zds
