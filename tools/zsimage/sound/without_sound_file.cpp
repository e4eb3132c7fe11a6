// Replaces sound_file.cpp in a build without libsndfile.
#include "output/failure.h"
#include "sound/sound_file.h"

constexpr const char* kMissing = "this zsimage is built without libsndfile, so it neither reads nor writes sound files";

SampleSource OpenSound(const std::string& path) { throw Failure(path, kMissing, E_NOTIMPL); }

void WriteSound(OutputFile* /*output*/, const std::string& path, const std::string& /*extension*/,
                const SoundTags& /*tags*/, const std::function<void(const SampleSink& sink)>& /*produce*/) {
  throw Failure(path, kMissing, E_NOTIMPL);
}
