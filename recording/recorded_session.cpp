// What a recording holds, in the terms of a session.
#include "recorded_session.h"

#include "reference_host/attributes/tree_merge.h"
#include "json/json_path.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include <fmt/format.h>
#include <protocol/utf8.h>

namespace qx5::recording {

namespace {

/// "1.78.1.1" and nothing else: what stands in a topic is the file's, and may be anything.
bool IsSonarId(std::string_view text)
{
    int numbers = 0;
    for (;;) {
        unsigned number = 0;
        auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (problem != std::errc() || number > 65535 || ++numbers > 4) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        if (text.empty()) {
            return numbers == 4;
        }
        if (text.front() != '.') {
            return false;
        }
        text.remove_prefix(1);
    }
}

RecordedKind const* FindKind(std::string_view name)
{
    auto const found =
        std::find_if(RecordedKinds.begin(), RecordedKinds.end(), [&](auto const* kind) { return kind->name == name; });
    return found != RecordedKinds.end() ? *found : nullptr;
}

std::string const* TextNamed(McapTexts const& texts, std::string_view name)
{
    auto const found = std::find_if(texts.begin(), texts.end(), [&](auto const& text) { return text.first == name; });
    return found != texts.end() ? &found->second : nullptr;
}

} // namespace

RecordedSession::RecordedSession(std::filesystem::path const& file) : m_reader(file) {}

RecordedSession::Topic const& RecordedSession::TopicOf(McapChannel const& channel)
{
    auto const [place, isNew] = m_topics.try_emplace(channel.id);
    if (isNew) {
        std::string_view topic = channel.topic;
        if (topic.starts_with(SonarTopic)) {
            topic.remove_prefix(SonarTopic.size());
            auto const slash = topic.find('/');
            auto const sonar = topic.substr(0, slash);
            if (slash != std::string_view::npos && IsSonarId(sonar)) {
                place->second = {FindKind(topic.substr(slash + 1)), std::string(sonar)};
            }
        } else if (topic.starts_with('/')) {
            place->second = {FindKind(topic.substr(1)), {}};
        }
    }
    return place->second;
}

std::vector<RecordedSonar> RecordedSession::Sonars() const
{
    std::map<std::string, std::string> names;
    for (auto const& [id, channel] : m_reader.Channels()) {
        auto const* const sonar = TextNamed(channel.metadata, "sonar");
        if (sonar == nullptr || !IsSonarId(*sonar)) {
            continue;
        }
        auto& name = names[*sonar];
        if (auto const* const told = TextNamed(channel.metadata, "name"); told != nullptr && !told->empty()) {
            // It comes from a file, and goes into documents.
            name = protocol::EncodeUtf8(protocol::DecodeUtf8(*told));
        }
    }
    std::vector<RecordedSonar> sonars;
    for (auto& [id, name] : names) {
        sonars.push_back({id, name.empty() ? id : std::move(name)});
    }
    return sonars;
}

std::optional<std::string> RecordedSession::FindSonar(std::string_view idOrName)
{
    if (!m_reader.IsComplete()) {
        m_reader.ForEach([](McapChannel const&, McapMessage const&) { return true; });
    }
    auto const sonars = Sonars();
    for (auto const member : {&RecordedSonar::id, &RecordedSonar::name}) {
        auto const found =
            std::find_if(sonars.begin(), sonars.end(), [&](auto const& sonar) { return sonar.*member == idOrName; });
        if (found != sonars.end()) {
            return found->id;
        }
    }
    return {};
}

RecordedSummary RecordedSession::Summary()
{
    std::map<std::uint16_t, std::uint64_t> counts;
    RecordedSummary summary;
    if (m_reader.IsComplete() && m_reader.MessageCounts()) {
        counts = *m_reader.MessageCounts();
        summary.start = m_reader.Start();
        summary.end = m_reader.End();
    } else {
        // What is told of damaged chunks is not believed.
        m_reader.ForEach([&](McapChannel const& channel, McapMessage const& message) {
            ++counts[channel.id];
            summary.start = std::min(summary.start.value_or(message.logTime), message.logTime);
            summary.end = std::max(summary.end.value_or(message.logTime), message.logTime);
            return true;
        });
    }
    for (auto const& [id, count] : counts) {
        summary.messages += count;
        auto const channel = m_reader.Channels().find(id);
        if (channel == m_reader.Channels().end()) {
            continue;
        }
        auto const* const kind = TopicOf(channel->second).kind;
        summary.records += kind == &kinds::Sent || kind == &kinds::Received ? count : 0;
        summary.requests += kind == &kinds::Requests ? count : 0;
    }
    summary.sonars = Sonars();
    summary.isComplete = m_reader.IsComplete();
    for (auto const& metadata : m_reader.Metadata()) {
        if (metadata.name == ProgramMetadata) {
            summary.program = metadata.texts;
            break;
        }
    }
    return summary;
}

std::optional<RecordedContent> RecordedSession::ReadOne(RecordedKind const& kind, McapChannel const& channel,
                                                        McapMessage const& message)
{
    try {
        return ReadContent(kind, {reinterpret_cast<char const*>(message.data.data()), message.data.size()});
    } catch (InvalidDocument const& problem) {
        ++m_unreadable;
        if (m_firstUnreadable.empty()) {
            m_firstUnreadable = fmt::format("message {} of {}: {}: {}", message.sequence,
                                            QuoteForMessage(channel.topic), problem.Path(), problem.what());
        }
        return {};
    }
}

void RecordedSession::ForEachRaw(RecordedRange const& range, RawVisit const& visit)
{
    m_reader.ForEach(
        [&](McapChannel const& channel, McapMessage const& message) {
            auto const& topic = TopicOf(channel);
            bool const isMeant = range.sonar.empty() || topic.sonar.empty() || topic.sonar == range.sonar;
            return !isMeant || visit(channel, message);
        },
        range.from, range.to);
}

std::optional<RecordedMessage> RecordedSession::Understand(McapMessage const& message)
{
    auto const& channel = m_reader.Channels().at(message.channel);
    auto const& topic = TopicOf(channel);
    auto content = topic.kind != nullptr ? ReadOne(*topic.kind, channel, message) : std::nullopt;
    if (!content) {
        return {};
    }
    return RecordedMessage{topic.kind,      topic.sonar.empty() ? nullptr : &topic.sonar,
                           message.logTime, message.publishTime,
                           message.data,    std::move(*content)};
}

void RecordedSession::ForEach(RecordedRange const& range, Visit const& visit)
{
    McapReader::Choose choose;
    if (m_reader.IsComplete() && !range.kinds.empty()) {
        choose = [this, wanted = ChannelsOf(range.kinds, {})](std::size_t chunk) { return HasAny(chunk, wanted); };
    }
    m_reader.ForEach(
        [&](McapChannel const& channel, McapMessage const& message) {
            auto const& topic = TopicOf(channel);
            bool const isOfSonar = range.sonar.empty() || topic.sonar.empty() || topic.sonar == range.sonar;
            bool const isOfKind = range.kinds.empty() ||
                                  std::find(range.kinds.begin(), range.kinds.end(), topic.kind) != range.kinds.end();
            auto const understood = isOfSonar && isOfKind ? Understand(message) : std::nullopt;
            return !understood || visit(*understood);
        },
        range.from, range.to, choose);
}

std::set<std::uint16_t> RecordedSession::ChannelsOf(std::vector<RecordedKind const*> const& kinds,
                                                    std::string const& sonar)
{
    std::set<std::uint16_t> channels;
    for (auto const& [id, channel] : m_reader.Channels()) {
        auto const& topic = TopicOf(channel);
        if (topic.kind != nullptr && std::find(kinds.begin(), kinds.end(), topic.kind) != kinds.end() &&
            (sonar.empty() || topic.sonar == sonar)) {
            channels.insert(id);
        }
    }
    return channels;
}

bool RecordedSession::HasAny(std::size_t chunk, std::set<std::uint16_t> const& channels) const
{
    auto const& there = m_reader.ChannelsIn(chunk);
    return std::any_of(there.begin(), there.end(), [&](std::uint16_t id) { return channels.count(id) != 0; });
}

/// The chunk from which on all that stood before `time` is told. The index tells where to look; what was found counts.
std::size_t RecordedSession::PartBefore(std::uint64_t time, std::string const& sonar)
{
    auto sought = ChannelsOf({&kinds::Settings, &kinds::Connection}, sonar);
    auto first = m_reader.Chunks().size();
    for (auto i = first; i-- != 0 && !sought.empty();) {
        if (m_reader.Chunks()[i].start >= time || !HasAny(i, sought)) {
            continue;
        }
        for (McapMessage const& message : m_reader.MessagesIn(i, m_chunk)) {
            if (message.logTime < time && sought.erase(message.channel) != 0) {
                first = i;
            }
        }
    }
    return first;
}

std::map<std::string, RecordedState> RecordedSession::StateBefore(std::uint64_t time, std::string const& sonar)
{
    std::map<std::string, RecordedState> states;
    if (time == 0) {
        return states;
    }
    std::vector<RecordedKind const*> const standing{&kinds::Settings, &kinds::Attributes, &kinds::Written,
                                                    &kinds::Connection};
    auto const wanted = ChannelsOf(standing, sonar);
    auto const first = PartBefore(time, sonar);
    auto const choose = [&](std::size_t chunk) {
        return chunk >= first && (!m_reader.IsComplete() || HasAny(chunk, wanted));
    };
    auto const take = [&](McapChannel const& channel, McapMessage const& message) {
        auto const& topic = TopicOf(channel);
        bool const isWanted = !topic.sonar.empty() && (sonar.empty() || topic.sonar == sonar) &&
                              std::find(standing.begin(), standing.end(), topic.kind) != standing.end();
        auto const understood = isWanted ? Understand(message) : std::nullopt;
        if (!understood) {
            return true;
        }
        auto& state = states[topic.sonar];
        if (auto const* const told = std::get_if<RecordedSettings>(&understood->content)) {
            state.settings = *told;
        } else if (auto const* const connection = std::get_if<RecordedConnection>(&understood->content)) {
            state.connection = *connection;
        } else if (auto const* const change = ChangeIn(understood->content); change != nullptr && state.settings) {
            vordal::Merge(state.settings->tree, *change);
        }
        return true;
    };
    m_reader.ForEach(take, 0, time - 1, choose);
    std::erase_if(states, [](auto const& each) { return !each.second.settings && !each.second.connection; });
    return states;
}

std::map<std::string, RecordedSettings> RecordedSession::SettingsBefore(std::uint64_t time, std::string const& sonar)
{
    std::map<std::string, RecordedSettings> settings;
    for (auto& [id, state] : StateBefore(time, sonar)) {
        if (state.settings) {
            settings.emplace(id, std::move(*state.settings));
        }
    }
    return settings;
}

std::optional<std::uint64_t> RecordedSession::LastBefore(std::uint64_t time,
                                                         std::vector<RecordedKind const*> const& kinds)
{
    auto const sought = ChannelsOf(kinds, {});
    std::optional<std::uint64_t> last;
    for (auto i = m_reader.Chunks().size(); i-- != 0 && !last;) {
        if (m_reader.Chunks()[i].start >= time || !HasAny(i, sought)) {
            continue;
        }
        for (McapMessage const& message : m_reader.MessagesIn(i, m_chunk)) {
            if (message.logTime < time && sought.count(message.channel) != 0) {
                last = std::max(last.value_or(0), message.logTime);
            }
        }
    }
    return last;
}

} // namespace qx5::recording
