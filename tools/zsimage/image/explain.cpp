#include "image/explain.h"

#include <algorithm>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/paths.h"
#include "image/disc_text.h"
#include "image/sheet_lines.h"
#include "output/failure.h"
#include "output/terminal_text.h"
#include "platform/text.h"

namespace {

constexpr const char* kReadable = "give the .iso, .cue, .nrg, .ccd, .mds or .zsi file of an image";

constexpr const char* kNoFileLine = "the sheet names no data file: no FILE line has a name in double quotes";

std::string ExplainClosed(const std::string& path) {
  if (path.empty()) {
    return "the path is empty";
  }
  const auto status = StatusOf(path);
  if (!std::filesystem::exists(status)) {
    return "no such file";
  }
  if (std::filesystem::is_directory(status)) {
    return std::string("this is a folder; ") + kReadable;
  }
  if (!std::filesystem::is_regular_file(status) && !std::filesystem::is_block_file(status)) {
    return "this is neither a file nor a block device";
  }
  return "the file cannot be opened for reading; look at its permissions";
}

/// If the sheet names a data file, the component has read the sheet, and the data file is what it could not open.
std::string ExplainClosedSheet(const std::string& path) {
  const std::string dataFile = DataFileOfSheet(path);
  if (dataFile.empty()) {
    return kNoFileLine;
  }
  // The component returns narrow text, and a path may be UTF-8.
  return TerminalText(dataFile) == TerminalText(path)
             ? ExplainClosed(path)
             : fmt::format("its data file {}: {}", TerminalText(dataFile), ExplainClosed(dataFile));
}

std::string ExplainMissing(const std::string& path, const std::string& extension) {
  if (extension == ".CUE") {
    const std::string dataFile = DataFileOfSheet(path);
    if (dataFile.empty()) {
      return kNoFileLine;
    }
    const std::string name = FileName(dataFile);
    const bool isBeside = dataFile == Beside(path, name);
    return fmt::format("the sheet names {}; no such file{}, in upper or lower case; put it there, or "
                       "correct the FILE line",
                       TerminalText(isBeside ? name : dataFile), isBeside ? " beside it" : "");
  }
  if (extension == ".MDS") {
    return fmt::format("the sectors are in {}, and there is no such file beside the description; or the description "
                       "ends too early",
                       TerminalText(WithExtension(FileName(path), ".MDF")));
  }
  return std::string(MeaningOf(ZSE_FILENOTFOUND).words);
}

std::string ExplainSheet(const std::string& path) {
  const std::string dataFile = DataFileOfSheet(path);
  if (dataFile.empty() || TerminalText(dataFile) == TerminalText(path)) {
    return kNoFileLine;
  }
  imagefile::Image blank = imagefile::DecodeCdText({}, 0); // Owns an empty sheet.
  const HRESULT result =
      imagefile::Interfaces().Sheets().AnalyzeCueSheet(Wide(path).get(), blank.Record().pZSCueSheet[0]);
  if (result == ZSE_BADIMAGE) {
    const std::string name = TerminalText(FileName(dataFile));
    const std::string type = SoundFileType(dataFile);
    return type.empty()
               ? fmt::format("its data file {} is not a whole number of sectors: {}", name, DescribeOddSize(path))
               : fmt::format("its data file {} is a sound file ({}) and not raw samples", name, type);
  }
  return result == S_OK ? "the sheet has no TRACK line" : std::string(MeaningOf(E_OUTOFMEMORY).words);
}

/// Meaning of a result for files with these extensions.
constexpr struct {
  HRESULT result;
  const char* extensions;
  const char* words;
} kExplanations[] = {
    {ZSE_BADIMAGE, ".BIN.IMG.MDF",
     "a data file alone does not say what it holds; give the .cue, .ccd or .mds file that belongs to it"},
    {ZSE_BADIMAGE, ".BWT.B5T", "BlindWrite images are not supported; convert the image to a CUE sheet first"},
    {ZSE_BADIMAGE, ".CUE.NRG.CCD.MDS",
     "the file is damaged, or its content is not what its extension says, or there is not enough memory"},
    {ZSE_BADIMAGE, ".ZSI", "the data file that the description names cannot be opened, or there is not enough memory"},
    {ZSE_FAILED, ".ZSI",
     "this is not a complete TOC file: the name of the data file, a track count or the mode of a track is missing"},
    {ZSE_OUTOFRESOURCES, ".CCD", "the description has more than 99 sessions, or there is not enough memory"},
    {ZSE_OUTOFRESOURCES, ".MDS",
     "a data track has a mode that is neither 1 nor 2, or there are more than 99 sessions, or there is not enough "
     "memory"},
};

std::string Explain(const std::string& path, HRESULT result) {
  const std::string extension = platform::Upper(path.substr(path.size() < 4 ? 0 : path.size() - 4));
  const bool isSheet = extension == ".CUE";
  if (result == ZSE_CANNOTOPENIMAGE) {
    return isSheet ? ExplainClosedSheet(path) : ExplainClosed(path);
  }
  if (result == ZSE_FILENOTFOUND) {
    return ExplainMissing(path, extension);
  }
  if (result == ZSE_FAILED && isSheet) {
    return ExplainSheet(path);
  }
  if (result == ZSE_BADIMAGE && extension == ".ISO") {
    return "this is not a whole number of sectors, and it has no ISO 9660 volume descriptor: " + DescribeOddSize(path);
  }
  for (const auto& entry : kExplanations) {
    if (result == entry.result && extension.size() == 4 &&
        std::string_view(entry.extensions).find(extension) != std::string_view::npos) {
      return entry.words;
    }
  }
  return result == ZSE_BADIMAGE ? std::string("files with this extension are not read; ") + kReadable
                                : std::string(MeaningOf(result).words);
}

} // namespace

std::string ExplainOpenFailure(const std::string& path, HRESULT result) {
  const std::string words = Explain(path, result);
  const bool isSheet = HasExtension(path, ".CUE");
  const std::string advice = isSheet ? ReadSheetNotes(path, DataFileOfSheet(path)).joinAdvice : "";
  return words + (advice.empty() ? "" : "; " + advice);
}

std::string DescribeOddSize(const std::string& path) {
  const std::optional<imagefile::Image> image = OpenPartialImage(path);
  if (!image) {
    return "no size of sectors is known";
  }
  const UHYPER size = image->DataFileBytes().value_or(0);
  UHYPER over = 0;
  UINT blockSize = 0;
  if (!image->Sessions().empty() && !image->Sessions().back().Tracks().empty()) {
    const imagefile::Track& last = image->Sessions().back().Tracks().back();
    blockSize = std::max(last.BlockBytes(), 1U);
    over = (size > last.OffsetBytes() ? size - last.OffsetBytes() : size) % blockSize;
  }
  const std::string words = over == 0 ? "its size fits no single kind of sectors"
                                      : fmt::format("{} {} over after whole sectors of {} bytes", Counted(over, "byte"),
                                                    over == 1 ? "is" : "are", blockSize);
  return words + "; 'zsimage extract --partial' saves the whole sectors";
}

std::string DescribeMissingSize(const imagefile::Image& image) {
  return image.Format() == imagefile::Format::Iso ? DescribeOddSize(image.Path())
                                                  : "the description states no size of its sectors";
}

std::string KindOfImage(const imagefile::Image& image) {
  const UHYPER size = DataSize(image);
  UHYPER sectors = 0;
  bool isSizeless = false;
  for (const imagefile::Session& session : image.Sessions()) {
    for (const imagefile::Track& track : session.Tracks()) {
      sectors += UHYPER{track.SectorsInFile()} + track.MissingSectors(size);
      isSizeless = isSizeless || track.BlockBytes() == 0;
    }
  }
  if (sectors != 0) {
    return DescribeKind(image.Record().ZSTYPEPROJECT);
  }
  if (size == 0) {
    return "none: the image is empty";
  }
  if (isSizeless) {
    return "none: " + DescribeMissingSize(image);
  }
  return image.Format() == imagefile::Format::Nrg
             ? "none: no sectors; chunks of older versions (CUES, DAOI, ETNF) are not read"
             : "none: the image has no sectors";
}
