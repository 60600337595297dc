// Mail accounts ("popmail" services under "kov:\Velmora\E-Mail") and their
// mail boxes: folders, message lists, mbox in and out, look-ups, marking read.

#include <fstream>
#include <memory>
#include <optional>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "cli/mail_listing.h"
#include "zds/framework/vfdl_walk.h"
#include "zds/mail/mbox.h"

namespace zds::cli {
namespace {

constexpr std::string_view kMailServicesPath = "kov:\\Velmora\\E-Mail";

// An account's name becomes its mail box directory ("\mail\NAME\"), so it
// must be one path component on every system the store moves to.
bool IsUsableAccountName(std::string_view name) {
  if (name.empty() || name.size() > 64 || name.front() == ' ' || name.back() == ' ' || name.back() == '.') {
    return false;
  }
  if (name == "." || name == "..") return false;
  for (char c : name) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F || std::string_view("\\/:*?\"<>|%").find(c) != std::string_view::npos) {
      return false;
    }
  }
  return true;
}

// The line for a document behind a node that exists but cannot be used.
void TellUnusable(Call& call, const CCASDVFDLDoc& holder) {
  call.err() << "zds: " << DescribeProblem(*holder.GetDataRoot(), holder.GetLastLoadProblem()) << " (left untouched)\n";
}

// The mail box of an account, opened on `facade` (made when missing and
// `create`); null with its line on the error stream.
CMBoxController* OpenMailBox(Call& call, CZDS& facade, std::string_view account, bool create) {
  CAIDLDoc& index = *facade.GetAIDLDoc();
  CAIDLService* service = FindMailAccount(index, account);
  if (service == nullptr) {
    call.Refuse("no mail account " + std::string(account) + " (zds account ls lists them)");
    return nullptr;
  }
  CMBoxController* box = index.LoadVFDLDoc<CMBoxController>(*service, create);
  if (box == nullptr) box = index.GetExpandedDoc<CMBoxController>(*service);
  if (box != nullptr) return box;
  if (index.GetLastLoadStatus() == LoadStatus::kUnusable) {
    TellUnusable(call, index);
  } else if (index.GetLastLoadStatus() == LoadStatus::kMissing) {
    call.Refuse("the mail box of " + std::string(account) + " has never been written");
  } else {
    call.Refuse("cannot open the mail box of " + std::string(account));
  }
  return nullptr;
}

// The mail index of a folder named on the command line; null with a line.
// A reader is not given one that was never written (`none` says so).
CMIDLDoc* OpenFolderIndex(Call& call, CMBoxController& box, std::string_view typed, bool create, bool* none = nullptr) {
  CVFDLNode* folder = FindMailFolder(box, typed);
  if (folder == nullptr) {
    call.Refuse("no mail folder " + std::string(typed) + " (zds mail folders lists them)");
    return nullptr;
  }
  if (create) {
    CMIDLDoc* doc = box.GetMidlDoc(*folder);
    if (doc == nullptr) call.Refuse("cannot open the mail index of " + std::string(typed));
    return doc;
  }
  CMIDLDoc* doc = box.LoadVFDLDoc<CMIDLDoc>(*folder, false);
  if (doc != nullptr) return doc;
  if (box.GetLastLoadStatus() == LoadStatus::kMissing && none != nullptr) {
    *none = true;
  } else if (box.GetLastLoadStatus() == LoadStatus::kUnusable) {
    TellUnusable(call, box);
  } else {
    call.Refuse("cannot open the mail index of " + std::string(typed));
  }
  return nullptr;
}

// A message by its id ("0003") or position in a folder's index.
std::string MessagePos(const CMIDLDoc& doc, std::string_view typed) {
  const std::string stored = StoredPos(typed);
  if (stored.find('\\') != std::string::npos) return stored;
  return doc.GetPosPrefix() + '\\' + stored;
}

// The read commands: the service index and then what they name, read-only:
// the account's mail box and, with `folder`, the index of the folder named
// second (null when it was never written: a folder with no messages).
struct Reading {
  std::unique_ptr<CZDS> facade;
  CMBoxController* box = nullptr;
  CMIDLDoc* index = nullptr;
};
bool ReadMailBox(Call& call, Reading& reading, bool folder = false) {
  reading.facade = OpenReader(call);
  if (!reading.facade) return false;
  reading.box = OpenMailBox(call, *reading.facade, call.operand(0), false);
  if (reading.box == nullptr || !folder) return reading.box != nullptr;
  bool none = false;
  reading.index = OpenFolderIndex(call, *reading.box, call.operand(1), false, &none);
  return reading.index != nullptr || none;
}

int AccountAdd(Call& call) {
  const std::string name = call.operand(0);
  if (call.Value("--kind") != kMailAccountKind) return call.Usage("--kind takes popmail");
  if (!IsUsableAccountName(name)) {
    return call.Usage("an account name is one to 64 characters, none of \\/:*?\"<>|% nor a control character, "
                      "not starting with a blank nor ending with a blank or a dot");
  }
  auto free = [&](CZDS& facade) {
    // Names differing in letter case would share a mail box directory.
    const CAIDLService* taken = FindMailAccount(*facade.GetAIDLDoc(), name);
    return taken ? call.Refuse("there is a mail account " + taken->GetAlias() + " already") : 0;
  };
  return RunEdit(call, [&](CZDS& facade) {
    if (int taken = free(facade)) return taken;
    CAIDLDoc& index = *facade.GetAIDLDoc();
    CVFDLNode* folder = index.GetNodeByPath(kMailServicesPath);
    if (folder == nullptr) return call.Refuse("the service index has no folder " + ShownPos(kMailServicesPath));
    CAIDLService service;
    service.name = std::string(kMailAccountKind);
    service.SetAlias(name);
    service.SetContent("mbc;class=CMBoxController;os=universal");
    service.SetSrc("\\mail\\" + name + "\\mbox.xml");
    const std::string pos = index.AddService(folder->GetPos(), service);
    if (pos.empty()) return call.Refuse("cannot add the account (the service index cannot be written)");
    // The mail box is written now, so that readers find its folders.
    if (OpenMailBox(call, facade, pos, true) == nullptr) return 1;
    call.out() << ShownPos(pos) << '\n';
    return 0;
  }, free);
}

int AccountList(Call& call) {
  std::unique_ptr<CZDS> facade = OpenReader(call);
  if (!facade) return 1;
  Listing listing(call, {"position", "kind", "name", "file"});
  for (const CVFDLNode& node : Subtree(*facade->GetAIDLDoc()->GetRoot())) {
    if (const CAIDLService* service = CAIDLService::From(&node)) {
      listing.Row({ShownPos(service->GetPos()), service->name, service->GetAlias(), ShownPos(service->GetSrc())});
    }
  }
  return listing.Finish();
}

int MailFolders(Call& call) {
  Reading reading;
  if (!ReadMailBox(call, reading)) return 1;
  CMBoxController& box = *reading.box;
  Listing listing(call, {"folder", "messages", "new"});
  for (CMBCFolder* folder : box.GetMailFolders()) {
    int messages = 0, fresh = 0;
    if (CMIDLDoc* doc = box.LoadVFDLDoc<CMIDLDoc>(*folder, false)) {
      messages = doc->GetRecNum("");
      fresh = doc->GetNewRecNum("");
    } else if (box.GetLastLoadStatus() != LoadStatus::kMissing) {
      TellUnusable(call, box);
      return 1;
    }
    listing.Row({ShownMailFolder(box, *folder), std::to_string(messages), std::to_string(fresh)});
  }
  return listing.Finish();
}

int MailList(Call& call) {
  Reading reading;
  if (!ReadMailBox(call, reading, true)) return 1;
  Listing listing = MailListing(call);
  if (reading.index != nullptr) AddMailRows(listing, *reading.index);
  return listing.Finish();
}

int MailExport(Call& call) {
  Reading reading;
  if (!ReadMailBox(call, reading, true)) return 1;
  if (reading.index != nullptr && !ExportMbox(*reading.index, call.out())) {
    return call.Refuse("cannot read every message of " + call.operand(1));
  }
  return 0;
}

int MailFind(Call& call) {
  const std::optional<std::string> message_id = call.Value("--message-id");
  const std::optional<std::string> uidl = call.Value("--uidl");
  if (message_id.has_value() == uidl.has_value()) return call.Usage("give one of --message-id and --uidl");
  Reading reading;
  if (!ReadMailBox(call, reading)) return 1;
  const CMailLocation found =
      message_id ? reading.box->FindMailByMessageID(*message_id) : reading.box->FindMailByUIDL(*uidl);
  if (!found) return call.Refuse("no message has " + (message_id ? "the Message-ID " + *message_id : "the UIDL " + *uidl));
  Listing listing(call, {"folder", "id"});
  listing.Row({ShownMailFolder(*reading.box, *found.folder), found.rec->GetID()});
  return listing.Finish();
}

int MailImport(Call& call) {
  const std::string& file = call.operand(2);
  if (!std::ifstream(file, std::ios::binary)) return call.Refuse("cannot read " + file);
  // A mail box never written is made by the edit, with the standard folders.
  auto check = [&](CZDS& reader) {
    CAIDLDoc& index = *reader.GetAIDLDoc();
    const CAIDLService* account = FindMailAccount(index, call.operand(0));
    if (account != nullptr && index.LoadVFDLDoc<CMBoxController>(*account, false) == nullptr &&
        index.GetLastLoadStatus() == LoadStatus::kMissing) {
      return 0;
    }
    CMBoxController* box = OpenMailBox(call, reader, call.operand(0), false);
    if (box == nullptr) return 1;
    return FindMailFolder(*box, call.operand(1)) ? 0 : call.Refuse("no mail folder " + call.operand(1));
  };
  return RunEdit(call, [&](CZDS& facade) {
    CMBoxController* box = OpenMailBox(call, facade, call.operand(0), true);
    CMIDLDoc* doc = box ? OpenFolderIndex(call, *box, call.operand(1), true) : nullptr;
    if (doc == nullptr) return 1;
    std::ifstream in(file, std::ios::binary);  // afresh on every attempt
    if (!in) return call.Refuse("cannot read " + file);
    const CMboxImportResult result = ImportMbox(*doc, in);
    if (!result.saved) return call.Refuse("cannot save the mail index of " + call.operand(1) + " (it is as it was)");
    call.out() << result.stored << " stored, " << result.refused << " refused\n";
    return 0;
  }, check);
}

int MailRead(Call& call) {
  // The message's index and position; a folder never written holds none.
  auto find = [&](CZDS& facade, bool edit) -> std::pair<CMIDLDoc*, std::string> {
    CMBoxController* box = OpenMailBox(call, facade, call.operand(0), edit);
    bool none = false;
    CMIDLDoc* doc = box ? OpenFolderIndex(call, *box, call.operand(1), edit, &none) : nullptr;
    std::string pos = doc ? MessagePos(*doc, call.operand(2)) : "";
    if (none || (doc != nullptr && doc->GetRec(pos) == nullptr)) {
      call.Refuse("no message " + call.operand(2) + " in " + call.operand(1));
      return {nullptr, ""};
    }
    return {doc, pos};
  };
  return RunEdit(call, [&](CZDS& facade) {
    auto [doc, pos] = find(facade, true);
    if (doc == nullptr) return 1;
    if (!doc->SetNewFlag(pos, false)) return call.Refuse("cannot save the mail index of " + call.operand(1));
    return 0;
  }, [&](CZDS& reader) { return find(reader, false).first ? 0 : 1; });
}

}  // namespace

void AddMailCommands(CommandTable& table) {
  table.Add({.noun = "account", .verb = "add", .operands = "NAME", .min_operands = 1, .max_operands = 1,
             .summary = "add a mail account with its mail box and print its position",
             .options = {{"--kind", "KIND", "the kind of account: popmail", true}},
             .store = StoreUse::kEdits, .run = AccountAdd});
  table.Add({.noun = "account", .verb = "ls", .summary = "list the accounts: position, kind, name, file",
             .output = Output::kList, .run = AccountList});
  table.Add({.noun = "mail", .verb = "folders", .operands = "ACCOUNT", .min_operands = 1, .max_operands = 1,
             .summary = "list an account's mail folders: folder, messages, new ones",
             .output = Output::kList, .run = MailFolders});
  table.Add({.noun = "mail", .verb = "ls", .operands = "ACCOUNT FOLDER", .min_operands = 2, .max_operands = 2,
             .summary = "list a folder's messages: id, N or -, date, sender, subject, attachments",
             .output = Output::kList, .run = MailList});
  table.Add({.noun = "mail", .verb = "import", .operands = "ACCOUNT FOLDER FILE", .min_operands = 3,
             .max_operands = 3, .summary = "add the messages of an mbox file to a folder",
             .store = StoreUse::kEdits, .run = MailImport});
  table.Add({.noun = "mail", .verb = "export", .operands = "ACCOUNT FOLDER", .min_operands = 2, .max_operands = 2,
             .summary = "write a folder's messages as mbox", .run = MailExport});
  table.Add({.noun = "mail", .verb = "find", .operands = "ACCOUNT", .min_operands = 1, .max_operands = 1,
             .summary = "the folder and id of the first message with that Message-ID or UIDL",
             .options = {{"--message-id", "ID", "the Message-ID, as written (<...>)"},
                         {"--uidl", "UIDL", "the POP3 unique id"}},
             .output = Output::kList, .run = MailFind});
  table.Add({.noun = "mail", .verb = "read", .operands = "ACCOUNT FOLDER ID", .min_operands = 3, .max_operands = 3,
             .summary = "mark a message read", .store = StoreUse::kEdits, .run = MailRead});
}

}  // namespace zds::cli
