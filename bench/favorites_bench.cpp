// The favorites against their target, a tree of 50,000 links in 2,000
// folders beside one of 5,000 links in 200 folders (the same shape a tenth
// the size), measured side by side in one run:
//   import: reading its bookmark file and adding every folder and link,
//           shortcuts written and flushed, the document saved once
//   export: the whole tree out as a bookmark file, each link's address
//           read from its shortcut
//   add:    one link added with save-on-change (the document written
//           whole, then its shortcut)
// Each operation's growth is the ratio of the two sizes' times; linear
// growth is 10.
//
// Run: build-bench/bench/favorites_bench --benchmark_repetitions=3
//      --benchmark_report_aggregates_only=true
// Files go to a fresh directory under $ZDS_BENCH_DIR (default: the system
// temporary directory), removed at the end.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "zds/browsing/bookmark_html.h"
#include "zds/browsing/fav_doc.h"
#include "support/scratch_dir.h"

namespace zds::bench {
namespace {

constexpr int kLinksPerFolder = 25;

const std::string& ScratchPath() { return ProgramScratch("zds-favorites-bench"); }

// A bookmark file of `links` links, 25 to a folder, the folders two levels
// deep (a folder of ten below each top folder), as a browser writes one.
std::string BookmarkFileOf(int links) {
  std::vector<BookmarkItem> items;
  const int folders = links / kLinksPerFolder;
  for (int f = 0; f < folders; ++f) {
    if (f % 10 == 0) items.push_back({true, 0, "Topic " + std::to_string(f / 10), "", 1600000000, 1600000000});
    items.push_back({true, 1, "Folder " + std::to_string(f), "", 1600000000 + f, 1600000000 + f});
    for (int l = 0; l < kLinksPerFolder; ++l) {
      const int n = f * kLinksPerFolder + l;
      items.push_back({false, 2, "Page " + std::to_string(n) + " & more",
                       "https://site" + std::to_string(n % 997) + ".example/path/" + std::to_string(n) + "?q=a&r=b",
                       1600000000 + n, 1600000000 + n});
    }
  }
  return WriteBookmarkHtml(items);
}

// A data root of its own, the favorites document opened there.
struct Favorites {
  std::shared_ptr<platform::DataRoot> root;
  CFavDoc doc;
  explicit Favorites(const std::string& dir, bool auto_save = false) {
    std::filesystem::create_directories(dir);
    root = std::make_shared<platform::DataRoot>(dir);
    doc.SetDataRoot(root);
    doc.SetAutoSaveFlag(auto_save);
    if (OpenVFDLDoc(doc, "\\favorites\\index.xml", "\\favorites") == OpenResult::kUnusable) doc.SetDataRoot(nullptr);
  }
};

// One store per size, filled once by an import and shared by the benchmarks that read it.
Favorites& Filled(int links) {
  static std::map<int, std::unique_ptr<Favorites>> stores;
  std::unique_ptr<Favorites>& store = stores[links];
  if (!store) {
    store = std::make_unique<Favorites>(ScratchPath() + "/filled-" + std::to_string(links), true);
    FavImportCounts counts;
    const BookmarkFile file = ReadBookmarkHtml(BookmarkFileOf(links));
    if (!store->doc.ImportBookmarks(store->doc.GetRoot()->GetPos(), file.items, true, counts)) store.reset();
  }
  return *store;
}

void BM_Import(benchmark::State& state) {
  const int links = static_cast<int>(state.range(0));
  const std::string html = BookmarkFileOf(links);
  int run = 0;
  for (auto _ : state) {
    state.PauseTiming();
    Favorites fav(ScratchPath() + "/import-" + std::to_string(links) + "-" + std::to_string(run++));
    state.ResumeTiming();
    const BookmarkFile file = ReadBookmarkHtml(html);
    FavImportCounts counts;
    if (!fav.doc.ImportBookmarks(fav.doc.GetRoot()->GetPos(), file.items, true, counts) || counts.links != links) {
      state.SkipWithError("the import failed");
      break;
    }
    state.PauseTiming();
    std::filesystem::remove_all(fav.root->NativeRoot());
    state.ResumeTiming();
  }
  state.counters["links/s"] = benchmark::Counter(static_cast<double>(links) * static_cast<double>(state.iterations()),
                                                 benchmark::Counter::kIsRate);
}

void BM_Export(benchmark::State& state) {
  const int links = static_cast<int>(state.range(0));
  Favorites& fav = Filled(links);
  size_t bytes = 0;
  for (auto _ : state) {
    const std::string html = WriteBookmarkHtml(fav.doc.ExportBookmarks(fav.doc.GetRoot()->GetPos()));
    bytes = html.size();
    benchmark::DoNotOptimize(html.data());
  }
  state.counters["MB"] = static_cast<double>(bytes) / 1e6;
}

void BM_AddLink(benchmark::State& state) {
  const int links = static_cast<int>(state.range(0));
  Favorites& fav = Filled(links);
  const std::string folder = fav.doc.GetNodeByPath("kov:\\Favorites\\Topic 0\\Folder 0")->GetPos();
  for (auto _ : state) {
    const std::string pos = fav.doc.AddLink(folder, "One more", "https://one.example/more", true);
    state.PauseTiming();
    if (pos.empty() || !fav.doc.DelRecOnDoc(pos)) state.SkipWithError("the add failed");
    state.ResumeTiming();
  }
}

BENCHMARK(BM_Import)->Arg(5000)->Arg(50000)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_Export)->Arg(5000)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AddLink)->Arg(5000)->Arg(50000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zds::bench

BENCHMARK_MAIN();
