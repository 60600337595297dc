#include "zds/resources/string_table.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "zds/resources/calendar_strings.h"
#include "zds/resources/contacts_strings.h"
#include "zds/resources/events_strings.h"
#include "zds/resources/favorites_strings.h"
#include "zds/resources/feeds_strings.h"
#include "zds/resources/framework_strings.h"
#include "zds/resources/history_strings.h"
#include "zds/resources/mail_strings.h"
#include "zds/resources/notes_strings.h"
#include "zds/resources/recurrence_strings.h"
#include "zds/resources/store_strings.h"
#include "zds/resources/timers_strings.h"

namespace zds {
namespace {

// The subsystems' strings as one table sorted by id, put together by the
// compiler; a new subsystem adds its array to the call below.
template <size_t... N>
constexpr auto JoinSorted(const ResourceString (&... parts)[N]) {
  std::array<ResourceString, (N + ...)> table{};
  auto out = table.begin();
  ((out = std::copy(std::begin(parts), std::end(parts), out)), ...);
  std::sort(table.begin(), table.end(), [](const ResourceString& a, const ResourceString& b) { return a.id < b.id; });
  return table;
}

constexpr auto kTable = JoinSorted(res::kFrameworkStrings, res::kStoreStrings, res::kEventsStrings,
                                   res::kRecurrenceStrings, res::kTimersStrings, res::kCalendarStrings,
                                   res::kContactsStrings, res::kNotesStrings,
                                   res::kMailStrings, res::kFeedsStrings, res::kFavoritesStrings,
                                   res::kHistoryStrings);

constexpr bool IdsAreUnique() {
  for (size_t i = 1; i < kTable.size(); ++i) {
    if (kTable[i - 1].id == kTable[i].id) return false;
  }
  return true;
}
static_assert(IdsAreUnique(), "two strings share one id");

}  // namespace

std::string_view LoadResourceString(int id) {
  auto it = std::lower_bound(kTable.begin(), kTable.end(), id,
                             [](const ResourceString& entry, int key) { return entry.id < key; });
  return it != kTable.end() && it->id == id ? it->text : std::string_view();
}

std::string LoadTemplate(int first_id, int second_id) {
  std::string text(LoadResourceString(first_id));
  if (second_id != 0) text += LoadResourceString(second_id);
  return text;
}

}  // namespace zds
