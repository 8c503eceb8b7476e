// A line to the broker tried step by step, until something goes wrong.
#include "broker/line_diagnosis.h"

#include "broker/platform/certificate.h"

#include <fmt/format.h>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <memory>
#include <system_error>

namespace qx5::broker {

namespace {

using Clock = std::chrono::steady_clock;

using Context = std::unique_ptr<SSL_CTX, FreeBy<SSL_CTX_free>>;
using Session = std::unique_ptr<SSL, FreeBy<SSL_free>>;
using File = std::unique_ptr<std::FILE, FreeBy<std::fclose>>;
using Addresses = std::unique_ptr<addrinfo, FreeBy<freeaddrinfo>>;

class Socket
{
public:
    explicit Socket(int number) : m_number(number) {}
    Socket(Socket const&) = delete;
    Socket& operator=(Socket const&) = delete;
    ~Socket()
    {
        if (m_number >= 0) {
            ::close(m_number);
        }
    }
    int Number() const { return m_number; }

private:
    int m_number;
};

/// As long as it lives, writing to a line that the peer has closed is an error of this thread and not its end.
class WithoutPipeSignal
{
public:
    WithoutPipeSignal()
    {
        ::sigemptyset(&m_pipe);
        ::sigaddset(&m_pipe, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
    }
    WithoutPipeSignal(WithoutPipeSignal const&) = delete;
    WithoutPipeSignal& operator=(WithoutPipeSignal const&) = delete;
    ~WithoutPipeSignal()
    {
        timespec const now{};
        ::sigtimedwait(&m_pipe, nullptr, &now);
        ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

private:
    sigset_t m_pipe{};
    sigset_t m_before{};
};

bool WaitFor(int socket, short what, Clock::time_point until)
{
    auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    pollfd one{socket, what, 0};
    return left > 0 && ::poll(&one, 1, static_cast<int>(left)) > 0;
}

std::string ErrorText(int number)
{
    return std::generic_category().message(number);
}

/// What OpenSSL says last of this thread.
std::string LastError()
{
    auto const number = ERR_peek_last_error();
    auto const* const text = ERR_reason_error_string(number);
    ERR_clear_error();
    return text != nullptr ? text : "the line was closed";
}

std::string DayOf(ASN1_TIME const* time)
{
    std::tm day{};
    if (ASN1_TIME_to_tm(time, &day) != 1) {
        return "a day that is none";
    }
    return fmt::format("{:04}-{:02}-{:02}", day.tm_year + 1900, day.tm_mon + 1, day.tm_mday);
}

std::string WhyNotReadable(std::filesystem::path const& file)
{
    File const opened(std::fopen(file.c_str(), "re"));
    return opened ? std::string() : fmt::format("{} cannot be read: {}", file.string(), ErrorText(errno));
}

std::string WhatIsWrongWithOurs(CertificateFiles const& files)
{
    if (files.certificate.empty() != files.key.empty()) {
        return files.key.empty() ? fmt::format("the certificate {} comes without its key", files.certificate.string())
                                 : fmt::format("the key {} comes without its certificate", files.key.string());
    }
    for (auto const& file : {files.authority, files.certificate, files.key}) {
        auto why = file.empty() ? std::string() : WhyNotReadable(file);
        if (!why.empty()) {
            return why;
        }
    }
    if (!files.authority.empty() && !ReadCertificate(files.authority)) {
        return fmt::format("{} holds no certificate", files.authority.string());
    }
    if (files.certificate.empty()) {
        return {};
    }
    auto const ours = ReadCertificate(files.certificate);
    if (!ours) {
        return fmt::format("{} holds no certificate", files.certificate.string());
    }
    if (X509_cmp_current_time(X509_get0_notAfter(ours.get())) < 0) {
        return fmt::format("the certificate {} expired on {}", files.certificate.string(),
                           DayOf(X509_get0_notAfter(ours.get())));
    }
    if (X509_cmp_current_time(X509_get0_notBefore(ours.get())) > 0) {
        return fmt::format("the certificate {} is good from {} on", files.certificate.string(),
                           DayOf(X509_get0_notBefore(ours.get())));
    }
    Context const context(SSL_CTX_new(TLS_client_method()));
    if (SSL_CTX_use_certificate_chain_file(context.get(), files.certificate.c_str()) != 1) {
        return fmt::format("{} holds no certificate", files.certificate.string());
    }
    if (SSL_CTX_use_PrivateKey_file(context.get(), files.key.c_str(), SSL_FILETYPE_PEM) != 1) {
        auto const why = LastError();
        return fmt::format("{} holds no key of the certificate {}: {}", files.key.string(), files.certificate.string(),
                           why);
    }
    return {};
}

/// A connected socket, or why there is none.
int ConnectTo(BrokerAddress const& address, Clock::time_point until, std::string& why)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    auto const problem = ::getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &hints, &found);
    if (problem != 0) {
        why = fmt::format("{} is no host that can be found: {}", address.host, ::gai_strerror(problem));
        return -1;
    }
    Addresses const all(found);
    for (auto const* one = all.get(); one != nullptr; one = one->ai_next) {
        int const socket = ::socket(one->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (socket < 0) {
            why = fmt::format("no connection to {}: {}", address.Place(), ErrorText(errno));
            continue;
        }
        int failed = ::connect(socket, one->ai_addr, one->ai_addrlen) == 0 ? 0 : errno;
        if (failed == EINPROGRESS) {
            failed = ETIMEDOUT;
            if (WaitFor(socket, POLLOUT, until)) {
                socklen_t size = sizeof failed;
                ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &failed, &size);
            }
        }
        if (failed == 0) {
            return socket;
        }
        ::close(socket);
        why = failed == ECONNREFUSED ? fmt::format("nobody listens at {}", address.Place())
                                     : fmt::format("no connection to {}: {}", address.Place(), ErrorText(failed));
    }
    return -1;
}

/// What the peer has against us, told by an alert behind the handshake; empty when it says nothing.
std::string WhatThePeerSays(std::string const& reason)
{
    if (reason.find("alert certificate expired") != std::string::npos) {
        return "it says that our certificate has expired";
    }
    if (reason.find("alert unknown ca") != std::string::npos) {
        return "it does not know who signed our certificate";
    }
    if (reason.find("alert certificate required") != std::string::npos ||
        reason.find("alert handshake failure") != std::string::npos) {
        return "it asks for a certificate, and there is none";
    }
    if (reason.find("alert certificate revoked") != std::string::npos) {
        return "it says that our certificate was revoked";
    }
    if (reason.find("alert") != std::string::npos) {
        return fmt::format("it refuses our certificate: {}", reason);
    }
    return {};
}

/// Goes on until `step` is done. Says whether it came off; what the line or the peer says otherwise.
template <typename Step>
bool Until(Clock::time_point until, SSL* session, std::string& reason, Step const& step)
{
    for (;;) {
        ERR_clear_error();
        int const result = step();
        if (result > 0) {
            return true;
        }
        int const problem = SSL_get_error(session, result);
        short const wanted = problem == SSL_ERROR_WANT_WRITE ? POLLOUT : POLLIN;
        if (problem != SSL_ERROR_WANT_READ && problem != SSL_ERROR_WANT_WRITE) {
            reason = LastError();
            return false;
        }
        if (!WaitFor(SSL_get_fd(session), wanted, until)) {
            reason.clear();
            return false;
        }
    }
}

std::string DiagnoseHandshake(int socket, BrokerAddress const& address, CertificateFiles const& files,
                              Clock::time_point until)
{
    Context const context(SSL_CTX_new(TLS_client_method()));
    if (files.authority.empty()) {
        SSL_CTX_set_default_verify_paths(context.get());
    } else {
        SSL_CTX_load_verify_locations(context.get(), files.authority.c_str(), nullptr);
    }
    if (!files.certificate.empty()) {
        SSL_CTX_use_certificate_chain_file(context.get(), files.certificate.c_str());
        SSL_CTX_use_PrivateKey_file(context.get(), files.key.c_str(), SSL_FILETYPE_PEM);
    }
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    Session const session(SSL_new(context.get()));
    auto* const parameters = SSL_get0_param(session.get());
    if (X509_VERIFY_PARAM_set1_ip_asc(parameters, address.host.c_str()) != 1) {
        ERR_clear_error();
        X509_VERIFY_PARAM_set1_host(parameters, address.host.c_str(), 0);
        SSL_set_tlsext_host_name(session.get(), address.host.c_str());
    }
    SSL_set_fd(session.get(), socket);

    std::string reason;
    if (!Until(until, session.get(), reason, [&] { return SSL_connect(session.get()); })) {
        auto const verdict = SSL_get_verify_result(session.get());
        if (verdict == X509_V_ERR_CERT_HAS_EXPIRED) {
            return fmt::format("the certificate of {} has expired", address.Place());
        }
        if (verdict == X509_V_ERR_HOSTNAME_MISMATCH || verdict == X509_V_ERR_IP_ADDRESS_MISMATCH) {
            return fmt::format("the certificate of {} is not for that name", address.Place());
        }
        if (verdict != X509_V_OK) {
            return fmt::format("the certificate of {} is not to be trusted: {}", address.Place(),
                               X509_verify_cert_error_string(verdict));
        }
        auto const said = WhatThePeerSays(reason);
        if (!said.empty()) {
            return fmt::format("{} refuses us: {}", address.Place(), said);
        }
        return reason.empty() ? fmt::format("{} takes the connection and says nothing", address.Place())
                              : fmt::format("what answers at {} speaks no TLS: {}", address.Place(), reason);
    }
    // By TLS 1.3 the peer looks at our certificate only after that.
    char byte = 0;
    auto const soon = std::min(until, Clock::now() + std::chrono::seconds(1));
    Until(soon, session.get(), reason, [&] { return SSL_read(session.get(), &byte, 1); });
    auto const said = WhatThePeerSays(reason);
    return said.empty() ? std::string() : fmt::format("{} refuses us: {}", address.Place(), said);
}

} // namespace

std::string WhatIsWrongWith(CertificateFiles const& files)
{
    auto wrong = WhatIsWrongWithOurs(files);
    ERR_clear_error();
    return wrong;
}

std::string Diagnose(BrokerAddress const& address, CertificateFiles const& files, std::chrono::milliseconds limit)
{
    auto const until = Clock::now() + limit;
    WithoutPipeSignal const quiet;
    if (address.isSecure) {
        auto wrong = WhatIsWrongWith(files);
        if (!wrong.empty()) {
            return wrong;
        }
    }
    std::string why;
    Socket const socket(ConnectTo(address, until, why));
    if (socket.Number() < 0) {
        return why;
    }
    if (address.isSecure) {
        why = DiagnoseHandshake(socket.Number(), address, files, until);
        if (!why.empty()) {
            return why;
        }
    }
    return fmt::format("what answers at {} does not answer as a broker", address.Place());
}

} // namespace qx5::broker
