/// @file
/// Elements of an SVG picture. Their classes say how they look: each has presentation attributes, and a style sheet has
/// the colours for dark mode.
#pragma once

#include <string>
#include <string_view>

namespace svg {

/// Whether a list of classes, separated by blanks, has a class.
bool HasClass(std::string_view classes, std::string_view name);

/// Returns a picture with a title and a style sheet. @param content Its elements.
std::string Picture(double width, double height, std::string_view title, std::string_view content);

/// Returns a group of elements. Their look is that of the group's classes, unless they have their own.
/// @param title Text that is shown while the pointer is on the group.
std::string Group(std::string_view classes, std::string_view title, std::string_view content);
std::string Rectangle(double x, double y, double width, double height, std::string_view classes);
/// @param title As Group's; empty for none.
std::string Circle(double x, double y, double radius, std::string_view classes, std::string_view title);
/// Returns a line from a position, to the right or down.
std::string Line(double x, double y, double width, double height);
/// Returns text that is cut to fit into `room`. The whole text is shown while the pointer is on it.
std::string Text(double x, double y, std::string_view classes, std::string_view utf8, double room);

/// Estimates the width of text in a sans-serif font, rather too wide than too narrow.
double TextWidth(std::string_view utf8, std::string_view classes);

} // namespace svg
