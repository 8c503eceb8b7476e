// One attempt after another to get a connection to a sonar: name, addresses, socket, time limit.
#include "connecting.h"

#include "reference_host/platform/line_watch.h"

#include <asio/connect.hpp>

#include <utility>

namespace vordal {

using asio::ip::tcp;

Connecting::Connecting(LinkHandlers& handlers, LinkOptions const& options, Listener& listener)
    : m_handlers(handlers), m_options(options), m_listener(listener), m_timer(handlers.Context()),
      m_socket(handlers.Context())
{
}

void Connecting::Start()
{
    m_underWay = true;
    m_timer.expires_after(m_options.connectTimeout);
    m_timer.async_wait(m_handlers.DuringThis([this](asio::error_code error) {
        if (!error && m_underWay) {
            Fail(m_lookingUp ? "the look-up of the name gave no answer" : "no answer");
        }
    }));

    asio::error_code notNumeric;
    auto const address = asio::ip::make_address(m_options.host, notNumeric);
    if (!notNumeric) {
        Connect({tcp::endpoint(address, m_options.port)});
        return;
    }
    m_lookingUp = true;
    // A look-up of an earlier attempt that is still under way will answer this one: asking again helps nobody.
    if (m_lookUpPending) {
        return;
    }
    m_lookUpPending =
        StartNameLookUp(m_options.host, m_options.lookUp,
                        [this, weak = m_handlers.weak_from_this(), gate = m_handlers.Gate()](NameLookUpResult result) {
                            gate->Post([this, weak, result = std::move(result)] {
                                if (auto const link = weak.lock()) {
                                    link->Always([&] { TakeLookUp(result); })();
                                }
                            });
                        });
    if (!m_lookUpPending) {
        Fail("too many name look-ups are under way");
    }
}

void Connecting::Stop() noexcept
{
    m_underWay = false;
    m_lookingUp = false;
    m_timer.cancel();
    asio::error_code ignored;
    m_socket.close(ignored);
}

void Connecting::TakeLookUp(NameLookUpResult const& result)
{
    m_lookUpPending = false;
    if (!std::exchange(m_lookingUp, false)) {
        return;
    }
    if (!result.failure.empty()) {
        Fail(result.failure);
        return;
    }
    std::vector<tcp::endpoint> endpoints;
    for (auto const& text : result.addresses) {
        asio::error_code error;
        auto const address = asio::ip::make_address(text, error);
        if (!error) {
            endpoints.emplace_back(address, m_options.port);
        }
    }
    Connect(std::move(endpoints));
}

void Connecting::Connect(std::vector<tcp::endpoint> endpoints)
{
    if (endpoints.empty()) {
        Fail("the name has no address");
        return;
    }
    m_socket = tcp::socket(m_handlers.Context());
    // What keeps a socket from being made at all, the connection below does not tell.
    asio::error_code failed;
    m_socket.open(endpoints.front().protocol(), failed);
    if (failed) {
        Fail(failed.message());
        return;
    }
    // Shared, because the operation walks the list after this returns.
    auto const list = std::make_shared<std::vector<tcp::endpoint>>(std::move(endpoints));
    asio::async_connect(m_socket, list->begin(), list->end(),
                        m_handlers.DuringThis([this, list](asio::error_code error, auto) {
                            if (m_underWay && error) {
                                Fail(error.message());
                            } else if (m_underWay) {
                                HandOn();
                            }
                        }));
}

void Connecting::HandOn()
{
    asio::error_code error;
    m_socket.non_blocking(true, error);
    if (error) {
        Fail(error.message());
        return;
    }
    // A socket without this works, only slower to send.
    asio::error_code ignored;
    m_socket.set_option(tcp::no_delay(true), ignored);
    platform::WatchLine(static_cast<int>(m_socket.native_handle()), m_options.watch);
    if (m_options.systemBufferBytes > 0) {
        m_socket.set_option(asio::socket_base::send_buffer_size(m_options.systemBufferBytes), ignored);
        m_socket.set_option(asio::socket_base::receive_buffer_size(m_options.systemBufferBytes), ignored);
    }
    m_underWay = false;
    m_timer.cancel();
    m_listener.OnConnection(std::move(m_socket));
}

void Connecting::Fail(std::string const& reason)
{
    Stop();
    m_listener.OnNoConnection(reason);
}

} // namespace vordal
