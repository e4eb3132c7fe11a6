#include "checks/sector_check.h"

#include <algorithm>

#include "disc/msf.h"
#include "image/disc_text.h"
#include "image/raw_sector.h"

using namespace raw_sector;

namespace {

// Bytes of a mode 2 sector, from the sub-header on, that the error detection code covers.
constexpr std::size_t kForm1Checked = 2056;
constexpr std::size_t kForm2Checked = 2332;

bool HasSync(const BYTE* sector) { return std::equal(kSync.begin(), kSync.end(), sector); }

} // namespace

SectorCheck::SectorCheck(ZSMODETYPE mode, UINT blockSize)
    : m_layout(LayoutOf(mode, blockSize)), m_size(std::min<UINT>(blockSize, ZSFILEBLOCKSIZE_2352)) {}

SectorCheck::Layout SectorCheck::LayoutOf(ZSMODETYPE mode, UINT blockSize) noexcept {
  const bool isMode2 = mode != ZSMODE_UNKNOWN && (mode & ZSMODE_2) != 0;
  if (blockSize < ZSFILEBLOCKSIZE_2352) {
    return isMode2 && blockSize == ZSFILEBLOCKSIZE_2336 ? Layout::Mode2WithoutHeader : Layout::Nothing;
  }
  return mode == ZSMODE_AUDIO ? Layout::Audio
         : mode == ZSMODE_1   ? Layout::Mode1
         : isMode2            ? Layout::Mode2
                              : Layout::Nothing;
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
    CheckEdc(sector, kEdc, lba);
  } else {
    CheckMode2(m_layout == Layout::Mode2 ? sector + kSubHeader : sector, lba);
  }
}

void SectorCheck::CheckHeader(const BYTE* sector, ULONG lba) {
  m_sync.Add(!HasSync(sector), lba);
  m_mode.Add(sector[kMode] != (m_layout == Layout::Mode1 ? 1 : 2), lba);
  const auto position = static_cast<LONG>(lba);
  if (LbaToMsf(position) != kNoTime) {
    const auto expected = HeaderTime(position);
    m_time.Add(!std::equal(expected.begin(), expected.end(), sector + kTime), lba);
  }
}

/// Checks a sector of mode 2, unless the two copies of its sub-header differ: then its form is unknown.
void SectorCheck::CheckMode2(const BYTE* subHeader, ULONG lba) {
  const bool isEqual = std::equal(subHeader, subHeader + kSubHeaderBytes, subHeader + kSubHeaderBytes);
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
