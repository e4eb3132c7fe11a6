// Lists a disc image and saves one of its tracks. The program links only the platform layer. It finds ImageFile in the
// registry, where `zsimage register` writes it.
//
//   disc_host IMAGE [TRACK FILE]

#include <cstdio>
#include <cstdlib>

#include "imagefile/disc_image.h"

namespace {

void List(const imagefile::Image& image) {
  for (const imagefile::Session& session : image.Sessions()) {
    for (const imagefile::Track& track : session.Tracks()) {
      std::printf("session %u track %2u: sectors %6u to %6u, mode %d, %u bytes  %s\n", session.Number(), track.Number(),
                  track.Start(), track.End(), static_cast<int>(track.Mode()), track.BlockBytes(),
                  track.Title().value_or("").c_str());
    }
  }
}

bool ShowProgress(std::uint64_t done, std::uint64_t total) {
  std::printf("\r%3u %%%s", static_cast<unsigned>(100 * done / total), done == total ? "\n" : "");
  return true;
}

/// Saves a track of the first session.
void Save(const imagefile::Image& image, std::size_t number, const char* path) {
  if (image.Sessions().empty() || number < 1 || number > image.Sessions()[0].Tracks().size()) {
    throw imagefile::Error(E_INVALIDARG, image.Path(), "the first session has no such track");
  }
  image.Extract(image.Sessions()[0].Tracks()[number - 1], path, {.progress = ShowProgress});
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2 && argc != 4) {
    std::fprintf(stderr, "usage: disc_host IMAGE [TRACK FILE]\n");
    return 2;
  }
  try {
    const imagefile::Image image(argv[1]);
    List(image);
    if (argc == 4) {
      Save(image, std::strtoul(argv[2], nullptr, 10), argv[3]);
    }
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "disc_host: %s\n", failure.what());
    return EXIT_FAILURE;
  }
}
