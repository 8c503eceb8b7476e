// The settings of a sonar, made of the commands' tables.
#include "settings.h"

#include "attribute_at.h"
#include "catalogue.h"

#include <protocol/records/basic.h>

#include <map>
#include <vector>

namespace qx5 {

namespace {

bool HasValue(protocol::Key const& key)
{
    return key.kind != protocol::Kind::Any && key.kind != protocol::Kind::Branch;
}

struct AllSettings
{
    AllSettings()
    {
        for (ChainEntry const& entry : Chain()) {
            if (entry.command->keeps != Keeps::Settings) {
                continue;
            }
            for (Operand const& operand : entry.command->operands) {
                if (IsRequestable(operand) && HasValue(*operand.key) &&
                    places.emplace(operand.key->text, rows.size()).second) {
                    rows.push_back({entry.command, &operand});
                }
            }
        }
    }

    std::vector<Setting> rows;
    std::map<std::wstring_view, std::size_t> places;
};

AllSettings const& All()
{
    static AllSettings const all;
    return all;
}

} // namespace

std::span<Setting const> Settings()
{
    return All().rows;
}

Setting const* FindSetting(std::wstring_view key)
{
    auto const found = All().places.find(key);
    return found != All().places.end() ? &All().rows[found->second] : nullptr;
}

CAttributeMap const* StoredNode(CAttributeMap const& tree, Setting const& setting)
{
    if (setting.command->keptIn == nullptr) {
        return tree.GetAttrMap(setting.operand->attribute);
    }
    // As the command completes itself: the branch of the mode in use, the first when there is none of that number.
    AttributeKey const branch(setting.command->keptIn->text);
    int mode = 0;
    tree.FindValue(At<protocol::keys::DeviceEnum>).Get(mode);
    return tree.Find(branch, tree.Has(branch, mode) ? mode : 0).GetAttrMap(setting.operand->attribute);
}

} // namespace qx5
