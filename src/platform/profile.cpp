#include "platform/profile.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "platform/digits.h"
#include "platform/files.h"

namespace {

std::string_view DropQuotes(std::string_view value) noexcept {
  const bool quoted =
      value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

/// The name in a line that begins a section or has a key.
std::string_view NameOf(std::string_view line) noexcept {
  return line.front() == '[' ? platform::Trim(line.substr(1, line.find_first_of("]\n", 1) - 1))
                             : platform::Trim(line.substr(0, line.find('=')));
}

std::uint32_t HashOf(const std::string& upper) noexcept {
  return static_cast<std::uint32_t>(std::hash<std::string>()(upper));
}

/// Sorts places by their hashes and then by `isBefore`. Hashes are spread evenly, so that a share of all hashes has few
/// places: they are put into their shares first, in time that is linear.
template <class Iterator, class Less> void SortPlaces(Iterator first, Iterator last, Less isBefore) {
  constexpr std::size_t kOfShare = 8;
  const std::size_t shares = static_cast<std::size_t>(last - first) / kOfShare;
  if (shares <= kOfShare) {
    std::sort(first, last, isBefore);
    return;
  }
  const auto shareOf = [shares](const auto& place) {
    return static_cast<std::size_t>(std::uint64_t{place.hash} * shares >> 32);
  };
  std::vector<std::uint32_t> next(shares + 1); // First where each share begins, then where its next place goes.
  std::for_each(first, last, [&](const auto& place) { ++next[shareOf(place) + 1]; });
  std::partial_sum(next.begin(), next.end(), next.begin());
  const std::vector<std::uint32_t> begins = next;
  for (std::size_t share = 0; share < shares; ++share) {
    while (next[share] < begins[share + 1]) {
      const auto place = first + next[share];
      std::iter_swap(place, first + next[shareOf(*place)]++);
    }
    std::sort(first + begins[share], first + begins[share + 1], isBefore);
  }
}

LONG ParseInt(std::string_view text) noexcept {
  const bool negative = platform::ParseSign(&text);
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  text.remove_prefix(isHexadecimal ? 2 : 0);
  const auto number = static_cast<ULONG>(platform::ParseDigits(&text, isHexadecimal ? 16 : 10).value);
  return static_cast<LONG>(negative ? 0U - number : number);
}

} // namespace

bool ProfileFile::Load(const std::string& path) {
  m_sections.clear();
  m_keys.clear();
  const bool read = ReadWholeFile(path, kMaxSize, &m_text);
  Index();
  Sort();
  return read;
}

void ProfileFile::Index() {
  for (std::size_t start = 0; start < m_text.size(); start = std::min(m_text.find('\n', start), m_text.size()) + 1) {
    const std::string_view line = LineAt(start);
    const bool heading = !line.empty() && line.front() == '[';
    // Keys before the first section belong to none.
    const bool key =
        !line.empty() && line.front() != ';' && !m_sections.empty() && line.find('=') != std::string_view::npos;
    if (!heading && !key) {
      continue;
    }
    const auto place = static_cast<std::uint32_t>(line.data() - m_text.data());
    const Place found{HashOf(platform::Upper(NameOf(line))), place};
    if (heading) {
      const auto firstKey = static_cast<std::uint32_t>(m_keys.size());
      m_sections.push_back({found, firstKey, firstKey});
    } else {
      m_keys.push_back(found);
      ++m_sections.back().endKey;
    }
  }
}

void ProfileFile::Sort() {
  const auto isBefore = [this](const Place& left, const Place& right) { return IsBefore(left, right); };
  for (const Heading& section : m_sections) {
    SortPlaces(m_keys.begin() + section.firstKey, m_keys.begin() + section.endKey, isBefore);
  }
  SortPlaces(m_sections.begin(), m_sections.end(), isBefore);
}

std::string_view ProfileFile::LineAt(std::size_t start) const noexcept {
  const std::string_view rest = std::string_view(m_text).substr(start);
  return platform::Trim(rest.substr(0, rest.find('\n')));
}

std::string ProfileFile::UpperNameAt(const Place& place) const {
  return platform::Upper(NameOf(std::string_view(m_text).substr(place.line)));
}

bool ProfileFile::IsBefore(const Place& left, const Place& right) const {
  if (left.hash != right.hash) {
    return left.hash < right.hash;
  }
  const int order = left.line == right.line ? 0 : UpperNameAt(left).compare(UpperNameAt(right));
  return order != 0 ? order < 0 : left.line < right.line;
}

template <class Iterator> Iterator ProfileFile::FindName(Iterator first, Iterator last, std::string_view name) const {
  const std::string upper = platform::Upper(name);
  const std::uint32_t hash = HashOf(upper);
  const Iterator found = std::partition_point(first, last, [&](const Place& place) {
    return place.hash < hash || (place.hash == hash && UpperNameAt(place) < upper);
  });
  return found != last && found->hash == hash && UpperNameAt(*found) == upper ? found : last;
}

ProfileFile::Section ProfileFile::GetSection(std::string_view name) const {
  const auto found = FindName(m_sections.begin(), m_sections.end(), name);
  return found == m_sections.end() ? Section(this, 0, 0) : Section(this, found->firstKey, found->endKey);
}

std::optional<std::string_view> ProfileFile::Section::Find(std::string_view key) const {
  const auto keys = m_profile->m_keys.begin();
  const auto last = keys + static_cast<std::ptrdiff_t>(m_end);
  const auto found = m_profile->FindName(keys + static_cast<std::ptrdiff_t>(m_first), last, key);
  if (found == last) {
    return std::nullopt;
  }
  const std::string_view line = m_profile->LineAt(found->line);
  return DropQuotes(platform::Trim(line.substr(line.find('=') + 1)));
}

LONG ProfileFile::Section::GetInt(std::string_view key, LONG missing) const {
  const std::optional<std::string_view> value = Find(key);
  return value ? ParseInt(*value) : missing;
}

std::string ProfileFile::Section::GetString(std::string_view key, std::size_t limit) const {
  const std::optional<std::string_view> value = Find(key);
  return value && limit != 0 ? std::string(value->substr(0, limit - 1)) : std::string();
}
