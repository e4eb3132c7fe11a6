/// @file
/// Lists of what is registered in the process.
#pragma once

#include <mutex>

namespace platform {

/// Entries that their owners provide and link by their field `next`; the newest comes first. Needs no destruction, as
/// libraries and hosts may revoke their entries while the process ends. Any thread may call.
template <class Entry> class ProcessList {
public:
  void Add(Entry* entry) noexcept {
    const std::lock_guard guard(m_lock);
    entry->next = m_first;
    m_first = entry;
  }

  void Remove(const Entry* entry) noexcept {
    const std::lock_guard guard(m_lock);
    for (Entry** link = &m_first; *link != nullptr; link = &(*link)->next) {
      if (*link == entry) {
        *link = entry->next;
        return;
      }
    }
  }

  /// Calls `use` with the first entry that fits, which stays in the list that long. False when none fits.
  template <class Fits, class Use> bool With(Fits fits, Use use) noexcept {
    const std::lock_guard guard(m_lock);
    for (const Entry* entry = m_first; entry != nullptr; entry = entry->next) {
      if (fits(*entry)) {
        use(*entry);
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
