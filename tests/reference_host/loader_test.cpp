// Tests of the plug-in loader: what it refuses and in which words, and the order of calls into a good plug-in.
#include "reference_host/common/log.h"
#include "reference_host/core/host.h"
#include "reference_host/loader/plugin_set.h"
#include "tests/support/temporary_folder.h"

#include <VersionControlR/CheckDllVersion.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/Device.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::string RefusalOf(std::filesystem::path const& file)
{
    std::string reason;
    EXPECT_EQ(vordal::PlugIn::Load(file, reason), nullptr);
    EXPECT_THAT(reason, AllOf(HasSubstr(file.string()), Not(HasSubstr("\n"))));
    return reason;
}

TEST(PlugInLoader, RefusesAMissingFile)
{
    EXPECT_THAT(RefusalOf("/nowhere/plugin.so"), HasSubstr("there is no such file"));
}

TEST(PlugInLoader, RefusesAFolder)
{
    EXPECT_THAT(RefusalOf(std::filesystem::temp_directory_path()), HasSubstr("it is not a file"));
}

TEST(PlugInLoader, RefusesAFileThatIsNoModule)
{
    qx5::test::TemporaryFolder const folder;
    auto const file = folder / "no_module.so";
    std::ofstream(file) << "some text";
    EXPECT_THAT(RefusalOf(file), HasSubstr("it is not a module"));
}

TEST(PlugInLoader, RefusesAModuleOfWindowsByThatName)
{
    qx5::test::TemporaryFolder const folder;
    auto const file = folder / "plugin.dll";
    // The mark of the older header, and at 0x3C the place of the one that counts.
    std::string bytes = "MZ" + std::string(0x3A, '\0') + std::string("\x40\0\0\0", 4) + std::string("PE\0\0", 4);
    std::ofstream(file, std::ios::binary) << bytes;
    EXPECT_THAT(RefusalOf(file), HasSubstr("(it is built for Windows)"));
    // Without the latter it is any file.
    std::ofstream(file, std::ios::binary) << bytes.replace(0x40, 2, "NE");
    EXPECT_THAT(RefusalOf(file), AllOf(HasSubstr("it is not a module"), Not(HasSubstr("Windows"))));
}

TEST(PlugInLoader, RefusesAModuleThatIsCutShortBeforeItIsMapped)
{
    qx5::test::TemporaryFolder const folder;
    auto const file = folder / "cut_short.so";
    std::filesystem::copy_file(MODULE_GOOD, file);
    auto const whole = std::filesystem::file_size(file);
    // Wherever it ends: the last byte alone, within its tables, its data, its code, its header.
    std::vector<std::uintmax_t> lengths{whole - 1, 100, 64, 63, 17, 4};
    for (std::uintmax_t part = 31; part > 0; --part) {
        lengths.push_back(whole / 32 * part);
    }
    std::sort(lengths.rbegin(), lengths.rend());
    for (std::uintmax_t const length : lengths) {
        std::filesystem::resize_file(file, length);
        EXPECT_THAT(RefusalOf(file), HasSubstr(length < 64 ? "it is not a module" : "the file is cut short")) << length;
    }
}

TEST(PlugInLoader, NamesTheMissingEntryPoint)
{
    EXPECT_THAT(RefusalOf(MODULE_NOT_A_PLUGIN), HasSubstr("the entry point RegisterDevices is missing"));
    EXPECT_THAT(RefusalOf(MODULE_WITHOUT_CONTROL_INIT), HasSubstr("the entry point DeviceCtrlInit is missing"));
}

TEST(PlugInLoader, NamesBothVersions)
{
    EXPECT_THAT(RefusalOf(MODULE_OTHER_VERSION), AllOf(HasSubstr("version 5.6.1.0"), HasSubstr("version 5.5.1.0")));
}

TEST(PlugInLoader, SaysSoWhenAPlugInGivesNoReason)
{
    // A refusal left over from an earlier module must not be told of this one.
    EXPECT_FALSE(CheckDllVersion(0x04000000U, "elsewhere.cpp", "yesterday"));
    EXPECT_THAT(RefusalOf(MODULE_REFUSES), HasSubstr("did not say why"));
}

TEST(PlugInLoader, CallsAGoodPlugInInOrder)
{
    vordal::Host host;
    std::string reason;
    auto plugIn = vordal::PlugIn::Load(MODULE_GOOD, reason);
    ASSERT_NE(plugIn, nullptr) << reason;
    plugIn->RegisterDevices();
    plugIn->RegisterViews();
    plugIn->InitializeTemplates(nullptr);
    plugIn->DeviceCtrlInit(1, 2, 3, 4);
    auto const called = reinterpret_cast<char const* (*)()>(plugIn->FindFunction("WhatWasCalled"));
    ASSERT_NE(called, nullptr);
    EXPECT_STREQ(called(), "attach devices views templates control 1234 ");
    EXPECT_EQ(plugIn->FindFunction("NothingOfThisName"), nullptr);

    auto device = host.MakeDevice(L"SmallDevice");
    EXPECT_NE(device, nullptr);
    device.reset();
    plugIn.reset();
    EXPECT_EQ(host.MakeDevice(L"SmallDevice"), nullptr);
}

TEST(PlugInLoader, KnowsWhatAPlugInHasRegistered)
{
    vordal::Host host;
    std::string reason;
    CDevList::GetDevList().RegisterDev(L"Another", new DevCreator<Device>);
    auto plugIn = vordal::PlugIn::Load(MODULE_GOOD, reason);
    ASSERT_NE(plugIn, nullptr) << reason;
    EXPECT_TRUE(plugIn->DeviceClasses().empty());
    plugIn->RegisterDevices();
    plugIn->RegisterViews();
    EXPECT_EQ(plugIn->DeviceClasses(), std::vector<CString>{L"SmallDevice"});
    EXPECT_EQ(plugIn->ViewClasses(), std::vector<CString>());
    EXPECT_EQ(plugIn->SonarClass(), L"") << "its devices do not speak the record protocol";
    EXPECT_EQ(host.MakeDevice(L"SmallDevice")->GetDeviceDriverName(), L"SmallDevice");
    EXPECT_EQ(host.MakeDevice(L"QX5Device")->GetDeviceDriverName(), L"QX5Device");
    plugIn->UnRegisterDevices();
    EXPECT_TRUE(plugIn->DeviceClasses().empty());
}

TEST(PlugInLoader, AsksForTheOptionalEntryPointsWhereTheyAre)
{
    vordal::Host host;
    std::string reason;
    auto const without = vordal::PlugIn::Load(MODULE_GOOD, reason);
    ASSERT_NE(without, nullptr) << reason;
    without->DiscoverDevices();
    without->ReleaseDevices();
    auto const with = vordal::PlugIn::Load(MODULE_WITH_OPTIONAL, reason);
    ASSERT_NE(with, nullptr) << reason;
    with->DiscoverDevices();
    with->ReleaseDevices();
    EXPECT_STREQ(reinterpret_cast<char const* (*)()>(with->FindFunction("WhatWasCalled"))(),
                 "attach discover release ");
}

TEST(PlugIns, AreFoundInAFolderByNameAndOtherFilesAreNot)
{
    qx5::test::TemporaryFolder const parent;
    auto const folder = parent / "modules";
    EXPECT_TRUE(vordal::FindModules(folder).empty()) << "there is no such folder";
    std::filesystem::create_directory(folder);
    for (char const* const name : {"b.so", "a.so", "a.txt", "libc.so.6"}) {
        std::ofstream(folder / name) << "text";
    }
    EXPECT_EQ(vordal::FindModules(folder), (std::vector<std::filesystem::path>{folder / "a.so", folder / "b.so"}));
}

TEST(PlugIns, ADeviceIsItsOwnPlugInsAlone)
{
    vordal::Host host;
    {
        vordal::PlugIns plugIns;
        std::string reason;
        ASSERT_TRUE(plugIns.Add(MODULE_GOOD, reason)) << reason;
        EXPECT_FALSE(plugIns.Add(MODULE_REFUSES, reason));
        EXPECT_THAT(reason, HasSubstr(MODULE_REFUSES));
        ASSERT_TRUE(plugIns.Add(MODULE_WITH_OPTIONAL, reason)) << reason;
        auto* const good = plugIns.FindByDeviceClass(L"SmallDevice");
        auto* const other = plugIns.FindByDeviceClass(L"OtherDevice");
        ASSERT_NE(good, nullptr);
        ASSERT_NE(other, nullptr);
        EXPECT_EQ(plugIns.FindByDeviceClass(L"Device"), nullptr) << "the host's own";
        auto* const device = host.AddDevice(host.MakeDevice(L"OtherDevice"), CDataId(1, 2, 3, 4));
        plugIns.DeviceCtrlInit(*device);
        plugIns.DeviceCtrlInit(*host.AddDevice(host.MakeDevice(L"Device"), CDataId(5, 6, 7, 8)));
        auto const called = [](vordal::PlugIn& plugIn) {
            return std::string(reinterpret_cast<char const* (*)()>(plugIn.FindFunction("WhatWasCalled"))());
        };
        EXPECT_EQ(called(*good), "attach devices ");
        EXPECT_EQ(called(*other), "attach devices control 4231 ") << "vessel, group, device, type";
        EXPECT_EQ(plugIns.SonarClass(), L"");
        EXPECT_EQ(plugIns.ViewClassFor(*device), L"");
        plugIns.RegisterViews();
        plugIns.InitializeTemplates(nullptr);
        plugIns.ReleaseDevices();
        EXPECT_EQ(called(*good), "attach devices views templates ");
        EXPECT_EQ(called(*other), "attach devices control 4231 views templates release ");
        host.RemoveAllDevices();
    }
    EXPECT_TRUE(host.DeviceClasses().empty());
}

TEST(PlugInLoader, LoadsOnePlugInForOneHostAfterAnother)
{
    for (int round = 0; round < 2; ++round) {
        vordal::Host host;
        std::string reason;
        auto const plugIn = vordal::PlugIn::Load(MODULE_GOOD, reason);
        ASSERT_NE(plugIn, nullptr) << reason;
        EXPECT_EQ(host.MakeDevice(L"SmallDevice"), nullptr);
        plugIn->RegisterDevices();
        auto* const device = host.AddDevice(host.MakeDevice(L"SmallDevice"), CDataId(1, 78, 1, 1));
        EXPECT_NE(device, nullptr);
        host.RemoveAllDevices();
    }
}

/// Sets BAD_PLUGIN for the bad plug-in (plugins/bad_plugin.cpp), and keeps what the host logs.
class BadPlugIn : public ::testing::Test
{
protected:
    BadPlugIn()
    {
        vordal::SetLogSink([this](vordal::LogLevel, std::string_view line) { lines.emplace_back(line); });
        host.SetApplication({});
    }
    ~BadPlugIn() override
    {
        vordal::SetLogSink({});
        unsetenv("BAD_PLUGIN");
    }

    std::unique_ptr<vordal::PlugIn> Load(std::string const& ways)
    {
        setenv("BAD_PLUGIN", ways.c_str(), 1);
        std::string reason;
        auto plugIn = vordal::PlugIn::Load(MODULE_BAD, reason);
        EXPECT_NE(plugIn, nullptr) << reason;
        return plugIn;
    }
    /// The one line that the call ends in.
    static std::string FailureOf(std::function<void()> const& call)
    {
        try {
            call();
        } catch (vordal::PlugInError const& failure) {
            return failure.what();
        }
        ADD_FAILURE() << "nothing was thrown";
        return {};
    }
    void RegisterAll(vordal::PlugIn& plugIn)
    {
        plugIn.RegisterDevices();
        plugIn.RegisterViews();
        plugIn.InitializeTemplates(host.Application());
    }
    void ExpectNothingRegistered()
    {
        EXPECT_THAT(host.DeviceClasses(), IsEmpty());
        EXPECT_THAT(host.ViewClasses(), IsEmpty());
        EXPECT_THAT(host.DisplayTemplates(), IsEmpty());
    }
    /// Whatever became of the bad plug-in: a good one finds a host that works.
    void ExpectTheHostLives()
    {
        ExpectNothingRegistered();
        host.Notify(Subscription::General, L"bad", nullptr);
        std::string reason;
        auto const good = vordal::PlugIn::Load(MODULE_GOOD, reason);
        ASSERT_NE(good, nullptr) << reason;
        good->RegisterDevices();
        EXPECT_THAT(host.DeviceClasses(), ElementsAre(CString(L"SmallDevice")));
    }
    static std::string Begin() { return std::string("plug-in ") + MODULE_BAD + " "; }

    vordal::Host host;
    std::vector<std::string> lines;
};

TEST_F(BadPlugIn, ThatIsGoodAfterAllLeavesNothingBehind)
{
    auto plugIn = Load("");
    RegisterAll(*plugIn);
    plugIn.reset();
    EXPECT_THAT(lines, IsEmpty());
    ExpectTheHostLives();
}

TEST_F(BadPlugIn, ThatFailsToRegisterIsToldInOneLineAndTakenBack)
{
    for (std::string const entryPoint : {"RegisterDevices", "RegisterViews", "InitializeTemplates"}) {
        for (bool const odd : {false, true}) {
            auto plugIn = Load(entryPoint + (odd ? " odd" : ""));
            auto const line = Begin() + "failed in " + entryPoint + ": " +
                              (odd ? "an exception of an unknown kind" : "no " + entryPoint + " today") +
                              "; what it had registered is taken back";
            EXPECT_EQ(FailureOf([&] { RegisterAll(*plugIn); }), line);
            ExpectNothingRegistered();
            // It registers nothing any more.
            EXPECT_EQ(FailureOf([&] { plugIn->RegisterDevices(); }), line);
            ExpectNothingRegistered();
            plugIn.reset();
            ExpectTheHostLives();
        }
    }
    EXPECT_THAT(lines, IsEmpty()) << "the one line was thrown";
}

TEST_F(BadPlugIn, ThatFailsToAttachIsRefusedAndTakenBack)
{
    setenv("BAD_PLUGIN", "LibraryAttach", 1);
    EXPECT_THAT(RefusalOf(MODULE_BAD), HasSubstr("it failed to attach itself: no LibraryAttach today"));
    ExpectTheHostLives();
    setenv("BAD_PLUGIN", "LibraryAttach odd", 1);
    EXPECT_THAT(RefusalOf(MODULE_BAD), HasSubstr("it failed to attach itself: an exception of an unknown kind"));
    ExpectTheHostLives();
    setenv("BAD_PLUGIN", "refuse", 1);
    EXPECT_THAT(RefusalOf(MODULE_BAD), HasSubstr("it refused to be attached and did not say why"));
    ExpectTheHostLives();
}

TEST_F(BadPlugIn, ThatFailsWhenItIsTakenOutIsToldInOneLine)
{
    for (auto const& [entryPoint, left] :
         {std::pair<std::string, std::string>{"UnRegisterDevices", "the device class BadDevice"},
          {"UnInitializeTemplates", "the display template BAD"},
          {"LibraryDetach", ""}}) {
        auto plugIn = Load(entryPoint);
        RegisterAll(*plugIn);
        lines.clear();
        plugIn.reset();
        EXPECT_THAT(lines, ElementsAre(Begin() + "failed in " + entryPoint + ": no " + entryPoint + " today" +
                                       (left.empty() ? "" : "; left these behind, which are taken away: " + left)));
        ExpectTheHostLives();
    }
}

TEST_F(BadPlugIn, ThatFailsAtADeviceGoesOn)
{
    auto plugIn = Load("DeviceCtrlInit");
    RegisterAll(*plugIn);
    plugIn->DeviceCtrlInit(1, 78, 1, 1);
    EXPECT_THAT(lines, ElementsAre(Begin() + "failed in DeviceCtrlInit: no DeviceCtrlInit today"));
    EXPECT_THAT(host.DeviceClasses(), ElementsAre(CString(L"BadDevice")));
    plugIn.reset();
    ExpectTheHostLives();
}

TEST_F(BadPlugIn, ThatForgetsToUnregisterIsToldInOneLineAndTakenBack)
{
    auto plugIn = Load("forget");
    RegisterAll(*plugIn);
    plugIn.reset();
    EXPECT_THAT(lines, ElementsAre(Begin() + "left these behind, which are taken away: the device class BadDevice, "
                                             "the display template BAD"));
    ExpectTheHostLives();
}

TEST_F(BadPlugIn, ThatKeepsSubscriptionsIsNotToldAnyMore)
{
    auto* const device = host.AddDevice(std::make_unique<Device>(), CDataId(1, 78, 1, 1));
    auto plugIn = Load("keep");
    RegisterAll(*plugIn);
    plugIn.reset();
    EXPECT_THAT(lines, ElementsAre(Begin() + "left these behind, which are taken away: 2 subscriptions"));
    CAttributeMap tree;
    tree.Add(L"bad", CVordalInt(1));
    device->SetAttributeMap(tree, 0);
    ExpectTheHostLives();
}

TEST_F(BadPlugIn, ThatWhoseDevicesAreStillThereTakesThemWithIt)
{
    auto plugIn = Load("");
    RegisterAll(*plugIn);
    auto* const kept = host.AddDevice(std::make_unique<Device>(), CDataId(1, 78, 1, 1));
    ASSERT_NE(host.AddDevice(host.MakeDevice(L"BadDevice"), CDataId(1, 78, 2, 1)), nullptr);
    plugIn.reset();
    EXPECT_THAT(host.Devices(), ElementsAre(kept));
    EXPECT_THAT(lines, ElementsAre(Begin() + "left these behind, which are taken away: 1 device"));
    ExpectTheHostLives();
}

TEST(CheckDllVersion, ComparesMajorAndMinor)
{
    EXPECT_TRUE(CheckDllVersion(0x05050100U, "a.cpp", "today"));
    EXPECT_TRUE(CheckDllVersion(0x05050000U, "a.cpp", "today"));
    EXPECT_TRUE(CheckDllVersion(0x050502FFU, nullptr, nullptr));
    EXPECT_FALSE(CheckDllVersion(0x05040100U, "a.cpp", "today"));
    EXPECT_FALSE(CheckDllVersion(0x06050100U, nullptr, nullptr));
    EXPECT_FALSE(CheckDllVersion(0U, "a.cpp", "today"));
}

} // namespace
