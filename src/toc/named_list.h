/// @file
/// A list whose elements are found by name.
#pragma once

#include <algorithm>
#include <list>
#include <map>
#include <memory>
#include <string_view>
#include <utility>

/// Owns elements in order and finds the first of each name, as NameOf(element) gives it. Only a long list has an
/// index for that: with one for every list, a text of many small nodes would take several times the memory.
template <class Element> class NamedList {
public:
  /// Appends an element. It stays where it is as long as it lives, and so must its name.
  template <class... Arguments> Element* Append(Arguments&&... arguments) {
    Element* added = &m_elements.emplace_back(std::forward<Arguments>(arguments)...);
    if (m_index != nullptr) {
      m_index->try_emplace(NameOf(*added), added);
    } else if (m_elements.size() > kLongestWithoutIndex) {
      m_index = std::make_unique<Index>();
      for (Element& element : m_elements) {
        m_index->try_emplace(NameOf(element), &element);
      }
    }
    return added;
  }

  /// Null when there is no element of that name.
  Element* Find(std::string_view name) {
    if (m_index != nullptr) {
      const auto found = m_index->find(name);
      return found == m_index->end() ? nullptr : found->second;
    }
    const auto found = std::find_if(m_elements.begin(), m_elements.end(),
                                    [name](const Element& element) { return NameOf(element) == name; });
    return found == m_elements.end() ? nullptr : &*found;
  }
  const Element* Find(std::string_view name) const { return const_cast<NamedList*>(this)->Find(name); }

  const std::list<Element>& Elements() const noexcept { return m_elements; }

  /// Hands all elements over; the list is empty then.
  std::list<Element> TakeAll() noexcept {
    m_index.reset();
    return std::exchange(m_elements, {});
  }

private:
  using Index = std::map<std::string_view, Element*>;
  static constexpr std::size_t kLongestWithoutIndex = 16;

  std::list<Element> m_elements;
  std::unique_ptr<Index> m_index;
};
