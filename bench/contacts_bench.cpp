// The address book against its targets, each side by side with its
// yardstick in the same run (the machine is shared and noisy):
//   find:   FindAdrByEmail among 100,000 contacts in 10 books vs among
//           1,000 (in 10 books, and in one), <= 2x, asking for the same
//           1,000 contacts at both sizes and (uniform) for any contact; the
//           walk through every book that the index replaces beside it
//   import: reading a 10,000-card vCard 3.0 file (ReadVCards, and
//           ImportVCards into a book), in cards per second, next to Debian's
//           python3-vobject parsing the same file in a child process
//
// Run: build-bench/bench/contacts_bench --benchmark_repetitions=5
//      --benchmark_report_aggregates_only=true
// Files go to a fresh directory under $ZDS_BENCH_DIR (default: the system
// temporary directory), removed at the end.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "zds/contacts/adrbook_doc.h"
#include "zds/contacts/classes.h"
#include "zds/contacts/vcard.h"
#include "support/scratch_dir.h"

namespace zds::bench {
namespace {

const std::string& ScratchPath() { return ProgramScratch("zds-contacts-bench"); }

// ---- find ----

std::string AddressOf(size_t n, int which) {
  return "person" + std::to_string(n) + (which ? ".work@company" : "@mail") + std::to_string(n % 97) + ".example";
}

// Every letter in a random case: the look-up folds what it is asked.
std::string RandomCase(std::string text, std::mt19937& random) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z' && random() % 2) c = static_cast<char>(c - 32);
  }
  return text;
}

// An address book of `contacts` contacts spread over `books` books, written
// to disk and opened again the way the store opens it.
class Shelf {
 public:
  Shelf(size_t contacts, int books) : contacts_(contacts) {
    RegisterContactClasses(registry_);
    std::string dir = ScratchPath() + "/" + std::to_string(contacts) + "-" + std::to_string(books);
    root_ = std::make_shared<platform::DataRoot>(dir);
    Build(books);
    doc_ = Open();
    doc_->LoadAllPIDLDocs();
  }
  CAdrBookDoc& doc() { return *doc_; }
  size_t contacts() const { return contacts_; }

  // 1,000 addresses to ask for, nine in ten held by a contact: one of the
  // same 1,000 contacts, spread across the books, at every size (`spread`),
  // or any contact.
  std::vector<std::string> Queries(uint32_t seed, bool spread) const {
    std::mt19937 random(seed);
    std::vector<std::string> queries;
    for (int i = 0; i < 1000; ++i) {
      size_t k = random() % 1000;  // contact k*(N/1000), moved into book k % 10
      size_t n = spread ? (k * (contacts_ / 1000) + k % 10) % contacts_ : random() % contacts_;
      queries.push_back(i % 10 == 9 ? "nobody" + std::to_string(n) + "@mail.example"
                                    : RandomCase(AddressOf(n, static_cast<int>(random() % 2)), random));
    }
    return queries;
  }

 private:
  std::unique_ptr<CAdrBookDoc> Open() {
    auto doc = std::make_unique<CAdrBookDoc>();
    doc->SetDataRoot(root_);
    doc->SetClassRegistry(&registry_);
    if (!IsOpen(OpenVFDLDoc(*doc, "\\addressbook\\index.xml", "\\addressbook"))) std::abort();
    return doc;
  }
  void Build(int books) {
    std::unique_ptr<CAdrBookDoc> doc = Open();
    for (int b = 0; b < books; ++b) {
      if (doc->AddBook("Book " + std::to_string(b)).empty()) std::abort();
    }
    for (size_t n = 0; n < contacts_; ++n) {
      CPIDLDoc* book = doc->GetPIDLDoc(static_cast<int>(n % static_cast<size_t>(books)));
      CPIDLRec contact;
      contact.SetAlias("Person " + std::to_string(n));
      contact.GetExtendRec().emails = {{AddressOf(n, 0), {}}, {AddressOf(n, 1), {kContactPlaceWork, false, "", ""}}};
      if (book->AddRec(book->GetRoot()->GetPos(), contact, false).empty()) std::abort();
    }
    for (int b = 0; b < books; ++b) {
      if (!doc->GetPIDLDoc(b)->SaveXMLDoc()) std::abort();
    }
    if (!doc->SaveXMLDoc()) std::abort();
  }

  size_t contacts_;
  CRTTIRegistry registry_;
  std::shared_ptr<platform::DataRoot> root_;
  std::unique_ptr<CAdrBookDoc> doc_;
};

Shelf& ShelfOf(size_t contacts, int books) {
  static std::map<std::pair<size_t, int>, std::unique_ptr<Shelf>> shelves;
  auto& slot = shelves[{contacts, books}];
  if (!slot) slot = std::make_unique<Shelf>(contacts, books);
  return *slot;
}

double TimeFinds(Shelf& shelf, const std::vector<std::string>& queries, size_t& sink) {
  auto start = Clock::now();
  for (const std::string& query : queries) sink += shelf.doc().FindAdrByEmail(query) != nullptr;
  return Seconds(start, Clock::now());
}

// Among 100,000 contacts in 10 books against 1,000 in 10 books and in one,
// taking turns at going first. Asking for the same 1,000 contacts at both
// sizes leaves only the size of the index between them; asking for any
// contact adds the cache misses of an index far larger than the caches.
void BM_FindByEmail(benchmark::State& state) {
  const bool spread = state.range(0) == 0;
  Shelf& large = ShelfOf(100'000, 10);
  Shelf* small[] = {&ShelfOf(1'000, 10), &ShelfOf(1'000, 1)};
  std::vector<std::string> large_queries = large.Queries(1, spread), small_queries = small[0]->Queries(2, spread);
  double large_time = 0, small_time[2] = {0, 0};
  size_t sink = 0, rounds = 0;
  for (auto _ : state) {
    double took = 0;
    if (rounds % 2 == 0) took = TimeFinds(large, large_queries, sink);
    for (int i = 0; i < 2; ++i) small_time[i] += TimeFinds(*small[i], small_queries, sink);
    if (rounds % 2 == 1) took = TimeFinds(large, large_queries, sink);
    large_time += took;
    state.SetIterationTime(took);
    ++rounds;
  }
  benchmark::DoNotOptimize(sink);
  double finds = static_cast<double>(rounds) * 1000;
  state.counters["ns_100k_10books"] = large_time / finds * 1e9;
  state.counters["ns_1k_10books"] = small_time[0] / finds * 1e9;
  state.counters["ns_1k_1book"] = small_time[1] / finds * 1e9;
  state.counters["ratio_vs_1k_10books"] = large_time / small_time[0];
  state.counters["ratio_vs_1k_1book"] = large_time / small_time[1];
}

// What the index replaces: every book's contacts walked in order.
const CPIDLRec* Walk(CAdrBookDoc& doc, const std::string& query) {
  std::string key = FoldEmailKey(query);
  for (CAdrBookFolder& folder : doc.GetBooks()) {
    const CPIDLDoc* book = doc.GetPIDLDoc(folder);
    for (const CPIDLRec& contact : book->ChildRecs(*book->GetRoot())) {
      for (const CContactItem& email : contact.GetExtendRec().emails) {
        if (FoldEmailKey(email.value) == key) return &contact;
      }
    }
  }
  return nullptr;
}

void BM_FindByWalk(benchmark::State& state) {
  Shelf& shelf = ShelfOf(static_cast<size_t>(state.range(0)), 10);
  std::vector<std::string> queries = shelf.Queries(3, false);
  queries.resize(20);
  size_t sink = 0;
  for (auto _ : state) {
    for (const std::string& query : queries) sink += Walk(shelf.doc(), query) != nullptr;
  }
  benchmark::DoNotOptimize(sink);
  state.counters["ns_per_find"] = benchmark::Counter(static_cast<double>(state.iterations()) * 20,
                                                     benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// ---- import ----

// A 10,000-card file shaped as address books and web mail export vCard 3.0:
// grouped and typed properties, escapes, folded notes, UTF-8 names.
const std::string& CardFile() {
  static const std::string text = [] {
    std::ostringstream out;
    for (int n = 0; n < 10'000; ++n) {
      std::string id = std::to_string(n);
      out << "BEGIN:VCARD\r\nVERSION:3.0\r\nPRODID:-//Bench//EN\r\nUID:bench-" << id << "\r\nN:M\xc3\xbcller" << id
          << ";J\xc3\xbcrgen;;Dr.;\r\nFN:Dr. J\xc3\xbcrgen M\xc3\xbcller " << id << "\r\nORG:Example Corp " << n % 50
          << ";Sales\r\nTITLE:Manager\\, Sales\r\nitem1.EMAIL;type=INTERNET;type=pref:juergen" << id
          << "@example.org\r\nitem1.X-ABLabel:_$!<Other>!$_\r\nEMAIL;TYPE=INTERNET;TYPE=WORK:j" << id
          << "@work.example.com\r\nTEL;TYPE=CELL:+49 170 " << id << "\r\nTEL;TYPE=WORK;TYPE=VOICE:+49 30 " << id
          << "\r\nADR;TYPE=HOME:;;" << id << " Hauptstra\xc3\x9f" << "e\\nHinterhaus;Berlin;;10115;Germany\r\n"
          << "NOTE:Met at the trade fair\\, booth " << id << ". Prefers e-mail\\; calls only in the\r\n"
          << "  afternoon.\r\nBDAY:1970-01-31\r\nURL:https://example.org/~" << id << "\r\nEND:VCARD\r\n";
    }
    return out.str();
  }();
  return text;
}

// vobject's cards per second on the same file, parsed whole (each card's
// values decoded), best of three runs; 0 where no python3 has vobject.
constexpr const char* kVobjectScript = R"(import sys, time, vobject
text = open(sys.argv[1], encoding='utf-8', newline='').read()
best = None
for run in range(3):
    start = time.perf_counter()
    cards = 0
    for card in vobject.readComponents(text):
        for lines in card.contents.values():
            for line in lines:
                line.value
        cards += 1
    took = time.perf_counter() - start
    best = took if best is None or took < best else best
print(cards / best)
)";

double VobjectCardsPerSecond() {
  const std::string dir = ScratchPath();
  std::ofstream(dir + "/cards.vcf", std::ios::binary) << CardFile();
  std::ofstream(dir + "/vobject_rate.py") << kVobjectScript;
  for (const char* python : {"/usr/bin/python3", "python3"}) {
    std::string command = std::string(python) + " " + dir + "/vobject_rate.py " + dir + "/cards.vcf > " + dir +
                          "/rate.txt 2>/dev/null";
    if (std::system(command.c_str()) != 0) continue;
    double rate = 0;
    std::ifstream(dir + "/rate.txt") >> rate;
    return rate;
  }
  return 0;
}

void BM_ImportCards(benchmark::State& state) {
  const std::string& text = CardFile();
  double read_time = 0, import_time = 0;
  size_t cards = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    VCardReadResult read = ReadVCards(text);
    double took = Seconds(start, Clock::now());
    read_time += took;
    cards += read.contacts.size();
    CPIDLDoc book;  // in memory: the import without the file's save
    if (!book.SetXml(LoadTemplate(res::kPIDLTemplate))) std::abort();
    start = Clock::now();
    VCardImportResult imported = ImportVCards(book, text);
    import_time += Seconds(start, Clock::now());
    if (imported.read != 10'000 || read.refused != 0) std::abort();
    state.SetIterationTime(took);
  }
  double ours = static_cast<double>(cards) / read_time;
  double vobject = VobjectCardsPerSecond();
  state.counters["file_MB"] = static_cast<double>(text.size()) / 1e6;
  state.counters["read_cards/s"] = ours;
  state.counters["import_cards/s"] = static_cast<double>(cards) / import_time;
  state.counters["vobject_cards/s"] = vobject;
  if (vobject > 0) state.counters["read_vs_vobject"] = ours / vobject;
}

}  // namespace
}  // namespace zds::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  if (zds::bench::ScratchPath().empty()) {
    std::fprintf(stderr, "contacts_bench: cannot create a scratch directory\n");
    return 1;
  }
  benchmark::RegisterBenchmark("find_by_email_same_1000", zds::bench::BM_FindByEmail)
      ->Arg(0)
      ->UseManualTime()
      ->MinTime(0.5)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("find_by_email_uniform", zds::bench::BM_FindByEmail)
      ->Arg(1)
      ->UseManualTime()
      ->MinTime(0.5)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("find_by_walk", zds::bench::BM_FindByWalk)
      ->Arg(1'000)
      ->Arg(100'000)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("import_10000_cards", zds::bench::BM_ImportCards)
      ->UseManualTime()
      ->MinTime(1.0)
      ->Unit(benchmark::kMillisecond);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
