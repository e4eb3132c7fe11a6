#include "output/terminal_text.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <iterator>
#include <new>

#include <fmt/format.h>

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
  const auto isControl = [](char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); };
  std::replace_if(wide.begin(), wide.end(), isControl, u'?');
  return NarrowToUtf8(WideCharToMultiByte(wide));
}

std::size_t TerminalWidth(const std::string& utf8) {
  if (IsAscii(utf8)) {
    return utf8.size();
  }
  // wcwidth() needs a UTF-8 locale. Most runs show ASCII alone and never load it.
  static const bool kIsUtf8 = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr; // NOLINT(concurrency-mt-unsafe)
  std::wstring wide(utf8.size(), L'\0');
  const std::size_t length = std::mbstowcs(wide.data(), utf8.c_str(), wide.size());
  if (!kIsUtf8 || length > wide.size()) {
    return utf8.size();
  }
  std::size_t width = 0;
  for (const wchar_t character : std::wstring_view(wide).substr(0, length)) {
    const int columns = wcwidth(character);
    width += columns < 0 ? 1 : static_cast<std::size_t>(columns);
  }
  return width;
}

std::string CutToWidth(const std::string& utf8, std::size_t columns) {
  if (TerminalWidth(utf8) <= columns) {
    return utf8;
  }
  std::string cut = utf8;
  while (!cut.empty() && TerminalWidth(cut) >= columns) { // One column is for the ellipsis.
    while ((static_cast<BYTE>(cut.back()) & 0xC0U) == 0x80) {
      cut.pop_back(); // The later bytes of a character.
    }
    cut.pop_back();
  }
  return cut + "\u2026";
}

std::string ReadableSize(UHYPER bytes) {
  if (bytes < 1000) {
    return fmt::format("{} bytes", bytes);
  }
  static constexpr const char* kUnits[] = {"kB", "MB", "GB", "TB", "PB", "EB"};
  double size = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  while (size >= 999.95 && unit + 1 < std::size(kUnits)) {
    size /= 1000;
    ++unit;
  }
  return fmt::format("{:.1f} {}", size, kUnits[unit]);
}

std::string Counted(UHYPER count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}
