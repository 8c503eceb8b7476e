// What a fresh simulated sonar tells of itself, held against the commands: whatever a command completes from the
// device's tree is there from the first moment on.
#include "handlers/Positioning.h"
#include "handlers/command_catalogue.h"

#include <simulator/sonar_state.h>

#include <VordalAttributesR/AttributeConstants.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

using protocol::Kind;
using protocol::TreeNode;

/// Whether the node has the key and a value that the getters of the key's kind take.
bool Tells(TreeNode const& node, protocol::Key const& key)
{
    if (node.key != key.text) {
        return false;
    }
    switch (key.kind) {
    case Kind::Int:
        return std::holds_alternative<std::int32_t>(node.value);
    case Kind::UInt:
        return std::holds_alternative<std::uint32_t>(node.value);
    case Kind::Int64:
        return std::holds_alternative<std::int64_t>(node.value);
    case Kind::Bool:
        return std::holds_alternative<bool>(node.value);
    case Kind::Double:
        return std::holds_alternative<double>(node.value);
    case Kind::Pair:
        return std::holds_alternative<std::pair<double, double>>(node.value);
    case Kind::String:
        return std::holds_alternative<std::wstring>(node.value);
    case Kind::IntList:
        return std::holds_alternative<std::vector<std::int32_t>>(node.value);
    case Kind::DoubleList:
        return std::holds_alternative<std::vector<double>>(node.value);
    case Kind::Offset:
        return std::holds_alternative<std::array<double, 3>>(node.value);
    case Kind::Branch:
        return !node.children.empty();
    case Kind::Any:
        return true;
    }
    return false;
}

bool TellsAnywhere(std::vector<TreeNode> const& nodes, protocol::Key const& key)
{
    return std::any_of(nodes.begin(), nodes.end(),
                       [&](TreeNode const& node) { return Tells(node, key) || TellsAnywhere(node.children, key); });
}

/// What the host knows of the device by its own configuration: a sonar that told it would write over it.
bool IsTheHosts(Operand const& operand)
{
    std::array const attributes{ATTR_DEVICEOFFSET, ATTR_ROLLCOR, ATTR_PITCHCOR, ATTR_CABLELENGTH};
    return std::find(attributes.begin(), attributes.end(), operand.attribute) != attributes.end();
}

/// The settings of the positioning unit stand in the tree of a device of its own.
bool IsOfThePositioningUnit(Command const& command)
{
    return std::any_of(command.sends.begin(), command.sends.end(),
                       [](Sending const& sending) { return sending.target == PositioningUnit; });
}

TEST(Introduction, TellsEveryKeyThatACommandCompletesFromTheStoredTree)
{
    auto const nodes = simulator::SonarState().Introduction();
    int completed = 0;
    std::vector<std::string> missing;
    for (ChainEntry const& entry : Chain()) {
        Command const& command = *entry.command;
        for (Operand const& operand : command.operands) {
            if (!IsCompleted(command, operand) || IsTheHosts(operand) || IsOfThePositioningUnit(command)) {
                continue;
            }
            ++completed;
            // Handlers with a way of their own may look for it in a branch.
            bool const isTold = command.form == Form::Own
                                    ? TellsAnywhere(nodes, *operand.key)
                                    : std::any_of(nodes.begin(), nodes.end(),
                                                  [&](TreeNode const& node) { return Tells(node, *operand.key); });
            if (!isTold) {
                missing.push_back(std::string(entry.handler) + ": " + protocol::EncodeUtf8(operand.key->text));
            }
        }
    }
    std::string lines;
    for (std::string const& line : missing) {
        lines += "\n  " + line;
    }
    EXPECT_TRUE(missing.empty()) << "simulator/sonar_model.h has no factory setting for" << lines;
    RecordProperty("completedKeys", completed);
    std::printf("%d keys of commands are completed from the stored tree, %zu of them are not told\n", completed,
                missing.size());
}

TEST(Introduction, TablesOfHandlersWithAWayOfTheirOwnSayWhereEachKeyIsLookedFor)
{
    for (ChainEntry const& entry : Chain()) {
        if (entry.command->form != Form::Own) {
            continue;
        }
        for (Operand const& operand : entry.command->operands) {
            EXPECT_NE(operand.options.source, Source::AsForm)
                << entry.handler << ": " << protocol::EncodeUtf8(operand.key->text);
        }
    }
}

} // namespace
} // namespace qx5::test
