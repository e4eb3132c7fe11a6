#include "cli/generated_texts.h"

namespace {

constexpr const char* kImages = "iso|cue|nrg|ccd|mds|zsi";

/// What may stand where an argument or the value of an option is wanted: endings of files with bars between, "*"
/// for any file, "/" for folders, nothing for all else.
std::string Wanted(const CLI::Option& option) {
  const std::string kind = option.nonpositional() ? option.get_type_name() : option.get_name(true);
  if (kind == "IMAGE") {
    return kImages;
  }
  if (kind == "OUT") {
    return "cue|zsi";
  }
  return kind == "FILE" ? "*" : kind == "FOLDER" ? "/" : "";
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

/// Calls `visit` for a command and all below it.
template <class Visit> void Walk(const CLI::App& app, const Visit& visit) {
  visit(app);
  for (const CLI::App* command : ShownCommands(app)) {
    Walk(*command, visit);
  }
}

std::string Joined(const std::vector<std::string>& words, const char* separator) {
  return CLI::detail::join(words, separator);
}

/// The arm of one command in bash's table: its words, and what its arguments are.
std::string BashCommandArm(const CLI::App& app) {
  std::vector<std::string> words;
  for (const CLI::App* command : ShownCommands(app)) {
    words.push_back(command->get_name());
  }
  for (const CLI::Option* option : ShownOptions(app)) {
    words.push_back(NamesOf(*option).back());
  }
  const auto arguments = ShownArguments(app);
  return "    '" + FullName(app) + "') words='" + Joined(words, " ") + "' wanted='" +
         (arguments.empty() ? "" : Wanted(*arguments.front())) + "' ;;\n";
}

std::string BashValueArms(const CLI::App& app) {
  std::string arms;
  for (const CLI::Option* option : ShownOptions(app)) {
    for (const std::string& name : NamesOf(*option)) {
      if (TakesValue(*option)) {
        arms += "    '" + FullName(app) + " " + name + "') words='' wanted='" + Wanted(*option) + "' ;;\n";
      }
    }
  }
  return arms;
}

constexpr const char* kBashStart = R"(# Completion of zsimage for bash, made of the command line's own description.
_zsimage() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command=zsimage word words wanted
  [[ $cur == '=' ]] && cur=
  [[ $prev == '=' ]] && prev=${COMP_WORDS[COMP_CWORD-2]}
  [[ ${COMP_WORDS[COMP_CWORD]} == '=' ]] && prev=${COMP_WORDS[COMP_CWORD-1]}
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case "$command $word" in
)";

constexpr const char* kBashEnd = R"(  esac
  COMPREPLY=()
  if [[ $cur == -* || ($wanted == '' && $words != '') ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
    return
  fi
  [[ $wanted == '' ]] && return
  compopt -o filenames
  while IFS= read -r word; do
    if [[ -d $word || $wanted == '*' || ($wanted != '/' && ${word,,} =~ \.($wanted)$) ]]; then
      COMPREPLY+=("$word")
    fi
  done < <(compgen -f -- "$cur")
}
complete -F _zsimage zsimage
)";

/// Text inside the single quotes of a zsh argument, where brackets and colons would end it.
std::string ZshText(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '\'' ? "'\\''" : (c == '[' || c == ']' || c == ':') ? std::string("\\") + c : std::string(1, c);
  }
  return escaped;
}

std::string ZshAction(const CLI::Option& option) {
  const std::string wanted = Wanted(option);
  if (wanted.empty()) {
    return " ";
  }
  return wanted == "*" ? "_files" : wanted == "/" ? "_files -/" : "_files -g \"(#i)*.(" + wanted + ")\"";
}

std::string ZshOption(const CLI::Option& option) {
  std::vector<std::string> names = NamesOf(option);
  for (std::string& name : names) { // Values stand behind a sign or in the next word.
    name += !TakesValue(option) ? "" : name.starts_with("--") ? "=" : "+";
  }
  const std::string value = TakesValue(option) ? ":" + ZshText(option.get_type_name()) + ":" + ZshAction(option) : "";
  const std::string rest = "[" + ZshText(option.get_description()) + "]" + value + "'";
  return names.size() == 1 ? "'" + names[0] + rest
                           : "'(" + Joined(NamesOf(option), " ") + ")'{" + Joined(names, ",") + "}'" + rest;
}

std::string ZshFunctionName(const CLI::App& app) {
  return "_" + CLI::detail::find_and_replace(FullName(app), " ", "_");
}

std::string ZshFunction(const CLI::App& app) {
  const auto commands = ShownCommands(app);
  std::string text = ZshFunctionName(app) + "() {\n  local line state\n  _arguments -C \\\n";
  for (const CLI::Option* option : ShownOptions(app)) {
    text += "    " + ZshOption(*option) + " \\\n";
  }
  for (const CLI::Option* argument : ShownArguments(app)) {
    const std::string times = argument->get_expected_max() > 1 ? "'*:" : "':";
    text += "    " + times + argument->get_name(true) + ":" + ZshAction(*argument) + "' \\\n";
  }
  if (commands.empty()) {
    return text + "    && return\n}\n";
  }
  text += "    '1:command:->command' '*::argument:->argument' && return\n  case $state in\n"
          "    command)\n      local -a commands=(\n";
  std::string arms;
  for (const CLI::App* command : commands) {
    text += "        '" + command->get_name() + ":" + ZshText(command->get_description()) + "'\n";
    arms += "        " + command->get_name() + ") " + ZshFunctionName(*command) + " ;;\n";
  }
  return text + "      )\n      _describe command commands ;;\n    argument)\n      case $line[1] in\n" + arms +
         "      esac ;;\n  esac\n}\n";
}

} // namespace

std::string BashCompletion(const CLI::App& app) {
  std::string commands;
  std::string arms;
  std::string values;
  Walk(app, [&](const CLI::App& command) {
    if (&command != &app) {
      commands += (commands.empty() ? "      '" : " | \\\n      '") + FullName(command) + "'";
    }
    arms += BashCommandArm(command);
    values += BashValueArms(command);
  });
  return kBashStart + commands + ") command+=\" $word\" ;;\n    esac\n  done\n  case $command in\n" + arms +
         "  esac\n  case \"$command $prev\" in\n" + values + kBashEnd;
}

std::string ZshCompletion(const CLI::App& app) {
  std::string text = "#compdef zsimage\n# Completion of zsimage for zsh, made of the command line's own description.\n";
  Walk(app, [&](const CLI::App& command) { text += ZshFunction(command); });
  return text + "_zsimage \"$@\"\n";
}
