// Number literals of JSON.
#include "json_number.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace qx5 {

namespace {

/// Whether a literal that std::from_chars found out of range is too large rather than too small.
bool IsOverflow(std::string_view literal)
{
    // The place of the first digit that is not 0 (1 for units, 0 for tenths), shifted by the exponent.
    long long place = 0;
    bool seenDigit = false;
    bool afterPoint = false;
    std::size_t i = 0;
    for (; i < literal.size() && literal[i] != 'e' && literal[i] != 'E'; ++i) {
        char const c = literal[i];
        if (c == '.') {
            afterPoint = true;
        } else if (c != '-') {
            seenDigit = seenDigit || c != '0';
            if (!afterPoint && seenDigit) {
                ++place;
            } else if (afterPoint && !seenDigit) {
                --place;
            }
        }
    }
    if (!seenDigit) {
        return false;
    }
    if (i == literal.size()) {
        return place > 0;
    }
    bool const negative = literal[i + 1] == '-';
    auto const digits = literal.substr(i + ((negative || literal[i + 1] == '+') ? 2 : 1));
    long long exponent = 0;
    auto const parsed = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    if (parsed.ec != std::errc()) {
        return !negative;
    }
    return place > (negative ? exponent : -exponent);
}

} // namespace

bool IsIntegerLiteral(std::string_view literal)
{
    return literal.find_first_of(".eE") == std::string_view::npos;
}

bool ReadIntegerLiteral(std::string_view literal, std::int64_t& value)
{
    std::int64_t parsed = 0;
    auto const* const end = literal.data() + literal.size();
    auto const result = std::from_chars(literal.data(), end, parsed);
    if (result.ec != std::errc() || result.ptr != end) {
        return false;
    }
    value = parsed;
    return true;
}

bool ReadNumberLiteral(std::string_view literal, double& value)
{
    double parsed = 0.0;
    auto const* const end = literal.data() + literal.size();
    auto const result = std::from_chars(literal.data(), end, parsed);
    if (result.ec == std::errc::result_out_of_range) {
        if (IsOverflow(literal)) {
            return false;
        }
        parsed = literal.front() == '-' ? -0.0 : 0.0;
    } else if (result.ec != std::errc() || result.ptr != end) {
        return false;
    }
    value = parsed;
    return true;
}

bool IsBeyondDouble(std::string_view literal)
{
    // One of few digits and without an exponent cannot be.
    bool const mayBe = literal.size() > 300 || literal.find_first_of("eE") != std::string_view::npos;
    double ignored = 0.0;
    return mayBe && !ReadNumberLiteral(literal, ignored);
}

} // namespace qx5
