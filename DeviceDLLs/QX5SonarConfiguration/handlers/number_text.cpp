// How the text of a number becomes a number.
#include "number_text.h"

#include <cstddef>
#include <limits>
#include <stdexcept>

namespace qx5 {

namespace {

bool IsWhiteSpace(wchar_t character)
{
    return character == L' ' || (character >= L'\t' && character <= L'\r');
}

/// The digit's value; 16, which is no digit of any base here, for every other character.
std::uint32_t DigitOf(wchar_t character)
{
    if (character >= L'0' && character <= L'9') {
        return static_cast<std::uint32_t>(character - L'0');
    }
    if (character >= L'a' && character <= L'f') {
        return static_cast<std::uint32_t>(character - L'a') + 10;
    }
    if (character >= L'A' && character <= L'F') {
        return static_cast<std::uint32_t>(character - L'A') + 10;
    }
    return 16;
}

} // namespace

std::uint32_t ParseUnsigned(std::wstring_view text)
{
    // 0, which ends no number and begins none, stands for what lies beyond the text.
    std::size_t at = 0;
    auto const peek = [text](std::size_t index) { return index < text.size() ? text[index] : L'\0'; };

    while (IsWhiteSpace(peek(at))) {
        ++at;
    }
    bool const negative = peek(at) == L'-';
    if (negative || peek(at) == L'+') {
        ++at;
    }
    std::uint32_t base = 10;
    if (peek(at) == L'0') {
        // Without a hexadecimal digit behind it the x is not part of the number, which then is the 0.
        bool const hexadecimal = (peek(at + 1) == L'x' || peek(at + 1) == L'X') && DigitOf(peek(at + 2)) < 16;
        base = hexadecimal ? 16 : 8;
        at += hexadecimal ? 2 : 0;
    }
    if (DigitOf(peek(at)) >= base) {
        throw std::invalid_argument("invalid stoul argument");
    }
    std::uint32_t number = 0;
    for (; DigitOf(peek(at)) < base; ++at) {
        std::uint32_t const digit = DigitOf(peek(at));
        if (number > (std::numeric_limits<std::uint32_t>::max() - digit) / base) {
            throw std::out_of_range("stoul argument out of range");
        }
        number = number * base + digit;
    }
    return negative ? 0U - number : number;
}

} // namespace qx5
