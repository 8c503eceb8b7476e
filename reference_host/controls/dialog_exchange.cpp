// The exchange of numbers and truth values with controls, and the project's units in labels.
#include <VordalMfc0R/DialogExchange.h>

#include "reference_host/common/number_text.h"
#include "reference_host/controls/field_text.h"
#include "reference_host/controls/qt_text.h"

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <QList>
#include <QString>
#include <QWidget>

void DDX_FmtDouble(CDataExchange const& exchange, QLineEdit* field, double& value, int, int)
{
    if (field == nullptr) {
        return;
    }
    if (exchange.IsFromControls()) {
        value = vordal::ReadField(*field);
    } else {
        vordal::RewriteField(*field, QString::fromStdString(vordal::ShortNumberText(value)));
    }
}

void DDX_bCheck(CDataExchange const& exchange, QAbstractButton* box, bool& value)
{
    if (box == nullptr) {
        return;
    }
    if (exchange.IsFromControls()) {
        value = box->isChecked();
    } else {
        box->setChecked(value);
    }
}

void SetDialogUnits(QWidget* dialog)
{
    if (dialog == nullptr) {
        return;
    }
    for (auto* const label : dialog->findChildren<QLabel*>()) {
        QString text = label->text();
        text.replace(QStringLiteral("%D"), QStringLiteral("m"));
        text.replace(QStringLiteral("%A"), QStringLiteral("\u00B0"));
        if (text != label->text()) {
            label->setText(text);
        }
    }
}
