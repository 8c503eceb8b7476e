// Tests of the way between the protocol's values and the host's: each kind, both ways, and nothing that is of another.
#include <values/vordal_value.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qx5 {
namespace {

using protocol::Kind;
using protocol::Value;

struct Pair
{
    Kind kind;
    std::unique_ptr<CVordalType> vordal;
    Value value;
};

std::vector<Pair> OneOfEachKind()
{
    std::vector<Pair> pairs;
    pairs.push_back({Kind::Int, std::make_unique<CVordalInt>(-7), std::int32_t{-7}});
    pairs.push_back({Kind::UInt, std::make_unique<CVordalUInt>(4294967295U), std::uint32_t{4294967295U}});
    pairs.push_back({Kind::Int64, std::make_unique<CVordalInt64>(-5000000000), std::int64_t{-5000000000}});
    pairs.push_back({Kind::Bool, std::make_unique<CVordalBool>(true), true});
    pairs.push_back({Kind::Double, std::make_unique<CVordalDouble>(-0.5), -0.5});
    pairs.push_back({Kind::Pair, std::make_unique<CVordalDouble2D>(1.5, -2.5), std::pair(1.5, -2.5)});
    pairs.push_back({Kind::DataId, std::make_unique<CVordalDataInfo>(CDataId(1, 78, 3, 2), 5, 6),
                     protocol::DataReference{1, 78, 3, 2, 5, 6}});
    pairs.push_back({Kind::String, std::make_unique<CVordalText>(CString(L"\u6c34 a")), std::wstring(L"\u6c34 a")});
    pairs.push_back(
        {Kind::IntList, std::make_unique<CVordalIntList>(std::vector{3, -4}), std::vector<std::int32_t>{3, -4}});
    pairs.push_back({Kind::DoubleList, std::make_unique<CVordalDoubleList>(std::vector{0.25, 8.0}),
                     std::vector<double>{0.25, 8.0}});
    pairs.push_back(
        {Kind::Offset, std::make_unique<CVordalOffset>(CCompOffset(1.0, 2.0, -3.0)), std::array{1.0, 2.0, -3.0}});
    return pairs;
}

TEST(VordalValue, EachKindIsMadeAndRead)
{
    for (Pair const& pair : OneOfEachKind()) {
        auto const name = protocol::NameOf(pair.kind);
        auto const made = MakeVordal(pair.value);
        ASSERT_NE(made, nullptr) << name;
        EXPECT_TRUE(made->IsSame(*pair.vordal)) << name << " " << made->ToText();
        EXPECT_EQ(ValueOf(*pair.vordal), pair.value) << name;
        EXPECT_EQ(VordalKindOf(pair.kind), pair.vordal->Kind()) << name;
        EXPECT_EQ(KindOf(pair.vordal->Kind()), pair.kind) << name;
    }
}

TEST(VordalValue, NothingIsReadOfAnotherKind)
{
    auto const pairs = OneOfEachKind();
    for (Pair const& pair : pairs) {
        for (protocol::KindRow const& row : protocol::KindRows) {
            Value read = std::wstring(L"untouched");
            bool const isOwn = row.kind == pair.kind;
            EXPECT_EQ(ReadVordal(*pair.vordal, row.kind, read), isOwn) << protocol::NameOf(pair.kind) << row.name;
            EXPECT_EQ(read, isOwn ? pair.value : Value(std::wstring(L"untouched"))) << row.name;
        }
    }
}

TEST(VordalValue, NoneIsTheEmptyValue)
{
    EXPECT_EQ(MakeVordal(Value()), nullptr);
    EXPECT_EQ(ValueOf(CVordalType()), Value());
    CAttributeMap tree;
    EXPECT_FALSE(AddValue(tree, AttributeKey(L"none"), Value()).HasValue());
    EXPECT_TRUE(AddValue(tree, AttributeKey(L"one"), Value(true)).HasValue());
    EXPECT_EQ(tree.Count(), 2);
}

} // namespace
} // namespace qx5
