// Opens the plug-in's view without a window, acts on its controls as an operator does, and tells how they stand.
#include "cli/scenario/view_driver.h"

#include "cli/scenario/offscreen_toolkit.h"
#include "cli/scenario/view_controls.h"
#include "json/json_read.h"

#include "reference_host/core/host.h"
#include "reference_host/displays/display.h"

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalMfc0R/CFormView.h>

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QComboBox>
#include <QCoreApplication>
#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMetaObject>
#include <QString>
#include <QTabBar>
#include <QVariant>
#include <QWidget>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace qx5::cli {

namespace {

constexpr int thumbReleased = 4;
constexpr int thumbMoving = 5;

QString ToQString(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

JsonValue TextOf(QString const& text)
{
    return JsonValue::Text(text.toStdWString());
}

/// A caption as it is seen, without the marks of its access key.
QString Caption(QString const& text)
{
    QString seen;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'&' && i + 1 < text.size()) {
            ++i;
        }
        seen += text[i];
    }
    return seen;
}

template <typename T>
T* As(QWidget* widget)
{
    return dynamic_cast<T*>(widget);
}

/// What a kind of control says of itself beyond being visible and enabled.
std::vector<JsonValue::Member> ContentOf(ControlKind kind, QWidget* widget)
{
    switch (kind) {
    case ControlKind::Label:
        if (auto const* const label = As<QLabel>(widget)) {
            auto const text = label->text();
            return {{"text", TextOf(label->buddy() != nullptr ? Caption(text) : text)}};
        }
        break;
    case ControlKind::ReadOnlyText:
        if (auto const* const field = As<QLineEdit>(widget)) {
            return {{"text", TextOf(field->text())}};
        }
        break;
    case ControlKind::Button:
        if (auto const* const button = As<QAbstractButton>(widget)) {
            return {{"text", TextOf(Caption(button->text()))}};
        }
        break;
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
    case ControlKind::ToggleButton:
        if (auto const* const button = As<QAbstractButton>(widget)) {
            return {{"text", TextOf(Caption(button->text()))}, {"checked", JsonValue::Bool(button->isChecked())}};
        }
        break;
    case ControlKind::TextField:
        if (auto const* const field = As<QLineEdit>(widget)) {
            return {{"text", TextOf(field->text())}, {"edited", JsonValue::Bool(field->property("edited").toBool())}};
        }
        break;
    case ControlKind::Slider:
        if (auto const* const slider = As<QAbstractSlider>(widget)) {
            return {{"min", JsonValue::Integer(slider->minimum())},
                    {"max", JsonValue::Integer(slider->maximum())},
                    {"position", JsonValue::Integer(slider->value())}};
        }
        break;
    case ControlKind::List:
        if (auto const* const list = As<QComboBox>(widget)) {
            JsonValue items = JsonValue::Array();
            for (int i = 0; i < list->count(); ++i) {
                items.items.push_back(TextOf(list->itemText(i)));
            }
            return {{"items", std::move(items)}, {"selected", JsonValue::Integer(list->currentIndex())}};
        }
        break;
    }
    throw std::runtime_error("the control " + widget->objectName().toStdString() + " of the view is not " +
                             std::string(NameOf(kind)));
}

} // namespace

struct ViewDriver::State
{
    explicit State(vordal::Host& of) : host(of) {}

    /// The view's widget, while steps may act on it.
    QWidget* ActiveWidget() const { return display != nullptr && !display->IsRemoved() ? display->Widget() : nullptr; }

    /// The control as the kind of widget that it must be, when the operator can reach it; null otherwise.
    template <typename T>
    T* Reach(ControlName const& name) const
    {
        auto* const view = ActiveWidget();
        if (view == nullptr) {
            return nullptr;
        }
        auto* const page = view->findChild<QWidget*>(ToQString(name.page));
        auto const* const row = FindViewControl(name.page, name.id);
        auto* const widget = page != nullptr && row != nullptr ? page->findChild<T*>(ToQString(row->name)) : nullptr;
        if (widget == nullptr) {
            throw std::runtime_error("the view has no control " + std::to_string(name.id) + " on the page " +
                                     name.page);
        }
        return !widget->isHidden() && widget->isEnabledTo(page) ? widget : nullptr;
    }

    QTabBar* Tabs() const
    {
        auto* const view = ActiveWidget();
        return view != nullptr ? view->findChild<QTabBar*>(ToQString(tabStripName)) : nullptr;
    }

    vordal::Host& host;
    std::unique_ptr<vordal::Display> display;
};

ViewDriver::ViewDriver(vordal::Host& host) : m_state(std::make_unique<State>(host))
{
    EnsureOffscreenToolkit();
    host.SetWindowThread({});
}

ViewDriver::~ViewDriver()
{
    Close();
    m_state->host.EndWindowThread();
}

bool ViewDriver::Open(CString const& viewClass, std::optional<CDataId> const& stored,
                      std::optional<std::pair<int, int>> const& size, std::string& reason)
{
    Close();
    vordal::DisplayContent content;
    content.viewClass = viewClass;
    if (stored.has_value()) {
        constexpr unsigned short wholeStream = 65535;
        content.attributes.Add(ATTR_DATAID, CVordalDataInfo(*stored, wholeStream, wholeStream));
    }
    m_state->display = vordal::Display::Open(std::move(content), nullptr, reason);
    if (m_state->display == nullptr) {
        return false;
    }
    m_state->display->InitialUpdate();
    if (size.has_value()) {
        Resize(size->first, size->second);
    }
    return true;
}

void ViewDriver::Close()
{
    if (auto const closed = std::move(m_state->display)) {
        closed->Close();
        // No event loop runs that would destroy what asked to be destroyed later.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

void ViewDriver::PickTab(int index)
{
    auto* const tabs = m_state->Tabs();
    if (tabs != nullptr && index >= 0 && index < tabs->count()) {
        tabs->setCurrentIndex(index);
    }
}

void ViewDriver::Scroll(ControlName const& control, int kind, std::optional<int> position)
{
    auto* const slider = m_state->Reach<QAbstractSlider>(control);
    if (slider == nullptr) {
        return;
    }
    bool const hasPosition = position.has_value() && (kind == thumbReleased || kind == thumbMoving);
    int const at = hasPosition ? std::clamp(*position, slider->minimum(), slider->maximum()) : slider->value();
    if (!QMetaObject::invokeMethod(slider, "scroll", Q_ARG(int, kind), Q_ARG(int, at))) {
        throw std::runtime_error("the slider " + std::to_string(control.id) + " takes no scroll events");
    }
}

void ViewDriver::Click(ControlName const& control)
{
    if (auto* const button = m_state->Reach<QAbstractButton>(control)) {
        button->click();
    }
}

void ViewDriver::Choose(ControlName const& control, int index)
{
    auto* const list = m_state->Reach<QComboBox>(control);
    if (list != nullptr && index >= 0 && index < list->count()) {
        list->setCurrentIndex(index);
        Q_EMIT list->activated(index);
    }
}

void ViewDriver::Type(ControlName const& control, CString const& text)
{
    if (auto* const field = m_state->Reach<QLineEdit>(control)) {
        auto const typed = QString::fromWCharArray(text.GetString(), text.GetLength());
        field->setText(typed);
        Q_EMIT field->textEdited(typed);
    }
}

void ViewDriver::PressReturn(ControlName const& control)
{
    if (auto* const field = m_state->Reach<QLineEdit>(control)) {
        Q_EMIT field->returnPressed();
    }
}

void ViewDriver::Update(int hint, std::optional<CDataId> const& id)
{
    if (m_state->display != nullptr) {
        m_state->display->DeliverUpdate(nullptr, hint, id.has_value() ? &*id : nullptr);
    }
}

void ViewDriver::Resize(int width, int height)
{
    if (m_state->display != nullptr) {
        m_state->display->DeliverSize(0, width, height);
    }
}

JsonValue ViewDriver::Look() const
{
    JsonValue controls = JsonValue::Object();
    auto* const view = m_state->display != nullptr ? m_state->display->Widget() : nullptr;
    if (view == nullptr) {
        return controls;
    }
    for (auto const name : viewPages) {
        auto const* const page = view->findChild<QWidget*>(ToQString(name));
        JsonValue states = JsonValue::Object();
        for (auto const& control : viewControls) {
            auto* const widget =
                page != nullptr && control.page == name ? page->findChild<QWidget*>(ToQString(control.name)) : nullptr;
            if (widget == nullptr) {
                continue;
            }
            JsonValue state = JsonValue::Object({{"visible", JsonValue::Bool(!widget->isHidden())},
                                                 {"enabled", JsonValue::Bool(widget->isEnabledTo(page))}});
            for (auto& member : ContentOf(control.kind, widget)) {
                state.members.push_back(std::move(member));
            }
            states.members.emplace_back(std::to_string(control.id), std::move(state));
        }
        controls.members.emplace_back(std::string(name), std::move(states));
    }
    JsonValue captions = JsonValue::Array();
    auto const* const tabs = m_state->Tabs();
    for (int i = 0; tabs != nullptr && i < tabs->count(); ++i) {
        captions.items.push_back(TextOf(Caption(tabs->tabText(i))));
    }
    controls.members.emplace_back("tabs", std::move(captions));
    controls.members.emplace_back("tab", JsonValue::Integer(tabs != nullptr ? tabs->currentIndex() : -1));
    controls.members.emplace_back("title", JsonValue::Text(m_state->display->Title().View()));
    auto const* const form = dynamic_cast<CFormView const*>(m_state->display->View());
    controls.members.emplace_back(
        "scroll", JsonValue::Array({JsonValue::Integer(form != nullptr ? form->GetScrollWidth() : 0),
                                    JsonValue::Integer(form != nullptr ? form->GetScrollHeight() : 0)}));
    CDataInfo stored;
    bool const hasStored = m_state->display->StoredAttributes().FindValue(ATTR_DATAID).Get(stored);
    controls.members.emplace_back("stored", hasStored ? WriteDataId(stored.GetDataId()) : JsonValue());
    return controls;
}

} // namespace qx5::cli
