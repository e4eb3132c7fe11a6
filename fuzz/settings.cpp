// Values of a settings document, compared with a model. Each line of the input is a path, which is read, or a path, "="
// and a value, which is written first.
#include <algorithm>
#include <map>
#include <vector>

#include "support/harness.h"
#include "toc/settings_document.h"

namespace {

using Path = std::vector<std::string>;

constexpr std::size_t kSavedDepth = 300; // The text of a deeper tree would consist mostly of indents.

/// Values by path. A document must return the same values while its root keeps its name.
class Model {
public:
  void Set(const Path& path, const std::string& value) {
    if (path.size() < 2) {
      return;
    }
    // Another root name renames the root and appends new nodes, which earlier nodes may hide.
    m_hasOneRoot = m_hasOneRoot && (m_values.empty() || m_root == path[0]);
    m_root = path[0];
    m_values[path] = value;
  }
  /// Returns the value of a path, or null.
  const std::string* Get(const Path& path) const {
    const auto found = m_values.find(path);
    return path.size() < 2 || found == m_values.end() ? nullptr : &found->second;
  }
  bool HasOneRoot() const noexcept { return m_hasOneRoot; }

private:
  std::string m_root;
  std::map<Path, std::string> m_values;
  bool m_hasOneRoot = true;
};

void CheckNames(const std::string& path, const Path& names) {
  std::string joined;
  for (const std::string& name : names) {
    joined += (&name == names.data() ? "" : ":") + name;
  }
  const bool none = path.find(':') == std::string::npos;
  const bool closed = path.ends_with(':');
  fuzz::Require(names.empty() == none && (none || joined + (closed ? ":" : "") == path), "the names make up the path");
}

void CheckRead(const CZSSettingsDocument& document, const std::string& path, const Path& names, const Model& model) {
  std::string text;
  LONG number = 0;
  const bool found = document.GetValue(path.c_str(), &text, "missing");
  const std::string* expected = model.Get(names);
  fuzz::Require(!model.HasOneRoot() || (found == (expected != nullptr) && text == (found ? *expected : "missing")),
                "a value is found by its path");
  const bool isNumber = document.GetValue(path.c_str(), &number, -77);
  fuzz::Require(found || (text == "missing" && !isNumber), "a missing value is the default");
  fuzz::Require(isNumber || number == -77, "a value that is no number is the default");
  document.FindNode(path.c_str());
}

} // namespace

FUZZ(input) {
  fuzz::Run run(input.size());
  CZSSettingsDocument document;
  Model model;
  std::size_t depth = 0;
  while (!input.empty()) {
    const std::string line(input.substr(0, input.find('\n')));
    input.remove_prefix(std::min(line.size() + 1, input.size()));
    const std::string zeroTerminated = line.substr(0, line.find('\0'));
    const std::size_t equals = zeroTerminated.find('=');
    const std::string path = zeroTerminated.substr(0, equals);
    const Path names = CZSSettingsDocument::SplitPath(path.c_str());
    CheckNames(path, names);
    depth = std::max(depth, names.size());
    if (equals != std::string::npos) {
      const std::string value = zeroTerminated.substr(equals + 1);
      fuzz::Require(document.SetValue(path.c_str(), value), "writing cannot fail");
      model.Set(names, value);
    }
    CheckRead(document, path, names, model);
  }
  if (depth <= kSavedDepth) {
    document.Save(fuzz::PathOf("A.XML"));
    document.Load(fuzz::PathOf("A.XML"));
  }
}
