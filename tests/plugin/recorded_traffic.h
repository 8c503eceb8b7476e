// A connection that keeps what a device sends, for tests.
#pragma once

#include "reference_host/common/sonar_traffic.h"

#include <cstdio>
#include <string>
#include <vector>

/// Lower-case hexadecimal digits without blanks.
inline std::string Hex(std::span<unsigned char const> bytes)
{
    std::string text;
    for (unsigned char const byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

/// Each send as one line: "remote 1003 00004842 to 0,-1".
class RecordedTraffic : public vordal::SonarTraffic
{
public:
    std::vector<std::string> lines;
    bool connected = true;

    bool SendRemoteControl(Sender const&, std::uint32_t recordId, std::span<unsigned char const> payload, int deviceId,
                           int enumerator) override
    {
        return Keep("remote", recordId, payload, deviceId, enumerator);
    }
    bool AskForRecord(Sender const&, std::uint32_t recordId, int deviceId, int enumerator) override
    {
        return Keep("ask", recordId, {}, deviceId, enumerator);
    }
    bool SendData(Sender const&, std::uint32_t recordId, std::span<unsigned char const> payload, double, int deviceId,
                  int enumerator) override
    {
        return Keep("record", recordId, payload, deviceId, enumerator);
    }
    bool SendRaw(Sender const&, std::string_view bytes, bool flag) override
    {
        lines.push_back("raw " + Hex({reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size()}) +
                        (flag ? " true" : " false"));
        return connected;
    }

private:
    bool Keep(std::string const& way, std::uint32_t recordId, std::span<unsigned char const> payload, int deviceId,
              int enumerator)
    {
        lines.push_back(way + " " + std::to_string(recordId) + " " + Hex(payload) + (payload.empty() ? "" : " ") +
                        "to " + std::to_string(deviceId) + "," + std::to_string(enumerator));
        return connected;
    }
};
