#include "cli/generated_texts.h"

#include <cctype>

#include <fmt/format.h>

#include "platform/text.h"

namespace {

/// Escapes the characters that roff would interpret.
std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    const bool startsLine = escaped.empty() || escaped.back() == '\n';
    if (startsLine && (c == '.' || c == '\'')) {
      escaped += "\\&"; // Otherwise the line would be a request.
    }
    escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
  }
  return escaped;
}

std::string Bold(std::string_view text) { return "\\fB" + Escaped(text) + "\\fR"; }
std::string Italic(std::string_view text) { return "\\fI" + Escaped(text) + "\\fR"; }

/// Returns a paragraph of a term, which is roff text, and its explanation, which is plain text.
std::string Definition(std::string_view term, std::string_view words) {
  return fmt::format(".TP\n{}\n{}\n", term, Escaped(words));
}

std::string ArgumentNames(const Command& command) {
  std::string names;
  for (const CLI::Option* argument : command.Arguments()) {
    names += " " + Italic(argument->get_name(true)) + (argument->get_expected_max() > 1 ? " ..." : "");
  }
  return names;
}

std::string OptionNames(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : NamesOf(option)) {
    names += (names.empty() ? "" : ", ") + Bold(name);
  }
  return names + (HasValue(option) ? " " + Italic(option.get_type_name()) : "");
}

std::string Options(const Command& command) {
  std::string text;
  for (const CLI::Option* argument : command.Arguments()) {
    text += Definition(Italic(argument->get_name(true)), Describe(*argument) + ".");
  }
  for (const CLI::Option* option : command.Options()) {
    if (option != command.get_help_ptr() || command.get_parent() == nullptr) { // --help is described once.
      text += Definition(OptionNames(*option), Describe(*option) + ".");
    }
  }
  return text;
}

std::string Entries(const Command::Section& section) {
  std::string text;
  for (const Command::Entry& entry : section.entries) {
    text += Definition(Bold(entry.name), entry.words);
  }
  return text;
}

/// Describes all commands that have no subcommands.
std::string Commands(const Command& parent) {
  std::string text;
  for (const Command* command : parent.Commands()) {
    if (command->Commands().empty()) {
      text += fmt::format(".SS {}\n{}.\n.PP\n{} [{}]{}\n{}", Escaped(command->FullName()),
                          Escaped(command->get_description()), Bold(command->FullName()), Italic("options"),
                          ArgumentNames(*command), Options(*command));
      for (const Command::Section& section : command->Sections()) {
        text += fmt::format(".PP\n{}\n{}", Italic(section.heading), Entries(section));
      }
    }
    text += Commands(*command);
  }
  return text;
}

} // namespace

std::string ManualPage(const Command& tool) {
  const std::string& name = tool.get_name();
  const std::string words = tool.get_description();
  const std::size_t end = words.find(".\n\n"); // End of the first sentence.
  std::string summary = words.substr(0, end);
  summary[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(summary[0])));
  std::string page = fmt::format(
      ".\\\" Rendered from the tree of commands.\n"
      ".TH {} 1 " ZSIMAGE_VERSION_DATE " \"ImageFile " ZSIMAGE_VERSION "\" \"User Commands\"\n"
      ".SH NAME\n{} \\- {}\n.SH SYNOPSIS\n{} {} [{}] {}\n.SH DESCRIPTION\n{}\n.SH OPTIONS\n{}.SH COMMANDS\n{}",
      platform::Upper(name), name, Escaped(summary), Bold(name), Italic("command"), Italic("options"),
      Italic("arguments"), Escaped(std::string_view(words).substr(end + 3)), Options(tool), Commands(tool));
  for (const Command::Section& section : tool.Sections()) {
    page += fmt::format(".SH {}\n{}", platform::Upper(section.heading), Entries(section));
  }
  return page;
}
