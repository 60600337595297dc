// The stored-path rules every operating system shares: which paths stay
// inside the data root, and how paths are split and joined.
#include "zds/platform/files.h"

#include <utility>

#include "zds/platform/ascii.h"

namespace zds::platform {

namespace {

constexpr char kSeparator = '\\';

// ":" would name a drive or an alternate stream on Windows, "/" a second
// separator there and an escape here; NUL would cut the native path short.
bool IsSafeComponent(std::string_view component) {
  if (component.empty() || component == "..") return false;
  return component.find_first_of(std::string_view(":/\0", 3)) == std::string_view::npos;
}

}  // namespace

bool NewFileWriter::Write(std::string_view name, std::string_view contents) {
  return IsSafeComponent(name) && name.find(kSeparator) == std::string_view::npos && WriteName(name, contents);
}

DataRoot::DataRoot(std::string native_root, RootAccess access)
    : native_root_(std::move(native_root)), access_(access) {}

std::optional<std::vector<std::string_view>> SplitStoredPath(std::string_view stored_path) {
  if (!stored_path.empty() && stored_path.front() == kSeparator) stored_path.remove_prefix(1);
  std::vector<std::string_view> components;
  if (stored_path.empty()) return components;
  while (true) {
    size_t end = stored_path.find(kSeparator);
    std::string_view component = stored_path.substr(0, end);
    if (!IsSafeComponent(component)) return std::nullopt;
    components.push_back(component);
    if (end == std::string_view::npos) return components;
    stored_path.remove_prefix(end + 1);
  }
}

bool IsSafeStoredPath(std::string_view stored_path) { return SplitStoredPath(stored_path).has_value(); }

std::string JoinStoredPath(std::string_view base, std::string_view tail) {
  if (tail.empty()) return std::string(base);
  if (!base.empty() && base.back() == kSeparator) base.remove_suffix(1);
  if (tail.front() == kSeparator) tail.remove_prefix(1);
  std::string joined(base);
  joined += kSeparator;
  joined += tail;
  return joined;
}

std::string_view StoredDirectoryOf(std::string_view stored_path) {
  size_t last = stored_path.rfind(kSeparator);
  return last == std::string_view::npos ? std::string_view() : stored_path.substr(0, last);
}

namespace {

constexpr size_t kTemporaryBaseLength = 200;  // leaves room for the suffix in a 255-byte name
constexpr size_t kRandomDigits = 16;

bool AllDigits(std::string_view text, bool hex) {
  if (text.empty()) return false;
  for (char c : text) {
    bool digit = c >= '0' && c <= '9';
    if (!digit && !(hex && c >= 'a' && c <= 'f')) return false;
  }
  return true;
}

}  // namespace

std::string TemporaryNameFor(std::string_view name, uint64_t random_bits) {
  std::string temporary(name.substr(0, kTemporaryBaseLength));
  temporary += ".tmp-";
  for (int shift = 60; shift >= 0; shift -= 4) temporary += "0123456789abcdef"[(random_bits >> shift) & 0xF];
  return temporary;
}

// "<name>.tmp-" and 16 hex digits, or the "<name>.tmp<pid>-<n>" of older
// versions; nothing else, so no file of the user's is ever taken for one.
// The name matches without regard to ASCII case, as stored paths do.
bool IsTemporaryOf(std::string_view candidate, std::string_view name) {
  const std::string_view base = name.substr(0, kTemporaryBaseLength);
  if (candidate.size() < base.size() || !candidate.substr(base.size()).starts_with(".tmp")) return false;
  if (!SameIgnoringAsciiCase(candidate.substr(0, base.size()), base)) return false;
  std::string_view rest = candidate.substr(base.size() + 4);
  if (rest.starts_with('-')) return rest.size() == kRandomDigits + 1 && AllDigits(rest.substr(1), true);
  size_t dash = rest.find('-');
  return dash != std::string_view::npos && AllDigits(rest.substr(0, dash), false) && AllDigits(rest.substr(dash + 1), false);
}

namespace {
constexpr std::string_view kLockCounterTag = "zds-lock ";
constexpr size_t kLockCounterDigits = 20;  // UINT64_MAX has 20
}  // namespace

std::string FormatLockCounter(uint64_t counter) {
  std::string digits(kLockCounterDigits, '0');
  for (size_t i = kLockCounterDigits; i-- > 0 && counter != 0; counter /= 10) {
    digits[i] = static_cast<char>('0' + counter % 10);
  }
  return std::string(kLockCounterTag) + digits + "\n";
}

uint64_t ParseLockCounter(std::string_view text) {
  if (!text.starts_with(kLockCounterTag)) return 0;
  std::string_view digits = text.substr(kLockCounterTag.size(), kLockCounterDigits);
  if (digits.size() != kLockCounterDigits || !AllDigits(digits, false)) return 0;
  uint64_t counter = 0;
  for (char c : digits) {
    uint64_t digit = static_cast<uint64_t>(c - '0');
    if (counter > (UINT64_MAX - digit) / 10) return 0;
    counter = counter * 10 + digit;
  }
  return counter;
}

FileLock::~FileLock() { Release(); }

FileLock::FileLock(FileLock&& other) noexcept : handle_(std::exchange(other.handle_, kNoHandle)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
  if (this != &other) {
    Release();
    handle_ = std::exchange(other.handle_, kNoHandle);
  }
  return *this;
}

uint64_t DataRoot::ReadLockCounter(std::string_view stored_path) const {
  std::string text;
  return ReadWholeFile(stored_path, text) == ReadStatus::kRead ? ParseLockCounter(text) : 0;
}

}  // namespace zds::platform
