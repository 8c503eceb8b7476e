// The operator's main window: devices at the left, the view in the middle, docks for attributes and records around it.
#pragma once

#include "device_panel.h"
#include "window_feed.h"

#include <QByteArray>
#include <QMainWindow>

#include <functional>
#include <memory>
#include <vector>

class QAction;
class QActionGroup;
class QDockWidget;
class QLabel;
class QMenu;
class QTimer;
class QToolBar;
class QVBoxLayout;

namespace vordal {

class AttributeBrowser;
class RecordMonitor;
class ViewGround;

/// What the window asks of the host. Called on the window thread; each returns at once and works elsewhere.
struct WindowRequests
{
    std::function<void(CDataId const& device)> selectSonar;
    std::function<void(unsigned short number)> selectVessel;
    /// The device's tree is to come by WindowFeed::PutTree, also when there is none.
    std::function<void(CDataId const& device)> fetchTree;
    std::function<void(int mode)> setLightMode;
};

struct WindowSetup
{
    std::vector<ListedVessel> vessels;
    int lightMode = 4; ///< 1 to 4, see ColorControl
    unsigned short activeVessel = 1;
    CDataId shownDevice;
};

/// The window looks at its feed by itself some twenty times a second; nothing in it waits. Window thread.
class MainWindow final : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow(WindowSetup setup, std::shared_ptr<WindowFeed> feed, WindowRequests requests);
    ~MainWindow() override;

    /// Puts a view's widget into the middle, in place of what is there; null: a word that no view is open. The widget
    /// stays its owner's, who takes it out before it goes.
    void SetView(QWidget* view);
    /// A widget between the view's title and the view, once; it becomes the window's.
    void SetBanner(QWidget* banner);
    /// Whether what the view shows is old: the ground around it is hatched then, and says so to a screen reader. The
    /// view itself stays as it is.
    void MarkViewOld(bool isOld);
    /// A dock of somebody else's, which becomes the window's: at the left below the devices, at the bottom beside the
    /// record monitor, at the right on a tab with the attributes. Before RestoreMemory.
    QDockWidget* AddPane(QWidget* content, QString const& title, QString const& name, Qt::DockWidgetArea area,
                         QKeySequence const& shortcut);
    /// A menu between File and View.
    QMenu* AddMenu(QString const& title);
    /// A bar of texts and commands below everything else, which stays where it is. The name is the object's.
    QToolBar* AddBar(QString const& title, QString const& name);
    /// The title of the display in the middle.
    void SetViewTitle(QString const& title);
    /// What the window's title says of the project; empty: nothing.
    void SetProjectName(QString const& name);
    /// Another list of vessels and devices.
    void SetVessels(std::vector<ListedVessel> vessels);
    /// The device that the view shows has changed.
    void SetShownDevice(CDataId const& device);
    CDataId const& ShownDevice() const { return m_shownDevice; }

    /// Makes the window no larger than that. Where the view would not be whole any more, docks are closed: attributes
    /// first, then devices; the record monitor where there is not the height, and then the line with the view's title.
    void FitInto(QSize const& room);
    /// Shows a pane beside the view. The window grows for it as far as its screen has room; then the view has the width
    /// that it likes, the pane what is left, and no less than it needs.
    void ShowBesideView(QDockWidget& pane);

    void SetLightMode(int mode);
    int LightMode() const { return m_lightMode; }
    /// A line for the operator, in the status bar until the next one.
    void ShowLine(QString const& line);

    /// Takes over what the feed has. The window's timer calls it.
    void Look();

    /// Position, size, docks and what they show, as bytes to be kept and given back; other bytes are refused.
    QByteArray SaveMemory() const;
    bool RestoreMemory(QByteArray const& memory);

    DevicePanel& Devices() { return *m_devices; }
    AttributeBrowser& Attributes() { return *m_attributes; }
    RecordMonitor& Records() { return *m_records; }

    /// Asked before the window closes; it stays open where the answer is false. Empty: it closes.
    void SetMayClose(std::function<bool()> mayClose) { m_mayClose = std::move(mayClose); }
    /// A menu before all others, once.
    QMenu* AddFirstMenu(QString const& title);

Q_SIGNALS:
    /// The operator closes the window.
    void Closing();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QDockWidget* AddDock(QWidget* content, QString const& title, QString const& name, Qt::DockWidgetArea area);
    void MakeMenus(std::vector<QDockWidget*> const& docks);
    void FetchTree();
    void NoteSimulated();
    void ShowTitle();

    std::shared_ptr<WindowFeed> const m_feed;
    WindowRequests const m_requests;
    std::function<bool()> m_mayClose;
    CDataId m_shownDevice;
    QString m_projectName;
    int m_lightMode = 0;
    bool m_treeAsked = false; ///< and not come yet
    int m_looks = 0;

    DevicePanel* m_devices;
    AttributeBrowser* m_attributes;
    RecordMonitor* m_records;
    QDockWidget* m_deviceDock = nullptr;
    QDockWidget* m_attributeDock = nullptr;
    QDockWidget* m_recordDock = nullptr;
    std::vector<QDockWidget*> m_panes;
    ViewGround* m_ground;
    QLabel* m_title;
    bool m_hasTitleLine = true;
    QLabel* m_titleNote; ///< beside the title
    QLabel* m_noView;
    QVBoxLayout* m_middle;
    QWidget* m_view = nullptr;
    QLabel* m_line;
    QMenu* m_viewMenu = nullptr;
    QAction* m_endOfDocks = nullptr; ///< in the View menu
    QActionGroup* m_lightModes;
    QTimer* m_timer;
};

} // namespace vordal
