#include "toc/settings_document.h"

#include <algorithm>
#include <limits>
#include <sstream>

#include "foundation/file.h"
#include "foundation/strings.h"

namespace {

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n";
constexpr std::size_t kIndent = 3;
constexpr std::size_t kWriteLimit = std::size_t{1} << 30; // A write counts its bytes in 32 bits.

void WriteNode(const CZSSettingsNode& node, std::size_t level, std::ostream& stream) {
  const std::string indent(level * kIndent, ' ');
  stream << indent << '<' << node.name << ">\n";
  for (const CZSSettingsEntry& entry : node.Entries()) {
    stream << indent << std::string(kIndent, ' ') << '<' << entry.key << '>' << entry.value << "</" << entry.key
           << ">\n";
  }
  for (const CZSSettingsNode& child : node.Children()) {
    WriteNode(child, level + 1, stream);
  }
  stream << indent << "</" << node.name << ">\n";
}

} // namespace

std::vector<std::string> CZSSettingsDocument::SplitPath(const char* path) {
  std::string_view rest(path == nullptr ? "" : path);
  std::vector<std::string> names;
  for (std::size_t colon = rest.find(':'); colon != std::string_view::npos; colon = rest.find(':')) {
    names.emplace_back(rest.substr(0, colon));
    rest.remove_prefix(colon + 1);
  }
  if (!names.empty() && !rest.empty()) {
    names.emplace_back(rest);
  }
  return names;
}

bool CZSSettingsDocument::SetValue(const char* path, const std::string& value) {
  const std::vector<std::string> names = SplitPath(path);
  if (names.size() < 2) {
    return true;
  }
  CZSSettingsNode* node = &m_builder.Root();
  bool isNew = node->name != names[0];
  if (isNew) {
    node->name = names[0];
    node->attributes.clear();
  }
  for (std::size_t i = 1; i + 1 < names.size(); ++i) {
    CZSSettingsNode* child = isNew ? nullptr : node->FindChild(names[i]); // A renamed root is not searched.
    isNew = child == nullptr;
    node = isNew ? node->AppendChild(names[i], {}) : child;
  }
  node->SetEntry(names.back(), value, {});
  return true;
}

const CZSSettingsNode* CZSSettingsDocument::FindNode(std::span<const std::string> names) const {
  const CZSSettingsNode* node = !names.empty() && Root().name == names[0] ? &Root() : nullptr;
  for (std::size_t i = 1; i < names.size() && node != nullptr; ++i) {
    node = node->FindChild(names[i]);
  }
  return node;
}

void CZSSettingsDocument::WriteText(std::ostream& stream) const {
  stream << kDeclaration;
  WriteNode(Root(), 0, stream);
}

void CZSSettingsDocument::Save(const std::string& path) const {
  std::ostringstream stream;
  stream.exceptions(std::ios::badbit); // Otherwise running out of memory would truncate the text.
  WriteText(stream);
  const std::string text = Replaced(stream.view(), "\n", "\r\n");
  CZSFile file;
  bool written = file.Open(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
  for (std::size_t done = 0; written && done < text.size(); done += kWriteLimit) {
    written = file.Write(text.data() + done, static_cast<DWORD>(std::min(kWriteLimit, text.size() - done)));
  }
}

void CZSSettingsDocument::Load(const std::string& path) {
  std::string text;
  if (!ReadWholeFile(path, std::numeric_limits<LONG>::max(), &text)) {
    return;
  }
  text = Replaced(text, "\r\n", "\n");
  Clear();
  SetHandler(&m_builder);
  Parse(text.data(), static_cast<LONG>(text.size()));
}
