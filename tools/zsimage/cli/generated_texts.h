/// @file
/// Texts that are made of the command line's tree, so that they never say something else than the help.
///
/// A footer of the tree is made of headings, which end with a colon, and items below them, indented by two blanks. The
/// explanation of an item stands behind two blanks or more, or in a line of its own, indented further.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

/// The manual page, as roff text in the macros of man(7).
std::string ManualPage(const CLI::App& app);

/// Functions that complete the tool's command line, for the two shells.
std::string BashCompletion(const CLI::App& app);
std::string ZshCompletion(const CLI::App& app);

/// What a walk over the tree is to see: everything that the help shows, in its order.
std::vector<const CLI::App*> ShownCommands(const CLI::App& app);
std::vector<const CLI::Option*> ShownOptions(const CLI::App& app);
std::vector<const CLI::Option*> ShownArguments(const CLI::App& app);

/// Whether an option has a value behind it.
inline bool TakesValue(const CLI::Option& option) { return !option.get_type_name().empty(); }

/// The command with the names of those it belongs to: "zsimage cdtext decode".
std::string FullName(const CLI::App& app);
