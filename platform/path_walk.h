// PathWalk: how both systems walk a stored path from an open handle of the
// data root without ever being led out of it. Not installed.
//
// Each component is opened relative to the directory before it, never
// through a link. A link met on the way is read, and its target walked the
// same way, from where the link stands. A target that climbs above the
// root, or is absolute, is followed by name alone, and only along the
// root's own path (where the root lies, as the file system has it and as it
// was spelled): a link that leaves that path is refused before anything
// outside the root is asked for, and one that leads out and back in
// ("../root/real") lands where the system would land. ".." below the root
// goes back to the directory the walk came from, which is what the system
// does, since every directory passed is a real one.
//
// This class keeps the components still to walk and the position above
// the root; what it asks of the file system, and the handles, are the
// subclass's.

#ifndef ZDS_PLATFORM_PATH_WALK_H_
#define ZDS_PLATFORM_PATH_WALK_H_

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zds::platform {

class PathWalk {
 public:
  enum class Goal {
    kEntry,          // the last component, a link followed to what it names
    kEntryKeepLink,  // the same, but a link there is itself the place (delete, move)
    kMakeDirectory,  // every component a directory, made where missing
  };
  enum class Outcome {
    kFound,    // the subclass holds the place: an entry (present or not) or a directory
    kMissing,  // a component before the last is missing
    kRefused,  // led out of the root, or could not be walked
  };
  // A link's target, as its system spells it, taken apart.
  struct Target {
    bool absolute = false;
    std::vector<std::string> components;  // "." and empty ones left out
  };
  // Where the root lies, as components from the top of the file system.
  struct RootPaths {
    std::optional<std::vector<std::string>> real;     // every link resolved
    std::optional<std::vector<std::string>> spelled;  // as given, made absolute
  };

  // `native`, when given, receives the native name for messages: `root`
  // and each stored component as found, a missing one as stored.
  Outcome Walk(std::span<const std::string_view> components, Goal goal, std::string_view root = {},
               std::string* native = nullptr);

 protected:
  enum class Step {
    kNext,     // entered the directory
    kDone,     // the place is set
    kLink,     // a link: its target is in `target`
    kMissing,  // no such directory
    kFailed,
  };

  explicit PathWalk(char separator) : separator_(separator) {}
  virtual ~PathWalk() = default;
  PathWalk(const PathWalk&) = delete;
  PathWalk& operator=(const PathWalk&) = delete;

  // Into the directory `name` of the current one (made first when missing
  // and `make`); `actual` gets the name as it stands on disk.
  virtual Step Enter(const std::string& name, bool make, std::string& actual, Target& target) = 0;
  // The place of the last component, kDone, or kLink; with `keep`, a link
  // found here is itself to be the place once its target proves inside.
  virtual Step Settle(const std::string& name, bool keep, std::string& actual, Target& target) = 0;
  // The path ends on the current directory: it is the place.
  virtual bool SettleOnDirectory() = 0;
  virtual bool AtRoot() const = 0;
  // Back to the directory before; false when that cannot be told.
  virtual bool Leave() = 0;
  virtual void BackToRoot() = 0;
  virtual RootPaths LearnRootPaths() = 0;
  virtual bool SameName(std::string_view a, std::string_view b) const = 0;
  // Opens the directories the first stored components name in one go where
  // the system can do so inside the root; how many it took (0: none).
  virtual size_t OpenAtOnce(std::span<const std::string_view> directories) {
    (void)directories;
    return 0;
  }

 private:
  struct Component {
    std::string name;
    bool stored;  // of the stored path, not of a link's target
  };

  Step Follow(Target& target);
  Step Climb();
  Step StepAbove(std::string name);
  void EnterIfAtRoot();
  bool KnowRoot();
  bool OnPath(const std::optional<std::vector<std::string>>& path, bool whole) const;
  void Note(const Component& component, std::string_view name);

  static constexpr int kMaxLinks = 40;  // as many as Linux follows in one path
  const char separator_;
  std::vector<Component> pending_;  // what is left to walk, the next last
  std::optional<std::vector<std::string>> above_;  // where a link led above the root
  std::optional<RootPaths> root_paths_;
  int links_ = 0;
  std::string* native_ = nullptr;
};

}  // namespace zds::platform

#endif  // ZDS_PLATFORM_PATH_WALK_H_
