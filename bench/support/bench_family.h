// A document family that exists only for the benchmarks: its records carry
// the generated document's fields as a real family would (each attribute in
// a string member, the attachment child lines in a vector), so that loading
// and saving cost what they cost a real document kind.

#ifndef ZDS_BENCH_SUPPORT_BENCH_FAMILY_H_
#define ZDS_BENCH_SUPPORT_BENCH_FAMILY_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/family.h"
#include "zds/platform/time.h"
#include "support/document_generator.h"

namespace zds::bench {

struct BenchAttachment {
  std::string name;
  std::string charset;
  std::string size;
  bool operator==(const BenchAttachment&) const = default;
};

class BenchRecExtend : public CVFDLExtendBase<BenchRecExtend> {
 public:
  std::string created;
  std::string modified;
  std::string subject;
  std::string author;
  std::string email;
  std::string phone;
  std::string category;
  std::string priority;
  std::string status;
  std::string url;
  std::string note;
  std::string flags;
  std::vector<BenchAttachment> attachments;
  bool operator==(const BenchRecExtend&) const = default;
};

class BenchRec : public CVFDLTypedRec<BenchRec, BenchRecExtend> {};

class BenchDoc : public CVFDLTypedDoc<CVFDLDoc, BenchRec> {
 public:
  std::string_view GetRTTIClass() const override { return "CBenchDoc"; }

 protected:
  std::string_view GetRootTag() const override { return kBenchRootTag; }
  std::string_view GetRecTag() const override { return kBenchRecTag; }
  bool InitExtendRecItem(CXMLElementReader& item, BenchRecExtend& extend) override;
  void CreateExtendRecText(const BenchRecExtend& extend, CXMLLine& line,
                           std::vector<std::string>& lines) const override;
};

// The wide shape's family: every attribute decoded into a typed member, as
// the store's own families keep text, times, integers, flags and words.
class WideRecExtend : public CVFDLExtendBase<WideRecExtend> {
 public:
  std::string subject, note, author, email, phone, url, category, location, contact, actid;
  CTime begin, end, createtime;
  int status = 0, size = 0, count = 0, minutes = 0, mapnum = 0;
  bool visible = false, topmost = false, readonly = false, newflag = false;
  int priority = 2, state = 2, kind = 2;
  bool operator==(const WideRecExtend&) const = default;
};

class WideRec : public CVFDLTypedRec<WideRec, WideRecExtend> {};

class WideDoc : public CVFDLTypedDoc<CVFDLDoc, WideRec> {
 public:
  std::string_view GetRTTIClass() const override { return "CWideDoc"; }

 protected:
  std::string_view GetRootTag() const override { return kWideRootTag; }
  bool InitExtendRecItem(CXMLElementReader& item, WideRecExtend& extend) override;
  void CreateExtendRecText(const WideRecExtend& extend, CXMLLine& line,
                           std::vector<std::string>& lines) const override;
};

// Records holding a generated record's values, for adds and updates.
BenchRec MakeBenchRec(const GeneratedRecord& values);
// The same values for a document that keeps records generic: the fields
// travel as attributes it does not know, in their stored spelling.
CVFDLRec MakePlainRec(const GeneratedRecord& values);

}  // namespace zds::bench

#endif  // ZDS_BENCH_SUPPORT_BENCH_FAMILY_H_
