/// @file
/// The public operations of the component on valid input, run while memory or files fail.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/base_types.h"
#include "support/counting_environment.h"

struct Scene;

/// A call on an image.
struct Operation {
  std::string name;
  std::vector<HRESULT> failures; ///< Results that it may return if a point fails; S_OK if it may then deliver less.
  HRESULT (*call)(Scene& scene); ///< Reads its arguments from the scene and delivers into it.
  std::string image = {};
};

/// Reads an image.
Operation ReadingImage(const std::string& path);
/// Opens the first track of an image as a stream, with a value for its callback, and reads it to the end.
Operation ReadingTrack(const std::string& path);
/// All other operations, on an album of two tracks with CD-Text. They also write files beside it.
std::vector<Operation> OtherOperations(const std::string& path);

/// The names of the sample images: one of each kind and form of each format.
extern const std::vector<std::string> kSampleImages;

/// The end of an operation.
struct Outcome {
  HRESULT result = 0;
  std::string delivered; ///< As text. A failure may deliver the start of a stream and nothing else.

  bool operator==(const Outcome&) const = default;
};

/// Runs an operation on a new scene. Arguments as for FaultPoints::Start.
Outcome Perform(const Operation& operation, FaultPoints* points, long failAt = 0, bool andAfter = false);

/// What fails in a run.
enum class Failure {
  Once,     ///< One point.
  AndAfter, ///< One point and all that follow it.
  Harmless, ///< One point, in a way that must change nothing.
};

/// Runs an operation with its first, second, third... point failing, until a run does not reach the point. Expects that
/// each outcome is allowed and that a run releases all it holds.
/// @param before Called before each run.
/// @return The number of points.
long Sweep(
    const Operation& operation, FaultPoints* points, Failure failure, const std::function<void()>& before = [] {});
