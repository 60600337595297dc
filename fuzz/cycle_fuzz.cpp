// The recurrence text form: whatever a value reads as, writing it and
// reading that back gives the same record, and writing again the same text.
// The first byte picks the kind of value, the rest is the value.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "zds/recurrence/cycle_format.h"

namespace {

template <typename Record>
void RoundTrip(std::string_view text, int (*analyse)(std::string_view, Record&),
               int (*compose)(const Record&, std::string&)) {
  Record first;
  analyse(text, first);
  std::string written;
  compose(first, written);
  Record second;
  analyse(written, second);
  std::string rewritten;
  compose(second, rewritten);
  Record third;
  analyse(rewritten, third);
  if (!(second == third) || rewritten != written) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("TZ", "America/New_York", 1);  // daylight-saving gaps and repeats
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  using zds::CCycleFormat;
  switch (data[0] % 4) {
    case 0: RoundTrip(text, &CCycleFormat::AnalyseCycleType, &CCycleFormat::ComposeCycleType); break;
    case 1: RoundTrip(text, &CCycleFormat::AnalyseCycleEvent, &CCycleFormat::ComposeCycleEvent); break;
    case 2: RoundTrip(text, &CCycleFormat::AnalyseCycleRange, &CCycleFormat::ComposeCycleRange); break;
    default: RoundTrip(text, &CCycleFormat::AnalyseCycleMap, &CCycleFormat::ComposeCycleMap); break;
  }
  return 0;
}
