#include "foundation/strings.h"

#include <algorithm>
#include <new>

#include "platform/text.h"

namespace {

BSTR NewString(const OLECHAR* units, std::size_t length) {
  BSTR text = SysAllocStringLen(units, static_cast<UINT>(length));
  if (text == nullptr) {
    throw std::bad_alloc();
  }
  return text;
}

/// Copies wide or ASCII text, up to its first zero.
template <class View> BSTR NewFromUnits(View units) {
  units = units.substr(0, units.find('\0'));
  if (units.empty()) {
    return nullptr;
  }
  BSTR text = NewString(nullptr, units.size());
  std::ranges::copy(units, text);
  return text;
}

} // namespace

std::string NarrowText(BSTR text) {
  const std::u16string_view wide = BstrView(text);
  return WideCharToMultiByte(wide.substr(0, wide.find(u'\0')));
}

BSTR NewBstr(std::string_view narrow) { return NewBstr(narrow, narrow.size()); }

BSTR NewBstr(std::string_view narrow, std::size_t limit) {
  if (IsAscii(narrow)) { // Avoiding a wide copy saves a tenth of the time to open a sheet.
    return NewFromUnits(narrow.substr(0, limit));
  }
  const std::u16string wide = MultiByteToWideChar(narrow);
  const bool splitsPair = limit != 0 && limit < wide.size() && (wide[limit - 1] & 0xFC00) == 0xD800;
  return NewFromUnits(std::u16string_view(wide).substr(0, splitsPair ? limit - 1 : limit));
}

BSTR CopyBstr(BSTR text) { return text == nullptr ? nullptr : NewString(text, SysStringLen(text)); }

std::string_view CutAtCharacter(std::string_view narrow, std::size_t limit) {
  if (narrow.size() <= limit) {
    return narrow;
  }
  // A cut inside a character can change the encoding in which the bytes before the cut are read.
  const std::u16string whole = MultiByteToWideChar(narrow);
  std::size_t length = limit;
  for (; length > 0; --length) {
    const std::u16string start = MultiByteToWideChar(narrow.substr(0, length));
    const std::u16string rest = MultiByteToWideChar(narrow.substr(length));
    if (start.size() + rest.size() == whole.size() && whole.starts_with(start)) {
      break;
    }
  }
  return narrow.substr(0, length);
}

std::string Replaced(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t found = 0; (found = text.find(from)) != std::string_view::npos;) {
    (result += text.substr(0, found)) += to;
    text.remove_prefix(found + from.size());
  }
  return result += text;
}
