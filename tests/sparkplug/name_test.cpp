// Topics, and names of metrics.
#include "sparkplug/metric_name.h"
#include "sparkplug/topic.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qx5::test {
namespace {

using namespace sparkplug;

void ExpectTopic(std::string const& text, Topic const& topic)
{
    EXPECT_EQ(TopicText(topic), text);
    std::string error;
    auto const parsed = ParseTopic(text, error);
    ASSERT_TRUE(parsed) << error;
    EXPECT_EQ(*parsed, topic);
}

TEST(Topic, OfEachKind)
{
    ExpectTopic("spBv1.0/north/NBIRTH/Aurora", {MessageKind::NodeBirth, "north", "Aurora", "", ""});
    ExpectTopic("spBv1.0/north/NDATA/Aurora", {MessageKind::NodeData, "north", "Aurora", "", ""});
    ExpectTopic("spBv1.0/north/NDEATH/Aurora", {MessageKind::NodeDeath, "north", "Aurora", "", ""});
    ExpectTopic("spBv1.0/north/NCMD/Aurora", {MessageKind::NodeCommand, "north", "Aurora", "", ""});
    ExpectTopic("spBv1.0/north/DBIRTH/Aurora/port bow", {MessageKind::DeviceBirth, "north", "Aurora", "port bow", ""});
    ExpectTopic("spBv1.0/north/DDATA/Aurora/s", {MessageKind::DeviceData, "north", "Aurora", "s", ""});
    ExpectTopic("spBv1.0/north/DDEATH/Aurora/s", {MessageKind::DeviceDeath, "north", "Aurora", "s", ""});
    ExpectTopic("spBv1.0/north/DCMD/Aurora/s", {MessageKind::DeviceCommand, "north", "Aurora", "s", ""});
    ExpectTopic("spBv1.0/STATE/office", {MessageKind::HostState, "", "", "", "office"});
}

TEST(Topic, Filters)
{
    EXPECT_EQ(GroupFilter("north"), "spBv1.0/north/#");
    EXPECT_EQ(NodeCommandFilter("north", "Aurora"), "spBv1.0/north/NCMD/Aurora");
    EXPECT_EQ(DeviceCommandFilter("north", "Aurora"), "spBv1.0/north/DCMD/Aurora/+");
}

TEST(Topic, RefusesWhatIsNone)
{
    auto const why = [](std::string_view text) {
        std::string error;
        EXPECT_FALSE(ParseTopic(text, error)) << text;
        return error;
    };
    EXPECT_EQ(why(""), " is no topic of Sparkplug B: it does not begin with spBv1.0");
    EXPECT_EQ(why("spAv1.0/a/NBIRTH/b"),
              "spAv1.0/a/NBIRTH/b is no topic of Sparkplug B: it does not begin with spBv1.0");
    EXPECT_EQ(why("spBv1.0/a"), "spBv1.0/a is no topic of Sparkplug B: it is too short");
    EXPECT_EQ(why("spBv1.0/a/XBIRTH/b"),
              "spBv1.0/a/XBIRTH/b is no topic of Sparkplug B: its third level is no kind of message");
    EXPECT_EQ(why("spBv1.0/a/NBIRTH/b/c"),
              "spBv1.0/a/NBIRTH/b/c is no topic of Sparkplug B: such a message names a node "
              "and nothing behind it");
    EXPECT_EQ(why("spBv1.0/a/DDATA/b"),
              "spBv1.0/a/DDATA/b is no topic of Sparkplug B: such a message names one device behind its node");
    EXPECT_EQ(why("spBv1.0/a/DDATA/b/c/d"),
              "spBv1.0/a/DDATA/b/c/d is no topic of Sparkplug B: such a message names one device behind its node");
    EXPECT_EQ(why("spBv1.0//NBIRTH/b"), "spBv1.0//NBIRTH/b is no topic of Sparkplug B: the name of the group is empty");
    EXPECT_EQ(why("spBv1.0/a/DDATA/b/"),
              "spBv1.0/a/DDATA/b/ is no topic of Sparkplug B: the name of the sonar is empty");
    EXPECT_EQ(
        why("spBv1.0/a/NBIRTH/b\n"),
        "spBv1.0/a/NBIRTH/b? is no topic of Sparkplug B: the name of the vessel, b?, has a control character in it");
    EXPECT_LT(why(std::string(1000, '/')).size(), 300U);
}

TEST(Topic, NamesThatAreNone)
{
    EXPECT_EQ(WhyNoName("vessel", "Aurora 2"), "");
    EXPECT_EQ(WhyNoName("vessel", "\xC3\x98rnen"), "");
    EXPECT_EQ(WhyNoName("vessel", ""), "the name of the vessel is empty");
    EXPECT_EQ(WhyNoName("vessel", "a/b"),
              "the name of the vessel, a/b, has a / in it, which topics keep for themselves");
    EXPECT_EQ(WhyNoName("sonar", "+"), "the name of the sonar, +, has a + in it, which topics keep for themselves");
    EXPECT_EQ(WhyNoName("sonar", "#1"), "the name of the sonar, #1, has a # in it, which topics keep for themselves");
    EXPECT_EQ(WhyNoName("sonar", "\xFF"), "the name of the sonar is no UTF-8");
    EXPECT_EQ(WhyNoName("sonar", std::string(257, 'x')), "the name of the sonar has 257 bytes; it may have 256");
}

void ExpectName(std::vector<NameLevel> const& levels, std::string_view name)
{
    std::string made;
    for (NameLevel const& level : levels) {
        AppendLevel(made, level.key, level.occurrence);
    }
    EXPECT_EQ(made, name);
    EXPECT_EQ(LevelsOfName(name), levels) << name;
}

TEST(MetricName, IsThePathOfItsKeys)
{
    ExpectName({{L"settings", 0}, {L"range", 0}}, "settings/range");
    ExpectName({{L"port", 0}, {L"beam", 1}, {L"tilt", 11}}, "port/beam[2]/tilt[12]");
    ExpectName({{L"a/b%c[d]", 0}}, "a%2Fb%25c%5Bd]");
    ExpectName({{L"a[2]", 0}}, "a%5B2]");
    ExpectName({{L"a\n\x7F\x85", 0}}, "a%0A%7F%C2%85");
    ExpectName({{L"\u00E9\u4E2D", 0}}, "\xC3\xA9\xE4\xB8\xAD");
    ExpectName({{L"", 0}, {L"", 2}}, "%{}/%{}[3]");
    ExpectName({{std::wstring{L'a', static_cast<wchar_t>(0xD800), L'b'}, 0}}, "a%{D800}b");
    ExpectName({{std::wstring(1, static_cast<wchar_t>(0x7FFFFFFF)), 0}}, "%{7FFFFFFF}");
}

TEST(MetricName, KeepsClearOfThoseThatAreReserved)
{
    ExpectName({{L"Lease", 0}, {L"Holder", 0}}, "%4Cease/Holder");
    ExpectName({{L"Lease", 1}}, "%4Cease[2]");
    ExpectName({{L"a", 0}, {L"Lease", 0}}, "a/Lease");
    ExpectName({{L"Leases", 0}}, "Leases");
    ExpectName({{L"Device Control", 0}}, "%44evice Control");
    std::string name;
    AppendLevel(name, L"Lease", 0, false);
    EXPECT_EQ(name, "Lease");
    EXPECT_TRUE(IsReserved("Lease/Holder"));
    EXPECT_TRUE(IsReserved("Node Control/Rebirth"));
    EXPECT_FALSE(IsReserved("Leases"));
    EXPECT_FALSE(IsReserved("%4Cease/Holder"));
}

TEST(MetricName, OfOthersIsTakenAsItIs)
{
    EXPECT_EQ(LevelsOfName("100 %"), (std::vector<NameLevel>{{L"100 %", 0}}));
    EXPECT_EQ(LevelsOfName("%zz%{"), (std::vector<NameLevel>{{L"%zz%{", 0}}));
    EXPECT_EQ(LevelsOfName("in[0]/in[1]/in[02]/[2]/in[x]"),
              (std::vector<NameLevel>{{L"in[0]", 0}, {L"in[1]", 0}, {L"in[02]", 0}, {L"[2]", 0}, {L"in[x]", 0}}));
    EXPECT_EQ(LevelsOfName("in[99999999999]"), (std::vector<NameLevel>{{L"in[99999999999]", 0}}));
    EXPECT_EQ(LevelsOfName("a//b"), (std::vector<NameLevel>{{L"a", 0}, {L"", 0}, {L"b", 0}}));
}

} // namespace
} // namespace qx5::test
