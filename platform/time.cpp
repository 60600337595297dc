#include "zds/platform/time.h"

#include <algorithm>
#include <cctype>

namespace zds {

namespace {

constexpr int64_t kDay = 86400;

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0); }

// Days from 1970-01-01 to a proleptic Gregorian date (month 1-12).
int64_t DaysFromCivil(int64_t year, int64_t month, int64_t day) {
  year -= month <= 2 ? 1 : 0;
  int64_t era = FloorDiv(year, 400);
  int64_t year_of_era = year - era * 400;
  int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

// The fields read as if they were UTC, normalised arithmetically.
int64_t WallSeconds(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t minute, int64_t second) {
  year += FloorDiv(month - 1, 12);
  month -= 12 * FloorDiv(month - 1, 12);
  return (DaysFromCivil(year, month, 1) + day - 1) * kDay + hour * 3600 + minute * 60 + second;
}

// How far local wall time is ahead of UTC at `moment`.
int64_t UtcOffsetAt(int64_t moment) {
  std::tm fields = platform::LocalTimeOf(moment);
  return WallSeconds(fields.tm_year + 1900LL, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min,
                     fields.tm_sec) -
         moment;
}

}  // namespace

CTime CTime::FromLocalFields(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t minute,
                             int64_t second) {
  int64_t wall = WallSeconds(year, month, day, hour, minute, second);
  // The offsets a day either side; between them lies at most one change.
  int64_t offset_before = UtcOffsetAt(wall - kDay);
  int64_t offset_after = UtcOffsetAt(wall + kDay);
  int64_t before = wall - offset_before;
  int64_t after = wall - offset_after;
  if (offset_before == offset_after) return CTime(before);
  bool before_fits = UtcOffsetAt(before) == offset_before;
  bool after_fits = UtcOffsetAt(after) == offset_after;
  if (before_fits && after_fits) return CTime(std::min(before, after));
  if (after_fits) return CTime(after);
  return CTime(before);  // fits, or the hour is missing and moves forward
}

// A day whose neighbours on both sides share one offset has no change from
// the day before it to the day after it, so every probe FromLocalFields
// makes for a wall time within it finds that offset. Days beyond the
// 32-bit range (six million years) go the direct way.
CTime LocalTimeCache::FromLocalFields(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t minute,
                                      int64_t second) {
  const int64_t wall = WallSeconds(year, month, day, hour, minute, second);
  const int64_t local_day = FloorDiv(wall, kDay);
  if (local_day <= INT32_MIN || local_day > INT32_MAX) {
    return CTime::FromLocalFields(year, month, day, hour, minute, second);
  }
  if (!days_) {
    days_ = std::make_unique<Day[]>(kPlaces);
    std::fill_n(days_.get(), kPlaces, Day{INT32_MIN, kUnsettled});  // INT32_MIN is no day asked for
  }
  Day& place = days_[static_cast<uint64_t>(local_day) % kPlaces];
  if (place.day != local_day) {
    const int64_t before = UtcOffsetAt((local_day - 1) * kDay);
    const int64_t after = UtcOffsetAt((local_day + 2) * kDay);
    place = {static_cast<int32_t>(local_day), before == after ? static_cast<int32_t>(before) : kUnsettled};
  }
  if (place.offset == kUnsettled) return CTime::FromLocalFields(year, month, day, hour, minute, second);
  return CTime(wall - place.offset);
}

CTime::CTime(int year, int month, int day, int hour, int minute, int second, int daylight) {
  if (daylight < 0) {
    seconds_ = FromLocalFields(year, month, day, hour, minute, second).seconds_;
    return;
  }
  std::tm fields{};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = day;
  fields.tm_hour = hour;
  fields.tm_min = minute;
  fields.tm_sec = second;
  fields.tm_isdst = daylight;
  int64_t seconds = 0;
  seconds_ = platform::MakeLocalTime(fields, seconds) ? seconds : 0;
}

CTime CTime::GetCurrentTime() { return CTime(platform::CurrentTimeSeconds()); }

std::tm CTime::GetLocalTm() const { return platform::LocalTimeOf(seconds_); }

int CTime::GetYear() const { return GetLocalTm().tm_year + 1900; }
int CTime::GetMonth() const { return GetLocalTm().tm_mon + 1; }
int CTime::GetDay() const { return GetLocalTm().tm_mday; }
int CTime::GetHour() const { return GetLocalTm().tm_hour; }
int CTime::GetMinute() const { return GetLocalTm().tm_min; }
int CTime::GetSecond() const { return GetLocalTm().tm_sec; }
int CTime::GetDayOfWeek() const { return GetLocalTm().tm_wday + 1; }

std::string CTime::Format(const char* pattern) const {
  std::tm fields = GetLocalTm();
  char buffer[256];
  size_t length = std::strftime(buffer, sizeof buffer, pattern, &fields);
  return std::string(buffer, length);
}

namespace {

// Reads 1 to max_digits decimal digits; false when there are none.
bool ReadNumber(std::string_view& text, int max_digits, int& value) {
  int digits = 0;
  value = 0;
  while (digits < max_digits && !text.empty() && std::isdigit(static_cast<unsigned char>(text.front()))) {
    value = value * 10 + (text.front() - '0');
    text.remove_prefix(1);
    ++digits;
  }
  return digits > 0;
}

bool Expect(std::string_view& text, char c) {
  if (text.empty() || text.front() != c) return false;
  text.remove_prefix(1);
  return true;
}

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

}  // namespace

CTime ParseDateTime(std::string_view text) { return ParseDateTime(text, nullptr); }

CTime ParseDateTime(std::string_view text, LocalTimeCache* cache) {
  text = Trim(text);
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  if (text.size() < 4 || !ReadNumber(text, 4, year) || year < 1000) return CTime();
  if (!Expect(text, '-') || !ReadNumber(text, 2, month) || !Expect(text, '-') || !ReadNumber(text, 2, day)) {
    return CTime();
  }
  if (!text.empty()) {
    if (!Expect(text, ' ')) return CTime();
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    if (!ReadNumber(text, 2, hour) || !Expect(text, ':') || !ReadNumber(text, 2, minute)) return CTime();
    if (!text.empty() && (!Expect(text, ':') || !ReadNumber(text, 2, second))) return CTime();
    if (!text.empty()) return CTime();
  }
  if (month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month)) return CTime();
  if (hour > 23 || minute > 59 || second > 59) return CTime();
  if (cache) return cache->FromLocalFields(year, month, day, hour, minute, second);
  return CTime::FromLocalFields(year, month, day, hour, minute, second);
}

bool ParseYearMonth(std::string_view text, int& year, int& month) {
  auto digits = [](std::string_view part) {
    return std::all_of(part.begin(), part.end(), [](char c) { return c >= '0' && c <= '9'; });
  };
  if (text.size() < 7 || text[4] != '-' || !digits(text.substr(0, 4)) || !digits(text.substr(5, 2))) return false;
  const int read_month = (text[5] - '0') * 10 + (text[6] - '0');
  if (read_month < 1 || read_month > 12) return false;
  year = (text[0] - '0') * 1000 + (text[1] - '0') * 100 + (text[2] - '0') * 10 + (text[3] - '0');
  month = read_month;
  return true;
}

}  // namespace zds
