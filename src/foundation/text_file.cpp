#include "foundation/text_file.h"

#include <algorithm>

bool CZSTextFile::Open(const std::string& path) noexcept {
  m_next = m_end = 0;
  return m_file.OpenForReading(path);
}

bool CZSTextFile::Rewind() noexcept {
  m_next = m_end = 0;
  return m_file.Seek64(0, FILE_BEGIN) == 0;
}

bool CZSTextFile::Fill() noexcept {
  DWORD came = 0;
  m_file.ReadCount(m_buffer.data(), static_cast<DWORD>(m_buffer.size()), &came);
  m_next = 0;
  m_end = came;
  return came != 0;
}

bool CZSTextFile::NextLine(std::string* line) {
  line->clear();
  std::size_t taken = 0;
  bool ended = false;
  while (taken < kLineLimit && !ended && (m_next < m_end || Fill())) {
    const char c = m_buffer[m_next++];
    ++taken;
    if (c == '\n') {
      ended = true;
      if (!line->empty() && line->back() == '\r') {
        line->pop_back();
      }
    } else {
      line->push_back(c);
    }
  }
  line->resize(std::min(line->find('\0'), line->size()));
  return taken != 0;
}
