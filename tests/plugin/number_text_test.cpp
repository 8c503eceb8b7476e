// The number at the start of a text, against a table made by hand.
#include "handlers/number_text.h"

#include <clocale>
#include <cstdint>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace qx5 {

namespace {

using namespace std::string_view_literals;

struct Good
{
    std::wstring_view text;
    std::uint32_t number;
};

constexpr Good goodTexts[]{
    // Decimal.
    {L"0"sv, 0},
    {L"1"sv, 1},
    {L"9"sv, 9},
    {L"16"sv, 16},
    {L"70000"sv, 70000},
    {L"3232235521"sv, 3232235521},
    {L"2147483647"sv, 2147483647},
    {L"2147483648"sv, 2147483648},
    {L"4294967295"sv, 4294967295},
    // Hexadecimal.
    {L"0x10"sv, 16},
    {L"0X10"sv, 16},
    {L"0xff"sv, 255},
    {L"0xFF"sv, 255},
    {L"0xaBcD"sv, 43981},
    {L"0xC0A80001"sv, 3232235521},
    {L"0xffffffff"sv, 4294967295},
    {L"0x0000000000000000000001"sv, 1},
    // An x without a digit behind it: the number is the 0 in front.
    {L"0x"sv, 0},
    {L"0X"sv, 0},
    {L"0xg"sv, 0},
    {L"0x 1"sv, 0},
    {L"0x-1"sv, 0},
    {L"0x0x1"sv, 0},
    // Octal.
    {L"00"sv, 0},
    {L"020"sv, 16},
    {L"0777"sv, 511},
    {L"037777777777"sv, 4294967295},
    {L"00000000000000000000000017"sv, 15},
    {L"08"sv, 0},
    {L"09"sv, 0},
    {L"0189"sv, 1},
    // No other bases.
    {L"0b11"sv, 0},
    {L"0o7"sv, 0},
    // Signs.
    {L"+16"sv, 16},
    {L"+0x10"sv, 16},
    {L"+020"sv, 16},
    {L"-0"sv, 0},
    {L"-1"sv, 4294967295},
    {L"-16"sv, 4294967280},
    {L"-0x10"sv, 4294967280},
    {L"-020"sv, 4294967280},
    {L"-0xg"sv, 0},
    {L"-2147483648"sv, 2147483648},
    {L"-4294967295"sv, 1},
    {L"-0xffffffff"sv, 1},
    // White space in front.
    {L" 16"sv, 16},
    {L"\t\n\v\f\r 16"sv, 16},
    {L" \t-1"sv, 4294967295},
    {L"  0x10"sv, 16},
    // What follows the number.
    {L"192.168.0.1"sv, 192},
    {L"16 "sv, 16},
    {L"16 17"sv, 16},
    {L"16abc"sv, 16},
    {L"1e5"sv, 1},
    {L"1.5"sv, 1},
    {L"1,000"sv, 1},
    {L"1'000"sv, 1},
    {L"12-3"sv, 12},
    {L"0x1G"sv, 1},
    {L"16\u00e9"sv, 16},
    {L"5\uff11"sv, 5},
    {L"7\0008"sv, 7},
    {L"4294967295 999"sv, 4294967295},
};

constexpr std::wstring_view textsWithoutNumber[]{
    L""sv,         L" "sv,      L" \t\n\v\f\r"sv, L"abc"sv,       L"x10"sv,      L"g"sv,        L"ff"sv,
    L"+"sv,        L"-"sv,      L"--1"sv,         L"+-1"sv,       L"-+1"sv,      L"++1"sv,      L"- 1"sv,
    L"+ 1"sv,      L".5"sv,     L",1"sv,          L"#16"sv,       L"\u00a016"sv, L"\u200316"sv, L"\ufeff16"sv,
    L"\uff11"sv,   L"\u0661"sv, L"\0001"sv,       L"localhost"sv,
    L"\u008516"sv, // a line feed in some character sets, not in C
};

constexpr std::wstring_view textsBeyond32Bits[]{
    L"4294967296"sv,
    L"4294967300"sv,
    L"42949672950"sv,
    L"9999999999"sv,
    L"18446744073709551615"sv,
    L"18446744073709551616"sv,
    L"99999999999999999999999999999999999999"sv,
    L"0x100000000"sv,
    L"0xfffffffff"sv,
    L"0x10000000000000000"sv,
    L"040000000000"sv,
    L"0777777777777"sv,
    L"-4294967296"sv,
    L"-9999999999"sv,
    L"-0x100000000"sv,
    L"+4294967296"sv,
    L" 4294967296"sv,
    L"4294967296abc"sv,
};

std::string Shown(std::wstring_view text)
{
    std::string shown;
    for (wchar_t const character : text) {
        shown += character >= L' ' && character < 127 ? static_cast<char>(character) : '?';
    }
    return '"' + shown + '"';
}

void ExpectTheTable()
{
    for (Good const& good : goodTexts) {
        EXPECT_EQ(ParseUnsigned(good.text), good.number) << Shown(good.text);
    }
    for (std::wstring_view const text : textsWithoutNumber) {
        try {
            ADD_FAILURE() << Shown(text) << " gave " << ParseUnsigned(text);
        } catch (std::invalid_argument const& error) {
            EXPECT_STREQ(error.what(), "invalid stoul argument") << Shown(text);
        }
    }
    for (std::wstring_view const text : textsBeyond32Bits) {
        try {
            ADD_FAILURE() << Shown(text) << " gave " << ParseUnsigned(text);
        } catch (std::out_of_range const& error) {
            EXPECT_STREQ(error.what(), "stoul argument out of range") << Shown(text);
        }
    }
}

TEST(NumberText, IsReadAsTheTableSays)
{
    ExpectTheTable();
}

TEST(NumberText, DoesNotDependOnTheLocale)
{
    std::string const before = std::setlocale(LC_ALL, nullptr);
    for (char const* const name : {"C.UTF-8", "de_DE.UTF-8", "en_US.UTF-8", ""}) {
        std::setlocale(LC_ALL, name); // one that is not installed changes nothing
        ExpectTheTable();
    }
    std::setlocale(LC_ALL, before.c_str());
}

TEST(NumberText, MayBeVeryLong)
{
    EXPECT_EQ(ParseUnsigned(std::wstring(1000000, L' ') + L"42"), 42U);
    EXPECT_EQ(ParseUnsigned(std::wstring(1000000, L'0') + L"17"), 15U);
    EXPECT_THROW(ParseUnsigned(std::wstring(1000000, L'9')), std::out_of_range);
    EXPECT_THROW(ParseUnsigned(std::wstring(1000000, L' ')), std::invalid_argument);
}

} // namespace

} // namespace qx5
