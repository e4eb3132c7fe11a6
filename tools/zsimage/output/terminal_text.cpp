#include "output/terminal_text.h"

#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <new>

#include "platform/text.h"

std::string Narrow(BSTR text) { return WideCharToMultiByte(BstrView(text)); }

UniqueBstr Wide(std::string_view narrow) {
  const std::u16string wide = MultiByteToWideChar(narrow);
  UniqueBstr text(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())));
  if (text == nullptr) {
    throw std::bad_alloc();
  }
  return text;
}

std::string TerminalText(std::string_view narrow) {
  std::u16string wide = MultiByteToWideChar(narrow);
  for (char16_t& unit : wide) {
    if (unit < 0x20 || (unit >= 0x7F && unit < 0xA0)) {
      unit = u'?';
    }
  }
  return NarrowToUtf8(WideCharToMultiByte(wide));
}

std::size_t TerminalWidth(const std::string& utf8) {
  if (IsAscii(utf8)) {
    return utf8.size();
  }
  // The terminal is UTF-8, whatever the user's locale. Most runs never need the tables.
  static const bool kIsUtf8 = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr; // NOLINT(concurrency-mt-unsafe)
  if (!kIsUtf8) {
    return utf8.size();
  }
  std::size_t width = 0;
  std::mbstate_t state{};
  for (std::size_t at = 0; at < utf8.size();) {
    wchar_t character = 0;
    const std::size_t length = std::mbrtowc(&character, utf8.data() + at, utf8.size() - at, &state);
    if (length == 0 || length > utf8.size()) {
      state = {};
      ++at;
      ++width;
      continue;
    }
    const int columns = wcwidth(character);
    width += columns < 0 ? 1 : static_cast<std::size_t>(columns);
    at += length;
  }
  return width;
}

std::string ReadableSize(UHYPER bytes) {
  if (bytes < 1000) {
    return Format("%u bytes", static_cast<unsigned>(bytes));
  }
  static constexpr const char* kUnits[] = {"kB", "MB", "GB", "TB", "PB", "EB"};
  double size = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  while (size >= 999.95 && unit + 1 < std::size(kUnits)) {
    size /= 1000;
    ++unit;
  }
  return Format("%.1f %s", size, kUnits[unit]);
}

// NOLINTNEXTLINE(cert-dcl50-cpp): compilers check the arguments of a printf format, and of no other kind here.
std::string Format(const char* format, ...) {
  char text[256];
  va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser does not follow va_start().
  std::vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  return text;
}
