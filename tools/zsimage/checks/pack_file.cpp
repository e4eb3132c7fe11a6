#include "checks/pack_file.h"

#include <algorithm>
#include <set>

#include "files/input_file.h"
#include "output/terminal_text.h"

namespace {

constexpr std::size_t kCheckedBytes = 16; ///< Bytes of a pack that its two check bytes cover.
constexpr std::size_t kGroupBytes = 96;   ///< Four packs as symbols of six bits, one a byte (Red Book, R to W).
constexpr BYTE kSizePack = 0x8F;
constexpr std::size_t kLastTrackByte = 6; ///< Offset in the first size pack.

BYTE ByteAt(std::string_view bytes, std::size_t index) { return static_cast<BYTE>(bytes[index]); }

/// Returns the inverted CRC of x^16 + x^12 + x^5 + 1, highest bit first.
unsigned PackCrc(std::string_view pack) {
  unsigned crc = 0;
  for (std::size_t i = 0; i < kCheckedBytes; ++i) {
    crc ^= static_cast<unsigned>(ByteAt(pack, i)) << 8;
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc & 0x8000U) != 0 ? (crc << 1) ^ 0x1021U : crc << 1;
    }
  }
  return ~crc & 0xFFFFU;
}

/// Returns whether bytes are packs in sub-channel form, six bits of a pack in each byte. The first pack has a type from
/// 0x80 to 0x8F, so the first symbol is 0x20 to 0x23. The two upper bits of a byte may be those of channels P and Q.
bool IsSpread(std::string_view bytes) { return bytes.size() >= kGroupBytes && (ByteAt(bytes, 0) & 0x3C) == 0x20; }

/// Returns whether a pack is the first of a disc: number 0 of block 0.
bool IsFirst(std::string_view pack) {
  return (ByteAt(pack, 0) & 0xF0) == 0x80 && pack[2] == 0 && (ByteAt(pack, 3) & 0x70) == 0;
}

/// Joins the symbols of packs in sub-channel form. A disc repeats its packs, and the bytes may begin with any of them;
/// the result begins with the first pack and contains each pack once.
std::string JoinPacks(std::string_view bytes) {
  std::vector<std::string> packs;
  for (std::size_t begin = 0; begin + kGroupBytes / 4 <= bytes.size(); begin += kGroupBytes / 4) {
    std::string& pack = packs.emplace_back();
    for (std::size_t i = begin; i < begin + kGroupBytes / 4; i += 4) {
      unsigned bits = 0;
      for (std::size_t symbol = i; symbol < i + 4; ++symbol) {
        bits = bits << 6 | (ByteAt(bytes, symbol) & 0x3FU);
      }
      pack += {static_cast<char>(bits >> 16), static_cast<char>(bits >> 8), static_cast<char>(bits)};
    }
  }
  const auto first = std::ranges::find_if(packs, IsFirst);
  std::rotate(packs.begin(), first == packs.end() ? packs.begin() : first, packs.end());
  std::string joined;
  std::set<std::string> known;
  for (const std::string& pack : packs) {
    if (!joined.empty() && pack == packs.front()) {
      break; // The rest is a repetition.
    }
    joined += known.insert(pack).second ? pack : "";
  }
  return joined;
}

} // namespace

std::string PackFile::FirstFault() const {
  const auto fault = std::ranges::find_if(findings, [](const Finding& found) { return found.isFault; });
  return fault == findings.end() ? "" : fault->words;
}

PackFile ReadPackFile(const std::string& path) {
  PackFile file;
  file.packs = ReadContent(path, kLargestPackFile);
  if (IsSpread(file.packs)) {
    if (const std::size_t over = file.packs.size() % kGroupBytes; over != 0) {
      file.findings.AddFault("cdtext", "{} {} over after whole groups of {} bytes", Counted(over, "byte"),
                             over == 1 ? "is" : "are", kGroupBytes);
    }
    file.packs = JoinPacks(file.packs);
  }
  CheckPacks(file.packs, &file.findings);
  for (std::size_t i = 0; i + kPackBytes <= file.packs.size() && file.tracks == 0; i += kPackBytes) {
    const bool isFirstSizePack = ByteAt(file.packs, i) == kSizePack && file.packs[i + 1] == 0;
    file.tracks = isFirstSizePack ? ByteAt(file.packs, i + kLastTrackByte) : 0;
  }
  return file;
}

void CheckPacks(std::string_view packs, Findings* findings) {
  const std::size_t count = packs.size() / kPackBytes;
  std::size_t wrong = 0;
  std::size_t first = 0;
  std::size_t without = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view pack = packs.substr(i * kPackBytes, kPackBytes);
    const unsigned stored = static_cast<unsigned>(ByteAt(pack, kCheckedBytes) << 8) | ByteAt(pack, kCheckedBytes + 1);
    if (stored == 0) {
      ++without;
    } else if (stored != PackCrc(pack) && wrong++ == 0) {
      first = i;
    }
  }
  if (count == 0) {
    findings->AddFault("cdtext", "there is no CD-Text pack in it");
  }
  const std::size_t over = packs.size() % kPackBytes;
  if (over > 1 || (over == 1 && packs.back() != 0)) { // Files of packs end with one zero byte.
    findings->AddFault("cdtext", "{} {} over after whole packs of {} bytes", Counted(over, "byte"),
                       over == 1 ? "is" : "are", kPackBytes);
  }
  if (wrong != 0) {
    findings->AddFault("cdtext", "{} of {} CD-Text packs do not match their check bytes, the first is pack {}", wrong,
                       count, first);
  }
  if (without != 0) {
    findings->AddRemark("cdtext", "{} of {} CD-Text packs have no check bytes", without, count);
  }
}
