// What is said to whoever runs the process: one line each, whatever it tells of.
#include "platform/complaint.h"

#include <gtest/gtest.h>

namespace {

TEST(Complaint, IsOneLineWhateverANameHolds)
{
    ::testing::internal::CaptureStderr();
    qx5::platform::Complain("a\x01\x1F\n\x7F!~\xC3\xB6 z");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "QX5SonarConfiguration: a    !~\xC3\xB6 z\n");
}

} // namespace
