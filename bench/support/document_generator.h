// Synthetic record documents for the benchmarks: deterministic texts shaped
// like a real store file (nested folders, records with about fifteen
// attributes of mixed lengths, escaped characters and bytes of 0x80 and
// above, a few child lines per record, CR LF line ends), about 40 MB at
// 100,000 records.

#ifndef ZDS_BENCH_SUPPORT_DOCUMENT_GENERATOR_H_
#define ZDS_BENCH_SUPPORT_DOCUMENT_GENERATOR_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zds::bench {

// The root and record tags of the generated kind; the benchmark family
// (bench_family.h) declares the same, so the text loads as that kind.
inline constexpr std::string_view kBenchRootTag = "benchdoc";
inline constexpr std::string_view kBenchRecTag = "rec";
inline constexpr std::string_view kBenchChildTag = "attachment";
inline constexpr uint64_t kDefaultSeed = 0x5EED'2024'0001ULL;

// The record attributes a family reads beyond the framework's own
// (id, alias, attribute), in the order they are written.
inline constexpr std::array<std::string_view, 12> kFieldNames = {
    "created", "modified", "subject", "author", "email", "phone",
    "category", "priority", "status", "url", "note", "flags"};

struct GeneratedAttachment {
  std::string name;
  std::string charset;
  std::string size;
};

// One record's values, decoded (what a family's fields hold).
struct GeneratedRecord {
  std::string alias;
  std::array<std::string, kFieldNames.size()> fields;
  std::vector<GeneratedAttachment> attachments;
};

// A small deterministic generator (splitmix64); the standard distributions
// differ between libraries, so none are used.
class BenchRandom {
 public:
  explicit BenchRandom(uint64_t seed) : state_(seed) {}
  uint64_t Next();
  // Uniform in [0, bound).
  size_t Below(size_t bound) { return static_cast<size_t>(Next() % bound); }
  size_t Between(size_t low, size_t high) { return low + Below(high - low + 1); }

 private:
  uint64_t state_;
};

// The values of a record, drawn from `random`.
GeneratedRecord MakeRecord(BenchRandom& random, size_t number);

// A whole document of `records` records in a few nested folders.
std::string GenerateRecordDocument(size_t records, uint64_t seed = kDefaultSeed);

// The wide shape, as an outside benchmark drew it: folders nested four
// levels deep, records of 5 to 25 attributes (drawn in order from the 25
// below) whose values need escaping or hold bytes of 0x80 and above, no
// child lines. The benchmark's wide family decodes every one into a typed
// member: text, a time, an integer, a flag or a word.
inline constexpr std::string_view kWideRootTag = "widedoc";
enum class WideKind { kText, kTime, kInt, kFlag, kWord };
struct WideField {
  std::string_view name;
  WideKind kind;
};
inline constexpr std::array<WideField, 25> kWideFields = {{
    {"subject", WideKind::kText},   {"begin", WideKind::kTime},      {"priority", WideKind::kWord},
    {"note", WideKind::kText},      {"status", WideKind::kInt},      {"visible", WideKind::kFlag},
    {"author", WideKind::kText},    {"end", WideKind::kTime},        {"size", WideKind::kInt},
    {"email", WideKind::kText},     {"topmost", WideKind::kFlag},    {"state", WideKind::kWord},
    {"phone", WideKind::kText},     {"count", WideKind::kInt},       {"createtime", WideKind::kTime},
    {"url", WideKind::kText},       {"readonly", WideKind::kFlag},   {"minutes", WideKind::kInt},
    {"category", WideKind::kText},  {"kind", WideKind::kWord},       {"location", WideKind::kText},
    {"newflag", WideKind::kFlag},   {"contact", WideKind::kText},    {"mapnum", WideKind::kInt},
    {"actid", WideKind::kText},
}};
std::string GenerateWideDocument(size_t records, uint64_t seed = kDefaultSeed);

}  // namespace zds::bench

#endif  // ZDS_BENCH_SUPPORT_DOCUMENT_GENERATOR_H_
