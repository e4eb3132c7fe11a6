// Reads tracks through streams, by kind of sector and size of read, and the same bytes with plain reads.

#include <fcntl.h>
#include <unistd.h>

#include <vector>

#include "support/allocations.h"
#include "support/discs.h"

namespace {

constexpr std::int64_t kSectors = 32 * 1024; ///< About 75 MB of raw sectors.

/// Sizes of the sectors of a track in the file and in the stream.
struct Geometry {
  ZSMODETYPE mode;
  int stride;     ///< Bytes of a sector in the file.
  UINT dataBlock; ///< Bytes of a sector in the stream; 0 for all.
};

std::string MakeFile(const ScratchFolder& folder, std::int64_t sectors, int stride) {
  const std::string path = folder.Path("sectors.bin");
  WriteFile(path, std::string(static_cast<std::size_t>(sectors * stride), 's'));
  return path;
}

/// Reads a track through a stream. First argument: bytes of each read. Second argument: sectors of the track.
void ReadStream(benchmark::State& state, Geometry geometry) {
  const ScratchFolder folder;
  const std::int64_t sectors = state.range(1);
  const UniqueBstr path = Wide(MakeFile(folder, sectors, geometry.stride));
  zsimagefileinfo info{};
  ZSTRACK track{};
  track.TNO = 1;
  track.dwEndLBA = static_cast<ULONG>(sectors);
  track.Mode = geometry.mode;
  track.BlockSize = static_cast<ZSFILEBLOCKSIZECUE>(geometry.stride);
  const ComPtr<IZSCueSheet> sheets = CueSheets();
  std::vector<char> buffer(static_cast<std::size_t>(state.range(0)));
  long allocations = 0;
  for ([[maybe_unused]] auto _ : state) {
    ComPtr<IStream> stream;
    sheets->ExtractTrackToStream(path.get(), nullptr, &info, &track, geometry.dataBlock, nullptr, 0, VARIANT{},
                                 stream.Receive());
    const long before = AllocationCount();
    ULONG delivered = 0;
    do {
      stream->Read(buffer.data(), static_cast<ULONG>(buffer.size()), &delivered);
    } while (delivered != 0);
    allocations += AllocationCount() - before;
  }
  state.SetBytesProcessed(state.iterations() * sectors * geometry.stride);
  state.SetComplexityN(sectors);
  state.counters["allocations"] = static_cast<double>(allocations);
}

/// Reads the bytes of a track in blocks of 150 KB: the lower limit of the time.
void ReadPlain(benchmark::State& state) {
  const ScratchFolder folder;
  const std::string path = MakeFile(folder, kSectors, 2352);
  std::vector<char> buffer(std::size_t{150} * 1024);
  for ([[maybe_unused]] auto _ : state) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    while (::read(file, buffer.data(), buffer.size()) > 0) {
    }
    ::close(file);
  }
  state.SetBytesProcessed(state.iterations() * kSectors * 2352);
}

void ReadSizes(benchmark::internal::Benchmark* bench) {
  bench->ArgsProduct({{2048, 64 * 1024, 1024 * 1024}, {kSectors}})->Unit(benchmark::kMillisecond);
}

void TrackSizes(benchmark::internal::Benchmark* bench) {
  bench->ArgsProduct({{64 * 1024}, {kSectors / 100, kSectors / 10, kSectors}})
      ->Unit(benchmark::kMillisecond)
      ->Complexity(benchmark::oN);
}

BENCHMARK(ReadPlain)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ReadStream, raw, Geometry{ZSMODE_1, 2352, 0})->Apply(ReadSizes);
BENCHMARK_CAPTURE(ReadStream, mode1_2352_to_2048, Geometry{ZSMODE_1, 2352, 2048})->Apply(ReadSizes);
BENCHMARK_CAPTURE(ReadStream, mode2_2352_to_2048, Geometry{ZSMODE_2, 2352, 2048})->Apply(ReadSizes);
BENCHMARK_CAPTURE(ReadStream, audio_2448_to_2352, Geometry{ZSMODE_AUDIO, 2448, 2352})->Apply(ReadSizes);
BENCHMARK_CAPTURE(ReadStream, raw_by_track, Geometry{ZSMODE_1, 2352, 0})->Apply(TrackSizes);
BENCHMARK_CAPTURE(ReadStream, cooked_by_track, Geometry{ZSMODE_1, 2352, 2048})->Apply(TrackSizes);

} // namespace
