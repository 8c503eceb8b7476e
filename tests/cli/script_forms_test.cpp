// What the command says to scripts: each form as a document written by hand, so that no member changes its meaning.
#include "captured_traffic.h"
#include "program.h"
#include "tests/protocol/hex.h"

#include <algorithm>
#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace qx5::test {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;

/// The only line of it.
json Line(Outcome const& outcome)
{
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1) << outcome.out << outcome.err;
    return json::parse(outcome.out);
}

std::string Bytes(std::string_view hex)
{
    auto const bytes = protocol::test::Bytes(hex);
    return {bytes.begin(), bytes.end()};
}

json RangeRecord()
{
    std::string hex;
    for (char const c : rangeFrameHex) {
        if (c != ' ' && c != '\n') {
            hex += c;
        }
    }
    return json{{"number", 1003},
                {"record", "range"},
                {"carrier", "command"},
                {"device", 0},
                {"enumerator", 65535},
                {"ticket", 1003},
                {"stamp", 1700000000.0},
                {"fields", "x5Range = 50 m"},
                {"values", json::parse(R"([{"key": "x5Range", "value": 50.0, "unit": "m"}])")},
                {"bytes", hex}};
}

TEST(ScriptForms, Decode)
{
    EXPECT_EQ(Line(Qx5({"decode", "--json"}, rangeFrameHex)), RangeRecord());

    auto const values = [](std::string const& frame) { return Line(Qx5({"decode", "--json"}, frame)).at("values"); };
    // A float comes back to the last bit; 0.1 of single precision is this.
    EXPECT_EQ(values(CommandFrameOf(1003, Bytes("cdcccc3d"))),
              json::parse(R"([{"key": "x5Range", "value": 0.10000000149011612, "unit": "m"}])"));
    EXPECT_EQ(values(CommandFrameOf(1021, Bytes("c2b8323e0000c07f"))),
              json::parse(R"([{"key": "x5BeamSteer", "value": [10.0, "nan"], "unit": "deg"}])"));
    EXPECT_EQ(values(CommandFrameOf(1043, Bytes("0001"))),
              json::parse(R"([{"key": "x5CustomBeams", "wire": 256, "unit": null}])"));
    EXPECT_EQ(values(CommandFrameOf(1504, Bytes("02000000eb030000ffffffff"))), json::parse(R"([
                  {"name": "number of records", "value": 2, "unit": null},
                  {"key": "x5SlavedRecords", "value": [1003, 4294967295], "unit": null}])"));
    auto const items = values(CommandFrameOf(1042, Bytes("0100000028000000") + std::string(40, '\0') +
                                                       Bytes("07000000") + std::string(36, '\0')));
    EXPECT_EQ(items.at(2), json::parse(R"({"item": 0, "key": "x5LorqPipeRoutePipeNumber", "value": 7, "unit": null})"));

    auto const echoes = values(FrameOf(90022, Bytes("07000000") + std::string(80, '\0') + Bytes("02000000 01000000") +
                                                  Bytes("000000000000c03f 0000000000003440 000000000000e03f") +
                                                  Bytes("0000a0c1 0000a041 0000803f 00000040 0a14")));
    EXPECT_EQ(echoes.at(0), json::parse(R"({"name": "ping number", "value": 7, "unit": null})"));
    EXPECT_EQ(echoes.back(), json::parse(R"({"name": "level", "value": [[10], [20]], "unit": null})"));

    auto const tree = Line(
        Qx5({"decode", "--json"}, FrameOf(90010, Bytes("01000000 01000000 07000000 783552616e6765 04 0000000000c04840 "
                                                       "00000000"))));
    EXPECT_EQ(tree.at("tree"), json::parse(R"([["x5Range", "double", 49.5]])"));
    EXPECT_EQ(tree.at("carrier"), "data");
    auto const damaged = Line(Qx5({"decode", "--json"}, FrameOf(90010, Bytes("01000000 01000000"))));
    EXPECT_EQ(damaged.at("damage"), "a count that the bytes cannot hold at byte 8");
    EXPECT_FALSE(damaged.contains("tree"));

    auto const passing = Line(Qx5({"decode", "--json"}, CommandFrameOf(90002, Bytes("5e1b0000 0000 0000 eb030000 "
                                                                                    "04000000 00004842"))));
    EXPECT_EQ(passing.at("passes"), json::parse(R"({"number": 1003, "record": "range", "carrier": "passed on",
        "device": 7006, "enumerator": 0, "values": [{"key": "x5Range", "value": 50.0, "unit": "m"}]})"));

    auto const skipping = Qx5({"decode", "--json"}, FromHex(rangeFrameHex) + "garbage");
    ExpectComplaint(skipping, 1, {"7 bytes skipped"});
    EXPECT_EQ(Line(skipping), RangeRecord());
}

TEST(ScriptForms, Keys)
{
    EXPECT_EQ(Line(Qx5({"keys", "--json", "1003"})), json::parse(R"({
        "key": "x5Range", "kind": "double", "unit": "m", "meaning": "range that the sonar listens to",
        "filter": "x5.range", "handler": "RequestValue", "row": 6, "records": [{"number": 1003, "place": "@0"}]})"));
    auto const branch = Line(Qx5({"keys", "--json", "EchoMarkerDepth"}));
    EXPECT_EQ(branch.at("key"), "EchoMarker/EchoMarkerDepth");
    EXPECT_EQ(branch.at("filter"), "x5.echo_marker_depth");
    ExpectComplaint(Qx5({"keys", "--json", "zzz"}), 1, {"'zzz'"});
}

TEST(ScriptForms, ExplainAKey)
{
    EXPECT_EQ(Line(Qx5({"explain", "--json", "x5Range"})), json::parse(R"({
        "name": "x5Range",
        "key": {"key": "x5Range", "kind": "double", "unit": "m", "meaning": "range that the sonar listens to",
                "filter": "x5.range"},
        "rows": [{"row": 6, "handler": "RequestValue", "form": "direct", "note": null,
                  "keys": [{"key": "x5Range", "kind": "double", "unit": "m", "source": "as form", "triggers": true,
                            "optional": false, "echoed": true}],
                  "sends": [{"number": 1003, "record": "range", "carrier": "command", "size": 4,
                             "to": {"device": 0, "enumerator": -1}, "when": null}],
                  "echo_flags": 0, "asks": []}],
        "records": []})"));
    auto const calibration = Line(Qx5({"explain", "--json", "RequestCalibrationControl"}));
    EXPECT_EQ(calibration.at("rows").at(0).at("asks"),
              json::parse(R"([{"number": 7055, "to": {"device": 0, "enumerator": -1}, "when": null}])"));
    EXPECT_EQ(calibration.at("rows").at(0).at("echo_flags"), nullptr);
    auto const both = Qx5({"explain", "--json", "nonsense", "x5Range"});
    ExpectComplaint(both, 1, {"'nonsense'"});
    EXPECT_EQ(Line(both).at("name"), "x5Range");
}

TEST(ScriptForms, ExplainARecord)
{
    auto const range = json::parse(R"({
        "name": "1003", "key": null, "rows": [],
        "records": [{"number": 1003, "record": "range", "carrier": "command", "size": 4,
                     "layout": [{"offset": 0, "wire": "f32", "width": 4, "key": "x5Range", "part": 0, "unit": "m",
                                 "conversion": null}],
                     "tail": null, "tail_key": null, "tail_name": null, "item_size": 0, "items": [], "arrays": [],
                     "sent_by": [{"row": 6, "handler": "RequestValue", "keys": ["x5Range"]}], "asked_by": []}]})");
    EXPECT_EQ(Line(Qx5({"explain", "--json", "1003"})), range);
    auto hex = range;
    hex["name"] = "0x3EB";
    EXPECT_EQ(Line(Qx5({"explain", "--json", "0x3EB"})), hex);

    auto const text = Qx5({"explain", "1003", "0x3fd"});
    EXPECT_EQ(text.code, 0);
    EXPECT_EQ(text.out, "record 1003 range, 4 bytes\n"
                        "          @0             f32    x5Range [m]\n"
                        "  sent    by row 6 of the chain, RequestValue: x5Range\n"
                        "\n"
                        "record 1021 beam steering, 8 bytes\n"
                        "          @0             f32    x5BeamSteer[0] [rad], degrees to radians\n"
                        "          @4             f32    x5BeamSteer[1] [rad], degrees to radians\n"
                        "  sent    by row 12 of the chain, RequestValue: x5BeamSteer\n"
                        "\n");
    EXPECT_THAT(Qx5({"explain", "90022"}).out,
                AllOf(HasSubstr("data record 90022 water column, 116 bytes and arrays\n"),
                      HasSubstr("array          u8     level, beams x samples\n"),
                      HasSubstr("  sent    by no handler\n")));
    // Two forms of one number.
    EXPECT_EQ(Line(Qx5({"explain", "--json", "1500"})).at("records").size(), 2U);
    ExpectComplaint(Qx5({"explain", "99999"}), 1, {"there is no record 99999"});
    ExpectComplaint(Qx5({"explain", "0xfffffffff"}), 1, {"0xfffffffff"});
}

TEST(ScriptForms, Plugin)
{
    auto const told = Line(Qx5({"plugin", QX5_PLUGIN_FILE, "--json"}));
    EXPECT_EQ(told.at("file"), QX5_PLUGIN_FILE);
    EXPECT_EQ(told.at("devices"),
              json::parse(R"([{"class": "QX5SonarConfigurationControlDevice", "makes_devices": true}])"));
    EXPECT_EQ(told.at("displays").size() + told.at("views").size() + 2, told.size());
    auto const missing = Qx5({"plugin", "/nowhere/plugin.so", "--json"});
    ExpectComplaint(missing, 1, {"/nowhere/plugin.so"});
    EXPECT_EQ(missing.out, "");
}

TEST(ScriptForms, Send)
{
    Simulator sonar;
    auto told = Line(Qx5({"send", "--json", "--sonar", sonar.Endpoint(), "--wait", "300", "x5Range=50"}));
    auto& sent = told.at("events").at(0);
    EXPECT_TRUE(sent.at("stamp").is_number());
    EXPECT_EQ(sent.at("bytes").get<std::string>().size(), 192U);
    sent.erase("stamp");
    sent.erase("bytes");
    EXPECT_EQ(told.at("sonar"), sonar.Endpoint());
    told.erase("sonar");
    EXPECT_EQ(told, json::parse(R"({
        "request": [["x5Range", "double", 50.0]],
        "events": [{"event": "sent", "number": 1003, "record": "range", "carrier": "command", "device": 0,
                    "enumerator": 65535, "ticket": 1003, "fields": "x5Range = 50 m",
                    "values": [{"key": "x5Range", "value": 50.0, "unit": "m"}]},
                   {"event": "echoed", "flags": 0, "tree": [["x5Range", "double", 50.0]]}],
        "values": [{"path": "x5Range", "asked": 50.0, "echoed": 50.0, "sonar": 50.0, "told_before": false,
                    "agrees": true}],
        "result": "agrees"})"));

    auto const differs = Qx5({"send", "--json", "--sonar", sonar.Endpoint(), "--wait", "300", "x5Range=99999"});
    ExpectComplaint(differs, 1, {"not what was asked for"});
    auto const other = Line(differs);
    EXPECT_EQ(other.at("result"), "differs");
    EXPECT_EQ(other.at("values").at(0).at("sonar"), 500.0);
    EXPECT_EQ(other.at("values").at(0).at("agrees"), false);

    SilentPort const silent;
    auto const nobody = Qx5(
        {"send", "--json", "--timeout", "100", "--sonar", "127.0.0.1:" + std::to_string(silent.Port()), "x5Range=50"});
    ExpectComplaint(nobody, 1, {"127.0.0.1"});
    EXPECT_EQ(nobody.out, "");
}

constexpr char const* scenarios = R"([
    {"name": "as <expected> & \"more\"", "steps": [{
        "request": [["x5Range", "double", 50.0]],
        "expect": [{"remote": 1003, "payload": "00004842", "device": 0, "enumerator": -1},
                   {"echo": [["x5Range", "double", 50.0]], "flags": 0}]}]},
    {"name": "otherwise", "steps": [{"request": [["x5Range", "double", 1.0]]}, {
        "request": [["x5Range", "double", 50.0]],
        "expect": [{"remote": 1003, "payload": "00004843", "device": 0, "enumerator": -1},
                   {"echo": [["x5Range", "double", 50.0]], "flags": 0}]}]}
])";

TEST(ScriptForms, Scenario)
{
    TemporaryFile const file("two.json", scenarios);
    auto const checked = Qx5({"scenario", "--check", "--json", file.Path()});
    EXPECT_EQ(checked.code, 1);
    EXPECT_EQ(checked.err, "");
    std::istringstream lines(checked.out);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(json::parse(line), json({{"file", file.Path()},
                                       {"path", "$[0]"},
                                       {"name", "as <expected> & \"more\""},
                                       {"result", "matches"},
                                       {"steps", 1},
                                       {"checked", 1},
                                       {"differences", json::array()}}));
    std::getline(lines, line);
    auto const other = json::parse(line);
    EXPECT_EQ(other.at("result"), "differs");
    EXPECT_EQ(other.at("steps"), 2);
    EXPECT_EQ(other.at("checked"), 1);
    ASSERT_EQ(other.at("differences").size(), 1U);
    EXPECT_EQ(other.at("differences").at(0).at("path"), "$[1].steps[1]");
    EXPECT_EQ(other.at("differences").at(0).at("step"), "request");
    EXPECT_THAT(other.at("differences").at(0).at("text").get<std::string>(),
                HasSubstr("event 1 differs at $.payload: byte 3: expected 43, got 42\n  expected {"));
    EXPECT_FALSE(std::getline(lines, line));
    ExpectComplaint(Qx5({"scenario", "--json", file.Path()}), 2, {"--check"});
}

constexpr char const* reader = R"(
import sys, xml.etree.ElementTree as tree
root = tree.parse(sys.argv[1]).getroot()
print(root.tag, root.get("tests"), root.get("failures"), root.get("errors"))
for suite in root:
    print(suite.tag, suite.get("tests"), suite.get("failures"), suite.get("errors"))
    for case in suite:
        print(case.tag, case.get("name"), float(case.get("time")) >= 0, case.get("classname") == suite.get("name"))
        for reason in case:
            print(reason.tag, reason.get("message"), len(reason.text.splitlines()))
)";

TEST(ScriptForms, ScenarioAsJunit)
{
    ASSERT_STRNE(QX5_PYTHON, "") << "there is no python3: install Debian's package of that name and configure again";
    TemporaryFile const file("two.json", scenarios);
    TemporaryFile const bad("bad.json", R"([{"name": "no step", "steps": [{"jump": 1}]}])");
    TemporaryFile const report("report.xml", "what was there before");
    auto const checked = Qx5({"scenario", "--check", "--junit", report.Path(), file.Path(), bad.Path()});
    EXPECT_EQ(checked.code, 2);
    auto const read = RunToEnd({QX5_PYTHON, "-c", reader, report.Path()});
    EXPECT_EQ(read.code, 0) << read.err;
    EXPECT_THAT(read.out, HasSubstr("testsuites 3 1 1\n"
                                    "testsuite 2 1 0\n"
                                    "testcase as <expected> & \"more\" True True\n"
                                    "testcase otherwise True True\n"
                                    "failure $[1].steps[1] (request): event 1 differs at $.payload: byte 3: expected "
                                    "43, got 42 3\n"
                                    "testsuite 1 0 1\n"
                                    "testcase $[0]"));
    EXPECT_THAT(read.out, HasSubstr("\nerror "));
    auto const unwritten = Qx5({"scenario", "--check", "--junit", "/nowhere/report.xml", file.Path()});
    EXPECT_EQ(unwritten.code, 1);
    EXPECT_THAT(unwritten.err, HasSubstr("/nowhere/report.xml: cannot be written: "));
    ExpectComplaint(Qx5({"scenario", "--junit", report.Path(), file.Path()}), 2, {"--check"});
}

} // namespace
} // namespace qx5::test
