/// @file
/// The command-line tool, run as a user runs it.
#pragma once

#include <string>
#include <vector>

/// What a run left behind.
struct ToolResult {
  int status; ///< Exit status; -1 when a signal ended it.
  std::string out;
  std::string err;
};

/// Runs a program of the build with arguments and waits for it.
ToolResult RunProgram(const std::string& program, const std::vector<std::string>& arguments);

/// The same for a program of the system, which needs no emulator.
ToolResult RunSystemProgram(const std::string& program, const std::vector<std::string>& arguments);

/// The same for `zsimage`.
ToolResult RunTool(const std::vector<std::string>& arguments);

/// Runs it on a terminal, sends Ctrl-C once the terminal shows `marker`, and waits. `out` is all that was shown.
ToolResult InterruptTool(const std::vector<std::string>& arguments, const std::string& marker);
