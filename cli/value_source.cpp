// Where `qx5 get` and `qx5 watch` have the values of a sonar from.
#include "cli/value_source.h"

#include "cli/fleet_values.h"
#include "cli/plugins.h"
#include "cli/session.h"
#include "reference_host/platform/wake_handle.h"
#include "shell/shell_client.h"
#include "shell/told_value.h"
#include "shell/value_watch.h"

#include <VordalBaseR/CExTime.h>
#include <protocol/catalogue.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// What a program that runs tells of one of its sonars.
class RunningValues final : public ValueSource
{
public:
    RunningValues(ValueTarget const& target, std::vector<std::string> const& keys, bool watches,
                  std::chrono::milliseconds limit)
        : m_client(shell::FindProgram(target.process, target.device, limit))
    {
        m_client->Ask({.kind = watches ? shell::Question::Kind::Watch : shell::Question::Kind::Get,
                       .sonar = target.device,
                       .keys = keys,
                       .request = {}});
    }

    int Handle() const override { return m_client->Handle(); }
    bool IsComplete() const override { return m_isComplete; }

    std::optional<shell::ToldValue> Take() override
    {
        auto answer = m_isComplete ? std::nullopt : m_client->Take();
        if (!answer) {
            return std::nullopt;
        }
        if (auto const* const problem = std::get_if<shell::Problem>(&*answer)) {
            throw shell::ShellError(problem->text);
        }
        m_isComplete = std::holds_alternative<shell::Done>(*answer);
        auto* const told = std::get_if<shell::ToldValue>(&*answer);
        return told != nullptr ? std::optional(std::move(*told)) : std::nullopt;
    }

private:
    std::unique_ptr<shell::ShellClient> m_client;
    bool m_isComplete = false;
};

/// Raises a handle when attributes change or a connection does.
class ChangeWake final : public operation::ActionListener
{
public:
    int Handle() const { return m_wake.Handle(); }
    void Raise() { m_wake.Raise(); }
    void Clear() { m_wake.Clear(); }

    void OnActionStands(operation::Action const&) override {}
    void OnChanged(CDataId const&) override { m_wake.Raise(); }

private:
    vordal::platform::WakeHandle m_wake;
};

/// What a sonar tells on a connection of its own, which asks it for nothing.
class SonarValues final : public ValueSource
{
public:
    SonarValues(ValueTarget const& target, std::vector<std::string> const& keys, std::chrono::milliseconds limit)
        : m_name(target.sonar), m_watch(keys),
          m_session([](SessionEvent const&) {}, {}, vordal::RequestOrigin::CommandLine)
    {
        std::string host;
        std::uint16_t port = 0;
        std::string error;
        m_session.Desk().OutsideTap().Set(m_wake);
        m_session.WhenStatusChanges([wake = m_wake] { wake->Raise(); });
        if (!ParseEndpoint(target.sonar, host, port, error) ||
            !m_session.Reach(PluginPath(target.plugin), host, port, limit, limit, error)) {
            throw shell::ShellError(error);
        }
        m_wake->Raise();
    }

    ~SonarValues() override { m_session.Desk().OutsideTap().Set(nullptr); }

    int Handle() const override { return m_wake->Handle(); }

    bool IsComplete() const override
    {
        auto const untold = m_watch.Untold();
        // What no table has is not waited for.
        bool const mayCome = std::any_of(untold.begin(), untold.end(), [](std::string const& key) {
            return protocol::FindKey(protocol::DecodeUtf8(key.substr(key.rfind('/') + 1))) != nullptr;
        });
        return m_hasLooked && m_watch.IsEmpty() && !mayCome;
    }

    std::optional<shell::ToldValue> Take() override
    {
        if (m_watch.IsEmpty()) {
            m_wake->Clear();
            bool const isConnected = m_session.IsConnected();
            m_watch.See(m_session.Attributes());
            m_hasLooked = true;
            if (m_watch.IsEmpty() && !isConnected) {
                throw shell::ShellError("the connection to the sonar was lost");
            }
        }
        auto const* const row = m_watch.Take();
        return row != nullptr ? std::optional(shell::Tell(m_name, CExTime::GetCurTime(), *row)) : std::nullopt;
    }

private:
    std::string m_name;
    shell::ValueWatch m_watch;
    bool m_hasLooked = false;
    std::shared_ptr<ChangeWake> m_wake = std::make_shared<ChangeWake>();
    Session m_session;
};

} // namespace

std::unique_ptr<ValueSource> MakeValueSource(ValueTarget const& target, std::vector<std::string> const& keys,
                                             bool watches, std::chrono::milliseconds limit)
{
    if (target.fleet) {
        return MakeFleetValues(target, keys, limit);
    }
    if (target.sonar.empty()) {
        return std::make_unique<RunningValues>(target, keys, watches, limit);
    }
    return std::make_unique<SonarValues>(target, keys, limit);
}

} // namespace qx5::cli
