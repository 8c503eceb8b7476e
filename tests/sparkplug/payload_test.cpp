// Payloads as bytes: written by hand, damaged, and beyond their limits.
#include "sparkplug/payload.h"

#include "hex_bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::test {
namespace {

using namespace sparkplug;
using ::testing::HasSubstr;

Metric Named(std::string name, DataType type, WireValue value)
{
    Metric metric;
    metric.name = std::move(name);
    metric.type = type;
    metric.value = std::move(value);
    return metric;
}

/// Encodes to these bytes, and these bytes decode to it.
void ExpectBytes(Payload const& payload, std::string_view hex)
{
    std::string error;
    auto const encoded = EncodePayload(payload, error);
    ASSERT_TRUE(encoded) << error;
    EXPECT_EQ(Hex(*encoded), Hex(Bytes(hex)));
    auto const decoded = DecodePayload(Bytes(hex), error);
    ASSERT_TRUE(decoded) << error;
    EXPECT_EQ(*decoded, payload);
}

std::string WhyRefused(std::string_view bytes)
{
    std::string error;
    EXPECT_FALSE(DecodePayload(bytes, error));
    EXPECT_EQ(error.find('\n'), std::string::npos);
    return error;
}

/// A field of that number that holds a message, a text or bytes.
std::string Field(unsigned number, std::string const& content)
{
    std::string bytes(1, static_cast<char>(number << 3U | 2U));
    auto size = content.size();
    while (size > 127) {
        bytes += static_cast<char>(0x80U | (size & 0x7FU));
        size >>= 7U;
    }
    return bytes + static_cast<char>(size) + content;
}

TEST(Payload, OfADeath)
{
    Payload payload;
    payload.timestamp = 1;
    payload.metrics.push_back(Named("bdSeq", DataType::Int64, std::uint64_t{5}));
    payload.metrics[0].timestamp = 1;
    ExpectBytes(payload, "08 01  12 0d  0a 05 62 64 53 65 71  18 01  20 04  58 05");
}

TEST(Payload, OfAChangeByItsAlias)
{
    Payload payload;
    payload.timestamp = 300;
    payload.seq = 255;
    auto& metric = payload.metrics.emplace_back(Named("", DataType::Double, 50.0));
    metric.alias = 7;
    metric.timestamp = 300;
    ExpectBytes(payload, "08 ac 02  12 10  10 07  18 ac 02  20 0a  69 00 00 00 00 00 00 49 40  18 ff 01");
}

TEST(Payload, OfABirthWithProperties)
{
    Payload payload;
    payload.seq = 0;
    auto& metric = payload.metrics.emplace_back(
        Named("a", DataType::DoubleArray,
              std::vector<unsigned char>{0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0, 0, 0, 0, 0, 0, 0, 0xC0}));
    metric.alias = 1;
    metric.properties.push_back({"kind", DataType::String, std::string("pair")});
    ExpectBytes(payload, "12 2c  0a 01 61  10 01  20 1f"
                         "4a 10  0a 04 6b 69 6e 64  12 08 08 0c 42 04 70 61 69 72"
                         "82 01 10  00 00 00 00 00 00 f0 3f  00 00 00 00 00 00 00 c0"
                         "18 00");
}

TEST(Payload, OfEachFormOfAValue)
{
    Payload payload;
    payload.metrics = {Named("i", DataType::Int32, std::uint32_t{0xFFFFFFFF}), Named("f", DataType::Float, 0.5F),
                       Named("b", DataType::Boolean, true), Named("s", DataType::String, std::string("\xC3\xA9")),
                       Named("n", DataType::String, std::monostate())};
    payload.metrics[1].isHistorical = true;
    payload.metrics[2].isTransient = true;
    ExpectBytes(payload, "12 0b  0a 01 69  20 03  50 ff ff ff ff 0f"
                         "12 0c  0a 01 66  20 09  28 01  65 00 00 00 3f"
                         "12 09  0a 01 62  20 0b  30 01  70 01"
                         "12 09  0a 01 73  20 0c  7a 02 c3 a9"
                         "12 07  0a 01 6e  20 0c  38 01");
}

TEST(Payload, OfNothing)
{
    ExpectBytes(Payload(), "");
}

TEST(Payload, OfUuidAndBody)
{
    Payload payload;
    payload.uuid = "u";
    payload.body = {0, 255};
    ExpectBytes(payload, "22 01 75  2a 02 00 ff");
}

TEST(Payload, KeepsOfADataSetThatThereIsOne)
{
    std::string error;
    auto const payload = DecodePayload(Bytes("12 0a  0a 01 64  20 10  8a 01 02 08 01"), error);
    ASSERT_TRUE(payload) << error;
    EXPECT_EQ(payload->metrics.at(0), Named("d", DataType::DataSet, ForeignValue()));
}

TEST(Payload, SkipsFieldsThatItDoesNotKnow)
{
    std::string error;
    // Field 6, an extension, and field 20 of a metric.
    auto const payload = DecodePayload(Bytes("32 02 01 02  12 07  0a 01 78  a2 01 01 00  18 03"), error);
    ASSERT_TRUE(payload) << error;
    EXPECT_EQ(payload->seq, 3U);
    EXPECT_EQ(payload->metrics.at(0).name, "x");
}

TEST(Payload, RefusesWhatIsTooLongBeforeItLooks)
{
    EXPECT_EQ(WhyRefused(std::string(PayloadLimit + 1, '\xFF')),
              "a payload of 4194305 bytes is refused; it may have 4194304");
    EXPECT_EQ(WhyRefused(std::string(100'000'000, '\0')),
              "a payload of 100000000 bytes is refused; it may have 4194304");
}

TEST(Payload, RefusesTooManyItems)
{
    std::string metrics;
    for (std::size_t i = 0; i < ItemLimit; ++i) {
        metrics += Field(2, "");
    }
    std::string error;
    EXPECT_TRUE(DecodePayload(metrics, error)) << error;
    EXPECT_EQ(WhyRefused(metrics + Field(2, "")), "a payload of more than 262144 metrics and properties is refused");

    std::string keys;
    for (std::size_t i = 0; i < ItemLimit; ++i) {
        keys += Field(1, "");
    }
    EXPECT_EQ(WhyRefused(Field(2, Field(9, keys))), "a payload of more than 262144 metrics and properties is refused");

    Payload payload;
    payload.metrics.resize(ItemLimit + 1);
    EXPECT_FALSE(EncodePayload(payload, error));
    EXPECT_EQ(error, "a payload of more than 262144 metrics and properties is refused");
    payload.metrics.resize(1);
    payload.metrics[0].value = std::string(PayloadLimit, 'x');
    EXPECT_FALSE(EncodePayload(payload, error));
    EXPECT_THAT(error, HasSubstr("it may have 4194304"));
}

TEST(Payload, RefusesWhatIsNone)
{
    EXPECT_EQ(WhyRefused("GET / HTTP/1.1\r\n"), "16 bytes are no Sparkplug payload");
    EXPECT_EQ(WhyRefused(Bytes("12 05 0a 01 61")), "5 bytes are no Sparkplug payload"); // ends too early
    EXPECT_EQ(WhyRefused(Bytes("0b 0c")), "2 bytes are no Sparkplug payload");          // a group
    EXPECT_EQ(WhyRefused(Bytes("08 ff ff ff ff ff ff ff ff ff ff 01")), "12 bytes are no Sparkplug payload");
    EXPECT_EQ(WhyRefused(Bytes("12 03 0a 01 ff")), "metric 1 of the payload has a name that is no UTF-8");
    EXPECT_EQ(WhyRefused(Bytes("12 05 4a 03 0a 01 61")),
              "metric 1 of the payload has 1 keys of properties and 0 values");
    EXPECT_EQ(WhyRefused(Bytes("12 07 4a 05 0a 01 fe 12 00")),
              "metric 1 of the payload has a property whose key is no UTF-8");
}

TEST(Payload, IsReadOrRefusedHoweverItIsDamaged)
{
    auto const sound = Bytes("08 01 12 2c  0a 01 61  10 01  20 1f"
                             "4a 10  0a 04 6b 69 6e 64  12 08 08 0c 42 04 70 61 69 72"
                             "82 01 10  00 00 00 00 00 00 f0 3f  00 00 00 00 00 00 00 c0"
                             "18 00");
    std::string error;
    ASSERT_TRUE(DecodePayload(sound, error)) << error;
    std::size_t refused = 0;
    for (std::size_t at = 0; at < sound.size(); ++at) {
        error.clear();
        if (!DecodePayload(sound.substr(0, at), error)) {
            ++refused;
            EXPECT_FALSE(error.empty());
        }
        for (int byte = 0; byte < 256; ++byte) {
            auto damaged = sound;
            damaged[at] = static_cast<char>(byte);
            error.clear();
            bool const isRead = DecodePayload(damaged, error).has_value();
            EXPECT_EQ(isRead, error.empty()) << at << " " << byte << " " << error;
        }
    }
    EXPECT_GT(refused, sound.size() / 2);
}

} // namespace
} // namespace qx5::test
