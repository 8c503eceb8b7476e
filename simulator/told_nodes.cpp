// The trees in which the simulated sonar tells of itself: its limits, how it is built in, where each attribute belongs.
#include <simulator/told_nodes.h>

#include <algorithm>
#include <string>
#include <utility>

namespace qx5::simulator {

namespace keys = protocol::keys;
using protocol::Key;
using protocol::TreeNode;
using protocol::Value;

TreeNode Leaf(Key const& key, Value value)
{
    return {std::wstring(key.text), std::move(value), {}};
}

std::vector<double> List(std::span<double const> values)
{
    return {values.begin(), values.end()};
}

namespace {

TreeNode Branch(Key const& key, std::vector<TreeNode> children)
{
    return {std::wstring(key.text), {}, std::move(children)};
}

TreeNode LimitBranch(Key const& key, Limits limits)
{
    return Branch(key, {Leaf(keys::x5Min, limits.least), Leaf(keys::x5Max, limits.greatest)});
}

TreeNode GateBranch(Key const& key)
{
    return Branch(key,
                  {Leaf(keys::x5MinValue, model::GateLeastValue), Leaf(keys::x5MinWindow, model::GateLeastWindow)});
}

TreeNode WidthBranch(Key const& key, std::span<double const> widths)
{
    return Branch(key, {Leaf(keys::x5Variable, widths.size() > 1), Leaf(keys::x5BeamWidthList, List(widths))});
}

/// What holds for one operation mode of a head, both numbered from 0.
TreeNode ModeBranch(OperationMode const& mode, std::int32_t enumerator, std::int32_t head)
{
    std::vector<TreeNode> nodes;
    nodes.push_back(Leaf(keys::SystemText, std::wstring(mode.text)));
    nodes.push_back(Leaf(keys::DeviceEnum, enumerator));
    nodes.push_back(Leaf(keys::x5RxNumber, head + 1));
    nodes.push_back(Leaf(keys::x5TxName, std::wstring(model::TransmitterName)));
    for (SampleRate const& rate : mode.sampleRates) {
        nodes.push_back(
            Branch(keys::x5SampleRateSet, {Leaf(keys::x5IQRate, rate.rate), Leaf(keys::x5RangeSet, List(rate.ranges)),
                                           LimitBranch(keys::x5Range, LimitsOf(rate.ranges))}));
    }
    for (auto const lengths : mode.pulseLengths) {
        nodes.push_back(Branch(keys::x5PulseLengthSet, {Leaf(keys::x5PulseLengthValues, List(lengths))}));
    }
    nodes.push_back(LimitBranch(keys::x5Power, mode.power));
    nodes.push_back(LimitBranch(keys::x5SoundVelocity, model::SoundVelocity));
    TreeNode pingRate = LimitBranch(keys::x5PingRate, mode.pingRate);
    pingRate.children.push_back(Leaf(keys::x5Ratio, model::PingRateRatio));
    pingRate.children.push_back(Leaf(keys::x5FreeRun, false));
    nodes.push_back(std::move(pingRate));
    TreeNode gain = LimitBranch(keys::x5Gain, mode.gain);
    TreeNode fixedGain = LimitBranch(keys::x5Fixed, mode.fixedGain);
    fixedGain.children.push_back(Leaf(keys::x5Available, true));
    gain.children.push_back(std::move(fixedGain));
    nodes.push_back(std::move(gain));
    nodes.push_back(WidthBranch(keys::x5BeamWidthSetX, mode.beamWidthsX));
    nodes.push_back(WidthBranch(keys::x5BeamWidthSetZ, mode.beamWidthsZ));
    nodes.push_back(Branch(keys::x5BeamSteer,
                           {Leaf(keys::x5MinX, mode.steeringX.least), Leaf(keys::x5MaxX, mode.steeringX.greatest),
                            Leaf(keys::x5MinZ, mode.steeringZ.least), Leaf(keys::x5MaxZ, mode.steeringZ.greatest),
                            Leaf(keys::x5Steerable, mode.steeringX.greatest > mode.steeringX.least)}));
    TreeNode frequency = LimitBranch(keys::x5Frequency, mode.frequency);
    frequency.children.push_back(Leaf(keys::x5CenterFreq, mode.centreFrequency));
    frequency.children.push_back(Leaf(keys::x5Chirp, std::int32_t{1}));
    nodes.push_back(std::move(frequency));
    nodes.push_back(Leaf(keys::MaxAbsorption, mode.greatestAbsorption));
    nodes.push_back(Leaf(keys::MaxSpreading, mode.greatestSpreading));
    nodes.push_back(GateBranch(keys::x5RangeGate));
    nodes.push_back(GateBranch(keys::x5DepthGate));
    nodes.push_back(GateBranch(keys::x5NadirGate));
    return Branch(keys::x5SonarSettings, std::move(nodes));
}

/// How the arrays of a head, numbered from 0, are built in.
TreeNode ArrayBranch(std::int32_t head)
{
    std::vector<TreeNode> info;
    info.push_back(Leaf(keys::x5MBesXYZSonarId, model::DeviceId));
    info.push_back(Leaf(keys::x5MBesXYZTXUnitID, model::TransmitUnit));
    info.push_back(Leaf(keys::x5MBesXYZRXUnitID, model::ReceiveUnit));
    info.push_back(Leaf(keys::x5MBesXYZNumber, head));
    info.push_back(Leaf(keys::x5MBesXYZFixedParams, std::int32_t{0}));
    info.push_back(Leaf(keys::x5MBesXYZFrequency, model::Modes.front().centreFrequency));
    for (std::size_t array = 0; array < 2; ++array) {
        std::vector<TreeNode> numbers;
        numbers.reserve(std::size(model::ArrayNumbers));
        for (model::ArrayNumber const& number : model::ArrayNumbers) {
            numbers.push_back(Leaf(*number.key, number.values[array]));
        }
        info.push_back(Branch(keys::x5MBesXYZ, std::move(numbers)));
    }
    return Branch(keys::x5MBesXYZList, {Branch(keys::x5MBesXYZInfo, std::move(info))});
}

/// The branch that the attribute is told in; null for one at the top.
Key const* BranchOf(Key const* key)
{
    for (model::BranchMember const& member : model::BranchMembers) {
        if (member.key == key) {
            return member.branch;
        }
    }
    return nullptr;
}

} // namespace

std::vector<TreeNode> LimitNodes(OperationMode const& current, std::int32_t heads)
{
    std::vector<TreeNode> nodes;
    if (heads > 1) {
        for (std::int32_t head = 0; head < heads; ++head) {
            nodes.push_back(ModeBranch(current, head, head));
        }
    } else {
        for (std::size_t i = 0; i < model::Modes.size(); ++i) {
            nodes.push_back(ModeBranch(model::Modes[i], static_cast<std::int32_t>(i), 0));
        }
    }
    for (std::int32_t head = 0; head < heads; ++head) {
        nodes.push_back(ArrayBranch(head));
    }
    for (std::wstring_view const mode : model::BeamModes) {
        nodes.push_back(Leaf(keys::x5BeamModes, std::wstring(mode)));
    }
    return nodes;
}

void AddNode(std::vector<TreeNode>& nodes, Attribute const& attribute, std::int32_t heads)
{
    Key const* const branch = BranchOf(attribute.key);
    if (branch == nullptr) {
        nodes.push_back({attribute.text, attribute.value, {}});
        return;
    }
    auto const isBranch = [&](TreeNode const& node) { return node.key == branch->text; };
    if (std::none_of(nodes.begin(), nodes.end(), isBranch)) {
        bool const isOfModes = branch == &keys::x5PingSettingsList && heads == 1;
        nodes.insert(nodes.end(), isOfModes ? model::Modes.size() : static_cast<std::size_t>(heads),
                     Branch(*branch, {}));
    }
    for (TreeNode& node : nodes) {
        if (isBranch(node)) {
            node.children.push_back(Leaf(*attribute.key, attribute.value));
        }
    }
}

} // namespace qx5::simulator
