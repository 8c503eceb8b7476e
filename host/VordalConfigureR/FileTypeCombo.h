// A list of the project's files of one type, for a page.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <memory>

class QComboBox;

/// Types of files that a FileTypeCombo lists.
enum ComboFileType : int
{
    COMBO_ROUTE_FILES = 14,
};

/// Fills one list control with file names and speaks of its selection by name. The control stays the page's; the two
/// may go in either order. Without a control there are no entries. Window thread.
class VORDAL_API FileTypeCombo
{
public:
    /// `fillOnAttach`: Attach fills the list, otherwise only Refresh does.
    FileTypeCombo(int fileType, bool fillOnAttach);
    FileTypeCombo(FileTypeCombo const&) = delete;
    FileTypeCombo& operator=(FileTypeCombo const&) = delete;
    ~FileTypeCombo();

    /// Takes over a control, or with null lets go of the present one.
    void Attach(QComboBox* list);
    /// Reads the project's files again; afterwards nothing is selected.
    void Refresh();
    /// Selects the file of that name, as if by the host and not by the operator. A name that is not there leaves the
    /// selection as it was, and the answer is false.
    bool SetSelected(CString const& name);
    /// The name of the selected file; empty when none is.
    CString GetSelected() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};
