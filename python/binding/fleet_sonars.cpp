// Sonars at the other end of a fleet's broker, for Python.
#include "python/binding/module.h"
#include "python/binding/python_sonar.h"

#include "fleet/fleet_line.h"
#include "fleet/sonar_search.h"
#include "python/live/fleet_sonar.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <fmt/format.h>

#include <pybind11/stl.h>

namespace qx5::python {

namespace {

using namespace std::chrono_literals;

/// What time alone brings is looked at so often.
constexpr auto lookInterval = 100ms;

char const* ExceptionFor(fleet::LineProblem::Part part)
{
    using Part = fleet::LineProblem::Part;
    return part == Part::Certificate || part == Part::Files ? "BadCertificate" : "BadAddress";
}

std::shared_ptr<live::SharedFleet> Joined(fleet::FleetLine const& line, fleet::Place const& wanted)
{
    fleet::LineProblem problem;
    std::shared_ptr<live::SharedFleet> shared;
    {
        Away const away;
        if (auto options = fleet::OptionsOf(line, problem)) {
            options->vessel = wanted.vessel;
            options->wantsDetections = true;
            try {
                shared = live::SharedFleet::Take(*options);
            } catch (std::invalid_argument const& failure) {
                problem = {fleet::LineProblem::Part::Name, failure.what()};
            }
        }
    }
    if (shared == nullptr) {
        Raise(ExceptionFor(problem.part), problem.text);
    }
    return shared;
}

/// Lets go of the fleet without the interpreter's lock, whatever happens.
class Joining
{
public:
    explicit Joining(std::shared_ptr<live::SharedFleet> shared) : m_shared(std::move(shared)) {}
    Joining(Joining const&) = delete;
    Joining& operator=(Joining const&) = delete;
    ~Joining()
    {
        Away const away;
        m_shared.reset();
    }
    std::shared_ptr<live::SharedFleet> const& Get() const { return m_shared; }

private:
    std::shared_ptr<live::SharedFleet> m_shared;
};

/// Waits until what the sonar has is known; of a vessel alone, its one sonar. Raises qx5.NoSonar.
fleet::Place FoundIn(live::SharedFleet& shared, fleet::Place const& wanted, double seconds)
{
    using State = fleet::SonarSearch::State;
    fleet::SonarSearch search(shared.Get(), wanted);
    auto state = State::Goes;
    std::string lineProblem;
    WaitInterruptibly(seconds, [&](std::chrono::milliseconds limit) {
        state = search.Look();
        if (auto const line = shared.Get().Line(); line.state == broker::LineState::Waiting) {
            lineProblem = line.reason;
        }
        if (state == State::Goes && lineProblem.empty()) {
            shared.WaitForNews(std::min<std::chrono::milliseconds>(limit, lookInterval));
        }
        return state != State::Goes || !lineProblem.empty();
    });
    if (state != State::Found) {
        Raise("NoSonar", lineProblem.empty() ? search.WhyNot() : lineProblem);
    }
    return search.Found();
}

class PythonFleetSonar final : public PythonSonar
{
public:
    PythonFleetSonar(std::string const& broker, std::string const& group, std::string const& vessel,
                     std::string const& sonar, std::string const& ca, std::string const& cert, std::string const& key,
                     std::string const& person, double limit, double timeout)
    {
        fleet::Place const wanted{vessel, sonar};
        if (!(limit > 0.0)) {
            Raise("OutOfRange", "limit: a request takes longer than 0 s");
        }
        Joining const joining(Joined({broker, group, ca, cert, key, person}, wanted));
        auto const place = FoundIn(*joining.Get(), wanted, timeout);
        std::shared_ptr<live::FleetSonar> made;
        {
            Away const away;
            made = std::make_shared<live::FleetSonar>(joining.Get(), place, limit);
        }
        m_sonar = made.get();
        SetSonar(std::move(made));
    }

    std::string Vessel() const { return m_sonar->Place().vessel; }
    std::string Name() const { return TextOf(m_sonar->Place()); }
    std::string Person() const { return m_sonar->Person(); }
    /// Freshness, age, round trip, lead of the vessel's clock.
    py::tuple Far() const
    {
        live::FarState far;
        {
            Away const away;
            far = m_sonar->Far();
        }
        return py::make_tuple(std::string(ToText(far.freshness)), far.age, far.roundTrip, far.clockAhead);
    }
    /// Holder, since, until, who asks, by when he is answered; None for nobody.
    py::object Holder() const
    {
        authority::LeaseNews news;
        {
            Away const away;
            news = m_sonar->Lease();
        }
        if (news.holder.empty()) {
            return py::none();
        }
        bool const isAsked = !news.asker.empty();
        return py::make_tuple(news.holder, news.since, news.until, isAsked ? std::optional(news.asker) : std::nullopt,
                              isAsked ? std::optional(news.answerBy) : std::nullopt);
    }
    std::vector<std::string> Persons() const
    {
        Away const away;
        return m_sonar->Persons();
    }
    PythonRequest HoldLease(double seconds)
    {
        RefuseAnotherProcess();
        if (!(seconds > 0.0)) {
            Raise("OutOfRange", "a lease lasts longer than 0 s");
        }
        return Asked([&] { return m_sonar->HoldLease(seconds); });
    }
    PythonRequest ReleaseLease()
    {
        RefuseAnotherProcess();
        return Asked([&] { return m_sonar->ReleaseLease(); });
    }
    PythonRequest AnswerAsker(bool isGranted)
    {
        RefuseAnotherProcess();
        return Asked([&] { return m_sonar->AnswerAsker(isGranted); });
    }
    bool IsLeaseOurs() const
    {
        Away const away;
        return m_sonar->IsLeaseOurs();
    }
    PythonEchoes Echoes(bool waterColumn) override
    {
        if (waterColumn) {
            Raise("NotAshore", "the water column is for who is aboard; soundings come ashore");
        }
        return PythonSonar::Echoes(waterColumn);
    }

private:
    template <typename Ask>
    static PythonRequest Asked(Ask const& ask)
    {
        Away const away;
        return PythonRequest(ask());
    }

    live::FleetSonar* m_sonar = nullptr; ///< there as long as this is
};

} // namespace

void AddFleetSonars(py::module_& module)
{
    py::class_<PythonFleetSonar, PythonSonar>(module, "FleetSonar", PlainType())
        .def(py::init<std::string, std::string, std::string, std::string, std::string, std::string, std::string,
                      std::string, double, double>(),
             py::arg("broker"), py::arg("group"), py::arg("vessel"), py::arg("sonar"), py::arg("ca"), py::arg("cert"),
             py::arg("key"), py::arg("person"), py::arg("limit"), py::arg("timeout"))
        .def_property_readonly("vessel", &PythonFleetSonar::Vessel)
        .def_property_readonly("name", &PythonFleetSonar::Name)
        .def_property_readonly("person", &PythonFleetSonar::Person)
        .def("far", &PythonFleetSonar::Far)
        .def("holder", &PythonFleetSonar::Holder)
        .def("persons", &PythonFleetSonar::Persons)
        .def("hold_lease", &PythonFleetSonar::HoldLease, py::arg("seconds"))
        .def("release_lease", &PythonFleetSonar::ReleaseLease)
        .def("answer_asker", &PythonFleetSonar::AnswerAsker, py::arg("granted"))
        .def("lease_is_ours", &PythonFleetSonar::IsLeaseOurs);
}

} // namespace qx5::python
