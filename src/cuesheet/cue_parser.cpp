#include "cuesheet/cue_parser.h"

#include <algorithm>

#include "cuesheet/cue_lines.h"
#include "disc/track_table.h"
#include "foundation/byte_view.h"
#include "foundation/file.h"
#include "foundation/text_file.h"
#include "platform/paths.h"
#include "platform/text.h"

namespace {

constexpr BYTE kSubModeForm2 = 0x20;       // Bit of the XA sub-mode.
constexpr LONG kDescriptorOffset = 0x8000; // Sector 16 of 2048 bytes, the first volume descriptor of ECMA-119.
constexpr DWORD kDescriptorStart = 50;

/// Layout of a data file, which follows from its size and its first bytes.
struct DataFile {
  UHYPER size = 0;
  ULONG sectorSize = 0;
  ULONG sectorCount = 0;
  ZSMODETYPE mode = ZSMODE_1;
};

/// Parses the name, which may be empty, in the quotes of a FILE line. Returns false for any other line.
bool ParseFileLine(std::string_view line, std::string* name) {
  constexpr std::string_view kFile = "FILE \"";
  const std::size_t keyword = line.find(kFile);
  if (keyword == std::string_view::npos || line.find("CDTEXTFILE \"") != std::string_view::npos) {
    return false;
  }
  const std::size_t start = keyword + kFile.size();
  const std::size_t end = line.find('"', start);
  if (end == std::string_view::npos) {
    return false;
  }
  *name = line.substr(start, end - start);
  return true;
}

/// Finds the name, in upper case, in the first FILE line of a sheet. Returns false if there is no such line.
bool FindFileLine(TextFile* sheet, std::string* name) {
  std::string_view line;
  while (sheet->NextLine(&line)) {
    if (ParseFileLine(platform::Upper(line), name)) {
      return true;
    }
  }
  return false;
}

ZSMODETYPE ModeOfRawFile(const std::string& path) noexcept {
  std::array<BYTE, kRawSectorStart> start{}; // A file that cannot be read counts as silent audio.
  CZSFile file;
  DWORD bytesRead = 0;
  if (file.OpenForReading(path)) {
    file.ReadCount(start.data(), start.size(), &bytesRead);
  }
  return ClassifyRawSector(start);
}

/// Returns whether a file is accepted although its size fits no kind of sector: it has a volume descriptor, or it
/// cannot be opened.
bool HasDescriptorOrCannotOpen(const std::string& path) noexcept {
  CZSFile file;
  if (!file.OpenForReading(path)) {
    return true;
  }
  std::array<BYTE, kDescriptorStart> bytes{};
  return file.Seek64(kDescriptorOffset, FILE_BEGIN) != kSeekFailed && file.Read(bytes.data(), bytes.size()) &&
         ByteView(bytes).HasText(1, "CD001");
}

HRESULT MeasureFile(const std::string& path, DataFile* data) {
  CZSFindFile find;
  if (!find.FindFile(path)) {
    return ZSE_CANNOTOPENIMAGE;
  }
  data->size = find.GetFileSize();
  if (data->size % 2048 == 0) {
    data->sectorSize = 2048;
  } else if (data->size % 2352 == 0) {
    data->sectorSize = 2352;
    data->mode = ModeOfRawFile(find.Path());
  } else if (data->size % 2336 == 0) {
    data->sectorSize = 2336;
    data->mode = ZSMODE_2_FORM1;
  } else {
    return HasDescriptorOrCannotOpen(find.Path()) ? S_OK : ZSE_BADIMAGE;
  }
  data->sectorCount = static_cast<ULONG>(data->size / data->sectorSize);
  return S_OK;
}

HRESULT MakePlainTrack(const DataFile& data, ZSCUESHEET* sheet) noexcept {
  if (!AllocateTracks(sheet, 1)) {
    return ZSE_OUTOFRESOURCES;
  }
  ZSTRACK& track = sheet->pZSTracks[0];
  track.TNO = 1;
  track.dwEndLBA = data.sectorCount;
  track.Mode = data.mode;
  SetBlockSize(&track, data.sectorSize);
  return S_OK;
}

/// Opens a sheet and replaces its path by that of its data file, as ResolveBinaryFile does.
bool OpenSheet(TextFile* sheet, std::string* path) {
  if (platform::Upper(*path).find(".CUE") == std::string::npos || !sheet->Open(*path)) {
    path->clear();
    return false;
  }
  std::string name;
  if (!FindFileLine(sheet, &name)) {
    return false;
  }
  if (name.find('\\') == std::string::npos && !name.starts_with('/')) {
    name.insert(0, *path, 0, path->find_last_of(kPathSeparators) + 1);
  }
  *path = name;
  return true;
}

/// Counts the TRACK lines of the whole sheet. Returns false if it cannot be read.
bool CountTracks(TextFile* text, UINT* count) {
  std::string_view line;
  const bool rewound = text->Rewind();
  while (rewound && text->NextLine(&line)) {
    *count += IsTrackLine(line) ? 1 : 0;
  }
  return rewound && !text->Failed();
}

/// Ends the last track at the end of the data file. The track has the bytes that are in no other track.
void EndLastTrack(UHYPER fileSize, ZSCUESHEET* sheet) noexcept {
  if (sheet->nTracks == 0) {
    return;
  }
  UHYPER rest = fileSize;
  UHYPER sectors = 0;
  for (UINT i = 0; i + 1 < sheet->nTracks; ++i) {
    const ZSTRACK& track = sheet->pZSTracks[i];
    // One sector less than the track has. See "last track" in docs/compatibility.md.
    const std::int64_t own = std::int64_t{track.Pregap} + track.dwEndLBA - track.dwLBA - 1;
    sectors += static_cast<UHYPER>(own);
    rest -= static_cast<UHYPER>(own) * BytesOf(track.BlockSize);
  }
  ZSTRACK& last = sheet->pZSTracks[sheet->nTracks - 1];
  if (last.BlockSize != ZSFILEBLOCKSIZE_NULL) {
    last.dwEndLBA = static_cast<ULONG>(rest / BytesOf(last.BlockSize) + sectors);
  }
}

HRESULT FillFromText(TextFile* text, UHYPER fileSize, ZSCUESHEET* sheet) {
  UINT tracks = 0;
  if (!CountTracks(text, &tracks) || !text->Rewind()) {
    return ZSE_FILENOTFOUND;
  }
  if (!AllocateTracks(sheet, tracks)) {
    return ZSE_OUTOFRESOURCES;
  }
  CueLines lines(sheet);
  std::string_view line;
  std::string upper;
  while (text->NextLine(&line)) {
    upper = line;
    CharUpperA(&upper);
    lines.Apply(upper);
  }
  if (text->Failed()) {
    return ZSE_FILENOTFOUND;
  }
  EndLastTrack(fileSize, sheet);
  return S_OK;
}

} // namespace

bool ResolveBinaryFile(std::string* path) {
  TextFile sheet;
  return OpenSheet(&sheet, path);
}

HRESULT ParseCueSheet(const std::string& path, ZSCUESHEET* sheet) {
  sheet->nTracks = 0;
  sheet->pZSTracks = nullptr;
  std::string dataFile = path;
  TextFile text;
  const bool isSheet = OpenSheet(&text, &dataFile);
  if (text.Failed()) {
    return ZSE_FILENOTFOUND;
  }
  DataFile data;
  const HRESULT measured = MeasureFile(isSheet ? dataFile : path, &data);
  if (measured != S_OK) {
    return measured;
  }
  return isSheet ? FillFromText(&text, data.size, sheet) : MakePlainTrack(data, sheet);
}

ZSMODETYPE ClassifyRawSector(const std::array<BYTE, kRawSectorStart>& sector) noexcept {
  if (sector[15] == 0) {
    return ZSMODE_AUDIO;
  }
  if (sector[15] == 1) {
    return ZSMODE_1;
  }
  const bool copiesEqual = std::equal(&sector[16], &sector[20], &sector[20]);
  return copiesEqual && (sector[18] & kSubModeForm2) != 0 ? ZSMODE_2_FORM2 : ZSMODE_2_FORM1;
}
