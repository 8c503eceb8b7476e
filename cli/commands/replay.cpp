// `qx5 replay`: a recording played again.
#include "cli/commands.h"
#ifdef QX5_VIEW
#include "cli/window/replay_in_window.h"
#include "cli/window/run_window.h"
#endif

namespace qx5::cli {

int Replay(ReplayOptions const& options)
{
#ifdef QX5_VIEW
    if (options.screenshot.empty() && !HasDisplay()) {
        return Complain(ExitFailed, "replay: there is no display for the window");
    }
    return ReplayInWindow(options);
#else
    static_cast<void>(options);
    return Complain(ExitFailed, "replay: this qx5 was built without the window");
#endif
}

} // namespace qx5::cli
