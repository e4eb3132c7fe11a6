/// @file
/// Steps that the readers of foreign formats have in common.
#pragma once

#include <string>

#include "cuesheet/cue_sheet_interface.h"
#include "foundation/byte_view.h"
#include "foundation/file.h"
#include "platform/task_memory.h"

/// Control bits of a track, as the sub-channel Q has them in its first four bits (Red Book).
inline constexpr BYTE kControlPreEmphasis = 0x01;
inline constexpr BYTE kControlCopyPermitted = 0x02;
inline constexpr BYTE kControlData = 0x04;
inline constexpr BYTE kControlFourChannels = 0x08;

/// Bytes of a file, in memory.
class FileBlock {
public:
  /// Takes `count` bytes from a position on; fewer where the file ends or cannot be read.
  /// @return false when there is no memory for them; the block is empty then.
  bool Load(CZSFile* file, UHYPER position, DWORD count) noexcept;
  void Clear() noexcept;

  ByteView View() const noexcept { return {m_bytes.get(), m_size}; }
  BYTE* Bytes() noexcept { return m_bytes.get(); }

private:
  TaskMemory<BYTE> m_bytes;
  DWORD m_size = 0;
};

/// Hangs a new session of `trackCount` cleared tracks behind those of the record.
/// @return ZSE_OUTOFRESOURCES when there is no sheet or no place for it, E_OUTOFMEMORY without tracks.
HRESULT AddSession(IZSCueSheet* service, UINT trackCount, zsimagefileinfo* info, ZSCUESHEET** sheet) noexcept;

/// The ZSTRACKFLAG_ bits of control bits.
LONG FlagsOfControl(BYTE control) noexcept;

/// Completes a record whose sessions, seek bounds and marks stand: names the file and the format, classifies the
/// disc and identifies it. @return ZSE_BADIMAGE when the disc cannot be classified.
HRESULT FinishImage(const std::string& sectorFile, zsimgformat format, zsimagefileinfo* info);
