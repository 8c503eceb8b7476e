// Tests of the values: each kind, its getters, its text, and the factory.
#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CVordalType.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <memory>
#include <type_traits>

namespace {

using Owned = std::unique_ptr<CVordalType>;

std::vector<Owned> OneOfEachKind()
{
    std::vector<Owned> values;
    values.emplace_back(new CVordalType);
    values.emplace_back(new CVordalInt(-7));
    values.emplace_back(new CVordalUInt(4000000000U));
    values.emplace_back(new CVordalInt64(-5000000000));
    values.emplace_back(new CVordalBool(true));
    values.emplace_back(new CVordalDouble(50.0));
    values.emplace_back(new CVordalDouble2D(10.0, -10.5));
    values.emplace_back(new CVordalDataInfo(CDataId(1, 78, 2, 3), 65535, 65535));
    values.emplace_back(new CVordalText(CString(L"bow")));
    values.emplace_back(new CVordalIntList({1, -2}));
    values.emplace_back(new CVordalDoubleList({0.5}));
    values.emplace_back(new CVordalOffset(CCompOffset(1.0, 2.0, 3.0)));
    return values;
}

TEST(Values, OnlyTheGetterOfTheKindSucceedsAndTheOthersLeaveTheirArgument)
{
    for (auto const& value : OneOfEachKind()) {
        auto const kind = value->Kind();
        int i = 11;
        EXPECT_EQ(value->Get(i), kind == VordalKind::Int);
        EXPECT_EQ(i, kind == VordalKind::Int ? -7 : 11);
        unsigned int u = 11;
        EXPECT_EQ(value->Get(u), kind == VordalKind::UInt);
        EXPECT_EQ(u, kind == VordalKind::UInt ? 4000000000U : 11U);
        std::int64_t l = 11;
        EXPECT_EQ(value->Get(l), kind == VordalKind::Int64);
        EXPECT_EQ(l, kind == VordalKind::Int64 ? -5000000000 : 11);
        bool b = false;
        EXPECT_EQ(value->Get(b), kind == VordalKind::Bool);
        EXPECT_EQ(b, kind == VordalKind::Bool);
        double d = 11.0;
        EXPECT_EQ(value->Get(d), kind == VordalKind::Double);
        EXPECT_EQ(d, kind == VordalKind::Double ? 50.0 : 11.0);
        double first = 11.0;
        double second = 12.0;
        EXPECT_EQ(value->Get(first, second), kind == VordalKind::Pair);
        EXPECT_EQ(first, kind == VordalKind::Pair ? 10.0 : 11.0);
        EXPECT_EQ(second, kind == VordalKind::Pair ? -10.5 : 12.0);
        CDataInfo info(CDataId(9, 9, 9, 9), 1, 1);
        EXPECT_EQ(value->Get(info), kind == VordalKind::DataInfo);
        EXPECT_EQ(info.GetDataId(), kind == VordalKind::DataInfo ? CDataId(1, 78, 2, 3) : CDataId(9, 9, 9, 9));
        CString text(L"kept");
        EXPECT_EQ(value->Get(text), kind == VordalKind::String);
        EXPECT_TRUE(text == (kind == VordalKind::String ? L"bow" : L"kept"));
        std::vector<int> ints{9};
        EXPECT_EQ(value->Get(ints), kind == VordalKind::IntList);
        EXPECT_EQ(ints, kind == VordalKind::IntList ? (std::vector<int>{1, -2}) : (std::vector<int>{9}));
        std::vector<double> doubles{9.0};
        EXPECT_EQ(value->Get(doubles), kind == VordalKind::DoubleList);
        EXPECT_EQ(doubles, kind == VordalKind::DoubleList ? (std::vector<double>{0.5}) : (std::vector<double>{9.0}));
        CCompOffset offset(9.0, 9.0, 9.0);
        EXPECT_EQ(value->Get(offset), kind == VordalKind::Offset);
        EXPECT_EQ(offset, kind == VordalKind::Offset ? CCompOffset(1.0, 2.0, 3.0) : CCompOffset(9.0, 9.0, 9.0));
    }
}

TEST(Values, TheSlotGettersMeanTheSame)
{
    int i = 0;
    EXPECT_NE(CVordalInt(3).GetInt(i), 0);
    EXPECT_EQ(i, 3);
    EXPECT_EQ(CVordalDouble(3.0).GetInt(i), 0);
    double first = 0.0;
    double second = 0.0;
    EXPECT_NE(CVordalDouble2D(1.5, 2.5).GetPair(first, second), 0);
    EXPECT_EQ(first, 1.5);
    EXPECT_EQ(second, 2.5);
}

TEST(Values, CloneIsOfTheSameKindAndContent)
{
    auto const values = OneOfEachKind();
    for (std::size_t i = 0; i < values.size(); ++i) {
        Owned const copy(values[i]->Clone());
        EXPECT_EQ(copy->Kind(), values[i]->Kind());
        for (std::size_t j = 0; j < values.size(); ++j) {
            EXPECT_EQ(copy->IsSame(*values[j]), i == j) << i << ' ' << j;
        }
    }
}

TEST(Values, SamenessGoesByBits)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(CVordalDouble(nan).IsSame(CVordalDouble(nan)));
    EXPECT_FALSE(CVordalDouble(0.0).IsSame(CVordalDouble(-0.0)));
    EXPECT_TRUE(CVordalDoubleList({nan, 1.0}).IsSame(CVordalDoubleList({nan, 1.0})));
    EXPECT_FALSE(CVordalDoubleList({0.0}).IsSame(CVordalDoubleList({-0.0})));
    EXPECT_FALSE(CVordalDoubleList({0.0}).IsSame(CVordalDoubleList({0.0, 0.0})));
    EXPECT_FALSE(CVordalDouble2D(0.0, 1.0).IsSame(CVordalDouble2D(-0.0, 1.0)));
    EXPECT_FALSE(CVordalOffset(CCompOffset(0.0, 0.0, 0.0)).IsSame(CVordalOffset(CCompOffset(0.0, 0.0, -0.0))));
}

TEST(Values, TextsForPeople)
{
    EXPECT_EQ(CVordalType().ToText(), "none");
    EXPECT_EQ(CVordalInt(-2147483647 - 1).ToText(), "-2147483648");
    EXPECT_EQ(CVordalUInt(4294967295U).ToText(), "4294967295");
    EXPECT_EQ(CVordalInt64(-9007199254740993).ToText(), "-9007199254740993");
    EXPECT_EQ(CVordalBool(false).ToText(), "false");
    EXPECT_EQ(CVordalDouble(50.0).ToText(), "50");
    EXPECT_EQ(CVordalDouble(0.1).ToText(), "0.1");
    EXPECT_EQ(CVordalDouble(-0.0).ToText(), "-0");
    EXPECT_EQ(CVordalDouble(1e300).ToText(), "1e+300");
    EXPECT_EQ(CVordalDouble2D(10.0, -10.0).ToText(), "10, -10");
    EXPECT_EQ(CVordalDataInfo(CDataId(1, 78, 1, 2), 65535, 65535).ToText(), "1.78.1.2");
    EXPECT_EQ(CVordalDataInfo(CDataId(1, 78, 1, 2), 4, 0).ToText(), "1.78.1.2 item 4 index 0");
    EXPECT_EQ(CVordalText(CString(L"a\"b\\c\n\x01\xE4")).ToText(), "\"a\\\"b\\\\c\\n\\u0001\xC3\xA4\"");
    // U+009B begins a command to a terminal, as the two characters ESC and [ do.
    EXPECT_EQ(CVordalText(CString(L"\x9B"
                                  L"31m\x7F\x80\x9F\xA0"))
                  .ToText(),
              "\"\\u009b31m\\u007f\\u0080\\u009f\xC2\xA0\"");
    EXPECT_EQ(CVordalIntList({}).ToText(), "[]");
    EXPECT_EQ(CVordalIntList({1, -2}).ToText(), "[1, -2]");
    EXPECT_EQ(CVordalDoubleList({0.5, 2.0}).ToText(), "[0.5, 2]");
    EXPECT_EQ(CVordalOffset(CCompOffset(1.0, 2.5, -3.0)).ToText(), "(1, 2.5, -3)");
}

TEST(Values, TextsDoNotFollowTheLocale)
{
    // Where that locale is not installed the call fails and the texts are those of the C locale anyway.
    (void)std::setlocale(LC_ALL, "de_DE.UTF-8");
    EXPECT_EQ(CVordalDouble(1234.5).ToText(), "1234.5");
    std::setlocale(LC_ALL, "C");
}

VordalKind KindOf(CVordalType* made)
{
    return Owned(made)->Kind();
}

TEST(Factory, MakesTheKindOfItsArgument)
{
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(1)), VordalKind::Int);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(1U)), VordalKind::UInt);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(std::int64_t{1})), VordalKind::Int64);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(true)), VordalKind::Bool);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(1.0)), VordalKind::Double);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(1.0F)), VordalKind::Double);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(std::pair<double, double>(1.0, 2.0))), VordalKind::Pair);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(std::vector<int>{1})), VordalKind::IntList);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(std::vector<double>{1.0})), VordalKind::DoubleList);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(CString(L"a"))), VordalKind::String);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(CCompOffset())), VordalKind::Offset);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(CDataInfo())), VordalKind::DataInfo);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue("a")), VordalKind::String);
    EXPECT_EQ(KindOf(VordalTypeCreator::MakeValue(L"a")), VordalKind::String);
}

template <typename T>
concept CanMake = requires(T value)
{
    VordalTypeCreator::MakeValue(value);
};
static_assert(CanMake<char*> && CanMake<wchar_t const*> && !CanMake<void*> && !CanMake<int const*>);

std::wstring Narrow(char const* bytes)
{
    Owned const value(VordalTypeCreator::MakeValue(bytes));
    CString text(L"unread");
    EXPECT_TRUE(value->Get(text));
    return std::wstring(text.View());
}

TEST(Factory, ReadsUtf8)
{
    EXPECT_EQ(Narrow(""), L"");
    EXPECT_EQ(Narrow(nullptr), L"");
    EXPECT_EQ(Narrow("bow"), L"bow");
    EXPECT_EQ(Narrow("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8C\x8A"), L"\u00E4\u20AC\U0001F30A");
    EXPECT_EQ(Narrow("\xF4\x8F\xBF\xBF"), L"\U0010FFFF");
}

TEST(Factory, EachByteThatBelongsToNoSequenceIsReplaced)
{
    EXPECT_EQ(Narrow("a\x80z"), L"a\uFFFDz");
    EXPECT_EQ(Narrow("\xC3"), L"\uFFFD");
    EXPECT_EQ(Narrow("\xC3z"), L"\uFFFDz");
    EXPECT_EQ(Narrow("\xE2\x82"), L"\uFFFD\uFFFD");
    EXPECT_EQ(Narrow("\xE2\x82z"), L"\uFFFD\uFFFDz");
    EXPECT_EQ(Narrow("\xC0\xAF"), L"\uFFFD\uFFFD");
    EXPECT_EQ(Narrow("\xE0\x80\xAF"), L"\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(Narrow("\xED\xA0\x80"), L"\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(Narrow("\xF4\x90\x80\x80"), L"\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(Narrow("\xF8\xFF"), L"\uFFFD\uFFFD");
}

TEST(Key, HashesAtCompileTimeOverCodePoints)
{
    // FNV-1a with 64 bits: of nothing the offset basis; "a", "foobar" as published for bytes below 128.
    static_assert(AttributeKey(L"").Hash() == 0xcbf29ce484222325U);
    static_assert(AttributeKey(L"a").Hash() == 0xaf63dc4c8601ec8cU);
    static_assert(AttributeKey(L"foobar").Hash() == 0x85944171f73967e8U);
    // One step for one character: (basis ^ 0x1F30A) * prime.
    static_assert(AttributeKey(L"\U0001F30A").Hash() == (0xcbf29ce484222325U ^ 0x1F30AU) * 0x100000001b3U);
    std::wstring const text = L"x5Range";
    EXPECT_EQ(AttributeKey(CString(text)).Hash(), AttributeKey(L"x5Range").Hash());
    EXPECT_EQ(AttributeKey(static_cast<wchar_t const*>(nullptr)), AttributeKey());
}

TEST(Key, TheHostsConstantsBearTheirOwnNames)
{
    EXPECT_TRUE(ATTR_DATAID.Text() == L"ATTR_DATAID");
    EXPECT_TRUE(ATTR_MBEAMDATAID.Text() == L"ATTR_MBEAMDATAID");
    EXPECT_TRUE(ATTR_PANTILTPOS_DATAID.Text() == L"ATTR_PANTILTPOS_DATAID");
    EXPECT_TRUE(ATTR_DEVICEOFFSET.Text() == L"ATTR_DEVICEOFFSET");
    EXPECT_TRUE(ATTR_ROLLCOR.Text() == L"ATTR_ROLLCOR");
    EXPECT_TRUE(ATTR_PITCHCOR.Text() == L"ATTR_PITCHCOR");
    EXPECT_TRUE(ATTR_CABLELENGTH.Text() == L"ATTR_CABLELENGTH");
}

} // namespace
