#include "zds/framework/xml_text_sink.h"

#include <functional>

namespace zds {

void XmlTextSink::Add(std::string_view piece) {
  if (piece.empty()) return;
  size_ += piece.size();
  // Pointer order between unrelated objects is only defined through std::less.
  std::less<const char*> before;
  bool in_source = !before(piece.data(), source_.data()) &&
                   !before(source_.data() + source_.size(), piece.data() + piece.size());
  if (in_source) {
    size_t offset = static_cast<size_t>(piece.data() - source_.data());
    if (!spans_.empty() && spans_.back().in_source && spans_.back().offset + spans_.back().size == offset) {
      spans_.back().size += piece.size();
    } else {
      spans_.push_back({true, offset, piece.size()});
    }
    return;
  }
  if (!spans_.empty() && !spans_.back().in_source) {
    spans_.back().size += piece.size();
  } else {
    spans_.push_back({false, copies_.size(), piece.size()});
  }
  copies_ += piece;
}

void XmlTextSink::AppendTo(std::string& out) const {
  out.reserve(out.size() + size_);
  for (const Span& span : spans_) out.append(View(span));
}

std::vector<std::string_view> XmlTextSink::Pieces() const {
  std::vector<std::string_view> pieces;
  pieces.reserve(spans_.size());
  for (const Span& span : spans_) pieces.push_back(View(span));
  return pieces;
}

}  // namespace zds
