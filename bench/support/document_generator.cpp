#include "support/document_generator.h"

#include <cstdio>

#include "zds/framework/xml_escape.h"

namespace zds::bench {
namespace {

// Words with bytes of 0x80 and above (UTF-8) are mixed in on purpose: the
// store passes them through unchanged and the loader must not trip on them.
constexpr std::string_view kWords[] = {
    "budget",  "meeting", "draft",   "review", "Zoë",    "naïve",   "plan",     "travel", "invoice", "São Paulo",
    "report",  "garden",  "Łódź",    "notes",  "café",   "project", "Ærø",      "call",   "summary", "weekly",
    "school",  "dentist", "Übersicht", "tax",  "renewal", "Ñandú",  "photos",   "backup", "recipe",  "contract"};
constexpr std::string_view kFirstNames[] = {"Anna", "José", "Björn", "Chloé", "Dmitri", "Emma", "François",
                                            "Grete", "Hiroshi", "Inês", "Jan", "Kristín"};
constexpr std::string_view kLastNames[] = {"Müller", "García", "Smith", "Dvořák", "Nguyen", "O'Brien",
                                           "Søndergaard", "Kowalski", "Rossi", "Yılmaz", "Brown", "Weiß"};
constexpr std::string_view kAsciiNames[] = {"anna", "jose", "bjorn", "chloe", "dmitri", "emma",
                                            "francois", "grete", "hiroshi", "ines", "jan", "kristin"};
constexpr std::string_view kDomains[] = {"example.org", "mail.example.com", "post.example.net", "example.de"};
constexpr std::string_view kCategories[] = {"Work", "Private", "Family", "Café & Bar", "Finance", "Health"};
constexpr std::string_view kStatuses[] = {"open", "done", "waiting", "cancelled"};
constexpr std::string_view kCharsets[] = {"utf-8", "iso-8859-1", "us-ascii", "windows-1252"};
constexpr std::string_view kExtensions[] = {".pdf", ".docx", ".jpg", ".txt", ".eml"};
// Pieces that need escaping in an attribute value.
constexpr std::string_view kOddBits[] = {" & ", " <b> ", " \"quoted\" ", "\r\n", "\t", " > ", " 'single' "};

template <typename T, size_t N>
std::string_view Pick(BenchRandom& random, const T (&list)[N]) {
  return list[random.Below(N)];
}

std::string Words(BenchRandom& random, size_t low, size_t high, bool odd_bits) {
  std::string out;
  size_t count = random.Between(low, high);
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) out += ' ';
    out += Pick(random, kWords);
    if (odd_bits && random.Below(6) == 0) out += Pick(random, kOddBits);
  }
  return out;
}

std::string Number(size_t value, int width) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%0*zu", width, value);
  return buffer;
}

std::string Date(BenchRandom& random) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "20%02zu-%02zu-%02zu %02zu:%02zu:%02zu", random.Between(10, 25),
                random.Between(1, 12), random.Between(1, 28), random.Below(24), random.Below(60), random.Below(60));
  return buffer;
}

void AppendAttribute(std::string& out, std::string_view name, std::string_view value) {
  out += ' ';
  out += name;
  out += "=\"";
  AppendEscaped(out, value);
  out += '"';
}

void AppendRecord(std::string& out, BenchRandom& random, size_t id, size_t number) {
  GeneratedRecord rec = MakeRecord(random, number);
  out += '<';
  out += kBenchRecTag;
  AppendAttribute(out, "id", Number(id, 4));
  AppendAttribute(out, "alias", rec.alias);
  AppendAttribute(out, "attribute", "normal");
  for (size_t i = 0; i < kFieldNames.size(); ++i) AppendAttribute(out, kFieldNames[i], rec.fields[i]);
  out += ">\r\n";
  for (const GeneratedAttachment& attachment : rec.attachments) {
    out += '<';
    out += kBenchChildTag;
    AppendAttribute(out, "name", attachment.name);
    AppendAttribute(out, "charset", attachment.charset);
    AppendAttribute(out, "size", attachment.size);
    out += "/>\r\n";
  }
  out += "</";
  out += kBenchRecTag;
  out += ">\r\n";
}

}  // namespace

uint64_t BenchRandom::Next() {
  uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

GeneratedRecord MakeRecord(BenchRandom& random, size_t number) {
  GeneratedRecord rec;
  rec.alias = Words(random, 1, 2, false);
  rec.alias += ' ';
  rec.alias += std::to_string(number);
  size_t first = random.Below(std::size(kFirstNames));
  size_t last = random.Below(std::size(kLastNames));
  auto& f = rec.fields;
  f[0] = Date(random);
  f[1] = Date(random);
  f[2] = Words(random, 1, 3, true);
  f[3] = std::string(kFirstNames[first]) + ' ' + std::string(kLastNames[last]);
  f[4] = std::string(kAsciiNames[first]) + '.' + std::to_string(last) + '@' + std::string(Pick(random, kDomains));
  f[5] = "+" + std::to_string(random.Between(1, 99)) + ' ' + std::to_string(random.Between(10, 999)) + ' ' +
         Number(random.Below(10'000'000), 7);
  f[6] = Pick(random, kCategories);
  f[7] = std::to_string(random.Between(1, 5));
  f[8] = Pick(random, kStatuses);
  f[9] = "https://" + std::string(Pick(random, kDomains)) + '/' + std::string(Pick(random, kAsciiNames)) +
         "?id=" + std::to_string(number);
  f[10] = random.Below(4) == 0 ? std::string() : Words(random, 1, 4, true);
  f[11] = std::to_string(random.Below(8));
  // 0 to 3 child lines, fewer more often (mean 1).
  static constexpr size_t kChildCounts[] = {0, 0, 0, 0, 1, 1, 1, 2, 2, 3};
  for (size_t i = kChildCounts[random.Below(std::size(kChildCounts))]; i > 0; --i) {
    GeneratedAttachment attachment;
    attachment.name = std::string(Pick(random, kWords)) + '-' + std::to_string(random.Below(1000)) +
                      std::string(Pick(random, kExtensions));
    attachment.charset = Pick(random, kCharsets);
    attachment.size = std::to_string(random.Between(100, 999'999));
    rec.attachments.push_back(std::move(attachment));
  }
  return rec;
}

std::string GenerateRecordDocument(size_t records, uint64_t seed) {
  BenchRandom random(seed);
  constexpr size_t kTopFolders = 4;
  constexpr size_t kSubFolders = 3;
  constexpr size_t kHolders = kTopFolders * (1 + kSubFolders);  // every folder holds records
  std::string out;
  out.reserve(records * 420 + 4096);
  out += "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<";
  out += kBenchRootTag;
  out += " ver=\"1.0\">\r\n";
  out += "<folder id=\"0000\" alias=\"Bench Store\" attribute=\"root\" content=\"bench;os=universal\">\r\n";
  size_t next_id = 1;
  size_t next_record = 0;
  size_t holder = 0;
  auto append_records = [&] {
    size_t count = records / kHolders + (holder < records % kHolders ? 1 : 0);
    ++holder;
    for (size_t i = 0; i < count; ++i) AppendRecord(out, random, next_id++, next_record++);
  };
  auto open_folder = [&](std::string_view alias) {
    out += "<folder";
    AppendAttribute(out, "id", Number(next_id++, 4));
    AppendAttribute(out, "alias", alias);
    AppendAttribute(out, "attribute", "normal");
    out += ">\r\n";
  };
  for (size_t top = 0; top < kTopFolders; ++top) {
    open_folder("Folder " + std::to_string(top + 1));
    append_records();
    for (size_t sub = 0; sub < kSubFolders; ++sub) {
      open_folder("Sub " + std::to_string(top + 1) + '.' + std::to_string(sub + 1) + " Größe");
      append_records();
      out += "</folder>\r\n";
    }
    out += "</folder>\r\n";
  }
  out += "</folder>\r\n</";
  out += kBenchRootTag;
  out += ">\r\n";
  return out;
}

namespace {

constexpr std::string_view kWideWords[] = {"low", "normal", "high"};

std::string WideValue(BenchRandom& random, WideKind kind) {
  switch (kind) {
    case WideKind::kText: return Words(random, 1, 4, true);
    case WideKind::kTime: return Date(random).substr(0, 16);
    case WideKind::kInt: return std::to_string(random.Below(100'000));
    case WideKind::kFlag: return random.Below(2) ? "yes" : "no";
    case WideKind::kWord: return std::string(Pick(random, kWideWords));
  }
  return std::string();
}

void AppendWideRecord(std::string& out, BenchRandom& random, size_t id, size_t number) {
  out += "<rec";
  AppendAttribute(out, "id", Number(id, 4));
  AppendAttribute(out, "alias", Words(random, 1, 2, false) + ' ' + std::to_string(number));
  AppendAttribute(out, "attribute", "normal");
  // 5 to 25 of the fields, in their order: each is left out with the chance
  // that keeps the expected count at the wanted one.
  size_t wanted = random.Between(5, 25);
  size_t left = wanted;
  for (size_t i = 0; i < kWideFields.size(); ++i) {
    if (random.Below(kWideFields.size() - i) >= left) continue;
    --left;
    AppendAttribute(out, kWideFields[i].name, WideValue(random, kWideFields[i].kind));
  }
  out += ">\r\n</rec>\r\n";
}

}  // namespace

std::string GenerateWideDocument(size_t records, uint64_t seed) {
  BenchRandom random(seed);
  constexpr size_t kBranching = 3;
  constexpr size_t kLevels = 4;  // below the root folder
  size_t holders = 0;
  for (size_t level = 1, width = 1; level <= kLevels; ++level) holders += (width *= kBranching);
  std::string out;
  out.reserve(records * 600 + 4096);
  out += "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<";
  out += kWideRootTag;
  out += " ver=\"1.0\">\r\n<folder id=\"0000\" alias=\"Wide Store\" attribute=\"root\">\r\n";
  size_t next_id = 1;
  size_t next_record = 0;
  size_t holder = 0;
  // Depth first: each folder holds its share of the records, then its subfolders.
  auto fill = [&](auto& self, size_t level, const std::string& alias) -> void {
    out += "<folder";
    AppendAttribute(out, "id", Number(next_id++, 4));
    AppendAttribute(out, "alias", alias);
    AppendAttribute(out, "attribute", "normal");
    out += ">\r\n";
    size_t count = records / holders + (holder < records % holders ? 1 : 0);
    ++holder;
    for (size_t i = 0; i < count; ++i) AppendWideRecord(out, random, next_id++, next_record++);
    if (level < kLevels) {
      for (size_t i = 0; i < kBranching; ++i) self(self, level + 1, alias + '.' + std::to_string(i + 1) + " Größe");
    }
    out += "</folder>\r\n";
  };
  for (size_t i = 0; i < kBranching; ++i) fill(fill, 1, "Folder " + std::to_string(i + 1));
  out += "</folder>\r\n</";
  out += kWideRootTag;
  out += ">\r\n";
  return out;
}

}  // namespace zds::bench
