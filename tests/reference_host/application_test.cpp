// The application of the host: its displays, its light mode, and what an observer is told of them.
#include "reference_host/common/host_observer.h"
#include "reference_host/core/host.h"

#include <VordalBaseR/FileObject.h>
#include <VordalConfigureR/CPrsConfiguration.h>
#include <VordalMfc0R/ColorControl.h>
#include <vordalhostdllR/CDisplayMap.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/DisplayManager.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

/// Keeps each call as a line.
class Told : public vordal::HostObserver
{
public:
    std::vector<std::wstring> lines;

    void OnUpdateDisplays(int hint) override { lines.push_back(L"update " + std::to_wstring(hint)); }
    void OnSelectDisplay(CString const& name) override { lines.push_back(L"select " + std::wstring(name.View())); }
    void OnEnableDisplay(CString const& name) override { lines.push_back(L"enable " + std::wstring(name.View())); }
    void OnAddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                      CString const& section) override
    {
        lines.push_back(L"add " + std::to_wstring(viewKey) + L" " + std::wstring(name.View()) + L" " +
                        std::wstring(type.View()) + L" " + std::to_wstring(settings.GetItems(section).size()));
    }
    void OnSetLightMode(int mode, bool redraw) override
    {
        lines.push_back(L"light " + std::to_wstring(mode) + (redraw ? L" now" : L""));
    }
    void OnNotifyApplication(CDataId const& dataId) override
    {
        lines.push_back(L"changed " + std::wstring(dataId.GetKey().View()));
    }
};

using Lines = std::vector<std::wstring>;

class ApplicationTest : public ::testing::Test
{
protected:
    ApplicationTest() { host.SetObserver(&told); }

    void SetUpTwoDisplays()
    {
        host.SetApplication(
            {.guid = L"guid",
             .mainWindow = true,
             .lightMode = 2,
             .displays = {{L"first", L"bathy", L"Depths", true}, {L"second", L"snap", L"Shots", false}}});
    }
    static bool IsEnabled(CString const& section)
    {
        bool enabled = false;
        EXPECT_TRUE(CVordalBaseApp::Instance()->GetPresConfig().GetItem(section, L"enabled", enabled));
        return enabled;
    }

    Told told;
    vordal::Host host;
};

TEST_F(ApplicationTest, WithoutOneThereIsNoInstanceAndNothingHappens)
{
    EXPECT_EQ(CVordalBaseApp::Instance(), nullptr);
    EXPECT_FALSE(CVordalBaseApp::GetAppInstanceGuid().IsEmpty()); // the host has one of its own
    EXPECT_FALSE(DisplayManager::GetDisplayManager().EnableDisplay(L"Depths"));
    ColorControl::SetLightMode(3, true);
    EXPECT_EQ(ColorControl::GetLightMode(), 4);
    host.SetMainWindow(false);
    EXPECT_EQ(CVordalBaseApp::Instance(), nullptr);
}

TEST_F(ApplicationTest, AMainWindowMakesAPlainOne)
{
    host.SetMainWindow(true);
    ASSERT_NE(CVordalBaseApp::Instance(), nullptr);
    EXPECT_EQ(CVordalBaseApp::Instance()->GetDisplayMap().GetCount(), 0);
    host.SetMainWindow(false);
    EXPECT_EQ(CVordalBaseApp::Instance(), nullptr);
}

TEST_F(ApplicationTest, TellsItsDisplaysByTheirSections)
{
    SetUpTwoDisplays();
    EXPECT_EQ(CVordalBaseApp::GetAppInstanceGuid(), L"guid");
    auto& displays = CVordalBaseApp::Instance()->GetDisplayMap();
    auto const& configuration = CVordalBaseApp::Instance()->GetPresConfig();
    EXPECT_EQ(displays.GetCount(), 2);
    EXPECT_EQ(displays.GetDisplayName(1), L"second");
    EXPECT_EQ(displays.GetDisplayName(2), L"");
    EXPECT_EQ(displays.GetDisplayName(-1), L"");
    EXPECT_EQ(displays.Lookup(L"first"), nullptr) << "there are no windows";
    CString text;
    EXPECT_TRUE(configuration.GetItem(L"second", L"type", text));
    EXPECT_EQ(text, L"snap");
    EXPECT_TRUE(configuration.GetItem(L"second", L"name", text));
    EXPECT_EQ(text, L"Shots");
    EXPECT_FALSE(configuration.GetItem(L"second", L"colour", text));
    EXPECT_FALSE(configuration.GetItem(L"third", L"name", text));
    bool truth = true;
    EXPECT_FALSE(configuration.GetItem(L"second", L"name", truth));
    EXPECT_TRUE(truth);
    EXPECT_EQ(text, L"Shots");
}

TEST_F(ApplicationTest, SwitchesSelectsAndAddsDisplays)
{
    SetUpTwoDisplays();
    auto& application = *CVordalBaseApp::Instance();
    EXPECT_FALSE(IsEnabled(L"second"));
    EXPECT_TRUE(DisplayManager::GetDisplayManager().EnableDisplay(L"Shots"));
    EXPECT_TRUE(IsEnabled(L"second"));
    EXPECT_FALSE(DisplayManager::GetDisplayManager().EnableDisplay(L"second"));
    EXPECT_TRUE(application.SelectDisplay(L"Depths"));
    EXPECT_FALSE(application.SelectDisplay(L"More"));
    FileObject settings;
    settings.CreateSection(L"VIEW");
    settings.SetItem(L"VIEW", L"iTopPos", L"7");
    EXPECT_TRUE(application.AddDisplay(3, L"More", L"snap", settings, L"VIEW", true, nullptr, 0));
    EXPECT_TRUE(application.SelectDisplay(L"More"));
    EXPECT_TRUE(IsEnabled(L"More"));
    CString top;
    EXPECT_TRUE(application.GetPresConfig().GetItem(L"More", L"iTopPos", top));
    EXPECT_EQ(top, L"7");
    application.GetDisplayMap().UpdateAllDisplays(nullptr, 299, nullptr);
    application.NotifyAttributesChanged(CDataId(1, 78, 1, 1), 0);
    EXPECT_EQ(told.lines, (Lines{L"enable Shots", L"enable second", L"select Depths", L"select More",
                                 L"add 3 More snap 1", L"select More", L"update 299", L"changed 1.78.1.1"}));
}

TEST_F(ApplicationTest, KeepsTheLightMode)
{
    SetUpTwoDisplays();
    EXPECT_EQ(ColorControl::GetLightMode(), 2);
    ColorControl::SetLightMode(3, true);
    ColorControl::SetLightMode(-5, false);
    EXPECT_EQ(ColorControl::GetLightMode(), -5);
    EXPECT_EQ(told.lines, (Lines{L"light 3 now", L"light -5"}));
}

TEST(ApplicationTemplates, BelongToTheHost)
{
    struct Counted : VORDALMultiDocTemplate
    {
        explicit Counted(int& count) : VORDALMultiDocTemplate(nullptr, nullptr, nullptr, nullptr), left(count) {}
        ~Counted() override { --left; }
        int& left;
    };
    int left = 1;
    {
        vordal::Host other;
        EXPECT_EQ(other.Application(), nullptr);
        other.SetApplication({.guid = L"", .mainWindow = false, .lightMode = 2, .displays = {}});
        ASSERT_NE(other.Application(), nullptr);
        EXPECT_EQ(CVordalBaseApp::Instance(), nullptr);
        other.Application()->AddDocTemplate(new Counted(left));
        other.Application()->AddDocTemplate(nullptr);
        EXPECT_EQ(left, 1);
    }
    EXPECT_EQ(left, 0);
}

} // namespace
