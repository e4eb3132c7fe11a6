/// @file
/// List of entries that libraries register in the process.
#pragma once

#include <mutex>

namespace platform {

/// List of entries, linked by their field `next`, newest first. Each entry is owned by the library that adds it. A
/// global list is constructed before any code runs and has no destructor, so libraries can add entries while they are
/// loaded and remove them while the process ends. Thread-safe.
template <class Entry> class ProcessList {
public:
  void Add(Entry* entry) noexcept {
    const std::lock_guard guard(m_lock);
    entry->next = m_first;
    m_first = entry;
  }

  /// Does nothing for an entry that is not in the list.
  void Remove(const Entry* entry) noexcept {
    const std::lock_guard guard(m_lock);
    Entry** link = &m_first;
    while (*link != nullptr && *link != entry) {
      link = &(*link)->next;
    }
    if (*link != nullptr) {
      *link = entry->next;
    }
  }

  /// Copies the first entry that matches. @return false, with `*found` unchanged, if there is none.
  template <class Predicate> bool Find(Predicate matches, Entry* found) noexcept {
    const std::lock_guard guard(m_lock);
    for (const Entry* entry = m_first; entry != nullptr; entry = entry->next) {
      if (matches(*entry)) {
        *found = *entry;
        return true;
      }
    }
    return false;
  }

private:
  std::mutex m_lock;
  Entry* m_first = nullptr;
};

} // namespace platform
