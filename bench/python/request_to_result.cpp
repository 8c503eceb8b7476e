// How long a C++ program ashore waits from a request to its result, for bench/python/compare.py to hold Python against.
#include "cli/fleet_use.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/shared_keys.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace qx5;
using namespace std::chrono_literals;

constexpr double limit = 10.0; ///< s

/// An answer, waited for.
template <typename Reply>
class Awaited
{
public:
    auto Taking()
    {
        return [this](Reply const& reply) {
            {
                std::lock_guard const lock(m_mutex);
                m_reply = reply;
            }
            m_changed.notify_all();
        };
    }
    Reply Wait()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_reply.has_value(); });
        return *m_reply;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<Reply> m_reply;
};

int Run(cli::FleetUse& use, fleet::Place const& wanted, int count)
{
    auto const sonar = use.AwaitSonar(wanted, 10s);
    {
        Awaited<authority::LeaseReply> lease;
        use.Get().AskLease(sonar, {authority::LeaseVerb::Take, 600.0, {}}, limit, lease.Taking());
        if (lease.Wait().answer != authority::LeaseReplyKind::Granted) {
            std::fprintf(stderr, "the lease is not granted\n");
            return 1;
        }
    }
    // A line for each request, in nanoseconds.
    std::vector<long long> times;
    for (int i = 0; i < count; ++i) {
        auto const begin = std::chrono::steady_clock::now();
        CAttributeMap request;
        request.Add(AttributeKey(protocol::keys::x5Range.text), CVordalDouble(50.0 + i % 100), 0);
        Awaited<authority::RequestReply> result;
        use.Get().Request(sonar, request, limit, result.Taking());
        bool const isDone = fleet::ResultOf(result.Wait()) == operation::Result::Agrees;
        times.push_back(std::chrono::nanoseconds(std::chrono::steady_clock::now() - begin).count());
        if (!isDone) {
            std::fprintf(stderr, "a request failed\n");
            return 1;
        }
    }
    {
        Awaited<authority::LeaseReply> lease;
        use.Get().AskLease(sonar, {authority::LeaseVerb::GiveBack, 0.0, {}}, limit, lease.Taking());
        lease.Wait();
    }
    for (long long const time : times) {
        std::printf("%lld\n", time);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
try {
    if (argc != 9) {
        std::fprintf(stderr, "usage: qx5-python-far-bench URL GROUP VESSEL SONAR CA CERT KEY COUNT\n");
        return 2;
    }
    fleet::Place const wanted{argv[3], argv[4]};
    cli::FleetUse use({argv[1], argv[2], argv[5], argv[6], argv[7], {}}, wanted);
    return Run(use, wanted, std::atoi(argv[8]));
} catch (std::exception const& problem) {
    std::fprintf(stderr, "qx5-python-far-bench: %s\n", problem.what());
    return 1;
}
