// Standard output as the commands write it: what cannot be written, on a full disk or to a reader that has gone, is
// told in one line on standard error and makes the command fail.
#pragma once

#include <exception>
#include <string_view>

namespace qx5::cli {

/// To be called first. A reader that goes is from then on an output that fails; it ends the process no more.
void BeginOutput();

/// Writes the text and what was held back before it. For callbacks and threads, where an exception has nowhere to go: a
/// failure is told on standard error at once and remembered. Any thread.
void Say(std::string_view text) noexcept;

/// Writes the text to standard error; what that does not take is lost, for there is nowhere left to tell it.
void SayError(std::string_view text) noexcept;

/// Writes out what was held back. Throws std::system_error, as fmt::print does, when that fails: for a command that
/// goes on, and has nothing to go on for when nobody reads it.
void FlushOutput();

/// For commands whose reader may go when it has seen enough, as `head` does: from now on that is told nowhere, ends the
/// command and is no failure.
void LetReaderGo();

/// Whether something could not be written. Any thread.
bool HasOutputFailed();

/// The exit code of a command that an exception has ended. Says why, unless it is the output: EndOutput says that.
int EndedBy(std::exception const& failure);

/// The end of every command: writes out what was held back. Gives `code`, or ExitFailed in place of ExitGood when not
/// everything could be written; that is told now unless it was told before.
int EndOutput(int code);

} // namespace qx5::cli
