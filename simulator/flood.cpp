// The records of each flood.
#include <simulator/flood.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include <protocol/house_records.h>
#include <protocol/tree_codec.h>
#include <simulator/colliding_keys.h>

namespace qx5::simulator {

namespace {

using protocol::TreeNode;

/// Attributes of one tree where a flood has many of them: enough that trees, not frames, are the work.
constexpr std::size_t AttributesOfATree = 100;
constexpr std::size_t BytesOfARecord = 64;
constexpr std::size_t LettersOfAText = std::size_t{1} << 20;
/// Of the ids that sonars use for data.
constexpr std::uint32_t FirstDataRecord = 7000;
constexpr std::uint32_t DataRecords = 1000;

FloodRecord Tree(std::vector<TreeNode> const& nodes)
{
    std::string error;
    auto payload = protocol::EncodeTree(nodes, error);
    if (!payload) {
        throw std::logic_error(error);
    }
    return {protocol::records::AttributeTree.Id(), std::move(*payload)};
}

FloodRecord Records(std::uint64_t number, SonarState const&)
{
    return {FirstDataRecord + static_cast<std::uint32_t>(number % DataRecords),
            std::vector<unsigned char>(BytesOfARecord, static_cast<unsigned char>(number))};
}

FloodRecord NewKeys(std::uint64_t number, SonarState const&)
{
    std::vector<TreeNode> nodes;
    for (std::size_t i = 0; i < AttributesOfATree; ++i) {
        auto const key = number * AttributesOfATree + i;
        nodes.push_back({L"Flood" + std::to_wstring(key), static_cast<std::int64_t>(key), {}});
    }
    return Tree(nodes);
}

// Numbers alone change: who the sonar is and how its stream is stay as they are.
FloodRecord Answers(std::uint64_t number, SonarState const& state)
{
    std::vector<TreeNode> nodes;
    for (Attribute const& attribute : state.Attributes()) {
        if (auto const* const value = std::get_if<double>(&attribute.value)) {
            nodes.push_back({attribute.text, *value + static_cast<double>(number % 1000 + 1) / 1000.0, {}});
        }
    }
    return Tree(nodes);
}

FloodRecord Pings(std::uint64_t number, SonarState const& state)
{
    return Tree(state.PingReport(static_cast<std::int32_t>(number % INT32_MAX), state.UtcSeconds()));
}

FloodRecord Depth(std::uint64_t number, SonarState const&)
{
    TreeNode node{L"FloodDepth", static_cast<std::int64_t>(number), {}};
    for (std::size_t level = 1; level < protocol::LinkTree.deepest; ++level) {
        TreeNode above{L"FloodDepth", {}, {}};
        above.children.push_back(std::move(node));
        node = std::move(above);
    }
    return Tree({node});
}

FloodRecord Size(std::uint64_t number, SonarState const&)
{
    TreeNode branch{L"FloodSize", {}, {}};
    for (std::size_t i = 1; i < protocol::LinkTree.mostNodes; ++i) {
        branch.children.push_back({std::to_wstring(i), static_cast<std::int64_t>(number), {}});
    }
    return Tree({branch});
}

FloodRecord Text(std::uint64_t number, SonarState const&)
{
    auto const letter = static_cast<wchar_t>(L'a' + number % 26);
    return Tree({{L"FloodText", std::wstring(LettersOfAText, letter), {}}});
}

FloodRecord Broken(std::uint64_t number, SonarState const& state)
{
    auto record = Answers(number, state);
    record.payload.pop_back();
    return record;
}

constexpr auto Kinds = std::to_array<FloodKind>({
    {"records", "data records that a host has no use for", Records},
    {"keys", "attribute trees of keys that were never there before", NewKeys},
    {"answers", "values of the sonar's own numbers that change each time", Answers},
    {"pings", "settings data of pings that never were", Pings},
    {"depth", "attribute trees as deep as they may be", Depth},
    {"size", "attribute trees of as many attributes as there may be", Size},
    {"text", "attribute trees with a text of 1 MiB", Text},
    {"broken", "attribute trees that lack their last byte", Broken},
});

} // namespace

std::span<FloodKind const> FloodKinds()
{
    return Kinds;
}

FloodKind const* FindFloodKind(std::string_view name)
{
    auto const* const found =
        std::find_if(Kinds.begin(), Kinds.end(), [&](FloodKind const& kind) { return kind.name == name; });
    return found != Kinds.end() ? found : nullptr;
}

std::string FloodKindNames()
{
    std::string names;
    for (FloodKind const& kind : Kinds) {
        names += (names.empty() ? "" : ", ") + std::string(kind.name);
    }
    return names;
}

FloodRecord CollidingTree(std::size_t keys)
{
    std::vector<TreeNode> nodes;
    for (std::size_t i = 0; i < keys; ++i) {
        nodes.push_back({CollidingKey(i), static_cast<std::int32_t>(i), {}});
    }
    return Tree(nodes);
}

} // namespace qx5::simulator
