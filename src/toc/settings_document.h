/// @file
/// A settings document: a tree of named values, addressed by paths, with its text form.
///
/// A path is a text of names separated by ":", such as "ROOT:NODE:KEY". The last part is the key of a value,
/// the others are names of nodes, the first of them the root's. A path of fewer than two parts addresses nothing:
/// writing changes nothing, reading finds nothing.
///
/// In the text form each node is a pair of tags on lines of their own, with its values before its child nodes and
/// three blanks of indent for each level. Nothing is escaped: a "<" in a value does not survive.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "toc/tree_builder.h"

/// The number at the start of a text: white space, one sign, decimal digits; what follows is ignored. Numbers
/// beyond 64 bits come out as the nearest that 64 bits hold. None when there is no digit.
std::optional<std::int64_t> LeadingNumber(std::string_view text) noexcept;

class CZSSettingsDocument : public CZSTagParser {
public:
  /// The parts of a path. Null, an empty text and one without ":" have none; a ":" at the end adds none.
  static std::vector<std::string> SplitPath(const char* path);

  /// Stores a value as text. Nodes that are missing are made; a root of another name is renamed. @return true.
  bool SetValue(const char* path, const std::string& value);
  bool SetValue(const char* path, const char* value);
  bool SetValue(const char* path, LONG value);
  bool SetValue(const char* path, USHORT value);
  bool SetValue(const char* path, ULONG value);

  /// Delivers the text of a value. @return false, with the default delivered, when there is no such value.
  bool GetValue(const char* path, std::string* value, const std::string& missing) const;
  /// Delivers a value as a number. @return false, with the default delivered, also when the text does not begin
  /// with a number of signed 32 bits.
  bool GetValue(const char* path, LONG* value, LONG missing) const;

  /// The node that a path of node names alone leads to; null when there is none.
  const CZSSettingsNode* FindNode(const char* path) const;

  void Clear() noexcept { m_builder.Clear(); }
  const CZSSettingsNode& Root() const noexcept { return m_builder.Root(); }

  /// Writes the text form, with a line feed at the end of each line.
  void WriteText(std::ostream& stream) const;
  /// Replaces a file by the text form, with CR LF at the end of each line. Failures are not told.
  void Save(const std::string& path) const;
  /// Replaces the tree by that of a file, with either kind of line end. A file that does not open leaves the tree
  /// as it was; this is not told, nor is any other failure.
  void Load(const std::string& path);

private:
  const CZSSettingsNode* FindNode(const std::vector<std::string>& parts, std::size_t names) const;

  CZSTreeBuilder m_builder;
};
