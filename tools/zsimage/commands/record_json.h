/// @file
/// Records as JSON: objects with the records' own field names, in their order.
///
/// Strings are strings or null, enumerations and integers numbers, truth values true or false. All text is UTF-8.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "disc/records.h"
#include "output/failure.h"

using Json = nlohmann::ordered_json;

/// Prints the whole record. `pZSCueSheet` is the array of its `nSessions` sheets.
void PrintRecordJson(const zsimagefileinfo& info, bool isLine);

/// Prints one session. `pZSTracks` is the array of its `nTracks` tracks.
void PrintSheetJson(const ZSCUESHEET& sheet);

/// What `--json` prints for a failure: {"image": "disc.nrg", "result": "ZSE_BADIMAGE", "code": "0x809F001B",
/// "words": "..."}. The words name the file that is at fault where it is another than the image.
/// @param image Path as it was given; empty, and then left out, for a command that reads none.
Json FailureToJson(const Failure& failure, const std::string& image);

/// Reports the failure of one image. @return the exit status.
int ReportOne(const Failure& failure, const std::string& image, bool json, bool isLine);

/// Works on image after image and reports those that fail, which keeps nobody from the others.
/// @return the highest exit status. @throws Failure when the user cancels, or nothing more can be printed.
int ForEachImage(const std::vector<std::string>& paths, bool json, const std::function<int(const std::string&)>& work);

/// Prints one value on standard output, with a line end behind it.
/// @param isLine Whether the value must stand in one line.
void PrintJson(const Json& json, bool isLine = false);

using JsonSink = std::function<void(const Json& element)>;

/// Prints a value whose arrays of the name `list` are empty and get their elements from `giveElements` while they are
/// printed, so that memory does not grow with them. `giveElements` is called for each of these arrays, from 0.
void PrintJson(const Json& frame, bool isLine, const char* list,
               const std::function<void(unsigned array, const JsonSink& sink)>& giveElements);
