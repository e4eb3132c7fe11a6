#include "description.h"

#include "failure.h"
#include "files.h"
#include "platform/paths.h"
#include "platform/text.h"

namespace {

constexpr UHYPER kLargestDescription = 256U << 20;

/// @return what the system refused, ERROR_SUCCESS when nothing.
DWORD Write(const Host& host, ImageRecord* image, const std::string& path, const std::vector<BYTE>& packs) {
  std::vector<BYTE> run(packs);
  auto* text = run.empty() ? nullptr : reinterpret_cast<zsmmccdtext*>(run.data());
  SetLastError(ERROR_SUCCESS);
  const HRESULT result =
      host.Images().CreateTOCFile(Wide(path).get(), &image->Info(), nullptr, 0, text, static_cast<UINT>(run.size()));
  const DWORD error = GetLastError();
  if (result == E_FAIL) {
    throw WriteFailure(path, 0, 0, error);
  }
  Check(result, image->Path(), result == S_FALSE || result == ZSE_FAILED ? "the image has no session to describe" : "");
  return error;
}

std::vector<BYTE> ReadIfThere(const std::string& path) {
  return FileSize(path) ? ReadWholeFile(path, kLargestDescription) : std::vector<BYTE>();
}

/// Both kinds of description end with a whole line; one that was cut off ends somewhere else.
bool LooksWhole(const std::vector<BYTE>& content) { return !content.empty() && content.back() == '\n'; }

/// Modes by what a description can say: audio, mode 1, mode 2.
int ModeClass(ZSMODETYPE mode) { return (mode & ZSMODE_2) != 0 ? int{ZSMODE_2} : static_cast<int>(mode); }

void VerifySession(const ZSCUESHEET& wanted, const ZSCUESHEET& found, unsigned number, const std::string& path) {
  if (wanted.nTracks != found.nTracks) {
    throw Failure(path,
                  Format("session %u has %u tracks, but the description reads back with %u", number, wanted.nTracks,
                         found.nTracks),
                  ZSE_FAILED);
  }
  for (UINT i = 0; i < wanted.nTracks; ++i) {
    const ZSTRACK& left = wanted.pZSTracks[i];
    const ZSTRACK& right = found.pZSTracks[i];
    if (left.dwLBA != right.dwLBA || ModeClass(left.Mode) != ModeClass(right.Mode)) {
      throw Failure(path,
                    Format("track %u of session %u is at sector %u in mode %d, but the description reads back with "
                           "sector %u and mode %d; it cannot express this track",
                           i + 1, number, left.dwLBA, static_cast<int>(left.Mode), right.dwLBA,
                           static_cast<int>(right.Mode)),
                    ZSE_FAILED);
    }
  }
}

} // namespace

DescriptionKind KindOfDescription(const std::string& path) {
  if (EndsWith(path, ".CUE")) {
    return DescriptionKind::CueSheet;
  }
  if (EndsWith(path, ".ZSI")) {
    return DescriptionKind::TocFile;
  }
  throw Failure(path, "descriptions are written as .cue or .zsi; give a name with one of these extensions",
                E_INVALIDARG);
}

void WriteDescription(const Host& host, ImageRecord* image, DescriptionKind kind, const std::string& path,
                      const std::vector<BYTE>& packs) {
  image->Info().ZSImageFormat = kind == DescriptionKind::CueSheet ? ZSIMAGEFORMAT_CUE : ZSIMAGEFORMAT_ZSI;
  // What is in the file depends on its name and not on its folder.
  const ScratchFolder scratch;
  const std::string copy = scratch.Path(FileName(path));
  const DWORD error = Write(host, image, path, packs); // First, so that a failure names the user's file.
  Write(host, image, copy, packs);
  const std::vector<BYTE> wanted = ReadIfThere(copy);
  const std::vector<BYTE> found = ReadIfThere(path);
  if (!LooksWhole(wanted)) {
    throw Failure(copy, "the copy to compare with could not be written; set TMPDIR to a folder with free space",
                  E_FAIL);
  }
  if (found != wanted) {
    throw WriteFailure(path, found.size(), wanted.size(), error);
  }
}

std::string DataFileOf(const Host& host, const ImageRecord& image, DescriptionKind kind, const std::string& path) {
  if (kind == DescriptionKind::TocFile) { // The writer left the name in the record.
    return Beside(path, FileName(image.DataFile()));
  }
  BSTR named = nullptr;
  Check(host.Sheets().GetBinaryFile(Wide(path).get(), &named), path);
  return Narrow(UniqueBstr(named).get());
}

std::string CompanionOf(const std::string& path) {
  std::string name = FileName(path);
  CharUpperA(&name);
  PathRenameExtensionA(&name, ".CDT");
  return Beside(path, name);
}

void VerifyTracks(const Host& host, const ImageRecord& image, unsigned sessions, const std::string& path) {
  const ImageRecord read(host, path);
  if (read.Info().nSessions != sessions) {
    throw Failure(path, Format("the description reads back with %u sessions", unsigned{read.Info().nSessions}),
                  ZSE_FAILED);
  }
  for (unsigned number = 1; number <= sessions; ++number) {
    VerifySession(image.Session(number), read.Session(number), number, path);
  }
}
