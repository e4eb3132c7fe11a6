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
    for (const CZSSettingsEntry& entry : source->Entries()) {
      copy->m_entries.Append(entry);
    }
    for (const CZSSettingsNode& child : source->Children()) {
      pending.emplace_back(&child, copy->AppendChild(child.name, child.attributes));
    }
  }
}

void CZSSettingsNode::SetEntry(std::string_view key, std::string_view value, std::string_view entryAttributes) {
  CZSSettingsEntry* entry = m_entries.Find(key);
  if (entry == nullptr) {
    m_entries.Append(CZSSettingsEntry{std::string(key), std::string(value), std::string(entryAttributes)});
  } else {
    entry->value = value;
    entry->attributes = entryAttributes;
  }
}

CZSSettingsNode* CZSSettingsNode::AppendChild(std::string_view childName, std::string_view childAttributes) {
  return m_children.Append(childName, childAttributes, this);
}

void CZSSettingsNode::Clear() noexcept {
  DropChildren();
  m_entries.TakeAll();
  name.clear();
  attributes.clear();
  parent = nullptr;
}

// Each node hands its children up before it goes, so that no destructor meets a node that has any left.
void CZSSettingsNode::DropChildren() noexcept {
  std::list<CZSSettingsNode> dropped = m_children.TakeAll();
  while (!dropped.empty()) {
    dropped.splice(dropped.end(), dropped.front().m_children.TakeAll());
    dropped.pop_front();
  }
}
