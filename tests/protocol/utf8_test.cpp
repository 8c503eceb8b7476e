// UTF-8 at the borders of its sequence lengths, and what becomes of invalid input.
#include <gtest/gtest.h>

#include <protocol/utf8.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

std::vector<unsigned char> Encoded(std::wstring_view text)
{
    std::string const bytes = EncodeUtf8(text);
    return {bytes.begin(), bytes.end()};
}

std::wstring Decoded(std::string_view hex)
{
    return DecodeUtf8(Bytes(hex));
}

TEST(Utf8, EncodesTheBorders)
{
    EXPECT_EQ(Encoded(L"\x7F"), Bytes("7f"));
    EXPECT_EQ(Encoded(L"\u0080"), Bytes("c280"));
    EXPECT_EQ(Encoded(L"\u07FF"), Bytes("dfbf"));
    EXPECT_EQ(Encoded(L"\u0800"), Bytes("e0a080"));
    EXPECT_EQ(Encoded(L"\uFFFF"), Bytes("efbfbf"));
    EXPECT_EQ(Encoded(L"\U00010000"), Bytes("f0908080"));
    EXPECT_EQ(Encoded(L"\U0010FFFF"), Bytes("f48fbfbf"));
    EXPECT_EQ(Encoded(L""), Bytes(""));
    EXPECT_EQ(Utf8Length(L"a\u00B5\u20AC\U0001F600"), 10U);
}

TEST(Utf8, EncodesLoneSurrogatesAndImpossibleNumbersAsReplacement)
{
    EXPECT_EQ(Encoded(std::wstring{wchar_t{0xD800}}), Bytes("efbfbd"));
    EXPECT_EQ(Encoded(std::wstring{wchar_t{0xDFFF}}), Bytes("efbfbd"));
    if constexpr (sizeof(wchar_t) > 2) {
        EXPECT_EQ(Encoded(std::wstring{static_cast<wchar_t>(0x110000)}), Bytes("efbfbd"));
        EXPECT_EQ(Encoded(std::wstring{static_cast<wchar_t>(-1)}), Bytes("efbfbd"));
    }
}

TEST(Utf8, EncodesIntoAFieldAndCutsThere)
{
    std::vector<unsigned char> bytes(4);
    EXPECT_EQ(EncodeUtf8Into(L"ab\u20AC", bytes), 4U);
    EXPECT_EQ(bytes, Bytes("6162e282"));
    EXPECT_EQ(EncodeUtf8Into(L"x", {}), 0U);
}

TEST(Utf8, DecodesTheBorders)
{
    EXPECT_EQ(Decoded("7f"), L"\x7F");
    EXPECT_EQ(Decoded("c280"), L"\u0080");
    EXPECT_EQ(Decoded("dfbf"), L"\u07FF");
    EXPECT_EQ(Decoded("e0a080"), L"\u0800");
    EXPECT_EQ(Decoded("ed9fbf"), L"\uD7FF");
    EXPECT_EQ(Decoded("ee8080"), L"\uE000");
    EXPECT_EQ(Decoded("f0908080"), L"\U00010000");
    EXPECT_EQ(Decoded("f48fbfbf"), L"\U0010FFFF");
    EXPECT_EQ(Decoded("610062"), std::wstring(L"a\0b", 3));
}

TEST(Utf8, EachByteOutsideAValidSequenceIsOneReplacement)
{
    EXPECT_EQ(Decoded("80"), L"\uFFFD");
    EXPECT_EQ(Decoded("c0af"), L"\uFFFD\uFFFD"); // overlong
    EXPECT_EQ(Decoded("c1bf"), L"\uFFFD\uFFFD");
    EXPECT_EQ(Decoded("e09fbf"), L"\uFFFD\uFFFD\uFFFD"); // overlong
    EXPECT_EQ(Decoded("eda080"), L"\uFFFD\uFFFD\uFFFD"); // surrogate
    EXPECT_EQ(Decoded("f08fbfbf"), L"\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(Decoded("f4908080"), L"\uFFFD\uFFFD\uFFFD\uFFFD"); // beyond U+10FFFF
    EXPECT_EQ(Decoded("f5"), L"\uFFFD");
    EXPECT_EQ(Decoded("e282"), L"\uFFFD\uFFFD"); // cut off
    EXPECT_EQ(Decoded("e28241"), L"\uFFFD\uFFFD"
                                 L"A");
    EXPECT_EQ(Decoded("c2c2b5"), L"\uFFFD\u00B5");
    EXPECT_EQ(Decoded("ff41fe"), L"\uFFFD"
                                 L"A\uFFFD");
}

TEST(Utf8, FindsTheFirstInvalidByte)
{
    auto const place = [](std::string_view hex) {
        auto const bytes = Bytes(hex);
        return FindInvalidUtf8({reinterpret_cast<char const*>(bytes.data()), bytes.size()});
    };
    EXPECT_EQ(place(""), 0U);
    EXPECT_EQ(place("41c2b5f48fbfbf00"), 8U);
    EXPECT_EQ(place("41c2b5e282"), 3U); // cut off
    EXPECT_EQ(place("41c2b5e28241"), 3U);
    EXPECT_EQ(place("4180"), 1U);
    EXPECT_EQ(place("eda080"), 0U);
    EXPECT_EQ(place("efbfbff4908080"), 3U);
}

TEST(Utf8, AppendsOneCodePoint)
{
    std::string bytes = "a";
    for (char32_t const codePoint : {0x00U, 0x7FFU, 0xFFFEU, 0x10FFFFU, 0xD800U, 0xDFFFU, 0x110000U, 0xFFFFFFFFU}) {
        AppendUtf8(bytes, codePoint);
    }
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin(), bytes.end()),
              Bytes("6100dfbfefbfbef48fbfbfefbfbdefbfbdefbfbdefbfbd"));
}

TEST(Utf8, TakesAWideTextApartAndPutsItTogether)
{
    // What is no character keeps its number, alone or before one.
    std::wstring const text = std::wstring(L"a\U0001F600\U0010FFFF\uFFFF") + static_cast<wchar_t>(0xD800) + L"b" +
                              static_cast<wchar_t>(0xDC00);
    std::vector<char32_t> codePoints;
    std::wstring again;
    for (std::size_t at = 0; at < text.size();) {
        codePoints.push_back(NextCodePoint(text, at));
        AppendCodePoint(again, codePoints.back());
    }
    EXPECT_EQ(codePoints, (std::vector<char32_t>{U'a', 0x1F600, 0x10FFFF, 0xFFFF, 0xD800, U'b', 0xDC00}));
    EXPECT_EQ(again, text);
    EXPECT_EQ(CountCodePoints(text), 7U);
}

TEST(Utf8, FindsWhereACharacterStands)
{
    std::wstring const text = L"a\U0001F600b";
    EXPECT_EQ(CountCodePoints(text), 3U);
    EXPECT_EQ(FindCodePoint(text, 0), 0U);
    EXPECT_EQ(FindCodePoint(text, 1), 1U);
    EXPECT_EQ(text.substr(FindCodePoint(text, 2)), L"b");
    EXPECT_EQ(FindCodePoint(text, 3), text.size());
    EXPECT_EQ(FindCodePoint(text, 4), text.size());
    EXPECT_EQ(CountCodePoints(L""), 0U);
    EXPECT_EQ(FindCodePoint(L"", 1), 0U);
}

} // namespace

} // namespace qx5::protocol::test
