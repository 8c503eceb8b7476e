// Vessel time, leases and links as trees of metrics.
#include "authority/shore_facts.h"

#include <protocol/utf8.h>
#include <sparkplug/metric_name.h>
#include <values/vordal_value.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

namespace qx5::authority {

namespace {

constexpr std::wstring_view timeBranch = L"Vessel Time";
constexpr std::wstring_view runKey = L"Run";
constexpr std::wstring_view secondsKey = L"Seconds";
constexpr std::wstring_view holderKey = L"Holder";
constexpr std::wstring_view sinceKey = L"Since";
constexpr std::wstring_view untilKey = L"Until";
constexpr std::wstring_view askerKey = L"Asker";
constexpr std::wstring_view answerByKey = L"AnswerBy";
constexpr std::wstring_view stateKey = L"State";
constexpr std::wstring_view reasonKey = L"Reason";

std::wstring Wide(std::string_view text)
{
    return protocol::DecodeUtf8(text);
}

void Put(CAttributeMap& branch, std::wstring_view key, protocol::Value const& value)
{
    AddValue(branch, AttributeKey(key), value);
}

CAttributeMap const& Branch(CAttributeMap const& tree, std::wstring_view key)
{
    return tree.Find(AttributeKey(key));
}

template <typename Held>
std::optional<Held> Get(CAttributeMap const& branch, std::wstring_view key)
{
    auto value = ValueOf(branch.FindValue(AttributeKey(key)));
    auto* const held = std::get_if<Held>(&value);
    return held != nullptr ? std::optional<Held>(std::move(*held)) : std::nullopt;
}

std::string Text(CAttributeMap const& branch, std::wstring_view key)
{
    auto const text = Get<std::wstring>(branch, key);
    return text ? protocol::EncodeUtf8(*text) : std::string();
}

constexpr std::array<std::string_view, 3> linkTexts{"connected", "no answer", "lost"};

} // namespace

CAttributeMap TreeOf(VesselTime const& time)
{
    CAttributeMap tree;
    auto& branch = tree.FindCreate(AttributeKey(timeBranch));
    Put(branch, runKey, std::bit_cast<std::int64_t>(time.run));
    Put(branch, secondsKey, time.seconds);
    return tree;
}

std::optional<VesselTime> VesselTimeIn(CAttributeMap const& reserved)
{
    CAttributeMap const& branch = Branch(reserved, timeBranch);
    auto const run = Get<std::int64_t>(branch, runKey);
    auto const seconds = Get<double>(branch, secondsKey);
    if (!run || *run == 0 || !seconds || !std::isfinite(*seconds)) {
        return std::nullopt;
    }
    return VesselTime{std::bit_cast<std::uint64_t>(*run), *seconds};
}

void AddLease(CAttributeMap& reserved, LeaseNews const& news)
{
    auto& branch = reserved.FindCreate(AttributeKey(Wide(sparkplug::LeaseBranch)));
    bool const isHeld = !news.holder.empty();
    Put(branch, holderKey, Wide(news.holder));
    // Numbers all the time: a metric that is a number at times would take a birth each time.
    Put(branch, sinceKey, isHeld ? news.since : 0.0);
    Put(branch, untilKey, news.until.value_or(0.0));
    Put(branch, askerKey, Wide(news.asker));
    Put(branch, answerByKey, news.asker.empty() ? 0.0 : news.answerBy);
}

LeaseNews LeaseIn(CAttributeMap const& reserved)
{
    CAttributeMap const& branch = Branch(reserved, Wide(sparkplug::LeaseBranch));
    LeaseNews news;
    news.holder = Text(branch, holderKey);
    news.since = Get<double>(branch, sinceKey).value_or(0.0);
    news.until = Get<double>(branch, untilKey);
    if (news.until == 0.0) {
        news.until.reset();
    }
    news.asker = Text(branch, askerKey);
    news.answerBy = Get<double>(branch, answerByKey).value_or(0.0);
    return news;
}

std::string_view ToText(SonarLink link)
{
    return linkTexts[static_cast<std::size_t>(link)];
}

void AddLink(CAttributeMap& reserved, SonarLink link, std::string const& reason)
{
    auto& branch = reserved.FindCreate(AttributeKey(Wide(sparkplug::LinkBranch)));
    Put(branch, stateKey, Wide(ToText(link)));
    Put(branch, reasonKey, Wide(reason));
}

std::optional<SonarLink> LinkIn(CAttributeMap const& reserved)
{
    auto const text = Text(Branch(reserved, Wide(sparkplug::LinkBranch)), stateKey);
    for (std::size_t i = 0; i < linkTexts.size(); ++i) {
        if (linkTexts[i] == text) {
            return static_cast<SonarLink>(i);
        }
    }
    return std::nullopt;
}

std::string LinkReasonIn(CAttributeMap const& reserved)
{
    return Text(Branch(reserved, Wide(sparkplug::LinkBranch)), reasonKey);
}

CAttributeMap TreeOf(SonarFacts const& facts)
{
    CAttributeMap tree;
    AddLease(tree, facts.lease);
    if (facts.link) {
        AddLink(tree, *facts.link, facts.linkReason);
    }
    return tree;
}

SonarFacts SonarFactsIn(CAttributeMap const& reserved)
{
    return {LeaseIn(reserved), LinkIn(reserved), LinkReasonIn(reserved)};
}

} // namespace qx5::authority
