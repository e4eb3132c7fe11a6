/// @file
/// Checks of sectors (ECMA-130): synchronization, header, sub-header, error detection code.
#pragma once

#include "checks/findings.h"
#include "disc/records.h"

/// Check of the sectors of one track. Counts the sectors with each kind of fault, and reports the counts.
class SectorCheck {
public:
  /// @param blockSize Bytes of a sector in the file.
  SectorCheck(ZSMODETYPE mode, UINT blockSize);

  /// Returns whether sectors of this mode and size have anything to check.
  bool HasWork() const noexcept { return m_layout != Layout::Nothing; }
  /// Bytes of each sector that CheckSector reads.
  UINT Size() const noexcept { return m_size; }

  void CheckSector(const BYTE* sector, ULONG lba);
  ULONG Checked() const noexcept { return m_checked; }
  void Report(Findings* findings) const;

private:
  enum class Layout { Nothing, Audio, Mode1, Mode2, Mode2WithoutHeader };

  /// Sectors with one kind of fault.
  struct Tally {
    void Add(bool isWrong, ULONG lba) noexcept {
      first = isWrong && count == 0 ? lba : first;
      count += isWrong ? 1U : 0U;
    }
    ULONG count = 0;
    ULONG first = 0;
  };

  static Layout LayoutOf(ZSMODETYPE mode, UINT blockSize) noexcept;
  void CheckHeader(const BYTE* sector, ULONG lba);
  void CheckMode2(const BYTE* subHeader, ULONG lba);
  void CheckEdc(const BYTE* data, std::size_t size, ULONG lba);
  void ReportTally(const char* kind, const Tally& tally, const char* words, Findings* findings) const;

  Layout m_layout;
  UINT m_size;
  ULONG m_checked = 0;
  Tally m_sync;
  Tally m_time;
  Tally m_mode;
  Tally m_subHeader;
  Tally m_edc;
  Tally m_withoutEdc; ///< Sectors of `m_edc` whose code is zero.
};
