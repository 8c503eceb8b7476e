// The operator's main window: devices at the left, the view in the middle, docks for attributes and records around it.
#include "main_window.h"

#include "appearance.h"
#include "attribute_browser.h"
#include "record_monitor.h"
#include "reference_host/controls/qt_text.h"
#include "view_ground.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDataStream>
#include <QDockWidget>
#include <QHBoxLayout>
#include <QIODevice>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <utility>

namespace vordal {
namespace {

constexpr std::chrono::milliseconds LookInterval{50};
/// The tree is asked for at every so many looks.
constexpr int LooksForEachTree = 4;
/// What a view is to have at least, in pixels that do not depend on the display's scale.
constexpr QSize LeastView{340, 440};
/// Of what SaveMemory writes.
constexpr qint32 MemoryFormat = 1;

} // namespace

MainWindow::MainWindow(WindowSetup setup, std::shared_ptr<WindowFeed> feed, WindowRequests requests)
    : m_feed(std::move(feed)), m_requests(std::move(requests)), m_shownDevice(setup.shownDevice),
      m_devices(new DevicePanel(std::move(setup.vessels))), m_attributes(new AttributeBrowser),
      m_records(new RecordMonitor(m_feed->Records())), m_ground(new ViewGround(this)), m_title(new QLabel),
      m_titleNote(new QLabel), m_noView(new QLabel), m_line(new QLabel), m_lightModes(new QActionGroup(this)),
      m_timer(new QTimer(this))
{
    setObjectName(QStringLiteral("mainWindow"));
    SetViewTitle({});

    m_middle = new QVBoxLayout(m_ground);
    QFont titleFont = m_title->font();
    titleFont.setBold(true);
    m_title->setFont(titleFont);
    m_title->setTextFormat(Qt::PlainText);
    m_title->setAccessibleDescription(tr("Title of the view"));
    m_title->setObjectName(QStringLiteral("viewTitle"));
    m_noView->setText(tr("No view is open."));
    m_noView->setAlignment(Qt::AlignCenter);
    m_titleNote->setTextFormat(Qt::PlainText);
    m_titleNote->setObjectName(QStringLiteral("viewTitleNote"));
    m_titleNote->setAccessibleDescription(tr("What kind of sonar the view shows"));
    auto* const titleRow = new QHBoxLayout;
    titleRow->addWidget(m_title);
    titleRow->addWidget(m_titleNote);
    titleRow->addStretch(1);
    m_middle->addLayout(titleRow);
    m_middle->addWidget(m_noView, 1);
    setCentralWidget(m_ground);

    setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
    setCorner(Qt::BottomLeftCorner, Qt::BottomDockWidgetArea);
    setCorner(Qt::BottomRightCorner, Qt::BottomDockWidgetArea);
    m_deviceDock = AddDock(m_devices, tr("Devices"), QStringLiteral("deviceDock"), Qt::LeftDockWidgetArea);
    m_attributeDock = AddDock(m_attributes, tr("Attributes"), QStringLiteral("attributeDock"), Qt::RightDockWidgetArea);
    m_recordDock = AddDock(m_records, tr("Record monitor"), QStringLiteral("recordDock"), Qt::BottomDockWidgetArea);
    MakeMenus({m_deviceDock, m_attributeDock, m_recordDock});

    m_line->setTextFormat(Qt::PlainText);
    m_line->setAccessibleDescription(tr("Last message"));
    m_line->setObjectName(QStringLiteral("lastMessage"));
    statusBar()->addWidget(m_line, 1);

    connect(m_devices, &DevicePanel::SonarChosen, this, [this](CDataId const& device) {
        if (m_requests.selectSonar) {
            m_requests.selectSonar(device);
        }
    });
    connect(m_devices, &DevicePanel::VesselChosen, this, [this](unsigned short number) {
        m_devices->MarkActiveVessel(number);
        if (m_requests.selectVessel) {
            m_requests.selectVessel(number);
        }
    });
    connect(m_records, &RecordMonitor::Told, this, &MainWindow::ShowLine);
    connect(m_timer, &QTimer::timeout, this, &MainWindow::Look);

    m_devices->MarkActiveVessel(setup.activeVessel);
    m_devices->MarkShown(m_shownDevice);
    NoteSimulated();
    SetLightMode(setup.lightMode);
    // The view at its natural size, the docks with room to read.
    auto const character = fontMetrics().averageCharWidth();
    auto const line = fontMetrics().lineSpacing();
    resize(character * 215, line * 60);
    resizeDocks({m_deviceDock, m_attributeDock}, {character * 45, character * 54}, Qt::Horizontal);
    resizeDocks({m_recordDock}, {line * 17}, Qt::Vertical);
    m_timer->start(LookInterval);
}

MainWindow::~MainWindow()
{
    SetView(nullptr);
}

QDockWidget* MainWindow::AddDock(QWidget* content, QString const& title, QString const& name, Qt::DockWidgetArea area)
{
    auto* const dock = new QDockWidget(title, this);
    dock->setObjectName(name);
    dock->setWidget(content);
    addDockWidget(area, dock);
    return dock;
}

void MainWindow::MakeMenus(std::vector<QDockWidget*> const& docks)
{
    auto* const file = menuBar()->addMenu(tr("&File"));
    auto* const save = file->addAction(tr("&Save records\u2026"));
    // Those of a file are the project's.
    save->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+R")));
    connect(save, &QAction::triggered, m_records, &RecordMonitor::SaveAs);
    file->addSeparator();
    auto* const quit = file->addAction(tr("&Quit"));
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    connect(quit, &QAction::triggered, this, &QWidget::close);

    // It comes where there is no room for all menus, and the toolkit gives it a picture alone.
    for (auto* const more : menuBar()->findChildren<QToolButton*>()) {
        more->setAccessibleName(tr("More menus"));
    }

    m_viewMenu = menuBar()->addMenu(tr("&View"));
    auto* const view = m_viewMenu;
    // None that a field or a list has a meaning of its own for.
    char const* const shortcuts[]{"Ctrl+Shift+D", "Ctrl+Shift+A", "Ctrl+Shift+M"};
    for (std::size_t i = 0; i < docks.size(); ++i) {
        auto* const toggle = docks[i]->toggleViewAction();
        toggle->setShortcut(QKeySequence(QString::fromLatin1(shortcuts[i % std::size(shortcuts)])));
        view->addAction(toggle);
    }
    m_endOfDocks = view->addSeparator();
    auto* const light = view->addMenu(tr("&Light"));
    QString const names[]{tr("&Night"), tr("D&usk"), tr("&Overcast"), tr("&Daylight")};
    for (int mode = 1; mode <= 4; ++mode) {
        auto* const action = light->addAction(names[mode - 1]);
        action->setCheckable(true);
        action->setData(mode);
        m_lightModes->addAction(action);
    }
    connect(m_lightModes, &QActionGroup::triggered, this, [this](QAction const* action) {
        int const mode = action->data().toInt();
        SetLightMode(mode);
        if (m_requests.setLightMode) {
            m_requests.setLightMode(mode);
        }
    });
}

void MainWindow::SetView(QWidget* view)
{
    if (m_view != nullptr) {
        m_ground->SetView(nullptr);
        m_middle->removeWidget(m_view);
        m_view->hide();
        m_view->setParent(nullptr);
    }
    m_view = view;
    m_noView->setVisible(view == nullptr);
    if (view != nullptr) {
        m_middle->addWidget(view, 1);
        m_ground->SetView(view);
        view->show();
    }
}

void MainWindow::SetBanner(QWidget* banner)
{
    constexpr int belowTitle = 1;
    m_middle->insertWidget(belowTitle, banner);
}

void MainWindow::MarkViewOld(bool isOld)
{
    m_ground->MarkOld(isOld);
}

QDockWidget* MainWindow::AddPane(QWidget* content, QString const& title, QString const& name, Qt::DockWidgetArea area,
                                 QKeySequence const& shortcut)
{
    auto* const dock = AddDock(content, title, name, area);
    if (area == Qt::BottomDockWidgetArea) {
        splitDockWidget(m_recordDock, dock, Qt::Horizontal);
        // As much of the width for either, and the height that the record monitor has.
        resizeDocks({m_recordDock, dock}, {1, 1}, Qt::Horizontal);
    } else if (area == Qt::RightDockWidgetArea) {
        tabifyDockWidget(m_attributeDock, dock);
    }
    dock->toggleViewAction()->setShortcut(shortcut);
    m_viewMenu->insertAction(m_endOfDocks, dock->toggleViewAction());
    m_panes.push_back(dock);
    return dock;
}

QMenu* MainWindow::AddMenu(QString const& title)
{
    auto* const menu = new QMenu(title, this);
    menuBar()->insertMenu(m_viewMenu->menuAction(), menu);
    return menu;
}

QToolBar* MainWindow::AddBar(QString const& title, QString const& name)
{
    auto* const bar = new QToolBar(title);
    bar->setObjectName(name);
    bar->setMovable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    bar->toggleViewAction()->setVisible(false);
    // What opens the rest of a bar that is wider than the window is the toolkit's, and it leaves it nameless.
    for (auto* const opener : bar->findChildren<QToolButton*>(QString(), Qt::FindDirectChildrenOnly)) {
        opener->setAccessibleName(tr("More of the bar %1").arg(title));
    }
    addToolBar(Qt::BottomToolBarArea, bar);
    return bar;
}

QMenu* MainWindow::AddFirstMenu(QString const& title)
{
    auto* const menu = new QMenu(title, this);
    menuBar()->insertMenu(menuBar()->actions().front(), menu);
    return menu;
}

void MainWindow::NoteSimulated()
{
    m_titleNote->setText(m_devices->IsSimulated(m_shownDevice) ? tr("simulated") : QString());
    m_titleNote->setVisible(!m_titleNote->text().isEmpty());
}

void MainWindow::SetViewTitle(QString const& title)
{
    m_title->setText(title);
    m_title->setVisible(!title.isEmpty() && m_hasTitleLine);
    ShowTitle();
}

void MainWindow::SetProjectName(QString const& name)
{
    m_projectName = name;
    ShowTitle();
}

void MainWindow::ShowTitle()
{
    QStringList parts{m_title->text(), m_projectName, tr("Sonar operation")};
    parts.removeAll(QString());
    setWindowTitle(parts.join(QStringLiteral(" \u2013 ")));
}

void MainWindow::SetVessels(std::vector<ListedVessel> vessels)
{
    m_devices->SetVessels(std::move(vessels));
    NoteSimulated();
}

void MainWindow::SetShownDevice(CDataId const& device)
{
    if (device == m_shownDevice) {
        return;
    }
    m_shownDevice = device;
    m_devices->MarkShown(device);
    NoteSimulated();
    m_attributes->Begin();
    // Its tree need not wait for the next round.
    m_treeAsked = false;
    m_looks = 0;
    FetchTree();
}

void MainWindow::FitInto(QSize const& room)
{
    auto const needed = [this] {
        auto const margins = m_middle->contentsMargins();
        QSize around(margins.left() + margins.right(), margins.top() + margins.bottom());
        if (m_hasTitleLine) {
            around.rheight() += m_title->sizeHint().height() + m_middle->spacing();
        }
        centralWidget()->setMinimumSize(LeastView + around);
        layout()->activate();
        return minimumSizeHint();
    };
    auto const hideWithPanes = [this](QDockWidget* dock) {
        dock->hide();
        for (auto* const pane : m_panes) {
            pane->setVisible(pane->isVisibleTo(this) && dockWidgetArea(pane) != dockWidgetArea(dock));
        }
    };
    for (auto* const dock : {m_attributeDock, m_deviceDock}) {
        if (needed().width() > room.width()) {
            hideWithPanes(dock);
        }
    }
    if (needed().height() > room.height()) {
        hideWithPanes(m_recordDock);
    }
    if (needed().height() > room.height()) {
        // The window's own title tells the same.
        m_hasTitleLine = false;
        m_title->hide();
        auto margins = m_middle->contentsMargins();
        margins.setTop(2);
        margins.setBottom(2);
        m_middle->setContentsMargins(margins);
    }
    if (needed().width() > room.width() || needed().height() > room.height()) {
        // Then the view scrolls.
        centralWidget()->setMinimumSize(0, 0);
    }
    resize(size().boundedTo(room));
}

void MainWindow::ShowBesideView(QDockWidget& pane)
{
    int const liked = centralWidget()->sizeHint().width();
    int const before = width() - centralWidget()->width();
    pane.show();
    pane.raise();
    layout()->activate();
    // What stood beside the view already, such as tabs of the same place, is no width of its own.
    bool const isAlone = tabifiedDockWidgets(&pane).isEmpty();
    int const needed = std::max(pane.minimumSizeHint().width(), pane.sizeHint().width());
    int const others = isAlone ? before : width() - centralWidget()->width() - pane.width();
    if (!isMaximized() && !isFullScreen()) {
        int const room = screen()->availableGeometry().width();
        resize(std::max(width(), std::min(others + liked + needed, room)), height());
    }
    int const left = std::max(pane.minimumSizeHint().width(), width() - others - liked);
    resizeDocks({&pane}, {left}, Qt::Horizontal);
}

void MainWindow::SetLightMode(int mode)
{
    if (mode == m_lightMode) {
        return;
    }
    m_lightMode = mode;
    WearLightMode(*qApp, mode);
    for (auto* const action : m_lightModes->actions()) {
        action->setChecked(action->data().toInt() == mode);
    }
}

void MainWindow::ShowLine(QString const& line)
{
    m_line->setText(line);
    m_line->setToolTip(PlainToolTip(line));
}

void MainWindow::FetchTree()
{
    if (m_treeAsked || !m_requests.fetchTree || !m_attributeDock->isVisible()) {
        return;
    }
    m_treeAsked = true;
    m_requests.fetchTree(m_shownDevice);
}

void MainWindow::Look()
{
    auto content = m_feed->Take();
    for (auto const& [device, status] : content.statuses) {
        m_devices->SetStatus(device, status);
    }
    for (auto const& line : content.lines) {
        ShowLine(QString::fromStdString(line));
    }
    if (content.lightMode) {
        SetLightMode(*content.lightMode);
    }
    if (content.tree) {
        m_treeAsked = false;
        // A tree that was asked for before another device was chosen is nobody's any more.
        if (content.tree->first == m_shownDevice) {
            m_attributes->Update(content.tree->second);
        }
    }
    m_records->Look();
    m_attributes->Tick();
    if (m_looks++ % LooksForEachTree == 0) {
        FetchTree();
    }
}

QByteArray MainWindow::SaveMemory() const
{
    QByteArray memory;
    QDataStream stream(&memory, QIODevice::WriteOnly);
    stream << MemoryFormat << saveGeometry() << saveState() << m_records->SaveState() << m_attributes->SaveState()
           << static_cast<qint32>(m_lightMode);
    return memory;
}

bool MainWindow::RestoreMemory(QByteArray const& memory)
{
    QDataStream stream(memory);
    qint32 format = 0;
    QByteArray geometry;
    QByteArray state;
    QByteArray records;
    QByteArray attributes;
    qint32 lightMode = 0;
    stream >> format;
    if (format != MemoryFormat) {
        return false;
    }
    stream >> geometry >> state >> records >> attributes >> lightMode;
    if (stream.status() != QDataStream::Ok) {
        return false;
    }
    restoreGeometry(geometry);
    restoreState(state);
    m_records->RestoreState(records);
    m_attributes->RestoreState(attributes);
    if (lightMode >= 1 && lightMode <= 4) {
        SetLightMode(lightMode);
        if (m_requests.setLightMode) {
            m_requests.setLightMode(lightMode);
        }
    }
    return true;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (m_mayClose && !m_mayClose()) {
        event->ignore();
        return;
    }
    Q_EMIT Closing();
    event->accept();
}

} // namespace vordal
