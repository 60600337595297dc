#include "zds/framework/field_codec.h"

#include <charconv>
#include <limits>

namespace zds::field {

int32_t ParseAtoi(std::string_view text) {
  size_t at = 0;
  while (at < text.size() && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r'))) ++at;
  bool negative = at < text.size() && text[at] == '-';
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
  int64_t value = 0;
  constexpr int64_t kLimit = int64_t{std::numeric_limits<int32_t>::max()} + 1;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    if (value < kLimit) value = value * 10 + (text[at] - '0');
  }
  if (negative) value = -value;
  if (value > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
  if (value < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(value);
}

std::string FormatInt(int64_t value) {
  char buffer[24];
  auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, end);
}

std::string FormatPadded(int64_t value, int digits) {
  std::string text = FormatInt(value < 0 ? -value : value);
  if (static_cast<int>(text.size()) < digits - (value < 0 ? 1 : 0)) {
    text.insert(0, static_cast<size_t>(digits - (value < 0 ? 1 : 0)) - text.size(), '0');
  }
  if (value < 0) text.insert(0, 1, '-');
  return text;
}

namespace {

// A search as the stored format's reader made it: a failed search is -1,
// and a search from before the start searches from the start.
int64_t FindComma(std::string_view text, int64_t from) {
  size_t at = text.find(',', static_cast<size_t>(from < 0 ? 0 : from));
  return at == std::string_view::npos ? -1 : static_cast<int64_t>(at);
}

// The piece from `start` of `length` bytes: a negative length is empty, a
// negative start counts from 0, and the piece stops at the text's end.
std::string_view Piece(std::string_view text, int64_t start, int64_t length) {
  if (length <= 0) return {};
  if (start < 0) start = 0;
  if (static_cast<size_t>(start) >= text.size()) return {};
  return text.substr(static_cast<size_t>(start), static_cast<size_t>(length));
}

}  // namespace

void RectTextCodec::Read(std::string_view text, IntRect& value) const {
  const int64_t size = static_cast<int64_t>(text.size());
  const int64_t p1 = FindComma(text, 0);
  const int64_t p2 = FindComma(text, p1 + 1);
  const int64_t p3 = FindComma(text, p2 + 1);
  value[0] = ParseAtoi(Piece(text, 0, p1));
  value[1] = ParseAtoi(Piece(text, p1 + 1, p2 - p1 - 1));
  value[2] = ParseAtoi(Piece(text, p2 + 1, p3 - p2 - 1));
  value[3] = ParseAtoi(Piece(text, p3 + 1, size - p3 - 1));
}

bool RectTextCodec::Write(const IntRect& value, std::string& text) const {
  text = FormatInt(value[0]) + ',' + FormatInt(value[1]) + ',' + FormatInt(value[2]) + ',' + FormatInt(value[3]);
  return true;
}

}  // namespace zds::field
