/// @file
/// zsimage: shows, converts and takes apart disc images. Here stand the options alone.

#include <CLI/CLI.hpp>

#include <clocale>
#include <cstdio>
#include <new>

#include "commands.h"
#include "failure.h"
#include "record_json.h"

namespace {

int ReportFailure(const Failure& failure, bool json) {
  std::fprintf(stderr, "zsimage: %s\n", failure.what());
  if (json) {
    PrintJson(FailureToJson(failure.Code()));
  }
  return kExitFailure;
}

/// Runs a command, and makes every failure a message and an exit status.
template <class Options> int Run(int (*command)(const Options&), const Options& options) {
  bool json = false;
  if constexpr (requires { options.json; }) {
    json = options.json;
  }
  try {
    return command(options);
  } catch (const Failure& failure) {
    return ReportFailure(failure, json);
  } catch (const std::bad_alloc&) {
    return ReportFailure(Failure("", CodeWords(E_OUTOFMEMORY), E_OUTOFMEMORY), json);
  }
}

void AddInfo(CLI::App& app, InfoOptions* options, int* status) {
  CLI::App* command = app.add_subcommand("info", "Show what an image holds");
  command->add_option("PATH", options->path, "Image: .iso, .cue, .nrg, .ccd, .mds or .zsi")->required();
  command->add_flag("--json", options->json, "Print the whole record as one JSON object");
  command->callback([=] { *status = Run(RunInfo, *options); });
}

void AddPosition(CLI::App& app, PositionOptions* options, int* status) {
  CLI::App* command = app.add_subcommand("position", "Find the byte position of a sector in the data file");
  command->add_flag("--json", options->json, "Print one JSON object");
  command->add_option("IMAGE", options->path, "Image")->required();
  command->add_option("LBA", options->lba, "Number of the sector")->required();
  command->callback([=] { *status = Run(RunPosition, *options); });
}

} // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_CTYPE, "C.UTF-8"); // The terminal is UTF-8; columns are counted in its characters.
  CLI::App app("Shows, converts and takes apart disc images.", "zsimage");
  app.require_subcommand(1);
  int status = 0;
  InfoOptions info;
  PositionOptions position;
  AddInfo(app, &info, &status);
  AddPosition(app, &position, &status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kExitUsage;
  }
  return status;
}
