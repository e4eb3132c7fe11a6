// Every operation while each of its allocations and file calls fails in turn, and on several threads at once.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <regex>
#include <thread>

#include "anomaly/operations.h"
#include "support/faulty_files.h"
#include "support/services.h"
#include "support/temporary_folder.h"

namespace {

namespace fs = std::filesystem;

/// Calls a function with each file of a folder whose name begins with `stem`.
template <class Call> void ForEachFile(const fs::path& folder, const std::string& stem, Call call) {
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().string().starts_with(stem)) {
      call(entry.path());
    }
  }
}

/// Returns the operations that read an image and, if it is not refused, its first track.
std::vector<Operation> Readings(const std::string& path) {
  std::vector<Operation> readings = {ReadingImage(path)};
  if (!path.ends_with(".bwt")) {
    readings.push_back(ReadingTrack(path));
  }
  return readings;
}

/// Copies the samples to a folder of its own, which the tests may change.
class Failures : public testing::Test {
protected:
  void SetUp() override { Restore(""); }
  void TearDown() override {
    std::cout << m_points << " failure points\n";
    EXPECT_GT(m_points, 0);
  }
  void Restore(const std::string& stem) const {
    ForEachFile(SAMPLE_IMAGES, stem, [this](const fs::path& file) {
      fs::copy_file(file, m_folder.Path(file.filename().string()), fs::copy_options::overwrite_existing);
    });
  }
  void SweepAll(FaultPoints* points, std::initializer_list<Failure> failures) {
    std::vector<Operation> operations = OtherOperations(m_folder.Path("album.cue"));
    for (const std::string& image : kSampleImages) {
      const std::vector<Operation> readings = Readings(m_folder.Path(image));
      operations.insert(operations.end(), readings.begin(), readings.end());
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

TEST_F(Failures, EveryAllocation) { SweepAll(&Memory().faults, {Failure::Once, Failure::AndAfter}); }

TEST_F(Failures, EveryFileCall) {
  for (const int error : {EIO, ENOENT}) {
    FaultyFiles files([=] { return error; });
    SweepAll(&files.points, {Failure::Once, Failure::AndAfter});
  }
}

/// A description that cannot be read to its end must not become a smaller disc, and a companion that cannot be looked
/// up must not be ignored. The type of the disc may differ: it depends on a sector that cannot be read.
TEST_F(Failures, DeviceErrorNeverShrinksADisc) {
  std::string native = m_folder.Read("native.zsi");
  m_folder.Write("native.zsi", native.insert(native.find("<SESSIONS>"), "<SUBFILE>native.sub</SUBFILE>"));
  m_folder.Write("native.sub", "");
  std::string sheet = "FILE \"album.bin\" BINARY\n"; // Longer than the buffer of a text file.
  for (int i = 1; i <= 20; ++i) {
    sheet += "TRACK " + std::to_string(i) + " AUDIO\nINDEX 01 00:00:" + std::to_string(i) + "\n";
    sheet += "REM " + std::string(2000, '-') + "\n";
  }
  m_folder.Write("long.cue", sheet);
  m_folder.Write("long.sub", "");
  const std::regex type("type \\d+");
  for (const char* image :
       {"long.cue", "cdplus.nrg", "tao.nrg", "sessions.ccd", "inline.mds", "dvd.mds", "native.zsi"}) {
    const Operation reading = ReadingImage(m_folder.Path(image));
    for (const bool andAfter : {false, true}) {
      FaultyFiles files([] { return EIO; });
      const std::string undisturbed = std::regex_replace(Perform(reading, &files.points).delivered, type, "");
      for (long point = 1; point == 1 || files.points.Reached(); ++point, ++m_points) {
        const Outcome outcome = Perform(reading, &files.points, point, andAfter);
        EXPECT_TRUE(outcome.result != S_OK || std::regex_replace(outcome.delivered, type, "") == undisturbed)
            << image << " at " << point << ": " << outcome.delivered;
      }
    }
  }
}

/// A signal interrupts each call in turn, and reads and writes transfer at most 2000 bytes.
TEST_F(Failures, InterruptedAndShortCallsChangeNothing) {
  FaultyFiles files([] { return EINTR; }, 2000);
  SweepAll(&files.points, {Failure::Harmless});
}

/// At each file call in turn, another program removes, empties, cuts, extends or overwrites the files of the image.
TEST_F(Failures, FilesMayChangeWhileRead) {
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
        ForEachFile(m_folder.Path(""), stem, change);
        return 0;
      });
      const auto restore = [&] { Restore(stem); };
      for (const Operation& reading : Readings(m_folder.Path(image))) {
        m_points += Sweep(reading, &files.points, Failure::Once, restore);
      }
    }
  }
}

/// Each thread reads with its own objects, from the same files, and shares references to one object with the others.
TEST(Threads, ReadTheSameImagesAtOnce) {
  FaultPoints none;
  std::vector<std::pair<Operation, std::string>> expected;
  for (const std::string& image : kSampleImages) {
    for (const Operation& reading : Readings(SAMPLE_IMAGES "/" + image)) {
      expected.emplace_back(reading, Perform(reading, &none).delivered);
    }
  }
  const ComPtr<IZSImageFile> shared = NewImageFileService();
  std::vector<std::jthread> threads;
  for (std::size_t thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::size_t i = 0; i < 3 * expected.size(); ++i) {
        const auto& [reading, delivered] = expected[(i + 5 * thread) % expected.size()];
        EXPECT_TRUE(delivered == Perform(reading, &none).delivered) << reading.image;
        for (int round = 0; round < 50; ++round) {
          ComPtr<IUnknown> identity;
          EXPECT_EQ(S_OK, shared->QueryInterface(IID_IUnknown, identity.ReceiveVoid()));
        }
      }
    });
  }
  threads.clear();
  shared->AddRef();
  EXPECT_EQ(1U, shared->Release());
}

} // namespace
