// Reading feeds against their targets, side by side in one run (the
// machine is shared and noisy):
//   import:    `zds feed import` of a 10,000-item RSS 2.0 file into a fresh
//              store (start-up, the channel, every item, one save of the
//              items), in items per second, next to libexpat alone walking
//              the same file with empty callbacks (the floor), and to the
//              file read into records without the store (ReadFeed)
//   re-import: the same file again, every item known, <= 1.5x the first
//
// Run: build-bench/bench/feeds_bench --benchmark_repetitions=3
//      --benchmark_report_aggregates_only=true
// Files go to a fresh directory under $ZDS_BENCH_DIR (default: the system
// temporary directory), removed at the end.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/command_table.h"
#include "cli/feed_reading.h"
#include "support/scratch_dir.h"

namespace zds::bench {
namespace {

constexpr int kItems = 10'000;

const std::string& ScratchPath() { return ProgramScratch("zds-feeds-bench"); }

// Items as feeds carry them: a title, a link, a guid, a date, categories
// and a paragraph of description in CDATA.
const std::string& FeedFile() {
  static const std::string path = [] {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<rss version=\"2.0\" "
        "xmlns:atom=\"http://www.w3.org/2005/Atom\">\n<channel>\n<title>Bench &amp; Co</title>\n"
        "<link>http://bench.example/</link>\n<description>Ten thousand items</description>\n"
        "<atom:link rel=\"self\" href=\"http://bench.example/rss\"/>\n";
    for (int n = 0; n < kItems; ++n) {
      const std::string id = std::to_string(n);
      text += "<item><title>Item " + id + " &#8212; news</title><link>http://bench.example/" + id +
              "</link><guid isPermaLink=\"false\">bench-" + id +
              "</guid><pubDate>Tue, 24 Nov 2026 12:00:00 GMT</pubDate><category>a</category><category>b</category>"
              "<author>a@bench.example (A)</author><description><![CDATA[<p>A paragraph of text about item " +
              id + ", long enough to be a summary a reader shows under the title.</p>]]></description></item>\n";
    }
    text += "</channel>\n</rss>\n";
    const std::string file = ScratchPath() + "/feed.xml";
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }();
  return path;
}

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void Zds(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  if (cli::RunZds(args, out, err) != 0) {
    std::fprintf(stderr, "zds %s: %s", args[2].c_str(), err.str().c_str());
    std::abort();
  }
}

void BM_FeedImport(benchmark::State& state) {
  const std::string& file = FeedFile();
  const std::string text = ReadAll(file);
  double walk = 0, read = 0, first = 0, again = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    if (!cli::WalkXml(text)) std::abort();
    walk += Seconds(start, Clock::now());

    start = Clock::now();
    cli::FeedReading reading = cli::ReadFeed(text);
    read += Seconds(start, Clock::now());
    if (reading.feed.items.size() != kItems) std::abort();

    state.PauseTiming();
    const std::string root = ScratchPath() + "/root";
    std::filesystem::remove_all(root);
    Zds({"--root", root, "init"});
    state.ResumeTiming();
    start = Clock::now();
    Zds({"--root", root, "feed", "import", file});
    first += Seconds(start, Clock::now());
    start = Clock::now();
    Zds({"--root", root, "feed", "import", file});
    again += Seconds(start, Clock::now());
  }
  const double runs = static_cast<double>(state.iterations());
  state.counters["expat_walk_items/s"] = kItems * runs / walk;
  state.counters["read_feed_items/s"] = kItems * runs / read;
  state.counters["import_items/s"] = kItems * runs / first;
  state.counters["reimport_items/s"] = kItems * runs / again;
  state.counters["import_vs_walk"] = walk / first;
  state.counters["reimport_vs_import"] = again / first;
  state.counters["file_MB"] = static_cast<double>(text.size()) / 1e6;
}
BENCHMARK(BM_FeedImport)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace zds::bench

BENCHMARK_MAIN();
