#include "platform/message_box.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/environment.h"

namespace {

TEST(MessageBox, GoesToTheHostOrToStandardError) {
  class Handler final : public MessageHandler {
  public:
    void Show(std::string_view text, std::string_view caption, UINT type) noexcept override {
      m_shown = std::string(text) + "|" + std::string(caption) + "|" + std::to_string(type);
    }
    std::string m_shown;
  } handler;
  testing::internal::CaptureStderr();
  MessageBoxA("What went wrong", "Error", MB_ICONSTOP);
  EXPECT_EQ("Error: What went wrong\n", testing::internal::GetCapturedStderr());

  testing::internal::CaptureStderr();
  ProcessEnvironment().messages = &handler;
  MessageBoxA("What went wrong", "Error", MB_ICONSTOP);
  ProcessEnvironment().messages = nullptr;
  EXPECT_EQ("What went wrong|Error|16", handler.m_shown);
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

} // namespace
