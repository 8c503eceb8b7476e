// Host and port out of a text.
#include "operation/endpoint.h"

#include <charconv>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

namespace qx5::operation {

bool ParseEndpoint(std::string const& text, std::string& host, std::uint16_t& port, std::string& error)
{
    std::size_t const colon = text.rfind(':');
    std::string_view const number =
        colon == std::string::npos ? std::string_view() : std::string_view(text).substr(colon + 1);
    unsigned value = 0;
    auto const [end, problem] = std::from_chars(number.data(), number.data() + number.size(), value);
    host = text.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    }
    if (number.empty() || problem != std::errc() || end != number.data() + number.size() || value == 0 ||
        value > 65535 || host.empty()) {
        error = fmt::format("'{}' is no HOST:PORT; write for example 127.0.0.1:7000", text);
        return false;
    }
    port = static_cast<std::uint16_t>(value);
    return true;
}

} // namespace qx5::operation
