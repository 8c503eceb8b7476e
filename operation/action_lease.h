// Whose requests a sonar takes: the lease of a sonar's actions.
#pragma once

#include "reference_host/common/request_guard.h"

#include <VordalBaseR/CDataId.h>

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace qx5::operation {

/// Who may hold a lease.
enum class Hand : unsigned char
{
    Operator, ///< the view, the terminal, a preset, undo and redo, a command of this program
    Program,  ///< components of the host that are not the operator's, and other programs, and people ashore
};

Hand HandOf(vordal::RequestOrigin who);
/// "the operator", "a program".
std::string_view ToText(Hand hand);

/// While a sonar is leased to one hand, what the other asks of it is refused. A lease ends when it is given back, when
/// its time is over, and with the session. Any thread.
class ActionLease final : public vordal::RequestGuard
{
public:
    struct Lease
    {
        Hand hand = Hand::Operator;
        double since = 0.0;          ///< by the steady clock, s
        std::optional<double> until; ///< by the same; none: until it is given back
    };

    /// `steadyClock`: seconds; the system's when empty.
    explicit ActionLease(std::function<double()> steadyClock = {});

    /// Takes the lease, or makes it longer or shorter for whom it is already. `seconds`: none for no end. False while
    /// the other hand holds it; the operator's is always given: who stands at the sonar has the last word.
    bool Take(CDataId const& sonar, Hand hand, std::optional<double> seconds = {});
    /// False when that hand does not hold it.
    bool GiveBack(CDataId const& sonar, Hand hand);
    /// The sonar is not there any more: whoever holds its lease holds none.
    void Forget(CDataId const& sonar);
    std::optional<Lease> Of(CDataId const& sonar) const;

    bool Admits(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                std::string& reason) override;

private:
    struct Entry
    {
        CDataId sonar;
        Lease lease;
    };
    /// Of leases that are not over. With m_mutex held.
    Entry const* Find(CDataId const& sonar) const;
    void Remove(CDataId const& sonar);

    std::function<double()> m_steadyClock;
    mutable std::mutex m_mutex; ///< guards what follows
    std::vector<Entry> m_entries;
};

} // namespace qx5::operation
