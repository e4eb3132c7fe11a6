/// @file
/// Stream of the data of one track.
#pragma once

#include <array>
#include <string>

#include "cuesheet/cue_sheet_interface.h"
#include "foundation/com_object.h"
#include "platform/files.h"

/// Reads a part of an image file forward, either whole sectors or a part of each sector. The stream implements only
/// Read, for one reader at a time, and reports each step to a callback. Reading allocates nothing.
///
/// The number of delivered bytes determines where each read of the file starts, so that reading can continue after a
/// short or failed read. If only a part of each sector is read, one system call reads many sectors ahead, up to the end
/// of the track. If it fails, the data before the bad sector is delivered.
class CZSImageStream final : public CountedObject<IStream> {
public:
  explicit CZSImageStream(IUnknown* outer) noexcept : CountedObject(outer, IID_IStream) {}
  ~CZSImageStream() override { VariantClear(&m_user); }

  /// Prepares the stream. Must be called once. The stream keeps its own handle and a copy of `user`.
  /// @param start Offset in the file of the first byte to deliver. @param length Bytes to deliver.
  /// @return false if the handle cannot be duplicated or `start` is too large for an offset.
  bool InitStream(HANDLE file, std::string name, UHYPER start, UHYPER length, ZSStreamCallback callback,
                  ULONG userParam, const VARIANT& user);
  /// Selects the part of each sector that is read. `start` must be the offset of the first byte of that part.
  /// @param dataBlock Bytes to read of each sector, at most `stride`. @param stride Bytes from one sector to the next.
  void SetSectors(UINT dataBlock, UINT stride) noexcept;

  HRESULT Read(void* buffer, ULONG count, ULONG* delivered) override;

  // Not implemented: a track can only be read, and only forward.
  HRESULT Write(const void* /*buffer*/, ULONG /*count*/, ULONG* /*written*/) override { return E_NOTIMPL; }
  HRESULT Seek(std::int64_t /*distance*/, DWORD /*origin*/, UHYPER* /*position*/) override { return E_NOTIMPL; }
  HRESULT SetSize(UHYPER /*size*/) override { return E_NOTIMPL; }
  HRESULT CopyTo(IStream* /*target*/, UHYPER /*count*/, UHYPER* /*read*/, UHYPER* /*written*/) override {
    return E_NOTIMPL;
  }
  HRESULT Commit(DWORD /*flags*/) override { return E_NOTIMPL; }
  HRESULT Revert() override { return E_NOTIMPL; }
  HRESULT LockRegion(UHYPER /*offset*/, UHYPER /*count*/, DWORD /*type*/) override { return E_NOTIMPL; }
  HRESULT UnlockRegion(UHYPER /*offset*/, UHYPER /*count*/, DWORD /*type*/) override { return E_NOTIMPL; }
  HRESULT Stat(STATSTG* /*status*/, DWORD /*flags*/) override { return E_NOTIMPL; }
  HRESULT Clone(IStream** /*copy*/) override { return E_NOTIMPL; }

private:
  /// Bytes that one system call reads ahead. More is not faster, since it does not fit in the processor's cache.
  static constexpr UINT kAheadBytes = 384 * 1024;
  static constexpr UINT kDefaultSector = 2048;

  void Report(UINT message, void* buffer, UINT size);
  HRESULT ReadAndReport(void* buffer, UINT count, UINT* done);
  /// Reads the next bytes of the stream. `*done` receives the number of bytes that were read, which is less than
  /// `count` at the end of the file or after a failure.
  bool ReadData(BYTE* buffer, UINT count, UINT* done) noexcept;
  bool ReadSectors(BYTE* buffer, UINT count, UINT* done) noexcept;
  bool ReadAhead(UHYPER position, UINT wanted) noexcept;
  UINT CopyFromAhead(UHYPER position, BYTE* buffer, UINT count) const noexcept;
  bool ReadAt(UHYPER position, void* buffer, UINT count, UINT* done) noexcept;
  UHYPER OffsetOf(UHYPER position) const noexcept;

  UniqueHandle m_file;
  UHYPER m_start = 0;     ///< Offset in the file of the first data byte.
  UHYPER m_length = 0;    ///< Bytes of the stream.
  UHYPER m_position = 0;  ///< Bytes delivered so far, also by reads that failed later.
  UHYPER m_remaining = 0; ///< Bytes still to deliver. A read that fails does not decrease it.
  UINT m_dataBlock = kDefaultSector;
  UINT m_stride = kDefaultSector;
  ZSStreamCallback m_callback = nullptr;
  std::string m_name;
  ULONG m_userParam = 0;
  VARIANT m_user{};
  bool m_firstRead = true;
  ZSSTREAMPROGRESS m_progress{};
  UHYPER m_aheadStart = 0;                           ///< Offset in the file of the bytes that were read ahead.
  UINT m_aheadSize = 0;                              ///< Number of these bytes.
  alignas(64) std::array<BYTE, kAheadBytes> m_ahead; ///< At a cache line, where the kernel copies faster.
};
