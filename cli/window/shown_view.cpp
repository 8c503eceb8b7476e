// The display in the middle of the window: which view it is follows from the device that the operator chooses.
#include "shown_view.h"

#include "window_session.h"

#include <VordalAttributesR/AttributeConstants.h>

#include <string>

namespace qx5::cli {

namespace {

/// What stands above a view that has given itself no title yet.
QString TitleOf(std::vector<vordal::ListedVessel> const& vessels, CDataId const& device)
{
    for (vordal::ListedVessel const& vessel : vessels) {
        for (vordal::ListedDevice const& listed : vessel.devices) {
            if (listed.id == device) {
                return listed.name + QStringLiteral(" - ") + vessel.name;
            }
        }
    }
    return {};
}

} // namespace

ShownView::ShownView(WindowSession& session, vordal::MainWindow& window) : m_session(session), m_window(window)
{
    QObject::connect(&m_frame, &vordal::ViewFrame::TitleChanged, &m_window, &vordal::MainWindow::SetViewTitle);
    QObject::connect(&m_frame, &vordal::ViewFrame::Removed, &m_window, [this] { m_window.SetView(nullptr); });
    QObject::connect(&m_window.Devices(), &vordal::DevicePanel::SonarChosen, &m_frame,
                     [this](CDataId const& device) { Choose(device); });
}

ShownView::~ShownView()
{
    Close();
}

void ShownView::OpenFirst(CDataId const& device)
{
    Open(device, false);
}

void ShownView::Choose(CDataId const& device)
{
    if (m_session.ViewClassFor(device) != m_viewClass) {
        Open(device, true);
    } else if (m_frame.Shown() == nullptr) {
        Name(device);
    } else if (!IsSonar(device) && m_session.Find(device) != nullptr) {
        m_frame.SelectDevice(device);
        Name(device);
    } // else the host tells the view which sonar was selected
}

void ShownView::Follow()
{
    if (auto const device = m_frame.ShownDevice()) {
        m_window.SetShownDevice(*device);
    }
}

void ShownView::Close()
{
    m_frame.Close();
    Keep();
    m_viewClass = {};
    m_window.SetView(nullptr);
    if (m_onClosed) {
        m_onClosed();
    }
}

void ShownView::Keep()
{
    if (!m_viewClass.IsEmpty()) {
        m_session.StoredView(m_viewClass) = m_frame.StoredAttributes();
    }
}

void ShownView::Open(CDataId const& device, bool isChosen)
{
    Close();
    m_viewClass = m_session.ViewClassFor(device);
    Name(device);
    // A window without a view still shows its devices and their records.
    if (m_viewClass.IsEmpty()) {
        m_window.ShowLine(QStringLiteral("The plug-in of this device has no view."));
        return;
    }
    CAttributeMap const& stored = m_session.StoredView(m_viewClass);
    bool const showsStored = !isChosen && stored.Has(ATTR_DATAID, 0);
    std::string problem;
    if (!m_frame.Open({.viewClass = m_viewClass, .name = L"", .attributes = stored}, problem)) {
        m_window.ShowLine(QString::fromStdString(problem));
        return;
    }
    if (!showsStored) {
        m_frame.SelectDevice(device);
    }
    m_window.SetView(&m_frame);
    Follow();
    SetTitle();
}

void ShownView::Name(CDataId const& device)
{
    m_window.SetShownDevice(device);
    SetTitle();
}

void ShownView::SetTitle()
{
    m_window.SetViewTitle(TitleOf(m_session.Listed(), m_window.ShownDevice()));
}

} // namespace qx5::cli
