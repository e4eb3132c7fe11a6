#include "image/partial_image.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/output_file.h"
#include "files/paths.h"
#include "files/scratch_folder.h"
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

} // namespace

std::string DataFileOfSheet(const Host& host, const std::string& path) {
  BSTR named = nullptr;
  host.Sheets().GetBinaryFile(Wide(path).get(), &named);
  const std::string found = Narrow(UniqueBstr(named).get());
  return found == Beside(path, "") ? "" : SpelledOnDisk(found);
}

HRESULT ReadPartialImage(const Host& host, const std::string& path, zsimagefileinfo* info) {
  const bool isSheet = HasExtension(path, ".CUE");
  const std::string dataFile = isSheet ? DataFileOfSheet(host, path) : path;
  const std::optional<UHYPER> size = FileSize(dataFile);
  if (!size || (!isSheet && !HasExtension(path, ".ISO"))) {
    return ZSE_BADIMAGE;
  }
  // A copy of the sheet, with a data file of a size that the component accepts. The first FILE line names it.
  const ScratchFolder scratch;
  WriteContent(scratch.Path("IMAGE.CUE"),
               "FILE \"SECTORS.BIN\" BINARY\n" + (isSheet ? ReadContent(path, kLargestSheet) : TrackLineOfIso(path)),
               false);
  WriteContent(scratch.Path("SECTORS.BIN"), "", false);
  constexpr UHYPER kStep = ZSFILEBLOCKSIZE_2048;
  std::filesystem::resize_file(scratch.Path("SECTORS.BIN"), (*size + kStep - 1) / kStep * kStep);
  const HRESULT result = host.Images().GetImageFileInfo(Wide(scratch.Path("IMAGE.CUE")).get(), info);
  if (result == S_OK) {
    SysFreeString(info->bstrImageBinaryFile);
    info->bstrImageBinaryFile = Wide(dataFile).release();
    info->ZSImageFormat = isSheet ? ZSIMAGEFORMAT_CUE : ZSIMAGEFORMAT_ISO;
  }
  return result;
}

std::string OddSizeWords(const Host& host, const std::string& path) {
  zsimagefileinfo info{};
  if (ReadPartialImage(host, path, &info) != S_OK) {
    return "no size of sectors is known";
  }
  const UHYPER size = FileSize(Narrow(info.bstrImageBinaryFile)).value_or(0);
  UHYPER over = 0;
  UINT blockSize = 0;
  VisitTracks(info, 0, std::nullopt, [&](const ZSTRACK& /*track*/, const TrackExtent& extent) {
    blockSize = std::max(extent.blockSize, 1U);
    over = (size > extent.begin ? size - extent.begin : size) % blockSize;
  });
  host.Images().FreeImageFileInfo(&info);
  const std::string words = over == 0 ? "its size fits no single kind of sectors"
                                      : fmt::format("{} {} over after whole sectors of {} bytes", Counted(over, "byte"),
                                                    over == 1 ? "is" : "are", blockSize);
  return words + "; 'zsimage extract --partial' saves the whole sectors";
}

std::string SizelessWords(const Host& host, const ImageRecord& image) {
  return image.Info().ZSImageFormat == ZSIMAGEFORMAT_ISO ? OddSizeWords(host, image.Path())
                                                         : "the description gives its sectors no size";
}
