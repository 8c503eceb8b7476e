// Names of sonars that topics can bear.
#include "vessel/sonar_names.h"

#include "authority/shore_topics.h"
#include "sparkplug/topic.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <set>
#include <utility>

#include <fmt/format.h>

namespace qx5::vessel {

namespace {

/// Room for a number behind it.
constexpr std::size_t greatestName = sparkplug::NameLimit - 16;

std::string Bearable(std::string name)
{
    auto bad = protocol::FindInvalidUtf8(name);
    while (bad != name.size()) {
        name[bad] = '_';
        bad = protocol::FindInvalidUtf8(name);
    }
    if (name.size() > greatestName) {
        name.resize(greatestName);
        // No character is cut in two.
        name.resize(protocol::FindInvalidUtf8(name));
    }
    std::replace_if(
        name.begin(), name.end(),
        [](char c) { return c == '/' || c == '+' || c == '#' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F; },
        '_');
    return name.empty() ? "_" : name;
}

} // namespace

std::vector<TopicSonar> NamedOnTopics(std::vector<operation::NamedSonar> const& sonars)
{
    std::vector<TopicSonar> named;
    std::set<std::string> taken{std::string(authority::OutboxLevel)};
    for (operation::NamedSonar const& sonar : sonars) {
        std::string const wanted = Bearable(sonar.name);
        std::string name = wanted;
        for (int i = 2; !taken.insert(name).second; ++i) {
            name = fmt::format("{} ({})", wanted, i);
        }
        named.push_back({sonar.id, sonar.name, std::move(name)});
    }
    return named;
}

} // namespace qx5::vessel
