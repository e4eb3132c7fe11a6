/// @file
/// Lines of CUE sheets. The component reads the first data file of a sheet and looks for keywords anywhere in a line;
/// these functions find the lines that it ignores or misreads.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/base_types.h"

inline constexpr UHYPER kLargestSheetOfFiles = 1U << 20; ///< Far more than 99 tracks need.

/// One line of a sheet.
struct SheetLine {
  unsigned number;     ///< From 1.
  std::string keyword; ///< First word, in upper case.
  std::string rest;    ///< Text after the keyword, trimmed. Narrow text.

  /// Returns the text of the line: from the first double quote to the last or, without quotes, all of it.
  std::string Text() const;
  /// Returns the last word of the line, in upper case: the type of a FILE line.
  std::string LastWord() const;
};

/// Visits the lines of a sheet that are not blank. A byte order mark before the first is skipped.
void VisitSheetLines(const std::string& sheet, const std::function<void(const SheetLine& line)>& visit);

/// A line that the component reads as a line of another keyword, which it finds in the text.
struct MisreadLine {
  unsigned number;
  std::string keyword; ///< First word of the line.
  std::string found;   ///< Keyword in the text, which the component uses.
};

/// Finds the lines with texts (TITLE, PERFORMER and so on) that the component reads as other lines.
std::vector<MisreadLine> FindMisreadLines(const std::string& sheet);

/// Returns words for how many lines are misread, and what to do; empty if none is. @param path Narrow text.
std::string MisreadWords(const std::string& path);
/// Returns words for one misread line, and what to do.
std::string MisreadWords(const std::string& path, const MisreadLine& line);

/// Returns advice for a sheet that names several files, of which the component reads the first, or a sound file.
/// Empty for any other. @param path Narrow text. @param isSound Whether its data file is a sound file.
std::string JoinAdvice(const std::string& path, bool isSound);
