// What the end-to-end tests play on.
#include "stage.h"

#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <bit>
#include <stdexcept>

#include <gtest/gtest.h>

namespace qx5::test {

namespace {

CDataId SonarId()
{
    return CDataId(1, 78, 1, 1);
}

/// The frame of a range of 50 m at the standing time, byte by byte.
Bytes const rangeFrame{
    0x05, 0x00,                                                 // protocol version 5
    0x3C, 0x00,                                                 // data section 60 bytes from byte 4
    0xFF, 0xFF, 0x00, 0x00,                                     // sync word
    0x60, 0x00, 0x00, 0x00,                                     // 96 bytes in all
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,             // reserved
    0xE7, 0x07, 0x3E, 0x01, 0x00, 0x00, 0xA0, 0x41, 0x16, 0x0D, // 2023, day 318, 20.0 s, 22 h, 13 min
    0x01, 0x00,                                                 // record version 1
    0x4C, 0x1D, 0x00, 0x00,                                     // record 7500
    0x00, 0x00, 0x00, 0x00,                                     // device 0
    0x00, 0x00,                                                 // reserved
    0xFF, 0xFF,                                                 // enumerator -1
    0x00, 0x00, 0x00, 0x00,                                     // reserved
    0x00, 0x00,                                                 // flags
    0x00, 0x00,                                                 // reserved
    0x00, 0x00, 0x00, 0x00,                                     // reserved
    0x00, 0x00, 0x00, 0x00,                                     // reserved
    0x00, 0x00, 0x00, 0x00,                                     // reserved
    0xEB, 0x03, 0x00, 0x00,                                     // command 1003
    0xEB, 0x03, 0x00, 0x00,                                     // ticket 1003
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,             // tracking number
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,             //
    0x00, 0x00, 0x48, 0x42,                                     // 50.0
    0x00, 0x00, 0x00, 0x00,                                     // trailing word
};

constexpr std::size_t rangeAt = 88;

} // namespace

Bytes RangeFrame(float range)
{
    Bytes frame = rangeFrame;
    auto const bits = std::bit_cast<std::uint32_t>(range);
    for (std::size_t i = 0; i < 4; ++i) {
        frame[rangeAt + i] = static_cast<unsigned char>(bits >> (8 * i));
    }
    return frame;
}

std::optional<float> RangeOf(Bytes const& frame)
{
    if (frame.size() != rangeFrame.size() || frame[64] != 0xEB || frame[65] != 0x03) {
        return std::nullopt;
    }
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        bits |= static_cast<std::uint32_t>(frame[rangeAt + i]) << (8 * i);
    }
    return std::bit_cast<float>(bits);
}

std::string ToHex(Bytes const& bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char const byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
        text += ' ';
    }
    return text;
}

FarEnd::FarEnd(simulator::ServerOptions options)
    : m_server(std::move(options), [this](simulator::SonarEvent const& event) { OnEvent(event); })
{
    if (auto const problem = m_server.Start()) {
        throw std::runtime_error(problem->text);
    }
}

void FarEnd::OnEvent(simulator::SonarEvent const& event)
{
    std::lock_guard const lock(m_mutex);
    if (event.kind == simulator::EventKind::Answered) {
        m_answers.emplace_back(event.text);
    }
    if (event.kind != simulator::EventKind::Record) {
        return;
    }
    m_arrivals.push_back({event.connection, Bytes(event.frame->bytes.begin(), event.frame->bytes.end())});
    m_changed.notify_all();
}

std::vector<std::string> FarEnd::Answers() const
{
    std::lock_guard const lock(m_mutex);
    return m_answers;
}

std::string FarEnd::Command(std::string_view line)
{
    std::string answer;
    EXPECT_TRUE(m_server.Command(line, answer)) << line << ": " << answer;
    return answer;
}

std::vector<FarEnd::Arrival> FarEnd::Arrivals() const
{
    std::lock_guard const lock(m_mutex);
    return m_arrivals;
}

std::vector<float> FarEnd::Ranges() const
{
    std::vector<float> ranges;
    for (Arrival const& arrival : Arrivals()) {
        if (auto const range = RangeOf(arrival.frame)) {
            ranges.push_back(*range);
        }
    }
    return ranges;
}

bool FarEnd::WaitForRange(float range)
{
    Bytes const wanted = RangeFrame(range);
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience, [&] {
        return std::any_of(m_arrivals.begin(), m_arrivals.end(),
                           [&](Arrival const& arrival) { return arrival.frame == wanted; });
    });
}

bool FarEnd::WaitForRanges(std::size_t count)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience, [&] {
        return std::count_if(m_arrivals.begin(), m_arrivals.end(), [](Arrival const& arrival) {
                   return RangeOf(arrival.frame).has_value();
               }) >= static_cast<std::ptrdiff_t>(count);
    });
}

class NearEnd::Watcher final : public vordal::HostObserver
{
public:
    explicit Watcher(NearEnd& end) : m_end(end) {}

    void OnEcho(BaseDevice&, CAttributeMap const& tree, unsigned) override
    {
        double range = 0.0;
        if (tree.FindValue(L"x5Range", 0).Get(range)) {
            std::lock_guard const lock(m_end.m_mutex);
            m_end.m_echoed.push_back(range);
        }
    }

private:
    NearEnd& m_end;
};

NearEnd::NearEnd(std::uint16_t port, std::function<void(vordal::LinkOptions&)> const& change,
                 vordal::VesselSetup vessel)
    : m_watcher(std::make_unique<Watcher>(*this))
{
    vordal::SetLogSink([this](vordal::LogLevel, std::string_view line) {
        std::lock_guard const lock(m_mutex);
        m_lines.emplace_back(line);
    });
    m_host.SetClock(&m_clock);
    m_host.SetObserver(m_watcher.get());
    std::string reason;
    if (!m_host.LoadPlugIn(QX5_PLUGIN_FILE, reason)) {
        throw std::runtime_error(reason);
    }
    vordal::LinkOptions like;
    like.backOff.first = std::chrono::milliseconds(5);
    like.backOff.greatest = std::chrono::milliseconds(50);
    if (change) {
        change(like);
    }
    vordal::StoredProject project;
    project.vessels = {std::move(vessel)};
    project.ports = {{L"port-1", L"127.0.0.1", port, like.watch}};
    project.devices = {{SonarId(), L"QX5SonarConfigurationControlDevice", L"sonar", L"port-1", true, {}}};
    m_port = dynamic_cast<vordal::X5Port*>(m_host.Open(std::move(project), like).FindPort(L"port-1"));
    m_device = dynamic_cast<QX5Device*>(DataManager::GetDataManager().FindDevice(SonarId()));
    if (m_device == nullptr) {
        throw std::runtime_error("the plug-in makes no sonar device");
    }
    m_subscription = std::make_unique<Subscription>();
    m_subscription->SetSubscriber(new MemFunNoInfoSubscriber<NearEnd>(this, &NearEnd::OnRangeTold), true);
    m_subscription->SetMap(m_device->GetAttributeSubscriptionMap());
    m_subscription->Subscribe(L"x5Range");
}

NearEnd::~NearEnd()
{
    m_subscription.reset();
    m_host.End();
    vordal::SetLogSink({});
}

bool NearEnd::Connect()
{
    Open();
    return WaitForConnection() && Eventually([this] { return Value(L"x5Gain").has_value(); });
}

void NearEnd::Post(CAttributeMap const& request)
{
    CAttributeMap tree;
    *tree.Add(L"Request") = request;
    DataManager::GetDataManager().SetAttributeMap(SonarId(), tree, 4, false);
}

void NearEnd::PostRange(double range)
{
    CAttributeMap request;
    request.Add(L"x5Range", CVordalDouble(range), 0);
    Post(request);
}

void NearEnd::Ask(CAttributeMap const& request)
{
    Post(request);
    m_host.RunAndWait([] {});
}

void NearEnd::AskRange(double range)
{
    PostRange(range);
    m_host.RunAndWait([] {});
}

bool NearEnd::Send(float range)
{
    return m_device->SendRemoteControlRecord(1003, &range, sizeof range, 0, -1);
}

void NearEnd::OnRangeTold()
{
    double range = 0.0;
    unsigned flags = 0;
    if (!m_device->GetAttribValue(L"x5Range", range, flags)) {
        return;
    }
    std::lock_guard const lock(m_mutex);
    m_seen.push_back(range);
    m_changed.notify_all();
}

std::vector<double> NearEnd::SeenRanges() const
{
    std::lock_guard const lock(m_mutex);
    return m_seen;
}

std::vector<double> NearEnd::EchoedRanges() const
{
    std::lock_guard const lock(m_mutex);
    return m_echoed;
}

bool NearEnd::WaitUntilSeen(double range)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience,
                              [&] { return std::find(m_seen.begin(), m_seen.end(), range) != m_seen.end(); });
}

std::optional<double> NearEnd::Value(wchar_t const* key)
{
    double value = 0.0;
    unsigned flags = 0;
    if (m_device->GetAttribValue(key, value, flags)) {
        return value;
    }
    return std::nullopt;
}

std::vector<std::string> NearEnd::LogLines() const
{
    std::lock_guard const lock(m_mutex);
    return m_lines;
}

} // namespace qx5::test
