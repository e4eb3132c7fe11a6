// Replaces sound_file.cpp in a build without libsndfile.
#include "output/failure.h"
#include "sound/sound_file.h"

namespace {

[[noreturn]] void ThrowMissing(const std::string& path) {
  throw Failure(path, "this zsimage is built without libsndfile, so it neither reads nor writes sound files",
                E_NOTIMPL);
}

} // namespace

struct SoundWriter::Stream {};

void SoundClose::operator()(sf_private_tag* /*file*/) const noexcept {}
SoundReader::SoundReader(const std::string& path) { ThrowMissing(path); }
void SoundReader::Seek(UHYPER /*offset*/) {}
void SoundReader::Read(BYTE* /*data*/, std::size_t /*size*/) {}
SoundWriter::SoundWriter(OutputFile* /*output*/, const std::string& path, SoundFormat /*format*/,
                         const SoundTags& /*tags*/) {
  ThrowMissing(path);
}
SoundWriter::~SoundWriter() = default;
void SoundWriter::Write(const BYTE* /*data*/, std::size_t /*size*/) {}
void SoundWriter::Finish() {}
