#include "foundation/strings.h"

#include <algorithm>
#include <limits>
#include <new>

#include "platform/text.h"

namespace {

/// A string of wide or of ASCII text, up to its first zero.
template <class View> BSTR NewFromUnits(View units) {
  units = units.substr(0, units.find('\0'));
  if (units.empty()) {
    return nullptr;
  }
  BSTR text = units.size() > std::numeric_limits<UINT>::max()
                  ? nullptr
                  : SysAllocStringLen(nullptr, static_cast<UINT>(units.size()));
  if (text == nullptr) {
    throw std::bad_alloc();
  }
  std::copy(units.begin(), units.end(), text);
  return text;
}

} // namespace

std::string NarrowText(BSTR text) {
  const std::u16string_view wide = BstrView(text);
  return WideCharToMultiByte(wide.substr(0, wide.find(u'\0')));
}

BSTR NewBstr(std::string_view narrow) { return NewBstr(narrow, narrow.size()); }

BSTR NewBstr(std::string_view narrow, std::size_t limit) {
  if (IsAscii(narrow)) {
    return NewFromUnits(narrow.substr(0, limit));
  }
  const std::u16string wide = MultiByteToWideChar(narrow);
  // Half of a character that takes two units is none.
  const bool splits = limit != 0 && limit < wide.size() && (wide[limit - 1] & 0xFC00) == 0xD800;
  return NewFromUnits(std::u16string_view(wide).substr(0, splits ? limit - 1 : limit));
}

BSTR CopyBstr(BSTR text) {
  if (text == nullptr) {
    return nullptr;
  }
  BSTR copy = SysAllocStringLen(text, SysStringLen(text));
  if (copy == nullptr) {
    throw std::bad_alloc();
  }
  return copy;
}

std::string_view CutAtCharacter(std::string_view narrow, std::size_t limit) {
  if (narrow.size() <= limit) {
    return narrow;
  }
  // A cut inside a character changes how its bytes read, and with them the text before the cut.
  const std::u16string whole = MultiByteToWideChar(narrow);
  std::size_t length = limit;
  for (; length > 0; --length) {
    const std::u16string start = MultiByteToWideChar(narrow.substr(0, length));
    const std::u16string rest = MultiByteToWideChar(narrow.substr(length));
    if (start.size() + rest.size() == whole.size() && whole.compare(0, start.size(), start) == 0) {
      break;
    }
  }
  return narrow.substr(0, length);
}
