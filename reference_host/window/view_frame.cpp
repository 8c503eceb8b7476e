// The frame in the main window that a display's view sits in.
#include "view_frame.h"

#include "reference_host/controls/view_size.h"

#include <QTimer>
#include <QVBoxLayout>

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalBaseR/CDataInfo.h>
#include <VordalMfc0R/CView.h>

#include <utility>

namespace vordal {

ViewFrame::ViewFrame(QWidget* parent) : QWidget(parent), m_layout(new QVBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
}

ViewFrame::~ViewFrame()
{
    Close();
}

bool ViewFrame::Open(DisplayContent content, std::string& reason)
{
    m_display = Display::Open(std::move(content), this, reason);
    if (m_display == nullptr) {
        return false;
    }
    if (auto* const widget = m_display->Widget()) {
        m_layout->addWidget(widget);
        widget->show();
    }
    m_display->InitialUpdate();
    FollowWidgetSize(*m_display);
    return true;
}

void ViewFrame::SelectDevice(CDataId const& device)
{
    if (m_display != nullptr) {
        m_display->DeliverUpdate(nullptr, HINT_SELECT_DEVICE, &device);
    }
}

void ViewFrame::Close()
{
    if (m_display != nullptr) {
        m_display->Close();
        m_stored = m_display->StoredAttributes();
        m_display.reset();
    }
}

CAttributeMap ViewFrame::StoredAttributes() const
{
    return m_display != nullptr ? m_display->StoredAttributes() : m_stored;
}

std::optional<CDataId> ViewFrame::ShownDevice() const
{
    CDataInfo info;
    if (m_display != nullptr && std::as_const(*m_display).StoredAttributes().Find(ATTR_DATAID).Value().Get(info)) {
        return info.GetDataId();
    }
    return std::nullopt;
}

QSize ViewFrame::sizeHint() const
{
    // What the view is laid out for at least is less; here all its tabs are in sight.
    constexpr QSize natural(680, 560);
    return natural;
}

void ViewFrame::OnTitle(CString const& title)
{
    Q_EMIT TitleChanged(QString::fromStdWString(std::wstring(title.View())));
}

void ViewFrame::OnShowNormal()
{
    window()->showNormal();
}

void ViewFrame::OnBringToTop()
{
    window()->raise();
    window()->activateWindow();
}

void ViewFrame::OnRemoved()
{
    // The view is still running.
    QTimer::singleShot(0, this, [this] {
        Close();
        Q_EMIT Removed();
    });
}

void ViewFrame::OnClose()
{
    if (auto* const widget = m_display != nullptr ? m_display->Widget() : nullptr) {
        m_layout->removeWidget(widget);
        widget->setParent(nullptr);
    }
}

} // namespace vordal
