/// @file
/// Text in SVG and HTML.
#pragma once

#include <string>
#include <string_view>

/// UTF-8 text between tags or in an attribute.
std::string Escaped(std::string_view utf8);

/// About how wide text stands in a sans-serif font, rather too wide than too narrow.
double TextWidth(std::string_view utf8, double fontSize);

/// Text that is no wider than `width`: cut before an ellipsis where it has to be.
std::string Fitting(std::string_view utf8, double fontSize, double width);

/// A number as coordinates have it, with at most two places behind the point.
std::string Number(double value);
