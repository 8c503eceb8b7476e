// Exchange between the fields of a page and its controls, and the project's units in a page's labels.
#pragma once

#include <VordalBaseR/Export.h>

class QAbstractButton;
class QLineEdit;
class QWidget;

/// The direction of one exchange; lives for the time of that exchange. Window thread.
class CDataExchange
{
public:
    /// Which way values go.
    enum class Direction
    {
        ToControls,  ///< from a page's fields into its controls
        FromControls ///< from the controls into the fields
    };

    /// One exchange that way.
    explicit CDataExchange(Direction direction) : m_direction(direction) {}
    /// Whether values go from the controls into the fields.
    bool IsFromControls() const { return m_direction == Direction::FromControls; }

private:
    Direction m_direction;
};

/// What the first format argument of a formatted number means.
enum NumberFormat : int
{
    FORMAT_PLAIN = 0,    ///< no unit
    FORMAT_DISTANCE = 2, ///< metres
    FORMAT_ANGLE = 47,   ///< degrees
};

/// Exchanges a number with a text field, independent of the locale. To the control it writes the shortest text, of at
/// least 6 and at most 17 significant digits, that reads back to the same number; writing is not an edit. From the
/// control it reads the number that the text begins with; hexadecimal, infinities and NaN are no numbers, and a text
/// without a number gives 0. `format` is a NumberFormat and `variant` is 0 for the form just told; the reference host
/// converts no units. The field stays the caller's; null does nothing. Window thread.
VORDAL_API void DDX_FmtDouble(CDataExchange const& exchange, QLineEdit* field, double& value, int format, int variant);

/// Exchanges a truth value with a check box. To the control it raises no click. Null does nothing. Window thread.
VORDAL_API void DDX_bCheck(CDataExchange const& exchange, QAbstractButton* box, bool& value);

/// Puts the project's units in place of "%D" (distance) and "%A" (angle) in the text of every label below `dialog`.
/// A label without them stays as it is. Null does nothing. Window thread.
VORDAL_API void SetDialogUnits(QWidget* dialog);
