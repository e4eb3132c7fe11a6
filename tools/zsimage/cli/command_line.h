/// @file
/// The command line of the tool: one tree of commands, options and examples, of which the help, the manual page and
/// the completions of shells are made.
#pragma once

#include <CLI/CLI.hpp>

#include "commands/commands.h"

/// The tree, and the options that parsing fills. It runs the command that it finds.
class CommandLine {
public:
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;
  ~CommandLine() = default;

  /// @return the exit status.
  int Run(int argc, char** argv);

private:
  void AddInfo();
  void AddCheck();
  void AddMap();
  void AddPosition();
  void AddExtract();
  void AddConvert();
  void AddDecode(CLI::App* group);
  void AddEncode(CLI::App* group);
  void AddRegister();
  void AddGenerate();

  CLI::App m_app;
  int m_status = 0;
  InfoOptions m_info;
  CheckOptions m_check;
  MapOptions m_map;
  PositionOptions m_position;
  ExtractOptions m_extract;
  ConvertOptions m_convert;
  DecodeOptions m_decode;
  EncodeOptions m_encode;
  std::string m_generated;
};
