// What an operator does with a recording that is played in the window.
#include "replay_control.h"

#include "recording/recording_error.h"

#include <utility>

namespace qx5::cli {

namespace {

/// More marks than a time line has places for are not looked for.
constexpr std::size_t greatestMarks = 1000;

} // namespace

ReplayControl::OnHost::OnHost(WindowSession& session, std::shared_ptr<vordal::WindowFeed> feed,
                              vordal::FixedClock& clock, std::filesystem::path const& file)
    : host(session, std::move(feed), clock), player(file, host)
{
}

ReplayControl::ReplayControl(WindowSession& session, std::shared_ptr<vordal::WindowFeed> feed,
                             vordal::FixedClock& clock, std::filesystem::path const& file,
                             std::function<double()> steadyClock, std::function<void()> clear)
    : m_session(session), m_feed(std::move(feed)), m_steadyClock(std::move(steadyClock)), m_clear(std::move(clear))
{
    m_session.Host().RunAndWait([&] { m_onHost = std::make_unique<OnHost>(m_session, m_feed, clock, file); });
    m_status.start = m_onHost->player.Start();
    m_status.end = m_onHost->player.End();
    m_status.position = m_status.start;
    m_disk->Do([this, file] { FindMarks(file); });
}

ReplayControl::~ReplayControl()
{
    End();
}

void ReplayControl::End()
{
    m_isEnding = true;
    m_disk.reset();
    m_session.Host().RunAndWait([this] { m_onHost.reset(); });
}

void ReplayControl::FindMarks(std::filesystem::path const& file)
{
    try {
        recording::RecordedSession session(file);
        auto const end = session.File().End();
        auto time = end ? session.LastBefore(*end + 1, {&recording::kinds::Marks}) : std::nullopt;
        for (std::size_t found = 0; time && found < greatestMarks && !m_isEnding; ++found) {
            {
                std::lock_guard const lock(m_mutex);
                m_status.marks.push_back(*time);
            }
            time = session.LastBefore(*time, {&recording::kinds::Marks});
        }
    } catch (std::exception const& problem) {
        m_session.Tell(std::string("not all marks are shown: ") + problem.what());
    }
}

void ReplayControl::Do(Work const& work)
{
    auto& player = m_onHost->player;
    try {
        work(player);
    } catch (std::exception const& problem) {
        player.Pause();
        m_session.Tell(std::string("the replay stands still: ") + problem.what());
    }
    m_onHost->host.SetTime(player.Position());
    std::lock_guard const lock(m_mutex);
    m_status.position = player.Position();
    m_status.isPlaying = player.IsPlaying();
    m_status.speed = player.Speed();
}

void ReplayControl::Post(Work work)
{
    m_session.Host().Post([this, work = std::move(work)] {
        if (m_onHost != nullptr) {
            Do(work);
        }
    });
}

void ReplayControl::Move(Work work)
{
    m_wanted = std::move(work);
    if (!std::exchange(m_isMoving, true)) {
        BeginMove();
    }
}

void ReplayControl::BeginMove()
{
    m_session.Host().Post([this, post = m_answers.Poster()] {
        if (m_onHost == nullptr) {
            return;
        }
        m_onHost->isHeld = true;
        m_feed->Records()->Take();
        m_session.Desk().Events().Take();
        post([this] {
            m_clear();
            FinishMove(std::exchange(m_wanted, {}));
        });
    });
}

void ReplayControl::FinishMove(Work const& work)
{
    m_session.Host().Post([this, work, post = m_answers.Poster()] {
        if (m_onHost == nullptr) {
            return;
        }
        m_onHost->isHeld = false;
        Do(work);
        post([this] {
            m_isMoving = false;
            if (m_wanted) {
                Move(std::exchange(m_wanted, {}));
            }
        });
    });
}

void ReplayControl::Play()
{
    auto const status = Status();
    auto const play = [clock = m_steadyClock](recording::ReplayPlayer& player) { player.Play(clock()); };
    // From the end it begins anew, which is another moment.
    status.position >= status.end ? Move(play) : Post(play);
}

void ReplayControl::Pause()
{
    Post([](recording::ReplayPlayer& player) { player.Pause(); });
}

void ReplayControl::SetSpeed(double speed)
{
    Post([speed, clock = m_steadyClock](recording::ReplayPlayer& player) { player.SetSpeed(speed, clock()); });
}

void ReplayControl::MoveTo(std::uint64_t time)
{
    Move([time, clock = m_steadyClock](recording::ReplayPlayer& player) { player.MoveTo(time, clock()); });
}

void ReplayControl::Step()
{
    Post([](recording::ReplayPlayer& player) { player.Step(); });
}

void ReplayControl::MoveToNext(std::vector<recording::RecordedKind const*> kinds)
{
    Move([this, kinds = std::move(kinds)](recording::ReplayPlayer& player) {
        if (!player.MoveToNext(kinds)) {
            player.MoveTo(player.Position(), m_steadyClock());
            m_session.Tell(operation::Severity::Information, "there is none after this moment");
        }
    });
}

void ReplayControl::MoveToPrevious(std::vector<recording::RecordedKind const*> kinds)
{
    Move([this, kinds = std::move(kinds)](recording::ReplayPlayer& player) {
        if (!player.MoveToPrevious(kinds)) {
            player.MoveTo(player.Position(), m_steadyClock());
            m_session.Tell(operation::Severity::Information, "there is none before this moment");
        }
    });
}

void ReplayControl::Tick()
{
    // A host thread that has fallen behind is not given more of them.
    if (m_ticks.exchange(true)) {
        return;
    }
    m_session.Host().Post([this] {
        m_ticks.store(false);
        if (m_onHost != nullptr && !m_onHost->isHeld && m_onHost->player.IsPlaying()) {
            Do([this](recording::ReplayPlayer& player) { player.Advance(m_steadyClock()); });
        }
    });
}

ReplayStatus ReplayControl::Status() const
{
    std::lock_guard const lock(m_mutex);
    return m_status;
}

} // namespace qx5::cli
