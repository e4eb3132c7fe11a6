/// @file
/// JSON on standard output. All text is UTF-8.
#pragma once

#include <functional>

#include <nlohmann/json.hpp>

using Json = nlohmann::ordered_json;

/// Prints a value and a line end. @param isLine Whether the value must be one line.
void PrintJson(const Json& json, bool isLine = false);

using JsonSink = std::function<void(const Json& element)>;
/// Passes the elements of an array to a sink. @param array Index of the array, from 0.
using ArrayProducer = std::function<void(unsigned array, const JsonSink& sink)>;

/// Prints a value whose arrays named `name` are empty. `produce` makes their elements while they are printed, so that
/// memory does not grow with the number of elements.
void PrintJson(const Json& frame, bool isLine, const char* name, const ArrayProducer& produce);
