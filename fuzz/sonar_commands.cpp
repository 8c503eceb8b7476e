// Fuzzes the standard input of the simulated sonar: lines of commands, each answered.
#include <simulator/sonar_server.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace {

using namespace qx5::simulator;

/// Starting a sonar takes longer than all that an input does, so one serves for several.
constexpr int InputsOfASonar = 256;

SonarServer& SonarAtWork()
{
    static std::unique_ptr<SonarServer> server;
    static int inputs = 0;
    if (server == nullptr || ++inputs == InputsOfASonar) {
        inputs = 0;
        server = std::make_unique<SonarServer>(ServerOptions{}, [](SonarEvent const&) {});
        if (server->Start()) {
            std::abort();
        }
    }
    std::string answer;
    server->Command("behave", answer);
    return *server;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    SonarServer& server = SonarAtWork();
    std::string_view rest(reinterpret_cast<char const*>(data), size);
    std::string answer;
    for (int lines = 0; !rest.empty() && lines < 16; ++lines) {
        auto const end = rest.find('\n');
        auto const line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (!server.Command(line, answer) && answer.empty()) {
            std::abort();
        }
    }
    return 0;
}
