// Sonars, requests and changes for Python.
#include "python/binding/module.h"
#include "python/binding/python_sonar.h"

#include "operation/endpoint.h"
#include "recording/recording_error.h"
#include "reference_host/common/log.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include <pybind11/stl.h>

namespace qx5::python {

namespace {

/// One on a connection of this process.
class PythonLiveSonar final : public PythonSonar
{
public:
    PythonLiveSonar(std::string const& plugin, std::string const& host, std::uint16_t port, std::string const& name)
    {
        std::string error;
        std::shared_ptr<live::LiveSonar> sonar;
        {
            Away const away;
            try {
                sonar = std::make_shared<live::LiveSonar>(live::SonarOptions{plugin, host, port, name});
            } catch (std::runtime_error const& failure) {
                error = failure.what();
            }
        }
        if (!error.empty()) {
            Raise("PluginError", error);
        }
        m_sonar = sonar;
        SetSonar(std::move(sonar));
    }

    bool Ping() override
    {
        RefuseAnotherProcess();
        Away const away;
        return m_sonar.lock()->Ping();
    }
    PythonRecorder Record(std::string const& file, std::string const& version) override
    {
        RefuseAnotherProcess();
        std::string error;
        auto const sonar = m_sonar.lock();
        std::shared_ptr<recording::FlightRecorder> recorder;
        {
            Away const away;
            try {
                recording::RecorderOptions options;
                options.program = {{"program", "qx5 for Python"}, {"version", version}};
                recorder = std::make_shared<recording::FlightRecorder>(file, std::move(options));
                sonar->RecordInto(recorder);
            } catch (recording::RecordingError const& failure) {
                error = failure.what();
            }
        }
        if (!error.empty()) {
            Raise("RecordingError", error);
        }
        return PythonRecorder(std::move(recorder), sonar);
    }

private:
    std::weak_ptr<live::LiveSonar> m_sonar; ///< there as long as this is
};

py::tuple ParsedAddress(std::string const& address)
{
    std::string host;
    std::uint16_t port = 0;
    std::string error;
    if (!operation::ParseEndpoint(address, host, port, error)) {
        Raise("BadAddress", error);
    }
    return py::make_tuple(host, port);
}

} // namespace

void AddSonars(py::module_& module)
{
    py::class_<PythonMailbox>(module, "Mailbox", PlainType())
        .def(py::init<>())
        .def("take", &PythonMailbox::Take, py::arg("timeout"))
        .def(
            "put", [](PythonMailbox const& mailbox, std::uint64_t sign) { mailbox.Box()->Put(sign); }, py::arg("sign"))
        .def("close", [](PythonMailbox const& mailbox) { mailbox.Box()->Close(); })
        .def("take_log_over",
             [](PythonMailbox const& mailbox) {
                 Away const away;
                 vordal::SetLogSink([box = mailbox.Box()](vordal::LogLevel level, std::string_view line) {
                     box->PutLine(level, line);
                 });
             })
        .def("give_log_back", [](PythonMailbox const&) {
            Away const away;
            vordal::SetLogSink({});
        });
    py::class_<PythonFeed>(module, "Feed", PlainType())
        .def("wait", &PythonFeed::Wait, py::arg("timeout"))
        .def("take", &PythonFeed::Take, py::arg("greatest"))
        .def("end", &PythonFeed::End)
        .def_property_readonly("ended", &PythonFeed::HasEnded)
        .def_property_readonly("lost", &PythonFeed::Lost);
    py::class_<PythonRequest>(module, "Request", PlainType())
        .def("wait_until_carried_out", &PythonRequest::WaitUntilCarriedOut, py::arg("timeout"))
        .def("wait", &PythonRequest::Wait, py::arg("timeout"))
        .def("outcome", &PythonRequest::Outcome)
        .def_property_readonly("stands", &PythonRequest::Stands)
        .def_property_readonly("asked", &PythonRequest::Asked)
        .def_property_readonly("echoed", &PythonRequest::Echoed)
        .def_property_readonly("got", &PythonRequest::Got)
        .def("tell_when_it_stands", &PythonRequest::TellWhenItStands, py::arg("mailbox"), py::arg("sign"));
    py::class_<PythonRecorder>(module, "Recorder", PlainType())
        .def("mark", &PythonRecorder::Mark, py::arg("text"))
        .def("finish", &PythonRecorder::Finish)
        .def("counts", &PythonRecorder::Counts);
    py::class_<PythonSonar>(module, "Sonar", PlainType())
        .def("close", &PythonSonar::Close)
        .def_property_readonly("closed", &PythonSonar::IsClosed)
        .def_property_readonly("connected", &PythonSonar::IsConnected)
        .def("connection", &PythonSonar::Connection)
        .def("condition", &PythonSonar::Condition)
        .def("news", &PythonSonar::News)
        .def("wait_for_news", &PythonSonar::WaitForNews, py::arg("seen"), py::arg("timeout"))
        .def("attributes", &PythonSonar::Attributes)
        .def("get", &PythonSonar::Get, py::arg("key"))
        .def("limits", &PythonSonar::Limits, py::arg("key"))
        .def("request", &PythonSonar::Request, py::arg("pairs"))
        .def("request_and_wait", &PythonSonar::RequestAndWait, py::arg("pairs"))
        .def("follow", &PythonSonar::Follow, py::arg("keys"), py::arg("mailbox"), py::arg("sign"))
        .def("ping", &PythonSonar::Ping)
        .def("echoes", &PythonSonar::Echoes, py::arg("water_column"))
        .def("record", &PythonSonar::Record, py::arg("file"), py::arg("version"));
    py::class_<PythonLiveSonar, PythonSonar>(module, "LiveSonar", PlainType())
        .def(py::init<std::string, std::string, std::uint16_t, std::string>(), py::arg("plugin"), py::arg("host"),
             py::arg("port"), py::arg("name"));
    module.def("parse_address", &ParsedAddress, py::arg("address"));
    module.def(
        "set_main_thread", [](unsigned long ident) { MainThread().store(ident); }, py::arg("ident"));
    module.def("threads_away", [] { return ThreadsAway().load(); });
}

} // namespace qx5::python
