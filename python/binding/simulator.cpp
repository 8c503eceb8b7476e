// The simulated sonar for Python.
#include "python/binding/module.h"
#include "python/binding/python_values.h"
#include "python/binding/waiting.h"

#include "simulator/acoustics/scene.h"
#include "simulator/misbehaviour.h"
#include "simulator/sonar_server.h"

#include <protocol/utf8.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include <pybind11/stl.h>

namespace qx5::python {

namespace {

using simulator::SonarEvent;

/// A record as the sonar took it, kept beyond the call that tells it.
struct KeptRecord
{
    std::uint64_t number = 0; ///< from 1
    double time = 0.0;        ///< seconds since 1970 UTC
    std::uint32_t id = 0;
    std::string name;
    std::vector<std::pair<std::string, protocol::Value>> values;
    bool isDamaged = false;
};

/// What the sonar has understood. The sonar's thread puts, any reads; beyond Greatest the oldest give way.
class Understood
{
public:
    static constexpr std::size_t Greatest = 10'000;

    void Take(SonarEvent const& event)
    {
        if (event.kind != simulator::EventKind::Record || event.record == nullptr) {
            return;
        }
        KeptRecord record;
        record.time = event.utcSeconds;
        record.id = event.record->id;
        record.name = std::string(event.record->name);
        record.isDamaged = event.record->damaged || event.record->missingBytes != 0;
        for (auto const& [key, value] : event.record->values) {
            record.values.emplace_back(protocol::EncodeUtf8(key->text), value);
        }
        {
            std::lock_guard const lock(m_mutex);
            record.number = ++m_count;
            m_records.push_back(std::move(record));
            if (m_records.size() > Greatest) {
                m_records.pop_front();
            }
        }
        m_changed.notify_all();
    }
    std::vector<KeptRecord> After(std::uint64_t number) const
    {
        std::lock_guard const lock(m_mutex);
        std::vector<KeptRecord> records;
        for (KeptRecord const& record : m_records) {
            if (record.number > number) {
                records.push_back(record);
            }
        }
        return records;
    }
    bool WaitBeyond(std::uint64_t number, std::chrono::milliseconds limit) const
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, limit, [&] { return !m_records.empty() && m_records.back().number > number; });
    }
    void Clear()
    {
        std::lock_guard const lock(m_mutex);
        m_records.clear();
    }

private:
    mutable std::mutex m_mutex; ///< guards what follows
    mutable std::condition_variable m_changed;
    std::deque<KeptRecord> m_records;
    std::uint64_t m_count = 0;
};

class PythonSimulator
{
public:
    PythonSimulator(simulator::ServerOptions options) : m_process(getpid())
    {
        std::optional<simulator::StartError> failure;
        {
            Away const away;
            m_server = std::make_unique<simulator::SonarServer>(
                std::move(options), [kept = m_understood](SonarEvent const& event) { kept->Take(event); });
            failure = m_server->Start();
        }
        if (failure) {
            m_server.reset();
            Raise("SimulatorError", failure->text);
        }
    }
    PythonSimulator(PythonSimulator const&) = delete;
    PythonSimulator& operator=(PythonSimulator const&) = delete;
    ~PythonSimulator()
    {
        if (m_process != getpid()) {
            m_server.release(); // its threads did not come along
            return;
        }
        Away const away;
        m_server.reset();
    }

    void Stop()
    {
        RefuseAnotherProcess(m_process);
        Away const away;
        m_server->Stop();
    }
    std::uint16_t Port() const { return m_server->Port(); }
    /// Whether it was carried out, and what it answers.
    std::pair<bool, std::string> Command(std::string const& line)
    {
        RefuseAnotherProcess(m_process);
        std::string answer;
        bool isDone = false;
        {
            Away const away;
            isDone = m_server->Command(line, answer);
        }
        return {isDone, answer};
    }
    py::list UnderstoodAfter(std::uint64_t number) const
    {
        py::list records;
        for (KeptRecord const& record : m_understood->After(number)) {
            py::dict values;
            for (auto const& [key, value] : record.values) {
                values[py::str(key)] = ToPython(value);
            }
            records.append(
                py::make_tuple(record.number, record.time, record.id, record.name, values, record.isDamaged));
        }
        return records;
    }
    bool WaitBeyond(std::uint64_t number, std::optional<double> seconds)
    {
        return WaitInterruptibly(
            seconds, [&](std::chrono::milliseconds limit) { return m_understood->WaitBeyond(number, limit); });
    }
    void Forget() { m_understood->Clear(); }
    py::dict Counts()
    {
        simulator::ServerCounts counts;
        {
            Away const away;
            counts = m_server->Counts();
        }
        py::dict told;
        told["connections"] = counts.connections;
        told["refused"] = counts.refused;
        told["open"] = counts.open;
        told["bytes_received"] = counts.bytesReceived;
        told["bytes_sent"] = counts.bytesSent;
        told["records_received"] = counts.recordsReceived;
        told["frames_sent"] = counts.framesSent;
        told["skipped_bytes"] = counts.skippedBytes;
        told["pings"] = counts.pings;
        told["echoes_sent"] = counts.echoesSent;
        told["echoes_dropped"] = counts.echoesDropped;
        return told;
    }

private:
    std::shared_ptr<Understood> const m_understood = std::make_shared<Understood>();
    std::unique_ptr<simulator::SonarServer> m_server;
    pid_t const m_process;
};

std::unique_ptr<PythonSimulator> MakeSimulator(std::string const& scene, std::uint64_t seed, std::uint16_t port,
                                               double depth, bool calm, std::int32_t heads, bool pings,
                                               std::string const& address)
{
    simulator::ServerOptions options;
    options.scene = scene;
    options.seed = seed;
    options.port = port;
    options.depth = depth;
    options.calm = calm;
    options.heads = heads;
    options.announcePings = pings;
    options.address = address;
    return std::make_unique<PythonSimulator>(std::move(options));
}

} // namespace

void AddSimulator(py::module_& module)
{
    py::class_<PythonSimulator>(module, "Simulator", PlainType())
        .def(py::init(&MakeSimulator), py::kw_only(), py::arg("scene"), py::arg("seed"), py::arg("port"),
             py::arg("depth"), py::arg("calm"), py::arg("heads"), py::arg("pings"), py::arg("address"))
        .def("stop", &PythonSimulator::Stop)
        .def_property_readonly("port", &PythonSimulator::Port)
        .def("command", &PythonSimulator::Command, py::arg("line"))
        .def("understood_after", &PythonSimulator::UnderstoodAfter, py::arg("number"))
        .def("wait_beyond", &PythonSimulator::WaitBeyond, py::arg("number"), py::arg("timeout"))
        .def("forget", &PythonSimulator::Forget)
        .def("counts", &PythonSimulator::Counts);
    module.def("scenes", [] {
        std::vector<std::pair<std::string, std::string>> scenes;
        for (auto const& row : acoustics::SceneNames) {
            scenes.emplace_back(row.name, row.text);
        }
        return scenes;
    });
    module.def("misbehaviours", [] {
        std::vector<std::tuple<std::string, std::string, std::string>> names;
        for (auto const& row : simulator::MisbehaviourNames()) {
            names.emplace_back(row.name, row.argument, row.meaning);
        }
        return names;
    });
}

} // namespace qx5::python
