/// @file
/// Parser of the lines of a CUE sheet, which applies each line to the tracks of the sheet.
#pragma once

#include <string_view>

#include "cuesheet/line_scanner.h"
#include "disc/record_text.h"

/// Returns whether the first word of a line, in any case, is TRACK. Tracks are counted by these lines only, because
/// CueLines finds the keyword anywhere in a line, even in a file name.
bool IsTrackLine(std::string_view line) noexcept;

/// Applies the lines of one sheet, in order. A line for a track that is not in the table changes nothing. If a line
/// lacks a number, the last number of its kind is used again.
class CueLines {
public:
  /// `sheet` must have a table of cleared tracks.
  explicit CueLines(ZSCUESHEET* sheet) noexcept : m_sheet(sheet) {}

  /// Applies a line in upper case.
  void Apply(std::string_view line);

private:
  struct Keyword;
  static const Keyword kKeywords[];

  /// Minutes, seconds and frames. A line may state only the first of them.
  struct Time {
    LONG minutes = 0;
    LONG seconds = 0;
    LONG frames = 0;
    void Parse(LineScanner* scanner) noexcept;
    ULONG Frames() const noexcept;
  };

  void ApplyCatalog(LineScanner fields);
  void ApplyTrack(LineScanner fields);
  void ApplyIsrc(LineScanner fields);
  void ApplyFlags(LineScanner fields);
  void ApplyPregap(LineScanner fields);
  void ApplyIndex(LineScanner fields);
  void ApplyText(TextField field, std::string_view afterKeyword);

  void SetType(std::string_view type, ZSTRACK* track) noexcept;
  void BeginPregap(ULONG position, ZSTRACK* track) const noexcept;
  void BeginTrack(ULONG position, ZSTRACK* track) noexcept;
  void EndPreviousTrack(ULONG position, ZSTRACK* track) noexcept;

  /// Returns the track of the last TRACK line; null if it is not in the table.
  ZSTRACK* CurrentTrack() const noexcept;

  ZSCUESHEET* m_sheet;
  LONG m_number = 0;       ///< Number of the last TRACK line; 0 before the first.
  LONG m_index = 0;        ///< Number of the last INDEX line.
  Time m_time;             ///< Time of the last PREGAP or INDEX line.
  ULONG m_pregapSum = 0;   ///< Frames of all PREGAP lines so far.
  UHYPER m_byteOffset = 0; ///< Bytes of the tracks that have ended.
};
