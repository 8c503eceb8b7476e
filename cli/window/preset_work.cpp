// What the dialogs of presets need of host, project and disk: done elsewhere, answered on the window thread.
#include "preset_work.h"

#include "window_session.h"

#include "reference_host/window/device_panel.h"

#include <tvcoreR/Utf8.h>
#include <vordalhostdllR/DataManager.h>

#include <QPointer>

#include <chrono>
#include <exception>
#include <utility>

namespace qx5::cli {

namespace {

using operation::Preset;
using operation::PresetLoadOutcome;
using operation::PresetLoads;
using operation::PresetShelf;

/// How answers come to one asker; to be called on any thread.
class Mail
{
public:
    Mail(WindowAnswers const& answers, QObject& asker) : m_post(answers.Poster()), m_asker(&asker) {}

    void Post(PresetWork::Answer answer) const
    {
        m_post([asker = m_asker, answer = std::move(answer)] {
            if (asker) {
                answer();
            }
        });
    }
    /// Answers with what the task gives, or with what it throws.
    template <typename Task>
    void PostOf(Task const& task, PresetWork::Refused const& refused) const
    {
        try {
            Post(task());
        } catch (std::exception const& failure) {
            Post([refused, line = QString::fromStdString(failure.what())] { refused(line); });
        }
    }

private:
    std::function<void(WindowAnswers::Answer)> m_post;
    QPointer<QObject> m_asker;
};

} // namespace

QString WhyNotNow(SonarNow const& now)
{
    return !now.isThere       ? QObject::tr("The sonar is not there any more.")
           : !now.isConnected ? QObject::tr("The sonar is not connected: what it has now is not known.")
                              : QString();
}

QString PresetWork::NoProject()
{
    return QObject::tr("No project is open: presets are kept in a project (qx5 run --project FILE) or in a file.");
}

bool PresetWork::HasProject() const
{
    return m_session.HasProject();
}

void PresetWork::OnShelf(QObject& asker, std::function<Answer(PresetShelf&)> task, Refused refused)
{
    if (!HasProject()) {
        refused(NoProject());
        return;
    }
    m_session.WithProject([mail = Mail(m_answers, asker), task = std::move(task),
                           refused = std::move(refused)](vordal::ProjectStore& store) {
        PresetShelf shelf(store);
        mail.PostOf([&] { return task(shelf); }, refused);
    });
}

void PresetWork::OnDisk(QObject& asker, std::function<Answer()> task, Refused refused)
{
    m_disk.Do([mail = Mail(m_answers, asker), task = std::move(task), refused = std::move(refused)] {
        mail.PostOf(task, refused);
    });
}

void PresetWork::Look(QObject& asker, CDataId const& sonar, std::function<void(SonarNow const&)> answer)
{
    bool const isListed = m_session.Find(sonar) != nullptr;
    m_session.Host().Post([&desk = m_session.Desk(), mail = Mail(m_answers, asker), sonar, isListed, answer] {
        SonarNow now;
        now.isThere = isListed && DataManager::GetDataManager().FindDevice(sonar) != nullptr;
        now.isConnected = now.isThere && desk.Watch().StateOf(sonar).link.state == vordal::LinkState::Connected;
        if (now.isThere) {
            DataManager::GetDataManager().GetAttributeMap(sonar, now.tree);
        }
        mail.Post([answer, now] { answer(now); });
    });
}

void PresetWork::Load(QObject& asker, CDataId const& sonar, Preset const& preset, PresetLoads::Keys const& keys,
                      PresetLoads::Done done)
{
    m_session.Host().Post([&desk = m_session.Desk(), mail = Mail(m_answers, asker), sonar, preset, keys, done] {
        desk.Presets().Load(sonar, preset, keys, [mail, done](PresetLoadOutcome const& outcome) {
            mail.Post([done, outcome] { done(outcome); });
        });
    });
}

std::vector<PresetWork::ListedSonar> PresetWork::Sonars() const
{
    std::vector<ListedSonar> sonars;
    for (auto const& vessel : m_sonars.Vessels()) {
        for (auto const& device : vessel.devices) {
            if (IsSonar(device.id)) {
                sonars.push_back(
                    {device.id, device.simulated ? QObject::tr("%1 (simulated)").arg(device.name) : device.name});
            }
        }
    }
    return sonars;
}

std::string PresetWork::ClassOf(CDataId const& sonar) const
{
    auto const* const device = m_session.Find(sonar);
    return device != nullptr ? tvcore::ToUtf8(device->className) : std::string();
}

SonarList::SonarList(PresetWork const& work, CDataId const& chosen, QString const& name, QWidget* parent)
    : QComboBox(parent), m_sonars(work.Sonars())
{
    setObjectName(name);
    for (auto const& sonar : m_sonars) {
        addItem(sonar.name);
        if (sonar.id == chosen) {
            setCurrentIndex(count() - 1);
        }
    }
}

CDataId SonarList::Chosen() const
{
    auto const index = currentIndex();
    return index >= 0 ? m_sonars[static_cast<std::size_t>(index)].id : CDataId();
}

Preset PresetWork::Take(CDataId const& sonar, CAttributeMap const& tree, std::string const& name) const
{
    auto const* const device = m_session.Find(sonar);
    std::chrono::duration<double> const utc = std::chrono::system_clock::now().time_since_epoch();
    return operation::TakePreset(tree, {.name = name,
                                        .utcSeconds = utc.count(),
                                        .sonar = device != nullptr ? tvcore::ToUtf8(device->name) : std::string(),
                                        .sonarClass = ClassOf(sonar)});
}

} // namespace qx5::cli
