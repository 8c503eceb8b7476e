// Random comings and goings in the register of devices, compared with a plain list.
#include "reference_host/core/device_register.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace {

/// In the order in which they came.
struct Registered
{
    CDataId id;
    Device* device;
};

class RegisterModel : public testing::TestWithParam<unsigned>
{
};

TEST_P(RegisterModel, FindsCountsAndOrdersAsAListDoes)
{
    std::mt19937 random(GetParam());
    auto const below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    auto const anyId = [&] {
        return CDataId(1, 78, static_cast<unsigned short>(below(30)), static_cast<unsigned short>(below(3)));
    };
    vordal::DeviceRegister devices;
    std::vector<Registered> model;
    for (int step = 0; step < 3000; ++step) {
        int const what = below(step / 300 % 2 == 0 ? 6 : 10);
        auto const id = anyId();
        auto const isTaken =
            std::any_of(model.begin(), model.end(), [&](Registered const& each) { return each.id == id; });
        if (what < 4) {
            auto device = std::make_unique<Device>();
            auto* const added = device.get();
            ASSERT_EQ(devices.Add(id, device), !isTaken);
            ASSERT_EQ(device != nullptr, isTaken) << "it stays with whoever wanted to add it";
            if (!isTaken) {
                model.push_back({id, added});
            }
        } else if (!model.empty() && what < 8) {
            auto const at = model.begin() + below(static_cast<int>(model.size()));
            ASSERT_EQ(devices.Take(at->device).get(), at->device);
            model.erase(at);
        } else if (!model.empty()) {
            // Also to one that another has.
            auto& changed = model[static_cast<std::size_t>(below(static_cast<int>(model.size())))];
            changed.id = id;
            devices.ChangeId(*changed.device, id);
        }
        Device const unknown;
        ASSERT_EQ(devices.Take(&unknown), nullptr);
        ASSERT_FALSE(devices.OrderOf(&unknown).has_value());

        ASSERT_EQ(devices.Count(), model.size());
        ASSERT_EQ(devices.IsEmpty(), model.empty());
        std::vector<Device const*> all;
        devices.ForEach([&](Device const& each) { all.push_back(&each); });
        ASSERT_TRUE(std::equal(all.begin(), all.end(), model.begin(), model.end(),
                               [](Device const* a, Registered const& b) { return a == b.device; }));
        if (!model.empty()) {
            ASSERT_EQ(devices.First(), model.front().device);
        }
        auto const probe = anyId();
        auto const first =
            std::find_if(model.begin(), model.end(), [&](Registered const& each) { return each.id == probe; });
        ASSERT_EQ(devices.Find(vordal::PackedId(probe)), first != model.end() ? first->device : nullptr) << step;
        for (unsigned short vessel = 0; vessel < 4; ++vessel) {
            std::vector<Device*> there;
            for (Registered const& each : model) {
                if (each.id.GetVessel() == vessel) {
                    there.push_back(each.device);
                }
            }
            ASSERT_EQ(devices.CountOf(vessel), static_cast<int>(there.size()));
            for (int i = -1; i <= static_cast<int>(there.size()); ++i) {
                bool const isOne = i >= 0 && i < static_cast<int>(there.size());
                ASSERT_EQ(devices.At(i, vessel), isOne ? there[static_cast<std::size_t>(i)] : nullptr);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RegisterModel, testing::Range(1U, 7U));

} // namespace
