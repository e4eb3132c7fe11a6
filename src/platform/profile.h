/// @file
/// Initialisation files: sections of keys and values in text.
///
/// Sections and keys match without regard to case. Blanks around names and values are trimmed, a pair of quotes
/// around a value is dropped, lines that begin with `;` are skipped, and of equal sections and keys the first
/// wins.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

#include "platform/base_types.h"

/// One file, read and indexed once. Cost is linear in the file, and constant for each lookup; the index holds
/// places in the text, not copies of it.
class ProfileFile {
public:
  /// Reads a file. One that cannot be read, or has 2 GiB or more, gives a profile without sections.
  explicit ProfileFile(const std::string& path);
  ProfileFile(const ProfileFile&) = delete;
  ProfileFile& operator=(const ProfileFile&) = delete;

  /// The value of a key; none when the section or the key is missing. It lives as long as the profile.
  std::optional<std::string_view> Find(std::string_view section, std::string_view key) const;

  /// The value as an integer: an optional sign, then decimal digits, or hexadecimal ones behind 0x, up to the
  /// first other character. 0 for a value without digits, `missing` when there is no such key. Larger numbers
  /// wrap to 32 bits.
  LONG GetInt(std::string_view section, std::string_view key, LONG missing) const;

  /// The value as text, cut to `limit` - 1 bytes as a buffer of `limit` bytes would; empty when missing.
  std::string GetString(std::string_view section, std::string_view key, std::size_t limit) const;

private:
  static constexpr std::uint32_t kSections = ~0U; ///< What sections themselves stand in.

  /// A section, or a key in one, by where the lines of both begin in the text.
  struct Entry {
    std::uint32_t section;
    std::uint32_t line;
  };
  /// The same by name, in any case.
  struct Name {
    std::uint32_t section;
    std::string_view name;
  };
  struct Hash {
    using is_transparent = void;
    const ProfileFile* profile;
    std::size_t operator()(const Name& name) const;
    std::size_t operator()(const Entry& entry) const { return (*this)(profile->NameOf(entry)); }
  };
  struct Equal {
    using is_transparent = void;
    const ProfileFile* profile;
    bool operator()(const Name& left, const Name& right) const;
    bool operator()(const Name& left, const Entry& right) const { return (*this)(left, profile->NameOf(right)); }
    bool operator()(const Entry& left, const Name& right) const { return (*this)(profile->NameOf(left), right); }
    bool operator()(const Entry& left, const Entry& right) const { return (*this)(profile->NameOf(left), right); }
  };

  void Index();
  std::string_view LineAt(std::size_t start) const noexcept;
  Name NameOf(const Entry& entry) const noexcept;

  std::string m_text;
  std::unordered_set<Entry, Hash, Equal> m_entries;
};

/// One lookup in a file that is read for it. @return As ProfileFile::GetInt.
LONG GetPrivateProfileIntA(std::string_view section, std::string_view key, LONG missing, const std::string& path);

/// One lookup in a file that is read for it; `missing` when there is no such key.
std::string GetPrivateProfileStringA(std::string_view section, std::string_view key, std::string_view missing,
                                     std::size_t limit, const std::string& path);
