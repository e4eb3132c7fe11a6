/// @file
/// Elements of an SVG picture. Their classes determine their look: each class has presentation attributes, and a style
/// sheet has the colours for dark mode.
#pragma once

#include <string>
#include <string_view>

namespace svg {

/// Returns whether a list of classes, separated by blanks, contains a class.
bool HasClass(std::string_view classes, std::string_view name);

/// Returns a picture with a title and a style sheet. @param content Elements of the picture.
std::string Picture(double width, double height, std::string_view title, std::string_view content);

/// Returns a group of elements, which inherit the look of the group unless they have their own classes.
/// @param title Text that is shown while the pointer is on the group.
std::string Group(std::string_view classes, std::string_view title, std::string_view content);
std::string Rectangle(double x, double y, double width, double height, std::string_view classes);
/// @param title As Group's; empty for none.
std::string Circle(double x, double y, double radius, std::string_view classes, std::string_view title);
/// Returns a line from a position, to the right or down.
std::string Line(double x, double y, double width, double height);
/// Returns text that is cut to fit into `room`. The whole text is shown while the pointer is on it.
std::string Text(double x, double y, std::string_view classes, std::string_view utf8, double room);

/// Estimates the width of text in a sans-serif font. The estimate is more often too wide than too narrow.
double TextWidth(std::string_view utf8, std::string_view classes);

} // namespace svg
