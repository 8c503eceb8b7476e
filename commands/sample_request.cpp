// One request of each command, made of its table.
#include "sample_request.h"

#include "catalogue.h"
#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CCompOffset.h>
#include <protocol/utf8.h>

#include <memory>
#include <set>
#include <vector>

namespace qx5 {

namespace {

/// A plausible value of the key.
std::unique_ptr<CVordalType> SampleValue(protocol::Key const& key)
{
    using protocol::Kind;
    switch (key.kind) {
    case Kind::Int:
        return std::make_unique<CVordalInt>(1);
    case Kind::UInt:
        return std::make_unique<CVordalUInt>(1U);
    case Kind::Int64:
        return std::make_unique<CVordalInt64>(1);
    case Kind::Bool:
    case Kind::Any:
        return std::make_unique<CVordalBool>(true);
    case Kind::Double:
        return std::make_unique<CVordalDouble>(12.5);
    case Kind::Pair:
        return std::make_unique<CVordalDouble2D>(10.0, -10.0);
    case Kind::String:
        // Some texts are read as numbers, some as names; this is both.
        return std::make_unique<CVordalText>(CString(L"16"));
    case Kind::IntList:
        return std::make_unique<CVordalIntList>(std::vector<int>{7000, 7002});
    case Kind::DoubleList:
        return std::make_unique<CVordalDoubleList>(std::vector<double>{0.5, 1.0});
    case Kind::Offset:
        return std::make_unique<CVordalOffset>(CCompOffset(1.0, 2.0, 3.0));
    case Kind::Branch:
        break;
    }
    return std::make_unique<CVordalType>();
}

} // namespace

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
        CAttributeMap* tree = ask ? &sample.request : &sample.stored;
        if (operand.options.source == Source::Branch) {
            tree = &tree->FindCreate(command.operands.front().attribute, 0);
        }
        tree->Add(operand.attribute, *SampleValue(*operand.key), 0);
        if (ask) {
            sample.asked += (sample.asked.empty() ? "" : " ") + protocol::EncodeUtf8(operand.key->text);
        }
    }
    return sample;
}

} // namespace qx5
