// A recurrence rule as a person types it on the command line: TYPE, EVENT
// and RANGE (and MAPs) in their stored one-line form. The library reads
// stored values tolerantly; the host refuses a name or key it would drop.

#ifndef ZDS_CLI_RULE_WORDS_H_
#define ZDS_CLI_RULE_WORDS_H_

#include <string>
#include <vector>

#include "zds/recurrence/sche_cycle_rec.h"

namespace zds::cli {

// Reads `words` (TYPE, EVENT, RANGE) and `maps` into `rule`; false with
// the problem when a value names no kind, or holds a key, or a piece
// without "=", the library does not know.
bool ReadRuleWords(const std::vector<std::string>& words, const std::vector<std::string>& maps, CScheCycleRec& rule,
                   std::string& problem);

}  // namespace zds::cli

#endif  // ZDS_CLI_RULE_WORDS_H_
