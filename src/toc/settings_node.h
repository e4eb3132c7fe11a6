/// @file
/// The nodes of a settings document: named values and named child nodes.
///
/// Names, keys and values are strings of bytes of any content and length, compared byte for byte.
#pragma once

#include <list>
#include <string>
#include <string_view>

#include "toc/named_list.h"

/// One named value.
struct CZSSettingsEntry {
  std::string key;        ///< The name of the value.
  std::string value;      ///< The value as text.
  std::string attributes; ///< Raw attribute text of the tag that it was read from; empty when it was set.
};

inline std::string_view NameOf(const CZSSettingsEntry& entry) noexcept { return entry.key; }

/// One node. It owns its entries and children and finds both by name. Neither
/// copying nor destruction goes deeper into the stack than one node, however deep the tree.
class CZSSettingsNode {
public:
  CZSSettingsNode() = default;
  CZSSettingsNode(std::string_view nodeName, std::string_view nodeAttributes, CZSSettingsNode* parentNode)
      : name(nodeName), attributes(nodeAttributes), parent(parentNode) {}
  /// A deep copy. The copy and all nodes below it keep the parent links of their originals.
  CZSSettingsNode(const CZSSettingsNode& other);
  CZSSettingsNode& operator=(const CZSSettingsNode&) = delete;
  ~CZSSettingsNode() { DropChildren(); }

  /// The entry of a key; null when there is none.
  const CZSSettingsEntry* FindEntry(std::string_view key) const { return m_entries.Find(key); }
  /// Gives the entry of a key a value, at its place, or appends an entry.
  void SetEntry(std::string_view key, std::string_view value, std::string_view entryAttributes);

  /// The first child of a name; null when there is none.
  const CZSSettingsNode* FindChild(std::string_view childName) const { return m_children.Find(childName); }
  CZSSettingsNode* FindChild(std::string_view childName) { return m_children.Find(childName); }
  /// Appends a child, also when there is one of that name. It stays where it is as long as it lives.
  CZSSettingsNode* AppendChild(std::string_view childName, std::string_view childAttributes);

  /// Makes the node what it was when it was new.
  void Clear() noexcept;

  /// In the order of first assignment; a key stands at most once.
  const std::list<CZSSettingsEntry>& Entries() const noexcept { return m_entries.Elements(); }
  /// In the order of creation; names need not be unique.
  const std::list<CZSSettingsNode>& Children() const noexcept { return m_children.Elements(); }

  std::string name;                  ///< Must not change once the node is a child.
  std::string attributes;            ///< Raw attribute text of the tag that the node was read from.
  CZSSettingsNode* parent = nullptr; ///< The enclosing node; followed only while a text is being read.

private:
  void DropChildren() noexcept;

  NamedList<CZSSettingsEntry> m_entries;
  NamedList<CZSSettingsNode> m_children;
};

inline std::string_view NameOf(const CZSSettingsNode& node) noexcept { return node.name; }
