// An open display: a document, a frame and a view, made by run-time class and taken down in the right order.
#include "reference_host/displays/display.h"

#include "reference_host/common/current_host.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/displays/display_objects.h"
#include "reference_host/displays/display_register.h"
#include "reference_host/displays/open_displays.h"

#include <VordalMfc0R/CView.h>
#include <tvcoreR/Utf8.h>

#include <utility>

namespace vordal {
namespace {

/// A new object of the class, or null when the class makes none, or one of another kind.
template <typename T>
std::unique_ptr<T> MakeObject(CRuntimeClass const* runtimeClass)
{
    std::unique_ptr<CObject> made(runtimeClass != nullptr ? runtimeClass->createObject() : nullptr);
    auto* const wanted = dynamic_cast<T*>(made.get());
    if (wanted == nullptr) {
        return nullptr;
    }
    static_cast<void>(made.release()); // the same object as `wanted`
    return std::unique_ptr<T>(wanted);
}

DisplayHolder& NoHolder()
{
    static DisplayHolder none;
    return none;
}

} // namespace

DisplayHolder::~DisplayHolder() = default;
QWidget* DisplayHolder::FrameWidget()
{
    return nullptr;
}
void DisplayHolder::OnTitle(CString const&) {}
void DisplayHolder::OnShowNormal() {}
void DisplayHolder::OnBringToTop() {}
void DisplayHolder::OnRemoved() {}
void DisplayHolder::OnClose() {}

Display::Display(DisplayContent content, DisplayHolder* holder)
    : m_viewClass(std::move(content.viewClass)), m_name(std::move(content.name)),
      m_holder(holder != nullptr ? holder : &NoHolder()), m_attributes(std::move(content.attributes))
{
}

std::unique_ptr<Display> Display::Open(DisplayContent content, DisplayHolder* holder, std::string& reason)
{
    auto const refuse = [&](std::string const& why) {
        reason = "cannot open a display of the view " + tvcore::ToUtf8(content.viewClass) + ": " + why;
        return std::unique_ptr<Display>();
    };
    auto const* const views = CurrentDisplayRegister();
    auto const registered = views != nullptr ? views->FindViewAndTemplate(content.viewClass) : RegisteredView();
    if (registered.viewClass == nullptr) {
        return refuse("there is no such view");
    }
    auto const* const made = registered.displayTemplate;
    auto document = MakeObject<CDisplayDoc>(made != nullptr ? made->GetDocumentClass() : nullptr);
    if (document == nullptr) {
        document = std::make_unique<CDisplayDocAttr1>();
    }
    auto frame = MakeObject<CDisplayFrm>(made != nullptr ? made->GetFrameClass() : nullptr);
    if (frame == nullptr) {
        frame = std::make_unique<CDisplayFrmAttr1>();
    }
    auto view = MakeObject<CView>(registered.viewClass);
    if (view == nullptr) {
        return refuse("its class makes no view");
    }
    std::unique_ptr<Display> display(new Display(std::move(content), holder));
    display->m_document = std::move(document);
    display->m_frame = std::move(frame);
    display->m_view = std::move(view);
    CDisplayDocAccess::Of(*display->m_document).display = display.get();
    CDisplayDocAccess::Of(*display->m_frame).display = display.get();
    display->m_document->GetViewAttributes(0) = display->m_attributes;
    display->m_view->SetDocument(display->m_document.get());
    CurrentOpenDisplays()->Add(*display, display->m_name, registered.registrant);
    return display;
}

Display::~Display()
{
    Close();
}

void Display::Close()
{
    if (m_view == nullptr) {
        return;
    }
    m_holder->OnClose();
    // Out of everybody's reach first: what the view's end sets off finds no display.
    if (auto* const open = CurrentOpenDisplays()) {
        open->Take(*this);
    }
    m_ready = false;
    auto view = std::move(m_view);
    view.reset();
    m_attributes = m_document->GetViewAttributes(0);
    m_frame.reset();
    m_document.reset();
}

void Display::InitialUpdate()
{
    m_ready = true;
    m_view->OnInitialUpdate();
}

void Display::DeliverSize(unsigned kind, int width, int height)
{
    if (m_ready && !IsRemoved()) {
        m_view->OnSize(kind, width, height);
    }
}

void Display::DeliverUpdate(CView* sender, int hint, void const* data)
{
    if (m_ready && m_view.get() != sender && !IsRemoved()) {
        m_view->OnUpdate(sender, hint, data);
    }
}

QWidget* Display::Widget() const
{
    return m_view != nullptr ? m_view->GetWidget() : nullptr;
}

bool Display::IsRemoved() const
{
    auto const* const open = CurrentOpenDisplays();
    return open != nullptr && open->IsRemoved(*this);
}

CAttributeMap Display::StoredAttributes() const
{
    return m_document != nullptr ? m_document->GetViewAttributes(0) : m_attributes;
}

void Display::TakeTitle(CString const& title)
{
    m_title = title;
    if (auto* const open = CurrentOpenDisplays()) {
        open->SetTitle(*this, title);
    }
    m_holder->OnTitle(title);
}

} // namespace vordal

CDisplayFrm::CDisplayFrm() : m_state(std::make_unique<State>()) {}
CDisplayFrm::~CDisplayFrm() = default;

void CDisplayFrm::ShowNormal()
{
    if (m_state->display != nullptr) {
        m_state->display->Holder().OnShowNormal();
    }
}

void CDisplayFrm::BringToTop()
{
    if (m_state->display != nullptr) {
        m_state->display->Holder().OnBringToTop();
    }
}

QWidget* CDisplayFrm::GetWidget()
{
    return m_state->display != nullptr ? m_state->display->Holder().FrameWidget() : nullptr;
}

CDisplayDoc::CDisplayDoc() : m_state(std::make_unique<State>()) {}
CDisplayDoc::~CDisplayDoc() = default;

CString CDisplayDoc::GetTitle() const
{
    return m_state->title;
}

void CDisplayDoc::RenameDisplay(CString const& title)
{
    if (auto* const observer = vordal::CurrentObserver()) {
        observer->OnRenameDisplay(title);
    }
    m_state->title = title;
    if (m_state->display != nullptr) {
        m_state->display->TakeTitle(title);
    }
}

CView* CDisplayDoc::GetView() const
{
    return m_state->display != nullptr ? m_state->display->View() : nullptr;
}

CDisplayFrm* CDisplayDoc::GetFrame() const
{
    return GetView() != nullptr ? m_state->display->Frame() : nullptr;
}

CAttributeMap& CDisplayDoc::GetViewAttributes(int view)
{
    return m_state->viewAttributes[view];
}
