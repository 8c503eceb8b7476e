// The list of the project's files of one type.
#include <VordalConfigureR/FileTypeCombo.h>

#include "reference_host/controls/qt_text.h"
#include "reference_host/core/host_state.h"

#include <QComboBox>
#include <QPointer>

#include <vector>

struct FileTypeCombo::State
{
    int fileType = 0;
    bool fillOnAttach = false;
    QPointer<QComboBox> list;
};

FileTypeCombo::FileTypeCombo(int fileType, bool fillOnAttach)
    : m_state(std::make_unique<State>(State{fileType, fillOnAttach, {}}))
{
}
FileTypeCombo::~FileTypeCombo() = default;

void FileTypeCombo::Attach(QComboBox* list)
{
    m_state->list = list;
    if (m_state->fillOnAttach) {
        Refresh();
    }
}

void FileTypeCombo::Refresh()
{
    if (m_state->list == nullptr) {
        return;
    }
    std::vector<CString> names;
    if (auto const* const host = vordal::CurrentState(); host != nullptr && m_state->fileType == COMBO_ROUTE_FILES) {
        names = host->project.Routes();
    }
    m_state->list->clear();
    for (auto const& name : names) {
        m_state->list->addItem(vordal::ToQString(name));
    }
    m_state->list->setCurrentIndex(-1);
}

bool FileTypeCombo::SetSelected(CString const& name)
{
    int const index =
        m_state->list != nullptr ? m_state->list->findText(vordal::ToQString(name), Qt::MatchExactly) : -1;
    if (index < 0) {
        return false;
    }
    m_state->list->setCurrentIndex(index);
    return true;
}

CString FileTypeCombo::GetSelected() const
{
    return m_state->list != nullptr && m_state->list->currentIndex() >= 0
               ? vordal::FromQString(m_state->list->itemText(m_state->list->currentIndex()))
               : CString();
}
