// Paths of settings against a model. Each line of the input is a path, which is read, or a path and a value with "="
// between them, which is written.
#include <algorithm>
#include <map>
#include <vector>

#include "support/harness.h"
#include "toc/settings_document.h"

namespace {

using Path = std::vector<std::string>;

constexpr std::size_t kDeepestToSave = 300; // The indents of deeper trees would be most of their text.

/// What a document with one root name must answer: values by their paths.
class Model {
public:
  void Set(const Path& path, const std::string& value) {
    if (path.size() < 2) {
      return;
    }
    // A root of another name takes the new one, and new nodes stand behind those that are found by their names.
    m_certain = m_certain && (m_values.empty() || m_root == path[0]);
    m_root = path[0];
    m_values[path] = value;
  }
  /// Null when there is none.
  const std::string* Get(const Path& path) const {
    const auto found = m_values.find(path);
    return path.size() < 2 || found == m_values.end() ? nullptr : &found->second;
  }
  bool IsCertain() const noexcept { return m_certain; }

private:
  std::string m_root;
  std::map<Path, std::string> m_values;
  bool m_certain = true;
};

void CheckParts(const std::string& path, const Path& parts) {
  std::string joined;
  for (const std::string& part : parts) {
    joined += (joined.empty() && &part == parts.data() ? "" : ":") + part;
  }
  const bool none = path.find(':') == std::string::npos;
  const bool closed = path.ends_with(':');
  fuzz::Require(parts.empty() == none && (none || joined + (closed ? ":" : "") == path), "the parts make up the path");
}

void Read(const CZSSettingsDocument& document, const std::string& path, const Path& parts, const Model& model) {
  std::string text;
  LONG number = 0;
  const bool found = document.GetValue(path.c_str(), &text, "missing");
  const std::string* expected = model.Get(parts);
  fuzz::Require(!model.IsCertain() || (found == (expected != nullptr) && text == (found ? *expected : "missing")),
                "a value is found by its path");
  const bool isNumber = document.GetValue(path.c_str(), &number, -77);
  fuzz::Require(found || (text == "missing" && !isNumber), "what is not there has the default");
  fuzz::Require(isNumber || number == -77, "what is no number has the default");
  document.FindNode(path.c_str());
}

} // namespace

FUZZ(input) {
  fuzz::Run run(input.size());
  CZSSettingsDocument document;
  Model model;
  std::size_t deepest = 0;
  while (!input.empty()) {
    const std::string line(input.substr(0, input.find('\n')));
    input.remove_prefix(std::min(line.size() + 1, input.size()));
    const std::string zeroTerminated = line.substr(0, line.find('\0'));
    const std::size_t equals = zeroTerminated.find('=');
    const std::string path = zeroTerminated.substr(0, equals);
    const Path parts = CZSSettingsDocument::SplitPath(path.c_str());
    CheckParts(path, parts);
    deepest = std::max(deepest, parts.size());
    if (equals != std::string::npos) {
      const std::string value = zeroTerminated.substr(equals + 1);
      fuzz::Require(document.SetValue(path.c_str(), value), "writing has no failure");
      model.Set(parts, value);
    }
    Read(document, path, parts, model);
  }
  if (deepest <= kDeepestToSave) {
    document.Save(fuzz::PathOf("A.XML"));
    document.Load(fuzz::PathOf("A.XML"));
  }
}
