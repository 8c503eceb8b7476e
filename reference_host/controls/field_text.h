// Texts of fields that the host writes while an operator may be at work in them.
#pragma once

#include <VordalBaseR/Export.h>

#include <QString>

#include <functional>

class QLineEdit;

namespace vordal {

/// A property of a field, true while it shows what was typed and not applied.
inline constexpr char const* EditedProperty = "edited";

/// What happened to a field that its operator would otherwise not notice.
struct FieldNotice
{
    enum class Kind
    {
        Overwritten, ///< what was typed and not applied gave way to what the sonar tells
        NoNumber,    ///< the text, or its end, is no number; `now` is what it counts as
    };
    Kind kind;
    QString field; ///< its name as a screen reader tells it
    QString typed;
    QString now;
};

/// Who hears of all fields; empty for nobody. Window thread.
VORDAL_API void SetFieldListener(std::function<void(FieldNotice const&)> listener);

/// Writes the text. In a field with the focus it is then selected as a whole, so that what is typed next takes its
/// place and does not mix with it; where nothing changes, cursor and selection stay. That another number was
/// typed, not applied, and is gone is told. The field's signals tell nothing of the change.
void RewriteField(QLineEdit& field, QString const& text);

/// The number that the text begins with, 0 where it begins with none. A text that is not a number to its end is told.
double ReadField(QLineEdit const& field);

} // namespace vordal
