#include "zds/framework/path_controller.h"

#include "zds/platform/time.h"

namespace zds {

bool CVFPathController::UpdatePath(std::string& path, std::string_view old_path, std::string_view new_path) {
  if (old_path.empty() || !std::string_view(path).starts_with(old_path)) return false;
  if (path.size() != old_path.size() && path[old_path.size()] != '\\') return false;  // "\Mail" is not under "\Ma"
  path.replace(0, old_path.size(), new_path);
  return true;
}

int CVFPathController::UpdatePaths(std::vector<std::string>& paths, std::string_view old_path,
                                   std::string_view new_path) {
  int changed = 0;
  for (std::string& path : paths) changed += UpdatePath(path, old_path, new_path) ? 1 : 0;
  return changed;
}

std::string CXFormat::ChangeTimeFormat(std::string_view stored) {
  CTime time = ParseDateTime(stored);
  if (time.GetTime() == 0) return std::string(stored);
  return time.Format(kTimeFormatMinutes);
}

}  // namespace zds
