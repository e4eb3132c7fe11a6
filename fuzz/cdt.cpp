// CD-Text packs. The input is one byte with the number of tracks, then the content of a .CDT file.
#include "support/harness.h"

namespace {

constexpr UINT kTrackLimit = 128;

/// Reads the packs of the .CDT file.
void ReadFromFile(fuzz::Run* run, ZSCUESHEET* sheet) {
  const HRESULT result = run->Sheets().AnalyzeCDText(fuzz::Wide(fuzz::PathOf("DISC.CUE")).get(), sheet);
  fuzz::Require(result == S_OK, "packs are read from the .CDT file");
  fuzz::RequireSheet(*sheet);
}

/// Encodes and decodes a sheet until the packs stay the same: what packs cannot hold is lost within a few rounds.
void CheckEncoding(fuzz::Run* run, const ZSCUESHEET& read) {
  constexpr int kRoundLimit = 256;
  ZSCUESHEET source = read;
  fuzz::Sheet last(run);
  fuzz::Require(run->Sheets().Clone(&source, last.Receive()) == S_OK, "a sheet can be copied");
  std::string before;
  for (int round = 0; round < kRoundLimit; ++round) {
    std::optional<std::string> packs = fuzz::EncodePacks(run, last.Get(), false);
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
  fuzz::Require(false, "repeated encoding and decoding ends in the same packs");
}

} // namespace

FUZZ(input) {
  fuzz::Run run(input.size());
  const UINT tracks = input.empty() ? 0 : static_cast<BYTE>(input.front()) % kTrackLimit;
  std::string packs(input.substr(input.empty() ? 0 : 1));
  run.Files().Add("DISC.CDT", packs);
  fuzz::Sheet fromFile(&run, tracks);
  ReadFromFile(&run, fromFile.Get());
  fuzz::Sheet fromMemory(&run, tracks);
  run.Sheets().AnalyzeCDTextFromData(reinterpret_cast<BYTE*>(packs.data()), static_cast<UINT>(packs.size()),
                                     fromMemory.Get());
  fuzz::RequireCopy(*fromFile, *fromMemory);
  CheckEncoding(&run, *fromMemory);
  ReadFromFile(&run, fromFile.Get()); // Replaces the texts with the same texts.
  fuzz::RequireCopy(*fromFile, *fromMemory);
}
