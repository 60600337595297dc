// The service index: its template, system folders, services with their
// variables, service kinds, and the documents opened behind its folders.

#include "zds/store/aidl_doc.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zds/resources/store_strings.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using test::TempRoot;

class AidlTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(Open(doc_), OpenResult::kCreated); }
  OpenResult Open(CAIDLDoc& doc) {
    doc.SetDataRoot(temp_.root());
    doc.SetAutoSaveFlag(true);
    return OpenVFDLDoc(doc, "\\aidl.xml", "");
  }
  // The index as it reads back from its file.
  std::unique_ptr<CAIDLDoc> Reloaded() {
    auto doc = std::make_unique<CAIDLDoc>();
    EXPECT_EQ(Open(*doc), OpenResult::kLoaded);
    return doc;
  }
  void LoadText(const std::string& folder_body) {
    temp_.Write("aidl.xml", "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<aidl ver=\"1.3\" udp=\"0001\">\r\n"
                            "<folder id=\"0000\" alias=\"Velmora\" attribute=\"root\">\r\n" +
                                folder_body + "</folder>\r\n</aidl>\r\n");
    ASSERT_EQ(OpenVFDLDoc(doc_, "\\aidl.xml", ""), OpenResult::kLoaded);
  }

  TempRoot temp_;
  CAIDLDoc doc_;
};

// The four system folders, each through its own members.
struct SystemCase {
  const char* alias;
  const char* content;
  bool (CAIDLDoc::*exists)() const;
  std::string (CAIDLDoc::*index_pos)() const;
  CVFDLDoc* (CAIDLDoc::*get_doc)();
  std::string (CAIDLDoc::*new_folder)(std::string_view);
};
const SystemCase kSystem[] = {
    {"Favorites", "Fav;class=CFavDoc;os=universal", &CAIDLDoc::IsFavExisted, &CAIDLDoc::GetFavIndexPos,
     &CAIDLDoc::GetFavDoc, &CAIDLDoc::NewFavFolder},
    {"Addresses", "ADR;class=CAdrBookDoc;os=universal", &CAIDLDoc::IsAdrBookExisted, &CAIDLDoc::GetAdrIndexPos,
     &CAIDLDoc::GetAdrBookDoc, &CAIDLDoc::NewAdrBookFolder},
    {"History", "history;class=CHistoryDoc;os=universal", &CAIDLDoc::IsHistoryExisted, &CAIDLDoc::GetHistoryIndexPos,
     &CAIDLDoc::GetHistoryDoc, &CAIDLDoc::NewHistoryFolder},
    {"Calendar", "calendar;class=CCalendarDoc;os=universal", &CAIDLDoc::IsCalendarExisted,
     &CAIDLDoc::GetCalendarIndexPos, &CAIDLDoc::GetCalendarDoc, &CAIDLDoc::NewCalendarFolder},
};

// The template's text is checked with every other template's, the order
// of its folders by `zds ls`.
TEST_F(AidlTest, SystemFoldersAreFoundByTheirFixedPathsAndMadeAnew) {
  EXPECT_EQ(doc_.GetAdvSrc(), "about:blank");
  for (const SystemCase& c : kSystem) {
    SCOPED_TRACE(c.alias);
    const std::string path = std::string("kov:\\Velmora\\") + c.alias;
    EXPECT_TRUE((doc_.*c.exists)());
    const std::string pos = (doc_.*c.index_pos)();
    EXPECT_EQ(doc_.GetNodeByPos(pos), doc_.GetNodeByPath(path));
    EXPECT_EQ(doc_.GetNodeByPos(pos)->GetExtendType(), 2);
    EXPECT_EQ((doc_.*c.get_doc)(), nullptr) << "its class is not built, so nothing is opened";

    ASSERT_TRUE(doc_.DelFolder(pos));
    EXPECT_FALSE((doc_.*c.exists)());
    EXPECT_EQ((doc_.*c.index_pos)(), "");
    EXPECT_EQ((doc_.*c.get_doc)(), nullptr);

    const std::string added = (doc_.*c.new_folder)("store/index.xml");
    ASSERT_FALSE(added.empty());
    EXPECT_TRUE((doc_.*c.exists)());
    EXPECT_EQ((doc_.*c.index_pos)(), added);
    const CVFDLNode* folder = doc_.GetNodeByPath(path);
    ASSERT_EQ(folder, doc_.GetNodeByPos(added));
    EXPECT_EQ(folder->GetAttribute(), "system");
    EXPECT_EQ(folder->GetContent(), c.content);
    EXPECT_EQ(folder->GetSrc(), "\\store\\index.xml");
    EXPECT_EQ(folder->GetExtendType(), 2);
  }
  auto reloaded = Reloaded();
  EXPECT_EQ(reloaded->GetXml(), doc_.GetXml());
  EXPECT_EQ(reloaded->GetNodeByPath("kov:\\Velmora\\Calendar")->GetSrc(), "\\store\\index.xml");
  EXPECT_EQ(temp_.Files(), std::vector<std::string>{"root/aidl.xml"});
  ZDS_EXPECT_XMLLINT_ACCEPTS(doc_.GetXml());
}

CAIDLService MakeService(const char* name, const char* alias) {
  CAIDLService service;
  service.name = name;
  service.SetAlias(alias);
  service.provider = "example & co";
  service.abstract = "a \"quoted\" <text>";
  service.ComposeContent("midl", "CMIDLDoc", "universal");
  service.SetSrc("\\mail\\inbox.xml");
  const std::pair<const char*, int> fields[] = {{"user", CAIDLVarRec::kNormal}, {"password", CAIDLVarRec::kHidden},
                                                {"syncversion", CAIDLVarRec::kSystem}};
  for (auto [field, attribute] : fields) {
    CAIDLVarRec& variable = service.variables.emplace_back();
    variable.formname = std::string("f_") + field;
    variable.name = field;
    variable.value = field == std::string("syncversion") ? "7" : "v<&>\n";
    variable.encrypt = field == std::string("password");
    variable.attribute = attribute;
  }
  return service;
}

TEST_F(AidlTest, ServicesAreAddedUpdatedReadBackAndDeleted) {
  const std::string mail = "kov:\\Velmora\\0001";
  const std::string pos = doc_.AddService(mail, MakeService("popmail", "Home"));
  ASSERT_FALSE(pos.empty());
  const std::string web = doc_.AddService(mail, MakeService("webmail", "Web"));
  EXPECT_EQ(doc_.AddService("kov:\\Velmora\\0999", MakeService("irc", "x")), "");
  CAIDLService* service = doc_.GetService(pos);
  ASSERT_NE(service, nullptr);
  EXPECT_EQ(doc_.GetServiceID(pos), service->GetID());
  EXPECT_EQ(service->GetExtendType(), 4);
  EXPECT_EQ(doc_.GetServiceSYNCVersion(pos), 7);
  EXPECT_EQ(doc_.GetService(mail), nullptr) << "a folder is no service";
  EXPECT_EQ(doc_.GetNodeByPath("kov:\\Velmora\\E-Mail\\Home"), service);

  auto reloaded = Reloaded();
  ASSERT_NE(reloaded->GetService(pos), nullptr);
  EXPECT_TRUE(*reloaded->GetService(pos) == *service);

  CAIDLService changed = *service;
  changed.name = "irc";
  changed.variables.pop_back();
  changed.variables[0].value = "new";
  ASSERT_TRUE(doc_.UpdateService(pos, changed));
  EXPECT_EQ(doc_.GetService(pos)->GetExtendType(), 7);
  EXPECT_EQ(doc_.GetServiceSYNCVersion(pos), 0);
  EXPECT_FALSE(doc_.UpdateService(mail, changed));
  reloaded = Reloaded();
  EXPECT_TRUE(*reloaded->GetService(pos) == *doc_.GetService(pos));
  ZDS_EXPECT_XMLLINT_ACCEPTS(doc_.GetXml());

  EXPECT_FALSE(doc_.DelService(mail));
  ASSERT_TRUE(doc_.DelService(pos));
  EXPECT_EQ(doc_.GetService(pos), nullptr);
  ASSERT_NE(doc_.AddService("kov:\\Velmora\\0003", MakeService("chatroom", "Room")), "");
  EXPECT_EQ(doc_.DelAllService(), 2);
  EXPECT_EQ(doc_.GetService(web), nullptr);
  EXPECT_EQ(Reloaded()->GetXml(), LoadTemplate(res::kAidlTemplateHead, res::kAidlTemplateTail));
}

TEST_F(AidlTest, VariablesReadTheirAttributeAndEncryptFlag) {
  LoadText(
      "<folder id=\"0001\" alias=\"E-Mail\" attribute=\"undel\">\r\n"
      "<service id=\"0002\" name=\"popmail\" extend=\"\" provider=\"p\" alias=\"Home\" abstract=\"\" content=\"\" "
      "src=\"mail/inbox.xml\" future=\"kept\">\r\n"
      "<variable formname=\"a\" name=\"none\" value=\"1\" hint='kept too'/>\r\n"
      "<variable formname=\"b\" name=\"bogus\" value=\"2\" attribute=\"secret\" encrypt=\"YES\"/>\r\n"
      "<variable formname=\"c\" name=\"normal\" value=\"3\" attribute=\"normal\" encrypt=\"yes\"/>\r\n"
      "<variable formname=\"d\" name=\"hidden\" value=\"4\" attribute=\"hidden\" encrypt=\"no\"/>\r\n"
      "<variable formname=\"e\" name=\"undel\" value=\"5\" attribute=\"undel\" encrypt=\"Yes\"/>\r\n"
      "<variable formname=\"f\" name=\"system\" value=\"6\" attribute=\"system\" encrypt=\"yes \"/>\r\n"
      "<variable formname=\"g\" name=\"upper\" value=\"7\" attribute=\"Normal\"/>\r\n"
      "<note>unknown child</note>\r\n"
      "</service>\r\n</folder>\r\n");
  const CAIDLService* service = doc_.GetService("kov:\\Velmora\\0002");
  ASSERT_NE(service, nullptr);
  EXPECT_EQ(service->GetSrc(), "\\mail\\inbox.xml");
  const std::pair<int, bool> expected[] = {{3, false}, {3, false}, {0, true}, {1, false},
                                           {2, false}, {3, false}, {3, false}};
  ASSERT_EQ(service->variables.size(), 7u);
  for (size_t i = 0; i < 7; ++i) {
    SCOPED_TRACE(service->variables[i].name);
    EXPECT_EQ(service->variables[i].attribute, expected[i].first);
    EXPECT_EQ(service->variables[i].encrypt, expected[i].second);
    EXPECT_EQ(service->variables[i].value, std::to_string(i + 1));
  }
  // Rewritten, the service keeps what this version does not know.
  CAIDLService changed = *service;
  changed.provider = "q";
  ASSERT_TRUE(doc_.UpdateService("kov:\\Velmora\\0002", changed));
  const std::string text = temp_.Read("aidl.xml");
  EXPECT_NE(text.find(" future=\"kept\""), std::string::npos) << text;
  EXPECT_NE(text.find("<note>unknown child</note>"), std::string::npos) << text;
  EXPECT_NE(text.find(" hint='kept too'"), std::string::npos) << text;
  EXPECT_TRUE(*Reloaded()->GetService("kov:\\Velmora\\0002") == changed);
  ZDS_EXPECT_XMLLINT_ACCEPTS(text);
}

TEST(ServiceKindTest, EveryKeywordHasItsKindAndOthersNone) {
  const std::pair<const char*, int> kinds[] = {
      {"webmail", 3}, {"popmail", 4},   {"news", 5},   {"chatroom", 6}, {"irc", 7},    {"httpsms", 8}, {"webcast", 9},
      {"homepage", 10}, {"other", 11}, {"IRC", 0},    {"unknown", 0},  {"", 0},      {"Iefav", 0},  {"irc ", 0}};
  for (auto [name, kind] : kinds) EXPECT_EQ(ServiceExtendType(name), kind) << name;
}

TEST_F(AidlTest, BrowserLinksAreKeptOnceAndDeleteOnlyFilesInsideTheRoot) {
  ASSERT_NE(doc_.NewIeFavLink("\\links\\old.url"), "");
  const std::string fav = doc_.NewIeFavLink("\\links\\fav.url");
  EXPECT_EQ(doc_.NewIeFavLink("\\links\\fav.url"), fav) << "one link per kind, updated in place";
  const std::string history = doc_.NewIeHistoryLink("\\links\\history.dat");
  EXPECT_EQ(doc_.GetIeFavPath(), "\\links\\fav.url");
  EXPECT_EQ(doc_.GetIeHistoryFilePos(), history);
  EXPECT_EQ(Reloaded()->GetIeFavPath(), "\\links\\fav.url");

  temp_.Write("links/fav.url", "x");
  test::WriteNative(temp_.top() / "outside.url", "keep");
  ASSERT_TRUE(doc_.DelLinkFile(*doc_.GetNodeByPos(fav)));
  EXPECT_FALSE(temp_.Exists("links/fav.url"));
  EXPECT_FALSE(doc_.DelLinkFile(*doc_.GetNodeByPos(fav))) << "already gone";
  EXPECT_FALSE(doc_.DelLinkFile(*doc_.GetRoot())) << "a folder is no link";
  ASSERT_NE(doc_.NewIeFavLink("..\\outside.url"), "");
  EXPECT_FALSE(doc_.DelLinkFile(*doc_.GetNodeByPos(fav)));
  EXPECT_EQ(test::ReadNative(temp_.top() / "outside.url"), "keep");

  EXPECT_EQ(doc_.DelAllLink(), 2);
  EXPECT_EQ(doc_.GetIeFavPath(), "");
  EXPECT_EQ(Reloaded()->GetRoot()->GetChildCount(), 10u);
}

}  // namespace
}  // namespace zds
