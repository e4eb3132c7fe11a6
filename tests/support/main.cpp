#include <gtest/gtest.h>

#include <stdlib.h>

#include <tuple>

#include "foundation/module.h"
#include "support/counting_environment.h"
#include "support/services.h"

namespace {

using Held = std::tuple<long, int, LONG>;

/// Returns the number of blocks of task memory, of open files and of objects.
Held Count() { return {TestAllocator().Live(), OpenDescriptors(), Module().LockCount()}; }

/// Fails each test that leaks memory, files or objects.
class LeakListener final : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& /*test*/) override { m_before = Count(); }
  void OnTestEnd(const testing::TestInfo& /*test*/) override {
    EXPECT_EQ(m_before, Count()) << "blocks of task memory, open files or objects leaked";
  }

  Held m_before;
};

} // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  ::setenv("IMAGEFILE_REGISTRY", "/proc/none/registry.reg", 1); // Tests must not see the user's own registry.
  ProcessEnvironment().allocator = &TestAllocator();
  testing::UnitTest::GetInstance()->listeners().Append(new LeakListener);
  return RUN_ALL_TESTS();
}
