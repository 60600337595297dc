// POSIX side of the time types: the C library's local-time conversions.
#include <time.h>

#include "zds/platform/time.h"

namespace zds::platform {

std::tm LocalTimeOf(int64_t seconds) {
  std::tm fields{};
  time_t value = static_cast<time_t>(seconds);
  if (localtime_r(&value, &fields) == nullptr) fields = std::tm{};
  return fields;
}

bool MakeLocalTime(std::tm& fields, int64_t& seconds) {
  std::tm probe = fields;
  probe.tm_wday = -1;  // mktime sets it only on success; -1 alone is a valid time
  time_t value = mktime(&probe);
  if (probe.tm_wday < 0) return false;
  fields = probe;
  seconds = static_cast<int64_t>(value);
  return true;
}

int64_t CurrentTimeSeconds() { return static_cast<int64_t>(time(nullptr)); }

}  // namespace zds::platform
