/// @file
/// Initialisation files: sections of keys and values in text.
///
/// Sections and keys match without regard to case. Blanks around names and values are trimmed, a pair of quotes
/// around a value is dropped, lines that begin with `;` are skipped, and of equal sections and keys the first
/// wins.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "platform/base_types.h"

/// One file, read and indexed once. Cost is linear in the file, but for the sorting of names, and a lookup costs
/// next to nothing; the index holds places in the text, not copies of it.
class ProfileFile {
public:
  /// The keys of one section, as long as the profile lives.
  class Section {
  public:
    /// The value of a key; none when it is missing. It lives as long as the profile.
    std::optional<std::string_view> Find(std::string_view key) const;

    /// The value as an integer: an optional sign, then decimal digits, or hexadecimal ones behind 0x, up to the
    /// first other character. 0 for a value without digits, `missing` when there is no such key. Larger numbers
    /// wrap to 32 bits.
    LONG GetInt(std::string_view key, LONG missing) const;

    /// The value as text, cut to `limit` - 1 bytes as a buffer of `limit` bytes would; empty when missing.
    std::string GetString(std::string_view key, std::size_t limit) const;

  private:
    friend class ProfileFile;
    Section(const ProfileFile* profile, std::size_t first, std::size_t end) noexcept
        : m_profile(profile), m_first(first), m_end(end) {}

    const ProfileFile* m_profile;
    std::size_t m_first; ///< Of its keys.
    std::size_t m_end;
  };

  /// Most bytes of a file that is read.
  static constexpr UHYPER kMaxSize = 0x7FFFFFFF;

  /// Reads a file. Sections of another file may not be used any more.
  /// @return false, with the reason for GetLastError, if the file cannot be read; the profile is empty then.
  bool Load(const std::string& path);

  /// A section by name; one without keys when it is missing.
  Section GetSection(std::string_view name) const;

private:
  /// A name by the hash of its upper case and by where its line begins in the text. Tables are sorted by hash,
  /// then by name, then by place, so that the first of equal names is found first.
  struct Place {
    std::uint32_t hash;
    std::uint32_t line;
  };
  struct Heading : Place {
    std::uint32_t firstKey;
    std::uint32_t endKey;
  };

  void Index();
  void Sort();
  std::string_view LineAt(std::size_t start) const noexcept;
  std::string UpperNameAt(const Place& place) const;
  bool IsBefore(const Place& left, const Place& right) const;
  template <class Iterator> Iterator FindName(Iterator first, Iterator last, std::string_view name) const;

  std::string m_text;
  std::deque<Heading> m_sections;
  std::deque<Place> m_keys; ///< Section by section.
};
