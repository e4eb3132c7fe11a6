#include <cctype>
#include <sstream>

#include "cli/generated_texts.h"

namespace {

/// Text as roff shows it unchanged.
std::string Plain(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    const bool startsLine = escaped.empty() || escaped.back() == '\n';
    if (startsLine && (c == '.' || c == '\'')) {
      escaped += "\\&"; // Else the line would be a request.
    }
    escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
  }
  return escaped;
}

std::string Bold(std::string_view text) { return "\\fB" + Plain(text) + "\\fR"; }
std::string Italic(std::string_view text) { return "\\fI" + Plain(text) + "\\fR"; }

/// A definition: what is explained, already as roff, and its explanation.
std::string Item(const std::string& tag, std::string_view words) { return ".TP\n" + tag + "\n" + Plain(words) + "\n"; }

std::string Upper(std::string text) {
  for (char& c : text) {
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return text;
}

std::string ArgumentNames(const CLI::App& app) {
  std::string names;
  for (const CLI::Option* argument : ShownArguments(app)) {
    names += " " + Italic(argument->get_name(true)) + (argument->get_expected_max() > 1 ? " ..." : "");
  }
  return names;
}

std::string OptionNames(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_snames()) {
    names += (names.empty() ? "" : ", ") + Bold("-" + name);
  }
  for (const std::string& name : option.get_lnames()) {
    names += (names.empty() ? "" : ", ") + Bold("--" + name);
  }
  return names + (TakesValue(option) ? " " + Italic(option.get_type_name()) : "");
}

std::string Options(const CLI::App& app) {
  std::string text;
  for (const CLI::Option* argument : ShownArguments(app)) {
    text += Item(Italic(argument->get_name(true)), argument->get_description() + ".");
  }
  for (const CLI::Option* option : ShownOptions(app)) {
    if (option == app.get_help_ptr() && app.get_parent() != nullptr) {
      continue; // Every command has it.
    }
    const std::string standard = option->get_default_str();
    text += Item(OptionNames(*option), option->get_description() + (option->get_required() ? " (required)" : "") +
                                           (standard.empty() ? "" : " (otherwise " + standard + ")") + ".");
  }
  return text;
}

/// A footer: of the tool, as sections of the page; of a command, below its options. Lines that belong to no heading
/// are for the help alone.
std::string Footer(const CLI::App& app) {
  std::istringstream lines(app.get_footer());
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t parting = line.find("  ", 2);
    if (line.ends_with(":")) {
      const std::string heading = line.substr(0, line.size() - 1);
      text += (app.get_parent() == nullptr ? ".SH " + Upper(heading) : ".PP\n" + Italic(heading)) + "\n";
    } else if (line.starts_with("   ")) {
      text += Plain(std::string_view(line).substr(line.find_first_not_of(' '))) + "\n";
    } else if (line.starts_with("  ")) {
      const std::size_t words = parting == std::string::npos ? parting : line.find_first_not_of(' ', parting);
      text += ".TP\n" + Bold(std::string_view(line).substr(2, parting - 2)) + "\n";
      text += words == std::string::npos ? "" : Plain(std::string_view(line).substr(words)) + "\n";
    }
  }
  return text;
}

std::string Commands(const CLI::App& app) {
  std::string text;
  for (const CLI::App* command : ShownCommands(app)) {
    if (ShownCommands(*command).empty()) {
      text += ".SS " + Plain(FullName(*command)) + "\n" + Plain(command->get_description()) + ".\n.PP\n" +
              Bold(FullName(*command)) + " [" + Italic("options") + "]" + ArgumentNames(*command) + "\n" +
              Options(*command) + Footer(*command);
    }
    text += Commands(*command);
  }
  return text;
}

} // namespace

std::vector<const CLI::App*> ShownCommands(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
}

std::vector<const CLI::Option*> ShownOptions(const CLI::App& app) {
  return app.get_options([](const CLI::Option* option) { return option->nonpositional(); });
}

std::vector<const CLI::Option*> ShownArguments(const CLI::App& app) {
  return app.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

std::string FullName(const CLI::App& app) {
  return (app.get_parent() == nullptr ? "" : FullName(*app.get_parent()) + " ") + app.get_name();
}

std::string ManualPage(const CLI::App& app) {
  const std::string& name = app.get_name();
  const std::string words = app.get_description();
  const std::size_t firstEnd = words.find(".\n\n");
  std::string summary = words.substr(0, firstEnd);
  summary[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(summary[0])));
  std::string page = ".\\\" Made of the command line's own description.\n";
  page += ".TH " + Upper(name) + " 1 " ZSIMAGE_VERSION_DATE " \"ImageFile " ZSIMAGE_VERSION "\" \"User Commands\"\n";
  page += ".SH NAME\n" + name + " \\- " + Plain(summary) + "\n";
  page += ".SH SYNOPSIS\n" + Bold(name) + " " + Italic("command") + " [" + Italic("options") + "] " +
          Italic("arguments") + "\n";
  page += ".SH DESCRIPTION\n" + Plain(std::string_view(words).substr(firstEnd + 3)) + "\n";
  page += ".SH OPTIONS\n" + Options(app);
  page += ".SH COMMANDS\n" + Commands(app);
  return page + Footer(app);
}
