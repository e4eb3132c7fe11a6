#include "description.h"

#include <filesystem>

#include "failure.h"
#include "files.h"
#include "output_file.h"
#include "platform/paths.h"
#include "platform/text.h"

namespace {

constexpr UHYPER kLargestDescription = 256U << 20;

void Write(const Host& host, ImageRecord* image, const std::string& path, std::vector<BYTE> packs) {
  auto* text = packs.empty() ? nullptr : reinterpret_cast<zsmmccdtext*>(packs.data());
  const HRESULT result =
      host.Images().CreateTOCFile(Wide(path).get(), &image->Info(), nullptr, 0, text, static_cast<UINT>(packs.size()));
  Check(result == E_FAIL ? S_OK : result, image->Path(),
        result == S_FALSE || result == ZSE_FAILED ? "the image has no session to describe" : "");
}

/// Modes by what a description can say: audio, mode 1, mode 2.
int ModeClass(ZSMODETYPE mode) { return (mode & ZSMODE_2) != 0 ? int{ZSMODE_2} : static_cast<int>(mode); }

/// TOC files count every sector as 2352 bytes, which is noted elsewhere.
void VerifySession(const ZSCUESHEET& wanted, const ZSCUESHEET& found, unsigned number, const std::string& path) {
  const bool isSheet = EndsWith(path, ".CUE");
  if (wanted.nTracks != found.nTracks) {
    throw Failure(path,
                  Format("session %u has %u tracks, but the description reads back with %u", number, wanted.nTracks,
                         found.nTracks),
                  ZSE_FAILED);
  }
  for (UINT i = 0; i < wanted.nTracks; ++i) {
    const ZSTRACK& left = wanted.pZSTracks[i];
    const ZSTRACK& right = found.pZSTracks[i];
    if (left.dwLBA != right.dwLBA || ModeClass(left.Mode) != ModeClass(right.Mode) ||
        (isSheet && left.BlockSize != right.BlockSize)) {
      throw Failure(path,
                    Format("track %u of session %u is at sector %u in mode %d with %d bytes a sector, but would read "
                           "back with sector %u, mode %d and %d bytes; the description "
                           "cannot say this",
                           i + 1, number, left.dwLBA, static_cast<int>(left.Mode), static_cast<int>(left.BlockSize),
                           right.dwLBA, static_cast<int>(right.Mode), static_cast<int>(right.BlockSize)),
                    ZSE_FAILED);
    }
  }
}

void VerifyTracks(const Host& host, const ImageRecord& image, unsigned sessions, const std::string& copy,
                  const std::string& path) {
  const ImageRecord read(host, copy);
  if (read.Info().nSessions != sessions) {
    throw Failure(path, Format("the description reads back with %u sessions", unsigned{read.Info().nSessions}),
                  ZSE_FAILED);
  }
  for (unsigned number = 1; number <= sessions; ++number) {
    VerifySession(image.Session(number), read.Session(number), number, path);
  }
}

/// The data file that a written description names.
std::string NamedDataFile(const Host& host, const ImageRecord& image, DescriptionKind kind, const std::string& path) {
  if (kind == DescriptionKind::TocFile) { // The writer left the name in the record.
    return Narrow(image.Info().bstrImageBinaryFile);
  }
  BSTR named = nullptr;
  Check(host.Sheets().GetBinaryFile(Wide(path).get(), &named), path);
  return Narrow(UniqueBstr(named).get());
}

} // namespace

DescriptionKind KindOfDescription(const std::string& path) {
  if (FileName(path).find_first_of("\"\r\n") != std::string::npos) {
    throw Failure(path, "a description cannot hold a name with a double quote or a line break; give another name",
                  E_INVALIDARG);
  }
  if (EndsWith(path, ".CUE")) {
    return DescriptionKind::CueSheet;
  }
  if (EndsWith(path, ".ZSI")) {
    return DescriptionKind::TocFile;
  }
  throw Failure(path, "descriptions are written as .cue or .zsi; give a name with one of these extensions",
                E_INVALIDARG);
}

std::string CompanionOf(const std::string& path) {
  std::string name = FileName(path);
  CharUpperA(&name);
  return Beside(path, WithExtension(name, ".CDT"));
}

std::vector<std::string> CompanionsOnDisk(const std::string& path) {
  std::vector<std::string> found;
  const std::string name = WithExtension(FileName(path), ".CDT");
  std::error_code ignored;
  for (const auto& entry : !EndsWith(path, ".CUE")
                               ? std::filesystem::directory_iterator()
                               : std::filesystem::directory_iterator(OnDisk(FolderOf(path)), ignored)) {
    if (entry.is_regular_file(ignored) && lstrcmpiA(entry.path().filename().string(), name) == 0) {
      found.push_back(Beside(path, entry.path().filename().string()));
    }
  }
  return found;
}

Description MakeDescription(const Host& host, ImageRecord* image, DescriptionKind kind, const std::string& path,
                            unsigned sessions, const std::vector<BYTE>& packs) {
  image->Info().ZSImageFormat = kind == DescriptionKind::CueSheet ? ZSIMAGEFORMAT_CUE : ZSIMAGEFORMAT_ZSI;
  // What is in the file depends on its name and not on its folder.
  const ScratchFolder scratch;
  const std::string copy = scratch.Path(FileName(path));
  Write(host, image, copy, packs);
  Description description;
  if (FileSize(copy)) {
    const std::vector<BYTE> content = ReadWholeFile(copy, kLargestDescription);
    description.content.assign(content.begin(), content.end());
  }
  if (!description.content.ends_with('\n')) {
    throw Failure(copy, "the description could not be written; set TMPDIR to a folder with free space", E_FAIL);
  }
  description.dataFile = FileName(NamedDataFile(host, *image, kind, copy));
  WriteWholeFile(scratch.Path(description.dataFile), "", true); // The image opens, whatever is in it.
  VerifyTracks(host, *image, sessions, copy, path);
  return description;
}
