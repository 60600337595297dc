// Win32 side of the time types: the C runtime's 64-bit local-time calls.
//
// Those calls place only the years 1970 to 3000, where glibc's reach the
// whole 64-bit range the recurrence arithmetic works in. The Gregorian
// calendar repeats every 400 years to the weekday, so any other year is
// placed through the year a multiple of 400 years away inside a band the
// runtime handles with room to spare, and shifted back. Daylight saving in
// such a year follows the runtime's rules for the stand-in year.
#include <time.h>

#include <climits>

#include "zds/platform/time.h"

namespace zds::platform {

namespace {

constexpr int64_t kCycleYears = 400;
constexpr int64_t kCycleSeconds = int64_t{146097} * 86400;
constexpr int64_t kBandFirstYear = 1980;
constexpr int64_t kBandStart = 315532800;  // 1980-01-01 00:00:00 UTC

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0); }

// Adds whole cycles to tm_year; false when the year leaves int.
bool ShiftYears(std::tm& fields, int64_t cycles) {
  int64_t year = int64_t{fields.tm_year} + cycles * kCycleYears;
  if (year < INT_MIN || year > INT_MAX) return false;
  fields.tm_year = static_cast<int>(year);
  return true;
}

// Cycles between the fields' year and the band, from the year the fields
// name once month, day and time have rolled over; an estimate within a
// year or so is enough, the band leaves ten years below it and six
// hundred above.
int64_t CyclesAboveBand(const std::tm& fields) {
  int64_t seconds_in_days =
      (int64_t{fields.tm_mday} - 1) * 86400 + int64_t{fields.tm_hour} * 3600 + int64_t{fields.tm_min} * 60 + fields.tm_sec;
  int64_t year = 1900 + int64_t{fields.tm_year} + FloorDiv(fields.tm_mon, 12) + FloorDiv(seconds_in_days, 31556952);
  return FloorDiv(year - kBandFirstYear, kCycleYears);
}

}  // namespace

std::tm LocalTimeOf(int64_t seconds) {
  int64_t cycles = FloorDiv(seconds, kCycleSeconds);
  if (seconds - cycles * kCycleSeconds < kBandStart) --cycles;
  __time64_t value = seconds - cycles * kCycleSeconds;
  std::tm fields{};
  if (_localtime64_s(&fields, &value) != 0 || !ShiftYears(fields, cycles)) return std::tm{};
  return fields;
}

// Inside the band -1 can only mean failure.
bool MakeLocalTime(std::tm& fields, int64_t& seconds) {
  std::tm probe = fields;
  int64_t cycles = CyclesAboveBand(probe);
  if (!ShiftYears(probe, -cycles)) return false;
  __time64_t value = _mktime64(&probe);
  if (value == -1 || !ShiftYears(probe, cycles)) return false;
  fields = probe;
  seconds = static_cast<int64_t>(value) + cycles * kCycleSeconds;
  return true;
}

int64_t CurrentTimeSeconds() { return static_cast<int64_t>(_time64(nullptr)); }

}  // namespace zds::platform
