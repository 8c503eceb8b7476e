// What the dialogs of presets need of host, project and disk: done elsewhere, answered on the window thread.
#pragma once

#include "cli/window/disk_thread.h"
#include "cli/window/window_answers.h"
#include "operation/preset_load.h"
#include "operation/preset_shelf.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <QComboBox>
#include <QString>

#include <functional>
#include <string>
#include <vector>

namespace vordal {
class DevicePanel;
}

namespace qx5::cli {

class WindowSession;

/// A sonar of the session as it stands.
struct SonarNow
{
    bool isThere = false;
    bool isConnected = false;
    CAttributeMap tree;
};

/// Why nothing can be taken from it or loaded into it, in one line; empty when that can be.
QString WhyNotNow(SonarNow const& now);

/// Each call returns at once. An answer is called later on the window thread, if its asker still lives. Window thread;
/// session and panel outlive it.
class PresetWork
{
public:
    using Answer = std::function<void()>;
    using Refused = std::function<void(QString const& line)>;

    PresetWork(WindowSession& session, vordal::DevicePanel const& sonars) : m_session(session), m_sonars(sonars) {}

    /// Whether there is a project that keeps presets, and the line that says that there is none.
    bool HasProject() const;
    static QString NoProject();
    /// Has the task run on the presets of the project, and then what it gives; what it throws is a line. Without a
    /// project the line says that.
    void OnShelf(QObject& asker, std::function<Answer(operation::PresetShelf&)> task, Refused refused);
    /// The same of a task that reads or writes files.
    void OnDisk(QObject& asker, std::function<Answer()> task, Refused refused);
    /// How the sonar stands.
    void Look(QObject& asker, CDataId const& sonar, std::function<void(SonarNow const&)> answer);
    /// PresetLoads::Load.
    void Load(QObject& asker, CDataId const& sonar, operation::Preset const& preset,
              operation::PresetLoads::Keys const& keys, operation::PresetLoads::Done done);

    struct ListedSonar
    {
        CDataId id;
        QString name; ///< with a word that it is simulated, if it is
    };
    /// As the window lists them.
    std::vector<ListedSonar> Sonars() const;
    /// Whose settings a preset would be, as it stands; the name is that of the preset.
    operation::Preset Take(CDataId const& sonar, CAttributeMap const& tree, std::string const& name) const;
    /// UTF-8; empty for a sonar that is not of the session.
    std::string ClassOf(CDataId const& sonar) const;

private:
    WindowSession& m_session;
    vordal::DevicePanel const& m_sonars;
    WindowAnswers m_answers;
    DiskThread m_disk;
};

/// A list of the sonars to choose from, as they are when it is made. Window thread.
class SonarList final : public QComboBox
{
public:
    SonarList(PresetWork const& work, CDataId const& chosen, QString const& name, QWidget* parent);

    /// No sonar's when there is none.
    CDataId Chosen() const;

private:
    std::vector<PresetWork::ListedSonar> const m_sonars;
};

} // namespace qx5::cli
