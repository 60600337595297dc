// The event queue ("\XEvent.xml"): things that happened and that the user
// should look at, each a record pointing by path at the item it reports.
//
// CAEventDoc is the document, CAEventRec an event and CAEventExtendRec the
// event's own fields. This is the plainest document family and the model
// the others follow.

#ifndef ZDS_EVENTS_EVENT_DOC_H_
#define ZDS_EVENTS_EVENT_DOC_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/family.h"
#include "zds/resources/events_strings.h"

namespace zds {

inline constexpr int kEventPriorityLow = 1;
inline constexpr int kEventPriorityNormal = 2;
inline constexpr int kEventPriorityHigh = 3;

// Extension types of the event queue's folders and events.
inline constexpr int kEventFolderType = 160;
inline constexpr int kEventRecType = 161;

// Anything but "low" and "high" reads as normal; a priority outside the
// three is not written.
inline constexpr auto kEventPriorityWords =
    field::MakeWords(field::kWords.ReadingUnknownAs(kEventPriorityNormal), field::Word{kEventPriorityLow, "low"},
                     field::Word{kEventPriorityNormal, "normal"}, field::Word{kEventPriorityHigh, "high"});
// "low", "normal", "high"; empty for a priority outside 1 to 3.
std::string_view EventPriorityWord(int priority);

class CAEventExtendRec : public CVFDLExtendBase<CAEventExtendRec> {
 public:
  bool operator==(const CAEventExtendRec&) const = default;

  bool new_flag = true;
  int status = 0;
  int priority = kEventPriorityNormal;
  std::string act;
  std::string create_time;  // "%Y-%m-%d %H:%M", stamped when the event is added
  std::string data_id;      // path of the reported item
  // The reported item once looked up; never stored. It takes part in
  // equality so that a copy whose item was just looked up differs from the
  // event in the tree: a caller that writes back only changed records then
  // writes it back, and the tree's event keeps the look-up.
  CVFDLNode* node = nullptr;
};

class CAEventRec : public CVFDLTypedRec<CAEventRec, CAEventExtendRec> {};

// An added event is numbered and stamped with its creation time (the
// caller's is replaced).
class CAEventDoc : public CVFDLFamily<CAEventDoc, CVFDLDoc, CAEventRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CAEventDoc", "AEvent", res::kEventTemplate, 0, kEventFolderType,
                                       kEventRecType, kNumbersNewRecs};
  // A record without a closing line is refused; "newflag" is "yes" exactly.
  static constexpr auto kRecFields =
      field::List(field::Of("newflag", &CAEventExtendRec::new_flag, field::kFlagExact),
                  field::Fixed{"module", ""},  // carries nothing
                  field::Of("status", &CAEventExtendRec::status, field::kAtoi),
                  field::Of("act", &CAEventExtendRec::act), field::Of("createtime", &CAEventExtendRec::create_time),
                  field::Of("dataid", &CAEventExtendRec::data_id),
                  field::Of("priority", &CAEventExtendRec::priority, kEventPriorityWords))
          .RequiringClosingLine();

  // An event is never saved on its own, whatever `flag` says.
  [[nodiscard]] std::string AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) override;
  // Clears the event's new mark; false when `pos` is no event.
  [[nodiscard]] bool MarkRead(std::string_view pos, bool flag);

 protected:
  void PrepareNewRec(CAEventRec& event) override;
};

}  // namespace zds

#endif  // ZDS_EVENTS_EVENT_DOC_H_
