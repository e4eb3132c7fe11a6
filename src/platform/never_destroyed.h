/// @file
/// Static objects that are never destroyed.
#pragma once

#include <cstddef>
#include <new>

namespace platform {

/// Holds an object and never destroys it. Globals of a host can free memory and release objects after the statics of
/// libraries have been destroyed.
template <class T> class NeverDestroyed {
public:
  NeverDestroyed() noexcept(noexcept(T())) { ::new (static_cast<void*>(m_storage)) T(); }
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  T& Get() noexcept { return *std::launder(reinterpret_cast<T*>(m_storage)); }

private:
  alignas(T) std::byte m_storage[sizeof(T)];
};

} // namespace platform
