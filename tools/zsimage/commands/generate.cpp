#include "cli/generated_texts.h"
#include "commands/commands.h"
#include "output/standard_output.h"

void AddGenerate(Command* tool) {
  const auto name = std::make_shared<std::string>();
  Command& command = tool->Add("generate", "Print a text that is rendered from the tree of commands");
  command.group("");
  command.add_option("TEXT", *name, "Which")->required()->check(CLI::IsMember({"man", "bash", "zsh"}));
  command.OnRun([name, tool] {
    Print(*name == "man" ? ManualPage(*tool) : *name == "bash" ? BashCompletion(*tool) : ZshCompletion(*tool));
    return 0;
  });
}
