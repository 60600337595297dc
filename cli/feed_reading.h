// RSS 2.0, Atom 1.0 and OPML 2.0 read through libexpat, for the zds feed
// commands and the tests that check the OPML the host writes. A feed
// becomes what the channel index and a channel document keep of it: the
// channel's eighteen fields and each item's fields with its link (an item
// has no field of its own for it; see the import).
//
// Only where the build has libexpat (ZDS_HAVE_EXPAT); the library never
// uses it. Without it every reader says so and reads nothing.

#ifndef ZDS_CLI_FEED_READING_H_
#define ZDS_CLI_FEED_READING_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/feeds/channel_doc.h"
#include "zds/feeds/channel_index_doc.h"

namespace zds::cli {

// Whether this build reads XML at all.
bool HaveFeedReader();

struct FeedItem {
  CWSChannelExtendRec fields;  // the flags left as a new item has them
  std::string link;
};

struct Feed {
  CWSCIndexExtendRec channel;  // "lastUpdateDate" is the importer's; "xmlUrl" the feed's link to itself
  std::vector<FeedItem> items;
};

// A whole feed file: empty `error` when it was read. Refused, with a
// one-line reason: a file that is not well-formed XML (entities it does not
// define among that), and one that is neither an RSS 2.0 channel nor an
// Atom feed. An item's description and content are not kept (no field of
// a channel document holds them); a channel's description is.
struct FeedReading {
  Feed feed;
  std::string error;
};
FeedReading ReadFeed(std::string_view text);

// The subscriptions of an OPML file: every outline with an "xmlUrl",
// nested ones included; "text" (else "title") and "htmlUrl" with it.
struct OpmlOutline {
  std::string text, xml_url, html_url;
};
struct OpmlReading {
  std::vector<OpmlOutline> outlines;
  std::string error;
};
OpmlReading ReadOpml(std::string_view text);

// libexpat alone walking a document, every callback empty: the floor a
// reader over it cannot go below. False when it is not well-formed.
bool WalkXml(std::string_view text);

}  // namespace zds::cli

#endif  // ZDS_CLI_FEED_READING_H_
