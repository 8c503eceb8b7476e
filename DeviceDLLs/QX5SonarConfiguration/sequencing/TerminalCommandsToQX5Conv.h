// The conversion of an operator terminal's codes into requests.
#pragma once

/// Belongs to one device. The terminal is not followed yet.
class TerminalCommandsToQX5Conv {
};
