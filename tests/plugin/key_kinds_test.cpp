// Values of keys on their way from a request into an echo, where no record carries such a kind yet.
#include "DeviceDLLs/QX5SonarConfiguration/handlers/echo_map.h"
#include "DeviceDLLs/QX5SonarConfiguration/handlers/reading.h"

#include <gtest/gtest.h>

namespace {

using qx5::protocol::Key;
using qx5::protocol::Kind;
using qx5::protocol::Value;

constexpr Key LengthKey{L"test length", Kind::Int64};
constexpr AttributeKey LengthAttribute{LengthKey.text};

TEST(KeyKinds, WholeNumbersOf64BitsAreReadAndTold)
{
    CAttributeMap request;
    request.Add(LengthAttribute, CVordalInt64(-5000000000), 0);
    Value value;
    ASSERT_TRUE(qx5::ReadKey(request, LengthKey, LengthAttribute, value));
    EXPECT_EQ(value, Value(std::int64_t{-5000000000}));

    qx5::EchoMap echo;
    echo.TellValue(LengthAttribute, value);
    std::int64_t told = 0;
    EXPECT_TRUE(echo.Tree().FindValue(LengthAttribute, 0).Get(told));
    EXPECT_EQ(told, -5000000000);
}

TEST(KeyKinds, NoOtherKindIsTakenForIt)
{
    CAttributeMap request;
    request.Add(LengthAttribute, CVordalInt(5), 0);
    Value value;
    EXPECT_FALSE(qx5::ReadKey(request, LengthKey, LengthAttribute, value));
    EXPECT_TRUE(qx5::protocol::IsEmpty(value));
}

} // namespace
