// Conversions between the host's wide texts and those of the view's toolkit.
#pragma once

#include <VordalBaseR/CString.h>

#include <QString>

namespace vordal {

inline QString ToQString(CString const& text)
{
    return QString::fromWCharArray(text.GetString(), text.GetLength());
}

inline CString FromQString(QString const& text)
{
    return CString(text.toStdWString());
}

} // namespace vordal
