/// @file
/// A settings document: a tree of named values, addressed by paths, with its text form.
///
/// A path consists of names separated by ":", such as "ROOT:NODE:KEY". The last name is the key of a value. The names
/// before it are nodes, from the root down. A path of fewer than two names addresses nothing: a write changes nothing,
/// a read finds nothing.
///
/// In the text form each node is a pair of tags on lines of their own, with its values before its child nodes and
/// three blanks of indent for each level. Nothing is escaped: a value with a "<" is not read back.
#pragma once

#include <concepts>
#include <ostream>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "toc/tree_builder.h"

class CZSSettingsDocument : public CZSTagParser {
public:
  /// Returns the names of a path. A path that is null, empty or without ":" has no names. A ":" at the end adds no
  /// name.
  static std::vector<std::string> SplitPath(const char* path);

  /// Stores a value as text. Creates missing nodes. A root that has another name is renamed. @return true.
  bool SetValue(const char* path, const std::string& value);
  template <std::integral Number> bool SetValue(const char* path, Number value) {
    return SetValue(path, std::to_string(value));
  }

  /// Reads a value as text or as a number (LONG), as GetValue of its node does. @return false, with `*value` set to
  /// `missing`, if there is no such node or if GetValue of the node fails.
  template <class Value>
  bool GetValue(const char* path, Value* value, const std::type_identity_t<Value>& missing) const {
    const std::vector<std::string> names = SplitPath(path);
    const CZSSettingsNode* node = names.size() < 2 ? nullptr : FindNode(std::span(names).first(names.size() - 1));
    if (node == nullptr) {
      *value = missing;
      return false;
    }
    return node->GetValue(names.back(), value, missing);
  }

  /// Returns the node of a path without a key, or null.
  const CZSSettingsNode* FindNode(const char* path) const { return FindNode(SplitPath(path)); }

  void Clear() noexcept { m_builder = {}; }
  const CZSSettingsNode& Root() const noexcept { return m_builder.Root(); }

  /// Writes the text form, with a line feed at the end of each line. Uses stack for each level of the tree.
  void WriteText(std::ostream& stream) const;
  /// Replaces a file by the text form, with CR LF at the end of each line. Does not report failures.
  void Save(const std::string& path) const;
  /// Replaces the tree by that of a file with either kind of line ends. A file that cannot be read leaves the tree
  /// unchanged. Does not report failures.
  void Load(const std::string& path);

private:
  const CZSSettingsNode* FindNode(std::span<const std::string> names) const;

  CZSTreeBuilder m_builder;
};
