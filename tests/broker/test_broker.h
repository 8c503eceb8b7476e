// A real broker for a test, on 127.0.0.1, with certificates of its own.
#pragma once

#include "test_certificates.h"

#include "broker/broker_address.h"
#include "tests/cli/child_process.h"
#include "tests/support/temporary_folder.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qx5::test {

/// What the broker shows and asks for.
struct TestBrokerOptions
{
    std::string certificate = "broker"; ///< of those that TestBroker makes: "broker", "expired-broker",
                                        ///< "foreign-broker", "nameless-broker"
    std::string moreConfiguration;      ///< lines of mosquitto.conf, such as an access file's
    std::string logged = "all";         ///< its log_type; "information" for one that has much to do
    std::string address = "127.0.0.1";  ///< another one in a network of the test's own
};

/// mosquitto on two free ports: one by TLS, where each client shows a certificate and is called by its common name, and
/// a plain one. It keeps nothing on disk. Certificates of clients: "vessel", "operator", "watcher"; "expired" and
/// "foreign" are no good. Throws std::runtime_error, with the name of the package that has what is missing.
class TestBroker
{
public:
    explicit TestBroker(TestBrokerOptions options = {});
    TestBroker(TestBroker const&) = delete;
    TestBroker& operator=(TestBroker const&) = delete;
    ~TestBroker();

    broker::BrokerAddress Secure() const { return {true, m_options.address, m_securePort}; }
    broker::BrokerAddress Plain() const { return {false, m_options.address, m_plainPort}; }
    broker::CertificateFiles Files(std::string const& name) const { return m_certificates.Files(name); }
    TestCertificates& Certificates() { return m_certificates; }
    std::filesystem::path Folder() const { return m_folder; }

    /// Ends it at once, as kill -9 does; returns when it is gone.
    void Kill();
    /// Ends it in order; returns when it is gone.
    void Stop();
    /// Starts it again on the same ports; returns when it accepts connections.
    void Start();
    /// Stops and goes on, as a machine that is too busy does.
    void Freeze();
    void Thaw();

    /// Its number in the system.
    std::string ProcessId() const { return m_process->Id(); }
    /// What it has said so far.
    std::string Log() const;
    /// Waits until it has said that; false when it does not.
    bool WaitUntilItSays(std::string_view text) { return m_process->WaitForError(text); }

private:
    bool TryToStart();
    void WriteConfiguration() const;

    TemporaryFolder const m_folder{"qx5-broker"};
    TestBrokerOptions const m_options;
    TestCertificates m_certificates;
    std::uint16_t m_securePort = 0;
    std::uint16_t m_plainPort = 0;
    std::unique_ptr<ChildProcess> m_process;
};

/// A port of 127.0.0.1 that nobody listens on.
std::uint16_t FreePort();

} // namespace qx5::test
