// How long a C++ program waits from a request to its echo, for bench/python/compare.py to hold Python against.
#include "cli/plugins.h"
#include "cli/session.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/shared_keys.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr std::chrono::seconds limit{5};

int Run(std::string const& address, int count)
{
    std::string error;
    std::string host;
    std::uint16_t port = 0;
    qx5::cli::Session session([](qx5::cli::SessionEvent const&) {});
    if (!qx5::cli::ParseEndpoint(address, host, port, error) ||
        !session.Reach(qx5::cli::PluginPath(std::string()), host, port, limit, limit, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    // A line for each request, in nanoseconds.
    std::vector<long long> times;
    for (int i = 0; i < count; ++i) {
        auto const begin = std::chrono::steady_clock::now();
        CAttributeMap request;
        request.Add(AttributeKey(qx5::protocol::keys::x5Range.text), CVordalDouble(50.0 + i % 100), 0);
        bool const isDone = session.Request(request);
        times.push_back(std::chrono::nanoseconds(std::chrono::steady_clock::now() - begin).count());
        if (!isDone) {
            std::fprintf(stderr, "a request failed\n");
            return 1;
        }
    }
    for (long long const time : times) {
        std::printf("%lld\n", time);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: qx5-python-bench HOST:PORT COUNT\n");
        return 2;
    }
    return Run(argv[1], std::atoi(argv[2]));
}
