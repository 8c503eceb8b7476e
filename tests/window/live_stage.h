// Host, window and view on three simulated sonars over TCP, for tests of all of it.
#pragma once

#include "frames.h"

#include <cli/window/operator_panes.h>
#include <cli/window/shown_view.h>
#include <cli/window/window_session.h>
#include <reference_host/controls/window_thread.h>
#include <reference_host/window/attribute_browser.h>
#include <simulator/sonar_server.h>

#include <QLabel>
#include <QMetaObject>
#include <QSlider>

#include <array>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::test {

inline CDataId const hull(1, 78, 1, 1);
inline CDataId const pole(1, 78, 2, 1);
inline CDataId const rov(1, 78, 1, 2);

/// A simulated sonar that keeps the frames of one command.
class Sonar
{
public:
    Sonar()
        : m_server(TellingPings(), [this](simulator::SonarEvent const& event) {
              if (event.kind == simulator::EventKind::Record) {
                  std::lock_guard const lock(m_mutex);
                  m_frames.emplace_back(event.frame->bytes.begin(), event.frame->bytes.end());
              }
          })
    {
        EXPECT_FALSE(m_server.Start().has_value());
    }

    std::uint16_t Port() const { return m_server.Port(); }
    simulator::SonarServer& Server() { return m_server; }
    /// Payloads of the remote-control records of that command, in order.
    std::vector<std::vector<unsigned char>> Payloads(unsigned command) const
    {
        std::lock_guard const lock(m_mutex);
        std::vector<std::vector<unsigned char>> payloads;
        for (auto const& frame : m_frames) {
            if (frame.size() >= 92 && (frame[64] | frame[65] << 8) == static_cast<int>(command)) {
                payloads.emplace_back(frame.begin() + 88, frame.end() - 4);
            }
        }
        return payloads;
    }

    /// A line of the simulator's own terminal; true when it is taken.
    bool Tell(std::string const& line)
    {
        std::string answer;
        return m_server.Command(line, answer);
    }

private:
    static simulator::ServerOptions TellingPings()
    {
        simulator::ServerOptions options;
        options.announcePings = true;
        return options;
    }

    mutable std::mutex m_mutex;
    std::vector<std::vector<unsigned char>> m_frames;
    simulator::SonarServer m_server; // last: its thread uses what stands above
};

/// Host, window and view on three sonars, as `qx5 run` puts them together.
class Stage
{
public:
    explicit Stage(std::string const& project = {}, cli::RecordingSetup recording = {})
    {
        std::string error;
        session.SetRecording(std::move(recording));
        EXPECT_TRUE(session.LoadPlugins({QX5_PLUGIN_FILE}, 1, error)) << error;
        EXPECT_TRUE(session.Begin(Fleet(), project, error)) << error;
        thread = std::make_unique<vordal::WindowThread>(session.Host());
        window = std::make_unique<vordal::MainWindow>(vordal::WindowSetup{.vessels = session.Listed(),
                                                                          .lightMode = 4,
                                                                          .activeVessel = session.ActiveVessel(),
                                                                          .shownDevice = hull},
                                                      feed, session.Requests());
        panes = std::make_unique<cli::OperatorPanes>(session, *window);
        view = std::make_unique<cli::ShownView>(session, *window);
        thread->SetDeliveredHandler([this] { view->Follow(); });
        view->OpenFirst(hull);
        window->show();
    }
    ~Stage() { End(); }

    vordal::StoredProject Fleet()
    {
        CString const sonarClass = session.SonarClass();
        vordal::StoredProject fleet;
        fleet.vessels = {cli::MakeVessel(1, L"Surveyor", false), cli::MakeVessel(2, L"ROV", true)};
        AddConnected(fleet, {hull, sonarClass, L"Hull sonar", {}, true, {}}, L"127.0.0.1", sonars[0].Port());
        AddConnected(fleet, {pole, sonarClass, L"Pole sonar", {}, true, {}}, L"127.0.0.1", sonars[1].Port());
        AddConnected(fleet, {rov, sonarClass, L"ROV sonar", {}, true, {}}, L"127.0.0.1", sonars[2].Port());
        return fleet;
    }

    bool IsConnected(CDataId const& device) const
    {
        return window->Devices().StateOf(device) == vordal::LinkState::Connected;
    }
    /// All sonars are connected, and the shown one's settings have reached the view.
    bool IsReady() const
    {
        return IsConnected(hull) && IsConnected(pole) && IsConnected(rov) &&
               window->Attributes().Model().NodeCount() > 20 && Label("powerValue") != QString();
    }

    QString Label(char const* name) const { return Control<QLabel>(name).text(); }
    template <typename T>
    T& Control(char const* name) const
    {
        auto* const control = view->Frame().findChild<T*>(QString::fromLatin1(name));
        if (control == nullptr) {
            throw std::runtime_error(std::string("the view has no ") + name);
        }
        return *control;
    }
    void Scroll(char const* slider, int kind, int position = 0)
    {
        EXPECT_TRUE(
            QMetaObject::invokeMethod(&Control<QSlider>(slider), "scroll", Q_ARG(int, kind), Q_ARG(int, position)));
    }

    /// Whether the list of events has a line with that text.
    bool HasEvent(std::string const& text) const
    {
        auto const& model = panes->Events().Model();
        for (int row = 0; row < model.rowCount(); ++row) {
            for (int column = 0; column < model.columnCount(); ++column) {
                if (model.index(row, column).data().toString().contains(QString::fromStdString(text))) {
                    return true;
                }
            }
        }
        return false;
    }
    bool WaitForEvent(std::string const& text) const
    {
        return RunUntil([&] { return HasEvent(text); });
    }

    /// As when the operator closes the window.
    void End()
    {
        if (window == nullptr) {
            return;
        }
        auto const memory = window->SaveMemory();
        session.WindowMemory().assign(memory.begin(), memory.end());
        view.reset();
        panes.reset();
        window.reset();
        thread.reset();
        std::string error;
        EXPECT_TRUE(session.End(error)) << error;
    }

    std::array<Sonar, 3> sonars;
    std::shared_ptr<vordal::WindowFeed> feed = std::make_shared<vordal::WindowFeed>();
    cli::WindowSession session{feed, 4};
    std::unique_ptr<vordal::WindowThread> thread;
    std::unique_ptr<vordal::MainWindow> window;
    std::unique_ptr<cli::OperatorPanes> panes;
    std::unique_ptr<cli::ShownView> view;
};

} // namespace qx5::test
