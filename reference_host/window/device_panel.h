// The vessels, their sonars and how each connection stands.
#pragma once

#include "reference_host/link/sonar_link.h"

#include <VordalBaseR/CDataId.h>

#include <QElapsedTimer>
#include <QIcon>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>
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
    bool simulated = false;
};

struct ListedVessel
{
    unsigned short number = 1;
    QString name;
    std::vector<ListedDevice> devices;
};

/// What is known of a device beyond its connection.
struct DeviceActivity
{
    bool wasConnected = false;       ///< now or before
    bool silent = false;             ///< connected, should ping, and tells nothing
    std::optional<bool> pingsOn;     ///< as it told last
    std::optional<double> pingRate;  ///< pings in a second; none unless it tells of its pings
    std::uint64_t pings = 0;         ///< all in all
    std::optional<double> sinceData; ///< seconds since it told something; none: it has told nothing

    bool operator==(DeviceActivity const&) const = default;
};

/// "< 1 s", "12 s", "2 min 5 s", "3 h 12 min".
QString DurationText(double seconds);

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

    /// Another list in the place of the former one; what is known of a device that stays is kept.
    void SetVessels(std::vector<ListedVessel> vessels);
    void SetStatus(CDataId const& device, LinkStatus const& status);
    /// May come ten times a second.
    void SetActivity(CDataId const& device, DeviceActivity const& activity);
    /// Marks the device that the view shows; an id that is not listed marks none.
    void MarkShown(CDataId const& device);
    void MarkActiveVessel(unsigned short number);

    std::vector<ListedVessel> const& Vessels() const { return m_vessels; }
    bool IsSimulated(CDataId const& device) const;
    /// How a device's connection stands; Closed for one that is not listed.
    LinkState StateOf(CDataId const& device) const;

Q_SIGNALS:
    /// The operator has chosen a sonar, or a vessel by its number.
    void SonarChosen(CDataId const& device);
    void VesselChosen(unsigned short number);
    /// The operator asks for a menu at that place of the screen, after the sonar under the hand was chosen as by a
    /// click; nothing of the kind is chosen where none is.
    void MenuAsked(QPoint const& place);

protected:
    void changeEvent(QEvent* event) override;
    /// Keys go from sonar to sonar, whatever vessels lie between, and choose it.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void FillList();
    void FitNames();
    void Choose(QTreeWidgetItem const& item);
    void ChooseSelected();
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
        QString name;
        QString endpoint;
        LinkStatus status;
        bool simulated = false;
        std::optional<DeviceActivity> activity;
        QElapsedTimer spoken; ///< since its accessible text was made
    };
    static QString ConditionOf(Row const& row);
    static QString PingsOf(Row const& row);
    static QString DataOf(Row const& row);
    Row const* Find(CDataId const& device) const;
    Row* Find(CDataId const& device) { return const_cast<Row*>(std::as_const(*this).Find(device)); }
    void PaintRow(Row& row, bool isWhole);
    /// What a screen reader says of the row.
    void Speak(Row& row, QString const& condition, QString const& pings, QString const& told) const;
    std::vector<Row> m_rows;
    std::unordered_map<std::uint64_t, std::size_t> m_places; ///< in m_rows, by id
    /// Marks of connections that were drawn, by state and whether the sonar is silent.
    std::map<std::pair<LinkState, bool>, QIcon> m_stateMarks;
    qulonglong m_painted = 0; ///< rows
    static constexpr std::size_t PingSteps = 4;
    std::array<QIcon, PingSteps> m_pingMarks;
    QTimer m_notFollowed;
};

} // namespace vordal
