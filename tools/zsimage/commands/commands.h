/// @file
/// The commands of the tool. Each function adds one command: its options, its help and its action.
#pragma once

#include "cli/command.h"

void AddInfo(Command* tool);
void AddCheck(Command* tool);
void AddMap(Command* tool);
void AddPosition(Command* tool);
void AddExtract(Command* tool);
void AddConvert(Command* tool);
void AddJoin(Command* tool);
void AddCdText(Command* tool);
void AddRegister(Command* tool);
void AddUnregister(Command* tool);
void AddGenerate(Command* tool); ///< For the build alone; the help does not show it.
