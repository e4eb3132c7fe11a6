#include "commands/description.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "files/files.h"
#include "files/output_file.h"
#include "image/explain.h"
#include "output/failure.h"
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

/// Compares what is read back with what was to be written. TOC files count every sector as 2352 bytes, which is noted
/// elsewhere.
void VerifyTracks(const Host& host, const ImageRecord& image, unsigned sessions, const std::string& copy,
                  const std::string& path) {
  const ImageRecord read(host, copy);
  const auto isSame = [&](const ZSTRACK& left, const ZSTRACK& right) {
    return left.dwLBA == right.dwLBA && ModeClass(left.Mode) == ModeClass(right.Mode) &&
           (left.BlockSize == right.BlockSize || !EndsWith(path, ".CUE"));
  };
  for (unsigned number = 1; number <= sessions; ++number) {
    const ZSCUESHEET& wanted = image.Session(number);
    const ZSCUESHEET& found = read.Session(number);
    ZSTRACK* const end = wanted.pZSTracks + wanted.nTracks;
    const ZSTRACK* const other =
        std::mismatch(wanted.pZSTracks, end, found.pZSTracks, found.pZSTracks + found.nTracks, isSame).first;
    if (other != end) {
      throw Failure(
          path,
          Format("track %d of session %u would read back with another position, mode or block size; this kind "
                 "of description cannot say it",
                 static_cast<int>(other - wanted.pZSTracks) + 1, number),
          ZSE_FAILED);
    }
  }
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
  return Beside(path, WithExtension(platform::Upper(FileName(path)), ".CDT"));
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
  description.dataFile =
      FileName(kind == DescriptionKind::TocFile ? Narrow(image->Info().bstrImageBinaryFile) : NamedBySheet(host, copy));
  WriteWholeFile(scratch.Path(description.dataFile), "", true); // The image opens, whatever is in it.
  VerifyTracks(host, *image, sessions, copy, path);
  return description;
}

std::vector<std::string> LossesOf(const ImageRecord& image, DescriptionKind kind, unsigned sessions, bool withData) {
  const zsimagefileinfo& info = image.Info();
  const bool isSheet = kind == DescriptionKind::CueSheet;
  std::vector<std::string> losses;
  if (sessions < info.nSessions) {
    losses.push_back(
        Format("a CUE sheet holds one session; the other %u of the image are left out", info.nSessions - sessions));
  }
  if (!isSheet && info.pZSCueSheet[0]->pZSTracks[0].BlockSize != ZSFILEBLOCKSIZE_2352 && !withData) {
    losses.push_back(Format("readers of TOC files take every sector as 2352 bytes, and this image has %d; a CUE sheet "
                            "would keep its sectors readable",
                            static_cast<int>(info.pZSCueSheet[0]->pZSTracks[0].BlockSize)));
  }
  if ((info.lMask & ZSIMAGEMASK_SUBCHANNEL) != 0) {
    losses.emplace_back(isSheet || withData ? "the sub-channel data of the image are left out"
                                            : "the sub-channel data are not copied; the new file expects a .SUB file");
  }
  const auto addTracks = [&](const std::function<bool(const ZSTRACK&)>& losesIt, const char* words) {
    unsigned count = 0;
    for (unsigned session = 1; session <= sessions; ++session) {
      const ZSCUESHEET& sheet = image.Session(session);
      count += static_cast<unsigned>(std::count_if(sheet.pZSTracks, sheet.pZSTracks + sheet.nTracks, losesIt));
    }
    if (count != 0) {
      losses.push_back(Format("%u track%s: ", count, count == 1 ? "" : "s") + words);
    }
  };
  addTracks([](const ZSTRACK& track) { return track.pdwIndex != nullptr && track.nCountIndex > 2; },
            "indexes above 1 are left out");
  addTracks(
      [=](const ZSTRACK& track) {
        return isSheet && track.Pregap != 0 && (track.Mode != ZSMODE_AUDIO || track.dwLBA == 0);
      },
      "the pregap is not marked; its sectors count to the track before");
  addTracks(
      [&, silence = ULONG{0}](const ZSTRACK& track) mutable {
        const ULONG before = std::exchange(silence, track.dwLBA - FileSector(info, track));
        return silence != before;
      },
      "the silence of a PREGAP line becomes sectors that count to the track before");
  return losses;
}
