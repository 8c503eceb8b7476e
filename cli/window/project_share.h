// The session of a window on a broker, beside its work.
#pragma once

#include "authority/shore_messages.h"
#include "cli/window/disk_thread.h"
#include "cli/window/window_answers.h"
#include "vessel/share_setup.h"
#include "vessel/vessel.h"

#include <VordalBaseR/CDataId.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace qx5::cli {

class WindowSession;

/// How it stands that a project is shared.
struct ShareState
{
    bool isShared = false; ///< or about to be
    bool isConnected = false;
    std::string where;   ///< "mqtts://broker.example:8883 as north/Vega"
    std::string problem; ///< why it is not connected, or not shared; one line, empty when nothing is wrong
};

/// A sonar of the session, and who commands it.
struct SonarLease
{
    CDataId sonar;
    std::string name;
    authority::LeaseNews lease;
};

/// Files, outbox and line are the business of a thread of its own: nothing here waits but the destructor. Between the
/// session's Begin and its End. Window thread.
class ProjectShare
{
public:
    /// `version` of the program is told ashore.
    ProjectShare(WindowSession& session, std::string version);
    ProjectShare(ProjectShare const&) = delete;
    ProjectShare& operator=(ProjectShare const&) = delete;
    /// Ends, and waits for that: two seconds, if the line takes no last words.
    ~ProjectShare();

    /// As the project says; empty texts where it says nothing. What it says that this program does not know is an
    /// event.
    vessel::ShareSetup Setup() const;
    /// Shares the session so, in place of how it is shared now; the project keeps that once our own files and the
    /// outbox have turned out good. Whether they have, and how the line is, State tells. False, and one line in
    /// `error`, when something of it is missing; nothing is changed then.
    bool Begin(vessel::ShareSetup setup, std::string& error);
    void End();
    ShareState State() const;

    /// Has it read how all leases stand; Leases has that soon after.
    void LookAtLeases();
    /// Of the sonars of the session, as they stood when they were read last; none while it is not shared.
    std::vector<SonarLease> const& Leases() const { return m_leases; }
    /// What whoever stands aboard does with a lease: takes it from whoever has it, gives it back, grants or refuses it
    /// to who asks. Nothing while it is not shared.
    void Do(authority::LeaseVerb verb, CDataId const& sonar);

private:
    /// One time that it is shared, as its thread and those of the vessel leave it; outlives this in a call of theirs
    /// that is under way.
    struct Sharing
    {
        mutable std::mutex mutex; ///< guards what follows
        ShareState state;
    };

    WindowSession& m_session;
    std::string const m_version;
    std::shared_ptr<Sharing> m_sharing; ///< null before the first and when it was ended
    std::vector<SonarLease> m_leases;
    bool m_isLooking = false;
    WindowAnswers m_answers;
    std::unique_ptr<vessel::Vessel> m_vessel; ///< the thread's
    DiskThread m_thread;                      // the last: its tasks use all the others
};

} // namespace qx5::cli
