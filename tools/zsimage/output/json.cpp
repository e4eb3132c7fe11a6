#include "output/json.h"

#include <fmt/format.h>

#include "output/standard_output.h"

namespace {

constexpr int kIndent = 2;

int Indent(bool isLine) { return isLine ? -1 : kIndent; }

} // namespace

void PrintJson(const Json& json, bool isLine) { Print(json.dump(Indent(isLine)) + "\n"); }

void PrintJson(const Json& frame, bool isLine, const char* name, const ArrayProducer& produce) {
  const std::string text = frame.dump(Indent(isLine));
  const std::string opening = fmt::format(R"("{}":{}[)", name, isLine ? "" : " "); // Quotes in texts are escaped.
  std::size_t printed = 0;
  unsigned array = 0;
  for (std::size_t start = text.find(opening); start != std::string::npos; start = text.find(opening, printed)) {
    const std::size_t column = start - (text.rfind('\n', start) + 1);
    const std::string outer = isLine ? "" : "\n" + std::string(column, ' ');
    const std::string inner = isLine ? "" : outer + std::string(kIndent, ' ');
    Print(text.substr(printed, start + opening.size() - printed));
    printed = start + opening.size();
    bool isEmpty = true;
    produce(array++, [&](const Json& element) {
      std::string lines = element.dump(Indent(isLine));
      for (std::size_t end = lines.find('\n'); end != std::string::npos; end = lines.find('\n', end + inner.size())) {
        lines.replace(end, 1, inner);
      }
      Print(fmt::format("{}{}{}", isEmpty ? "" : ",", inner, lines));
      isEmpty = false;
    });
    Print(isEmpty ? "" : outer);
  }
  Print(text.substr(printed) + "\n");
}
