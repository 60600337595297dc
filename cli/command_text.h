// What every zds command writes and reads the same way: fields of its
// lines, its one-line errors with their exit statuses, the names of stored
// files in messages, the moments its arguments give, positions as a shell
// passes them, and lists and shown items for people and for scripts.

#ifndef ZDS_CLI_COMMAND_TEXT_H_
#define ZDS_CLI_COMMAND_TEXT_H_

#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zds/platform/files.h"
#include "zds/platform/time.h"

namespace zds::cli {

class Call;

// A stored text as one output field: tabs and line breaks become blanks.
std::string Field(std::string_view text);

// A call that cannot be understood: the line "zds: PROBLEM (zds --help for
// usage)" on `err`, and the exit status 2.
int Usage(std::ostream& err, std::string_view problem);
// A call understood but refused (not found, cannot be done): the line
// "zds: PROBLEM" on `err`, and the exit status 1.
int Refuse(std::ostream& err, std::string_view problem);

// The native name of a stored path ("\timer\index.xml"), for messages.
std::string NativeName(const platform::DataRoot& root, std::string_view stored);

// The one time grammar of every command: "YYYY-MM-DD", "YYYY-MM-DD HH:MM",
// "YYYY-MM-DD HH:MM:SS", "now", "today", "tomorrow", in local time; a day
// alone is its midnight, and `day_only` says it was one. A time the clock
// skips is refused, as is anything else.
bool ParseTime(std::string_view text, CTime& time, bool* day_only = nullptr);
inline constexpr std::string_view kTimeGrammar = "YYYY-MM-DD[ HH:MM[:SS]], now, today or tomorrow";

// A position or path as printed: "/" between the parts, and every byte a
// POSIX shell would act on as %XX, so it passes unquoted
// ("kov:/Timer%20Index/0004/0001"). The library's own form is kept.
std::string ShownPos(std::string_view stored);
// What a person typed back into the library's form: one with a "\" is
// taken as it stands; otherwise "/" separates and %XX is decoded.
std::string StoredPos(std::string_view typed);

// A list's rows: on a terminal a header line and aligned columns, piped
// tab-separated lines without a header, with --json one array of objects
// named by the columns. Fields are texts; Field() is applied to lines.
class Listing {
 public:
  Listing(Call& call, std::vector<std::string> columns);
  void Row(std::vector<std::string> fields);
  // Prints what was gathered; the exit status 0.
  int Finish();

 private:
  Call& call_;
  std::vector<std::string> columns_;
  std::vector<std::vector<std::string>> rows_;
};

// One item's fields: "name: value" lines, or with --json one object. A
// field a person rarely needs, and an empty one, shows only with --all; a
// field added with `many` is a list in JSON however often it comes.
class ShownItem {
 public:
  explicit ShownItem(Call& call) : call_(call) {}
  void Add(std::string name, std::string value, bool needed = true, bool many = false);
  int Finish();

 private:
  struct Entry {
    std::string name, value;
    bool many;
  };
  Call& call_;
  std::vector<Entry> entries_;
};

// A JSON string literal; bytes that are not UTF-8 are taken as Latin-1.
std::string JsonString(std::string_view text);

}  // namespace zds::cli

#endif  // ZDS_CLI_COMMAND_TEXT_H_
