// The stream of a track: any geometry, any read sizes, failing and short reads of the file, and callbacks that meddle.
// The input is a head of numbers, a plan for the reads of the file (support/memory_files.h), and the sizes to read.
#include <algorithm>
#include <array>
#include <vector>

#include "foundation/byte_view.h"
#include "support/harness.h"

namespace {

/// What a callback does to each step.
enum class Meddling : BYTE { None, Watch, Shrink, NoBuffer, Cancel, Count };

struct Head {
  std::uint16_t stride = 0;
  std::uint16_t dataBlock = 0;
  std::uint16_t subCount = 0;
  std::uint16_t fileSize = 0;
  ULONG lba = 0;
  ULONG end = 0;
  UHYPER seekBegin = 0;
  BYTE meddling = 0;
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
          .meddling = block.Byte(24),
          .planned = block.Byte(25)};
}

/// The file's bytes follow from their places.
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

/// What a stream must deliver, taken straight from the file.
std::string Expected(const Head& head, ULONG end, const std::string& file) {
  std::string data;
  const UINT block = head.dataBlock == 0 ? head.stride : head.dataBlock;
  const UHYPER start = head.seekBegin + UHYPER{head.lba} * head.stride + (block == head.stride ? 0 : head.subCount);
  const UHYPER sectors = end > head.lba ? end - head.lba : 0;
  for (UHYPER i = 0; i < sectors && head.stride != 0; ++i) {
    const UHYPER at = start + i * head.stride;
    if (at < start || at >= file.size()) {
      break;
    }
    data += file.substr(static_cast<std::size_t>(at), block);
  }
  return data;
}

/// Counts the steps of a stream and meddles with them.
struct Watcher {
  Meddling meddling = Meddling::None;
  UINT begun = 0;
  UINT ended = 0;
  UHYPER read = 0;

  static LONG Call(UINT kind, ZSSTREAMPROGRESS* progress, ULONG number, VARIANT user) {
    fuzz::Require(kind == 4 && number == 77 && user.vt == VT_I8, "a callback gets the caller's values");
    auto* self = reinterpret_cast<Watcher*>(static_cast<std::intptr_t>(user.llVal));
    self->Take(progress);
    return 0;
  }
  void Take(ZSSTREAMPROGRESS* progress) {
    begun += progress->nMessage == ZSSTREAM_BEGIN ? 1 : 0;
    ended += progress->nMessage == ZSSTREAM_END ? 1 : 0;
    read += progress->nMessage == ZSSTREAM_AFTERREAD ? progress->nSize : 0;
    fuzz::Require(progress->nMessage != ZSSTREAM_AFTERREAD || progress->qwDone == read, "progress is the sum of reads");
    if (progress->nMessage != ZSSTREAM_BEFOREREAD) {
      return;
    }
    const UINT size = progress->nSize;
    progress->nSize = meddling == Meddling::Shrink ? size / 2 : size;
    progress->pBuffer = meddling == Meddling::NoBuffer ? nullptr : progress->pBuffer;
    progress->fCancel = meddling == Meddling::Cancel ? 1 : 0;
  }
};

/// Reads by the sizes of the input, over and over, until nothing more comes.
std::string ReadAll(IStream* stream, const ByteView& sizes) {
  constexpr int kMostReads = 100;
  std::string data;
  UHYPER at = 0;
  int idle = 0;
  for (int i = 0; i < kMostReads && idle < 3; ++i, at += 2) {
    BlockView number;
    const bool isLast = !sizes.Block(at, 2, &number);
    at = isLast ? 0 : at;
    const ULONG size = isLast ? 0x2700 : number.Little16(0) % 0x2800U; // Up to more than four sectors.
    std::vector<BYTE> buffer(size);
    ULONG delivered = 0;
    const HRESULT result = stream->Read(buffer.data(), size, &delivered);
    fuzz::Require(delivered <= size, "no more is delivered than asked for");
    fuzz::Require(result != S_OK || delivered == size, "all came when the answer is 0");
    data.append(reinterpret_cast<const char*>(buffer.data()), delivered);
    idle = delivered == 0 ? idle + 1 : 0;
  }
  return data;
}

/// Opens the stream that an input asks for; null when there is none.
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
  const bool watched = watcher->meddling != Meddling::None;
  const HRESULT opened = run->Sheets().ExtractTrackToStream(
      fuzz::Wide(fuzz::PathOf("DISC.BIN")).get(), fuzz::Wide("label").get(), &info, &track, head.dataBlock,
      watched ? reinterpret_cast<LONG*>(&Watcher::Call) : nullptr, 77, user, stream.Receive());
  fuzz::Require((opened == S_OK) == static_cast<bool>(stream), "a stream is there when the answer is 0");
  return stream;
}

/// A track as a file holds what its stream delivers.
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
  watcher.meddling = static_cast<Meddling>(head.meddling % static_cast<BYTE>(Meddling::Count));
  const ComPtr<IStream> stream = OpenStream(&run, head, &watcher);
  if (!stream) {
    return;
  }
  if (watcher.meddling == Meddling::None) {
    CheckFile(&run, head, content);
  }
  run.Files().PlanReads(std::string(input.substr(std::min(kHeadSize, input.size()), head.planned)));
  const std::string data = ReadAll(stream.Get(), view.Part(kHeadSize + head.planned, 0x400));
  // What a failed read brings does not count, so that a stream may go on behind its track then.
  const ULONG end = run.Files().ReadsFailed() ? ~ULONG{0} : head.end;
  if (watcher.meddling <= Meddling::Watch) {
    fuzz::Require(Expected(head, end, content).starts_with(data), "the track's own bytes are delivered, in order");
  }
}
