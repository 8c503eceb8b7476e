// Recordings for other programs: captured traffic as tshark and a program of ours in another language read it, tables,
// lines of JSON.
#include "child_process.h"
#include "recorded_stage.h"
#include "recording/pcapng_export.h"
#include "recording/recorded_session.h"
#include "recording/recording_error.h"
#include "recording/table_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>

namespace qx5::test {
namespace {

using namespace recording;
using ::testing::HasSubstr;
using ::testing::Not;

std::string Content(std::filesystem::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Export : public ::testing::Test
{
protected:
    RecordedStage stage;
    std::filesystem::path const file = stage.RecordTwoSonars();
    std::filesystem::path const out = stage.folder / "out";
};

TEST_F(Export, TrafficIsWholeForAnotherReader)
{
    ASSERT_STRNE(QX5_PYTHON, "") << "there is no python3: install Debian's package of that name and configure again";
    RecordedSession session(file);
    ExportPcapng(session, out);
    auto const read = RunToEnd({QX5_PYTHON, QX5_SOURCE_DIR "/tests/recording/pcapng_reader.py", out.string()});
    EXPECT_EQ(read.code, 0) << read.err;
    // The checksums of the streams are sha256sum's of the frames' bytes: the frame of 96 bytes, and that of 3,068.
    EXPECT_EQ(
        read.out,
        "interface 0 Bow\n"
        "1700000001.000000000 0 10.0.0.1:49152>10.1.0.1:7000 1 1 18 96\n"
        "1700000002.000000000 0 10.1.0.1:7000>10.0.0.1:49152 1 97 18 96\n"
        "interface 1 Stern\n"
        "1700000004.000000000 1 10.1.0.2:7000>10.0.0.1:49153 1 1 10 1460\n"
        "1700000004.000000000 1 10.1.0.2:7000>10.0.0.1:49153 1461 1 10 1460\n"
        "1700000004.000000000 1 10.1.0.2:7000>10.0.0.1:49153 2921 1 18 148\n"
        "1700000005.000000000 0 10.0.0.1:49154>10.1.0.1:7000 1 1 18 96\n"
        "stream 10.0.0.1:49152>10.1.0.1:7000 96 6759a1293c9b8ec9dc929a57fa17e92d65921e373309935db78717f5883d64f0\n"
        "stream 10.1.0.1:7000>10.0.0.1:49152 96 6759a1293c9b8ec9dc929a57fa17e92d65921e373309935db78717f5883d64f0\n"
        "stream 10.1.0.2:7000>10.0.0.1:49153 3068 7645b62af1be2510fd228035ee8fbc31c46241f9727ce518ad5f0b6a10cc8966\n"
        "stream 10.0.0.1:49154>10.1.0.1:7000 96 6759a1293c9b8ec9dc929a57fa17e92d65921e373309935db78717f5883d64f0\n");
}

TEST_F(Export, TheDissectorOpensTheTraffic)
{
    ASSERT_STRNE(QX5_TSHARK, "") << "there is no tshark: install Debian's package of that name and configure again";
    RecordedSession session(file);
    ExportPcapng(session, out);
    auto const shown = RunToEnd({QX5_TSHARK,
                                 "-r",
                                 out.string(),
                                 "-X",
                                 "lua_script:" QX5_SOURCE_DIR "/docs/x5_records.lua",
                                 "-o",
                                 "ip.check_checksum:TRUE",
                                 "-o",
                                 "tcp.check_checksum:TRUE",
                                 "-Y",
                                 "x5",
                                 "-T",
                                 "fields",
                                 "-e",
                                 "frame.time_epoch",
                                 "-e",
                                 "tcp.stream",
                                 "-e",
                                 "ip.src",
                                 "-e",
                                 "tcp.checksum.status",
                                 "-e",
                                 "x5.command",
                                 "-e",
                                 "x5.record",
                                 "-e",
                                 "frame.interface_name"});
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_EQ(shown.out, "1700000001.000000000\t0\t10.0.0.1\t1\t1003\t7500\tBow\n"
                         "1700000002.000000000\t0\t10.1.0.1\t1\t1003\t7500\tBow\n"
                         "1700000004.000000000\t1\t10.1.0.2\t1\t\t10000\tStern\n"
                         "1700000005.000000000\t2\t10.0.0.1\t1\t1003\t7500\tBow\n");
    // Nothing about the connections is odd.
    auto const odd = RunToEnd({QX5_TSHARK, "-r", out.string(), "-Y", "tcp.analysis.flags or _ws.malformed"});
    EXPECT_EQ(odd.out, "");
}

TEST_F(Export, ATableHasARowForEachValue)
{
    RecordedSession session(file);
    ExportCsv(session, out, {});
    EXPECT_EQ(Content(out), "time,sonar,from,key,value\r\n"
                            "2023-11-14T22:13:20.000000000Z,1.78.1.1,settings,x5Range,100\r\n"
                            "2023-11-14T22:13:20.000000000Z,1.78.1.1,settings,x5Gain,10\r\n"
                            "2023-11-14T22:13:20.000000000Z,1.78.2.1,settings,x5Range,30\r\n"
                            "2023-11-14T22:13:21.000000000Z,1.78.1.1,echo,x5Range,50\r\n"
                            "2023-11-14T22:13:22.000000000Z,1.78.1.1,sonar,x5Range,49.5\r\n");
    auto const chosen = stage.folder / "chosen";
    ExportCsv(session, chosen, {"x5Gain"});
    EXPECT_EQ(Content(chosen), "time,sonar,from,key,value\r\n"
                               "2023-11-14T22:13:20.000000000Z,1.78.1.1,settings,x5Gain,10\r\n");
}

TEST_F(Export, ATableQuotesAndCutsNothing)
{
    auto const other = stage.folder / "other.mcap";
    std::vector<int> const many(3000, 12345);
    {
        FlightRecorder recorder(other, stage.Options());
        CAttributeMap tree;
        CAttributeMap* const branch = tree.Add(AttributeKey(L"x5SonarSettings"));
        branch->Add(AttributeKey(L"SystemText"), CVordalText(L"Say \"ping\",\nthen \u00fc"), 0);
        branch->Add(AttributeKey(L"many"), CVordalIntList(many), 0);
        branch->Add(AttributeKey(L"pair"), CVordalDouble2D(1.5, -2.0), 0);
        recorder.OnSonarTells(stage.bow, tree);
        recorder.Finish();
    }
    RecordedSession session(other);
    ExportCsv(session, out, {"SystemText", "x5SonarSettings/pair"});
    EXPECT_EQ(Content(out), "time,sonar,from,key,value\r\n"
                            "2023-11-14T22:13:20.000000000Z,1.78.1.1,sonar,x5SonarSettings/SystemText,"
                            "\"Say \"\"ping\"\",\nthen \u00fc\"\r\n"
                            "2023-11-14T22:13:20.000000000Z,1.78.1.1,sonar,x5SonarSettings/pair,\"[1.5,-2]\"\r\n");
    auto const long_ = stage.folder / "long";
    ExportCsv(session, long_, {"many"});
    EXPECT_GT(Content(long_).size(), 3000U * 6U);
}

TEST_F(Export, EachMessageIsALineOfJson)
{
    RecordedSession session(file);
    ExportJson(session, out, {});
    std::ifstream stream(out);
    int lines = 0;
    for (std::string line; std::getline(stream, line); ++lines) {
        auto const json = nlohmann::json::parse(line);
        EXPECT_TRUE(json.contains("time") && json.contains("kind")) << line;
    }
    EXPECT_EQ(lines, 14);
    EXPECT_EQ(Content(out).back(), '\n');
}

TEST_F(Export, WritesOverNothingAndLeavesNothingHalf)
{
    std::ofstream(out) << "mine";
    RecordedSession session(file);
    EXPECT_THROW(ExportPcapng(session, out), RecordingError);
    EXPECT_THROW(ExportCsv(session, out, {}), RecordingError);
    EXPECT_THROW(ExportJson(session, out), RecordingError);
    EXPECT_EQ(Content(out), "mine");
    EXPECT_THROW(ExportCsv(session, stage.folder / "none" / "out", {}), RecordingError);
}

} // namespace
} // namespace qx5::test
