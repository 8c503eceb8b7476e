// Two and three who command one sonar at once, in any order of what they and the clocks do, against a plain model.
#include "authority/lease.h"
#include "authority/request_book.h"

#include <array>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::authority {
namespace {

CDataId const Sonar(1, 78, 1, 1);

/// The rules once more, in whole seconds and one second after the other: what is due in a second is looked at in it.
struct Model
{
    bool silenceGrants = false;
    int now = 0;
    std::string holder;
    int ends = -1; ///< -1: never
    std::string waits;
    int waitsFor = 0; ///< how long a lease
    int answerDue = 0;
    std::vector<std::string> answers; ///< "bert yes"

    void HandOver(std::string to, int seconds) // a copy: it may be the name of who waits
    {
        holder = to;
        ends = now + seconds;
        waits.clear();
        answers.push_back(to + " yes");
    }
    void Free()
    {
        holder.clear();
        ends = -1;
        if (!waits.empty()) {
            HandOver(waits, waitsFor);
        }
    }
    void Second()
    {
        ++now;
        if (!holder.empty() && ends == now) {
            Free();
        }
        if (!waits.empty() && answerDue == now) {
            if (silenceGrants) {
                HandOver(waits, waitsFor);
            } else {
                answers.push_back(waits + " no");
                waits.clear();
            }
        }
    }
    void Ask(std::string const& who, int seconds)
    {
        if (holder == who) {
            ends = now + seconds;
        } else if (holder.empty()) {
            holder = who;
            ends = now + seconds;
        } else if (waits.empty()) {
            waits = who;
            waitsFor = seconds;
            answerDue = now + 30;
        }
    }
    void Aboard()
    {
        if (holder != "aboard" && !waits.empty()) {
            answerDue = now + 30;
        }
        holder = "aboard";
        ends = -1;
    }
    void Answer(std::string const& by, std::string const& asker, bool yes)
    {
        if (by != holder || asker != waits) {
            return;
        }
        if (yes) {
            HandOver(asker, waitsFor);
        } else {
            answers.push_back(asker + " no");
            waits.clear();
        }
    }
    void GiveBack(std::string const& who)
    {
        if (who == holder) {
            Free();
        } else if (who == waits) {
            waits.clear();
        }
    }
    void Gone(std::string const& who)
    {
        if (who == waits) {
            waits.clear();
        }
        if (who == holder) {
            Free();
        }
    }
    bool MayAsk(std::string const& who)
    {
        if (holder.empty() && who == "aboard") {
            holder = who;
            ends = now + 30;
        }
        if (holder == who && who == "aboard" && ends != -1 && ends < now + 15) {
            ends = now + 30;
        }
        return holder == who;
    }
};

/// What the leases tell, as somebody who only listens knows it.
class Heard final : public LeaseListener
{
public:
    void OnLease(LeaseNews const& each) override
    {
        EXPECT_GE(each.change, news.change);
        news = each;
    }
    void OnAnswer(LeaseAnswer const& answer) override
    {
        answers.push_back(answer.asker + (answer.granted ? " yes" : " no"));
    }
    LeaseNews news;
    std::vector<std::string> answers;
};

/// One request that somebody makes, and whether it was done.
struct Made
{
    std::string who;
    RequestStamp stamp;
    int madeAt;
    int done = 0;
};

class Interleaving
{
public:
    explicit Interleaving(std::uint32_t seed)
        : m_random(seed), m_leases({.silence = seed % 2 == 1 ? Silence::Grant : Silence::Refuse},
                                   {[this] { return m_steady; }, [this] { return m_utc; }})
    {
        m_model.silenceGrants = seed % 2 == 1;
        m_leases.SetListener(&m_heard);
        m_leases.SetName(Sonar, "Bow");
        if (Below(2) == 0) {
            m_people.erase(m_people.begin() + Below(3));
        }
    }

    void Run(int steps)
    {
        for (int i = 0; i < steps && !::testing::Test::HasFatalFailure(); ++i) {
            Step();
            Compare();
        }
    }
    int done = 0;
    int refused = 0;
    int changesOfHolder = 0;

private:
    int Below(int end) { return static_cast<int>(m_random() % static_cast<unsigned>(end)); }
    std::string const& Somebody()
    {
        return m_people[static_cast<std::size_t>(Below(static_cast<int>(m_people.size())))];
    }

    void Step()
    {
        auto const who = Somebody();
        auto const other = Somebody();
        int const seconds = 1 + Below(70);
        std::string reason;
        switch (Below(16)) {
        case 0:
        case 1:
        case 2:
            if (who == Aboard) {
                m_leases.TakeAboard(Sonar);
                m_model.Aboard();
            } else {
                m_leases.Ask(Sonar, who, seconds, reason);
                m_model.Ask(who, seconds);
            }
            return;
        case 3:
        case 4:
            m_leases.Grant(Sonar, who, other);
            m_model.Answer(who, other, true);
            return;
        case 5:
            m_leases.Refuse(Sonar, who, other);
            m_model.Answer(who, other, false);
            return;
        case 6:
            m_leases.GiveBack(Sonar, who);
            m_model.GiveBack(who);
            return;
        case 7:
            m_leases.Gone(who);
            m_model.Gone(who);
            return;
        case 8:
            m_utc += Below(20'000) - 10'000; // somebody sets the clock
            return;
        case 9:
        case 10:
        case 11:
            Pass(seconds);
            return;
        default:
            Request(who);
            return;
        }
    }

    /// The leases are looked at each second, now and then, or only by the next step.
    void Pass(int seconds)
    {
        int const every = 1 + Below(50);
        for (int i = 1; i <= seconds; ++i) {
            m_steady += 1.0;
            m_utc += 1.0;
            m_model.Second();
            if (i % every == 0) {
                m_leases.Tick();
            }
        }
    }

    void Request(std::string const& who)
    {
        // Made anew, or one of those that were made comes once more, from whom it was, however late.
        if (m_made.empty() || Below(3) != 0) {
            m_made.push_back({who, {1, m_made.size() + 1, m_clock.Now(), 1.0 + Below(40)}, m_model.now});
        }
        Made& one = m_made[static_cast<std::size_t>(Below(static_cast<int>(m_made.size())))];
        auto const arrival = m_book.Arrive(one.who, one.stamp);
        if (arrival.kind != Arrival::Kind::Do) {
            ASSERT_EQ(one.stamp.limit < m_model.now - one.madeAt || m_answered.count(one.stamp.number) != 0, true)
                << "what comes in time for the first time is looked at";
            return;
        }
        ASSERT_GE(one.stamp.limit, m_model.now - one.madeAt) << "what comes after its limit is not done";
        ASSERT_TRUE(m_answered.insert(one.stamp.number).second) << "nothing is done twice";
        std::string reason;
        bool const does = m_leases.Admits(Sonar, one.who, reason);
        bool const may = m_model.MayAsk(one.who);
        ASSERT_EQ(does, may) << one.who << ": " << reason;
        if (does) {
            ++done;
            ASSERT_EQ(m_leases.Of(Sonar).holder, one.who) << "done for who holds";
        } else {
            ++refused;
            ASSERT_NE(reason.find(m_model.holder.empty() ? "nobody" : m_model.holder), std::string::npos) << reason;
        }
        m_book.Finish(one.who, one.stamp, does ? "done" : reason);
    }

    void Compare()
    {
        auto const news = m_leases.Of(Sonar);
        ASSERT_EQ(news.holder, m_model.holder);
        ASSERT_EQ(news.asker, m_model.waits);
        ASSERT_EQ(news.until.has_value(), m_model.ends != -1);
        if (news.until) {
            ASSERT_EQ(*news.until - m_utc, m_model.ends - m_model.now);
        }
        if (!m_model.waits.empty()) {
            ASSERT_EQ(news.answerBy - m_utc, m_model.answerDue - m_model.now);
        }
        ASSERT_EQ(m_heard.answers, m_model.answers);
        if (news.change != 0) {
            ASSERT_EQ(m_heard.news.holder, news.holder) << "whoever listens knows the same";
            ASSERT_EQ(m_heard.news.asker, news.asker);
            ASSERT_EQ(m_heard.news.change, news.change);
        }
        int holders = 0;
        for (std::string const& each : m_people) {
            std::string reason;
            // Asking on behalf of aboard would take what nobody has.
            holders +=
                (each != Aboard && m_leases.Admits(Sonar, each, reason)) || (each == Aboard && news.holder == each);
        }
        ASSERT_EQ(holders, m_model.holder.empty() ? 0 : 1);
        changesOfHolder += m_lastHolder != news.holder;
        m_lastHolder = news.holder;
    }

    std::mt19937 m_random;
    std::vector<std::string> m_people{"aboard", "anna", "bert"};
    Model m_model;
    double m_steady = 50.0;
    double m_utc = 1.7e9;
    Heard m_heard;
    Leases m_leases;
    VesselClock m_clock{[this] { return m_steady; }, [this] { return m_utc; }, 9};
    RequestBook m_book{m_clock};
    std::vector<Made> m_made;
    std::set<std::uint64_t> m_answered;
    std::string m_lastHolder;
};

TEST(Interleavings, HaveOneHolderAndDoNothingForWhoDoesNotHold)
{
    int done = 0;
    int refused = 0;
    int changes = 0;
    for (std::uint32_t seed = 0; seed < 100'000; ++seed) {
        Interleaving one(seed);
        one.Run(24);
        if (HasFatalFailure()) {
            FAIL() << "seed " << seed;
        }
        done += one.done;
        refused += one.refused;
        changes += one.changesOfHolder;
    }
    // Enough of everything to have met.
    EXPECT_GT(done, 50'000);
    EXPECT_GT(refused, 50'000);
    EXPECT_GT(changes, 200'000);
    std::printf("100000 interleavings: %d requests done, %d refused, the holder changed %d times\n", done, refused,
                changes);
}

} // namespace
} // namespace qx5::authority
