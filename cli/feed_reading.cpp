#include "cli/feed_reading.h"

#ifdef ZDS_HAVE_EXPAT
#include <expat.h>
#endif

#include <algorithm>
#include <initializer_list>
#include <memory>

namespace zds::cli {

#ifndef ZDS_HAVE_EXPAT

bool HaveFeedReader() { return false; }
FeedReading ReadFeed(std::string_view) { return {{}, "this zds was built without libexpat"}; }
OpmlReading ReadOpml(std::string_view) { return {{}, "this zds was built without libexpat"}; }
bool WalkXml(std::string_view) { return false; }

#else

namespace {

// Names arrive as "URI NAME" for an element in a namespace: a blank
// cannot be part of a URI.
constexpr char kNamespaceSeparator = ' ';
constexpr std::string_view kAtomNamespace = "http://www.w3.org/2005/Atom";
constexpr std::string_view kXmlLang = "http://www.w3.org/XML/1998/namespace lang";

struct ParserDeleter {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter>;

// Feeds the whole text, in pieces expat's int length can hold.
bool ParseAll(XML_Parser parser, std::string_view text) {
  constexpr size_t kPiece = size_t{1} << 30;
  do {
    const size_t size = std::min(text.size(), kPiece);
    const bool last = size == text.size();
    if (XML_Parse(parser, text.data(), static_cast<int>(size), last ? XML_TRUE : XML_FALSE) != XML_STATUS_OK) {
      return false;
    }
    text.remove_prefix(size);
  } while (!text.empty());
  return true;
}

std::string ParseError(XML_Parser parser) {
  return "not well-formed XML at line " + std::to_string(XML_GetCurrentLineNumber(parser)) + ", column " +
         std::to_string(XML_GetCurrentColumnNumber(parser) + 1) + ": " + XML_ErrorString(XML_GetErrorCode(parser));
}

std::string_view Attribute(const XML_Char** attributes, std::string_view name) {
  for (const XML_Char** a = attributes; *a != nullptr; a += 2) {
    if (name == a[0]) return a[1];
  }
  return {};
}

bool OneOf(std::string_view word, std::initializer_list<std::string_view> words) {
  for (std::string_view w : words) {
    if (w == word) return true;
  }
  return false;
}

void Append(std::string& list, std::string_view value) {
  if (value.empty()) return;
  if (!list.empty()) list += ", ";
  list += value;
}

// Where the reader stands. Only the elements a field comes from are
// collected; an item's description, however long, is skipped as it streams.
class FeedReader {
 public:
  explicit FeedReader(XML_Parser parser) : parser_(parser) {}

  void Start(std::string_view name, const XML_Char** attributes) {
    // An RSS channel names its own address in Atom's vocabulary.
    if (kind_ == Kind::kRss && in_channel_ && path_.size() == 2 && IsAtomLink(name)) {
      SelfLink(attributes);
    }
    const std::string_view local = Local(name);
    path_.emplace_back(local);
    const size_t depth = path_.size();
    if (depth == 1) return StartRoot(name, attributes);
    if (kind_ == Kind::kRss) StartRss(local, depth, attributes);
    else StartAtom(local, depth, attributes);
  }

  void End() {
    const size_t depth = path_.size();
    if (capture_depth_ == depth) {
      capture_depth_ = 0;
      if (kind_ == Kind::kRss) EndRssText(depth);
      else EndAtomText(depth);
      text_.clear();
    }
    if (in_item_ && depth == item_depth_) EndItem();
    path_.pop_back();
  }

  void Text(std::string_view text) {
    if (capture_depth_ != 0) text_ += text;
  }

  std::string error;
  Feed feed;
  bool found_channel = false;

 private:
  enum class Kind { kRss, kAtom };

  // Only names of the feed's own vocabulary count: no namespace in RSS,
  // Atom's in Atom; an element of another vocabulary matches nothing.
  std::string_view Local(std::string_view name) const {
    const size_t blank = name.find(kNamespaceSeparator);
    if (blank == std::string_view::npos) return kind_ == Kind::kRss || path_.empty() ? name : std::string_view();
    if (kind_ == Kind::kAtom && name.substr(0, blank) == kAtomNamespace) return name.substr(blank + 1);
    return path_.empty() ? name : std::string_view();
  }
  static bool IsAtomLink(std::string_view name) {
    return name.size() == kAtomNamespace.size() + 5 && name.starts_with(kAtomNamespace) && name.ends_with(" link");
  }
  void SelfLink(const XML_Char** attributes) {
    if (Attribute(attributes, "rel") == "self" && feed.channel.feed_url.empty()) {
      feed.channel.feed_url = Attribute(attributes, "href");
    }
  }
  bool Under(size_t depth, std::string_view parent) const { return depth >= 2 && path_[depth - 2] == parent; }
  void Capture(size_t depth) {
    capture_depth_ = depth;
    text_.clear();
  }
  void Stop(std::string why) {
    error = std::move(why);
    XML_StopParser(parser_, XML_FALSE);
  }

  void StartRoot(std::string_view name, const XML_Char** attributes) {
    if (name == "rss") {
      kind_ = Kind::kRss;
    } else if (name == std::string(kAtomNamespace) + kNamespaceSeparator + "feed") {
      kind_ = Kind::kAtom;
      found_channel = true;
      feed.channel.language = Attribute(attributes, kXmlLang);
      path_.back() = "feed";
    } else {
      Stop("neither an RSS 2.0 channel nor an Atom feed");
    }
  }

  void StartItem(size_t depth) {
    in_item_ = true;
    item_depth_ = depth;
    item_ = FeedItem();
    item_.fields.new_flag = true;
  }
  void EndItem() {
    in_item_ = false;
    if (item_.fields.pub_date.empty()) item_.fields.pub_date = std::move(updated_);
    updated_.clear();
    feed.items.push_back(std::move(item_));
  }

  void StartRss(std::string_view local, size_t depth, const XML_Char** attributes) {
    if (depth == 2) {
      if (local == "channel" && !found_channel) {
        found_channel = true;
        in_channel_ = true;
      } else {
        in_channel_ = false;  // a second channel is not read
      }
      return;
    }
    if (!in_channel_) return;
    if (depth == 3) {
      if (local == "item") StartItem(depth);
      else if (!local.empty() && !OneOf(local, {"image", "skipHours", "skipDays"})) Capture(depth);
      return;
    }
    if (depth == 4 && in_item_) {
      CWSChannelExtendRec& f = item_.fields;
      if (local == "guid") {
        // A guid is a permalink unless it says otherwise.
        const std::string_view permalink = Attribute(attributes, "isPermaLink");
        f.guid_is_permalink = permalink.empty() || permalink == "true";
      } else if (local == "source") {
        f.source_url = Attribute(attributes, "url");
      } else if (local == "enclosure") {
        f.enclosure_url = Attribute(attributes, "url");
        f.enclosure_length = Attribute(attributes, "length");
        f.enclosure_type = Attribute(attributes, "type");
        return;
      } else if (local.empty() || local == "description") {
        return;
      }
      Capture(depth);
    } else if (depth == 4 && ((Under(depth, "image") && local == "url") || (Under(depth, "skipHours") && local == "hour") ||
                              (Under(depth, "skipDays") && local == "day"))) {
      Capture(depth);
    }
  }

  void EndRssText(size_t depth) {
    const std::string_view local = path_[depth - 1];
    if (depth == 4 && in_item_) {
      CWSChannelExtendRec& f = item_.fields;
      if (local == "title") f.subject = std::move(text_);
      else if (local == "link") item_.link = std::move(text_);
      else if (local == "author") f.author = std::move(text_);
      else if (local == "category") Append(f.category, text_);
      else if (local == "comments") f.comments = std::move(text_);
      else if (local == "pubDate") f.pub_date = std::move(text_);
      else if (local == "guid") f.guid = std::move(text_);
      else if (local == "source") f.source = std::move(text_);
      return;
    }
    CWSCIndexExtendRec& c = feed.channel;
    if (depth == 4) {
      if (local == "url") c.image = std::move(text_);
      else if (local == "hour") Append(c.skip_hours, text_);
      else if (local == "day") Append(c.skip_days, text_);
      return;
    }
    if (local == "category") return Append(c.category, text_);
    std::string* field = local == "title"            ? &c.subject
                         : local == "link"           ? &c.link
                         : local == "description"    ? &c.description
                         : local == "language"       ? &c.language
                         : local == "copyright"      ? &c.copyright
                         : local == "managingEditor" ? &c.managing_editor
                         : local == "webMaster"      ? &c.web_master
                         : local == "pubDate"        ? &c.pub_date
                         : local == "lastBuildDate"  ? &c.last_build_date
                         : local == "generator"      ? &c.generator
                         : local == "docs"           ? &c.docs
                         : local == "ttl"            ? &c.ttl
                         : local == "rating"         ? &c.rating
                                                     : nullptr;
    if (field != nullptr) *field = std::move(text_);
  }

  // An Atom link: the page (no "rel", or "alternate"), an enclosure, or
  // where the comments are ("replies").
  void AtomLink(const XML_Char** attributes, std::string& page, CWSChannelExtendRec* item) {
    const std::string_view rel = Attribute(attributes, "rel");
    const std::string_view href = Attribute(attributes, "href");
    if ((rel.empty() || rel == "alternate") && page.empty()) page = href;
    if (item == nullptr) return;
    if (rel == "enclosure" && item->enclosure_url.empty()) {
      item->enclosure_url = href;
      item->enclosure_length = Attribute(attributes, "length");
      item->enclosure_type = Attribute(attributes, "type");
    } else if (rel == "replies" && item->comments.empty()) {
      item->comments = href;
    }
  }

  void StartAtom(std::string_view local, size_t depth, const XML_Char** attributes) {
    if (depth == 2) {
      if (local == "entry") StartItem(depth);
      else if (local == "link") {
        AtomLink(attributes, feed.channel.link, nullptr);
        SelfLink(attributes);
      }
      else if (local == "category") Append(feed.channel.category, Attribute(attributes, "term"));
      else if (OneOf(local, {"title", "subtitle", "rights", "updated", "generator", "logo", "icon"})) Capture(depth);
      return;
    }
    if (depth == 3 && in_item_) {
      if (local == "link") AtomLink(attributes, item_.link, &item_.fields);
      else if (local == "category") Append(item_.fields.category, Attribute(attributes, "term"));
      else if (OneOf(local, {"title", "id", "published", "updated"})) Capture(depth);
    } else if (depth == 3 && Under(depth, "author") && local == "name") {
      Capture(depth);
    } else if (depth == 4 && in_item_ && Under(depth, "author") && local == "name") {
      Capture(depth);
    } else if (depth == 4 && in_item_ && Under(depth, "source")) {
      if (local == "link") AtomLink(attributes, item_.fields.source_url, nullptr);
      else if (local == "title") Capture(depth);
    }
  }

  void EndAtomText(size_t depth) {
    const std::string_view local = path_[depth - 1];
    if (in_item_) {
      CWSChannelExtendRec& f = item_.fields;
      if (depth == 4 && local == "name") Append(f.author, text_);
      else if (depth == 4 && local == "title") f.source = std::move(text_);
      else if (local == "title") f.subject = std::move(text_);
      else if (local == "id") f.guid = std::move(text_);
      else if (local == "published") f.pub_date = std::move(text_);
      else if (local == "updated") updated_ = std::move(text_);
      return;
    }
    CWSCIndexExtendRec& c = feed.channel;
    if (depth == 3) return Append(c.managing_editor, text_);
    std::string* field = local == "title"      ? &c.subject
                         : local == "subtitle" ? &c.description
                         : local == "rights"   ? &c.copyright
                         : local == "updated"  ? &c.last_build_date
                         : local == "generator" ? &c.generator
                         : (local == "logo" || local == "icon") && c.image.empty() ? &c.image
                                                                                  : nullptr;
    if (field != nullptr) *field = std::move(text_);
  }

  XML_Parser parser_;
  Kind kind_ = Kind::kRss;
  std::vector<std::string> path_;
  bool in_channel_ = false;
  bool in_item_ = false;
  size_t item_depth_ = 0;
  size_t capture_depth_ = 0;
  std::string text_;
  std::string updated_;
  FeedItem item_;
};

template <typename Reader>
void Handlers(XML_Parser parser, Reader& reader) {
  XML_SetUserData(parser, &reader);
  XML_SetElementHandler(
      parser,
      [](void* data, const XML_Char* name, const XML_Char** attributes) {
        static_cast<Reader*>(data)->Start(name, attributes);
      },
      [](void* data, const XML_Char*) { static_cast<Reader*>(data)->End(); });
  XML_SetCharacterDataHandler(parser, [](void* data, const XML_Char* text, int length) {
    static_cast<Reader*>(data)->Text(std::string_view(text, static_cast<size_t>(length)));
  });
}

class OpmlReader {
 public:
  explicit OpmlReader(XML_Parser parser) : parser_(parser) {}
  void Start(std::string_view name, const XML_Char** attributes) {
    if (depth_++ == 0 && name != "opml") {
      error = "not an OPML file";
      XML_StopParser(parser_, XML_FALSE);
    }
    if (name != "outline") return;
    OpmlOutline outline;
    outline.xml_url = Attribute(attributes, "xmlUrl");
    if (outline.xml_url.empty()) return;
    outline.text = Attribute(attributes, "text");
    if (outline.text.empty()) outline.text = Attribute(attributes, "title");
    outline.html_url = Attribute(attributes, "htmlUrl");
    outlines.push_back(std::move(outline));
  }
  void End() {}
  void Text(std::string_view) {}

  std::vector<OpmlOutline> outlines;
  std::string error;

 private:
  XML_Parser parser_;
  size_t depth_ = 0;
};

}  // namespace

bool HaveFeedReader() { return true; }

FeedReading ReadFeed(std::string_view text) {
  Parser parser(XML_ParserCreateNS(nullptr, kNamespaceSeparator));
  if (!parser) return {{}, "out of memory"};
  FeedReader reader(parser.get());
  Handlers(parser.get(), reader);
  const bool parsed = ParseAll(parser.get(), text);
  if (!reader.error.empty()) return {{}, reader.error};
  if (!parsed) return {{}, ParseError(parser.get())};
  if (!reader.found_channel) return {{}, "no channel in the file"};
  return {std::move(reader.feed), {}};
}

OpmlReading ReadOpml(std::string_view text) {
  Parser parser(XML_ParserCreate(nullptr));
  if (!parser) return {{}, "out of memory"};
  OpmlReader reader(parser.get());
  Handlers(parser.get(), reader);
  const bool parsed = ParseAll(parser.get(), text);
  if (!reader.error.empty()) return {{}, reader.error};
  if (!parsed) return {{}, ParseError(parser.get())};
  return {std::move(reader.outlines), {}};
}

bool WalkXml(std::string_view text) {
  Parser parser(XML_ParserCreate(nullptr));
  if (!parser) return false;
  XML_SetElementHandler(parser.get(), [](void*, const XML_Char*, const XML_Char**) {}, [](void*, const XML_Char*) {});
  XML_SetCharacterDataHandler(parser.get(), [](void*, const XML_Char*, int) {});
  return ParseAll(parser.get(), text);
}

#endif  // ZDS_HAVE_EXPAT

}  // namespace zds::cli
