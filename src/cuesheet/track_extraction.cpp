#include "cuesheet/track_extraction.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "cuesheet/block_writer.h"
#include "cuesheet/image_stream.h"
#include "disc/track_table.h"
#include "foundation/file.h"
#include "foundation/strings.h"

namespace {

constexpr UINT kLargestDataBlock = 2448; // A raw sector with its sub-channel.

/// The data of a track in the image file, in bytes.
struct DataSpan {
  UHYPER start;
  UHYPER length;
  UINT dataBlock;
  UINT stride;
};

/// Locates the data of a track. Returns false if the data block is larger than a sector or the offset than 64 bits.
bool LocateData(const zsimagefileinfo& info, const ZSTRACK& track, UINT nBlockSizeData, DataSpan* span) noexcept {
  const ULONG stride = BytesOf(track.BlockSize);
  const UINT dataBlock = nBlockSizeData == 0 ? stride : nBlockSizeData;
  if (dataBlock > stride || dataBlock > kLargestDataBlock) {
    return false;
  }
  const UHYPER sectors = track.dwEndLBA > track.dwLBA ? track.dwEndLBA - track.dwLBA : 0;
  const UHYPER offsetInImage = UHYPER{track.dwLBA} * stride + (dataBlock == stride ? 0 : info.nSubCount);
  if (info.dwSeekBegin64 > std::numeric_limits<UHYPER>::max() - offsetInImage) {
    return false;
  }
  *span = {info.dwSeekBegin64 + offsetInImage, sectors * dataBlock, dataBlock, stride};
  return true;
}

} // namespace

HRESULT ExtractTrack(BSTR imageFile, BSTR label, const zsimagefileinfo& info, const ZSTRACK& track, UINT nBlockSizeData,
                     LONG* callBack, ULONG userParam, const VARIANT& user, IStream** stream) {
  const std::string path = NarrowText(imageFile);
  DataSpan span{};
  if (path.empty() || !LocateData(info, track, nBlockSizeData, &span)) {
    return S_FALSE;
  }
  const UniqueHandle file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, 0));
  if (!file) {
    return S_FALSE;
  }
  ComPtr<IStream> newStream;
  const HRESULT result = CreateObject<CZSImageStream>(nullptr, IID_IStream, newStream.ReceiveVoid());
  if (FAILED(result)) {
    return result;
  }
  auto* image = static_cast<CZSImageStream*>(newStream.Get());
  if (!image->InitStream(file.Get(), NarrowText(label), span.start, span.length,
                         reinterpret_cast<ZSStreamCallback>(callBack), userParam, user)) {
    return S_FALSE;
  }
  image->SetSectors(span.dataBlock, span.stride);
  *stream = newStream.Detach();
  return S_OK;
}

HRESULT CopyStreamToFile(IStream* stream, BSTR file) {
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
    stream->Read(writer->FreeSpace(), BlockWriter::kMinFreeSpace, &delivered);
    if (delivered == 0) {
      writer->Finish(&target);
      return S_OK;
    }
    writer->Append(&target, std::min(delivered, BlockWriter::kMinFreeSpace)); // A host's stream may return any count.
  }
}
