// The templates of the sticky notes, the templates document and the print
// list.

#ifndef ZDS_RESOURCES_NOTES_STRINGS_H_
#define ZDS_RESOURCES_NOTES_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kNoteTemplate = 26;
// Ours: no other string of the library uses 22 or 23 (docs/notes.md).
inline constexpr int kATLTemplate = 22;
inline constexpr int kAPLTemplate = 23;

inline constexpr ResourceString kNotesStrings[] = {
    {kNoteTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<ANote ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Notepad\" attribute=\"root\">\r\n</folder>\r\n</ANote>\r\n"},
    {kATLTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<atl ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Template\" attribute=\"root\">\r\n"
     "<folder id=\"0001\" alias=\"Common\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0002\" alias=\"New Mail\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0003\" alias=\"Forward Mail\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0004\" alias=\"Diary\" attribute=\"undel\">\r\n</folder>\r\n"
     "</folder>\r\n</atl>\r\n"},
    {kAPLTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<apl ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Print List\" attribute=\"root\">\r\n</folder>\r\n</apl>\r\n"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_NOTES_STRINGS_H_
