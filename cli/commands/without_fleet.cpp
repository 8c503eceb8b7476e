// The commands of fleets in a build without them: a line each.
#include "cli/commands.h"
#include "cli/fleet_values.h"
#include "shell/shell_client.h"

namespace qx5::cli {

namespace {

constexpr char const* withoutFleets = "this program is built without what goes over a broker";

int LeaveOut()
{
    return Complain(ExitFailed, withoutFleets);
}

} // namespace

int FleetList(FleetCommandOptions const&)
{
    return LeaveOut();
}

int FleetGet(FleetCommandOptions const&)
{
    return LeaveOut();
}

int FleetWatch(FleetCommandOptions const&)
{
    return LeaveOut();
}

int FleetSet(FleetCommandOptions const&)
{
    return LeaveOut();
}

int FleetLease(FleetCommandOptions const&)
{
    return LeaveOut();
}

int FleetLog(FleetCommandOptions const&)
{
    return LeaveOut();
}

int FleetPresence(FleetCommandOptions const&)
{
    return LeaveOut();
}

int BrokerSetup(BrokerSetupOptions const&)
{
    return LeaveOut();
}

int Serve(ServeOptions const&)
{
    return LeaveOut();
}

std::unique_ptr<ValueSource> MakeFleetValues(ValueTarget const&, std::vector<std::string> const&,
                                             std::chrono::milliseconds)
{
    throw shell::ShellError(withoutFleets);
}

} // namespace qx5::cli
