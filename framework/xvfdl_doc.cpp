#include "zds/framework/xvfdl_doc.h"

namespace zds {

std::string GetActualFilePos(std::string_view src) {
  if (src.empty()) return std::string();
  std::string pos;
  pos.reserve(src.size() + 1);
  if (src.front() != '\\' && src.front() != '/') pos += '\\';
  for (char c : src) pos += c == '/' ? '\\' : c;
  return pos;
}

}  // namespace zds
