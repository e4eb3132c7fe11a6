/// @file
/// Tables for a terminal, with columns as wide as their content.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "output/terminal.h"

class TextTable {
public:
  struct Cell {
    Cell(std::string content, Colour colour = Colour::None) // NOLINT(google-explicit-constructor): text is a cell.
        : text(std::move(content)), shade(colour) {}
    std::string text; ///< UTF-8.
    Colour shade;
  };
  /// One cell for each column.
  using Row = std::vector<Cell>;
  using RowSink = std::function<void(const Row& row)>;

  /// @param fixed Headings of the columns that are always shown. @param optional Headings of the columns that are shown
  /// if any of their cells has text. ">" before a heading aligns its column to the right; columns with "~" are the
  /// first to be cut on a terminal that is narrower than the table.
  TextTable(const std::vector<const char*>& fixed, const std::vector<const char*>& optional);

  /// Prints the headings and all rows. Calls `produceRows` twice, to measure and to print, so that memory does not grow
  /// with the rows.
  void Print(const std::function<void(const RowSink& sink)>& produceRows);

private:
  struct Column {
    std::string heading;
    bool isRight;
    bool canBeCut;
    bool isShown;
    std::size_t width;
  };

  void Measure(const Row& row);
  void FitTerminal();
  void PrintLine(const Row& row) const;

  std::vector<Column> m_columns;
};
