// Every record of the catalogue: random values packed, unpacked and compared.
#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include <protocol/catalogue.h>
#include <protocol/numbers.h>
#include <protocol/pack.h>
#include <protocol/unpack.h>

namespace qx5::protocol::test {

namespace {

class RandomValues
{
public:
    std::uint32_t Below(std::uint64_t limit)
    {
        return static_cast<std::uint32_t>(std::uniform_int_distribution<std::uint64_t>(0, limit - 1)(m_random));
    }

    /// A value that survives its field: no bits lost, reals that a float holds.
    Value Fitting(Field const& field)
    {
        switch (field.wire) {
        case Wire::F32:
        case Wire::F64:
            if (field.convert == Convert::FifthOfFloat) {
                return static_cast<std::int32_t>(Below(2000)) - 1000;
            }
            return static_cast<double>(
                NarrowToFloat(std::uniform_real_distribution<double>(-1000.0, 1000.0)(m_random)));
        case Wire::TimeX5:
            return static_cast<double>(Below(0xFFFFFFFF));
        case Wire::Text:
        case Wire::Bytes: {
            std::uint32_t const usable = field.extent - (field.wire == Wire::Text ? 1U : 0U);
            std::wstring text(Below(usable + 1ULL), L' ');
            for (wchar_t& character : text) {
                character = static_cast<wchar_t>('!' + static_cast<int>(Below(90)));
            }
            return text;
        }
        case Wire::BitOfU16:
        case Wire::BitOfU32:
        case Wire::BitOfU64:
            if (field.convert == Convert::SetWhenZero || field.convert == Convert::SetWhenOne) {
                return static_cast<std::int32_t>(Below(2));
            }
            return Below(2) == 1;
        case Wire::BitsOfU32:
            return Whole(field, std::uint64_t{1} << field.bitCount);
        case Wire::U8:
            return Whole(field, 0x100);
        case Wire::U16:
            return Whole(field, 0x10000);
        case Wire::U32:
        case Wire::I32:
            return Whole(field, 0x100000000);
        }
        return {};
    }

private:
    Value Whole(Field const& field, std::uint64_t limit)
    {
        if (field.key != nullptr && field.key->kind == Kind::Bool) {
            return Below(2) == 1;
        }
        if (field.convert == Convert::TimesTwenty) {
            limit /= 20;
        }
        if (field.convert == Convert::PlusOne) {
            limit -= 1;
        }
        if (field.convert == Convert::Truncated) {
            return static_cast<double>(Below(std::min<std::uint64_t>(limit, 0x7FFFFFFF)));
        }
        std::uint32_t const number = Below(limit);
        // What a handler computes is compared as it stands on the wire, all else as the key's value.
        bool const ofKey = field.key != nullptr && field.convert != Convert::Computed;
        if (ofKey ? field.key->kind == Kind::Int : field.wire == Wire::I32) {
            return static_cast<std::int32_t>(number);
        }
        return number;
    }

    std::mt19937 m_random{20231114};
};

void ExpectSame(Value const& expected, Value const& actual, std::string const& where)
{
    auto const* const a = std::get_if<double>(&expected);
    auto const* const b = std::get_if<double>(&actual);
    if (a != nullptr && b != nullptr) {
        EXPECT_NEAR(*a, *b, 1e-6 * std::max(1.0, std::fabs(*a))) << where;
    } else {
        EXPECT_TRUE(expected == actual) << where;
    }
}

/// All fields go into one payload before any is looked at, so that a field which disturbs another shows.
void RoundTrip(std::span<Field const> fields, std::size_t size, RandomValues& random, std::string const& record)
{
    Payload payload(size);
    std::vector<Value> packed;
    for (Field const& field : fields) {
        Value value = random.Fitting(field);
        ASSERT_FALSE(IsEmpty(value)) << record;
        ASSERT_TRUE(PackField(field, value, payload)) << record;
        packed.push_back(std::move(value));
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        Field const& field = fields[i];
        FieldValue const unpacked = UnpackField(field, payload);
        std::string const where = record + " @" + std::to_string(field.offset);
        bool const inverse = field.key != nullptr && field.convert != Convert::Computed;
        if (inverse) {
            ExpectSame(packed[i], unpacked.attribute, where);
        } else if (field.convert == Convert::None || field.convert == Convert::Computed) {
            ExpectSame(packed[i], unpacked.wire, where);
        }
    }
}

TEST(RoundTrip, EveryRecordOfTheCatalogue)
{
    RandomValues random;
    for (RecordLayout const& layout : AllLayouts()) {
        std::string const record = std::to_string(layout.id) + " " + std::string(layout.name);
        for (int round = 0; round < 50; ++round) {
            RoundTrip(layout.fields, layout.size, random, record);
            RoundTrip(layout.itemFields, layout.itemSize, random, record + ", item");
        }
    }
}

TEST(RoundTrip, EveryRecordCutAtEveryLengthIsReadWithoutHarm)
{
    RandomValues random;
    for (RecordLayout const& layout : AllLayouts()) {
        std::size_t const longest = std::min<std::size_t>(layout.size + 2 * layout.itemSize + 5, 300);
        for (std::size_t length = 0; length <= longest; ++length) {
            std::vector<unsigned char> payload(length);
            for (auto& byte : payload) {
                byte = static_cast<unsigned char>(random.Below(256));
            }
            UnpackedRecord const record = Unpack(layout, payload);
            // Arrays may be counted by what is no count.
            if (length < layout.size || layout.tail != Tail::Arrays) {
                EXPECT_EQ(record.missingBytes, length < layout.size ? layout.size - length : 0U);
            }
            std::size_t held = 0;
            for (Field const& field : layout.fields) {
                held += field.offset + WidthOf(field) <= length ? 1U : 0U;
            }
            EXPECT_EQ(record.fields.size(), held);
        }
    }
}

} // namespace

} // namespace qx5::protocol::test
