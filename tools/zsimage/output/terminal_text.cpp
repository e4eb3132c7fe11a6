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
  std::ranges::replace_if(wide, isControl, u'?');
  return NarrowToUtf8(WideCharToMultiByte(wide));
}

std::size_t TerminalWidth(std::string_view utf8) {
  if (IsAscii(utf8)) {
    return utf8.size();
  }
  // wcwidth() needs a UTF-8 locale. Most runs show ASCII alone and never load it.
  static const bool kIsUtf8 = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr; // NOLINT(concurrency-mt-unsafe)
  std::wstring wide(utf8.size(), L'\0');
  const std::size_t length = std::mbstowcs(wide.data(), std::string(utf8).c_str(), wide.size());
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

std::string_view CharacterAt(std::string_view utf8, std::size_t offset) {
  std::size_t length = 1;
  while (offset + length < utf8.size() && (static_cast<unsigned char>(utf8[offset + length]) & 0xC0U) == 0x80) {
    ++length;
  }
  return utf8.substr(offset, length);
}

std::string CutToFit(std::string_view utf8, double room, const std::function<double(std::string_view)>& widthOf) {
  constexpr std::string_view kEllipsis = "\u2026";
  double width = 0;
  std::size_t end = 0; // Of the part that fits before an ellipsis.
  for (std::size_t offset = 0; offset < utf8.size();) {
    end = width + widthOf(kEllipsis) <= room ? offset : end;
    const std::string_view character = CharacterAt(utf8, offset);
    width += widthOf(character);
    offset += character.size();
    if (width > room) {
      return std::string(utf8.substr(0, end)).append(kEllipsis);
    }
  }
  return std::string(utf8);
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
