// The host with the plug-in and the project, and the operator's window on it, as `qx5 run` puts them together.
#pragma once

#include "request_watch.h"
#include "sonars.h"

#include "cli/window/shown_view.h"
#include "cli/window/window_session.h"
#include "reference_host/controls/window_thread.h"
#include "reference_host/window/main_window.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QTimer>
#include <QWidget>

namespace qx5::soak {

CDataId IdOf(std::size_t sonar);

/// From the loading of the plug-in to its unloading. Window thread. All but the destructor throw Broken.
class Stage
{
public:
    /// Opens the project in that folder; makes it when there is none, or when a new one is wanted.
    Stage(Sonars& sonars, RequestWatch& watch, std::filesystem::path const& folder, bool isNew);
    Stage(Stage const&) = delete;
    Stage& operator=(Stage const&) = delete;
    /// Without saving what was not saved.
    ~Stage();

    /// Closes the window, saves the project, takes the plug-in out. All sonars must be there.
    void End();

    vordal::Host& Host() { return m_session->Host(); }
    vordal::MainWindow& Window() { return *m_window; }
    cli::WindowSession& Session() { return *m_session; }
    /// A control of the view; null when there is none, or no view.
    QWidget* Control(std::string_view page, int id);
    QWidget* Tabs();
    void OpenView(std::size_t sonar);
    void CloseView();

    bool IsThere(std::size_t sonar) const { return !m_removed[sonar].has_value(); }
    void RemoveSonar(std::size_t sonar);
    /// Puts it back with the settings that it had, and lets it take its turns.
    void AddSonar(std::size_t sonar);

    /// Whether its connection stands and all that was sent has been taken by the system.
    bool IsQuiet(std::size_t sonar);
    /// The device's tree.
    CAttributeMap TreeOf(std::size_t sonar);
    /// A code of the sonar's operator terminal.
    void EnterCode(std::size_t sonar, std::uint32_t code);

    /// The file of contacts, by the name that the plug-in knows it under.
    CString const& ContactFile() const { return m_contactFile; }

private:
    struct Removed
    {
        CAttributeMap attributes;
        BaseIOHandler* port = nullptr; ///< the project's
    };

    /// What a new project begins with.
    vordal::StoredProject Fleet();
    void Remember();

    Sonars& m_sonars;
    std::filesystem::path const m_folder;
    CString m_contactFile;
    std::array<std::optional<Removed>, SonarCount> m_removed;
    CString m_sonarClass;
    std::shared_ptr<vordal::WindowFeed> m_feed = std::make_shared<vordal::WindowFeed>();
    std::unique_ptr<cli::WindowSession> m_session;
    std::unique_ptr<vordal::WindowThread> m_thread;
    std::unique_ptr<vordal::MainWindow> m_window;
    std::unique_ptr<cli::ShownView> m_view;
    QTimer m_saving;
    /// Follows the stream of one sonar.
    class StreamWatch;
    std::vector<std::unique_ptr<StreamWatch>> m_streams; ///< host thread
};

} // namespace qx5::soak
