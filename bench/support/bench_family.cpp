#include "support/bench_family.h"

#include <array>

#include "zds/framework/field_codec.h"
#include "zds/framework/xml_line.h"
#include "zds/framework/xml_escape.h"

namespace zds::bench {
namespace {

using Field = std::string BenchRecExtend::*;
// In the order of kFieldNames.
constexpr std::array<Field, kFieldNames.size()> kFields = {
    &BenchRecExtend::created,  &BenchRecExtend::modified, &BenchRecExtend::subject, &BenchRecExtend::author,
    &BenchRecExtend::email,    &BenchRecExtend::phone,    &BenchRecExtend::category, &BenchRecExtend::priority,
    &BenchRecExtend::status,   &BenchRecExtend::url,      &BenchRecExtend::note,     &BenchRecExtend::flags};

constexpr auto kWideWords =
    field::MakeWords(field::kWords.ReadingUnknownAs(2), field::Word{1, "low"}, field::Word{2, "normal"},
                     field::Word{3, "high"});
constexpr field::TimeTextCodec kMinutes{kTimeFormatMinutes};
using W = WideRecExtend;
// In the order of kWideFields.
constexpr auto kWideFieldList = field::List(
    field::Of("subject", &W::subject), field::Of("begin", &W::begin, kMinutes),
    field::Of("priority", &W::priority, kWideWords), field::Of("note", &W::note),
    field::Of("status", &W::status, field::kAtoi), field::Of("visible", &W::visible, field::kFlagExact),
    field::Of("author", &W::author), field::Of("end", &W::end, kMinutes), field::Of("size", &W::size, field::kAtol),
    field::Of("email", &W::email), field::Of("topmost", &W::topmost, field::kFlagNoCase),
    field::Of("state", &W::state, kWideWords), field::Of("phone", &W::phone),
    field::Of("count", &W::count, field::kAtoi), field::Of("createtime", &W::createtime, kMinutes),
    field::Of("url", &W::url), field::Of("readonly", &W::readonly, field::kFlagExact),
    field::Of("minutes", &W::minutes, field::kAtoi), field::Of("category", &W::category),
    field::Of("kind", &W::kind, kWideWords), field::Of("location", &W::location),
    field::Of("newflag", &W::newflag, field::kFlagExact), field::Of("contact", &W::contact),
    field::Of("mapnum", &W::mapnum, field::kAtoi), field::Of("actid", &W::actid));

}  // namespace

bool WideDoc::InitExtendRecItem(CXMLElementReader& item, WideRecExtend& extend) {
  kWideFieldList.Read(item, extend);
  return true;
}

void WideDoc::CreateExtendRecText(const WideRecExtend& extend, CXMLLine& line, std::vector<std::string>&) const {
  kWideFieldList.Write(extend, line);
}

bool BenchDoc::InitExtendRecItem(CXMLElementReader& item, BenchRecExtend& extend) {
  for (size_t i = 0; i < kFields.size(); ++i) extend.*kFields[i] = item.GetAttrValue(kFieldNames[i]);
  for (CXMLElementReader& child : item.GetChildren()) {
    if (child.GetTag() != kBenchChildTag) continue;
    extend.attachments.push_back({child.GetAttrValue("name"), child.GetAttrValue("charset"),
                                  child.GetAttrValue("size")});
    child.MarkRead();
  }
  return true;
}

void BenchDoc::CreateExtendRecText(const BenchRecExtend& extend, CXMLLine& line,
                                   std::vector<std::string>& lines) const {
  for (size_t i = 0; i < kFields.size(); ++i) line.AddAttribute(kFieldNames[i], extend.*kFields[i]);
  for (const BenchAttachment& attachment : extend.attachments) {
    CXMLLine child;
    child.SetLine(kBenchChildTag, true, CXMLLine::Type::kElement);
    child.AddAttribute("name", attachment.name);
    child.AddAttribute("charset", attachment.charset);
    child.AddAttribute("size", attachment.size);
    lines.push_back(child.GetLine(true));
  }
}

BenchRec MakeBenchRec(const GeneratedRecord& values) {
  BenchRec rec;
  rec.SetAlias(values.alias);
  rec.SetAttribute("normal");
  BenchRecExtend& extend = rec.GetExtendRec();
  for (size_t i = 0; i < kFields.size(); ++i) extend.*kFields[i] = values.fields[i];
  for (const GeneratedAttachment& attachment : values.attachments) {
    extend.attachments.push_back({attachment.name, attachment.charset, attachment.size});
  }
  return rec;
}

CVFDLRec MakePlainRec(const GeneratedRecord& values) {
  CVFDLRec rec;
  rec.SetAlias(values.alias);
  rec.SetAttribute("normal");
  std::string attributes;
  for (size_t i = 0; i < kFieldNames.size(); ++i) {
    attributes += ' ';
    attributes += kFieldNames[i];
    attributes += "=\"";
    AppendEscaped(attributes, values.fields[i]);
    attributes += '"';
  }
  rec.SetUnknownAttributes(std::move(attributes));
  std::string children;
  for (const GeneratedAttachment& attachment : values.attachments) {
    children += "\r\n<";
    children += kBenchChildTag;
    children += " name=\"";
    AppendEscaped(children, attachment.name);
    children += "\" charset=\"";
    AppendEscaped(children, attachment.charset);
    children += "\" size=\"";
    AppendEscaped(children, attachment.size);
    children += "\"/>";
  }
  rec.SetUnknownContent(std::move(children));
  return rec;
}

}  // namespace zds::bench
