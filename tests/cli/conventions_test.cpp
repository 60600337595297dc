// The host's conventions, checked for every command in its table: help,
// options before and after, reads that write nothing (on a read-only copy
// too), positions through a shell, --json against the tab lines, the
// integrity check, and each command's bad calls changing no file.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "cli/command_table.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using cli::Commands;
using cli::StoreUse;
using test::fs::path;
using test::ProgramResult;
using test::TempRoot;
using Args = std::vector<std::string>;

// Every file below `dir` with its bytes and its time of last change.
std::map<std::string, std::pair<std::string, test::fs::file_time_type>> Snapshot(const path& dir) {
  std::map<std::string, std::pair<std::string, test::fs::file_time_type>> files;
  for (const auto& entry : test::fs::recursive_directory_iterator(dir)) {
    if (!entry.is_regular_file()) continue;
    files[test::fs::relative(entry.path(), dir).generic_string()] = {test::ReadNative(entry.path()),
                                                                     entry.last_write_time()};
  }
  return files;
}

// A store with something in every family the host has commands for; the
// positions the commands printed.
class ConventionsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Zds({"init"}).exit_code, 0);
    ASSERT_EQ(Zds({"book", "add", "Friends"}).exit_code, 0);
    ASSERT_EQ(Zds({"book", "add", "Work/Stuff"}).exit_code, 0);
    contact_ = Added({"contact", "add", "--name", "Jane Doe", "--email", "jane@example.org"});
    timer_ = Added({"timer", "add", "--subject", "Dentist", "--at", "2026-12-01 10:00"});
    entry_ = Added({"schedule", "add", "--subject", "Gym", "--begin", "2004-05-01 07:00", "--end",
                    "2004-05-01 08:00", "--cycle", "day;multiple=02",
                    "sequence;from=2004-05-01 07:00;to=2004-05-01 08:00", "notstop;from=2004-05-01 00:00"});
    note_ = Added({"note", "add", "--subject", "Call Ann", "--remind", "2026-12-02 09:00", "--text", "the trip"});
    account_ = Added({"account", "add", "Home", "--kind", "popmail"});
    test::WriteNative(temp_.top() / "one.mbox", "From a@x Tue Nov 24 12:00:00 2026\nMessage-ID: <1@x>\n\nHi\n\n");
    Added({"mail", "import", "Home", "Inbox", (temp_.top() / "one.mbox").string()});
    // Feeds come in only where the build reads XML (not the Windows build).
    test::WriteNative(temp_.top() / "feed.xml",
                      "<rss version=\"2.0\"><channel><title>Tea</title><item><title>Oolong</title></item></channel></rss>");
    ProgramResult feed = Zds({"feed", "import", (temp_.top() / "feed.xml").string()});
    if (feed.exit_code == 0) channel_ = feed.out.substr(0, feed.out.find('\t'));
    Added({"fav", "mkdir", "Work"});
    Added({"fav", "add", "https://example.org/", "--title", "Example", "--folder", "Work"});
    Added({"chat", "log", "--provider", "IRCnet", "--channel", "#zds", "--type", "opened", "--start", "2026-11-25 10:00",
           "--end", "2026-11-25 11:00"});
    archive_ = Added({"history", "archive", "Home"});
  }
  ProgramResult Zds(const Args& args) const { return test::RunZds(temp_.dir(), args); }
  std::string Added(const Args& args) {
    ProgramResult result = Zds(args);
    EXPECT_EQ(result.exit_code, 0) << args[0] << ": " << result.err;
    return result.out.substr(0, result.out.find('\n'));
  }
  // The calls of each command that only reads, by the command's name.
  std::map<std::string, std::vector<Args>> ReadCalls() const {
    return {{"ls", {{"kov:/Velmora"}, {"kov:/Velmora/Addresses/Work%2FStuff"}, {"kov:\\Velmora\\Calendar\\Schedule"},
                    {"kov:/Timer%20Index"}, {"kov:/Velmora/0008/0001"}}},
            {"show", {{contact_}, {"kov:/Velmora/Favorites"}, {timer_}, {entry_}}},
            {"check", {{}}},
            {"events", {{}}},
            {"monitor", {{}}},
            {"autorun", {{}}},
            {"timer ls", {{}}},
            {"timers due", {{"2026-11-01", "2027-01-01"}}},
            {"agenda", {{"2004-05-01", "2004-05-06"}}},
            {"schedule show", {{entry_}}},
            {"book ls", {{}}},
            {"contact ls", {{}, {"Work/Stuff"}}},
            {"contact show", {{contact_}}},
            {"contact find", {{"JANE@example.org"}}},
            {"contact export", {{}}},
            {"export ics", {{}, {"--from", "2026-01-01", "--to", "2026-12-31"}}},
            {"note ls", {{}}},
            {"note show", {{note_}}},
            {"account ls", {{}}},
            {"mail folders", {{"Home"}, {account_}}},
            {"mail ls", {{"Home", "Inbox"}, {"home", "Sent%20Items"}}},
            {"mail export", {{"Home", "Inbox"}, {"Home", "Trash"}}},
            {"mail find", {{"Home", "--message-id", "<1@x>"}}},
            {"feed ls", {{}}},
            {"feed items", channel_.empty() ? std::vector<Args>{} : std::vector<Args>{{channel_}}},
            {"feed export-opml", {{}}},
            {"fav ls", {{}, {"Work"}}},
            {"fav export", {{}}},
            {"chat ls", {{}, {"IRCnet"}}},
            {"history ls", {{}}},
            {"history mail", {{archive_, "Inbox"}, {"Home", "Trash"}}}};
  }
  static Args Words(const cli::Command& command, const Args& operands) {
    Args args{std::string(command.noun)};
    if (!command.verb.empty()) args.emplace_back(command.verb);
    args.insert(args.end(), operands.begin(), operands.end());
    return args;
  }

  TempRoot temp_;
  std::string contact_, timer_, entry_, note_, account_, channel_, archive_;
};

TEST_F(ConventionsTest, EveryCommandHasHelpOnStandardOutputAndTouchesNothing) {
  const path missing = temp_.top() / "missing";
  for (const cli::Command& command : Commands().Commands()) {
    SCOPED_TRACE(command.Name());
    const std::string usage = "usage: zds " + command.Name();
    Args help = Words(command, {});
    for (const Args& args : {Args{"help"}, Args{}, Args{"--root", missing.string()}}) {
      Args call = args;
      call.insert(call.end(), help.begin(), help.end());
      if (args.empty() || args[0] != "help") call.push_back("--help");
      ProgramResult result = test::RunZds(call);
      EXPECT_EQ(result.exit_code, 0) << result.err;
      EXPECT_TRUE(result.out.starts_with(usage)) << result.out;
      EXPECT_EQ(result.err, "");
    }
  }
  EXPECT_FALSE(test::fs::exists(missing));
  ProgramResult overview = test::RunZds({"help"});
  EXPECT_EQ(overview.exit_code, 0);
  for (const cli::Command& command : Commands().Commands()) {
    EXPECT_NE(overview.out.find("  " + command.Name() + " "), std::string::npos) << command.Name();
  }
  EXPECT_TRUE(test::RunZds({"--version"}).out.starts_with("zds "));
}

TEST_F(ConventionsTest, GlobalOptionsStandBeforeOrAfterTheCommandAndTheEnvironmentGivesTheRoot) {
  const std::string expected = Zds({"contact", "ls"}).out;
  ASSERT_NE(expected, "");
  const std::string dir = temp_.dir().string();
  for (const Args& args : {Args{"--root", dir, "contact", "ls"}, Args{"contact", "--root", dir, "ls"},
                           Args{"contact", "ls", "--root", dir}, Args{"contact", "ls", "--root=" + dir}}) {
    EXPECT_EQ(test::RunZds(args).out, expected) << args[0] << " " << args[1];
  }
  // In-process, for the environment.
  std::ostringstream out, err;
#ifdef _WIN32
  _putenv_s("ZDS_ROOT", dir.c_str());
#else
  setenv("ZDS_ROOT", dir.c_str(), 1);
#endif
  EXPECT_EQ(cli::RunZds({"contact", "ls"}, out, err), 0) << err.str();
#ifdef _WIN32
  _putenv_s("ZDS_ROOT", "");
#else
  unsetenv("ZDS_ROOT");
#endif
  EXPECT_EQ(out.str(), expected);
}

// Each read command, with every call the table above gives it, changes no
// byte nor time of any file; on a copy whose files and directories are
// read-only it prints the same.
// An output without the lines that carry the time of the run (iCalendar's
// DTSTAMP), which may differ by a second between two runs.
std::string WithoutClock(const std::string& out) {
  std::istringstream lines(out);
  std::string kept, line;
  while (std::getline(lines, line)) {
    if (!line.starts_with("DTSTAMP:")) kept += line + "\n";
  }
  return kept;
}

TEST_F(ConventionsTest, EveryReadCommandWritesNothingAndWorksOnAReadOnlyCopy) {
  const auto calls = ReadCalls();
  const path copy = temp_.top() / "copy";
  test::fs::copy(temp_.dir(), copy, test::fs::copy_options::recursive);
  std::vector<path> entries{copy};
  for (const auto& entry : test::fs::recursive_directory_iterator(copy)) entries.push_back(entry.path());
  for (const path& entry : entries) {
    test::fs::permissions(entry, test::fs::perms::owner_write | test::fs::perms::group_write |
                                     test::fs::perms::others_write, test::fs::perm_options::remove);
  }
  const auto before = Snapshot(temp_.dir());
  const auto copy_before = Snapshot(copy);
  for (const cli::Command& command : Commands().Commands()) {
    if (command.store != StoreUse::kReads) continue;
    SCOPED_TRACE(command.Name());
    auto found = calls.find(command.Name());
    ASSERT_NE(found, calls.end()) << "every read command joins this table";
    for (const Args& operands : found->second) {
      ProgramResult result = Zds(Words(command, operands));
      EXPECT_EQ(result.exit_code, 0) << (operands.empty() ? "" : operands[0]) << ": " << result.err;
      ProgramResult on_copy = test::RunZds(copy, Words(command, operands));
      EXPECT_EQ(std::tuple(on_copy.exit_code, WithoutClock(on_copy.out)),
                std::tuple(result.exit_code, WithoutClock(result.out)))
          << on_copy.err;
    }
  }
  EXPECT_TRUE(Snapshot(temp_.dir()) == before);
  EXPECT_TRUE(Snapshot(copy) == copy_before);
  for (const path& entry : entries) test::fs::permissions(entry, test::fs::perms::owner_write, test::fs::perm_options::add);
}

TEST_F(ConventionsTest, PrintedPositionsPassAShellUnquotedAndEveryFormIsAccepted) {
#ifdef _WIN32
  GTEST_SKIP() << "no POSIX shell";
#else
  const std::string zds = ZDS_CLI_PATH;
  const std::string root = temp_.dir().string();
  for (const auto& [noun, position] : {std::pair{"show", contact_}, {"show", timer_}, {"show", entry_}}) {
    SCOPED_TRACE(position);
    ASSERT_EQ(position.find_first_of("\\ \t'\"$`*?[]{}()<>|&;#~!"), std::string::npos);
    const ProgramResult direct = Zds({noun, position});
    ASSERT_EQ(direct.exit_code, 0) << direct.err;
    ProgramResult shell = test::RunProgram("sh", {"-c", "'" + zds + "' --root '" + root + "' " + noun + " " + position});
    EXPECT_EQ(shell.out, direct.out) << shell.err;
    // The library's form, and "/" with the blank as it stands.
    std::string stored = position, slashed;
    for (size_t at = stored.find('/'); at != std::string::npos; at = stored.find('/')) stored[at] = '\\';
    for (size_t at = stored.find("%20"); at != std::string::npos; at = stored.find("%20")) stored.replace(at, 3, " ");
    slashed = stored;
    for (char& c : slashed) c = c == '\\' ? '/' : c;
    EXPECT_EQ(Zds({noun, stored}).out, direct.out);
    if (slashed.find('%') == std::string::npos) {
      EXPECT_EQ(Zds({noun, slashed}).out, direct.out);
    }
  }
  ProgramResult piped = test::RunProgram(
      "sh", {"-c", "'" + zds + "' --root '" + root + "' contact ls | cut -f1 | xargs '" + zds + "' --root '" + root +
                       "' contact show"});
  EXPECT_EQ(piped.exit_code, 0) << piped.err;
  EXPECT_EQ(piped.out, Zds({"contact", "show", contact_}).out);
#endif
}

// On a terminal (a pseudo-terminal made by script(1)) a list has a header
// and columns aligned by blanks.
TEST_F(ConventionsTest, OnATerminalAListHasAHeaderAndAlignedColumns) {
#ifdef _WIN32
  GTEST_SKIP() << "no pseudo-terminal";
#else
  if (test::RunProgram("script", {"-qec", "true", "/dev/null"}).exit_code != 0) GTEST_SKIP() << "script is not installed";
  const std::string call = "'" + std::string(ZDS_CLI_PATH) + "' --root '" + temp_.dir().string() + "' book ls";
  std::string shown = test::RunProgram("script", {"-qec", call, "/dev/null"}).out;
  std::erase(shown, '\r');
  EXPECT_EQ(shown,
            "POSITION                NAME        CONTACTS  DEFAULT\n"
            "kov:/Velmora/0008/0001  Friends     1         yes\n"
            "kov:/Velmora/0008/0002  Work/Stuff  0         no\n");
#endif
}

// --json prints the rows the tab lines print, as objects; python3 parses it.
TEST_F(ConventionsTest, JsonHoldsTheSameRowsAsTheTabLines) {
  if (test::RunProgram("python3", {"-c", "import json"}).exit_code != 0) GTEST_SKIP() << "python3 is not installed";
  const auto calls = ReadCalls();
  const path lines = temp_.top() / "lines.txt", json = temp_.top() / "rows.json";
  const std::string compare =
      "import json, sys\n"
      "rows = json.load(open(sys.argv[1], encoding='utf-8'))\n"
      "lines = open(sys.argv[2], encoding='utf-8').read().splitlines()\n"
      "got = [list(r.values()) for r in rows] if isinstance(rows, list) else None\n"
      "sys.exit(0 if got == [l.split('\\t') for l in lines] else 1)\n";
  for (const cli::Command& command : Commands().Commands()) {
    if (command.output == cli::Output::kPlain || command.store != StoreUse::kReads) continue;
    SCOPED_TRACE(command.Name());
    for (const Args& operands : calls.at(command.Name())) {
      Args args = Words(command, operands);
      args.push_back("--json");
      ProgramResult as_json = Zds(args);
      ASSERT_EQ(as_json.exit_code, 0) << as_json.err;
      test::WriteNative(json, as_json.out);
      EXPECT_EQ(test::RunProgram("python3", {"-m", "json.tool", json.string()}).exit_code, 0) << as_json.out;
      if (command.output != cli::Output::kList) continue;
      test::WriteNative(lines, Zds(Words(command, operands)).out);
      EXPECT_EQ(test::RunProgram("python3", {"-c", compare, json.string(), lines.string()}).exit_code, 0)
          << as_json.out;
    }
  }
}

TEST_F(ConventionsTest, CheckNamesADamagedDocumentBehindANodeByFileAndLine) {
  ProgramResult clean = Zds({"check"});
  EXPECT_EQ(clean.exit_code, 0) << clean.out;
  EXPECT_NE(clean.out.find(" 0 unusable\n"), std::string::npos) << clean.out;
  const std::string book = "addressbook/Friends/index.xml";
  const std::string text = temp_.Read(book);
  const size_t cut = text.find("</contact>");
  ASSERT_NE(cut, std::string::npos) << text;
  std::string damaged = text;
  damaged.replace(cut, 10, "</folder>");
  temp_.Write(book, damaged);
  const auto before = Snapshot(temp_.dir());
  ProgramResult check = Zds({"check"});
  EXPECT_EQ(check.exit_code, 1);
  const int line = static_cast<int>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(cut), '\n')) + 1;
  EXPECT_NE(check.out.find("Friends/index.xml:" + std::to_string(line) + ": </folder> where </contact> was due\n"),
            std::string::npos)
      << check.out;
  EXPECT_NE(check.out.find(" 1 unusable\n"), std::string::npos) << check.out;
  ProgramResult show = Zds({"contact", "show", contact_});
  EXPECT_TRUE(test::RefusedWithOneLine(show, 1));
  EXPECT_NE(show.err.find("Friends/index.xml:" + std::to_string(line) + ": "), std::string::npos) << show.err;
  EXPECT_TRUE(Snapshot(temp_.dir()) == before);
  // Start-up does not open the books; init names the damaged one all the same.
  ProgramResult init = Zds({"init"});
  EXPECT_EQ(init.exit_code, 1);
  EXPECT_NE(init.err.find("Friends/index.xml:" + std::to_string(line) + ": "), std::string::npos) << init.err;
  EXPECT_EQ(temp_.Read(book), damaged);
}

// A journal that does not apply to its document is named, and left as it is.
TEST_F(ConventionsTest, CheckNamesAJournalThatDoesNotApply) {
  const std::string journal = "addressbook/Friends/index.xml-journal";
  temp_.Write(journal, "zds-journal 1 12 00000000\n");
  const auto before = Snapshot(temp_.dir());
  ProgramResult check = Zds({"check"});
  EXPECT_EQ(check.exit_code, 1);
  EXPECT_NE(check.out.find("index.xml-journal: the journal belongs to another version"), std::string::npos)
      << check.out;
  EXPECT_TRUE(Snapshot(temp_.dir()) == before);
}

// Each command's bad calls: one line, the exit status, and no file changed.
TEST_F(ConventionsTest, BadCallsGetOneLineAndChangeNoFile) {
  const std::string missing_pos = "kov:/Velmora/0008/0001/0099";
  const std::pair<Args, int> calls[] = {
      {{"ls"}, 2},
      {{"ls", "kov:/Velmora/Nowhere"}, 1},
      {{"ls", "kov:/Velmora", "--all"}, 2},
      {{"show", "kov:/Velmora/0099"}, 1},
      {{"show", "../../etc/passwd"}, 1},
      {{"show", "kov:\\..\\..\\etc"}, 1},
      {{"check", "x"}, 2},
      {{"events", "--bogus"}, 2},
      {{"monitor", "x"}, 2},
      {{"timer", "add", "--subject", "x", "--at"}, 2},
      {{"note", "add", "--subject", "x", "--remind", "soon"}, 2},
      {{"note", "add", "--subject", "x", "--position", "1,2"}, 2},
      {{"note", "add", "--subject", "x", "--action", "beep"}, 2},
      {{"note", "set", "kov:/Notepad/9999", "--subject", "y"}, 1},
      {{"note", "rm", "kov:/Notepad/9999"}, 1},
      {{"feed", "items", "kov:/Velmora/0099"}, 1},
      {{"feed", "read", "kov:/Velmora/0099/0001/0001"}, 1},
      {{"feed", "remind", "kov:/Velmora/0099/0001/0001"}, 2},
      {{"feed", "remind", "kov:/Velmora/0099/0001/0001", "soon"}, 2},
      {{"feed", "export-opml", "x"}, 2},
      {{"timer", "add", "--subject", "x", "--at", "2026-02-30"}, 2},
      {{"timer", "add", "--subject", "x", "--at", "soon"}, 2},
      {{"timer", "add", "--subject", "x", "--at", "now", "--cycle", "day", "", ""}, 2},
      {{"timer", "add", "--subject", "x", "--at", "now", "--state", "asleep"}, 2},
      {{"timer", "rm", "kov:/Timer%20Index/0001/0099"}, 1},
      {{"timers", "due", "2026-01-01"}, 2},
      {{"timers", "due", "2026-01-02", "2026-01-01"}, 2},
      {{"schedule", "add", "--subject", "x", "--begin", "2026-01-01 10:00", "--end", "2026-01-01 9:00"}, 2},
      {{"schedule", "rm", missing_pos}, 1},
      {{"schedule", "show", missing_pos}, 1},
      {{"agenda", "yesterday"}, 2},
      {{"book", "add", "Friends"}, 1},
      {{"book", "add"}, 2},
      {{"contact", "add", "--name"}, 2},
      {{"contact", "add", "--name", "x", "--book", "Nowhere"}, 1},
      {{"contact", "show", missing_pos}, 1},
      {{"contact", "rm", missing_pos}, 1},
      {{"contact", "find", "nobody@example.org"}, 1},
      {{"contact", "import", (temp_.top() / "none.vcf").string()}, 1},
      {{"cycle", "describe", "foo", "bar", "baz"}, 2},
      {{"cycle", "range", "1", "day;bogus=1", "sequence", "notstop"}, 2},
      {{"fav", "add", "http://x/"}, 2},
      {{"fav", "add", "http://x/", "--title", "x", "--folder", "Nowhere"}, 1},
      {{"fav", "mkdir", "Work"}, 1},
      {{"fav", "mkdir", "/"}, 2},
      {{"fav", "ls", "Nowhere"}, 1},
      {{"fav", "rm", "kov:/Velmora/0007/0099"}, 1},
      {{"fav", "rm", "kov:/Velmora/0007/0000"}, 1},
      {{"fav", "import", (temp_.top() / "none.html").string()}, 1},
      {{"completion", "tcsh"}, 2},
      {{"account", "add", "Work", "--kind", "imap"}, 2},
      {{"account", "add", "../Work", "--kind", "popmail"}, 2},
      {{"account", "add", "HOME", "--kind", "popmail"}, 1},
      {{"mail", "ls", "Nobody", "Inbox"}, 1},
      {{"mail", "ls", "Home", "Nowhere"}, 1},
      {{"mail", "find", "Home"}, 2},
      {{"mail", "find", "Home", "--uidl", "u", "--message-id", "<1@x>"}, 2},
      {{"mail", "find", "Home", "--message-id", "<9@x>"}, 1},
      {{"mail", "import", "Home", "Inbox", (temp_.top() / "none.mbox").string()}, 1},
      {{"mail", "import", "Home", "Nowhere", (temp_.top() / "one.mbox").string()}, 1},
      {{"mail", "read", "Home", "Inbox", "0099"}, 1},
      {{"mail", "read", "Home", "Outbox", "0001"}, 1},
      {{"chat", "log", "--provider", "x", "--channel", "y", "--type", "secret", "--start", "now", "--end", "now"}, 2},
      {{"chat", "log", "--provider", "x", "--channel", "y", "--type", "opened", "--start", "tomorrow", "--end", "today"},
       2},
      {{"chat", "ls", "a", "b"}, 2},
      {{"history", "archive", "Nobody"}, 1},
      {{"history", "mail", "Home", "Nowhere"}, 1},
      {{"history", "mail", "kov:/Velmora/0099/0001", "Inbox"}, 1},
  };
  const auto before = Snapshot(temp_.dir());
  for (const auto& [args, exit_code] : calls) {
    std::string shown;
    for (const std::string& word : args) shown += " " + word;
    EXPECT_TRUE(test::RefusedWithOneLine(Zds(args), exit_code)) << shown;
  }
  EXPECT_TRUE(Snapshot(temp_.dir()) == before);
  // A missing store and a root that is a file: reads say so and make nothing.
  const path file = temp_.top() / "file";
  test::WriteNative(file, "x");
  for (const path& root : {temp_.top() / "missing", file}) {
    for (const Args& args : {Args{"events"}, Args{"monitor"}, Args{"autorun"}, Args{"agenda", "today"},
                             Args{"contact", "ls"}, Args{"timer", "ls"}, Args{"check"}}) {
      ProgramResult result = test::RunZds(root, args);
      EXPECT_TRUE(test::RefusedWithOneLine(result, 1)) << args[0];
      if (root != file) {
        EXPECT_NE(result.err.find("(run 'zds init')"), std::string::npos) << result.err;
      }
    }
  }
  EXPECT_FALSE(test::fs::exists(temp_.top() / "missing"));
  EXPECT_TRUE(test::RefusedWithOneLine(test::RunZds(file, {"init"}), 1));
  EXPECT_EQ(test::ReadNative(file), "x");
}

// The completion script loads in bash and completes from the table.
TEST(CompletionTest, BashCompletesCommandsSubCommandsAndOptions) {
#ifdef _WIN32
  GTEST_SKIP() << "no bash";
#else
  if (test::RunProgram("bash", {"-c", "true"}).exit_code != 0) GTEST_SKIP() << "bash is not installed";
  TempRoot temp;
  const path script = temp.top() / "zds.bash";
  ProgramResult printed = test::RunZds({"completion", "bash"});
  ASSERT_EQ(printed.exit_code, 0) << printed.err;
  test::WriteNative(script, printed.out);
  // The words typed so far, the cursor in the last: what COMPREPLY becomes.
  auto complete = [&script](const std::string& words) {
    const std::string run = "source '" + script.string() + "'; COMP_WORDS=(" + words +
                            "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _zds; printf '%s\\n' \"${COMPREPLY[@]}\" | sort";
    return test::RunProgram("bash", {"-c", run}).out;
  };
  EXPECT_EQ(complete("zds ti"), "timer\ntimers\n");
  EXPECT_EQ(complete("zds --root /tmp con"), "contact\n");
  EXPECT_EQ(complete("zds timer ''"), "add\nls\nrm\n");
  EXPECT_EQ(complete("zds timer add --su"), "--subject\n");
  EXPECT_EQ(complete("zds contact show --a"), "--all\n");
  for (const cli::Command& command : Commands().Commands()) {
    EXPECT_NE(complete("zds " + std::string(command.noun.substr(0, 2))).find(std::string(command.noun) + "\n"),
              std::string::npos)
        << command.Name();
  }
#endif
}

}  // namespace
}  // namespace zds
