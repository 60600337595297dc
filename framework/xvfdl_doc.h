// CXVFDLDoc and CXCASDVFDLDoc: the shell's variants of the two document
// bases, which add the mapping of a stored file reference ("src") to the
// form the store keeps: "\" separators and a leading "\".

#ifndef ZDS_FRAMEWORK_XVFDL_DOC_H_
#define ZDS_FRAMEWORK_XVFDL_DOC_H_

#include <string>
#include <string_view>

#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/vfdl_doc.h"

namespace zds {

// "favorites/index.xml" -> "\favorites\index.xml"; empty stays empty.
std::string GetActualFilePos(std::string_view src);

class CXVFDLDoc : public CVFDLDoc {
 public:
  std::string_view GetRTTIClass() const override { return "CXVFDLDoc"; }
  static std::string GetActualFilePos(std::string_view src) { return zds::GetActualFilePos(src); }
};

class CXCASDVFDLDoc : public CCASDVFDLDoc {
 public:
  std::string_view GetRTTIClass() const override { return "CXCASDVFDLDoc"; }
  static std::string GetActualFilePos(std::string_view src) { return zds::GetActualFilePos(src); }
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_XVFDL_DOC_H_
