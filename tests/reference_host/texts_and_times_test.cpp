// Tests of the host's helpers: settings trees, time stamps, UTF-8, obfuscation, configuration in memory.
#include <HalvaneX5InterfaceR/QX5Utils.h>
#include <HalvaneX5InterfaceR/StringObfuscator.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CExTime.h>
#include <VordalBaseR/FileObject.h>
#include <VordalBaseR/TimeX5.h>
#include <reference_host/common/path_text.h>
#include <tvcoreR/Utf8.h>

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

CAttributeMap TwoHeads()
{
    CAttributeMap tree;
    for (int head = 0; head < 2; ++head) {
        auto* settings = tree.Add(L"x5SonarSettings");
        settings->Add(L"head", CVordalInt(head));
        for (int set = 0; set < 2; ++set) {
            settings->Add(L"x5PulseLengthSet")
                ->Append(new CAttributeMap(L"x5PulseLengthValues",
                                           VordalTypeCreator::MakeValue(std::vector<double>{head + 0.5, set + 0.25})));
        }
    }
    return tree;
}

int HeadOf(CAttributeMap const& settings)
{
    int head = -1;
    settings.FindValue(L"head").Get(head);
    return head;
}

TEST(SonarSettings, TheActiveOnesAreThoseOfDeviceEnum)
{
    auto tree = TwoHeads();
    EXPECT_EQ(HeadOf(QX5Utils::GetActiveSonarSettings(tree)), 0);
    tree.Add(L"DeviceEnum", CVordalInt(1));
    EXPECT_EQ(HeadOf(QX5Utils::GetActiveSonarSettings(tree)), 1);
    tree.FindCreate(L"DeviceEnum", 0).SetValue(CVordalInt(2));
    EXPECT_EQ(HeadOf(QX5Utils::GetActiveSonarSettings(tree)), 0);
    tree.FindCreate(L"DeviceEnum", 0).SetValue(CVordalInt(-1));
    EXPECT_EQ(HeadOf(QX5Utils::GetActiveSonarSettings(tree)), 0);
    tree.FindCreate(L"DeviceEnum", 0).SetValue(CVordalDouble(1.0));
    EXPECT_EQ(HeadOf(QX5Utils::GetActiveSonarSettings(tree)), 0);
    EXPECT_EQ(QX5Utils::GetActiveSonarSettings(CAttributeMap()).Count(), 0);
}

TEST(SonarSettings, BeamModesAreAppendedInOrder)
{
    CAttributeMap from;
    from.Add(L"x5BeamModes")->Add(L"head", CVordalInt(3));
    from.Add(L"other", CVordalInt(1));
    from.Add(L"x5BeamModes")->Add(L"head", CVordalInt(4));
    CAttributeMap to;
    to.Add(L"x5BeamModes");
    QX5Utils::AddBeamModeAttribs(from, to);
    EXPECT_EQ(to.Count(), 3);
    EXPECT_EQ(HeadOf(to.Find(L"x5BeamModes", 1)), 3);
    EXPECT_EQ(HeadOf(to.Find(L"x5BeamModes", 2)), 4);
    QX5Utils::AddBeamModeAttribs(from, from);
    EXPECT_EQ(from.Count(), 5);
}

TEST(SonarSettings, PulseLengthsAreThoseOfThePulseTypeOfTheActiveHead)
{
    auto tree = TwoHeads();
    CAttributeMap to;
    std::vector<double> values;
    QX5Utils::AddPulseLengthValuesAttrib(tree, to);
    EXPECT_TRUE(to.FindValue(L"x5PulseLengthValues").Get(values));
    EXPECT_EQ(values, (std::vector<double>{0.5, 0.25}));
    tree.Add(L"DeviceEnum", CVordalInt(1));
    tree.Add(L"x5PulseType", CVordalInt(1));
    QX5Utils::AddPulseLengthValuesAttrib(tree, to);
    EXPECT_TRUE(to.FindValue(L"x5PulseLengthValues", 1).Get(values));
    EXPECT_EQ(values, (std::vector<double>{1.5, 1.25}));
    tree.FindCreate(L"x5PulseType", 0).SetValue(CVordalInt(2));
    QX5Utils::AddPulseLengthValuesAttrib(tree, to);
    EXPECT_EQ(to.Count(), 2);
}

TEST(Obfuscation, GivesPaddedBase64)
{
    EXPECT_EQ(StringObfuscator::Obfuscate(""), "");
    EXPECT_EQ(StringObfuscator::Obfuscate("f"), "Zg==");
    EXPECT_EQ(StringObfuscator::Obfuscate("fo"), "Zm8=");
    EXPECT_EQ(StringObfuscator::Obfuscate("foobar"), "Zm9vYmFy");
    EXPECT_EQ(StringObfuscator::Obfuscate(std::string("\xFF\xFE\x00", 3)), "//4A");
}

TEST(Utf8, WideTextToBytes)
{
    EXPECT_EQ(tvcore::ToUtf8(L""), "");
    EXPECT_EQ(tvcore::ToUtf8(L"A\u00E4\u20AC"), "A\xC3\xA4\xE2\x82\xAC");
    EXPECT_EQ(tvcore::ToUtf8(CString(std::wstring(1, static_cast<wchar_t>(0xD800)))), "\xEF\xBF\xBD");
    EXPECT_STREQ(tvcore::CW2A_UTF8(L"depth"), "depth");
}

TEST(Time, StampOfAKnownTime)
{
    // 2023-11-14 22:13:20 UTC is day 318 (0x013E) of the year 2023 (0x07E7); 20.0f is 41A00000.
    unsigned char const expected[10] = {0xE7, 0x07, 0x3E, 0x01, 0x00, 0x00, 0xA0, 0x41, 22, 13};
    auto const stamp = TimeTox5(1700000000.0);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(stamp.bytes[i], expected[i]) << i;
    }
    for (double const none : {std::nan(""), std::numeric_limits<double>::infinity(), 1e15, -1e15}) {
        for (auto const byte : TimeTox5(none).bytes) {
            EXPECT_EQ(byte, 0);
        }
    }
}

TEST(Time, CalendarTime)
{
    EXPECT_EQ(CExTime::ConvertToCTime(1700000000.9), 1700000000);
    EXPECT_EQ(CExTime::ConvertToCTime(-0.5), -1);
    EXPECT_EQ(CExTime::ConvertToCTime(253402300799.0), 253402300799);
    EXPECT_THROW(CExTime::ConvertToCTime(253402300800.0), std::invalid_argument);
    EXPECT_THROW(CExTime::ConvertToCTime(std::nan("")), std::invalid_argument);
    EXPECT_THROW(CExTime::ConvertToCTime(-std::numeric_limits<double>::infinity()), std::invalid_argument);
}

TEST(Configuration, SectionsItemsAndTrees)
{
    FileObject file;
    EXPECT_FALSE(file.SetItem(L"s", L"a", L"1"));
    EXPECT_TRUE(file.CreateSection(L"s"));
    EXPECT_FALSE(file.CreateSection(L"s"));
    EXPECT_TRUE(file.SetItem(L"s", L"b", L"1"));
    EXPECT_TRUE(file.SetItem(L"s", L"a", L"2"));
    EXPECT_TRUE(file.SetItem(L"s", L"b", L"3"));
    std::vector<std::pair<CString, CString>> const expected{{L"b", L"3"}, {L"a", L"2"}};
    EXPECT_EQ(file.GetItems(L"s"), expected);
    CString text(L"before");
    EXPECT_FALSE(file.GetItem(L"s", L"A", text));
    EXPECT_FALSE(file.GetItem(L"S", L"a", text));
    EXPECT_EQ(text, L"before");
    EXPECT_TRUE(file.GetItem(L"s", L"a", text));
    EXPECT_EQ(text, L"2");
    CAttributeMap tree;
    tree.Add(L"x", CVordalInt(1));
    CAttributeMap read;
    EXPECT_FALSE(file.GetAttributeMap(L"s", read));
    EXPECT_FALSE(file.SetAttributeMap(L"t", tree));
    EXPECT_TRUE(file.SetAttributeMap(L"s", tree));
    EXPECT_TRUE(file.GetAttributeMap(L"s", read));
    EXPECT_TRUE(read.Has(L"x"));
}

TEST(PathTexts, ArePathsInUtf8)
{
    CString const text = L"/s\u00f6\u00f1ar \u6c34/b.qx5";
    std::filesystem::path const path("/s\xC3\xB6\xC3\xB1"
                                     "ar \xE6\xB0\xB4/b.qx5");
    EXPECT_EQ(vordal::TextOf(path), text);
    EXPECT_EQ(vordal::PathOf(text), path);
    EXPECT_EQ(vordal::Utf8Of(path), path.native());
    EXPECT_EQ(vordal::FolderOf(path), L"/s\u00f6\u00f1ar \u6c34/");
    EXPECT_EQ(vordal::TextOf(std::filesystem::path("s\xF6.tif")), L"s\uFFFD.tif");
    EXPECT_EQ(vordal::TextOf({}), L"");
    // From the root on, wherever the program stands.
    EXPECT_EQ(vordal::FolderOf("b.qx5"), vordal::TextOf(std::filesystem::current_path() / ""));
}

} // namespace
