/// @file
/// Tables for a terminal: columns as wide as their content, columns without content left out.
#pragma once

#include <string>
#include <vector>

#include "terminal.h"

class TextTable {
public:
  enum class Align { Left, Right };

  /// What stands in one place: UTF-8, and its colour where there are colours.
  struct Cell {
    Cell(std::string content, Colour colour = Colour::None) // NOLINT(google-explicit-constructor): a text is a cell.
        : text(std::move(content)), shade(colour) {}
    std::string text;
    Colour shade;
  };

  /// Adds a column. One that must stay is shown even when no row fills it.
  void AddColumn(std::string heading, Align align, bool mustStay = false);

  /// Adds a row, one cell for each column.
  void AddRow(std::vector<Cell> cells);

  /// The table with its headings, each line behind `indent` blanks.
  std::string Render(std::size_t indent) const;

private:
  struct Column {
    std::string heading;
    Align align;
    bool shown;
    std::size_t width;
  };

  std::string RenderLine(const std::vector<Cell>& cells, std::size_t indent) const;

  std::vector<Column> m_columns;
  std::vector<std::vector<Cell>> m_rows;
};
