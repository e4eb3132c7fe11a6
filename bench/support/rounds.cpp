#include "support/rounds.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

double Median(std::vector<double> times) {
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

double Microseconds(const std::function<void()>& step) {
  const auto start = std::chrono::steady_clock::now();
  step();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

void CompareRounds(const char* what, int rounds, const std::function<void()>& ours,
                   const std::function<void()>& theirs) {
  std::mt19937 random(1);
  std::vector<double> times[2];
  for (int i = 0; i < rounds; ++i) {
    const std::size_t first = random() % 2;
    for (const std::size_t which : {first, 1 - first}) {
      times[which].push_back(Microseconds(which == 0 ? ours : theirs));
    }
  }
  const double mine = Median(times[0]);
  const double other = Median(times[1]);
  std::printf("%-44s %10.1f %10.1f %8.2f\n", what, mine, other, other / mine);
}

void ExitWithError(const char* message) {
  std::fprintf(stderr, "%s\n", message);
  std::exit(1);
}
