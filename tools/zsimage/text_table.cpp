#include "text_table.h"

#include <algorithm>

#include "files.h"
#include "terminal_text.h"

void TextTable::AddColumn(std::string heading, Align align, bool mustStay) {
  const std::size_t width = TerminalWidth(heading);
  m_columns.push_back({std::move(heading), align, mustStay, width});
}

void TextTable::Measure(const Row& row) {
  for (std::size_t i = 0; i < row.size(); ++i) {
    m_columns[i].shown = m_columns[i].shown || !row[i].text.empty();
    m_columns[i].width = std::max(m_columns[i].width, TerminalWidth(row[i].text));
  }
}

void TextTable::PrintLine(const Row& row) const {
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (!m_columns[i].shown) {
      continue;
    }
    const std::string padding(m_columns[i].width - TerminalWidth(row[i].text), ' ');
    const std::string text = Coloured(row[i].text, row[i].shade);
    line += "  " + (m_columns[i].align == Align::Right ? padding + text : text + padding);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  ::Print(line + "\n");
}

void TextTable::Print(const std::function<void(const RowSink& sink)>& giveRows) {
  giveRows([this](const Row& row) { Measure(row); });
  Row headings;
  for (const Column& column : m_columns) {
    headings.emplace_back(column.heading, Colour::Bold);
  }
  PrintLine(headings);
  giveRows([this](const Row& row) { PrintLine(row); });
}
