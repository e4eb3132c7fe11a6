#include "toc/settings_node.h"

#include <algorithm>
#include <limits>

#include "platform/digits.h"

std::optional<std::int64_t> LeadingNumber(std::string_view text) noexcept {
  text = platform::Trim(text);
  const bool negative = platform::ParseSign(&text);
  const platform::Digits digits = platform::ParseDigits(&text, 10);
  if (!digits.found) {
    return std::nullopt;
  }
  constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
  const auto number = static_cast<std::int64_t>(digits.overflows ? kMax : std::min(digits.value, kMax));
  return negative ? -number : number;
}

// Moves the children of each node into one list before the node is destroyed, so that destructors do not nest.
CZSSettingsNode::~CZSSettingsNode() {
  std::list<CZSSettingsNode> nodes = m_children.ReleaseAll();
  while (!nodes.empty()) {
    nodes.splice(nodes.end(), nodes.front().m_children.ReleaseAll());
    nodes.pop_front();
  }
}

bool CZSSettingsNode::GetValue(std::string_view key, std::string* value, const std::string& missing) const {
  const CZSSettingsEntry* entry = m_entries.Find(key);
  *value = entry == nullptr ? missing : entry->value;
  return entry != nullptr;
}

bool CZSSettingsNode::GetValue(std::string_view key, LONG* value, LONG missing) const {
  *value = missing;
  const CZSSettingsEntry* entry = m_entries.Find(key);
  const std::optional<std::int64_t> number = entry == nullptr ? std::nullopt : LeadingNumber(entry->value);
  if (!number || *number < std::numeric_limits<LONG>::min() || *number > std::numeric_limits<LONG>::max()) {
    return false;
  }
  *value = static_cast<LONG>(*number);
  return true;
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
