// Every allocation and every call of the file layer fails in turn, in every operation.
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>

#include "anomaly/operations.h"
#include "support/faulty_files.h"
#include "support/temporary_folder.h"

namespace {

namespace fs = std::filesystem;

/// A folder of samples that operations may write to and files may vanish from.
class Samples {
public:
  Samples() { Restore(""); }
  /// Copies the samples whose names begin with a stem.
  void Restore(const std::string& stem) const {
    for (const fs::directory_entry& entry : fs::directory_iterator(SAMPLE_IMAGES)) {
      if (const std::string name = entry.path().filename().string(); name.starts_with(stem)) {
        fs::copy_file(entry.path(), m_folder.Path(name), fs::copy_options::overwrite_existing);
      }
    }
  }
  std::string Path(const std::string& name) const { return m_folder.Path(name); }
  std::vector<fs::path> FilesOf(const std::string& stem) const {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_folder.Path(""))) {
      if (entry.path().filename().string().starts_with(stem)) {
        files.push_back(entry.path());
      }
    }
    return files;
  }
  std::vector<Operation> Operations() const {
    std::vector<Operation> operations = OtherOperations(m_folder.Path(""));
    for (const std::string& image : kSampleImages) {
      operations.push_back(ReadingImage(Path(image)));
    }
    for (const char* image : {"plain.iso", "album.cue", "bridge.cue", "tao.nrg", "inline.mds"}) {
      operations.push_back(ReadingTrack(Path(image)));
    }
    return operations;
  }

private:
  TemporaryFolder m_folder;
};

/// The sum of a table, for whoever wants to quote it.
void Tell(const char* table, long points) {
  std::cout << table << ": " << points << " failure points\n";
  testing::Test::RecordProperty(table, std::to_string(points));
  EXPECT_GT(points, 0);
}

TEST(Failures, OfMemoryEndInACode) {
  const Samples samples;
  long failed = 0;
  for (const Operation& operation : samples.Operations()) {
    for (const Failure failure : {Failure::Once, Failure::AndAfter}) {
      failed += Sweep(operation, &Memory().faults, failure);
    }
  }
  Tell("Memory", failed);
}

TEST(Failures, OfFilesEndInACode) {
  const Samples samples;
  long failed = 0;
  for (const Operation& operation : samples.Operations()) {
    for (const int error : {EIO, ENOENT}) {
      for (const Failure failure : {Failure::Once, Failure::AndAfter}) {
        FaultyFiles files([=] { return error; });
        failed += Sweep(operation, &files.points, failure);
      }
    }
  }
  Tell("Files", failed);
}

/// Calls that a signal interrupts, while reads and writes move less than was asked for.
TEST(Failures, ThatAreNoneChangeNothing) {
  const Samples samples;
  long failed = 0;
  for (const Operation& operation : samples.Operations()) {
    FaultyFiles files([] { return EINTR; }, 2000);
    failed += Sweep(operation, &files.points, Failure::Harmless);
  }
  Tell("Interrupted", failed);
}

/// At each call of the file layer somebody else removes, empties, cuts or overwrites the files of the image.
TEST(Failures, OfImagesThatChangeUnderTheReaderEndInACode) {
  const Samples samples;
  void (*const kChanges[])(const fs::path&) = {
      [](const fs::path& file) { fs::remove(file); },
      [](const fs::path& file) { fs::resize_file(file, 0); },
      [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) / 2); },
      [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) * 3 + 1); },
      [](const fs::path& file) { fs::copy_file(SAMPLE_IMAGES "/tao.nrg", file, fs::copy_options::overwrite_existing); },
  };
  long failed = 0;
  for (const std::string& image : kSampleImages) {
    const std::string stem = image.substr(0, image.find('.') + 1);
    std::vector<Operation> operations = {ReadingImage(samples.Path(image))};
    if (!image.ends_with("bwt")) {
      operations.push_back(ReadingTrack(samples.Path(image)));
    }
    for (const auto change : kChanges) {
      FaultyFiles files([&, change] {
        for (const fs::path& file : samples.FilesOf(stem)) {
          change(file);
        }
        return 0;
      });
      for (const Operation& operation : operations) {
        failed += Sweep(operation, &files.points, Failure::Once, [&] { samples.Restore(stem); });
      }
    }
  }
  Tell("Changed", failed);
}

} // namespace
