#include "cuesheet/line_scanner.h"

#include <algorithm>

#include "platform/text.h"

namespace {

using platform::IsBlank;

bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }

} // namespace

void LineScanner::SkipBlanks() noexcept {
  while (!m_rest.empty() && IsBlank(m_rest.front())) {
    m_rest.remove_prefix(1);
  }
}

bool LineScanner::Fail() noexcept {
  m_rest = {};
  return false;
}

std::string_view LineScanner::Word() noexcept {
  SkipBlanks();
  std::size_t length = 0;
  while (length < m_rest.size() && !IsBlank(m_rest[length])) {
    ++length;
  }
  const std::string_view word = m_rest.substr(0, length);
  m_rest.remove_prefix(length);
  return word;
}

bool LineScanner::WordIs(std::string_view upper) noexcept {
  SkipBlanks();
  const bool whole = m_rest.size() == upper.size() || (m_rest.size() > upper.size() && IsBlank(m_rest[upper.size()]));
  return whole && std::equal(upper.begin(), upper.end(), m_rest.begin(),
                             [](char wanted, char c) { return c == wanted || c == wanted + ('a' - 'A'); });
}

bool LineScanner::Number(LONG* number) noexcept {
  SkipBlanks();
  const bool negative = !m_rest.empty() && m_rest.front() == '-';
  if (negative || (!m_rest.empty() && m_rest.front() == '+')) {
    m_rest.remove_prefix(1);
  }
  if (m_rest.empty() || !IsDigit(m_rest.front())) {
    return Fail();
  }
  ULONG value = 0;
  for (; !m_rest.empty() && IsDigit(m_rest.front()); m_rest.remove_prefix(1)) {
    value = value * 10 + static_cast<ULONG>(m_rest.front() - '0');
  }
  *number = static_cast<LONG>(negative ? 0U - value : value);
  return true;
}

bool LineScanner::Literal(char c) noexcept {
  if (m_rest.empty() || m_rest.front() != c) {
    return Fail();
  }
  m_rest.remove_prefix(1);
  return true;
}
