// The session of a window on a broker, beside its work.
#include "project_share.h"

#include "broker/line_diagnosis.h"
#include "cli/line_words.h"
#include "cli/window/window_session.h"
#include "outbox/outbox.h"

#include <chrono>
#include <exception>
#include <stdexcept>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// Of what is on its way when it ends.
constexpr std::chrono::milliseconds lastShareWords{2000};

} // namespace

ProjectShare::ProjectShare(WindowSession& session, std::string version)
    : m_session(session), m_version(std::move(version))
{
}

ProjectShare::~ProjectShare()
{
    End();
}

vessel::ShareSetup ProjectShare::Setup() const
{
    std::vector<std::string> problems;
    auto setup = vessel::ShareSetupIn(m_session.Kept(), problems);
    for (std::string const& line : problems) {
        m_session.Tell(line);
    }
    return setup;
}

bool ProjectShare::Begin(vessel::ShareSetup setup, std::string& error)
{
    auto const file = m_session.ProjectFile();
    if (file.empty()) {
        error = "save the project first (Project, Save as): what waits for those ashore lies beside it";
        return false;
    }
    if (setup.broker.empty()) {
        error = "the broker is missing, as mqtts://HOST:PORT";
        return false;
    }
    auto made = vessel::OptionsOf(setup, error);
    if (!made) {
        return false;
    }
    End();
    auto const options = std::make_shared<vessel::VesselOptions>(std::move(*made));
    options->outboxFile = outbox::OutboxBeside(file);
    options->version = m_version;
    auto const sharing = m_sharing = std::make_shared<Sharing>();
    sharing->state = {
        true, false, fmt::format("{} as {}/{}", options->address.Text(), options->group, options->vessel), {}};
    auto const words = std::make_shared<LineWords>(
        sharing->state.where, [&session = m_session](bool isComplaint, std::string const& line) {
            session.Tell(isComplaint ? operation::Severity::Warning : operation::Severity::Information, line);
        });
    options->status = [sharing, words](broker::LineStatus const& status) {
        {
            std::lock_guard const lock(sharing->mutex);
            sharing->state.isConnected = status.state == broker::LineState::Connected;
            if (status.state != broker::LineState::Connecting) { // what was wrong before says more
                sharing->state.problem = status.reason;
            }
        }
        words->Take(status);
    };
    options->tell = [&session = m_session](std::string const& line) { session.Tell(line); };
    auto const keep = [this, setup = std::move(setup)] {
        vessel::PutShareSetup(m_session.Kept(), setup);
        m_session.SaveSoon();
    };
    m_thread.Do([this, sharing, options, keep, post = m_answers.Poster()] {
        try {
            auto const wrong = options->address.isSecure ? broker::WhatIsWrongWith(options->files) : std::string();
            if (!wrong.empty()) {
                throw std::runtime_error(wrong);
            }
            m_vessel = std::make_unique<vessel::Vessel>(m_session.Host(), m_session.Desk(), std::move(*options));
            m_vessel->Begin();
            post(keep);
        } catch (std::exception const& failure) {
            m_session.Tell(fmt::format("the project is not shared: {}", failure.what()));
            std::lock_guard const lock(sharing->mutex);
            sharing->state.isShared = false;
            sharing->state.problem = failure.what();
        }
    });
    return true;
}

void ProjectShare::End()
{
    if (m_sharing == nullptr) {
        return;
    }
    m_sharing.reset();
    m_leases.clear();
    m_thread.Do([this] {
        if (m_vessel != nullptr) {
            m_vessel->End(lastShareWords);
            m_vessel.reset();
        }
    });
}

ShareState ProjectShare::State() const
{
    if (m_sharing == nullptr) {
        return {};
    }
    std::lock_guard const lock(m_sharing->mutex);
    return m_sharing->state;
}

void ProjectShare::LookAtLeases()
{
    if (m_sharing == nullptr || std::exchange(m_isLooking, true)) {
        return;
    }
    m_thread.Do([this, sharing = m_sharing, post = m_answers.Poster()] {
        auto leases = std::make_shared<std::vector<SonarLease>>();
        if (m_vessel != nullptr) {
            for (auto const& sonar : m_session.Desk().Sonars()) {
                leases->push_back({sonar.id, sonar.name, m_vessel->Leases().Of(sonar.id)});
            }
        }
        post([this, sharing, leases] {
            m_isLooking = false;
            if (sharing == m_sharing) {
                m_leases = std::move(*leases);
            }
        });
    });
}

void ProjectShare::Do(authority::LeaseVerb verb, CDataId const& sonar)
{
    m_thread.Do([this, verb, sonar] {
        if (m_vessel == nullptr) {
            return;
        }
        auto& leases = m_vessel->Leases();
        switch (verb) {
        case authority::LeaseVerb::Take:
            leases.TakeAboard(sonar);
            break;
        case authority::LeaseVerb::GiveBack:
            leases.GiveBack(sonar, authority::Aboard);
            break;
        case authority::LeaseVerb::Grant:
            leases.Grant(sonar, authority::Aboard, leases.Of(sonar).asker);
            break;
        case authority::LeaseVerb::Refuse:
            leases.Refuse(sonar, authority::Aboard, leases.Of(sonar).asker);
            break;
        }
    });
}

} // namespace qx5::cli
