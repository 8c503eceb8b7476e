// Fuzzes what vessel and shore say to one another beside births and data: any bytes, and any topic, are refused in one
// line or are a message that is written again and read as the same.
#include "authority/shore_messages.h"
#include "authority/shore_topics.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace {

using namespace qx5::authority;

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

void RequireOneLine(std::string const& line)
{
    Require(!line.empty() && line.find('\n') == std::string::npos);
}

template <typename Message>
void ReadAndWrite(std::string_view bytes, std::optional<Message> (*decode)(std::string_view, std::string&))
{
    std::string error;
    auto const message = decode(bytes, error);
    if (!message) {
        RequireOneLine(error);
        return;
    }
    auto const written = Encode(*message, error);
    if (!written) {
        RequireOneLine(error);
        return;
    }
    // Held against each other as bytes: a NaN is not itself.
    auto const again = decode(*written, error);
    Require(again.has_value());
    Require(Encode(*again, error) == written);
}

void TakeTopicApart(std::string_view text)
{
    std::string error;
    auto const topic = ParseShoreTopic(text, error);
    if (!topic) {
        RequireOneLine(error);
        return;
    }
    Require(TopicText(*topic) == text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    std::string_view const bytes(reinterpret_cast<char const*>(data) + 1, size - 1);
    switch (data[0] % 9) {
    case 0:
        ReadAndWrite(bytes, DecodeRequest);
        break;
    case 1:
        ReadAndWrite(bytes, DecodeLease);
        break;
    case 2:
        ReadAndWrite(bytes, DecodeLook);
        break;
    case 3:
        ReadAndWrite(bytes, DecodeReply);
        break;
    case 4:
        ReadAndWrite(bytes, DecodeDetections);
        break;
    case 5:
        ReadAndWrite(bytes, DecodeHistory);
        break;
    case 6:
        ReadAndWrite(bytes, DecodeAcknowledgement);
        break;
    case 7:
        ReadAndWrite(bytes, DecodeHistoryContent);
        break;
    default:
        TakeTopicApart(bytes);
        break;
    }
    return 0;
}
