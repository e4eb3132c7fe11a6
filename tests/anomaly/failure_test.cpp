// Every allocation and every call of the file layer fails in turn, in every operation; and all run at once.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <thread>

#include "anomaly/operations.h"
#include "support/faulty_files.h"
#include "support/temporary_folder.h"

namespace {

namespace fs = std::filesystem;

/// The files of a folder whose names begin with a stem.
std::vector<fs::path> FilesOf(const fs::path& folder, const std::string& stem) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().string().starts_with(stem)) {
      files.push_back(entry.path());
    }
  }
  return files;
}

/// Works on samples that operations may write to and files may vanish from.
class Failures : public testing::Test {
protected:
  void SetUp() override { Restore(""); }
  void TearDown() override {
    std::cout << m_points << " failure points\n";
    EXPECT_GT(m_points, 0);
  }
  void Restore(const std::string& stem) const {
    for (const fs::path& file : FilesOf(SAMPLE_IMAGES, stem)) {
      fs::copy_file(file, m_folder.Path(file.filename().string()), fs::copy_options::overwrite_existing);
    }
  }
  void SweepAll(FaultPoints* points, std::initializer_list<Failure> failures) {
    std::vector<Operation> operations = OtherOperations(m_folder.Path("album.cue"));
    for (const std::string& image : kSampleImages) {
      operations.push_back(ReadingImage(m_folder.Path(image)));
    }
    for (const char* image : {"plain.iso", "album.cue", "bridge.cue", "tao.nrg", "inline.mds"}) {
      operations.push_back(ReadingTrack(m_folder.Path(image)));
    }
    for (const Operation& operation : operations) {
      for (const Failure failure : failures) {
        m_points += Sweep(operation, points, failure);
      }
    }
  }

  TemporaryFolder m_folder;
  long m_points = 0;
};

TEST_F(Failures, OfMemoryEndInACode) { SweepAll(&Memory().faults, {Failure::Once, Failure::AndAfter}); }

TEST_F(Failures, OfFilesEndInACode) {
  for (const int error : {EIO, ENOENT}) {
    FaultyFiles files([=] { return error; });
    SweepAll(&files.points, {Failure::Once, Failure::AndAfter});
  }
}

/// Calls that a signal interrupts, while reads and writes move less than was asked for.
TEST_F(Failures, ThatAreNoneChangeNothing) {
  FaultyFiles files([] { return EINTR; }, 2000);
  SweepAll(&files.points, {Failure::Harmless});
}

/// At each call of the file layer somebody else removes, empties, cuts or overwrites the files of the image.
TEST_F(Failures, OfImagesThatChangeUnderTheReaderEndInACode) {
  void (*const kChanges[])(const fs::path&) = {
      [](const fs::path& file) { fs::remove(file); },
      [](const fs::path& file) { fs::resize_file(file, 0); },
      [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) / 2); },
      [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) * 3 + 1); },
      [](const fs::path& file) { fs::copy_file(SAMPLE_IMAGES "/tao.nrg", file, fs::copy_options::overwrite_existing); },
  };
  for (const std::string& image : kSampleImages) {
    const std::string stem = image.substr(0, image.find('.') + 1);
    for (const auto change : kChanges) {
      FaultyFiles files([&, change] {
        for (const fs::path& file : FilesOf(m_folder.Path(""), stem)) {
          change(file);
        }
        return 0;
      });
      const auto restore = [&] { Restore(stem); };
      m_points += Sweep(ReadingImage(m_folder.Path(image)), &files.points, Failure::Once, restore);
      if (!image.ends_with("bwt")) {
        m_points += Sweep(ReadingTrack(m_folder.Path(image)), &files.points, Failure::Once, restore);
      }
    }
  }
}

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
