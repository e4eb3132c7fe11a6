#include <sstream>

#include "tools/tool_run.h"

namespace {

TEST(CommandLine, EveryCommandHasExamplesAndAManual) {
  const std::string manual = RunShell(kTool + "generate man").out;
  std::istringstream names(RunShell(kTool + "--help | sed -n '/^Commands:/,$ s/^  \\([a-z]*\\) .*/\\1/p'").out);
  int count = 0;
  for (std::string name; names >> name; ++count) {
    const std::string help = RunShell(kTool + name + " --help").out;
    EXPECT_TRUE(Contains(help, "Examples:\n  zsimage " + name) || Contains(help, "\nCommands:\n")) << help;
    EXPECT_PRED2(Contains, manual, ".SS zsimage " + name);
  }
  EXPECT_LE(7, count);
  EXPECT_PRED2(Contains, manual, "\n.SH EXIT STATUS\n");
  EXPECT_PRED2(Contains, RunShell(kTool + "--version").out, "zsimage ");
  EXPECT_PRED2(Contains, RunShell(kTool + "map --help").out, "- for SVG on standard output (required)\n");
  EXPECT_FALSE(Contains(RunShell(kTool + "info --help").out, "(required)"));
}

TEST(CommandLine, UsageErrorsExitWithTwo) {
  for (const char* wrong : {"", "info", "position x.cue many", "extract x.cue", "extract x.cue --all ''", "unknown"}) {
    EXPECT_EQ(2, RunShell(kTool + wrong).status) << wrong;
  }
  EXPECT_PRED2(Contains, RunShell(kTool + "extract x.cue --session 0 --all x").err, "Value 0 not in range 1 to 99\n");
}

TEST(CommandLine, ZshCompletesOptionsAndImages) {
  EXPECT_PRED2(Contains, RunShell(kTool + "generate zsh").out,
               "\n    '(-o --output)'{-o+,--output=}'[Picture to write\\: .svg or .html, - for SVG on standard "
               "output]:FILE:_files' \\\n    '(-f --force)'{-f,--force}'[Replace existing files]' \\\n    "
               "':IMAGE:_files -g \"(#i)*.(iso|cue|nrg|ccd|mds|zsi)\"' \\\n");
}

TEST(CommandLine, BashCompletesCommandsAndFiles) {
  const TemporaryFolder folder;
  folder.Write("complete", RunShell(kTool + "generate bash").out);
  EXPECT_FALSE(Contains(folder.Read("complete"), "'zsimage' | ")) << "it is no command of itself";
  for (const char* name : {"my disc.CUE", "a.iso", "notes.txt", "new/x"}) {
    folder.Write(std::string("files/") + name, "");
  }
  // The words of the command line, as the shell reads them.
  const std::tuple<std::string, const char*> kCases[] = {
      {"zsimage ex", "extract\n"},
      {"zsimage info ''", "a.iso\nmy disc.CUE\nnew\n"},
      {"zsimage info a.iso my", "my disc.CUE\n"},
      {"zsimage info --j", "--json\n"},
      {"zsimage extract a.iso --all ''", "new\n"},
      {"zsimage extract a.iso --track ''", "\n"},
      {"zsimage extract a.iso --format f", "flac\n"},
      {"zsimage extract a.iso --output = n", "new\nnotes.txt\n"},
      {"zsimage cdtext dec", "decode\n"},
      {"zsimage cdtext decode n", "new\nnotes.txt\n"},
  };
  for (const auto& [words, found] : kCases) {
    folder.Write("script", "compopt() { :; }\n. ../complete\nCOMP_WORDS=(" + words +
                               ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_zsimage\n"
                               "printf '%s\\n' \"${COMPREPLY[@]}\" | LC_ALL=C sort");
    EXPECT_EQ(found, RunShellIn(folder, "cd files && bash ../script").out) << words;
  }
}

TEST(CommandLine, OnlyColourTerminalsGetColours) {
  const TemporaryFolder folder;
  folder.WriteSparse("disc.iso", 2048);
  const auto isColoured = [&](const char* terminal, const char* noColour) {
    const EnvironmentVariable term("TERM", terminal);
    const EnvironmentVariable no("NO_COLOR", noColour);
    return Contains(InterruptTool(folder, "info disc.iso", "\x01").out, "\x1b[");
  };
  EXPECT_TRUE(isColoured("xterm", ""));
  EXPECT_FALSE(isColoured("xterm", "1"));
  EXPECT_FALSE(isColoured("dumb", ""));
  EXPECT_FALSE(Contains(RunTool(folder, "info disc.iso").out, "\x1b["));
}

} // namespace
