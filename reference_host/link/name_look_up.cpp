// Looking up host names without ever waiting for the answer.
#include "name_look_up.h"

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

namespace vordal {
namespace {

std::vector<std::string> AskSystem(std::string const& host)
{
    asio::io_context context;
    asio::ip::tcp::resolver resolver(context);
    std::vector<std::string> addresses;
    for (auto const& entry : resolver.resolve(host, "")) {
        auto const address = entry.endpoint().address().to_string();
        if (addresses.empty() || addresses.back() != address) {
            addresses.push_back(address);
        }
    }
    return addresses;
}

NameLookUpResult Answer(std::string const& host, NameLookUp const& lookUp) noexcept
{
    NameLookUpResult result;
    try {
        try {
            result.addresses = lookUp ? lookUp(host) : AskSystem(host);
            if (result.addresses.empty()) {
                result.failure = "the name has no address";
            }
        } catch (std::system_error const& error) {
            result.failure = error.code().message();
        } catch (std::exception const& error) {
            result.failure = error.what();
        }
    } catch (...) {
        result.failure = "failed"; // short enough to need no memory
    }
    return result;
}

template <typename Call>
bool FailsFor(Call const& call) noexcept
{
    try {
        call();
        return false;
    } catch (...) {
        return true;
    }
}

// Shared with the abandoned threads, so that one that outlives the statics of the process touches nothing dead.
std::shared_ptr<std::atomic<std::size_t>> const& UnderWay()
{
    static auto const count = std::make_shared<std::atomic<std::size_t>>(0);
    return count;
}

} // namespace

bool StartNameLookUp(std::string host, NameLookUp lookUp, std::function<void(NameLookUpResult)> done)
{
    auto const& count = UnderWay();
    if (count->fetch_add(1) >= NameLookUpsAtATime) {
        count->fetch_sub(1);
        return false;
    }
    try {
        std::thread([count, host = std::move(host), lookUp = std::move(lookUp), done = std::move(done)]() mutable {
            auto const result = Answer(host, lookUp);
            count->fetch_sub(1);
            // Whoever waits for the answer asks nobody else: it is told as soon as there is the memory for it.
            while (FailsFor([&] { done(result); })) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        }).detach();
    } catch (...) {
        count->fetch_sub(1);
        return false;
    }
    return true;
}

} // namespace vordal
