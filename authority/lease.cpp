// The leases of a vessel's sonars.
#include "authority/lease.h"

#include "operation/action_log.h"
#include "operation/steady_seconds.h"

#include <tvcoreR/Utf8.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include <fmt/format.h>

namespace qx5::authority {

namespace {

constexpr double tellEvery = 1.0;
/// What clocks that are kept right differ by for a moment; beyond it the wall clock was set.
constexpr double settingOfClock = 0.5;
/// Between the holder, or nobody, and the sonar.
constexpr std::string_view hasTheLease = " has the lease of ";
constexpr std::string_view nobody = "nobody";

double UtcSeconds()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

} // namespace

std::optional<std::string> HolderInRefusal(std::string_view reason, std::string_view sonar)
{
    auto const end = reason.find(fmt::format("{}{}", hasTheLease, sonar));
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    auto const holder = reason.substr(0, end);
    return std::string(holder == nobody ? std::string_view() : holder);
}

Leases::Leases(LeaseRules rules, Clocks clocks) : m_rules(rules), m_clocks(std::move(clocks))
{
    if (!m_clocks.steady) {
        m_clocks.steady = operation::SteadySeconds;
    }
    if (!m_clocks.utc) {
        m_clocks.utc = UtcSeconds;
    }
    m_utcOffset = m_clocks.utc() - m_clocks.steady();
}

void Leases::SetListener(LeaseListener* listener)
{
    std::lock_guard const lock(m_mutex);
    m_listener = listener;
}

void Leases::SetName(CDataId const& sonar, std::string name)
{
    std::lock_guard const lock(m_mutex);
    At(sonar).name = std::move(name);
}

void Leases::Forget(CDataId const& sonar)
{
    {
        std::lock_guard const lock(m_mutex);
        auto const found = m_entries.find(sonar.GetKey());
        if (found == m_entries.end()) {
            return;
        }
        Answer(found->second, false, "the sonar is not there any more");
        m_entries.erase(found);
    }
    TellWaiting();
}

Leases::Asked Leases::Ask(CDataId const& sonar, std::string_view person, double seconds, std::string& reason)
{
    if (person.empty() || person == Aboard || person == Unnamed) {
        reason = fmt::format("\"{}\" is no person's name", person);
        return Asked::Refused;
    }
    if (!(seconds > 0.0)) {
        reason = "a lease lasts longer than 0 s";
        return Asked::Refused;
    }
    seconds = std::min(seconds, m_rules.greatestLease);
    Asked asked = Asked::Waits;
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_clocks.steady();
        Entry& entry = At(sonar);
        Settle(entry, now);
        if (entry.holder.empty()) {
            Give(entry, person, seconds, now);
            asked = Asked::Granted;
        } else if (entry.holder == person) {
            entry.until = now + seconds;
            Change(entry, now);
            asked = Asked::Granted;
        } else if (!entry.asker) {
            entry.asker = Asker{std::string(person), seconds, now + m_rules.answerLimit};
            Change(entry, now);
        } else if (entry.asker->person != person) {
            reason = fmt::format("{}, and {} asks for it already", HeldText(entry), entry.asker->person);
            asked = Asked::Refused;
        }
    }
    TellWaiting();
    return asked;
}

void Leases::TakeAboard(CDataId const& sonar)
{
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_clocks.steady();
        Entry& entry = At(sonar);
        Settle(entry, now);
        if (entry.holder == Aboard) {
            entry.until.reset();
            Change(entry, now);
        } else {
            if (entry.asker) {
                entry.asker->answerBy = now + m_rules.answerLimit;
            }
            Give(entry, Aboard, std::nullopt, now);
        }
    }
    TellWaiting();
}

bool Leases::Grant(CDataId const& sonar, std::string_view holder, std::string_view asker)
{
    bool granted = false;
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_clocks.steady();
        Entry& entry = At(sonar);
        Settle(entry, now);
        granted = !holder.empty() && entry.holder == holder && entry.asker && entry.asker->person == asker;
        if (granted) {
            GiveOn(entry, now);
        }
    }
    TellWaiting();
    return granted;
}

bool Leases::Refuse(CDataId const& sonar, std::string_view holder, std::string_view asker)
{
    bool refused = false;
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_clocks.steady();
        Entry& entry = At(sonar);
        Settle(entry, now);
        refused = !holder.empty() && entry.holder == holder && entry.asker && entry.asker->person == asker;
        if (refused) {
            Answer(entry, false, fmt::format("{} keeps the lease", holder));
            Change(entry, now);
        }
    }
    TellWaiting();
    return refused;
}

bool Leases::GiveBack(CDataId const& sonar, std::string_view person)
{
    bool gaveBack = false;
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_clocks.steady();
        Entry& entry = At(sonar);
        Settle(entry, now);
        if (!person.empty() && entry.holder == person) {
            GiveOn(entry, now);
            gaveBack = true;
        } else if (entry.asker && entry.asker->person == person) {
            entry.asker.reset();
            Change(entry, now);
            gaveBack = true;
        }
    }
    TellWaiting();
    return gaveBack;
}

void Leases::Gone(std::string_view person)
{
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_clocks.steady();
        for (auto& [key, entry] : m_entries) {
            Settle(entry, now);
            if (entry.asker && entry.asker->person == person) {
                entry.asker.reset();
                Change(entry, now);
            }
            if (!person.empty() && entry.holder == person) {
                GiveOn(entry, now);
            }
        }
    }
    TellWaiting();
}

bool Leases::Admits(CDataId const& sonar, std::string_view person, std::string& reason)
{
    bool admits = false;
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_clocks.steady();
        Entry& entry = At(sonar);
        Settle(entry, now);
        bool const takes = person == Aboard || person == Unnamed;
        if (entry.holder.empty() && takes) {
            Give(entry, person, m_rules.aboardLease, now);
        }
        admits = !person.empty() && entry.holder == person;
        if (!admits) {
            reason = HeldText(entry);
        } else if (takes && entry.until && *entry.until < now + m_rules.aboardLease / 2) {
            // Not with each of many requests: each renewal is told.
            entry.until = now + m_rules.aboardLease;
            Change(entry, now);
        }
    }
    TellWaiting();
    return admits;
}

LeaseNews Leases::Of(CDataId const& sonar)
{
    LeaseNews news;
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_clocks.steady();
        FollowClock(now);
        Entry& entry = At(sonar);
        Settle(entry, now);
        news = NewsOf(entry);
    }
    TellWaiting();
    return news;
}

void Leases::Tick()
{
    {
        std::lock_guard const lock(m_mutex);
        double const now = m_clocks.steady();
        FollowClock(now);
        for (auto& [key, entry] : m_entries) {
            Settle(entry, now);
            if (!entry.name.empty() && now >= entry.toldAt + tellEvery) {
                entry.toldAt = now;
                m_toTell.emplace_back(NewsOf(entry));
            }
        }
    }
    TellWaiting();
}

Leases::Entry& Leases::At(CDataId const& sonar)
{
    auto const [found, isNew] = m_entries.try_emplace(sonar.GetKey());
    if (isNew) {
        found->second.sonar = sonar;
    }
    return found->second;
}

void Leases::Settle(Entry& entry, double now)
{
    for (;;) {
        bool const isOver = !entry.holder.empty() && entry.until && *entry.until <= now;
        bool const isSilent = entry.asker && entry.asker->answerBy <= now;
        if (isOver && (!isSilent || *entry.until <= entry.asker->answerBy)) {
            GiveOn(entry, *entry.until);
        } else if (isSilent && m_rules.silence == Silence::Grant) {
            GiveOn(entry, entry.asker->answerBy);
        } else if (isSilent) {
            double const at = entry.asker->answerBy;
            Answer(entry, false,
                   fmt::format("{} has not answered within {:.0f} s, and then the answer is no", entry.holder,
                               m_rules.answerLimit));
            Change(entry, at);
        } else {
            return;
        }
    }
}

void Leases::Give(Entry& entry, std::string_view person, std::optional<double> seconds, double now)
{
    entry.holder = person;
    entry.since = now;
    entry.until = seconds ? std::optional(now + *seconds) : std::nullopt;
    Change(entry, now);
}

void Leases::GiveOn(Entry& entry, double now)
{
    if (auto const asker = std::exchange(entry.asker, std::nullopt)) {
        m_toTell.emplace_back(LeaseAnswer{entry.sonar, asker->person, true, {}});
        Give(entry, asker->person, asker->seconds, now);
    } else {
        Give(entry, {}, std::nullopt, now);
    }
}

void Leases::Answer(Entry& entry, bool granted, std::string reason)
{
    if (auto const asker = std::exchange(entry.asker, std::nullopt)) {
        m_toTell.emplace_back(LeaseAnswer{entry.sonar, asker->person, granted, std::move(reason)});
    }
}

void Leases::Change(Entry& entry, double now)
{
    entry.change = ++m_changes;
    entry.toldAt = now;
    m_toTell.emplace_back(NewsOf(entry));
}

LeaseNews Leases::NewsOf(Entry const& entry) const
{
    LeaseNews news;
    news.sonar = entry.sonar;
    news.change = entry.change;
    news.holder = entry.holder;
    if (!entry.holder.empty()) {
        news.since = entry.since + m_utcOffset;
        news.until = entry.until ? std::optional(*entry.until + m_utcOffset) : std::nullopt;
    }
    if (entry.asker) {
        news.asker = entry.asker->person;
        news.answerBy = entry.asker->answerBy + m_utcOffset;
    }
    return news;
}

std::string Leases::HeldText(Entry const& entry) const
{
    std::string const name = entry.name.empty() ? tvcore::ToUtf8(entry.sonar.GetKey()) : entry.name;
    if (entry.holder.empty()) {
        return fmt::format("{}{}{}: ask for it first", nobody, hasTheLease, name);
    }
    return entry.until ? fmt::format("{}{}{} until {}", entry.holder, hasTheLease, name,
                                     operation::IsoTime(*entry.until + m_utcOffset))
                       : fmt::format("{}{}{}", entry.holder, hasTheLease, name);
}

void Leases::FollowClock(double now)
{
    double const offset = m_clocks.utc() - now;
    if (!(std::abs(offset - m_utcOffset) <= settingOfClock) && std::isfinite(offset)) {
        m_utcOffset = offset;
    }
}

void Leases::TellWaiting()
{
    for (;;) {
        Told told;
        LeaseListener* listener = nullptr;
        {
            std::lock_guard const lock(m_mutex);
            if (m_isTelling || m_toTell.empty()) {
                return;
            }
            if (m_listener == nullptr) {
                m_toTell.clear();
                return;
            }
            told = std::move(m_toTell.front());
            m_toTell.pop_front();
            listener = m_listener;
            m_isTelling = true;
        }
        if (auto const* const news = std::get_if<LeaseNews>(&told)) {
            listener->OnLease(*news);
        } else {
            listener->OnAnswer(std::get<LeaseAnswer>(told));
        }
        std::lock_guard const lock(m_mutex);
        m_isTelling = false;
    }
}

} // namespace qx5::authority
