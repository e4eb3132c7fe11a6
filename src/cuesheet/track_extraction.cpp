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

constexpr ULONG kBlock = 128 * 1024;

/// Writes to a file in whole blocks, which file systems keep in one piece and copy fast. Pieces stand in the buffer as
/// they stand in the file, so that a copy begins at the same place of a page on both sides.
class alignas(4096) BlockWriter {
public:
  /// Room for kPumpBytes.
  BYTE* Free() noexcept { return m_bytes + m_end; }
  /// Takes what was put into the room.
  void Take(CZSFile* target, ULONG count) noexcept {
    m_end += count;
    Write(target, (m_end - m_begin) / kBlock * kBlock);
    if (sizeof(m_bytes) - m_end < kPumpBytes) {
      m_end -= m_begin;
      std::memmove(m_bytes, m_bytes + m_begin, m_end);
      m_begin = 0;
    }
  }
  void Finish(CZSFile* target) noexcept { Write(target, m_end - m_begin); }

private:
  void Write(CZSFile* target, ULONG count) noexcept {
    target->Write(m_bytes + m_begin, count);
    m_begin += count;
  }

  // A stream that delivers less than it says leaves zeros, and nothing of the process.
  BYTE m_bytes[4 * kBlock] = {};
  ULONG m_begin = 0; ///< Of what was not written yet, at the start of a block.
  ULONG m_end = 0;
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
  const std::unique_ptr<BlockWriter> writer(new (std::nothrow) BlockWriter);
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
