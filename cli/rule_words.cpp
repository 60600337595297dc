#include "cli/rule_words.h"

#include <string_view>

#include "zds/platform/ascii.h"
#include "zds/recurrence/cycle_format.h"

namespace zds::cli {
namespace {

std::vector<std::string_view> Pieces(std::string_view text) {
  std::vector<std::string_view> pieces;
  for (size_t cut = text.find(';'); cut != std::string_view::npos; cut = text.find(';')) {
    pieces.push_back(text.substr(0, cut));
    text.remove_prefix(cut + 1);
  }
  pieces.push_back(text);
  return pieces;
}

// Whether `given` names the kind `composed` names and only keys it has.
bool Understood(std::string_view given, std::string_view composed, std::string& problem) {
  const std::vector<std::string_view> said = Pieces(given), known = Pieces(composed);
  if (said[0].empty() || !platform::SameIgnoringAsciiCase(said[0], known[0])) {
    problem = "'" + std::string(given) + "' does not begin with a name of its kind";
    return false;
  }
  for (size_t i = 1; i < said.size(); ++i) {
    const size_t equals = said[i].find('=');
    const std::string_view key = said[i].substr(0, equals);
    bool found = false;
    for (size_t j = 1; j < known.size() && !found; ++j) {
      found = platform::SameIgnoringAsciiCase(key, known[j].substr(0, known[j].find('=')));
    }
    if (equals == std::string_view::npos || !found) {
      problem = "'" + std::string(said[i]) + "' in '" + std::string(given) + "' is no key of " + std::string(known[0]);
      return false;
    }
  }
  return true;
}

}  // namespace

bool ReadRuleWords(const std::vector<std::string>& words, const std::vector<std::string>& maps, CScheCycleRec& rule,
                   std::string& problem) {
  std::string composed[3];
  CCycleFormat::AnalyseCycleType(words[0], rule.cycle_type);
  CCycleFormat::ComposeCycleType(rule.cycle_type, composed[0]);
  CCycleFormat::AnalyseCycleEvent(words[1], rule.cycle_event);
  CCycleFormat::ComposeCycleEvent(rule.cycle_event, composed[1]);
  CCycleFormat::AnalyseCycleRange(words[2], rule.cycle_range);
  CCycleFormat::ComposeCycleRange(rule.cycle_range, composed[2]);
  static constexpr const char* kPlaces[] = {"TYPE", "EVENT", "RANGE"};
  for (size_t i = 0; i < 3; ++i) {
    if (!Understood(words[i], composed[i], problem)) {
      problem = std::string(kPlaces[i]) + ": " + problem;
      return false;
    }
  }
  for (const std::string& text : maps) {
    CCycleMap map;
    CCycleFormat::AnalyseCycleMap(text, map);
    std::string back;
    CCycleFormat::ComposeCycleMap(map, back);
    if (!Understood(text, back, problem)) {
      problem = "MAP: " + problem;
      return false;
    }
    rule.maps.Add(map);
  }
  return true;
}

}  // namespace zds::cli
