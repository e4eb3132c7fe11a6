/// @file
/// The data of one track as a stream.
#pragma once

#include <array>
#include <string>

#include "cuesheet/cue_sheet_interface.h"
#include "foundation/com_object.h"
#include "platform/files.h"

/// A stream that reads a stretch of an image file forward and may take only a part of each sector. It offers
/// Read alone, to one reader at a time, and reports each step to a callback. Nothing is allocated while reading.
///
/// Where a part of each sector is wanted, many sectors are read ahead in one system call, which no reader and no
/// callback can tell. When such a read fails, its sectors are read one by one, so that all that stands before a
/// bad sector is delivered. A read that failed goes on where it stopped when it is tried again.
class CZSImageStream final : public CZSObject<IStream> {
public:
  explicit CZSImageStream(IUnknown* outer) noexcept : CZSObject(outer, IID_IStream) {}
  ~CZSImageStream() override { VariantClear(&m_user); }

  /// Gets the stream ready; called once. It keeps a handle of its own and a copy of `user`.
  /// @param start Byte position of the first byte to deliver. @param length Bytes to deliver.
  /// @return false when the handle cannot be duplicated or `start` is no position in a file.
  bool InitStream(HANDLE file, std::string name, UHYPER start, UHYPER length, ZSStreamCallback callback,
                  ULONG userParam, const VARIANT& user);
  /// @param dataBlock Bytes to take from each sector, at most `stride`. @param stride Bytes from one sector to the
  /// next. `start` is the position of the first data byte of a sector.
  void SetSectors(UINT dataBlock, UINT stride) noexcept;

  HRESULT Read(void* buffer, ULONG count, ULONG* delivered) override;

  // A track can only be read, and only forward.
  HRESULT Write(const void* /*buffer*/, ULONG /*count*/, ULONG* /*taken*/) override { return E_NOTIMPL; }
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
  /// Bytes that one system call reads ahead. Larger ones gain nothing, as they leave the processor's cache.
  static constexpr UINT kBlockBytes = 384 * 1024;
  static constexpr UINT kDefaultSector = 2048;

  void Report(UINT message, void* buffer, UINT size);
  HRESULT ReadStep(void* buffer, UINT count, UINT* done);
  /// Reads the next bytes of the stream. `*done` is how many came: fewer than `count` at the end of the file, or
  /// before a failure.
  bool ReadData(void* buffer, UINT count, UINT* done) noexcept;
  bool ReadSectors(BYTE* buffer, UINT count, UINT* done) noexcept;
  UINT TakeHeld(BYTE* buffer, UINT wanted) noexcept;
  bool ReadAhead(UHYPER wanted) noexcept;
  bool ReadSector(BYTE* buffer, UINT wanted, UINT* done) noexcept;
  bool FollowSkip() noexcept;

  UniqueHandle m_file;
  UHYPER m_remaining = 0; ///< Bytes still to deliver.
  UINT m_dataBlock = kDefaultSector;
  UINT m_stride = kDefaultSector;
  ZSStreamCallback m_callback = nullptr;
  std::string m_name;
  ULONG m_userParam = 0;
  VARIANT m_user{};
  bool m_firstRead = true;
  ZSSTREAMPROGRESS m_progress{};

  // The place in the sectors. While nothing is held, the file stands at the next byte to deliver, m_skip apart.
  UINT m_left = kDefaultSector; ///< Bytes of the current sector's data that were not delivered yet.
  std::int64_t m_skip = 0;      ///< Bytes to move in the file before it is read again.
  UINT m_single = 0;            ///< Sectors to read one by one, because reading them together failed.
  UINT m_heldAt = 0;            ///< Part of m_block that was read and not delivered, gaps included.
  UINT m_heldEnd = 0;
  alignas(64) std::array<BYTE, kBlockBytes> m_block; ///< At a cache line, where the kernel copies faster.
};
