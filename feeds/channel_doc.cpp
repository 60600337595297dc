#include "zds/feeds/channel_doc.h"

#include "zds/store/reminders.h"

namespace zds {

void CWSChannelDoc::InitNodeExtendType(CVFDLNode& node) {
  if (node.GetNodeType() == kNodeRec) node.SetExtendType(kChannelItemType);
  else if (node.IsFolder() && node.GetParent() == nullptr) node.SetExtendType(kChannelTopFolderType);
}

std::vector<std::string> CWSChannelDoc::TextFields(const CWSChannelRec& item) {
  return {item.GetAlias(), item.GetExtendRec().subject};
}

CATimerRec CWSChannelDoc::MakeReminder(const CWSChannelExtendRec& item, std::string_view item_pos,
                                       const CATimerRec* base) {
  CATimerRec timer = base ? *base : CATimerRec();
  CATimerExtendRec& fields = timer.GetExtendRec();
  fields.info_time = ParseDateTime(item.set_time);
  // The item's position, so that the facade finds the item again when
  // the timer goes by another way.
  fields.data_id = item_pos;
  fields.subject = item.subject;
  fields.state = kTimerActived;  // filed in its month, where the agent looks for what is due
  return timer;
}

std::string CWSChannelDoc::SaveReminder(const CWSChannelExtendRec& item, std::string_view item_pos,
                                        std::string_view timer_pos) {
  return reminders::Save(timer_pos, [&](const CATimerRec* current) { return MakeReminder(item, item_pos, current); });
}

std::string CWSChannelDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) {
  const CWSChannelRec* item = NodeAs<CWSChannelRec>(&rec);
  if (item == nullptr || !item->GetExtendRec().has_timer) return CVFDLFamily::AddRec(parent_pos, rec, flag);
  CWSChannelRec added(*item);
  const std::string pos = GetPosPrefix() + '\\' + GetLocalID(GetNewID());  // what kNumbersNewRecs gives it
  added.GetExtendRec().timer_id = SaveReminder(added.GetExtendRec(), pos, "");
  std::string added_pos = CVFDLFamily::AddRec(parent_pos, added, flag);
  if (added_pos.empty() && !added.GetExtendRec().timer_id.empty()) reminders::Drop(added.GetExtendRec().timer_id);
  return added_pos;
}

bool CWSChannelDoc::UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) {
  const CWSChannelRec* stored = GetRec(pos);
  const CWSChannelRec* item = NodeAs<CWSChannelRec>(&rec);
  if (stored == nullptr || item == nullptr) return CVFDLFamily::UpdateRec(pos, rec, flag);  // refused there
  const CWSChannelExtendRec& before = stored->GetExtendRec();
  CWSChannelRec updated(*item);
  CWSChannelExtendRec& after = updated.GetExtendRec();
  after.timer_id = reminders::Update(before, after, [&](const std::string& old_id) {
    return SaveReminder(after, stored->GetPos(), old_id);
  });
  return CVFDLFamily::UpdateRec(pos, updated, flag);
}

bool CWSChannelDoc::DelRec(std::string_view pos) {
  const CWSChannelRec* stored = GetRec(pos);
  if (stored != nullptr && stored->GetExtendRec().has_timer) reminders::Drop(stored->GetExtendRec().timer_id);
  return CVFDLFamily::DelRec(pos);
}

std::string CWSChannelDoc::AddItem(const CWSChannelRec& item, bool flag) {
  return GetRoot() ? AddRec(GetRoot()->GetPos(), item, flag) : std::string();
}

bool CWSChannelDoc::SetFlag(std::string_view pos, bool CWSChannelExtendRec::*member, bool value, bool flag) {
  const CWSChannelRec* stored = GetRec(pos);
  if (stored == nullptr) return false;
  CWSChannelRec changed(*stored);
  changed.GetExtendRec().*member = value;
  // The reminder is as it was: no timer call for a flag.
  return CVFDLFamily::UpdateRec(pos, changed, flag);
}

bool CWSChannelDoc::MarkRead(std::string_view pos, bool flag) {
  return SetFlag(pos, &CWSChannelExtendRec::new_flag, false, flag);
}
bool CWSChannelDoc::MarkFetched(std::string_view pos, bool flag) {
  return SetFlag(pos, &CWSChannelExtendRec::downloaded, true, flag);
}
bool CWSChannelDoc::MarkDeleted(std::string_view pos, bool flag) {
  return SetFlag(pos, &CWSChannelExtendRec::deleted, true, flag);
}

bool CWSChannelDoc::ForgetTimer(std::string_view pos, bool flag) {
  const CWSChannelRec* stored = GetRec(pos);
  if (stored == nullptr) return false;
  CWSChannelRec cleared(*stored);
  CWSChannelExtendRec& fields = cleared.GetExtendRec();
  fields.has_timer = false;
  fields.timer_id.clear();
  fields.set_time.clear();
  return CVFDLFamily::UpdateRec(pos, cleared, flag);
}

}  // namespace zds
