#include "cli/command_line.h"

#include <cstdio>

#include "cli/generated_texts.h"
#include "commands/record_json.h"
#include "output/failure.h"
#include "output/terminal_text.h"

namespace {

/// Runs a command, and makes every failure a message and an exit status.
template <class Options> int RunCommand(int (*command)(const Options&), const Options& options) {
  bool json = false;
  if constexpr (requires { options.json; }) {
    json = options.json;
  }
  std::string image;
  if constexpr (requires { options.path; }) {
    image = options.path;
  }
  try {
    return command(options);
  } catch (...) {
    return ReportOne(CurrentFailure(image), image, json, false);
  }
}

/// One line below a heading of a footer.
struct FooterLine {
  std::string_view item;
  std::string_view words;
};

/// Words in a column of their own, or below their items when the items are long.
std::string FooterPart(std::string_view heading, std::initializer_list<FooterLine> lines) {
  std::size_t width = 0;
  for (const FooterLine& line : lines) {
    width = std::max(width, line.item.size());
  }
  std::string part(heading);
  part += ":\n";
  for (const FooterLine& line : lines) {
    const std::string space = width < 24 ? std::string(width - line.item.size() + 2, ' ') : "\n      ";
    part.append("  ").append(line.item).append(space).append(line.words).append("\n");
  }
  return part;
}

std::string Examples(std::initializer_list<FooterLine> lines) {
  std::string part = FooterPart("Examples", lines);
  part.pop_back(); // The help adds a line end.
  return part;
}

/// Help as this tool words it: what a value is, whether it must be given and what it is otherwise.
class HelpFormatter : public CLI::Formatter {
public:
  HelpFormatter() {
    column_width(26);
    label("Positionals", "Arguments");
    label("SUBCOMMAND", "COMMAND");
  }

  std::string make_description(const CLI::App* app) const override { return app->get_description() + "\n\n"; }

  std::string make_option_name(const CLI::Option* option, bool isArgument) const override {
    std::string name = Formatter::make_option_name(option, isArgument);
    const std::size_t comma = name.find(',');
    return comma == std::string::npos ? name : name.insert(comma + 1, " ");
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    const bool hasValue = option->nonpositional() && TakesValue(*option);
    return (hasValue ? " " + option->get_type_name() : "") + (option->get_expected_max() > 1 ? " ..." : "");
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    const std::string standard = option->get_default_str();
    return option->get_description() + (option->get_required() && option->nonpositional() ? " (required)" : "") +
           (standard.empty() ? "" : " (otherwise " + standard + ")");
  }
};

std::string UsageMessage(const CLI::App* app, const CLI::Error& error) {
  const CLI::App* command = app;
  while (!command->get_subcommands().empty()) {
    command = command->get_subcommands().front();
  }
  const std::vector<std::string> unknown = command->remaining();
  const bool wantsCommand = !ShownCommands(*command).empty();
  const std::string words = !wantsCommand     ? error.what()
                            : unknown.empty() ? "which command?"
                                              : "there is no command '" + unknown.front() + "'";
  return "zsimage: " + TerminalText(words) + "\nTry '" + FullName(*command) + " --help'.\n";
}

CLI::App& AddCommand(CLI::App* parent, const char* name, const char* words) {
  CLI::App* command = parent->add_subcommand(name, words)->group("Commands");
  command->set_help_flag("-h,--help", "Print this help and end");
  return *command;
}

/// Takes a name of a file or folder, and no empty one, which a script's unset variable gives.
CLI::Option* AddName(CLI::App* command, const char* option, std::string* name, const std::string& words) {
  return command->add_option(option, *name, words)->check([](const std::string& given) {
    return given.empty() ? "the name is empty" : "";
  });
}

void AddForce(CLI::App& command, bool* force) { command.add_flag("-f,--force", *force, "Replace existing files"); }

constexpr const char* kDescription =
    "Shows, checks, converts and takes apart disc images.\n\n"
    "Reads ISO images (.iso), CUE sheets (.cue), Nero images (.nrg), CloneCD\n"
    "descriptions (.ccd), Media Descriptor images (.mds) and native TOC files (.zsi).\n"
    "Where an image consists of two files, give the description.";

std::string Footer() {
  return FooterPart("Exit status", {{"0", "All went well."},
                                    {"1", "A command failed, and a line on standard error says with which file and why;"
                                          "\n       or check found a fault."},
                                    {"2", "The command line was not understood."},
                                    {"130", "Ctrl-C ended the command."}}) +
         "\n" +
         FooterPart("Environment", {{"IMAGEFILE_REGISTRY", "The file that register and unregister change."},
                                    {"NO_COLOR", "When set and not empty, nothing has a colour."},
                                    {"TERM", "When dumb, there are neither colours nor progress."},
                                    {"TMPDIR", "Where convert tries out what it writes, otherwise /tmp."}}) +
         "\n'zsimage COMMAND --help' has the options of a command, and examples.";
}

} // namespace

CommandLine::CommandLine() : m_app(kDescription, "zsimage") {
  m_app.formatter(std::make_shared<HelpFormatter>());
  m_app.set_help_flag("-h,--help", "Print this help and end");
  m_app.set_version_flag("--version", std::string("zsimage ") + ZSIMAGE_VERSION, "Print the version and end");
  m_app.failure_message(UsageMessage);
  m_app.footer(Footer());
  m_app.require_subcommand(1);
  AddInfo();
  AddCheck();
  AddMap();
  AddPosition();
  AddExtract();
  AddConvert();
  CLI::App& group = AddCommand(&m_app, "cdtext", "Decode and encode CD-Text packs");
  group.require_subcommand(1);
  group.footer(Examples({{"zsimage cdtext decode disc.cdt", "What a .cdt file says."},
                         {"zsimage cdtext encode disc.cue -o disc.cdt", "The other way."}}));
  AddDecode(&group);
  AddEncode(&group);
  AddRegister();
  AddGenerate();
}

int CommandLine::Run(int argc, char** argv) {
  try {
    m_app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return m_app.exit(error) == 0 ? 0 : kExitUsage;
  }
  return m_status;
}

void CommandLine::AddInfo() {
  CLI::App& command = AddCommand(&m_app, "info", "Show what an image holds");
  command.add_option("IMAGE", m_info.paths, "Images: .iso, .cue, .nrg, .ccd, .mds or .zsi")->required();
  command.add_flag("--json", m_info.json, "Print the whole record as one JSON object; of several images, one a line");
  command.footer(
      Examples({{"zsimage info disc.cue", "A page for a person."},
                {"zsimage info --json disc.nrg", "The whole record for a program."},
                {"zsimage info --json *.cue | jq .dwDiscID", "One record a line, in the order of the paths."}}));
  command.callback([this] { m_status = RunCommand(RunInfo, m_info); });
}

void CommandLine::AddCheck() {
  CLI::App& command = AddCommand(&m_app, "check", "Find what is wrong with images before they are burned");
  command.add_option("IMAGE", m_check.paths, "Images: .iso, .cue, .nrg, .ccd, .mds or .zsi")->required();
  command.add_flag("--full", m_check.full, "Look at every sector, not at a sample of each track");
  command.add_flag("--json", m_check.json, "Print one JSON object; of several images, one a line");
  command.footer(Examples({{"zsimage check disc.cue", "Tracks, codes, text and a sample of the sectors."},
                           {"zsimage check --full *.cue && echo fit to burn", "All sectors of several images."}}));
  command.callback([this] { m_status = RunCommand(RunCheck, m_check); });
}

void CommandLine::AddMap() {
  CLI::App& command = AddCommand(&m_app, "map", "Draw a picture of the disc");
  command.add_option("IMAGE", m_map.path, "Image")->required();
  AddName(&command, "-o,--output", &m_map.output, "Picture to write: .svg or .html, - for SVG on standard output")
      ->type_name("FILE")
      ->required();
  AddForce(command, &m_map.force);
  command.footer(Examples({{"zsimage map disc.cue -o disc.svg", "A picture for any browser."},
                           {"zsimage map disc.nrg -o disc.html", "The same as a page."}}));
  command.callback([this] { m_status = RunCommand(RunMap, m_map); });
}

void CommandLine::AddPosition() {
  CLI::App& command = AddCommand(&m_app, "position", "Find the byte position of a sector in the data file");
  command.add_flag("--json", m_position.json, "Print one JSON object");
  command.add_option("IMAGE", m_position.path, "Image")->required();
  command.add_option("LBA", m_position.lba, "Number of the sector on the disc")->required();
  command.footer(Examples({{"zsimage position disc.cue 13650", "Where the data of sector 13650 begin."}}));
  command.callback([this] { m_status = RunCommand(RunPosition, m_position); });
}

void CommandLine::AddExtract() {
  CLI::App& command = AddCommand(&m_app, "extract", "Save one track, or all, as files");
  command.add_option("IMAGE", m_extract.path, "Image")->required();
  command.add_option("--session", m_extract.session, "Session, from 1 (otherwise the first, or all with --all)")
      ->type_name("N")
      ->check(CLI::PositiveNumber.description(""));
  auto* track = command.add_option("--track", m_extract.track, "Track in the session, from 1")->type_name("N");
  command.add_option("--block-size", m_extract.blockSize, "Bytes to take of each sector; 0 for all of it")
      ->type_name("BYTES")
      ->capture_default_str();
  auto* output =
      AddName(&command, "-o,--output", &m_extract.output, "File to write the track to, - for standard output")
          ->type_name("FILE");
  auto* all = AddName(&command, "--all", &m_extract.folder, "Save every track, in this folder")->type_name("FOLDER");
  all->excludes(track)->excludes(output);
  command.add_flag("--partial", m_extract.partial, "Save the whole sectors that are there of a track that is cut off");
  AddForce(command, &m_extract.force);
  command.footer(
      Examples({{"zsimage extract disc.mds --track 2 -o track.bin", "Track 2 of the first session."},
                {"zsimage extract disc.ccd --all tracks", "Every track as tracks/session-1-track-01.bin and so on."},
                {"zsimage extract disc.cue --track 1 --block-size 2048 -o files.iso", "The user data alone."},
                {"zsimage extract disc.cue --track 3 -o - | aplay -t raw -f cd", "Listen to a track."}}));
  command.callback([=, this] {
    if (all->empty() && (track->empty() || output->empty())) {
      throw CLI::RequiredError("--track with -o, or --all,");
    }
    m_status = RunCommand(RunExtract, m_extract);
  });
}

void CommandLine::AddConvert() {
  CLI::App& command = AddCommand(&m_app, "convert", "Write the description of an image as a CUE sheet or TOC file");
  command.add_option("IMAGE", m_convert.path, "Image")->required();
  AddName(&command, "OUT", &m_convert.output,
          "Description to write, .cue or .zsi; the CD-Text of a sheet becomes a .CDT file beside it")
      ->required();
  auto* packs = AddName(&command, "--cdtext", &m_convert.packs, "Raw CD-Text packs to put in")->type_name("FILE");
  command.add_flag("--no-cdtext", m_convert.noText, "Leave CD-Text out")->excludes(packs);
  auto* withData =
      command.add_flag("--with-data", m_convert.withData, "Write the data file, too; that of disc.cue is DISC.BIN");
  AddName(&command, "--data-file", &m_convert.dataFile,
          "Existing file of raw sectors to describe, such as a CCD's .img")
      ->type_name("FILE")
      ->excludes(withData);
  AddForce(command, &m_convert.force);
  command.footer(Examples(
      {{"zsimage convert disc.nrg disc.zsi", "A description beside the image."},
       {"zsimage convert disc.mds new/disc.cue --with-data", "A sheet with a data file of its own."},
       {"zsimage convert disc.ccd DISC.cue --data-file disc.img", "A sheet for the sectors that are there."}}));
  command.callback([this] { m_status = RunCommand(RunConvert, m_convert); });
}

void CommandLine::AddDecode(CLI::App* group) {
  CLI::App& command = AddCommand(group, "decode", "Show the text in a file of packs");
  command
      .add_option("FILE", m_decode.packs,
                  "File of packs, such as a .cdt file, or of packs in sub-channel form; - for standard input")
      ->required();
  command.add_option("--tracks", m_decode.tracks, "Number of tracks of the disc (otherwise as the packs say)")
      ->type_name("N")
      ->check(CLI::Range(0, 99).description(""));
  command.add_flag("--json", m_decode.json, "Print one JSON object");
  command.footer(Examples({{"zsimage cdtext decode disc.cdt", "The texts, and what is wrong with the packs."}}));
  command.callback([this] { m_status = RunCommand(RunDecode, m_decode); });
}

void CommandLine::AddEncode(CLI::App* group) {
  CLI::App& command = AddCommand(group, "encode", "Pack the text of an image's first session");
  command.add_option("IMAGE", m_encode.path, "Image")->required();
  AddName(&command, "-o,--output", &m_encode.output, "File to write, - for standard output")
      ->type_name("FILE")
      ->required();
  command.add_flag("--subchannel", m_encode.subChannel, "Spread the packs over groups of 96 bytes");
  AddForce(command, &m_encode.force);
  command.footer(Examples({{"zsimage cdtext encode disc.cue -o disc.cdt", "The texts of a sheet as packs."},
                           {"zsimage cdtext encode disc.cue -o - | xxd -c 18", "The packs, one a line."}}));
  command.callback([this] { m_status = RunCommand(RunEncode, m_encode); });
}

void CommandLine::AddRegister() {
  CLI::App& add = AddCommand(&m_app, "register", "Let other programs of this user find the image library");
  add.footer(Examples({{"zsimage register", "Programs can now make its objects by class."}}));
  add.callback([this] { m_status = RunCommand(RunRegister, RegisterOptions{false}); });
  CLI::App& remove = AddCommand(&m_app, "unregister", "Undo register");
  remove.footer(Examples({{"zsimage unregister", "Programs no longer find it."}}));
  remove.callback([this] { m_status = RunCommand(RunRegister, RegisterOptions{true}); });
}

/// For the build alone, so no help shows it.
void CommandLine::AddGenerate() {
  CLI::App& command = AddCommand(&m_app, "generate", "Print a text that is made of the command line");
  command.group("");
  command.add_option("TEXT", m_generated, "Which")->required()->check(CLI::IsMember({"man", "bash", "zsh"}));
  command.callback([this] {
    const auto make = m_generated == "man" ? ManualPage : m_generated == "bash" ? BashCompletion : ZshCompletion;
    std::printf("%s", make(m_app).c_str());
  });
}
