// How the plug-in attaches itself to a host: what it asks of it, in which order, and what a refusal ends. The two
// services of the host are stood in for here, so that they can be seen and can refuse.
#include "QX5SonarConfiguration.h"

#include "reference_host/core/host.h"
#include "sequencing/QX5SonarConfigurationInfo.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VersionControlR/CheckDllVersion.h>
#include <VordalAttributesR/CVordalType.h>
#include <vordalhostdllR/CDocTemplateList.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>
#include <vordalhostdllR/VordalHost.h>

#include <memory>
#include <string>
#include <vector>

#include <dlfcn.h>

#include <gmock/gmock.h>

struct ConfigurationInfoAccess
{
    static bool FollowsAny() { return !QX5SonarConfigurationInfo::Instance().entries.empty(); }
};

namespace {

struct Handshake
{
    unsigned version;
    std::string sourceFile;
    std::string buildTime;
};
struct Binding
{
    HINSTANCE instance;
    HINSTANCE module;
};

bool accepts = true;
std::vector<Handshake> handshakes;
std::vector<Binding> bindings;

} // namespace

bool CheckDllVersion(unsigned version, char const* sourceFile, char const* buildTime)
{
    EXPECT_TRUE(bindings.empty()) << "the handshake comes first";
    handshakes.push_back({version, sourceFile, buildTime});
    return accepts;
}

bool VordalHost::LoadDLLResourceDLL(HINSTANCE instance, HINSTANCE module)
{
    bindings.push_back({instance, module});
    return false; // there is no such library; the texts that are built in serve
}

namespace {

class Attaching : public ::testing::Test
{
protected:
    Attaching()
    {
        accepts = true;
        handshakes.clear();
        bindings.clear();
    }
};

TEST_F(Attaching, TellsItsVersionThenBindsItsResources)
{
    EXPECT_TRUE(LibraryAttach());
    ASSERT_EQ(handshakes.size(), 1U);
    EXPECT_EQ(handshakes[0].version, 0x05050100U);
    EXPECT_THAT(handshakes[0].sourceFile,
                ::testing::EndsWith("DeviceDLLs/QX5SonarConfiguration/QX5SonarConfiguration.cpp"));
    EXPECT_THAT(handshakes[0].buildTime, ::testing::ContainsRegex("^[A-Z][a-z][a-z] .* [0-9:]*$"));

    ASSERT_EQ(bindings.size(), 1U);
    Dl_info itself{};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&LibraryAttach), &itself), 0);
    EXPECT_EQ(bindings[0].instance, itself.dli_fbase);
    EXPECT_EQ(bindings[0].module, itself.dli_fbase);
    LibraryDetach();
}

TEST_F(Attaching, IsRefusedByAHostOfAnotherVersion)
{
    accepts = false;
    EXPECT_FALSE(LibraryAttach());
    EXPECT_EQ(handshakes.size(), 1U);
    EXPECT_TRUE(bindings.empty());
}

TEST_F(Attaching, FollowsNoSonarAnyMoreWhenItIsTakenOut)
{
    vordal::Host host;
    host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    auto* const sonar = host.AddDevice(std::make_unique<QX5Device>(), CDataId(1, 78, 1, 1), L"sonar");
    CAttributeMap tree;
    tree.Add(L"PingMode", CVordalInt(1));
    tree.Add(L"DeviceId", CVordalInt(7125));
    host.ReplaceAttributes(*sonar, tree);
    DiscoverDevices();
    EXPECT_TRUE(ConfigurationInfoAccess::FollowsAny());
    LibraryDetach();
    EXPECT_FALSE(ConfigurationInfoAccess::FollowsAny());
}

/// Owns the templates that it is given; all else is another application's work.
class OwningApplication final : public CVordalBaseApp
{
public:
    explicit OwningApplication(CVordalBaseApp& other) : m_other(other) {}

    CDisplayMap& GetDisplayMap() override { return m_other.GetDisplayMap(); }
    CPrsConfiguration& GetPresConfig() override { return m_other.GetPresConfig(); }
    void AddDocTemplate(VORDALMultiDocTemplate* displayTemplate) override { templates.emplace_back(displayTemplate); }
    bool AddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                    CString const& section, bool show, BaseDevice* device, unsigned short vessel) override
    {
        return m_other.AddDisplay(viewKey, name, type, settings, section, show, device, vessel);
    }
    bool SelectDisplay(CString const& name) override { return m_other.SelectDisplay(name); }
    void NotifyAttributesChanged(CDataId const& dataId, int item) override
    {
        m_other.NotifyAttributesChanged(dataId, item);
    }

    std::vector<std::unique_ptr<VORDALMultiDocTemplate>> templates;

private:
    CVordalBaseApp& m_other;
};

TEST(Templates, AreGivenToTheApplicationThatOwnsThem)
{
    vordal::Host host;
    host.SetApplication({});
    OwningApplication application(*host.Application());
    InitializeTemplates(&application);
    ASSERT_EQ(application.templates.size(), 1U);
    EXPECT_EQ(application.templates[0].get(),
              CDocTemplateList::GetDocTemplates().FindTemplate(L"QX5SONARCONFIGURATION"));
    UnInitializeTemplates();
}

} // namespace
