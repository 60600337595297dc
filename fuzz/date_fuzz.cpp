// Stored dates: any text parses without a crash, the conversion a load
// makes through its cache gives the direct answer, and a time it accepts
// is written in each of the store's forms as a text that reads back as
// that time (to the precision the form keeps).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "zds/platform/time.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("TZ", "America/New_York", 1);  // daylight-saving gaps and repeats
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const zds::CTime time = zds::ParseDateTime(text);
  static zds::LocalTimeCache cache;  // one for the run, as one load keeps one
  if (zds::ParseDateTime(text, &cache) != time) std::abort();
  if (time == zds::CTime()) return 0;  // refused (or the epoch itself)
  const zds::CTime again = zds::ParseDateTime(time.Format(zds::kTimeFormatSeconds));
  if (again != time) std::abort();
  const zds::CTime minutes = zds::ParseDateTime(time.Format(zds::kTimeFormatMinutes));
  if (zds::ParseDateTime(minutes.Format(zds::kTimeFormatMinutes)) != minutes) std::abort();
  return 0;
}
