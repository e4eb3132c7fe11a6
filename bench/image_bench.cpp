// Opens, copies and frees images, by format and number of tracks or sessions.

#include "imagefile/disc_image.h"
#include "support/allocations.h"
#include "support/discs.h"

namespace {

void OpenImage(benchmark::State& state, const std::string& extension, bool sessions) {
  const ScratchFolder folder;
  const auto count = static_cast<int>(state.range(0));
  const UniqueBstr path = Wide(MakeDisc(folder, extension, sessions ? count : 1, sessions ? 1 : count));
  const ComPtr<IZSImageFile> images = ImageFiles();
  const AllocationReport report(&state);
  for ([[maybe_unused]] auto _ : state) {
    zsimagefileinfo info;
    if (images->GetImageFileInfo(path.get(), &info) != S_OK) {
      state.SkipWithError("cannot read the image");
    }
    images->FreeImageFileInfo(&info);
  }
  state.SetItemsProcessed(state.iterations() * count);
  state.SetComplexityN(count);
}

/// Opens images through the class of imagefile/disc_image.h, which may be a tenth slower.
void OpenImageClass(benchmark::State& state, const std::string& extension) {
  const ScratchFolder folder;
  const std::string path = MakeDisc(folder, extension, 1, static_cast<int>(state.range(0)));
  const AllocationReport report(&state);
  for ([[maybe_unused]] auto _ : state) {
    const imagefile::Image image(path);
    benchmark::DoNotOptimize(image.Sessions().data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetComplexityN(state.range(0));
}

void CloneRecord(benchmark::State& state) {
  const ScratchFolder folder;
  Disc disc(MakeDisc(folder, "cue", 1, static_cast<int>(state.range(0))));
  const AllocationReport report(&state);
  for ([[maybe_unused]] auto _ : state) {
    zsimagefileinfo copy{};
    disc.Images()->Clone(disc.Info(), &copy);
    disc.Images()->FreeImageFileInfo(&copy);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetComplexityN(state.range(0));
}

BENCHMARK_CAPTURE(OpenImage, iso, "iso", false)->Arg(1);
BENCHMARK_CAPTURE(OpenImage, cue_tracks, "cue", false)->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK_CAPTURE(OpenImage, nrg_tracks, "nrg", false)->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK_CAPTURE(OpenImage, nrg_sessions, "nrg", true)->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK_CAPTURE(OpenImage, ccd_tracks, "ccd", false)->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK_CAPTURE(OpenImage, ccd_sessions, "ccd", true)->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK_CAPTURE(OpenImage, mds_tracks, "mds", false)->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK_CAPTURE(OpenImage, mds_sessions, "mds", true)->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK_CAPTURE(OpenImage, zsi_tracks, "zsi", false)->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK_CAPTURE(OpenImage, zsi_sessions, "zsi", true)->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK_CAPTURE(OpenImageClass, iso, "iso")->Arg(1);
BENCHMARK_CAPTURE(OpenImageClass, cue_tracks, "cue")->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK_CAPTURE(OpenImageClass, mds_tracks, "mds")->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK(CloneRecord)->Arg(1)->Arg(10)->Arg(99)->Complexity();

} // namespace

BENCHMARK_MAIN();
