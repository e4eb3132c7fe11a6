#include "image/image_record.h"

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

} // namespace

ImageRecord::ImageRecord(const Host& host, const std::string& path, bool partial)
    : m_images(host.Images()), m_path(path), m_info{} {
  HRESULT result = m_images.GetImageFileInfo(Wide(path).get(), &m_info);
  const bool isSizeless = m_info.nSessions == 1 && m_info.pZSCueSheet[0]->nTracks == 1 &&
                          m_info.pZSCueSheet[0]->pZSTracks[0].BlockSize == ZSFILEBLOCKSIZE_NULL;
  if (partial && (result != S_OK || isSizeless)) {
    m_images.FreeImageFileInfo(&m_info);
    const HRESULT partialResult = ReadPartialImage(host, path, &m_info);
    result = partialResult == S_OK || result == S_OK ? partialResult : result;
  }
  if (result != S_OK) {
    throw Failure(path, ExplainOpenFailure(host, path, result), result);
  }
}

ZSCUESHEET& ImageRecord::Session(unsigned number) const {
  if (number < 1 || number > m_info.nSessions) {
    throw Failure(
        m_path,
        fmt::format("no session {}; the image has {}, and 'zsimage info' lists them", number, USHORT{m_info.nSessions}),
        E_INVALIDARG);
  }
  return *m_info.pZSCueSheet[number - 1];
}

std::vector<ZSCUESHEET*> ImageRecord::Sessions(unsigned count) const {
  std::vector<ZSCUESHEET*> sheets;
  for (unsigned i = 0; i < count && i < m_info.nSessions; ++i) {
    sheets.push_back(m_info.pZSCueSheet[i]);
  }
  return sheets;
}

void ImageRecord::VisitTracks(unsigned session, const TrackVisitor& visit) const {
  const auto tracks = Tracks(Session(session));
  std::size_t index = 0;
  for (unsigned before = 1; before < session; ++before) {
    index += Session(before).nTracks;
  }
  const std::vector<imagefile::TrackExtent> extents = imagefile::FindExtents(m_info);
  const std::optional<UHYPER> size = DataSize();
  for (const ZSTRACK& track : tracks) {
    TrackExtent extent{extents[index++], 0};
    extent.missing = size ? extent.Missing(*size) : 0;
    visit(track, extent);
  }
}

std::vector<TrackExtent> ImageRecord::Extents(unsigned session) const {
  std::vector<TrackExtent> extents;
  VisitTracks(session, [&](const ZSTRACK& /*track*/, const TrackExtent& extent) { extents.push_back(extent); });
  return extents;
}

const std::string& ImageRecord::DataFile() const {
  if (m_dataFile.empty()) {
    m_dataFile = SpelledOnDisk(Narrow(m_info.bstrImageBinaryFile));
  }
  return m_dataFile;
}

std::optional<UHYPER> ImageRecord::DataSize() const { return IsItsOwnDataFile() ? std::nullopt : FileSize(DataFile()); }

bool ImageRecord::IsItsOwnDataFile() const {
  const bool isOneFile = m_info.ZSImageFormat == ZSIMAGEFORMAT_ISO || m_info.ZSImageFormat == ZSIMAGEFORMAT_NRG;
  return !isOneFile && IsSameFile(DataFile(), m_path);
}

void ImageRecord::RequireDataFile() const {
  if (DataSize()) {
    return;
  }
  const bool isCcd = m_info.ZSImageFormat == ZSIMAGEFORMAT_CCD;
  const bool namesItself = !isCcd && IsSameFile(DataFile(), m_path);
  throw Failure(isCcd ? WithExtension(m_path, ".img") : DataFile(),
                namesItself ? "the description names itself as its data file and has no sectors"
                            : "no such data file; put it beside the description",
                ZSE_FILENOTFOUND);
}

void ImageRecord::RefuseOwnFiles(const std::string& output) const {
  std::vector<std::string> own{m_path, DataFile()};
  if (HasExtension(m_path, ".CUE")) {
    own.push_back(WithExtension(m_path, ".CDT"));
  }
  if (HasExtension(m_path, ".CUE") || HasExtension(m_path, ".CCD")) {
    own.push_back(WithExtension(m_path, ".SUB"));
  }
  if (std::any_of(own.begin(), own.end(), [&](const std::string& file) { return IsSameFile(file, output); })) {
    throw Failure(output, "this file belongs to the image; give another name", E_INVALIDARG);
  }
}

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
  // The component uses the first FILE line of a sheet. That of the copy names a data file of whole sectors.
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
