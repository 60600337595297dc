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

}  // namespace zds::field
