// ASCII letter case: the only case the stored formats, names in the data
// root and e-mail keys are compared by. Bytes of 0x80 and above are never
// folded, so text in any encoding passes through as it is.

#ifndef ZDS_PLATFORM_ASCII_H_
#define ZDS_PLATFORM_ASCII_H_

#include <string>
#include <string_view>

namespace zds::platform {

constexpr char AsciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
constexpr char AsciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

constexpr bool SameIgnoringAsciiCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
  }
  return true;
}

// `text` with A-Z folded to a-z (or a-z to A-Z), into `out`, which keeps its
// buffer for the next call.
inline void AsciiLowerCase(std::string_view text, std::string& out) {
  out.assign(text);
  for (char& c : out) c = AsciiLower(c);
}
inline std::string AsciiLowerCase(std::string_view text) {
  std::string out;
  AsciiLowerCase(text, out);
  return out;
}
inline std::string AsciiUpperCase(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = AsciiUpper(c);
  return out;
}

}  // namespace zds::platform

#endif  // ZDS_PLATFORM_ASCII_H_
