// Where a broker is, and who asks it: its URL, and the files of a certificate.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace qx5::broker {

struct BrokerAddress
{
    bool isSecure = true; ///< by TLS
    std::string host;     ///< a name, or a number of IPv4 or, without brackets, IPv6
    std::uint16_t port = 0;

    /// "mqtts://HOST:PORT".
    std::string Text() const;
    /// "HOST:PORT".
    std::string Place() const;
};

/// Takes mqtts://HOST[:PORT], port 8883 unless told, and mqtt://HOST[:PORT], port 1883, to this machine alone. Nothing,
/// and one line in `error`, for all else.
std::optional<BrokerAddress> ParseBrokerUrl(std::string_view url, std::string& error);

/// PEM files. Empty for none: then the system's authorities are trusted, and no name is told.
struct CertificateFiles
{
    std::filesystem::path authority;   ///< whom the broker's certificate must be from
    std::filesystem::path certificate; ///< who we are; its key is `key`
    std::filesystem::path key;
};

} // namespace qx5::broker
