/// @file
/// What data sectors say of themselves (ECMA-130): synchronization, header, sub-header, error detection code.
#pragma once

#include "checks/findings.h"
#include "disc/records.h"

/// The number of 32 bits at four bytes.
std::uint32_t LittleEndian32(const BYTE* at) noexcept;

/// Looks at the sectors of one track, and reports in the end how many of them have which fault.
class SectorCheck {
public:
  /// @param blockSize Bytes of a sector in the file.
  SectorCheck(ZSMODETYPE mode, UINT blockSize);

  /// Whether sectors of this mode and size hold anything to check.
  bool HasWork() const noexcept { return m_layout != Layout::Nothing; }
  /// Bytes of each sector that Look takes.
  UINT Size() const noexcept { return m_size; }

  void Look(const BYTE* sector, ULONG lba);
  ULONG Looked() const noexcept { return m_looked; }
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
  void LookAtHeader(const BYTE* sector, ULONG lba);
  void LookAtMode2(const BYTE* subHeader, ULONG lba);
  void ReportTally(const char* kind, const Tally& tally, const char* words, Findings* findings) const;

  Layout m_layout;
  UINT m_size;
  ULONG m_looked = 0;
  Tally m_sync;
  Tally m_time;
  Tally m_mode;
  Tally m_subHeader;
  Tally m_edc;
  Tally m_withoutEdc; ///< Of the wrong ones, those with zeros.
};
