// CTime and CTimeSpan: whole-second points in time and spans between them.
//
// Every time the store keeps is local wall-clock time with a resolution of
// one second. A CTime counts seconds since 1970-01-01 00:00:00 UTC in 64
// bits; calendar fields are always those of the local time zone. Building a
// time from calendar fields normalises out-of-range fields exactly as the C
// library's mktime does with tm_isdst = -1 (31 April is 1 May, month 13 is
// January of the next year) and lets the system decide daylight saving.
//
// The value 0 doubles as "no time / invalid time", as the stored formats
// have always used it.

#ifndef ZDS_PLATFORM_TIME_H_
#define ZDS_PLATFORM_TIME_H_

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <memory>

// <windows.h> keeps GetCurrentTime() from Win16 as a macro for GetTickCount(),
// which would rename CTime::GetCurrentTime in a host that includes it first.
// MFC's CTime has the same member and drops the macro the same way.
#ifdef GetCurrentTime
#undef GetCurrentTime
#endif

namespace zds {

class CTimeSpan {
 public:
  constexpr CTimeSpan() = default;
  constexpr explicit CTimeSpan(int64_t seconds) : seconds_(seconds) {}
  constexpr CTimeSpan(int64_t days, int hours, int minutes, int seconds)
      : seconds_(days * 86400 + int64_t{hours} * 3600 + int64_t{minutes} * 60 + seconds) {}

  constexpr int64_t GetTotalSeconds() const { return seconds_; }
  constexpr int64_t GetDays() const { return seconds_ / 86400; }

  constexpr CTimeSpan operator+(CTimeSpan other) const { return CTimeSpan(seconds_ + other.seconds_); }
  constexpr CTimeSpan operator-(CTimeSpan other) const { return CTimeSpan(seconds_ - other.seconds_); }
  constexpr CTimeSpan operator*(int64_t factor) const { return CTimeSpan(seconds_ * factor); }
  constexpr auto operator<=>(const CTimeSpan&) const = default;

 private:
  int64_t seconds_ = 0;
};

class CTime {
 public:
  constexpr CTime() = default;
  constexpr explicit CTime(int64_t seconds) : seconds_(seconds) {}
  // Local time from calendar fields (month 1-12), normalised like mktime.
  // daylight: 1 summer time, 0 standard time, -1 let the system decide.
  // A moment the C library cannot represent gives the time 0.
  CTime(int year, int month, int day, int hour, int minute, int second, int daylight = -1);
  // Local time from calendar fields of any size, normalised arithmetically
  // (month 13 is January of the next year, day 0 the last of the month
  // before). A wall time that occurs twice (the autumn change) is the
  // earlier moment; one that does not occur (the spring change) moves
  // forward by the change, as mktime does. Unlike some C libraries' mktime
  // the answer never depends on earlier calls.
  static CTime FromLocalFields(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t minute,
                               int64_t second);

  static CTime GetCurrentTime();

  constexpr int64_t GetTime() const { return seconds_; }
  // Broken-down local time; tm_year is years since 1900, tm_mon 0-11.
  std::tm GetLocalTm() const;

  int GetYear() const;
  int GetMonth() const;      // 1-12
  int GetDay() const;        // 1-31
  int GetHour() const;
  int GetMinute() const;
  int GetSecond() const;
  int GetDayOfWeek() const;  // 1 = Sunday ... 7 = Saturday

  // strftime-style pattern applied to the local time ("%Y-%m-%d %H:%M").
  std::string Format(const char* pattern) const;

  constexpr CTime operator+(CTimeSpan span) const { return CTime(seconds_ + span.GetTotalSeconds()); }
  constexpr CTime operator-(CTimeSpan span) const { return CTime(seconds_ - span.GetTotalSeconds()); }
  constexpr CTimeSpan operator-(CTime other) const { return CTimeSpan(seconds_ - other.seconds_); }
  CTime& operator+=(CTimeSpan span) { seconds_ += span.GetTotalSeconds(); return *this; }
  CTime& operator-=(CTimeSpan span) { seconds_ -= span.GetTotalSeconds(); return *this; }
  constexpr auto operator<=>(const CTime&) const = default;

 private:
  int64_t seconds_ = 0;
};

// Local times from calendar fields for a run of many conversions, such as
// the times of one document being loaded: the C library's zone is asked
// twice per day the times fall on instead of twice per time. The answers
// are FromLocalFields's, provided the zone has at most one change of
// offset in any three days (FromLocalFields itself assumes two). Keep one
// only for the run: it does not notice a change of the zone.
class LocalTimeCache {
 public:
  CTime FromLocalFields(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t minute, int64_t second);

 private:
  // A local day and the offset from UTC it has when there is no change
  // within a day either side of it, or kUnsettled.
  struct Day {
    int32_t day;
    int32_t offset;
  };
  static constexpr int32_t kUnsettled = INT32_MIN;
  // Places by day number: 22 years of days without two sharing one.
  static constexpr size_t kPlaces = 8192;
  std::unique_ptr<Day[]> days_;  // made by the first conversion
};

// The store's text patterns.
inline constexpr const char kTimeFormatSeconds[] = "%Y-%m-%d %H:%M:%S";
inline constexpr const char kTimeFormatMinutes[] = "%Y-%m-%d %H:%M";
inline constexpr const char kTimeFormatDate[] = "%Y-%m-%d";

// Reads the forms the store writes: "YYYY-MM-DD HH:MM:SS", "YYYY-MM-DD HH:MM"
// and "YYYY-MM-DD" (surrounding blanks ignored), as local time. Anything
// else, including impossible dates such as 2005-02-30, is the time 0.
CTime ParseDateTime(std::string_view text);
// The same, converting through `cache` (none: directly).
CTime ParseDateTime(std::string_view text, LocalTimeCache* cache);
// The year and month a text begins with: four digits, "-", two digits of a
// month 01-12 ("2004-11", "2004-11-15 08:30"; whatever follows is not
// looked at), as the month documents are named. False for any other text.
bool ParseYearMonth(std::string_view text, int& year, int& month);

namespace platform {
// The three calls the time types need from the operating system.
std::tm LocalTimeOf(int64_t seconds);
bool MakeLocalTime(std::tm& fields, int64_t& seconds);  // normalises fields
int64_t CurrentTimeSeconds();
}  // namespace platform

}  // namespace zds

#endif  // ZDS_PLATFORM_TIME_H_
