// A Windows host includes <windows.h> before our headers, with its macros
// for min and max and for the ...A/...W names. Every public header must
// compile after it and keep its own names; this program only builds for
// Windows.

#include <windows.h>

#include "zds/events/autorun_doc.h"
#include "zds/events/classes.h"
#include "zds/events/event_doc.h"
#include "zds/events/monitor_doc.h"
#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/classes.h"
#include "zds/framework/family.h"
#include "zds/framework/field_codec.h"
#include "zds/framework/notepad_doc.h"
#include "zds/framework/path_controller.h"
#include "zds/framework/rtti.h"
#include "zds/framework/vfdl_doc.h"
#include "zds/framework/vfdl_node.h"
#include "zds/framework/vfdl_tree.h"
#include "zds/framework/xml_doc.h"
#include "zds/framework/xml_line.h"
#include "zds/framework/xml_parser.h"
#include "zds/framework/xvfdl_doc.h"
#include "zds/platform/checked_math.h"
#include "zds/platform/files.h"
#include "zds/platform/time.h"
#include "zds/platform/window.h"
#include "zds/recurrence/cycle_arithmetic.h"
#include "zds/recurrence/cycle_format.h"
#include "zds/recurrence/cycle_records.h"
#include "zds/recurrence/cycle_search.h"
#include "zds/recurrence/cycle_sentence.h"
#include "zds/recurrence/sche_cycle_rec.h"
#include "zds/resources/string_table.h"
#include "zds/store/aidl_doc.h"
#include "zds/store/classes.h"
#include "zds/store/zds.h"
#include "zds/timers/timer_cycle_rec.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace zds {
namespace {

TEST(WindowsHeaderFirstTest, OurNamesAreNotRenamedByItsMacros) {
  test::TempDir temp{"zds-windows-h"};
  platform::DataRoot root(temp.path().string());
  ASSERT_TRUE(root.WriteFileAtomic("\\a.xml", "a"));
  EXPECT_TRUE(root.RenameFile("\\a.xml", "\\b.xml"));
  EXPECT_TRUE(root.RemoveFile("\\b.xml"));
  platform::MessageQueue queue;
  int delivered = 0;
  platform::WindowHandle window = queue.NewWindow([&](const platform::WindowMessage&) { ++delivered; });
  ASSERT_TRUE(platform::PostWindowMessage(window, WM_ZDS_CHANGED, 0, 0));
  queue.Pump();
  EXPECT_EQ(delivered, 1);
  EXPECT_GT(CTime::GetCurrentTime().GetTime(), 0);
  EXPECT_EQ(field::ParseAtoi("12"), 12);
}

}  // namespace
}  // namespace zds
