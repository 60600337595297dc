// Start-up as a whole: what a fresh data root holds afterwards, what a
// second start changes, and where a damaged document stops it.

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <string>
#include <vector>

#include "support/temp_root.h"
#include "zds/store/zds.h"
#include "zds/timers/timer_doc.h"

namespace zds {
namespace {

using test::TempRoot;
using Base = CZDS::StartupBase;

std::string RootFolderOnly(const std::string& tag, const std::string& alias) {
  return "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<" + tag + " ver=\"1.0\">\r\n<folder id=\"0000\" alias=\"" +
         alias + "\" attribute=\"root\">\r\n</folder>\r\n</" + tag + ">\r\n";
}

// Every file under the data root with its text.
std::map<std::string, std::string> Snapshot(const TempRoot& temp) {
  std::map<std::string, std::string> files;
  for (const std::string& name : temp.Files()) files[name] = test::ReadNative(temp.top() / name);
  return files;
}

struct Opened {
  std::string step, path;
  OpenResult result;
  Base base;
  bool operator==(const Opened&) const = default;
};
std::vector<Opened> OpenedBy(const CZDS& facade) {
  std::vector<Opened> opened;
  for (const CZDS::StartupDoc& doc : facade.GetStartupDocs()) {
    EXPECT_EQ(doc.base == Base::kOwnDirectory, !doc.base_path.empty()) << doc.path;
    opened.push_back({std::string(doc.step), doc.path, doc.result, doc.base});
  }
  return opened;
}

TEST(StartupOrderTest, AFreshRootGetsEveryDocumentOfTheLayoutFromItsTemplate) {
  TempRoot temp;
  const std::string month = "root/timer/" + CTime::GetCurrentTime().Format("%Y%m") + ".xml";
  std::map<std::string, std::string> second_start;
  for (OpenResult expected : {OpenResult::kCreated, OpenResult::kLoaded}) {
    SCOPED_TRACE(expected == OpenResult::kCreated ? "first start" : "second start");
    CZDS facade;
    facade.SetDataRoot(temp.root());
    ASSERT_TRUE(facade.InitZDS()) << facade.GetStartupFailure().step;
    const Base loaded_or_empty = expected == OpenResult::kCreated ? Base::kEmpty : Base::kDataRoot;
    EXPECT_EQ(OpenedBy(facade),
              (std::vector<Opened>{
                  {"monitor", "\\Monitor.xml", OpenResult::kCreated, Base::kDataRoot},
                  {"service index", "\\aidl.xml", expected, Base::kDataRoot},
                  {"system folders", "\\favorites\\index.xml", expected, Base::kOwnDirectory},
                  {"system folders", "\\addressbook\\index.xml", expected, Base::kOwnDirectory},
                  {"system folders", "\\calendar\\index.xml", expected, Base::kOwnDirectory},
                  {"system folders", "\\history\\index.xml", expected, Base::kOwnDirectory},
                  {"event queue", "\\XEvent.xml", expected, loaded_or_empty},
                  {"templates", "\\editor\\template\\index.xml", expected, Base::kOwnDirectory},
                  {"print list", "\\apl.xml", expected, loaded_or_empty},
                  {"auto-run list", "\\autorun.xml", expected, loaded_or_empty},
                  {"sticky notes", "\\anote.xml", expected, loaded_or_empty},
                  {"work-day calendar", "\\AMyCal.xml", expected, Base::kNone},
                  {"timer index", "\\timer\\index.xml", expected, Base::kOwnDirectory},
              }));
    EXPECT_EQ(facade.GetATLDoc()->GetBasePath(), "\\editor\\template");
    EXPECT_EQ(facade.GetATimerIndexDoc()->GetBasePath(), "\\timer");
    EXPECT_EQ(temp.Read("XEvent.xml"), RootFolderOnly("AEvent", "Event"));
    EXPECT_EQ(temp.Read("apl.xml"), RootFolderOnly("apl", "Print List"));
    EXPECT_EQ(temp.Read("autorun.xml"), RootFolderOnly("autorun", "autorun"));
    EXPECT_EQ(temp.Read("anote.xml"), RootFolderOnly("ANote", "Notepad"));
    EXPECT_EQ(temp.Read("AMyCal.xml"), RootFolderOnly("AMCAL", "Work Days"));
    EXPECT_EQ(temp.Read("editor/template/index.xml"),
              "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<atl ver=\"1.0\">\r\n"
              "<folder id=\"0000\" alias=\"Template\" attribute=\"root\">\r\n"
              "<folder id=\"0001\" alias=\"Common\" attribute=\"undel\">\r\n</folder>\r\n"
              "<folder id=\"0002\" alias=\"New Mail\" attribute=\"undel\">\r\n</folder>\r\n"
              "<folder id=\"0003\" alias=\"Forward Mail\" attribute=\"undel\">\r\n</folder>\r\n"
              "<folder id=\"0004\" alias=\"Diary\" attribute=\"undel\">\r\n</folder>\r\n</folder>\r\n</atl>\r\n");
    EXPECT_NE(facade.GetATLDoc()->GetNodeByPath("kov:\\Template\\Forward Mail"), nullptr);
    EXPECT_EQ(facade.GetMyCalDoc()->GetRoot()->GetPos(), "kov:\\Work Days\\0000");
    // The favorites document opens with its subsystem; its directory is
    // there before it.
    EXPECT_EQ(temp.Files(), (std::vector<std::string>{
                                "root/AMyCal.xml", "root/Favorites/index.xml", "root/Monitor.xml", "root/XEvent.xml",
                                "root/addressbook/index.xml",
                                "root/aidl.xml", "root/anote.xml", "root/apl.xml", "root/autorun.xml",
                                "root/calendar/index.xml", "root/editor/template/index.xml", "root/history/index.xml",
                                month, "root/timer/index.xml"}));
    for (const char* dir : {"Favorites", "addressbook", "calendar", "calendar/diary", "calendar/schedule",
                            "calendar/project", "history", "history/mail", "history/chat", "timer"}) {
      EXPECT_TRUE(test::fs::is_directory(temp.dir() / dir)) << dir;
    }
    std::vector<std::string> top;
    for (const auto& entry : test::fs::directory_iterator(temp.dir())) {
      if (entry.is_directory()) top.push_back(entry.path().filename().string());
    }
    EXPECT_NE(std::find(top.begin(), top.end(), "Favorites"), top.end()) << "with its capital F";
    std::map<std::string, std::string> files = Snapshot(temp);
    if (expected == OpenResult::kCreated) {
      second_start = files;
    } else {
      for (auto& [name, text] : files) {
        if (name != "root/Monitor.xml") {
          EXPECT_EQ(text, second_start[name]) << name << " changed on a second start";
        }
      }
      EXPECT_EQ(files.size(), second_start.size());
      EXPECT_NE(files["root/Monitor.xml"].find("AIDL Init OK"), std::string::npos);
    }
  }
}

// The system folders' directories are made whether or not the service
// index had the folders.
TEST(StartupOrderTest, TheSystemDirectoriesAreMadeAlsoWhenTheServiceIndexHasItsFolders) {
  TempRoot temp;
  temp.Write("aidl.xml", LoadTemplate(res::kAidlTemplateHead, res::kAidlTemplateTail));
  CZDS facade;
  facade.SetDataRoot(temp.root());
  ASSERT_TRUE(facade.InitZDS());
  for (const char* dir : {"calendar/diary", "calendar/schedule", "calendar/project", "history/mail", "history/chat",
                          "Favorites"}) {
    EXPECT_TRUE(test::fs::is_directory(temp.dir() / dir)) << dir;
  }
}

// Each document damaged in turn: start-up stops at its step, names its
// file, opens nothing after it and overwrites nothing.
TEST(StartupOrderTest, ADamagedDocumentStopsStartUpAtItsStepAndIsLeftAsItIs) {
  struct Case {
    const char* file;
    const char* step;
    const char* path;
  };
  const Case cases[] = {
      {"aidl.xml", "service index", "\\aidl.xml"},
      {"addressbook/index.xml", "system folders", "\\addressbook\\index.xml"},
      {"calendar/index.xml", "system folders", "\\calendar\\index.xml"},
      {"history/index.xml", "system folders", "\\history\\index.xml"},
      {"XEvent.xml", "event queue", "\\XEvent.xml"},
      {"editor/template/index.xml", "templates", "\\editor\\template\\index.xml"},
      {"apl.xml", "print list", "\\apl.xml"},
      {"autorun.xml", "auto-run list", "\\autorun.xml"},
      {"anote.xml", "sticky notes", "\\anote.xml"},
      {"AMyCal.xml", "work-day calendar", "\\AMyCal.xml"},
      {"timer/index.xml", "timer index", "\\timer\\index.xml"},
  };
  const std::string damaged = "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<broken ver=\"1.0\">\r\n<folder id=";
  for (size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    SCOPED_TRACE(c.file);
    TempRoot temp;
    {
      CZDS facade;
      facade.SetDataRoot(temp.root());
      ASSERT_TRUE(facade.InitZDS());
    }
    temp.Write(c.file, damaged);
    std::map<std::string, std::string> before = Snapshot(temp);
    CZDS facade;
    facade.SetDataRoot(temp.root());
    EXPECT_FALSE(facade.InitZDS());
    EXPECT_EQ(facade.GetStartupFailure().step, c.step);
    EXPECT_EQ(facade.GetStartupFailure().path, c.path);
    EXPECT_EQ(facade.GetStartupFailure().result, OpenResult::kUnusable);
    std::map<std::string, std::string> after = Snapshot(temp);
    after.erase("root/Monitor.xml");
    before.erase("root/Monitor.xml");
    EXPECT_EQ(after, before) << "no file is written over";
    // What comes before the step is open, nothing after it.
    const std::vector<std::pair<const char*, const CVFDLDoc*>> docs = {
        {"service index", facade.GetAIDLDoc()},   {"event queue", facade.GetEventDoc()},
        {"templates", facade.GetATLDoc()},        {"print list", facade.GetAPLDoc()},
        {"auto-run list", facade.GetAutoRunDoc()}, {"sticky notes", facade.GetNoteDoc()},
        {"work-day calendar", facade.GetMyCalDoc()}, {"timer index", facade.GetATimerIndexDoc()},
    };
    bool reached = false;
    for (const auto& [step, doc] : docs) {
      const bool at_or_after = reached || std::string(step) == c.step ||
                               (std::string(c.step) == "system folders" && std::string(step) == "event queue");
      reached = at_or_after;
      EXPECT_EQ(doc != nullptr, !at_or_after && std::string(step) != c.step) << step;
    }
    EXPECT_NE(facade.GetMonitorDoc(), nullptr);
    std::vector<std::string> log;
    for (const CVFDLNode& node : Children(*facade.GetMonitorDoc()->GetRoot())) log.push_back(node.GetAlias());
    EXPECT_EQ(log.size(), i == 0 ? 1u : 2u) << "a damaged service index stops right after the monitor";
  }
}

TEST(StartupOrderTest, TheDestructorClosesEveryDocumentAndTheOneInstance) {
  TempRoot temp;
  platform::MessageQueue queue;
  auto facade = std::make_unique<CZDS>();
  CZDS::Setthis(facade.get());
  facade->SetDataRoot(temp.root());
  facade->SetMessageQueue(&queue);
  ASSERT_TRUE(facade->InitZDS());
  platform::WindowHandle info = facade->GetInfoWnd();
  facade.reset();
  EXPECT_EQ(CZDS::Getthis(), nullptr);
  EXPECT_FALSE(platform::PostWindowMessage(info, WM_ZDS_CHANGED, 0, 0)) << "the information window went with it";
}

// What other programs read straight from disk never hides edits in a journal.
TEST(StartupOrderTest, DocumentsOtherProgramsReadAreAlwaysWrittenWhole) {
  TempRoot temp;
  CZDS facade;
  facade.SetDataRoot(temp.root());
  ASSERT_TRUE(facade.InitZDS());
  EXPECT_FALSE(facade.GetMonitorDoc()->GetJournalAllowed());
  EXPECT_FALSE(facade.GetATimerIndexDoc()->GetJournalAllowed());
  EXPECT_FALSE(CATimerDoc().GetJournalAllowed());
  EXPECT_TRUE(facade.GetAIDLDoc()->GetJournalAllowed() && facade.GetNoteDoc()->GetJournalAllowed());
}

}  // namespace
}  // namespace zds
