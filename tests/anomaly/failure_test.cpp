// Every allocation and every call of the file layer fails in turn, in every operation.
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>

#include "anomaly/faulty_files.h"
#include "anomaly/operations.h"
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
  FaultPoints& points = Memory().faults;
  long failed = 0;
  for (const Operation& operation : samples.Operations()) {
    for (const bool andAfter : {false, true}) {
      failed += Sweep(
          operation, [&](long point) { points.Start(point, andAfter); },
          [&] {
            points.Stop();
            return points.Reached();
          });
    }
  }
  Tell("Memory", failed);
}

TEST(Failures, OfFilesEndInACode) {
  const Samples samples;
  long failed = 0;
  for (const Operation& operation : samples.Operations()) {
    for (const int error : {EIO, ENOENT}) {
      for (const bool andAfter : {false, true}) {
        FaultyFiles files([=] { return error; });
        failed += Sweep(
            operation, [&](long point) { files.points.Start(point, andAfter); },
            [&] {
              files.points.Stop();
              return files.points.Reached();
            });
      }
    }
  }
  Tell("Files", failed);
}

/// Calls that a signal interrupts, and reads and writes that move less than was asked for, change nothing.
TEST(Failures, ThatAreNoneChangeNothing) {
  const Samples samples;
  long failed = 0;
  for (const Operation& operation : samples.Operations()) {
    const Outcome good = operation.run([](const auto& call) { return call(); });
    bool met = true;
    for (long point = 1; met; ++point) {
      FaultyFiles files([] { return EINTR; }, 2000);
      const Outcome outcome = operation.run([&](const auto& call) {
        files.points.Start(point);
        const HRESULT result = call();
        files.points.Stop();
        met = files.points.Reached();
        return result;
      });
      ASSERT_EQ(good.result, outcome.result) << operation.name << " at " << point;
      ASSERT_TRUE(good.told == outcome.told) << operation.name << " at " << point;
      failed += met ? 1 : 0;
    }
  }
  Tell("Interrupted", failed);
}

/// At each call of the file layer somebody else removes, empties, cuts or overwrites the files of the image.
TEST(Failures, OfImagesThatChangeUnderTheReaderEndInACode) {
  const Samples samples;
  const std::pair<const char*, void (*)(const fs::path&)> kChanges[] = {
      {"removed", [](const fs::path& file) { fs::remove(file); }},
      {"emptied", [](const fs::path& file) { fs::resize_file(file, 0); }},
      {"cut", [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) / 2); }},
      {"grown", [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) * 3 + 1); }},
      {"replaced",
       [](const fs::path& file) {
         fs::copy_file(SAMPLE_IMAGES "/tao.nrg", file, fs::copy_options::overwrite_existing);
       }},
  };
  long failed = 0;
  for (const std::string& image : kSampleImages) {
    const std::string stem = image.substr(0, image.find('.') + 1);
    for (const auto& [what, change] : kChanges) {
      SCOPED_TRACE(what);
      FaultyFiles files([&samples, &stem, change = change] {
        for (const fs::directory_entry& entry : fs::directory_iterator(fs::path(samples.Path(stem)).parent_path())) {
          if (entry.path().filename().string().starts_with(stem)) {
            change(entry.path());
          }
        }
        return 0;
      });
      for (const bool track : {false, true}) {
        if (track && image.ends_with("bwt")) {
          continue;
        }
        failed += Sweep(
            track ? ReadingTrack(samples.Path(image)) : ReadingImage(samples.Path(image)),
            [&](long point) { files.points.Start(point); },
            [&] {
              files.points.Stop();
              return files.points.Reached();
            },
            [&] { samples.Restore(stem); });
      }
    }
  }
  Tell("Changed", failed);
}

} // namespace
