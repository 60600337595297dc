#include "platform/time.h"

#include <cctype>

namespace zds {

CTime::CTime(int year, int month, int day, int hour, int minute, int second, int daylight) {
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

CTime ParseDateTime(std::string_view text) {
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
  return CTime(year, month, day, hour, minute, second, -1);
}

}  // namespace zds
