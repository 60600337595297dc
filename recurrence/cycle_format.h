// CCycleFormat: the one-line text form of the recurrence records.
//
// A value is "name;key1=value1;key2=value2" with nothing quoted. Reading
// never fails: names and keys match case-blind, unknown keys are ignored,
// a field whose key is absent keeps its value, numbers read like atoi and an
// unparsable time reads as the time 0. Every function returns 1.

#ifndef ZDS_RECURRENCE_CYCLE_FORMAT_H_
#define ZDS_RECURRENCE_CYCLE_FORMAT_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/recurrence/cycle_records.h"

namespace zds {

class CCycleFormat {
 public:
  static int AnalyseCycleType(std::string_view text, CCycleType& type);
  static int ComposeCycleType(const CCycleType& type, std::string& text);
  static int AnalyseCycleEvent(std::string_view text, CCycleEvent& event);
  static int ComposeCycleEvent(const CCycleEvent& event, std::string& text);
  static int AnalyseCycleRange(std::string_view text, CCycleRange& range);
  static int ComposeCycleRange(const CCycleRange& range, std::string& text);
  static int AnalyseCycleMap(std::string_view text, CCycleMap& map);
  static int ComposeCycleMap(const CCycleMap& map, std::string& text);

 private:
  static int Analyse(std::string_view text, std::string& name, std::vector<std::string>& keys,
                     std::vector<std::string>& values);
  static int Compose(const std::string& name, const std::vector<std::string>& keys,
                     const std::vector<std::string>& values, std::string& text);
};

}  // namespace zds

#endif  // ZDS_RECURRENCE_CYCLE_FORMAT_H_
