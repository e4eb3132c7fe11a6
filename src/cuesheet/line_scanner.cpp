#include "cuesheet/line_scanner.h"

#include <algorithm>

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }

} // namespace

void CZSLineScanner::SkipBlanks() noexcept {
  m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
}

bool CZSLineScanner::Fail() noexcept {
  m_rest = {};
  return false;
}

std::string_view CZSLineScanner::Word() noexcept {
  SkipBlanks();
  const std::string_view word = m_rest.substr(0, m_rest.find_first_of(kBlanks));
  m_rest.remove_prefix(word.size());
  return word;
}

bool CZSLineScanner::Number(LONG* number) noexcept {
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

bool CZSLineScanner::Literal(char c) noexcept {
  if (m_rest.empty() || m_rest.front() != c) {
    return Fail();
  }
  m_rest.remove_prefix(1);
  return true;
}
