// What a session has switched on at a sonar and would leave on: pings, transmit power, recordings.
#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qx5::cli {

/// Follows the frames of one connection. What was on before is not the session's; what somebody has switched off since,
/// or the sonar did not take, is not left on. What a sonar tells may have been on its way when the command left: that
/// it is off counts when it was told to be on in between, or a second later. Any thread; takes no time worth
/// mentioning.
class SwitchedOn
{
public:
    /// A frame that left for the sonar or came from it, and when, in seconds of one clock. A frame that left may be
    /// told of after the sonar's answer to it.
    void Take(bool outgoing, std::span<unsigned char const> frame, double time);

    /// One line without its end for each thing that is left on, which names the sonar and tells how to switch it off.
    /// `name` is what the operator calls the sonar, `endpoint` its HOST:PORT.
    std::vector<std::string> Lines(std::string const& name, std::string const& endpoint) const;

private:
    static constexpr std::size_t SwitchCount = 5;

    enum class Known : unsigned char
    {
        Nothing,
        Off,
        On,
    };
    struct State
    {
        bool IsLeftOn() const;

        Known told = Known::Nothing;   ///< by the sonar last
        double toldAt = 0.0;           ///< when last
        Known before = Known::Nothing; ///< by the sonar, until `changed`
        double changed = 0.0;          ///< since when it tells what it tells now
        bool isOurs = false;           ///< switched on by the session
        double commanded = 0.0;        ///< when the session last switched it on or off
        bool wasSeenOn = false;        ///< told to be on since then
    };

    mutable std::mutex m_mutex;
    std::array<State, SwitchCount> m_states;
};

/// Says the lines on standard output, or where that fails, and where they are to stand apart from it, on standard
/// error.
void SayLeftOn(std::vector<std::string> const& lines, bool isApart = false) noexcept;

/// Says at the end of its scope, however that is left, what stays on at the sonar. What it follows must outlive it.
class LeavingWord
{
public:
    /// `isApart`: on standard error, where the output is somebody's data.
    LeavingWord(SwitchedOn const& switches, std::string endpoint, bool isApart = false)
        : m_switches(switches), m_endpoint(std::move(endpoint)), m_isApart(isApart)
    {
    }
    LeavingWord(LeavingWord const&) = delete;
    LeavingWord& operator=(LeavingWord const&) = delete;
    ~LeavingWord() { SayLeftOn(m_switches.Lines("The sonar " + m_endpoint, m_endpoint), m_isApart); }

private:
    SwitchedOn const& m_switches;
    std::string m_endpoint;
    bool m_isApart;
};

} // namespace qx5::cli
