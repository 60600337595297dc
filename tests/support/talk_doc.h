// A notepad family of the tests' own, written the way the chat history and
// the favorites notepad are: a notepad document (column header, records
// whose keys are "key" child lines, the three times) whose records add a
// field of the family ("subject") and child lines of their own ("content"
// pages of three lines). The notepad part is the base's; the family
// declares only what it adds.

#ifndef ZDS_TESTS_SUPPORT_TALK_DOC_H_
#define ZDS_TESTS_SUPPORT_TALK_DOC_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/field_lines.h"
#include "zds/framework/notepad_doc.h"

namespace zds::test {

inline constexpr std::string_view kTalkTemplate =
    "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<talks ver=\"1.0\">\r\n"
    "<header type=\"normal\">\r\n<index id=\"0000\" alias=\"Who\" width=\"50\"/>\r\n</header>\r\n"
    "<folder id=\"0000\" alias=\"Talks\" attribute=\"root\">\r\n</folder>\r\n</talks>\r\n";

// ---- the family: 18 lines ----
class TalkExtend : public CVFDLExtendBase<TalkExtend, CNotepadExtendRec> {
 public:
  std::string subject;
  std::vector<CVFPageRec> pages;
  bool operator==(const TalkExtend&) const = default;
};
class TalkRec : public CVFDLTypedRec<TalkRec, TalkExtend, CNotepadRec> {};

class TalkDoc : public CVFDLFamily<TalkDoc, CNotepadDoc, TalkRec> {
 public:
  static constexpr CFamilyInfo kFamily{"TalkDoc", "talks", 0, 0, 0, 29};
  static constexpr auto kRecFields =
      field::List(field::Of("subject", &TalkExtend::subject), field::PageLines("content", &TalkExtend::pages))
          .RequiringClosingLine();

 protected:
  std::string GetTemplateText() const override { return std::string(kTalkTemplate); }
};
// ---- end of the family ----

}  // namespace zds::test

#endif  // ZDS_TESTS_SUPPORT_TALK_DOC_H_
