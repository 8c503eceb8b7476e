// The form view of the contract: a scroll area with a form inside.
#include <VordalMfc0R/CFormView.h>

#include <QFrame>
#include <QPointer>
#include <QScrollArea>
#include <QWidget>

#include <algorithm>

struct CFormView::State
{
    /// The view's own; whoever put it into a window may have destroyed it with that window all the same.
    QPointer<QScrollArea> area = new QScrollArea;
    QPointer<QWidget> form = new QWidget;
    int width = 0;
    int height = 0;
};

CFormView::CFormView() : m_state(std::make_unique<State>())
{
    m_state->area->setFrameShape(QFrame::NoFrame);
    m_state->area->setWidgetResizable(true);
    m_state->area->setWidget(m_state->form);
}

CFormView::~CFormView()
{
    delete m_state->area.data();
}

QWidget* CFormView::GetWidget()
{
    return m_state->area;
}

QWidget* CFormView::GetForm()
{
    return m_state->form;
}

void CFormView::SetScrollSizes(int width, int height)
{
    m_state->width = std::max(width, 0);
    m_state->height = std::max(height, 0);
    if (m_state->form != nullptr) {
        auto const clamped = [](int size) { return std::min(size, QWIDGETSIZE_MAX); };
        m_state->form->setMinimumSize(clamped(m_state->width), clamped(m_state->height));
        m_state->form->resize(clamped(m_state->width), clamped(m_state->height));
    }
}

int CFormView::GetScrollWidth() const
{
    return m_state->width;
}

int CFormView::GetScrollHeight() const
{
    return m_state->height;
}
