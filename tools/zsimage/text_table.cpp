#include "text_table.h"

#include <algorithm>

#include "terminal_text.h"

void TextTable::AddColumn(std::string heading, Align align, bool mustStay) {
  const std::size_t width = TerminalWidth(heading);
  m_columns.push_back({std::move(heading), align, mustStay, width});
}

void TextTable::AddRow(std::vector<Cell> cells) {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    m_columns[i].shown = m_columns[i].shown || !cells[i].text.empty();
    m_columns[i].width = std::max(m_columns[i].width, TerminalWidth(cells[i].text));
  }
  m_rows.push_back(std::move(cells));
}

std::string TextTable::RenderLine(const std::vector<Cell>& cells, std::size_t indent) const {
  std::string line(indent, ' ');
  const char* separator = "";
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (!m_columns[i].shown) {
      continue;
    }
    const std::string padding(m_columns[i].width - TerminalWidth(cells[i].text), ' ');
    const std::string text = Coloured(cells[i].text, cells[i].shade);
    line += separator + (m_columns[i].align == Align::Right ? padding + text : text + padding);
    separator = "  ";
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line + "\n";
}

std::string TextTable::Render(std::size_t indent) const {
  std::vector<Cell> headings;
  for (const Column& column : m_columns) {
    headings.emplace_back(column.heading, Colour::Bold);
  }
  std::string text = RenderLine(headings, indent);
  for (const std::vector<Cell>& row : m_rows) {
    text += RenderLine(row, indent);
  }
  return text;
}
