#include "framework/xml_doc.h"

namespace zds {

int CXMLDoc::LoadXMLDoc(std::string_view path) {
  if (!root_) return kLoadUnusable;
  root_->RemoveLeftoverTemporaries(path);  // a crashed save's, never a live one
  std::string text;
  switch (root_->ReadWholeFile(path, text)) {
    case platform::ReadStatus::kMissing:
      return kLoadMissing;
    case platform::ReadStatus::kFailed:
      refused_path_ = path;
      return kLoadUnusable;
    case platform::ReadStatus::kRead:
      break;
  }
  if (!SetXml(std::move(text))) {
    refused_path_ = path;
    return kLoadUnusable;
  }
  file_path_ = path;
  modified_ = false;
  return kLoadRead;
}

bool CXMLDoc::NewXMLDoc(std::string_view path) {
  if (!SetXml(GetTemplateText())) return false;
  file_path_ = path;
  if (refused_path_ == path) refused_path_.clear();  // created anew on purpose
  modified_ = true;
  if (auto_save_) SaveXMLDoc();
  return true;
}

bool CXMLDoc::SaveXMLDoc() {
  if (!root_ || file_path_.empty() || file_path_ == refused_path_) return false;
  if (!WriteXmlTo(*root_, file_path_)) return false;
  modified_ = false;
  return true;
}

bool CXMLDoc::NoteChange(bool save) {
  modified_ = true;
  if (save || auto_save_) return SaveXMLDoc();
  return true;
}

}  // namespace zds
