/// @file
/// Records as JSON: objects with the records' own field names, in their order.
///
/// Strings are strings or null, enumerations and integers numbers, truth values true or false. All text is UTF-8.
#pragma once

#include <nlohmann/json.hpp>

#include "disc/records.h"
#include "failure.h"

using Json = nlohmann::ordered_json;

/// The whole record. `pZSCueSheet` is the array of its `nSessions` sheets.
Json ImageToJson(const zsimagefileinfo& info);

/// One session. `pZSTracks` is the array of its `nTracks` tracks.
Json SheetToJson(const ZSCUESHEET& sheet);

/// What `--json` prints for a failure: {"result": "ZSE_BADIMAGE", "code": "0x809F001B"}.
Json FailureToJson(HRESULT code);

/// Reports the failure of one of several images. @return the exit status.
int ReportOne(const Failure& failure, bool json, bool isLine);

/// Prints one value on standard output, with a line end behind it.
/// @param isLine Whether the value must stand in one line.
void PrintJson(const Json& json, bool isLine = false);
