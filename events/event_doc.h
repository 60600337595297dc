// The event queue ("\XEvent.xml"): things that happened and that the user
// should look at, each a record pointing by path at the item it reports.
//
// CAEventDoc is the document, CAEventRec an event and CAEventExtendRec the
// event's own fields. This is the plainest document family and the model
// the others follow.

#ifndef ZDS_EVENTS_EVENT_DOC_H_
#define ZDS_EVENTS_EVENT_DOC_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "framework/vfdl_doc.h"

namespace zds {

inline constexpr int kEventPriorityLow = 1;
inline constexpr int kEventPriorityNormal = 2;
inline constexpr int kEventPriorityHigh = 3;

// Extension types of the queue's nodes.
inline constexpr int kEventFolderType = 160;
inline constexpr int kEventRecType = 161;

// "low", "normal", "high"; empty for a priority outside 1 to 3.
std::string_view EventPriorityWord(int priority);
// The priority a stored word means: anything but "low" and "high" is normal.
int EventPriorityFromWord(std::string_view word);

class CAEventExtendRec : public CVFDLExtendBase<CAEventExtendRec> {
 public:
  bool operator==(const CAEventExtendRec& other) const;

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

class CAEventDoc : public CVFDLDoc {
 public:
  static std::unique_ptr<CRTTIObject> CreateObject() { return CreateRTTIObject<CAEventDoc>(); }
  std::string_view GetRTTIClass() const override { return "CAEventDoc"; }

  // Numbers the event and stamps its creation time (the caller's is
  // replaced); an event is never saved on its own, whatever `flag` says.
  std::string AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) override;
  // Clears the event's new mark; false when `pos` is no event.
  bool MarkRead(std::string_view pos, bool flag);

  void InitNodeExtendType(CVFDLNode& node) override;

 protected:
  std::string GetTemplateText() const override;
  std::string_view GetRootTag() const override { return "AEvent"; }
  std::unique_ptr<CVFDLRec> NewRecPointer() const override { return std::make_unique<CAEventRec>(); }
  bool InitExtendRecItem(CXMLElementReader& item, CVFDLRec& rec) override;
  void CreateExtendRecText(const CVFDLRec& rec, CXMLLine& line, std::vector<std::string>& lines) const override;
};

}  // namespace zds

#endif  // ZDS_EVENTS_EVENT_DOC_H_
