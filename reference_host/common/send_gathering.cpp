// Gathering of frames that one thread sends in quick succession, so that many leave in one system call.
#include "send_gathering.h"

#include <utility>
#include <vector>

namespace vordal {
namespace {

struct HeldLink
{
    // Declared first, so that it goes last.
    std::shared_ptr<void> surroundings;
    std::weak_ptr<GatheringLink> link;
};

thread_local bool moreAnnounced = false;
thread_local std::vector<HeldLink> heldLinks;

} // namespace

void SendGathering::AnnounceMore(bool more)
{
    moreAnnounced = more;
}

bool SendGathering::IsMoreAnnounced()
{
    return moreAnnounced;
}

void SendGathering::SendHeld()
{
    while (!heldLinks.empty()) {
        auto const held = std::move(heldLinks.back());
        heldLinks.pop_back();
        if (auto const link = held.link.lock()) {
            link->SendHeld();
        }
    }
}

void SendGathering::Hold(std::weak_ptr<GatheringLink> link, std::shared_ptr<void> surroundings)
{
    for (auto const& held : heldLinks) {
        if (!held.link.owner_before(link) && !link.owner_before(held.link)) {
            return;
        }
    }
    heldLinks.push_back({std::move(surroundings), std::move(link)});
}

} // namespace vordal
