// The base64 text of bytes.
#include <HalvaneX5InterfaceR/StringObfuscator.h>

#include <cstdint>
#include <string_view>

std::string StringObfuscator::Obfuscate(std::string const& bytes)
{
    constexpr std::string_view Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        auto const present = bytes.size() - at;
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            group = group << 8 | (i < present ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        }
        text += Alphabet[group >> 18];
        text += Alphabet[group >> 12 & 63U];
        text += present > 1 ? Alphabet[group >> 6 & 63U] : '=';
        text += present > 2 ? Alphabet[group & 63U] : '=';
    }
    return text;
}
