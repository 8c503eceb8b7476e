// `qx5 preset`: settings kept under a name, compared, and loaded into a simulated sonar over its socket.
#include "program.h"

#include "reference_host/store/project_store.h"
#include "tests/support/temporary_folder.h"

#include <VordalAttributesR/CVordalType.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class PresetCommand : public testing::Test
{
protected:
    TemporaryFolder const folder;
    std::string const project = (folder / "survey.qx5").string();
    std::string const file = (folder / "preset.json").string();

    static Outcome Preset(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "preset");
        return Qx5(std::move(arguments));
    }

    /// Loads, and waits for the sonar's answer, however slow the machine is.
    static Outcome Load(Simulator const& sonar, std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(),
                         {"load", "--sonar", sonar.Endpoint(), "--wait", "300", "--timeout", "300000"});
        return Preset(std::move(arguments));
    }

    Outcome SaveTo(Simulator const& sonar, std::string const& name)
    {
        return Preset({"save", name, "--sonar", sonar.Endpoint(), "--project", project, "--timeout", "300000"});
    }

    static std::string Content(std::string const& path)
    {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// A preset of the simulated sonar's class with these settings, one on a line.
    void WritePreset(std::string const& settings,
                     std::string const& className = "QX5SonarConfigurationControlDevice") const
    {
        std::ofstream(file) << "{\"format\": \"qx5 preset\", \"version\": 1, \"name\": \"Test\", \"time\": \"\",\n"
                               "\"sonar\": {\"name\": \"other\", \"class\": \""
                            << className << "\"},\n\"settings\": [\n"
                            << settings << "]}\n";
    }

    static inline std::string const range = R"({"key": "x5Range", "kind": "double", "value": 50.0, "unit": "m"})";
    static inline std::string const rangeBeyond =
        R"({"key": "x5Range", "kind": "double", "value": 5000.0, "unit": "m"})";
    static inline std::string const gain = R"({"key": "x5Gain", "kind": "double", "value": 20.0, "unit": "dB"})";
};

TEST_F(PresetCommand, KeepsASonarsSettingsAndBringsThemBack)
{
    Simulator sonar;
    auto const saved = SaveTo(sonar, "Factory");
    ASSERT_EQ(saved.code, 0) << saved.err;
    EXPECT_THAT(saved.out, StartsWith("Factory: "));
    ASSERT_EQ(Qx5({"send", "--sonar", sonar.Endpoint(), "--wait", "300", "x5Range=50", "x5Gain=30"}).code, 0);

    auto const tried = Load(sonar, {"Factory", "--project", project, "--dry-run"});
    EXPECT_EQ(tried.code, 1);
    EXPECT_THAT(tried.out, StartsWith("key      now  then  unit  state\n"
                                      "x5Range  50   100   m     different\n"
                                      "x5Gain   30   20    dB    different\n"));
    EXPECT_THAT(tried.out, HasSubstr(" equal, 2 different, 0 beyond, 0 unknown, 0 missing\n"));

    auto const loaded = Load(sonar, {"Factory", "--project", project});
    EXPECT_EQ(loaded.code, 0) << loaded.err;
    EXPECT_THAT(loaded.out, HasSubstr("\nasked for 2; what the sonar then has:\n"));
    EXPECT_TRUE(loaded.out.ends_with(" equal, 0 different, 0 beyond, 0 unknown, 0 missing\n")) << loaded.out;
    EXPECT_TRUE(sonar.Process().WaitForOutput("1003 range  x5Range=100 m"));

    auto const again = Load(sonar, {"Factory", "--project", project});
    EXPECT_EQ(again.code, 0) << again.err;
    EXPECT_THAT(again.out, HasSubstr("nothing was asked for"));
}

TEST_F(PresetCommand, WhatIsBeyondTheLimitsGoesOutOnlyWhenItIsNamed)
{
    Simulator sonar;
    WritePreset(rangeBeyond + "," + gain);
    auto const left = Load(sonar, {file});
    ExpectComplaint(left, 1, {"the sonar has something else than the preset"});
    EXPECT_EQ(left.out, "key      now  then  unit  state\n"
                        "x5Range  100  5000  m     beyond\n"
                        "1 equal, 0 different, 1 beyond, 0 unknown, 0 missing\n"
                        "\n"
                        "nothing was asked for; what the sonar then has:\n"
                        "key      now  then  unit  state\n"
                        "x5Range  100  5000  m     beyond\n"
                        "1 equal, 0 different, 1 beyond, 0 unknown, 0 missing\n");

    // The sonar brings it within its limits.
    auto const clipped = Load(sonar, {file, "--only", "x5Range"});
    ExpectComplaint(clipped, 1, {"the sonar has something else than the preset"});
    EXPECT_TRUE(clipped.out.ends_with("asked for 1; what the sonar then has:\n"
                                      "key      now  then  unit  state\n"
                                      "x5Range  500  5000  m     beyond\n"
                                      "0 equal, 0 different, 1 beyond, 0 unknown, 0 missing\n"))
        << clipped.out;
}

TEST_F(PresetCommand, TellsWhatItCannotAskFor)
{
    Simulator sonar;
    WritePreset(range + ",\n" + R"({"key": "later", "kind": "int", "value": 1},
        {"key": "x5PingOnOffState", "kind": "int", "value": 1},
        {"key": "x5GainTweak", "kind": "double", "value": 1.0},
        {"key": "x5MaxPingRate", "kind": "double", "value": "inf", "unit": "pings/s"})");
    auto const loaded = Load(sonar, {file});
    EXPECT_EQ(loaded.code, 1);
    EXPECT_THAT(loaded.out, StartsWith("key               now  then  unit     state\n"
                                       "x5Range           100  50    m        different\n"
                                       "later             -    1              unknown\n"
                                       "x5PingOnOffState  -    1              unknown\n"
                                       "x5GainTweak       -    1              missing\n"
                                       "x5MaxPingRate     10   inf   pings/s  beyond\n"
                                       "0 equal, 1 different, 1 beyond, 2 unknown, 1 missing\n"));
    EXPECT_TRUE(loaded.out.ends_with("1 equal, 0 different, 1 beyond, 2 unknown, 1 missing\n")) << loaded.out;
    EXPECT_TRUE(sonar.Process().WaitForOutput("1003 range  x5Range=50 m"));
    EXPECT_THAT(sonar.Process().Output(), Not(HasSubstr("1100")));
}

TEST_F(PresetCommand, AnUnknownKeyAloneIsNoFailure)
{
    Simulator sonar;
    WritePreset(gain + "," + R"({"key": "later", "kind": "int", "value": 1})");
    auto const loaded = Load(sonar, {file});
    EXPECT_EQ(loaded.code, 0) << loaded.err;
}

TEST_F(PresetCommand, PrintsRowsAsJson)
{
    Simulator sonar;
    WritePreset(range + "," + gain);
    auto const loaded = Load(sonar, {file, "--json"});
    EXPECT_EQ(loaded.code, 0) << loaded.err;
    EXPECT_EQ(loaded.out,
              R"({"table":"before","key":"x5Range","now":100.0,"then":50.0,"unit":"m","state":"different"}
{"table":"before","key":"x5Gain","now":20.0,"then":20.0,"unit":"dB","state":"equal"}
{"table":"after","key":"x5Range","now":50.0,"then":50.0,"unit":"m","state":"equal"}
{"table":"after","key":"x5Gain","now":20.0,"then":20.0,"unit":"dB","state":"equal"}
)");
    auto const shown = Preset({"show", file, "--json"});
    EXPECT_EQ(shown.out, "{\"key\":\"x5Range\",\"value\":50.0,\"unit\":\"m\"}\n"
                         "{\"key\":\"x5Gain\",\"value\":20.0,\"unit\":\"dB\"}\n");
}

TEST_F(PresetCommand, ComparesPresetsFilesAndSonars)
{
    Simulator sonar;
    Simulator other;
    ASSERT_EQ(SaveTo(sonar, "Factory").code, 0);
    auto const same = Preset({"compare", sonar.Endpoint(), other.Endpoint(), "--timeout", "300000"});
    EXPECT_EQ(same.code, 0) << same.out << same.err;
    EXPECT_THAT(same.out, HasSubstr(" equal, 0 different, 0 beyond, 0 unknown, 0 missing\n"));
    ASSERT_EQ(Qx5({"send", "--sonar", other.Endpoint(), "--wait", "300", "x5Range=50"}).code, 0);
    auto const different =
        Preset({"compare", "Factory", other.Endpoint(), "--project", project, "--timeout", "300000"});
    EXPECT_EQ(different.code, 1);
    EXPECT_THAT(different.out, AllOf(HasSubstr("x5Range  100  50    m     different\n"), HasSubstr(" equal, 1 diff")));
    // Of a sonar that runs the limits are known.
    WritePreset(rangeBeyond);
    auto const beyond = Preset({"compare", sonar.Endpoint(), file, "--timeout", "300000"});
    EXPECT_EQ(beyond.code, 1);
    EXPECT_THAT(beyond.out, HasSubstr("x5Range                          100"));
    EXPECT_THAT(beyond.out, HasSubstr("0 equal, 0 different, 1 beyond, 0 unknown, "));
    ExpectComplaint(Preset({"compare", "nothing", file}), 2,
                    {"\"nothing\" is neither a preset (for one of a project, tell --project FILE) nor a file, nor "
                     "HOST:PORT of a sonar"});
}

TEST_F(PresetCommand, KeepsThemInAProjectAndInFiles)
{
    WritePreset(range);
    auto const imported = Preset({"import", file, "--project", project, "--name", "Shallow \xC3\xA4"});
    EXPECT_EQ(imported.code, 0) << imported.err;
    EXPECT_EQ(imported.out, "Shallow \xC3\xA4: 1 settings of other\n");
    auto const listed = Preset({"list", "--project", project});
    EXPECT_EQ(listed.code, 0);
    EXPECT_EQ(listed.out, "name       taken  of     class                               settings\n"
                          "Shallow \xC3\xA4         other  QX5SonarConfigurationControlDevice  1\n");
    EXPECT_EQ(Preset({"list", "--project", project, "--json"}).out,
              "{\"name\":\"Shallow \xC3\xA4\",\"time\":\"\",\"sonar\":\"other\",\"class\":"
              "\"QX5SonarConfigurationControlDevice\",\"settings\":1}\n");

    auto const before = Content(file);
    ExpectComplaint(Preset({"export", "Shallow \xC3\xA4", file, "--project", project}), 1, {"is there already"});
    EXPECT_EQ(Content(file), before);
    EXPECT_EQ(Preset({"export", "Shallow \xC3\xA4", file, "--project", project, "--replace"}).code, 0);
    EXPECT_THAT(Content(file), HasSubstr("\"name\": \"Shallow \xC3\xA4\""));
    ExpectComplaint(Preset({"import", file, "--project", project}), 1, {"has a preset \"Shallow \xC3\xA4\" already"});
    EXPECT_EQ(Preset({"import", file, "--project", project, "--replace"}).code, 0);

    EXPECT_EQ(Preset({"remove", "Shallow \xC3\xA4", "--project", project}).code, 0);
    ExpectComplaint(Preset({"remove", "Shallow \xC3\xA4", "--project", project}), 2, {"has no preset"});
    ExpectComplaint(Preset({"export", "Deep", file, "--project", project}), 2, {"has no preset \"Deep\""});
    EXPECT_EQ(Preset({"list", "--project", project}).out, "no presets\n");
}

TEST_F(PresetCommand, TakesTheSettingsThatAProjectKeepsOfASonar)
{
    auto const addSonar = [&](unsigned short number, CString const& name) {
        vordal::StoredDevice device;
        device.dataId = CDataId(1, 78, number, 1);
        device.className = L"QX5SonarConfigurationControlDevice";
        device.name = name;
        device.attributes.Add(L"x5Range", CVordalDouble(10.0 * number), 0);
        vordal::ProjectStore(project).SaveDevice(device);
    };
    ExpectComplaint(Preset({"save", "A", "--project", project}), 1, {"is not there"});
    {
        vordal::ProjectStore const made(project);
    }
    ExpectComplaint(Preset({"save", "A", "--project", project}), 2, {"the project holds no settings of a sonar"});
    addSonar(1, L"bow");
    EXPECT_EQ(Preset({"save", "A", "--project", project}).out, "A: 1 settings of bow\n");
    addSonar(2, L"stern");
    ExpectComplaint(Preset({"save", "B", "--project", project}), 2,
                    {"--device: \"bow\" (1.78.1.1), \"stern\" (1.78.2.1)"});
    ExpectComplaint(Preset({"save", "B", "--project", project, "--device", "mast"}), 2, {"no device \"mast\""});
    EXPECT_EQ(Preset({"save", "B", "--project", project, "--device", "stern"}).out, "B: 1 settings of stern\n");
    EXPECT_EQ(Preset({"save", "C", "--project", project, "--device", "1.78.2.1"}).out, "C: 1 settings of stern\n");
    auto const compared = Preset({"compare", "A", "B", "--project", project});
    EXPECT_EQ(compared.code, 1);
    EXPECT_EQ(compared.out, "key      now  then  unit  state\n"
                            "x5Range  10   20    m     different\n"
                            "0 equal, 1 different, 0 beyond, 0 unknown, 0 missing\n");
    EXPECT_EQ(Preset({"compare", "B", "C", "--project", project}).code, 0);
}

TEST_F(PresetCommand, BadInputIsOneLineAndAsksForNothing)
{
    Simulator sonar;
    WritePreset(range, "SingleBeamSounder");
    ExpectComplaint(Load(sonar, {file}), 2,
                    {"is of a sonar of the class \"SingleBeamSounder\", this one is of the class"});
    WritePreset(R"({"key": "x5Range", "kind": "string", "value": "50"})");
    ExpectComplaint(Load(sonar, {file}), 2, {"x5Range is of the kind double, not string (line 4, column 28)"});
    std::ofstream(file) << Content(file).substr(0, 60);
    ExpectComplaint(Load(sonar, {file}), 2, {"not JSON"});
    WritePreset(range);
    ExpectComplaint(Load(sonar, {file, "--only", "x5Range,x5Gain"}), 2, {"--only: the preset has no \"x5Gain\""});
    ExpectComplaint(Load(sonar, {"Deep"}), 2, {"\"Deep\" is neither a preset"});
    ExpectComplaint(Preset({"save", "a\nb", "--sonar", sonar.Endpoint(), "--file", file}), 2, {"a preset's name"});
    ExpectComplaint(Preset({"save", "a", "--sonar", sonar.Endpoint()}), 2, {"where to keep them"});
    ExpectComplaint(Preset({"save", "a", "--sonar", sonar.Endpoint(), "--file", file, "--timeout", "300000"}), 1,
                    {"is there already"});
    ExpectComplaint(Preset({"list"}), 2, {"--project", "qx5 preset list --help"});
    ExpectComplaint(Preset({}), 2, {"qx5 preset --help"});
    DeafPort const deaf;
    ExpectComplaint(Preset({"load", file, "--sonar", "127.0.0.1:" + std::to_string(deaf.Port())}), 1,
                    {"no connection to the sonar"});
    EXPECT_THAT(sonar.Process().Output(), Not(HasSubstr("x5Range")));
}

TEST_F(PresetCommand, ASonarThatDoesNotAnswerIsAFailure)
{
    Simulator sonar;
    WritePreset(range);
    sonar.Process().Write("misbehave answer-late 600000\n");
    EXPECT_TRUE(sonar.Process().WaitForOutput("answer-late"));
    ExpectComplaint(Preset({"load", file, "--sonar", sonar.Endpoint(), "--timeout", "200"}), 1,
                    {"told nothing of itself within 200 ms"});
}

} // namespace
} // namespace qx5::test
