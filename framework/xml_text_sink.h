// XmlTextSink: a document's text as it is written, in pieces. Runs of the
// text the tree was read from are referred to rather than copied, and
// neighbouring runs join (an unchanged document is a single run); only what
// is written anew is copied. A save hands the pieces to the file as they
// are; GetXml joins them.

#ifndef ZDS_FRAMEWORK_XML_TEXT_SINK_H_
#define ZDS_FRAMEWORK_XML_TEXT_SINK_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zds {

class XmlTextSink {
 public:
  explicit XmlTextSink(std::string_view source) : source_(source) {}

  void Add(std::string_view piece);
  // Where an element is put together before it is added.
  std::string& Scratch() { return scratch_; }

  size_t size() const { return size_; }
  void AppendTo(std::string& out) const;
  // Views into the source and into the sink: valid while both live unchanged.
  std::vector<std::string_view> Pieces() const;

 private:
  struct Span {
    bool in_source;
    size_t offset;
    size_t size;
  };
  std::string_view View(const Span& span) const {
    return span.in_source ? source_.substr(span.offset, span.size)
                          : std::string_view(copies_).substr(span.offset, span.size);
  }

  std::string_view source_;
  std::vector<Span> spans_;
  std::string copies_;
  std::string scratch_;
  size_t size_ = 0;
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_XML_TEXT_SINK_H_
