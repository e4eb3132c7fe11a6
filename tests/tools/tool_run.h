/// @file
/// The command-line tool, run as a user runs it.
#pragma once

#include "support/test.h"

struct ToolResult {
  int status; ///< -1 if a signal ended it, 127 if the program is not installed.
  std::string out;
  std::string err;
};

/// `zsimage` as a word of the shell.
inline const std::string kTool = ZSIMAGE_EMULATOR " '" ZSIMAGE_PATH "' ";

ToolResult RunShell(const std::string& command);
ToolResult RunShellIn(const TemporaryFolder& folder, const std::string& command);

/// Runs `zsimage` in a folder, with arguments as the shell reads them.
ToolResult RunTool(const TemporaryFolder& folder, const std::string& arguments);

/// Runs `zsimage` on a terminal, sends Ctrl-C once the terminal shows `marker`, and waits. `out` is all that was shown.
ToolResult InterruptTool(const TemporaryFolder& folder, const std::string& arguments, const std::string& marker,
                         unsigned columns = 80);

/// Whether a text contains a part. Use it with EXPECT_PRED2, which prints both.
inline bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// Tests of `zsimage`, each with its own folder.
class ToolTest : public testing::Test {
protected:
  /// Runs `zsimage`, expects success, and returns its output.
  std::string Run(const std::string& arguments) const {
    const ToolResult result = RunTool(folder, arguments);
    EXPECT_EQ(0, result.status) << arguments << '\n' << result.err;
    return result.out;
  }
  /// Expects a part in the output or the messages of `zsimage`.
  void ExpectShown(const std::string& arguments, const std::string& part) const {
    const ToolResult result = RunTool(folder, arguments);
    EXPECT_PRED2(Contains, result.out + result.err, part) << arguments;
  }

  const TemporaryFolder folder;
};
