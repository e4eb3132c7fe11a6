// CD-Text packs: the input is a number of tracks, then the content of a .CDT file.
#include "support/harness.h"

namespace {

constexpr UINT kMostTracks = 128;

/// Reads packs from the companion of a path.
void ReadFromFile(fuzz::Run* run, ZSCUESHEET* sheet) {
  const HRESULT result = run->Sheets().AnalyzeCDText(fuzz::Wide(fuzz::PathOf("DISC.CUE")).get(), sheet);
  fuzz::Require(result == S_OK, "packs are read from a companion");
  fuzz::RequireSheet(*sheet);
}

/// Packs that were made of what was read come to rest: what they cannot tell is lost soon.
void CheckPacking(fuzz::Run* run, const ZSCUESHEET& read) {
  constexpr int kMostRounds = 256;
  ZSCUESHEET source = read;
  fuzz::Sheet last(run);
  fuzz::Require(run->Sheets().Clone(&source, last.Receive()) == S_OK, "a sheet can be copied");
  std::string before;
  for (int round = 0; round < kMostRounds; ++round) {
    std::optional<std::string> packs = fuzz::Packs(run, last.Get(), false);
    if (!packs || *packs == before) {
      return;
    }
    before = *packs;
    fuzz::Sheet next(run, read.nTracks);
    run->Sheets().AnalyzeCDTextFromData(reinterpret_cast<BYTE*>(packs->data()), static_cast<UINT>(packs->size()),
                                        next.Get());
    fuzz::RequireSheet(*next);
    std::swap(*last, *next);
  }
  fuzz::Require(false, "packing and reading comes to rest");
}

} // namespace

FUZZ(input) {
  fuzz::Run run(input.size());
  const UINT tracks = input.empty() ? 0 : static_cast<BYTE>(input.front()) % kMostTracks;
  std::string packs(input.substr(input.empty() ? 0 : 1));
  run.Files().Add("DISC.CDT", packs);
  fuzz::Sheet fromFile(&run, tracks);
  ReadFromFile(&run, fromFile.Get());
  fuzz::Sheet fromMemory(&run, tracks);
  run.Sheets().AnalyzeCDTextFromData(reinterpret_cast<BYTE*>(packs.data()), static_cast<UINT>(packs.size()),
                                     fromMemory.Get());
  fuzz::RequireCopy(*fromFile, *fromMemory);
  CheckPacking(&run, *fromMemory);
  ReadFromFile(&run, fromFile.Get()); // Again, over the texts that are there.
  fuzz::RequireCopy(*fromFile, *fromMemory);
}
