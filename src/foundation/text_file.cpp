#include "foundation/text_file.h"

#include <algorithm>
#include <cstring>

bool CZSTextFile::Open(const std::string& path) noexcept {
  Clear();
  return m_file.OpenForReading(path);
}

bool CZSTextFile::Rewind() noexcept {
  Clear();
  return m_file.Seek64(0, FILE_BEGIN) == 0;
}

/// Reads on behind what is left of the buffer.
void CZSTextFile::Fill() noexcept {
  std::memmove(m_buffer.data(), m_buffer.data() + m_next, m_end - m_next);
  m_end -= m_next;
  m_next = 0;
  DWORD came = 0;
  m_ended = !m_file.ReadCount(m_buffer.data() + m_end, static_cast<DWORD>(m_buffer.size() - m_end), &came);
  m_end += came;
}

bool CZSTextFile::NextLine(std::string_view* line) noexcept {
  if (m_end - m_next < kLineLimit && !m_ended) {
    Fill();
  }
  *line = std::string_view(m_buffer.data() + m_next, std::min(m_end - m_next, kLineLimit));
  const std::size_t end = line->find('\n');
  m_next += end == std::string_view::npos ? line->size() : end + 1;
  const bool any = !line->empty();
  if (end != std::string_view::npos) {
    *line = line->substr(0, end != 0 && (*line)[end - 1] == '\r' ? end - 1 : end);
  }
  *line = line->substr(0, line->find('\0'));
  return any;
}
