// Presets as documents: what is written reads back to the last bit, and what is none is refused in one line.
#include "operation/preset.h"
#include "tests/support/temporary_folder.h"

#include <values/vordal_value.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>

#include <sys/resource.h>

namespace qx5::operation {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double endless = std::numeric_limits<double>::infinity();

std::string const goodDocument = R"({
  "format": "qx5 preset",
  "version": 1,
  "name": "Shallow water",
  "time": "2026-11-22T14:30:05Z",
  "sonar": {"name": "Bow", "class": "Sonar"},
  "settings": [
    {"key": "x5Range", "kind": "double", "value": 50.1, "unit": "m"},
    {"key": "x5BeamSteer", "kind": "pair", "value": [10.0,-10.0], "unit": "deg"},
    {"key": "x5PulseType", "kind": "int", "value": 1}
  ]
}
)";

/// The document with one piece of it replaced.
std::string With(std::string const& piece, std::string const& other)
{
    std::string text = goodDocument;
    text.replace(text.find(piece), piece.size(), other);
    return text;
}

std::string Refusal(std::string const& document)
{
    try {
        ReadPreset(document);
    } catch (PresetError const& failure) {
        return failure.what();
    }
    return "accepted";
}

std::string Content(std::filesystem::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

CAttributeMap TreeOf(std::initializer_list<std::pair<std::wstring_view, protocol::Value>> values)
{
    CAttributeMap tree;
    for (auto const& [key, value] : values) {
        AddValue(tree, AttributeKey(key), value);
    }
    return tree;
}

TEST(Preset, IsWrittenAsADocumentForPeople)
{
    Preset const preset{"Shallow water",
                        "2026-11-22T14:30:05Z",
                        "Bow",
                        "Sonar",
                        {{L"x5Range", 50.1, "m"},
                         {L"x5BeamSteer", std::pair(10.0, -10.0), "deg"},
                         {L"x5PulseType", std::int32_t{1}, ""}}};
    EXPECT_EQ(WritePreset(preset), goodDocument);
}

TEST(Preset, ReadsWhatItWrites)
{
    auto const preset = ReadPreset(goodDocument);
    EXPECT_EQ(preset.name, "Shallow water");
    EXPECT_EQ(preset.time, "2026-11-22T14:30:05Z");
    EXPECT_EQ(preset.sonar, "Bow");
    EXPECT_EQ(preset.sonarClass, "Sonar");
    ASSERT_EQ(preset.settings.size(), 3U);
    EXPECT_EQ(preset.settings[0].key, L"x5Range");
    EXPECT_EQ(preset.settings[0].value, protocol::Value(50.1));
    EXPECT_EQ(preset.settings[0].unit, "m");
    EXPECT_EQ(preset.settings[1].value, protocol::Value(std::pair(10.0, -10.0)));
    EXPECT_EQ(preset.settings[2].value, protocol::Value(std::int32_t{1}));
    EXPECT_EQ(preset.settings[2].unit, "");
    EXPECT_EQ(WritePreset(preset), goodDocument);
}

TEST(Preset, KeepsNumbersToTheLastBitWhateverTheLocale)
{
    // One with a comma, where the system has it; otherwise the C locale.
    char const* const locale = std::setlocale(LC_ALL, "de_DE.UTF-8");
    Preset preset{"n", "", "", "", {}};
    for (double const number : {0.1, -0.0, 5e-324, 1.7976931348623157e308, 1.0 / 3.0, 12345678.9, 100e-6}) {
        preset.settings.push_back({L"own" + std::to_wstring(preset.settings.size()), number, ""});
    }
    auto const read = ReadPreset(WritePreset(preset));
    if (locale != nullptr) {
        std::setlocale(LC_ALL, "C");
    }
    ASSERT_EQ(read.settings.size(), preset.settings.size());
    for (std::size_t i = 0; i < read.settings.size(); ++i) {
        double const before = std::get<double>(preset.settings[i].value);
        double const after = std::get<double>(read.settings[i].value);
        EXPECT_EQ(before, after);
        EXPECT_EQ(std::signbit(before), std::signbit(after));
    }
}

TEST(Preset, KeepsEveryKindOfValue)
{
    Preset const preset{"all",
                        "",
                        "",
                        "",
                        {{L"a", std::int32_t{-2147483647 - 1}, ""},
                         {L"b", std::uint32_t{4294967295U}, ""},
                         {L"c", std::int64_t{9223372036854775807}, ""},
                         {L"d", true, ""},
                         {L"e", std::pair(0.5, endless), ""},
                         {L"f", std::wstring(L"\"\x00E4\n\x1F600"), ""},
                         {L"g", std::vector<std::int32_t>{7000, -1}, ""},
                         {L"h", std::vector<double>{}, ""},
                         {L"i", std::array{1.0, 2.0, -endless}, "m"},
                         {L"key with \"quotes\"", protocol::DataReference{1, 78, 1, 2, 65535, 65535}, ""}}};
    auto const read = ReadPreset(WritePreset(preset));
    ASSERT_EQ(read.settings.size(), preset.settings.size());
    for (std::size_t i = 0; i < read.settings.size(); ++i) {
        EXPECT_EQ(read.settings[i].key, preset.settings[i].key);
        EXPECT_EQ(read.settings[i].value, preset.settings[i].value) << i;
        EXPECT_EQ(read.settings[i].unit, preset.settings[i].unit);
    }
    Preset const odd{"odd", "", "", "", {{L"nan", noNumber, ""}}};
    EXPECT_THAT(WritePreset(odd), HasSubstr(R"("value": "nan")"));
    EXPECT_TRUE(std::isnan(std::get<double>(ReadPreset(WritePreset(odd)).settings[0].value)));
}

TEST(Preset, TakesTheSettingsOfATreeAndNothingElse)
{
    auto const tree = TreeOf({{L"x5Range", 50.0},
                              {L"x5PingOnOffState", std::int32_t{1}},
                              {L"DeviceEnum", std::int32_t{1}},
                              {L"x5FileName", std::wstring(L"/sonar/a.x5")},
                              {L"x5DirectoryName", std::wstring(L"/sonar")},
                              {L"x5Gain", std::int32_t{20}}, // of another kind: no command takes it
                              {L"x5DepthFilterEnabled", true}});
    auto const preset =
        TakePreset(tree, {.name = "Now", .utcSeconds = 1795357805.9, .sonar = "Bow", .sonarClass = "Sonar"});
    EXPECT_EQ(WritePreset(preset), R"({
  "format": "qx5 preset",
  "version": 1,
  "name": "Now",
  "time": "2026-11-22T14:30:05Z",
  "sonar": {"name": "Bow", "class": "Sonar"},
  "settings": [
    {"key": "DeviceEnum", "kind": "int", "value": 1},
    {"key": "x5Range", "kind": "double", "value": 50.0, "unit": "m"},
    {"key": "x5DepthFilterEnabled", "kind": "bool", "value": true}
  ]
}
)");
}

TEST(Preset, OfATreeWithoutSettingsIsEmpty)
{
    auto const preset = TakePreset({}, {.name = "x", .utcSeconds = noNumber, .sonar = {}, .sonarClass = {}});
    EXPECT_TRUE(preset.settings.empty());
    EXPECT_TRUE(ReadPreset(WritePreset(preset)).settings.empty());
}

TEST(Preset, RefusesNamesThatAreNone)
{
    EXPECT_EQ(RefusePresetName("Shallow water, \xC3\xA4"), "");
    EXPECT_EQ(RefusePresetName(std::string(100, 'x')), "");
    std::string waves;
    for (int i = 0; i < 100; ++i) {
        waves += "\xF0\x9F\x8C\x8A"; // one character, beyond the first 65,536
    }
    EXPECT_EQ(RefusePresetName(waves), "");
    EXPECT_EQ(RefusePresetName(waves + "x"), "a preset's name has no more than 100 characters");
    for (std::string const& bad : {std::string(), std::string(101, 'x'), std::string("a\nb"), std::string("a\x1B[31m"),
                                   std::string("\xFF"), std::string("a\0b", 3)}) {
        EXPECT_NE(RefusePresetName(bad), "") << bad;
        EXPECT_THROW(TakePreset({}, {.name = bad, .utcSeconds = 0.0, .sonar = {}, .sonarClass = {}}), PresetError);
    }
}

TEST(Preset, RefusesInOneLineWithThePlace)
{
    EXPECT_EQ(Refusal(goodDocument), "accepted");
    EXPECT_EQ(Refusal(""), "not JSON: the text ends too early (line 1, column 1)");
    EXPECT_EQ(Refusal(With("50.1,", "50.1;")), "not JSON: a comma or } is missing (line 8, column 55)");
    EXPECT_EQ(Refusal(With("qx5 preset", "other")),
              "this is no preset: its \"format\" is not \"qx5 preset\" (line 2, column 13)");
    EXPECT_EQ(Refusal("[]"), "an object is expected here, not an array (line 1, column 1)");
    EXPECT_EQ(Refusal(" {}"), "this is no preset: its \"format\" is not \"qx5 preset\" (line 1, column 2)");
    EXPECT_EQ(Refusal(With("\"version\": 1", "\"version\": 2")),
              "the preset has version 2 of the format, this program reads version 1 (line 3, column 14)");
    EXPECT_EQ(Refusal(With("\"version\": 1", "\"version\": \"1\"")),
              "an integer is expected here, not a text (line 3, column 14)");
    EXPECT_EQ(Refusal(With("  \"version\": 1,\n", "")), "\"version\" is missing (line 1, column 1)");
    EXPECT_EQ(Refusal(With("Shallow water", "")), "a preset needs a name (line 4, column 11)");
    EXPECT_EQ(Refusal(With("\"class\": \"Sonar\"", "\"class\": 7")),
              "a text is expected here, not an integer (line 6, column 37)");
    EXPECT_EQ(Refusal(With("\"Bow\"", "\"B\\now\"")), "a text in one line is expected here (line 6, column 21)");
    EXPECT_EQ(Refusal(With("\"x5Range\", \"kind\": \"double\"", "\"x5Range\", \"kind\": \"string\"")),
              "x5Range is of the kind double, not string (line 8, column 32)");
    EXPECT_EQ(Refusal(With("\"kind\": \"double\"", "\"kind\": \"number\"")),
              "there is no kind of value \"number\" (line 8, column 32)");
    EXPECT_EQ(Refusal(With("\"kind\": \"double\"", "\"kind\": \"branch\"")),
              "there is no kind of value \"branch\" (line 8, column 32)");
    EXPECT_EQ(Refusal(With("50.1", "\"far\"")),
              "a number, or \"nan\", \"inf\" or \"-inf\", is expected here, not a text (line 8, column 51)");
    EXPECT_EQ(Refusal(With("50.1", "1e999")), "the number 1e999 is beyond the range of a double (line 8, column 51)");
    EXPECT_EQ(Refusal(With("[10.0,-10.0]", "[10.0]")), "an array of 2 is expected here, not of 1 (line 9, column 53)");
    EXPECT_EQ(Refusal(With("\"unit\": \"m\"", "\"unit\": \"ft\"")),
              "the unit of x5Range is \"m\", not \"ft\" (line 8, column 65)");
    EXPECT_EQ(Refusal(With("x5BeamSteer", "x5Range")), "\"x5Range\" stands here twice (line 9, column 13)");
    EXPECT_EQ(Refusal(With("\"value\": 1}", "\"value\": 1, \"note\": 2}")), "unknown key \"note\" (line 10, column 5)");
    EXPECT_EQ(Refusal(With("{\"key\": \"x5PulseType\", \"kind\": \"int\", \"value\": 1}", "7")),
              "an object is expected here, not an integer (line 10, column 5)");
    EXPECT_EQ(Refusal(goodDocument + "x"),
              "not JSON: there is more text after the end of the document (line 13, column 1)");
}

TEST(Preset, RefusesEveryCut)
{
    // The last newline is not missed.
    for (std::size_t size = 0; size + 1 < goodDocument.size(); ++size) {
        auto const refusal = Refusal(goodDocument.substr(0, size));
        EXPECT_THAT(refusal, StartsWith("not JSON: ")) << size;
        EXPECT_EQ(refusal.find('\n'), std::string::npos);
    }
}

TEST(Preset, KeepsKeysThatNobodyKnowsHere)
{
    Preset many{"many", "", "", "", {}};
    for (int i = 0; i < 10000; ++i) {
        many.settings.push_back({L"later" + std::to_wstring(i), std::int32_t{i}, "furlong"});
    }
    auto const read = ReadPreset(WritePreset(many));
    ASSERT_EQ(read.settings.size(), 10000U);
    EXPECT_EQ(read.settings[9999].key, L"later9999");
    EXPECT_EQ(read.settings[9999].value, protocol::Value(std::int32_t{9999}));
    EXPECT_EQ(read.settings[9999].unit, "furlong");
}

TEST(Preset, RefusesAFileBeyondItsLimit)
{
    EXPECT_EQ(Refusal(std::string(GreatestPresetSize + 1, ' ')), "a preset has no more than 16 MiB");
    EXPECT_EQ(Refusal(goodDocument + std::string(GreatestPresetSize - goodDocument.size(), ' ')), "accepted");
}

TEST(PresetFile, ReplacesTheOldOneWhole)
{
    test::TemporaryFolder const folder;
    auto const file = folder / "preset.json";
    WritePresetFile(file, ReadPreset(goodDocument));
    EXPECT_EQ(Content(file), goodDocument);
    auto other = ReadPreset(goodDocument);
    other.settings.clear();
    std::filesystem::permissions(file, std::filesystem::perms(0640));
    WritePresetFile(file, other);
    EXPECT_TRUE(ReadPresetFile(file).settings.empty());
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.string()), {}), 1);
}

TEST(PresetFile, IsAsItWasWhenWritingFails)
{
    auto const refusal = [](std::filesystem::path const& file) -> std::string {
        try {
            WritePresetFile(file, ReadPreset(goodDocument));
        } catch (PresetError const& failure) {
            return failure.what();
        }
        return "written";
    };
    test::TemporaryFolder const folder;
    EXPECT_THAT(refusal(folder / "no" / "preset.json"), HasSubstr("cannot be written: No such file or directory"));
    // A folder cannot be replaced by a file; nothing is left beside it.
    std::filesystem::create_directory(folder / "taken.json");
    EXPECT_THAT(refusal(folder / "taken.json"), HasSubstr("cannot be written: Is a directory"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.string()), {}), 1);
}

TEST(PresetFile, IsAsItWasOnAFullDisk)
{
    test::TemporaryFolder const folder;
    auto const file = folder / "preset.json";
    WritePresetFile(file, ReadPreset(goodDocument));
    // No file may grow beyond so many bytes: to this process as good as a full disk.
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit const full{100, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
    std::string refusal;
    try {
        auto other = ReadPreset(goodDocument);
        other.name = "other";
        WritePresetFile(file, other);
    } catch (PresetError const& failure) {
        refusal = failure.what();
    }
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_THAT(refusal, HasSubstr("preset.json\": cannot be written: File too large"));
    EXPECT_EQ(Content(file), goodDocument);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.string()), {}), 1);
}

TEST(PresetFile, ThatCannotBeReadIsOneLine)
{
    auto const refusal = [](std::filesystem::path const& file) -> std::string {
        try {
            ReadPresetFile(file);
        } catch (PresetError const& failure) {
            return failure.what();
        }
        return "read";
    };
    test::TemporaryFolder const folder;
    EXPECT_THAT(refusal(folder / "absent.json"), HasSubstr("absent.json\": the file cannot be read"));
    EXPECT_THAT(refusal(folder.string()), HasSubstr("this is a folder, no preset"));
    std::ofstream(folder / "bad.json") << "{\n x";
    EXPECT_THAT(refusal(folder / "bad.json"),
                HasSubstr("bad.json\": not JSON: a key in quotes is missing (line 2, column 2)"));
}

} // namespace
} // namespace qx5::operation
