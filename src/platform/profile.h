/// @file
/// Initialisation files: sections of keys and values in text.
///
///     [Section]
///     Key=value
///     Quoted="value"
///     ; comment
///
/// Names match without regard to case. Blanks around names and values are dropped, and so is one pair of quotes around
/// a value. Of equal sections, and of equal keys in a section, the first counts. Keys before the first section are
/// skipped.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base_types.h"

/// One file, indexed when it is loaded. Memory is linear in its size. So is time, except for sorting the index.
class ProfileFile {
public:
  /// The keys of one section. Valid until the profile is loaded again or destroyed.
  class Section {
  public:
    /// Returns the value of a key. It is valid while the section is.
    std::optional<std::string_view> Find(std::string_view key) const;

    /// Returns the value as an integer: an optional sign, then decimal digits, or hexadecimal digits after 0x. The rest
    /// of the value is ignored. Without digits, the number is 0. Numbers wrap to 32 bits. Returns `missing` if there is
    /// no such key.
    LONG GetInt(std::string_view key, LONG missing) const;

    /// Returns the first `limit` - 1 bytes of the value, which fit a buffer of `limit` bytes with a final zero. Empty
    /// if there is no such key.
    std::string GetString(std::string_view key, std::size_t limit) const;

  private:
    friend class ProfileFile;
    Section(const ProfileFile* profile, std::size_t first, std::size_t end) noexcept
        : m_profile(profile), m_first(first), m_end(end) {}

    const ProfileFile* m_profile;
    std::size_t m_first; ///< Lowest offset of a line of the section.
    std::size_t m_end;   ///< Offset of the next heading, or size of the text.
  };

  /// Most bytes of a file.
  static constexpr UHYPER kMaxSize = 0x7FFFFFFF;

  /// Reads a file.
  /// @return false, with the reason for GetLastError, if the file cannot be read; the profile is empty then.
  bool Load(const std::string& path);

  /// Returns a section by name; one without keys if there is none.
  Section GetSection(std::string_view name) const;

private:
  /// A line that has a name.
  struct NamedLine {
    std::uint32_t hash;   ///< Hash of the name.
    std::uint32_t offset; ///< Offset of the line in the text.
    auto operator<=>(const NamedLine&) const = default;
  };

  std::string_view LineAt(std::size_t offset) const noexcept;
  const NamedLine* FindLine(const std::string& name, std::size_t first, std::size_t end) const;

  std::string m_text;
  std::vector<NamedLine> m_lines;        ///< Sorted: by hash, then by offset.
  std::vector<std::uint32_t> m_headings; ///< Offsets of the lines that begin sections, in the order of the text.
};
