// The mail index ("midl"): one document per mail folder, one record per
// message with its header fields, flags and attachment list. Message
// bodies are not in it: each is a file of its own, read and written whole
// with ReadMail and WriteMail at a path the caller chooses (the mail box
// keeps them beside the index, GetMailFilePath).
//
// Besides its tree the document keeps its records in file order, for the
// counts and the iteration by position, and indexes them by Message-ID and
// UIDL, so that finding a message costs a look-up whatever the folder's
// size. Both are rebuilt on first use after records came or went, and kept
// up to date as records are updated.
//
// "IDs" here are positions, as AddRec hands them out.

#ifndef ZDS_MAIL_MIDL_DOC_H_
#define ZDS_MAIL_MIDL_DOC_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zds/framework/family.h"
#include "zds/framework/field_lines.h"
#include "zds/framework/xvfdl_doc.h"
#include "zds/mail/extend_types.h"
#include "zds/platform/files.h"
#include "zds/resources/mail_strings.h"

namespace zds {

class CMIDLAttachRec {
 public:
  std::string name;
  std::string charset;
  std::string size;  // decimal byte count, as text
  bool operator==(const CMIDLAttachRec&) const = default;
};

class CMIDLExtendRec : public CVFDLExtendBase<CMIDLExtendRec> {
 public:
  std::string subject;
  std::string sender;
  std::string to;
  std::string cc;
  std::string bcc;
  std::string send_date;  // kept as text, "%Y-%m-%d %H:%M" when this library writes it
  std::string get_date;
  std::string size;       // decimal byte count, as text
  std::string message_id;
  std::string uidl;       // the POP3 unique id on the server
  int32_t priority = 0;
  // How many "attachment" lines are written: whoever changes the list keeps
  // it equal to the list's length (a record read with more lines than its
  // count is written back with as many as the count says).
  int32_t attach_num = 0;
  bool new_flag = true;
  bool on_server = false;
  bool html = false;  // view mode
  std::string note;   // in memory only: never read from or written to the file
  std::vector<CMIDLAttachRec> attachments;
  bool operator==(const CMIDLExtendRec&) const = default;
};

class CMIDLRec : public CVFDLTypedRec<CMIDLRec, CMIDLExtendRec> {};

// A mail list column: its title's string id and its width in pixels.
struct CMailColumn {
  int title_id;
  int width;
};
// The seven columns of a mail folder's list, in order; the third is
// titled "To" in the folders whose messages the user wrote.
inline constexpr CMailColumn kMailColumns[] = {
    {res::kMailColumnAttach, 20}, {res::kMailColumnPriority, 20}, {res::kMailColumnFrom, 120},
    {res::kMailColumnSubject, 200}, {res::kMailColumnSent, 120}, {res::kMailColumnSize, 40},
    {res::kMailColumnComment, 200}};
// The title of column `index` (0-6) in a folder of extension type
// `folder_type`; empty for another index.
std::string_view GetMailColumnTitle(int folder_type, int index);

class CMIDLDoc : public CVFDLFamily<CMIDLDoc, CXVFDLDoc, CMIDLRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CMIDLDoc", "midl", res::kMailIndexTemplate, 0, 0, kMailRecType,
                                       kNumbersNewRecs};
  static constexpr auto kAttachmentFields = field::List(field::Of("name", &CMIDLAttachRec::name),
                                                        field::Of("charset", &CMIDLAttachRec::charset),
                                                        field::Of("size", &CMIDLAttachRec::size));
  // A record without its closing line is refused; the flags are "yes"
  // exactly, the view mode "html" exactly.
  static constexpr auto kRecFields =
      field::List(field::Of("subject", &CMIDLExtendRec::subject), field::Of("sender", &CMIDLExtendRec::sender),
                  field::Of("to", &CMIDLExtendRec::to), field::Of("cc", &CMIDLExtendRec::cc),
                  field::Of("bcc", &CMIDLExtendRec::bcc), field::Of("size", &CMIDLExtendRec::size),
                  field::Of("senddate", &CMIDLExtendRec::send_date), field::Of("getdate", &CMIDLExtendRec::get_date),
                  field::Of("messageid", &CMIDLExtendRec::message_id), field::Of("uidl", &CMIDLExtendRec::uidl),
                  field::Of("attachnum", &CMIDLExtendRec::attach_num, field::kAtoi),
                  field::Of("priority", &CMIDLExtendRec::priority, field::kAtoi),
                  field::Of("newflag", &CMIDLExtendRec::new_flag, field::kFlagExact),
                  field::Of("onserverflag", &CMIDLExtendRec::on_server, field::kFlagExact),
                  field::Of("viewmode", &CMIDLExtendRec::html, field::Flag("html", "text")),
                  field::ChildLines("attachment", &CMIDLExtendRec::attachments, kAttachmentFields)
                      .CountedBy(&CMIDLExtendRec::attach_num))
          .RequiringClosingLine();

  // Saves on every change.
  CMIDLDoc();

  // A record gets 81; a folder the type its document's path names (the
  // path of the mail box folder it was opened behind), by substring up to
  // "Delete Items": "Auto-Inbox" gives 71. Applied again to every node by
  // InitExtendTypes once the document knows where it stands.
  void InitNodeExtendType(CVFDLNode& node) override;
  void InitExtendTypes();
  // The type this document's folders get.
  int GetFolderExtendType() const;

  // The caller's flag is ignored: the document saves on every change.
  [[nodiscard]] std::string AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) override;
  [[nodiscard]] bool UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) override;

  // Counts. An empty folder position counts the whole document: every
  // record, or every new one. Otherwise GetRecNum counts the records below
  // the folder, sub-folders included, and GetNewRecNum looks at its first
  // child only: a new record gives 1, a folder all its records (new or
  // not), anything else 0. 0 for a position that names nothing.
  int GetRecNum(std::string_view folder_pos = "") const;
  int GetNewRecNum(std::string_view folder_pos = "") const;

  // The records in file order: the first, the one after `pos` (empty after
  // the last or for a position that is no record), the one at `index`.
  std::string GetFirstRecID() const;
  std::string GetNextRecID(std::string_view pos) const;
  std::string GetRecIDByIndex(int index) const;
  CMIDLRec* GetRecByIndex(int index) const;
  // A record's place in file order, -1 for none of this document's.
  int GetRecIndex(const CVFDLNode& rec) const;
  // How many records the first one and the records after it as its
  // siblings make, up to the first sibling that is not a record: the
  // records a walk from the first one by sibling reaches.
  int GetLeadingRunLength() const;
  // The sum of every record's "size" read like atol; wraps like the
  // 32-bit sum it always was.
  uint32_t GetTotalSize() const;

  // The first record in file order whose Message-ID (or UIDL) is exactly
  // `id`; null when none (or `id` is empty).
  CMIDLRec* GetRecByMessageID(std::string_view message_id) const;
  CMIDLRec* GetRecByUIDL(std::string_view uidl) const;

  // Marks the record at `pos` read (or new again); saved at once.
  [[nodiscard]] bool SetNewFlag(std::string_view pos, bool new_flag);

  // Where the body of a record of this document is kept: a directory
  // beside the index, named after it, in groups of 256 by id, so that no
  // directory grows long ("\mail\a\inbox.xml" keeps its record 0042 in
  // "\mail\a\inbox\0000\0042.eml", 1000 in "\mail\a\inbox\0003\1000.eml");
  // empty for a document without a file.
  std::string GetMailDirectory() const;
  std::string GetMailFilePath(std::string_view rec_id) const;
  // The body of a record (by id or position) read, or written with its
  // directory made first, at GetMailFilePath.
  bool ReadRecMail(std::string_view rec_id, std::string& out) const;
  bool WriteRecMail(std::string_view rec_id, std::string_view text) const;

  // A body file, read and written whole. ReadMail gives 0 and an empty
  // `out` when the file is missing or cannot be read, and keeps the text up
  // to its first NUL byte, as the program always read it; WriteMail writes
  // all of `text` (atomically and durably, replacing the file) or gives 0.
  static bool ReadMail(const platform::DataRoot& root, std::string_view file, std::string& out);
  static bool WriteMail(const platform::DataRoot& root, std::string_view file, std::string_view text);

 protected:
  void OnNodeRemoving(CVFDLNode& node) override;
  void OnTreeReplaced() override;
  void PrepareNewNode(CVFDLNode& node) override;

 private:
  // The records holding one key, in file order. The first is kept in
  // place: nearly every key has one holder, and a look-up then reads no
  // more memory than the table's entry.
  struct Holders {
    CMIDLRec* first = nullptr;
    std::vector<CMIDLRec*> others;
  };
  struct KeyHash {
    using is_transparent = void;
    size_t operator()(std::string_view key) const { return std::hash<std::string_view>{}(key); }
  };
  using KeyIndex = std::unordered_map<std::string, Holders, KeyHash, std::equal_to<>>;
  // Rebuilt on first use after records came or went.
  struct Order {
    std::vector<CMIDLRec*> recs;
    std::unordered_map<const CVFDLNode*, uint32_t> index_of;
    KeyIndex by_message_id;
    KeyIndex by_uidl;
    int leading_run = 0;
  };
  const Order& GetOrder() const;
  void Reindex(CMIDLRec& rec, const std::string& old_message_id, const std::string& old_uidl);
  static CMIDLRec* FirstOf(const KeyIndex& index, std::string_view key);

  mutable Order order_;
  mutable bool order_valid_ = false;
};

}  // namespace zds

#endif  // ZDS_MAIL_MIDL_DOC_H_
