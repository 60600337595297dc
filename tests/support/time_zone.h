// Setting the local time zone of the test process, on each C runtime.

#ifndef ZDS_TESTS_SUPPORT_TIME_ZONE_H_
#define ZDS_TESTS_SUPPORT_TIME_ZONE_H_

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace zds::test {

// Makes the zone with this IANA name ("UTC", "America/New_York") the local
// one. False when this platform's C runtime cannot hold it: the Windows
// runtime knows no IANA names and reads TZ only as "NAMEoffset[DST]", with
// the US daylight-saving rules for every zone that has summer time.
bool UseTimeZone(std::string_view iana_name);

// Why UseTimeZone failed, for a skip message.
std::string TimeZoneUnavailable(std::string_view iana_name);

// The zones a test could not visit. Where a C runtime cannot hold a zone
// (Windows knows no IANA rules) its cases are left out, and the test ends
// skipped with the reason instead of passing quietly with fewer checks;
// elsewhere every zone must be there.
class ZoneVisits {
 public:
  bool Use(const char* zone) {
    if (test::UseTimeZone(zone)) return true;
#ifdef _WIN32
    if (missing_.find(zone) == std::string::npos) missing_ += test::TimeZoneUnavailable(zone) + "; ";
#else
    ADD_FAILURE() << "cannot use the time zone " << zone;
#endif
    return false;
  }
  // Call last: back to UTC, and skipped when a zone was left out.
  void Finish() {
    test::UseTimeZone("UTC");
    if (!missing_.empty()) GTEST_SKIP() << "cases left out: " << missing_;
  }

 private:
  std::string missing_;
};

}  // namespace zds::test

// At the start of a test that depends on the rules of one zone.
#define ZDS_USE_TIME_ZONE_OR_SKIP(name)                                                          \
  do {                                                                                           \
    if (!::zds::test::UseTimeZone(name)) GTEST_SKIP() << ::zds::test::TimeZoneUnavailable(name); \
  } while (0)

#endif  // ZDS_TESTS_SUPPORT_TIME_ZONE_H_
