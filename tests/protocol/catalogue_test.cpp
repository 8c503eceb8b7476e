// Look-ups of records and keys.
#include <vector>

#include <gtest/gtest.h>

#include <protocol/catalogue.h>
#include <protocol/record_table.h>
#include <protocol/records/basic.h>

namespace qx5::protocol::test {

namespace {

TEST(Catalogue, FindsARecordByCarrierAndId)
{
    RecordLayout const* const range = FindLayout(Carrier::RemoteControl, 1003);
    ASSERT_NE(range, nullptr);
    EXPECT_EQ(range->name, "range");
    EXPECT_EQ(range->fields.front().key, &keys::x5Range);
    EXPECT_EQ(FindLayout(Carrier::Data, 1003), nullptr);
    EXPECT_NE(FindLayout(Carrier::Data, 7611), nullptr);
    EXPECT_EQ(FindLayout(Carrier::RemoteControl, 7611), nullptr);
    EXPECT_EQ(FindLayout(Carrier::RemoteControl, 4711), nullptr);
    EXPECT_EQ(FindLayout(Carrier::RemoteControl, 1003, 17), range);
    EXPECT_EQ(FindLayout(Carrier::RemoteControl, 1003, 4), range);
    EXPECT_EQ(FindLayout(Carrier::PassThrough, 1003, 4), range);
    EXPECT_EQ(FindLayout(Carrier::PassThrough, 4711, 4), nullptr);
}

TEST(Catalogue, FindsTheFormWhoseConstantsAPayloadCarries)
{
    auto const nameOf = [](std::vector<unsigned char> const& payload) {
        return FindLayout(Carrier::RemoteControl, 10014, payload)->name;
    };
    EXPECT_EQ(nameOf({1, 0, 0, 0, 0, 0, 0, 0}), "range tweak");
    EXPECT_EQ(nameOf({2, 0, 0, 0, 0, 0, 0, 0}), "gain tweak");
    EXPECT_EQ(nameOf({5, 0, 0, 0, 0, 0, 0, 0}), "pulse length tweak");
    EXPECT_EQ(nameOf({6, 0, 0, 0, 0, 0, 0, 0}), "power tweak");
    // A payload that is none of them, or cut, still has a form to be read by.
    EXPECT_EQ(nameOf({9, 0, 0, 0, 0, 0, 0, 0}), "gain tweak");
    EXPECT_EQ(nameOf({}), "gain tweak");
    std::vector<unsigned char> const nothing;
    EXPECT_EQ(FindLayout(Carrier::RemoteControl, 4711, nothing), nullptr);
}

TEST(Catalogue, FindsAKeyByItsText)
{
    EXPECT_EQ(FindKey(L"x5Range"), &keys::x5Range);
    EXPECT_EQ(FindKey(L"DeviceEnum"), &keys::DeviceEnum);
    EXPECT_EQ(FindKey(L"x5range"), nullptr);
    EXPECT_EQ(FindKey(L""), nullptr);
    EXPECT_EQ(FindKey(L"zzz"), nullptr);
}

TEST(Catalogue, EveryKeyIsFoundAndExplained)
{
    EXPECT_FALSE(AllKeys().empty());
    for (Key const* const key : AllKeys()) {
        EXPECT_EQ(FindKey(key->text), key);
        EXPECT_FALSE(key->meaning.empty());
    }
}

TEST(Catalogue, EveryLayoutIsSoundAndNamed)
{
    for (RecordLayout const& layout : AllLayouts()) {
        EXPECT_EQ(LintRecord(layout), LayoutError::None) << layout.id;
        EXPECT_FALSE(layout.name.empty()) << layout.id;
        RecordLayout const* const found = FindLayout(layout.carrier, layout.id, layout.size);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found->size, layout.size) << layout.id;
    }
}

} // namespace

} // namespace qx5::protocol::test
