#include "disc/disc_id.h"

#include "disc/msf.h"

namespace {

ULONG DigitSum(ULONG number) noexcept {
  ULONG sum = 0;
  for (; number > 0; number /= 10) {
    sum += number % 10;
  }
  return sum;
}

/// Computes an identifier from positions, which are appended in disc order. The last one counts as the end of the disc.
class IdentifierBuilder {
public:
  void Append(ULONG position) noexcept {
    const ULONG time = LbaToMsf(static_cast<LONG>(position));
    if (m_count++ == 0) {
      m_first = time;
    } else {
      m_digitSum += DigitSum(MinutesOf(m_last) * 60 + SecondsOf(m_last));
    }
    m_last = time;
  }

  /// Appends the start of each track, its pregap included.
  void AppendStarts(const ZSCUESHEET& sheet) noexcept {
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      Append(sheet.pZSTracks[i].dwLBA - static_cast<ULONG>(sheet.pZSTracks[i].Pregap));
    }
  }

  /// Returns the identifier; 0 without a position:
  ///
  ///     24 (8 bits)     Sum of the digits of the starts in seconds, modulo 255
  ///     8  (16 bits)    Seconds from the first start to the end
  ///     0  (8 bits)     Number of starts
  ULONG Value() const noexcept {
    if (m_count == 0) {
      return 0;
    }
    const ULONG seconds = (MinutesOf(m_last) - MinutesOf(m_first)) * 60 - SecondsOf(m_first) + SecondsOf(m_last);
    return (m_digitSum % 255 << 24) | (seconds << 8) | (m_count - 1);
  }

private:
  ULONG m_digitSum = 0; ///< Over all positions but the last.
  ULONG m_first = 0;    ///< Time of the first position, as LbaToMsf returns it.
  ULONG m_last = 0;     ///< Time of the last position.
  ULONG m_count = 0;
};

} // namespace

void ComputeDiscIDs(zsimagefileinfo* info) noexcept {
  if (info->nSessions == 0) {
    return;
  }
  IdentifierBuilder identifier;
  identifier.AppendStarts(*info->pZSCueSheet[0]);
  const ZSCUESHEET* last = info->pZSCueSheet[0];
  info->dwDiscID = 0;
  info->dwDiscID2 = 0;
  if (info->nSessions > 1) {
    info->dwDiscID2 = identifier.Value();
    last = info->pZSCueSheet[1];
    identifier.AppendStarts(*last);
  }
  if (last->nTracks != 0) {
    identifier.Append(last->pZSTracks[last->nTracks - 1].dwEndLBA);
    info->dwDiscID = identifier.Value();
  }
}
