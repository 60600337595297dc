// The sentence that describes a recurrence rule to the user, such as
// "Start from 2004-05-01Every 2 days Never End".
//
// Schedule and timer rules describe themselves the same way; all wording
// comes from the library's string table.

#ifndef ZDS_RECURRENCE_CYCLE_SENTENCE_H_
#define ZDS_RECURRENCE_CYCLE_SENTENCE_H_

#include <string>

#include "zds/recurrence/cycle_records.h"

namespace zds {

std::string DescribeCycle(const CCycleType& type, const CCycleEvent& event, const CCycleRange& range);

}  // namespace zds

#endif  // ZDS_RECURRENCE_CYCLE_SENTENCE_H_
