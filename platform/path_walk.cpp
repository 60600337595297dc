#include "zds/platform/path_walk.h"

#include <utility>

namespace zds::platform {

PathWalk::Outcome PathWalk::Walk(std::span<const std::string_view> components, Goal goal, std::string_view root,
                                 std::string* native) {
  native_ = native;
  if (native_) native_->assign(root);
  pending_.clear();
  above_.reset();
  links_ = 0;
  for (auto it = components.rbegin(); it != components.rend(); ++it) pending_.push_back({std::string(*it), true});
  const bool entry = goal != Goal::kMakeDirectory;
  const size_t directories = components.size() - (entry && !components.empty() ? 1 : 0);
  const size_t taken = directories > 0 ? OpenAtOnce(components.first(directories)) : 0;
  for (size_t i = 0; i < taken; ++i) {
    Note(pending_.back(), pending_.back().name);
    pending_.pop_back();
  }
  bool kept = false;
  while (!pending_.empty()) {
    Component next = std::move(pending_.back());
    pending_.pop_back();
    std::string actual;
    Target target;
    Step step;
    if (next.name == ".") {  // the directory itself
      step = Step::kNext;
    } else if (next.name == "..") {
      step = Climb();
    } else if (above_) {
      step = StepAbove(next.name);
    } else if (entry && pending_.empty()) {
      const bool keep = goal == Goal::kEntryKeepLink && !kept;
      step = Settle(next.name, keep, actual, target);
      kept = kept || (keep && step == Step::kLink);
    } else {
      step = Enter(next.name, goal == Goal::kMakeDirectory, actual, target);
    }
    Note(next, actual.empty() ? next.name : actual);
    switch (step) {
      case Step::kNext:
        break;
      case Step::kDone:
        return Outcome::kFound;
      case Step::kLink:
        if (Follow(target) == Step::kFailed) return Outcome::kRefused;
        break;
      case Step::kMissing:
        for (auto it = pending_.rbegin(); it != pending_.rend(); ++it) Note(*it, it->name);
        return kept ? Outcome::kFound : Outcome::kMissing;  // a kept link may lead where nothing is yet
      case Step::kFailed:
        return Outcome::kRefused;
    }
  }
  if (above_) return Outcome::kRefused;  // it ends above the root
  return kept || SettleOnDirectory() ? Outcome::kFound : Outcome::kRefused;
}

PathWalk::Step PathWalk::Follow(Target& target) {
  if (++links_ > kMaxLinks) return Step::kFailed;
  for (auto it = target.components.rbegin(); it != target.components.rend(); ++it) {
    pending_.push_back({std::move(*it), false});
  }
  if (!target.absolute) return Step::kNext;
  if (!KnowRoot()) return Step::kFailed;
  above_.emplace();
  EnterIfAtRoot();
  return Step::kNext;
}

PathWalk::Step PathWalk::Climb() {
  if (above_) {
    if (!OnPath(root_paths_->real, false)) return Step::kFailed;  // a parent not known without asking
    if (!above_->empty()) above_->pop_back();
    return Step::kNext;
  }
  if (!AtRoot()) return Leave() ? Step::kNext : Step::kFailed;
  if (!KnowRoot() || !root_paths_->real) return Step::kFailed;
  if (root_paths_->real->empty()) return Step::kNext;  // the root is the top, its own parent
  above_.emplace(root_paths_->real->begin(), root_paths_->real->end() - 1);
  return Step::kNext;
}

// Above the root only the root's own ancestors are known; any other name
// there is somewhere outside.
PathWalk::Step PathWalk::StepAbove(std::string name) {
  above_->push_back(std::move(name));
  if (!OnPath(root_paths_->real, false) && !OnPath(root_paths_->spelled, false)) return Step::kFailed;
  EnterIfAtRoot();
  return Step::kNext;
}

void PathWalk::EnterIfAtRoot() {
  if (OnPath(root_paths_->real, true) || OnPath(root_paths_->spelled, true)) {
    above_.reset();
    BackToRoot();
  }
}

// Asked for once, and only when a link's target needs it.
bool PathWalk::KnowRoot() {
  if (!root_paths_) root_paths_ = LearnRootPaths();
  return root_paths_->real || root_paths_->spelled;
}

// Whether the position above the root is a leading part of `path` (with
// `whole`, all of it).
bool PathWalk::OnPath(const std::optional<std::vector<std::string>>& path, bool whole) const {
  if (!path || above_->size() > path->size() || (whole && above_->size() != path->size())) return false;
  for (size_t i = 0; i < above_->size(); ++i) {
    if (!SameName((*above_)[i], (*path)[i])) return false;
  }
  return true;
}

void PathWalk::Note(const Component& component, std::string_view name) {
  if (!native_ || !component.stored) return;
  if (native_->empty() || native_->back() != separator_) *native_ += separator_;
  *native_ += name;
}

}  // namespace zds::platform
