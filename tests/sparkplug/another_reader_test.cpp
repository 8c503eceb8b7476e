// Births and data as a program of others reads them, and what it writes as we do.
#include "hex_bytes.h"
#include "sparkplug_line.h"

#include "tests/cli/child_process.h"
#include "tests/support/temporary_folder.h"

#include <reference_host/attributes/tree_merge.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace qx5::test {
namespace {

using namespace sparkplug;

class AnotherSparkplug : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (std::string_view(NODE).empty() || !std::filesystem::exists(NODE_MODULES "/sparkplug-payload")) {
            GTEST_SKIP() << "there is no node with sparkplug-payload; ./dev test installs it";
        }
    }
    static std::string Run(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {NODE, SCRIPT, NODE_MODULES});
        auto const outcome = RunToEnd(arguments);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return outcome.out;
    }
    static std::vector<std::string> Lines(std::string const& text)
    {
        std::vector<std::string> lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    EdgeNodeOptions Options() const
    {
        EdgeNodeOptions options;
        options.group = "g";
        options.node = "v";
        return options;
    }

    TestClock clock;
    Published out;
};

TEST_F(AnotherSparkplug, ReadsBirthsAndData)
{
    clock.now.utc = 1'700'000'000'000;
    EdgeNode node(Options(), {[this](Message const& message) { return out.Take(message); }, {}, {}, {}}, clock.Read());
    auto const will = node.NextWill();
    CAttributeMap about;
    about.Add(L"program", CVordalText(L"qx5"));
    node.SetNode(about);
    node.Connected();
    CAttributeMap tree;
    tree.Add(keys::x5Range.text, CVordalDouble(50));
    tree.Add(L"int", CVordalInt(-7));
    tree.Add(L"uint", CVordalUInt(4'000'000'000U), 3);
    tree.Add(L"int64", CVordalInt64(-5'000'000'000));
    tree.Add(L"bool", CVordalBool(true));
    tree.Add(L"text", CVordalText(L"\u00D8rnen"));
    tree.Add(L"none");
    tree.Add(L"pair", CVordalDouble2D(1, -2));
    tree.FindCreate(L"port").Add(L"beam", CVordalInt(1));
    tree.FindCreate(L"port").Add(L"beam", CVordalInt(2));
    vordal::ForgetReferences(tree);
    node.SetDevice("s", tree);
    clock.Pass(std::chrono::seconds(1));
    tree.GetAttrMap(keys::x5Range.text)->SetValue(CVordalDouble(75));
    tree.GetAttrMap(L"int")->SetValue(CVordalInt(8));
    node.SetDevice("s", tree);
    node.RemoveDevice("s");

    TemporaryFolder const folder;
    auto const file = folder / "payloads";
    {
        std::ofstream stream(file);
        out.messages.insert(out.messages.begin(), will);
        for (auto const& message : out.messages) {
            auto hex = Hex(message.payload);
            hex.erase(std::remove(hex.begin(), hex.end(), ' '), hex.end());
            stream << hex << "\n";
        }
    }
    // The reader knows no arrays, so of a pair it tells the properties alone.
    EXPECT_EQ(Run({"read", file.string()}), "at 1700000000000 seq null\n"
                                            "bdSeq null Int64 0\n"
                                            "at 1700000000000 seq 0\n"
                                            "bdSeq null Int64 0\n"
                                            "Node Control/Rebirth null Boolean false\n"
                                            "program 1 String qx5\n"
                                            "at 1700000000000 seq 1\n"
                                            "x5Range 2 Double 50 engUnit:String=m\n"
                                            "int 3 Int32 -7\n"
                                            "uint 4 UInt32 4000000000 flags:UInt32=3\n"
                                            "int64 5 Int64 -5000000000\n"
                                            "bool 6 Boolean true\n"
                                            "text 7 String \xC3\x98rnen\n"
                                            "none 8 String null\n"
                                            "pair 9 - null kind:String=pair\n"
                                            "port/beam 10 Int32 1\n"
                                            "port/beam[2] 11 Int32 2\n"
                                            "at 1700000001000 seq 2\n"
                                            "- 2 Double 75\n"
                                            "- 3 Int32 8\n"
                                            "at 1700000001000 seq 3\n");
}

TEST_F(AnotherSparkplug, WritesWhatWeRead)
{
    auto const lines = Lines(Run({"write"}));
    ASSERT_EQ(lines.size(), 4U);
    clock.now.utc = 1000;
    std::vector<std::string> told;
    HostApplication host(
        {}, {[](Message const&) { return true; }, {}, {}, [&](std::string const& line) { told.push_back(line); }},
        clock.Read());
    host.Receive("spBv1.0/g/NBIRTH/w", Bytes(lines[0]));
    host.Receive("spBv1.0/g/DBIRTH/w/d", Bytes(lines[1]));
    auto const* const seen = host.Find({"g", "w", "d"});
    ASSERT_NE(seen, nullptr);
    EXPECT_EQ(vordal::TreeText(seen->tree), "depth = 12.5\n"
                                            "mode = -7\n"
                                            "count = 4000000000\n"
                                            "on = true\n"
                                            "hull\n"
                                            "  name = \"\xC3\x98rnen\"\n"
                                            "level = 0.25\n"
                                            "small = -1\n");
    EXPECT_EQ(host.Facts({"g", "w", "d"}, "depth")->unit, "m");
    host.Receive("spBv1.0/g/DDATA/w/d", Bytes(lines[2]));
    double depth = 0;
    host.Find({"g", "w", "d"})->tree.FindValue(L"depth").Get(depth);
    EXPECT_EQ(depth, 13.5);
    EXPECT_TRUE(told.empty()) << told.front();

    std::vector<CommandedValue> commanded;
    EdgeNode node(Options(),
                  {[this](Message const& message) { return out.Take(message); },
                   [&](std::string_view, std::vector<CommandedValue> const& values) { commanded = values; },
                   {},
                   {}},
                  clock.Read());
    node.NextWill();
    node.Connected();
    node.SetDevice("s", CAttributeMap());
    node.Receive("spBv1.0/g/DCMD/v/s", Bytes(lines[3]));
    ASSERT_EQ(commanded.size(), 1U);
    EXPECT_EQ(commanded[0].name, "x5Range");
    EXPECT_EQ(commanded[0].value, protocol::Value(75.0));
}

} // namespace
} // namespace qx5::test
