// A connection to a real broker: by TLS, refused, lost and back, bounded, and with whoever is no broker.
#include "broker_ear.h"
#include "test_broker.h"

#include "tests/support/fault_relay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace qx5::test {
namespace {

using namespace broker;
using namespace std::chrono_literals;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

ConnectionOptions OptionsFor(BrokerAddress const& address, CertificateFiles const& files = {})
{
    ConnectionOptions options;
    options.address = address;
    options.files = files;
    options.leastPause = 20ms;
    options.greatestPause = 200ms;
    return options;
}

std::string Place(std::uint16_t port)
{
    return "127.0.0.1:" + std::to_string(port);
}

/// One broker for the tests that leave it as it was; whoever takes messages.
class BrokerConnection : public ::testing::TestWithParam<bool>
{
protected:
    static ConnectionOptions OptionsFor(BrokerAddress const& address, CertificateFiles const& files = {})
    {
        auto options = qx5::test::OptionsFor(address, files);
        options.takesAtOnce = GetParam();
        return options;
    }
    ConnectionOptions Secure(std::string const& who) const { return OptionsFor(server.Secure(), server.Files(who)); }

    TestBroker server;
};

INSTANTIATE_TEST_SUITE_P(Messages, BrokerConnection, ::testing::Bool(),
                         [](auto const& each) { return each.param ? "TakenAtOnce" : "TakenByItsThread"; });

TEST_P(BrokerConnection, ByTlsOnBothSides)
{
    BrokerEar listener(Secure("watcher"), {"a/#"});
    BrokerEar speaker(Secure("vessel"));
    ASSERT_TRUE(listener.WaitForConnections(1)) << server.Log();
    ASSERT_TRUE(speaker.WaitForConnections(1)) << server.Log();
    EXPECT_TRUE(speaker.connection->Publish({"a/b", "quick", 0, false}));
    auto const number = speaker.connection->Publish({"a/c", std::string("\0\xFFsafe", 6), 1, false});
    ASSERT_TRUE(number);
    EXPECT_TRUE(listener.WaitForMessage("a/b", "quick"));
    EXPECT_TRUE(listener.WaitForMessage("a/c", std::string("\0\xFFsafe", 6)));
    EXPECT_TRUE(speaker.Wait([&] { return speaker.completed.size() == 1; }));
    speaker.connection->End(10s);
    EXPECT_THAT(speaker.completed, ElementsAre(std::pair(*number, true)));
    EXPECT_THAT(speaker.states, ElementsAre(LineState::Connecting, LineState::Connected, LineState::Ended));
    EXPECT_EQ(speaker.disconnections, 1);
    EXPECT_EQ(speaker.connection->Counts().published, 2U);
    EXPECT_FALSE(speaker.connection->Publish({"a/d", "", 0, false})) << "it has ended";
    EXPECT_TRUE(server.WaitUntilItSays("u'vessel'")) << "the broker knows who speaks: " << server.Log();
}

TEST_P(BrokerConnection, WhatIsRetainedArrivesAndOrderOfOneQosIsKept)
{
    BrokerEar speaker(OptionsFor(server.Plain()));
    ASSERT_TRUE(speaker.WaitForConnections(1));
    speaker.connection->Publish({"state", "on", 1, true});
    ASSERT_TRUE(speaker.Wait([&] { return speaker.completed.size() == 1; }));
    BrokerEar listener(OptionsFor(server.Plain()), {"state", "n/#"});
    EXPECT_TRUE(listener.WaitForMessage("state", "on"));
    ASSERT_TRUE(listener.WaitForConnections(1));
    for (int i = 0; i < 500; ++i) {
        ASSERT_TRUE(speaker.connection->Publish({"n/" + std::to_string(i % 3), std::to_string(i), i % 2, false}));
    }
    ASSERT_TRUE(listener.Wait([&] { return listener.messages.size() == 501; }));
    listener.connection->End(0s);
    // What is of QoS 0 may overtake what is of QoS 1 at the broker.
    std::vector<int> next{0, 1};
    for (std::size_t i = 1; i < listener.messages.size(); ++i) {
        int const number = std::stoi(listener.messages[i].second);
        int& expected = next[number % 2 == 0 ? 0 : 1];
        EXPECT_EQ(number, expected);
        expected = number + 2;
    }
}

TEST_P(BrokerConnection, WhatIsMoreThanTheBrokerTakesAtOnceGoesAsSoonAsItAcknowledges)
{
    // It takes 20 at once. A client that looks once a second what it may send next is long past any limit by then.
    BrokerEar speaker(OptionsFor(server.Plain()));
    ASSERT_TRUE(speaker.WaitForConnections(1));
    std::vector<std::pair<std::uint64_t, bool>> acknowledged;
    for (int i = 0; i < 2'000; ++i) {
        auto const number = speaker.connection->Publish({"t", std::to_string(i), 1, false});
        ASSERT_TRUE(number);
        acknowledged.emplace_back(*number, true);
    }
    ASSERT_TRUE(speaker.Wait([&] { return speaker.completed.size() == acknowledged.size(); }));
    EXPECT_EQ(speaker.completed, acknowledged);
    speaker.connection->End(0s);
}

TEST_P(BrokerConnection, IsMadeAgainAndEndsWhileMessagesComeAndGo)
{
    auto options = OptionsFor(server.Plain());
    options.outgoingMessages = 100;
    BrokerEar speaker(options);
    BrokerEar listener(options, {"f"});
    ASSERT_TRUE(speaker.WaitForConnections(1));
    ASSERT_TRUE(listener.WaitForConnections(1));
    std::atomic<bool> isOver = false;
    std::vector<std::uint64_t> taken;
    std::thread flood([&] {
        while (!isOver) {
            speaker.connection->Publish({"f", "to it", 0, false});
            if (auto const number = listener.connection->Publish({"g", "from it", 1, false})) {
                taken.push_back(*number);
            } else {
                std::this_thread::yield();
            }
        }
    });
    std::size_t heard = 0;
    for (int connection = 2; connection <= 4; ++connection) {
        EXPECT_TRUE(listener.Wait([&] { return listener.messages.size() > heard; }));
        listener.connection->StartAgain();
        EXPECT_TRUE(listener.WaitForConnections(connection));
        EXPECT_TRUE(listener.Wait([&] {
            heard = listener.messages.size();
            return listener.disconnections == connection - 1;
        }));
    }
    EXPECT_TRUE(listener.Wait([&] { return listener.messages.size() > heard; }));
    listener.connection->End(0s);
    isOver = true;
    flood.join();
    EXPECT_FALSE(taken.empty());
    std::vector<std::uint64_t> told;
    for (auto const& [number, isAcknowledged] : listener.completed) {
        told.push_back(number);
    }
    std::sort(told.begin(), told.end());
    EXPECT_EQ(told, taken) << "what became of each is told, and once";
}

TEST_P(BrokerConnection, ItsWillArrivesWhenTheLineBreaksAndNotWhenItEnds)
{
    vordal::FaultRelay relay(server.Secure().port);
    BrokerEar listener(Secure("watcher"), {"will"});
    ASSERT_TRUE(listener.WaitForConnections(1));
    auto options = Secure("vessel");
    options.address.port = relay.Port();
    {
        BrokerEar vessel(options, {}, Publication{"will", "lost", 1, false});
        ASSERT_TRUE(vessel.WaitForConnections(1)) << server.Log();
        relay.Cut();
        EXPECT_TRUE(listener.WaitForMessage("will", "lost"));
        ASSERT_TRUE(vessel.WaitForConnections(2));
        EXPECT_TRUE(vessel.Wait([&] { return vessel.wills >= 2; })) << "each connection has a will of its own";
        EXPECT_EQ(vessel.FirstReason(), "the connection to " + Place(relay.Port()) + " was lost");
        vessel.connection->End(10s);
    }
    BrokerEar last(Secure("vessel"));
    ASSERT_TRUE(last.WaitForConnections(1));
    last.connection->Publish({"will", "end of the test", 1, false});
    EXPECT_TRUE(listener.WaitForMessage("will", "end of the test"));
    listener.connection->End(0s);
    EXPECT_EQ(listener.messages.size(), 2U) << "one that ended in order has no will";
}

TEST_P(BrokerConnection, StartsAgainWithoutItsWill)
{
    BrokerEar listener(Secure("watcher"), {"will", "after"});
    ASSERT_TRUE(listener.WaitForConnections(1));
    BrokerEar vessel(Secure("vessel"), {}, Publication{"will", "lost", 1, false});
    ASSERT_TRUE(vessel.WaitForConnections(1));
    vessel.connection->StartAgain();
    ASSERT_TRUE(vessel.WaitForConnections(2));
    ASSERT_TRUE(vessel.connection->Publish({"after", "it", 1, false}));
    EXPECT_TRUE(listener.WaitForMessage("after", "it"));
    listener.connection->End(0s);
    EXPECT_EQ(listener.messages.size(), 1U);
}

TEST_P(BrokerConnection, CertificatesThatAreNoGoodAreTold)
{
    EXPECT_THAT(BrokerEar(Secure("expired")).FirstReason(),
                StartsWith("the certificate " + server.Files("expired").certificate.string() + " expired on 20"));
    EXPECT_EQ(BrokerEar(Secure("foreign")).FirstReason(),
              Place(server.Secure().port) + " refuses us: it does not know who signed our certificate");

    auto options = Secure("vessel");
    options.files.certificate.clear();
    options.files.key.clear();
    EXPECT_EQ(BrokerEar(options).FirstReason(),
              Place(server.Secure().port) + " refuses us: it asks for a certificate, and there is none");

    options = Secure("vessel");
    options.files.authority = server.Certificates().Authority(TestCertificates::Signer::Foreign);
    EXPECT_THAT(BrokerEar(options).FirstReason(),
                StartsWith("the certificate of " + Place(server.Secure().port) + " is not to be trusted: "));

    options = Secure("vessel");
    options.files.key = server.Files("operator").key;
    EXPECT_THAT(BrokerEar(options).FirstReason(),
                StartsWith(options.files.key.string() + " holds no key of the certificate " +
                           options.files.certificate.string() + ": "));

    options = Secure("vessel");
    options.files.key.clear();
    EXPECT_EQ(BrokerEar(options).FirstReason(),
              "the certificate " + options.files.certificate.string() + " comes without its key");

    options = Secure("vessel");
    options.files.authority = server.Folder() / "nowhere.pem";
    EXPECT_EQ(BrokerEar(options).FirstReason(),
              options.files.authority.string() + " cannot be read: No such file or directory");

    options.files.authority = server.Folder() / "mosquitto.conf";
    EXPECT_EQ(BrokerEar(options).FirstReason(), options.files.authority.string() + " holds no certificate");
}

TEST(BrokerCertificate, ThatHasExpired)
{
    TestBroker server({"expired-broker", {}});
    EXPECT_EQ(BrokerEar(OptionsFor(server.Secure(), server.Files("vessel"))).FirstReason(),
              "the certificate of " + Place(server.Secure().port) + " has expired");
}

TEST(BrokerCertificate, ThatIsOfAForeignAuthority)
{
    TestBroker server({"foreign-broker", {}});
    EXPECT_THAT(BrokerEar(OptionsFor(server.Secure(), server.Files("vessel"))).FirstReason(),
                StartsWith("the certificate of " + Place(server.Secure().port) + " is not to be trusted: "));
}

TEST(BrokerCertificate, ThatIsForAnotherName)
{
    TestBroker server({"nameless-broker", {}});
    EXPECT_EQ(BrokerEar(OptionsFor(server.Secure(), server.Files("vessel"))).FirstReason(),
              "the certificate of " + Place(server.Secure().port) + " is not for that name");
}

TEST(BrokerKilled, AndBack)
{
    TestBroker server;
    BrokerEar vessel(OptionsFor(server.Secure(), server.Files("vessel")), {"a/#"});
    ASSERT_TRUE(vessel.WaitForConnections(1));
    server.Kill();
    EXPECT_TRUE(vessel.Wait([&] { return vessel.disconnections == 1; }));
    EXPECT_FALSE(vessel.connection->Publish({"a/b", "nobody hears it", 0, false}));
    EXPECT_TRUE(vessel.Wait([&] {
        return std::find(vessel.reasons.begin(), vessel.reasons.end(),
                         "nobody listens at " + Place(server.Secure().port)) != vessel.reasons.end();
    }));
    server.Start();
    ASSERT_TRUE(vessel.WaitForConnections(2)) << server.Log();
    ASSERT_TRUE(vessel.connection->Publish({"a/b", "again", 0, false}));
    EXPECT_TRUE(vessel.WaitForMessage("a/b", "again")) << "filters hold on every connection";
    vessel.connection->End(10s);
    EXPECT_THAT(vessel.reasons.front(), "the connection to " + Place(server.Secure().port) + " was lost");
}

TEST(BrokerFrozen, WhatFindsNoRoomIsRefusedAndWhatIsLostIsTold)
{
    TestBroker server;
    auto options = OptionsFor(server.Plain());
    options.outgoingBytes = 10'000;
    options.outgoingMessages = 50;
    BrokerEar vessel(options);
    ASSERT_TRUE(vessel.WaitForConnections(1));
    server.Freeze();
    std::string const payload(999, 'x');
    std::vector<std::uint64_t> taken;
    for (int i = 0; i < 100; ++i) {
        if (auto const number = vessel.connection->Publish({"t", payload, 1, false})) {
            taken.push_back(*number);
        }
    }
    EXPECT_EQ(taken.size(), 10U);
    EXPECT_EQ(vessel.connection->Counts().refused, 90U);
    EXPECT_FALSE(vessel.connection->Publish({"t", std::string(20'000, 'x'), 0, false}));
    server.Thaw();
    ASSERT_TRUE(vessel.Wait([&] { return vessel.completed.size() == 10; }));
    std::size_t few = 0;
    server.Freeze();
    while (vessel.connection->Publish({"t", "", 1, false})) {
        ++few;
    }
    EXPECT_EQ(few, 50U);
    server.Kill();
    ASSERT_TRUE(vessel.Wait([&] { return vessel.disconnections == 1; }));
    EXPECT_TRUE(vessel.Wait([&] { return vessel.completed.size() == 60; }));
    server.Start();
    ASSERT_TRUE(vessel.WaitForConnections(2));
    EXPECT_TRUE(vessel.connection->Publish({"t", payload, 1, false})) << "there is room again";
    vessel.connection->End(10s);
    for (std::size_t i = 0; i < 60; ++i) {
        EXPECT_EQ(vessel.completed[i].second, i < 10) << i;
    }
    EXPECT_THAT(std::vector(taken.begin(), taken.end()), ::testing::SizeIs(10));
}

TEST(BrokerThatIsNone, NobodyListens)
{
    auto const port = FreePort();
    EXPECT_EQ(BrokerEar(OptionsFor({false, "127.0.0.1", port})).FirstReason(), "nobody listens at " + Place(port));
}

/// Answers each connection with a text, or with nothing, and closes it or not.
class OtherProgram
{
public:
    OtherProgram(std::string answer, bool closes) : m_answer(std::move(answer)), m_closes(closes)
    {
        m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(::bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_socket, 8), 0);
        ::getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
        m_thread = std::thread([this] { Answer(); });
    }
    OtherProgram(OtherProgram const&) = delete;
    OtherProgram& operator=(OtherProgram const&) = delete;
    ~OtherProgram()
    {
        ::shutdown(m_socket, SHUT_RDWR);
        m_thread.join();
        ::close(m_socket);
    }
    std::uint16_t port = 0;

private:
    void Answer()
    {
        std::vector<int> open;
        for (;;) {
            int const line = ::accept(m_socket, nullptr, nullptr);
            if (line < 0) {
                break;
            }
            if (!m_answer.empty()) {
                char byte = 0;
                ::recv(line, &byte, 1, 0); // somebody who answers has been asked
                ::send(line, m_answer.data(), m_answer.size(), MSG_NOSIGNAL);
            }
            if (m_closes) {
                ::close(line);
            } else {
                open.push_back(line);
            }
        }
        for (int const line : open) {
            ::close(line);
        }
    }

    std::string const m_answer;
    bool const m_closes;
    int m_socket = -1;
    std::thread m_thread;
};

TEST(BrokerThatIsNone, AnotherProgramAnswers)
{
    OtherProgram web("HTTP/1.1 400 Bad Request\r\n\r\n", true);
    OtherProgram closing("", true);
    OtherProgram silent("", false);
    auto const plain = [](OtherProgram const& program) {
        auto options = OptionsFor({false, "127.0.0.1", program.port});
        options.connectLimit = 1s;
        return BrokerEar(options).FirstReason();
    };
    EXPECT_EQ(plain(web), "what answers at " + Place(web.port) + " does not answer as a broker");
    EXPECT_EQ(plain(closing), "what answers at " + Place(closing.port) + " does not answer as a broker");
    EXPECT_EQ(plain(silent), "what answers at " + Place(silent.port) + " does not answer as a broker");
}

/// Of the process's lines to that port, whether each sends what it is given at once.
std::vector<bool> PromptLinesTo(std::uint16_t port)
{
    std::vector<bool> prompt;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        int isPrompt = 0;
        socklen_t wide = sizeof isPrompt;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 && ntohs(peer.sin_port) == port &&
            ::getsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &isPrompt, &wide) == 0) {
            prompt.push_back(isPrompt != 0);
        }
    }
    return prompt;
}

TEST_P(BrokerConnection, HoldsNoAnswerBackUntilAnAcknowledgementIsConfirmed)
{
    BrokerEar plain(OptionsFor(server.Plain()));
    ASSERT_TRUE(plain.WaitForConnections(1));
    EXPECT_THAT(PromptLinesTo(server.Plain().port), ElementsAre(true));
    BrokerEar secure(Secure("vessel"), {"a"});
    ASSERT_TRUE(secure.WaitForConnections(1));
    EXPECT_THAT(PromptLinesTo(server.Secure().port), ElementsAre(true));
}

TEST(BrokerThatRefuses, IsToldInItsWords)
{
    TestBroker server({"broker", "allow_anonymous false\n"});
    EXPECT_EQ(BrokerEar(OptionsFor(server.Plain())).FirstReason(),
              Place(server.Plain().port) + " refuses us: Not authorized");

    // What mosquitto has no setting for, as MQTT writes it: the answer to a connect, 3 bytes, flags, the reason, no
    // properties.
    auto const answering = [](char reason) {
        OtherProgram const broker({0x20, 0x03, 0x00, reason, 0x00}, false);
        auto const told = BrokerEar(OptionsFor({false, "127.0.0.1", broker.port})).FirstReason();
        EXPECT_THAT(told, StartsWith(Place(broker.port) + " refuses us: "));
        return told.substr(told.rfind(": ") + 2);
    };
    EXPECT_EQ(answering('\x84'), "Unsupported Protocol Version");
    EXPECT_EQ(answering('\x85'), "Client Identifier not valid");
    EXPECT_EQ(answering('\x86'), "Bad User Name or Password");
    EXPECT_EQ(answering('\x88'), "Server unavailable");
    EXPECT_EQ(answering('\x89'), "Server busy");
    EXPECT_EQ(answering('\x8A'), "Banned");
}

TEST_P(BrokerConnection, WhatIsTooLargeForUsStaysAtTheBroker)
{
    auto options = OptionsFor(server.Plain());
    options.incomingMessageBytes = 10'000;
    BrokerEar listener(options, {"t"});
    options = OptionsFor(server.Plain());
    options.outgoingBytes = std::size_t{200} << 20;
    BrokerEar speaker(options);
    ASSERT_TRUE(listener.WaitForConnections(1));
    ASSERT_TRUE(speaker.WaitForConnections(1));
    std::string const huge(100'000'000, 'x');
    ASSERT_TRUE(speaker.connection->Publish({"t", huge, 1, false}));
    ASSERT_TRUE(speaker.Wait([&] { return speaker.completed.size() == 1; })) << "the broker has it";
    ASSERT_TRUE(speaker.connection->Publish({"t", "small", 1, false}));
    ASSERT_TRUE(listener.WaitForMessage("t", "small"));
    listener.connection->End(0s);
    EXPECT_EQ(listener.messages.size(), 1U);
    EXPECT_EQ(listener.connections, 1);
}

TEST(BrokerWithALimit, IsNotSentWhatItDoesNotTake)
{
    TestBroker server({"broker", "max_packet_size 10000\n"});
    BrokerEar speaker(OptionsFor(server.Plain()), {"t"});
    ASSERT_TRUE(speaker.WaitForConnections(1));
    EXPECT_FALSE(speaker.connection->Publish({"t", std::string(10'000, 'x'), 1, false}));
    EXPECT_EQ(speaker.connection->Counts().tooLarge, 1U);
    EXPECT_EQ(speaker.connection->Counts().refused, 1U);
    std::string const fits(9'900, 'x');
    EXPECT_TRUE(speaker.connection->Publish({"t", fits, 1, false}));
    EXPECT_TRUE(speaker.WaitForMessage("t", fits));
    speaker.connection->End(10s);
    EXPECT_EQ(speaker.connections, 1) << "a broker ends the connection of whoever sends more";
}

TEST(BrokerThatIsNone, WithoutTls)
{
    TestBroker server;
    OtherProgram web("HTTP/1.1 400 Bad Request\r\n\r\n", true);
    auto const secure = [&](std::uint16_t port) {
        auto options = OptionsFor({true, "127.0.0.1", port}, server.Files("vessel"));
        options.connectLimit = 2s;
        return BrokerEar(options).FirstReason();
    };
    EXPECT_THAT(secure(web.port), StartsWith("what answers at " + Place(web.port) + " speaks no TLS: "));
    EXPECT_THAT(secure(server.Plain().port),
                StartsWith("what answers at " + Place(server.Plain().port) + " speaks no TLS"));
    auto options = OptionsFor({false, "127.0.0.1", server.Secure().port});
    options.connectLimit = 2s;
    EXPECT_EQ(BrokerEar(options).FirstReason(),
              "what answers at " + Place(server.Secure().port) + " does not answer as a broker");
}

TEST(BrokerThatIsNone, IsAskedEverMoreSeldomAndEndsAtOnce)
{
    auto const port = FreePort();
    auto options = OptionsFor({false, "127.0.0.1", port});
    options.leastPause = 10ms;
    options.greatestPause = 1h;
    BrokerEar vessel(options);
    EXPECT_TRUE(vessel.Wait([&] { return vessel.reasons.size() >= 4; }));
    vessel.connection->End(1h);
    EXPECT_EQ(vessel.states.back(), LineState::Ended);
    EXPECT_EQ(vessel.connections, 0);
}

void ExpectUrl(std::string const& url, std::string const& text)
{
    std::string error;
    auto const address = ParseBrokerUrl(url, error);
    ASSERT_TRUE(address) << error;
    EXPECT_EQ(address->Text(), text);
}

TEST(BrokerUrl, IsTakenApart)
{
    ExpectUrl("mqtts://shore.example:1234", "mqtts://shore.example:1234");
    ExpectUrl("mqtts://shore.example", "mqtts://shore.example:8883");
    ExpectUrl("mqtts://[2001:db8::1]:99", "mqtts://[2001:db8::1]:99");
    ExpectUrl("mqtt://127.0.0.1", "mqtt://127.0.0.1:1883");
    ExpectUrl("mqtt://localhost:5", "mqtt://localhost:5");
    ExpectUrl("mqtt://[::1]", "mqtt://[::1]:1883");
}

TEST(BrokerUrl, ThatIsNoneIsRefused)
{
    auto const why = [](std::string const& url) {
        std::string error;
        EXPECT_FALSE(ParseBrokerUrl(url, error)) << url;
        return error;
    };
    EXPECT_EQ(why("mqtt://shore.example"),
              "mqtt://shore.example is no broker: mqtt:// goes to this machine alone, all others take mqtts://");
    EXPECT_EQ(why("mqtt://127.0.0.1.example.com"), "mqtt://127.0.0.1.example.com is no broker: mqtt:// goes to this "
                                                   "machine alone, all others take mqtts://");
    EXPECT_EQ(why("http://a"), "http://a is no broker: it begins neither with mqtts:// nor with mqtt://");
    EXPECT_EQ(why("mqtts://a:0"), "mqtts://a:0 is no broker: its port is no number from 1 to 65535");
    EXPECT_EQ(why("mqtts://a:70000"), "mqtts://a:70000 is no broker: its port is no number from 1 to 65535");
    EXPECT_EQ(why("mqtts://a:1x"), "mqtts://a:1x is no broker: its port is no number from 1 to 65535");
    EXPECT_EQ(why("mqtts://"), "mqtts:// is no broker: behind mqtts:// stands HOST:PORT and nothing else");
    EXPECT_EQ(why("mqtts://a/b"), "mqtts://a/b is no broker: behind mqtts:// stands HOST:PORT and nothing else");
    EXPECT_EQ(why("mqtts://[::1"), "mqtts://[::1 is no broker: a [ lacks its ]");
}

} // namespace
} // namespace qx5::test
