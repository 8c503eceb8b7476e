// `qx5 decode` of captured traffic: every form of file and link, segments out of order, twice and lost, damaged files.
#include "captured_traffic.h"
#include "program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace qx5::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

std::string const rangeFrame = FromHex(rangeFrameHex);

std::string const rangeLines =
    "record 7500 remote control, 96 bytes, device 0, enumerator 65535, 2023-11-14 22:13:20.000 UTC\n"
    "  command 1003 range, ticket 1003\n"
    "    @0  f32  x5Range = 50 m\n"
    "\n";

Outcome Decode(std::string const& file, std::vector<std::string> arguments = {})
{
    arguments.insert(arguments.begin(), "decode");
    return Qx5(arguments, file);
}

TEST(DecodeCapture, ReadsEveryFormOfFileAndLink)
{
    for (LinkKind const link :
         {LinkKind::Loopback, LinkKind::Ethernet, LinkKind::RawIp, LinkKind::LinuxCooked, LinkKind::LinuxCooked2}) {
        for (unsigned form = 0; form < 8; ++form) {
            CaptureForm const made{.link = link,
                                   .isPcapng = (form & 1U) != 0,
                                   .isBigEndian = (form & 2U) != 0,
                                   .hasNanoseconds = (form & 4U) != 0,
                                   .isIpv6 = (form & 3U) == 1,
                                   .hasVlan = form == 6};
            CapturedTraffic traffic(made);
            traffic.ToSonar(rangeFrame.substr(0, 40));
            traffic.ToSonar(rangeFrame.substr(40));
            traffic.FromSonar(rangeFrame);
            auto const decoded = Decode(traffic.File());
            std::string const fraction = made.hasNanoseconds ? "123456789Z" : "123456000Z";
            std::string const host = made.isIpv6 ? "[fd00::1]:50000" : "10.0.0.1:50000";
            std::string const sonar = made.isIpv6 ? "[fd00::2]:7000" : "10.1.0.1:7000";
            EXPECT_EQ(decoded.code, 0) << decoded.err;
            EXPECT_EQ(decoded.out, "2023-11-14T22:13:21." + fraction + "  connection 1  " + host + " > " + sonar +
                                       "\n" + rangeLines + "2023-11-14T22:13:22." + fraction + "  connection 1  " +
                                       sonar + " > " + host + "\n" + rangeLines)
                << static_cast<int>(link) << ' ' << form;
        }
    }
}

TEST(DecodeCapture, PutsSegmentsInTheirOrderAndTakesEachOnce)
{
    CapturedTraffic traffic;
    auto const two = rangeFrame + rangeFrame;
    auto const segment = [&](std::uint32_t at, std::size_t size) {
        traffic.Add({.payload = two.substr(at, size), .sequence = 1 + at});
    };
    segment(0, 30);
    segment(60, 60); // ahead
    segment(0, 30);  // again
    segment(20, 50); // overlaps on both sides
    segment(150, 42);
    segment(120, 30);
    segment(60, 60);
    auto const decoded = Decode(traffic.File());
    EXPECT_EQ(decoded.code, 0) << decoded.err;
    EXPECT_EQ(decoded.out,
              "2023-11-14T22:13:23.123456000Z  connection 1  10.0.0.1:50000 > 10.1.0.1:7000\n" + rangeLines +
                  "2023-11-14T22:13:25.123456000Z  connection 1  10.0.0.1:50000 > 10.1.0.1:7000\n" + rangeLines);
}

TEST(DecodeCapture, CountsSequenceNumbersPastTheirEnd)
{
    CapturedTraffic traffic;
    traffic.Add({.payload = "", .sequence = 0xFFFFFFCF, .flags = 0x02});
    traffic.Add({.payload = rangeFrame.substr(60), .sequence = 12});
    traffic.Add({.payload = rangeFrame.substr(0, 60), .sequence = 0xFFFFFFD0});
    auto const decoded = Decode(traffic.File());
    EXPECT_EQ(decoded.code, 0) << decoded.err;
    EXPECT_THAT(decoded.out, HasSubstr(rangeLines));
}

TEST(DecodeCapture, TellsOfBytesThatWereNotCaptured)
{
    CapturedTraffic traffic;
    auto const three = rangeFrame + rangeFrame + rangeFrame;
    traffic.Add({.payload = three.substr(0, 130), .sequence = 1});
    traffic.Add({.payload = three.substr(150), .sequence = 151});
    auto const decoded = Decode(traffic.File());
    ExpectComplaint(decoded, 1, {"2 good records", "76 bytes skipped", "20 bytes not captured"});
    EXPECT_THAT(decoded.out, HasSubstr("-- connection 1  10.0.0.1:50000 > 10.1.0.1:7000: 20 bytes that were not "
                                       "captured\n\n"));
}

TEST(DecodeCapture, TellsConnectionsApartAndChoosesByPort)
{
    CapturedTraffic traffic;
    traffic.Add({.payload = rangeFrame.substr(0, 50), .sonarPort = 7001, .hostPort = 40001});
    traffic.Add({.payload = rangeFrame.substr(0, 50), .sonarPort = 7002, .hostPort = 40002});
    traffic.Add({.payload = "GET / HTTP/1.1\r\n\r\n", .sonarPort = 80, .hostPort = 40003});
    traffic.Add({.payload = rangeFrame.substr(50), .sonarPort = 7002, .hostPort = 40002});
    traffic.Add({.payload = rangeFrame.substr(50), .sonarPort = 7001, .hostPort = 40001});
    auto const all = Decode(traffic.File());
    EXPECT_EQ(all.code, 0) << all.err;
    EXPECT_EQ(all.out, "2023-11-14T22:13:23.123456000Z  connection 2  10.0.0.1:40002 > 10.1.0.1:7002\n" + rangeLines +
                           "2023-11-14T22:13:24.123456000Z  connection 1  10.0.0.1:40001 > 10.1.0.1:7001\n" +
                           rangeLines);
    auto const one = Decode(traffic.File(), {"--port", "7001"});
    EXPECT_EQ(one.code, 0) << one.err;
    EXPECT_THAT(one.out, AllOf(HasSubstr("10.1.0.1:7001"), Not(HasSubstr("7002"))));
    ExpectComplaint(Decode(traffic.File(), {"--port", "80"}), 1, {"0 good records", "18 bytes skipped"});
    ExpectComplaint(Decode(rangeFrame, {"--port", "80"}), 2, {"--port is for that alone"});
}

TEST(DecodeCapture, AConnectionOfTheSameEndsBeginsAnew)
{
    CapturedTraffic traffic;
    traffic.Add({.payload = "", .sequence = 100, .flags = 0x02});
    traffic.Add({.payload = "", .sequence = 100, .flags = 0x02}); // the same, again
    traffic.Add({.payload = rangeFrame, .sequence = 101});
    traffic.Add({.payload = "", .sequence = 5000, .flags = 0x02});
    traffic.Add({.payload = rangeFrame, .sequence = 5001});
    auto const decoded = Decode(traffic.File());
    EXPECT_EQ(decoded.code, 0) << decoded.err;
    EXPECT_THAT(decoded.out,
                AllOf(HasSubstr("22.123456000Z  connection 1  "), HasSubstr("24.123456000Z  connection 2")));
}

TEST(DecodeCapture, GoesOnBehindDamageInTheStream)
{
    CapturedTraffic traffic;
    traffic.ToSonar(rangeFrame + "garbage" + rangeFrame);
    // One that claims to be 5,000 bytes long holds nothing back for longer than two seconds.
    traffic.ToSonar(rangeFrame.substr(0, 8) + FromHex("88 13 00 00") + rangeFrame.substr(12));
    for (int i = 0; i < 4; ++i) {
        traffic.ToSonar(rangeFrame);
    }
    auto const decoded = Decode(traffic.File());
    ExpectComplaint(decoded, 1, {"6 good records, 1 damaged frame, 103 bytes skipped"});
    EXPECT_THAT(decoded.out,
                AllOf(HasSubstr(": 7 bytes of no good frame skipped\n\n"),
                      HasSubstr("22:13:24.123456000Z  connection 1"), HasSubstr("22:13:25.123456000Z  connection 1")));
}

TEST(DecodeCapture, ShowsWhatIsWholeOfADamagedFile)
{
    CapturedTraffic traffic;
    traffic.ToSonar(rangeFrame);
    traffic.ToSonar(rangeFrame);
    CapturedTraffic other({.isPcapng = true});
    other.ToSonar(rangeFrame);
    other.ToSonar(rangeFrame);
    for (auto const& file : {traffic.File(), other.File()}) {
        auto const cut = Decode(file.substr(0, file.size() - 50));
        ExpectComplaint(cut, 1, {"1 good record", "the file is damaged: it ends within a "});
        EXPECT_THAT(cut.out, HasSubstr(rangeLines));
        auto bad = file;
        bad[bad.size() - 150] = '\x7F'; // of sizes
        auto const damaged = Decode(bad);
        EXPECT_LE(damaged.code, 1);
    }
    ExpectComplaint(Decode(traffic.File().substr(0, 10)), 1, {"0 good records", "it ends within its head"});
    CapturedTraffic shortened({.cutAt = 100});
    shortened.ToSonar(rangeFrame);
    shortened.ToSonar(rangeFrame);
    ExpectComplaint(Decode(shortened.File()), 1, {"0 good records", "36 bytes not captured"});
    CapturedTraffic heads({.cutAt = 30});
    heads.ToSonar(rangeFrame);
    ExpectComplaint(Decode(heads.File()), 1, {"0 good records", "1 packet that cannot be used"});
}

TEST(DecodeCapture, TellsItAllAsJson)
{
    CapturedTraffic traffic;
    traffic.FromSonar(rangeFrame);
    auto const decoded = Decode(traffic.File(), {"--json"});
    EXPECT_EQ(decoded.code, 0) << decoded.err;
    auto const record = nlohmann::json::parse(decoded.out);
    EXPECT_EQ(record.at("time"), "2023-11-14T22:13:20.123456000Z");
    EXPECT_EQ(record.at("connection"), 1);
    EXPECT_EQ(record.at("from"), "10.1.0.1:7000");
    EXPECT_EQ(record.at("to"), "10.0.0.1:50000");
    EXPECT_EQ(record.at("number"), 1003);
}

TEST(DecodeCapture, ReadsWhatARecordingExports)
{
    TemporaryFolder const folder;
    auto const recording = (folder / "session.mcap").string();
    auto const capture = (folder / "session.pcapng").string();
    ASSERT_EQ(Qx5({"run", "--guided", "--once", "--record", recording}).code, 0);
    ASSERT_EQ(Qx5({"recording", "export", recording, "--pcapng", capture}).code, 0);
    auto const info = nlohmann::json::parse(Qx5({"recording", "info", recording, "--json"}).out);
    auto const decoded = Qx5({"decode", capture, "--json"});
    EXPECT_EQ(decoded.code, 0) << decoded.err;
    EXPECT_EQ(std::count(decoded.out.begin(), decoded.out.end(), '\n'), info.at("records").get<int>());
    EXPECT_THAT(decoded.out, HasSubstr(R"({"key":"x5BeamSteer","value":[10.0,-10.0],"unit":"deg"})"));
}

} // namespace
} // namespace qx5::test
