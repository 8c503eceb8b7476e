// Standard output that notices what it cannot write.
#include "cli/output.h"

#include "cli/commands.h"
#include "cli/platform/standard_streams.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// Of the first write that failed; 0 while none has, or the system did not say.
std::atomic<int> reason{0};
std::atomic<bool> isTold{false};
std::atomic<bool> mayReaderGo{false};

void Remember(int problem)
{
    int none = 0;
    reason.compare_exchange_strong(none, problem);
}

/// Writes out what was held back; false when that or anything before it failed.
bool Flush() noexcept
{
    errno = 0;
    if (std::fflush(stdout) != 0) {
        Remember(errno);
    }
    return !HasOutputFailed();
}

std::string Problem()
{
    std::string text = "standard output cannot be written";
    if (int const problem = reason; problem != 0) {
        text += ": " + std::generic_category().message(problem);
    }
    return text;
}

/// Whether all that has failed is that the reader has gone, who may.
bool HasReaderLeft()
{
    return mayReaderGo && reason == EPIPE;
}

void TellOnce()
{
    if (HasReaderLeft()) {
        return;
    }
    if (!isTold.exchange(true)) {
        SayError("qx5: " + Problem() + "\n");
    }
}

} // namespace

void BeginOutput()
{
    PrepareStandardStreams();
}

void Say(std::string_view text) noexcept
{
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
        Remember(errno);
    }
    if (!Flush()) {
        TellOnce();
    }
}

void SayError(std::string_view text) noexcept
{
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
}

void FlushOutput()
{
    if (!Flush()) {
        throw std::system_error(reason, std::generic_category(), "standard output");
    }
}

void LetReaderGo()
{
    mayReaderGo = true;
}

bool HasOutputFailed()
{
    return std::ferror(stdout) != 0;
}

int EndedBy(std::exception const& failure)
{
    auto const* const problem = dynamic_cast<std::system_error const*>(&failure);
    if (HasOutputFailed()) {
        if (problem != nullptr) {
            Remember(problem->code().value());
        }
        return HasReaderLeft() ? ExitGood : ExitFailed;
    }
    bool const isOutOfDescriptors = problem != nullptr && (problem->code() == std::errc::too_many_files_open ||
                                                           problem->code() == std::errc::too_many_files_open_in_system);
    return Complain(ExitFailed, isOutOfDescriptors
                                    ? problem->code().message() + "; `ulimit -n` tells how many a program may have open"
                                    : failure.what());
}

int EndOutput(int code)
{
    if (Flush()) {
        return code;
    }
    TellOnce();
    return code == ExitGood && !HasReaderLeft() ? ExitFailed : code;
}

int Complain(ExitCode code, std::string const& text)
{
    bool const says = !Flush() && !HasReaderLeft() && !isTold.exchange(true);
    SayError(fmt::format("qx5: {}{}\n", text, says ? "; and " + Problem() : ""));
    return code;
}

} // namespace qx5::cli
