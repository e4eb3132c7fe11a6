/// @file
/// What stands in a record, in words and times for people.
#pragma once

#include <string>

#include "disc/records.h"
#include "output/terminal_text.h"

const char* KindWords(::ZSTYPEPROJECT kind);
const char* FormatWords(zsimgformat format);
std::string ModeWords(ZSMODETYPE mode);

/// One text of track after track. A text of one TAB repeats that of the track before (Red Book, CD-Text), and the first
/// track's that of the disc.
class TextColumn {
public:
  TextColumn(BSTR disc) : m_shown(TerminalText(disc)) {} // NOLINT(google-explicit-constructor): it begins as a text.

  /// The text of the next track, for a terminal.
  const std::string& Show(BSTR text) { return Narrow(text) == "\t" ? m_shown : m_shown = TerminalText(text); }

private:
  std::string m_shown;
};

/// A number of sectors as playing time. Minutes take as many digits as they need.
std::string Duration(UHYPER sectors);

/// A number of sectors in words; and that a data file lacks so many of a track, empty when it lacks none.
std::string Sectors(UHYPER count);
std::string CutOffWords(ULONG missing);

/// The time of a sector on the disc; sectors that no time can name, as a DVD has them, give a dash.
std::string DiscTime(ULONG lba);
