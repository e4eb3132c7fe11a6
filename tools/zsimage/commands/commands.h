/// @file
/// The commands of the tool. Each answers the exit status, or throws a Failure. Paths are narrow text.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/base_types.h"

struct InfoOptions {
  std::vector<std::string> paths;
  bool json = false; ///< One object in readable form for one path; of several, one a line.
};
int RunInfo(const InfoOptions& options);

struct CheckOptions {
  std::vector<std::string> paths;
  bool full = false; ///< Every sector, instead of a sample.
  bool json = false; ///< As of InfoOptions.
};
int RunCheck(const CheckOptions& options);

struct MapOptions {
  std::string path;
  std::string output; ///< .svg, .html, or "-" for standard output.
  bool force = false; ///< Replaces existing files, here and below.
};
int RunMap(const MapOptions& options);

struct PositionOptions {
  std::string path;
  ULONG lba = 0;
  bool json = false;
};
int RunPosition(const PositionOptions& options);

struct ExtractOptions {
  std::string path;
  unsigned session = 0; ///< From 1; 0 for the first, or all with a folder.
  unsigned track = 0;
  UINT blockSize = 0;   ///< 0 for the track's own.
  std::string output;   ///< "-" for standard output.
  std::string folder;   ///< All tracks go here, when given.
  bool partial = false; ///< Saves the whole sectors of tracks that are cut off.
  bool force = false;
};
int RunExtract(const ExtractOptions& options);

struct ConvertOptions {
  std::string path;
  std::string output;
  std::string packs; ///< File of raw CD-Text packs; empty for the text of the image.
  bool noText = false;
  bool withData = false;
  std::string dataFile; ///< Existing file to describe; empty for none.
  bool force = false;
};
int RunConvert(const ConvertOptions& options);

struct DecodeOptions {
  std::string packs;              ///< File of raw CD-Text packs, "-" for standard input.
  std::optional<unsigned> tracks; ///< None for those that the packs name.
  bool json = false;
};
int RunDecode(const DecodeOptions& options);

struct EncodeOptions {
  std::string path;
  std::string output; ///< "-" for standard output.
  bool subChannel = false;
  bool force = false;
};
int RunEncode(const EncodeOptions& options);

struct RegisterOptions {
  bool remove; ///< Undoes it.
};
int RunRegister(const RegisterOptions& options);
