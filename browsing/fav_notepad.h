// The favorites notepad ("FavNotepad" records of the favorites link one):
// a notepad whose records carry a subject and pages of content, each page
// a title and one line of text.
//
// Adding a record stamps the notepad's three times with one reading of the
// clock; updating one stamps its update time only.

#ifndef ZDS_BROWSING_FAV_NOTEPAD_H_
#define ZDS_BROWSING_FAV_NOTEPAD_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/browsing/extend_types.h"
#include "zds/framework/field_lines.h"
#include "zds/framework/notepad_doc.h"
#include "zds/platform/time.h"
#include "zds/resources/favorites_strings.h"

namespace zds {

class CFavNPDExtendRec : public CVFDLExtendBase<CFavNPDExtendRec, CNotepadExtendRec> {
 public:
  std::string subject;
  std::vector<CVFPageRec> pages;  // "content" elements: alias, then the text line
  bool operator==(const CFavNPDExtendRec&) const = default;
};
class CFavNPDRec : public CVFDLTypedRec<CFavNPDRec, CFavNPDExtendRec, CNotepadRec> {};

class CFavNotepad : public CVFDLFamily<CFavNotepad, CNotepadDoc, CFavNPDRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CFavNotepad", "favnotepad", res::kFavNotepadTemplate, 0, 0,
                                       kFavNotepadRecType};
  static constexpr auto kRecFields =
      field::List(field::Of("subject", &CFavNPDExtendRec::subject),
                  field::PageLines("content", &CFavNPDExtendRec::pages))
          .RequiringClosingLine();

  // Where the time stamps come from (the system clock unless a test fixes it).
  using Clock = CTime (*)();
  void SetClock(Clock clock) { clock_ = clock; }

  [[nodiscard]] bool UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) override;

 protected:
  void PrepareNewRec(CFavNPDRec& rec) override;

 private:
  Clock clock_ = &CTime::GetCurrentTime;
};

}  // namespace zds

#endif  // ZDS_BROWSING_FAV_NOTEPAD_H_
