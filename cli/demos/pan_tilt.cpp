// `qx5 run --demo pan-tilt`: pings only while the pan-and-tilt unit scans, and the hoist's values as a data block.
#include "cli/demos/demos.h"
#include "cli/event_text.h"
#include "cli/key_values.h"
#include "cli/output.h"
#include "cli/plugins.h"
#include "cli/session.h"
#include "reference_host/core/pan_tilt_unit.h"

#include <simulator/sonar_console.h>
#include <simulator/sonar_server.h>

#include <bit>
#include <condition_variable>
#include <cstring>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <fmt/format.h>
#include <protocol/bytes.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;

/// What happened since the last look, from all threads.
class Happenings
{
public:
    void OnSession(SessionEvent const& event)
    {
        if (event.kind == SessionEvent::Kind::Received) {
            return;
        }
        std::lock_guard const lock(m_mutex);
        m_sent += event.kind == SessionEvent::Kind::Sent ? 1U : 0U;
        m_lines += EventText(event, "  ", false);
    }

    void OnSonar(simulator::SonarEvent const& event)
    {
        if (event.kind != simulator::EventKind::Record) {
            return;
        }
        std::lock_guard const lock(m_mutex);
        m_understood.push_back(simulator::EventLine(event, {}));
        m_changed.notify_all();
    }

    /// Waits until the sonar has taken what was sent; prints it all and forgets it.
    void Print()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, 2s, [this] { return m_understood.size() >= m_sent; });
        fmt::print("{}", m_lines.empty() ? "  nothing is sent and nothing echoed\n" : m_lines);
        for (std::string const& line : m_understood) {
            fmt::print("  the sonar understood\n    {}\n", line);
        }
        fmt::print("\n");
        FlushOutput();
        Clear();
    }

    void Forget()
    {
        std::lock_guard const lock(m_mutex);
        Clear();
    }

private:
    void Clear()
    {
        m_lines.clear();
        m_understood.clear();
        m_sent = 0;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_lines;
    std::vector<std::string> m_understood;
    std::size_t m_sent = 0;
};

/// One item of the hoist's block for people.
std::string ItemText(CDataItem const& item)
{
    std::span const bytes(static_cast<unsigned char const*>(item.data), item.data != nullptr ? item.size : 0);
    if (item.type == DATA_INT32 && bytes.size() == 4) {
        return fmt::format("{}", std::bit_cast<std::int32_t>(protocol::GetU32LE(bytes, 0)));
    }
    if (item.type == DATA_DOUBLE && bytes.size() == 8) {
        return fmt::format("{}", protocol::GetF64LE(bytes, 0));
    }
    return "?";
}

class PanTiltShow
{
public:
    PanTiltShow(Session& session, Happenings& happenings) : m_session(session), m_happenings(happenings) {}

    void Mount()
    {
        m_session.OnHost([this](vordal::Host& host, Device& sonar) {
            m_unit.emplace(host, CDataId(1, 1112, 1, 1), CDataId(1, 112, 1, 1));
            m_unit->Carry(sonar, CDataId(1, 1011, 1, 1));
            host.ApplyDevice(sonar, true);
        });
        m_happenings.Forget();
    }

    void Scan(std::string_view title, bool scanning)
    {
        fmt::print("{}\n", title);
        m_session.OnHost([this, scanning](vordal::Host&, Device&) { m_unit->SetScanning(scanning); });
        m_happenings.Print();
    }

    bool Request(std::string_view title, std::initializer_list<std::string> keyValues)
    {
        CAttributeMap tree;
        fmt::print("{}\n>", title);
        for (std::string const& keyValue : keyValues) {
            std::string error;
            if (!AddKeyValue(tree, keyValue, error)) {
                fmt::print(" {}\n", error);
                return false;
            }
            fmt::print(" {}", keyValue);
        }
        fmt::print("\n");
        m_session.Request(tree);
        m_happenings.Print();
        return true;
    }

    void Hoist(std::string_view title, std::initializer_list<std::string> keyValues)
    {
        CAttributeMap tree;
        fmt::print("{}\n", title);
        for (std::string const& keyValue : keyValues) {
            std::string error;
            if (AddKeyValue(tree, keyValue, error)) {
                fmt::print("  attribute {}\n", keyValue);
            }
        }
        m_session.OnHost([&tree](vordal::Host& host, Device& sonar) {
            host.MergeDecoded(sonar, tree);
            CDataBlock block;
            host.Buffer(vordal::PanTiltUnit::HoistStream(sonar.GetDataId())).ReadCurrentBlock(block);
            fmt::print("  the hoist's data block\n");
            for (unsigned short i = 0; i < block.GetItemCount(); ++i) {
                CDataItem const* const item = block.GetItem(i);
                fmt::print("    item {} = {}\n", item->item, ItemText(*item));
            }
        });
        fmt::print("\n");
        m_happenings.Forget();
    }

private:
    Session& m_session;
    Happenings& m_happenings;
    std::optional<vordal::PanTiltUnit> m_unit;
};

} // namespace

int PanTiltDemo(RunOptions const& options)
{
    Happenings happenings;
    simulator::SonarServer sonar(simulator::ServerOptions(),
                                 [&](simulator::SonarEvent const& event) { happenings.OnSonar(event); });
    if (auto const problem = sonar.Start()) {
        return Complain(ExitFailed, problem->text);
    }
    Session session([&](SessionEvent const& event) { happenings.OnSession(event); });
    std::string error;
    if (!session.LoadPlugin(PluginPath(options.plugins), error)) {
        return Complain(ExitFailed, error);
    }
    session.Connect("127.0.0.1", sonar.Port());
    if (!session.WaitForConnection(5s, error)) {
        return Complain(ExitFailed, fmt::format("no connection to the sonar: {}", error));
    }
    session.WaitForIntroduction(1s);
    fmt::print("A simulated sonar hangs on a simulated pan-and-tilt unit.\n\n");

    PanTiltShow show(session, happenings);
    show.Mount();
    show.Scan("The unit scans. Nobody has asked that the pings follow it.", true);
    show.Scan("The unit rests.", false);
    show.Request("The operator wants pings only while the unit scans.", {"PingOnlyDuringScan=true"});
    show.Scan("The unit scans: the pings begin.", true);
    show.Scan("It goes on scanning: the pings are on already.", true);
    show.Scan("The unit rests: the pings stop.", false);
    show.Request("The unit is to take another position; the tilt changes its sign on the way.",
                 {"CmdRoll=0", "CmdRotate=45", "CmdTilt=10"});
    show.Request("The hoist is to bring the head down.", {"CmdRaiseLower=1"});
    show.Hoist("What the hoist was told goes to the rest of the host as a data block.",
               {"CmdRaiseLower=1", "CmdRotate=45", "CmdTilt=10"});
    show.Request("The operator lifts the restriction: that turns the pings on.", {"PingOnlyDuringScan=false"});
    return ExitGood;
}

} // namespace qx5::cli
