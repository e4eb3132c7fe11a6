#include "output/failure.h"

#include <cstdio>

#include <fmt/format.h>

#include "output/terminal.h"
#include "output/terminal_text.h"

namespace {

constexpr HRESULT CodeOf(DWORD error) { return HRESULT_FROM_WIN32(static_cast<std::int32_t>(error)); }

std::string MessageOf(std::string_view file, std::string_view words, HRESULT code) {
  const std::string number = CodeNumber(code);
  const std::string name = CodeName(code);
  return fmt::format("{}{}{} ({}{})", TerminalText(file), file.empty() ? "" : ": ", words, name,
                     name == number ? "" : ", " + number);
}

} // namespace

Failure::Failure(std::string_view file, std::string_view words, HRESULT code)
    : std::runtime_error(MessageOf(file, words, code)), m_file(file), m_words(words), m_code(code) {}

Failure::Failure(std::string_view file, std::string_view words, DWORD error) : Failure(file, words, CodeOf(error)) {}

int Failure::Report() const {
  std::fputs(fmt::format("{} {}\n", Coloured("zsimage:", Colour::Red, STDERR_FILENO), what()).c_str(), stderr);
  return m_code == kCancelled ? kExitCancelled : kExitFailure;
}

void Check(HRESULT code, std::string_view file, std::string_view words) {
  if (code != S_OK) {
    throw Failure(file, words.empty() ? MeaningOf(code).words : words, code == S_FALSE ? ZSE_FAILED : code);
  }
}

void Note(std::string_view words) { std::fputs(fmt::format("zsimage: note: {}.\n", words).c_str(), stderr); }
