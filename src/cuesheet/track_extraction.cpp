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

/// The data of a track in the image file, in bytes.
struct DataSpan {
  UHYPER start;
  UHYPER length;
  UINT dataBlock;
  UINT stride;
};

/// Locates the data of a track. False for numbers that no file and no stream can have.
bool LocateData(const zsimagefileinfo& info, const ZSTRACK& track, UINT nBlockSizeData, DataSpan* span) noexcept {
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
  *span = {info.dwSeekBegin64 + inImage, sectors * dataBlock, dataBlock, stride};
  return true;
}

constexpr ULONG kBlock = 128 * 1024;

/// Writes to a file in whole blocks, which file systems store in one piece. Bytes have the same offset in a page of the
/// buffer and of the file, so that copies are aligned.
class alignas(4096) BlockWriter {
public:
  /// Free space of at least kPumpBytes.
  BYTE* Free() noexcept { return m_bytes + m_end; }
  /// Appends the first bytes of the free space.
  void Append(CZSFile* target, ULONG count) noexcept {
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

  // Cleared, so that a stream that delivers less than it says writes zeros and no memory of the process.
  BYTE m_bytes[4 * kBlock] = {};
  ULONG m_begin = 0; ///< Of the bytes that were not written yet, at the start of a block.
  ULONG m_end = 0;
};

} // namespace

HRESULT ExtractTrack(BSTR imageFile, BSTR label, const zsimagefileinfo& info, const ZSTRACK& track, UINT nBlockSizeData,
                     LONG* callBack, ULONG userParam, const VARIANT& user, IStream** stream) {
  *stream = nullptr;
  const std::string path = NarrowText(imageFile);
  DataSpan span{};
  if (path.empty() || !LocateData(info, track, nBlockSizeData, &span)) {
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
  if (!image->InitStream(file.Get(), NarrowText(label), span.start, span.length,
                         reinterpret_cast<ZSStreamCallback>(callBack), userParam, user)) {
    return S_FALSE;
  }
  image->SetSectors(span.dataBlock, span.stride);
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
    writer->Append(&target, std::min(delivered, kPumpBytes)); // A foreign stream may return any count.
  }
}
