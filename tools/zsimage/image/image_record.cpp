#include "image/image_record.h"

#include <algorithm>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/paths.h"
#include "image/explain.h"
#include "image/partial_image.h"
#include "output/failure.h"
#include "output/terminal_text.h"

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
  Session(session);
  ::VisitTracks(m_info, session - 1, DataSize(), visit);
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
  if (m_info.ZSImageFormat == ZSIMAGEFORMAT_CCD) {
    throw Failure(WithExtension(m_path, ".img"), "no such data file; put it beside the description", ZSE_FILENOTFOUND);
  }
  throw Failure(DataFile(),
                IsSameFile(DataFile(), m_path) ? "the description names itself as its data file and holds no sectors"
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
