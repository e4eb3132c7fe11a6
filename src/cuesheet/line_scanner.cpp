#include "cuesheet/line_scanner.h"

#include <algorithm>

#include "platform/digits.h"

using platform::IsBlank;

void LineScanner::SkipBlanks() noexcept {
  while (!m_rest.empty() && IsBlank(m_rest.front())) {
    m_rest.remove_prefix(1);
  }
}

bool LineScanner::Fail() noexcept {
  m_rest = {};
  return false;
}

std::string_view LineScanner::NextWord() noexcept {
  SkipBlanks();
  std::size_t length = 0;
  while (length < m_rest.size() && !IsBlank(m_rest[length])) {
    ++length;
  }
  const std::string_view word = m_rest.substr(0, length);
  m_rest.remove_prefix(length);
  return word;
}

bool LineScanner::NextWordIs(std::string_view upper) noexcept {
  SkipBlanks();
  const bool whole = m_rest.size() == upper.size() || (m_rest.size() > upper.size() && IsBlank(m_rest[upper.size()]));
  return whole && std::ranges::equal(upper, m_rest.substr(0, upper.size()),
                                     [](char wanted, char c) { return c == wanted || c == wanted + ('a' - 'A'); });
}

bool LineScanner::NextNumber(LONG* number) noexcept {
  SkipBlanks();
  const bool negative = platform::ParseSign(&m_rest);
  const platform::Digits digits = platform::ParseDigits(&m_rest, 10);
  if (!digits.found) {
    return Fail();
  }
  const auto value = static_cast<ULONG>(digits.value);
  *number = static_cast<LONG>(negative ? 0U - value : value);
  return true;
}

bool LineScanner::Skip(char c) noexcept {
  if (m_rest.empty() || m_rest.front() != c) {
    return Fail();
  }
  m_rest.remove_prefix(1);
  return true;
}
