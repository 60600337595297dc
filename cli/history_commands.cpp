// The history ("kov:\Velmora\History") and the chat history below it:
// conversations logged per chat service, mail boxes archived as copies,
// and the messages of an archive listed as a mail folder's are.

#include <optional>
#include <string_view>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "cli/mail_listing.h"
#include "zds/browsing/history_doc.h"

namespace zds::cli {
namespace {

constexpr std::string_view kTypeWords[] = {"opened", "protected", "private"};

// The history of a facade. A reader's store may have none yet (never
// written): `none` then says so and no line is written.
CHistoryDoc* HistoryOf(Call& call, CZDS& facade, bool& none) {
  none = false;
  CAIDLDoc* index = facade.GetAIDLDoc();
  CHistoryDoc* history = index ? index->GetHistoryDoc<CHistoryDoc>() : nullptr;
  if (history != nullptr) return history;
  if (index != nullptr && index->GetLastLoadStatus() == LoadStatus::kUnusable) {
    call.Refuse(DescribeProblem(*facade.GetDataRoot(), index->GetLastLoadProblem()) + " (left untouched)");
  } else if (index != nullptr && call.command().store == StoreUse::kReads) {
    none = true;
  } else {
    call.Refuse("the history cannot be opened");
  }
  return nullptr;
}

// The chat history index, with the same three outcomes.
CCHIndexController* ChatIndexOf(Call& call, CZDS& facade, bool& none) {
  CHistoryDoc* history = HistoryOf(call, facade, none);
  CCHIndexController* chat = history ? history->GetChatHistroyDoc() : nullptr;
  if (chat != nullptr || history == nullptr) return chat;
  if (history->GetLastLoadStatus() == LoadStatus::kUnusable) {
    call.Refuse(DescribeProblem(*facade.GetDataRoot(), history->GetLastLoadProblem()) + " (left untouched)");
  } else {
    none = call.command().store == StoreUse::kReads;
    if (!none) call.Refuse("the chat history cannot be opened");
  }
  return nullptr;
}

std::optional<int> ReadTime(Call& call, std::string_view option, std::string& text) {
  const std::string given = *call.Value(option);
  CTime time;
  if (!ParseTime(given, time)) {
    return call.Usage("malformed time '" + given + "' (" + std::string(kTimeGrammar) + ")");
  }
  text = time.Format(kTimeFormatMinutes);
  return std::nullopt;
}

int ChatLog(Call& call) {
  CCHDLRec rec;
  const std::string type = *call.Value("--type");
  int number = 0;
  while (number < 3 && kTypeWords[number] != type) ++number;
  if (number == 3) return call.Usage("--type takes opened, protected or private");
  std::string start, end;
  if (std::optional<int> bad = ReadTime(call, "--start", start)) return *bad;
  if (std::optional<int> bad = ReadTime(call, "--end", end)) return *bad;
  if (end < start) return call.Usage("the conversation ends before it starts");
  const std::string provider = *call.Value("--provider");
  rec.SetProvider(provider);
  rec.SetChannel(*call.Value("--channel"));
  rec.SetAlias(*call.Value("--channel"));
  rec.SetType(number);
  rec.SetTime(start, end);
  rec.SetAbstract(call.Value("--abstract").value_or(""));
  rec.GetExtendRec().createtime = CTime::GetCurrentTime().Format(kTimeFormatMinutes);
  return RunEdit(call, [&](CZDS& facade) {
    bool none = false;
    CCHIndexController* chat = ChatIndexOf(call, facade, none);
    if (chat == nullptr) return 1;
    CCHDLDoc* doc = chat->GetChatDoc(provider, true);
    if (doc == nullptr) return call.Refuse("the chat history of " + provider + " cannot be opened");
    const std::string pos = doc->AddRec(doc->GetRoot()->GetPos(), rec, true);
    if (pos.empty()) return call.Refuse("cannot log the conversation (the chat history cannot be written)");
    call.out() << ShownPos(pos) << '\n';
    return 0;
  });
}

int ChatList(Call& call) {
  std::unique_ptr<CZDS> reader = OpenReader(call);
  if (!reader) return 1;
  bool none = false;
  CCHIndexController* chat = ChatIndexOf(call, *reader, none);
  if (chat == nullptr && !none) return 1;
  std::vector<CVFDLFolder*> services;
  if (call.operand_count() == 0) {
    if (chat != nullptr) services = chat->GetServiceFolders();
  } else if (CVFDLFolder* service = chat ? chat->GetServiceFolder(call.operand(0)) : nullptr) {
    services.push_back(service);
  } else {
    return call.Refuse("no chat service " + call.operand(0));
  }
  Listing listing(call, {"position", "provider", "channel", "type", "start", "end"});
  for (CVFDLFolder* service : services) {
    CCHDLDoc* doc = chat->LoadVFDLDoc<CCHDLDoc>(*service, false);
    if (doc == nullptr && chat->GetLastLoadStatus() == LoadStatus::kUnusable) {
      return call.Refuse(DescribeProblem(*reader->GetDataRoot(), chat->GetLastLoadProblem()) + " (left untouched)");
    }
    if (doc == nullptr) continue;
    for (const CCHDLRec& rec : doc->Recs()) {
      std::string start, end;
      rec.GetTime(start, end);
      listing.Row({ShownPos(rec.GetPos()), rec.GetProvider(), rec.GetChannel(),
                   std::string(kTypeWords[rec.GetType()]), start, end});
    }
  }
  return listing.Finish();
}

int HistoryList(Call& call) {
  std::unique_ptr<CZDS> reader = OpenReader(call);
  if (!reader) return 1;
  bool none = false;
  CHistoryDoc* history = HistoryOf(call, *reader, none);
  if (history == nullptr && !none) return 1;
  Listing listing(call, {"position", "kind", "name", "account", "taken"});
  if (history != nullptr) {
    std::vector<CHistoryFolder*> boxes;
    history->GetMBCBackupNode("", "", boxes);
    const size_t mail = boxes.size();
    history->GetNBCBackupNode("", "", boxes);
    for (size_t i = 0; i < boxes.size(); ++i) {
      const CHistoryExtendFolder* fields = boxes[i]->GetExtendFolder();
      listing.Row({ShownPos(boxes[i]->GetPos()), i < mail ? "mail" : "news", boxes[i]->GetAlias(),
                   fields && !fields->account.empty() ? fields->account : "-",
                   fields && !fields->backup_time.empty() ? fields->backup_time : "-"});
    }
    std::vector<CVFDLFolder*> chats;
    history->GetCHBackupNode("", chats);
    for (CVFDLFolder* chat : chats) listing.Row({ShownPos(chat->GetPos()), "chat", chat->GetAlias(), "-", "-"});
  }
  return listing.Finish();
}

// The mail account `name` names (as every mail command reads it); null
// with a line.
CVFDLNode* AccountOf(Call& call, CZDS& facade, const std::string& name) {
  CAIDLDoc* index = facade.GetAIDLDoc();
  CVFDLNode* node = index ? FindMailAccount(*index, name) : nullptr;
  if (node == nullptr) call.Refuse("no mail account " + name);
  return node;
}

int HistoryArchive(Call& call) {
  const std::string name = call.operand(0);
  return RunEdit(
      call,
      [&](CZDS& facade) {
        CVFDLNode* account = AccountOf(call, facade, name);
        if (account == nullptr) return 1;
        auto* box = dynamic_cast<CMBoxController*>(facade.GetAIDLDoc()->LoadExpandVFDLDoc(account->GetPos(), false));
        if (box == nullptr) return call.Refuse("the mail box of " + name + " cannot be opened (none yet?)");
        bool none = false;
        CHistoryDoc* history = HistoryOf(call, facade, none);
        if (history == nullptr) return 1;
        const std::string pos = history->ArchiveMailBox(*box, account->GetAlias(), CTime::GetCurrentTime());
        if (pos.empty()) return call.Refuse("cannot archive " + name + " (its files cannot be copied or the history written)");
        call.out() << ShownPos(pos) << '\n';
        return 0;
      },
      [&](CZDS& reader) { return AccountOf(call, reader, name) != nullptr ? 0 : 1; });
}

// An archive by the position zds history archive printed, or by its name.
CMBoxController* ArchiveOf(CHistoryDoc& history, const std::string& typed) {
  const std::string pos = StoredPos(typed);
  if (pos.find('\\') != std::string::npos) return history.GetMBCDoc(pos);
  const CVFDLNode* node = history.GetNodeByPath(history.GetRootPath() + "\\" + std::string(CHistoryDoc::kMailFolder) +
                                                "\\" + typed);
  return node ? history.GetMBCDoc(node->GetID()) : nullptr;
}

int HistoryMail(Call& call) {
  std::unique_ptr<CZDS> reader = OpenReader(call);
  if (!reader) return 1;
  bool none = false;
  CHistoryDoc* history = HistoryOf(call, *reader, none);
  if (history == nullptr && !none) return 1;
  CMBoxController* box = history ? ArchiveOf(*history, call.operand(0)) : nullptr;
  if (box == nullptr) return call.Refuse("no archived mail box " + call.operand(0));
  CVFDLNode* folder = FindMailFolder(*box, call.operand(1));
  if (folder == nullptr) return call.Refuse("no folder " + call.operand(1) + " in " + call.operand(0));
  Listing listing = MailListing(call);
  if (CMIDLDoc* index = box->GetMidlDoc(*folder)) AddMailRows(listing, *index);
  return listing.Finish();
}

}  // namespace

void AddHistoryCommands(CommandTable& table) {
  table.Add({.noun = "chat", .verb = "log",
             .summary = "log a chat conversation and print its position",
             .options = {{"--provider", "TEXT", "the chat service", true},
                         {"--channel", "TEXT", "the channel's name", true},
                         {"--type", "TYPE", "opened, protected or private", true},
                         {"--start", "TIME", "when the conversation started", true},
                         {"--end", "TIME", "when it ended", true},
                         {"--abstract", "TEXT", "what it was about"}},
             .store = StoreUse::kEdits, .run = ChatLog});
  table.Add({.noun = "chat", .verb = "ls", .operands = "[PROVIDER]", .max_operands = 1,
             .summary = "list the conversations: position, provider, channel, type, start, end",
             .output = Output::kList, .run = ChatList});
  table.Add({.noun = "history", .verb = "ls",
             .summary = "list the archives and chat services: position, kind, name, account, taken",
             .output = Output::kList, .run = HistoryList});
  table.Add({.noun = "history", .verb = "archive", .operands = "ACCOUNT", .min_operands = 1, .max_operands = 1,
             .summary = "copy a mail account's mail box into the history and print the archive's position",
             .store = StoreUse::kEdits, .run = HistoryArchive});
  table.Add({.noun = "history", .verb = "mail", .operands = "ARCHIVE FOLDER", .min_operands = 2, .max_operands = 2,
             .summary = "list an archive's messages in a folder: id, N or -, date, sender, subject, attachments",
             .output = Output::kList, .run = HistoryMail});
}

}  // namespace zds::cli
