#include "cli/command_text.h"

#include <cctype>

namespace zds::cli {

std::string Field(std::string_view text) {
  std::string field(text);
  for (char& c : field) {
    if (c == '\t' || c == '\r' || c == '\n') c = ' ';
  }
  return field;
}

int Usage(std::ostream& err, std::string_view problem) {
  err << "zds: " << problem << " (zds --help for usage)\n";
  return 2;
}

int Refuse(std::ostream& err, std::string_view problem) {
  err << "zds: " << problem << '\n';
  return 1;
}

std::string NativeName(const platform::DataRoot& root, std::string_view stored) {
  std::string name = root.NativeRoot();
  if (stored.empty()) return name;
  name += '/';
  for (char c : stored.substr(stored.front() == '\\' ? 1 : 0)) name += c == '\\' ? '/' : c;
  return name;
}

bool ParseMoment(std::string_view text, bool minutes_too, CTime& moment) {
  static constexpr std::string_view kShape = "dddd-dd-dd dd:dd:dd";
  if (text.size() != kShape.size() && !(minutes_too && text.size() == 16)) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    bool digit = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
    if (kShape[i] == 'd' ? !digit : text[i] != kShape[i]) return false;
  }
  moment = ParseDateTime(text);
  // 0 also means "unparsable": accept it only for the moment it really is.
  const std::string full = text.size() == 16 ? std::string(text) + ":00" : std::string(text);
  return moment.GetTime() != 0 || CTime().Format(kTimeFormatSeconds) == full;
}

}  // namespace zds::cli
