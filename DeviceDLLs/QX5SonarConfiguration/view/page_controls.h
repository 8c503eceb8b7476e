// Small things that all pages do with their controls and trees.
#pragma once

#include <commands/attribute_at.h>

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CString.h>

#include <protocol/numbers.h>
#include <protocol/record_layout.h>

#include <QRadioButton>
#include <QSlider>
#include <QString>

#include <cmath>

class QComboBox;
class QLabel;
class QWidget;

namespace qx5 {

/// The value below `tree`, or `missing` where it is absent or of another kind.
template <protocol::Key const& key, typename T>
T ReadValue(CAttributeMap const& tree, T missing)
{
    tree.FindValue(At<key>).Get(missing);
    return missing;
}

inline QString ToQString(CString const& text)
{
    return QString::fromWCharArray(text.GetString(), text.GetLength());
}
inline CString ToCString(QString const& text)
{
    return CString(text.toStdWString());
}

/// Toward minus infinity, saturated to 32 bits; NaN gives 0.
inline int FloorToInt(double value)
{
    return protocol::TruncateToInt32(std::floor(value));
}

/// Checks or unchecks a radio button alone: its neighbours stay, and none of them may be left checked.
inline void SetChecked(QRadioButton& button, bool checked)
{
    button.setAutoExclusive(false);
    button.setChecked(checked);
    button.setAutoExclusive(true);
}

/// Fills the list with the parts of a text between commas; nothing is selected afterwards.
void FillList(QComboBox& list, QString const& commaSeparated);

/// A wheel turned over the list while it has not the focus changes nothing and scrolls what lies below.
void LeaveWheelToPage(QComboBox& list);

/// Takes a control out of the operator's hands because the sonar's tracker governs it, and says so, or gives it back.
void LockByTracker(QWidget& control, bool locked);

/// Makes a value's label as wide as the widest text that is to be expected, so that sliders beside it keep their size.
void ReserveWidth(QLabel& label, QString const& widest);

} // namespace qx5
