#include "foundation/file.h"

#include <new>

#include "platform/paths.h"

bool CZSFile::Open(const std::string& path, DWORD access, DWORD sharing, DWORD disposition, DWORD attributes) noexcept {
  Close();
  m_file.Reset(CreateFileA(path, access, sharing, disposition, attributes));
  return static_cast<bool>(m_file);
}

bool CZSFile::OpenForReading(const std::string& path) noexcept {
  return Open(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
}

bool CZSFile::Read(void* buffer, DWORD count) noexcept {
  DWORD bytesRead = 0;
  return ReadCount(buffer, count, &bytesRead);
}

bool CZSFile::ReadCount(void* buffer, DWORD count, DWORD* bytesRead) noexcept {
  *bytesRead = 0;
  return count == 0 || (ReadFile(m_file.Get(), buffer, count, bytesRead) && *bytesRead == count);
}

bool CZSFile::Write(const void* buffer, DWORD count) noexcept {
  DWORD bytesWritten = 0;
  return count == 0 || (WriteFile(m_file.Get(), buffer, count, &bytesWritten) && bytesWritten == count);
}

UHYPER CZSFile::Seek64(std::int64_t distance, DWORD origin) noexcept {
  UHYPER position = 0;
  return SetFilePointerEx(m_file.Get(), distance, &position, origin) ? position : kSeekFailed;
}

bool CZSFindFile::FindFile(const std::string& path) noexcept {
  Close();
  if (!FindFirstFileA(path, &m_file)) {
    return false;
  }
  try {
    const bool isPattern = path.find_first_of("*?") != std::string::npos;
    m_path = isPattern ? path : path.substr(0, PathFindFileNameA(path)) + m_file.name;
    return true;
  } catch (const std::bad_alloc&) {
    Close();
    return false;
  }
}

void CZSFindFile::Close() noexcept {
  m_path.clear();
  m_file.size = 0;
}
