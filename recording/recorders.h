// All recorders of a session as one: the file that somebody asked for, and the black box.
#pragma once

#include "flight_recorder.h"

#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qx5::recording {

/// Gives each of them all that it is given; see FlightRecorder. Any thread.
class Recorders final : public operation::ActionListener
{
public:
    explicit Recorders(std::vector<std::shared_ptr<FlightRecorder>> recorders) : m_recorders(std::move(recorders)) {}

    void Begin(CDataId const& sonar, std::string const& name, CAttributeMap const& settings)
    {
        for (auto const& recorder : m_recorders) {
            recorder->Begin(sonar, name, settings);
        }
    }
    void Frame(CDataId const& sonar, bool isSent, std::span<unsigned char const> frame)
    {
        for (auto const& recorder : m_recorders) {
            recorder->Frame(sonar, isSent, frame);
        }
    }
    void Connection(CDataId const& sonar, vordal::LinkStatus const& status)
    {
        for (auto const& recorder : m_recorders) {
            recorder->Connection(sonar, status);
        }
    }
    void Mark(std::string const& text)
    {
        for (auto const& recorder : m_recorders) {
            recorder->Mark(text);
        }
    }

    void OnActionBegins(operation::Action const& action) override
    {
        for (auto const& recorder : m_recorders) {
            recorder->OnActionBegins(action);
        }
    }
    void OnActionStands(operation::Action const& action) override
    {
        for (auto const& recorder : m_recorders) {
            recorder->OnActionStands(action);
        }
    }
    void OnSonarTells(CDataId const& sonar, CAttributeMap const& tree) override
    {
        for (auto const& recorder : m_recorders) {
            recorder->OnSonarTells(sonar, tree);
        }
    }
    void OnEcho(CDataId const& sonar, CAttributeMap const& tree, unsigned flags) override
    {
        for (auto const& recorder : m_recorders) {
            recorder->OnEcho(sonar, tree, flags);
        }
    }
    void OnWritten(CDataId const& sonar, CAttributeMap const& tree) override
    {
        for (auto const& recorder : m_recorders) {
            recorder->OnWritten(sonar, tree);
        }
    }

private:
    std::vector<std::shared_ptr<FlightRecorder>> const m_recorders;
};

} // namespace qx5::recording
