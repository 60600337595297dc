// The templates of the favorites and the favorites notepad.

#ifndef ZDS_RESOURCES_FAVORITES_STRINGS_H_
#define ZDS_RESOURCES_FAVORITES_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kFavTemplate = 14;
inline constexpr int kFavNotepadTemplate = 21;

inline constexpr ResourceString kFavoritesStrings[] = {
    {kFavTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<fav ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Favorites\" attribute=\"root\">\r\n</folder>\r\n</fav>\r\n"},
    {kFavNotepadTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<favnotepad ver=\"1.0\">\r\n"
     "<header type=\"normal\"></header>\r\n"
     "<folder id=\"0000\" alias=\"Notepad\" attribute=\"root\">\r\n</folder></favnotepad>\r\n"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_FAVORITES_STRINGS_H_
