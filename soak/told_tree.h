// What a sonar has, as it tells it to whoever connects, held against what a host has of it.
#pragma once

#include "reference_host/link/sonar_link.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace qx5::soak {

/// A second host beside the one under test: it connects, listens to one introduction, and goes.
class Introduction final : private vordal::SonarLinkListener
{
public:
    Introduction(vordal::LinkThread& thread, std::uint16_t port);
    Introduction(Introduction const&) = delete;
    Introduction& operator=(Introduction const&) = delete;
    ~Introduction() override;

    /// All that the sonar has told of itself; nothing until it has.
    std::optional<CAttributeMap> Told() const;

private:
    void OnLinkStatus(vordal::LinkStatus const&) override {}
    void OnLinkFrame(protocol::FrameView const& frame, double time) override;
    void OnLinkReport(std::string_view) override {}

    mutable std::mutex m_mutex;
    std::optional<CAttributeMap> m_told;
    vordal::SonarLink m_link;
};

/// Keys that a command echoes though no record carries them, or only what the handler works out of them: what stands
/// there is the host's alone, and a sonar that has a value under such a key need not tell it.
std::set<CString> const& KeysOfHostAlone();

/// The first value of `told` that `held` does not have just so, with what it has; empty when it has all of them. Keys
/// of the host alone are passed over, and where `mayLack` is true those that `held` does not have at all or has with a
/// shorter text or list: there was no room for more.
std::string Difference(CAttributeMap const& told, CAttributeMap const& held, bool mayLack);

} // namespace qx5::soak
