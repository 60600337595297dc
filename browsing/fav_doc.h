// Favorites ("\favorites\index.xml", root "fav", behind the service
// index's "Favorites" folder): the user's bookmarks as a tree of folders
// and records, each record a link to a file of its own.
//
// A record's "src" names its file, relative to the document's directory,
// and its content type the kind of that file: "Normal" (an Internet
// shortcut holding a URL), "Shortlog", "FavNotepad" (a favorites
// notepad), "midl" (a mail index). A record that owns its file
// ("ownership" "yes") takes that file, and its companion (the same path
// without the extension), with it when it goes; a record that does not
// own its file never touches it.
//
// Time stamps are local time to the minute. Adding a record or a folder
// stamps all three times with one reading of the clock; updating one
// stamps its update time only and keeps the caller's access time.

#ifndef ZDS_BROWSING_FAV_DOC_H_
#define ZDS_BROWSING_FAV_DOC_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zds/browsing/bookmark_html.h"
#include "zds/browsing/extend_types.h"
#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/family.h"
#include "zds/platform/time.h"
#include "zds/resources/favorites_strings.h"

namespace zds {

// Content types of the files records link to.
inline constexpr std::string_view kFavNormalContent = "Normal";
inline constexpr std::string_view kFavShortlogContent = "Shortlog";
inline constexpr std::string_view kFavNotepadContent = "FavNotepad";
inline constexpr std::string_view kFavMailIndexContent = "midl";

class CFavExtendFolder : public CVFDLExtendBase<CFavExtendFolder> {
 public:
  std::string createtime;
  std::string updatetime;
  std::string accesstime;
  bool operator==(const CFavExtendFolder&) const = default;
};
class CFavFolder : public CVFDLTypedFolder<CFavFolder, CFavExtendFolder> {};

class CFavExtendRec : public CVFDLExtendBase<CFavExtendRec> {
 public:
  int num = 0;   // filled by the programs that use the link
  int size = 0;
  std::string createtime;
  std::string updatetime;
  std::string accesstime;
  bool ownership = false;  // the linked file belongs to the favorites
  bool operator==(const CFavExtendRec&) const = default;
};
class CFavRec : public CVFDLTypedRec<CFavRec, CFavExtendRec> {};

// What an import of a bookmark file did.
struct FavImportCounts {
  int folders = 0;
  int links = 0;
  int refused = 0;  // entries that could not be stored (no address, too deep, a failed write)
};

class CFavDoc : public CVFDLFamily<CFavDoc, CCASDVFDLDoc, CFavRec, CFavFolder> {
 public:
  static constexpr CFamilyInfo kFamily{"CFavDoc", "fav", res::kFavTemplate, 0, kFavFolderType, 0,
                                       kNumbersNewRecs | kMakesItsDirectory};
  static constexpr auto kRecFields =
      field::List(field::Of("num", &CFavExtendRec::num, field::kAtoi),
                  field::Of("size", &CFavExtendRec::size, field::kAtol),
                  field::Of("ownership", &CFavExtendRec::ownership, field::kFlagExact),
                  field::Of("createtime", &CFavExtendRec::createtime),
                  field::Of("updatetime", &CFavExtendRec::updatetime),
                  field::Of("accesstime", &CFavExtendRec::accesstime))
          .RequiringClosingLine();
  static constexpr auto kFolderFields = field::List(field::Of("createtime", &CFavExtendFolder::createtime),
                                                    field::Of("updatetime", &CFavExtendFolder::updatetime),
                                                    field::Of("accesstime", &CFavExtendFolder::accesstime));

  // Where the time stamps come from (the system clock unless a test fixes it).
  using Clock = CTime (*)();
  void SetClock(Clock clock) { clock_ = clock; }

  // Folders 22, a hidden folder 20; records by content type, a record of
  // another content type keeping the type it had.
  void InitNodeExtendType(CVFDLNode& node) override;

  // Updates stamp the update time of a copy of the value, then go on as
  // the base's do.
  [[nodiscard]] bool UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) override;
  [[nodiscard]] bool UpdateFolder(std::string_view pos, const CVFDLFolder& folder, bool flag) override;

  // The stored path of the file the record at `pos` links to (its "src"
  // under this document's directory); empty when it links none, or names
  // one outside the data root.
  std::string GetActualFilePos(std::string_view pos) const;
  // Deletes the files of a record that owns them: first its companion
  // (the file's path without its extension), then the file. Anything else
  // (a folder, a record that does not own its file, one whose "src" leaves
  // the data root) is left alone. Always 1; a file already gone is no failure.
  int DelLinkFile(const CVFDLNode& node);
  // Deletes the record and then, when it owns them, its files.
  [[nodiscard]] bool DelRecOnDoc(std::string_view pos);
  // Deletes the folder and then the files of the records below it that
  // own theirs; no other file, whatever a node below names.
  [[nodiscard]] bool DelFolderOnDoc(std::string_view pos) override;

  // Opens the document related to the record at `pos`: the one at `path`
  // (relative to this document's directory), or when `path` is empty the
  // record's own file path without its extension; as the class the
  // record's content descriptor names. Null when nothing opened
  // (GetLastLoadStatus tells why).
  CVFDLDoc* LoadRelatedVFDLDoc(std::string_view pos, std::string_view path);
  // Moves the record at `pos` from the file `old_path` to `new_path`
  // (both as "src" is written, relative to this document's directory). The
  // record's "src" must still be `old_path` (letter case aside), so a
  // caller's stale view changes nothing. A record that owns its file has
  // the file, and its companion, moved on disk first (never over an
  // existing file); one that does not gets its "src" changed alone. False,
  // with nothing changed, when any step fails.
  [[nodiscard]] bool ChangeLinkFilePath(std::string_view pos, std::string_view old_path, std::string_view new_path,
                                        bool flag);

  // Links: a "Normal" record owning an Internet shortcut file
  // ("\0000\0042.url": by id, 256 to a directory) that holds the address. AddLink returns the record's
  // position, empty on failure (then nothing stays behind).
  [[nodiscard]] std::string AddLink(std::string_view parent_pos, std::string_view title, std::string_view url,
                                    bool flag);
  // The address a "Normal" record's shortcut holds; empty when it has none.
  std::string GetLinkURL(std::string_view pos) const;

  // Bookmark files: the tree below `folder_pos` as bookmark items (links
  // without an address are left out), and items added below `folder_pos`,
  // their times taken from the file where it has them. The import saves
  // once at the end (with `flag` or auto-save); it is refused as a whole
  // when that save fails.
  std::vector<BookmarkItem> ExportBookmarks(std::string_view folder_pos) const;
  [[nodiscard]] bool ImportBookmarks(std::string_view folder_pos, const std::vector<BookmarkItem>& items, bool flag,
                                     FavImportCounts& counts);

 protected:
  void PrepareNewRec(CFavRec& rec) override;
  void PrepareNewFolder(CFavFolder& folder) override;

 private:
  std::string Now() const { return clock_().Format(kTimeFormatMinutes); }
  // A record's file and its companion, as DelLinkFile deletes them.
  void RemoveOwnedFiles(std::string_view file) const;
  std::string FileOf(const CFavRec& rec) const;  // GetActualFilePos's answer
  std::string LinkURLOf(const CFavRec& rec) const;
  std::string NewLinkRec(std::string_view parent_pos, const BookmarkItem& item, bool flag);

  Clock clock_ = &CTime::GetCurrentTime;
  bool keep_times_ = false;  // an import brings its own
};

}  // namespace zds

#endif  // ZDS_BROWSING_FAV_DOC_H_
