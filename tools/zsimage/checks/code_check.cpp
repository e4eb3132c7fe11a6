#include <algorithm>

#include "checks/findings.h"
#include "files/files.h"
#include "output/terminal_text.h"

namespace {

constexpr std::size_t kCheckedBytes = 16; // Of a pack; the check bytes stand behind them.

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return c >= 'A' && c <= 'Z'; }

bool IsIsrc(std::string_view code) {
  if (code.size() != 12 || !IsLetter(code[0]) || !IsLetter(code[1])) {
    return false;
  }
  const auto owner = code.substr(2, 3);
  const auto number = code.substr(5);
  return std::all_of(owner.begin(), owner.end(), [](char c) { return IsDigit(c) || IsLetter(c); }) &&
         std::all_of(number.begin(), number.end(), IsDigit);
}

/// The check digit of twelve digits: weights 1 and 3 by turns, up to the next ten.
char CheckDigit(std::string_view digits) {
  int sum = 0;
  for (std::size_t i = 0; i < 12; ++i) {
    sum += (digits[i] - '0') * (i % 2 == 0 ? 1 : 3);
  }
  return static_cast<char>('0' + (10 - sum % 10) % 10);
}

/// CRC of x^16 + x^12 + x^5 + 1 from the highest bit on, inverted, as the sub-channel has it.
unsigned PackCrc(const BYTE* pack) {
  unsigned crc = 0;
  for (std::size_t i = 0; i < kCheckedBytes; ++i) {
    crc ^= static_cast<unsigned>(pack[i]) << 8;
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc & 0x8000U) != 0 ? (crc << 1) ^ 0x1021U : crc << 1;
    }
  }
  return ~crc & 0xFFFFU;
}

} // namespace

void CheckIsrc(std::string_view isrc, Findings* findings) {
  if (!isrc.empty() && !IsIsrc(isrc)) {
    findings->push_back({"isrc", true,
                         "the ISRC " + TerminalText(isrc) +
                             " is none: two letters, three letters or digits and seven digits make one"});
  }
}

void CheckCatalogue(std::string_view catalogue, Findings* findings) {
  if (catalogue.empty()) {
    return;
  }
  const std::string name = "the catalogue number " + TerminalText(catalogue);
  if (catalogue.size() != 13 || !std::all_of(catalogue.begin(), catalogue.end(), IsDigit)) {
    findings->push_back({"mcn", true, name + " does not consist of 13 digits"});
  } else if (const char digit = CheckDigit(catalogue); catalogue[12] != digit) {
    findings->push_back({"mcn", true, name + " has a wrong check digit; " + digit + " would be right"});
  }
}

void CheckPacks(const std::vector<BYTE>& packs, Findings* findings) {
  const std::size_t count = packs.size() / kPackBytes;
  std::size_t wrong = 0;
  std::size_t first = 0;
  std::size_t without = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const BYTE* pack = packs.data() + i * kPackBytes;
    const unsigned stored = static_cast<unsigned>(pack[kCheckedBytes] << 8) | pack[kCheckedBytes + 1];
    if (stored == 0) {
      ++without;
    } else if (stored != PackCrc(pack) && wrong++ == 0) {
      first = i;
    }
  }
  if (count == 0) {
    findings->push_back({"cdtext", true, "there is no CD-Text pack in it"});
  }
  const std::size_t over = packs.size() % kPackBytes;
  if (over > 1 || (over == 1 && packs.back() != 0)) { // Files of packs end with one zero byte.
    findings->push_back({"cdtext", true, Format("%zu bytes are over after whole packs of 18 bytes", over)});
  }
  if (wrong != 0) {
    findings->push_back({"cdtext", true,
                         Format("%zu of %zu CD-Text packs do not match their check bytes, the first is pack %zu", wrong,
                                count, first)});
  }
  if (without != 0) {
    findings->push_back({"cdtext", false, Format("%zu of %zu CD-Text packs have no check bytes", without, count)});
  }
}
