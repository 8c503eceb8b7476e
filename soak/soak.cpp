// Rounds of actions, and the rests between them.
#include "soak.h"

#include "told_tree.h"

#include "cli/scenario/view_controls.h"
#include "reference_host/common/log.h"
#include "reference_host/targets/target_store.h"

#include <VordalAttributesR/CVordalType.h>
#include <commands/terminal_codes.h>
#include <protocol/catalogue.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTabBar>
#include <QTest>
#include <QTimer>

#include <fmt/format.h>

namespace qx5::soak {

namespace {

using namespace std::chrono_literals;
namespace keys = protocol::keys;

#if defined(__SANITIZE_ADDRESS__)
constexpr std::string_view build = "under the address and undefined-behaviour sanitizers";
constexpr double slowness = 10.0;
constexpr double memoryAllowance = 8.0;
#elif defined(__SANITIZE_THREAD__)
constexpr std::string_view build = "under the thread sanitizer";
constexpr double slowness = 20.0;
constexpr double memoryAllowance = 8.0;
#else
constexpr std::string_view build = "plain";
constexpr double slowness = 1.0;
constexpr double memoryAllowance = 4.0;
#endif

/// 99 of 100 requests are carried out, with their echoes told, within this time, in milliseconds, and while a sonar
/// floods the host within that one: beyond so many times what a bare hand-over to another thread takes at the same
/// time.
constexpr double latencyBound = 50.0 * slowness;
constexpr double latencyBoundInFloods = 2000.0 * slowness;
constexpr double handOvers = 4.0;
/// What may grow over all samples together, beyond the noise: a descriptor, a thread, so many MiB.
constexpr double countAllowance = 1.0;
/// Rests before these are the warm-up: caches fill, lists reach their bounds, every key was asked for once.
constexpr double warmUpPart = 0.3;
/// Fewer samples tell nothing.
constexpr std::size_t leastSamples = 10;
constexpr auto patience = std::chrono::seconds(slowness > 1.0 ? 180 : 60);
/// Every so many rounds the plug-in goes and comes.
constexpr std::uint64_t roundsOfPlugin = 4;
/// Every so many of these times with a new project and new sonars; what a flood has left in the trees of either side
/// goes with the old ones.
constexpr std::uint64_t pluginsOfProject = 2;
/// A flood is over after so many actions.
constexpr std::size_t actionsOfFlood = 20;
constexpr std::size_t greatestContacts = 30;

std::string_view LevelText(vordal::LogLevel level)
{
    switch (level) {
    case vordal::LogLevel::Debug:
        return "debug";
    case vordal::LogLevel::Info:
        return "info";
    case vordal::LogLevel::Warning:
        return "warning";
    case vordal::LogLevel::Error:
        break;
    }
    return "error";
}

/// Whether a sonar may come to have the key by itself: not what the host's configuration says of its turns, and not
/// what makes of any report the answer to a ping.
bool IsOfTheSonar(protocol::Key const& key)
{
    constexpr std::array notOfTheSonar{&keys::PingMode, &keys::SonarGroupId, &keys::Overhead, &keys::x5PingNumber};
    return std::find(notOfTheSonar.begin(), notOfTheSonar.end(), &key) == notOfTheSonar.end();
}

MadeRequest OneValue(protocol::Key const& key, CVordalType const& value)
{
    MadeRequest made;
    made.request.Add(AttributeKey(key.text), value, 0);
    made.text = protocol::EncodeUtf8(key.text) + "=" + value.ToText();
    return made;
}

} // namespace

Soak::Soak(Options const& options, std::filesystem::path folder, std::function<bool()> isToEnd)
    : m_options(options), m_folder(std::move(folder)), m_isToEnd(std::move(isToEnd)), m_random(options.seed),
      m_ledger(options.verbose), m_watch(m_ledger), m_maker(m_random),
      m_watchdog(patience, [this](std::string const& reason) { PrintEnd(reason); })
{
    vordal::SetLogSink([this](vordal::LogLevel level, std::string_view line) { m_ledger.Log(LevelText(level), line); });
    // Room for all samples now: what the soak itself keeps must not grow.
    m_samples.reserve(100000);
    m_newSamples.reserve(100000);
    m_stage = std::make_unique<Stage>(m_sonars, m_watch, m_folder, true);
}

Soak::~Soak()
{
    m_stage.reset();
    vordal::SetLogSink({});
}

std::vector<Soak::Action> const& Soak::Actions()
{
    static std::vector<Action> const actions{
        {"request, sensible", 30, &Soak::AskSensibly},
        {"request, senseless", 15, &Soak::AskSenselessly},
        {"control of the view", 25, &Soak::WorkControl},
        {"terminal code", 8, &Soak::EnterTerminalCode},
        {"sonar chosen", 3, &Soak::ChooseSonar},
        {"vessel chosen", 1, &Soak::ChooseVessel},
        {"tab chosen", 3, &Soak::ChooseTab},
        {"view closed and opened", 1, &Soak::ReopenView},
        {"light mode", 1, &Soak::ChangeLight},
        {"contact", 6, &Soak::ChangeContact},
        {"pings on or off", 5, &Soak::SwitchPings},
        {"change at the sonar", 6, &Soak::ChangeSonar},
        {"status of a stream", 2, &Soak::ChangeStream},
        {"failure of a sonar", 6, &Soak::Misbehave},
        {"end of a sonar's failures", 3, &Soak::Behave},
        {"device removed or added", 2, &Soak::RemoveOrAddSonar},
    };
    return actions;
}

void Soak::Run()
{
    auto const end =
        m_begin + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(m_options.minutes * 60.0));
    auto const isOver = [&] {
        return m_isToEnd() || (m_options.rounds != 0 ? m_round >= m_options.rounds : Clock::now() >= end);
    };
    fmt::print("soak {}: {} sonars, seed {}, {} ways to fail, {} uses of keys, {} keys of the host alone\n", build,
               SonarCount, m_options.seed, m_failures.size(), m_maker.Uses(), KeysOfHostAlone().size());
    std::fflush(stdout);
    Rest();
    while (!isOver()) {
        ++m_round;
        for (std::size_t i = 0; i < m_options.actions && !m_isToEnd(); ++i) {
            DoOne();
            Idle(std::chrono::milliseconds(static_cast<int>(1000.0 / m_options.pace)));
            m_ledger.Check();
            m_sonars.JudgePings();
            m_watchdog.Progress();
        }
        Rest();
        if (m_round % roundsOfPlugin == 0) {
            bool const isNew = m_round / roundsOfPlugin % pluginsOfProject == 0;
            ReloadAll(isNew);
            Rest();
            if (isNew) {
                m_newSamples.push_back(m_samples.back());
            }
        }
    }
    ReloadAll(false);
    Rest();
    m_stage->End();
    m_stage.reset();
    CheckGrowth();
    CheckLatency();
}

void Soak::DoOne()
{
    std::size_t all = 0;
    for (Action const& action : Actions()) {
        all += action.weight;
    }
    std::size_t drawn = m_random.Below(all);
    for (Action const& action : Actions()) {
        if (drawn < action.weight) {
            m_detail.clear();
            (this->*action.act)();
            m_ledger.Act(action.kind, m_detail);
            EndOldFlood();
            return;
        }
        drawn -= action.weight;
    }
}

std::string Soak::SonarText(std::size_t sonar) const
{
    return fmt::format("sonar {}", sonar + 1);
}

// The actions.

void Soak::AskSensibly()
{
    std::size_t const sonar = AnySonar();
    auto const made = m_maker.Sensible();
    m_detail = SonarText(sonar) + " " + made.text;
    Post(sonar, made);
}

void Soak::AskSenselessly()
{
    std::size_t const sonar = AnySonar();
    auto const made = m_maker.Senseless();
    m_detail = SonarText(sonar) + " " + made.text;
    Post(sonar, made);
}

void Soak::WorkControl()
{
    using cli::ControlKind;
    auto const& row = m_random.Pick(cli::viewControls);
    std::size_t const hand = m_random.Below(6);
    constexpr std::array texts{"5", "60", "120", "-1", "abc", "1e9", ""};
    char const* const text = m_random.Pick(texts);
    m_detail = fmt::format("{} {} {}", row.page, row.id, hand);
    QWidget* const control = m_stage->Control(row.page, row.id);
    if (control == nullptr) {
        m_detail += ", not there";
        return;
    }
    if (auto* const tabs = qobject_cast<QTabBar*>(m_stage->Tabs())) {
        auto const page = std::find(cli::viewPages.begin(), cli::viewPages.end(), row.page);
        tabs->setCurrentIndex(static_cast<int>(page - cli::viewPages.begin()));
        QCoreApplication::processEvents();
    }
    if (!control->isVisible() || !control->isEnabled()) {
        m_detail += ", not to be worked";
        return;
    }
    control->setFocus();
    constexpr std::array sliderKeys{Qt::Key_Home, Qt::Key_End,    Qt::Key_Right,
                                    Qt::Key_Left, Qt::Key_PageUp, Qt::Key_PageDown};
    switch (row.kind) {
    case ControlKind::Button:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
    case ControlKind::ToggleButton:
        QTest::mouseClick(control, Qt::LeftButton, Qt::NoModifier, QPoint(8, control->height() / 2));
        break;
    case ControlKind::Slider:
        QTest::keyClick(control, sliderKeys[hand]);
        break;
    case ControlKind::List:
        QTest::keyClick(control, hand % 2 == 0 ? Qt::Key_Down : Qt::Key_Up);
        break;
    case ControlKind::TextField:
        QTest::keyClick(control, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(control, QString::fromLatin1(text));
        QTest::keyClick(control, Qt::Key_Return);
        m_detail += fmt::format(" '{}'", text);
        break;
    case ControlKind::Label:
    case ControlKind::ReadOnlyText:
        m_detail += ", only to be read";
        break;
    }
}

void Soak::ChooseSonar()
{
    std::size_t const sonar = AnySonar();
    m_detail = SonarText(sonar);
    Q_EMIT m_stage->Window().Devices().SonarChosen(IdOf(sonar));
}

void Soak::ChooseVessel()
{
    auto const vessel = static_cast<unsigned short>(1 + m_random.Below(2));
    m_detail = fmt::format("vessel {}", vessel);
    Q_EMIT m_stage->Window().Devices().VesselChosen(vessel);
}

void Soak::ChooseTab()
{
    auto const tab = static_cast<int>(m_random.Below(cli::viewPages.size()));
    m_detail = fmt::format("tab {}", tab);
    if (auto* const tabs = qobject_cast<QTabBar*>(m_stage->Tabs())) {
        tabs->setCurrentIndex(tab);
    }
}

void Soak::ReopenView()
{
    std::size_t const sonar = AnySonar();
    m_detail = SonarText(sonar);
    m_stage->CloseView();
    if (m_stage->IsThere(sonar)) {
        m_stage->OpenView(sonar);
    } else {
        m_stage->OpenView(0);
    }
}

void Soak::ChangeLight()
{
    int const mode = static_cast<int>(1 + m_random.Below(4));
    m_detail = fmt::format("mode {}", mode);
    m_stage->Window().SetLightMode(mode);
    m_stage->Session().Requests().setLightMode(mode);
}

void Soak::EnterTerminalCode()
{
    std::size_t const sonar = m_random.OneIn(2) ? 0 : SonarCount - 1;
    // Every sixth is one that means nothing.
    std::uint32_t const code =
        m_random.OneIn(6) ? static_cast<std::uint32_t>(m_random.Below(200)) : m_random.Pick(terminal::Codes).number;
    m_detail = fmt::format("{} code {}", SonarText(sonar), code);
    m_stage->EnterCode(sonar, code);
}

void Soak::ChangeContact()
{
    auto& targets = m_stage->Host().Targets();
    std::size_t const what = m_random.Below(4);
    std::size_t const which = m_random.Below(greatestContacts);
    vordal::StoredTarget contact;
    contact.target.range = static_cast<float>(which);
    contact.target.description = L"soaked";
    contact.target.SetLatitudeLongitudeValid(true);
    contact.target.latitude = 54.0 + static_cast<double>(which) / 100.0;
    if (m_contacts.empty() || (what == 0 && m_contacts.size() < greatestContacts)) {
        contact.target.targetId = ++m_lastContact;
        contact.target.targetGuid = CString(L"soak-" + std::to_wstring(m_lastContact));
        m_contacts.push_back(m_lastContact);
        m_detail = fmt::format("{} added", m_lastContact);
        targets.Add(m_stage->ContactFile(), contact);
        return;
    }
    auto const chosen = m_contacts.begin() + static_cast<std::ptrdiff_t>(which % m_contacts.size());
    contact.target.targetId = *chosen;
    contact.target.targetGuid = CString(L"soak-" + std::to_wstring(*chosen));
    if (what == 1) {
        m_detail = fmt::format("{} removed", *chosen);
        targets.Remove(m_stage->ContactFile(), *chosen);
        m_contacts.erase(chosen);
    } else if (what == 2) {
        m_detail = fmt::format("{} changed", *chosen);
        targets.Change(m_stage->ContactFile(), contact);
    } else {
        auto const code = static_cast<std::uint32_t>(m_random.Below(12));
        m_detail = fmt::format("{} told with code {}", *chosen, code);
        m_stage->Host().Post(
            [&targets, id = *chosen, code, host = &m_stage->Host()] { targets.Tell(id, code, host->Now()); });
    }
}

void Soak::SwitchPings()
{
    std::size_t const sonar = AnySonar();
    // Of a sonar that takes turns this is rarely asked.
    bool const on = m_random.OneIn(2) && (TurnsOf[sonar].group == 0 || m_random.OneIn(4));
    auto const made = OneValue(keys::x5PingOnOffState, CVordalInt(on ? 1 : 0));
    m_detail = SonarText(sonar) + " " + made.text;
    Post(sonar, made);
}

void Soak::ChangeSonar()
{
    std::size_t const sonar = AnySonar();
    auto const all = protocol::AllKeys();
    protocol::Key const* key = nullptr;
    while (key == nullptr || !IsOfTheSonar(*key)) {
        key = all[m_random.Below(all.size())];
    }
    constexpr std::array values{"0", "1", "2", "12.5", "100", "1,2", "-1", "99999", "text"};
    auto const line = fmt::format("set {}={}", protocol::EncodeUtf8(key->text), m_random.Pick(values));
    m_detail = SonarText(sonar) + " " + line;
    std::string answer;
    m_sonars.Try(sonar, line, answer); // it may refuse
}

void Soak::ChangeStream()
{
    std::size_t const sonar = AnySonar();
    auto const line = fmt::format("buffer-status {}", m_random.OneIn(2) ? 0 : 3);
    m_detail = SonarText(sonar) + " " + line;
    m_sonars.Command(sonar, line);
}

void Soak::Misbehave()
{
    // In turn, and of the sonars each in turn: there are fewer sonars than failures, or more, but not as many.
    Failure const& failure = m_failures[m_failuresGiven % m_failures.size()];
    std::size_t const sonar = (m_failuresGiven + m_failuresGiven / m_failures.size()) % SonarCount;
    ++m_failuresGiven;
    m_detail = SonarText(sonar) + " " + failure.command;
    if (failure.floods) {
        if (m_flooding) {
            m_sonars.Command(*m_flooding, "behave");
        }
        m_flooding = sonar;
        m_floodedActions = 0;
        m_watch.SetFlooded(true);
    }
    m_sonars.Command(sonar, failure.command);
    m_ledger.Misbehave(failure.command.substr(sizeof "misbehave"));
    m_mayHaveMissed[sonar] = m_mayHaveMissed[sonar] || failure.swallows;
}

void Soak::EndOldFlood()
{
    if (m_flooding && ++m_floodedActions > actionsOfFlood) {
        m_sonars.Command(*m_flooding, "behave");
        m_flooding.reset();
        m_watch.SetFlooded(false);
    }
}

void Soak::Behave()
{
    std::size_t const sonar = AnySonar();
    m_detail = SonarText(sonar);
    m_sonars.Command(sonar, "behave");
}

void Soak::RemoveOrAddSonar()
{
    std::size_t const sonar = AnySonar();
    if (m_stage->IsThere(sonar)) {
        m_detail = SonarText(sonar) + " removed";
        m_stage->RemoveSonar(sonar);
    } else {
        m_detail = SonarText(sonar) + " added";
        m_stage->AddSonar(sonar);
    }
    // What it told meanwhile went nowhere.
    m_mayHaveMissed[sonar] = true;
}

void Soak::Post(std::size_t sonar, MadeRequest const& made)
{
    m_yardstick.Strike();
    m_watch.Post(IdOf(sonar), made);
}

// Rests.

void Soak::Idle(std::chrono::milliseconds time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

template <typename Condition>
void Soak::WaitUntil(std::string_view what, Condition condition)
{
    m_watchdog.WaitFor(what);
    while (!condition()) {
        Idle(10ms);
        m_ledger.Check();
        m_sonars.JudgePings();
    }
    m_watchdog.Progress();
}

void Soak::Rest()
{
    for (std::size_t i = 0; i < SonarCount; ++i) {
        m_sonars.Command(i, "behave");
        m_sonars.Command(i, "start");
        m_sonars.Command(i, "buffer-status 0");
        if (!m_stage->IsThere(i)) {
            m_stage->AddSonar(i);
        }
    }
    m_flooding.reset();
    ConnectAnew();
    BringToRest();
    CompareTrees();
    m_sonars.JudgePings();
    m_watch.SetFlooded(false);
    m_samples.push_back(LookAtProcess());
}

/// Sonars of which the host may have missed something introduce themselves again.
void Soak::ConnectAnew()
{
    for (std::size_t i = 0; i < SonarCount; ++i) {
        if (std::exchange(m_mayHaveMissed[i], false)) {
            m_sonars.Command(i, "drop");
            WaitUntil(SonarText(i) + "'s connection ends",
                      [&] { return m_sonars.OpenConnections(i) == 0 || !m_stage->IsQuiet(i); });
        }
    }
    for (std::size_t i = 0; i < SonarCount; ++i) {
        WaitUntil(SonarText(i) + " is connected", [&] {
            // A request to shut down may have been on its way when all were switched on.
            m_sonars.Command(i, "start");
            return m_stage->IsQuiet(i);
        });
    }
}

/// Nothing is under way any more: each sonar has taken what the host sent, and the host what the sonar told.
void Soak::BringToRest()
{
    WaitUntil("all requests are carried out", [&] { return m_watch.Outstanding() == 0; });
    ++m_marks;
    // Quarters of a metre are exact on the wire.
    double const range = 100.0 + 0.25 * static_cast<double>(m_marks % 97);
    for (std::size_t i = 0; i < SonarCount; ++i) {
        for (auto const& made :
             {OneValue(keys::x5PingOnOffState, CVordalInt(0)), OneValue(keys::x5DataRecording, CVordalInt(0))}) {
            Post(i, made);
        }
    }
    for (std::size_t i = 0; i < SonarCount; ++i) {
        // A connection that breaks once more takes it along; then it is asked again.
        auto asked = Clock::time_point();
        WaitUntil(SonarText(i) + " takes a range", [&] {
            if (Clock::now() - asked > 2s) {
                asked = Clock::now();
                m_sonars.Command(i, "start");
                Post(i, OneValue(keys::x5Range, CVordalDouble(range)));
            }
            return m_sonars.LastRange(i) == range;
        });
        m_sonars.Command(i, fmt::format("set SoakMark:int={}", m_marks));
    }
    constexpr AttributeKey mark{L"SoakMark"};
    for (std::size_t i = 0; i < SonarCount; ++i) {
        WaitUntil(SonarText(i) + "'s report is in the device's tree", [&] {
            int told = 0;
            return m_stage->TreeOf(i).FindValue(mark, 0).Get(told) && static_cast<std::uint64_t>(told) == m_marks;
        });
    }
    std::array<std::uint64_t, SonarCount> pings{};
    for (std::size_t i = 0; i < SonarCount; ++i) {
        pings[i] = m_sonars.Pings(i);
    }
    for (std::size_t i = 0; i < SonarCount; ++i) {
        WaitUntil(SonarText(i) + " has its turn to ping",
                  [&] { return TurnsOf[i].group == 0 || m_sonars.Pings(i) >= pings[i] + 2; });
    }
    // What a failure had delayed may have come behind.
    WaitUntil("all requests are carried out", [&] { return m_watch.Outstanding() == 0; });
}

void Soak::CompareTrees()
{
    for (std::size_t i = 0; i < SonarCount; ++i) {
        auto const began = Clock::now();
        std::string difference;
        bool isEqual = false;
        while (!isEqual) {
            std::optional<CAttributeMap> told;
            {
                Introduction const introduction(m_introductions, m_sonars.Port(i));
                WaitUntil(SonarText(i) + " introduces itself",
                          [&] { return (told = introduction.Told()).has_value(); });
            }
            difference = Difference(*told, m_stage->TreeOf(i), m_watch.HasRefused(IdOf(i)));
            isEqual = difference.empty();
            if (!isEqual && Clock::now() - began > 10s * slowness) {
                throw Broken(fmt::format("{} at rest, the trees differ: {}", SonarText(i), difference));
            }
        }
        ++m_treesCompared;
        WaitUntil(SonarText(i) + " has one connection", [&] { return m_sonars.OpenConnections(i) == 1; });
    }
}

void Soak::ReloadAll(bool isNew)
{
    m_stage->End();
    m_stage.reset();
    m_ledger.Act("plug-in and project",
                 isNew ? "saved, unloaded; loaded, a new project" : "saved, unloaded; loaded, the project opened");
    ++m_reloads;
    if (isNew) {
        m_sonars.Replace();
    }
    m_stage = std::make_unique<Stage>(m_sonars, m_watch, m_folder, isNew);
    for (std::size_t i = 0; i < SonarCount; ++i) {
        WaitUntil(SonarText(i) + " is connected", [&] { return m_stage->IsQuiet(i); });
    }
}

// What is to be said at the end.

namespace {

std::vector<double> ValuesOf(std::vector<Held> const& samples, double Held::*member, double from)
{
    std::vector<double> values;
    for (auto i = static_cast<std::size_t>(from * static_cast<double>(samples.size())); i < samples.size(); ++i) {
        values.push_back(samples[i].*member);
    }
    return values;
}

struct Resource
{
    char const* name;
    double Held::*member;
    double allowance;
};
constexpr Resource resources[]{{"memory allocated, MiB", &Held::memory, memoryAllowance},
                               {"descriptors", &Held::descriptors, countAllowance},
                               {"threads", &Held::threads, countAllowance}};

} // namespace

void Soak::CheckGrowth() const
{
    for (auto const* const samples : {&m_samples, &m_newSamples}) {
        for (auto const& resource : resources) {
            auto const values = ValuesOf(*samples, resource.member, warmUpPart);
            if (auto const trend = TrendOf(values); values.size() >= leastSamples && trend.Grows(resource.allowance)) {
                throw Broken(fmt::format("{} grow: {:+.3f} +- {:.3f} a rest, {:+.2f} over {} rests{}", resource.name,
                                         trend.slope, trend.error, trend.Growth(), trend.count,
                                         samples == &m_samples ? "" : " on a new project"));
            }
        }
    }
}

void Soak::CheckLatency() const
{
    auto const check = [](Latencies const& latencies, double bound, char const* when) {
        constexpr std::uint64_t leastRequests = 1000;
        if (double const slow = latencies.Milliseconds(0.99); latencies.Count() >= leastRequests && slow > bound) {
            throw Broken(
                fmt::format("99 of 100 requests{} took up to {:.1f} ms; the bound is {:.0f} ms", when, slow, bound));
        }
    };
    check(m_watch.Taken(), LatencyBound(false), "");
    check(m_watch.TakenInFloods(), LatencyBound(true), " while a sonar floods the host");
}

double Soak::LatencyBound(bool inFlood) const
{
    return (inFlood ? latencyBoundInFloods : latencyBound) + handOvers * m_yardstick.Taken().Milliseconds(0.99);
}

void Soak::PrintTable() const
{
    auto const row = [](std::string_view name, std::string_view value) { fmt::print("  {:<44}{}\n", name, value); };
    auto const number = [&](std::string_view name, std::uint64_t value) { row(name, fmt::format("{:>10}", value)); };
    double const seconds = std::chrono::duration<double>(Clock::now() - m_begin).count();
    fmt::print("\n{} minutes {}, seed {}\n", fmt::format("{:.1f}", seconds / 60.0), build, m_options.seed);
    number("rounds", m_round);
    number("rests at which all agreed", m_samples.size());
    number("trees compared", m_treesCompared);
    number("plug-in and project gone and come", m_reloads);
    fmt::print("actions\n");
    for (auto const& [kind, count] : m_ledger.Actions()) {
        number(kind, count);
    }
    fmt::print("failures of sonars\n");
    for (auto const& [kind, count] : m_ledger.Failures()) {
        number(kind, count);
    }
    PingCounts const pings = m_sonars.Counts();
    fmt::print("pings\n");
    number("all", pings.all);
    number("in turn, judged", pings.judged);
    number("of a sonar that was told to ping by itself", pings.own);
    number("at once around a lost link or the like", pings.excused);
    number("at once in a group out of step since then", pings.outOfStep);
    number("at once without such an excuse", 0);
    RequestCounts const requests = m_watch.Counts();
    fmt::print("requests\n");
    number("posted", requests.posted);
    number("with a promised echo", requests.promised);
    number("echoed", requests.echoed);
    number("told to be dropped", requests.dropped);
    number("told to have failed", requests.failed);
    number("senseless, or without an echo by rule", requests.nothing);
    number("to a device that was not there", requests.away);
    number("of the view and of terminals besides", requests.others);
    number("echoes in all", requests.echoes);
    auto const latency = [&](std::string_view when, Latencies const& latencies, double bound) {
        row(fmt::format("carried out{}, p50", when), fmt::format("{:>10.2f} ms", latencies.Milliseconds(0.5)));
        row(fmt::format("carried out{}, p99", when),
            fmt::format("{:>10.2f} ms of {:.0f}", latencies.Milliseconds(0.99), bound));
    };
    latency("", m_watch.Taken(), LatencyBound(false));
    latency(" in a flood", m_watch.TakenInFloods(), LatencyBound(true));
    row("bare hand-over to a thread, p99", fmt::format("{:>10.2f} ms", m_yardstick.Taken().Milliseconds(0.99)));
    fmt::print("lines of the host's log\n");
    for (auto const& [level, count] : m_ledger.LogLevels()) {
        number(level, count);
    }
    auto const table = [](std::string_view title, std::vector<Held> const& samples) {
        fmt::print("{:<34}{:>10}{:>10}{:>24}{:>12}\n", title, "first", "last", "slope a rest", "in all");
        auto const line = [&](std::string_view name, double Held::*member) {
            auto const trend = TrendOf(ValuesOf(samples, member, warmUpPart));
            fmt::print("  {:<32}{:>10.2f}{:>10.2f}{:>+13.4f} +- {:.4f}{:>+12.2f}\n", name,
                       samples.empty() ? 0.0 : samples.front().*member, samples.empty() ? 0.0 : samples.back().*member,
                       trend.slope, trend.error, trend.Growth());
        };
        for (auto const& resource : resources) {
            line(resource.name, resource.member);
        }
        line("memory resident, MiB, not judged", &Held::resident);
    };
    table(fmt::format("held at {} rests", m_samples.size()), m_samples);
    table(fmt::format("held at {} rests on a new project", m_newSamples.size()), m_newSamples);
    std::fflush(stdout);
}

void Soak::PrintEnd(std::string const& reason)
{
    fmt::print(stderr, "soak: BROKEN in round {}: {}\nrepeat with --seed {}\n", m_round, reason, m_options.seed);
    m_ledger.PrintLast();
    for (std::size_t i = 0; i < SonarCount; ++i) {
        if (std::string status; m_sonars.Try(i, "status", status)) {
            fmt::print(stderr, "{}: {}\n", SonarText(i), std::string_view(status).substr(0, status.find("\nrecord ")));
        }
    }
}

} // namespace qx5::soak
