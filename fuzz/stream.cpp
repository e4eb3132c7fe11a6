// The stream of a track: any geometry, any read sizes, failing and short reads of the file, and callbacks that change
// or cancel reads. The input is a head of numbers, a plan for the reads of the file (support/memory_files.h), and the
// sizes to read.
#include <algorithm>
#include <array>
#include <vector>

#include "foundation/byte_view.h"
#include "support/harness.h"

namespace {

/// Action of a callback before each read.
enum class Reaction : BYTE { None, Watch, Shrink, NoBuffer, Cancel, Count };

struct Head {
  std::uint16_t stride = 0;
  std::uint16_t dataBlock = 0;
  std::uint16_t subCount = 0;
  std::uint16_t fileSize = 0;
  ULONG lba = 0;
  ULONG end = 0;
  UHYPER seekBegin = 0;
  BYTE reaction = 0;
  BYTE planned = 0;
};
constexpr std::size_t kHeadSize = 26;

Head ReadHead(const ByteView& input) {
  BlockView block;
  input.Block(0, input.Size(), &block);
  return {.stride = block.Little16(0),
          .dataBlock = block.Little16(2),
          .subCount = block.Little16(4),
          .fileSize = block.Little16(6),
          .lba = block.Little32(8),
          .end = block.Little32(12),
          .seekBegin = block.Little64(16),
          .reaction = block.Byte(24),
          .planned = block.Byte(25)};
}

/// Returns the content of a file, in which each byte depends on its offset.
std::string Pattern(std::size_t size) {
  static const std::string longest = [] {
    std::string bytes(0x10000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = static_cast<char>(i * 7 + i / 251);
    }
    return bytes;
  }();
  return longest.substr(0, size);
}

/// Returns the bytes that a stream must deliver, computed from the content of the file.
std::string Expected(const Head& head, ULONG end, const std::string& file) {
  std::string data;
  const UINT block = head.dataBlock == 0 ? head.stride : head.dataBlock;
  const UHYPER start = head.seekBegin + UHYPER{head.lba} * head.stride + (block == head.stride ? 0 : head.subCount);
  const UHYPER sectors = end > head.lba ? end - head.lba : 0;
  for (UHYPER i = 0; i < sectors && head.stride != 0; ++i) {
    const UHYPER offset = start + i * head.stride;
    if (offset < start || offset >= file.size()) {
      break;
    }
    data += file.substr(static_cast<std::size_t>(offset), block);
  }
  return data;
}

/// A callback that checks the progress of a stream and reacts to each read.
struct Watcher {
  Reaction reaction = Reaction::None;
  UHYPER read = 0;

  static LONG Call(UINT kind, ZSSTREAMPROGRESS* progress, ULONG number, VARIANT user) {
    fuzz::Require(kind == 4 && number == 77 && user.vt == VT_I8, "a callback receives the caller's values");
    auto* self = reinterpret_cast<Watcher*>(static_cast<std::intptr_t>(user.llVal));
    self->CheckStep(progress);
    return 0;
  }
  void CheckStep(ZSSTREAMPROGRESS* progress) {
    read += progress->nMessage == ZSSTREAM_AFTERREAD ? progress->nSize : 0;
    fuzz::Require(progress->nMessage != ZSSTREAM_AFTERREAD || progress->qwDone == read, "progress is the sum of reads");
    if (progress->nMessage != ZSSTREAM_BEFOREREAD) {
      return;
    }
    const UINT size = progress->nSize;
    progress->nSize = reaction == Reaction::Shrink ? size / 2 : size;
    progress->pBuffer = reaction == Reaction::NoBuffer ? nullptr : progress->pBuffer;
    progress->fCancel = reaction == Reaction::Cancel ? 1 : 0;
  }
};

/// Reads with the sizes of the input, in turn and repeatedly, until three reads in a row return no bytes.
std::string ReadAll(IStream* stream, const ByteView& sizes) {
  constexpr int kReadLimit = 100;
  std::string data;
  UHYPER offset = 0;
  int idle = 0;
  for (int i = 0; i < kReadLimit && idle < 3; ++i, offset += 2) {
    BlockView number;
    const bool isLast = !sizes.Block(offset, 2, &number);
    offset = isLast ? 0 : offset;
    const ULONG size = isLast ? 0x2700 : number.Little16(0) % 0x2800U; // Up to more than four sectors.
    std::vector<BYTE> buffer(size);
    ULONG delivered = 0;
    const HRESULT result = stream->Read(buffer.data(), size, &delivered);
    fuzz::Require(delivered <= size, "no more is delivered than requested");
    fuzz::Require(result != S_OK || delivered == size, "a read that succeeds is complete");
    data.append(reinterpret_cast<const char*>(buffer.data()), delivered);
    idle = delivered == 0 ? idle + 1 : 0;
  }
  return data;
}

/// Opens the stream of an input. Returns null if the stream cannot be opened.
ComPtr<IStream> OpenStream(fuzz::Run* run, const Head& head, Watcher* watcher) {
  zsimagefileinfo info{};
  info.nSubCount = head.subCount;
  info.dwSeekBegin64 = head.seekBegin;
  ZSTRACK track{};
  track.BlockSize = static_cast<ZSFILEBLOCKSIZECUE>(head.stride);
  track.dwLBA = head.lba;
  track.dwEndLBA = head.end;
  VARIANT user{};
  user.vt = VT_I8;
  user.llVal = reinterpret_cast<std::intptr_t>(watcher);
  ComPtr<IStream> stream;
  const bool watched = watcher->reaction != Reaction::None;
  const HRESULT opened = run->Sheets().ExtractTrackToStream(
      fuzz::Wide(fuzz::PathOf("DISC.BIN")).get(), fuzz::Wide("label").get(), &info, &track, head.dataBlock,
      watched ? reinterpret_cast<LONG*>(&Watcher::Call) : nullptr, 77, user, stream.Receive());
  fuzz::Require((opened == S_OK) == static_cast<bool>(stream), "a stream is returned exactly on success");
  return stream;
}

/// Checks that the file of an extracted track has the bytes of the track.
void CheckFile(fuzz::Run* run, const Head& head, const std::string& content) {
  Watcher watcher;
  const ComPtr<IStream> stream = OpenStream(run, head, &watcher);
  run->Sheets().ExtractStreamToFile(stream.Get(), fuzz::Wide(fuzz::PathOf("TRACK.BIN")).get());
  fuzz::Require(run->Files().Find(fuzz::PathOf("TRACK.BIN"))->bytes == Expected(head, head.end, content),
                "a track's file has the track's bytes");
}

} // namespace

FUZZ(input) {
  fuzz::Run run(input.size());
  const ByteView view(input.data(), input.size());
  const Head head = ReadHead(view);
  const std::string content = Pattern(head.fileSize);
  run.Files().Add("DISC.BIN", content);
  Watcher watcher;
  watcher.reaction = static_cast<Reaction>(head.reaction % static_cast<BYTE>(Reaction::Count));
  const ComPtr<IStream> stream = OpenStream(&run, head, &watcher);
  if (!stream) {
    return;
  }
  if (watcher.reaction == Reaction::None) {
    CheckFile(&run, head, content);
  }
  run.Files().PlanReads(std::string(input.substr(std::min(kHeadSize, input.size()), head.planned)));
  const std::string data = ReadAll(stream.Get(), view.Part(kHeadSize + head.planned, 0x400));
  // A stream does not count the bytes of a failed read, so after one it may continue beyond its track.
  const ULONG end = run.Files().ReadsFailed() ? ~ULONG{0} : head.end;
  if (watcher.reaction <= Reaction::Watch) {
    fuzz::Require(Expected(head, end, content).starts_with(data), "the bytes of the track are delivered in order");
  }
}
