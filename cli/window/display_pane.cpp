// The displays that go with a sonar's view, in a dock beside it.
#include "cli/window/display_pane.h"

#include "cli/window/window_session.h"
#include "reference_host/controls/qt_text.h"

#include <VordalAttributesR/CVordalType.h>

#include <QDockWidget>
#include <QStackedWidget>
#include <QTabBar>
#include <QVBoxLayout>

#include <algorithm>
#include <string>

namespace qx5::cli {

namespace {

constexpr int lookMilliseconds = 250;
// What is kept of the pane itself.
constexpr wchar_t paneName[] = L"displays";
constexpr AttributeKey displayInFront{L"DISPLAY_IN_FRONT"}; ///< text, its name

} // namespace

DisplayPane::DisplayPane(WindowSession& session, vordal::MainWindow& window) : m_session(session), m_window(window)
{
    auto const offered = session.OtherDisplays();
    if (offered.empty()) {
        return;
    }
    auto* const content = new QWidget;
    auto* const layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_tabs = new QTabBar;
    m_tabs->setObjectName(QStringLiteral("displays"));
    m_tabs->setAccessibleName(QObject::tr("Displays"));
    m_tabs->setExpanding(false);
    m_tabs->setUsesScrollButtons(true);
    m_stack = new QStackedWidget;
    layout->addWidget(m_tabs);
    layout->addWidget(m_stack, 1);
    for (CString const& name : offered) {
        m_displays.push_back({name, new vordal::ViewFrame});
        m_stack->addWidget(m_displays.back().frame);
        m_tabs->addTab(vordal::ToQString(name));
    }
    CString front;
    if (m_session.StoredView(paneName).FindValue(displayInFront).Get(front)) {
        auto const at = std::find(offered.begin(), offered.end(), front);
        m_tabs->setCurrentIndex(at == offered.end() ? 0 : static_cast<int>(at - offered.begin()));
        m_stack->setCurrentIndex(m_tabs->currentIndex());
    }
    m_dock = m_window.AddPane(content, QObject::tr("Picture"), QStringLiteral("pictureDock"), Qt::RightDockWidgetArea,
                              QKeySequence(QStringLiteral("Ctrl+Shift+P")));
    m_dock->hide();
    QObject::connect(m_tabs, &QTabBar::currentChanged, m_stack, [this](int tab) {
        m_stack->setCurrentIndex(tab);
        Look();
    });
    // What the operator does, not a window that is hidden or a tab that is before it.
    QObject::connect(m_dock->toggleViewAction(), &QAction::triggered, m_stack, [this](bool isOpen) {
        m_isDismissed = !isOpen;
        isOpen ? Look() : Close();
    });
    QObject::connect(&m_timer, &QTimer::timeout, m_stack, [this] {
        // By the cross of its own title.
        if (m_hasComeUp && !m_dock->toggleViewAction()->isChecked() && !m_isDismissed) {
            m_isDismissed = true;
            Close();
        }
        Look();
    });
    m_timer.start(lookMilliseconds);
}

DisplayPane::~DisplayPane()
{
    Close();
}

void DisplayPane::Keep()
{
    if (m_dock == nullptr) {
        return;
    }
    for (Tab const& each : m_displays) {
        if (each.frame->Shown() != nullptr) {
            m_session.StoredView(each.name) = each.frame->StoredAttributes();
        }
    }
    m_session.StoredView(paneName).FindCreate(displayInFront).ReplaceValue(new CVordalText(Front().name));
}

void DisplayPane::Close()
{
    Keep();
    for (Tab const& each : m_displays) {
        each.frame->Close();
    }
}

DisplayPane::Tab& DisplayPane::Front()
{
    return m_displays.at(static_cast<std::size_t>(m_tabs->currentIndex()));
}

void DisplayPane::Open(Tab& tab)
{
    std::string problem;
    if (tab.frame->Shown() != nullptr) {
        return;
    }
    if (!tab.frame->Open({.viewClass = tab.name, .name = L"", .attributes = m_session.StoredView(tab.name)}, problem)) {
        m_window.ShowLine(QString::fromStdString(problem));
        m_isDismissed = true;
        return;
    }
    tab.frame->SelectDevice(m_window.ShownDevice());
}

void DisplayPane::Look()
{
    bool const isSonar = IsSonar(m_window.ShownDevice()) && m_session.Find(m_window.ShownDevice()) != nullptr;
    if (m_dock == nullptr || m_isDismissed || !isSonar) {
        return;
    }
    // Open before it is seen: a sonar tells its echoes to those alone who ask for them.
    Open(Front());
    if (!m_hasComeUp && HasEchoes(m_window.ShownDevice())) {
        m_hasComeUp = true;
        m_window.ShowBesideView(*m_dock);
    }
}

} // namespace qx5::cli
