// What must be known of a part of a recording before it is gone through.
#include "recorded_part.h"

#include "operation/action_values.h"
#include "recording/recording_error.h"
#include "reference_host/link/sonar_link.h"

#include <array>
#include <charconv>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

namespace kinds = recording::kinds;

/// Whether a replay has to know what the device had when it comes.
bool NeedsSettings(recording::RecordedKind const* kind)
{
    return kind == &kinds::Requests || kind == &kinds::Sent || kind == &kinds::Attributes || kind == &kinds::Written;
}

} // namespace

bool RecordedPart::HasResult(std::uint64_t request, operation::Result result) const
{
    auto const found = results.find(request);
    return found != results.end() && found->second == operation::ToText(result);
}

void RecordedLines::Take(std::string const& sonar, recording::RecordedConnection const& connection)
{
    m_isUp[LineOf(sonar, m_part)] = connection.state == vordal::ToText(vordal::LinkState::Connected);
}

bool RecordedLines::DoesLeave(std::string const& sonar, std::uint64_t request) const
{
    auto const found = m_isUp.find(LineOf(sonar, m_part));
    return (found == m_isUp.end() || found->second) && !m_part.HasResult(request, operation::Result::NotSent);
}

RecordedPart LookOver(recording::RecordedSession& session, recording::RecordedRange const& range,
                      std::string const& file)
{
    RecordedPart part;
    for (auto& [sonar, settings] : session.SettingsBefore(range.from, range.sonar)) {
        part.sonars[sonar] = {std::move(settings), {}};
    }
    std::uint64_t requests = 0;
    session.ForEach(range, [&](recording::RecordedMessage const& message) {
        if (message.sonar == nullptr) {
            return true;
        }
        if (auto const* const settings = std::get_if<recording::RecordedSettings>(&message.content)) {
            part.sonars.try_emplace(*message.sonar, RecordedBeginning{*settings, message.time});
        } else if (NeedsSettings(message.kind) && part.sonars.count(*message.sonar) == 0) {
            throw recording::RecordingError(
                fmt::format("{}: there are no settings of the sonar {} before the first that was asked of it or that "
                            "it told, so what it had is not known",
                            file, *message.sonar));
        }
        if (auto const* const result = std::get_if<recording::RecordedResult>(&message.content)) {
            part.results[result->number] = result->result;
        }
        requests += message.kind == &kinds::Requests ? 1 : 0;
        return true;
    });
    if (requests == 0) {
        throw recording::RecordingError(fmt::format("{}: nothing is asked for in it", file));
    }
    return part;
}

CDataId SonarIdOf(std::string const& text)
{
    std::array<unsigned short, 4> numbers{};
    auto const* at = text.data();
    auto const* const end = at + text.size();
    for (auto& number : numbers) {
        at = std::from_chars(at, end, number).ptr;
        at += at != end ? 1 : 0;
    }
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

std::string LineOf(std::string const& sonar, RecordedPart const& part)
{
    auto const found = part.sonars.find(sonar);
    if (found == part.sonars.end() || !found->second.settings.host || found->second.settings.host->port.empty()) {
        return sonar;
    }
    return "port " + found->second.settings.host->port;
}

} // namespace qx5::cli
