/// @file
/// Nodes of a settings document: named values and named child nodes.
///
/// Names, keys and values are byte strings of any content and length. They are compared byte for byte.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>

#include "platform/base_types.h"
#include "toc/named_list.h"

/// Returns the number at the start of a text, after white space and one sign. A number that exceeds 64 signed bits
/// becomes the nearest number of 64 bits. Empty if there is no digit.
std::optional<std::int64_t> LeadingNumber(std::string_view text) noexcept;

/// A named value.
struct CZSSettingsEntry {
  std::string key;        ///< The name of the value.
  std::string value;      ///< The value as text.
  std::string attributes; ///< Raw attribute text of the tag that it was read from; empty if it was set.
};

/// A node of the tree, which owns its entries and children. Its destructor uses the same stack for any depth.
class CZSSettingsNode {
public:
  CZSSettingsNode() = default;
  CZSSettingsNode(std::string_view nodeName, std::string_view nodeAttributes, CZSSettingsNode* parentNode)
      : name(nodeName), attributes(nodeAttributes), parent(parentNode) {}
  CZSSettingsNode(CZSSettingsNode&&) = default;
  CZSSettingsNode& operator=(CZSSettingsNode&&) = default;
  ~CZSSettingsNode();

  /// Reads the text of an entry. @return false, with `*value` set to `missing`, if there is no entry of that key.
  bool GetValue(std::string_view key, std::string* value, const std::string& missing) const;
  /// Reads an entry as a number. @return false, with `*value` set to `missing`, if there is no entry of that key or if
  /// its text does not start with a number of 32 signed bits.
  bool GetValue(std::string_view key, LONG* value, LONG missing) const;
  /// Replaces the value of an entry, or appends an entry if there is none of that key.
  void SetEntry(std::string_view key, std::string_view value, std::string_view entryAttributes);

  /// Returns the first child of a name, or null.
  const CZSSettingsNode* FindChild(std::string_view childName) const { return m_children.Find(childName); }
  CZSSettingsNode* FindChild(std::string_view childName) { return m_children.Find(childName); }
  /// Appends a child, even if another has that name. The address of a child does not change.
  CZSSettingsNode* AppendChild(std::string_view childName, std::string_view childAttributes) {
    return m_children.Append(childName, childAttributes, this);
  }

  /// Returns the entries in order of first assignment, each key once.
  const std::list<CZSSettingsEntry>& Entries() const noexcept { return m_entries.Elements(); }
  /// Returns the children in order of creation. Names need not be unique.
  const std::list<CZSSettingsNode>& Children() const noexcept { return m_children.Elements(); }

  std::string name;                  ///< Must not change once the node is a child.
  std::string attributes;            ///< Raw attribute text of the tag that the node was read from.
  CZSSettingsNode* parent = nullptr; ///< The enclosing node. Used only while a text is read.

private:
  NamedList<CZSSettingsEntry, &CZSSettingsEntry::key> m_entries;
  NamedList<CZSSettingsNode, &CZSSettingsNode::name> m_children;
};
