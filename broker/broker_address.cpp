// URLs of brokers taken apart.
#include "broker/broker_address.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace qx5::broker {

namespace {

constexpr std::string_view securely = "mqtts://";
constexpr std::string_view plainly = "mqtt://";

bool IsThisMachine(std::string_view host)
{
    bool const isNumber = host.find_first_not_of("0123456789.") == std::string_view::npos;
    return host == "localhost" || host == "::1" || (isNumber && host.starts_with("127."));
}

bool IsHost(std::string_view host)
{
    return !host.empty() && host.size() <= 255 && std::all_of(host.begin(), host.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-' ||
               c == '_' || c == ':';
    });
}

} // namespace

std::string BrokerAddress::Place() const
{
    return host.find(':') == std::string::npos ? fmt::format("{}:{}", host, port) : fmt::format("[{}]:{}", host, port);
}

std::string BrokerAddress::Text() const
{
    return std::string(isSecure ? securely : plainly) + Place();
}

std::optional<BrokerAddress> ParseBrokerUrl(std::string_view url, std::string& error)
{
    auto const refuse = [&](std::string_view why) {
        error = fmt::format("{} is no broker: {}", url, why);
        return std::nullopt;
    };
    BrokerAddress address;
    auto rest = url;
    if (rest.starts_with(securely)) {
        rest.remove_prefix(securely.size());
        address.port = 8883;
    } else if (rest.starts_with(plainly)) {
        rest.remove_prefix(plainly.size());
        address.isSecure = false;
        address.port = 1883;
    } else {
        return refuse("it begins neither with mqtts:// nor with mqtt://");
    }
    auto host = rest;
    std::optional<std::string_view> port;
    if (rest.starts_with('[')) {
        auto const end = rest.find(']');
        if (end == std::string_view::npos) {
            return refuse("a [ lacks its ]");
        }
        host = rest.substr(1, end - 1);
        rest.remove_prefix(end + 1);
        if (!rest.empty()) {
            if (rest.front() != ':') {
                return refuse("behind the host stands :PORT or nothing");
            }
            port = rest.substr(1);
        }
    } else if (auto const colon = rest.find(':'); colon != std::string_view::npos) {
        host = rest.substr(0, colon);
        port = rest.substr(colon + 1);
    }
    if (!IsHost(host)) {
        return refuse("behind mqtts:// stands HOST:PORT and nothing else");
    }
    if (port) {
        auto const [end, problem] = std::from_chars(port->data(), port->data() + port->size(), address.port);
        if (problem != std::errc() || end != port->data() + port->size() || address.port == 0) {
            return refuse("its port is no number from 1 to 65535");
        }
    }
    address.host = host;
    if (!address.isSecure && !IsThisMachine(host)) {
        return refuse("mqtt:// goes to this machine alone, all others take mqtts://");
    }
    return address;
}

} // namespace qx5::broker
