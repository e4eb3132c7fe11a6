/// @file
/// Reports of failed commands, as a message and as JSON.
#pragma once

#include <functional>
#include <string>
#include <vector>

/// Runs a command, and reports its failure. With `json`, the failure is printed as
/// {"image": "disc.nrg", "result": "ZSE_BADIMAGE", "code": "0x809F001B", "words": "..."}; the words name the file that
/// failed if it is not the image.
/// @param image Path that the command reads; empty if it reads none, and then the JSON has no "image".
/// @return the exit status.
int RunReported(const std::string& image, bool json, const std::function<int()>& command);

/// Runs a command for each image in turn, and reports the images that fail.
/// @return the highest exit status. @throws Failure if the user cancels or standard output fails.
int ForEachImage(const std::vector<std::string>& paths, bool json,
                 const std::function<int(const std::string&)>& command);
