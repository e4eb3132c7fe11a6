#include "cli/generated_texts.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

namespace {

/// Candidates for an argument or for the value of an option.
struct Value {
  std::string_view name;    ///< Name of the argument or the value.
  std::string_view files{}; ///< Extensions separated by bars, "*" for any file, "/" for folders.
  std::string_view words{};
};
constexpr Value kValues[] = {
    {"IMAGE", "iso|cue|nrg|ccd|mds|zsi"},   {"SHEET", "cue"}, {"OUT", "cue|zsi"}, {"FILE", "*"}, {"FOLDER", "/"},
    {"FORMAT", "", "bin iso wav aiff flac"}};

const Value& ValueOf(const CLI::Option& option) {
  static constexpr Value kOther;
  const std::string name = option.nonpositional() ? option.get_type_name() : option.get_name(true);
  const auto* known = std::ranges::find(kValues, name, &Value::name);
  return known == std::end(kValues) ? kOther : *known;
}

/// Calls `visit` for a command and all its subcommands.
template <class Visit> void Walk(const Command& command, const Visit& visit) {
  visit(command);
  for (const Command* child : command.Commands()) {
    Walk(*child, visit);
  }
}

/// Returns the case branch of one command for bash: its words, and the candidates for its arguments.
std::string BashCommand(const Command& command) {
  std::vector<std::string> words;
  for (const Command* child : command.Commands()) {
    words.push_back(child->get_name());
  }
  for (const CLI::Option* option : command.Options()) {
    words.push_back(NamesOf(*option).back());
  }
  const auto arguments = command.Arguments();
  return fmt::format("    '{}') words='{}' wanted='{}' ;;\n", command.FullName(), fmt::join(words, " "),
                     arguments.empty() ? "" : ValueOf(*arguments.front()).files);
}

/// Returns the case branches of the options that need a value.
std::string BashValues(const Command& command) {
  std::string branches;
  for (const CLI::Option* option : command.Options()) {
    for (const std::string& name : NamesOf(*option)) {
      if (HasValue(*option)) {
        const Value& value = ValueOf(*option);
        branches +=
            fmt::format("    '{} {}') words='{}' wanted='{}' ;;\n", command.FullName(), name, value.words, value.files);
      }
    }
  }
  return branches;
}

/// Finds the command in the words before the cursor, then the candidates for the word at the cursor. Braces are doubled
/// for fmt::format.
constexpr const char kBash[] = R"(# Completion of zsimage for bash, rendered from the tree of commands.
_zsimage() {{
  local cur=${{COMP_WORDS[COMP_CWORD]}} prev=${{COMP_WORDS[COMP_CWORD-1]}} command=zsimage word words wanted
  [[ $cur == '=' ]] && cur=
  [[ $prev == '=' ]] && prev=${{COMP_WORDS[COMP_CWORD-2]}}
  [[ ${{COMP_WORDS[COMP_CWORD]}} == '=' ]] && prev=${{COMP_WORDS[COMP_CWORD-1]}}
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case "$command $word" in
      {}) command+=" $word" ;;
    esac
  done
  case $command in
{}  esac
  case "$command $prev" in
{}  esac
  COMPREPLY=()
  if [[ $cur == -* || ($wanted == '' && $words != '') ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
    return
  fi
  [[ $wanted == '' ]] && return
  compopt -o filenames
  while IFS= read -r word; do
    if [[ -d $word || $wanted == '*' || ($wanted != '/' && ${{word,,}} =~ \.($wanted)$) ]]; then
      COMPREPLY+=("$word")
    fi
  done < <(compgen -f -- "$cur")
}}
complete -F _zsimage zsimage
)";

/// Escapes the characters that would end a single-quoted argument of zsh or a part of it.
std::string ZshText(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '\'' ? "'\\''" : (c == '[' || c == ']' || c == ':') ? std::string("\\") + c : std::string(1, c);
  }
  return escaped;
}

std::string ZshAction(const CLI::Option& option) {
  const auto& [name, files, words] = ValueOf(option);
  if (files.empty()) {
    return words.empty() ? " " : fmt::format("({})", words);
  }
  return files == "*" ? "_files" : files == "/" ? "_files -/" : fmt::format("_files -g \"(#i)*.({})\"", files);
}

std::string ZshOption(const CLI::Option& option) {
  const std::vector<std::string> names = NamesOf(option);
  std::vector<std::string> specs = names;
  for (std::string& name : specs) { // A value follows in the same word or the next one.
    name += !HasValue(option) ? "" : name.starts_with("--") ? "=" : "+";
  }
  const std::string value =
      HasValue(option) ? fmt::format(":{}:{}", ZshText(option.get_type_name()), ZshAction(option)) : "";
  const std::string rest = fmt::format("[{}]{}'", ZshText(option.get_description()), value);
  return names.size() == 1 ? fmt::format("'{}{}", specs[0], rest)
                           : fmt::format("'({})'{{{}}}'{}", fmt::join(names, " "), fmt::join(specs, ","), rest);
}

std::string ZshFunctionName(const Command& command) {
  std::string name = "_" + command.FullName();
  std::ranges::replace(name, ' ', '_');
  return name;
}

std::string ZshFunction(const Command& command) {
  std::string text = fmt::format("{}() {{\n  local line state\n  _arguments -C \\\n", ZshFunctionName(command));
  for (const CLI::Option* option : command.Options()) {
    text += fmt::format("    {} \\\n", ZshOption(*option));
  }
  for (const CLI::Option* argument : command.Arguments()) {
    text += fmt::format("    '{}:{}:{}' \\\n", argument->get_expected_max() > 1 ? "*" : "", argument->get_name(true),
                        ZshAction(*argument));
  }
  if (command.Commands().empty()) {
    return text + "    && return\n}\n";
  }
  std::string words;
  std::string branches;
  for (const Command* child : command.Commands()) {
    words += fmt::format("        '{}:{}'\n", child->get_name(), ZshText(child->get_description()));
    branches += fmt::format("        {}) {} ;;\n", child->get_name(), ZshFunctionName(*child));
  }
  return text + fmt::format(R"(    '1:command:->command' '*::argument:->argument' && return
  case $state in
    command)
      local -a commands=(
{}      )
      _describe command commands ;;
    argument)
      case $line[1] in
{}      esac ;;
  esac
}}
)",
                            words, branches);
}

} // namespace

std::string BashCompletion(const Command& tool) {
  std::vector<std::string> names;
  std::string commands;
  std::string values;
  Walk(tool, [&](const Command& command) {
    if (&command != &tool) {
      names.push_back("'" + command.FullName() + "'");
    }
    commands += BashCommand(command);
    values += BashValues(command);
  });
  return fmt::format(kBash, fmt::join(names, " | \\\n      "), commands, values);
}

std::string ZshCompletion(const Command& tool) {
  std::string text = "#compdef zsimage\n# Completion of zsimage for zsh, rendered from the tree of commands.\n";
  Walk(tool, [&](const Command& command) { text += ZshFunction(command); });
  return text + "_zsimage \"$@\"\n";
}
