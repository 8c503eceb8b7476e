// One request of each command, made of its table.
#include "sample_request.h"

#include "catalogue.h"
#include <protocol/utf8.h>
#include <values/vordal_value.h>

#include <set>

namespace qx5 {

void PutOperand(CAttributeMap& tree, Command const& command, Operand const& operand, protocol::Value const& value)
{
    bool const isInBranch = operand.options.source == Source::Branch;
    CAttributeMap& place = isInBranch ? tree.FindCreate(command.operands.front().attribute, 0) : tree;
    if (!place.Has(operand.attribute, 0)) {
        AddValue(place, operand.attribute, value);
    }
}

SampleRequest SampleOf(Command const& command)
{
    bool const completes = command.form == Form::Strict || command.form == Form::Lax;
    SampleRequest sample;
    std::set<protocol::Key const*> told;
    for (Operand const& operand : command.operands) {
        if (!told.insert(operand.key).second) {
            continue;
        }
        bool const ask = IsRequestable(operand) && (!completes || (sample.asked.empty() && operand.options.triggers));
        PutOperand(ask ? sample.request : sample.stored, command, operand, protocol::ExampleOf(operand.key->kind));
        if (ask) {
            sample.asked += (sample.asked.empty() ? "" : " ") + protocol::EncodeUtf8(operand.key->text);
        }
    }
    return sample;
}

} // namespace qx5
