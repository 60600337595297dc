// Favorites ("kov:\Velmora\Favorites"): links kept as Internet shortcuts,
// folders of them, and the bookmark file every browser reads and writes.
// A folder is named by its path of titles below the favorites' top
// ("Work/News"); a link or folder by its position.

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "zds/browsing/bookmark_html.h"
#include "zds/browsing/fav_doc.h"
#include "zds/store/aidl_doc.h"

namespace zds::cli {
namespace {

// The favorites document of a facade, opened when it exists (a reader
// never makes one); `none` tells a store that has none yet from one whose
// favorites cannot be opened, which gets its line.
CFavDoc* FavoritesOf(Call& call, CZDS& facade, bool& none) {
  none = false;
  CAIDLDoc* aidl = facade.GetAIDLDoc();
  if (aidl == nullptr) return nullptr;
  if (CFavDoc* fav = aidl->GetFavDoc<CFavDoc>()) return fav;
  none = aidl->GetLastLoadStatus() == LoadStatus::kMissing || !aidl->IsFavExisted();
  if (none) return nullptr;
  if (aidl->GetLastLoadStatus() == LoadStatus::kUnusable) {
    call.Refuse(DescribeProblem(*facade.GetDataRoot(), aidl->GetLastLoadProblem()) + " (left untouched)");
  } else {
    call.Refuse("the favorites cannot be opened");
  }
  return nullptr;
}

// Runs `work` on the favorites: read-only for a command that reads,
// through RunEdit for one that changes it, after `check` found on the
// read-only store that the change can be made. What only reads a store
// without favorites yet sees an empty document; an edit has them made by
// start-up.
using FavWork = std::function<int(CFavDoc&)>;
int WithFavorites(Call& call, const FavWork& work, const FavWork& check = {}) {
  auto on = [&call](const FavWork& what, bool reads) {
    return [&call, &what, reads](CZDS& facade) {
      bool none = false;
      CFavDoc* fav = FavoritesOf(call, facade, none);
      if (fav != nullptr) return what(*fav);
      if (!none) return 1;
      if (!reads) return call.Refuse("the store has no favorites folder");
      CFavDoc empty;
      return empty.NewXMLDoc("") && empty.InitVFDLDoc("", "kov:") ? what(empty) : 1;
    };
  };
  if (call.command().store == StoreUse::kEdits) {
    return RunEdit(call, on(work, false), check ? StoreWork(on(check, true)) : StoreWork());
  }
  std::unique_ptr<CZDS> facade = OpenReader(call);
  return facade ? on(work, true)(*facade) : 1;
}

// The folder at a path of titles below the top ("", "/" and "." name the
// top itself); null when there is none.
CFavFolder* FolderAt(CFavDoc& fav, std::string_view path) {
  CFavFolder* folder = fav.AsFolder(fav.GetRoot());
  while (folder != nullptr && !path.empty()) {
    const std::string_view part = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(path.size(), part.size() + 1));
    if (part.empty() || part == ".") continue;
    CFavFolder* child = fav.AsFolder(folder->FindChildByAlias(part));
    if (child == nullptr) {  // a link of the same title may come first
      for (CFavFolder& sibling : fav.ChildFolders(*folder)) {
        if (sibling.GetAlias() == part) child = &sibling;
      }
    }
    folder = child;
  }
  return folder;
}

CFavFolder* FolderOption(Call& call, CFavDoc& fav) {
  const std::string path = call.Value("--folder").value_or("");
  CFavFolder* folder = FolderAt(fav, path);
  if (folder == nullptr) call.Refuse("no favorites folder " + path);
  return folder;
}

std::string KindOf(const CVFDLNode& node) {
  if (node.IsFolder()) return "folder";
  const std::string type = node.GetContentType();
  if (type == kFavNormalContent) return "link";
  if (type == kFavShortlogContent) return "shortlog";
  if (type == kFavNotepadContent) return "notepad";
  if (type == kFavMailIndexContent) return "mail";
  return "other";
}

int Add(Call& call) {
  const std::string url = call.operand(0);
  if (url.empty()) return call.Usage("a link needs an address");
  const std::string title = call.Value("--title").value_or("");
  return WithFavorites(
      call,
      [&](CFavDoc& fav) {
        CFavFolder* folder = FolderOption(call, fav);
        if (folder == nullptr) return 1;
        const std::string pos = fav.AddLink(folder->GetPos(), title, url, true);
        if (pos.empty()) return call.Refuse("cannot add the link (the favorites cannot be written)");
        call.out() << ShownPos(pos) << '\n';
        return 0;
      },
      [&](CFavDoc& fav) { return FolderOption(call, fav) ? 0 : 1; });
}

// The missing folders of a path, made one below the other.
int MakeFolder(Call& call, CFavDoc& fav) {
  const std::string& path = call.operand(0);
  if (FolderAt(fav, path) != nullptr) return call.Refuse("the favorites folder " + path + " exists");
  CFavFolder* parent = fav.AsFolder(fav.GetRoot());
  std::string_view rest = path;
  while (!rest.empty()) {
    const std::string_view part = rest.substr(0, rest.find('/'));
    rest.remove_prefix(std::min(rest.size(), part.size() + 1));
    if (part.empty() || part == ".") continue;
    if (CFavFolder* existing = FolderAt(fav, std::string_view(path).substr(0, path.size() - rest.size()))) {
      parent = existing;
      continue;
    }
    CFavFolder folder;
    folder.SetAlias(part);
    folder.SetAttribute(kAttrNormal);
    const std::string pos = fav.AddFolder(parent->GetPos(), folder, true);
    if (pos.empty()) return call.Refuse("cannot make the favorites folder " + path);
    parent = fav.GetFolder(pos);
  }
  call.out() << ShownPos(parent->GetPos()) << '\n';
  return 0;
}

int MakeDir(Call& call) {
  if (call.operand(0).find_first_not_of("/.") == std::string::npos) return call.Usage("a folder needs a title");
  return WithFavorites(
      call, [&](CFavDoc& fav) { return MakeFolder(call, fav); },
      [&](CFavDoc& fav) {
        return FolderAt(fav, call.operand(0)) ? call.Refuse("the favorites folder " + call.operand(0) + " exists")
                                              : 0;
      });
}

int List(Call& call) {
  return WithFavorites(call, [&](CFavDoc& fav) {
    const std::string path = call.operand_count() > 0 ? call.operand(0) : "";
    const CFavFolder* folder = FolderAt(fav, path);
    if (folder == nullptr) return call.Refuse("no favorites folder " + path);
    Listing listing(call, {"position", "kind", "created", "updated", "title", "url"});
    for (const CVFDLNode& node : Children(*folder)) {
      std::string created, updated, url;
      if (const CFavFolder* child = fav.AsFolder(&node)) {
        created = child->GetExtendFolder().createtime;
        updated = child->GetExtendFolder().updatetime;
      } else if (const CFavRec* rec = fav.AsRec(&node)) {
        created = rec->GetExtendRec().createtime;
        updated = rec->GetExtendRec().updatetime;
        url = fav.GetLinkURL(rec->GetPos());
      } else {
        continue;
      }
      listing.Row({ShownPos(node.GetPos()), KindOf(node), created, updated, node.GetAlias(), url});
    }
    return listing.Finish();
  });
}

// Whether the position names a link or folder of the favorites, the top aside.
int Removable(Call& call, CFavDoc& fav, const std::string& pos) {
  const CVFDLNode* node = fav.GetNodeByPos(pos);
  if (node != nullptr && node != fav.GetRoot() && (fav.AsRec(node) || fav.AsFolder(node))) return 0;
  return call.Refuse("no favorite at " + call.operand(0));
}

int Remove(Call& call) {
  const std::string pos = StoredPos(call.operand(0));
  return WithFavorites(
      call,
      [&](CFavDoc& fav) {
        if (int refused = Removable(call, fav, pos)) return refused;
        const bool removed = fav.GetRec(pos) ? fav.DelRecOnDoc(pos) : fav.DelFolderOnDoc(pos);
        return removed ? 0 : call.Refuse("cannot remove " + call.operand(0));
      },
      [&](CFavDoc& fav) { return Removable(call, fav, pos); });
}

int Export(Call& call) {
  return WithFavorites(call, [&](CFavDoc& fav) {
    call.out() << WriteBookmarkHtml(fav.ExportBookmarks(fav.GetRoot()->GetPos()));
    return 0;
  });
}

int Import(Call& call) {
  std::ifstream file(call.operand(0), std::ios::binary);
  if (!file) return call.Refuse("cannot read " + call.operand(0));
  const BookmarkFile bookmarks = ReadBookmarkHtml(std::string(std::istreambuf_iterator<char>(file), {}));
  if (bookmarks.items.empty() && bookmarks.refused == 0) return call.Refuse(call.operand(0) + " holds no bookmarks");
  return WithFavorites(
      call,
      [&](CFavDoc& fav) {
        CFavFolder* folder = FolderOption(call, fav);
        if (folder == nullptr) return 1;
        FavImportCounts counts;
        if (!fav.ImportBookmarks(folder->GetPos(), bookmarks.items, true, counts)) {
          return call.Refuse("cannot import into the favorites (they cannot be written)");
        }
        call.out() << counts.folders << " folders, " << counts.links << " links, "
                   << counts.refused + bookmarks.refused << " refused\n";
        return 0;
      },
      [&](CFavDoc& fav) { return FolderOption(call, fav) ? 0 : 1; });
}

}  // namespace

void AddFavCommands(CommandTable& table) {
  const Option folder{"--folder", "PATH", "the folder, as titles below the top joined by / (default: the top)"};
  table.Add({.noun = "fav", .verb = "add", .operands = "URL", .min_operands = 1, .max_operands = 1,
             .summary = "add a link to the favorites and print its position",
             .options = {{"--title", "TEXT", "the title shown", true}, folder},
             .store = StoreUse::kEdits, .run = Add});
  table.Add({.noun = "fav", .verb = "mkdir", .operands = "PATH", .min_operands = 1, .max_operands = 1,
             .summary = "make a favorites folder (and the missing ones above it) and print its position",
             .store = StoreUse::kEdits, .run = MakeDir});
  table.Add({.noun = "fav", .verb = "ls", .operands = "[PATH]", .max_operands = 1,
             .summary = "list a favorites folder: position, kind, created, updated, title, url",
             .output = Output::kList, .run = List});
  table.Add({.noun = "fav", .verb = "rm", .operands = "POSITION", .min_operands = 1, .max_operands = 1,
             .summary = "remove a link or a folder with all it holds, and the files they own",
             .store = StoreUse::kEdits, .run = Remove});
  table.Add({.noun = "fav", .verb = "export", .summary = "print the favorites as a bookmark file (HTML)",
             .run = Export});
  table.Add({.noun = "fav", .verb = "import", .operands = "FILE", .min_operands = 1, .max_operands = 1,
             .summary = "add a bookmark file's folders and links; print the counts",
             .options = {folder}, .store = StoreUse::kEdits, .run = Import});
}

}  // namespace zds::cli
