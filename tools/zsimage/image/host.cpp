#include "image/host.h"

#include "files/files.h"
#include "image/explain.h"
#include "output/failure.h"
#include "platform/class_objects.h"
#include "platform/message_box.h"

namespace {

template <class I> void Create(const OLECHAR* progId, REFIID iid, ComPtr<I>* object) {
  CLSID clsid{};
  Check(CLSIDFromProgID(progId, &clsid), "");
  Check(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object->ReceiveVoid()), "");
}

/// Drops the message boxes of the component. The tool has messages of its own.
class NoMessages final : public MessageHandler {
  void Show(std::string_view /*text*/, std::string_view /*caption*/, UINT /*type*/) noexcept override {}
};
NoMessages g_noMessages;

} // namespace

Host::Host() {
  SetMessageHandler(&g_noMessages);
  Create(kProgIdImageFile, IID_IZSImageFile, &m_images);
  Create(kProgIdCueSheet, IID_IZSCueSheet, &m_sheets);
}

ImageRecord::ImageRecord(const Host& host, const std::string& path, bool partial)
    : m_images(host.Images()), m_path(path), m_info{} {
  HRESULT result = m_images.GetImageFileInfo(Wide(path).get(), &m_info);
  const bool isSizeless = m_info.nSessions == 1 && m_info.pZSCueSheet[0]->nTracks == 1 &&
                          m_info.pZSCueSheet[0]->pZSTracks[0].BlockSize == ZSFILEBLOCKSIZE_NULL;
  if (partial && (result != S_OK || isSizeless)) {
    m_images.FreeImageFileInfo(&m_info);
    const HRESULT first = result;
    result = ReadPartialImage(host, path, &m_info);
    result = result == S_OK || first == S_OK ? result : first;
  }
  if (result != S_OK) {
    throw Failure(path, ExplainOpenFailure(host, path, result), result);
  }
}

const std::string& ImageRecord::DataFile() const {
  if (m_dataFile.empty()) {
    m_dataFile = OnDisk(Narrow(m_info.bstrImageBinaryFile));
  }
  return m_dataFile;
}

bool ImageRecord::IsItsOwnDataFile() const {
  const bool hasOther = m_info.ZSImageFormat != ZSIMAGEFORMAT_ISO && m_info.ZSImageFormat != ZSIMAGEFORMAT_NRG;
  return hasOther && SameFile(DataFile(), m_path);
}

std::optional<UHYPER> ImageRecord::DataSize() const { return IsItsOwnDataFile() ? std::nullopt : FileSize(DataFile()); }

std::vector<TrackPlace> ImageRecord::Places(unsigned session) const {
  std::vector<TrackPlace> places;
  VisitTracks(session, [&](const ZSTRACK& /*track*/, const TrackPlace& place) { places.push_back(place); });
  return places;
}

void ImageRecord::RequireDataFile() const {
  if (DataSize()) {
    return;
  }
  if (m_info.ZSImageFormat == ZSIMAGEFORMAT_CCD) {
    throw Failure(WithExtension(m_path, ".img"), "there is no such data file; put it there", ZSE_FILENOTFOUND);
  }
  throw Failure(DataFile(),
                SameFile(DataFile(), m_path) ? "the description names no data file but itself, which holds no sectors"
                                             : "there is no such data file; put it there",
                ZSE_FILENOTFOUND);
}

void ImageRecord::RefuseOwnFiles(const std::string& output) const {
  std::vector<std::string> own{m_path, DataFile()};
  if (EndsWith(m_path, ".CUE")) {
    own.push_back(WithExtension(m_path, ".CDT"));
  }
  if (EndsWith(m_path, ".CUE") || EndsWith(m_path, ".CCD")) {
    own.push_back(WithExtension(m_path, ".SUB"));
  }
  if (IsOneOf(output, own)) {
    throw Failure(output, "this file belongs to the image that is read; give another name", E_INVALIDARG);
  }
}

ZSCUESHEET& ImageRecord::Session(unsigned number) const {
  if (number < 1 || number > m_info.nSessions) {
    throw Failure(m_path,
                  Format("there is no session %u; the image has %u, and 'zsimage info' lists them", number,
                         unsigned{m_info.nSessions}),
                  E_INVALIDARG);
  }
  return *m_info.pZSCueSheet[number - 1];
}

UniqueSheet MakeSheet(const Host& host, unsigned tracks) {
  ZSCUESHEET* made = nullptr;
  Check(host.Sheets().AllocCueSheet(&made), "");
  UniqueSheet sheet(made, SheetFree{&host.Sheets()});
  sheet->pZSTracks = tracks == 0 ? nullptr : AllocateCleared<ZSTRACK>(tracks);
  if (tracks != 0 && sheet->pZSTracks == nullptr) {
    throw std::bad_alloc();
  }
  sheet->nTracks = tracks;
  for (unsigned i = 0; i < tracks; ++i) {
    sheet->pZSTracks[i].TNO = i + 1;
  }
  return sheet;
}

std::vector<BYTE> EncodeText(const Host& host, ZSCUESHEET* sheet, bool withSubChannel) {
  bool hasText = HasText(sheet->ZSCDTEXT);
  for (UINT i = 0; i < sheet->nTracks; ++i) {
    hasText = hasText || HasText(sheet->pZSTracks[i]);
  }
  sheet->ZSCDTEXT.CDTextPresent = hasText ? VARIANT_TRUE : VARIANT_FALSE;
  BYTE* data = nullptr;
  LONG length = 0;
  const HRESULT result =
      host.Sheets().EncodeCDText(sheet, withSubChannel ? VARIANT_TRUE : VARIANT_FALSE, &data, &length);
  const TaskMemory<BYTE> owned(data);
  Check(FAILED(result) ? result : S_OK, "");
  return {data, data + length};
}
