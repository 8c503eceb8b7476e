// Sentences as the sounder speaks them: `$SDDBT,,f,12.3,M,,F*hh`, a line each, with a checksum.
#include "sentence.h"

#include <array>
#include <charconv>

namespace sounder {

namespace {

/// Two hexadecimal digits: all characters between `$` and `*`, added without carry.
std::string ChecksumOf(std::string_view body)
{
    unsigned sum = 0;
    for (char const c : body) {
        sum ^= static_cast<unsigned char>(c);
    }
    constexpr std::string_view digits = "0123456789ABCDEF";
    return {digits[sum >> 4], digits[sum & 0xFU]};
}

} // namespace

std::string MakeSentence(std::string_view body)
{
    return "$" + std::string(body) + "*" + ChecksumOf(body) + "\r\n";
}

std::optional<std::vector<std::string>> ParseSentence(std::string_view line)
{
    auto const star = line.find('*');
    if (line.empty() || line.front() != '$' || star == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view body = line.substr(1, star - 1);
    if (line.substr(star + 1) != ChecksumOf(body)) {
        return std::nullopt;
    }
    std::vector<std::string> fields;
    for (;;) {
        auto const comma = body.find(',');
        fields.emplace_back(body.substr(0, comma));
        if (comma == std::string_view::npos) {
            return fields;
        }
        body.remove_prefix(comma + 1);
    }
}

std::optional<double> NumberOf(std::string_view field)
{
    double number = 0.0;
    auto const* const end = field.data() + field.size();
    auto const result = std::from_chars(field.data(), end, number);
    return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

std::string TextOf(double number)
{
    std::array<char, 400> text{};
    auto const result = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, 2);
    return {text.data(), result.ptr};
}

} // namespace sounder
