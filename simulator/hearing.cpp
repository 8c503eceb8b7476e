// What a simulated sonar hears: the scene that its options name, for each of its heads.
#include <simulator/hearing.h>

#include <memory>
#include <vector>

#include <simulator/acoustics/sounder.h>
#include <simulator/sonar_server.h>

namespace qx5::simulator {

EchoWorker::Hear HearingOf(ServerOptions const& options, std::string& error)
{
    auto const scene = acoustics::Scene::OfName(options.scene, options.depth, options.seed);
    if (!scene) {
        error = scene.WhyNot().line;
        return {};
    }
    acoustics::ShipSettings ship;
    ship.calm = options.calm;
    auto const sounders = std::make_shared<std::vector<acoustics::Sounder>>(
        static_cast<std::size_t>(options.heads),
        acoustics::Sounder(*scene, acoustics::Ship(ship, options.seed), acoustics::Sea{}, options.seed));
    return [sounders](EchoJob const& job, acoustics::PingEchoes& echoes) {
        return (*sounders)[static_cast<std::size_t>(job.head)].Hear(job.settings, job.seconds, job.number, echoes);
    };
}

} // namespace qx5::simulator
