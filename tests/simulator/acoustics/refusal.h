// What the acoustics say to values that they do not take.
#pragma once

#include <limits>
#include <string>
#include <vector>

#include <simulator/acoustics/result.h>

#include <gmock/gmock.h>

namespace qx5::acoustics::test {

/// What no quantity may be.
inline std::vector<double> const NotFinite{std::numeric_limits<double>::infinity(),
                                           -std::numeric_limits<double>::infinity(),
                                           std::numeric_limits<double>::quiet_NaN()};

/// There is no value, and the reason is one line that begins with the quantity.
template <typename Value>
void ExpectRefused(Result<Value> const& result, std::string const& quantity)
{
    EXPECT_FALSE(result) << quantity;
    EXPECT_THAT(result.WhyNot().line, ::testing::StartsWith(quantity + " "));
    EXPECT_EQ(result.WhyNot().line.find('\n'), std::string::npos);
}

} // namespace qx5::acoustics::test
