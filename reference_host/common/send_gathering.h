// Gathering of frames that one thread sends in quick succession, so that many leave in one system call.
#pragma once

#include <VordalBaseR/Export.h>

#include <memory>

namespace vordal {

/// A link that may hold frames back while its sender has more to do.
class GatheringLink
{
public:
    virtual void SendHeld() = 0;

protected:
    ~GatheringLink() = default;
};

/// What the calling thread has announced about its work. A thread that never announces anything gathers nothing: each
/// of its frames leaves at once. One that does calls SendHeld when its work is done; frames that it forgets about, or
/// keeps waiting, are sent by their link soon after.
class VORDAL_API SendGathering
{
public:
    /// More work, which may send, is at hand and follows without any waiting.
    static void AnnounceMore(bool more);
    static bool IsMoreAnnounced();
    /// Sends what the links hold of this thread's frames.
    static void SendHeld();

    /// For links: to be called back at this thread's next SendHeld, once, if the link still lives. `surroundings` is
    /// what must outlive that call.
    static void Hold(std::weak_ptr<GatheringLink> link, std::shared_ptr<void> surroundings);
};

} // namespace vordal
