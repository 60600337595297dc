#include "support/time_zone.h"

#include <stdlib.h>
#include <time.h>

#include <cstdlib>
#include <filesystem>

namespace zds::test {

#ifdef _WIN32

namespace {

// The zones whose rules the Windows runtime's TZ form states exactly.
struct WindowsZone {
  std::string_view iana_name;
  const char* tz;
};
constexpr WindowsZone kWindowsZones[] = {
    {"UTC", "UTC0"},
    {"America/New_York", "EST5EDT"},
    {"America/Chicago", "CST6CDT"},
    {"Asia/Tokyo", "JST-9"},
};

}  // namespace

bool UseTimeZone(std::string_view iana_name) {
  for (const WindowsZone& zone : kWindowsZones) {
    if (zone.iana_name == iana_name) {
      if (_putenv_s("TZ", zone.tz) != 0) return false;
      _tzset();
      return true;
    }
  }
  return false;
}

std::string TimeZoneUnavailable(std::string_view iana_name) {
  return "the Windows C runtime cannot hold the time zone " + std::string(iana_name) +
         ": it knows no IANA names, and gives any TZ value with summer time the US rules";
}

#else

namespace {

// glibc takes an unknown name for UTC without a word, so the zone's file
// is looked for first.
bool ZoneIsInstalled(std::string_view iana_name) {
  if (iana_name == "UTC") return true;
  const char* dir = std::getenv("TZDIR");
  return std::filesystem::is_regular_file(std::filesystem::path(dir ? dir : "/usr/share/zoneinfo") / iana_name);
}

}  // namespace

bool UseTimeZone(std::string_view iana_name) {
  if (!ZoneIsInstalled(iana_name)) return false;
  if (setenv("TZ", std::string(iana_name).c_str(), 1) != 0) return false;
  tzset();
  return true;
}

std::string TimeZoneUnavailable(std::string_view iana_name) {
  return "the time zone " + std::string(iana_name) + " is not installed (Debian package tzdata)";
}

#endif

}  // namespace zds::test
