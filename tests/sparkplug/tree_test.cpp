// Attribute trees that went through the metrics of a birth, and of the data after it.
#include "sparkplug_line.h"

#include "sparkplug/metric_name.h"
#include "sparkplug/metric_value.h"

#include <reference_host/attributes/tree_merge.h>
#include <values/vordal_value.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace qx5::test {
namespace {

using namespace sparkplug;
using protocol::Value;
using ::testing::ElementsAre;

/// An edge node and a host with nothing between them.
class Pair
{
public:
    Pair()
        : host({},
               {[this](Message const& message) {
                    asked.push_back(message);
                    return true;
                },
                {},
                {},
                [this](std::string const& line) { lines.push_back(line); }},
               clock.Read()),
          node(Options(),
               {[this](Message const& message) {
                    ++messages;
                    bytes += message.payload.size();
                    host.Receive(message.topic, message.payload);
                    return true;
                },
                {},
                {},
                [this](std::string const& line) { lines.push_back(line); }},
               clock.Read())
    {
        node.NextWill();
        node.Connected();
    }
    static EdgeNodeOptions Options()
    {
        EdgeNodeOptions options;
        options.group = "g";
        options.node = "v";
        return options;
    }
    CAttributeMap const& Seen(std::string const& device = "s") const { return host.Find({"g", "v", device})->tree; }

    TestClock clock;
    std::vector<Message> asked;
    std::vector<std::string> lines;
    std::size_t messages = 0;
    std::size_t bytes = 0;
    HostApplication host;
    EdgeNode node;
};

class RandomTrees
{
public:
    explicit RandomTrees(unsigned seed) : m_random(seed) {}

    CAttributeMap Tree(int depth)
    {
        CAttributeMap tree;
        Fill(tree, depth);
        return tree;
    }
    /// Another value of the same kind in one of the nodes.
    void Change(CAttributeMap& tree)
    {
        auto* node = &tree;
        while (node->Count() != 0 && (node == &tree || Below(2) == 0)) {
            CAttributeMap const& child =
                std::as_const(*node).GetChild(static_cast<int>(Below(static_cast<std::size_t>(node->Count()))));
            std::wstring const key(child.KeyText());
            int occurrence = 0;
            for (CAttributeMap const& other : std::as_const(*node)) {
                if (&other == &child) {
                    break;
                }
                occurrence += other.KeyText() == key ? 1 : 0;
            }
            node = node->GetAttrMap(key, occurrence);
        }
        if (node->HasValue()) {
            node->ReplaceValue(MakeVordal(OfKind(node->Value().Kind())).release());
        }
        vordal::ForgetReferences(tree);
    }
    std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random); }

private:
    void Fill(CAttributeMap& node, int depth)
    {
        auto const count = Below(6);
        for (std::size_t i = 0; i < count; ++i) {
            auto& child = *node.Add(Key());
            if (Below(4) != 0) {
                child.ReplaceValue(MakeVordal(OfKind(static_cast<VordalKind>(Below(12)))).release());
            }
            if (Below(4) == 0) {
                child.SetFlags(static_cast<unsigned>(m_random()));
            }
            if (depth > 0 && Below(2) == 0) {
                Fill(child, depth - 1);
            }
        }
    }
    std::wstring Key()
    {
        static std::vector<std::wstring> const some{L"x5Range",
                                                    L"a",
                                                    L"a",
                                                    L"b",
                                                    L"",
                                                    L"Lease",
                                                    L"Node Control",
                                                    L"50%",
                                                    L"a/b",
                                                    L"a[2]",
                                                    L"[",
                                                    L"\n",
                                                    L"\u00E9",
                                                    L"%41",
                                                    L"%{}",
                                                    L"x[3]",
                                                    L"\u0085",
                                                    std::wstring(1, static_cast<wchar_t>(0xDC00)),
                                                    std::wstring(L"a\0b", 3)};
        return some[Below(some.size())];
    }
    std::wstring Text()
    {
        static std::vector<std::wstring> const some{L"", L"wreck", L"\u4E2D\u6587", L"\n\"/%",
                                                    std::wstring(L"a\0b", 3)};
        return some[Below(some.size())];
    }
    double Number()
    {
        static std::vector<double> const some{
            0.0, -0.0, 12.5, -1e300, std::numeric_limits<double>::infinity(), std::nan(""), 5e-324};
        return some[Below(some.size())];
    }
    Value OfKind(VordalKind kind)
    {
        switch (kind) {
        case VordalKind::Int:
            return Value(static_cast<std::int32_t>(m_random()));
        case VordalKind::UInt:
            return Value(static_cast<std::uint32_t>(m_random()));
        case VordalKind::Int64:
            return Value(static_cast<std::int64_t>(m_random() * std::uint64_t{0x100000001}));
        case VordalKind::Bool:
            return Value(Below(2) != 0);
        case VordalKind::Double:
            return Value(Number());
        case VordalKind::Pair:
            return Value(std::pair(Number(), Number()));
        case VordalKind::DataInfo:
            return Value(protocol::DataReference{1, 78, static_cast<std::uint16_t>(m_random()), 1, 65535, 65535});
        case VordalKind::String:
            return Value(Text());
        case VordalKind::IntList:
            return Value(std::vector<std::int32_t>(Below(4), static_cast<std::int32_t>(m_random())));
        case VordalKind::DoubleList:
            return Value(std::vector<double>(Below(4), Number()));
        case VordalKind::Offset:
            return Value(std::array{Number(), Number(), Number()});
        case VordalKind::None:
            break;
        }
        return Value();
    }

    std::mt19937 m_random;
};

TEST(SparkplugTree, IsWhatItWasAfterABirth)
{
    Pair pair;
    RandomTrees trees(1);
    std::size_t values = 0;
    for (int i = 0; i < 2000; ++i) {
        auto const tree = trees.Tree(4);
        values += static_cast<std::size_t>(tree.Count());
        pair.node.SetDevice("s", tree);
        pair.clock.Pass(std::chrono::seconds(1));
        pair.node.Tick();
        ASSERT_TRUE(vordal::TreesEqual(pair.Seen(), tree)) << "tree " << i << "\nis\n"
                                                           << vordal::TreeText(pair.Seen()) << "was\n"
                                                           << vordal::TreeText(tree);
    }
    EXPECT_GT(values, 2000U);
    EXPECT_THAT(pair.lines, ElementsAre());
    EXPECT_EQ(pair.host.Counts().unreadable + pair.host.Counts().unknown + pair.host.Counts().refused, 0U);
}

TEST(SparkplugTree, IsWhatItIsAfterItsChanges)
{
    Pair pair;
    RandomTrees trees(2);
    for (int i = 0; i < 100; ++i) {
        auto tree = trees.Tree(4);
        for (int change = 0; change < 30; ++change) {
            pair.node.SetDevice("s", tree);
            pair.clock.Pass(std::chrono::milliseconds(trees.Below(150)));
            pair.node.Tick();
            trees.Change(tree);
        }
        pair.node.SetDevice("s", tree);
        pair.clock.Pass(std::chrono::seconds(1));
        pair.node.Tick();
        ASSERT_TRUE(vordal::TreesEqual(pair.Seen(), tree)) << "tree " << i << "\nis\n"
                                                           << vordal::TreeText(pair.Seen()) << "was\n"
                                                           << vordal::TreeText(tree);
    }
    EXPECT_GT(pair.host.Counts().metrics, 200U);
    EXPECT_LT(pair.host.Counts().births, 300U) << "changes are told by data";
    EXPECT_THAT(pair.lines, ElementsAre());
}

TEST(SparkplugTree, ABigOneIsNotToldAgainForOneChange)
{
    Pair pair;
    CAttributeMap tree;
    for (int i = 0; i < 5000; ++i) {
        tree.Add(L"key" + std::to_wstring(i), CVordalDouble(i));
    }
    vordal::ForgetReferences(tree);
    pair.node.SetDevice("s", tree);
    auto const birth = std::exchange(pair.bytes, 0);
    EXPECT_GT(birth, 5000U * 20);
    pair.messages = 0;
    vordal::SetChildValue(tree, L"key4999", CVordalDouble(0.5));
    pair.node.SetDevice("s", tree);
    EXPECT_EQ(pair.messages, 1U);
    EXPECT_LT(pair.bytes, 60U);
    EXPECT_TRUE(vordal::TreesEqual(pair.Seen(), tree));
    pair.node.SetDevice("s", tree);
    EXPECT_EQ(pair.messages, 1U) << "nothing has changed";
}

TEST(SparkplugTree, BeyondAPayloadIsNotTold)
{
    Pair pair;
    CAttributeMap tree;
    tree.Add(L"text", CVordalText(std::wstring(PayloadLimit, L'x')));
    pair.node.SetDevice("s", tree);
    EXPECT_EQ(pair.host.Find({"g", "v", "s"}), nullptr);
    EXPECT_EQ(pair.node.Counts().tooLarge, 1U);
    ASSERT_EQ(pair.lines.size(), 1U);
    EXPECT_THAT(pair.lines[0], ::testing::StartsWith("spBv1.0/g/DBIRTH/v/s is not told: a payload of "));
    pair.node.Tick();
    EXPECT_EQ(pair.node.Counts().tooLarge, 1U) << "it is not tried again";
    EXPECT_EQ(pair.node.NextDue(), std::nullopt);
    CAttributeMap small;
    small.Add(L"a", CVordalInt(1));
    pair.node.SetDevice("s", small);
    EXPECT_TRUE(vordal::TreesEqual(pair.Seen(), small));
}

TEST(SparkplugTree, TakesAnyDepth)
{
    Pair pair;
    CAttributeMap tree;
    auto* node = &tree;
    for (int i = 0; i < 20000; ++i) {
        node = node->Add(L"d");
    }
    node->SetValue(CVordalInt(7));
    vordal::ForgetReferences(tree);
    pair.node.SetDevice("s", tree);
    EXPECT_TRUE(vordal::TreesEqual(pair.Seen(), tree));
}

// Types that no attribute of ours has, as programs of others use them.

void ExpectRead(DataType type, WireValue const& wire, std::optional<Value> const& expected)
{
    EXPECT_EQ(ValueOfWire(wire, type, {}), expected) << "type " << static_cast<unsigned>(type);
}

TEST(SparkplugValue, OfTypesOfOthers)
{
    using Bytes = std::vector<unsigned char>;
    ExpectRead(DataType::Int8, std::uint32_t{0xFF}, Value(std::int32_t{-1}));
    ExpectRead(DataType::Int16, std::uint32_t{0xFFFE}, Value(std::int32_t{-2}));
    ExpectRead(DataType::Int32, std::uint64_t{0xFFFFFFFF}, Value(std::int32_t{-1}));
    ExpectRead(DataType::UInt8, std::uint32_t{200}, Value(std::uint32_t{200}));
    ExpectRead(DataType::UInt8, std::uint32_t{256}, std::nullopt);
    ExpectRead(DataType::UInt32, std::uint32_t{0xFFFFFFFF}, Value(std::uint32_t{0xFFFFFFFF}));
    ExpectRead(DataType::UInt32, std::uint64_t{0x100000000}, std::nullopt);
    ExpectRead(DataType::UInt64, std::uint64_t{5}, Value(std::int64_t{5}));
    ExpectRead(DataType::UInt64, std::uint64_t{0x8000000000000000}, std::nullopt);
    ExpectRead(DataType::DateTime, std::uint64_t{1'700'000'000'000}, Value(std::int64_t{1'700'000'000'000}));
    ExpectRead(DataType::Float, 0.5F, Value(0.5));
    ExpectRead(DataType::Text, std::string("t"), Value(std::wstring(L"t")));
    ExpectRead(DataType::Int16Array, Bytes{0xFE, 0xFF, 1, 0}, Value(std::vector<std::int32_t>{-2, 1}));
    ExpectRead(DataType::UInt16Array, Bytes{0xFE, 0xFF}, Value(std::vector<std::int32_t>{65534}));
    ExpectRead(DataType::FloatArray, Bytes{0, 0, 0, 0x3F}, Value(std::vector<double>{0.5}));
    ExpectRead(DataType::Int32Array, Bytes{1, 0, 0}, std::nullopt);
    ExpectRead(DataType::Int32, 1.0, std::nullopt);
    ExpectRead(DataType::Double, std::uint32_t{1}, std::nullopt);
    ExpectRead(DataType::DataSet, ForeignValue(), std::nullopt);
    ExpectRead(DataType::Bytes, Bytes{1}, std::nullopt);
    ExpectRead(static_cast<DataType>(77), std::uint32_t{1}, std::nullopt);
    ExpectRead(DataType::DataSet, std::monostate(), Value());
    EXPECT_EQ(ValueOfWire(Bytes(16), DataType::DoubleArray, "offset"), std::nullopt);
    EXPECT_EQ(ValueOfWire(Bytes(10), DataType::UInt16Array, "dataid"), std::nullopt);
}

} // namespace
} // namespace qx5::test
