// One attempt after another to get a connection to a sonar: name, addresses, socket, time limit.
#pragma once

#include "link_handlers.h"
#include "name_look_up.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <string>
#include <vector>

namespace vordal {

/// Connects for one link. Link thread alone; nothing here waits. One attempt is under way at a time, and belongs to the
/// attempt at hand of the link.
class Connecting
{
public:
    /// Who is told how an attempt ended; at most once for each, from within Start or later.
    class Listener
    {
    public:
        /// The socket does not block and is set up as the options say.
        virtual void OnConnection(asio::ip::tcp::socket socket) = 0;
        /// Why there is none, in a few words.
        virtual void OnNoConnection(std::string const& reason) = 0;

    protected:
        ~Listener() = default;
    };

    /// `handlers` is the link that owns this; the options are its own.
    Connecting(LinkHandlers& handlers, LinkOptions const& options, Listener& listener);

    void Start();
    /// Ends the attempt; nobody is told. Takes no memory.
    void Stop() noexcept;

private:
    void TakeLookUp(NameLookUpResult const& result);
    void Connect(std::vector<asio::ip::tcp::endpoint> endpoints);
    void HandOn();
    void Fail(std::string const& reason);

    LinkHandlers& m_handlers;
    LinkOptions const& m_options;
    Listener& m_listener;
    asio::steady_timer m_timer;
    asio::ip::tcp::socket m_socket;
    bool m_underWay = false;
    /// The attempt waits for the name; a look-up of an earlier one may still be pending, and serves it.
    bool m_lookingUp = false;
    bool m_lookUpPending = false;
};

} // namespace vordal
