// Where somebody who comes and goes hears of actions: a recorder that is switched on and off in the middle of a
// session.
#pragma once

#include "operation/action_listener.h"
#include "operation/exchanged_pointer.h"

#include <memory>
#include <utility>

namespace qx5::operation {

/// Hands on to a listener that may be set and taken away on any thread while calls arrive; one that is under way then
/// may still end after that.
class ActionTap final : public ActionListener
{
public:
    /// Null for nobody.
    void Set(std::shared_ptr<ActionListener> listener) { m_listener.Set(std::move(listener)); }

    void OnActionBegins(Action const& action) override
    {
        Tell([&](ActionListener& listener) { listener.OnActionBegins(action); });
    }
    void OnActionStands(Action const& action) override
    {
        Tell([&](ActionListener& listener) { listener.OnActionStands(action); });
    }
    void OnSonarTells(CDataId const& sonar, CAttributeMap const& tree) override
    {
        Tell([&](ActionListener& listener) { listener.OnSonarTells(sonar, tree); });
    }
    void OnEcho(CDataId const& sonar, CAttributeMap const& tree, unsigned flags) override
    {
        Tell([&](ActionListener& listener) { listener.OnEcho(sonar, tree, flags); });
    }
    void OnWritten(CDataId const& sonar, CAttributeMap const& tree) override
    {
        Tell([&](ActionListener& listener) { listener.OnWritten(sonar, tree); });
    }
    void OnChanged(CDataId const& sonar) override
    {
        Tell([&](ActionListener& listener) { listener.OnChanged(sonar); });
    }

private:
    template <typename Call>
    void Tell(Call const& call)
    {
        if (auto const listener = m_listener.Get()) {
            call(*listener);
        }
    }

    ExchangedPointer<ActionListener> m_listener;
};

} // namespace qx5::operation
