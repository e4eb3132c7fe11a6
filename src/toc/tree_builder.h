/// @file
/// Builds the tree of a settings document from the elements of a text.
#pragma once

#include "toc/settings_node.h"
#include "toc/tag_parser.h"

/// Owns the root of a document. Adds the elements that a parser reports to the tree below it.
class CZSTreeBuilder final : public IZSTagHandler {
public:
  /// Appends a child to the open node and opens it. A top element renames the root, which keeps its content.
  void OnStartElement(const std::string& name, const std::string& attributes) override {
    if (m_open != nullptr) {
      m_open = m_open->AppendChild(name, attributes);
      return;
    }
    m_root.name = name;
    m_root.attributes = attributes;
    m_open = &m_root;
  }
  /// Sets an entry of the open node. An entry on the top level is dropped: it has no node.
  void OnValueElement(const std::string& name, const std::string& value, const std::string& attributes) override {
    if (m_open != nullptr) {
      m_open->SetEntry(name, value, attributes);
    }
  }
  void OnEndElement(const std::string& /*name*/, const std::string& /*attributes*/) override {
    m_open = m_open == nullptr ? nullptr : m_open->parent;
  }

  CZSSettingsNode& Root() noexcept { return m_root; }
  const CZSSettingsNode& Root() const noexcept { return m_root; }

private:
  CZSSettingsNode m_root;
  CZSSettingsNode* m_open = nullptr; ///< Null outside all elements.
};
