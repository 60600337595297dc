// The library's string table: document templates and user-facing texts,
// looked up by the fixed numbers the stored formats and the host use.
//
// Everything is compiled in, so a lookup never depends on which program
// hosts it. Each subsystem keeps its strings in a header of its own here
// (events_strings.h, ...), which string_table.cpp joins into one table;
// templates are kept line for line as the documents are to be created,
// joined by CR LF.

#ifndef ZDS_RESOURCES_STRING_TABLE_H_
#define ZDS_RESOURCES_STRING_TABLE_H_

#include <string>
#include <string_view>

namespace zds {

struct ResourceString {
  int id = 0;
  std::string_view text;
};

// The text of string resource `id`, or an empty view when there is none.
std::string_view LoadResourceString(int id);

// Some templates are stored in two resources and joined when used.
std::string LoadTemplate(int first_id, int second_id = 0);

}  // namespace zds

#endif  // ZDS_RESOURCES_STRING_TABLE_H_
