#include "cuesheet/line_scanner.h"

#include <algorithm>

#include "platform/digits.h"

using platform::IsBlank;

void LineScanner::SkipBlanks() noexcept { m_rest = {std::ranges::find_if_not(m_rest, IsBlank), m_rest.end()}; }

bool LineScanner::Fail() noexcept {
  m_rest = {};
  return false;
}

std::string_view LineScanner::NextWord() noexcept {
  SkipBlanks();
  const std::string_view word(m_rest.begin(), std::ranges::find_if(m_rest, IsBlank));
  m_rest.remove_prefix(word.size());
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
