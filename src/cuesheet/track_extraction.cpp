#include "cuesheet/track_extraction.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

#include "cuesheet/image_stream.h"
#include "disc/track_table.h"
#include "foundation/file.h"
#include "foundation/strings.h"

namespace {

constexpr UINT kLargestDataBlock = 2448; // A raw sector with its sub-channel.
constexpr ULONG kPumpBytes = 65535;      // What each read of the pump asks for.

/// Where the data of a track stand in the image file, in bytes.
struct DataPlace {
  UHYPER start;
  UHYPER length;
  UINT dataBlock;
  UINT stride;
};

/// False for numbers that no file and no stream can have.
bool LocateData(const zsimagefileinfo& info, const ZSTRACK& track, UINT nBlockSizeData, DataPlace* place) noexcept {
  const ULONG stride = BytesOf(track.BlockSize);
  const UINT dataBlock = nBlockSizeData == 0 ? stride : nBlockSizeData;
  if (dataBlock > stride || dataBlock > kLargestDataBlock) {
    return false;
  }
  const UHYPER sectors = track.dwEndLBA > track.dwLBA ? track.dwEndLBA - track.dwLBA : 0;
  const UHYPER inImage = UHYPER{track.dwLBA} * stride + (dataBlock == stride ? 0 : info.nSubCount);
  if (info.dwSeekBegin64 > std::numeric_limits<UHYPER>::max() - inImage) {
    return false;
  }
  *place = {info.dwSeekBegin64 + inImage, sectors * dataBlock, dataBlock, stride};
  return true;
}

constexpr ULONG kPage = 4096;

/// Writes to a file in whole pages, out of whole pages: file systems and copies are slow where one begins or ends
/// inside of one.
class alignas(kPage) PageWriter {
public:
  /// Room for kPumpBytes.
  BYTE* Free() noexcept { return m_bytes + m_held; }
  /// Takes what was put into the room.
  void Take(CZSFile* target, ULONG count) noexcept {
    m_held += count;
    const ULONG whole = m_held / kPage * kPage;
    target->Write(m_bytes, whole);
    m_held -= whole;
    std::memmove(m_bytes, m_bytes + whole, m_held);
  }
  void Finish(CZSFile* target) noexcept { target->Write(m_bytes, m_held); }

private:
  // A stream that delivers less than it says leaves zeros, and nothing of the process.
  BYTE m_bytes[kPage + kPumpBytes] = {};
  ULONG m_held = 0; ///< Less than a page between two pieces.
};

} // namespace

HRESULT ExtractTrack(BSTR imageFile, BSTR label, const zsimagefileinfo& info, const ZSTRACK& track, UINT nBlockSizeData,
                     LONG* callBack, ULONG userParam, const VARIANT& user, IStream** stream) {
  *stream = nullptr;
  const std::string path = NarrowText(imageFile);
  DataPlace place{};
  if (path.empty() || !LocateData(info, track, nBlockSizeData, &place)) {
    return S_FALSE;
  }
  const UniqueHandle file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, 0));
  if (!file) {
    return S_FALSE;
  }
  ComPtr<IStream> made;
  const HRESULT result = CreateObject<CZSImageStream>(nullptr, IID_IStream, made.ReceiveVoid());
  if (FAILED(result)) {
    return result;
  }
  auto* image = static_cast<CZSImageStream*>(made.Get());
  if (!image->InitStream(file.Get(), NarrowText(label), place.start, place.length,
                         reinterpret_cast<ZSStreamCallback>(callBack), userParam, user)) {
    return S_FALSE;
  }
  image->SetSectors(place.dataBlock, place.stride);
  *stream = made.Detach();
  return S_OK;
}

HRESULT PumpStream(IStream* stream, BSTR file) {
  const std::string path = NarrowText(file);
  if (stream == nullptr || path.empty()) {
    return E_INVALIDARG;
  }
  const std::unique_ptr<PageWriter> writer(new (std::nothrow) PageWriter);
  CZSFile target;
  if (!writer || !target.Open(path, GENERIC_WRITE, FILE_SHARE_NONE, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL)) {
    return S_OK;
  }
  for (;;) {
    ULONG delivered = 0;
    stream->Read(writer->Free(), kPumpBytes, &delivered);
    if (delivered == 0) {
      writer->Finish(&target);
      return S_OK;
    }
    writer->Take(&target, std::min(delivered, kPumpBytes)); // The stream may be anyone's.
  }
}
