#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

/// Characters of the bytes 0x80 to 0x9F. The five places that Windows-1252 leaves free stand for themselves.
constexpr std::array<char16_t, 32> kUpperControls = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                     0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                     0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                     0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t FromWindows1252(BYTE byte) noexcept {
  return byte >= 0x80 && byte < 0xA0 ? kUpperControls[byte - 0x80U] : char16_t{byte};
}

/// The byte of a character, or 0 for one that Windows-1252 lacks. Only asked for characters above 0x7F.
BYTE ToWindows1252(char16_t unit) noexcept {
  if (unit >= 0xA0 && unit <= 0xFF) {
    return static_cast<BYTE>(unit);
  }
  const auto* found = std::find(kUpperControls.begin(), kUpperControls.end(), unit);
  return found == kUpperControls.end() ? BYTE{0} : static_cast<BYTE>(0x80 + (found - kUpperControls.begin()));
}

bool IsContinuation(BYTE byte) noexcept { return (byte & 0xC0) == 0x80; }

struct Sequence {
  std::size_t length; ///< Bytes of the UTF-8 sequence; 0 if none is valid here.
  char32_t character;
};

/// The UTF-8 sequence of two to four bytes at the start of `bytes`. Over-long forms, surrogates and numbers
/// above 0x10FFFF are not valid.
Sequence ReadSequence(const BYTE* bytes, std::size_t available) noexcept {
  const BYTE lead = bytes[0];
  const std::size_t length = lead >= 0xF0 && lead <= 0xF4 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || available < length) {
    return {0, 0};
  }
  char32_t character = length == 2 ? lead & 0x1FU : length == 3 ? lead & 0x0FU : lead & 0x07U;
  for (std::size_t i = 1; i < length; ++i) {
    if (!IsContinuation(bytes[i])) {
      return {0, 0};
    }
    character = (character << 6) | (bytes[i] & 0x3FU);
  }
  const bool overlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
  const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
  return overlong || surrogate || character > 0x10FFFF ? Sequence{0, 0} : Sequence{length, character};
}

/// Calls `take(character)` for each character of narrow text.
template <class Take> void ForEachCharacter(std::string_view narrow, Take take) {
  const auto* bytes = reinterpret_cast<const BYTE*>(narrow.data());
  std::size_t i = 0;
  while (i < narrow.size()) {
    if (bytes[i] < 0x80) {
      take(char32_t{bytes[i++]});
      continue;
    }
    const Sequence sequence = ReadSequence(bytes + i, narrow.size() - i);
    take(sequence.length != 0 ? sequence.character : char32_t{FromWindows1252(bytes[i])});
    i += std::max<std::size_t>(sequence.length, 1);
  }
}

/// Appends the bytes of one character in reverse, for text that is built from its end.
void AppendUtf8Reversed(char32_t character, std::string* reversed) {
  if (character < 0x80) {
    reversed->push_back(static_cast<char>(character));
    return;
  }
  const int continuations = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  for (int i = 0; i < continuations; ++i) {
    reversed->push_back(static_cast<char>(0x80U | (character & 0x3FU)));
    character >>= 6;
  }
  const std::uint32_t mark = continuations == 1 ? 0xC0U : continuations == 2 ? 0xE0U : 0xF0U;
  reversed->push_back(static_cast<char>(mark | character));
}

/// Whether a single byte in front of what was already built would be taken for the start of a UTF-8 sequence.
bool StartsSequence(BYTE lead, const std::string& reversed) noexcept {
  std::array<BYTE, 4> bytes{lead};
  const std::size_t following = std::min<std::size_t>(3, reversed.size());
  for (std::size_t i = 0; i < following; ++i) {
    bytes[i + 1] = static_cast<BYTE>(reversed[reversed.size() - 1 - i]);
  }
  return ReadSequence(bytes.data(), following + 1).length != 0;
}

bool IsHighSurrogate(char16_t unit) noexcept { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char16_t unit) noexcept { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// Stretches of letters whose upper case lies a fixed distance away, or one below each second letter.
struct CaseRange {
  char16_t first;
  char16_t last;
  int distance; ///< To the upper case; 0 marks pairs in which the odd, 1 pairs in which the even number is lower.
};

constexpr int kOddIsLower = 0;
constexpr int kEvenIsLower = 1;

constexpr CaseRange kCaseRanges[] = {
    {0x0061, 0x007A, -32},          {0x00E0, 0x00F6, -32},          {0x00F8, 0x00FE, -32},
    {0x00FF, 0x00FF, 121},          {0x0100, 0x012F, kOddIsLower},  {0x0131, 0x0131, -232},
    {0x0132, 0x0137, kOddIsLower},  {0x0139, 0x0148, kEvenIsLower}, {0x014A, 0x0177, kOddIsLower},
    {0x0179, 0x017E, kEvenIsLower}, {0x017F, 0x017F, -300},         {0x01CD, 0x01DC, kEvenIsLower},
    {0x01DE, 0x01EF, kOddIsLower},  {0x01F8, 0x021F, kOddIsLower},  {0x0222, 0x0233, kOddIsLower},
    {0x03AC, 0x03AC, -38},          {0x03AD, 0x03AF, -37},          {0x03B1, 0x03C1, -32},
    {0x03C2, 0x03C2, -31},          {0x03C3, 0x03CB, -32},          {0x03CC, 0x03CC, -64},
    {0x03CD, 0x03CE, -63},          {0x0430, 0x044F, -32},          {0x0450, 0x045F, -80},
    {0x0460, 0x0481, kOddIsLower},  {0x048A, 0x04BF, kOddIsLower},  {0x04C1, 0x04CE, kEvenIsLower},
    {0x04CF, 0x04CF, -15},          {0x04D0, 0x052F, kOddIsLower},  {0x0561, 0x0586, -48},
    {0x1E00, 0x1E95, kOddIsLower},  {0x1EA0, 0x1EFF, kOddIsLower},  {0x2170, 0x217F, -16},
    {0x24D0, 0x24E9, -26},          {0xFF41, 0xFF5A, -32}};

char UpperAscii(char c) noexcept { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

/// Without regard to case, as `strcmp`.
int CompareAscii(std::string_view left, std::string_view right) noexcept {
  const std::size_t common = std::min(left.size(), right.size());
  for (std::size_t i = 0; i < common; ++i) {
    if (const int difference = UpperAscii(left[i]) - UpperAscii(right[i]); difference != 0) {
      return difference;
    }
  }
  return static_cast<int>(left.size() > right.size()) - static_cast<int>(left.size() < right.size());
}

} // namespace

bool IsAscii(std::string_view narrow) noexcept {
  // Eight bytes at a time, the last eight once more if need be; texts are short and asked about often.
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::uint64_t bits = 0;
  std::uint64_t word = 0;
  const char* bytes = narrow.data();
  const std::size_t size = narrow.size();
  for (std::size_t i = 0; i < size; i += sizeof(word)) {
    if (size >= sizeof(word)) {
      std::memcpy(&word, bytes + std::min(i, size - sizeof(word)), sizeof(word));
    } else {
      std::memcpy(&word, bytes, size);
    }
    bits |= word;
  }
  return (bits & kHighBits) == 0;
}

int platform::HexDigit(char c) noexcept {
  const char upper = UpperAscii(c);
  return c >= '0' && c <= '9' ? c - '0' : upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

std::string platform::Upper(std::string_view narrow) {
  std::string upper(narrow);
  CharUpperA(&upper);
  return upper;
}

std::string_view platform::Trim(std::string_view narrow) noexcept {
  while (!narrow.empty() && IsBlank(narrow.front())) {
    narrow.remove_prefix(1);
  }
  while (!narrow.empty() && IsBlank(narrow.back())) {
    narrow.remove_suffix(1);
  }
  return narrow;
}

std::string WideCharToMultiByte(std::u16string_view wide) {
  if (std::all_of(wide.begin(), wide.end(), [](char16_t unit) { return unit < 0x80; })) {
    return {wide.begin(), wide.end()};
  }
  // Built from the end, because whether a byte can stand alone depends on the bytes behind it.
  std::string reversed;
  reversed.reserve(wide.size() * 2);
  for (std::size_t i = wide.size(); i-- > 0;) {
    char32_t character = wide[i];
    if (IsLowSurrogate(wide[i]) && i > 0 && IsHighSurrogate(wide[i - 1])) {
      --i;
      character = 0x10000U + ((char32_t{wide[i]} - 0xD800U) << 10) + (character - 0xDC00U);
    } else if (IsLowSurrogate(wide[i]) || IsHighSurrogate(wide[i])) {
      character = U'?';
    }
    const BYTE single =
        character < 0x80 || character > 0xFFFF ? BYTE{0} : ToWindows1252(static_cast<char16_t>(character));
    if (single != 0 && !StartsSequence(single, reversed)) {
      reversed.push_back(static_cast<char>(single));
    } else {
      AppendUtf8Reversed(character, &reversed);
    }
  }
  std::reverse(reversed.begin(), reversed.end());
  return reversed;
}

std::u16string MultiByteToWideChar(std::string_view narrow) {
  std::u16string wide;
  wide.reserve(narrow.size());
  ForEachCharacter(narrow, [&wide](char32_t character) {
    if (character > 0xFFFF) {
      wide.push_back(static_cast<char16_t>(0xD800U + ((character - 0x10000U) >> 10)));
      character = 0xDC00U + (character & 0x3FFU);
    }
    wide.push_back(static_cast<char16_t>(character));
  });
  return wide;
}

std::string NarrowToUtf8(std::string_view narrow) {
  if (IsAscii(narrow)) {
    return std::string(narrow);
  }
  std::string utf8;
  utf8.reserve(narrow.size());
  std::string reversed;
  ForEachCharacter(narrow, [&](char32_t character) {
    reversed.clear();
    AppendUtf8Reversed(character, &reversed);
    utf8.append(reversed.rbegin(), reversed.rend());
  });
  return utf8;
}

char16_t UpperUnit(char16_t unit) noexcept {
  for (const CaseRange& range : kCaseRanges) {
    if (unit < range.first) {
      break;
    }
    if (unit > range.last) {
      continue;
    }
    if (range.distance == kOddIsLower || range.distance == kEvenIsLower) {
      const bool lower = (unit % 2 == 1) == (range.distance == kOddIsLower);
      return lower ? static_cast<char16_t>(unit - 1) : unit;
    }
    return static_cast<char16_t>(unit + range.distance);
  }
  return unit;
}

void CharUpperA(std::string* narrow) {
  unsigned bits = 0;
  for (char& c : *narrow) {
    bits |= static_cast<BYTE>(c);
    c = UpperAscii(c); // Right for other text as well, of which no character holds such a byte.
  }
  if (bits < 0x80) {
    return;
  }
  std::u16string wide = MultiByteToWideChar(*narrow);
  std::transform(wide.begin(), wide.end(), wide.begin(), UpperUnit);
  *narrow = WideCharToMultiByte(wide);
}

int lstrcmpiA(std::string_view left, std::string_view right) {
  if (IsAscii(left) && IsAscii(right)) {
    return CompareAscii(left, right);
  }
  std::string a(left);
  std::string b(right);
  CharUpperA(&a);
  CharUpperA(&b);
  return MultiByteToWideChar(a).compare(MultiByteToWideChar(b));
}
