/// @file
/// The public operations of the component, each on valid input and ready to be disturbed.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/base_types.h"
#include "support/counting_environment.h"

/// How an operation ended.
struct Outcome {
  HRESULT result = 0;
  std::string told; ///< All that it delivered, as text; on a failure what came before it.
};

/// Runs the one call of an operation that may be disturbed. All that it delivers must be there before.
using Disturbed = std::function<HRESULT(const std::function<HRESULT()>& call)>;

struct Operation {
  std::string name;
  std::vector<HRESULT> failures; ///< The result codes that it may end with, beside its own undisturbed one.
  /// Prepares its input, makes the call, tests that a failure delivered nothing, and leaves nothing behind.
  std::function<Outcome(const Disturbed& disturbed)> run;
};

/// Reads the image of a path.
Operation ReadingImage(const std::string& path);
/// Opens the first track of an image as a stream, with a value for its callback, and reads it to the end.
Operation ReadingTrack(const std::string& path);
/// All other operations, on the samples in a folder, which they also write to.
std::vector<Operation> OtherOperations(const std::string& folder);

/// The names of the sample images: one of each kind and form of each format.
extern const std::vector<std::string> kSampleImages;

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
