// What the session on the terminal collects around a request: only then, and no more than it shows.
#include <cli/transcript.h>
#include <protocol/frame.h>
#include <protocol/house_records.h>
#include <protocol/tree_codec.h>

#include <VordalAttributesR/CVordalType.h>

#include <gtest/gtest.h>

#include <string>

namespace qx5::cli {
namespace {

SessionEvent Answered(std::vector<protocol::TreeNode> const& nodes)
{
    std::string error;
    auto const bytes = protocol::EncodeTree(nodes, error).value();
    return {SessionEvent::Kind::Received,
            protocol::BuildFrame(protocol::records::AttributeTree.Id(), {0, -1}, 0.0, bytes),
            {},
            0,
            {}};
}

SessionEvent Echoed(double range)
{
    CAttributeMap tree;
    tree.Add(L"x5Range", CVordalDouble(range));
    return {SessionEvent::Kind::Echoed, {}, tree, 0, {}};
}

std::size_t CountOf(std::string const& text, std::string const& part)
{
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST(Transcript, CollectsFromBeginToTakeAlone)
{
    Transcript transcript;
    transcript.OnSession(Echoed(1.0));
    EXPECT_EQ(transcript.Take(), "");
    transcript.Begin();
    transcript.OnSession(Echoed(2.0));
    transcript.OnSession(Answered({{L"x5Range", 3.0, {}}}));
    auto const text = transcript.Take();
    EXPECT_EQ(CountOf(text, "x5Range = 1"), 0U);
    EXPECT_EQ(CountOf(text, "x5Range = 2"), 1U);
    EXPECT_EQ(CountOf(text, "  the sonar answered\n    x5Range = 3\n"), 1U);
    transcript.OnSession(Answered({{L"x5Range", 4.0, {}}}));
    EXPECT_EQ(transcript.Take(), "");
}

TEST(Transcript, KeepsTheFirstOfAFloodAndCountsTheRest)
{
    Transcript transcript;
    transcript.Begin();
    for (int i = 0; i < 1000; ++i) {
        transcript.OnSession(Answered({{L"x5PingNumber", i, {}}}));
        transcript.OnSession(Echoed(i));
    }
    auto const text = transcript.Take();
    EXPECT_EQ(CountOf(text, "x5PingNumber = "), Transcript::Greatest);
    EXPECT_EQ(CountOf(text, "x5PingNumber = 0\n"), 1U);
    EXPECT_EQ(CountOf(text, "x5Range = "), Transcript::Greatest);
    EXPECT_EQ(CountOf(text, "  and 1872 more that are not shown\n"), 1U);
}

TEST(Transcript, TellsALongAnswerByItsLines)
{
    Transcript transcript;
    transcript.Begin();
    std::vector<protocol::TreeNode> nodes;
    for (int i = 0; i < 13; ++i) {
        nodes.push_back({L"k" + std::to_wstring(i), i, {}});
    }
    transcript.OnSession(Answered(nodes));
    transcript.OnSession(Answered({{L"text", std::wstring(100000, L'x'), {}}}));
    EXPECT_EQ(transcript.Take(), "  the sonar answered with 13 lines of settings\n"
                                 "  the sonar answered with a long text\n");
}

} // namespace
} // namespace qx5::cli
