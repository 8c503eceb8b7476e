// `qx5 keys` and `qx5 explain`.
#include "program.h"

#include <algorithm>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr char const* rowsMove = "a row that is new in commands/chain.h moves those below it: count anew here";

TEST(Keys, ListsAllOrThoseThatMatch)
{
    auto const all = Qx5({"keys"});
    EXPECT_EQ(all.code, 0);
    EXPECT_THAT(all.out, AllOf(StartsWith("key "), HasSubstr("x5BeamSteer"), HasSubstr("RequestCoverageSector"),
                               HasSubstr("EchoMarker/EchoMarkerDepth")));
    EXPECT_GT(std::count(all.out.begin(), all.out.end(), '\n'), 100);

    auto const one = Qx5({"keys", "1003"});
    EXPECT_EQ(one.code, 0);
    EXPECT_EQ(std::count(one.out.begin(), one.out.end(), '\n'), 2) << one.out;
    EXPECT_THAT(one.out, AllOf(HasSubstr("x5Range"), HasSubstr("double"), HasSubstr("RequestValue")));

    auto const table = Qx5({"keys", "--markdown", "x5Range"});
    EXPECT_EQ(table.code, 0);
    EXPECT_THAT(table.out, AllOf(StartsWith("| key | kind |"), HasSubstr("| `x5Range` | double | m | 1003 |")));

    ExpectComplaint(Qx5({"keys", "zzz"}), 1, {"no key, handler or record matches 'zzz'"});
}

TEST(Explain, TellsOfAKeyAndOfAHandler)
{
    auto const key = Qx5({"explain", "x5CoverageAngle"});
    EXPECT_EQ(key.code, 0);
    EXPECT_EQ(key.err, "");
    EXPECT_THAT(key.out, AllOf(HasSubstr("double, in deg"), HasSubstr("row 21 of the chain, RequestCoverageSector"),
                               HasSubstr("strict"), HasSubstr("record 1035"), HasSubstr("x5RxSteeringAngle")))
        << rowsMove;
    auto const handler = Qx5({"explain", "RequestPingOnOff", "RequestManualSoundVelocity"});
    EXPECT_EQ(handler.code, 0);
    EXPECT_THAT(handler.out, AllOf(HasSubstr("row 13 of the chain"), HasSubstr("row 17 of the chain"),
                                   HasSubstr("7610"), HasSubstr("PingSequenceId")))
        << rowsMove;
}

TEST(Explain, TellsWhomTheFrameNames)
{
    auto const own = Qx5({"explain", "x5Range"});
    EXPECT_THAT(own.out, HasSubstr("to the sonar (device 0, enumerator -1)\n"));
    auto const file = Qx5({"explain", "SendSbesTransducerUpdateXml"});
    EXPECT_THAT(file.out,
                HasSubstr("to device \"DeviceId\" of the stored tree (0 when it is not there), enumerator 0\n"));
    auto const framed = Qx5({"explain", "x5Absorption"});
    EXPECT_THAT(framed.out, HasSubstr("to device \"DeviceId\" and enumerator \"DeviceEnum\" of the stored tree "
                                      "(enumerator 0 where \"x5SystemIDH\" is true), not while \"DeviceId\" is 0\n"));
}

TEST(Explain, SuggestsWhatMayBeMeant)
{
    ExpectComplaint(Qx5({"explain", "x5Rnge"}), 1, {"'x5Rnge'", "did you mean x5Range?"});
    ExpectComplaint(Qx5({"explain", "nonsense"}), 1, {"'nonsense'", "`qx5 keys` lists them"});
    ExpectComplaint(Qx5({"explain", std::string(100000, 'x')}), 1, {"`qx5 keys` lists them"});
    auto const both = Qx5({"explain", "nonsense", "x5Range"});
    ExpectComplaint(both, 1, {"nonsense"});
    EXPECT_THAT(both.out, HasSubstr("row 6 of the chain")) << rowsMove;
}

} // namespace
} // namespace qx5::test
