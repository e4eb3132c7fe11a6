#include "checks/code_check.h"

#include <algorithm>

#include <fmt/format.h>

#include "output/terminal_text.h"

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return c >= 'A' && c <= 'Z'; }

bool IsIsrc(std::string_view code) {
  if (code.size() != 12) {
    return false;
  }
  const auto country = code.substr(0, 2);
  const auto owner = code.substr(2, 3);
  const auto number = code.substr(5);
  return std::all_of(country.begin(), country.end(), IsLetter) &&
         std::all_of(owner.begin(), owner.end(), [](char c) { return IsDigit(c) || IsLetter(c); }) &&
         std::all_of(number.begin(), number.end(), IsDigit);
}

/// Returns the check digit of the first twelve digits: their sum with weights 1 and 3 in turn, up to the next ten.
char CheckDigit(std::string_view digits) {
  int sum = 0;
  for (std::size_t i = 0; i < 12; ++i) {
    sum += (digits[i] - '0') * (i % 2 == 0 ? 1 : 3);
  }
  return static_cast<char>('0' + (10 - sum % 10) % 10);
}

} // namespace

void CheckIsrc(std::string_view isrc, Findings* findings) {
  if (!isrc.empty() && !IsIsrc(isrc)) {
    findings->push_back(Fault("isrc", fmt::format("the ISRC {} is invalid; it needs two letters, three letters or "
                                                  "digits, and seven digits",
                                                  TerminalText(isrc))));
  }
}

void CheckCatalogue(std::string_view catalogue, Findings* findings) {
  if (catalogue.empty()) {
    return;
  }
  const std::string name = TerminalText(catalogue);
  if (catalogue.size() != 13 || !std::all_of(catalogue.begin(), catalogue.end(), IsDigit)) {
    findings->push_back(Fault("mcn", fmt::format("the catalogue number {} does not consist of 13 digits", name)));
  } else if (const char digit = CheckDigit(catalogue); catalogue[12] != digit) {
    findings->push_back(
        Fault("mcn", fmt::format("the catalogue number {} has a wrong check digit; it should be {}", name, digit)));
  }
}
