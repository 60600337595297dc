// The two searches over a rule's occurrences, answered without walking.
//
// Both searches are defined by a walk over occurrences 0, 1, 2, ... that
// stops at the first occurrence meeting a test. Walking costs time in
// proportion to the distance from the rule's start; these functions find the
// same stopping occurrence directly (see docs/recurrence.md): the plain
// rule's begins form a few sequences that are monotone in the occurrence
// number, so each stopping test becomes a range of numbers computed by
// division or by a short calendar correction, and the maps are looked at one
// by one. A walk that would never stop answers -1.
//
// In both walks every occurrence of a kind that is not expanded sees the
// time 0 as its begin and end.

#ifndef ZDS_RECURRENCE_CYCLE_SEARCH_H_
#define ZDS_RECURRENCE_CYCLE_SEARCH_H_

#include <string>

#include "zds/recurrence/cycle_arithmetic.h"
#include "zds/recurrence/cycle_records.h"

namespace zds::cycle {

// The walk: -1 when `moment` is before the range's start; else for n = 0,
// 1, ... take occurrence n (the first map numbered n when `maps` is given,
// else the rule): -1 when it does not exist or when `moment` lies before both
// its begin and its end; n when begin <= moment <= end.
int FindOccurrenceHolding(const CycleRule& rule, const CCycleMapList* maps, CTime moment);

// The walk: for n = 0, 1, ... take the first map numbered n, else the rule's
// begin; stop at the first that begins after `moment` and answer n - 1, with
// the text of occurrence n - 1's map in `name` (empty without one). When the
// rule has no occurrence n the answer is -1 and `name` still holds n - 1's.
int FindLastBegun(const CycleRule& rule, const CCycleMapList& maps, CTime moment, std::string& name);

}  // namespace zds::cycle

#endif  // ZDS_RECURRENCE_CYCLE_SEARCH_H_
