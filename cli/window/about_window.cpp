// What program this is, and which plug-ins it has loaded.
#include "about_window.h"

#include "screen_room.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace qx5::cli {

AboutWindow::AboutWindow(QWidget* parent) : QDialog(parent), m_text(new QPlainTextEdit(this))
{
    setObjectName(QStringLiteral("aboutWindow"));
    setWindowTitle(tr("About"));
    m_text->setObjectName(QStringLiteral("aboutText"));
    m_text->setAccessibleName(tr("About this program"));
    m_text->setReadOnly(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setTabChangesFocus(true);
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    auto* const copy = buttons->addButton(tr("Co&py all"), QDialogButtonBox::ActionRole);
    copy->setObjectName(QStringLiteral("aboutCopy"));
    copy->setAccessibleName(tr("Copy all"));
    copy->setAutoDefault(false);
    connect(copy, &QPushButton::clicked, this, [this] { QApplication::clipboard()->setText(m_text->toPlainText()); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const column = new QVBoxLayout(this);
    column->addWidget(m_text, 1);
    column->addWidget(buttons);
    QSize const wanted(fontMetrics().averageCharWidth() * 105, fontMetrics().lineSpacing() * 16);
    resize(wanted.boundedTo(RoomFor(*this)));
}

void AboutWindow::Show(std::vector<Fact> const& program, std::vector<Fact> const& plugIns)
{
    auto text = FactLines(program);
    text += plugIns.empty() ? tr("\n\nNo plug-in is loaded.").toStdString() : tr("\n\nPlug-ins\n").toStdString();
    text += FactLines(plugIns);
    m_text->setPlainText(QString::fromStdString(text));
    show();
    raise();
    activateWindow();
    m_text->setFocus();
}

} // namespace qx5::cli
