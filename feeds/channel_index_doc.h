// The channel index (root "WSCIndex"): one record per subscribed RSS
// channel with the channel's own RSS 2.0 elements as text, and behind each
// record that channel's document of items (channel_doc.h), a file of its
// own: the index's base directory, the record's id, "\index.xml".
//
// CWSCIndexDoc is the document, CWSCIndexRec a channel and
// CWSCIndexExtendRec its eighteen fields, kept as the feed had them: this
// document never parses a date or a number of them.
//
// The store keeps the index behind an RSS service of the service index
// ("rss", content class CWSCIndexDoc, "src" "\rss\index.xml"), opened on
// demand as a mail box is: OpenChannelIndex finds it, and makes it when
// asked to.

#ifndef ZDS_FEEDS_CHANNEL_INDEX_DOC_H_
#define ZDS_FEEDS_CHANNEL_INDEX_DOC_H_

#include <string>
#include <string_view>

#include "zds/feeds/channel_doc.h"
#include "zds/feeds/extend_types.h"
#include "zds/framework/family.h"
#include "zds/framework/xvfdl_doc.h"
#include "zds/resources/feeds_strings.h"

namespace zds {

class CAIDLDoc;

class CWSCIndexExtendRec : public CVFDLExtendBase<CWSCIndexExtendRec> {
 public:
  bool operator==(const CWSCIndexExtendRec&) const = default;

  std::string last_update_date;  // "lastUpdateDate": when the reader last fetched the channel
  std::string subject;           // the channel's title
  std::string link;
  std::string description;
  std::string language;
  std::string copyright;
  std::string managing_editor;
  std::string web_master;
  std::string pub_date;
  std::string last_build_date;
  std::string category;
  std::string generator;
  std::string docs;
  std::string ttl;
  std::string image;
  std::string rating;
  std::string skip_hours;
  std::string skip_days;
  // Ours, after the eighteen and only when known: where the feed itself is
  // fetched from ("xmlUrl", as OPML names it), which none of them says.
  std::string feed_url;
};

class CWSCIndexRec : public CVFDLTypedRec<CWSCIndexRec, CWSCIndexExtendRec> {};

class CWSCIndexDoc : public CVFDLFamily<CWSCIndexDoc, CXCASDVFDLDoc, CWSCIndexRec> {
  using E = CWSCIndexExtendRec;

 public:
  static constexpr CFamilyInfo kFamily{"CWSCIndexDoc", "WSCIndex", res::kChannelIndexTemplate, 0, 0, kChannelRecType,
                                       kNumbersNewRecs | kMakesItsDirectory};
  static constexpr auto kRecFields =
      field::List(field::Of("lastUpdateDate", &E::last_update_date), field::Of("subject", &E::subject),
                  field::Of("link", &E::link), field::Of("description", &E::description),
                  field::Of("language", &E::language), field::Of("copyright", &E::copyright),
                  field::Of("managingEditor", &E::managing_editor), field::Of("webMaster", &E::web_master),
                  field::Of("pubDate", &E::pub_date), field::Of("lastBuildDate", &E::last_build_date),
                  field::Of("category", &E::category), field::Of("generator", &E::generator),
                  field::Of("docs", &E::docs), field::Of("ttl", &E::ttl), field::Of("image", &E::image),
                  field::Of("rating", &E::rating), field::Of("skipHours", &E::skip_hours),
                  field::Of("skipDays", &E::skip_days), field::Of("xmlUrl", &E::feed_url, field::kTextUnlessEmpty))
          .RequiringClosingLine();

  // The content a channel record names its document by.
  static constexpr std::string_view kChannelContent = "rss;class=CWSChannelDoc;os=universal";

  // The root folder 140, any other folder 141, a channel 142.
  void InitNodeExtendType(CVFDLNode& node) override;

  // The channel document's stored file for the channel record at `pos`:
  // base path, "\", the record's id, "\index.xml"; empty for any other node.
  std::string GetActualFilePos(std::string_view pos) const;

  // Deleting a channel deletes its items' reminders with it (their timers
  // would otherwise name an item that is gone); the file stays.
  [[nodiscard]] bool DelRec(std::string_view pos) override;
  // AddRec under the root folder.
  [[nodiscard]] std::string AddChannel(const CWSCIndexRec& channel, bool flag);

  // The channel's document, opened on first use (made when missing and
  // `create`); null for a position that names no channel or a document
  // that cannot be opened (GetLastLoadStatus). Owned by this document.
  CWSChannelDoc* GetChannelDoc(std::string_view pos, bool create = true);

 protected:
  // A new channel names its document, so that the framework opens it
  // behind the record: content CWSChannelDoc, "src" "\<id>\index.xml".
  void PrepareNewRec(CWSCIndexRec& rec) override;
};

// Where the store keeps the channel index: the first service of the
// service index whose content names CWSCIndexDoc. Its position, empty when
// there is none.
std::string FindChannelService(const CAIDLDoc& aidl);
// The channel index behind that service, opened on demand. With `create`
// a missing service is added (kind "rss", alias "Channels", under "News",
// file "\rss\index.xml") and a missing file made. Null when there is no
// service (and none is to be made) or the index cannot be opened.
CWSCIndexDoc* OpenChannelIndex(CAIDLDoc& aidl, bool create);

}  // namespace zds

#endif  // ZDS_FEEDS_CHANNEL_INDEX_DOC_H_
