// zds feed: feeds read from hand-made RSS and Atom files (the hard cases
// among them) into channels, items marked and reminded of, subscriptions
// out and in as OPML.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/fresh_store_test.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

const char kRss[] = R"(<?xml version="1.0"?>
<rss version="2.0" xmlns:atom="http://www.w3.org/2005/Atom" xmlns:dc="http://purl.org/dc/elements/1.1/"><channel>
<title>Tea &amp; Cakes</title><link>http://tea.example/</link>
<description><![CDATA[All <b>about</b> tea]]></description>
<atom:link rel="self" href="http://tea.example/rss.xml"/><language>en</language><ttl>60</ttl>
<image><url>http://tea.example/i.png</url><title>not the channel's</title></image>
<skipDays><day>Sunday</day><day>Monday</day></skipDays>
<item><title>First</title><link>http://tea.example/1</link><guid isPermaLink="false">t1</guid>
<dc:creator>not an author</dc:creator><pubDate>Mon, 02 Jan 2006 10:00:00 GMT</pubDate>
<enclosure url="http://tea.example/1.mp3" length="10" type="audio/mpeg"/></item>
<item><link>http://tea.example/2</link><description>an item without a title</description></item>
<item><title>Third</title><description><![CDATA[<p>&nbsp;</p>]]></description></item>
<item><description>nothing to know it by</description></item>
</channel></rss>
)";

const char kAtom[] = R"(<?xml version="1.0" encoding="utf-8"?>
<feed xmlns="http://www.w3.org/2005/Atom" xml:lang="fr">
<title>Atom Tea</title><link href="http://atom.example/"/><link rel="self" href="http://atom.example/feed"/>
<author><name>Ann</name></author><updated>2026-01-02T03:04:05Z</updated>
<entry><title type="html">Caf&#233; &lt;open&gt;</title><id>urn:1</id><link href="http://atom.example/1"/>
<link rel="enclosure" href="http://atom.example/1.ogg" length="5" type="audio/ogg"/>
<updated>2026-01-01T00:00:00Z</updated><author><name>Bob</name></author><summary>s</summary></entry>
</feed>
)";

class FeedCommandsTest : public test::FreshStoreTest {
 protected:
  // "POSITION\tADDED\tUPDATED" of an import, split.
  std::vector<std::string> Import(const std::string& file) const {
    std::string out = Out({"feed", "import", file});
    std::vector<std::string> fields;
    for (size_t at = 0; at < out.size();) {
      const size_t end = out.find_first_of("\t\n", at);
      fields.push_back(out.substr(at, end - at));
      at = end + 1;
    }
    return fields;
  }
};

#ifdef ZDS_HAVE_EXPAT

TEST_F(FeedCommandsTest, AFeedIsStoredOnceAndItsItemsUpdatedNotRepeated) {
  const std::string rss = File("tea.xml", kRss);
  const std::vector<std::string> first = Import(rss);
  ASSERT_EQ(first.size(), 3u);
  const std::string channel = first[0];
  EXPECT_EQ(first[1], "3") << "the item with nothing to know it by is not kept";
  EXPECT_EQ(first[2], "0");
  EXPECT_EQ(Out({"feed", "ls"}), channel + "\tTea & Cakes\t3\t3\n");
  EXPECT_EQ(Out({"feed", "items", channel}),
            channel + "/0001\tnew\tno\tno\tMon, 02 Jan 2006 10:00:00 GMT\tFirst\n" +  //
                channel + "/0002\tnew\tno\tno\t\t\n" + channel + "/0003\tnew\tno\tno\t\tThird\n");
  const std::string index = temp_.Read("rss/index.xml");
  for (const char* stored : {R"(description="All &lt;b&gt;about&lt;/b&gt; tea")", R"(image="http://tea.example/i.png")",
                             R"(skipDays="Sunday, Monday")", R"(xmlUrl="http://tea.example/rss.xml")"}) {
    EXPECT_NE(index.find(stored), std::string::npos) << stored << "\n" << index;
  }
  const std::string items = temp_.Read("rss/0001/index.xml");
  EXPECT_NE(items.find(R"(author="" category="" comments="" pubDate="Mon, 02 Jan 2006 10:00:00 GMT" guid="t1" source=)"),
            std::string::npos)
      << items;
  EXPECT_NE(items.find(R"(guid="http://tea.example/2" guid_isPermaLink="true")"), std::string::npos)
      << "an item without a guid is known by its link";

  // Read again, changed: known items updated (their marks kept), none repeated.
  Out({"feed", "read", channel + "/0001"});
  std::string changed = kRss;
  changed.replace(changed.find("<title>First"), 12, "<title>First, again");
  EXPECT_EQ(Import(File("tea2.xml", changed)), (std::vector<std::string>{channel, "0", "1"}));
  EXPECT_EQ(Import(rss).back(), "1");
  EXPECT_EQ(Import(rss), (std::vector<std::string>{channel, "0", "0"}));
  EXPECT_EQ(Out({"feed", "ls"}), channel + "\tTea & Cakes\t3\t2\n");

  // Atom: a channel of its own.
  const std::vector<std::string> atom = Import(File("atom.xml", kAtom));
  ASSERT_EQ(atom.size(), 3u);
  EXPECT_NE(atom[0], channel);
  EXPECT_EQ(Out({"feed", "items", atom[0]}), atom[0] + "/0001\tnew\tno\tno\t2026-01-01T00:00:00Z\tCaf\xC3\xA9 <open>\n");
  const std::string atom_items = temp_.Read("rss/0002/index.xml");
  EXPECT_NE(atom_items.find(R"(author="Bob" category="" comments="" pubDate="2026-01-01T00:00:00Z" guid="urn:1" )"
                            R"(source="" source_url="" enclosure_url="http://atom.example/1.ogg" enclosure_length="5" )"
                            R"(enclosure_type="audio/ogg")"),
            std::string::npos)
      << atom_items;
  EXPECT_NE(temp_.Read("rss/index.xml").find(R"(language="fr" copyright="" managingEditor="Ann")"), std::string::npos);
}

TEST_F(FeedCommandsTest, BadFilesAreRefusedWithOneLineAndLeaveNoTrace) {
  const std::string big = std::string(R"(<rss version="2.0"><channel><title>Big</title><item><title>i</title>)") +
                          "<description>" + std::string(10 << 20, 'x') + "</description></item></channel></rss>";
  const std::pair<const char*, std::string> refused[] = {
      {"broken.xml", "<rss><channel><title>x</title></channel>"},
      {"entity.xml", "<rss><channel><title>&nbsp;</title></channel></rss>"},
      {"nochannel.xml", R"(<rss version="2.0"></rss>)"},
      {"html.xml", "<html><body/></html>"},
      {"rdf.xml", R"(<rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"/>)"},
      {"empty.xml", ""},
  };
  const std::vector<std::string> before = temp_.Files();
  for (const auto& [name, text] : refused) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(test::RefusedWithOneLine(Zds({"feed", "import", File(name, text)}), 1));
  }
  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"feed", "import", (temp_.top() / "none.xml").string()}), 1));
  EXPECT_EQ(temp_.Files().size(), before.size() + std::size(refused)) << "only the files written here";
  // Ten megabytes of an item's description: stored what there is a field for.
  const std::vector<std::string> stored = Import(File("big.xml", big));
  ASSERT_EQ(stored.size(), 3u);
  EXPECT_EQ(stored[1], "1");
  EXPECT_LT(temp_.Read("rss/0001/index.xml").size(), 4096u);
}

TEST_F(FeedCommandsTest, MarksAndRemindersOfAnItem) {
  const std::string channel = Import(File("tea.xml", kRss))[0];
  const std::string item = channel + "/0001";
  Out({"feed", "read", item});
  Out({"feed", "delete", channel + "/0002"});
  Out({"feed", "fetched", item});
  // "fetched" is written "downloaded" but read from "Downloaded": it does not survive a reload.
  EXPECT_NE(temp_.Read("rss/0001/index.xml").find(R"(newflag="no" downloaded="yes" deleted="no")"), std::string::npos);
  const std::string listed = Out({"feed", "items", channel});
  EXPECT_NE(listed.find(item + "\tread\tno\tno\t"), std::string::npos) << listed;
  EXPECT_NE(listed.find(channel + "/0002\tnew\tno\tyes\t"), std::string::npos) << listed;
  EXPECT_EQ(Out({"feed", "ls"}), channel + "\tTea & Cakes\t2\t1\n") << "a deleted item is not counted";

  const std::vector<std::string> due{"timers", "due", "2031-01-01", "2031-12-31"};
  Out({"feed", "remind", item, "2031-03-04 05:06:07"});
  EXPECT_NE(Out(due).find("2031-03-04 05:06:07\tFirst"), std::string::npos) << Out(due);
  Out({"feed", "remind", item, "2031-04-05 06:07:08"});
  EXPECT_EQ(Out(due).find("2031-03-04"), std::string::npos) << Out(due);
  EXPECT_NE(Out(due).find("2031-04-05 06:07:08\tFirst"), std::string::npos) << Out(due);
  Out({"feed", "remind", item, "--off"});
  EXPECT_EQ(Out(due), "");
  EXPECT_EQ(temp_.Read("rss/0001/index.xml").find("TimerID"), std::string::npos);

  for (const std::vector<std::string>& bad : {std::vector<std::string>{"feed", "read", channel + "/0099"},
                                              {"feed", "items", channel + "9"},
                                              {"feed", "remind", item, "soon"},
                                              {"feed", "remind", item}}) {
    EXPECT_TRUE(test::RefusedWithOneLine(Zds(bad), bad.size() == 4 || bad[1] == "remind" ? 2 : 1)) << bad[1];
  }
}

TEST_F(FeedCommandsTest, SubscriptionsGoOutAsOpmlThatComesBackIn) {
  Import(File("tea.xml", kRss));
  Import(File("atom.xml", kAtom));
  const std::string opml = Out({"feed", "export-opml"});
  ZDS_EXPECT_XMLLINT_ACCEPTS(opml);
  EXPECT_NE(opml.find(R"(<outline type="rss" text="Tea &amp; Cakes" title="Tea &amp; Cakes" )"
                      R"(xmlUrl="http://tea.example/rss.xml" htmlUrl="http://tea.example/"/>)"),
            std::string::npos)
      << opml;
  const std::string file = File("subs.opml", opml);
  EXPECT_EQ(Out({"feed", "import-opml", file}), "") << "both known already";

  test::TempRoot other;
  ASSERT_EQ(test::RunZds(other.dir(), {"init"}).exit_code, 0);
  const test::ProgramResult added = test::RunZds(other.dir(), {"feed", "import-opml", file});
  EXPECT_EQ(added.out, "kov:/Velmora/0011/0001\nkov:/Velmora/0011/0002\n") << added.err;
  EXPECT_EQ(test::RunZds(other.dir(), {"feed", "export-opml"}).out, opml);
  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"feed", "import-opml", File("x.opml", "<rss/>")}), 1));
}

#else

TEST_F(FeedCommandsTest, WithoutLibexpatTheImportsSaySoAndTheRestWorks) {
  const std::string file = File("tea.xml", kRss);
  for (const char* verb : {"import", "import-opml"}) {
    const test::ProgramResult result = Zds({"feed", verb, file});
    EXPECT_TRUE(test::RefusedWithOneLine(result, 2)) << verb;
    EXPECT_NE(result.err.find("libexpat"), std::string::npos) << result.err;
  }
  EXPECT_EQ(Out({"feed", "ls"}), "");
  ZDS_EXPECT_XMLLINT_ACCEPTS(Out({"feed", "export-opml"}));
}

#endif

}  // namespace
}  // namespace zds
