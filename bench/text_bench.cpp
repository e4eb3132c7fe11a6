// Parses sheets, CD-Text, profiles and settings, and encodes CD-Text, by size.

#include <vector>

#include "cdtext/decoder.h"
#include "platform/profile.h"
#include "platform/task_memory.h"
#include "support/allocations.h"
#include "support/discs.h"
#include "toc/settings_document.h"

namespace {

void ParseSheet(benchmark::State& state) {
  const ScratchFolder folder;
  const std::string text = CueText("data.bin", static_cast<int>(state.range(0)));
  WriteFile(folder.Path("sheet.cue"), text);
  WriteFile(folder.Path("data.bin"), "");
  const UniqueBstr path = Wide(folder.Path("sheet.cue"));
  const ComPtr<IZSCueSheet> sheets = CueSheets();
  const AllocationReport report(&state);
  for ([[maybe_unused]] auto _ : state) {
    ZSCUESHEET* sheet = nullptr;
    sheets->AllocCueSheet(&sheet);
    if (sheets->AnalyzeCueSheet(path.get(), sheet) != S_OK) {
      state.SkipWithError("cannot read the sheet");
    }
    sheets->FreeZSCueSheet(sheet, VARIANT_TRUE);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  state.SetComplexityN(state.range(0));
}

void EncodeCDText(benchmark::State& state) {
  const ScratchFolder folder;
  Disc disc(MakeDisc(folder, "cue", 1, static_cast<int>(state.range(0))));
  disc.Info()->pZSCueSheet[0]->ZSCDTEXT.CDTextPresent = VARIANT_TRUE;
  const ComPtr<IZSCueSheet> sheets = CueSheets();
  const AllocationReport report(&state);
  for ([[maybe_unused]] auto _ : state) {
    BYTE* data = nullptr;
    LONG length = 0;
    sheets->EncodeCDText(disc.Info()->pZSCueSheet[0], VARIANT_FALSE, &data, &length);
    CoTaskMemFree(data);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetComplexityN(state.range(0));
}

/// Returns packs with one title each. Their sequence numbers start over after 256 packs.
std::vector<BYTE> TitlePacks(std::size_t count) {
  std::vector<BYTE> packs(count * kPackSize, 'x');
  for (std::size_t i = 0; i < count; ++i) {
    BYTE* pack = packs.data() + i * kPackSize;
    pack[0] = kPackTitle;
    pack[1] = static_cast<BYTE>(i % 99);
    pack[2] = static_cast<BYTE>(i);
    pack[3] = 0;
    pack[kPackTextStart + kPackTextSize - 1] = 0;
  }
  return packs;
}

void ScanCDText(benchmark::State& state) {
  const std::vector<BYTE> packs = TitlePacks(static_cast<std::size_t>(state.range(0)));
  std::vector<BYTE> work;
  const AllocationReport report(&state);
  for ([[maybe_unused]] auto _ : state) {
    work = packs; // The scan changes its input.
    benchmark::DoNotOptimize(ScanPacks(work.data(), work.size(), 99));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(packs.size()));
  state.SetComplexityN(state.range(0));
}

void FindProfileKey(benchmark::State& state) {
  const ScratchFolder folder;
  std::string text = "[Section]\r\n";
  for (std::int64_t i = 0; i < state.range(0); ++i) {
    text += "Key" + std::to_string(i) + "=" + std::to_string(i) + "\r\n";
  }
  WriteFile(folder.Path("profile.ini"), text);
  const std::string path = folder.Path("profile.ini");
  const std::string last = "KEY" + std::to_string(state.range(0) - 1);
  const AllocationReport report(&state);
  for ([[maybe_unused]] auto _ : state) {
    ProfileFile profile;
    profile.Load(path);
    benchmark::DoNotOptimize(profile.GetSection("section").GetInt(last, -1));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  state.SetComplexityN(state.range(0));
}

void LoadSettings(benchmark::State& state) {
  const ScratchFolder folder;
  CZSSettingsDocument document;
  for (std::int64_t i = 0; i < state.range(0); ++i) {
    const std::string node = "ROOT:NODE" + std::to_string(i / 10) + ":KEY" + std::to_string(i % 10);
    document.SetValue(node.c_str(), static_cast<LONG>(i));
  }
  const std::string path = folder.Path("settings.xml");
  document.Save(path);
  const AllocationReport report(&state);
  for ([[maybe_unused]] auto _ : state) {
    CZSSettingsDocument loaded;
    loaded.Load(path);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(std::filesystem::file_size(path)));
  state.SetComplexityN(state.range(0));
}

BENCHMARK(ParseSheet)->Arg(20)->Arg(200)->Arg(2000)->Arg(20000)->Arg(99)->Complexity(); // Each track has five lines.
BENCHMARK(EncodeCDText)->Arg(1)->Arg(10)->Arg(99)->Complexity();
BENCHMARK(ScanCDText)->RangeMultiplier(10)->Range(10, 100000)->Complexity();
BENCHMARK(FindProfileKey)->RangeMultiplier(10)->Range(10, 100000)->Complexity();
BENCHMARK(LoadSettings)->RangeMultiplier(10)->Range(10, 100000)->Complexity();

} // namespace
