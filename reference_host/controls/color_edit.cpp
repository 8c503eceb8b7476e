// The text field of the contract that shows by its colour whether it was edited.
#include <VordalMfc0R/CColorEdit.h>

#include "reference_host/controls/field_text.h"
#include "reference_host/controls/qt_text.h"

#include <QColor>
#include <QLineEdit>
#include <QObject>
#include <QPalette>
#include <QPointer>
#include <QVariant>

#include <utility>

namespace {

using vordal::EditedProperty;

void Call(std::function<void()> const& handler)
{
    // A copy: the handler may put another in its place, or end the field.
    auto const held = handler;
    if (held) {
        held();
    }
}

} // namespace

struct CColorEdit::State
{
    QPointer<QLineEdit> field;
    /// The connections to the field end with it.
    std::unique_ptr<QObject> connections;
    bool typed = false; ///< the edit was told, its change comes next
    std::function<void()> onEdit;
    std::function<void()> onApply;
};

CColorEdit::CColorEdit() : m_state(std::make_unique<State>()) {}

CColorEdit::CColorEdit(QLineEdit* field) : CColorEdit()
{
    Attach(field);
}

CColorEdit::~CColorEdit() = default;

void CColorEdit::Attach(QLineEdit* field)
{
    auto* const state = m_state.get();
    state->connections = std::make_unique<QObject>();
    state->field = field;
    if (field != nullptr) {
        // What a screen reader writes is no less an edit than what is typed, though the toolkit tells it as a change
        // alone. What is typed it tells as both, the edit first.
        QObject::connect(field, &QLineEdit::textEdited, state->connections.get(), [state] {
            state->typed = true;
            Call(state->onEdit);
        });
        QObject::connect(field, &QLineEdit::textChanged, state->connections.get(), [state] {
            if (!std::exchange(state->typed, false)) {
                Call(state->onEdit);
            }
        });
        QObject::connect(field, &QLineEdit::returnPressed, state->connections.get(), [state] { Call(state->onApply); });
    }
}

void CColorEdit::SetText(CString const& text)
{
    if (m_state->field != nullptr) {
        vordal::RewriteField(*m_state->field, vordal::ToQString(text));
        Call(m_state->onEdit);
    }
}

CString CColorEdit::GetText() const
{
    return m_state->field != nullptr ? vordal::FromQString(m_state->field->text()) : CString();
}

void CColorEdit::SetBackColor(std::uint8_t red, std::uint8_t green, std::uint8_t blue)
{
    if (m_state->field == nullptr) {
        return;
    }
    // The text stays readable on it, whatever the colours of the window are.
    QColor const background(red, green, blue);
    QColor const text = background.lightness() > 100 ? Qt::black : Qt::white;
    QPalette palette;
    palette.setColor(QPalette::Base, background);
    palette.setColor(QPalette::Text, text);
    m_state->field->setPalette(palette);
    m_state->field->setProperty(EditedProperty, true);
}

void CColorEdit::SetSystemBackColor(int)
{
    // All of the system's colours are those of the window.
    if (m_state->field != nullptr) {
        m_state->field->setPalette(QPalette());
        m_state->field->setProperty(EditedProperty, false);
    }
}

bool CColorEdit::HasOwnBackColor() const
{
    return m_state->field != nullptr && m_state->field->property(EditedProperty).toBool();
}

void CColorEdit::SetEditHandler(std::function<void()> handler)
{
    m_state->onEdit = std::move(handler);
}

void CColorEdit::SetApplyHandler(std::function<void()> handler)
{
    m_state->onApply = std::move(handler);
}
