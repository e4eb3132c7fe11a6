/// @file
/// Texts that the build renders from the tree of commands, so that they agree with the help.
#pragma once

#include "cli/command.h"

/// Returns the manual page as roff text in the macros of man(7).
std::string ManualPage(const Command& tool);

/// Return the completion functions of the two shells.
std::string BashCompletion(const Command& tool);
std::string ZshCompletion(const Command& tool);
