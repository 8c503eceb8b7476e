// A field that one looks for something with.
#include "search_field.h"

#include <QAbstractButton>
#include <QLineEdit>

namespace vordal {

QLineEdit* MakeSearchField(QString const& name, QString const& hint, QWidget* parent)
{
    auto* const field = new QLineEdit(parent);
    field->setAccessibleName(name);
    field->setPlaceholderText(hint);
    field->setClearButtonEnabled(true);
    // The toolkit gives it a picture alone.
    for (auto* const button : field->findChildren<QAbstractButton*>()) {
        button->setAccessibleName(QObject::tr("Clear"));
    }
    return field;
}

} // namespace vordal
