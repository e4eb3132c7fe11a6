#include "join/album.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "files/input_file.h"
#include "files/paths.h"
#include "image/disc_text.h"
#include "image/sheet_lines.h"
#include "output/failure.h"

namespace {

constexpr unsigned kMostTracks = 99;
constexpr UHYPER kMostSectors = 449700; ///< 99:56:00, the last time that a sector can have.
constexpr UHYPER kLastStart = 404999;   ///< 89:59:74, the last time that is read from a sheet.
constexpr ULONG kLargestNumber = 9999;  ///< Limit of a number in a line: sums of times do not wrap.

/// Types of TRACK lines: AUDIO, or the mode and the bytes of a sector.
constexpr const char* kTypes[] = {"AUDIO", "MODE1/2048", "MODE1/2352", "MODE2/2048", "MODE2/2336", "MODE2/2352"};

/// Finds a file that a sheet names, relative to the folder of the sheet. If there is none, the name may be a path of
/// another machine; then the file name alone is looked up in that folder.
std::string FindFile(const std::string& sheet, const std::string& name, unsigned line) {
  std::string path = name.starts_with('/') ? name : Beside(sheet, name);
  const bool isFound = ResolveFilePath(path, &path) || ResolveFilePath(Beside(sheet, FileName(name)), &path);
  FailIf(!isFound, path, ZSE_FILENOTFOUND, "no such file, in upper or lower case; line {} of the sheet names it", line);
  return path;
}

/// Opens a sound file or a file of raw sectors. @param line Number of the line that names it.
SampleSource OpenFile(const std::string& path, const std::string& type, unsigned line) {
  const std::optional<UHYPER> size = FileSize(path);
  FailIf(!size, path, ZSE_CANNOTOPENIMAGE, "this is no file; line {} of the sheet names it", line);
  FailIf(access(path.c_str(), R_OK) != 0, path, ERROR_ACCESS_DENIED,
         "the file may not be read; change its permissions");
  const bool isSwapped = type == "MOTOROLA";
  if ((type != "BINARY" && !isSwapped) || !SoundFileType(path).empty()) {
    return OpenSound(path);
  }
  const auto read = [path, isSwapped](UHYPER offset, std::size_t count) {
    std::string bytes = ReadBytes(path, offset, count);
    FailIf(bytes.size() != count, path, ERROR_HANDLE_EOF, "the file has become shorter, or it cannot be read");
    if (isSwapped) {
      SwapSamples(bytes.data(), count);
    }
    return bytes;
  };
  return {path, false, *size, read};
}

/// Reads a sheet from its first line to the last. Each index, and the end of each file, ends the sectors before it.
class AlbumReader {
public:
  AlbumReader(const std::string& path, bool pad) : m_path(path), m_pad(pad) { m_sheet.nTracks = 0; }

  Album Read() {
    const std::string content = ReadContent(m_path, kLargestSheetOfFiles);
    FailIf(content.find('\0') != std::string::npos, m_path, ZSE_BADIMAGE,
           "this is not a text in UTF-8 or Windows-1252; save the sheet in one of these");
    VisitLines(content, [&](const SheetLine& line) { ReadLine(line); });
    EndFile(true);
    FailIf(m_track == nullptr, m_path, ZSE_BADIMAGE, "the sheet has no TRACK line");
    RequireStart();
    EndTrack();
    FailIf(m_position > kMostSectors, m_path, ZSE_FAILED,
           "the album is longer than 99:56:00, and no sheet can state later times");
    m_album.sectors = m_position;
    ChooseBlockSize();
    imagefile::Interfaces().Sheets().AnalyzeCDText(Wide(m_path).get(), &m_sheet); // The .cdt file is optional.
    return std::move(m_album);
  }

private:
  void FailLineIf(bool isWrong, const SheetLine& line, const std::string& words) const {
    FailIf(isWrong, m_path, ZSE_BADIMAGE, "line {}, {}: {}", line.number, line.keyword, words);
  }

  void ReadLine(const SheetLine& line) {
    if (line.keyword == "FILE") {
      ReadFile(line);
    } else if (line.keyword == "TRACK") {
      ReadTrack(line);
    } else if (line.keyword == "INDEX") {
      ReadIndex(line);
    } else if (line.keyword == "PREGAP") {
      m_pregap = ReadTime(line).second;
      FailLineIf(m_owner == m_track, line, "the line must be before the INDEX lines of its track");
    } else if (line.keyword == "POSTGAP") {
      m_postgap = ReadTime(line).second;
      FailLineIf(m_owner != m_track, line, "the line must be after the INDEX lines of its track");
    } else {
      ReadText(line);
      NoteLoss(line);
    }
  }

  /// Reads a text, a code or flags. Lines with other keywords, such as comments, are ignored.
  void ReadText(const SheetLine& line) {
    ::ZSCDTEXT& disc = m_sheet.ZSCDTEXT;
    if (line.keyword == "CATALOG") {
      SetText(line.Text(), &disc.bstrMCN);
    } else if (line.keyword == "ISRC" && m_track != nullptr) {
      std::string code = line.Text();
      std::erase(code, '-'); // Written "US-RC1-76-07839".
      SetText(code, &m_track->bstrISRC);
    }
    for (const auto& [bit, word] : kTrackFlags) {
      if (line.keyword == "FLAGS" && m_track != nullptr && platform::Upper(line.rest).find(word) != std::string::npos) {
        m_track->Flags |= bit;
      }
    }
    for (const auto& [name, ofDisc, ofTrack] : kTextFields) {
      if (line.keyword == platform::Upper(name)) {
        SetText(line.Text(), m_track == nullptr ? static_cast<void*>(&(disc.*ofDisc)) : &(m_track->*ofTrack));
      }
    }
  }

  void NoteLoss(const SheetLine& line) {
    const std::string words = platform::Upper(line.rest);
    if (line.keyword == "REM" && words.starts_with("SESSION") && !words.ends_with("01") && !words.ends_with(" 1")) {
      m_album.notes.insert("the sheet has several sessions, and the new one has all tracks in one");
    } else if (line.keyword == "FLAGS" && words.find("SCMS") != std::string::npos) {
      m_album.notes.insert("the flag SCMS is left out");
    } else if (line.keyword == "CDTEXTFILE" &&
               !IsSameFile(Beside(m_path, line.Text()), WithExtension(m_path, ".CDT"))) {
      m_album.notes.insert("the texts of the file in the CDTEXTFILE line are left out; name it as the sheet, .cdt");
    }
  }

  /// Reads a FILE line. Some programs repeat the line of the same file before each track.
  void ReadFile(const SheetLine& line) {
    const std::string type = line.LastWord();
    std::string name = line.Text();
    if (name == line.rest) { // Without quotes.
      name = platform::Trim(name.substr(0, name.size() - type.size()));
    }
    FailLineIf(name.empty(), line, "the line names no file");
    const std::string path = FindFile(m_path, name, line.number);
    if (m_file == nullptr || !IsSameFile(m_file->path, path)) {
      EndFile(false);
      m_file = &m_album.files.emplace_back(OpenFile(path, type, line.number));
      m_fileLine = line.number;
      m_offset = 0;
      m_sector.reset();
    }
  }

  void ReadTrack(const SheetLine& line) {
    const std::string type = line.LastWord();
    FailLineIf(
        std::ranges::count(kTypes, type) == 0, line,
        fmt::format("tracks of type {} cannot be joined; known are {}", TerminalText(type), fmt::join(kTypes, ", ")));
    FailLineIf(m_sheet.nTracks == kMostTracks, line, "a disc has 99 tracks at most");
    RequireStart();
    m_track = &m_sheet.pZSTracks[m_sheet.nTracks++];
    m_track->Mode = type == "AUDIO" ? ZSMODE_AUDIO : type[4] == '1' ? ZSMODE_1 : ZSMODE_2;
    m_track->BlockSize =
        type == "AUDIO" ? ZSFILEBLOCKSIZE_2352 : static_cast<ZSFILEBLOCKSIZECUE>(std::stoi(type.substr(6)));
    m_hasStart = false;
  }

  void RequireStart() const {
    FailIf(m_track != nullptr && !m_hasStart, m_path, ZSE_BADIMAGE, "track {} has no INDEX 01 line",
           UINT{m_sheet.nTracks});
  }

  void ReadIndex(const SheetLine& line) {
    const auto [number, sector] = ReadTime(line);
    if (number > 1) {
      m_album.notes.insert("indexes above 1 are left out");
      return;
    }
    FailLineIf(m_file == nullptr, line, "no FILE line is before it");
    FailLineIf(m_hasStart || (m_owner == m_track && number == 0), line,
               "the track has this index already, or one after it");
    FailLineIf(sector < m_sector.value_or(0), line, "the position is before that of the index before it");
    EndSectors(number, sector);
    if (m_owner != m_track) {
      BeginPregap();
    }
    if (number == 1) {
      BeginTrack();
    }
  }

  /// Returns the number of an INDEX line, 0 for other lines, and the time of a line in sectors.
  std::pair<ULONG, ULONG> ReadTime(const SheetLine& line) const {
    std::istringstream text((line.keyword == "INDEX" ? "" : "0 ") + line.rest);
    ULONG numbers[4] = {};
    char colons[2] = {};
    text >> numbers[0] >> numbers[1] >> colons[0] >> numbers[2] >> colons[1] >> numbers[3];
    FailLineIf(!text || !(text >> std::ws).eof() || colons[0] != ':' || colons[1] != ':' ||
                   *std::max_element(std::begin(numbers), std::end(numbers)) > kLargestNumber,
               line, "the line should end in a time, MM:SS:FF");
    FailLineIf(m_track == nullptr, line, "no TRACK line is before it");
    return {numbers[0], (numbers[1] * 60 + numbers[2]) * 75 + numbers[3]};
  }

  /// Adds the sectors from the index before to an index of the last track. Sectors before the first index of a file,
  /// such as a hidden track, have the size of that track's.
  void EndSectors(ULONG index, ULONG sector) {
    const ZSTRACK& track = m_sector ? *m_owner : *m_track;
    const ULONG sectors = sector - m_sector.value_or(0);
    const UHYPER bytes = UHYPER{sectors} * static_cast<UINT>(track.BlockSize);
    FailIf(bytes > m_file->bytes - m_offset, m_file->path, ERROR_HANDLE_EOF,
           "the file ends before sector {}, where the sheet has index {} of track {}", sector, index,
           UINT{m_track->TNO});
    AddSectors(track, m_file, bytes, sectors);
    m_sector = sector;
  }

  /// Adds the sectors from the last index to the end of the file.
  void EndFile(bool isLast) {
    if (m_file == nullptr) {
      return;
    }
    FailIf(!m_sector, m_path, ZSE_BADIMAGE, "line {}, FILE: no INDEX line is in this file; remove the line",
           m_fileLine);
    const auto size = static_cast<UINT>(m_owner->BlockSize);
    const UHYPER bytes = m_file->bytes - m_offset;
    const UHYPER over = bytes % size;
    FailIf(over != 0 && !isLast && !m_pad, m_file->path, ZSE_FAILED,
           "{}track {} ends inside a sector, {} of {} bytes, and track {} follows; --pad fills the sector with silence",
           m_owner == m_track && !m_hasStart ? "the pregap of " : "", UINT{m_owner->TNO}, over, size,
           m_track->TNO + (m_hasStart ? 1 : 0));
    if (over != 0) {
      m_album.notes.insert(fmt::format("{} of silence fill the last sector of {}", Counted(size - over, "byte"),
                                       TerminalText(m_file->path)));
    }
    AddSectors(*m_owner, m_file, bytes, (bytes + size - 1) / size);
  }

  /// Adds sectors of a file or, without one, silence. In a data track, silence is made of empty sectors.
  void AddSectors(const ZSTRACK& track, const SampleSource* file, UHYPER bytes, UHYPER sectors) {
    FailIf(file != nullptr && file->isSound && track.Mode != ZSMODE_AUDIO, m_file->path, ZSE_FAILED,
           "this is a sound file, and the sheet describes track {} as data", UINT{track.TNO});
    const UINT largest = file != nullptr || track.Mode == ZSMODE_AUDIO ? 2352 : track.Mode == ZSMODE_1 ? 2048 : 2336;
    m_album.pieces.push_back(
        {&track, file, m_offset, bytes, std::min(static_cast<UINT>(track.BlockSize), largest), sectors});
    m_offset += bytes;
    m_position += sectors;
  }

  /// Ends the track before, and begins the pregap of the last one.
  void BeginPregap() {
    if (m_owner != nullptr) {
      EndTrack();
    }
    m_pregapStart = m_position;
    AddSectors(IsPregapStated() || m_owner == nullptr ? *m_track : *m_owner, nullptr, 0, std::exchange(m_pregap, 0));
    m_owner = m_track;
  }

  /// Sheets cannot state the pregap of the first track or of a data track; it becomes part of the track before.
  bool IsPregapStated() const { return m_track->TNO != 1 && m_track->Mode == ZSMODE_AUDIO; }

  void BeginTrack() {
    m_hasStart = true;
    FailIf(m_position > kLastStart, m_path, ZSE_FAILED,
           "track {} would begin after 89:59:74, the last time that is read from a sheet", UINT{m_track->TNO});
    m_track->dwLBA = static_cast<ULONG>(m_position);
    m_track->Pregap = IsPregapStated() ? static_cast<LONG>(m_position - m_pregapStart) : 0;
    if (!IsPregapStated() && m_position != m_pregapStart) {
      (m_track->TNO == 1 ? m_track : m_track - 1)->dwEndLBA = m_track->dwLBA;
      m_album.notes.insert("the pregap of the first track, or of a data track, is not marked in the new sheet; its "
                           "sectors are in the file");
    }
  }

  void EndTrack() {
    FailIf(m_position == m_owner->dwLBA, m_path, ZSE_FAILED,
           "track {} has no sectors: its file is empty, or the next index has the same position", UINT{m_owner->TNO});
    AddSectors(*m_owner, nullptr, 0, std::exchange(m_postgap, 0));
    m_owner->dwEndLBA = static_cast<ULONG>(m_position);
  }

  /// Keeps the sector size if all tracks have the same; otherwise all become raw sectors.
  void ChooseBlockSize() {
    const auto tracks = Tracks(m_sheet);
    const auto hasSame = [&](const ZSTRACK& track) { return track.BlockSize == tracks[0].BlockSize; };
    if (std::ranges::all_of(tracks, hasSame)) {
      return;
    }
    m_album.notes.insert("the tracks have sectors of different sizes, so all are widened to 2352 bytes: headers and "
                         "codes are computed");
    for (ZSTRACK& track : tracks) {
      FailIf(track.Mode == ZSMODE_2 && track.BlockSize == ZSFILEBLOCKSIZE_2048, m_path, ZSE_FAILED,
             "track {} has mode 2 sectors without sub-headers, which cannot be widened to the size of the other tracks",
             UINT{track.TNO});
      track.BlockSize = ZSFILEBLOCKSIZE_2352;
    }
  }

  const std::string& m_path;
  bool m_pad;
  Album m_album;
  ZSCUESHEET& m_sheet = m_album.Sheet(); ///< Its tracks are those read so far.
  ZSTRACK* m_track = nullptr;            ///< Of the last TRACK line.
  bool m_hasStart = false;               ///< Whether that track has INDEX 01.
  ZSTRACK* m_owner = nullptr;            ///< Of the last index.
  UHYPER m_position = 0;                 ///< Sectors so far.
  UHYPER m_pregapStart = 0;
  ULONG m_pregap = 0;  ///< Of a PREGAP line, until the next index.
  ULONG m_postgap = 0; ///< Of a POSTGAP line, until the end of the track.
  const SampleSource* m_file = nullptr;
  unsigned m_fileLine = 0;
  std::optional<ULONG> m_sector; ///< Position of the last index in the file.
  UHYPER m_offset = 0;           ///< Bytes of the file that belong to pieces.
};

} // namespace

Album ReadAlbum(const std::string& path, bool pad) { return AlbumReader(path, pad).Read(); }
