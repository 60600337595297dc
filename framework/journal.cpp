#include "zds/framework/journal.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace zds {
namespace {

// Eight tables, so the loop takes eight bytes a step: a load binds a large
// document by its CRC, which must not cost a noticeable part of the load.
constexpr std::array<std::array<uint32_t, 256>, 8> MakeCrcTables() {
  std::array<std::array<uint32_t, 256>, 8> tables{};
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t crc = i;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) ? 0xEDB88320u : 0);
    tables[0][i] = crc;
  }
  for (uint32_t i = 0; i < 256; ++i) {
    for (size_t t = 1; t < 8; ++t) tables[t][i] = (tables[t - 1][i] >> 8) ^ tables[0][tables[t - 1][i] & 0xFF];
  }
  return tables;
}
constexpr auto kCrcTables = MakeCrcTables();

constexpr std::string_view kMagic = "zds-journal 1 ";

std::string Hex8(uint32_t value) {
  char text[9];
  std::snprintf(text, sizeof text, "%08x", value);
  return std::string(text, 8);
}

template <typename Number>
bool ParseNumber(std::string_view text, Number& value, int base = 10) {
  if (text.empty()) return false;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  return error == std::errc() && end == text.data() + text.size();
}

// "<a> <b>" -> a, b.
bool SplitPair(std::string_view text, std::string_view& first, std::string_view& second) {
  size_t space = text.find(' ');
  if (space == std::string_view::npos) return false;
  first = text.substr(0, space);
  second = text.substr(space + 1);
  return true;
}

bool ParseBinding(std::string_view text, JournalBinding& binding) {
  std::string_view size, crc;
  return SplitPair(text, size, crc) && ParseNumber(size, binding.size) && crc.size() == 8 &&
         ParseNumber(crc, binding.crc, 16);
}

// A payload's operation; 'C' gives the checkpoint's binding.
bool ParsePayload(std::string_view payload, JournalEntry& entry, JournalBinding& checkpoint) {
  size_t line_end = payload.find('\n');
  std::string_view line = payload.substr(0, line_end);
  if (line.size() < 3 || line[1] != ' ') return false;
  entry = {};
  entry.op = line[0];
  std::string_view args = line.substr(2);
  if (line_end != std::string_view::npos) entry.element = payload.substr(line_end + 1);
  switch (entry.op) {
    case 'U': entry.id = args; return !entry.element.empty();
    case 'A': {
      std::string_view index;
      return SplitPair(args, entry.id, index) && ParseNumber(index, entry.index) && !entry.element.empty();
    }
    case 'D': entry.id = args; return entry.element.empty();
    case 'C': return ParseBinding(args, checkpoint);
    default: return false;
  }
}

}  // namespace

uint32_t Crc32(std::string_view data, uint32_t crc) {
  crc = ~crc;
  const auto* p = reinterpret_cast<const unsigned char*>(data.data());
  size_t n = data.size();
  const auto& t = kCrcTables;
  while (n >= 8) {
    uint32_t low = crc ^ (uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24);
    crc = t[7][low & 0xFF] ^ t[6][(low >> 8) & 0xFF] ^ t[5][(low >> 16) & 0xFF] ^ t[4][low >> 24] ^ t[3][p[4]] ^
          t[2][p[5]] ^ t[1][p[6]] ^ t[0][p[7]];
    p += 8;
    n -= 8;
  }
  while (n-- > 0) crc = (crc >> 8) ^ t[0][(crc ^ *p++) & 0xFF];
  return ~crc;
}

std::string JournalPathOf(std::string_view path) { return std::string(path) + "-journal"; }

std::string FormatJournalHeader(const JournalBinding& binding) {
  return std::string(kMagic) + std::to_string(binding.size) + ' ' + Hex8(binding.crc) + '\n';
}

std::string FormatJournalEntry(std::string_view payload) {
  std::string entry = "@" + std::to_string(payload.size()) + ' ' + Hex8(Crc32(payload)) + '\n';
  entry.append(payload);
  entry += '\n';
  return entry;
}

std::string FormatCheckpointPayload(const JournalBinding& binding) {
  return "C " + std::to_string(binding.size) + ' ' + Hex8(binding.crc);
}

// Entries are read up to the first that does not hold. A bad entry is a
// torn append only when nothing but zeros (a file grown before its bytes
// landed) follows it; anywhere else the damage is not a crash's.
JournalScan ScanJournal(std::string_view text, const JournalBinding& binding) {
  JournalScan scan;
  size_t header_end = text.find('\n');
  if (header_end == std::string_view::npos) {
    // A header cut short is a first append that never finished.
    if (kMagic.starts_with(text.substr(0, kMagic.size()))) {
      scan.torn = !text.empty();
      return scan;
    }
    scan.verdict = JournalVerdict::kCorrupt;
    scan.what = "the journal has no header";
    return scan;
  }
  JournalBinding bound;
  std::string_view header = text.substr(0, header_end);
  if (!header.starts_with(kMagic) || !ParseBinding(header.substr(kMagic.size()), bound)) {
    scan.verdict = JournalVerdict::kCorrupt;
    scan.what = "the journal's header is not one this version reads";
    return scan;
  }
  size_t at = header_end + 1;
  scan.good_size = at;
  JournalBinding checkpoint;
  bool checkpointed = false;
  while (at < text.size()) {
    std::string_view rest = text.substr(at);
    size_t frame_end = rest.find('\n');
    std::string_view length, crc;
    size_t size = 0;
    uint32_t sum = 0;
    bool framed = frame_end != std::string_view::npos && rest[0] == '@' &&
                  SplitPair(rest.substr(1, frame_end - 1), length, crc) && ParseNumber(length, size) &&
                  crc.size() == 8 && ParseNumber(crc, sum, 16);
    bool whole = framed && rest.size() - frame_end - 1 > size && rest[frame_end + 1 + size] == '\n';
    std::string_view payload = whole ? rest.substr(frame_end + 1, size) : std::string_view();
    JournalEntry entry;
    JournalBinding marked;
    if (!whole || Crc32(payload) != sum || !ParsePayload(payload, entry, marked)) {
      // Where the damage a crash could have done ends: a whole entry that
      // fails its check, or one the end of the file cuts short; past it,
      // and anywhere else, only zeros are a crash's.
      const size_t zero = std::min(rest.find('\0'), rest.size());
      size_t end = 0;
      if (whole) end = frame_end + 2 + size;
      else if (framed && (rest.size() - frame_end - 1 <= size || zero <= frame_end + 1 + size)) end = zero;
      else if (!framed && frame_end == std::string_view::npos && rest[0] == '@') end = zero;
      if (std::all_of(rest.begin() + static_cast<std::ptrdiff_t>(end), rest.end(), [](char c) { return c == '\0'; })) {
        scan.torn = true;
        break;
      }
      scan.verdict = JournalVerdict::kCorrupt;
      scan.what = "the journal is damaged at byte " + std::to_string(at);
      scan.entries.clear();
      return scan;
    }
    if (entry.op == 'C') {
      checkpoint = marked;
      checkpointed = true;
    } else {
      scan.entries.push_back(entry);
    }
    at += frame_end + 2 + size;
    scan.good_size = at;
  }
  if (bound == binding) {
    scan.verdict = scan.entries.empty() ? JournalVerdict::kEmpty : JournalVerdict::kApplies;
  } else if (checkpointed && checkpoint == binding) {
    scan.verdict = JournalVerdict::kFoldedIn;
    scan.entries.clear();
  } else {
    scan.verdict = JournalVerdict::kOtherVersion;
    scan.what = "the journal belongs to another version of the document";
    scan.entries.clear();
  }
  return scan;
}

}  // namespace zds
