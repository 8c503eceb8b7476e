// The compile-time checks of record tables, one kind of slip at a time.
#include <gtest/gtest.h>

#include <protocol/record_table.h>

namespace qx5::protocol {

namespace {

constexpr Key RealKey{L"test real", Kind::Double, Unit::Degree, ""};
constexpr Key OtherRealKey{L"test other real", Kind::Double, Unit::Metre, ""};
constexpr Key IntKey{L"test int", Kind::Int, Unit::None, ""};
constexpr Key BoolKey{L"test bool", Kind::Bool, Unit::None, ""};
constexpr Key TextKey{L"test text", Kind::String, Unit::None, ""};
constexpr Key PairKey{L"test pair", Kind::Pair, Unit::Degree, ""};
constexpr Key BranchKey{L"test branch", Kind::Branch, Unit::None, ""};

template <std::size_t N>
constexpr LayoutError Lint(std::size_t size, Field const (&fields)[N])
{
    return LintFields(fields, size);
}

TEST(RecordTable, AcceptsFieldsSideBySide)
{
    static_assert(Lint(16, {Field{.key = &RealKey, .offset = 0, .wire = Wire::F32, .convert = Convert::Radians},
                            Field{.key = &BoolKey, .offset = 4, .wire = Wire::BitOfU32, .extent = 0},
                            Field{.key = &IntKey, .offset = 4, .wire = Wire::BitsOfU32, .extent = 1, .bitCount = 31},
                            Field{.key = &TextKey, .offset = 8, .wire = Wire::Text, .extent = 7},
                            Field{.offset = 15, .wire = Wire::U8, .constant = 25}}) == LayoutError::None);
}

TEST(RecordTable, RefusesOverlap)
{
    static_assert(Lint(8, {Field{.key = &RealKey, .offset = 0, .wire = Wire::F32},
                           Field{.key = &OtherRealKey, .offset = 3, .wire = Wire::F32}}) == LayoutError::Overlap);
    static_assert(Lint(8, {Field{.key = &RealKey, .offset = 2, .wire = Wire::F32},
                           Field{.key = &OtherRealKey, .offset = 0, .wire = Wire::F64}}) == LayoutError::Overlap);
    static_assert(Lint(4, {Field{.key = &BoolKey, .offset = 0, .wire = Wire::BitOfU32, .extent = 9},
                           Field{.offset = 0, .wire = Wire::BitOfU32, .extent = 9, .name = "twin"}}) ==
                  LayoutError::Overlap);
    // The same bit, seen once in a 32-bit and once in a 16-bit word.
    static_assert(Lint(4, {Field{.key = &BoolKey, .offset = 0, .wire = Wire::BitOfU32, .extent = 17},
                           Field{.offset = 2, .wire = Wire::BitOfU16, .extent = 1, .name = "twin"}}) ==
                  LayoutError::Overlap);
    static_assert(Lint(4, {Field{.key = &BoolKey, .offset = 0, .wire = Wire::BitOfU32, .extent = 17},
                           Field{.key = &IntKey, .offset = 2, .wire = Wire::U8}}) == LayoutError::Overlap);
    static_assert(Lint(4, {Field{.key = &IntKey, .offset = 0, .wire = Wire::BitsOfU32, .extent = 4, .bitCount = 4},
                           Field{.key = &BoolKey, .offset = 0, .wire = Wire::BitOfU32, .extent = 7}}) ==
                  LayoutError::Overlap);
}

TEST(RecordTable, RefusesFieldsBeyondTheRecord)
{
    static_assert(Lint(4, {Field{.key = &RealKey, .offset = 1, .wire = Wire::F32}}) == LayoutError::BeyondSize);
    static_assert(Lint(4, {Field{.key = &IntKey, .offset = 5, .wire = Wire::U8}}) == LayoutError::BeyondSize);
    static_assert(Lint(3, {Field{.key = &BoolKey, .offset = 0, .wire = Wire::BitOfU32, .extent = 0}}) ==
                  LayoutError::BeyondSize);
    static_assert(Lint(255, {Field{.key = &TextKey, .offset = 0, .wire = Wire::Text, .extent = 256}}) ==
                  LayoutError::BeyondSize);
}

TEST(RecordTable, RefusesTextWithoutExtent)
{
    static_assert(Lint(4, {Field{.key = &TextKey, .offset = 0, .wire = Wire::Text}}) == LayoutError::TextWithoutExtent);
    static_assert(Lint(4, {Field{.key = &TextKey, .offset = 0, .wire = Wire::Bytes}}) ==
                  LayoutError::TextWithoutExtent);
}

TEST(RecordTable, RefusesBitsOutsideTheirWord)
{
    static_assert(Lint(8, {Field{.key = &BoolKey, .offset = 0, .wire = Wire::BitOfU16, .extent = 16}}) ==
                  LayoutError::BitOutOfRange);
    static_assert(Lint(8, {Field{.key = &BoolKey, .offset = 0, .wire = Wire::BitOfU32, .extent = 32}}) ==
                  LayoutError::BitOutOfRange);
    static_assert(Lint(8, {Field{.key = &BoolKey, .offset = 0, .wire = Wire::BitOfU64, .extent = 63}}) ==
                  LayoutError::None);
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::BitsOfU32, .extent = 30, .bitCount = 3}}) ==
                  LayoutError::BitOutOfRange);
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::BitsOfU32, .extent = 3}}) ==
                  LayoutError::BitOutOfRange);
}

TEST(RecordTable, RefusesAnExtentThatMeansNothing)
{
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::U16, .extent = 3}}) ==
                  LayoutError::StrayExtent);
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::U16, .bitCount = 3}}) ==
                  LayoutError::StrayExtent);
}

TEST(RecordTable, RefusesKindsThatDoNotFit)
{
    static_assert(Lint(8, {Field{.key = &RealKey, .offset = 0, .wire = Wire::I32}}) == LayoutError::KindMismatch);
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::F32}}) == LayoutError::KindMismatch);
    static_assert(Lint(8, {Field{.key = &TextKey, .offset = 0, .wire = Wire::U32}}) == LayoutError::KindMismatch);
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::Text, .extent = 8}}) ==
                  LayoutError::KindMismatch);
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::BitOfU16, .extent = 1}}) ==
                  LayoutError::KindMismatch);
    static_assert(
        Lint(8,
             {Field{
                 .key = &BoolKey, .offset = 0, .wire = Wire::BitOfU16, .convert = Convert::SetWhenOne, .extent = 1}}) ==
        LayoutError::KindMismatch);
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::F32, .convert = Convert::Radians}}) ==
                  LayoutError::KindMismatch);
    static_assert(Lint(8, {Field{.key = &BranchKey, .offset = 0, .wire = Wire::U8}}) == LayoutError::KindMismatch);
    static_assert(Lint(8, {Field{.key = &TextKey, .offset = 0, .wire = Wire::U32, .convert = Convert::Computed}}) ==
                  LayoutError::None);
}

TEST(RecordTable, RefusesConversionsThatDoNotFit)
{
    static_assert(Lint(8, {Field{.key = &RealKey, .offset = 0, .wire = Wire::I32, .convert = Convert::Radians}}) ==
                  LayoutError::ConvertMismatch);
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::U32, .convert = Convert::TimesTwenty}}) ==
                  LayoutError::ConvertMismatch);
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::U8, .convert = Convert::SetWhenZero}}) ==
                  LayoutError::ConvertMismatch);
    static_assert(Lint(8, {Field{.key = &RealKey, .offset = 0, .wire = Wire::F32, .convert = Convert::Truncated}}) ==
                  LayoutError::ConvertMismatch);
}

TEST(RecordTable, RefusesPartsThatAKeyDoesNotHave)
{
    static_assert(Lint(8, {Field{.key = &PairKey, .offset = 0, .wire = Wire::F32, .part = 1}}) == LayoutError::None);
    static_assert(Lint(8, {Field{.key = &PairKey, .offset = 0, .wire = Wire::F32, .part = 2}}) ==
                  LayoutError::PartOutOfRange);
    static_assert(Lint(8, {Field{.key = &RealKey, .offset = 0, .wire = Wire::F32, .part = 1}}) ==
                  LayoutError::PartOutOfRange);
}

TEST(RecordTable, RefusesUnnamedFieldsAndMisplacedConstants)
{
    static_assert(Lint(8, {Field{.offset = 0, .wire = Wire::U32}}) == LayoutError::Unnamed);
    static_assert(Lint(8, {Field{.offset = 0, .wire = Wire::U8, .constant = 256}}) == LayoutError::ConstantMisplaced);
    static_assert(Lint(8, {Field{.offset = 0, .wire = Wire::BitOfU16, .constant = 2}}) ==
                  LayoutError::ConstantMisplaced);
    static_assert(Lint(8, {Field{.key = &IntKey, .offset = 0, .wire = Wire::U8, .constant = 1}}) ==
                  LayoutError::ConstantMisplaced);
    static_assert(Lint(8, {Field{.offset = 0, .wire = Wire::Text, .extent = 4, .constant = 1}}) ==
                  LayoutError::ConstantMisplaced);
}

TEST(RecordTable, RefusesItemsWithoutATailOfItems)
{
    static constexpr Field fields[] = {Field{.key = &IntKey, .offset = 0, .wire = Wire::U8}};
    static_assert(LintRecord(RecordLayout{.tail = Tail::Items}) == LayoutError::TailMismatch);
    static_assert(LintRecord(RecordLayout{.tail = Tail::Items, .itemSize = 1}) == LayoutError::TailMismatch);
    static_assert(LintRecord(RecordLayout{.itemSize = 1, .itemFields = fields}) == LayoutError::TailMismatch);
    static_assert(LintRecord(RecordLayout{.tailName = "no tail"}) == LayoutError::TailMismatch);
    static_assert(LintRecord(RecordLayout{.tail = Tail::Items, .itemSize = 1, .itemFields = fields}) ==
                  LayoutError::None);
}

TEST(RecordTable, RefusesArraysThatNoFieldCounts)
{
    static constexpr Field fields[] = {Field{.offset = 0, .wire = Wire::U16, .name = "beams"},
                                       Field{.offset = 2, .wire = Wire::U8, .name = "samples"},
                                       Field{.offset = 4, .wire = Wire::I32, .name = "offset"},
                                       Field{.key = &IntKey, .offset = 8, .wire = Wire::U32, .name = "keyed"}};
    constexpr auto lint = [](ArrayField array) {
        return LintRecord(
            RecordLayout{.size = 12, .fields = fields, .tail = Tail::Arrays, .arrays = std::span(&array, 1)});
    };
    static_assert(lint({.name = "levels", .count = "samples", .rows = "beams"}) == LayoutError::None);
    static_assert(lint({.name = "angle", .wire = Wire::F32, .count = "beams"}) == LayoutError::None);
    static_assert(lint({.count = "beams"}) == LayoutError::ArrayMismatch);
    static_assert(lint({.name = "levels"}) == LayoutError::ArrayMismatch);
    static_assert(lint({.name = "levels", .count = "rows"}) == LayoutError::ArrayMismatch);
    static_assert(lint({.name = "levels", .count = "beams", .rows = "rows"}) == LayoutError::ArrayMismatch);
    static_assert(lint({.name = "levels", .count = "offset"}) == LayoutError::ArrayMismatch);
    static_assert(lint({.name = "levels", .count = "keyed"}) == LayoutError::ArrayMismatch);
    static_assert(lint({.name = "text", .wire = Wire::Text, .count = "beams"}) == LayoutError::ArrayMismatch);
    static_assert(LintRecord(RecordLayout{.tail = Tail::Arrays}) == LayoutError::TailMismatch);
    static constexpr ArrayField array{.name = "angle", .count = "beams"};
    static_assert(LintRecord(RecordLayout{.size = 12, .fields = fields, .arrays = std::span(&array, 1)}) ==
                  LayoutError::TailMismatch);
}

TEST(RecordTable, ChecksTheFieldsOfItems)
{
    static constexpr Field fields[] = {Field{.key = &RealKey, .offset = 0, .wire = Wire::F32}};
    static_assert(LintRecord(RecordLayout{.tail = Tail::Items, .itemSize = 3, .itemFields = fields}) ==
                  LayoutError::BeyondSize);
}

TEST(RecordTable, ThrowsAtRunTimeWhatDoesNotCompile)
{
    EXPECT_THROW((RecordTable{1, "wrong", 3, {Field{.key = &RealKey, .offset = 0, .wire = Wire::F32}}}),
                 std::logic_error);
}

TEST(RecordTable, GivesALayoutThatPointsIntoIt)
{
    static constexpr RecordTable table{
        42,
        "test record",
        8,
        {Field{.key = &RealKey, .offset = 0, .wire = Wire::F32},
         Field{.offset = 4, .wire = Wire::U32, .name = "count"}},
        RepeatedItems{2, {Field{.key = &IntKey, .offset = 0, .wire = Wire::U16}}},
        RecordOptions{.carrier = Carrier::Data, .tailName = "items", .tailKey = &BranchKey}};
    constexpr RecordLayout layout = table;
    EXPECT_EQ(layout.id, 42U);
    EXPECT_EQ(layout.name, "test record");
    EXPECT_EQ(layout.size, 8U);
    EXPECT_EQ(layout.fields.data(), table.Fields().data());
    EXPECT_EQ(layout.fields.size(), 2U);
    EXPECT_EQ(layout.carrier, Carrier::Data);
    EXPECT_EQ(layout.tail, Tail::Items);
    EXPECT_EQ(layout.itemSize, 2U);
    EXPECT_EQ(layout.itemFields.data(), table.ItemFields().data());
    EXPECT_EQ(layout.tailName, "items");
    EXPECT_EQ(layout.tailKey, &BranchKey);
    static_assert(table.FieldOf(RealKey).offset == 0);
    EXPECT_EQ(FindField(layout, RealKey), &table.FieldOf(RealKey));
    EXPECT_EQ(FindField(layout, IntKey), nullptr);
    EXPECT_THROW(table.FieldOf(IntKey), std::logic_error);
}

TEST(RecordTable, HoldsARecordWithoutPayload)
{
    static constexpr RecordTable table{7, "plain"};
    constexpr RecordLayout layout = table;
    EXPECT_EQ(layout.size, 0U);
    EXPECT_TRUE(layout.fields.empty());
    EXPECT_EQ(layout.carrier, Carrier::RemoteControl);
}

} // namespace

} // namespace qx5::protocol
