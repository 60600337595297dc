// Every example of docs/cli.md, run as it stands there: one shell command
// after another in one fresh directory, each one's output (standard error
// included) compared with the lines below it.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

#ifndef _WIN32  // the examples are POSIX shell lines

struct Example {
  int line = 0;  // in the document
  std::string command;
  std::vector<std::string> expected;
  bool open_ended = false;  // a "..." line: the rest of the output is not shown
};

// The "$ " lines of the fenced blocks and what follows each.
std::vector<Example> ReadExamples(const std::string& text) {
  std::vector<Example> examples;
  std::istringstream in(text);
  bool fenced = false;
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (line.starts_with("```")) {
      fenced = !fenced;
      continue;
    }
    if (!fenced) continue;
    if (line.starts_with("$ ")) {
      examples.push_back({number, line.substr(2), {}, false});
    } else if (!examples.empty() && line == "...") {
      examples.back().open_ended = true;
    } else if (!examples.empty()) {
      examples.back().expected.push_back(line);
    }
  }
  return examples;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST(DocsExamplesTest, EveryExampleOfTheCommandsPagePrintsWhatItShows) {
  const std::vector<Example> examples = ReadExamples(test::ReadNative(ZDS_DOCS_DIR "/cli.md"));
  ASSERT_GE(examples.size(), 20u);
  test::TempDir dir;
  const std::string program = ZDS_CLI_PATH;
  const std::string bin = program.substr(0, program.rfind('/'));
  for (const Example& example : examples) {
    SCOPED_TRACE("docs/cli.md:" + std::to_string(example.line) + ": " + example.command);
    const std::string script = "cd '" + dir.path().string() + "' && export ZDS_ROOT=zds-data PATH='" + bin +
                               "':\"$PATH\" && { " + example.command + "\n} 2>&1";
    test::ProgramResult result = test::RunProgram("sh", {"-c", script});
    std::vector<std::string> got = Lines(result.out);
    if (example.open_ended && got.size() > example.expected.size()) got.resize(example.expected.size());
    EXPECT_EQ(got, example.expected) << result.out;
  }
}

#endif

}  // namespace
}  // namespace zds
