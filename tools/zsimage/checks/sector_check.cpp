#include "checks/sector_check.h"

#include <algorithm>
#include <array>

#include "disc/msf.h"
#include "image/disc_words.h"

namespace {

// Offsets in a raw sector.
constexpr std::array<BYTE, 12> kSync{0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0};
constexpr std::size_t kHeader = 12; ///< Minute, second, frame, mode.
constexpr std::size_t kSubHeader = 16;
constexpr std::size_t kMode1Checked = 2064; ///< Bytes before the code.

// Of mode 2, from the sub-header on.
constexpr std::size_t kForm1Checked = 2056;
constexpr std::size_t kForm2Checked = 2332;
constexpr std::size_t kSubMode = 2;
constexpr BYTE kForm2Bit = 0x20; ///< Of the sub-mode.

/// Returns the table of the division by x^32 + x^31 + x^16 + x^15 + x^4 + x^3 + x + 1, lowest bit first.
constexpr std::array<std::uint32_t, 256> MakeEdcTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t edc = i;
    for (int bit = 0; bit < 8; ++bit) {
      edc = (edc & 1U) != 0 ? (edc >> 1) ^ 0xD8018001U : edc >> 1;
    }
    table[i] = edc;
  }
  return table;
}
constexpr std::array<std::uint32_t, 256> kEdcTable = MakeEdcTable();

std::uint32_t EdcOf(const BYTE* data, std::size_t size) {
  std::uint32_t edc = 0;
  for (std::size_t i = 0; i < size; ++i) {
    edc = (edc >> 8) ^ kEdcTable[(edc ^ data[i]) & 0xFFU];
  }
  return edc;
}

BYTE Bcd(ULONG number) { return static_cast<BYTE>(number / 10 * 16 + number % 10); }

bool HasSync(const BYTE* sector) { return std::equal(kSync.begin(), kSync.end(), sector); }

} // namespace

std::uint32_t LittleEndian32(const BYTE* bytes) noexcept {
  return bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24;
}

SectorCheck::SectorCheck(ZSMODETYPE mode, UINT blockSize)
    : m_layout(LayoutOf(mode, blockSize)), m_size(std::min<UINT>(blockSize, ZSFILEBLOCKSIZE_2352)) {}

SectorCheck::Layout SectorCheck::LayoutOf(ZSMODETYPE mode, UINT blockSize) noexcept {
  const bool isRaw = blockSize >= ZSFILEBLOCKSIZE_2352;
  if (mode == ZSMODE_AUDIO) {
    return isRaw ? Layout::Audio : Layout::Nothing;
  }
  if (mode == ZSMODE_1) {
    return isRaw ? Layout::Mode1 : Layout::Nothing;
  }
  if (mode == ZSMODE_UNKNOWN || (mode & ZSMODE_2) == 0) {
    return Layout::Nothing;
  }
  return isRaw ? Layout::Mode2 : blockSize == ZSFILEBLOCKSIZE_2336 ? Layout::Mode2WithoutHeader : Layout::Nothing;
}

void SectorCheck::CheckSector(const BYTE* sector, ULONG lba) {
  ++m_checked;
  if (m_layout == Layout::Audio) {
    m_sync.Add(HasSync(sector), lba);
    return;
  }
  if (m_layout != Layout::Mode2WithoutHeader) {
    CheckHeader(sector, lba);
  }
  if (m_layout == Layout::Mode1) {
    CheckEdc(sector, kMode1Checked, lba);
  } else {
    CheckMode2(m_layout == Layout::Mode2 ? sector + kSubHeader : sector, lba);
  }
}

void SectorCheck::CheckHeader(const BYTE* sector, ULONG lba) {
  m_sync.Add(!HasSync(sector), lba);
  m_mode.Add(sector[kHeader + 3] != (m_layout == Layout::Mode1 ? 1 : 2), lba);
  const ULONG time = LbaToMsf(static_cast<LONG>(lba));
  if (time != kNoTime) {
    const std::array<BYTE, 3> expected{Bcd(MinutesOf(time)), Bcd(SecondsOf(time)), Bcd(FramesOf(time))};
    m_time.Add(!std::equal(expected.begin(), expected.end(), sector + kHeader), lba);
  }
}

/// The form of a sector whose two copies of the sub-header differ is unknown.
void SectorCheck::CheckMode2(const BYTE* subHeader, ULONG lba) {
  const bool isEqual = std::equal(subHeader, subHeader + 4, subHeader + 4);
  m_subHeader.Add(!isEqual, lba);
  if (!isEqual) {
    return;
  }
  if ((subHeader[kSubMode] & kForm2Bit) == 0) {
    CheckEdc(subHeader, kForm1Checked, lba);
  } else if (LittleEndian32(subHeader + kForm2Checked) != 0) { // The code is optional in form 2.
    CheckEdc(subHeader, kForm2Checked, lba);
  }
}

void SectorCheck::CheckEdc(const BYTE* data, std::size_t size, ULONG lba) {
  const std::uint32_t stored = LittleEndian32(data + size);
  const bool isWrong = stored != EdcOf(data, size);
  m_edc.Add(isWrong, lba);
  m_withoutEdc.Add(isWrong && stored == 0, lba);
}

void SectorCheck::ReportTally(const char* kind, const Tally& tally, const char* words, Findings* findings) const {
  if (tally.count != 0) {
    findings->AddFault(kind, "{} in {} of {} sectors, {} sector {} ({})", words, tally.count, m_checked,
                       tally.count == 1 ? "in" : "the first is", tally.first, DiscTime(tally.first));
  }
}

void SectorCheck::Report(Findings* findings) const {
  if (m_layout == Layout::Audio) {
    ReportTally("data", m_sync, "described as audio, but data", findings);
    return;
  }
  ReportTally("sync", m_sync, "no synchronization pattern", findings);
  ReportTally("mode", m_mode, "a mode that differs from the description's", findings);
  ReportTally("time", m_time, "a header whose time is not that of the sector", findings);
  if (m_subHeader.count != 0 && m_subHeader.count == m_checked) {
    findings->AddRemark("sub-header", "mode 2 without sub-headers, so there are no codes to check");
  } else {
    ReportTally("sub-header", m_subHeader, "two copies of the sub-header that differ", findings);
  }
  const bool allMissing = m_edc.count != 0 && m_withoutEdc.count == m_edc.count;
  ReportTally("edc", m_edc, allMissing ? "no error detection code" : "user data that do not match their code",
              findings);
}
