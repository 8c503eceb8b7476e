// The form view of the contract: a scroll area with a form inside.
#include <VordalMfc0R/CFormView.h>

#include <QEvent>
#include <QFrame>
#include <QLayout>
#include <QObject>
#include <QPointer>
#include <QScrollArea>
#include <QWidget>

#include <algorithm>
#include <functional>
#include <utility>

namespace {

/// Tells when what is in the form needs another room.
class LayoutWatcher final : public QObject
{
public:
    LayoutWatcher(QWidget& form, std::function<void()> handler) : QObject(&form), m_handler(std::move(handler))
    {
        form.installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::LayoutRequest) {
            m_handler();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<void()> m_handler;
};

} // namespace

struct CFormView::State
{
    /// The form's least size: what was set, and never less than its content takes, however large its texts are.
    void ApplySizes() const
    {
        if (form == nullptr) {
            return;
        }
        QSize const set(std::min(width, QWIDGETSIZE_MAX), std::min(height, QWIDGETSIZE_MAX));
        QSize const needed = form->layout() != nullptr ? form->layout()->totalMinimumSize() : QSize(0, 0);
        QSize const least = set.expandedTo(needed);
        if (form->minimumSize() != least) {
            form->setMinimumSize(least);
        }
        form->resize(least);
    }

    /// The view's own; whoever put it into a window may have destroyed it with that window all the same.
    QPointer<QScrollArea> area = new QScrollArea;
    QPointer<QWidget> form = new QWidget;
    int width = 0;
    int height = 0;
};

CFormView::CFormView() : m_state(std::make_unique<State>())
{
    m_state->area->setFrameShape(QFrame::NoFrame);
    // What it holds takes the focus, and comes into sight with it.
    m_state->area->setFocusPolicy(Qt::NoFocus);
    m_state->area->setWidgetResizable(true);
    // What is in the form scrolls into sight when it gets the focus; the area itself would be a stop without a name.
    m_state->area->setFocusPolicy(Qt::NoFocus);
    m_state->area->setWidget(m_state->form);
    new LayoutWatcher(*m_state->form, [state = m_state.get()] { state->ApplySizes(); });
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
    m_state->ApplySizes();
}

int CFormView::GetScrollWidth() const
{
    return m_state->width;
}

int CFormView::GetScrollHeight() const
{
    return m_state->height;
}
