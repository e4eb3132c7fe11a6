/// @file
/// Tables for a terminal: columns as wide as their content, columns without content left out.
#pragma once

#include <string>
#include <vector>

class TextTable {
public:
  enum class Align { Left, Right };

  /// Adds a column. One that must stay is shown even when no row fills it.
  void AddColumn(std::string heading, Align align, bool mustStay = false);

  /// Adds a row, one UTF-8 text for each column.
  void AddRow(std::vector<std::string> cells);

  /// The table with its headings, each line behind `indent` blanks.
  std::string Render(std::size_t indent) const;

private:
  struct Column {
    std::string heading;
    Align align;
    bool shown;
    std::size_t width;
  };

  std::string RenderLine(const std::vector<std::string>& cells, std::size_t indent) const;

  std::vector<Column> m_columns;
  std::vector<std::vector<std::string>> m_rows;
};
