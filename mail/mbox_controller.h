// The mail box controller ("mbc"): the document of one mail box, a tree of
// mail folders each of which names the mail index (CMIDLDoc) that holds
// its messages, opened on demand. It makes its directory when it saves: a
// mail service names its file whether or not that exists. A new mail box has the nine standard
// folders. A folder keeps two counts its callers store: its messages and
// its new messages, -1 when not known.
//
// The look-ups find a folder's mail index by path or position, a message
// by Message-ID or UIDL, and count a folder's messages. Mail indexes
// opened here stay open, owned by this document, as CCASDVFDLDoc says.

#ifndef ZDS_MAIL_MBOX_CONTROLLER_H_
#define ZDS_MAIL_MBOX_CONTROLLER_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/family.h"
#include "zds/framework/xvfdl_doc.h"
#include "zds/mail/extend_types.h"
#include "zds/mail/midl_doc.h"
#include "zds/resources/mail_strings.h"

namespace zds {

class CMBCExtendFolder : public CVFDLExtendBase<CMBCExtendFolder> {
 public:
  int32_t mail_num = 0;      // -1: not known
  int32_t new_mail_num = 0;
  bool operator==(const CMBCExtendFolder&) const = default;
};

// A mail box folder; a copy of one without counts has none, and writes none.
class CMBCFolder : public CVFDLTypedFolder<CMBCFolder, CMBCExtendFolder, ExtendPresence::kOptional> {};

// Where a message was found: its mail box folder, that folder's mail index
// and the record. Valid as the nodes and documents are.
struct CMailLocation {
  CMBCFolder* folder = nullptr;
  CMIDLDoc* doc = nullptr;
  CMIDLRec* rec = nullptr;
  explicit operator bool() const { return rec != nullptr; }
};

class CMBoxController : public CVFDLFamily<CMBoxController, CXCASDVFDLDoc, CVFDLRec, CMBCFolder> {
 public:
  static constexpr CFamilyInfo kFamily{"CMBoxController", "mbc", res::kMailBoxTemplateHead,
                                       res::kMailBoxTemplateTail, 0, kMailRecType, kMakesItsDirectory};
  // Absent or empty counts read as -1; a folder line without its closing
  // line is refused.
  static constexpr auto kFolderFields =
      field::List(field::Of("mail_num", &CMBCExtendFolder::mail_num, field::AtoiOr(-1)),
                  field::Of("new_mail_num", &CMBCExtendFolder::new_mail_num, field::AtoiOr(-1)))
          .RequiringClosingLine();

  // Saves on every change.
  CMBoxController();

  // The root 70, a record 81, any other folder by what its path contains
  // (kMailFolderTypes, in order: "Auto-Inbox" gives 71), else 77.
  void InitNodeExtendType(CVFDLNode& node) override;

  // A folder's mail index, opened (and made, when its file is missing)
  // on first use; null for the root, a position or path that names no
  // folder, or an index that cannot be opened (GetLastLoadStatus).
  CMIDLDoc* GetMidlDoc(std::string_view path);
  CMIDLDoc* GetMidlDoc(std::string_view path, std::string_view sub_path);
  CMIDLDoc* GetMidlDocByID(std::string_view pos);
  CMIDLDoc* GetMidlDoc(CVFDLNode& folder);
  // The position of the folder at a path; empty for none.
  std::string GetMidlDocID(std::string_view path) const;
  // A position without this mail box's own prefix and the "\" after it;
  // any other text as it stands.
  std::string GetRelativeMBCID(std::string_view pos) const;

  // The first record of `doc`'s leading run (its first record and the
  // records that follow it as siblings, up to the first node that is not
  // one) whose Message-ID is exactly `message_id`; null for none.
  CMIDLRec* GetMailRecbyMessageID(CMIDLDoc* doc, std::string_view message_id);
  // The first message directly in the folder at `folder_path` (not in its
  // sub-folders) whose UIDL is exactly `uidl`; null for none.
  CMIDLRec* GetMailRecbyUIDL(std::string_view folder_path, std::string_view uidl);
  // Across the whole mail box: the first message with that Message-ID or
  // UIDL, folders in document order (each mail index opened).
  CMailLocation FindMailByMessageID(std::string_view message_id);
  CMailLocation FindMailByUIDL(std::string_view uidl);

  // The records directly under a folder (-1 when the node is no folder),
  // and those of them that are new; sub-folders are not entered.
  int GetRecNum(const CVFDLNode* folder, int unused = 0) const;
  int GetNewRecNum(const CVFDLNode* folder, int unused = 0) const;
  // The position of the node after the one at `pos` when that is a record,
  // wherever the node is among the open documents; empty otherwise.
  std::string GetNextRecID(std::string_view pos) const;

  // The mail folders (every folder but the root), in document order.
  std::vector<CMBCFolder*> GetMailFolders();
};

}  // namespace zds

#endif  // ZDS_MAIL_MBOX_CONTROLLER_H_
