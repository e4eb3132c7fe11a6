#include "cli/command.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "output/failure.h"
#include "output/report.h"
#include "output/terminal_text.h"

namespace {

constexpr std::size_t kColumn = 26;      ///< Column of the descriptions in the help.
constexpr std::size_t kLongExample = 24; ///< Longer names have their description in the next line.

const Command& AsCommand(const CLI::App& app) { return static_cast<const Command&>(app); } // All are Commands.

std::string SectionText(const Command::Section& section) {
  std::size_t width = 0;
  for (const Command::Entry& entry : section.entries) {
    width = std::max(width, entry.name.size());
  }
  std::string text = section.heading + ":\n";
  for (const Command::Entry& entry : section.entries) {
    text += width < kLongExample ? fmt::format("  {:{}}  {}\n", entry.name, width, entry.words)
                                 : fmt::format("  {}\n      {}\n", entry.name, entry.words);
  }
  return text;
}

/// The help of CLI11, with the sections of a command before the footer.
class HelpFormatter : public CLI::Formatter {
public:
  HelpFormatter() {
    column_width(kColumn);
    label("Positionals", "Arguments");
    label("SUBCOMMAND", "COMMAND");
  }

  std::string make_description(const CLI::App* app) const override { return app->get_description() + "\n\n"; }

  std::string make_option_name(const CLI::Option* option, bool isArgument) const override {
    return isArgument ? option->get_name(true) : fmt::format("{}", fmt::join(NamesOf(*option), ", "));
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    return (option->nonpositional() && HasValue(*option) ? " " + option->get_type_name() : "") +
           (option->get_expected_max() > 1 ? " ..." : "");
  }

  std::string make_option_desc(const CLI::Option* option) const override { return Describe(*option); }

  std::string make_footer(const CLI::App* app) const override {
    std::string footer;
    for (const Command::Section& section : AsCommand(*app).Sections()) {
      footer += (footer.empty() ? "" : "\n") + SectionText(section);
    }
    return footer + (app->get_footer().empty() ? "" : fmt::format("\n{}\n", app->get_footer()));
  }
};

std::string UsageMessage(const CLI::App* app, const CLI::Error& error) {
  const CLI::App* command = app;
  while (!command->get_subcommands().empty()) {
    command = command->get_subcommands().front();
  }
  const std::vector<std::string> unknown = command->remaining();
  const bool needsCommand = !AsCommand(*command).Commands().empty();
  const std::string words = !needsCommand     ? error.what()
                            : unknown.empty() ? "a command is missing"
                                              : fmt::format("there is no command '{}'", unknown.front());
  return fmt::format("zsimage: {}\nTry '{} --help'.\n", TerminalText(words), AsCommand(*command).FullName());
}

} // namespace

Command::Command(const std::string& name, const std::string& words) : CLI::App(words, name) {
  formatter(std::make_shared<HelpFormatter>());
  failure_message(UsageMessage);
  set_help_flag("-h,--help", "Print this help and exit");
  group("Commands");
}

Command& Command::Add(const std::string& name, const std::string& words) {
  const auto command = std::make_shared<Command>(name, words);
  add_subcommand(command);
  return *command;
}

void Command::AddImage(std::string* path, const std::string& name, const std::string& words) {
  add_option(name, *path, words)->required();
  m_image = path;
}

void Command::AddImages(std::vector<std::string>* paths) {
  add_option("IMAGE", *paths, "Images: .iso, .cue, .nrg, .ccd, .mds or .zsi")->required();
}

CLI::Option* Command::AddName(const std::string& option, std::string* name, const std::string& words) {
  return add_option(option, *name, words)->check([](const std::string& value) {
    return value.empty() ? "the name is empty" : "";
  });
}

void Command::AddJson(bool* json, const std::string& words) {
  add_flag("--json", *json, words);
  m_json = json;
}

void Command::OnRun(const std::function<int()>& run) {
  callback([this, run] {
    const int status = RunReported(m_image == nullptr ? "" : *m_image, m_json != nullptr && *m_json, run);
    if (status != 0) {
      throw CLI::RuntimeError(status);
    }
  });
}

std::vector<const Command*> Command::Commands() const {
  std::vector<const Command*> commands;
  for (const CLI::App* app : get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); })) {
    commands.push_back(&AsCommand(*app));
  }
  return commands;
}

std::string Command::FullName() const {
  return (get_parent() == nullptr ? "" : AsCommand(*get_parent()).FullName() + " ") + get_name();
}

std::vector<std::string> NamesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) {
    names.push_back("-" + name);
  }
  for (const std::string& name : option.get_lnames()) {
    names.push_back("--" + name);
  }
  return names;
}

std::string Describe(const CLI::Option& option) {
  const std::string value = option.get_default_str();
  return option.get_description() + (option.get_required() && option.nonpositional() ? " (required)" : "") +
         (value.empty() ? "" : fmt::format(" (default: {})", value));
}

int RunCommandLine(Command* tool, int argc, char** argv) {
  try {
    tool->parse(argc, argv);
  } catch (const CLI::RuntimeError& error) { // Has the exit status of a command.
    return error.get_exit_code();
  } catch (const CLI::ParseError& error) { // The exit status is 0 for --help and --version.
    return tool->exit(error) == 0 ? 0 : kExitUsage;
  }
  return 0;
}
