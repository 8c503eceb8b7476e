// What a fresh simulated sonar tells of itself, held against the commands: whatever a command completes from the
// device's tree is there from the first moment on.
#include "handlers/reading.h"
#include <commands/catalogue.h>
#include <commands/positioning.h>

#include <reference_host/attributes/tree_bytes.h>
#include <simulator/sonar_state.h>

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

/// Whether a command that looks for the operand in the tree finds it.
bool Tells(CAttributeMap const& tree, Operand const& operand)
{
    if (operand.key->kind == protocol::Kind::Branch) {
        auto const* const branch = tree.GetAttrMap(operand.attribute, 0);
        return branch != nullptr && branch->Count() > 0;
    }
    protocol::Value value;
    return ReadKey(tree, *operand.key, operand.attribute, value);
}

bool TellsAnywhere(CAttributeMap const& tree, Operand const& operand)
{
    return Tells(tree, operand) || std::any_of(tree.begin(), tree.end(), [&](CAttributeMap const& child) {
               return TellsAnywhere(child, operand);
           });
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
    std::string error;
    auto const told = protocol::EncodeTree(simulator::SonarState().Introduction(), error);
    ASSERT_TRUE(told) << error;
    CAttributeMap tree;
    ASSERT_TRUE(vordal::DecodeTree(*told, protocol::LinkTree, tree, error)) << error;
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
            bool const isTold = command.form == Form::Own ? TellsAnywhere(tree, operand) : Tells(tree, operand);
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
