// What one durable edit costs, with its sides taking turns inside each
// iteration (the machine is shared and noisy; medians over iterations):
//   edit_1k, edit_100k: UpdateRec of one random record with auto-save on,
//                       in documents of 1,000 and 100,000 records
//   sqlite_100k:        SQLite in WAL mode, synchronous=FULL, updating one
//                       random row of a 100,000-row table (when built with it)
//   lock_1k:            what a save adds for writers side by side: taking
//                       the lock, reading its counter, the file's identity
//                       before and after, advancing the counter
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

}  // namespace
}  // namespace zds::bench

BENCHMARK_MAIN();
