#include "commands/description.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <utility>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/output_file.h"
#include "files/paths.h"
#include "files/scratch_folder.h"
#include "image/disc_text.h"
#include "output/failure.h"
#include "output/terminal_text.h"
#include "platform/text.h"

namespace {

constexpr UHYPER kLargestDescription = 256U << 20;

/// Writes a copy of the description that `path` will have. E_FAIL is ignored: the caller checks the content of the file
/// instead.
void Write(zsimagefileinfo* info, const std::string& copy, const std::string& path, const std::string& packs) {
  std::string bytes = packs; // The component reads them through a pointer that is not const.
  auto* text = bytes.empty() ? nullptr : reinterpret_cast<zsmmccdtext*>(bytes.data());
  const HRESULT result = imagefile::Interfaces().Images().CreateTOCFile(Wide(copy).get(), info, nullptr, 0, text,
                                                                        static_cast<UINT>(packs.size()));
  Check(result == E_FAIL ? S_OK : result, path,
        result == S_FALSE || result == ZSE_FAILED ? "the image has no session to describe" : "");
}

/// Returns the part of a mode that descriptions distinguish: audio, mode 1 or mode 2.
int ModeClass(ZSMODETYPE mode) { return (mode & ZSMODE_2) != 0 ? int{ZSMODE_2} : static_cast<int>(mode); }

/// Returns whether a track is read back as it was described. The block size of a TOC file is not compared: it is always
/// 2352, and FindLosses reports a difference. @param next The track after it in the session; null for the last.
bool IsKept(const ZSTRACK& track, const ZSTRACK* next, const ZSTRACK& found, bool isSheet) {
  if (track.dwLBA != found.dwLBA || ModeClass(track.Mode) != ModeClass(found.Mode)) {
    return false;
  }
  if (!isSheet) {
    return track.dwEndLBA == found.dwEndLBA;
  }
  // A pregap that a sheet cannot mark becomes part of the track before it. The last track ends with the data file.
  return track.BlockSize == found.BlockSize &&
         (next == nullptr || (found.dwEndLBA >= track.dwEndLBA && found.dwEndLBA <= next->dwLBA));
}

/// Compares the tracks of the new description with those of the image.
void VerifyTracks(const zsimagefileinfo& info, unsigned sessions, const std::string& copy, const std::string& path) {
  const imagefile::Image read = OpenImage(copy);
  for (unsigned session = 1; session <= sessions; ++session) {
    const auto expected = Tracks(*info.pZSCueSheet[session - 1]);
    const auto found = Tracks(SessionOf(read, session).Record());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const ZSTRACK* next = i + 1 < expected.size() ? &expected[i + 1] : nullptr;
      FailIf(
          i >= found.size() || !IsKept(expected[i], next, found[i], IsSheet(path)), path, ZSE_FAILED,
          "track {} of session {} would be read back with another position, length, mode or block size; this kind of "
          "description cannot state it",
          i + 1, session);
    }
  }
}

/// Finds existing files that a reader would use as the CD-Text of a new sheet: its name with .CDT, in upper or
/// lower case, except the companion that the tool writes.
/// @param own Path of the companion; empty for none. @throws Failure if there are any, without `force`.
std::vector<std::string> FindStaleTexts(const std::string& path, const std::string& own, bool force) {
  std::vector<std::string> stale;
  if (!IsSheet(path)) {
    return stale;
  }
  std::error_code ignored;
  const std::string companion = WithExtension(FileName(path), ".CDT");
  const std::string folder = SpelledOnDisk(platform::FolderOf(path));
  for (const auto& entry : std::filesystem::directory_iterator(folder.empty() ? "." : folder, ignored)) {
    const std::string name = entry.path().filename().string();
    if (lstrcmpiA(name, companion) != 0 || name == NarrowToUtf8(FileName(own)) || !entry.is_regular_file(ignored)) {
      continue;
    }
    stale.push_back(folder + name);
    FailIf(!force, stale.back(), kFileExists, "the new sheet would use the CD-Text of this file; --force removes it");
  }
  return stale;
}

} // namespace

bool IsSheet(const std::string& path) {
  FailIf(FileName(path).find_first_of("\"\r\n") != std::string::npos, path, E_INVALIDARG,
         "a description cannot contain a name with a double quote or a line break; give another name");
  FailIf(!HasExtension(path, ".CUE") && !HasExtension(path, ".ZSI"), path, E_INVALIDARG,
         "descriptions are .cue or .zsi files; give a name with one of these extensions");
  FailIf(HasExtension(path, ".ZSI") &&
             path.substr(path.find_last_of('/') + 1).find_first_of("<>\\") != std::string::npos,
         path, E_INVALIDARG, "a TOC file cannot contain a name with '<', '>' or a backslash; give another name");
  return HasExtension(path, ".CUE");
}

std::string CompanionOf(const std::string& path) {
  return Beside(path, WithExtension(platform::Upper(FileName(path)), ".CDT"));
}

Description RenderDescription(zsimagefileinfo* info, const std::string& path, unsigned sessions,
                              const std::string& packs) {
  const bool isSheet = IsSheet(path);
  info->ZSImageFormat = isSheet ? ZSIMAGEFORMAT_CUE : ZSIMAGEFORMAT_ZSI;
  // The content depends on the name of the file alone, so it can be rendered in any folder.
  const ScratchFolder scratch;
  const std::string copy = scratch.Path(FileName(path));
  Write(info, copy, path, packs);
  Description description;
  if (FileSize(copy)) {
    description.content = ReadContent(copy, kLargestDescription);
  }
  FailIf(!description.content.ends_with('\n'), copy, E_FAIL,
         "the description cannot be written; set TMPDIR to a folder with free space");
  description.dataFile = FileName(isSheet ? DataFileOfSheet(copy) : Narrow(info->bstrImageBinaryFile));
  WriteContent(scratch.Path(description.dataFile), "", true); // An image opens if its data file exists.
  VerifyTracks(*info, sessions, copy, path);
  return description;
}

imagefile::Image CompleteTexts(const imagefile::Image& image) {
  imagefile::Image complete = image.Clone();
  const ZSCUESHEET& sheet = *complete.Record().pZSCueSheet[0];
  for (ZSTRACK& track : Tracks(sheet)) {
    track.Mode = ZSMODE_AUDIO; // The texts of data tracks would be left out.
  }
  for (const auto& [name, ofDisc, ofTrack] : kTextFields) {
    const std::string ofAll = ofDisc == &ZSCDTEXT::bstrTitle ? "" : Narrow(TextOf(sheet.ZSCDTEXT, ofDisc));
    bool follows = false; // Whether a later track has the text.
    for (std::size_t i = sheet.nTracks; i-- > 0;) {
      ZSTRACK& track = sheet.pZSTracks[i];
      const bool hasText = !Narrow(TextOf(track, ofTrack)).empty();
      if (follows && !hasText) {
        SetText(ofAll.empty() ? " " : ofAll, &(track.*ofTrack));
      }
      follows = follows || hasText;
    }
  }
  return complete;
}

void WriteImage(const NewImage& image, bool force, const std::function<void()>& verify) {
  std::vector<std::unique_ptr<OutputFile>> files;
  const auto create = [&](const std::string& path, UHYPER size) {
    image.refuseOwn(path);
    FailIf(std::filesystem::is_fifo(StatusOf(path)), path, E_INVALIDARG, "this is a pipe; give the name of a file");
    return files.emplace_back(std::make_unique<OutputFile>(path, size, force)).get();
  };
  const std::string companion = image.packs.empty() ? "" : CompanionOf(image.path);
  const auto stale = FindStaleTexts(image.path, companion, force);
  std::ranges::for_each(stale, image.refuseOwn);
  OutputFile* data =
      image.writeData ? create(Beside(image.path, image.description.dataFile), image.dataBytes) : nullptr;
  if (!companion.empty()) {
    create(companion, image.packs.size())->Write(image.packs);
  }
  create(image.path, image.description.content.size())->Write(image.description.content);
  if (data != nullptr) {
    image.writeData(data);
  }
  PublishAll(files, stale, verify);
}

void AddSilenceToPregaps(imagefile::Image* image, unsigned sessions) {
  for (const imagefile::Session& session : image->Sessions().first(sessions)) {
    ULONG silence = 0; // Sectors of PREGAP lines up to the track; they are not in the file.
    for (ZSTRACK& track : Tracks(session.Record())) {
      const ULONG before = std::exchange(silence, track.dwLBA - imagefile::FilePosition(image->Record(), track));
      track.Pregap += std::max(static_cast<LONG>(silence - before), 0);
      track.dwEndLBA += silence;
    }
  }
}

std::vector<std::string> FindLosses(const imagefile::Image& image, bool isSheet, unsigned sessions, bool withData) {
  const zsimagefileinfo& info = image.Record();
  const LONG blockSize = info.pZSCueSheet[0]->pZSTracks[0].BlockSize;
  std::vector<std::string> losses;
  if (sessions < info.nSessions) {
    losses.push_back(fmt::format("a CUE sheet has one session; sessions left out: {}", info.nSessions - sessions));
  }
  if (!isSheet && blockSize != ZSFILEBLOCKSIZE_2352 && !withData) {
    losses.push_back(fmt::format("readers of TOC files read every sector as 2352 bytes, and this image has {}; a CUE "
                                 "sheet would keep its sectors readable",
                                 blockSize));
  }
  if ((info.lMask & ZSIMAGEMASK_SUBCHANNEL) != 0) {
    losses.emplace_back(isSheet || withData ? "the sub-channel data of the image are left out"
                                            : "the sub-channel data are not copied; the new file expects a .SUB file");
  }
  const auto addTracks = [&](const std::function<bool(const ZSTRACK&)>& losesIt, const char* words) {
    UHYPER count = 0;
    for (const imagefile::Session& session : image.Sessions().first(sessions)) {
      const auto tracks = Tracks(session.Record());
      count += static_cast<UHYPER>(std::ranges::count_if(tracks, losesIt));
    }
    if (count != 0) {
      losses.push_back(fmt::format("{}: {}", Counted(count, "track"), words));
    }
  };
  addTracks([](const ZSTRACK& track) { return track.pdwIndex != nullptr && track.nCountIndex > 2; },
            "indexes above 1 are left out");
  addTracks(
      [=](const ZSTRACK& track) {
        return isSheet && track.Pregap != 0 && (track.Mode != ZSMODE_AUDIO || track.dwLBA == 0);
      },
      "the pregap is not marked; its sectors belong to the track before it");
  addTracks(
      [&, silence = ULONG{0}](const ZSTRACK& track) mutable {
        const ULONG before = std::exchange(silence, track.dwLBA - imagefile::FilePosition(info, track));
        return silence != before;
      },
      "the silence of a PREGAP line becomes sectors of the data file, in the pregap of the track");
  return losses;
}
