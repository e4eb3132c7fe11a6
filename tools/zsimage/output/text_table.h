/// @file
/// Tables for a terminal: columns as wide as their content, columns without content left out.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "output/terminal.h"

class TextTable {
public:
  /// UTF-8 text, and its colour where there are colours.
  struct Cell {
    Cell(std::string content, Colour colour = Colour::None) // NOLINT(google-explicit-constructor): a text is a cell.
        : text(std::move(content)), shade(colour) {}
    std::string text;
    Colour shade;
  };
  /// One cell for each column.
  using Row = std::vector<Cell>;
  using RowSink = std::function<void(const Row& row)>;

  /// @param fixed Headings of the columns that are always shown. @param filled Headings of those that are shown when a
  /// row fills them. ">" before a heading aligns its column to the right.
  TextTable(const std::vector<const char*>& fixed, const std::vector<const char*>& filled);

  /// Prints the headings and all rows. Calls `giveRows` twice, to measure the columns and to print, so that memory does
  /// not grow with the rows. @throws Failure when not all of it goes out.
  void Print(const std::function<void(const RowSink& sink)>& giveRows);

private:
  struct Column {
    std::string heading;
    bool isRight;
    bool shown;
    std::size_t width;
  };

  void Measure(const Row& row);
  void PrintLine(const Row& row) const;

  std::vector<Column> m_columns;
};
