#include "zds/contacts/mail_address.h"

namespace zds {
namespace {

std::string_view Trim(std::string_view text) {
  size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

std::string_view Unquote(std::string_view text) {
  text = Trim(text);
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') text = Trim(text.substr(1, text.size() - 2));
  return text;
}

}  // namespace

MailAddress ParseMailAddress(std::string_view text) {
  text = Trim(text);
  size_t open = text.rfind('<');
  size_t close = text.rfind('>');
  if (open != std::string_view::npos && close != std::string_view::npos && open < close) {
    return {std::string(Unquote(text.substr(0, open))), std::string(Trim(text.substr(open + 1, close - open - 1)))};
  }
  if (text.ends_with(')')) {
    size_t comment = text.find('(');
    if (comment != std::string_view::npos) {
      return {std::string(Unquote(text.substr(comment + 1, text.size() - comment - 2))),
              std::string(Trim(text.substr(0, comment)))};
    }
  }
  return {std::string(), std::string(text)};
}

}  // namespace zds
