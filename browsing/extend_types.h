// The extension types of the favorites' and the history's nodes. Declared
// ahead of those families, which include this header.

#ifndef ZDS_BROWSING_EXTEND_TYPES_H_
#define ZDS_BROWSING_EXTEND_TYPES_H_

namespace zds {

// Favorites: a folder of node sub-type 4, any other folder; a record by the
// content type of the file it links ("Normal", "Shortlog", "FavNotepad",
// "midl"; a record of another content type keeps the type it had).
inline constexpr int kFavTopFolderType = 20;
inline constexpr int kFavFolderType = 22;
inline constexpr int kFavNormalType = 23;
inline constexpr int kFavShortlogType = 24;
inline constexpr int kFavNotepadType = 25;
inline constexpr int kFavMailIndexType = 26;
// A record of the favorites notepad.
inline constexpr int kFavNotepadRecType = 29;

// History, by a node's path: "kov:\Velmora\History" itself, its "E-Mail"
// folder and every archived mail box below it, its "News" folder and every
// archived news box below it, its "Chat" folder; anything else gets 0.
inline constexpr int kHistoryRootType = 61;
inline constexpr int kHistoryMailType = 62;
inline constexpr int kHistoryMailBoxType = 63;
inline constexpr int kHistoryNewsType = 64;
inline constexpr int kHistoryNewsBoxType = 65;
inline constexpr int kHistoryChatType = 66;

}  // namespace zds

#endif  // ZDS_BROWSING_EXTEND_TYPES_H_
