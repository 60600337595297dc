// RSS channels ("rss" service under "kov:\Velmora\News"): zds fetches a
// feed from a local file, keeps its channel and items, marks items and sets
// their reminders, and moves subscriptions in and out as OPML.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "cli/feed_reading.h"
#include "zds/feeds/channel_index_doc.h"
#include "zds/framework/xml_escape.h"
#include "zds/store/zds.h"

namespace zds::cli {
namespace {

std::optional<std::string> ReadInput(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// The channel index of a facade; null with a line. A reader with no
// channels yet sees none: `none` says so.
CWSCIndexDoc* IndexOf(Call& call, CZDS& facade, bool create, bool* none = nullptr) {
  CAIDLDoc* aidl = facade.GetAIDLDoc();
  CWSCIndexDoc* index = aidl ? OpenChannelIndex(*aidl, create) : nullptr;
  if (index != nullptr) return index;
  if (none != nullptr && aidl != nullptr && FindChannelService(*aidl).empty()) {
    *none = true;
    return nullptr;
  }
  call.Refuse("the channel index cannot be opened (damaged or unwritable)");
  return nullptr;
}

// The channel index of a read-only facade: false, with a line, when it
// cannot be read; `index` null when there are no channels yet.
bool OpenReaderIndex(Call& call, std::unique_ptr<CZDS>& facade, CWSCIndexDoc*& index) {
  facade = OpenReader(call);
  if (!facade) return false;
  bool none = false;
  index = IndexOf(call, *facade, false, &none);
  return index != nullptr || none;
}

// The text of the file an import reads; nothing, with the exit status,
// when this build reads no XML or the file cannot be read.
std::optional<std::string> ImportedText(Call& call, int& status) {
  if (!HaveFeedReader()) {
    status = call.Usage(call.command().Name() + " needs libexpat, which this build of zds does not have");
    return std::nullopt;
  }
  std::optional<std::string> text = ReadInput(call.operand(0));
  if (!text) status = call.Refuse("cannot read " + call.operand(0));
  return text;
}

// The channel an item position lies in: everything before its last "\".
std::string ChannelPosOf(std::string_view item_pos) {
  const size_t cut = item_pos.rfind('\\');
  return std::string(item_pos.substr(0, cut == std::string_view::npos ? 0 : cut));
}

// An item by its position: its channel's document and the record; a line
// and null when there is none.
struct FoundItem {
  CWSChannelDoc* doc = nullptr;
  const CWSChannelRec* item = nullptr;
};
FoundItem FindItem(Call& call, CZDS& facade, const std::string& typed, bool edits) {
  const std::string pos = StoredPos(typed);
  bool none = false;
  CWSCIndexDoc* index = IndexOf(call, facade, false, &none);
  if (index == nullptr && !none) return {};
  CWSChannelDoc* doc = index ? index->GetChannelDoc(ChannelPosOf(pos), edits) : nullptr;
  const CWSChannelRec* item = doc ? doc->GetRec(pos) : nullptr;
  if (item == nullptr) {
    call.Refuse("no feed item at " + typed);
    return {};
  }
  return {doc, item};
}

std::string ItemAlias(const FeedItem& item) {
  for (const std::string* text : {&item.fields.subject, &item.link, &item.fields.guid}) {
    if (!text->empty()) return *text;
  }
  return "(untitled)";
}

// What the feed says of an item, over what the reader keeps of its own:
// flags, load, template, priority, reminder. An item without a guid is
// known by its link, kept as its guid (a permalink).
void TakeFeedFields(const FeedItem& from, CWSChannelRec& rec) {
  CWSChannelExtendRec& to = rec.GetExtendRec();
  const CWSChannelExtendRec& f = from.fields;
  to.subject = f.subject;
  to.author = f.author;
  to.category = f.category;
  to.comments = f.comments;
  to.pub_date = f.pub_date;
  if (!f.guid.empty()) {
    to.guid = f.guid;
    to.guid_is_permalink = f.guid_is_permalink;
  } else if (to.guid.empty() && !from.link.empty()) {
    to.guid = from.link;
    to.guid_is_permalink = true;
  }
  to.source = f.source;
  to.source_url = f.source_url;
  to.enclosure_url = f.enclosure_url;
  to.enclosure_length = f.enclosure_length;
  to.enclosure_type = f.enclosure_type;
  rec.SetAlias(ItemAlias(from));
}

struct ImportCounts {
  int added = 0, updated = 0;
};

// How an item is known again: its guid, else its link (kept as its guid),
// else, for an item with neither, its title.
struct ItemKeys {
  std::unordered_map<std::string, std::string> by_guid, by_title;  // -> the item's position
  void Add(const CWSChannelExtendRec& item, const std::string& pos) {
    if (!item.guid.empty()) by_guid.emplace(item.guid, pos);
    else if (!item.subject.empty()) by_title.emplace(item.subject, pos);
  }
  const std::string* Find(const FeedItem& item) const {
    for (const auto& [map, key] : {std::pair{&by_guid, &item.fields.guid}, std::pair{&by_guid, &item.link}}) {
      if (key->empty()) continue;
      if (auto it = map->find(*key); it != map->end()) return &it->second;
    }
    if (!item.fields.guid.empty() || !item.link.empty()) return nullptr;
    auto it = by_title.find(item.fields.subject);
    return it == by_title.end() ? nullptr : &it->second;
  }
};

// The items into the channel's document, saved once at the end: a save
// that fails leaves the file as it was. An item with no guid, link or
// title could never be told from the next one: it is not kept.
std::optional<ImportCounts> ImportItems(CWSChannelDoc& doc, const std::vector<FeedItem>& items) {
  ItemKeys keys;
  for (const CWSChannelRec& item : doc.Recs()) keys.Add(item.GetExtendRec(), item.GetPos());
  const bool auto_save = doc.GetAutoSaveFlag();
  doc.SetAutoSaveFlag(false);
  ImportCounts counts;
  bool ok = true;
  for (const FeedItem& item : items) {
    if (item.fields.guid.empty() && item.link.empty() && item.fields.subject.empty()) continue;
    if (const std::string* known = keys.Find(item)) {
      const CWSChannelRec* stored = doc.GetRec(*known);
      CWSChannelRec changed(*stored);
      TakeFeedFields(item, changed);
      if (changed == *stored) continue;
      ok = ok && doc.UpdateRec(*known, changed, false);
      ++counts.updated;
      continue;
    }
    CWSChannelRec added;
    added.GetExtendRec() = item.fields;
    TakeFeedFields(item, added);
    const std::string pos = doc.AddItem(added, false);
    ok = ok && !pos.empty();
    keys.Add(added.GetExtendRec(), pos);
    ++counts.added;
  }
  doc.SetAutoSaveFlag(auto_save);
  if (!ok || ((counts.added > 0 || counts.updated > 0) && !doc.SaveXMLDoc())) return std::nullopt;
  return counts;
}

// The channel a feed goes to: the one asked for, else the one of the same
// feed address, else of the same link; empty when it is new.
std::string ChannelFor(const CWSCIndexDoc& index, const CWSCIndexExtendRec& channel) {
  for (const CWSCIndexRec& rec : index.Recs()) {
    const CWSCIndexExtendRec& known = rec.GetExtendRec();
    if (!channel.feed_url.empty() && known.feed_url == channel.feed_url) return rec.GetPos();
  }
  for (const CWSCIndexRec& rec : index.Recs()) {
    if (!channel.link.empty() && rec.GetExtendRec().link == channel.link) return rec.GetPos();
  }
  return {};
}

int Import(Call& call) {
  int status = 0;
  std::optional<std::string> text = ImportedText(call, status);
  if (!text) return status;
  const std::string& path = call.operand(0);
  FeedReading reading = ReadFeed(*text);
  if (!reading.error.empty()) return call.Refuse(path + ": " + reading.error);
  CWSCIndexExtendRec& fields = reading.feed.channel;
  if (fields.feed_url.empty()) {
    std::error_code error;
    fields.feed_url = "file://" + std::filesystem::absolute(path, error).generic_string();
  }
  fields.last_update_date = CTime::GetCurrentTime().Format(kTimeFormatSeconds);
  const std::optional<std::string> asked = call.Value("--channel");
  return RunEdit(call, [&](CZDS& facade) {
    CZDS::Setthis(&facade);  // items keep their reminders through the facade
    CWSCIndexDoc* index = IndexOf(call, facade, true);
    if (index == nullptr) return 1;
    std::string pos = asked ? StoredPos(*asked) : ChannelFor(*index, fields);
    const CWSCIndexRec* known = pos.empty() ? nullptr : index->GetRec(pos);
    if (asked && known == nullptr) return call.Refuse("no channel at " + *asked);
    CWSCIndexRec channel = known ? *known : CWSCIndexRec();
    channel.GetExtendRec() = fields;
    channel.SetAlias(!fields.subject.empty() ? fields.subject : !fields.link.empty() ? fields.link : fields.feed_url);
    if (known == nullptr) pos = index->AddChannel(channel, true);
    else if (!index->UpdateRec(pos, channel, true)) pos.clear();
    if (pos.empty()) return call.Refuse("cannot write the channel index");
    CWSChannelDoc* doc = index->GetChannelDoc(pos, true);
    std::optional<ImportCounts> counts = doc ? ImportItems(*doc, reading.feed.items) : std::nullopt;
    if (!counts) return call.Refuse("cannot write the items of " + ShownPos(pos));
    call.out() << ShownPos(pos) << '\t' << counts->added << '\t' << counts->updated << '\n';
    return 0;
  });
}

int List(Call& call) {
  std::unique_ptr<CZDS> facade;
  CWSCIndexDoc* index = nullptr;
  if (!OpenReaderIndex(call, facade, index)) return 1;
  Listing listing(call, {"position", "title", "items", "new"});
  if (index != nullptr) {
    for (const CWSCIndexRec& channel : index->Recs()) {
      int items = 0, fresh = 0;
      if (CWSChannelDoc* doc = index->GetChannelDoc(channel.GetPos(), false)) {
        for (const CWSChannelRec& item : doc->Recs()) {
          if (item.GetExtendRec().deleted) continue;
          ++items;
          fresh += item.GetExtendRec().new_flag ? 1 : 0;
        }
      }
      listing.Row({ShownPos(channel.GetPos()), channel.GetExtendRec().subject, std::to_string(items),
                   std::to_string(fresh)});
    }
  }
  return listing.Finish();
}

std::string_view YesNo(bool flag) { return flag ? "yes" : "no"; }

int Items(Call& call) {
  std::unique_ptr<CZDS> facade;
  CWSCIndexDoc* index = nullptr;
  if (!OpenReaderIndex(call, facade, index)) return 1;
  const std::string pos = StoredPos(call.operand(0));
  if (index == nullptr || index->GetRec(pos) == nullptr) return call.Refuse("no channel at " + call.operand(0));
  CWSChannelDoc* doc = index->GetChannelDoc(pos, false);
  if (doc == nullptr && index->GetLastLoadStatus() != LoadStatus::kMissing) {
    return call.Refuse("the items of " + call.operand(0) + " cannot be read (damaged)");
  }
  Listing listing(call, {"position", "state", "downloaded", "deleted", "date", "title"});
  if (doc != nullptr) {
    for (const CWSChannelRec& item : doc->Recs()) {
      const CWSChannelExtendRec& f = item.GetExtendRec();
      listing.Row({ShownPos(item.GetPos()), f.new_flag ? "new" : "read", std::string(YesNo(f.downloaded)),
                   std::string(YesNo(f.deleted)), f.pub_date, f.subject});
    }
  }
  return listing.Finish();
}

// Looks on the reader whether the item is there, so that a position that
// names nothing changes no file.
int ItemExists(Call& call, CZDS& reader) { return FindItem(call, reader, call.operand(0), false).item ? 0 : 1; }

using Marking = bool (CWSChannelDoc::*)(std::string_view, bool);
int Mark(Call& call, Marking mark) {
  return RunEdit(
      call,
      [&](CZDS& facade) {
        CZDS::Setthis(&facade);
        FoundItem found = FindItem(call, facade, call.operand(0), true);
        if (found.item == nullptr) return 1;
        if (!(found.doc->*mark)(found.item->GetPos(), true)) return call.Refuse("cannot change " + call.operand(0));
        return 0;
      },
      [&](CZDS& reader) { return ItemExists(call, reader); });
}

int Remind(Call& call) {
  const bool off = call.Has("--off");
  if (off == (call.operand_count() == 2)) return call.Usage("feed remind takes a TIME or --off");
  CTime due;
  if (!off && !ParseTime(call.operand(1), due)) {
    return call.Usage("malformed time '" + call.operand(1) + "' (" + std::string(kTimeGrammar) + ")");
  }
  return RunEdit(
      call,
      [&](CZDS& facade) {
        CZDS::Setthis(&facade);
        FoundItem found = FindItem(call, facade, call.operand(0), true);
        if (found.item == nullptr) return 1;
        CWSChannelRec changed(*found.item);
        changed.GetExtendRec().has_timer = !off;
        changed.GetExtendRec().set_time = off ? "" : due.Format(kTimeFormatSeconds);
        if (!found.doc->UpdateRec(found.item->GetPos(), changed, true)) {
          return call.Refuse("cannot change " + call.operand(0));
        }
        return 0;
      },
      [&](CZDS& reader) { return ItemExists(call, reader); });
}

int ExportOpml(Call& call) {
  std::unique_ptr<CZDS> facade;
  CWSCIndexDoc* index = nullptr;
  if (!OpenReaderIndex(call, facade, index)) return 1;
  std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<opml version=\"2.0\">\n"
                    "  <head>\n    <title>zds subscriptions</title>\n  </head>\n  <body>\n";
  if (index != nullptr) {
    for (const CWSCIndexRec& channel : index->Recs()) {
      const CWSCIndexExtendRec& f = channel.GetExtendRec();
      const std::string title = f.subject.empty() ? channel.GetAlias() : f.subject;
      out += "    <outline type=\"rss\" text=\"" + EscapeXml(title) + "\" title=\"" + EscapeXml(title) + "\"";
      if (!f.feed_url.empty()) out += " xmlUrl=\"" + EscapeXml(f.feed_url) + "\"";
      if (!f.link.empty()) out += " htmlUrl=\"" + EscapeXml(f.link) + "\"";
      out += "/>\n";
    }
  }
  call.out() << out << "  </body>\n</opml>\n";
  return 0;
}

int ImportOpml(Call& call) {
  int status = 0;
  std::optional<std::string> text = ImportedText(call, status);
  if (!text) return status;
  const std::string& path = call.operand(0);
  OpmlReading reading = ReadOpml(*text);
  if (!reading.error.empty()) return call.Refuse(path + ": " + reading.error);
  return RunEdit(call, [&](CZDS& facade) {
    CWSCIndexDoc* index = IndexOf(call, facade, true);
    if (index == nullptr) return 1;
    for (const OpmlOutline& outline : reading.outlines) {
      CWSCIndexRec channel;
      CWSCIndexExtendRec& f = channel.GetExtendRec();
      f.subject = outline.text;
      f.link = outline.html_url;
      f.feed_url = outline.xml_url;
      if (!ChannelFor(*index, f).empty()) continue;  // subscribed already
      channel.SetAlias(outline.text.empty() ? outline.xml_url : outline.text);
      const std::string pos = index->AddChannel(channel, true);
      if (pos.empty()) return call.Refuse("cannot write the channel index");
      call.out() << ShownPos(pos) << '\n';
    }
    return 0;
  });
}

}  // namespace

void AddFeedCommands(CommandTable& table) {
  table.Add({.noun = "feed", .verb = "import", .operands = "FILE", .min_operands = 1, .max_operands = 1,
             .summary = "read an RSS 2.0 or Atom file into its channel; print position, items added, updated",
             .options = {{"--channel", "POSITION", "the channel to read it into (else found by address or link)"}},
             .store = StoreUse::kEdits, .run = Import});
  table.Add({.noun = "feed", .verb = "ls", .summary = "list the channels: position, title, items, new items",
             .output = Output::kList, .run = List});
  table.Add({.noun = "feed", .verb = "items", .operands = "POSITION", .min_operands = 1, .max_operands = 1,
             .summary = "list a channel's items: position, new/read, downloaded, deleted, date, title",
             .output = Output::kList, .run = Items});
  table.Add({.noun = "feed", .verb = "read", .operands = "ITEM", .min_operands = 1, .max_operands = 1,
             .summary = "mark an item read", .store = StoreUse::kEdits,
             .run = [](Call& call) { return Mark(call, &CWSChannelDoc::MarkRead); }});
  table.Add({.noun = "feed", .verb = "fetched", .operands = "ITEM", .min_operands = 1, .max_operands = 1,
             .summary = "mark an item's content downloaded", .store = StoreUse::kEdits,
             .run = [](Call& call) { return Mark(call, &CWSChannelDoc::MarkFetched); }});
  table.Add({.noun = "feed", .verb = "delete", .operands = "ITEM", .min_operands = 1, .max_operands = 1,
             .summary = "mark an item deleted (it stays, flagged)", .store = StoreUse::kEdits,
             .run = [](Call& call) { return Mark(call, &CWSChannelDoc::MarkDeleted); }});
  table.Add({.noun = "feed", .verb = "remind", .operands = "ITEM [TIME]", .min_operands = 1, .max_operands = 2,
             .summary = "remind of an item at TIME (a timer zds timers due shows); --off drops it",
             .options = {{"--off", "", "drop the reminder and its timer"}}, .store = StoreUse::kEdits,
             .run = Remind});
  table.Add({.noun = "feed", .verb = "export-opml", .summary = "print the subscriptions as OPML 2.0", .run = ExportOpml});
  table.Add({.noun = "feed", .verb = "import-opml", .operands = "FILE", .min_operands = 1, .max_operands = 1,
             .summary = "subscribe to the feeds of an OPML file; print each new channel's position",
             .store = StoreUse::kEdits, .run = ImportOpml});
}

}  // namespace zds::cli
