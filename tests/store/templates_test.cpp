// Every document class the store registers starts from its template: the
// texts below are the stored formats as written down for each document,
// line by line, not taken from the string table they are checked against.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zds/framework/vfdl_doc.h"
#include "zds/store/classes.h"
#include "support/temp_root.h"

namespace zds {
namespace {

std::string Lines(std::initializer_list<std::string> lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

// A document whose template is its root folder alone.
std::string RootFolderOnly(const std::string& tag, const std::string& alias, const std::string& version = "1.0") {
  return Lines({R"(<?xml version="1.0" encoding="ascii"?>)", "<" + tag + R"( ver=")" + version + R"(">)",
                R"(<folder id="0000" alias=")" + alias + R"(" attribute="root">)", "</folder>", "</" + tag + ">"});
}

struct TemplateCase {
  const char* class_name;
  std::string text;
};

const TemplateCase kTemplates[] = {
    {"CAIDLDoc",
     Lines({R"(<?xml version="1.0" encoding="ascii"?>)", R"(<aidl ver="1.3" udp="0001">)",
            R"(<adv src="about:blank" num="0"/>)", R"(<folder id="0000" alias="Velmora" attribute="root">)",
            R"(<folder id="0001" alias="E-Mail" attribute="undel">)", "</folder>",
            R"(<folder id="0002" alias="News" attribute="undel">)", "</folder>",
            R"(<folder id="0003" alias="Chat" attribute="undel">)", "</folder>",
            R"(<folder id="0004" alias="SMS" attribute="undel">)", "</folder>",
            R"(<folder id="0005" alias="Cast" attribute="undel">)", "</folder>",
            R"(<folder id="0006" alias="Other" attribute="undel">)", "</folder>",
            R"(<folder id="0007" alias="Favorites" attribute="system" content="Fav;class=CFavDoc;os=universal" )"
            R"(src="\favorites\index.xml">)",
            "</folder>",
            R"(<folder id="0008" alias="Addresses" attribute="system" content="ADR;class=CAdrBookDoc;os=universal" )"
            R"(src="\addressbook\index.xml">)",
            "</folder>",
            R"(<folder id="0009" alias="History" attribute="system" content="history;class=CHistoryDoc;os=universal" )"
            R"(src="\history\index.xml">)",
            "</folder>",
            R"(<folder id="0010" alias="Calendar" attribute="system" content="calendar;class=CCalendarDoc;os=universal" )"
            R"(src="\calendar\index.xml">)",
            "</folder>", "</folder>", "</aidl>"})},
    {"CAEventDoc", RootFolderOnly("AEvent", "Event")},
    {"CMonitorDoc", RootFolderOnly("Monitor", "Monitor")},
    {"CAdrBookDoc", RootFolderOnly("adrbook", "Addresses", "2.0")},
    {"CPIDLDoc", RootFolderOnly("pidl", "Address Book", "1.1")},
    {"CAutoRunDoc", RootFolderOnly("autorun", "autorun")},
    {"CATimerDoc", RootFolderOnly("ATimer", "Timer")},
    {"CATimerIndexDoc",
     Lines({R"(<?xml version="1.0" encoding="ascii"?>)", R"(<TIC ver="1.0">)",
            R"(<folder id="0000" alias="Timer Index" attribute="root">)",
            R"(<folder id="0001" alias="Cycle" attribute="undel" content="ATimer;class=CATimerDoc;os=universal" )"
            R"(src="\cycle.xml">)",
            "</folder>",
            R"(<folder id="0002" alias="UnActive" attribute="undel" content="ATimer;class=CATimerDoc;os=universal" )"
            R"(src="\unactive.xml">)",
            "</folder>", "</folder>", "</TIC>"})},
    {"CScheduleDoc", RootFolderOnly("schedule", "Schedule")},
    {"CScheduleIndexDoc", RootFolderOnly("SIC", "Schedule Index")},
    {"CCalendarDoc",
     Lines({R"(<?xml version="1.0" encoding="ascii"?>)", R"(<calendar ver="1.0">)",
            R"(<folder id="0000" alias="Calendar" attribute="root">)", R"(<folder id="0001" alias="Diary" attribute="undel">)",
            "</folder>",
            R"(<folder id="0002" alias="Schedule" attribute="system" content="SIC;class=CScheduleIndexDoc;os=universal" )"
            R"(src="\schedule\index.xml">)",
            "</folder>", R"(<folder id="0003" alias="Project" attribute="undel">)", "</folder>",
            R"(<folder id="0004" alias="Task" attribute="undel">)", "</folder>", "</folder>", "</calendar>"})},
    {"CANoteDoc", RootFolderOnly("ANote", "Notepad")},
    {"CAPLDoc", RootFolderOnly("apl", "Print List")},
    {"CAMyCalDoc", RootFolderOnly("AMCAL", "Work Days")},
    {"CATLDoc",
     Lines({R"(<?xml version="1.0" encoding="ascii"?>)", R"(<atl ver="1.0">)",
            R"(<folder id="0000" alias="Template" attribute="root">)", R"(<folder id="0001" alias="Common" attribute="undel">)",
            "</folder>", R"(<folder id="0002" alias="New Mail" attribute="undel">)", "</folder>",
            R"(<folder id="0003" alias="Forward Mail" attribute="undel">)", "</folder>",
            R"(<folder id="0004" alias="Diary" attribute="undel">)", "</folder>", "</folder>", "</atl>"})},
};

TEST(TemplateTest, EveryDocumentIsCreatedFromItsTemplateAndReadBackByteIdentical) {
  CRTTIRegistry registry;
  RegisterAllClasses(registry);
  for (const TemplateCase& c : kTemplates) {
    SCOPED_TRACE(c.class_name);
    test::TempRoot temp;
    for (OpenResult expected : {OpenResult::kCreated, OpenResult::kLoaded}) {
      auto doc = CreateObjectAs<CVFDLDoc>(registry, c.class_name);
      ASSERT_NE(doc, nullptr);
      doc->SetDataRoot(temp.root());
      doc->SetAutoSaveFlag(true);
      ASSERT_EQ(OpenVFDLDoc(*doc, "\\doc.xml", ""), expected);
      EXPECT_EQ(doc->GetRoot()->GetID(), "0000");
      EXPECT_EQ(temp.Read("doc.xml"), c.text);
      EXPECT_EQ(doc->GetXml(), c.text);
    }
    EXPECT_EQ(temp.Files(), std::vector<std::string>{"root/doc.xml"});
    ZDS_EXPECT_XMLLINT_ACCEPTS(c.text);
  }
}

}  // namespace
}  // namespace zds
