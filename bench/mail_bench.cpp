// The mail store against its targets, each side by side with its
// yardstick in the same run (the machine is shared and noisy):
//   import:    ImportMbox of a 100,000-message mbox file (records, a body
//              file per message, one save of the index), in messages per
//              second, next to Python's mailbox and email modules reading
//              the same file in a child process (each message parsed, its
//              header fields and named parts looked at), >= 10x; and the
//              messages read into records alone, without their files
//   find:      GetRecByMessageID in a folder of 100,000 messages vs 1,000,
//              <= 2x
//   mark read: SetNewFlag on one message of a 100,000-message folder
//              (saved at once) vs a plain durable write of the same index
//              text, <= 2x
//
// Run: build-bench/bench/mail_bench --benchmark_repetitions=3
//      --benchmark_report_aggregates_only=true
// Files go to a fresh directory under $ZDS_BENCH_DIR (default: the system
// temporary directory), removed at the end.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "zds/mail/mail_message.h"
#include "zds/mail/mbox.h"
#include "zds/mail/midl_doc.h"
#include "support/scratch_dir.h"

namespace zds::bench {
namespace {

const std::string& ScratchPath() { return ProgramScratch("zds-mail-bench"); }

// A message as mail programs leave them: encoded words, a folded recipient
// list, every other one a multipart with a text part and a base64 PDF.
std::string Message(int n) {
  const std::string id = std::to_string(n);
  std::string text = "From sender" + id + "@example.org Tue Nov 24 12:00:00 2026\n"
                     "From: \"Last, First\" <u" + id + "@example.org>\n"
                     "To: a@example.org,\n b@example.org\n"
                     "Subject: =?utf-8?q?caf=C3=A9?= message " + id + "\n"
                     "Date: Tue, 24 Nov 2026 12:00:00 +0000\n"
                     "Message-ID: <" + id + "@example.org>\n";
  std::string line_of_text = "body line of text\n";
  if (n % 2 == 1) {
    text += "MIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=\"b" + id + "\"\n\n--b" + id +
            "\nContent-Type: text/plain; charset=utf-8\n\n";
    for (int i = 0; i < 20; ++i) text += line_of_text;
    text += "--b" + id + "\nContent-Type: application/pdf; name=\"r.pdf\"\nContent-Transfer-Encoding: base64\n\n";
    for (int i = 0; i < 10; ++i) text += std::string(72, 'Q') + "\n";
    text += "--b" + id + "--\n\n";
  } else {
    text += "\n";
    for (int i = 0; i < 30; ++i) text += line_of_text;
    text += "\n";
  }
  return text;
}

const std::string& MboxFile() {
  static const std::string path = [] {
    std::string file = ScratchPath() + "/bench.mbox";
    std::ofstream out(file, std::ios::binary);
    for (int n = 0; n < 100'000; ++n) out << Message(n);
    return file;
  }();
  return path;
}

constexpr const char* kPythonScript = R"(import sys, time, mailbox, email
start = time.perf_counter()
box = mailbox.mbox(sys.argv[1], create=False)
count = 0
for key in box.keys():
    msg = email.message_from_bytes(box.get_bytes(key))
    for name in ('Subject', 'From', 'To', 'Cc', 'Bcc', 'Date', 'Message-ID'):
        msg.get(name)
    for part in msg.walk():
        if part.get_filename():
            part.get_content_charset()
            len(part.get_payload(decode=True) or b'')
    count += 1
print(count / (time.perf_counter() - start))
)";

double PythonMessagesPerSecond() {
  const std::string dir = ScratchPath();
  std::ofstream(dir + "/mbox_rate.py") << kPythonScript;
  for (const char* python : {"python3", "/usr/bin/python3"}) {
    const std::string command =
        std::string(python) + " " + dir + "/mbox_rate.py " + MboxFile() + " > " + dir + "/rate.txt 2>/dev/null";
    if (std::system(command.c_str()) != 0) continue;
    double rate = 0;
    std::ifstream(dir + "/rate.txt") >> rate;
    return rate;
  }
  return 0;
}

// A mail index in its own data root under the scratch directory.
struct Folder {
  explicit Folder(const std::string& name) : dir(ScratchPath() + "/" + name) {
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    Open();
  }
  // The same folder's file, opened anew (the old one's files stay).
  explicit Folder(Folder& before) : dir(std::move(before.dir)) { Open(); }
  ~Folder() {
    std::error_code ignored;
    if (!dir.empty()) std::filesystem::remove_all(dir, ignored);
  }
  void Open() {
    root = std::make_shared<platform::DataRoot>(dir);
    doc.SetDataRoot(root);
    if (!IsOpen(OpenVFDLDoc(doc, "\\inbox.xml", ""))) std::abort();
  }
  std::string dir;
  std::shared_ptr<platform::DataRoot> root;
  CMIDLDoc doc;
};

// The floor under any layout of one file per message on this file system:
// the same bodies written by bare system calls into 100,000 new files, 256
// to a directory as the store groups them, each opened relative to its
// directory's handle, then one flush of the file system. With
// `rename_each` every file is first written under a temporary name and
// renamed onto its own, as an atomic replacement does.
// What the side before left to the disk is written out first, so that no
// side pays for another's. No side's files are removed before every side
// ran: ext4 passes over inodes deleted moments before when it makes a new
// one, and with 100,000 of them to pass the next side's files cost many
// times what they cost on a quiet disk (a profile shows nearly all the
// time in the kernel's recently_deleted).
void Settle() {
  const int scratch = open(ScratchPath().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (scratch < 0 || syncfs(scratch) != 0) std::abort();
  close(scratch);
}

double FloorMessagesPerSecond(const std::string& text, bool rename_each) {
  const std::string dir = ScratchPath() + (rename_each ? "/floor-rename" : "/floor");
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  const int root = open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (root < 0) std::abort();
  Settle();
  const auto start = Clock::now();
  int folder = -1, count = 0;
  for (size_t at = 0; at < text.size(); ++count) {
    size_t next = text.find("\nFrom ", at);
    next = next == std::string::npos ? text.size() : next + 1;
    if (count % 256 == 0) {
      const std::string group = std::to_string(count / 256);
      if (folder >= 0) close(folder);
      if (mkdirat(root, group.c_str(), 0777) != 0) std::abort();
      folder = openat(root, group.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }
    const std::string name = std::to_string(count) + ".eml";
    const std::string first = rename_each ? name + ".tmp" : name;
    const int fd = openat(folder, first.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    const size_t size = next - at;
    if (fd < 0 || write(fd, text.data() + at, size) != static_cast<ssize_t>(size) || close(fd) != 0) std::abort();
    if (rename_each && renameat(folder, first.c_str(), folder, name.c_str()) != 0) std::abort();
    at = next;
  }
  close(folder);
  if (syncfs(root) != 0) std::abort();
  const double rate = count / Seconds(start, Clock::now());
  close(root);
  return rate;
}

void BM_ImportMbox(benchmark::State& state) {
  const std::string& file = MboxFile();
  double took = 0;
  int messages = 0;
  std::vector<std::unique_ptr<Folder>> imported;  // removed after the floors ran
  for (auto _ : state) {
    imported.push_back(std::make_unique<Folder>("import" + std::to_string(imported.size())));
    Folder& folder = *imported.back();
    std::ifstream in(file, std::ios::binary);
    Settle();
    const auto start = Clock::now();
    const CMboxImportResult result = ImportMbox(folder.doc, in);
    took += Seconds(start, Clock::now());
    if (result.stored != 100'000 || !result.saved) std::abort();
    messages += result.stored;
    state.SetIterationTime(Seconds(start, Clock::now()));
  }
  const double ours = messages / took;
  // The same messages read into records without their files: what the
  // import costs beyond making 100,000 files, which on ext4 after many
  // deletions is most of it (inode allocation).
  std::ifstream whole(file, std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(whole)), std::istreambuf_iterator<char>());
  const auto start = Clock::now();
  size_t read = 0;
  for (size_t at = 0; at < text.size();) {
    size_t next = text.find("\nFrom ", at);
    next = next == std::string::npos ? text.size() : next + 1;
    CMIDLRec rec;
    ReadMailMessage(MailMessageOf(std::string_view(text).substr(at, next - at)), rec.GetExtendRec());
    read += rec.GetExtendRec().attachments.size() + 1;
    at = next;
  }
  const double parse = 100'000 / Seconds(start, Clock::now());
  benchmark::DoNotOptimize(read);
  const double python = PythonMessagesPerSecond();
  const double floor = FloorMessagesPerSecond(text, false);
  const double floor_rename = FloorMessagesPerSecond(text, true);
  imported.clear();
  std::filesystem::remove_all(ScratchPath() + "/floor");
  std::filesystem::remove_all(ScratchPath() + "/floor-rename");
  state.counters["floor_files_msgs/s"] = floor;
  state.counters["floor_files_rename_msgs/s"] = floor_rename;
  if (python > 0) state.counters["floor_vs_python"] = floor / python;
  state.counters["ours_read_only_msgs/s"] = parse;
  if (python > 0) state.counters["read_only_vs_python"] = parse / python;
  state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(file)) / 1e6;
  state.counters["ours_msgs/s"] = ours;
  state.counters["python_msgs/s"] = python;
  if (python > 0) state.counters["ours_vs_python"] = ours / python;
}

// A folder of `count` messages with their Message-IDs, saved once.
Folder& FolderOf(int count) {
  static std::map<int, std::unique_ptr<Folder>> folders;
  std::unique_ptr<Folder>& folder = folders[count];
  if (!folder) {
    folder = std::make_unique<Folder>("index" + std::to_string(count));
    folder->doc.SetAutoSaveFlag(false);
    const std::string root = folder->doc.GetRoot()->GetPos();
    for (int n = 0; n < count; ++n) {
      CMIDLRec rec;
      CMIDLExtendRec& mail = rec.GetExtendRec();
      mail.subject = "message " + std::to_string(n);
      mail.sender = "\"Last, First\" <u" + std::to_string(n) + "@example.org>";
      mail.message_id = "<" + std::to_string(n) + "@example.org>";
      mail.size = "2048";
      mail.send_date = "2026-11-24 12:00";
      if (folder->doc.AddRec(root, rec, false).empty()) std::abort();
    }
    if (!folder->doc.SaveXMLDoc()) std::abort();
    // Opened again, as a folder is in a later session: its records are
    // then written back from the text they were read from.
    folder = std::make_unique<Folder>(*folder);
  }
  return *folder;
}

void BM_FindByMessageID(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  CMIDLDoc& doc = FolderOf(count).doc;
  std::mt19937 random(7);
  std::vector<std::string> queries;
  for (int i = 0; i < 1000; ++i) queries.push_back("<" + std::to_string(random() % static_cast<unsigned>(count)) + "@example.org>");
  doc.GetRecByMessageID(queries[0]);  // the index is built on first use
  size_t found = 0;
  for (auto _ : state) {
    for (const std::string& query : queries) found += doc.GetRecByMessageID(query) != nullptr;
  }
  if (found != state.iterations() * queries.size()) std::abort();
  state.counters["ns_per_find"] = benchmark::Counter(static_cast<double>(state.iterations()) * 1000,
                                                     benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Both in one loop, turn about, so that the machine's noise falls on both.
void BM_MarkReadVsDurableWrite(benchmark::State& state) {
  Folder& folder = FolderOf(static_cast<int>(state.range(0)));
  CMIDLDoc& doc = folder.doc;
  const std::string text = doc.GetXml();
  double mark = 0, write = 0;
  int flips = 0;
  for (auto _ : state) {
    const std::string pos = doc.GetRecIDByIndex(flips % 1000);
    const bool was_new = doc.GetRec(pos)->GetExtendRec().new_flag;
    auto start = Clock::now();
    if (!doc.SetNewFlag(pos, !was_new)) std::abort();
    const double took = Seconds(start, Clock::now());
    mark += took;
    start = Clock::now();
    if (!folder.root->WriteFileAtomic("\\plain.xml", text)) std::abort();
    write += Seconds(start, Clock::now());
    ++flips;
    state.SetIterationTime(took);
  }
  state.counters["index_MB"] = static_cast<double>(text.size()) / 1e6;
  state.counters["mark_read_ms"] = mark * 1e3 / flips;
  state.counters["durable_write_ms"] = write * 1e3 / flips;
  state.counters["mark_vs_write"] = mark / write;
}

}  // namespace
}  // namespace zds::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  if (zds::bench::ScratchPath().empty()) {
    std::fprintf(stderr, "mail_bench: cannot create a scratch directory\n");
    return 1;
  }
  benchmark::RegisterBenchmark("find_by_message_id", zds::bench::BM_FindByMessageID)
      ->Arg(1'000)
      ->Arg(100'000)
      ->MinTime(0.5)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("mark_read_vs_durable_write", zds::bench::BM_MarkReadVsDurableWrite)
      ->Arg(100'000)
      ->UseManualTime()
      ->Iterations(20)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("import_100000_messages", zds::bench::BM_ImportMbox)
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kSecond);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
