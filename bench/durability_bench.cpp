// What one durable edit costs, with its sides taking turns inside each
// iteration (the machine is shared and noisy; medians over iterations):
//   edit_1k, edit_100k: UpdateRec of one random record with auto-save on,
//                       in documents of 1,000 and 100,000 records
//   sqlite_100k:        SQLite in WAL mode, synchronous=FULL, updating one
//                       random row of a 100,000-row table (when built with it)
//   lock_1k:            what a save adds for writers side by side: taking
//                       the lock, reading its counter, the file's identity
//                       before and after, advancing the counter
// The document of 100,000 records keeps a journal, that of 1,000 does not.
// BM_Checkpoint then fills the large document's journal with edits up to
// the point where the next save writes the file whole, and reports:
//   checkpoint_ms, fill_edits, checkpoint_per_edit_ms: one checkpoint, and
//                       what it adds to each of the edits that filled it
//   load_full_ms, load_empty_ms: loading with that full journal and after
//                       the checkpoint emptied it (medians of 5, taking turns)
//
// Run: build-bench/bench/durability_bench (30 iterations of every side)
// Files go to a fresh directory under $ZDS_BENCH_DIR (default: the system
// temporary directory), removed at the end.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#ifdef ZDS_BENCH_HAVE_SQLITE
#include <sqlite3.h>
#endif

#include "support/bench_family.h"
#include "support/document_generator.h"
#include "support/scratch_dir.h"
#include "zds/framework/vfdl_walk.h"
#include "zds/platform/files.h"

namespace zds::bench {
namespace {

using Clock = std::chrono::steady_clock;

double Median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

// A document of `records` records on disk, loaded with auto-save on.
class EditedDocument {
 public:
  EditedDocument(const std::shared_ptr<platform::DataRoot>& root, size_t records)
      : path_("\\doc" + std::to_string(records) + ".xml") {
    doc_.SetDataRoot(root);
    doc_.SetAutoSaveFlag(true);
    if (!root->WriteFileAtomic(path_, GenerateRecordDocument(records)) ||
        doc_.LoadXMLDoc(path_) != OpenResult::kLoaded) {
      return;
    }
    for (const CVFDLNode& node : Subtree(*doc_.GetRoot())) {
      if (node.GetNodeType() == kNodeRec) positions_.push_back(node.GetPos());
    }
  }
  bool ready() const { return !positions_.empty(); }
  const std::string& path() const { return path_; }
  BenchDoc& doc() { return doc_; }
  bool UpdateOne(BenchRandom& random) {
    const size_t pick = random.Below(positions_.size());
    return doc_.UpdateRec(positions_[pick], MakeBenchRec(MakeRecord(random, pick)), false);
  }

 private:
  std::string path_;
  BenchDoc doc_;
  std::vector<std::string> positions_;
};

#ifdef ZDS_BENCH_HAVE_SQLITE
class SqliteTable {
 public:
  SqliteTable(const std::string& file, size_t rows) {
    if (sqlite3_open(file.c_str(), &db_) != SQLITE_OK) return;
    BenchRandom random(11);
    bool ok = Exec("PRAGMA journal_mode=WAL") && Exec("PRAGMA synchronous=FULL") &&
              Exec("CREATE TABLE rec (id INTEGER PRIMARY KEY, body TEXT)") && Exec("BEGIN");
    sqlite3_stmt* insert = nullptr;
    ok = ok && sqlite3_prepare_v2(db_, "INSERT INTO rec VALUES (?, ?)", -1, &insert, nullptr) == SQLITE_OK;
    for (size_t i = 0; ok && i < rows; ++i) {
      const std::string body = Body(random, i);
      sqlite3_bind_int64(insert, 1, static_cast<sqlite3_int64>(i));
      sqlite3_bind_text(insert, 2, body.data(), static_cast<int>(body.size()), SQLITE_TRANSIENT);
      ok = sqlite3_step(insert) == SQLITE_DONE && sqlite3_reset(insert) == SQLITE_OK;
    }
    sqlite3_finalize(insert);
    ok = ok && Exec("COMMIT") &&
         sqlite3_prepare_v2(db_, "UPDATE rec SET body = ? WHERE id = ?", -1, &update_, nullptr) == SQLITE_OK;
    rows_ = ok ? rows : 0;
  }
  ~SqliteTable() {
    sqlite3_finalize(update_);
    sqlite3_close(db_);
  }
  bool ready() const { return rows_ != 0; }
  bool UpdateOne(BenchRandom& random) {
    const size_t pick = random.Below(rows_);
    const std::string body = Body(random, pick);
    sqlite3_bind_text(update_, 1, body.data(), static_cast<int>(body.size()), SQLITE_TRANSIENT);
    sqlite3_bind_int64(update_, 2, static_cast<sqlite3_int64>(pick));
    return sqlite3_step(update_) == SQLITE_DONE && sqlite3_reset(update_) == SQLITE_OK;
  }

 private:
  // A row holds what a record's line holds, about as many bytes.
  static std::string Body(BenchRandom& random, size_t number) {
    GeneratedRecord values = MakeRecord(random, number);
    std::string body = values.alias;
    for (const std::string& field : values.fields) body.append("\t").append(field);
    return body;
  }
  bool Exec(const char* sql) { return sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }
  sqlite3* db_ = nullptr;
  sqlite3_stmt* update_ = nullptr;
  size_t rows_ = 0;
};
#endif

// What SaveXMLDoc does besides writing, for a file of `path`.
bool LockAndCheck(const platform::DataRoot& root, const std::string& path) {
  platform::FileLock lock = root.AcquireLock(path + "-lock");
  const uint64_t counter = lock.ReadCounter();
  bool ok = lock.IsHeld() && root.IdentifyFile(path).has_value();
  ok = lock.WriteCounter(counter + 1) && ok;
  return root.IdentifyFile(path).has_value() && ok;
}

void BM_DurableEdit(benchmark::State& state) {
  ScratchDir scratch("zds-durability-bench");
  auto root = std::make_shared<platform::DataRoot>(scratch.path());
  EditedDocument small(root, 1'000);
  EditedDocument large(root, 100'000);
  // The lock's side works on a file of its own: advancing the counter of
  // the edited document's lock would make that document stale.
  if (!small.ready() || !large.ready() || !root->WriteFileAtomic("\\lock_only.xml", GenerateRecordDocument(1'000))) {
    state.SkipWithError("documents not made");
    return;
  }
  std::vector<std::pair<const char*, std::function<bool(BenchRandom&)>>> sides = {
      {"edit_1k", [&](BenchRandom& r) { return small.UpdateOne(r); }},
      {"edit_100k", [&](BenchRandom& r) { return large.UpdateOne(r); }},
      {"lock_1k", [&](BenchRandom&) { return LockAndCheck(*root, "\\lock_only.xml"); }},
  };
#ifdef ZDS_BENCH_HAVE_SQLITE
  SqliteTable table(scratch.path() + "/table.db", 100'000);
  if (!table.ready()) {
    state.SkipWithError("table not made");
    return;
  }
  sides.push_back({"sqlite_100k", [&](BenchRandom& r) { return table.UpdateOne(r); }});
#endif
  std::vector<std::vector<double>> seconds(sides.size());
  BenchRandom random(5);
  size_t turn = 0;
  for (auto _ : state) {
    for (size_t k = 0; k < sides.size(); ++k) {
      const size_t side = (turn + k) % sides.size();
      const auto start = Clock::now();
      if (!sides[side].second(random)) {
        state.SkipWithError(sides[side].first);
        return;
      }
      seconds[side].push_back(std::chrono::duration<double>(Clock::now() - start).count());
    }
    ++turn;
  }
  std::vector<double> medians;
  for (size_t side = 0; side < sides.size(); ++side) {
    medians.push_back(Median(seconds[side]));
    state.counters[std::string(sides[side].first) + "_ms"] = medians.back() * 1e3;
  }
  state.counters["ratio_100k_vs_1k"] = medians[1] / medians[0];
  state.counters["lock_share_1k"] = medians[2] / medians[0];
#ifdef ZDS_BENCH_HAVE_SQLITE
  state.counters["ratio_100k_vs_sqlite"] = medians[1] / medians[3];
  state.counters["ratio_1k_vs_sqlite"] = medians[0] / medians[3];
#endif
}
BENCHMARK(BM_DurableEdit)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(30);

double SecondsOf(const std::function<bool()>& step) {
  const auto start = Clock::now();
  const bool ok = step();
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  return ok ? seconds : -1;
}

void BM_Checkpoint(benchmark::State& state) {
  ScratchDir scratch("zds-checkpoint-bench");
  auto root = std::make_shared<platform::DataRoot>(scratch.path());
  EditedDocument large(root, 100'000);
  if (!large.ready()) {
    state.SkipWithError("document not made");
    return;
  }
  BenchDoc& doc = large.doc();
  BenchRandom random(7);
  for (auto _ : state) {
    // Up to where the next entry would no longer fit and the save would write whole.
    size_t edits = 0;
    uint64_t entry = 0;
    const uint64_t file_size = root->IdentifyFile(large.path()).value_or(platform::FileIdentity()).size;
    while (true) {
      const uint64_t before = doc.GetJournalSize();
      if (!large.UpdateOne(random)) {
        state.SkipWithError("edit failed");
        return;
      }
      ++edits;
      const uint64_t after = doc.GetJournalSize();
      if (after <= before) {
        state.SkipWithError("the journal was folded in before it was full");
        return;
      }
      entry = std::max(entry, after - before);
      if ((after + 2 * entry) * CXMLDoc::kJournalFraction >= file_size) break;
    }
    std::vector<double> full, empty;
    for (int turn = 0; turn < 5; ++turn) {
      full.push_back(SecondsOf([&] {
        BenchDoc reader;
        reader.SetDataRoot(root);
        return reader.LoadXMLDoc(large.path()) == OpenResult::kLoaded;
      }));
    }
    const double checkpoint = SecondsOf([&] { return doc.Checkpoint() && doc.GetJournalSize() == 0; });
    for (int turn = 0; turn < 5; ++turn) {
      empty.push_back(SecondsOf([&] {
        BenchDoc reader;
        reader.SetDataRoot(root);
        return reader.LoadXMLDoc(large.path()) == OpenResult::kLoaded;
      }));
    }
    if (checkpoint < 0 || *std::min_element(full.begin(), full.end()) < 0 ||
        *std::min_element(empty.begin(), empty.end()) < 0) {
      state.SkipWithError("checkpoint or load failed");
      return;
    }
    state.counters["fill_edits"] = static_cast<double>(edits);
    state.counters["checkpoint_ms"] = checkpoint * 1e3;
    state.counters["checkpoint_per_edit_ms"] = checkpoint * 1e3 / static_cast<double>(edits);
    state.counters["load_full_ms"] = Median(full) * 1e3;
    state.counters["load_empty_ms"] = Median(empty) * 1e3;
    state.counters["ratio_load_full_vs_empty"] = Median(full) / Median(empty);
  }
}
BENCHMARK(BM_Checkpoint)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace
}  // namespace zds::bench

BENCHMARK_MAIN();
