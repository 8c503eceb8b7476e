// Conversions between the host's wide texts and those of the view's toolkit.
#pragma once

#include <VordalBaseR/CString.h>

#include <QString>
#include <QTextDocument>

namespace vordal {

inline QString ToQString(CString const& text)
{
    return QString::fromWCharArray(text.GetString(), text.GetLength());
}

inline CString FromQString(QString const& text)
{
    return CString(text.toStdWString());
}

/// The text as a tool tip that shows its characters as they stand: a tip that looks like rich text is taken for it.
inline QString PlainToolTip(QString const& text)
{
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}

} // namespace vordal
