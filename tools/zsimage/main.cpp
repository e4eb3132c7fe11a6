/// @file
/// zsimage: shows, checks and converts disc images, and extracts their tracks.

#include <csignal>
#include <cstdio>
#include <exception>

#include "commands/commands.h"
#include "output/failure.h"
#include "output/standard_output.h"
#include "platform/message_box.h"

namespace {

constexpr const char* kDescription =
    "Shows, checks and converts disc images, and extracts their tracks.\n\n"
    "Reads ISO images (.iso), CUE sheets (.cue), Nero images (.nrg), CloneCD\n"
    "descriptions (.ccd), Media Descriptor images (.mds) and native TOC files (.zsi).\n"
    "If an image consists of two files, give the description.";

/// Drops the messages of the component. The tool prints its own.
class NoMessages final : public MessageHandler {
  void Show(std::string_view /*text*/, std::string_view /*caption*/, UINT /*type*/) noexcept override {}
};
NoMessages g_noMessages;

void AddCommands(Command* tool) {
  tool->require_subcommand(1);
  tool->set_version_flag("--version", std::string("zsimage ") + ZSIMAGE_VERSION, "Print the version and exit");
  tool->AddSection("Exit status", {{"0", "Success."},
                                   {"1", "A command failed, as standard error explains, or check found a fault."},
                                   {"2", "The command line was not understood."},
                                   {"130", "Ctrl-C ended the command."}});
  tool->AddSection("Environment", {{"IMAGEFILE_REGISTRY", "The file that register and unregister change."},
                                   {"NO_COLOR", "If set and not empty, nothing has a colour."},
                                   {"TERM", "If dumb, there are neither colours nor progress."},
                                   {"TMPDIR", "Folder of temporary files; /tmp by default."}});
  tool->footer("'zsimage COMMAND --help' shows the options of a command, and examples.");
  AddInfo(tool);
  AddCheck(tool);
  AddMap(tool);
  AddPosition(tool);
  AddExtract(tool);
  AddConvert(tool);
  AddJoin(tool);
  AddCdText(tool);
  AddRegister(tool);
  AddUnregister(tool);
  AddGenerate(tool);
}

} // namespace

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN); // A write beyond the limit of file sizes then fails, and hidden files are removed.
  SetMessageHandler(&g_noMessages);
  try {
    Command tool("zsimage", kDescription);
    AddCommands(&tool);
    const int status = RunCommandLine(&tool, argc, argv);
    if (status == 0) {
      FlushStandardOutput();
    }
    return status;
  } catch (const imagefile::Error& failure) {
    return Report(failure);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zsimage: %s\n", error.what());
    return kExitFailure;
  }
}
