#include "cuesheet/image_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "platform/guard.h"

namespace {

constexpr UINT kCallbackKind = 4; // First argument of every call back.

} // namespace

bool CZSImageStream::InitStream(HANDLE file, std::string name, UHYPER start, UHYPER length, ZSStreamCallback callback,
                                ULONG userParam, const VARIANT& user) {
  m_name = std::move(name);
  m_callback = callback;
  m_userParam = userParam;
  const HRESULT copied = VariantCopy(&m_user, &user);
  if (FAILED(copied)) {
    m_user.vt = VT_ERROR;
    m_user.scode = copied;
  }
  m_remaining = length;
  m_progress.qwTotal = length;
  m_file.Reset(DuplicateHandle(file));
  return m_file && start <= UHYPER{std::numeric_limits<std::int64_t>::max()} &&
         SetFilePointerEx(m_file.Get(), static_cast<std::int64_t>(start), nullptr, FILE_BEGIN);
}

void CZSImageStream::SetSectors(UINT dataBlock, UINT stride) noexcept {
  m_dataBlock = dataBlock;
  m_stride = stride;
  m_left = dataBlock;
}

void CZSImageStream::Report(UINT message, void* buffer, UINT size) {
  m_progress.pBuffer = buffer;
  m_progress.nSize = size;
  if (m_callback == nullptr) {
    return;
  }
  m_progress.nMessage = message;
  m_progress.pszName = m_name.c_str();
  m_progress.vtUser = m_user;
  m_callback(kCallbackKind, &m_progress, m_userParam, m_user);
}

HRESULT CZSImageStream::Read(void* buffer, ULONG count, ULONG* delivered) {
  UINT done = 0;
  const HRESULT result = Guarded([&] { return ReadStep(buffer, count, &done); });
  if (delivered != nullptr) {
    *delivered = done;
  }
  return result;
}

HRESULT CZSImageStream::ReadStep(void* buffer, UINT count, UINT* done) {
  if (buffer == nullptr) {
    return E_INVALIDARG;
  }
  if (std::exchange(m_firstRead, false)) {
    Report(ZSSTREAM_BEGIN, buffer, count);
    buffer = m_progress.pBuffer;
    count = m_progress.nSize;
  }
  if (m_remaining == 0) {
    Report(ZSSTREAM_END, buffer, count);
    return S_FALSE;
  }
  Report(ZSSTREAM_BEFOREREAD, buffer, static_cast<UINT>(std::min<UHYPER>(count, m_remaining)));
  if (!ReadData(m_progress.pBuffer, m_progress.nSize, done)) {
    const auto error = static_cast<std::int32_t>(GetLastError());
    Report(ZSSTREAM_END, buffer, count);
    return error == std::int32_t{ERROR_HANDLE_EOF} ? S_FALSE : HRESULT_FROM_WIN32(error);
  }
  m_remaining -= std::min<UHYPER>(m_remaining, *done); // A callback may have asked for more than is left.
  m_progress.qwDone += *done;
  Report(ZSSTREAM_AFTERREAD, buffer, *done);
  if (m_progress.fCancel != 0) {
    *done = 0;
    return E_FAIL;
  }
  return *done == count ? S_OK : S_FALSE;
}

bool CZSImageStream::ReadData(void* buffer, UINT count, UINT* done) noexcept {
  *done = 0;
  if (buffer == nullptr && count != 0) { // Only a callback can have put it there.
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  return m_dataBlock == m_stride ? ReadFile(m_file.Get(), buffer, count, done)
                                 : ReadSectors(static_cast<BYTE*>(buffer), count, done);
}

/// Reads data blocks that lie a stride apart.
bool CZSImageStream::ReadSectors(BYTE* buffer, UINT count, UINT* done) noexcept {
  for (;;) {
    *done += TakeHeld(buffer + *done, count - *done);
    if (*done == count) {
      return true;
    }
    const UHYPER rest = m_remaining > *done ? m_remaining - *done : 0;
    if (ReadAhead(std::max<UHYPER>(rest, count - *done))) {
      if (m_heldAt == m_heldEnd) {
        return true; // The file ends here.
      }
      continue;
    }
    UINT came = 0;
    const bool good = ReadSector(buffer + *done, count - *done, &came);
    *done += came;
    if (!good || came == 0) {
      return good;
    }
  }
}

/// Delivers from what was read ahead, without the gaps between the data blocks.
UINT CZSImageStream::TakeHeld(BYTE* buffer, UINT wanted) noexcept {
  UINT taken = 0;
  while (taken < wanted && m_heldAt < m_heldEnd) {
    const UINT part = std::min({wanted - taken, m_left, m_heldEnd - m_heldAt});
    std::memcpy(buffer + taken, m_block.data() + m_heldAt, part);
    taken += part;
    m_heldAt += part;
    m_left -= part;
    if (m_left == 0) {
      m_left = m_dataBlock;
      m_heldAt += std::min(m_stride - m_dataBlock, m_heldEnd - m_heldAt);
    }
  }
  return taken;
}

/// Reads whole sectors up to the first data byte of the one behind them; nothing at the end of the file. `wanted`
/// is the data that will be asked for. False when the next sector must be read by itself.
bool CZSImageStream::ReadAhead(UHYPER wanted) noexcept {
  const UHYPER needed = wanted / m_dataBlock + (wanted % m_dataBlock != 0 ? 1 : 0);
  const auto sectors = static_cast<UINT>(std::min<UHYPER>(needed, kBlockBytes / m_stride));
  if (m_single != 0 || m_left != m_dataBlock || sectors < 2 || !FollowSkip()) {
    return false;
  }
  DWORD came = 0;
  if (!ReadFile(m_file.Get(), m_block.data(), sectors * m_stride, &came)) {
    m_skip = -std::int64_t{came};
    m_single = sectors;
    return false;
  }
  m_heldAt = 0;
  m_heldEnd = came;
  return true;
}

/// Reads what is wanted of one sector, or what is left of it, and moves on to the next. Data that are not wanted
/// now are held. Only called with nothing held.
bool CZSImageStream::ReadSector(BYTE* buffer, UINT wanted, UINT* done) noexcept {
  const UINT part = std::min(m_left, wanted);
  if (!FollowSkip()) {
    return false;
  }
  if (!ReadFile(m_file.Get(), buffer, part, done)) {
    m_skip = -std::int64_t{*done};
    *done = 0;
    return false;
  }
  m_left -= *done;
  if (*done < part) {
    return true;
  }
  if (m_left == 0) {
    m_left = m_dataBlock;
  } else {
    DWORD kept = 0;
    if (!ReadFile(m_file.Get(), m_block.data(), m_left, &kept)) {
      m_skip = -std::int64_t{kept};
      return false;
    }
    m_heldAt = 0;
    m_heldEnd = kept;
    if (kept < m_left) {
      return true;
    }
  }
  m_single -= std::min(m_single, 1U);
  m_skip = std::int64_t{m_stride} - m_dataBlock;
  return FollowSkip();
}

/// Makes the move in the file that is due. When it fails it stays due.
bool CZSImageStream::FollowSkip() noexcept {
  if (m_skip != 0 && !SetFilePointerEx(m_file.Get(), m_skip, nullptr, FILE_CURRENT)) {
    return false;
  }
  m_skip = 0;
  return true;
}
