// The text form of settings. The input is the text.
#include <algorithm>
#include <sstream>
#include <utility>
#include <vector>

#include "support/harness.h"
#include "toc/settings_document.h"

namespace {

/// Checks that elements open and close in order.
class Nesting final : public IZSTagHandler {
public:
  void OnStartElement(const std::string& name, const std::string& attributes) override {
    fuzz::Require(!name.empty() && attributes.find('>') == std::string::npos, "an element has a name");
    m_open.push_back(name);
  }
  void OnValueElement(const std::string& name, const std::string& value, const std::string& /*attributes*/) override {
    fuzz::Require(!name.empty() && value.find('<') == std::string::npos, "a value has no tags");
  }
  void OnEndElement(const std::string& name, const std::string& /*attributes*/) override {
    fuzz::Require(!m_open.empty() && m_open.back() == name, "elements close in order");
    m_open.pop_back();
  }
  bool AllClosed() const noexcept { return m_open.empty(); }

private:
  std::vector<std::string> m_open;
};

/// Returns whether a name is read back from the text form.
bool IsPlain(const std::string& name) noexcept {
  return !name.empty() && name.find_first_of(" /<>\r\n") == std::string::npos && !name.starts_with("?xml") &&
         !name.starts_with("!--");
}

/// Returns whether a tree is read back from its text form: no node is empty, and all names are plain.
bool IsPlain(const CZSSettingsNode& root) {
  std::vector<const CZSSettingsNode*> nodes{&root};
  while (!nodes.empty()) {
    const CZSSettingsNode& node = *nodes.back();
    nodes.pop_back();
    if (!IsPlain(node.name) || (node.Entries().empty() && node.Children().empty())) {
      return false;
    }
    for (const CZSSettingsEntry& entry : node.Entries()) {
      if (!IsPlain(entry.key) || entry.value.find('\r') != std::string::npos) {
        return false;
      }
    }
    for (const CZSSettingsNode& child : node.Children()) {
      nodes.push_back(&child);
    }
  }
  return true;
}

/// Returns whether the indents of a tree's text form are few compared with the text that it was read from.
bool IsShallow(const CZSSettingsNode& root) {
  constexpr std::size_t kDepthLimit = 300;
  std::vector<std::pair<const CZSSettingsNode*, std::size_t>> nodes{{&root, 1}};
  std::size_t deepest = 0;
  while (!nodes.empty()) {
    const auto [node, depth] = nodes.back();
    nodes.pop_back();
    deepest = std::max(deepest, depth);
    for (const CZSSettingsNode& child : node->Children()) {
      nodes.emplace_back(&child, depth + 1);
    }
  }
  return deepest <= kDepthLimit;
}

std::string TextOf(const CZSSettingsDocument& document) {
  std::ostringstream text;
  document.WriteText(text);
  return text.str();
}

} // namespace

FUZZ(input) {
  fuzz::Run run(input.size());
  Nesting nesting;
  CZSTagParser parser;
  parser.SetHandler(&nesting);
  fuzz::Require(parser.Parse(input.data(), static_cast<LONG>(input.size())) == !input.empty(), "any text is accepted");
  fuzz::Require(nesting.AllClosed(), "all elements are closed");
  run.Files().Add("A.XML", input);
  CZSSettingsDocument document;
  document.Load(fuzz::PathOf("A.XML"));
  if (!IsShallow(document.Root())) {
    return;
  }
  document.Save(fuzz::PathOf("B.XML"));
  CZSSettingsDocument again;
  again.Load(fuzz::PathOf("B.XML"));
  fuzz::Require(!IsPlain(document.Root()) || TextOf(document) == TextOf(again), "a plain tree is read back");
}
