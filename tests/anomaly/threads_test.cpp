#include <gtest/gtest.h>

#include <thread>

#include "anomaly/operations.h"

namespace {

/// Objects of their own on threads of their own, on the same files.
TEST(Threads, ReadAndExtractTheSameImagesAtOnce) {
  std::vector<Operation> operations;
  for (const std::string& image : kSampleImages) {
    operations.push_back(ReadingImage(SAMPLE_IMAGES "/" + image));
    if (!image.ends_with(".bwt")) {
      operations.push_back(ReadingTrack(SAMPLE_IMAGES "/" + image));
    }
  }
  FaultPoints none;
  std::vector<std::string> expected;
  for (const Operation& operation : operations) {
    expected.push_back(Perform(operation, &none).told);
  }
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::size_t i = 0; i < 3 * operations.size(); ++i) {
        const std::size_t each = (i + 5 * thread) % operations.size();
        EXPECT_TRUE(expected[each] == Perform(operations[each], &none).told) << operations[each].image;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

} // namespace
