/// @file
/// Failures as exceptions. Header-only.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "disc/result_meanings.h"

namespace imagefile {

/// A failure. Its text: "disc.bin: not an image; give its ... file (ZSE_BADIMAGE, 0x809F001B)".
class Error : public std::runtime_error {
public:
  /// @param path The file at fault, or empty. @param words What is wrong and what to do; the code's meaning if empty.
  Error(HRESULT code, const std::string& path, std::string_view words = {})
      : std::runtime_error((path.empty() ? "" : path + ": ").append(words.empty() ? MeaningOf(code).words : words) +
                           " (" + CodeName(code) + ", " + CodeNumber(code) + ")"),
        m_code(code), m_path(path) {}

  HRESULT Code() const noexcept { return m_code; }
  std::string Name() const { return CodeName(m_code); }
  const std::string& Path() const noexcept { return m_path; }

private:
  HRESULT m_code;
  std::string m_path;
};

} // namespace imagefile
