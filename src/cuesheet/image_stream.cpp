#include "cuesheet/image_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "platform/guard.h"

namespace {

constexpr UINT kCallbackKind = 4; // First argument of every callback.

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
  m_start = start;
  m_length = length;
  m_remaining = length;
  m_progress.qwTotal = length;
  m_file.Reset(DuplicateHandle(file));
  return m_file && start <= UHYPER{std::numeric_limits<std::int64_t>::max()} &&
         SetFilePointerEx(m_file.Get(), static_cast<std::int64_t>(start), nullptr, FILE_BEGIN);
}

void CZSImageStream::SetSectors(UINT dataBlock, UINT stride) noexcept {
  m_dataBlock = dataBlock;
  m_stride = stride;
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
  const HRESULT result = Guarded([&] { return ReadAndReport(buffer, count, &done); });
  if (delivered != nullptr) {
    *delivered = done;
  }
  return result;
}

HRESULT CZSImageStream::ReadAndReport(void* buffer, UINT count, UINT* done) {
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
  const auto offered = static_cast<UINT>(std::min<UHYPER>(count, m_remaining));
  Report(ZSSTREAM_BEFOREREAD, buffer, offered);
  UINT wanted = m_progress.nSize;
  if (wanted <= offered) { // A callback that requests more receives the bytes after the track.
    wanted = static_cast<UINT>(std::min<UHYPER>(wanted, m_length - std::min(m_length, m_position)));
  }
  const bool read = ReadData(static_cast<BYTE*>(m_progress.pBuffer), wanted, done);
  m_position += *done;
  if (!read) {
    const auto error = static_cast<std::int32_t>(GetLastError());
    Report(ZSSTREAM_END, buffer, count);
    return error == std::int32_t{ERROR_HANDLE_EOF} ? S_FALSE : HRESULT_FROM_WIN32(error);
  }
  m_remaining -= std::min<UHYPER>(m_remaining, *done);
  m_progress.qwDone += *done;
  Report(ZSSTREAM_AFTERREAD, buffer, *done);
  if (m_progress.fCancel != 0) {
    *done = 0;
    return E_FAIL;
  }
  return *done == count ? S_OK : S_FALSE;
}

bool CZSImageStream::ReadData(BYTE* buffer, UINT count, UINT* done) noexcept {
  *done = 0;
  if (count == 0) {
    return true;
  }
  if (buffer == nullptr) { // Only a callback can have set it to null.
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  if (m_dataBlock != m_stride) {
    return ReadSectors(buffer, count, done);
  }
  return ReadFile(m_file.Get(), buffer, count, done); // The position of the file is the end of the last read.
}

/// Reads data blocks, one in each stride, from the bytes that were read ahead. If reading ahead fails, reads block by
/// block.
bool CZSImageStream::ReadSectors(BYTE* buffer, UINT count, UINT* done) noexcept {
  while (*done < count) {
    *done += CopyFromAhead(m_position + *done, buffer + *done, count - *done);
    const UHYPER position = m_position + *done;
    const UINT wanted = count - *done;
    if (wanted == 0) {
      break;
    }
    if (ReadAhead(position, wanted)) {
      if (m_aheadSize == 0) {
        break; // The file ends here.
      }
      continue;
    }
    const UINT part = std::min(wanted, m_dataBlock - static_cast<UINT>(position % m_dataBlock));
    UINT bytesRead = 0;
    if (!ReadAt(position, buffer + *done, part, &bytesRead)) {
      return false;
    }
    *done += bytesRead;
    if (bytesRead < part) {
      break;
    }
  }
  return true;
}

/// Reads at most kAheadBytes ahead, from a position of the stream to the end of the track, or to the end of the wanted
/// bytes if they extend farther. If the read fails, keeps the whole blocks before the failure. Returns false if there
/// are none.
bool CZSImageStream::ReadAhead(UHYPER position, UINT wanted) noexcept {
  m_aheadSize = 0;
  if (m_stride > kAheadBytes / 2) { // The buffer would hold mostly gaps.
    return false;
  }
  m_aheadStart = OffsetOf(position);
  const UHYPER end = OffsetOf(std::max(m_length, position + wanted) - 1) + 1;
  const auto size = static_cast<UINT>(std::min<UHYPER>(kAheadBytes, end - m_aheadStart));
  UINT bytesRead = 0;
  if (ReadAt(position, m_ahead.data(), size, &bytesRead)) {
    m_aheadSize = bytesRead;
    return true;
  }
  const auto first = m_dataBlock - static_cast<UINT>(position % m_dataBlock);
  m_aheadSize = bytesRead < first ? 0 : first + (bytesRead - first) / m_stride * m_stride;
  return m_aheadSize != 0;
}

/// Copies data blocks, without the gaps, from the bytes that were read ahead. Returns the number of bytes.
UINT CZSImageStream::CopyFromAhead(UHYPER position, BYTE* buffer, UINT count) const noexcept {
  const UHYPER offset = OffsetOf(position);
  if (offset < m_aheadStart) {
    return 0;
  }
  UINT done = 0;
  UINT left = m_dataBlock - static_cast<UINT>(position % m_dataBlock);
  for (UHYPER i = offset - m_aheadStart; i < m_aheadSize && done < count;) {
    const UINT part = std::min({left, m_aheadSize - static_cast<UINT>(i), count - done});
    std::memcpy(buffer + done, m_ahead.data() + i, part);
    done += part;
    i += left + m_stride - m_dataBlock;
    left = m_dataBlock;
  }
  return done;
}

/// Reads bytes of the file, starting at a position of the stream.
bool CZSImageStream::ReadAt(UHYPER position, void* buffer, UINT count, UINT* done) noexcept {
  return SetFilePointerEx(m_file.Get(), static_cast<std::int64_t>(OffsetOf(position)), nullptr, FILE_BEGIN) &&
         ReadFile(m_file.Get(), buffer, count, done);
}

/// Returns the offset in the file of a position in the stream.
UHYPER CZSImageStream::OffsetOf(UHYPER position) const noexcept {
  return m_start + position / m_dataBlock * m_stride + position % m_dataBlock;
}
