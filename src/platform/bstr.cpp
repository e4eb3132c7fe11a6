#include "platform/bstr.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "platform/task_memory.h"

namespace {

constexpr std::size_t kPrefix = sizeof(std::uint64_t); // Keeps the text aligned. The length is in its last 32 bits.

BSTR Allocate(const void* bytes, std::size_t length) noexcept {
  if (length > UINT32_MAX || length > SIZE_MAX - kPrefix - sizeof(OLECHAR)) {
    return nullptr;
  }
  auto* block = static_cast<BYTE*>(CoTaskMemAlloc(kPrefix + length + sizeof(OLECHAR)));
  if (block == nullptr) {
    return nullptr;
  }
  const auto width = static_cast<UINT>(length);
  std::memcpy(block + kPrefix - sizeof(width), &width, sizeof(width));
  BYTE* text = block + kPrefix;
  if (bytes == nullptr) {
    std::memset(text, 0, length);
  } else if (length != 0) {
    std::memcpy(text, bytes, length);
  }
  std::memset(text + length, 0, sizeof(OLECHAR));
  return reinterpret_cast<BSTR>(text);
}

} // namespace

BSTR SysAllocString(const OLECHAR* text) noexcept {
  return text == nullptr ? nullptr : Allocate(text, std::char_traits<OLECHAR>::length(text) * sizeof(OLECHAR));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept {
  const std::uint64_t bytes = std::uint64_t{length} * sizeof(OLECHAR);
  return bytes > UINT32_MAX ? nullptr : Allocate(text, static_cast<std::size_t>(bytes));
}

BSTR SysAllocStringByteLen(const char* bytes, UINT length) noexcept { return Allocate(bytes, length); }

void SysFreeString(BSTR text) noexcept {
  if (text != nullptr) {
    CoTaskMemFree(reinterpret_cast<BYTE*>(text) - kPrefix);
  }
}

UINT SysStringByteLen(BSTR text) noexcept {
  UINT width = 0;
  if (text != nullptr) {
    std::memcpy(&width, reinterpret_cast<const BYTE*>(text) - sizeof(width), sizeof(width));
  }
  return width;
}

UINT SysStringLen(BSTR text) noexcept { return SysStringByteLen(text) / static_cast<UINT>(sizeof(OLECHAR)); }
