// CVFPathController: keeps stored virtual paths right when a folder is
// renamed or moved, and CXFormat: the display form of stored times.

#ifndef ZDS_FRAMEWORK_PATH_CONTROLLER_H_
#define ZDS_FRAMEWORK_PATH_CONTROLLER_H_

#include <string>
#include <string_view>
#include <vector>

namespace zds {

class CVFPathController {
 public:
  // Rewrites `path` when it is `old_path` or lies below it; true when it changed.
  static bool UpdatePath(std::string& path, std::string_view old_path, std::string_view new_path);
  // The same over a list of stored paths; returns how many changed.
  static int UpdatePaths(std::vector<std::string>& paths, std::string_view old_path, std::string_view new_path);
};

class CXFormat {
 public:
  // "2004-05-01 09:00:00" -> "2004-05-01 09:00"; text that is not a stored
  // time comes back as it is.
  static std::string ChangeTimeFormat(std::string_view stored);
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_PATH_CONTROLLER_H_
