// Numbers as texts of the host's fields, independent of the locale.
#include "reference_host/common/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>

namespace vordal {
namespace {

template <typename... Format>
std::string NumberText(double value, Format... format)
{
    // The largest double has 309 digits before the point.
    std::array<char, 512> buffer{};
    auto const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format...).ptr;
    return std::string(buffer.data(), end);
}

constexpr bool IsDigit(wchar_t character)
{
    return character >= L'0' && character <= L'9';
}

constexpr bool IsSpace(wchar_t character)
{
    return character == L' ' || (character >= L'\t' && character <= L'\r');
}

/// A number taken apart: its text without sign, and what tells overflow from underflow.
struct Scanned
{
    std::string text;
    /// Power of ten of the first digit that is not 0, the exponent included; saturated.
    std::int64_t magnitude = 0;
    /// Of what was scanned, how much it takes.
    std::size_t length = 0;
};

/// Empty when the text begins with no number.
Scanned ScanUnsigned(std::wstring_view text)
{
    constexpr std::int64_t limit = 1'000'000'000;
    Scanned scanned;
    std::size_t at = 0;
    bool anyDigit = false;
    bool anyNonZero = false;
    auto const takeDigits = [&](bool fraction) {
        for (; at < text.size() && IsDigit(text[at]); ++at) {
            scanned.text += static_cast<char>(text[at]);
            anyDigit = true;
            if (!fraction && anyNonZero) {
                ++scanned.magnitude;
            } else if (fraction && !anyNonZero) {
                --scanned.magnitude;
            }
            anyNonZero = anyNonZero || text[at] != L'0';
        }
    };
    takeDigits(false);
    if (at < text.size() && text[at] == L'.') {
        scanned.text += '.';
        ++at;
        takeDigits(true);
    }
    if (!anyDigit) {
        return {};
    }
    scanned.length = at;
    if (at < text.size() && (text[at] == L'e' || text[at] == L'E')) {
        std::size_t from = at + 1;
        bool const negative = from < text.size() && text[from] == L'-';
        if (from < text.size() && (text[from] == L'-' || text[from] == L'+')) {
            ++from;
        }
        if (from < text.size() && IsDigit(text[from])) {
            std::int64_t exponent = 0;
            for (; from < text.size() && IsDigit(text[from]); ++from) {
                exponent = std::min(exponent * 10 + (text[from] - L'0'), limit);
            }
            exponent = negative ? -exponent : exponent;
            scanned.length = from;
            scanned.text += 'e' + std::to_string(exponent);
            scanned.magnitude += exponent;
        }
    }
    return scanned;
}

void SkipSpace(std::wstring_view& text)
{
    while (!text.empty() && IsSpace(text.front())) {
        text.remove_prefix(1);
    }
}

/// Takes the sign of a number; true for a minus.
bool TakeSign(std::wstring_view& text)
{
    bool const negative = !text.empty() && text.front() == L'-';
    if (!text.empty() && (text.front() == L'-' || text.front() == L'+')) {
        text.remove_prefix(1);
    }
    return negative;
}

} // namespace

std::string FixedNumberText(double value, int decimals)
{
    return NumberText(value, std::chars_format::fixed, decimals);
}

std::string ShortNumberText(double value)
{
    std::string text;
    for (int digits = 6; digits <= 17; ++digits) {
        text = NumberText(value, std::chars_format::general, digits);
        double back = 0.0;
        std::from_chars(text.data(), text.data() + text.size(), back);
        if (back == value) {
            break;
        }
    }
    return text;
}

double LeadingNumber(std::wstring_view text)
{
    SkipSpace(text);
    bool const negative = TakeSign(text);
    auto const scanned = ScanUnsigned(text);
    if (scanned.text.empty()) {
        return 0.0;
    }
    double value = 0.0;
    auto const result = std::from_chars(scanned.text.data(), scanned.text.data() + scanned.text.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        value = scanned.magnitude > 0 ? std::numeric_limits<double>::infinity() : 0.0;
    }
    return negative ? -value : value;
}

bool IsNumber(std::wstring_view text)
{
    SkipSpace(text);
    TakeSign(text);
    auto const length = ScanUnsigned(text).length;
    text.remove_prefix(length);
    SkipSpace(text);
    return length > 0 && text.empty();
}

} // namespace vordal
