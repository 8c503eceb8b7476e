// What commands that work on a recording have in common: which part of it is meant, what stands in their way.
#pragma once

#include "commands.h"

#include "recording/recorded_session.h"
#include "recording/recording_error.h"
#include "recording/recording_text.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace qx5::cli {

/// The command line names what is not there.
class WrongUse : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// ns since 1970 UTC of an option's value; throws WrongUse when it is no time.
std::uint64_t MomentOf(recording::RecordedSession& session, std::string const& option, std::string const& text);

/// Of a command line: moments as ReadMoment takes them, a sonar by id or name; empty for all. Throws WrongUse and
/// RecordingError, the latter naming the sonars that there are.
recording::RecordedRange RangeOf(recording::RecordedSession& session, std::string const& file, std::string const& from,
                                 std::string const& to, std::string const& sonar);

/// After a walk: what had to be passed over is told, and makes the command fail.
int ToldOf(recording::RecordedSession const& session, std::string const& file);

/// Runs what a command does; what stands in its way is one line.
template <typename Does>
int RunOnRecording(Does const& does)
{
    try {
        return does();
    } catch (WrongUse const& problem) {
        return Complain(ExitWrong, problem.what());
    } catch (recording::RecordingError const& problem) {
        return Complain(ExitFailed, recording::Printable(problem.what()));
    }
}

} // namespace qx5::cli
