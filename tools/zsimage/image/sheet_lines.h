/// @file
/// Lines of CUE sheets. The component reads the first data file of a sheet and looks for keywords anywhere in a line;
/// these functions find the lines that it ignores or misreads.
#pragma once

#include <functional>
#include <string>
#include <string_view>
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
void VisitLines(std::string_view content, const std::function<void(const SheetLine&)>& visit);

/// What the component ignores or misreads in a sheet. Empty for any other file.
struct SheetNotes {
  /// Advice for a sheet of several files, of which the component reads the first, or of a sound file. May be empty.
  std::string joinAdvice;
  /// One for each line with a text (TITLE, PERFORMER and so on) in which the component finds another keyword.
  std::vector<std::string> misreadTexts;
};

/// @param path Narrow text. @param dataFile The file that the component reads.
SheetNotes ReadSheetNotes(const std::string& path, const std::string& dataFile);
