// Follows every request of a host from the asking to what the sonar then has.
#include "operation/request_follower.h"

#include "operation/action_values.h"
#include "operation/dropped_text.h"
#include "operation/steady_seconds.h"
#include "operation/tree_walk.h"
#include "reference_host/attributes/tree_merge.h"
#include "reference_host/common/failure.h"
#include "reference_host/streams/settings_data.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalBaseR/CExTime.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <commands/catalogue.h>
#include <protocol/catalogue.h>
#include <protocol/records/shared_keys.h>

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace qx5::operation {

namespace {

constexpr char const* couldNot = "a request could not be followed: ";
constexpr AttributeKey introducedBy{protocol::keys::DeviceId.text};

/// Whether two trees have the same under a key.
bool HasTheSame(CAttributeMap const& a, CAttributeMap const& b, AttributeKey const& key)
{
    int const count = b.Count(key);
    for (int i = 0; i < count; ++i) {
        auto const* const one = a.GetAttrMap(key, i);
        CAttributeMap const& other = b.Find(key, i);
        if (one == nullptr || !one->Value().IsSame(other.Value()) || !vordal::TreesEqual(*one, other)) {
            return false;
        }
    }
    return true;
}

/// Whether what `told` has under a key is what was asked for, as far as it goes.
bool Matches(CAttributeMap const& asked, CAttributeMap const& told, AttributeKey const& key)
{
    bool any = false;
    int const count = asked.Count(key);
    for (int i = 0; i < count; ++i) {
        if (auto const* const has = told.GetAttrMap(key, i)) {
            if (!IsSameAsFarAsTold(asked.Find(key, i), *has)) {
                return false;
            }
            any = true;
        }
    }
    return any;
}

/// Whether nothing of what is asked for is to leave or to be echoed: it is done within the host.
bool IsTheHostsOwn(CAttributeMap const& asked)
{
    return std::any_of(asked.begin(), asked.end(), [](CAttributeMap const& child) {
        protocol::Key const* const key = protocol::FindKey(child.KeyText());
        if (key == nullptr) {
            return false;
        }
        auto const rows = RowsOfKey(*key);
        return std::any_of(rows.begin(), rows.end(), [](ChainEntry const* row) { return row->command->sends.empty(); });
    });
}

/// "x5Range: asked 99999 m, the sonar has 500 m, and 2 more".
std::string DifferenceOf(Action const& action)
{
    std::string text;
    std::size_t more = 0;
    for (ActionValue const& value : ValuesOf(action)) {
        if (!value.Differs()) {
            continue;
        }
        if (text.empty()) {
            text = fmt::format("{}: asked {}, the sonar has {}", value.path, ValueText(value.key, value.asked),
                               ValueText(value.key, value.got));
        } else {
            ++more;
        }
    }
    return more != 0 ? fmt::format("{}, and {} more", text, more) : text;
}

} // namespace

RequestFollower::RequestFollower(FollowerOptions options) : m_options(std::move(options))
{
    if (!m_options.steadyClock) {
        m_options.steadyClock = SteadySeconds;
    }
}

RequestFollower::~RequestFollower() = default;

RequestFollower::Running* RequestFollower::Current()
{
    // Only the thread that carries a request out finds itself here; it alone changes what follows.
    if (m_thread.load(std::memory_order_acquire) != std::this_thread::get_id()) {
        return nullptr;
    }
    return !m_running.empty() && m_running.back().depth == m_depth ? &m_running.back() : nullptr;
}

Action RequestFollower::NewAction(BaseDevice const& device, vordal::RequestOrigin who)
{
    Action action;
    action.number = ++m_number;
    action.time = CExTime::GetCurTime();
    action.who = who;
    // What others change is nobody's here, even if it comes while somebody's request is carried out.
    if (who != vordal::RequestOrigin::OtherHost) {
        action.person = vordal::CurrentPerson();
    }
    action.sonar = device.GetDataId();
    return action;
}

void RequestFollower::OnRequest(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who)
{
    m_thread.store(std::this_thread::get_id(), std::memory_order_release);
    ++m_depth;
    vordal::LogFailureOf(couldNot, [&] {
        Running running;
        running.depth = m_depth;
        running.action = NewAction(device, who);
        running.action.asked = request;
        CAttributeMap tree;
        device.GetAttributeMap(tree);
        running.action.before = AtTheSamePlaces(request, tree);
        running.judgement = RequestJudgement(request);
        running.isOfSonar = dynamic_cast<QX5Device const*>(&device) != nullptr;
        m_running.push_back(std::move(running));
        Action const action = m_running.back().action;
        for (ActionListener* const listener : m_listeners) {
            listener->OnActionBegins(action);
        }
    });
}

void RequestFollower::OnRequestEnd(BaseDevice&, std::string const* failure)
{
    auto* const current = Current();
    --m_depth;
    if (m_depth == 0) {
        m_thread.store({}, std::memory_order_release);
    }
    if (current == nullptr) {
        return;
    }
    vordal::LogFailureOf(couldNot, [&] {
        Running running = std::move(m_running.back());
        m_running.pop_back();
        Sonar& sonar = m_sonars[running.action.sonar.GetKey()];
        JudgeWithoutSonar(running, sonar, failure);
        if (running.action.result == Result::Pending) {
            Wait(sonar, std::move(running));
            return;
        }
        running.action.got = running.judgement.Got(sonar.told);
        if (running.action.result == Result::Differs) {
            running.action.reason = "what was echoed is not what was asked for";
        }
        Tell({running.action});
    });
}

void RequestFollower::JudgeWithoutSonar(Running& running, Sonar const& sonar, std::string const* failure)
{
    Action& action = running.action;
    auto const stands = [&action](Result result, std::string reason) {
        action.result = result;
        action.reason = std::move(reason);
    };
    RequestJudgement const& judgement = running.judgement;
    if (failure != nullptr) {
        stands(Result::Failed, *failure);
    } else if (running.notTaken != 0) {
        std::string const some = running.notTaken == running.sends
                                     ? std::string()
                                     : fmt::format("{} of {} records did not leave: ", running.notTaken, running.sends);
        stands(Result::NotSent, some + (!sonar.connected.has_value() ? "no connection, or no room in its queue"
                                        : *sonar.connected ? "there is no room in its queue, the sonar does not read"
                                                           : "the sonar is not connected"));
    } else if (!running.dropped.empty()) {
        stands(Result::Dropped, running.dropped);
    } else if (running.isOfSonar && !judgement.HasSent() && !judgement.HasEchoed() && !IsTheHostsOwn(action.asked)) {
        stands(Result::Dropped, "nothing was sent and nothing echoed: nobody takes it, a value is of another kind or "
                                "too long, or another one must be given with it");
    } else if (!judgement.AwaitsAnswer() || vordal::SizeOf(action.asked).bytes > GreatestPendingBytes) {
        stands(judgement.Judge(sonar.told, false) == RequestJudgement::Verdict::Agrees ? Result::Agrees
                                                                                       : Result::Differs,
               "");
    }
}

void RequestFollower::Wait(Sonar& sonar, Running running)
{
    Waiting waiting;
    waiting.action = std::move(running.action);
    waiting.judgement = std::move(running.judgement);
    waiting.bytes = vordal::SizeOf(waiting.action.asked).bytes;
    waiting.asked = m_options.steadyClock();
    std::vector<Action> standing;
    while (!sonar.waiting.empty() &&
           (sonar.waiting.size() >= GreatestPending || sonar.bytes + waiting.bytes > GreatestPendingBytes)) {
        End(sonar, 0, "too many later requests wait for answers", standing);
    }
    // It is asked for anew: what was agreed before counts no more.
    for (CAttributeMap const& child : waiting.action.asked) {
        while (sonar.agreed.Remove(AttributeKey(child.KeyText()))) {
            sonar.agreedAccount.NoteOthersWrote();
        }
    }
    sonar.bytes += waiting.bytes;
    sonar.waiting.push_back(std::move(waiting));
    Tell(standing);
}

void RequestFollower::OnRequestRefused(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                                       std::string const& reason)
{
    vordal::LogFailureOf(couldNot, [&] {
        Action action = NewAction(device, who);
        action.asked = request;
        CAttributeMap tree;
        device.GetAttributeMap(tree);
        action.before = AtTheSamePlaces(request, tree);
        action.got = AtTheSamePlaces(request, m_sonars[action.sonar.GetKey()].told);
        for (ActionListener* const listener : m_listeners) {
            listener->OnActionBegins(action);
        }
        action.result = Result::Refused;
        action.reason = reason;
        Tell({action});
    });
}

void RequestFollower::OnSend(vordal::SendMark const& mark, std::span<unsigned char const> payload, bool taken)
{
    auto* const running = Current();
    if (running == nullptr) {
        return;
    }
    ++running->sends;
    if (!taken) {
        ++running->notTaken;
        return;
    }
    vordal::LogFailureOf(couldNot, [&] {
        if (mark.kind == vordal::SendMark::Kind::RemoteControl) {
            running->judgement.SendCommand(mark.record, payload);
        } else {
            running->judgement.Send();
        }
    });
}

void RequestFollower::OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags)
{
    for (ActionListener* const listener : m_listeners) {
        listener->OnEcho(device.GetDataId(), tree, flags);
    }
    auto* const running = Current();
    if (running != nullptr && device.GetDataId() == running->action.sonar) {
        vordal::LogFailureOf(couldNot, [&] { running->judgement.Echo(tree); });
    }
}

void RequestFollower::OnDropped(BaseDevice& device, AttributeKey const& asked, AttributeKey const& missing)
{
    auto* const running = Current();
    if (running != nullptr && device.GetDataId() == running->action.sonar) {
        vordal::LogFailureOf(couldNot, [&] {
            running->dropped += (running->dropped.empty() ? "" : "; ") + DroppedText(asked, missing);
        });
    }
}

void RequestFollower::OnWritten(BaseDevice& device, CAttributeMap const& tree)
{
    for (ActionListener* const listener : m_listeners) {
        listener->OnWritten(device.GetDataId(), tree);
    }
}

void RequestFollower::OnChanged(CDataId const& sonar)
{
    for (ActionListener* const listener : m_listeners) {
        listener->OnChanged(sonar);
    }
}

void RequestFollower::OnTold(BaseDevice& device, CAttributeMap const& tree)
{
    vordal::LogFailureOf("what a sonar told could not be followed: ", [&] {
        Sonar& sonar = m_sonars[device.GetDataId().GetKey()];
        // An introduction is no answer, also when it comes late: the sonar sent it before it had read the request.
        bool const isIntroduction = !sonar.introduced && tree.Has(introducedBy);
        sonar.introduced = sonar.introduced || isIntroduction;
        bool const isPing = vordal::IsPingAnswer(tree);
        for (ActionListener* const listener : m_listeners) {
            listener->OnSonarTells(device.GetDataId(), tree);
        }
        std::vector<Action> standing;
        if (!sonar.waiting.empty() || sonar.agreed.Count() != 0) {
            Action changed;
            for (CAttributeMap const& child : tree) {
                AttributeKey const key(child.KeyText());
                // Looked for in what was asked for here first: a sonar may tell many keys, and choose them badly.
                bool const concerns = sonar.agreed.Has(key) ||
                                      std::any_of(sonar.waiting.begin(), sonar.waiting.end(),
                                                  [&](Waiting const& each) { return each.judgement.Concerns(key); });
                if (!concerns || tree.GetAttrMap(key) != &child) {
                    continue; // the others of a key went with the first
                }
                if (!isIntroduction) {
                    Answer(sonar, key, tree, isPing);
                }
                NoteOthersChange(sonar, key, tree, isPing, changed);
            }
            if (changed.asked.Count() != 0) {
                Action action = NewAction(device, vordal::RequestOrigin::OtherHost);
                action.asked = changed.asked;
                action.got = changed.asked;
                action.before = changed.before;
                action.result = Result::Agrees;
                standing.push_back(std::move(action));
            }
        }
        vordal::Merge(sonar.told, tree, sonar.toldAccount);
        EndSome(sonar, m_options.steadyClock(), standing);
        Tell(standing);
    });
}

void RequestFollower::Answer(Sonar& sonar, AttributeKey const& key, CAttributeMap const& tree, bool isPing)
{
    std::vector<Waiting*> waiting;
    CAttributeMap only;
    auto const give = [&](Waiting& to) {
        if (only.Count() == 0) {
            only = ChildrenOf(tree, key);
        }
        vordal::Merge(to.judgement.AnswerTree(), only, to.account);
    };
    for (Waiting& each : sonar.waiting) {
        if (each.judgement.Asked().Has(key)) {
            if (!each.judgement.HasAnswerOf(key)) {
                waiting.push_back(&each);
            }
        } else if (!isPing && each.judgement.Concerns(key)) {
            give(each);
        }
    }
    if (waiting.empty()) {
        return;
    }
    auto const met = std::find_if(waiting.begin(), waiting.end(),
                                  [&](Waiting const* each) { return Matches(each->judgement.Asked(), tree, key); });
    if (met != waiting.end()) {
        for (auto older = waiting.begin(); older != met; ++older) {
            (*older)->replaced = true;
            give(**older);
        }
        give(**met);
        return;
    }
    Waiting& oldest = *waiting.front();
    bool const isNews = !HasTheSame(sonar.told, tree, key);
    if (!isNews) {
        for (Waiting* const each : waiting) {
            auto& repeated = each->repeated;
            auto known = std::find_if(repeated.begin(), repeated.end(),
                                      [&](auto const& item) { return item.key == key.Text(); });
            if (known == repeated.end()) {
                known = repeated.insert(known, {std::wstring(key.Text()), false});
            }
            // A report is one request's answer: the oldest's.
            if (!isPing && each == &sonar.waiting.front()) {
                known->byReport = true;
                each->repeatedSince = each->repeatedSince.value_or(m_options.steadyClock());
            }
        }
        return;
    }
    give(oldest);
    oldest.differsSince = oldest.differsSince.value_or(m_options.steadyClock());
}

void RequestFollower::NoteOthersChange(Sonar& sonar, AttributeKey const& key, CAttributeMap const& tree, bool isPing,
                                       Action& changed)
{
    if (!sonar.agreed.Has(key) || Matches(sonar.agreed, tree, key) ||
        (isPing && m_options.steadyClock() - sonar.agreedAt < m_options.answerLimit)) {
        return;
    }
    int const count = sonar.agreed.Count(key);
    for (int i = 0; i < count; ++i) {
        if (auto const* const told = tree.GetAttrMap(key, i)) {
            changed.before.Append(sonar.agreed.Find(key, i));
            changed.asked.Append(*told);
        }
    }
    while (sonar.agreed.Remove(key)) {
        sonar.agreedAccount.NoteOthersWrote();
    }
}

void RequestFollower::EndSome(Sonar& sonar, double now, std::vector<Action>& standing)
{
    for (std::size_t place = 0; place < sonar.waiting.size();) {
        Waiting& waiting = sonar.waiting[place];
        bool const isOver = now - waiting.asked >= m_options.answerLimit;
        auto const isPast = [&](std::optional<double> since) { return since && now - *since >= m_options.settleLimit; };
        bool const isSettled = isPast(waiting.differsSince) || isPast(waiting.repeatedSince);
        for (auto const& [key, byReport] : waiting.repeated) {
            AttributeKey const told(key);
            if ((isOver || (isSettled && byReport)) && !waiting.judgement.HasAnswerOf(told)) {
                vordal::Merge(waiting.judgement.AnswerTree(), ChildrenOf(sonar.told, told), waiting.account);
            }
        }
        // What an older request waits for is not known yet, even if it is told to be as it is asked for here.
        auto const isOpenBefore = [&](CAttributeMap const& child) {
            AttributeKey const key(child.KeyText());
            return !waiting.judgement.HasAnswerOf(key) &&
                   std::any_of(sonar.waiting.begin(), sonar.waiting.begin() + static_cast<std::ptrdiff_t>(place),
                               [&](Waiting const& older) {
                                   return older.judgement.Asked().Has(key) && !older.judgement.HasAnswerOf(key);
                               });
        };
        CAttributeMap const& asked = waiting.judgement.Asked();
        if (isOver || isSettled ||
            (waiting.judgement.IsAnswered(sonar.told) && std::none_of(asked.begin(), asked.end(), isOpenBefore))) {
            End(sonar, place, fmt::format("the sonar did not answer within {:g} s", m_options.answerLimit), standing);
        } else {
            ++place;
        }
    }
}

void RequestFollower::End(Sonar& sonar, std::size_t place, std::string const& unanswered, std::vector<Action>& standing)
{
    Waiting& waiting = sonar.waiting[place];
    Action& action = waiting.action;
    action.got = waiting.judgement.Got(sonar.told);
    switch (waiting.judgement.Judge(sonar.told, true)) {
    case RequestJudgement::Verdict::Agrees:
        action.result = Result::Agrees;
        Agree(sonar, place);
        break;
    case RequestJudgement::Verdict::Differs:
        action.result = waiting.replaced && !waiting.differsSince ? Result::Replaced : Result::Differs;
        action.reason = DifferenceOf(action);
        break;
    case RequestJudgement::Verdict::Unanswered:
        action.result = Result::Unanswered;
        action.reason = unanswered;
        break;
    }
    standing.push_back(std::move(action));
    sonar.bytes -= waiting.bytes;
    sonar.waiting.erase(sonar.waiting.begin() + static_cast<std::ptrdiff_t>(place));
}

void RequestFollower::Agree(Sonar& sonar, std::size_t place)
{
    Waiting const& waiting = sonar.waiting[place];
    for (CAttributeMap const& child : waiting.judgement.Asked()) {
        AttributeKey const key(child.KeyText());
        bool const isTold = waiting.judgement.HasAnswerOf(key) || waiting.judgement.IsAsTold(key, sonar.told);
        bool const isAskedAnew =
            std::any_of(sonar.waiting.begin() + static_cast<std::ptrdiff_t>(place) + 1, sonar.waiting.end(),
                        [&](Waiting const& later) { return later.judgement.Asked().Has(key); });
        if (isTold && !isAskedAnew) {
            vordal::Merge(sonar.agreed, ChildrenOf(waiting.judgement.Asked(), key), sonar.agreedAccount);
        }
    }
    sonar.agreedAt = m_options.steadyClock();
}

void RequestFollower::SetConnected(CDataId const& id, bool connected)
{
    vordal::LogFailureOf(couldNot, [&] {
        Sonar& sonar = m_sonars[id.GetKey()];
        sonar.connected = connected;
        sonar.introduced = false;
        std::vector<Action> standing;
        while (!connected && !sonar.waiting.empty()) {
            End(sonar, 0, "the connection was lost before the sonar had answered", standing);
        }
        Tell(standing);
    });
}

void RequestFollower::Tick()
{
    vordal::LogFailureOf(couldNot, [&] {
        std::vector<Action> standing;
        double const now = m_options.steadyClock();
        for (auto& [id, sonar] : m_sonars) {
            EndSome(sonar, now, standing);
        }
        Tell(standing);
    });
}

void RequestFollower::Finish()
{
    vordal::LogFailureOf(couldNot, [&] {
        std::vector<Action> standing;
        for (auto& [id, sonar] : m_sonars) {
            while (!sonar.waiting.empty()) {
                End(sonar, 0, "the session ended before the sonar had answered", standing);
            }
        }
        Tell(standing);
    });
}

std::size_t RequestFollower::Pending() const
{
    std::size_t pending = 0;
    for (auto const& [id, sonar] : m_sonars) {
        pending += sonar.waiting.size();
    }
    return pending;
}

void RequestFollower::Tell(std::vector<Action> const& standing)
{
    for (Action const& action : standing) {
        for (ActionListener* const listener : m_listeners) {
            listener->OnActionStands(action);
        }
    }
}

} // namespace qx5::operation
