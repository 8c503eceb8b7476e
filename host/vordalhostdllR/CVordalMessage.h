// Messages to the operator.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

/// The application's message service. Owned by the application. Any thread; nobody is kept waiting for the operator.
class VORDAL_API CVordalMessage
{
public:
    /// How a message is shown; may be combined.
    enum Flag : unsigned
    {
        Information = 0x1,
        Warning = 0x2,
        Error = 0x4,
    };

    virtual ~CVordalMessage();

    /// Shows a text to the operator and keeps it in the host's list of messages. `detail` may be empty.
    virtual void ShowMessage(CString const& text, CString const& detail, unsigned flags) = 0;
};
