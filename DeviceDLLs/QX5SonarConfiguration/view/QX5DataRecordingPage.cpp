// The page "Data Recording": two commands that wait for the sonar's answer, and how the recording stands.
#include "QX5DataRecordingPage.h"

#include "page_controls.h"
#include "page_device.h"
#include "ui_QX5DataRecordingPage.h"

#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/Formatting.h>
#include <VordalConfigureR/DataDefinition.h>

#include <protocol/records/all.h>

#include <QApplication>

namespace keys = qx5::protocol::keys;

namespace {

constexpr int stateIdle = 0;
constexpr int stateRecording = 1;

/// The item of the sonar's data whose values are the states of the recording.
constexpr unsigned short recordingStateItem = 2701;

void ShowText(QLineEdit& field, QString const& text)
{
    if (field.text() != text) {
        field.setText(text);
        // Long names show from their beginning, and whole beside the field.
        field.setCursorPosition(0);
        // A tip that looks like rich text is taken for it, and the names are the sonar's.
        field.setToolTip(Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text);
    }
}

} // namespace

QX5DataRecordingPage::QX5DataRecordingPage(qx5::PageDevice& device, QWidget* parent)
    : QWidget(parent), m_device(device), m_ui(std::make_unique<Ui::QX5DataRecordingPage>())
{
    m_ui->setupUi(this);
    connect(m_ui->synchronizeBox, &QCheckBox::clicked, this, [this] { OnSyncClicked(); });
    connect(m_ui->startButton, &QPushButton::clicked, this, [this] { OnStart(); });
    connect(m_ui->stopButton, &QPushButton::clicked, this, [this] { OnStop(); });
    RefreshSync();
}

QX5DataRecordingPage::~QX5DataRecordingPage() = default;

void QX5DataRecordingPage::RefreshSync()
{
    m_syncRecording = qx5::ReadValue<keys::SyncDataRecording>(m_device.DeviceAttributes(), false);
    m_ui->synchronizeBox->setChecked(m_syncRecording);
}

void QX5DataRecordingPage::UpdateStatus(int state, CString const& directory, CString const& file, int diskFree,
                                        std::int64_t fileSize)
{
    if (m_syncRecording) {
        m_recordingState = state;
        EnableButtons(false, false);
    } else if (state != m_recordingState) {
        EnableButtons(state == stateIdle, state == stateRecording);
        m_recordingState = state;
    }
    if (m_stateNames.empty()) {
        ReadStateNames();
    }
    if (state >= 0 && static_cast<std::size_t>(state) < m_stateNames.size()) {
        ShowText(*m_ui->recordingModeField, qx5::ToQString(m_stateNames[static_cast<std::size_t>(state)]));
    }
    ShowText(*m_ui->freeSpaceField, QString::number(diskFree) + QStringLiteral(" %"));
    ShowText(*m_ui->fileSizeField, qx5::ToQString(FormatByteSize(fileSize)));
    ShowText(*m_ui->directoryField, qx5::ToQString(directory));
    ShowText(*m_ui->fileNameField, qx5::ToQString(file));
}

void QX5DataRecordingPage::ReadStateNames()
{
    auto const& definition = DataDefinition::GetDataDefinition();
    auto const group = m_device.DeviceId().GetGroupId();
    CString name;
    for (int i = 0; definition.GetGroupItemMapTxt(group, recordingStateItem, i, name); ++i) {
        m_stateNames.push_back(name);
    }
}

void QX5DataRecordingPage::EnableButtons(bool start, bool stop)
{
    auto* const inUse = QApplication::focusWidget();
    bool const isInUse =
        inUse != nullptr && (inUse == m_ui->startButton || inUse == m_ui->stopButton || inUse == m_heldFocus);
    m_ui->startButton->setEnabled(start);
    m_ui->stopButton->setEnabled(stop);
    m_heldFocus = nullptr;
    if (!isInUse) {
        return;
    }
    if (start || stop) {
        (stop ? m_ui->stopButton : m_ui->startButton)->setFocus();
    } else {
        // Where the toolkit has put it meanwhile; an operator who goes elsewhere is left alone.
        m_heldFocus = QApplication::focusWidget();
    }
}

void QX5DataRecordingPage::OnStart()
{
    EnableButtons(false, false);
    m_device.SendRequestValue(keys::x5DataRecording.text, CVordalInt(stateRecording));
}

void QX5DataRecordingPage::OnStop()
{
    EnableButtons(false, false);
    m_device.SendRequestValue(keys::x5DataRecording.text, CVordalInt(stateIdle));
}

void QX5DataRecordingPage::OnSyncClicked()
{
    bool const checked = m_ui->synchronizeBox->isChecked();
    m_syncRecording = checked;
    m_device.SendRequestValue(keys::SyncDataRecording.text, CVordalBool(checked));
    EnableButtons(!checked && m_recordingState == stateIdle, !checked && m_recordingState == stateRecording);
}
