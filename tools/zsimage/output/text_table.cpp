#include "output/text_table.h"

#include <algorithm>

#include "output/standard_output.h"
#include "output/terminal_text.h"

TextTable::TextTable(const std::vector<const char*>& fixed, const std::vector<const char*>& optional) {
  for (const auto* headings : {&fixed, &optional}) {
    for (const std::string_view heading : *headings) {
      const bool isRight = heading.front() == '>';
      const std::string text(heading.substr(isRight ? 1 : 0));
      m_columns.push_back({text, isRight, headings == &fixed, text.size()});
    }
  }
}

void TextTable::Measure(const Row& row) {
  for (std::size_t i = 0; i < row.size(); ++i) {
    m_columns[i].isShown = m_columns[i].isShown || !row[i].text.empty();
    m_columns[i].width = std::max(m_columns[i].width, TerminalWidth(row[i].text));
  }
}

void TextTable::PrintLine(const Row& row) const {
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (m_columns[i].isShown) {
      const std::string padding(m_columns[i].width - TerminalWidth(row[i].text), ' ');
      const std::string text = Coloured(row[i].text, row[i].shade);
      line += "  " + (m_columns[i].isRight ? padding + text : text + padding);
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
  PrintLine(headings);
  produceRows([this](const Row& row) { PrintLine(row); });
}
