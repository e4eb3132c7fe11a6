/// @file
/// zsimage: shows, converts and takes apart disc images. Here stand the options alone.

#include <CLI/CLI.hpp>

#include <clocale>
#include <cstdio>
#include <exception>
#include <new>

#include "commands.h"
#include "failure.h"
#include "record_json.h"

namespace {

int ReportFailure(const Failure& failure, bool json) {
  if (json) {
    PrintJson(FailureToJson(failure.Code()));
  }
  return failure.Report();
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
  } catch (const std::exception& error) {
    return ReportFailure(Failure("", std::string("unexpected: ") + error.what(), E_UNEXPECTED), json);
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

void AddExtract(CLI::App& app, ExtractOptions* options, int* status) {
  CLI::App* command = app.add_subcommand("extract", "Save one track, or all, as files");
  command->add_option("IMAGE", options->path, "Image")->required();
  command->add_option("--session", options->session, "Session, from 1")->capture_default_str();
  auto* track = command->add_option("--track", options->track, "Track in the session, from 1");
  command->add_option("--block-size", options->blockSize, "Bytes to take of each sector; 0: all of the track's own");
  auto* output = command->add_option("-o,--output", options->output, "File to write");
  auto* all = command->add_option("--all", options->folder, "Save every track in this folder");
  all->excludes(track)->excludes(output);
  command->callback([=] {
    if (all->empty() && (track->empty() || output->empty())) {
      throw CLI::RequiredError("--track with -o, or --all,");
    }
    *status = Run(RunExtract, *options);
  });
}

void AddConvert(CLI::App& app, ConvertOptions* options, int* status) {
  CLI::App* command = app.add_subcommand("convert", "Write the description of an image as a CUE sheet or TOC file");
  command->add_option("IMAGE", options->path, "Image")->required();
  command->add_option("OUT", options->output, "Description to write: .cue or .zsi")->required();
  auto* packs = command->add_option("--cdtext", options->packs, "File of raw CD-Text packs to put in");
  command->add_flag("--no-cdtext", options->noText, "Leave CD-Text out")->excludes(packs);
  command->add_flag("--with-data", options->withData, "Write the data file that the description names, too");
  command->callback([=] { *status = Run(RunConvert, *options); });
}

void AddCDText(CLI::App& app, DecodeOptions* decode, EncodeOptions* encode, int* status) {
  CLI::App* group = app.add_subcommand("cdtext", "Decode and encode CD-Text packs")->require_subcommand(1);
  CLI::App* reader = group->add_subcommand("decode", "Show the text in a file of packs");
  reader->add_option("FILE", decode->path, "File of packs of 18 bytes, such as a .cdt file")->required();
  reader->add_option("--tracks", decode->tracks, "Number of tracks of the disc")->required()->check(CLI::Range(0, 99));
  reader->add_flag("--json", decode->json, "Print one JSON object");
  reader->callback([=] { *status = Run(RunDecode, *decode); });
  CLI::App* writer = group->add_subcommand("encode", "Pack the text of an image's first session");
  writer->add_option("IMAGE", encode->path, "Image")->required();
  writer->add_option("-o,--output", encode->output, "File to write")->required();
  writer->add_flag("--subchannel", encode->subChannel, "Spread the packs over groups of 96 bytes");
  writer->callback([=] { *status = Run(RunEncode, *encode); });
}

void AddRegister(CLI::App& app, int* status) {
  app.add_subcommand("register", "Let other programs of this user find the image library")->callback([=] {
    *status = Run(RunRegister, RegisterOptions{false});
  });
  app.add_subcommand("unregister", "Undo register")->callback([=] {
    *status = Run(RunRegister, RegisterOptions{true});
  });
}

int RunTool(int argc, char** argv) {
  CLI::App app("Shows, converts and takes apart disc images.", "zsimage");
  app.require_subcommand(1);
  int status = 0;
  InfoOptions info;
  PositionOptions position;
  ExtractOptions extract;
  ConvertOptions convert;
  DecodeOptions decode;
  EncodeOptions encode;
  AddInfo(app, &info, &status);
  AddPosition(app, &position, &status);
  AddExtract(app, &extract, &status);
  AddConvert(app, &convert, &status);
  AddCDText(app, &decode, &encode, &status);
  AddRegister(app, &status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kExitUsage;
  }
  return status;
}

} // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_CTYPE, "C.UTF-8"); // The terminal is UTF-8; columns are counted in its characters.
  try {
    return RunTool(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zsimage: %s\n", error.what());
    return kExitFailure;
  }
}
