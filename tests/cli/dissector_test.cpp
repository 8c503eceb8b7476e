// The dissector of captured traffic, as tshark runs it: a field for each key, trees, arrays, streams in pieces, damage.
#include "captured_traffic.h"
#include "child_process.h"
#include "cli/dissector_fields.h"
#include "cli/documents/record_documents.h"
#include "tests/protocol/hex.h"
#include "tests/support/temporary_folder.h"

#include <protocol/catalogue.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace qx5::test {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::string Bytes(std::string_view hex)
{
    auto const bytes = protocol::test::Bytes(hex);
    return {bytes.begin(), bytes.end()};
}

std::string const rangeFrame = CommandFrameOf(1003, Bytes("00004842"));
std::string const gainFrame = CommandFrameOf(1008, Bytes("0000f041"));

class Dissector : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_STRNE(QX5_TSHARK, "") << "there is no tshark: install Debian's package of that name and configure again";
        Write("x5.lua", cli::WiresharkDissector());
    }

    std::string Write(std::string const& name, std::string const& content) const
    {
        std::ofstream(folder / name, std::ios::binary) << content;
        return (folder / name).string();
    }

    /// Whatever tshark says of it; no error of the dissector's own.
    Outcome Shark(std::string const& capture, std::vector<std::string> const& options) const
    {
        std::vector<std::string> command{QX5_TSHARK, "-r", capture, "-X", "lua_script:" + (folder / "x5.lua").string()};
        command.insert(command.end(), options.begin(), options.end());
        auto outcome = RunToEnd(command);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_THAT(outcome.err, AllOf(Not(HasSubstr("Lua")), Not(HasSubstr("rror")))) << outcome.err;
        EXPECT_THAT(outcome.out, Not(HasSubstr("Lua Error")));
        return outcome;
    }

    /// The values of fields of each packet that has a record, a line each, with blanks between them.
    std::vector<std::string> Fields(CapturedTraffic const& traffic, std::vector<std::string> const& names,
                                    std::string const& filter = "x5", std::vector<std::string> options = {}) const
    {
        std::vector<std::string> const form{"-Y", filter, "-T", "fields", "-E", "separator=/s"};
        options.insert(options.begin(), form.begin(), form.end());
        for (auto const& name : names) {
            options.insert(options.end(), {"-e", name});
        }
        std::istringstream lines(Shark(Write("capture.pcap", traffic.File()), options).out);
        std::vector<std::string> values;
        for (std::string line; std::getline(lines, line);) {
            values.push_back(line);
        }
        return values;
    }

    std::string Shown(CapturedTraffic const& traffic) const
    {
        return Shark(Write("capture.pcap", traffic.File()), {"-V", "-O", "x5"}).out;
    }

    TemporaryFolder const folder;
};

TEST(DissectorFields, AreNamedByOneRule)
{
    EXPECT_EQ(cli::SnakeCase("x5Range"), "range");
    EXPECT_EQ(cli::SnakeCase("x5DepthGateTilt"), "depth_gate_tilt");
    EXPECT_EQ(cli::SnakeCase("x5AGWindowSize"), "ag_window_size");
    EXPECT_EQ(cli::SnakeCase("X5SystemEventType"), "system_event_type");
    EXPECT_EQ(cli::SnakeCase("x57042UseBD"), "7042_use_bd");
    EXPECT_EQ(cli::SnakeCase("ATTR_PITCHCOR"), "attr_pitchcor");
    EXPECT_EQ(cli::SnakeCase("DeviceEnum"), "device_enum");
    EXPECT_EQ(cli::SnakeCase("x5"), "x5");
    EXPECT_EQ(cli::SnakeCase("x5elf"), "x5elf");
    EXPECT_EQ(cli::SnakeCase("contact state (0 new, 1 updated, 2 deleted)"), "contact_state");
    EXPECT_EQ(cli::SnakeCase("no new sound velocity"), "no_new_sound_velocity");
    EXPECT_EQ(cli::SnakeCase("a - b "), "a_b");
}

TEST(DissectorFields, HaveNamesOfTheirOwnAndLeaveNoKeyOut)
{
    auto const fields = cli::DissectorFields();
    EXPECT_THAT(cli::LintDissectorFields(fields), IsEmpty());
    for (protocol::Key const* const key : protocol::AllKeys()) {
        EXPECT_EQ(std::count_if(fields.begin(), fields.end(), [&](auto const& field) { return field.key == key; }), 1)
            << protocol::EncodeUtf8(key->text);
    }
}

TEST(DissectorFields, ThatCollideAreFound)
{
    std::vector<cli::DissectorField> const fields{{.name = "range", .title = "x5Range"},
                                                  {.name = "gain", .title = "x5Gain"},
                                                  {.name = "range", .title = "Range"},
                                                  {.name = "", .title = "x5"},
                                                  {.name = "Loud", .title = "Loud"}};
    EXPECT_THAT(cli::LintDissectorFields(fields),
                testing::ElementsAre("range (Range) stands twice", "'' (x5) is no name of a field",
                                     "'Loud' (Loud) is no name of a field"));
}

TEST_F(Dissector, TellsValuesInTheOperatorsUnit)
{
    struct Row
    {
        std::string frame;
        std::string field;
        std::string value;
    };
    // Payloads as the families' scenarios have them, worked out by hand from the tables; values as operators ask.
    std::vector<Row> const rows{
        {CommandFrameOf(1003, Bytes("00004842")), "x5.range", "50"},
        {CommandFrameOf(1006, Bytes("6f12833a")), "x5.pulse_length", "0.001"},
        {CommandFrameOf(1021, Bytes("c2b8323ec2b832be")), "x5.beam_steer", "10,-10"},
        {CommandFrameOf(1010, Bytes("0000c03f0000c8420000003f00007042c2b832be")), "x5.depth_gate_tilt", "10"},
        {CommandFrameOf(1010, Bytes("0000c03f0000c8420000003f00007042c2b832be")), "x5.min_range_gate", "1.5"},
        {CommandFrameOf(1016, Bytes("210000000000004000002142")), "x5.ag_window_size", "33"},
        {CommandFrameOf(1033, Bytes("010000000000000000000000")), "x5.motion_compensation_roll", "1"},
        {CommandFrameOf(1033, Bytes("010000000000000000000000")), "x5.motion_compensation_pitch", "0"},
        {CommandFrameOf(1002, Bytes("7011")), "x5.calib_command", "4464"},
        {CommandFrameOf(1045, Bytes("010002003c00050000000000")), "x5.multi_detect_sensitivity", "3"},
        {CommandFrameOf(1123, Bytes("005043480050c3480000c842")), "x5.ping_sequence_frequency_end", "400"},
        {CommandFrameOf(1116, Bytes("00000000")), "x5.pps_edge", "1"},
        {CommandFrameOf(1115, Bytes("000000007b14ae47e17a743f0000000000000000")), "x5.trigger_output_pulse", "5"},
        {CommandFrameOf(1504, Bytes("03000000eb030000f0030000ffffffff")), "x5.slaved_records", "1003,1008,4294967295"},
        {CommandFrameOf(1209, Bytes("000001000500581b0000731b0000ffffffffffffff7f00000080")), "x5.rdr_filter_list",
         "7000,7027,-1,2147483647,-2147483648"},
        {CommandFrameOf(1750, Bytes("9a99193f")), "x5.forward_detect_sensitivity", "3"},
        {CommandFrameOf(1043, Bytes("0001")), "x5.custom_beams.wire", "256"},
        {FrameOf(11052, Bytes("c2b8323ec2b8b2bedb0fc9bf")), "x5.cmd_tilt", "90"},
        {FrameOf(10025, Bytes("030000000201000040e20100e7073e010000a241160d00000000000000404a400000000000000ac0000000"
                              "000000") +
                            std::string(86, '\0')),
         "x5.echo_marker_latitude", "52.5"},
        {FrameOf(10025, Bytes("030000000201000040e20100e7073e010000a241160d") + std::string(118, '\0')),
         "x5.echo_marker_time", "Nov 14, 2023 22:13:20.250000000 UTC"},
        {FrameOf(90021, Bytes("07000000") + std::string(88, '\0')), "x5.detections.ping_number", "7"},
    };
    CapturedTraffic traffic;
    std::vector<std::string> names;
    for (Row const& row : rows) {
        traffic.ToSonar(row.frame);
        names.push_back(row.field);
    }
    auto const lines = Fields(traffic, names, "x5", {"-E", "separator=|"});
    ASSERT_EQ(lines.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::istringstream columns(lines[i]);
        std::string value;
        for (std::size_t column = 0; column <= i; ++column) {
            std::getline(columns, value, '|');
        }
        EXPECT_EQ(value, rows[i].value) << rows[i].field;
    }
    auto const text = Shown(traffic);
    EXPECT_THAT(text, HasSubstr("    x5DepthGateTilt = 10 deg  (wire -0.17453292 rad)\n"));
    EXPECT_THAT(text, HasSubstr("    x5AGWindowSize = 33 %  (wire 33 %)\n"));
    EXPECT_THAT(text, HasSubstr("    x5CustomBeams = (wire 256)\n"));
    EXPECT_THAT(text, HasSubstr("    x5PulseLength = 0.001 s\n"));
}

TEST_F(Dissector, TellsTheFrame)
{
    CapturedTraffic traffic;
    traffic.ToSonar(rangeFrame);
    traffic.FromSonar(gainFrame);
    EXPECT_THAT(Fields(traffic, {"x5.version", "x5.size", "x5.record_version", "x5.record", "x5.device",
                                 "x5.enumerator", "x5.command", "x5.ticket", "x5.number", "x5.to_sonar", "x5.time"}),
                testing::ElementsAre("5 96 1 7500 0 65535 1003 1003 1003 1 Nov 14, 2023 22:13:20.000000000 UTC",
                                     "5 96 1 7500 0 65535 1008 1008 1008 0 Nov 14, 2023 22:13:20.000000000 UTC"));
}

TEST_F(Dissector, FindsRecordsByValue)
{
    CapturedTraffic traffic;
    for (auto const* const range : {"00002041", "00004842", "00002042", "cdcccc3d"}) { // 10, 50, 40, 0.1 m
        traffic.ToSonar(CommandFrameOf(1003, Bytes(range)));
    }
    EXPECT_THAT(Fields(traffic, {"x5.range"}, "x5.range > 40"), testing::ElementsAre("50"));
    EXPECT_THAT(Fields(traffic, {"x5.range"}, "x5.range == 0.1"), testing::ElementsAre("0.1"));
    EXPECT_THAT(Fields(traffic, {"x5.range"}, "x5.name == \"range\" && x5.range <= 40"),
                testing::ElementsAre("10", "40", "0.1"));
}

TEST_F(Dissector, ExportsJson)
{
    CapturedTraffic traffic;
    traffic.ToSonar(CommandFrameOf(1010, Bytes("0000c03f0000c8420000003f00007042c2b832be")));
    auto const read = json::parse(Shark(Write("capture.pcap", traffic.File()), {"-T", "json"}).out);
    auto const& record = read.at(0).at("_source").at("layers").at("x5");
    EXPECT_EQ(record.at("x5.name"), "absolute gates");
    EXPECT_EQ(record.at("x5.max_depth_gate"), "60");
    EXPECT_EQ(record.at("x5.depth_gate_tilt"), "10");
}

TEST_F(Dissector, TellsUnitsOfItsFields)
{
    auto const list = RunToEnd({QX5_TSHARK, "-G", "fields", "-X", "lua_script:" + (folder / "x5.lua").string()}).out;
    EXPECT_THAT(list, HasSubstr("F\tx5Range\tx5.range\tFT_DOUBLE\tx5\t\t0x0\t"));
    EXPECT_THAT(list, HasSubstr("\tx5.depth_gate_tilt\tFT_DOUBLE\tx5\t"));
    EXPECT_THAT(list, HasSubstr("\tx5.range_filter_enabled\tFT_BOOLEAN\tx5\t"));
    EXPECT_THAT(list, HasSubstr("\tx5.requester_app_id\tFT_STRING\tx5\t"));
    EXPECT_THAT(list, HasSubstr("\tx5.time\tFT_ABSOLUTE_TIME\tx5\t"));
    for (auto const& field : cli::DissectorFields()) {
        EXPECT_THAT(list, HasSubstr("\tx5." + field.name + "\tFT_"));
    }
}

/// What the families' scenarios say that the plug-in sends, as frames: bytes worked out by hand for every record.
struct ExpectedFrame
{
    std::string bytes;
    std::uint32_t number = 0;
};

std::vector<ExpectedFrame> FramesOfScenarios()
{
    std::vector<ExpectedFrame> frames;
    auto const add = [&](json const& event) {
        std::string payload;
        if (event.contains("payload")) {
            payload = Bytes(event["payload"].get<std::string>());
        }
        auto const number = [&](char const* kind) { return event[kind].get<std::uint32_t>(); };
        if (event.contains("remote")) {
            frames.push_back({CommandFrameOf(number("remote"), payload), number("remote")});
        } else if (event.contains("record")) {
            frames.push_back({FrameOf(number("record"), payload), number("record")});
        } else if (event.contains("through")) {
            auto const word = [](std::size_t value) {
                return std::string{static_cast<char>(value & 0xFF), static_cast<char>(value >> 8 & 0xFF),
                                   static_cast<char>(value >> 16 & 0xFF), static_cast<char>(value >> 24 & 0xFF)};
            };
            frames.push_back(
                {CommandFrameOf(90002, word(7006) + word(0) + word(number("through")) + word(payload.size()) + payload),
                 90002});
        } else if (event.contains("raw")) {
            auto const bytes = Bytes(event["raw"].get<std::string>());
            auto const at = [&](std::size_t i) {
                return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i]));
            };
            auto const begin = (at(32) | at(33) << 8) == 7500 ? 64U : 32U; // a command's number is that of the record
            frames.push_back({bytes, at(begin) | at(begin + 1) << 8 | at(begin + 2) << 16});
        }
    };
    for (auto const& file : std::filesystem::directory_iterator(QX5_SCENARIOS)) {
        if (file.path().extension() != ".json") {
            continue;
        }
        std::ifstream stream(file.path());
        auto const document = json::parse(stream);
        auto const& scenarios = document.is_object() ? document.at("scenarios") : document;
        for (auto const& scenario : scenarios) {
            for (auto const& step : scenario.value("steps", json::array())) {
                auto const expected = step.value("expect", json::array());
                for (auto const& event : expected.is_object() ? expected.at("events") : expected) {
                    add(event);
                }
            }
        }
    }
    return frames;
}

TEST_F(Dissector, TakesEveryRecordOfTheScenariosApart)
{
    auto const frames = FramesOfScenarios();
    ASSERT_GT(frames.size(), 1000U);
    std::map<std::uint32_t, std::string> names;
    for (protocol::RecordLayout const& record : protocol::AllLayouts()) {
        names.try_emplace(record.id, record.name);
    }
    CapturedTraffic traffic;
    for (auto const& frame : frames) {
        for (std::size_t at = 0; at < frame.bytes.size(); at += 60000) {
            traffic.ToSonar(std::string_view(frame.bytes).substr(at, 60000));
        }
    }
    EXPECT_THAT(Fields(traffic, {"x5.number", "_ws.expert.message"}, "_ws.malformed or x5.unknown or x5.skipped"),
                IsEmpty());
    auto const numbers = Fields(traffic, {"x5.number"});
    ASSERT_EQ(numbers.size(), frames.size());
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(numbers[i], std::to_string(frames[i].number));
    }
}

// A tree: x5Range = 49.5, x5SonarSettings with x5RxNumber = 3 in it, a key of nobody's = "deep".
std::string const treeBytes = Bytes("01000000 03000000"
                                    "07000000 783552616e6765 04 0000000000c04840 00000000"
                                    "0f000000 7835536f6e617253657474696e6773 00 01000000"
                                    "0a000000 783552784e756d626572 01 03000000 00000000"
                                    "05000000 4f74686572 06 04000000 64656570 00000000");

TEST_F(Dissector, TellsAttributeTreesInFull)
{
    CapturedTraffic traffic;
    traffic.FromSonar(FrameOf(90010, treeBytes));
    EXPECT_THAT(Fields(traffic, {"x5.attribute.path", "x5.attribute.kind", "x5.attribute.value", "x5.range",
                                 "x5.rx_number", "x5.to_sonar"}),
                testing::ElementsAre("x5Range,x5SonarSettings,x5SonarSettings/x5RxNumber,Other double,none,int,string "
                                     "49.5,,3,deep 49.5 3 0"));
    EXPECT_THAT(Fields(traffic, {"x5.number"}, "x5.sonar_settings and x5.range < 50"), testing::ElementsAre("90010"));
    auto const shown = Shown(traffic);
    EXPECT_THAT(shown, HasSubstr("    x5Range = 49.5 m\n"));
    EXPECT_THAT(shown, HasSubstr("    x5SonarSettings\n        Kind: none\n"));
    EXPECT_THAT(shown, HasSubstr("        x5RxNumber = 3\n            Kind: int\n            Value: 3\n"));
    EXPECT_THAT(shown, HasSubstr("    Other = \"deep\"\n"));
}

TEST_F(Dissector, TellsEveryKindOfValueInATree)
{
    auto const node = [](std::string const& value) { return Bytes("01000000 6b" + value + "00000000"); };
    CapturedTraffic traffic;
    traffic.FromSonar(FrameOf(90010, Bytes("01000000 0b000000") + node("00") + node("01 ffffffff") +
                                         node("02 ffffffff") + node("03 01") + node("04 9a9999999999b93f") +
                                         node("05 000000000000f03f 00000000000000c0") + node("06 03000000 612c62") +
                                         node("07 02000000 01000000 feffffff") + node("08 01000000 000000000000e03f") +
                                         node("09 000000000000f03f 0000000000000040 0000000000000840") +
                                         node("0a feffffffffffffff")));
    EXPECT_THAT(Fields(traffic, {"x5.attribute.kind", "x5.attribute.value"}, "x5", {"-E", "aggregator=;"}),
                testing::ElementsAre("none;int;uint;bool;double;pair;string;ints;doubles;offset;int64 "
                                     ";-1;4294967295;true;0.1;(1, -2);a,b;[1, -2];[0.5];(1, 2, 3);-2"));
}

TEST_F(Dissector, TellsWhatIsWrongWithATree)
{
    CapturedTraffic traffic;
    traffic.FromSonar(FrameOf(90010, treeBytes.substr(0, treeBytes.size() - 3)));
    traffic.FromSonar(FrameOf(90010, Bytes("02000000 00000000")));
    traffic.FromSonar(FrameOf(90010, Bytes("01000000 ffffffff")));
    traffic.FromSonar(FrameOf(90010, Bytes("01000000 01000000 05000000 6162636465 00")));
    traffic.FromSonar(FrameOf(90010, Bytes("01000000 01000000 04000000 61626364 06 00000000")));
    traffic.FromSonar(FrameOf(90010, Bytes("01000000 01000000 01000000 61 63 00000000 00000000")));
    std::string deep = Bytes("01000000");
    for (int i = 0; i < 300; ++i) {
        deep += Bytes("01000000 01000000 61 00");
    }
    traffic.FromSonar(FrameOf(90010, deep + Bytes("00000000")));
    EXPECT_THAT(Fields(traffic, {"_ws.expert.message"}, "x5.damage.content"),
                testing::ElementsAre(
                    "no tree: the bytes end early at byte 97", "no tree: an unknown version at byte 4",
                    "no tree: a count that the bytes cannot hold at byte 8", "no tree: the bytes end early at byte 18",
                    "no tree: the bytes end early at byte 21", "no tree: an unknown kind of value at byte 14",
                    "no tree: the tree is too deep at byte 2008"));
}

TEST_F(Dissector, TellsTheNumbersOfEchoes)
{
    // Two of five beams, at -20 and 20 degrees, 12.5 and 13 ms, 60 and 61.5 dB, of quality 1 and 3.
    auto const head = Bytes("07000000") + std::string(80, '\0') + Bytes("05000000 02000000");
    auto const arrays = Bytes("0100 0400 0000a0c1 0000a041 cdcc4c3c 3bdf543c"
                              "2000704200007642 0000803f 00004040");
    CapturedTraffic traffic;
    traffic.FromSonar(FrameOf(90021, head + arrays));
    traffic.FromSonar(FrameOf(90021, head + arrays.substr(0, arrays.size() - 4)));
    EXPECT_THAT(Fields(traffic, {"x5.detections.beam", "x5.detections.angle", "x5.detections.travel_time"},
                       "x5.detections.quality"),
                testing::ElementsAre("1,4 -20,20 0.0125,0.012992675"));
    EXPECT_THAT(Fields(traffic, {"x5.detections.beams"}, "x5.detections.angle > 19"), testing::ElementsAre("5", "5"));
    EXPECT_THAT(Fields(traffic, {"_ws.expert.message"}, "x5.damage.content"),
                testing::ElementsAre("the array quality is not whole"));

    CapturedTraffic silent;
    silent.FromSonar(FrameOf(90021, Bytes("08000000") + std::string(88, '\0')));
    EXPECT_THAT(Shown(silent), HasSubstr("    detections = 0\n    beam = []\n    angle = [] deg\n"));

    CapturedTraffic column;
    auto const columnHead = Bytes("07000000") + std::string(80, '\0') + Bytes("02000000 05000000") +
                            Bytes("000000000000c03f 0000000000003440 000000000000e03f");
    column.FromSonar(FrameOf(90022, columnHead + Bytes("0000a0c1 0000a041") + std::string(40, '\0') +
                                        Bytes("01020304050607080910")));
    EXPECT_THAT(Fields(column, {"x5.water_column.beam_angle", "x5.water_column.level", "x5.water_column.interval"}),
                testing::ElementsAre("-20,20 01020304050607080910 0.125"));
    EXPECT_THAT(Shown(column), HasSubstr("    level = 2 x 5 numbers from 1 to 16\n"));
}

TEST_F(Dissector, PutsStreamsTogetherBothWays)
{
    auto const stream = rangeFrame + gainFrame + FrameOf(90010, treeBytes) + rangeFrame;
    for (std::size_t const piece : {std::size_t{1}, std::size_t{7}, std::size_t{95}, std::size_t{97}, stream.size()}) {
        CapturedTraffic traffic;
        for (std::size_t at = 0; at < stream.size(); at += piece) {
            traffic.ToSonar(stream.substr(at, piece));
            traffic.FromSonar(stream.substr(at, piece));
        }
        std::map<std::string, std::string> numbers;
        for (auto const& line : Fields(traffic, {"tcp.dstport", "x5.number"})) {
            auto const blank = line.find(' ');
            auto& all = numbers[line.substr(0, blank)];
            all += (all.empty() ? "" : ",") + line.substr(blank + 1);
        }
        EXPECT_EQ(numbers["7000"], "1003,1008,90010,1003") << piece;
        EXPECT_EQ(numbers["50000"], "1003,1008,90010,1003") << piece;
        EXPECT_THAT(Fields(traffic, {"frame.number"}, "_ws.malformed or x5.skipped"), IsEmpty()) << piece;
    }
}

TEST_F(Dissector, GoesOnBehindDamage)
{
    auto damaged = rangeFrame;
    damaged[92] = 1; // the trailing word
    auto const longer = rangeFrame.substr(0, 8) + Bytes("88130000") + rangeFrame.substr(12);
    auto const shorter = rangeFrame.substr(0, 8) + Bytes("50000000") + rangeFrame.substr(12);
    auto const endless = FrameOf(12345, std::string(1000, 'a')).substr(0, 8) + Bytes("00e1f505") +
                         FrameOf(12345, std::string(1000, 'a')).substr(12);
    struct Row
    {
        std::vector<std::string> pieces;
        std::string numbers; // of the records shown
        std::string said;
    };
    std::vector<Row> const rows{
        {{rangeFrame + "garbage!" + gainFrame}, "1003,1008", "8 bytes that belong to no record"},
        {{"garbage!" + rangeFrame.substr(0, 3), rangeFrame.substr(3)}, "1003", "8 bytes that belong to no record"},
        {{damaged + gainFrame}, "1008", "a record of 96 bytes that does not end there"},
        {{longer, gainFrame}, "1008", "a record of 5000 bytes that another one interrupts after 96"},
        {{shorter + gainFrame}, "7500,1008", "16 bytes that belong to no record"},
        {{rangeFrame.substr(0, 60), gainFrame}, "1008", "a record of 96 bytes that does not end there"},
        {{endless + std::string(124372, 'a'), gainFrame},
         "1008",
         "a record of 100000000 bytes that another one interrupts after 125440"},
    };
    for (Row const& row : rows) {
        CapturedTraffic traffic;
        for (auto const& piece : row.pieces) {
            for (std::size_t at = 0; at < piece.size(); at += 60000) {
                traffic.ToSonar(std::string_view(piece).substr(at, 60000));
            }
        }
        for (int i = 0; i < 3; ++i) {
            traffic.ToSonar(rangeFrame);
        }
        std::string numbers;
        for (auto const& line : Fields(traffic, {"x5.number"}, "x5.number")) {
            numbers += (numbers.empty() ? "" : ",") + line;
        }
        EXPECT_EQ(numbers, row.numbers + ",1003,1003,1003") << row.said;
        EXPECT_THAT(Shown(traffic), HasSubstr(row.said));
    }
}

TEST_F(Dissector, TellsSizesThatAreNotTheRecords)
{
    CapturedTraffic traffic;
    traffic.ToSonar(CommandFrameOf(1003, Bytes("0000")));
    traffic.ToSonar(CommandFrameOf(1003, Bytes("0000484200")));
    traffic.ToSonar(FrameOf(54321, "abc"));
    auto stamp = rangeFrame;
    stamp[28] = 25; // the hour
    traffic.ToSonar(stamp);
    EXPECT_THAT(Fields(traffic, {"_ws.expert.message"}),
                testing::ElementsAre("2 bytes fewer than the record has", "1 bytes more than the record has",
                                     "A record that no table has", "Time is no time: year 2023, day 318, 25:13:20"));
}

TEST_F(Dissector, ShowsWhatWasNotCapturedWhole)
{
    CapturedTraffic cut({.cutAt = 40 + 96 + 90});
    cut.ToSonar(gainFrame + rangeFrame);
    EXPECT_THAT(Fields(cut, {"x5.number", "x5.gain", "_ws.expert.message"}),
                testing::ElementsAre("1008,1003 30 90 of 96 bytes were captured"));
    CapturedTraffic ended;
    ended.ToSonar(rangeFrame.substr(0, 50));
    ended.Add({.payload = "", .flags = 0x11});
    EXPECT_THAT(Fields(ended, {"x5.begins"}, "x5.begins"), testing::ElementsAre("96"));
}

TEST_F(Dissector, WithstandsAnyBytes)
{
    std::mt19937 random(16); // NOLINT(cert-msc51-cpp): the same bytes each time
    std::string const stream =
        rangeFrame + FrameOf(90010, treeBytes) + gainFrame +
        FrameOf(90021, Bytes("07000000") + std::string(80, '\0') + Bytes("05000000 01000000") + std::string(18, 'x')) +
        CommandFrameOf(90002, Bytes("0000000000000000eb03000004000000 00004842"));
    CapturedTraffic traffic;
    for (std::uint16_t run = 0; run < 600; ++run) {
        std::string bytes = stream;
        for (unsigned i = 0; i <= run % 8U; ++i) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        if (run % 5 == 0) {
            bytes.erase(random() % bytes.size(), random() % 40);
        }
        std::size_t const piece = 1 + random() % bytes.size();
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            traffic.Add({.toSonar = run % 2 == 0,
                         .payload = bytes.substr(at, piece),
                         .hostPort = static_cast<std::uint16_t>(20000 + run)});
        }
    }
    EXPECT_THAT(Shown(traffic), Not(HasSubstr("Dissector bug")));
}

TEST_F(Dissector, KnowsStreamsOnAnyPort)
{
    CapturedTraffic traffic;
    traffic.Add({.payload = rangeFrame.substr(0, 50), .sonarPort = 7300});
    traffic.Add({.payload = rangeFrame.substr(50), .sonarPort = 7300});
    traffic.Add({.toSonar = false, .payload = gainFrame, .sonarPort = 7300});
    EXPECT_THAT(Fields(traffic, {"x5.number", "x5.to_sonar"}, "x5.number"), testing::ElementsAre("1003 1", "1008 0"));

    CapturedTraffic late; // which begins within a record
    late.Add({.payload = "abc" + rangeFrame, .sonarPort = 7300, .hostPort = 7200});
    EXPECT_THAT(Fields(late, {"x5.number"}), IsEmpty());
    for (std::vector<std::string> const& options :
         {std::vector<std::string>{"-d", "tcp.port==7300,x5"}, std::vector<std::string>{"-o", "x5.port:7300"}}) {
        EXPECT_THAT(Fields(late, {"x5.number", "x5.to_sonar"}, "x5.number", options), testing::ElementsAre("1003 1"));
    }
}

TEST_F(Dissector, CountsRecords)
{
    CapturedTraffic traffic;
    traffic.ToSonar(rangeFrame + gainFrame + "xyz");
    traffic.FromSonar(FrameOf(90010, treeBytes));
    traffic.ToSonar(rangeFrame);
    auto const told = Shark(Write("capture.pcap", traffic.File()), {"-q", "-X", "lua_script1:records"}).out;
    EXPECT_EQ(told, "way             number  record                                     records         bytes      "
                    "first, s       last, s\n"
                    "to the sonar      1008  gain                                             1            96      "
                    "0.000000      0.000000\n"
                    "to the sonar      1003  range                                            2           192      "
                    "0.000000      2.000000\n"
                    "from the sonar   90010  attribute tree                                   1           169      "
                    "1.000000      1.000000\n"
                    "bytes that belong to no record: 3\n");
}

// As with the copy of an installation, which Wireshark loads by itself.
TEST_F(Dissector, IsThereOnceWhereItIsLoadedTwice)
{
    CapturedTraffic traffic;
    traffic.ToSonar(rangeFrame);
    auto const again = Write("again.lua", cli::WiresharkDissector());
    auto const told =
        Shark(Write("capture.pcap", traffic.File()), {"-q", "-X", "lua_script:" + again, "-X", "lua_script2:records"});
    EXPECT_THAT(told.out,
                HasSubstr("to the sonar      1003  range                                            1            96"));
}

TEST_F(Dissector, OpensARecordedSession)
{
    auto const recording = (folder / "session.mcap").string();
    auto const capture = (folder / "session.pcapng").string();
    auto const run = RunToEnd({QX5_PROGRAM, "run", "--guided", "--once", "--record", recording});
    ASSERT_EQ(run.code, 0) << run.err;
    auto const exported = RunToEnd({QX5_PROGRAM, "recording", "export", recording, "--pcapng", capture});
    ASSERT_EQ(exported.code, 0) << exported.err;
    EXPECT_EQ(Shark(capture, {"-Y", "_ws.malformed or x5.skipped or x5.unknown"}).out, "");
    EXPECT_EQ(Shark(capture, {"-Y", "x5.to_sonar == 1 && x5.beam_steer == 10 && x5.beam_steer == -10", "-T", "fields",
                              "-e", "x5.beam_steer"})
                  .out,
              "10,-10\n");
    EXPECT_THAT(Shark(capture, {"-Y", "x5.to_sonar == 0", "-T", "fields", "-e", "x5.attribute.path"}).out,
                HasSubstr("x5ProjBeamAngleVer"));
}

} // namespace
} // namespace qx5::test
