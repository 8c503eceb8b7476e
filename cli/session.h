// A live host with the plug-in and one sonar on a TCP connection, as `qx5 run` and `qx5 send` need it.
#pragma once

#include "cli/switched_on.h"
#include "operation/endpoint.h"
#include "operation/operator_desk.h"
#include "recording/recorders.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/project/live_host.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <VordalBaseR/CString.h>
#include <VordalSubscriberR/Subscription.h>

namespace qx5::cli {

using operation::ParseEndpoint;

/// What a session saw, in the order in which it happened.
struct SessionEvent
{
    enum class Kind
    {
        Sent,     ///< a frame left
        Echoed,   ///< the plug-in reported what was asked for
        Received, ///< a frame arrived
        Asked,    ///< the plug-in asked the host for a request, on behalf of its terminal
        Shown,    ///< the plug-in asked the application for something about its displays
        Dropped,  ///< the plug-in dropped what was asked for, because a value that it needs is found nowhere
        Refused,  ///< what was asked for is locked
    };
    Kind kind;
    std::vector<unsigned char> frame; ///< of Sent and Received
    CAttributeMap tree;               ///< of Echoed and Asked
    unsigned flags = 0;               ///< of Echoed
    std::string text = {};            ///< of Shown, Dropped and Refused
};

/// Loads the plug-in, makes one sonar device and connects it. Used from one thread; events come from others.
class Session final : private vordal::HostObserver
{
public:
    using Listener = std::function<void(SessionEvent const&)>;

    /// `listener` is called for each event, one call at a time, from any thread; it must not call the session.
    /// `guid` is the application's; an empty one stands for the one that the host makes. `origin` is where its requests
    /// come from.
    explicit Session(Listener listener, CString guid = {},
                     vordal::RequestOrigin origin = vordal::RequestOrigin::Terminal);
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;
    ~Session() override;

    /// False, and one line in `error`, when the plug-in or its device class cannot be had.
    bool LoadPlugin(std::string const& path, std::string& error);
    /// Takes up what a project keeps of the sonar, and its transmit lock, unless the sonar is simulated; before
    /// Connect. Who asks for what is logged in the project from here on. False, and one line in `error`, when the file
    /// cannot be used.
    bool OpenProject(std::string const& file, bool isSimulated, std::string& error);
    /// Keeps the device's attributes in the project, and the log; without one it does nothing. False, and why, when
    /// that failed.
    bool SaveProject(std::string& error);
    /// What passes from Connect on goes into these, too, until the session ends; before Connect.
    void RecordInto(std::shared_ptr<recording::Recorders> recorders);
    /// Who hears of what is asked for, in place of recorders; before Connect.
    void ListenWith(std::shared_ptr<operation::ActionListener> listener) { m_desk.Tap().Set(std::move(listener)); }
    /// Makes the sonar's device, begins to connect and returns; once. What follows here is for after it.
    void Connect(std::string const& host, std::uint16_t port);
    /// Loads the plug-in, connects and waits for the sonar to tell of itself, as commands do that ask one sonar for
    /// something. False, and one line in `error`, where there is no plug-in or no sonar.
    bool Reach(std::string const& plugin, std::string const& host, std::uint16_t port, std::chrono::milliseconds limit,
               std::chrono::milliseconds introduction, std::string& error);
    /// Waits until the connection stands; false, and why, when it does not within the limit.
    bool WaitForConnection(std::chrono::milliseconds limit, std::string& error);
    /// Waits until the sonar has told who it is and the device's tree has it, or the limit is over.
    void WaitForIntroduction(std::chrono::milliseconds limit);
    /// Merges the tree into the device's, as if the sonar had reported it.
    void Store(CAttributeMap const& tree);
    /// Waits until all that was sent has been taken by the system; false when it was not within the limit.
    bool WaitUntilSent(std::chrono::milliseconds limit);
    /// Waits until `holds` is true; false when it is not within the limit or the connection is lost before. `holds` is
    /// asked after each event, with the session's lock held: it must not call the session.
    bool WaitFor(std::function<bool()> const& holds, std::chrono::milliseconds limit);
    bool IsConnected();
    /// `listener` is called after each change of the connection, when IsConnected tells of it, on the link's thread; it
    /// must not wait. Before Connect.
    void WhenStatusChanges(std::function<void()> listener) { m_onStatus = std::move(listener); }
    /// Waits until the connection stands again, however often it does not come up before; false when it does not within
    /// the limit.
    bool WaitUntilConnected(std::chrono::milliseconds limit);

    /// Hands the request to the device as a view does, and returns when the device has carried it out. False when an
    /// exception ended it; it has been logged.
    bool Request(CAttributeMap const& request) { return RequestAs(m_origin, request); }
    /// The same as if another part of the host asked.
    bool RequestAs(vordal::RequestOrigin who, CAttributeMap const& request);
    /// Takes back the newest step of what was asked for here, or asks for it again, when the results of all before are
    /// known. The lines say what could not be done.
    std::vector<std::string> Undo() { return Step(&operation::SessionHistory::Undo); }
    std::vector<std::string> Redo() { return Step(&operation::SessionHistory::Redo); }
    /// Until it is known what became of all requests.
    void WaitForResults();
    /// What was asked for, from the oldest to the newest.
    std::deque<operation::HistoryStep> Steps();
    /// From here on only the operator asks, for so long or until it is given back.
    void TakeLease(std::optional<double> seconds);
    /// False when there is none.
    bool GiveBackLease();
    /// Gives the sonar an operator terminal with presets, and the host an application with displays. Once;
    /// what the plug-in asks for is then told, too.
    void AttachTerminal();
    /// Hands a code to the terminal's stream and returns when the plug-in has acted on it.
    void EnterCode(std::uint32_t code);
    /// Of the sonar's device, once the plug-in is loaded.
    CString SonarClass() const { return m_project.devices.front().className; }
    /// The device's tree as it stands.
    CAttributeMap Attributes();
    vordal::LinkCounters Counters() const;
    /// What it has switched on at the sonar.
    SwitchedOn const& Switches() const { return m_switches; }
    /// The host, and what surrounds its requests; for who listens beside this.
    vordal::Host& Host() { return m_host; }
    operation::OperatorDesk& Desk() { return m_desk; }
    /// Runs the task on the host thread, with the host and the sonar, and waits for it.
    void OnHost(std::function<void(vordal::Host&, Device&)> const& task);

private:
    class Monitor;

    void OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags) override;
    void OnHostSet(CDataId const& dataId, CAttributeMap const& tree, unsigned flags) override;
    void OnUpdateDisplays(int hint) override;
    void OnSelectDisplay(CString const& name) override;
    void OnEnableDisplay(CString const& name) override;
    void OnAddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                      CString const& section) override;
    void OnSetLightMode(int mode, bool redraw) override;
    void OnRequestFailed(BaseDevice& device, CAttributeMap const& request, std::exception_ptr failure) override;
    void OnRequestDropped(BaseDevice& device, AttributeKey const& asked, AttributeKey const& missing) override;
    void OnRequestRefused(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                          std::string const& reason) override;
    void OnDeviceIdChange();
    std::vector<std::string> Step(void (operation::SessionHistory::*step)());
    void TellShown(std::string text);
    void Tell(SessionEvent const& event);

    Listener m_listener;
    std::mutex m_listenerMutex;

    std::function<void()> m_onStatus; ///< empty for nobody; set before there is a link

    std::mutex m_stateMutex;
    std::condition_variable m_stateChanged;
    vordal::LinkStatus m_status;
    std::string m_endpoint; ///< where Connect was told to go; for messages
    std::atomic<bool> m_hasTerminal = false;
    bool m_introduced = false;
    bool m_requestFailed = false;

    CString m_guid; ///< of the application
    vordal::RequestOrigin const m_origin;
    SwitchedOn m_switches;
    std::shared_ptr<recording::Recorders> m_recorders; ///< null for none; set before there is a link
    operation::OperatorDesk m_desk;
    vordal::LiveHost m_host;
    vordal::StoredProject m_project; ///< the sonar, with what is stored of it
    std::unique_ptr<vordal::ProjectStore> m_store;
    Device* m_device = nullptr;
    vordal::SonarLink* m_link = nullptr;
    Subscription m_introduction;
};

} // namespace qx5::cli
