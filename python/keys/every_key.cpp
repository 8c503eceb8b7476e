// The keys of the tables as one list.
#include "python/keys/every_key.h"

#include <protocol/catalogue.h>
#include <protocol/settings_keys.h>

#include <vector>

namespace qx5::python {

std::span<protocol::Key const* const> EveryKey()
{
    static std::vector<protocol::Key const*> const keys = [] {
        auto const ofRecords = protocol::AllKeys();
        std::vector<protocol::Key const*> all(ofRecords.begin(), ofRecords.end());
        for (protocol::Key const* const key : protocol::SettingsKeys) {
            if (protocol::FindKey(key->text) == nullptr) {
                all.push_back(key);
            }
        }
        return all;
    }();
    return keys;
}

} // namespace qx5::python
