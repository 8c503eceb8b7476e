// Names of metrics written and read.
#include "sparkplug/metric_name.h"

#include <protocol/utf8.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>

namespace qx5::sparkplug {

namespace {

constexpr std::array reservedBranches{LeaseBranch, DeviceControlBranch, NodeControlBranch, LinkBranch};

bool IsControl(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

bool IsCharacter(char32_t c)
{
    return c <= 0x10FFFF && !protocol::IsHighSurrogate(c) && !protocol::IsLowSurrogate(c);
}

void AppendEscaped(std::string& name, std::string_view bytes)
{
    for (char const byte : bytes) {
        fmt::format_to(std::back_inserter(name), "%{:02X}", static_cast<unsigned char>(byte));
    }
}

void AppendKey(std::string& name, std::wstring_view key)
{
    if (key.empty()) {
        name += "%{}";
        return;
    }
    for (std::size_t at = 0; at < key.size();) {
        auto const c = protocol::NextCodePoint(key, at);
        if (!IsCharacter(c)) {
            fmt::format_to(std::back_inserter(name), "%{{{:X}}}", static_cast<std::uint32_t>(c));
        } else if (c == U'%' || c == U'/' || c == U'[' || IsControl(c)) {
            std::string bytes;
            protocol::AppendUtf8(bytes, c);
            AppendEscaped(name, bytes);
        } else {
            protocol::AppendUtf8(name, c);
        }
    }
}

template <typename Number>
std::optional<Number> WholeNumber(std::string_view text, int base)
{
    Number number{};
    auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (problem != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

/// The occurrence that a level's end tells, and cuts that off; 0 when it tells none.
int TakeOccurrence(std::string_view& level)
{
    if (level.size() < 4 || level.back() != ']') {
        return 0;
    }
    auto const open = level.rfind('[');
    if (open == std::string_view::npos || open == 0) {
        return 0;
    }
    auto const digits = level.substr(open + 1, level.size() - open - 2);
    auto const number = WholeNumber<int>(digits, 10);
    if (!number || *number < 2 || digits.front() == '0') {
        return 0;
    }
    level = level.substr(0, open);
    return *number - 1;
}

/// What the escape at the beginning of `rest` stands for, whose length it takes off; false when it is none. Bytes of
/// UTF-8 are gathered in `bytes`; what is no character goes into the key at once, behind them.
bool TakeEscape(std::string_view& rest, std::string& bytes, std::wstring& key)
{
    if (rest.size() >= 3 && rest[1] == '{') {
        auto const end = rest.find('}');
        if (end == std::string_view::npos) {
            return false;
        }
        if (end == 2) {
            rest.remove_prefix(3);
            return true;
        }
        auto const number = WholeNumber<std::uint32_t>(rest.substr(2, end - 2), 16);
        if (!number) {
            return false;
        }
        key += protocol::DecodeUtf8(bytes);
        bytes.clear();
        protocol::AppendCodePoint(key, static_cast<char32_t>(*number));
        rest.remove_prefix(end + 1);
        return true;
    }
    if (rest.size() < 3) {
        return false;
    }
    auto const byte = WholeNumber<unsigned char>(rest.substr(1, 2), 16);
    if (!byte) {
        return false;
    }
    bytes += static_cast<char>(*byte);
    rest.remove_prefix(3);
    return true;
}

std::wstring KeyOf(std::string_view level)
{
    std::wstring key;
    std::string bytes;
    while (!level.empty()) {
        if (level.front() != '%' || !TakeEscape(level, bytes, key)) {
            bytes += level.front();
            level.remove_prefix(1);
        }
    }
    return key + protocol::DecodeUtf8(bytes);
}

} // namespace

void AppendLevel(std::string& name, std::wstring_view key, int occurrence, bool isAttribute)
{
    bool const isFirst = name.empty();
    if (!isFirst) {
        name += '/';
    }
    auto const begin = name.size();
    AppendKey(name, key);
    if (isAttribute && isFirst &&
        std::find(reservedBranches.begin(), reservedBranches.end(), name) != reservedBranches.end()) {
        std::string escaped;
        AppendEscaped(escaped, std::string_view(name).substr(0, 1));
        name.replace(begin, 1, escaped);
    }
    if (occurrence > 0) {
        fmt::format_to(std::back_inserter(name), "[{}]", occurrence + 1);
    }
}

std::vector<NameLevel> LevelsOfName(std::string_view name)
{
    std::vector<NameLevel> levels;
    for (;;) {
        auto const end = name.find('/');
        auto level = name.substr(0, end);
        int const occurrence = TakeOccurrence(level);
        levels.push_back({KeyOf(level), occurrence});
        if (end == std::string_view::npos) {
            return levels;
        }
        name.remove_prefix(end + 1);
    }
}

bool IsBelow(std::string_view name, std::string_view branch)
{
    return name.starts_with(branch) && (name.size() == branch.size() || name[branch.size()] == '/');
}

bool IsReserved(std::string_view name)
{
    return std::any_of(reservedBranches.begin(), reservedBranches.end(),
                       [&](std::string_view branch) { return IsBelow(name, branch); });
}

} // namespace qx5::sparkplug
