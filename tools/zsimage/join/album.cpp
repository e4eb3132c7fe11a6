#include "join/album.h"

#include <algorithm>

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

/// Opens a file that a sheet names, relative to the folder of the sheet. If there is none, the name may be a path of
/// another machine; then the file name alone is looked up in that folder.
AlbumFile OpenFile(const std::string& sheet, const SheetOfFiles::File& named) {
  const std::string& name = named.name;
  std::string path = name.starts_with('/') ? name : Beside(sheet, name);
  if (!ResolveFilePath(path, &path) &&
      !ResolveFilePath(Beside(sheet, name.substr(name.find_last_of("/\\") + 1)), &path)) {
    Fail(path, ZSE_FILENOTFOUND, "no such file, in any case; line {} of the sheet names it", named.line);
  }
  const std::optional<UHYPER> size = FileSize(path);
  if (!size) {
    Fail(path, ZSE_CANNOTOPENIMAGE, "this is no file; line {} of the sheet names it", named.line);
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
      Fail(m_path, ZSE_FAILED, "the album is longer than 99:56:00, and no sheet can state later times");
    }
    m_album.sectors = static_cast<ULONG>(m_position);
    ChooseBlockSize();
    return std::move(m_album);
  }

private:
  using Mark = SheetOfFiles::Mark;

  /// Lays out an index, and the sectors from it to the next index or the end of its file.
  void PlaceMark(std::size_t index) {
    const Mark& mark = m_sheet.marks[index];
    const Mark* previous = index == 0 ? nullptr : &mark - 1;
    const Mark* next = index + 1 == m_sheet.marks.size() ? nullptr : &mark + 1;
    if (previous == nullptr || previous->file != mark.file) {
      m_offset = 0;
      AddSectors(mark.track, mark, mark.sector); // Sectors before the first index, such as a hidden track.
    }
    if (previous == nullptr || previous->track != mark.track) {
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

  /// Sheets cannot state the pregap of the first track or of a data track; it becomes part of the track before.
  void StartTrack(std::size_t index) {
    if (m_position > kLastStart) {
      Fail(m_path, ZSE_FAILED, "track {} would begin after 89:59:74, the last time that is read from a sheet",
           index + 1);
    }
    ZSTRACK& track = m_tracks[index];
    track.dwLBA = static_cast<ULONG>(m_position);
    track.Pregap = static_cast<LONG>(m_position - m_pregapStart);
    if (track.Pregap != 0 && (index == 0 || track.Mode != ZSMODE_AUDIO)) {
      track.Pregap = 0;
      m_tracks[index == 0 ? 0 : index - 1].dwEndLBA = track.dwLBA;
      m_sheet.notes.insert("the pregap of the first track, or of a data track, is not marked in the new sheet; its "
                           "sectors are in the file");
    }
  }

  void EndTrack(std::size_t index) {
    if (m_position == m_tracks[index].dwLBA) {
      Fail(m_path, ZSE_FAILED, "track {} has no sectors: its file is empty, or the next index has the same position",
           index + 1);
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

  /// Adds the sectors of a track up to an index. @throws Failure if the file ends before the index.
  void AddSectors(std::size_t track, const Mark& index, ULONG sectors) {
    const AlbumFile& source = m_album.files[index.file];
    const UHYPER bytes = UHYPER{sectors} * static_cast<UINT>(m_tracks[track].BlockSize);
    if (bytes > source.bytes - m_offset) {
      Fail(source.path, ERROR_HANDLE_EOF, "the file ends before sector {}, where the sheet has index {} of track {}",
           index.sector, index.isPregap ? 0 : 1, index.track + 1);
    }
    AddPiece(track, source, bytes, sectors);
  }

  /// Adds the sectors from the current offset to the end of the file.
  void AddRest(const Mark& mark, const Mark* next) {
    const AlbumFile& source = m_album.files[mark.file];
    const auto size = static_cast<UINT>(m_tracks[mark.track].BlockSize);
    const UHYPER bytes = source.bytes - m_offset;
    const UHYPER over = bytes % size;
    if (bytes / size >= kMostSectors) {
      Fail(source.path, ZSE_FAILED, "the file is longer than any disc");
    }
    if (over != 0 && next != nullptr && !m_pad) {
      Fail(source.path, ZSE_FAILED,
           "{}track {} ends inside a sector, {} of {} bytes, and track {} follows; --pad fills the sector with silence",
           mark.isPregap ? "the pregap of " : "", mark.track + 1, over, size, next->track + 1);
    }
    if (over != 0) {
      m_sheet.notes.insert(fmt::format("{} of silence fill the last sector of {}", Counted(size - over, "byte"),
                                       TerminalText(source.path)));
    }
    AddPiece(mark.track, source, bytes, static_cast<ULONG>(bytes / size + (over == 0 ? 0 : 1)));
  }

  void AddPiece(std::size_t track, const AlbumFile& source, UHYPER bytes, ULONG sectors) {
    if (source.isSound && m_tracks[track].Mode != ZSMODE_AUDIO) {
      Fail(source.path, ZSE_FAILED, "this is a sound file, and the sheet describes track {} as data", track + 1);
    }
    if (sectors != 0) {
      m_album.pieces.push_back(
          {track, &source, m_offset, bytes, static_cast<UINT>(m_tracks[track].BlockSize), sectors});
      m_offset += bytes;
      m_position += sectors;
    }
  }

  /// Keeps the sector size if all tracks have the same; otherwise all become raw sectors.
  void ChooseBlockSize() {
    const ZSFILEBLOCKSIZECUE first = m_tracks[0].BlockSize;
    const bool isUniform =
        std::all_of(m_tracks.begin(), m_tracks.end(), [&](const ZSTRACK& track) { return track.BlockSize == first; });
    const ZSFILEBLOCKSIZECUE size = isUniform ? first : ZSFILEBLOCKSIZE_2352;
    for (ZSTRACK& track : m_tracks) {
      if (track.Mode == ZSMODE_2 && track.BlockSize == ZSFILEBLOCKSIZE_2048 && !isUniform) {
        Fail(m_path, ZSE_FAILED,
             "track {} has mode 2 sectors without sub-headers, which cannot be widened to the size of the other tracks",
             UINT{track.TNO});
      }
      if (track.BlockSize != size) {
        m_sheet.notes.insert(fmt::format("the sectors of track {} are widened to 2352 bytes, since the tracks have "
                                         "different sizes: headers and codes are computed",
                                         UINT{track.TNO}));
      }
      track.BlockSize = size;
      track.ImageBlockSize = size;
    }
    m_album.blockSize = static_cast<UINT>(size);
  }

  const std::string& m_path;
  bool m_pad;
  SheetOfFiles& m_sheet;
  std::span<ZSTRACK> m_tracks;
  Album m_album;
  UHYPER m_position = 0; ///< Sectors so far.
  UHYPER m_pregapStart = 0;
  UHYPER m_offset = 0; ///< Bytes of the current file that are laid out.
};

} // namespace

Album PlanAlbum(const std::string& path, bool pad, SheetOfFiles* sheet) { return Planner(path, pad, sheet).Plan(); }
