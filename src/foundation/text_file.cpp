#include "foundation/text_file.h"

#include <algorithm>
#include <cstring>

bool TextFile::Open(const std::string& path) noexcept {
  Clear();
  m_failed = false;
  return m_file.OpenForReading(path);
}

bool TextFile::Rewind() noexcept {
  if (m_holdsStart && m_holdsEnd) { // A short file is read once.
    m_next = 0;
    return true;
  }
  Clear();
  return m_file.Seek64(0, FILE_BEGIN) == 0;
}

void TextFile::Clear() noexcept {
  m_next = m_end = 0;
  m_holdsStart = true;
  m_holdsEnd = false;
}

/// Drops the lines that were returned and fills the rest of the buffer.
void TextFile::Fill() noexcept {
  m_holdsStart = m_holdsStart && m_next == 0;
  std::memmove(m_buffer.data(), m_buffer.data() + m_next, m_end - m_next);
  m_end -= m_next;
  m_next = 0;
  const auto room = static_cast<DWORD>(m_buffer.size() - m_end);
  DWORD bytesRead = 0;
  m_failed = !ReadFile(m_file.Handle(), m_buffer.data() + m_end, room, &bytesRead) || m_failed;
  m_holdsEnd = bytesRead < room;
  m_end += bytesRead;
}

bool TextFile::NextLine(std::string_view* line) noexcept {
  if (m_end - m_next < kLineLimit && !m_holdsEnd) {
    Fill();
  }
  std::string_view text(m_buffer.data() + m_next, std::min(m_end - m_next, kLineLimit));
  const bool isLine = !text.empty();
  const std::size_t end = text.find('\n');
  m_next += end == std::string_view::npos ? text.size() : end + 1;
  if (end != std::string_view::npos) {
    text = text.substr(0, end);
    text.remove_suffix(text.ends_with('\r') ? 1 : 0);
  }
  *line = text.substr(0, text.find('\0'));
  return isLine;
}
