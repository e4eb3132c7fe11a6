#include "toc/tree_builder.h"

void CZSTreeBuilder::OnStartElement(const std::string& name, const std::string& attributes) {
  if (m_open == nullptr) {
    NameRoot(name, attributes);
    m_open = &m_root;
  } else {
    m_open = m_open->AppendChild(name, attributes);
  }
}

void CZSTreeBuilder::OnValueElement(const std::string& name, const std::string& value, const std::string& attributes) {
  if (m_open != nullptr) {
    m_open->SetEntry(name, value, attributes);
  }
}

void CZSTreeBuilder::OnEndElement(const std::string& /*name*/, const std::string& /*attributes*/) {
  if (m_open != nullptr) {
    m_open = m_open->parent;
  }
}

void CZSTreeBuilder::NameRoot(std::string_view name, std::string_view attributes) {
  m_root.name = name;
  m_root.attributes = attributes;
  m_root.parent = nullptr;
}

void CZSTreeBuilder::Clear() noexcept {
  m_root.Clear();
  m_open = nullptr;
}
