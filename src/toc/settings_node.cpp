#include "toc/settings_node.h"

#include <utility>
#include <vector>

CZSSettingsNode::CZSSettingsNode(const CZSSettingsNode& other) : CZSSettingsNode() {
  std::vector<std::pair<const CZSSettingsNode*, CZSSettingsNode*>> pending{{&other, this}};
  while (!pending.empty()) {
    const auto [source, copy] = pending.back();
    pending.pop_back();
    copy->name = source->name;
    copy->attributes = source->attributes;
    copy->parent = source->parent;
    for (const CZSSettingsEntry& entry : source->m_entries) {
      copy->AppendEntry(entry);
    }
    for (const CZSSettingsNode& child : source->m_children) {
      pending.emplace_back(&child, copy->AppendChild(child.name, child.attributes));
    }
  }
}

const CZSSettingsEntry* CZSSettingsNode::FindEntry(std::string_view key) const {
  const auto found = m_entryOfKey.find(key);
  return found == m_entryOfKey.end() ? nullptr : found->second;
}

void CZSSettingsNode::SetEntry(std::string_view key, std::string_view value, std::string_view entryAttributes) {
  const auto found = m_entryOfKey.find(key);
  if (found == m_entryOfKey.end()) {
    AppendEntry({std::string(key), std::string(value), std::string(entryAttributes)});
  } else {
    found->second->value = value;
    found->second->attributes = entryAttributes;
  }
}

const CZSSettingsNode* CZSSettingsNode::FindChild(std::string_view childName) const {
  const auto found = m_childOfName.find(childName);
  return found == m_childOfName.end() ? nullptr : found->second;
}

CZSSettingsNode* CZSSettingsNode::FindChild(std::string_view childName) {
  return const_cast<CZSSettingsNode*>(std::as_const(*this).FindChild(childName));
}

CZSSettingsNode* CZSSettingsNode::AppendChild(std::string_view childName, std::string_view childAttributes) {
  CZSSettingsNode* child = &m_children.emplace_back(childName, childAttributes, this);
  m_childOfName.try_emplace(child->name, child);
  return child;
}

void CZSSettingsNode::Clear() noexcept {
  DropChildren();
  m_entryOfKey.clear();
  m_entries.clear();
  name.clear();
  attributes.clear();
  parent = nullptr;
}

// Each node hands its children up before it goes, so that no destructor meets a node that has any left.
void CZSSettingsNode::DropChildren() noexcept {
  m_childOfName.clear();
  while (!m_children.empty()) {
    m_children.splice(m_children.end(), m_children.front().m_children);
    m_children.pop_front();
  }
}

CZSSettingsEntry* CZSSettingsNode::AppendEntry(const CZSSettingsEntry& entry) {
  CZSSettingsEntry* added = &m_entries.emplace_back(entry);
  m_entryOfKey.try_emplace(added->key, added);
  return added;
}
