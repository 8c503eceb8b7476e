// Tests of the plug-in loader: what it refuses and in which words, and the order of calls into a good plug-in.
#include "reference_host/host/host.h"
#include "reference_host/loader/plugin_set.h"

#include <VersionControlR/CheckDllVersion.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/Device.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
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
    auto const file = std::filesystem::path(::testing::TempDir()) / "no_module.so";
    std::ofstream(file) << "some text";
    EXPECT_THAT(RefusalOf(file), HasSubstr("it is not a module"));
    std::filesystem::remove(file);
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
    auto const folder = std::filesystem::path(::testing::TempDir()) / "modules";
    std::filesystem::remove_all(folder);
    EXPECT_TRUE(vordal::FindModules(folder).empty()) << "there is no such folder";
    std::filesystem::create_directory(folder);
    for (char const* const name : {"b.so", "a.so", "a.txt", "libc.so.6"}) {
        std::ofstream(folder / name) << "text";
    }
    EXPECT_EQ(vordal::FindModules(folder), (std::vector<std::filesystem::path>{folder / "a.so", folder / "b.so"}));
    std::filesystem::remove_all(folder);
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
