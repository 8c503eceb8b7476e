// Messages of vessel and shore: their bytes, what they bring across, and what is none of them.
#include "authority/shore_facts.h"
#include "authority/shore_messages.h"

#include <sparkplug/payload.h>

#include <protocol/kinds.h>
#include <values/vordal_value.h>

#include <limits>
#include <string>

#include <gmock/gmock.h>

namespace qx5::authority {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string FromHex(std::string_view hex)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        if (hex[i] == ' ') {
            --i;
            continue;
        }
        bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
    }
    return bytes;
}

template <typename Message>
std::string Bytes(Message const& message)
{
    std::string error;
    auto const bytes = Encode(message, error);
    EXPECT_TRUE(bytes) << error;
    return bytes.value_or(std::string());
}

RequestStamp const stamp{4711, 3, {0xFEDCBA9876543210, 1763688384.5}, 20.0};

/// A tree with one value of each kind, a key that occurs twice, a branch, and a key that is a switch by its presence.
CAttributeMap EveryKind()
{
    CAttributeMap tree;
    AddValue(tree, AttributeKey(L"int"), std::int32_t{-5});
    AddValue(tree, AttributeKey(L"uint"), std::uint32_t{4000000000});
    AddValue(tree, AttributeKey(L"int64"), std::int64_t{-5000000000});
    AddValue(tree, AttributeKey(L"bool"), true);
    AddValue(tree, AttributeKey(L"double"), 0.1);
    AddValue(tree, AttributeKey(L"pair"), std::pair(1.5, -2.5));
    AddValue(tree, AttributeKey(L"item"), protocol::DataReference{1, 78, 1, 1, 65535, 65535});
    AddValue(tree, AttributeKey(L"text"), std::wstring(L"a/b %\x00E4"));
    AddValue(tree, AttributeKey(L"ints"), std::vector<std::int32_t>{1, -2});
    AddValue(tree, AttributeKey(L"doubles"), std::vector<double>{1.0, 2.0});
    AddValue(tree, AttributeKey(L"axes"), std::array<double, 3>{1.0, 2.0, 3.0});
    AddValue(tree, AttributeKey(L"twice"), std::int32_t{1});
    AddValue(tree, AttributeKey(L"twice"), std::int32_t{2});
    AddValue(tree.FindCreate(AttributeKey(L"branch")), AttributeKey(L"a/b"), std::int32_t{7});
    tree.Add(AttributeKey(L"Lease"));
    tree.FindCreate(AttributeKey(L"Lease")).SetFlags(4);
    return tree;
}

void ExpectSame(CAttributeMap const& a, CAttributeMap const& b)
{
    ASSERT_EQ(a.Count(), b.Count());
    for (int i = 0; i < a.Count(); ++i) {
        CAttributeMap const& left = a.GetChild(i);
        CAttributeMap const& right = b.GetChild(i);
        EXPECT_EQ(left.KeyText(), right.KeyText());
        EXPECT_EQ(left.GetFlags(), right.GetFlags());
        EXPECT_EQ(ValueOf(left.Value()), ValueOf(right.Value()));
        ExpectSame(left, right);
    }
}

TEST(ShoreMessages, AreSparkplugPayloads)
{
    LookMessage const look{7, 300, true};
    auto const bytes = FromHex("12 11 0A0B 4C6F6F6B2F53656E646572 2008 5807"
                               "12 12 0A0B 4C6F6F6B2F4E756D626572 2008 58AC02"
                               "12 15 0A0F 4C6F6F6B2F446574656374696F6E73 200B 7001");
    EXPECT_EQ(Bytes(look), bytes);
    std::string error;
    EXPECT_EQ(DecodeLook(bytes, error), look) << error;
    // A small number in the narrow field is as good.
    auto const narrow = FromHex("12 11 0A0B 4C6F6F6B2F53656E646572 2008 5007"
                                "12 12 0A0B 4C6F6F6B2F4E756D626572 2008 50AC02"
                                "12 15 0A0F 4C6F6F6B2F446574656374696F6E73 200B 7001");
    EXPECT_EQ(DecodeLook(narrow, error), look) << error;
}

TEST(ShoreMessages, BringARequestAcrossWithAllKinds)
{
    std::string error;
    auto const request = DecodeRequest(Bytes(RequestMessage{stamp, EveryKind()}), error);
    ASSERT_TRUE(request) << error;
    EXPECT_EQ(request->stamp, stamp);
    ExpectSame(request->request, EveryKind());
}

TEST(ShoreMessages, BringResultsAcross)
{
    std::string error;
    CAttributeMap asked;
    AddValue(asked, AttributeKey(L"a"), 75.0);
    CAttributeMap has;
    AddValue(has, AttributeKey(L"a"), 50.0);
    auto const reply =
        DecodeReply(Bytes(ShoreReply(RequestReply{4711, 3, "differs", "the sonar has 50", asked, {}, has})), error);
    ASSERT_TRUE(reply && std::holds_alternative<RequestReply>(*reply)) << error;
    auto const& result = std::get<RequestReply>(*reply);
    EXPECT_EQ(result.sender, 4711U);
    EXPECT_EQ(result.number, 3U);
    EXPECT_EQ(result.outcome, "differs");
    EXPECT_EQ(result.reason, "the sonar has 50");
    ExpectSame(result.asked, asked);
    EXPECT_EQ(result.echoed.Count(), 0);
    ExpectSame(result.has, has);

    for (auto const kind : {LeaseReplyKind::Granted, LeaseReplyKind::Waits, LeaseReplyKind::Refused}) {
        LeaseReply const lease{1, 2, kind, "otto has it"};
        auto const read = DecodeReply(Bytes(ShoreReply(lease)), error);
        ASSERT_TRUE(read && std::holds_alternative<LeaseReply>(*read)) << error;
        EXPECT_EQ(std::get<LeaseReply>(*read), lease);
    }
    LeaseNews held;
    held.holder = "otto";
    held.since = 1.7e9;
    LookMessage const answer{1, 2, false, true, SonarFacts{held, SonarLink::Lost, "the cable is out"}};
    auto const answered = DecodeReply(Bytes(ShoreReply(answer)), error);
    ASSERT_TRUE(answered && std::holds_alternative<LookMessage>(*answered)) << error;
    EXPECT_EQ(std::get<LookMessage>(*answered), answer);
    LookMessage const look{1, 2, false};
    auto const read = DecodeReply(Bytes(ShoreReply(look)), error);
    ASSERT_TRUE(read && std::holds_alternative<LookMessage>(*read)) << error;
    EXPECT_EQ(std::get<LookMessage>(*read), look);
}

TEST(ShoreMessages, BringQuestionsAboutLeasesAcross)
{
    std::string error;
    for (LeaseMessage const& message :
         {LeaseMessage{stamp, LeaseVerb::Take, 60.0, ""}, LeaseMessage{stamp, LeaseVerb::GiveBack, 0.0, ""},
          LeaseMessage{stamp, LeaseVerb::Grant, 0.0, "otto"}, LeaseMessage{stamp, LeaseVerb::Refuse, 0.0, "otto"}}) {
        EXPECT_EQ(DecodeLease(Bytes(message), error), message) << error;
    }
    EXPECT_EQ(ToText(LeaseVerb::GiveBack), "give-back");
    EXPECT_EQ(ToText(LeaseReplyKind::Waits), "waits");
}

TEST(ShoreMessages, TellDetectionsInElevenBytesEach)
{
    DetectionsMessage message;
    message.utc = 1763688384.25;
    message.ping = -7;
    message.soundVelocity = 1500.0;
    message.pose = {1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0};
    message.steering = -10.0;
    message.beams = 256;
    message.beam = {1, 255};
    message.angle = {-60.004F, 59.996F};
    message.travelTime = {0.0123F, 0.5F};
    message.level = {-12.34F, 130.06F};
    message.quality = {0.0F, 1.0F};
    std::string error;
    auto const bytes = Bytes(message);
    auto const payload = sparkplug::DecodePayload(bytes, error);
    ASSERT_TRUE(payload) << error;
    ASSERT_EQ(payload->body.size(), 93U + 2U * 11U);
    // Beam 255, 6000 hundredths of a degree, half a second, 1301 tenths of a dB, all of the quality.
    EXPECT_EQ(std::string(payload->body.end() - 11, payload->body.end()), FromHex("FF00 7017 0000003F 1505 FF"));
    auto expected = message;
    expected.angle = {-60.0F, 60.0F};
    expected.level = {-12.3F, 130.1F};
    EXPECT_EQ(DecodeDetections(bytes, error), expected) << error;

    auto odd = message;
    odd.angle = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()};
    auto const read = DecodeDetections(Bytes(odd), error);
    ASSERT_TRUE(read) << error;
    EXPECT_EQ(read->angle[0], 0.0F);
    EXPECT_EQ(read->angle[1], 327.67F);
    message.level.pop_back();
    EXPECT_EQ(Encode(message, error), std::nullopt);
}

TEST(ShoreMessages, RefuseDetectionsThatAreNotWhatTheySay)
{
    auto const refused = [](sparkplug::Payload const& payload) {
        std::string error;
        auto const bytes = sparkplug::EncodePayload(payload, error);
        EXPECT_EQ(DecodeDetections(*bytes, error), std::nullopt);
        return error;
    };
    sparkplug::Payload payload;
    EXPECT_THAT(refused(payload), HasSubstr("no body of the form that is known"));
    payload.body.assign(93, 0);
    EXPECT_THAT(refused(payload), HasSubstr("no body of the form that is known"));
    payload.body[0] = 1;
    payload.body[89] = 1;
    EXPECT_EQ(refused(payload), "it is no message of detections: it has 93 bytes and tells of 1 detections");
    payload.body[92] = 255;
    EXPECT_THAT(refused(payload), HasSubstr("it has 93 bytes and tells of 42781900"));
}

TEST(ShoreMessages, BringHistoryAcross)
{
    std::string error;
    HistoryMessage const message{"0123456789abcdef0123456789abcdef",
                                 {{1, 5, std::nullopt, {}},
                                  {6, 6, outbox::Kind::Value, std::string("\0\xFF", 2)},
                                  {7, 7, outbox::Kind::Event, "e"},
                                  {8, 8, outbox::Kind::Result, ""},
                                  {9, 9, outbox::Kind::Action, "a"}}};
    EXPECT_EQ(DecodeHistory(Bytes(message), error), message) << error;
    AcknowledgementMessage const acknowledgement{"0123", 9};
    EXPECT_EQ(DecodeAcknowledgement(Bytes(acknowledgement), error), acknowledgement) << error;

    HistoryContent const values(HistoryValues{
        "Bow", {{"a/b[2]", 5.0, 1763688384123}, {"c", std::pair(1.0, 2.0), 5}, {"d", protocol::Value(), 6}}});
    EXPECT_EQ(DecodeHistoryContent(Bytes(values), error), values) << error;
    HistoryContent const text(HistoryText{"Bow", "otto", "{}"});
    EXPECT_EQ(DecodeHistoryContent(Bytes(text), error), text) << error;
}

TEST(ShoreMessages, RefuseWhatIsNoneInOneLine)
{
    std::string error;
    EXPECT_EQ(DecodeLook("\xFF\xFF", error), std::nullopt);
    EXPECT_EQ(error, "it is no look: 2 bytes are no Sparkplug payload");
    EXPECT_EQ(DecodeLook("", error), std::nullopt);
    EXPECT_EQ(error, "it is no look: Look/Sender is not there");
    EXPECT_FALSE(DecodeRequest(Bytes(RequestMessage{stamp, {}}), error));
    EXPECT_EQ(error, "it is no request: nothing is asked for");
    EXPECT_FALSE(DecodeRequest(std::string(std::size_t{5} << 20, 'x'), error));
    EXPECT_EQ(error, "it is no request: a payload of 5242880 bytes is refused; it may have 4194304");
    EXPECT_FALSE(DecodeHistory("", error));
    EXPECT_FALSE(DecodeAcknowledgement("", error));
    EXPECT_FALSE(DecodeHistoryContent("", error));

    sparkplug::Payload payload;
    payload.metrics.resize(6);
    char const* const names[] = {"Request/Sender", "Request/Number", "Request/Run",
                                 "Request/Sent",   "Request/Limit",  "Lease/Ask"};
    for (std::size_t i = 0; i < 6; ++i) {
        payload.metrics[i].name = names[i];
        payload.metrics[i].value = std::uint64_t{1};
    }
    payload.metrics[3].value = 1.0;
    payload.metrics[4].value = 1.0;
    payload.metrics[5].value = std::string("steal\n");
    EXPECT_FALSE(DecodeLease(*sparkplug::EncodePayload(payload, error), error));
    EXPECT_EQ(error, "it is no question about a lease: Lease/Ask is \"steal?\"");
    payload.metrics[0].value = std::string("1");
    EXPECT_FALSE(DecodeLease(*sparkplug::EncodePayload(payload, error), error));
    EXPECT_EQ(error, "it is no question about a lease: Request/Sender is not there");
}

TEST(ShoreMessages, TellAnOccurrenceWithoutForerunnerAsANameOfItsOwn)
{
    sparkplug::Payload payload;
    std::string error;
    auto const bytes = Bytes(RequestMessage{stamp, EveryKind()});
    payload = *sparkplug::DecodePayload(bytes, error);
    payload.metrics.resize(6);
    payload.metrics[5] = {};
    payload.metrics[5].name = "Set/x[2000000000]";
    payload.metrics[5].type = sparkplug::DataType::Double;
    payload.metrics[5].value = 1.0;
    auto const request = DecodeRequest(*sparkplug::EncodePayload(payload, error), error);
    ASSERT_TRUE(request) << error;
    ASSERT_EQ(request->request.Count(), 1);
    EXPECT_EQ(request->request.GetChild(0).KeyText(), L"x[2000000000]");
}

TEST(ShoreFacts, AreReadAsTheyWereTold)
{
    VesselTime const time{0xFEDCBA9876543210, 1763688384.5};
    EXPECT_EQ(VesselTimeIn(TreeOf(time)), time);
    EXPECT_EQ(VesselTimeIn({}), std::nullopt);
    EXPECT_EQ(VesselTimeIn(TreeOf({0, 5.0})), std::nullopt);

    CAttributeMap reserved;
    LeaseNews news;
    news.holder = "otto";
    news.since = 100.0;
    news.until = 160.0;
    news.asker = "ada";
    news.answerBy = 130.0;
    AddLease(reserved, news);
    AddLink(reserved, SonarLink::NoAnswer, "refused");
    EXPECT_EQ(LeaseIn(reserved), news);
    EXPECT_EQ(LinkIn(reserved), SonarLink::NoAnswer);
    EXPECT_EQ(LinkReasonIn(reserved), "refused");

    CAttributeMap none;
    AddLease(none, {});
    ASSERT_EQ(none.Find(L"Lease").Count(), 5) << "the metrics of a device stay the same whoever commands";
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(none.Find(L"Lease").GetChild(i).Value().Kind(), reserved.Find(L"Lease").GetChild(i).Value().Kind());
    }
    EXPECT_EQ(LeaseIn(none), LeaseNews());
    EXPECT_EQ(LeaseIn({}), LeaseNews());
    EXPECT_EQ(LinkIn({}), std::nullopt);
}

} // namespace
} // namespace qx5::authority
