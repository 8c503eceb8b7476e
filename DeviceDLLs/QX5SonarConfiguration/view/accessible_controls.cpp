// What a screen reader or a test robot does to the view's controls, made what a hand does to them.
#include "accessible_controls.h"

#include "ScrollSlider.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAccessibleWidget>
#include <QComboBox>
#include <QLineEdit>
#include <QPointer>
#include <QVariant>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <vector>

namespace qx5 {

namespace {

/// Set on the forms whose controls are the view's.
constexpr char const* formProperty = "qx5Controls";

bool IsBelowForm(QWidget const* widget)
{
    for (; widget != nullptr; widget = widget->parentWidget()) {
        if (widget->property(formProperty).toBool()) {
            return true;
        }
    }
    return false;
}

/// A caption without the marks of its access key.
QString WithoutMark(QString text)
{
    return text.remove(u'&');
}

class SliderAccess final : public QAccessibleWidget, public QAccessibleValueInterface
{
public:
    explicit SliderAccess(ScrollSlider& slider) : QAccessibleWidget(&slider, QAccessible::Slider), m_slider(slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }

    /// The value as its label tells it; a reader that knows of numbers alone finds it in the description.
    QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Value) {
            return m_slider.ValueText();
        }
        if (kind == QAccessible::Description) {
            auto const reason = QAccessibleWidget::text(kind);
            return reason.isEmpty() ? m_slider.ValueText() : m_slider.ValueText() + QStringLiteral(", ") + reason;
        }
        return QAccessibleWidget::text(kind);
    }

    QVariant currentValue() const override { return m_slider.Value(); }
    QVariant minimumValue() const override { return m_slider.ValueAt(m_slider.minimum()); }
    QVariant maximumValue() const override { return m_slider.ValueAt(m_slider.maximum()); }
    /// Of a scale that is not even, the step from where the slider stands.
    QVariant minimumStepSize() const override
    {
        int const from = std::min(m_slider.value(), m_slider.maximum() - 1);
        return m_slider.maximum() > m_slider.minimum() ? m_slider.ValueAt(from + 1) - m_slider.ValueAt(from) : 0.0;
    }
    void setCurrentValue(QVariant const& value) override
    {
        bool isNumber = false;
        double const wanted = value.toDouble(&isNumber);
        if (m_slider.isEnabled() && isNumber && std::isfinite(wanted)) {
            Scroll(ScrollKind::ThumbMoving, m_slider.PositionOf(wanted));
        }
    }

    QStringList actionNames() const override
    {
        auto names = QAccessibleWidget::actionNames();
        if (m_slider.isEnabled()) {
            names << increaseAction() << decreaseAction();
        }
        return names;
    }
    void doAction(QString const& action) override
    {
        if (action == increaseAction() && m_slider.isEnabled()) {
            Scroll(ScrollKind::LineRight, 0);
        } else if (action == decreaseAction() && m_slider.isEnabled()) {
            Scroll(ScrollKind::LineLeft, 0);
        } else {
            QAccessibleWidget::doAction(action);
        }
    }

private:
    void Scroll(ScrollKind kind, int position)
    {
        m_slider.scroll(static_cast<int>(kind), position);
        m_slider.scroll(static_cast<int>(ScrollKind::EndOfScrolling), 0);
    }

    ScrollSlider& m_slider;
};

/// A button that stays on or off. The toolkit's own would turn it without telling that it was clicked.
class ToggleAccess final : public QAccessibleWidget
{
public:
    explicit ToggleAccess(QAbstractButton& button)
        : QAccessibleWidget(&button, button.autoExclusive() ? QAccessible::RadioButton : QAccessible::CheckBox),
          m_button(button)
    {
    }

    QString text(QAccessible::Text kind) const override
    {
        auto const told = QAccessibleWidget::text(kind);
        return kind == QAccessible::Name && told.isEmpty() ? WithoutMark(m_button.text()) : told;
    }
    QAccessible::State state() const override
    {
        auto state = QAccessibleWidget::state();
        state.checkable = true;
        state.checked = m_button.isChecked();
        state.pressed = m_button.isDown();
        return state;
    }
    QStringList actionNames() const override
    {
        auto names = QAccessibleWidget::actionNames();
        if (m_button.isEnabled()) {
            names.prepend(toggleAction());
        }
        return names;
    }
    void doAction(QString const& action) override
    {
        if (action == toggleAction() || action == pressAction()) {
            m_button.click(); // which does nothing to a disabled one
        } else {
            QAccessibleWidget::doAction(action);
        }
    }

private:
    QAbstractButton& m_button;
};

/// A field that is only read. The toolkit's own would take a text that no hand can type.
class ReadOnlyFieldAccess final : public QAccessibleWidget, public QAccessibleTextInterface
{
public:
    explicit ReadOnlyFieldAccess(QLineEdit& field)
        : QAccessibleWidget(&field, QAccessible::EditableText), m_field(field)
    {
    }

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::TextInterface ? static_cast<QAccessibleTextInterface*>(this)
                                                  : QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override
    {
        auto const told = QAccessibleWidget::text(kind);
        bool const isValue = kind == QAccessible::Value || (kind == QAccessible::Description && told.isEmpty());
        return isValue ? m_field.text() : told;
    }
    void setText(QAccessible::Text, QString const&) override {}
    QAccessible::State state() const override
    {
        auto state = QAccessibleWidget::state();
        state.readOnly = true;
        state.selectableText = true;
        return state;
    }

    QString text(int begin, int end) const override { return m_field.text().mid(begin, end - begin); }
    int characterCount() const override { return static_cast<int>(m_field.text().size()); }
    int cursorPosition() const override { return m_field.cursorPosition(); }
    void setCursorPosition(int position) override { m_field.setCursorPosition(position); }
    int selectionCount() const override { return m_field.hasSelectedText() ? 1 : 0; }
    void selection(int index, int* begin, int* end) const override
    {
        bool const isThere = index == 0 && m_field.hasSelectedText();
        *begin = isThere ? m_field.selectionStart() : 0;
        *end = isThere ? m_field.selectionEnd() : 0;
    }
    void addSelection(int begin, int end) override { m_field.setSelection(begin, end - begin); }
    void removeSelection(int) override { m_field.deselect(); }
    void setSelection(int, int begin, int end) override { m_field.setSelection(begin, end - begin); }
    void scrollToSubstring(int begin, int) override { m_field.setCursorPosition(begin); }
    /// Of the letters as they stand while the field is not scrolled.
    QRect characterRect(int offset) const override
    {
        auto const metrics = m_field.fontMetrics();
        int const left = metrics.horizontalAdvance(m_field.text().left(offset));
        auto const corner = m_field.mapToGlobal(QPoint(left, 0));
        return {corner, QSize(metrics.horizontalAdvance(m_field.text().mid(offset, 1)), m_field.height())};
    }
    int offsetAtPoint(QPoint const& point) const override
    {
        return m_field.cursorPositionAt(m_field.mapFromGlobal(point));
    }
    QString attributes(int, int* begin, int* end) const override
    {
        *begin = 0;
        *end = characterCount();
        return {};
    }

private:
    QLineEdit& m_field;
};

/// Makes an item the chosen one as the operator does.
void Choose(QComboBox& list, int index)
{
    if (list.isEnabled() && index >= 0 && index < list.count()) {
        list.setCurrentIndex(index);
        Q_EMIT list.activated(index);
    }
}

class ListItemAccess final : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    ListItemAccess(QComboBox& list, int index) : m_list(&list), m_index(index) {}

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }
    bool isValid() const override { return m_list != nullptr && m_index < m_list->count(); }
    QObject* object() const override { return nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(m_list); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(QAccessibleInterface const*) const override { return -1; }
    QRect rect() const override { return isValid() ? parent()->rect() : QRect(); }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name && isValid() ? m_list->itemText(m_index) : QString();
    }
    void setText(QAccessible::Text, QString const&) override {}
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.selectable = true;
        state.invalid = !isValid();
        state.disabled = isValid() && !m_list->isEnabled();
        state.selected = isValid() && m_list->currentIndex() == m_index;
        return state;
    }
    QStringList actionNames() const override
    {
        return isValid() && m_list->isEnabled() ? QStringList{pressAction()} : QStringList();
    }
    void doAction(QString const& action) override
    {
        if (action == pressAction() && isValid()) {
            Choose(*m_list, m_index);
        }
    }
    QStringList keyBindingsForAction(QString const&) const override { return {}; }

private:
    QPointer<QComboBox> m_list;
    int m_index;
};

class ListAccess final : public QAccessibleWidget
{
public:
    explicit ListAccess(QComboBox& list) : QAccessibleWidget(&list, QAccessible::ComboBox), m_list(list) {}

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Value ? m_list.currentText() : QAccessibleWidget::text(kind);
    }
    void setText(QAccessible::Text kind, QString const& text) override
    {
        if (kind == QAccessible::Value) {
            Choose(m_list, m_list.findText(text));
        }
    }
    int childCount() const override { return m_list.count(); }
    QAccessibleInterface* child(int index) const override
    {
        if (index < 0 || index >= m_list.count()) {
            return nullptr;
        }
        while (m_items.size() <= static_cast<std::size_t>(index)) {
            // The toolkit's register owns it.
            m_items.push_back(
                QAccessible::registerAccessibleInterface(new ListItemAccess(m_list, static_cast<int>(m_items.size()))));
        }
        return QAccessible::accessibleInterface(m_items[static_cast<std::size_t>(index)]);
    }
    int indexOfChild(QAccessibleInterface const* item) const override
    {
        for (int i = 0; i < m_list.count(); ++i) {
            if (child(i) == item) {
                return i;
            }
        }
        return -1;
    }
    QStringList actionNames() const override
    {
        auto names = QAccessibleWidget::actionNames();
        if (m_list.isEnabled()) {
            names << showMenuAction() << increaseAction() << decreaseAction();
        }
        return names;
    }
    void doAction(QString const& action) override
    {
        if (action == showMenuAction() && m_list.isEnabled()) {
            m_list.showPopup();
        } else if (action == increaseAction()) {
            Choose(m_list, m_list.currentIndex() + 1);
        } else if (action == decreaseAction()) {
            Choose(m_list, m_list.currentIndex() - 1);
        } else {
            QAccessibleWidget::doAction(action);
        }
    }

protected:
    ~ListAccess() override
    {
        for (auto const item : m_items) {
            QAccessible::deleteAccessibleInterface(item);
        }
    }

private:
    QComboBox& m_list;
    mutable std::vector<QAccessible::Id> m_items;
};

QAccessibleInterface* Make(QString const& className, QObject* object)
{
    // Asked for each class that the object is of, from its own on.
    if (auto* const slider = qobject_cast<ScrollSlider*>(object)) {
        return new SliderAccess(*slider);
    }
    if (className == QLatin1String("QAbstractButton") || className == QLatin1String("QComboBox") ||
        className == QLatin1String("QPushButton") || className == QLatin1String("QCheckBox") ||
        className == QLatin1String("QRadioButton")) {
        auto* const button = qobject_cast<QAbstractButton*>(object);
        if (button != nullptr && button->isCheckable() && IsBelowForm(button)) {
            return new ToggleAccess(*button);
        }
        auto* const list = qobject_cast<QComboBox*>(object);
        if (list != nullptr && IsBelowForm(list)) {
            return new ListAccess(*list);
        }
    }
    if (className == QLatin1String("QLineEdit")) {
        auto* const field = qobject_cast<QLineEdit*>(object);
        if (field != nullptr && field->isReadOnly() && IsBelowForm(field)) {
            return new ReadOnlyFieldAccess(*field);
        }
    }
    return nullptr;
}

int users = 0; // window thread

} // namespace

AccessibleControls::AccessibleControls(QWidget& form)
{
    form.setProperty(formProperty, true);
    if (users++ == 0) {
        QAccessible::installFactory(Make);
    }
}

AccessibleControls::~AccessibleControls()
{
    if (--users == 0) {
        QAccessible::removeFactory(Make);
    }
}

} // namespace qx5
