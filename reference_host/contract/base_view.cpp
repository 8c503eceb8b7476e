// What joins a view to its document.
#include <vordalhostdllR/CVordalBaseView.h>

#include <VordalAttributesR/CAttributeMap.h>
#include <vordalhostdllR/CDisplayDoc.h>

struct CVordalBaseView::State
{
    CDisplayDoc* document = nullptr;
    int view = 0;
    /// In use while there is no document.
    CAttributeMap own;
};

CVordalBaseView::CVordalBaseView() : m_state(std::make_unique<State>()) {}
CVordalBaseView::~CVordalBaseView() = default;

bool CVordalBaseView::ConnectDisplayDoc(CDisplayDoc* document, int view)
{
    m_state->document = document;
    m_state->view = view;
    return document != nullptr;
}

CDisplayDoc* CVordalBaseView::GetDisplayDoc() const
{
    return m_state->document;
}

CAttributeMap& CVordalBaseView::GetAttributes()
{
    return m_state->document != nullptr ? m_state->document->GetViewAttributes(m_state->view) : m_state->own;
}
