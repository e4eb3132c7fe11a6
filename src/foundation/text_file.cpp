#include "foundation/text_file.h"

#include <algorithm>
#include <cstring>

bool TextFile::Open(const std::string& path) noexcept {
  Clear();
  return m_file.OpenForReading(path);
}

bool TextFile::Rewind() noexcept {
  if (m_whole && m_ended) { // A short file is read once.
    m_next = 0;
    return true;
  }
  Clear();
  return m_file.Seek64(0, FILE_BEGIN) == 0;
}

/// Reads on behind what is left of the buffer.
void TextFile::Fill() noexcept {
  std::memmove(m_buffer.data(), m_buffer.data() + m_next, m_end - m_next);
  m_whole = m_whole && m_next == 0;
  m_end -= m_next;
  m_next = 0;
  DWORD came = 0;
  m_ended = !m_file.ReadCount(m_buffer.data() + m_end, static_cast<DWORD>(m_buffer.size() - m_end), &came);
  m_zeros = m_zeros || std::memchr(m_buffer.data() + m_end, '\0', came) != nullptr;
  m_end += came;
}

bool TextFile::NextLine(std::string_view* line) noexcept {
  if (m_end - m_next < kLineLimit && !m_ended) {
    Fill();
  }
  const char* start = m_buffer.data() + m_next;
  const std::size_t limit = std::min(m_end - m_next, kLineLimit);
  std::size_t length = limit;
  if (const void* end = std::memchr(start, '\n', limit); end != nullptr) {
    length = static_cast<std::size_t>(static_cast<const char*>(end) - start);
    m_next += length + 1;
    length -= length != 0 && start[length - 1] == '\r' ? 1 : 0;
  } else {
    m_next += limit;
  }
  *line = std::string_view(start, length);
  if (m_zeros) {
    *line = line->substr(0, line->find('\0'));
  }
  return limit != 0;
}
