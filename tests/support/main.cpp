#include <gtest/gtest.h>

#include <stdlib.h>

#include "foundation/module.h"
#include "support/counting_environment.h"
#include "support/services.h"

namespace {

/// Fails each test that leaks memory, files or objects.
class LeakListener final : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& /*test*/) override {
    m_blocks = TestAllocator().Live();
    m_descriptors = OpenDescriptors();
    m_objects = Module().LockCount();
  }
  void OnTestEnd(const testing::TestInfo& /*test*/) override {
    EXPECT_EQ(m_blocks, TestAllocator().Live()) << "blocks of task memory leaked";
    EXPECT_EQ(m_descriptors, OpenDescriptors()) << "open files leaked";
    EXPECT_EQ(m_objects, Module().LockCount()) << "objects leaked";
  }

  long m_blocks = 0;
  int m_descriptors = 0;
  LONG m_objects = 0;
};

} // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  ::setenv("IMAGEFILE_REGISTRY", "/proc/none/registry.reg", 1); // Tests must not see the user's own registry.
  ProcessEnvironment().allocator = &TestAllocator();
  testing::UnitTest::GetInstance()->listeners().Append(new LeakListener);
  return RUN_ALL_TESTS();
}
