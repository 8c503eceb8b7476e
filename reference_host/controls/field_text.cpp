// Texts of fields that the host writes while an operator may be at work in them.
#include "field_text.h"

#include "reference_host/common/number_text.h"

#include <QLineEdit>
#include <QSignalBlocker>
#include <QVariant>

#include <string>
#include <utility>

namespace vordal {
namespace {

std::function<void(FieldNotice const&)>& Listener()
{
    static std::function<void(FieldNotice const&)> listener;
    return listener;
}

void Tell(FieldNotice const& notice)
{
    // A copy: who hears may put another in its place.
    if (auto const listener = Listener()) {
        listener(notice);
    }
}

} // namespace

void SetFieldListener(std::function<void(FieldNotice const&)> listener)
{
    Listener() = std::move(listener);
}

void RewriteField(QLineEdit& field, QString const& text)
{
    QString const typed = field.text();
    if (typed == text) {
        return;
    }
    {
        QSignalBlocker const quiet(&field);
        field.setText(text);
    }
    if (field.hasFocus()) {
        field.selectAll();
    }
    bool const isSameNumber = LeadingNumber(typed.toStdWString()) == LeadingNumber(text.toStdWString());
    if (field.property(EditedProperty).toBool() && !isSameNumber) {
        Tell({FieldNotice::Kind::Overwritten, field.accessibleName(), typed, text});
    }
}

double ReadField(QLineEdit const& field)
{
    auto const text = field.text().toStdWString();
    double const number = LeadingNumber(text);
    if (!IsNumber(text)) {
        Tell({FieldNotice::Kind::NoNumber, field.accessibleName(), field.text(),
              QString::fromStdString(ShortNumberText(number))});
    }
    return number;
}

} // namespace vordal
