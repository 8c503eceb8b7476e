// Tests of the plug-in loader: what it refuses and in which words, and the order of calls into a good plug-in.
#include "reference_host/host/host.h"
#include "reference_host/loader/plugin_loader.h"

#include <VersionControlR/CheckDllVersion.h>
#include <vordalhostdllR/CDevList.h>

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
