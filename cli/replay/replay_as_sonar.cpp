// A recording's sonar on the network.
#include "replay_as_sonar.h"

#include "recorded_sonar.h"
#include "replay_server.h"

#include "recording/recording_error.h"
#include "reference_host/link/sonar_link.h"

#include <optional>
#include <span>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

namespace kinds = recording::kinds;

/// What it had when the part begins, if the part begins in the middle of a session.
struct SonarBeginning
{
    std::optional<CAttributeMap> settings;
    double time = 0.0; ///< of the first frame, seconds since 1970 UTC
};

SonarBeginning BeginningOf(recording::RecordedSession& session, recording::RecordedRange const& range,
                           std::string const& file)
{
    SonarBeginning beginning;
    auto const before = session.SettingsBefore(range.from, range.sonar);
    if (auto const found = before.find(range.sonar); found != before.end()) {
        beginning.settings = found->second.tree;
    }
    bool hasFrame = false;
    auto looked = range;
    looked.kinds = {&kinds::Settings, &kinds::Connection, &kinds::Received};
    session.ForEach(looked, [&](recording::RecordedMessage const& message) {
        if (auto const* const settings = std::get_if<recording::RecordedSettings>(&message.content)) {
            beginning.settings = settings->tree;
        } else if (auto const* const connection = std::get_if<recording::RecordedConnection>(&message.content)) {
            // It introduces itself.
            if (connection->state == vordal::ToText(vordal::LinkState::Connected)) {
                beginning.settings.reset();
            }
        } else {
            beginning.time = static_cast<double>(message.systemTime) / 1e9;
            hasFrame = true;
        }
        return !hasFrame;
    });
    if (!hasFrame) {
        throw recording::RecordingError(fmt::format("{}: the sonar {} tells nothing in it", file, range.sonar));
    }
    return beginning;
}

} // namespace

SonarReplayResult ReplayAsSonar(recording::RecordedSession& session, recording::RecordedRange const& range,
                                std::string const& file, SonarReplayOptions options)
{
    auto const beginning = BeginningOf(session, range, file);
    ToldSoFar told;
    if (beginning.settings && beginning.settings->Count() != 0) {
        told.Begin(*beginning.settings);
    }
    ReplayServer server({.port = options.port,
                         .welcome = [&] { return told.Frames(beginning.time); },
                         .told = [&](std::span<unsigned char const> frame) { told.Take(frame); },
                         .notice = options.say});
    if (options.listening) {
        options.listening(server.Port());
    }
    server.WaitForHost();
    SonarReplayResult result;
    ReplayPace pace(options.speed, std::move(options.clock));
    auto tells = range;
    tells.kinds = {&kinds::Received};
    bool goesOn = true;
    do {
        session.ForEach(tells, [&](recording::RecordedMessage const& message) {
            if (options.step) {
                goesOn = options.step();
            } else {
                pace.Await(message.time);
            }
            if (goesOn) {
                server.Tell(std::get<recording::RecordedFrame>(message.content).bytes);
                ++result.frames;
                if (options.telling) {
                    options.telling(message);
                }
            }
            return goesOn;
        });
        pace.BeginAnew();
    } while (options.loop && goesOn);
    server.WaitUntilTold();
    result.hosts = server.HostsSoFar();
    result.bytesRead = server.BytesRead();
    return result;
}

} // namespace qx5::cli
