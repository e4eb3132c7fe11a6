#include "checks/pack_file.h"

#include "files/files.h"

namespace {

constexpr std::size_t kGroupBytes = 96; ///< Four packs as symbols of six bits, one a byte (Red Book, R to W).
constexpr BYTE kSizePack = 0x8F;
constexpr std::size_t kLastTrackByte = 6; ///< Of the first size pack.

/// Puts packs together that are spread over the sub-channel. A disc repeats them, so they end where the first returns.
void GatherPacks(std::vector<BYTE>* packs) {
  // The first pack has a type from 0x80 to 0x8F. The two upper bits of a symbol may be those of channels P and Q.
  if (packs->empty() || packs->size() % kGroupBytes != 0 || (packs->front() & 0x3C) != 0x20) {
    return;
  }
  std::vector<BYTE> gathered;
  for (std::size_t i = 0; i < packs->size(); i += 4) {
    unsigned bits = 0;
    std::for_each_n(packs->begin() + static_cast<std::ptrdiff_t>(i), 4,
                    [&](BYTE symbol) { bits = bits << 6 | (symbol & 0x3FU); });
    gathered.insert(gathered.end(),
                    {static_cast<BYTE>(bits >> 16), static_cast<BYTE>(bits >> 8), static_cast<BYTE>(bits)});
  }
  std::size_t end = kPackBytes;
  while (end < gathered.size() && !std::equal(gathered.begin(), gathered.begin() + kPackBytes, gathered.data() + end)) {
    end += kPackBytes;
  }
  gathered.resize(end);
  *packs = std::move(gathered);
}

} // namespace

std::string PackFile::Fault() const {
  const auto fault = std::find_if(findings.begin(), findings.end(), [](const Finding& found) { return found.isFault; });
  return fault == findings.end() ? "" : fault->words;
}

PackFile ReadPackFile(const std::string& path) {
  PackFile file{ReadWholeFile(path, kLargestPackFile), {}, 0};
  GatherPacks(&file.packs);
  CheckPacks(file.packs, &file.findings);
  for (std::size_t i = 0; i + kPackBytes <= file.packs.size() && file.tracks == 0; i += kPackBytes) {
    file.tracks = file.packs[i] == kSizePack && file.packs[i + 1] == 0 ? file.packs[i + kLastTrackByte] : 0;
  }
  return file;
}
