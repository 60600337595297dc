#include "zds/framework/xml_doc.h"

namespace zds {

OpenResult CXMLDoc::LoadXMLDoc(std::string_view path) {
  open_problem_ = {};
  if (!root_) return OpenResult::kUnusable;
  root_->RemoveLeftoverTemporaries(path);  // a crashed save's, never a live one
  std::string text;
  switch (root_->ReadWholeFile(path, text)) {
    case platform::ReadStatus::kMissing:
      return OpenResult::kMissing;
    case platform::ReadStatus::kFailed:
      refused_path_ = path;
      open_problem_ = {std::string(path), 0, "it cannot be read"};
      return OpenResult::kUnusable;
    case platform::ReadStatus::kRead:
      break;
  }
  if (!SetXml(std::move(text))) {
    refused_path_ = path;
    open_problem_.path = path;
    if (open_problem_.what.empty()) open_problem_.what = "it is no document of this kind";
    return OpenResult::kUnusable;
  }
  open_problem_ = {};
  file_path_ = path;
  modified_ = false;
  return OpenResult::kLoaded;
}

bool CXMLDoc::NewXMLDoc(std::string_view path) {
  if (!SetXml(GetTemplateText())) return false;
  file_path_ = path;
  if (refused_path_ == path) refused_path_.clear();  // created anew on purpose
  modified_ = true;
  return !auto_save_ || SaveXMLDoc();
}

bool CXMLDoc::SaveXMLDoc() {
  if (!root_ || file_path_.empty() || file_path_ == refused_path_) return false;
  if (!WriteXmlTo(*root_, file_path_)) return false;
  modified_ = false;
  return true;
}

bool CXMLDoc::CommitChange(bool save) {
  modified_ = true;
  return !(save || auto_save_) || SaveXMLDoc();
}

}  // namespace zds
