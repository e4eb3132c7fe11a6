#include "image/open_image.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/output_file.h"
#include "files/paths.h"
#include "files/scratch_folder.h"
#include "image/explain.h"
#include "output/failure.h"
#include "output/terminal_text.h"

namespace {

constexpr UHYPER kLargestSheet = 256U << 20;

/// Returns the TRACK line for an ISO image: raw sectors begin with a synchronization pattern (ECMA-130), and have their
/// mode in byte 15.
std::string TrackLineOfIso(const std::string& path) {
  const std::string start = ReadBytes(path, 0, 16);
  const bool isRaw = start.size() == 16 && start.starts_with(std::string_view("\0\xFF\xFF\xFF", 4));
  return fmt::format("TRACK 01 MODE{}/{}\nINDEX 01 00:00:00\n", isRaw && start[15] == 2 ? 2 : 1, isRaw ? 2352 : 2048);
}

/// Returns whether an image has only a track whose sectors have no size.
bool IsSizeless(const imagefile::Image& image) {
  return image.Sessions().size() == 1 && image.Sessions()[0].Tracks().size() == 1 &&
         image.Sessions()[0].Tracks()[0].BlockBytes() == 0;
}

} // namespace

imagefile::Image OpenImage(const std::string& path, bool partial) {
  std::optional<imagefile::Image> image;
  HRESULT result = ZSE_BADIMAGE;
  try {
    image.emplace(path);
  } catch (const imagefile::Error& error) {
    result = error.Code();
  }
  if (partial && (!image || IsSizeless(*image))) {
    image = OpenPartialImage(path);
  }
  return image ? std::move(*image) : throw Failure(path, ExplainOpenFailure(path, result), result);
}

std::optional<imagefile::Image> OpenPartialImage(const std::string& path) {
  const bool isSheet = HasExtension(path, ".CUE");
  const std::string dataFile = isSheet ? DataFileOfSheet(path) : path;
  const std::optional<UHYPER> size = FileSize(dataFile);
  if (!size || (!isSheet && !HasExtension(path, ".ISO"))) {
    return std::nullopt;
  }
  // The component uses the first FILE line of a sheet. That of the copy names a data file of whole sectors.
  const ScratchFolder scratch;
  const std::string copy = scratch.Path("IMAGE.CUE");
  WriteContent(copy,
               "FILE \"SECTORS.BIN\" BINARY\n" + (isSheet ? ReadContent(path, kLargestSheet) : TrackLineOfIso(path)),
               false);
  WriteContent(scratch.Path("SECTORS.BIN"), "", false);
  constexpr UHYPER kStep = ZSFILEBLOCKSIZE_2048;
  std::filesystem::resize_file(scratch.Path("SECTORS.BIN"), (*size + kStep - 1) / kStep * kStep);
  zsimagefileinfo info{};
  const HRESULT result = imagefile::Interfaces().Images().GetImageFileInfo(Wide(copy).get(), &info);
  imagefile::Image image(&info, path);
  if (result != S_OK) {
    return std::nullopt;
  }
  SysFreeString(image.Record().bstrImageBinaryFile);
  image.Record().bstrImageBinaryFile = Wide(dataFile).release();
  image.Record().ZSImageFormat = isSheet ? ZSIMAGEFORMAT_CUE : ZSIMAGEFORMAT_ISO;
  return image;
}

const imagefile::Session& SessionOf(const imagefile::Image& image, unsigned number) {
  if (number < 1 || number > image.Sessions().size()) {
    Fail(image.Path(), E_INVALIDARG, "no session {}; the image has {}, and 'zsimage info' lists them", number,
         image.Sessions().size());
  }
  return image.Sessions()[number - 1];
}

UHYPER DataSize(const imagefile::Image& image) { return image.DataFileBytes().value_or(kToEndOfFile); }

void RequireDataFile(const imagefile::Image& image) {
  if (image.DataFileBytes()) {
    return;
  }
  const bool isCcd = image.Format() == imagefile::Format::Ccd;
  const bool namesItself = !isCcd && IsSameFile(image.DataFile(), image.Path());
  throw Failure(isCcd ? WithExtension(image.Path(), ".img") : image.DataFile(),
                namesItself ? "the description names itself as its data file and has no sectors"
                            : "no such data file; put it beside the description",
                ZSE_FILENOTFOUND);
}

void RequireSizes(const imagefile::Image& image, std::size_t sessions) {
  for (const imagefile::Session& session : image.Sessions().first(sessions)) {
    const auto hasNone = [](const imagefile::Track& track) { return track.BlockBytes() == 0; };
    if (std::ranges::any_of(session.Tracks(), hasNone)) {
      throw Failure(image.Path(), DescribeMissingSize(image), ZSE_FAILED);
    }
  }
}

std::string DataFileOfSheet(const std::string& path) {
  BSTR named = nullptr;
  imagefile::Interfaces().Sheets().GetBinaryFile(Wide(path).get(), &named);
  const std::string found = Narrow(UniqueBstr(named).get());
  return found == platform::FolderOf(path) ? "" : SpelledOnDisk(found);
}
