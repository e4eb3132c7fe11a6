/// @file
/// Lists of what is registered in the process.
#pragma once

#include <mutex>

namespace platform {

/// Entries that their owners provide, linked by their field `next`; the newest is first. For globals: it is constructed
/// before any code runs and needs no destruction, so that libraries can add entries while they are loaded and remove
/// them while the process ends. Thread-safe.
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
