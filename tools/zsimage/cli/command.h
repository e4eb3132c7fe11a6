/// @file
/// The tree of commands. It parses the command line; the help, the manual page and the shell completions are rendered
/// from it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

/// A command with its options, examples and subcommands.
class Command : public CLI::App {
public:
  /// Line in a section of the help, below the options: an example or a name, and its meaning.
  struct Entry {
    std::string name;
    std::string words;
  };
  struct Section {
    std::string heading;
    std::vector<Entry> entries;
  };

  Command(const std::string& name, const std::string& words);

  Command& Add(const std::string& name, const std::string& words);
  /// Adds a command that calls `run` with its options. @return the command, and the options for it to fill.
  template <class Options>
  std::pair<Command&, Options&> Add(const std::string& name, const std::string& words, int (*run)(const Options&)) {
    const auto options = std::make_shared<Options>();
    Command& command = Add(name, words);
    command.OnRun([options, run] { return run(*options); });
    return {command, *options};
  }
  void AddSection(const std::string& heading, std::vector<Entry> entries) {
    m_sections.push_back({heading, std::move(entries)});
  }
  void AddExamples(std::vector<Entry> examples) { AddSection("Examples", std::move(examples)); }

  /// Adds the argument of the file that is read. Failures are reported as those of this file.
  void AddImage(std::string* path, const std::string& name = "IMAGE",
                const std::string& words = "Image: .iso, .cue, .nrg, .ccd, .mds or .zsi");
  void AddImages(std::vector<std::string>* paths);
  /// Adds an option or argument that names a file or folder. An empty name is refused: in a script, it is often an
  /// unset variable.
  CLI::Option* AddName(const std::string& option, std::string* name, const std::string& words);
  /// Adds the option --json. Failures are printed as JSON as well.
  void AddJson(bool* json, const std::string& words);
  void AddForce(bool* force) { add_flag("-f,--force", *force, "Replace existing files"); }

  /// Sets the function that runs the command. Its result is the exit status of the tool.
  void OnRun(const std::function<int()>& run);

  /// The subcommands, options, arguments and sections that the help shows, in its order.
  std::vector<const Command*> Commands() const;
  std::vector<const CLI::Option*> Options() const {
    return get_options([](const CLI::Option* option) { return option->nonpositional(); });
  }
  std::vector<const CLI::Option*> Arguments() const {
    return get_options([](const CLI::Option* option) { return option->get_positional(); });
  }
  const std::vector<Section>& Sections() const noexcept { return m_sections; }

  /// Returns the name with the names of the parents: "zsimage cdtext decode".
  std::string FullName() const;

private:
  std::vector<Section> m_sections;
  const std::string* m_image = nullptr;
  const bool* m_json = nullptr;
};

inline bool HasValue(const CLI::Option& option) { return !option.get_type_name().empty(); }
/// Returns the names of an option, dashes included, the long one last.
std::vector<std::string> NamesOf(const CLI::Option& option);
/// Returns the description of an option, and whether it is required or its default.
std::string Describe(const CLI::Option& option);

/// Parses the command line and runs its command. @return the exit status.
int RunCommandLine(Command* tool, int argc, char** argv);
