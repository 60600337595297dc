// The record-document framework against its targets, each measured side by
// side with its yardstick inside the same iteration (the machine is shared
// and noisy, so the two sides see the same conditions):
//   load:   SetXml (parse and build the tree) vs pugixml parse and walk, <= 1.5x
//   save:   SaveXMLDoc (and GetXml + WriteFileAtomic) vs write + fsync,  <= 2x
//   ops:    one look-up (by id, position, path), add, update, rename
//           (update with a new alias, then the new path looked up) and
//           delete at 100,000 vs 1,000 records,                            <= 2x
//           over the same 1,000 records at both sizes, and (*_uniform) over
//           any record, where at 100,000 records cache misses dominate
//   memory: heap and peak resident growth while loaded vs file size,     <= 3x
// Document variants: a family that reads every field into members
// ("family") and the plain CVFDLDoc that keeps fields as unknown
// attributes ("plain"), on the generator's record shape; and the same two
// on its wide shape ("wide_family", "wide_plain": folders four deep, 5 to 25
// attributes per record, decoded into typed members), where the targets
// are load <= 1.3x (plain) and <= 2x (family) pugixml, memory <= 3x.
//
// Run: build-bench/bench/framework_bench --benchmark_repetitions=5
//      --benchmark_report_aggregates_only=true
// Files go to a fresh directory under $ZDS_BENCH_DIR (default: the system
// temporary directory), removed at the end.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <fstream>
#include <map>
#include <memory>
#include <numeric>
#include <pugixml.hpp>
#include <string>
#include <utility>
#include <vector>

#include "zds/framework/vfdl_doc.h"
#include "zds/framework/vfdl_walk.h"
#include "zds/platform/files.h"
#include "support/bench_family.h"
#include "support/document_generator.h"
#include "support/scratch_dir.h"

namespace zds::bench {
namespace {

constexpr size_t kSmall = 1'000;
constexpr size_t kLarge = 100'000;

enum class Shape { kRecords, kWide };

const std::string& DocumentText(size_t records, Shape shape = Shape::kRecords) {
  static std::map<std::pair<size_t, Shape>, std::string> texts;
  auto key = std::pair(records, shape);
  auto it = texts.find(key);
  if (it == texts.end()) {
    std::string text = shape == Shape::kWide ? GenerateWideDocument(records) : GenerateRecordDocument(records);
    it = texts.emplace(key, std::move(text)).first;
  }
  return it->second;
}

// The directory every file of this run goes to.
class Scratch {
 public:
  static Scratch& Get() {
    static Scratch scratch;
    return scratch;
  }
  const std::string& path() const { return dir_.path(); }
  const platform::DataRoot& root() const { return *root_; }
  std::shared_ptr<const platform::DataRoot> shared_root() const { return root_; }

 private:
  Scratch() : root_(std::make_shared<platform::DataRoot>(dir_.path())) {}
  ScratchDir dir_{"zds-bench"};
  std::shared_ptr<platform::DataRoot> root_;
};

// The yardstick for a save: the same bytes, written and flushed, no more.
bool PlainWriteAndSync(const std::string& path, const std::string& bytes) {
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t wrote = write(fd, bytes.data() + done, bytes.size() - done);
    if (wrote <= 0) {
      close(fd);
      return false;
    }
    done += static_cast<size_t>(wrote);
  }
  bool synced = fsync(fd) == 0;
  return close(fd) == 0 && synced;
}

// What a pugixml user does after parsing: visit every element and read
// every attribute's name and value.
size_t Walk(const pugi::xml_node& node) {
  size_t sum = 0;
  for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
    if (child.type() != pugi::node_element) continue;
    sum += static_cast<unsigned char>(child.name()[0]);
    for (pugi::xml_attribute attribute = child.first_attribute(); attribute; attribute = attribute.next_attribute()) {
      sum += static_cast<unsigned char>(attribute.name()[0]) + std::strlen(attribute.value());
    }
    sum += Walk(child);
  }
  return sum;
}

// ---- the two variants ----

struct Family {
  using Doc = BenchDoc;
  using Rec = BenchRec;
  static constexpr Shape kShape = Shape::kRecords;
  static BenchRec MakeRec(const GeneratedRecord& values) { return MakeBenchRec(values); }
};
struct Plain {
  using Doc = CVFDLDoc;
  using Rec = CVFDLRec;
  static constexpr Shape kShape = Shape::kRecords;
  static CVFDLRec MakeRec(const GeneratedRecord& values) { return MakePlainRec(values); }
};
struct WideFamily {
  using Doc = WideDoc;
  static constexpr Shape kShape = Shape::kWide;
};
struct WidePlain {
  using Doc = CVFDLDoc;
  static constexpr Shape kShape = Shape::kWide;
};

void CollectRecords(const CVFDLFolder& folder, std::vector<CVFDLNode*>& records, std::vector<CVFDLFolder*>& folders) {
  for (CVFDLNode& node : Subtree(folder)) {
    if (CVFDLFolder* below = NodeAs<CVFDLFolder>(&node)) folders.push_back(below);
    else records.push_back(&node);
  }
}

template <typename Variant>
std::unique_ptr<typename Variant::Doc> LoadDocument(size_t records) {
  auto doc = std::make_unique<typename Variant::Doc>();
  if (!doc->SetXml(DocumentText(records, Variant::kShape))) return nullptr;
  return doc;
}

// ---- load ----

template <typename Variant>
void BM_Load(benchmark::State& state) {
  const std::string& text = DocumentText(static_cast<size_t>(state.range(0)), Variant::kShape);
  {
    auto check = LoadDocument<Variant>(static_cast<size_t>(state.range(0)));
    if (!check || check->GetXml() != text) {
      state.SkipWithError("the document does not load back byte for byte");
      return;
    }
  }
  double ours = 0;
  double peer = 0;
  size_t sink = 0;
  bool ours_first = true;
  for (auto _ : state) {
    std::string copy = text;
    auto doc = std::make_unique<typename Variant::Doc>();
    double ours_now = 0;
    double peer_now = 0;
    auto run_ours = [&] {
      auto start = Clock::now();
      bool loaded = doc->SetXml(std::move(copy));
      ours_now = Seconds(start, Clock::now());
      sink += loaded;
    };
    auto run_peer = [&] {
      pugi::xml_document peer_doc;
      auto start = Clock::now();
      pugi::xml_parse_result result = peer_doc.load_buffer(text.data(), text.size(), pugi::parse_default);
      sink += Walk(peer_doc) + static_cast<bool>(result);
      peer_now = Seconds(start, Clock::now());
    };
    if (ours_first) {
      run_ours();
      run_peer();
    } else {
      run_peer();
      run_ours();
    }
    ours_first = !ours_first;
    doc.reset();
    ours += ours_now;
    peer += peer_now;
    state.SetIterationTime(ours_now);
  }
  benchmark::DoNotOptimize(sink);
  double n = static_cast<double>(state.iterations());
  state.counters["ours_ms"] = ours / n * 1e3;
  state.counters["pugixml_ms"] = peer / n * 1e3;
  state.counters["ratio"] = ours / peer;
  state.counters["ours_MB/s"] = static_cast<double>(text.size()) * n / ours / 1e6;
  state.counters["file_MB"] = static_cast<double>(text.size()) / 1e6;
}

// ---- save ----

// Three sides per iteration, in turn first: the document's own save
// (SaveXMLDoc: serialise and atomic durable write), the same as GetXml plus
// DataRoot::WriteFileAtomic of the string, and the yardstick, a plain
// write and fsync of the same bytes.
template <typename Variant>
void BM_Save(benchmark::State& state) {
  const size_t records = kLarge;
  const bool changed = state.range(0) != 0;
  const Scratch& scratch = Scratch::Get();
  auto doc = std::make_unique<typename Variant::Doc>();
  doc->SetDataRoot(scratch.shared_root());
  if (!scratch.root().WriteFileAtomic("\\save.xml", DocumentText(records)) ||
      doc->LoadXMLDoc("\\save.xml") != OpenResult::kLoaded) {
    state.SkipWithError("load failed");
    return;
  }
  if (changed) {
    std::vector<CVFDLNode*> recs;
    std::vector<CVFDLFolder*> folders;
    CollectRecords(*doc->GetRoot(), recs, folders);
    BenchRandom random(7);
    for (size_t i = 0; i < recs.size(); i += 100) {
      auto value = Variant::MakeRec(MakeRecord(random, i));
      if (!doc->UpdateRec(recs[i]->GetPos(), value, false)) {
        state.SkipWithError("update failed");
        return;
      }
    }
  }
  const std::string expected = doc->GetXml();
  const std::string peer_path = scratch.path() + "/peer.xml";
  double save = 0;
  double via_string = 0;
  double serialise = 0;
  double peer = 0;
  size_t turn = 0;
  for (auto _ : state) {
    double save_now = 0;
    bool ok = true;
    auto run_save = [&] {
      auto start = Clock::now();
      ok = doc->SaveXMLDoc() && ok;
      save_now = Seconds(start, Clock::now());
      save += save_now;
    };
    auto run_via_string = [&] {
      auto start = Clock::now();
      std::string xml = doc->GetXml();
      serialise += Seconds(start, Clock::now());
      ok = scratch.root().WriteFileAtomic("\\string.xml", xml) && ok;
      via_string += Seconds(start, Clock::now());
    };
    auto run_peer = [&] {
      auto start = Clock::now();
      ok = PlainWriteAndSync(peer_path, expected) && ok;
      peer += Seconds(start, Clock::now());
    };
    const std::function<void()> sides[] = {run_save, run_via_string, run_peer};
    for (size_t i = 0; i < 3; ++i) sides[(turn + i) % 3]();
    ++turn;
    if (!ok) {
      state.SkipWithError("write failed");
      return;
    }
    state.SetIterationTime(save_now);
  }
  std::string saved;
  if (scratch.root().ReadWholeFile("\\save.xml", saved) != platform::ReadStatus::kRead || saved != expected) {
    state.SkipWithError("the saved file is not what GetXml gives");
    return;
  }
  double n = static_cast<double>(state.iterations());
  state.counters["save_ms"] = save / n * 1e3;
  state.counters["getxml_write_ms"] = via_string / n * 1e3;
  state.counters["serialise_ms"] = serialise / n * 1e3;
  state.counters["plain_ms"] = peer / n * 1e3;
  state.counters["ratio"] = save / peer;
  state.counters["ratio_getxml_write"] = via_string / peer;
  state.counters["file_MB"] = static_cast<double>(expected.size()) / 1e6;
}

// ---- single-record operations at two sizes ----

enum class Op { kLookupID, kLookupPos, kLookupPath, kAdd, kUpdate, kRename, kDelete };

// Which records a batch touches. kWorkingSet: the same number of distinct
// records (1,000, spread over the document) at both sizes, so that the two
// sizes differ only in the size of the document. kUniform: any record of
// the document, so at 100,000 records most touches miss the processor's
// caches; that shows the memory hierarchy more than the framework.
enum class Keys { kWorkingSet, kUniform };
constexpr size_t kWorkingSetSize = 1'000;

template <typename Variant>
struct OpsDocument {
  std::unique_ptr<typename Variant::Doc> doc;
  std::vector<std::string> ids;        // of records
  std::vector<std::string> positions;  // of the same records
  std::vector<std::string> paths;      // of the same records
  size_t renames = 0;
  std::string folder_pos;              // where adds go
  std::vector<typename Variant::Rec> values;
  std::vector<size_t> working_set;     // indexes into ids and positions
  BenchRandom random{11};

  explicit OpsDocument(size_t records) : doc(LoadDocument<Variant>(records)) {
    std::vector<CVFDLNode*> recs;
    std::vector<CVFDLFolder*> folders;
    CollectRecords(*doc->GetRoot(), recs, folders);
    for (CVFDLNode* rec : recs) {
      ids.push_back(rec->GetID());
      positions.push_back(rec->GetPos());
      paths.push_back(rec->GetPath());
    }
    folder_pos = folders.back()->GetPos();
    BenchRandom value_random(3);
    for (size_t i = 0; i < 2; ++i) values.push_back(Variant::MakeRec(MakeRecord(value_random, 900'000 + i)));
    working_set.resize(ids.size());
    std::iota(working_set.begin(), working_set.end(), size_t{0});
    Shuffle(working_set);
    working_set.resize(std::min(working_set.size(), kWorkingSetSize));
  }

  void Shuffle(std::vector<size_t>& list) {
    for (size_t i = list.size(); i > 1; --i) std::swap(list[i - 1], list[random.Below(i)]);
  }

  // Up to `count` distinct record indexes, drawn at random, in random order.
  std::vector<size_t> Picks(size_t count, Keys keys) {
    const size_t range = keys == Keys::kWorkingSet ? working_set.size() : ids.size();
    std::vector<size_t> picks;
    picks.reserve(count);
    for (size_t i = 0; i < count; ++i) picks.push_back(random.Below(range));
    std::sort(picks.begin(), picks.end());
    picks.erase(std::unique(picks.begin(), picks.end()), picks.end());
    Shuffle(picks);
    if (keys == Keys::kWorkingSet) {
      for (size_t& pick : picks) pick = working_set[pick];
    }
    return picks;
  }

  // The keys of a batch, copied next to each other as a caller holding
  // them would have them: the figures then show what the document's own
  // structures cost at each size, not where the benchmark kept its keys.
  static std::vector<std::string> KeysOf(const std::vector<std::string>& from, const std::vector<size_t>& picks) {
    std::vector<std::string> keys;
    keys.reserve(picks.size());
    for (size_t i : picks) keys.push_back(from[i]);
    return keys;
  }

  // Runs one batch of the operation; returns the seconds the operations
  // themselves took and how many there were. Setup and clean-up (removing
  // what was added, putting back what was deleted) stay outside the clock.
  std::pair<double, size_t> Batch(Op op, Keys which, size_t& sink) {
    constexpr size_t kLookups = 1000;
    constexpr size_t kEdits = 100;
    auto& d = *doc;
    switch (op) {
      case Op::kLookupID: {
        std::vector<std::string> keys = KeysOf(ids, Picks(kLookups, which));
        auto start = Clock::now();
        for (const std::string& key : keys) sink += d.GetNodeByID(key) != nullptr;
        return {Seconds(start, Clock::now()), keys.size()};
      }
      case Op::kLookupPos: {
        std::vector<std::string> keys = KeysOf(positions, Picks(kLookups, which));
        auto start = Clock::now();
        for (const std::string& key : keys) sink += d.GetNodeByPos(key) != nullptr;
        return {Seconds(start, Clock::now()), keys.size()};
      }
      case Op::kLookupPath: {
        std::vector<std::string> keys = KeysOf(paths, Picks(kLookups, which));
        auto start = Clock::now();
        for (const std::string& key : keys) sink += d.GetNodeByPath(key) != nullptr;
        return {Seconds(start, Clock::now()), keys.size()};
      }
      case Op::kRename: {
        // Each record gets a new alias, and is found at once by its new path:
        // a rename must keep the folder's alias index, not drop it.
        std::vector<size_t> picks = Picks(kEdits, which);
        std::vector<typename Variant::Rec> renamed;
        std::vector<std::string> new_paths;
        for (size_t i : picks) {
          renamed.push_back(*NodeAs<typename Variant::Rec>(d.GetNodeByPos(positions[i])));
          renamed.back().SetAlias("renamed " + std::to_string(++renames));
          new_paths.push_back(paths[i].substr(0, paths[i].rfind('\\') + 1) + renamed.back().GetAlias());
        }
        auto start = Clock::now();
        for (size_t k = 0; k < picks.size(); ++k) {
          sink += d.UpdateRec(positions[picks[k]], renamed[k], false);
          sink += d.GetNodeByPath(new_paths[k]) != nullptr;
        }
        double took = Seconds(start, Clock::now());
        for (size_t k = 0; k < picks.size(); ++k) paths[picks[k]] = new_paths[k];
        return {took, picks.size()};
      }
      case Op::kAdd: {
        std::vector<std::string> added(kEdits);
        auto start = Clock::now();
        for (size_t i = 0; i < kEdits; ++i) added[i] = d.AddRec(folder_pos, values[i & 1], false);
        double took = Seconds(start, Clock::now());
        for (const std::string& pos : added) sink += d.DelRec(pos);
        return {took, kEdits};
      }
      case Op::kUpdate: {
        std::vector<std::string> keys = KeysOf(positions, Picks(kEdits, which));
        auto start = Clock::now();
        for (size_t k = 0; k < keys.size(); ++k) sink += d.UpdateRec(keys[k], values[k & 1], false);
        return {Seconds(start, Clock::now()), keys.size()};
      }
      case Op::kDelete: {
        std::vector<size_t> picks = Picks(kEdits, which);
        std::vector<std::string> keys = KeysOf(positions, picks);
        auto start = Clock::now();
        for (const std::string& key : keys) sink += d.DelRec(key);
        double took = Seconds(start, Clock::now());
        for (size_t i : picks) {
          positions[i] = d.AddRec(folder_pos, values[i & 1], false);
          ids[i] = positions[i].substr(positions[i].rfind('\\') + 1);
          paths[i] = d.GetNodeByPos(positions[i])->GetPath();
        }
        return {took, picks.size()};
      }
    }
    return {0, 0};
  }
};

template <typename Variant>
OpsDocument<Variant>& OpsFixture(size_t records) {
  static std::map<size_t, std::unique_ptr<OpsDocument<Variant>>> fixtures;
  auto& slot = fixtures[records];
  if (!slot) slot = std::make_unique<OpsDocument<Variant>>(records);
  return *slot;
}

template <typename Variant>
void BM_Op(benchmark::State& state, Op op, Keys which) {
  auto& small = OpsFixture<Variant>(kSmall);
  auto& large = OpsFixture<Variant>(kLarge);
  double small_time = 0;
  double large_time = 0;
  size_t small_ops = 0;
  size_t large_ops = 0;
  size_t sink = 0;
  for (auto _ : state) {
    auto [s_time, s_ops] = small.Batch(op, which, sink);
    auto [l_time, l_ops] = large.Batch(op, which, sink);
    small_time += s_time;
    large_time += l_time;
    small_ops += s_ops;
    large_ops += l_ops;
    state.SetIterationTime(l_time);
  }
  benchmark::DoNotOptimize(sink);
  double small_ns = small_time / static_cast<double>(small_ops) * 1e9;
  double large_ns = large_time / static_cast<double>(large_ops) * 1e9;
  state.counters["ns_1k"] = small_ns;
  state.counters["ns_100k"] = large_ns;
  state.counters["ratio"] = large_ns / small_ns;
}

// ---- memory ----

// A field of /proc/self/status in kB ("VmRSS", "VmHWM"); -1 when unknown.
long StatusKB(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  size_t length = std::strlen(field);
  while (std::getline(status, line)) {
    if (line.compare(0, length, field) == 0 && line.size() > length && line[length] == ':') {
      return std::strtol(line.c_str() + length + 1, nullptr, 10);
    }
  }
  return -1;
}

// Makes VmHWM start again from the current resident size.
bool ResetPeakRss() {
  std::ofstream clear("/proc/self/clear_refs");
  clear << "5";
  clear.flush();
  return static_cast<bool>(clear);
}

double HeapInUse() {
  struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

template <typename Variant>
void BM_Memory(benchmark::State& state) {
  const std::string& text = DocumentText(kLarge, Variant::kShape);
  const Scratch& scratch = Scratch::Get();
  if (!scratch.root().WriteFileAtomic("\\memory.xml", text)) {
    state.SkipWithError("cannot write the document file");
    return;
  }
  double heap = 0;
  double peak = -1;
  for (auto _ : state) {
    malloc_trim(0);
    double heap_before = HeapInUse();
    bool reset = ResetPeakRss();
    long rss_before = StatusKB("VmRSS");
    auto doc = std::make_unique<typename Variant::Doc>();
    doc->SetDataRoot(scratch.shared_root());
    if (doc->LoadXMLDoc("\\memory.xml") != OpenResult::kLoaded) {
      state.SkipWithError("load failed");
      return;
    }
    heap = HeapInUse() - heap_before;
    long hwm = StatusKB("VmHWM");
    if (reset && hwm >= 0 && rss_before >= 0) peak = static_cast<double>(hwm - rss_before) * 1024.0;
    state.PauseTiming();
    doc.reset();
    state.ResumeTiming();
  }
  double file = static_cast<double>(text.size());
  state.counters["file_MB"] = file / 1e6;
  state.counters["heap_MB"] = heap / 1e6;
  state.counters["heap_ratio"] = heap / file;
  if (peak >= 0) {
    state.counters["peak_rss_MB"] = peak / 1e6;
    state.counters["peak_ratio"] = peak / file;
  }
}

// First in the run, while the process holds nothing else of size.
template <typename Variant>
void RegisterMemory(const char* name) {
  benchmark::RegisterBenchmark((std::string(name) + "/memory").c_str(), BM_Memory<Variant>)
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

template <typename Variant>
void RegisterLoad(const std::string& prefix) {
  for (int64_t records : {int64_t{10'000}, static_cast<int64_t>(kLarge)}) {
    benchmark::RegisterBenchmark((prefix + "/load").c_str(), BM_Load<Variant>)
        ->Arg(records)
        ->UseManualTime()
        ->MinTime(2.0)
        ->Unit(benchmark::kMillisecond);
  }
}

template <typename Variant>
void RegisterVariant(const char* name) {
  std::string prefix = name;
  RegisterLoad<Variant>(prefix);
  benchmark::RegisterBenchmark((prefix + "/save_unchanged").c_str(), BM_Save<Variant>)
      ->Arg(0)
      ->UseManualTime()
      ->MinTime(2.0)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark((prefix + "/save_1pct_changed").c_str(), BM_Save<Variant>)
      ->Arg(1)
      ->UseManualTime()
      ->MinTime(2.0)
      ->Unit(benchmark::kMillisecond);
  const std::pair<const char*, Op> ops[] = {{"lookup_id", Op::kLookupID}, {"lookup_pos", Op::kLookupPos},
                                            {"lookup_path", Op::kLookupPath}, {"add", Op::kAdd},
                                            {"update", Op::kUpdate},           {"rename", Op::kRename},
                                            {"delete", Op::kDelete}};
  for (const auto& [op_name, op] : ops) {
    // A batch's untimed setup costs more than the batch: a short minimum
    // time keeps a run of all repetitions to minutes.
    benchmark::RegisterBenchmark((prefix + "/" + op_name).c_str(), BM_Op<Variant>, op, Keys::kWorkingSet)
        ->UseManualTime()
        ->MinTime(0.05)
        ->Unit(benchmark::kMicrosecond);
    if (op == Op::kAdd) continue;  // an add touches no existing record
    benchmark::RegisterBenchmark((prefix + "/" + op_name + "_uniform").c_str(), BM_Op<Variant>, op, Keys::kUniform)
        ->UseManualTime()
        ->MinTime(0.05)
        ->Unit(benchmark::kMicrosecond);
  }
}

}  // namespace
}  // namespace zds::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  if (zds::bench::Scratch::Get().path().empty()) {
    std::fprintf(stderr, "framework_bench: cannot create a scratch directory\n");
    return 1;
  }
  zds::bench::RegisterMemory<zds::bench::Family>("family");
  zds::bench::RegisterMemory<zds::bench::Plain>("plain");
  zds::bench::RegisterMemory<zds::bench::WideFamily>("wide_family");
  zds::bench::RegisterMemory<zds::bench::WidePlain>("wide_plain");
  zds::bench::RegisterLoad<zds::bench::WideFamily>("wide_family");
  zds::bench::RegisterLoad<zds::bench::WidePlain>("wide_plain");
  zds::bench::RegisterVariant<zds::bench::Family>("family");
  zds::bench::RegisterVariant<zds::bench::Plain>("plain");
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
