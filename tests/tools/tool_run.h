/// @file
/// The command-line tool, run as a user runs it.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/temporary_folder.h"

/// What a run left behind.
struct ToolResult {
  int status; ///< Exit status; -1 when a signal ended it, 127 when the program is not installed.
  std::string out;
  std::string err;
};

/// `zsimage` as a word of the shell.
inline const std::string kTool = ZSIMAGE_EMULATOR " '" ZSIMAGE_PATH "' ";

/// Runs a command of the shell and waits for it.
ToolResult RunShell(const std::string& command);

/// Runs `zsimage` in a folder, with arguments as the shell takes them.
ToolResult RunTool(const TemporaryFolder& folder, const std::string& arguments);

/// Runs it on a terminal, sends Ctrl-C once the terminal shows `marker`, and waits. `out` is all that was shown.
ToolResult InterruptTool(const TemporaryFolder& folder, const std::string& arguments, const std::string& marker,
                         unsigned columns = 80);

/// Tests of `zsimage` in a folder of their own.
class ToolTest : public testing::Test {
protected:
  /// Runs it, expects success, and gives what it printed.
  std::string Run(const std::string& arguments) const {
    const ToolResult result = RunTool(folder, arguments);
    EXPECT_EQ(0, result.status) << arguments << '\n' << result.err;
    return result.out;
  }

  const TemporaryFolder folder;
};
