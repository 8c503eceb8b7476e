// What an action asked for, value by value, and how people are told of it.
#include "operation/action_values.h"

#include "operation/request_judgement.h"
#include "operation/same_value.h"
#include "operation/tree_walk.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/catalogue.h>
#include <protocol/print.h>

#include <array>

namespace qx5::operation {

namespace {

/// Of a longer text people read the beginning.
constexpr std::size_t greatestText = 120;

} // namespace

bool ActionValue::Differs() const
{
    return asked != nullptr && got != nullptr && !IsSameValue(*asked, *got);
}

std::vector<ActionValue> ValuesOf(Action const& action)
{
    std::vector<ActionValue> values;
    WalkTrees<2>(
        action.asked, {&action.before, &action.got},
        [&](std::string const& path, CAttributeMap const& asked, std::array<CAttributeMap const*, 2> const& others) {
            if (asked.HasValue() || asked.Count() == 0) {
                values.push_back({path, asked.KeyText(), ValueOf(others[0]), ValueOf(&asked), ValueOf(others[1])});
            }
        });
    return values;
}

std::string ValueText(std::wstring_view key, CVordalType const* value)
{
    if (value == nullptr) {
        return "none";
    }
    std::string text = value->ToText();
    if (text.size() > greatestText) {
        std::size_t end = greatestText;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
            --end; // not within a character
        }
        text.resize(end);
        text += "...";
    }
    protocol::Key const* const known = protocol::FindKey(key);
    std::string_view const unit = known != nullptr ? protocol::UnitText(known->unit) : std::string_view();
    return unit.empty() ? text : text + " " + std::string(unit);
}

std::string_view ToText(Result result)
{
    switch (result) {
    case Result::Pending:
        return "pending";
    case Result::Agrees:
        return "agrees";
    case Result::Differs:
        return "differs";
    case Result::Unanswered:
        return "unanswered";
    case Result::NotSent:
        return "not sent";
    case Result::Dropped:
        return "dropped";
    case Result::Refused:
        return "refused";
    case Result::Failed:
        return "failed";
    case Result::Replaced:
        return "replaced";
    }
    return "";
}

} // namespace qx5::operation
