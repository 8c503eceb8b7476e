// The topics of vessel and shore.
#include "authority/shore_topics.h"

#include "sparkplug/shown_text.h"
#include "sparkplug/topic.h"

#include <array>
#include <cstddef>
#include <utility>

#include <fmt/format.h>

namespace qx5::authority {

namespace {

constexpr std::string_view nameSpace = "qx5";

struct SubjectRow
{
    ShoreSubject subject;
    std::string_view level;
    bool isOfSonar;
    bool hasPerson;
};
constexpr std::array subjectRows{
    SubjectRow{ShoreSubject::Request, "request", true, true},
    SubjectRow{ShoreSubject::Lease, "lease", true, true},
    SubjectRow{ShoreSubject::Look, "look", true, true},
    SubjectRow{ShoreSubject::Result, "result", true, true},
    SubjectRow{ShoreSubject::Detections, "detections", true, false},
    SubjectRow{ShoreSubject::History, "history", false, false},
    SubjectRow{ShoreSubject::Acknowledgement, OutboxLevel, false, true},
};

std::vector<std::string_view> LevelsOf(std::string_view text)
{
    std::vector<std::string_view> levels;
    for (;;) {
        auto const slash = text.find('/');
        levels.push_back(text.substr(0, slash));
        if (slash == std::string_view::npos) {
            return levels;
        }
        text.remove_prefix(slash + 1);
    }
}

/// The row that levels are of; null when they are of none. The subject of a vessel goes before that of a sonar which
/// is called as it.
SubjectRow const* RowOf(std::vector<std::string_view> const& levels)
{
    for (bool const isOfSonar : {false, true}) {
        for (SubjectRow const& row : subjectRows) {
            std::size_t const at = isOfSonar ? 4 : 3;
            if (row.isOfSonar == isOfSonar && levels.size() == at + 1 + (row.hasPerson ? 1 : 0) &&
                levels[at] == row.level) {
                return &row;
            }
        }
    }
    return nullptr;
}

} // namespace

std::string TopicText(ShoreTopic const& topic)
{
    SubjectRow const& row = subjectRows[static_cast<std::size_t>(topic.subject)];
    auto text = fmt::format("{}/{}/{}/", nameSpace, topic.group, topic.vessel);
    if (row.isOfSonar) {
        text += topic.sonar + "/";
    }
    text += row.level;
    if (row.hasPerson) {
        text += "/" + topic.person;
    }
    return text;
}

std::optional<ShoreTopic> ParseShoreTopic(std::string_view text, std::string& error)
{
    auto const refuse = [&](std::string_view why) {
        error = fmt::format("{} is no topic of vessel and shore: {}", sparkplug::ShownText(text), why);
        return std::nullopt;
    };
    auto const levels = LevelsOf(text);
    if (levels.front() != nameSpace) {
        return refuse(fmt::format("it does not begin with {}", nameSpace));
    }
    auto const* const row = RowOf(levels);
    if (row == nullptr) {
        return refuse("none has these levels");
    }
    ShoreTopic topic;
    topic.subject = row->subject;
    topic.group = levels[1];
    topic.vessel = levels[2];
    std::vector<std::pair<std::string_view, std::string_view>> names{{"group", levels[1]}, {"vessel", levels[2]}};
    if (row->isOfSonar) {
        topic.sonar = levels[3];
        names.emplace_back("sonar", levels[3]);
    }
    if (row->hasPerson) {
        topic.person = levels.back();
        names.emplace_back("person", levels.back());
    }
    for (auto const& [what, name] : names) {
        if (auto const why = sparkplug::WhyNoName(what, name); !why.empty()) {
            return refuse(why);
        }
    }
    return topic;
}

std::vector<std::string> ShoreFiltersOfVessel(std::string const& group, std::string const& vessel)
{
    std::vector<std::string> filters;
    for (auto const subject : {ShoreSubject::Request, ShoreSubject::Lease, ShoreSubject::Look}) {
        filters.push_back(TopicText({subject, group, vessel, "+", "+"}));
    }
    filters.push_back(TopicText({ShoreSubject::Acknowledgement, group, vessel, {}, "+"}));
    return filters;
}

std::vector<std::string> ShoreFiltersOfPerson(std::string const& group, std::string const& person)
{
    return {TopicText({ShoreSubject::History, group, "+", {}, {}}),
            TopicText({ShoreSubject::Detections, group, "+", "+", {}}),
            TopicText({ShoreSubject::Result, group, "+", "+", person})};
}

} // namespace qx5::authority
