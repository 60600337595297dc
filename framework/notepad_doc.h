// CNotepadDoc: a record document whose records carry their fields as keys
// (an alias and a value each) rather than fixed attributes, with a column
// header that says how a list shows them.
//
// A record keeps its keys in a CNotepadExtendRec, written as child lines
// <key alias="..." value="..."/>, together with its creation, update and
// access times (attributes "createtime", "updatetime", "accesstime").
//
// A family on the notepad (CVFDLFamily<X, CNotepadDoc, XRec>) keeps all of
// this: its record derives from CNotepadRec and its extension from
// CNotepadExtendRec, the notepad part is read and written first, then the
// family's kRecFields (docs/architecture.md).

#ifndef ZDS_FRAMEWORK_NOTEPAD_DOC_H_
#define ZDS_FRAMEWORK_NOTEPAD_DOC_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/family.h"
#include "zds/framework/field_lines.h"

namespace zds {

struct CNotepadRecKey {
  std::string alias;
  std::string value;
  bool operator==(const CNotepadRecKey&) const = default;
};

// One column of the header: <index id="0000" alias="Date" width="100"/>.
struct CNotepadIndex {
  std::string id;
  std::string alias;
  int width = 0;
  bool operator==(const CNotepadIndex&) const = default;
};

class CNotepadHeader {
 public:
  // Reads the <header> element from the text before the root folder.
  void Parse(std::string_view prologue);
  // The <header> element, its columns on lines of their own.
  std::string Compose(std::string_view newline) const;

  int GetIndexNum() const { return static_cast<int>(columns_.size()); }
  // Null when `index` is out of range.
  const CNotepadIndex* GetIndexByIndex(int index) const;
  const std::string& GetType() const { return type_; }
  void SetType(std::string_view type) { type_ = type; }
  void AddIndex(CNotepadIndex column) { columns_.push_back(std::move(column)); }
  // False when `index` is out of range.
  bool SetIndex(int index, CNotepadIndex column);
  bool RemoveIndex(int index);

  bool operator==(const CNotepadHeader&) const = default;

 private:
  std::string type_;
  std::vector<CNotepadIndex> columns_;
};

class CNotepadExtendRec : public CVFDLExtendBase<CNotepadExtendRec> {
 public:
  void AddKey(CNotepadRecKey key) { keys_.push_back(std::move(key)); }
  // Replaces the first key with the same alias; false when there is none.
  bool UpdateKey(const CNotepadRecKey& key);
  // Null when there is none; valid until the keys change (AddKey,
  // RemoveAllKeys) or the extension goes ("Lifetimes" in vfdl_doc.h).
  const CNotepadRecKey* GetKeyByAlias(std::string_view alias) const;
  const CNotepadRecKey* GetKeyByIndex(int index) const;
  // The value of the key, or an empty string.
  std::string GetValueByAlias(std::string_view alias) const;
  int GetKeyNum() const { return static_cast<int>(keys_.size()); }
  void RemoveAllKeys() { keys_.clear(); }

  std::string createtime;
  std::string updatetime;
  std::string accesstime;

  bool operator==(const CNotepadExtendRec&) const = default;

 private:
  friend class CNotepadDoc;
  std::vector<CNotepadRecKey> keys_;
};

class CNotepadRec : public CVFDLTypedRec<CNotepadRec, CNotepadExtendRec> {
 protected:
  using CVFDLTypedRec::CVFDLTypedRec;  // for the records of families on the notepad
};

class CNotepadDoc : public CVFDLFamily<CNotepadDoc, CVFDLDoc, CNotepadRec> {
 public:
  // Any root tag; a notepad of its own has no template.
  static constexpr CFamilyInfo kFamily{"CNotepadDoc", "", 0};
  static constexpr auto kKeyFields =
      field::List(field::Of("alias", &CNotepadRecKey::alias), field::Of("value", &CNotepadRecKey::value));
  // The times only when set; then the keys.
  static constexpr auto kRecFields =
      field::List(field::Of("createtime", &CNotepadExtendRec::createtime, field::kTextUnlessEmpty),
                  field::Of("updatetime", &CNotepadExtendRec::updatetime, field::kTextUnlessEmpty),
                  field::Of("accesstime", &CNotepadExtendRec::accesstime, field::kTextUnlessEmpty),
                  field::ChildLines("key", &CNotepadExtendRec::keys_, kKeyFields));

  bool InitVFDLDoc(std::string_view base_path, std::string_view scheme, std::string_view prefix = "",
                   int reserved1 = -1, int reserved2 = -1) override;
  const CNotepadHeader& GetHeader() const { return header_; }
  // Writes `header` in place of the document's header (or before the root
  // folder when it has none); the rest of the prologue stays as it is.
  [[nodiscard]] bool SetHeader(const CNotepadHeader& header, bool flag);

 private:
  CNotepadHeader header_;
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_NOTEPAD_DOC_H_
