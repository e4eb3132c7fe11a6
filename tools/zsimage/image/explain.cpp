#include "image/explain.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "files/files.h"
#include "files/output_file.h"
#include "output/failure.h"
#include "platform/paths.h"
#include "platform/text.h"

namespace {

constexpr const char* kReadable = "images are read by their .iso, .cue, .nrg, .ccd, .mds or .zsi file";

constexpr const char* kNoFileLine = "the sheet has no data file: no FILE line has a name in double quotes";

std::string ExplainClosed(const std::string& path) {
  std::string resolved;
  struct stat status {};
  if (path.empty()) {
    return "the path is empty";
  }
  if (!ResolveFilePath(path, &resolved) || stat(resolved.c_str(), &status) != 0) {
    return "no such file";
  }
  if (S_ISDIR(status.st_mode)) {
    return std::string("this is a folder; ") + kReadable;
  }
  if (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode)) {
    return "this is neither a file nor a block device";
  }
  return "the file exists but cannot be opened for reading; look at its permissions";
}

/// A sheet that names a file has been read, so that file is the closed one.
std::string ExplainClosedSheet(const Host& host, const std::string& path) {
  const std::string named = NamedBySheet(host, path);
  if (named.empty()) {
    return kNoFileLine;
  }
  return named == path ? ExplainClosed(path) : "its data file " + TerminalText(named) + ": " + ExplainClosed(named);
}

std::string ExplainMissing(const Host& host, const std::string& path, const std::string& extension) {
  if (extension == ".CUE") {
    const std::string named = NamedBySheet(host, path);
    if (named.empty()) {
      return kNoFileLine;
    }
    const std::string name = FileName(named);
    const bool isBeside = named == Beside(path, name);
    return "the sheet names " + TerminalText(isBeside ? name : named) + "; no such file" +
           (isBeside ? " beside it" : "") + ", in any case; put it there, or correct the FILE line";
  }
  if (extension == ".MDS") {
    return "the description has its sectors in " + TerminalText(WithExtension(FileName(path), ".MDF")) +
           ", and there is no such file beside it, or the description ends too early";
  }
  return std::string(CodeWords(ZSE_FILENOTFOUND));
}

std::string ExplainSheet(const Host& host, const std::string& path) {
  const std::string named = NamedBySheet(host, path);
  if (named.empty() || named == path) {
    return kNoFileLine;
  }
  const UniqueSheet sheet = MakeSheet(host, 0);
  const HRESULT result = host.Sheets().AnalyzeCueSheet(Wide(path).get(), sheet.get());
  if (result == ZSE_BADIMAGE) {
    const std::string mark = SoundMark(named);
    return "its data file " + TerminalText(FileName(named)) +
           " is no whole number of sectors: " + OddSizeWords(host, path) +
           (mark.empty() ? "" : "; it is a sound file (" + mark + ") and not raw samples");
  }
  return result == S_OK ? "the sheet has no TRACK line" : std::string(CodeWords(E_OUTOFMEMORY));
}

/// Words that need no look at the image.
constexpr struct {
  HRESULT result;
  const char* extensions;
  const char* words;
} kWords[] = {
    {ZSE_BADIMAGE, ".BIN.IMG.MDF",
     "a bare data file does not say what it holds; give the .cue, .ccd or .mds file that belongs to it"},
    {ZSE_BADIMAGE, ".BWT.B5T", "BlindWrite images are recognised but not read; convert the image to a CUE sheet first"},
    {ZSE_BADIMAGE, ".CUE.NRG.CCD.MDS",
     "the file is damaged, or its contents are not what its extension says, or memory is short"},
    {ZSE_BADIMAGE, ".ZSI", "the data file that the description names cannot be opened, or memory is short"},
    {ZSE_FAILED, ".ZSI",
     "this is not a complete TOC file: the data file's name, a track count or a track's mode is missing"},
    {ZSE_OUTOFRESOURCES, ".CCD", "the description counts more than 99 sessions, or memory is short"},
    {ZSE_OUTOFRESOURCES, ".MDS",
     "a data track has a mode that is neither 1 nor 2, or there are more than 99 sessions, or memory is short"},
};

constexpr UHYPER kLargestSheet = 256U << 20;

/// The TRACK line that fits the first sector of an ISO image: raw sectors begin with a pattern (ECMA-130).
std::string TrackOfIso(const std::string& path) {
  const std::string start = BytesAt(path, 0, 16);
  const bool isRaw = start.starts_with(std::string("\0\xFF\xFF\xFF", 4)) && start.size() == 16;
  return Format("TRACK 01 MODE%d/%d\nINDEX 01 00:00:00\n", isRaw && start[15] == 2 ? 2 : 1, isRaw ? 2352 : 2048);
}

} // namespace

std::string NamedBySheet(const Host& host, const std::string& path) {
  BSTR named = nullptr;
  host.Sheets().GetBinaryFile(Wide(path).get(), &named);
  const std::string found = Narrow(UniqueBstr(named).get());
  return found == Beside(path, "") ? "" : OnDisk(found);
}

std::string ExplainOpenFailure(const Host& host, const std::string& path, HRESULT result) {
  const std::string extension = platform::Upper(path.substr(path.size() < 4 ? 0 : path.size() - 4));
  const bool isSheet = extension == ".CUE";
  if (result == ZSE_CANNOTOPENIMAGE) {
    return isSheet ? ExplainClosedSheet(host, path) : ExplainClosed(path);
  }
  if (result == ZSE_FILENOTFOUND) {
    return ExplainMissing(host, path, extension);
  }
  if (result == ZSE_FAILED && isSheet) {
    return ExplainSheet(host, path);
  }
  if (result == ZSE_BADIMAGE && extension == ".ISO") {
    return "the size is no whole number of sectors and there is no ISO 9660 volume descriptor in it: " +
           OddSizeWords(host, path);
  }
  for (const auto& entry : kWords) {
    if (result == entry.result && extension.size() == 4 &&
        std::string_view(entry.extensions).find(extension) != std::string_view::npos) {
      return entry.words;
    }
  }
  return result == ZSE_BADIMAGE ? std::string("files with this extension are not read; ") + kReadable
                                : std::string(CodeWords(result));
}

HRESULT ReadPartialImage(const Host& host, const std::string& path, zsimagefileinfo* info) {
  const bool isSheet = EndsWith(path, ".CUE");
  const std::string dataFile = isSheet ? NamedBySheet(host, path) : path;
  const std::optional<UHYPER> size = FileSize(dataFile);
  if (!size || (!isSheet && !EndsWith(path, ".ISO"))) {
    return ZSE_BADIMAGE;
  }
  // A copy of the sheet beside a file of a size that the component takes. The first FILE line names the data file.
  const ScratchFolder scratch;
  std::string sheet = "FILE \"SECTORS.BIN\" BINARY\n";
  if (isSheet) {
    const std::vector<BYTE> lines = ReadWholeFile(path, kLargestSheet);
    sheet.append(lines.begin(), lines.end());
  } else {
    sheet += TrackOfIso(path);
  }
  WriteWholeFile(scratch.Path("IMAGE.CUE"), sheet, false);
  WriteWholeFile(scratch.Path("SECTORS.BIN"), "", false);
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
  VisitPlaces(info, 0, std::nullopt, [&](const ZSTRACK& /*track*/, const TrackPlace& place) {
    blockSize = std::max(place.blockSize, 1U);
    over = (size > place.begin ? size - place.begin : size) % blockSize;
  });
  host.Images().FreeImageFileInfo(&info);
  return (over == 0 ? "its size fits no single kind of sectors"
                    : std::to_string(over) + (over == 1 ? " byte is" : " bytes are") +
                          Format(" over after whole sectors of %u bytes", blockSize)) +
         "; 'zsimage extract --partial' saves the whole sectors";
}

std::string SizelessWords(const Host& host, const ImageRecord& image) {
  return image.Info().ZSImageFormat == ZSIMAGEFORMAT_ISO ? OddSizeWords(host, image.Path())
                                                         : "the description gives its sectors no size";
}
