// The facade: start-up in its order on fresh, damaged and partial data
// roots, the documents it owns, and the relay of change notices.

#include "zds/store/zds.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "support/temp_root.h"

namespace zds {
namespace {

using test::TempRoot;

std::vector<std::string> Aliases(const CVFDLFolder& folder) {
  std::vector<std::string> aliases;
  for (const CVFDLNode& node : Children(folder)) aliases.push_back(node.GetAlias());
  return aliases;
}

// A service index that is another kind of document is refused like a damaged one.
TEST(StartupTest, TheFirstFailureEndsStartUpAndNamesItsStep) {
  TempRoot temp;
  const std::string foreign = "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<Monitor ver=\"1.0\">\r\n"
                              "<folder id=\"0000\" alias=\"Monitor\" attribute=\"root\">\r\n</folder>\r\n</Monitor>\r\n";
  temp.Write("aidl.xml", foreign);
  CZDS facade;
  facade.SetDataRoot(temp.root());
  EXPECT_FALSE(facade.InitZDS());
  EXPECT_EQ(facade.GetStartupFailure().step, "service index");
  EXPECT_EQ(facade.GetStartupFailure().path, "\\aidl.xml");
  EXPECT_EQ(facade.GetStartupFailure().result, OpenResult::kUnusable);
  EXPECT_NE(facade.GetMonitorDoc(), nullptr) << "what opened before stays open";
  EXPECT_EQ(facade.GetEventDoc(), nullptr);
  EXPECT_EQ(temp.Read("aidl.xml"), foreign);
  EXPECT_FALSE(temp.Exists("XEvent.xml"));

  CZDS unwritable;
  unwritable.SetDataRoot(std::make_shared<platform::DataRoot>((temp.dir() / "aidl.xml" / "below").string()));
  EXPECT_FALSE(unwritable.InitZDS());
  EXPECT_EQ(unwritable.GetStartupFailure().step, "monitor");
}

TEST(StartupTest, AMissingSystemFolderIsAddedWithItsDirectories) {
  TempRoot temp;
  temp.Write("aidl.xml", "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<aidl ver=\"1.3\" udp=\"0001\">\r\n"
                         "<folder id=\"0000\" alias=\"Velmora\" attribute=\"root\">\r\n</folder>\r\n</aidl>\r\n");
  CZDS facade;
  facade.SetDataRoot(temp.root());
  ASSERT_TRUE(facade.InitZDS());
  const CAIDLDoc& index = *facade.GetAIDLDoc();
  EXPECT_EQ(Aliases(*index.GetRoot()), (std::vector<std::string>{"Favorites", "Addresses", "Calendar", "History"}));
  EXPECT_EQ(index.GetNodeByPath("kov:\\Velmora\\Calendar")->GetSrc(), "\\calendar\\index.xml");
  for (const char* dir : {"Favorites", "addressbook", "calendar/diary", "calendar/schedule", "calendar/project",
                          "history/mail", "history/chat"}) {
    EXPECT_TRUE(test::fs::is_directory(temp.dir() / dir)) << dir;
  }
  EXPECT_NE(temp.Read("aidl.xml").find("alias=\"History\""), std::string::npos) << "saved at once";
}

// Start-up makes sure of the system folders once: whatever the root folder
// is called, however a system folder's alias is written, a second start
// changes nothing, and one that was missing is added by the first only.
TEST(StartupTest, ASecondStartNeverChangesTheServiceIndex) {
  const std::string fresh = LoadTemplate(res::kAidlTemplateHead, res::kAidlTemplateTail);
  auto without = [&fresh](const std::string& alias) {
    const size_t at = fresh.find("<folder id=\"0009\" alias=\"" + alias + "\"");
    return fresh.substr(0, at) + fresh.substr(fresh.find("</folder>", at) + 11);
  };
  auto replaced = [&fresh](const std::string& from, const std::string& to) {
    std::string text = fresh;
    return text.replace(text.find(from), from.size(), to);
  };
  const std::pair<const char*, std::string> cases[] = {
      {"the root folder called otherwise", replaced("alias=\"Velmora\"", "alias=\"Velmosa\"")},
      {"a system folder in other letter case", replaced("alias=\"Favorites\"", "alias=\"favorites\"")},
      {"a system folder missing", without("History")},
  };
  for (const auto& [odd, index] : cases) {
    SCOPED_TRACE(odd);
    TempRoot temp;
    temp.Write("aidl.xml", index);
    std::string after_first;
    for (int start = 1; start <= 3; ++start) {
      CZDS facade;
      facade.SetDataRoot(temp.root());
      ASSERT_TRUE(facade.InitZDS());
      if (start == 1) after_first = temp.Read("aidl.xml");
      EXPECT_EQ(temp.Read("aidl.xml"), after_first) << "start " << start;
      EXPECT_FALSE(facade.GetAIDLDoc()->GetHistoryIndexPos().empty());
      EXPECT_EQ(Aliases(*facade.GetAIDLDoc()->GetRoot()).size(), 10u);
    }
  }
}

TEST(ChangeNoticeTest, TheInformationWindowRepostsTheSixMessagesInRegistrationOrder) {
  TempRoot temp;
  platform::MessageQueue queue;
  std::vector<std::pair<int, uint32_t>> seen;
  std::vector<std::pair<uintptr_t, intptr_t>> parameters;
  auto window = [&](int id) {
    return queue.NewWindow([&seen, &parameters, id](const platform::WindowMessage& m) {
      seen.emplace_back(id, m.message);
      parameters.emplace_back(m.wparam, m.lparam);
    });
  };
  platform::WindowHandle a = window(1), b = window(2);
  CZDS facade;
  EXPECT_EQ(facade.GetInfoWnd(), nullptr);
  facade.SetDataRoot(temp.root());
  facade.SetMessageQueue(&queue);
  ASSERT_TRUE(facade.InitZDS());
  ASSERT_NE(facade.GetInfoWnd(), nullptr);
  queue.Pump();  // what start-up announced (the timer index's new month) goes to no window yet
  facade.RegisterWnd(a);
  facade.RegisterWnd(b);
  facade.RegisterWnd(a);  // kept twice
  for (uint32_t message : kZDSMessages) {
    platform::PostWindowMessage(facade.GetInfoWnd(), message, 7 + message, static_cast<intptr_t>(message) - 5000);
  }
  platform::PostWindowMessage(facade.GetInfoWnd(), 1999, 0, 0);  // not one of the six
  queue.Pump();
  ASSERT_EQ(seen.size(), 18u);
  for (size_t i = 0; i < seen.size(); ++i) {
    EXPECT_EQ(seen[i], std::pair(i % 3 == 1 ? 2 : 1, kZDSMessages[i / 3])) << i;
    EXPECT_EQ(parameters[i], std::pair(uintptr_t{7 + kZDSMessages[i / 3]}, intptr_t{kZDSMessages[i / 3]} - 5000))
        << "relayed unchanged";
  }
  seen.clear();
  facade.RegisterWnd(b);
  facade.UnRegisterWnd(b);  // from the end: both entries of b go, a's stay in order
  platform::PostWindowMessage(facade.GetInfoWnd(), WM_ZDS_CHANGED, 0, 0);
  queue.Pump();
  EXPECT_EQ(seen, (std::vector<std::pair<int, uint32_t>>{{1, WM_ZDS_CHANGED}, {1, WM_ZDS_CHANGED}}));
  seen.clear();
  facade.RegisterWnd(b);
  facade.UnRegisterWnd(a);
  platform::PostWindowMessage(facade.GetInfoWnd(), WM_ZDS_TIMER_CHANGED, 0, 2);
  queue.Pump();
  EXPECT_EQ(seen, (std::vector<std::pair<int, uint32_t>>{{2, WM_ZDS_TIMER_CHANGED}})) << "both entries of a went";
}

TEST(FacadeTest, WeekLabelsAndTheOneInstance) {
  const std::pair<int, const char*> days[] = {{0, ""}, {1, "Sunday"}, {4, "Wednesday"}, {7, "Saturday"}, {8, ""}};
  for (auto [day, label] : days) EXPECT_EQ(CZDS::GetWeekLabel(day), label) << day;
  EXPECT_EQ(CZDS::GetWeekLabel(ParseDateTime("2004-05-01")), "Saturday");
  {
    CZDS facade;
    CZDS::Setthis(&facade);
    EXPECT_EQ(CZDS::Getthis(), &facade);
  }
  EXPECT_EQ(CZDS::Getthis(), nullptr) << "the destructor clears it";
}

}  // namespace
}  // namespace zds
