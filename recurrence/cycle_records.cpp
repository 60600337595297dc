#include "zds/recurrence/cycle_records.h"

#include <algorithm>

namespace zds {

int CCycleEvent::IsEventDay(const int& index) const {
  if (type != kEventSequence || index < 0) return 0;
  if (static_cast<size_t>(index) >= number.size()) return 0;
  return number[static_cast<size_t>(index)] == '1' ? 1 : 0;
}

int CCycleEvent::SetEventDay(const int& index, bool on) {
  if (type != kEventSequence) return 0;
  // Callers keep the index inside the mask; one outside it is refused here
  // rather than written past the end.
  if (index < 0 || static_cast<size_t>(index) >= number.size()) return 0;
  number[static_cast<size_t>(index)] = on ? '1' : '0';
  return 1;
}

CCycleMapList::CCycleMapList(const CCycleMapList& other) {
  maps_.reserve(other.maps_.size());
  for (const auto& map : other.maps_) maps_.push_back(std::make_unique<CCycleMap>(*map));
}

CCycleMapList& CCycleMapList::operator=(const CCycleMapList& other) {
  if (this != &other) {
    CCycleMapList copy(other);
    maps_.swap(copy.maps_);
  }
  return *this;
}

bool CCycleMapList::operator==(const CCycleMapList& other) const {
  return std::equal(maps_.begin(), maps_.end(), other.maps_.begin(), other.maps_.end(),
                    [](const auto& a, const auto& b) { return *a == *b; });
}

CCycleMap& CCycleMapList::Add(const CCycleMap& map) {
  maps_.push_back(std::make_unique<CCycleMap>(map));
  return *maps_.back();
}

void CCycleMapList::RemoveAt(size_t index) {
  if (index < maps_.size()) maps_.erase(maps_.begin() + static_cast<std::ptrdiff_t>(index));
}

const CCycleMap* CCycleMapList::FindByNumber(int number) const {
  for (const auto& map : maps_) {
    if (map->number == number) return map.get();
  }
  return nullptr;
}

CCycleMap* CCycleMapList::FindByNumber(int number) {
  return const_cast<CCycleMap*>(static_cast<const CCycleMapList&>(*this).FindByNumber(number));
}

}  // namespace zds
