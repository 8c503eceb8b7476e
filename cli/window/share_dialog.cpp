// The dialog by which an operator shares the project with those ashore.
#include "share_dialog.h"

#include "cli/window/share_bar.h"
#include "reference_host/common/path_text.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <chrono>
#include <filesystem>

namespace qx5::cli {

namespace {

constexpr std::chrono::milliseconds shareDialogInterval{200};

void SetFieldText(QLineEdit& field, std::string const& text)
{
    field.setText(QString::fromStdString(text));
}

std::string FieldText(QLineEdit const& field)
{
    return field.text().trimmed().toStdString();
}

std::filesystem::path FileOf(QLineEdit const& field)
{
    auto const text = field.text().trimmed();
    // From the root on: the project may be opened from anywhere.
    return text.isEmpty() ? std::filesystem::path()
                          : std::filesystem::path(QFileInfo(text).absoluteFilePath().toStdString());
}

QLabel* NewNote(char const* name)
{
    auto* const label = new QLabel;
    label->setObjectName(QString::fromLatin1(name));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace

ShareDialog::ShareDialog(ProjectShare& share, QWidget* parent) : QDialog(parent), m_share(share)
{
    setObjectName(QStringLiteral("shareDialog"));
    setWindowTitle(QObject::tr("Share the project"));

    auto* const form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    m_broker = AddField(*form, QObject::tr("&Broker"), "shareBroker", QStringLiteral("mqtts://broker.example:8883"));
    m_authority = AddFile(*form, QObject::tr("&Authority of its certificate"), "shareAuthority");
    m_certificate = AddFile(*form, QObject::tr("The vessel's &certificate"), "shareCertificate");
    m_key = AddFile(*form, QObject::tr("The certificate's &key"), "shareKey");
    m_group = AddField(*form, QObject::tr("&Group of the fleet"), "shareGroup", QStringLiteral("north"));
    m_vessel = AddField(*form, QObject::tr("&Vessel"), "shareVessel", QStringLiteral("Vega"));

    auto* const note = NewNote("shareNote");
    note->setText(QObject::tr("Those ashore see the sonars of this project, and command the one whose lease they have. "
                              "Whoever is at this window takes it back at any moment. Transmitting, full power, "
                              "shut-down, reboot and factory settings stay locked for them unless the project allows "
                              "them."));
    m_state = NewNote("shareState");
    m_state->setAccessibleName(QObject::tr("How it is shared"));
    m_state->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_state->setFocusPolicy(Qt::StrongFocus);
    m_state->setFrameShape(QFrame::StyledPanel);
    m_state->setMargin(6);
    // A reason of two lines moves nothing.
    m_state->setMinimumHeight(4 * m_state->fontMetrics().lineSpacing());
    m_state->setAlignment(Qt::AlignTop | Qt::AlignLeft);

    auto* const buttons = new QHBoxLayout;
    m_begin = new QPushButton(QObject::tr("&Share"));
    m_begin->setObjectName(QStringLiteral("shareBegin"));
    m_begin->setDefault(true);
    m_end = new QPushButton(QObject::tr("S&top sharing"));
    m_end->setObjectName(QStringLiteral("shareEnd"));
    m_end->setAutoDefault(false);
    auto* const close = new QPushButton(QObject::tr("C&lose"));
    close->setAutoDefault(false);
    buttons->addStretch(1);
    buttons->addWidget(m_begin);
    buttons->addWidget(m_end);
    buttons->addWidget(close);

    auto* const column = new QVBoxLayout(this);
    column->addWidget(note);
    column->addLayout(form);
    column->addWidget(m_state);
    column->addStretch(1);
    column->addLayout(buttons);
    resize(620, sizeHint().height());

    connect(m_begin, &QPushButton::clicked, this, [this] { Share(); });
    connect(m_end, &QPushButton::clicked, this, [this] { Stop(); });
    connect(close, &QPushButton::clicked, this, [this] { hide(); });
    connect(&m_timer, &QTimer::timeout, this, [this] { Look(); });
    m_timer.setInterval(shareDialogInterval);
}

QLineEdit* ShareDialog::AddField(QFormLayout& form, QString const& label, char const* name, QString const& example)
{
    auto* const field = new QLineEdit;
    field->setObjectName(QString::fromLatin1(name));
    field->setPlaceholderText(example);
    form.addRow(label, field);
    return field;
}

QLineEdit* ShareDialog::AddFile(QFormLayout& form, QString const& label, char const* name)
{
    auto* const field = new QLineEdit;
    field->setObjectName(QString::fromLatin1(name));
    auto* const choose = new QPushButton(QStringLiteral("\u2026"));
    auto const what = QString(label).remove(QLatin1Char('&'));
    choose->setAccessibleName(QObject::tr("Choose a file: %1").arg(what));
    choose->setToolTip(choose->accessibleName());
    choose->setAutoDefault(false);
    connect(choose, &QPushButton::clicked, this, [this, field, what] {
        auto const file = QFileDialog::getOpenFileName(
            this, what, field->text(), QObject::tr("Certificates and keys (*.pem *.crt *.key);;All files (*)"));
        if (!file.isEmpty()) {
            field->setText(file);
        }
    });
    m_choosers.push_back(choose);
    auto* const row = new QHBoxLayout;
    row->addWidget(field, 1);
    row->addWidget(choose);
    form.addRow(label, row);
    // The row has no field that the label's key could go to by itself.
    qobject_cast<QLabel*>(form.labelForField(row))->setBuddy(field);
    return field;
}

void ShareDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!m_share.State().isShared) {
        ShowSetup();
        m_missing.clear();
    }
    Look();
    m_timer.start();
}

void ShareDialog::ShowSetup()
{
    auto const setup = m_share.Setup();
    SetFieldText(*m_broker, setup.broker);
    SetFieldText(*m_authority, vordal::Utf8Of(setup.files.authority));
    SetFieldText(*m_certificate, vordal::Utf8Of(setup.files.certificate));
    SetFieldText(*m_key, vordal::Utf8Of(setup.files.key));
    SetFieldText(*m_group, setup.group);
    SetFieldText(*m_vessel, setup.vessel);
}

void ShareDialog::Share()
{
    // Who may do what, history and outbox stay as the project says.
    auto setup = m_share.Setup();
    setup.broker = FieldText(*m_broker);
    setup.files = {FileOf(*m_authority), FileOf(*m_certificate), FileOf(*m_key)};
    setup.group = FieldText(*m_group);
    setup.vessel = FieldText(*m_vessel);
    m_missing.clear();
    m_share.Begin(std::move(setup), m_missing);
    Look();
}

void ShareDialog::Stop()
{
    m_share.End();
    Look();
}

void ShareDialog::Look()
{
    if (!isVisible()) {
        m_timer.stop();
        return;
    }
    auto const state = m_share.State();
    auto const problem = m_missing.empty() ? state.problem : m_missing;
    auto const text = state.isShared    ? ShareText(state)
                      : problem.empty() ? QObject::tr("Not shared.")
                                        : QObject::tr("Not shared: %1").arg(QString::fromStdString(problem));
    if (text != m_state->text()) {
        m_state->setText(text);
    }
    for (QLineEdit* const field : {m_broker, m_authority, m_certificate, m_key, m_group, m_vessel}) {
        field->setReadOnly(state.isShared);
    }
    for (QWidget* const chooser : m_choosers) {
        chooser->setEnabled(!state.isShared);
    }
    m_begin->setEnabled(!state.isShared);
    m_end->setEnabled(state.isShared);
}

} // namespace qx5::cli
