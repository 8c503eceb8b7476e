// Tests of open displays: what they are made of, what reaches them, how they are removed and closed. No window.
#include "reference_host/common/host_observer.h"
#include "reference_host/core/host.h"
#include "reference_host/displays/display.h"

#include <VordalConfigureR/CViewList.h>
#include <VordalMfc0R/CView.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/CDisplayMap.h>
#include <vordalhostdllR/CDocTemplateList.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/CVordalBaseView.h>
#include <vordalhostdllR/CVordalMessage.h>
#include <vordalhostdllR/DisplayManager.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using vordal::Display;
using vordal::Host;
using Lines = std::vector<std::wstring>;

Lines& Calls()
{
    static Lines calls;
    return calls;
}

void Note(std::wstring line)
{
    Calls().push_back(std::move(line));
}

/// A view without a widget that notes what it is told.
class NotingView : public CView
{
public:
    ~NotingView() override { Note(L"view ends"); }

    QWidget* GetWidget() override { return nullptr; }
    void OnInitialUpdate() override
    {
        Note(L"initial update");
        EXPECT_NE(GetDocument(), nullptr);
        EXPECT_EQ(GetDocument()->GetView(), this);
        EXPECT_NE(GetDocument()->GetFrame(), nullptr);
        EXPECT_TRUE(m_base.ConnectDisplayDoc(GetDocument(), 0));
    }
    void OnUpdate(CView* sender, int hint, void const* data) override
    {
        Note(L"hint " + std::to_wstring(hint) + (sender != nullptr ? L" of another" : L"") +
             (data != nullptr ? L" with " + std::wstring(static_cast<CDataId const*>(data)->GetKey().View()) : L""));
    }
    void OnSize(unsigned kind, int width, int height) override
    {
        Note(L"size " + std::to_wstring(kind) + L" " + std::to_wstring(width) + L" " + std::to_wstring(height));
    }
    CVordalBaseView& Base() { return m_base; }

private:
    CVordalBaseView m_base;
};

class NotingDocument : public CDisplayDoc
{
public:
    ~NotingDocument() override { Note(L"document ends"); }
};
class NotingFrame : public CDisplayFrm
{
public:
    ~NotingFrame() override { Note(L"frame ends"); }
};

CRuntimeClass viewClass = MakeRuntimeClass<NotingView>("NotingView");
CRuntimeClass documentClass = MakeRuntimeClass<NotingDocument>("NotingDocument");
CRuntimeClass frameClass = MakeRuntimeClass<NotingFrame>("NotingFrame");
CRuntimeClass nothingClass{"Nothing", []() -> CObject* { return nullptr; }};

class NotingHolder : public vordal::DisplayHolder
{
public:
    void OnTitle(CString const& title) override { Note(L"holder: title " + std::wstring(title.View())); }
    void OnShowNormal() override { Note(L"holder: normal"); }
    void OnBringToTop() override { Note(L"holder: top"); }
    void OnRemoved() override { Note(L"holder: removed"); }
    void OnClose() override { Note(L"holder: close"); }
};

class NotingObserver : public vordal::HostObserver
{
public:
    void OnRenameDisplay(CString const& title) override { Note(L"rename " + std::wstring(title.View())); }
    void OnRemoveDisplay(CString const& title) override { Note(L"remove " + std::wstring(title.View())); }
    void OnMessage(CString const& text) override { Note(L"message " + std::wstring(text.View())); }
};

class Displays : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Calls().clear();
        host.SetApplication({.guid = L"guid",
                             .mainWindow = true,
                             .lightMode = 2,
                             .displays = {{L"first", L"sonar", L"One", true}, {L"second", L"sonar", L"Two", true}}});
        host.SetObserver(&observer);
        host.SetWindowThread({});
        ASSERT_TRUE(CViewList::GetViewList().RegisterView(L"NotingView", &viewClass));
        ASSERT_TRUE(CViewList::GetViewList().RegisterView(L"Nothing", &nothingClass));
    }
    void TearDown() override { host.EndWindowThread(); }

    std::unique_ptr<Display> Open(CString const& name = CString(), CAttributeMap const& attributes = {})
    {
        std::string reason;
        auto display = Display::Open({L"NotingView", name, attributes}, &holder, reason);
        EXPECT_NE(display, nullptr) << reason;
        display->InitialUpdate();
        return display;
    }
    CDisplayMap& Map() { return CVordalBaseApp::Instance()->GetDisplayMap(); }

    NotingObserver observer;
    Host host;
    NotingHolder holder;
};

TEST_F(Displays, AreRefusedWithoutAViewOfThatName)
{
    std::string reason;
    EXPECT_EQ(Display::Open({L"Elsewhere", {}, {}}, nullptr, reason), nullptr);
    EXPECT_EQ(reason, "cannot open a display of the view Elsewhere: there is no such view");
    EXPECT_EQ(Display::Open({L"Nothing", {}, {}}, nullptr, reason), nullptr);
    EXPECT_EQ(reason, "cannot open a display of the view Nothing: its class makes no view");
}

TEST_F(Displays, AreMadeOfTheirTemplateAndTakenDownInOrder)
{
    VORDALMultiDocTemplate const displayTemplate(&documentClass, &frameClass, &viewClass, &frameClass);
    CDocTemplateList::GetDocTemplates().AddTemplate(L"NOTING", const_cast<VORDALMultiDocTemplate*>(&displayTemplate));
    auto display = Open();
    EXPECT_NE(dynamic_cast<NotingDocument*>(display->Document()), nullptr);
    EXPECT_NE(dynamic_cast<NotingFrame*>(display->Frame()), nullptr);
    display.reset();
    EXPECT_EQ(Calls(), (Lines{L"initial update", L"holder: close", L"view ends", L"frame ends", L"document ends"}));
    CDocTemplateList::GetDocTemplates().RemoveTemplate(L"NOTING");
    EXPECT_NE(dynamic_cast<CDisplayDocAttr1*>(Open()->Document()), nullptr);
}

TEST_F(Displays, KeepWhatIsStoredWithTheView)
{
    CAttributeMap stored;
    stored.Add(L"x", CVordalInt(7));
    auto display = Open({}, stored);
    auto& attributes = dynamic_cast<NotingView*>(display->View())->Base().GetAttributes();
    int x = 0;
    EXPECT_TRUE(attributes.FindValue(L"x").Get(x));
    EXPECT_EQ(x, 7);
    attributes.FindCreate(L"x").SetValue(CVordalInt(8));
    EXPECT_TRUE(display->StoredAttributes().FindValue(L"x").Get(x));
    EXPECT_EQ(x, 8);
    attributes.FindCreate(L"x").SetValue(CVordalInt(9));
    display->Close();
    display->Close();
    EXPECT_EQ(display->View(), nullptr);
    EXPECT_TRUE(display->StoredAttributes().FindValue(L"x").Get(x));
    EXPECT_EQ(x, 9);
}

TEST_F(Displays, TellTheirTitle)
{
    auto const display = Open();
    Calls().clear();
    EXPECT_EQ(display->Title(), L"");
    display->Document()->RenameDisplay(L"Sonar - Ship");
    EXPECT_EQ(Calls(), (Lines{L"rename Sonar - Ship", L"holder: title Sonar - Ship"}));
    EXPECT_EQ(display->Title(), L"Sonar - Ship");
    EXPECT_EQ(display->Document()->GetTitle(), L"Sonar - Ship");
    display->Frame()->ShowNormal();
    display->Frame()->BringToTop();
    EXPECT_EQ(Calls().size(), 4U);
    EXPECT_EQ(Calls()[2], L"holder: normal");
    EXPECT_EQ(Calls()[3], L"holder: top");
}

TEST_F(Displays, AreFoundByTheirNameWhileTheyAreOpen)
{
    EXPECT_EQ(Map().Lookup(L"first"), nullptr);
    auto first = Open(L"first");
    auto const nameless = Open();
    EXPECT_EQ(Map().Lookup(L"first"), first->Document());
    EXPECT_EQ(Map().Lookup(L""), nullptr);
    EXPECT_EQ(Map().Lookup(L"second"), nullptr);
    first.reset();
    EXPECT_EQ(Map().Lookup(L"first"), nullptr);
}

TEST_F(Displays, AreUpdatedExceptTheSender)
{
    auto const first = Open();
    auto const second = Open();
    Calls().clear();
    CDataId const id(1, 78, 2, 1);
    Map().UpdateAllDisplays(first->View(), HINT_SELECT_DEVICE, &id);
    EXPECT_EQ(Calls(), (Lines{L"hint 128 of another with 1.78.2.1"}));
    Calls().clear();
    Map().UpdateAllDisplays(nullptr, 300, nullptr);
    EXPECT_EQ(Calls(), (Lines{L"hint 300", L"hint 300"}));
}

TEST_F(Displays, AreToldOfSizesOnlyAfterTheInitialUpdate)
{
    std::string reason;
    auto const display = Display::Open({L"NotingView", {}, {}}, nullptr, reason);
    display->DeliverSize(0, 10, 20);
    display->DeliverUpdate(nullptr, 128, nullptr);
    EXPECT_EQ(Calls(), Lines());
    display->InitialUpdate();
    display->DeliverSize(2, 10, 20);
    EXPECT_EQ(Calls(), (Lines{L"initial update", L"size 2 10 20"}));
}

TEST_F(Displays, HearNothingOnceRemovedAndStayUntilClosed)
{
    auto display = Open(L"first");
    display->Document()->RenameDisplay(L"One");
    Calls().clear();
    EXPECT_FALSE(DisplayManager::GetDisplayManager().RemoveDisplay(L"Three"));
    EXPECT_FALSE(display->IsRemoved());
    EXPECT_TRUE(DisplayManager::GetDisplayManager().RemoveDisplay(L"One"));
    EXPECT_TRUE(display->IsRemoved());
    EXPECT_EQ(Calls(), (Lines{L"remove Three", L"remove One", L"holder: removed"}));
    EXPECT_EQ(Map().Lookup(L"first"), nullptr);
    // The set-up has lost the display of that name, and only that.
    ASSERT_EQ(Map().GetCount(), 1);
    EXPECT_EQ(Map().GetDisplayName(0), L"second");
    Map().UpdateAllDisplays(nullptr, 300, nullptr);
    display->DeliverSize(0, 1, 1);
    EXPECT_NE(display->View(), nullptr);
    EXPECT_FALSE(DisplayManager::GetDisplayManager().RemoveDisplay(L"One"));
    display.reset();
    EXPECT_EQ(Calls(), (Lines{L"remove Three", L"remove One", L"holder: removed", L"remove One", L"holder: close",
                              L"view ends"}));
}

TEST_F(Displays, AreReachedFromOtherThreadsByWayOfTheWindowThread)
{
    auto const display = Open();
    display->Document()->RenameDisplay(L"Sonar");
    Calls().clear();
    std::thread([this] {
        for (int i = 0; i < 1000; ++i) {
            Map().UpdateAllDisplays(nullptr, HINT_STEP_UP, nullptr);
            Map().UpdateAllDisplays(nullptr, HINT_STEP_DOWN, nullptr);
        }
        EXPECT_TRUE(DisplayManager::GetDisplayManager().RemoveDisplay(L"Two"));
    }).join();
    EXPECT_EQ(Calls(), (Lines{L"remove Two"}));
    host.DeliverToWindow();
    EXPECT_EQ(Calls(), (Lines{L"remove Two", L"hint 301", L"hint 300"}));
    Calls().clear();
    std::thread([] { EXPECT_TRUE(DisplayManager::GetDisplayManager().RemoveDisplay(L"Sonar")); }).join();
    EXPECT_TRUE(display->IsRemoved());
    host.DeliverToWindow();
    EXPECT_EQ(Calls(), (Lines{L"remove Sonar", L"holder: removed"}));
}

TEST_F(Displays, AreShownByTheirNameOnTheWindowThread)
{
    auto const first = Open(L"first");
    std::string reason;
    auto const second = Display::Open({L"NotingView", L"second", {}}, nullptr, reason);
    Calls().clear();
    Map().ShowDisplay(L"first");
    EXPECT_EQ(Calls(), (Lines{L"holder: normal", L"holder: top"}));
    Calls().clear();
    Map().ShowDisplay(L"second"); // has no window
    Map().ShowDisplay(L"third");
    Map().ShowDisplay(L"");
    EXPECT_EQ(Calls(), Lines());

    std::thread([this] {
        Map().ShowDisplay(L"first");
        Map().ShowDisplay(L"second");
        Map().UpdateAllDisplays(nullptr, HINT_STEP_UP, nullptr);
        Map().ShowDisplay(L"first");
    }).join();
    EXPECT_EQ(Calls(), Lines());
    host.DeliverToWindow();
    // Once, and where it was asked for last: it ends up on top.
    EXPECT_EQ(Calls(), (Lines{L"hint 301", L"holder: normal", L"holder: top"}));

    // One that was closed meanwhile is not there any more.
    Calls().clear();
    std::thread([this] { Map().ShowDisplay(L"first"); }).join();
    first->Close();
    Calls().clear();
    host.DeliverToWindow();
    EXPECT_EQ(Calls(), Lines());
}

TEST_F(Displays, StandForNobodyWithoutADisplay)
{
    CDisplayDocAttr1 document;
    document.RenameDisplay(L"alone");
    EXPECT_EQ(document.GetTitle(), L"alone");
    EXPECT_EQ(document.GetView(), nullptr);
    EXPECT_EQ(document.GetFrame(), nullptr);
    CVordalBaseView base;
    EXPECT_FALSE(base.ConnectDisplayDoc(nullptr, 0));
    EXPECT_EQ(base.GetDisplayDoc(), nullptr);
    base.GetAttributes().Add(L"own", CVordalInt(1));
    EXPECT_TRUE(base.ConnectDisplayDoc(&document, 2));
    EXPECT_EQ(&base.GetAttributes(), &document.GetViewAttributes(2));
    EXPECT_EQ(base.GetAttributes().Count(), 0);
}

TEST_F(Displays, MessagesAreToldAndTheLastThousandKept)
{
    for (int i = 0; i < 1001; ++i) {
        CVordalBaseApp::GetVordalMessage().ShowMessage(L"m" + std::to_wstring(i), L"why", CVordalMessage::Warning);
    }
    EXPECT_EQ(Calls().size(), 1001U);
    EXPECT_EQ(Calls().back(), L"message m1000");
    auto const kept = host.Messages();
    ASSERT_EQ(kept.size(), 1000U);
    EXPECT_EQ(kept.front().text, L"m1");
    EXPECT_EQ(kept.back().detail, L"why");
    EXPECT_EQ(kept.back().flags, CVordalMessage::Warning);
}

} // namespace
