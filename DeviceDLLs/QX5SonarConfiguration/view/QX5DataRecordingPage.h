// The page "Data Recording": starts and stops the sonar's own recording and shows how it stands.
#pragma once

#include <VordalBaseR/CString.h>

#include <QPointer>
#include <QWidget>

#include <cstdint>
#include <memory>
#include <vector>

namespace qx5 {
class PageDevice;
}
namespace Ui {
class QX5DataRecordingPage;
}

/// Two commands, one option, five read-only fields. Window thread.
class QX5DataRecordingPage : public QWidget
{
public:
    QX5DataRecordingPage(qx5::PageDevice& device, QWidget* parent);
    ~QX5DataRecordingPage() override;

    /// Takes the option from the view's copy of the device's tree.
    void RefreshSync();
    /// `state`: 0 idle, 1 recording, others neither. `diskFree` in percent, `fileSize` in bytes.
    void UpdateStatus(int state, CString const& directory, CString const& file, int diskFree, std::int64_t fileSize);

private:
    void OnStart();
    void OnStop();
    void OnSyncClicked();
    /// The focus stays with the two: from Start it goes to Stop once that can be pressed, and back.
    void EnableButtons(bool start, bool stop);
    void ReadStateNames();

    qx5::PageDevice& m_device;
    std::unique_ptr<Ui::QX5DataRecordingPage> m_ui;
    int m_recordingState = 5;
    bool m_syncRecording = false;
    std::vector<CString> m_stateNames;
    /// Has the focus in their place while neither can be pressed.
    QPointer<QWidget> m_heldFocus;
};
