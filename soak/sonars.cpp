// The soak's simulated sonars, and what is in the water when.
#include "sonars.h"

#include <protocol/records/basic.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <iterator>

#include <fmt/format.h>

namespace qx5::soak {

namespace {

using namespace std::chrono_literals;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSlow = true;
#else
constexpr bool isSlow = false;
#endif

/// A pause is told in whole milliseconds, rounded.
constexpr auto rounding = 1ms;
/// What excuses a ping may be seen at the sonar so long before or after it.
constexpr auto around = isSlow ? 10s : 2s;
/// A ping is judged when all that may excuse it has been seen.
constexpr auto judgedAfter = around + 1s;
constexpr auto forgottenAfter = 4 * around;
/// What is told of a sonar in whose turn something is wrong.
constexpr std::size_t greatestStory = 400;

} // namespace

Sonars::Sonars()
{
    m_judgedUntil = Clock::now();
    for (std::size_t i = 0; i < SonarCount; ++i) {
        m_sonars.push_back(std::make_unique<Sonar>());
    }
    Start();
}

Sonars::~Sonars()
{
    Stop();
}

void Sonars::Start()
{
    for (std::size_t i = 0; i < SonarCount; ++i) {
        simulator::ServerOptions options;
        options.rebootTime = 300ms;
        m_sonars[i]->server = std::make_unique<simulator::SonarServer>(
            options, [this, i](simulator::SonarEvent const& event) { OnEvent(i, event); });
        if (auto const problem = m_sonars[i]->server->Start()) {
            throw Broken("a sonar cannot listen: " + problem->text);
        }
    }
}

void Sonars::Stop()
{
    for (auto const& sonar : m_sonars) {
        sonar->server->Stop();
    }
}

void Sonars::Replace()
{
    Stop();
    for (auto const& sonar : m_sonars) {
        std::lock_guard const lock(sonar->mutex);
        sonar->newestConnection = 0;
        sonar->lastRange = 0.0;
    }
    Start();
}

std::uint16_t Sonars::Port(std::size_t sonar) const
{
    return m_sonars[sonar]->server->Port();
}

bool Sonars::Try(std::size_t sonar, std::string_view line, std::string& answer)
{
    // What the host then goes by is not how the sonar pings.
    bool const beginsToLie = line == "misbehave flood pings";
    if (beginsToLie || line == "behave" || line.starts_with("buffer-status")) {
        std::lock_guard const lock(m_sonars[sonar]->mutex);
        m_sonars[sonar]->isLying = beginsToLie;
        m_sonars[sonar]->disturbances.push_back(Clock::now());
    }
    return m_sonars[sonar]->server->Command(line, answer);
}

void Sonars::Command(std::size_t sonar, std::string_view line)
{
    if (std::string answer; !Try(sonar, line, answer)) {
        throw Broken(fmt::format("sonar {} does not take '{}': {}", sonar + 1, line, answer));
    }
}

std::uint64_t Sonars::OpenConnections(std::size_t sonar)
{
    return m_sonars[sonar]->server->Counts().open;
}

std::uint64_t Sonars::Pings(std::size_t sonar) const
{
    std::lock_guard const lock(m_sonars[sonar]->mutex);
    return m_sonars[sonar]->pingCount;
}

double Sonars::LastRange(std::size_t sonar) const
{
    std::lock_guard const lock(m_sonars[sonar]->mutex);
    return m_sonars[sonar]->lastRange;
}

void Sonars::ControlChanges()
{
    std::lock_guard const lock(m_mutex);
    m_controlChanges.push_back(Clock::now());
}

void Sonars::OnEvent(std::size_t index, simulator::SonarEvent const& event)
{
    using simulator::EventKind;
    Sonar& sonar = *m_sonars[index];
    auto const now = Clock::now();
    switch (event.kind) {
    case EventKind::Connected:
    case EventKind::Disconnected: {
        std::lock_guard const lock(sonar.mutex);
        sonar.disturbances.push_back(now);
        Note(sonar, now,
             fmt::format("connection {} {}", event.connection, event.kind == EventKind::Connected ? "comes" : "goes"));
        break;
    }
    case EventKind::Record: {
        std::lock_guard const lock(sonar.mutex);
        sonar.newestConnection = std::max(sonar.newestConnection, event.connection);
        if (event.record->effect == simulator::Effect::Ping) {
            sonar.isCommandStale = event.connection != sonar.newestConnection;
            Note(sonar, now, fmt::format("connection {} commands a ping", event.connection));
        }
        for (auto const& [key, value] : event.record->values) {
            if (auto const* const range = std::get_if<double>(&value);
                range != nullptr && key == &protocol::keys::x5Range) {
                sonar.lastRange = *range;
            }
        }
        break;
    }
    case EventKind::Pinged: {
        bool const isOwn = PingsByItself(index);
        bool const isOfGroup = TurnsOf[index].group != 0;
        bool isJudged = false;
        {
            std::lock_guard const lock(sonar.mutex);
            isJudged = isOfGroup && !isOwn && !sonar.isCommandStale && !sonar.isLying;
            ++sonar.pingCount;
            sonar.settingsTold = 0;
            auto const travelTime =
                std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(event.pingTravelTime));
            sonar.pings.push_back({now, now + travelTime, isJudged});
            Note(sonar, now, fmt::format("pings for {} m{}", event.pingRange, isOwn ? " by itself" : ""));
        }
        std::lock_guard const lock(m_mutex);
        ++m_counts.all;
        m_counts.judged += isJudged ? 1U : 0U;
        m_counts.own += isOfGroup && isOwn ? 1U : 0U;
        break;
    }
    default:
        break;
    }
}

void Sonars::SettingsReachedHost(std::size_t sonar)
{
    auto const now = Clock::now();
    std::lock_guard const lock(m_sonars[sonar]->mutex);
    Note(*m_sonars[sonar], now, "its settings data reach the host");
    if (++m_sonars[sonar]->settingsTold > 1) {
        m_sonars[sonar]->disturbances.push_back(now);
    } else if (!m_sonars[sonar]->pings.empty()) {
        m_sonars[sonar]->pings.back().told = now;
    }
}

/// With its lock held.
void Sonars::Note(Sonar& sonar, Clock::time_point now, std::string text)
{
    sonar.story.emplace_back(now, std::move(text));
    if (sonar.story.size() > greatestStory) {
        sonar.story.pop_front();
    }
}

std::string Sonars::StoryOf(std::size_t sonar, Clock::time_point zero) const
{
    std::lock_guard const lock(m_sonars[sonar]->mutex);
    std::string text;
    for (auto const& [time, line] : m_sonars[sonar]->story) {
        text += fmt::format("\n  {:>9.1f} ms  sonar {} {}",
                            std::chrono::duration<double, std::milli>(time - zero).count(), sonar + 1, line);
    }
    return text;
}

/// On the sonar's own thread.
bool Sonars::PingsByItself(std::size_t sonar)
{
    static std::string const ask = "state " + protocol::EncodeUtf8(protocol::keys::x5PingOnOffState.text);
    std::string answer;
    m_sonars[sonar]->server->Command(ask, answer);
    return !answer.ends_with("= 0");
}

bool Sonars::IsDisturbed(int group, Clock::time_point from, Clock::time_point to) const
{
    for (std::size_t i = 0; i < SonarCount; ++i) {
        if (TurnsOf[i].group != group) {
            continue;
        }
        std::lock_guard const lock(m_sonars[i]->mutex);
        auto const& times = m_sonars[i]->disturbances;
        if (std::any_of(times.begin(), times.end(), [&](auto time) { return time >= from && time <= to; })) {
            return true;
        }
    }
    return false;
}

bool Sonars::HasControlChanged(Clock::time_point from, Clock::time_point to) const
{
    std::lock_guard const lock(m_mutex);
    return std::any_of(m_controlChanges.begin(), m_controlChanges.end(),
                       [&](auto time) { return time >= from && time <= to; });
}

void Sonars::JudgePings()
{
    auto const until = Clock::now() - judgedAfter;
    auto const forget = [&](auto& list, auto timeOf) {
        while (!list.empty() && timeOf(list.front()) < until - forgottenAfter) {
            list.pop_front();
        }
    };
    std::array<std::vector<Seen>, groupCount> groups;
    for (std::size_t i = 0; i < SonarCount; ++i) {
        std::lock_guard const lock(m_sonars[i]->mutex);
        forget(m_sonars[i]->pings, [](Ping const& ping) { return ping.begin; });
        forget(m_sonars[i]->disturbances, [](Clock::time_point time) { return time; });
        for (Ping const& ping : m_sonars[i]->pings) {
            if (ping.begin <= until) {
                groups[static_cast<std::size_t>(TurnsOf[i].group)].push_back({i, ping});
            }
        }
    }
    {
        std::lock_guard const lock(m_mutex);
        forget(m_controlChanges, [](Clock::time_point time) { return time; });
    }
    for (std::size_t group = 1; group < groupCount; ++group) {
        std::sort(groups[group].begin(), groups[group].end(),
                  [](Seen const& a, Seen const& b) { return a.ping.begin < b.ping.begin; });
        JudgeGroup(static_cast<int>(group), groups[group]);
    }
    m_judgedUntil = until;
}

void Sonars::JudgeGroup(int group, std::vector<Seen> const& pings)
{
    auto const size = static_cast<std::size_t>(std::count_if(
        std::begin(TurnsOf), std::end(TurnsOf), [group](Turns const& turns) { return turns.group == group; }));
    std::size_t& cleanPauses = m_cleanPauses[static_cast<std::size_t>(group)];
    for (auto second = pings.begin(); second != pings.end(); ++second) {
        if (second->ping.begin <= m_judgedUntil || second == pings.begin()) {
            continue;
        }
        auto const before = second - 1;
        auto const to = second->ping.begin + around;
        bool const isExcused = HasControlChanged(before->ping.begin - around, to) ||
                               IsDisturbed(group, before->ping.begin - around, to) || !second->ping.isJudged ||
                               !before->ping.isJudged;
        for (auto first = pings.begin(); first != second; ++first) {
            if (first->sonar == second->sonar || !first->ping.isJudged || !second->ping.isJudged ||
                second->ping.begin + rounding >= first->ping.end) {
                continue;
            }
            bool const isOutOfStep = cleanPauses < 2 * size;
            if (!isExcused && !isOutOfStep) {
                TellOverlap(group, *first, *second);
            }
            std::lock_guard const lock(m_mutex);
            ++(isExcused ? m_counts.excused : m_counts.outOfStep);
        }
        auto const pause = std::chrono::duration_cast<Clock::duration>((before->ping.end - before->ping.begin) *
                                                                       (TurnsOf[before->sonar].overhead / 100.0));
        bool const isClean =
            before->ping.told < second->ping.begin && second->ping.begin - before->ping.told + rounding >= pause;
        cleanPauses = isExcused || !isClean ? 0 : cleanPauses + 1;
    }
}

void Sonars::TellOverlap(int group, Seen const& first, Seen const& second) const
{
    std::string stories;
    for (std::size_t i = 0; i < SonarCount; ++i) {
        if (TurnsOf[i].group == group) {
            stories += StoryOf(i, first.ping.begin);
        }
    }
    using Milliseconds = std::chrono::duration<double, std::milli>;
    throw Broken(fmt::format("sonars {} and {} of group {} were in the water at once: the second pinged {:.1f} ms "
                             "after the first, whose echoes take {:.1f} ms{}",
                             first.sonar + 1, second.sonar + 1, group,
                             Milliseconds(second.ping.begin - first.ping.begin).count(),
                             Milliseconds(first.ping.end - first.ping.begin).count(), stories));
}

PingCounts Sonars::Counts() const
{
    std::lock_guard const lock(m_mutex);
    return m_counts;
}

} // namespace qx5::soak
