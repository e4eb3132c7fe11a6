/// @file
/// What stands in a record, in words and times for people.
#pragma once

#include <string>

#include "disc/records.h"

const char* KindWords(::ZSTYPEPROJECT kind);
const char* FormatWords(zsimgformat format);
std::string ModeWords(ZSMODETYPE mode);

/// A number of sectors as playing time. Minutes take as many digits as they need.
std::string Duration(UHYPER sectors);

/// The time of a sector on the disc; sectors that no time can name, as a DVD has them, give a dash.
std::string DiscTime(ULONG lba);
