// The UTF-8 coder: one routine that takes a wide text apart, one that takes bytes apart.
#include <protocol/utf8.h>

#include <array>
#include <cstdint>

namespace qx5::protocol {

namespace {

constexpr std::uint32_t Replacement = 0xFFFD;

constexpr bool IsSurrogate(std::uint32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

/// Takes the code point at `at` and moves `at` past it.
std::uint32_t NextCodePoint(std::wstring_view text, std::size_t& at)
{
    auto const unit = static_cast<std::uint32_t>(text[at++]);
    if constexpr (sizeof(wchar_t) == 2) {
        if (unit >= 0xD800 && unit <= 0xDBFF && at < text.size()) {
            auto const low = static_cast<std::uint32_t>(text[at]);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                ++at;
                return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
            }
        }
    }
    return IsSurrogate(unit) || unit > 0x10FFFF ? Replacement : unit;
}

struct Sequence
{
    std::array<unsigned char, 4> bytes = {};
    std::size_t length = 0;
};

constexpr Sequence Encode(std::uint32_t codePoint)
{
    auto const byte = [](std::uint32_t bits) { return static_cast<unsigned char>(bits); };
    auto const trailing = [&](unsigned shift) { return byte(0x80U | ((codePoint >> shift) & 0x3FU)); };
    if (codePoint < 0x80)
        return {{byte(codePoint)}, 1};
    if (codePoint < 0x800)
        return {{byte(0xC0U | (codePoint >> 6)), trailing(0)}, 2};
    if (codePoint < 0x10000)
        return {{byte(0xE0U | (codePoint >> 12)), trailing(6), trailing(0)}, 3};
    return {{byte(0xF0U | (codePoint >> 18)), trailing(12), trailing(6), trailing(0)}, 4};
}

template <typename Sink>
void EncodeEach(std::wstring_view text, Sink&& sink)
{
    for (std::size_t at = 0; at < text.size();) {
        Sequence const sequence = Encode(NextCodePoint(text, at));
        if (!sink(std::span(sequence.bytes).first(sequence.length)))
            return;
    }
}

void AppendWide(std::wstring& text, std::uint32_t codePoint)
{
    if constexpr (sizeof(wchar_t) == 2) {
        if (codePoint >= 0x10000) {
            text += static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10));
            text += static_cast<wchar_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
            return;
        }
    }
    text += static_cast<wchar_t>(codePoint);
}

/// Length of the valid sequence at the start of `bytes` and its code point; length 0 when there is none.
std::size_t DecodeOne(std::span<unsigned char const> bytes, std::uint32_t& codePoint)
{
    unsigned const first = bytes[0];
    if (first < 0x80) {
        codePoint = first;
        return 1;
    }
    std::size_t length = 0;
    std::uint32_t least = 0;
    if (first >= 0xC2 && first <= 0xDF) {
        length = 2;
        least = 0x80;
        codePoint = first & 0x1FU;
    } else if (first >= 0xE0 && first <= 0xEF) {
        length = 3;
        least = 0x800;
        codePoint = first & 0x0FU;
    } else if (first >= 0xF0 && first <= 0xF4) {
        length = 4;
        least = 0x10000;
        codePoint = first & 0x07U;
    } else {
        return 0;
    }
    if (bytes.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((bytes[i] & 0xC0U) != 0x80)
            return 0;
        codePoint = (codePoint << 6) | (bytes[i] & 0x3FU);
    }
    return codePoint < least || codePoint > 0x10FFFF || IsSurrogate(codePoint) ? 0 : length;
}

} // namespace

std::string EncodeUtf8(std::wstring_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    EncodeEach(text, [&](std::span<unsigned char const> sequence) {
        for (unsigned char const byte : sequence)
            bytes += static_cast<char>(byte);
        return true;
    });
    return bytes;
}

std::size_t Utf8Length(std::wstring_view text)
{
    std::size_t length = 0;
    EncodeEach(text, [&](std::span<unsigned char const> sequence) {
        length += sequence.size();
        return true;
    });
    return length;
}

std::size_t EncodeUtf8Into(std::wstring_view text, std::span<unsigned char> bytes)
{
    std::size_t written = 0;
    EncodeEach(text, [&](std::span<unsigned char const> sequence) {
        for (unsigned char const byte : sequence) {
            if (written == bytes.size())
                return false;
            bytes[written++] = byte;
        }
        return true;
    });
    return written;
}

std::wstring DecodeUtf8(std::span<unsigned char const> bytes)
{
    std::wstring text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        std::uint32_t codePoint = 0;
        std::size_t const length = DecodeOne(bytes, codePoint);
        AppendWide(text, length == 0 ? Replacement : codePoint);
        bytes = bytes.subspan(length == 0 ? 1 : length);
    }
    return text;
}

std::wstring DecodeUtf8(std::string_view bytes)
{
    return DecodeUtf8(std::span(reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size()));
}

} // namespace qx5::protocol
