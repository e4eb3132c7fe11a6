/// @file
/// Values of a record as words and times for people.
#pragma once

#include <cstring>
#include <span>
#include <string>

#include "disc/records.h"
#include "output/terminal_text.h"

const char* DescribeKind(::ZSTYPEPROJECT kind);
const char* DescribeFormat(zsimgformat format);
std::string DescribeMode(ZSMODETYPE mode);

inline std::span<ZSTRACK> Tracks(const ZSCUESHEET& sheet) { return {sheet.pZSTracks, sheet.nTracks}; }

/// The texts of discs and tracks, in the order of the pages.
struct TextField {
  const char* name;
  BSTR ZSCDTEXT::*ofDisc;
  BSTR ZSTRACK::*ofTrack;
};
inline constexpr TextField kTextFields[] = {
    {"Title", &ZSCDTEXT::bstrTitle, &ZSTRACK::bstrTitle},
    {"Performer", &ZSCDTEXT::bstrPerformer, &ZSTRACK::bstrPerformer},
    {"Songwriter", &ZSCDTEXT::bstrSongwriter, &ZSTRACK::bstrSongwriter},
    {"Composer", &ZSCDTEXT::bstrComposer, &ZSTRACK::bstrComposer},
    {"Arranger", &ZSCDTEXT::bstrArranger, &ZSTRACK::bstrArranger},
    {"Genre", &ZSCDTEXT::bstrGenre, &ZSTRACK::bstrGenre},
    {"Message", &ZSCDTEXT::bstrMessage, &ZSTRACK::bstrMessage},
};

/// A bit and its word.
struct FlagWord {
  LONG bit;
  const char* word;
};
inline constexpr FlagWord kTrackFlags[] = {
    {ZSTRACKFLAG_DCP, "DCP"}, {ZSTRACKFLAG_PRE, "PRE"}, {ZSTRACKFLAG_4CH, "4CH"}};

/// Returns a text of a record. Records are packed, so the field may be misaligned.
template <class Record> BSTR TextOf(const Record& record, BSTR Record::*field) {
  BSTR text = nullptr;
  std::memcpy(&text, &(record.*field), sizeof(text));
  return text;
}

/// Sets a text of a record, which may be misaligned as well.
inline void SetText(const std::string& text, void* field) {
  BSTR value = nullptr;
  std::memcpy(&value, field, sizeof(value));
  SysFreeString(value);
  value = Wide(text).release();
  std::memcpy(field, &value, sizeof(value));
}

/// Returns a number of sectors as playing time, "74:30:00". Minutes have as many digits as they need.
std::string Duration(UHYPER sectors);

/// Returns the time of a sector on the disc, "00:02:00"; "-" for sectors without one, as a DVD has them.
std::string DiscTime(ULONG lba);

/// Returns words for the sectors of a track that the data file lacks; empty if it lacks none.
std::string DescribeMissing(ULONG missing);

/// Texts of one kind, track by track. A text that is one TAB repeats the text of the previous track (Red Book, CD-Text)
/// or, in the first track, that of the disc.
class TextColumn {
public:
  TextColumn(BSTR disc) : m_shown(TerminalText(disc)) {} // NOLINT(google-explicit-constructor): it starts as a text.

  /// Returns the text of the next track, for a terminal.
  const std::string& Show(BSTR text) { return Narrow(text) == "\t" ? m_shown : m_shown = TerminalText(text); }

private:
  std::string m_shown;
};
