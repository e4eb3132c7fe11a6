#include "platform/profile.h"

#include <unordered_set>

#include "platform/files.h"
#include "platform/text.h"

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

std::string_view Trim(std::string_view text) noexcept {
  const std::size_t first = text.find_first_not_of(kBlanks);
  return first == std::string_view::npos ? std::string_view()
                                         : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view DropQuotes(std::string_view value) noexcept {
  const bool quoted = value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

std::string Upper(std::string_view text) {
  std::string upper(text);
  CharUpperA(&upper);
  return upper;
}

/// A line end cannot occur in a name, so it keeps section and key apart.
std::string KeyOf(std::string_view upperSection, std::string_view key) {
  std::string name(upperSection);
  name.push_back('\n');
  return name.append(Upper(key));
}

std::string ReadWhole(const std::string& path) {
  std::string text;
  const UniqueHandle file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
  constexpr DWORD kStep = 65536;
  for (DWORD came = file ? kStep : 0; came == kStep;) {
    const std::size_t before = text.size();
    text.resize(before + kStep);
    ReadFile(file.Get(), text.data() + before, kStep, &came);
    text.resize(before + came);
  }
  return text;
}

int DigitOf(char c, std::uint32_t base) noexcept {
  const int digit = c >= '0' && c <= '9'   ? c - '0'
                    : c >= 'a' && c <= 'f' ? c - 'a' + 10
                    : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                           : 16;
  return digit < static_cast<int>(base) ? digit : -1;
}

LONG ParseInt(std::string_view text) noexcept {
  std::size_t i = 0;
  const bool negative = !text.empty() && text[0] == '-';
  if (negative || (!text.empty() && text[0] == '+')) {
    ++i;
  }
  std::uint32_t base = 10;
  if (i + 1 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X')) {
    base = 16;
    i += 2;
  }
  std::uint32_t number = 0;
  for (; i < text.size() && DigitOf(text[i], base) >= 0; ++i) {
    number = number * base + static_cast<std::uint32_t>(DigitOf(text[i], base));
  }
  return static_cast<LONG>(negative ? 0U - number : number);
}

} // namespace

ProfileFile::ProfileFile(const std::string& path) { Index(ReadWhole(path)); }

void ProfileFile::Index(std::string_view text) {
  std::unordered_set<std::string> seen;
  std::string section;
  bool skip = true; // Keys before the first section belong to none, and those of a repeated section do not count.
  std::size_t position = 0;
  while (position < text.size()) {
    const std::size_t end = std::min(text.find('\n', position), text.size());
    const std::string_view line = Trim(text.substr(position, end - position));
    position = end + 1;
    if (line.empty() || line.front() == ';') {
      continue;
    }
    if (line.front() == '[') {
      const std::size_t close = line.find(']');
      section = Upper(Trim(line.substr(1, close == std::string_view::npos ? close : close - 1)));
      skip = !seen.insert(section).second;
      continue;
    }
    const std::size_t equals = line.find('=');
    if (!skip && equals != std::string_view::npos) {
      m_values.try_emplace(KeyOf(section, Trim(line.substr(0, equals))), DropQuotes(Trim(line.substr(equals + 1))));
    }
  }
}

const std::string* ProfileFile::Find(std::string_view section, std::string_view key) const {
  const auto found = m_values.find(KeyOf(Upper(section), key));
  return found == m_values.end() ? nullptr : &found->second;
}

LONG ProfileFile::GetInt(std::string_view section, std::string_view key, LONG missing) const {
  const std::string* value = Find(section, key);
  return value == nullptr ? missing : ParseInt(*value);
}

std::string ProfileFile::GetString(std::string_view section, std::string_view key, std::size_t limit) const {
  const std::string* value = Find(section, key);
  return value == nullptr || limit == 0 ? std::string() : value->substr(0, limit - 1);
}

LONG GetPrivateProfileIntA(std::string_view section, std::string_view key, LONG missing, const std::string& path) {
  return ProfileFile(path).GetInt(section, key, missing);
}

std::string GetPrivateProfileStringA(std::string_view section, std::string_view key, std::string_view missing,
                                     std::size_t limit, const std::string& path) {
  const ProfileFile profile(path);
  return profile.Find(section, key) == nullptr ? std::string(missing) : profile.GetString(section, key, limit);
}
