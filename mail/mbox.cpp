#include "zds/mail/mbox.h"

#include <algorithm>
#include <iterator>
#include <istream>
#include <ostream>
#include <vector>

#include "zds/mail/body_writer.h"
#include "zds/mail/mail_message.h"
#include "zds/platform/time.h"

namespace zds {
namespace {

constexpr size_t kReadBlock = 1 << 20;

bool IsQuotedFrom(std::string_view line) {
  size_t quotes = 0;
  while (quotes < line.size() && line[quotes] == '>') ++quotes;
  return line.substr(quotes).starts_with("From ");
}

// The message's lines with one ">" taken from each quoted "From " line.
void Unquote(std::string_view text, std::string& out) {
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find('\n', at);
    end = end == std::string_view::npos ? text.size() : end + 1;
    std::string_view line = text.substr(at, end - at);
    if (line.starts_with('>') && IsQuotedFrom(line)) line.remove_prefix(1);
    out += line;
    at = end;
  }
}

// The number `word` spells, digits only; -1 when it is none.
int NumberOf(std::string_view word) {
  if (word.empty() || word.size() > 6) return -1;
  int number = 0;
  for (char c : word) {
    if (c < '0' || c > '9') return -1;
    number = number * 10 + (c - '0');
  }
  return number;
}

// The time of delivery on a "From " line ("From a@b Tue Nov 24 12:00:00
// 2026"), in the store's form; empty when there is none. The words after
// the month are a day, a clock with or without seconds, and a year.
std::string DeliveryTime(std::string_view envelope) {
  static constexpr std::string_view kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::string_view words[64];
  size_t count = 0;
  for (size_t at = 0; at < envelope.size() && count < std::size(words);) {
    const size_t end = std::min(envelope.find(' ', at), envelope.size());
    if (end > at) words[count++] = envelope.substr(at, end - at);
    at = end + 1;
  }
  for (size_t i = 0; i + 3 < count; ++i) {
    const auto month = std::find(std::begin(kMonths), std::end(kMonths), words[i]);
    if (month == std::end(kMonths)) continue;
    int clock[3] = {0, 0, 0};
    size_t parts = 0;
    for (std::string_view rest = words[i + 2]; parts < 3; ++parts) {
      const size_t colon = rest.find(':');
      clock[parts] = NumberOf(rest.substr(0, colon));
      if (clock[parts] < 0 || colon == std::string_view::npos) break;
      rest.remove_prefix(colon + 1);
    }
    if (clock[2] < 0) clock[2] = 0;  // seconds are optional
    const int day = NumberOf(words[i + 1]);
    const int year = NumberOf(words[i + 3]);
    if (day < 0 || parts < 1 || clock[0] < 0 || clock[1] < 0 || year < 1970 || year > 9999) return {};
    return CTime(year, static_cast<int>(month - std::begin(kMonths)) + 1, day, clock[0], clock[1], clock[2])
        .Format("%Y-%m-%d %H:%M");
  }
  return {};
}

// One import: the records it added and the body files it wrote, so that a
// failed save takes all of them back.
class MboxImport {
 public:
  MboxImport(CMIDLDoc& doc, std::string folder_pos)
      : doc_(doc), folder_pos_(std::move(folder_pos)), bodies_(*doc.GetDataRoot()) {}

  // A chunk of the file from one "From " line to the next.
  void Store(std::string_view chunk) {
    // The empty line in front of the next "From " line separates; it is no
    // part of the message.
    if (chunk.ends_with("\r\n\r\n")) chunk.remove_suffix(2);
    else if (chunk.ends_with("\n\n")) chunk.remove_suffix(1);
    const size_t line_end = chunk.find('\n');
    const size_t message_at = line_end == std::string_view::npos ? chunk.size() : line_end + 1;
    // Most messages quote no line: they are stored as they stand in the file.
    std::string_view body = chunk;
    if (chunk.find("\n>", message_at - 1) != std::string_view::npos) {
      body_.clear();
      body_.append(chunk.substr(0, message_at));
      Unquote(chunk.substr(message_at), body_);
      body = body_;
    }

    CMIDLRec rec;
    CMIDLExtendRec& mail = rec.GetExtendRec();
    ReadMailMessage(MailMessageOf(body), mail);
    std::string_view envelope = chunk.substr(0, message_at);
    while (!envelope.empty() && (envelope.back() == '\n' || envelope.back() == '\r')) envelope.remove_suffix(1);
    mail.get_date = DeliveryTime(envelope);
    rec.SetAlias(mail.subject);
    rec.SetAttribute(kAttrNormal);
    std::string pos = doc_.AddRec(folder_pos_, rec, false);
    if (pos.empty()) {
      ++refused_;
      return;
    }
    // Written as WriteMail writes, but on the body writer's thread, and
    // flushed to disk all together before the index that names them is
    // saved.
    bodies_.Write(doc_.GetMailFilePath(pos), body);
    added_.push_back(std::move(pos));
  }
  void Refuse() { ++refused_; }

  // Waits for the body files; a message whose file could not be written
  // is refused, its record taken out again.
  void Finish() {
    const std::vector<size_t> failed = bodies_.Finish();
    for (const size_t number : failed) {
      TakeBack(added_[number]);
      added_[number].clear();
    }
    std::erase(added_, std::string());
    refused_ += static_cast<int>(failed.size());
  }

  // Puts the index back as it was and takes the body files away.
  void Undo() {
    for (auto it = added_.rbegin(); it != added_.rend(); ++it) TakeBack(*it);
    refused_ += static_cast<int>(added_.size());
    added_.clear();
  }
  int stored() const { return static_cast<int>(added_.size()); }
  int refused() const { return refused_; }

 private:
  void TakeBack(const std::string& pos) {
    static_cast<void>(doc_.DelRec(pos));
    doc_.GetDataRoot()->RemoveFile(doc_.GetMailFilePath(pos));
  }

  CMIDLDoc& doc_;
  std::string folder_pos_;
  std::string body_;
  BodyWriter bodies_;
  std::vector<std::string> added_;
  int refused_ = 0;
};

// The body files a crashed import wrote stand under the ids the index
// would hand out next, one after the other.
void RemoveLeftoverBodies(CMIDLDoc& doc) {
  const platform::DataRoot& root = *doc.GetDataRoot();
  for (int number = doc.GetNewID();; ++number) {
    const std::string file = doc.GetMailFilePath(CVFTree::GetLocalID(number));
    if (!root.FileExists(file) || !root.RemoveFile(file)) break;
  }
}

// Feeds `import` the chunks of the stream, from each "From " line to the
// next, holding one chunk and one block of the file at most.
void ReadChunks(std::istream& in, MboxImport& import) {
  std::string buffer;
  size_t start = 0;  // where the message being read begins
  size_t scan = 0;   // where to look for the next "From " line
  bool first = true;
  for (;;) {
    const size_t had = buffer.size();
    buffer.resize(had + kReadBlock);
    in.read(buffer.data() + had, static_cast<std::streamsize>(kReadBlock));
    buffer.resize(had + static_cast<size_t>(in.gcount()));
    const bool end = in.gcount() == 0;
    if (first && (buffer.size() >= 5 || end)) {
      first = false;
      if (!std::string_view(buffer).starts_with("From ")) {
        // Text before the first message belongs to none.
        const size_t from = buffer.find("\nFrom ");
        if (from == std::string::npos && !end) {
          first = true;  // not found yet: keep reading
          continue;
        }
        const std::string_view prefix = std::string_view(buffer).substr(0, from == std::string::npos ? buffer.size() : from + 1);
        if (prefix.find_first_not_of(" \t\r\n") != std::string_view::npos) import.Refuse();
        start = scan = prefix.size();
      }
    }
    for (;;) {
      const size_t next = buffer.find("\nFrom ", std::max(scan, start));
      if (next == std::string::npos) break;
      import.Store(std::string_view(buffer).substr(start, next + 1 - start));
      start = scan = next + 1;
    }
    if (end) {
      if (start < buffer.size()) import.Store(std::string_view(buffer).substr(start));
      return;
    }
    buffer.erase(0, start);
    scan = buffer.size() >= 5 ? buffer.size() - 5 : 0;
    start = 0;
  }
}

}  // namespace

std::string_view MailMessageOf(std::string_view body) {
  if (!body.starts_with("From ")) return body;
  const size_t line_end = body.find('\n');
  return line_end == std::string_view::npos ? std::string_view() : body.substr(line_end + 1);
}

CMboxImportResult ImportMbox(CMIDLDoc& doc, std::istream& in, std::string_view folder_pos) {
  CMboxImportResult result;
  if (doc.GetRoot() == nullptr || doc.GetDataRoot() == nullptr || doc.GetMailDirectory().empty()) return result;
  std::string folder(folder_pos.empty() ? doc.GetRoot()->GetPos() : std::string(folder_pos));
  if (doc.GetFolder(folder) == nullptr || !doc.GetDataRoot()->CreateDirectories(doc.GetMailDirectory())) {
    return result;
  }
  // Ids, body files and the save are one turn: no other writer's import
  // can hand out the same ids or take the files away meanwhile, and what
  // stands under the ids to come is known to be left over.
  const auto turn = doc.TakeWriterTurn();
  if (!turn->IsSynced()) return result;
  RemoveLeftoverBodies(doc);
  const bool auto_save = doc.GetAutoSaveFlag();
  doc.SetAutoSaveFlag(false);
  MboxImport import(doc, folder);
  ReadChunks(in, import);
  import.Finish();
  result.saved = import.stored() == 0 || (doc.GetDataRoot()->FlushWrittenFiles() && (!auto_save || doc.SaveXMLDoc()));
  if (!result.saved) import.Undo();
  doc.SetAutoSaveFlag(auto_save);
  result.stored = import.stored();
  result.refused = import.refused();
  return result;
}

bool ExportMbox(const CMIDLDoc& doc, std::ostream& out, std::string_view folder_pos) {
  if (doc.GetRoot() == nullptr || doc.GetDataRoot() == nullptr) return false;
  const CVFDLFolder* folder = folder_pos.empty() ? doc.GetRoot() : doc.GetFolder(folder_pos);
  if (folder == nullptr) return false;
  std::string body;
  std::string quoted;
  for (const CMIDLRec& rec : doc.Recs(*folder)) {
    // Read as it was written: a body may hold NUL bytes.
    if (doc.GetDataRoot()->ReadWholeFile(doc.GetMailFilePath(rec.GetPos()), body) != platform::ReadStatus::kRead) {
      return false;
    }
    const std::string_view message = MailMessageOf(body);
    out.write(body.data(), static_cast<std::streamsize>(body.size() - message.size()));
    quoted.clear();
    for (size_t at = 0; at < message.size();) {
      size_t end = message.find('\n', at);
      end = end == std::string_view::npos ? message.size() : end + 1;
      const std::string_view line = message.substr(at, end - at);
      if (IsQuotedFrom(line)) quoted += '>';
      quoted += line;
      at = end;
    }
    out.write(quoted.data(), static_cast<std::streamsize>(quoted.size()));
    if (body.ends_with("\r\n")) out.write("\r\n", 2);
    else if (body.ends_with('\n')) out.put('\n');
  }
  out.flush();
  return static_cast<bool>(out);
}

}  // namespace zds
