/// @file
/// The lines of a CUE sheet and what each does to the sheet's tracks.
#pragma once

#include <string_view>

#include "cuesheet/line_scanner.h"
#include "disc/record_text.h"

/// Whether a line, in any case, is a TRACK line in its first word, which is what counts as one track. The keywords
/// of CueLines are looked for with less care, so that a name in a FILE line adds no track.
bool IsTrackLine(std::string_view line) noexcept;

/// Takes the upper-cased lines of one sheet in order. Lines that address no track of the table write nothing.
/// Numbers that do not scan keep their value from an earlier line.
class CueLines {
public:
  /// The sheet has its table of cleared tracks; it must outlive this object.
  explicit CueLines(ZSCUESHEET* sheet) noexcept : m_sheet(sheet) {}

  void Take(std::string_view line);

private:
  struct Keyword;
  static const Keyword kKeywords[];
  /// The first of the keywords that stands anywhere in a line, and where; null for none.
  static const Keyword* FindKeyword(std::string_view line, std::size_t* place) noexcept;

  /// Minutes, seconds and frames, of which a line may give only the first ones.
  struct Time {
    LONG minutes = 0;
    LONG seconds = 0;
    LONG frames = 0;
    void Scan(LineScanner* scanner) noexcept;
    LONG Frames() const noexcept;
  };

  void Catalog(std::string_view line);
  void Track(std::string_view line);
  void Isrc(std::string_view line);
  void Flags(std::string_view line);
  void PregapLine(std::string_view line);
  void Index(std::string_view line);
  void Text(TextField field, std::string_view behindKeyword);

  void SetType(std::string_view type, ZSTRACK* track) noexcept;
  void BeginPregap(LONG position) noexcept;
  void BeginTrack(LONG position) noexcept;
  void EndTrackBefore(LONG position) noexcept;

  /// The track that the last TRACK line named, or null when the table has no such place.
  ZSTRACK* Current() const noexcept;

  ZSCUESHEET* m_sheet;
  LONG m_number = 0;       ///< Of the last TRACK line; 0 before the first.
  LONG m_index = 0;        ///< Of the last INDEX line.
  Time m_time;             ///< Of the last PREGAP or INDEX line.
  ULONG m_pregapSum = 0;   ///< Frames of all PREGAP lines so far.
  UHYPER m_byteOffset = 0; ///< Bytes of the tracks that have ended.
};
