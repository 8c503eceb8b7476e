// Who asks a device for something.
#pragma once

#include <VordalBaseR/Export.h>

#include <string>
#include <string_view>

namespace vordal {

/// Where a request comes from.
enum class RequestOrigin : unsigned char
{
    Program,     ///< a component that does not say; also the plug-in itself
    View,        ///< the operator's view, by hand
    Terminal,    ///< the operator terminal, or a key=value line of a session
    Preset,      ///< settings that were kept under a name
    Undo,        ///< undo or redo
    CommandLine, ///< a command such as `qx5 send`
    Shell,       ///< another program of the same user, by way of this one
    Ashore,      ///< a person at another place, by way of a broker; which one, CurrentPerson tells
    OtherHost,   ///< somebody else who commands the same sonar, or the sonar itself
};

/// "program", "view", "terminal", "preset", "undo", "command line", "shell", "ashore", "another host".
VORDAL_API std::string_view ToText(RequestOrigin origin);

/// Where what this thread asks for comes from: what its innermost OriginScope says, without one what the thread is by
/// default.
VORDAL_API RequestOrigin CurrentOrigin();
/// Whom this thread asks for something on behalf of: the name that the innermost OriginScope with a name says, empty
/// for nobody in particular. Valid until that scope ends.
VORDAL_API std::string const& CurrentPerson();
/// What this thread is without an OriginScope: Program at first; the host makes the window thread View.
VORDAL_API void SetThreadOrigin(RequestOrigin origin);

/// Requests that its thread makes (DataManager::SetAttributeMap) in its scope come from there, whenever and on
/// whichever thread the host carries them out. What a plug-in asks for while it carries out a request is the plug-in's
/// own, on behalf of the same person.
class VORDAL_API OriginScope
{
public:
    explicit OriginScope(RequestOrigin origin);
    /// On behalf of a person, in UTF-8; of nobody in particular when the name is empty.
    OriginScope(RequestOrigin origin, std::string person);
    OriginScope(OriginScope const&) = delete;
    OriginScope& operator=(OriginScope const&) = delete;
    ~OriginScope();

private:
    RequestOrigin const m_outer;
    std::string const m_person;
    std::string const* const m_outerPerson;
};

} // namespace vordal
