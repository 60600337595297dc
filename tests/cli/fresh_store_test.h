// The fixture of the command tests: a store made by `zds init` in a
// directory of its own, and the calls a test makes on it.

#ifndef ZDS_TESTS_CLI_FRESH_STORE_TEST_H_
#define ZDS_TESTS_CLI_FRESH_STORE_TEST_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/program.h"
#include "support/temp_root.h"

namespace zds::test {

class FreshStoreTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(Zds({"init"}).exit_code, 0); }
  ProgramResult Zds(const std::vector<std::string>& args) const { return RunZds(temp_.dir(), args); }
  // Standard output of a call that must succeed.
  std::string Out(const std::vector<std::string>& args) const {
    ProgramResult result = Zds(args);
    EXPECT_EQ(result.exit_code, 0) << args[0] << (args.size() > 1 ? " " + args[1] : "") << ": " << result.err;
    return result.out;
  }
  // A file beside the data root, by its native name.
  std::string File(const std::string& name, const std::string& text) const {
    WriteNative(temp_.top() / name, text);
    return (temp_.top() / name).string();
  }

  TempRoot temp_;
};

}  // namespace zds::test

#endif  // ZDS_TESTS_CLI_FRESH_STORE_TEST_H_
