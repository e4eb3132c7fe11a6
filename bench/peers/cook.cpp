// Copies 2048 bytes of each raw sector of 2352 with large reads and writes: the practical limit of such a copy.
// Usage: cook IN OUT

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <vector>

int main(int argc, char** argv) {
  constexpr std::size_t kRaw = 2352;
  constexpr std::size_t kUser = 2048;
  constexpr std::size_t kUserStart = 16;
  constexpr std::size_t kSectors = 64;
  if (argc != 3) {
    return 2;
  }
  const int in = ::open(argv[1], O_RDONLY | O_CLOEXEC);
  const int out = ::open(argv[2], O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  std::vector<char> raw(kSectors * kRaw);
  std::vector<char> user(kSectors * kUser);
  for (;;) {
    const ssize_t bytesRead = ::read(in, raw.data(), raw.size());
    if (bytesRead <= 0) {
      return bytesRead == 0 && ::close(out) == 0 ? 0 : 1;
    }
    const std::size_t sectors = static_cast<std::size_t>(bytesRead) / kRaw;
    for (std::size_t i = 0; i < sectors; ++i) {
      std::memcpy(user.data() + i * kUser, raw.data() + i * kRaw + kUserStart, kUser);
    }
    if (::write(out, user.data(), sectors * kUser) != static_cast<ssize_t>(sectors * kUser)) {
      std::perror(argv[2]);
      return 1;
    }
  }
}
