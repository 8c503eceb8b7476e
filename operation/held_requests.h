// What was asked for while nobody could hear it: kept, offered once somebody can, never sent by itself.
#pragma once

#include "operation/action_listener.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace qx5::operation {

/// Of each sonar the newest value of each key whose request was not sent (Result::NotSent), until it is sent, dropped,
/// or a later request for the key has reached the sonar. Of each at most GreatestCount keys and GreatestBytes of their
/// texts and lists; beyond that the oldest give way and are counted. Any thread, except for what it listens to.
class HeldRequests final : public ActionListener
{
public:
    static constexpr std::size_t GreatestCount = 1000;
    static constexpr std::size_t GreatestBytes = std::size_t{1} << 20;

    /// One key that waits.
    struct Held
    {
        std::string key;   ///< UTF-8
        std::string value; ///< with its unit; of a key with branches empty
        double time = 0.0; ///< host time at which it was asked for
        vordal::RequestOrigin who = vordal::RequestOrigin::Program;

        bool operator==(Held const&) const = default;
    };
    /// In the order in which they were asked for.
    std::vector<Held> Of(CDataId const& sonar) const;
    std::size_t Count(CDataId const& sonar) const;
    /// Keys that gave way since they were last sent or dropped.
    std::uint64_t Lost(CDataId const& sonar) const;

    /// Asks the sonar for all of it in one request, which comes from where the newest of it came from. False when there
    /// was nothing. While the request is under way its keys do not count as held; those that it does not bring to the
    /// sonar (no connection again, refused, failed) are held again.
    bool Send(CDataId const& sonar);
    void Drop(CDataId const& sonar);

    /// Called with no lock held after something was added or taken away. Set before the first request.
    void SetChanged(std::function<void(CDataId const&)> changed) { m_changed = std::move(changed); }

    void OnActionStands(Action const& action) override;

private:
    struct Entry
    {
        CAttributeMap values; ///< the nodes of the key
        std::size_t bytes = 0;
        double time = 0.0;
        std::uint64_t order = 0;
        vordal::RequestOrigin who = vordal::RequestOrigin::Program;
        bool isSent = false; ///< under way; it is not known yet whether it is heard
    };
    struct Sonar
    {
        std::map<std::wstring, Entry, std::less<>> entries;
        std::size_t bytes = 0;
        std::uint64_t lost = 0;
    };

    void Hold(Sonar& sonar, Action const& action);
    static bool Forget(Sonar& sonar, Action const& action);
    static bool TakeBack(Sonar& sonar, Action const& action);
    std::vector<std::pair<std::wstring const*, Entry const*>> Waiting(CDataId const& sonar) const;

    std::function<void(CDataId const&)> m_changed;
    mutable std::mutex m_mutex; ///< guards what follows
    std::map<CString, Sonar> m_sonars;
    std::uint64_t m_order = 0;
};

} // namespace qx5::operation
