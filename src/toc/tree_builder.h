/// @file
/// From the elements of a text to the tree of a settings document.
#pragma once

#include "toc/settings_node.h"
#include "toc/tag_parser.h"

/// Owns the root of a document and adds to it what a parser tells.
class CZSTreeBuilder final : public IZSTagHandler {
public:
  /// A top element names the root, which keeps what it holds; any other becomes a new child of the open node.
  void OnStartElement(const std::string& name, const std::string& attributes) override;
  /// Sets an entry of the open node. On the top level there is no node to hold it, and it is dropped.
  void OnValueElement(const std::string& name, const std::string& value, const std::string& attributes) override;
  void OnEndElement(const std::string& name, const std::string& attributes) override;

  CZSSettingsNode& Root() noexcept { return m_root; }
  const CZSSettingsNode& Root() const noexcept { return m_root; }
  /// Gives the root its name; it keeps its entries and children.
  void NameRoot(std::string_view name, std::string_view attributes);
  /// Empties the root and closes all nodes.
  void Clear() noexcept;

private:
  CZSSettingsNode m_root;
  CZSSettingsNode* m_open = nullptr; ///< Null outside all elements.
};
