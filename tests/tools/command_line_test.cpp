#include <gtest/gtest.h>

#include <sstream>

#include "support/environment_variable.h"
#include "support/temporary_folder.h"
#include "tools/tool_run.h"

namespace {

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// Names of the commands that a help lists.
std::vector<std::string> CommandsIn(const std::string& help) {
  std::istringstream lines(help.substr(std::min(help.find("Commands:\n"), help.size())));
  std::vector<std::string> names;
  std::string line;
  for (std::getline(lines, line); std::getline(lines, line) && line.starts_with("  ");) {
    names.push_back(line.substr(2, line.find(' ', 2) - 2));
  }
  return names;
}

TEST(CommandLine, ExplainsEveryCommandWithExamplesAndInTheManual) {
  const std::string manual = RunTool({"generate", "man"}).out;
  const std::vector<std::string> commands = CommandsIn(RunTool({"--help"}).out);
  EXPECT_LE(7U, commands.size());
  for (const std::string& name : commands) {
    const std::string help = RunTool({name, "--help"}).out;
    EXPECT_TRUE(Contains(help, "Examples:\n  zsimage " + name) || CommandsIn(help).size() == 2) << help;
    EXPECT_TRUE(Contains(manual, ".SS zsimage " + name)) << name;
  }
  EXPECT_TRUE(Contains(manual, "\n.SH EXIT STATUS\n")) << manual;
  EXPECT_TRUE(Contains(RunTool({"--version"}).out, "zsimage "));
}

struct CompletionCase {
  const char* words; ///< Of the line, for the shell.
  const char* found;
};

TEST(CommandLine, CompletesInBash) {
  const TemporaryFolder folder;
  folder.Write("complete", RunTool({"generate", "bash"}).out);
  folder.Write("files/my disc.CUE", "");
  folder.Write("files/a.iso", "");
  folder.Write("files/notes.txt", "");
  folder.Write("files/new/x", "");
  const CompletionCase cases[] = {
      {"zsimage ex", "extract\n"},
      {"zsimage info ''", "a.iso\nmy disc.CUE\nnew\n"},
      {"zsimage info a.iso my", "my disc.CUE\n"},
      {"zsimage info --j", "--json\n"},
      {"zsimage extract a.iso --all ''", "new\n"},
      {"zsimage extract a.iso --track ''", "\n"},
      {"zsimage extract a.iso --output = n", "new\nnotes.txt\n"},
      {"zsimage cdtext dec", "decode\n"},
      {"zsimage cdtext decode n", "new\nnotes.txt\n"},
  };
  for (const CompletionCase& line : cases) {
    const std::string script = "compopt() { :; }; . '" + folder.Path("complete") + "' && cd '" + folder.Path("files") +
                               "' && COMP_WORDS=(" + line.words +
                               ") && COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) && _zsimage; printf '%s\\n' "
                               "\"${COMPREPLY[@]}\" | LC_ALL=C sort";
    EXPECT_EQ(line.found, RunSystemProgram("/bin/bash", {"-c", script}).out) << line.words;
  }
}

TEST(CommandLine, ShowsColoursOnATerminalThatHasThem) {
  const TemporaryFolder folder;
  const std::string image = folder.WriteSparse("disc.iso", 2048);
  const auto isColoured = [&](const char* terminal, const char* noColour) {
    const EnvironmentVariable term("TERM", terminal);
    const EnvironmentVariable no("NO_COLOR", noColour);
    return Contains(InterruptTool({"info", image}, "\x01").out, "\x1b[");
  };
  EXPECT_TRUE(isColoured("xterm", ""));
  EXPECT_FALSE(isColoured("xterm", "1"));
  EXPECT_FALSE(isColoured("dumb", ""));
  EXPECT_FALSE(Contains(RunTool({"info", image}).out, "\x1b["));
}

} // namespace
