// The records of the positioning unit that the general round trip does not show in full: the text and the constant bit.
#include <string>

#include <gtest/gtest.h>

#include "hex.h"
#include <protocol/pack.h>
#include <protocol/records/positioning.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

namespace qx5::protocol::test {

namespace {

TEST(PositioningXml, TextsGoThereAndBack)
{
    for (std::wstring const& xml : {std::wstring(), std::wstring(L"<a/>"), std::wstring(L"<a n=\"\u00e6\u6c34\"/>"),
                                    std::wstring(2000, L'\u00f8')}) {
        std::string const utf8 = EncodeUtf8(xml);
        Payload payload(records::PositioningXml.Size() + utf8.size());
        ASSERT_TRUE(PackField(records::PositioningXmlLength, static_cast<std::uint32_t>(utf8.size()), payload));
        EncodeUtf8Into(xml, payload.Bytes().subspan(records::PositioningXml.Size()));

        auto const record = Unpack(records::PositioningXml, payload);
        ASSERT_EQ(record.fields.size(), 2U);
        EXPECT_EQ(record.fields[0].wire, Value(0.0));
        EXPECT_EQ(record.fields[1].wire, Value(static_cast<std::uint32_t>(utf8.size())));
        EXPECT_EQ(record.tail, Value(xml));
        EXPECT_EQ(record.excessBytes, 0U);
    }
}

TEST(PositioningXml, ATextCutInsideOfACharacterIsRead)
{
    auto const record = Unpack(records::PositioningXml, Bytes("00 00 00 00 00 00 00 00  03 00 00 00  61 c3 a6 c3"));
    EXPECT_EQ(record.tail, Value(std::wstring(L"a\u00e6\ufffd")));
}

TEST(PositioningNtrip, TheFirstFlagIsAlwaysSet)
{
    Payload payload(records::PositioningNtrip.Size());
    PackConstants(records::PositioningNtrip, payload);
    std::vector<unsigned char> expected(232);
    expected[226] = 1;
    EXPECT_EQ(Copy(payload.Bytes()), expected);
}

} // namespace

} // namespace qx5::protocol::test
