#include "platform/message_box.h"

#include <gtest/gtest.h>

TEST(MessageBox, GoesToStandardErrorWithoutAHost) {
  testing::internal::CaptureStderr();
  MessageBoxA("What went wrong", "Error", MB_ICONSTOP);
  EXPECT_EQ("Error: What went wrong\n", testing::internal::GetCapturedStderr());
}
