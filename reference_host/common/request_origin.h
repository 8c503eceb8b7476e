// Who asks a device for something.
#pragma once

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
    OtherHost,   ///< somebody else who commands the same sonar, or the sonar itself
};

} // namespace vordal
