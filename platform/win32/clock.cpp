// Win32 side of the time types: the C runtime's 64-bit local-time calls.
// They cover 1970 to 3000 only, so a moment before 1970 is not a time here
// (CTime 0), where the POSIX side still counts it.
#include <time.h>

#include "platform/time.h"

namespace zds::platform {

std::tm LocalTimeOf(int64_t seconds) {
  std::tm fields{};
  __time64_t value = seconds;
  if (_localtime64_s(&fields, &value) != 0) fields = std::tm{};
  return fields;
}

// With no second before 1970 in range, -1 can only mean failure.
bool MakeLocalTime(std::tm& fields, int64_t& seconds) {
  std::tm probe = fields;
  __time64_t value = _mktime64(&probe);
  if (value == -1) return false;
  fields = probe;
  seconds = static_cast<int64_t>(value);
  return true;
}

int64_t CurrentTimeSeconds() { return static_cast<int64_t>(_time64(nullptr)); }

}  // namespace zds::platform
