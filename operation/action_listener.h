// Who hears of what operators ask for, and of what became of it.
#pragma once

#include "operation/action.h"

namespace qx5::operation {

/// Who hears of actions: on the host thread, with no lock held. Must not wait, and asks the sonar for nothing from
/// within a call: the host is in the middle of another request. The action is valid during the call.
class ActionListener
{
public:
    virtual ~ActionListener() = default;
    /// Somebody asks for something; the result is Pending.
    virtual void OnActionBegins(Action const&) {}
    /// Its result stands. Once for each action.
    virtual void OnActionStands(Action const& action) = 0;
    /// A sonar has told something of its attributes.
    virtual void OnSonarTells(CDataId const&, CAttributeMap const&) {}
    /// A device puts something into its attributes, with the flag word that it gives. On the thread that does so,
    /// whichever it is.
    virtual void OnEcho(CDataId const&, CAttributeMap const&, unsigned) {}
    /// Somebody else has put something into a device's attributes that is no request.
    virtual void OnWritten(CDataId const&, CAttributeMap const&) {}
    /// The attributes of a device are others now, by whomever. On any thread.
    virtual void OnChanged(CDataId const&) {}
};

} // namespace qx5::operation
