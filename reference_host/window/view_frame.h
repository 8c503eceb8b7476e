// The frame in the main window that a display's view sits in.
#pragma once

#include "reference_host/displays/display.h"

#include <QWidget>

#include <memory>
#include <optional>
#include <string>

#include <VordalBaseR/CDataId.h>

class QVBoxLayout;

namespace vordal {

/// Opens one display, keeps its view as large as itself and gives it up when the host removes it. Window thread; the
/// host must outlive it.
class ViewFrame final : public QWidget, private DisplayHolder
{
    Q_OBJECT

public:
    explicit ViewFrame(QWidget* parent = nullptr);
    ~ViewFrame() override;

    /// Opens the display and runs its initial update; again once it was closed. False, and why in one line, when there
    /// is no such view.
    bool Open(DisplayContent content, std::string& reason);
    /// Raises the hint that tells the view which device it is to show; without a display it does nothing.
    void SelectDevice(CDataId const& device);
    /// Closes the display; what it stored stays to be asked for. Twice is fine.
    void Close();

    /// Null before Open and once the display was removed.
    Display* Shown() const { return m_display.get(); }
    /// What is to be stored with the view, also when it was closed or removed.
    CAttributeMap StoredAttributes() const;
    /// The device that the view shows, as it keeps it among its attributes; nothing while it shows none.
    std::optional<CDataId> ShownDevice() const;

    QSize sizeHint() const override;

Q_SIGNALS:
    void TitleChanged(QString const& title);
    /// The host has removed the display; it is gone.
    void Removed();

private:
    QWidget* FrameWidget() override { return this; }
    void OnTitle(CString const& title) override;
    void OnShowNormal() override;
    void OnBringToTop() override;
    void OnRemoved() override;
    void OnClose() override;

    QVBoxLayout* m_layout;
    CAttributeMap m_stored; ///< once the display has gone
    std::unique_ptr<Display> m_display;
};

} // namespace vordal
