/// @file
/// Initialisation files: sections of keys and values in text.
///
/// Sections and keys match without regard to case. Blanks around names and values are trimmed, a pair of quotes
/// around a value is dropped, lines that begin with `;` are skipped, and of equal sections and keys the first
/// wins.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/base_types.h"

/// One file, read and indexed once. Cost is linear in the file, and constant for each lookup.
class ProfileFile {
public:
  /// Reads a file. One that cannot be read gives a profile without sections.
  explicit ProfileFile(const std::string& path);

  /// The value of a key, or null when the section or the key is missing.
  const std::string* Find(std::string_view section, std::string_view key) const;

  /// The value as an integer: an optional sign, then decimal digits, or hexadecimal ones behind 0x, up to the
  /// first other character. 0 for a value without digits, `missing` when there is no such key. Larger numbers
  /// wrap to 32 bits.
  LONG GetInt(std::string_view section, std::string_view key, LONG missing) const;

  /// The value as text, cut to `limit` - 1 bytes as a buffer of `limit` bytes would; empty when missing.
  std::string GetString(std::string_view section, std::string_view key, std::size_t limit) const;

private:
  void Index(std::string_view text);

  std::unordered_map<std::string, std::string> m_values; ///< By section and key in upper case, see KeyOf.
};

/// One lookup in a file that is read for it. @return As ProfileFile::GetInt.
LONG GetPrivateProfileIntA(std::string_view section, std::string_view key, LONG missing, const std::string& path);

/// One lookup in a file that is read for it; `missing` when there is no such key.
std::string GetPrivateProfileStringA(std::string_view section, std::string_view key, std::string_view missing,
                                     std::size_t limit, const std::string& path);
