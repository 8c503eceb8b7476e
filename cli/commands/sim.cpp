// `qx5 sim`: the simulated sonar as a program of its own.
#include "cli/commands.h"

#include <simulator/run_simulator.h>

#include <iostream>

namespace qx5::cli {

int Sim(SimOptions const& options)
{
    simulator::SimulatorOptions run;
    run.server.address = options.address;
    run.server.port = static_cast<std::uint16_t>(options.port);
    run.server.heads = options.heads;
    run.server.announcePings = options.pings;
    run.server.scene = options.scene.name;
    run.server.depth = options.scene.depth;
    run.server.seed = options.scene.seed;
    run.server.calm = options.scene.calm;
    run.verbose = options.verbose;
    run.showState = options.state;
    return simulator::RunSimulator(run, std::cin, std::cout, std::cerr);
}

} // namespace qx5::cli
