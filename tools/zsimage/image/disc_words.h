/// @file
/// Values of a record as words and times for people.
#pragma once

#include <cstring>
#include <string>

#include "disc/records.h"
#include "output/terminal_text.h"

const char* KindWords(::ZSTYPEPROJECT kind);
const char* FormatWords(zsimgformat format);
std::string ModeWords(ZSMODETYPE mode);

/// Returns a text of a record. Records are packed, so a text may have any address.
template <class Record> BSTR TextOf(const Record& record, BSTR Record::*field) {
  BSTR text = nullptr;
  std::memcpy(&text, &(record.*field), sizeof(text));
  return text;
}

/// Returns a number of sectors as playing time, "74:30:00". Minutes have as many digits as they need.
std::string Duration(UHYPER sectors);

/// Returns the time of a sector on the disc, "00:02:00"; "-" for sectors without one, as a DVD has them.
std::string DiscTime(ULONG lba);

/// Says that the data file lacks sectors of a track; empty if it lacks none.
std::string CutOffWords(ULONG missing);

/// One kind of text of track after track. A text of one TAB repeats that of the track before (Red Book, CD-Text), and
/// the first track's that of the disc.
class TextColumn {
public:
  TextColumn(BSTR disc) : m_shown(TerminalText(disc)) {} // NOLINT(google-explicit-constructor): it starts as a text.

  /// Returns the text of the next track, for a terminal.
  const std::string& Show(BSTR text) { return Narrow(text) == "\t" ? m_shown : m_shown = TerminalText(text); }

private:
  std::string m_shown;
};
