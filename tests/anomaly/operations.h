/// @file
/// The public operations of the component, each on valid input and ready to be disturbed.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/base_types.h"
#include "support/counting_environment.h"

struct Scene;

/// One call on an image.
struct Operation {
  std::string name;
  std::vector<HRESULT> failures; ///< Result codes that it may end with; S_OK when it may go on with less.
  HRESULT (*call)(Scene& scene); ///< Takes all that it needs from the scene, and delivers into it.
  std::string image = {};
};

/// Reads an image.
Operation ReadingImage(const std::string& path);
/// Opens the first track of an image as a stream, with a value for its callback, and reads it to the end.
Operation ReadingTrack(const std::string& path);
/// All other operations, on an album of two tracks with CD-Text; they also write beside it.
std::vector<Operation> OtherOperations(const std::string& path);

/// The names of the sample images: one of each kind and form of each format.
extern const std::vector<std::string> kSampleImages;

/// How an operation ended.
struct Outcome {
  HRESULT result = 0;
  std::string told; ///< All that it delivered, as text; on a failure what came before it.
};

/// Prepares the scene, makes the call with a point that fails, as FaultPoints::Start, expects that a failure delivered
/// nothing, and leaves nothing behind.
Outcome Perform(const Operation& operation, FaultPoints* points, long failAt = 0, bool andAfter = false);

/// What may come of a failure.
enum class Failure {
  Once,     ///< One point fails: a documented result, and what was delivered by then.
  AndAfter, ///< All points behind it fail as well.
  Harmless, ///< One point meets what changes nothing.
};

/// Runs an operation again and again, with the first, second, third... of its points failing, until it passes without
/// meeting the failure. Expects that nothing is left behind.
/// @param before Called before each run.
/// @return How many points failed.
long Sweep(
    const Operation& operation, FaultPoints* points, Failure failure, const std::function<void()>& before = [] {});
