#include "join/album.h"

#include <algorithm>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/paths.h"
#include "image/explain.h"
#include "output/failure.h"
#include "output/terminal_text.h"
#include "platform/file_lookup.h"
#include "sound/sound_file.h"

namespace {

constexpr UHYPER kMostSectors = 449700; ///< 99:56:00, the last time that a sector can have.
constexpr UHYPER kLastStart = 404999;   ///< 89:59:74, the last time that is read from a sheet.

/// Returns the path of a file that a sheet names: beside the sheet or, if it has the path of another machine, without
/// its folders.
std::string FindFile(const std::string& sheet, const std::string& name) {
  std::string found;
  for (const std::string& path :
       {name.starts_with('/') ? name : Beside(sheet, name), Beside(sheet, name.substr(name.find_last_of("/\\") + 1))}) {
    if (ResolveFilePath(path, &found)) {
      return found;
    }
  }
  return "";
}

AlbumFile OpenFile(const std::string& sheet, const SheetOfFiles::File& named) {
  const std::string path = FindFile(sheet, named.name);
  if (path.empty()) {
    throw Failure(Beside(sheet, named.name),
                  fmt::format("no such file, in any case; line {} of the sheet names it", named.line),
                  ZSE_FILENOTFOUND);
  }
  const std::optional<UHYPER> size = FileSize(path);
  if (!size) {
    throw Failure(path, fmt::format("this is no file; line {} of the sheet names it", named.line), ZSE_CANNOTOPENIMAGE);
  }
  const bool isSound = !named.isRaw || !SoundFileType(path).empty();
  return {path, isSound, named.isSwapped && !isSound, isSound ? SoundReader(path).Bytes() : *size};
}

class Planner {
public:
  Planner(const std::string& path, bool pad, SheetOfFiles* sheet)
      : m_path(path), m_pad(pad), m_sheet(*sheet), m_tracks(Tracks(*sheet->record)) {}

  Album Plan() {
    for (const SheetOfFiles::File& file : m_sheet.files) {
      m_album.files.push_back(OpenFile(m_path, file));
    }
    for (std::size_t i = 0; i < m_sheet.marks.size(); ++i) {
      PlaceMark(i);
    }
    EndTrack(m_tracks.size() - 1);
    if (m_position > kMostSectors) {
      throw Failure(m_path, "the album is longer than 99:56:00, and no sheet can state later times", ZSE_FAILED);
    }
    m_album.sectors = static_cast<ULONG>(m_position);
    DropPregaps();
    ChooseBlockSize();
    AddNotes();
    return std::move(m_album);
  }

private:
  /// Places an index, and the sectors of its file that follow.
  void PlaceMark(std::size_t index) {
    const SheetOfFiles::Mark& mark = m_sheet.marks[index];
    const SheetOfFiles::Mark* previous = index == 0 ? nullptr : &mark - 1;
    const SheetOfFiles::Mark* next = index + 1 == m_sheet.marks.size() ? nullptr : &mark + 1;
    const bool startsTrack = previous == nullptr || previous->track != mark.track;
    if (previous == nullptr || previous->file != mark.file) {
      m_offset = 0;
      AddSectors(mark.track, mark, mark.sector); // Such as a hidden track before the first.
    }
    if (startsTrack) {
      if (previous != nullptr) {
        EndTrack(previous->track);
      }
      m_pregapStart = m_position;
      AddSilence(kNoTrack, m_sheet.gaps[mark.track].before);
    }
    if (!mark.isPregap) {
      StartTrack(mark.track);
    }
    if (next != nullptr && next->file == mark.file) {
      AddSectors(mark.track, *next, next->sector - mark.sector);
    } else {
      AddRest(mark, next);
    }
  }

  void StartTrack(std::size_t index) {
    if (m_position > kLastStart) {
      throw Failure(
          m_path,
          fmt::format("track {} would begin after 89:59:74, the last time that is read from a sheet", index + 1),
          ZSE_FAILED);
    }
    m_tracks[index].dwLBA = static_cast<ULONG>(m_position);
    m_tracks[index].Pregap = static_cast<LONG>(m_position - m_pregapStart);
  }

  void EndTrack(std::size_t index) {
    if (m_position == m_tracks[index].dwLBA) {
      throw Failure(m_path,
                    fmt::format("track {} has no sectors: its file is empty, or the next index is at the "
                                "same position",
                                index + 1),
                    ZSE_FAILED);
    }
    AddSilence(index, m_sheet.gaps[index].after);
    m_tracks[index].dwEndLBA = static_cast<ULONG>(m_position);
  }

  void AddSilence(std::size_t track, ULONG sectors) {
    if (sectors != 0) {
      m_album.pieces.push_back({track, nullptr, 0, 0, 0, sectors});
      m_position += sectors;
    }
  }

  UINT StoredSize(std::size_t track, const AlbumFile& file) const {
    if (file.isSound && m_tracks[track].Mode != ZSMODE_AUDIO) {
      throw Failure(file.path, fmt::format("this is a sound file, and the sheet describes track {} as data", track + 1),
                    ZSE_FAILED);
    }
    return static_cast<UINT>(m_tracks[track].BlockSize);
  }

  /// Adds the sectors of a track before an index. They must be in the file.
  void AddSectors(std::size_t track, const SheetOfFiles::Mark& index, ULONG sectors) {
    const AlbumFile& source = m_album.files[index.file];
    const UINT size = StoredSize(track, source);
    const UHYPER bytes = UHYPER{sectors} * size;
    if (bytes > source.bytes - m_offset) {
      throw Failure(source.path,
                    fmt::format("the file ends before sector {}, where the sheet has index {} of track {}",
                                index.sector, index.isPregap ? 0 : 1, index.track + 1),
                    ERROR_HANDLE_EOF);
    }
    AddPiece({track, &source, m_offset, bytes, size, sectors});
  }

  /// Adds all sectors to the end of the file.
  void AddRest(const SheetOfFiles::Mark& mark, const SheetOfFiles::Mark* next) {
    const AlbumFile& source = m_album.files[mark.file];
    const UINT size = StoredSize(mark.track, source);
    const UHYPER bytes = source.bytes - m_offset;
    const auto over = static_cast<UINT>(bytes % size);
    const UHYPER sectors = bytes / size + (over == 0 ? 0 : 1);
    if (sectors > kMostSectors) {
      throw Failure(source.path, "the file is longer than any disc", ZSE_FAILED);
    }
    if (over != 0 && next != nullptr && !m_pad) {
      throw Failure(source.path,
                    fmt::format("{}track {} ends inside a sector, {} of {} bytes, and track {} follows; --pad fills "
                                "the sector with silence",
                                mark.isPregap ? "the pregap of " : "", mark.track + 1, over, size, next->track + 1),
                    ZSE_FAILED);
    }
    if (over != 0) {
      m_album.notes.push_back(fmt::format("{} of silence fill the last sector of {}", Counted(size - over, "byte"),
                                          TerminalText(source.path)));
    }
    AddPiece({mark.track, &source, m_offset, bytes, size, static_cast<ULONG>(sectors)});
  }

  void AddPiece(const AlbumPiece& piece) {
    if (piece.sectors != 0) {
      m_album.pieces.push_back(piece);
      m_offset += piece.bytes;
      m_position += piece.sectors;
    }
  }

  /// Keeps the size that all tracks have, or takes raw sectors, which all tracks can have.
  void ChooseBlockSize() {
    const LONG first = m_tracks[0].BlockSize;
    const auto isFirst = [&](const ZSTRACK& track) { return track.BlockSize == first; };
    const bool isUniform = std::all_of(m_tracks.begin(), m_tracks.end(), isFirst);
    m_album.blockSize = static_cast<UINT>(isUniform ? first : LONG{ZSFILEBLOCKSIZE_2352});
    unsigned widened = 0;
    for (ZSTRACK& track : m_tracks) {
      if (track.Mode == ZSMODE_2 && track.BlockSize == ZSFILEBLOCKSIZE_2048 && !isUniform) {
        throw Failure(m_path,
                      fmt::format("track {} has mode 2 sectors without sub-headers, so raw sectors cannot be made of "
                                  "them; the tracks cannot be in one file",
                                  track.TNO),
                      ZSE_FAILED);
      }
      widened += track.BlockSize == static_cast<LONG>(m_album.blockSize) ? 0 : 1;
      track.BlockSize = static_cast<ZSFILEBLOCKSIZECUE>(m_album.blockSize);
      track.ImageBlockSize = track.BlockSize;
    }
    if (widened != 0) {
      m_album.notes.push_back(fmt::format("the sectors of {} are widened to 2352 bytes, since the tracks have "
                                          "different sizes: headers and codes are computed",
                                          Counted(widened, "data track")));
    }
  }

  /// Removes pregaps that sheets cannot state: their sectors count to the track before.
  void DropPregaps() {
    bool isDropped = false;
    for (std::size_t i = 0; i < m_tracks.size(); ++i) {
      if (m_tracks[i].Pregap != 0 && (i == 0 || m_tracks[i].Mode != ZSMODE_AUDIO)) {
        m_tracks[i].Pregap = 0;
        if (i != 0) {
          m_tracks[i - 1].dwEndLBA = m_tracks[i].dwLBA;
        }
        isDropped = true;
      }
    }
    if (isDropped) {
      m_album.notes.emplace_back("the pregap of the first track, or of a data track, is not marked in the new sheet; "
                                 "its sectors are in the file");
    }
  }

  void AddNotes() {
    if (m_sheet.hasMoreIndexes) {
      m_album.notes.emplace_back("indexes above 1 are left out");
    }
    if (m_sheet.hasSessions) {
      m_album.notes.emplace_back("the sheet has several sessions, and the new one has all tracks in one");
    }
  }

  const std::string& m_path;
  bool m_pad;
  SheetOfFiles& m_sheet;
  std::span<ZSTRACK> m_tracks;
  Album m_album;
  UHYPER m_position = 0; ///< Sectors so far.
  UHYPER m_pregapStart = 0;
  UHYPER m_offset = 0; ///< In the bytes of the current file.
};

} // namespace

Album PlanAlbum(const std::string& path, bool pad, SheetOfFiles* sheet) { return Planner(path, pad, sheet).Plan(); }
