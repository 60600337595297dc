// CXMLDoc: a document that lives in one file under the data root. It knows
// its file, reads it whole, writes it back atomically, and saves after each
// change when auto-save is on.
//
// A file that exists but cannot be used is never overwritten: after such a
// load the document refuses to save over that file unless it is created
// anew from its template on purpose.

#ifndef ZDS_FRAMEWORK_XML_DOC_H_
#define ZDS_FRAMEWORK_XML_DOC_H_

#include <memory>
#include <string>
#include <string_view>

#include "framework/rtti.h"
#include "platform/files.h"

namespace zds {

class CXMLDoc : public CRTTIObject {
 public:
  // LoadXMLDoc results.
  static constexpr int kLoadMissing = 0;
  static constexpr int kLoadRead = 1;
  static constexpr int kLoadUnusable = 2;

  CXMLDoc() = default;
  CXMLDoc(const CXMLDoc&) = delete;
  CXMLDoc& operator=(const CXMLDoc&) = delete;
  ~CXMLDoc() override = default;

  void SetDataRoot(std::shared_ptr<const platform::DataRoot> root) { root_ = std::move(root); }
  const std::shared_ptr<const platform::DataRoot>& GetDataRoot() const { return root_; }

  // Reads the file at the stored path: 1 read, 0 no such file, other values
  // when it exists but cannot be used (then nothing of it is loaded).
  int LoadXMLDoc(std::string_view path);
  // Creates the document from its template and remembers `path` as its
  // file; writes it at once only when auto-save is on. False when the
  // template does not parse.
  virtual bool NewXMLDoc(std::string_view path);
  bool SaveXMLDoc();

  void SetAutoSaveFlag(bool flag) { auto_save_ = flag; }
  bool GetAutoSaveFlag() const { return auto_save_; }
  const std::string& GetFilePath() const { return file_path_; }
  bool IsModified() const { return modified_; }

  // The whole text: replacing it rebuilds the document, and fails (leaving
  // the document as it was) on text that does not parse.
  virtual bool SetXml(std::string text) = 0;
  virtual std::string GetXml() const = 0;

 protected:
  // Writes the whole text to `path` atomically; SaveXMLDoc's last step.
  // The default writes GetXml(); a kind that can hand its text over in
  // pieces avoids building it as one string first.
  virtual bool WriteXmlTo(const platform::DataRoot& root, std::string_view path) const {
    return root.WriteFileAtomic(path, GetXml());
  }
  // The template a new document of this kind starts from.
  virtual std::string GetTemplateText() const { return std::string(); }
  // Records a change; saves when `save` or auto-save asks for it.
  // False only when a save was due and failed.
  bool NoteChange(bool save);

 private:
  std::shared_ptr<const platform::DataRoot> root_;
  std::string file_path_;
  std::string refused_path_;  // a file that exists but could not be used
  bool auto_save_ = false;
  bool modified_ = false;
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_XML_DOC_H_
