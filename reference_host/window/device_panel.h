// The vessels, their sonars and how each connection stands.
#pragma once

#include "reference_host/link/sonar_link.h"

#include <VordalBaseR/CDataId.h>

#include <QString>
#include <QTimer>
#include <QWidget>

#include <vector>

class QLabel;
class QTreeWidget;
class QTreeWidgetItem;

namespace vordal {

/// A sonar as the window lists it.
struct ListedDevice
{
    CDataId id;
    QString name;
    QString endpoint; ///< where its connection goes; may be empty
};

struct ListedVessel
{
    unsigned short number = 1;
    QString name;
    std::vector<ListedDevice> devices;
};

/// One line on how a connection stands: "connected", "waiting, tries again in 2.0 s".
QString StatusText(LinkStatus const& status);

/// A list with a line for each vessel and each device; below it, in full, what there is to say of the selected one,
/// which is the one that is operated.
/// Window thread.
class DevicePanel final : public QWidget
{
    Q_OBJECT

public:
    explicit DevicePanel(std::vector<ListedVessel> vessels, QWidget* parent = nullptr);

    void SetStatus(CDataId const& device, LinkStatus const& status);
    /// Marks the device that the view shows; an id that is not listed marks none.
    void MarkShown(CDataId const& device);
    void MarkActiveVessel(unsigned short number);

    std::vector<ListedVessel> const& Vessels() const { return m_vessels; }
    /// How a device's connection stands; Closed for one that is not listed.
    LinkState StateOf(CDataId const& device) const;

Q_SIGNALS:
    /// The operator has chosen a sonar, or a vessel by its number.
    void SonarChosen(CDataId const& device);
    void VesselChosen(unsigned short number);

protected:
    void changeEvent(QEvent* event) override;
    /// Keys go from sonar to sonar, whatever vessels lie between, and choose it.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QTreeWidgetItem* ItemOf(CDataId const& device) const;
    void Choose(QTreeWidgetItem const& item);
    /// The selection is on the sonar that is shown, and nowhere else.
    void SelectShown();
    void Paint();
    void Explain();

    std::vector<ListedVessel> m_vessels;
    QTreeWidget* m_list;
    QLabel* m_explained;
    CDataId m_shown;
    unsigned short m_activeVessel = 0;
    struct Row
    {
        CDataId id;
        QTreeWidgetItem* item = nullptr;
        QString endpoint;
        LinkStatus status;
    };
    std::vector<Row> m_rows;
    QTimer m_notFollowed;
};

} // namespace vordal
