// A mail account with one message, made through the library, for the
// history commands' tests: the host has no command that makes one yet.

#ifndef ZDS_TESTS_CLI_HISTORY_TESTING_H_
#define ZDS_TESTS_CLI_HISTORY_TESTING_H_

#include <filesystem>
#include <memory>
#include <string>

#include "zds/mail/mbox_controller.h"
#include "zds/store/zds.h"

namespace zds::test {

// A "popmail" account `name` on the store at `dir`, its Inbox holding one
// new message from `sender` with two attachments; false when it could not
// be made.
inline bool AddMailAccount(const std::filesystem::path& dir, const std::string& name, const std::string& sender) {
  CZDS facade;
  facade.SetDataRoot(std::make_shared<platform::DataRoot>(dir.string()));
  if (!facade.InitZDS()) return false;
  CAIDLDoc& index = *facade.GetAIDLDoc();
  CAIDLService service;
  service.name = "popmail";
  service.SetAlias(name);
  service.SetContent("mbc;class=CMBoxController;os=universal");
  service.SetSrc("\\mail\\" + name + "\\mbox.xml");
  const std::string pos = index.AddService(index.GetNodeByPath("kov:\\Velmora\\E-Mail")->GetPos(), service);
  auto* box = dynamic_cast<CMBoxController*>(index.LoadExpandVFDLDoc(pos));
  CMIDLDoc* inbox = box ? box->GetMidlDoc(box->GetRootPath() + "\\Inbox") : nullptr;
  if (inbox == nullptr) return false;
  CMIDLRec rec;
  CMIDLExtendRec& mail = rec.GetExtendRec();
  mail.subject = "Hello there";
  mail.sender = sender;
  mail.send_date = "2026-11-24 12:00";
  mail.attachments.resize(2);
  mail.attach_num = 2;
  const std::string rec_pos = inbox->AddRec(inbox->GetRoot()->GetPos(), rec, true);
  return !rec_pos.empty() && inbox->WriteRecMail(rec_pos, "From a\nSubject: Hello\n\nbody\n");
}

}  // namespace zds::test

#endif  // ZDS_TESTS_CLI_HISTORY_TESTING_H_
