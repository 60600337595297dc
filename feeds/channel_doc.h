// A channel document ("\<channel id>\index.xml" beside the channel index,
// root "WSChannel"): the items of one subscribed RSS channel, one record
// each, with the item's RSS fields as the fetcher found them and the
// reader's own: new, downloaded and deleted flags, how its content is
// fetched, a template, a priority and, optionally, a reminder.
//
// CWSChannelDoc is the document, CWSChannelRec an item and
// CWSChannelExtendRec the item's fields. An item with a reminder owns a
// timer: adding, updating and deleting the item does the same to that
// timer through the facade (CZDS::SaveTimer, CZDS::DelTimer) and "TimerID"
// keeps its position. A timer call that fails never stops the item's edit.
//
// Two quirks of the stored form are kept on purpose, since files written so
// are out there: the downloaded flag is written "downloaded" but read from
// "Downloaded" (so it does not survive a reload), and a stored priority of
// "high" reads back as normal.

#ifndef ZDS_FEEDS_CHANNEL_DOC_H_
#define ZDS_FEEDS_CHANNEL_DOC_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zds/feeds/extend_types.h"
#include "zds/framework/family.h"
#include "zds/framework/xvfdl_doc.h"
#include "zds/resources/feeds_strings.h"
#include "zds/timers/timer_doc.h"

namespace zds {

inline constexpr int kItemPriorityLow = 1;
inline constexpr int kItemPriorityNormal = 2;
inline constexpr int kItemPriorityHigh = 3;
inline constexpr int kItemLoadByHand = 0;
inline constexpr int kItemLoadAuto = 1;

// Written "low", "normal", "high" (nothing for another value); read by two
// tests in turn: "high" gives high, then "low" in any case gives low and
// anything else normal, so "high" itself ends as normal.
inline constexpr auto kItemPriorityWords =
    field::MakeWords(field::kWords, field::Word{kItemPriorityLow, "low"}, field::Word{kItemPriorityNormal, "normal"},
                     field::Word{kItemPriorityHigh, "high"})
        .ReadingBy(field::Test{"high", kItemPriorityHigh},
                   field::Test{"low", kItemPriorityLow, kItemPriorityNormal}.IgnoringCase());
// "auto" in any case; every other value reads and writes as by hand.
inline constexpr auto kItemLoadWords =
    field::MakeWords(field::kWords.IgnoringCase().ReadingUnknownAs(kItemLoadByHand).WritingUnknownAs("hand"),
                     field::Word{kItemLoadAuto, "auto"}, field::Word{kItemLoadByHand, "hand"});

class CWSChannelExtendRec : public CVFDLExtendBase<CWSChannelExtendRec> {
 public:
  bool operator==(const CWSChannelExtendRec&) const = default;

  bool new_flag = false;          // "newflag"
  bool downloaded = false;        // written "downloaded", read "Downloaded"
  bool deleted = false;
  std::string subject;            // the item's title
  std::string author;
  std::string category;
  std::string comments;
  std::string pub_date;           // "pubDate", as the feed has it
  std::string guid;
  bool guid_is_permalink = false; // "guid_isPermaLink", written only when true
  std::string source;
  std::string source_url;
  std::string enclosure_url;
  std::string enclosure_length;
  std::string enclosure_type;
  int32_t load = kItemLoadByHand;
  int32_t template_no = 0;        // "template"
  int32_t priority = kItemPriorityNormal;
  bool has_timer = false;         // "IsTimer"
  std::string timer_id;           // "TimerID": the reminder timer's position
  std::string set_time;           // "SetTime": when the reminder is due, as text
};

class CWSChannelRec : public CVFDLTypedRec<CWSChannelRec, CWSChannelExtendRec> {};

class CWSChannelDoc : public CVFDLFamily<CWSChannelDoc, CXVFDLDoc, CWSChannelRec> {
  using E = CWSChannelExtendRec;

 public:
  // A channel's directory is named by its record, whether or not it exists.
  static constexpr CFamilyInfo kFamily{"CWSChannelDoc", "WSChannel", res::kChannelTemplate, 0, 0, kChannelItemType,
                                       kNumbersNewRecs | kMakesItsDirectory};
  static constexpr auto kRecFields = field::List(
      field::Of("newflag", &E::new_flag, field::kFlagExact),
      field::Of("downloaded", &E::downloaded, field::kFlagExact).ReadFrom("Downloaded"),
      field::Of("deleted", &E::deleted, field::kFlagExact), field::Of("subject", &E::subject),
      field::Of("author", &E::author), field::Of("category", &E::category), field::Of("comments", &E::comments),
      field::Of("pubDate", &E::pub_date), field::Of("guid", &E::guid),
      field::Of("guid_isPermaLink", &E::guid_is_permalink, field::Flag("true", "false").IgnoringCase().OnlyWhenSet()),
      field::Of("source", &E::source), field::Of("source_url", &E::source_url),
      field::Of("enclosure_url", &E::enclosure_url), field::Of("enclosure_length", &E::enclosure_length),
      field::Of("enclosure_type", &E::enclosure_type), field::Of("load", &E::load, kItemLoadWords),
      field::Of("template", &E::template_no, field::kAtoi), field::Of("priority", &E::priority, kItemPriorityWords),
      field::Of("IsTimer", &E::has_timer, field::kFlagExact),
      field::WrittenWhen(&E::has_timer, field::Of("TimerID", &E::timer_id), field::Of("SetTime", &E::set_time)));

  // A channel's root folder 143, an item 144; other folders keep theirs.
  void InitNodeExtendType(CVFDLNode& node) override;

  // The edits, with the reminder kept in step (a failed timer call leaves
  // "TimerID" empty, or as it was, and the edit goes on): adding an item
  // with a reminder saves a new timer; updating saves it again (made anew
  // when it has gone), deletes it when the reminder is turned off, makes
  // one when turned on; deleting deletes it. "TimerID" is always the
  // timer's, never the caller's.
  [[nodiscard]] std::string AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) override;
  [[nodiscard]] bool UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) override;
  [[nodiscard]] bool DelRec(std::string_view pos) override;
  // AddRec under the root folder.
  [[nodiscard]] std::string AddItem(const CWSChannelRec& item, bool flag);

  // Marking: read clears the new flag, fetched sets the downloaded flag,
  // deleted sets the deleted flag (the item stays until DelRec). False
  // when no item is at `pos` or the save fails.
  [[nodiscard]] bool MarkRead(std::string_view pos, bool flag = false);
  [[nodiscard]] bool MarkFetched(std::string_view pos, bool flag = false);
  [[nodiscard]] bool MarkDeleted(std::string_view pos, bool flag = false);
  // Clears an item's reminder fields and leaves its timer alone: for the
  // facade, which is deleting that timer itself.
  [[nodiscard]] bool ForgetTimer(std::string_view pos, bool flag = false);

  // Its text fields as the facade's event helpers count them: the alias,
  // then the subject.
  static std::vector<std::string> TextFields(const CWSChannelRec& item);

  // The timer an item's reminder is kept as: due at "SetTime" (the store's
  // time texts; anything else is the time 0), active, with the item's
  // subject and position ("dataid"). Built over `base` when given.
  static CATimerRec MakeReminder(const CWSChannelExtendRec& item, std::string_view item_pos,
                                 const CATimerRec* base = nullptr);

 private:
  std::string SaveReminder(const CWSChannelExtendRec& item, std::string_view item_pos, std::string_view timer_pos);
  bool SetFlag(std::string_view pos, bool CWSChannelExtendRec::*member, bool value, bool flag);
};

}  // namespace zds

#endif  // ZDS_FEEDS_CHANNEL_DOC_H_
