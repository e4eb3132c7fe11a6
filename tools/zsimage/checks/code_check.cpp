#include "checks/code_check.h"

#include <regex>

#include "output/terminal_text.h"

namespace {

/// Returns the check digit for the first twelve digits. With it, the sum of all digits with the weights 1, 3, 1, 3 and
/// so on is a multiple of ten.
char CheckDigit(std::string_view digits) {
  int sum = 0;
  for (std::size_t i = 0; i < 12; ++i) {
    sum += (digits[i] - '0') * (i % 2 == 0 ? 1 : 3);
  }
  return static_cast<char>('0' + (10 - sum % 10) % 10);
}

} // namespace

void CheckIsrc(const std::string& isrc, Findings* findings) {
  static const std::regex kIsrc("[A-Z]{2}[A-Z0-9]{3}[0-9]{7}");
  if (!isrc.empty() && !std::regex_match(isrc, kIsrc)) {
    findings->AddFault("isrc",
                       "the ISRC {} is invalid; it needs two letters, three letters or digits, and seven digits",
                       TerminalText(isrc));
  }
}

void CheckCatalogue(const std::string& catalogue, Findings* findings) {
  static const std::regex kCatalogue("[0-9]{13}");
  if (catalogue.empty()) {
    return;
  }
  const std::string name = TerminalText(catalogue);
  if (!std::regex_match(catalogue, kCatalogue)) {
    findings->AddFault("mcn", "the catalogue number {} does not consist of 13 digits", name);
  } else if (const char digit = CheckDigit(catalogue); catalogue[12] != digit) {
    findings->AddFault("mcn", "the catalogue number {} has a wrong check digit; it should be {}", name, digit);
  }
}
