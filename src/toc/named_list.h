/// @file
/// A list whose elements are found by name.
#pragma once

#include <algorithm>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

/// Elements in order of insertion, each with a name, which is its member `kName`. Only a long list has an index: an
/// index for each list would multiply the memory of a document of many small nodes.
template <class Element, std::string Element::*kName> class NamedList {
public:
  /// Appends an element. Its address never changes, and its name must not.
  template <class... Arguments> Element* Append(Arguments&&... arguments) {
    Element* added = &m_elements.emplace_back(std::forward<Arguments>(arguments)...);
    if (m_index != nullptr) {
      m_index->try_emplace(added->*kName, added);
    } else if (m_elements.size() > kLongestWithoutIndex) {
      m_index = std::make_unique<Index>();
      for (Element& element : m_elements) {
        m_index->try_emplace(element.*kName, &element);
      }
    }
    return added;
  }

  /// Returns the first element with a name, or null.
  Element* Find(std::string_view name) { return FindIn(m_elements, m_index.get(), name); }
  const Element* Find(std::string_view name) const { return FindIn(m_elements, m_index.get(), name); }

  const std::list<Element>& Elements() const noexcept { return m_elements; }

  /// Moves all elements out. The list is empty afterwards.
  std::list<Element> ReleaseAll() noexcept {
    m_index.reset();
    return std::exchange(m_elements, {});
  }

private:
  using Index = std::map<std::string_view, Element*>;
  static constexpr std::size_t kLongestWithoutIndex = 16;

  template <class List>
  static auto FindIn(List& elements, const Index* index, std::string_view name) -> decltype(&elements.front()) {
    if (index != nullptr) {
      const auto found = index->find(name);
      return found == index->end() ? nullptr : found->second;
    }
    const auto found = std::ranges::find(elements, name, kName);
    return found == elements.end() ? nullptr : &*found;
  }

  std::list<Element> m_elements;
  std::unique_ptr<Index> m_index;
};
