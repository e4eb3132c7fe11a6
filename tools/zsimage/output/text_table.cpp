#include "output/text_table.h"

#include <algorithm>
#include <utility>

#include "output/standard_output.h"
#include "output/terminal_text.h"

namespace {

const std::string kMargin = "  "; ///< Before each column.

} // namespace

TextTable::TextTable(const std::vector<const char*>& fixed, const std::vector<const char*>& optional) {
  for (const auto* headings : {&fixed, &optional}) {
    for (const std::string_view heading : *headings) {
      const bool isRight = heading.front() == '>';
      const bool canBeCut = heading.front() == '~';
      const std::string text(heading.substr(isRight || canBeCut ? 1 : 0));
      m_columns.push_back({text, isRight, canBeCut, headings == &fixed, text.size()});
    }
  }
}

void TextTable::Measure(const Row& row) {
  for (std::size_t i = 0; i < row.size(); ++i) {
    m_columns[i].isShown = m_columns[i].isShown || !row[i].text.empty();
    m_columns[i].width = std::max(m_columns[i].width, TerminalWidth(row[i].text));
  }
}

/// Narrows columns until a row fits into one line: first the widest that can be cut, then the widest of all.
void TextTable::FitTerminal() {
  constexpr std::size_t kNarrowest = 4;
  std::size_t width = 0;
  for (const Column& column : m_columns) {
    width += column.isShown ? column.width + kMargin.size() : 0;
  }
  const auto order = [](const Column& column) {
    return std::pair(column.isShown && column.canBeCut && column.width > kNarrowest, column.isShown ? column.width : 0);
  };
  for (const std::size_t columns = TerminalColumns(STDOUT_FILENO); width > columns; --width) {
    Column& widest = *std::ranges::max_element(m_columns, {}, order);
    if (widest.width <= 1) {
      return;
    }
    --widest.width;
  }
}

void TextTable::PrintLine(const Row& row) const {
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (m_columns[i].isShown) {
      const std::string fitting = CutToFit(row[i].text, static_cast<double>(m_columns[i].width), TerminalWidth);
      const std::string padding(m_columns[i].width - TerminalWidth(fitting), ' ');
      const std::string text = Coloured(fitting, row[i].shade);
      line.append(kMargin).append(m_columns[i].isRight ? padding : text).append(m_columns[i].isRight ? text : padding);
    }
  }
  line.erase(line.find_last_not_of(' ') + 1);
  ::Print(line + "\n");
}

void TextTable::Print(const std::function<void(const RowSink& sink)>& produceRows) {
  Row headings;
  for (const Column& column : m_columns) {
    headings.emplace_back(column.heading, Colour::Bold);
  }
  produceRows([this](const Row& row) { Measure(row); });
  if (isatty(STDOUT_FILENO) != 0) {
    FitTerminal();
  }
  PrintLine(headings);
  produceRows([this](const Row& row) { PrintLine(row); });
}
