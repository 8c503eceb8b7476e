// Contacts and their images over a live connection: real files, a real target file, another program that changes it.
#include "QX5SonarConfiguration.h"
#include "QX5SonarConfigurationControlDevice.h"
#include "reference_host/common/clock.h"
#include "reference_host/common/log.h"
#include "reference_host/common/path_text.h"
#include "reference_host/project/live_host.h"
#include "reference_host/targets/target_store.h"
#include "tests/reference_host/link_test_peer.h"
#include "tests/support/temporary_folder.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/bytes.h>
#include <vordalhostdllR/SonarTargetsManager.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <thread>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;
namespace protocol = qx5::protocol;
using vordal::StoredTarget;
using vordal::test::Bytes;

CDataId const sonarId(1, 78, 1, 1);
constexpr std::size_t contactFrame = 590;
constexpr std::size_t aroundImage = 248;
constexpr std::size_t imageOffset = 244;

class LiveContacts : public ::testing::Test
{
protected:
    LiveContacts()
    {
        targetFile = vordal::TextOf(folder / "wreck.sts");
        vordal::SetLogSink([](vordal::LogLevel, std::string_view) {});
        host.SetClock(&m_clock);
        host.SetFileFolders({folder});
        host.Targets().SetActive(targetFile);
        SonarTargetsManager::Instance().geoTiffOutputEnabled = true;
        vordal::TargetFile(folder / "wreck.sts", vordal::TargetFile::Missing::Create).Replace({});
    }
    ~LiveContacts() override
    {
        host.End();
        vordal::SetLogSink({});
    }

    /// A sonar on a live connection to `peer`.
    void Connect()
    {
        auto const like = vordal::test::OptionsFor(peer.Port());
        vordal::StoredProject project;
        project.vessels = {{.number = 1, .name = L"Vessel", .configuration = {}}};
        project.ports = {{L"Sonar", L"127.0.0.1", peer.Port(), like.watch}};
        project.devices = {{sonarId, L"QX5SonarConfigurationControlDevice", L"sonar", L"Sonar", true, {}}};
        project.devices.front().attributes.Add(L"DeviceId", CVordalInt(7125), 0);
        host.RunAndWait(RegisterDevices);
        m_link = &host.Open(std::move(project), like).Ports().front()->GetLink();
        device = dynamic_cast<QX5SonarConfigurationControlDevice*>(host.Devices().front());
        host.Start();
        ASSERT_TRUE(vordal::test::Eventually([&] { return m_link->IsConnected(); }));
    }
    StoredTarget ContactWithImage(fs::path const& image, fs::path const& removed) const
    {
        StoredTarget contact;
        contact.target.targetId = 7;
        contact.target.SetTempSonarContactGeoTiff(vordal::TextOf(image));
        contact.target.SetGeoTIFF(vordal::TextOf(removed));
        return contact;
    }
    void Tell(std::uint32_t code)
    {
        host.RunAndWait([&] { host.Targets().Tell(7, code, 1700000000.0); });
    }
    vordal::LinkCounters Counters() const { return m_link->GetCounters(); }
    bool Idle() const { return m_link->GetQueuedBytes() == 0; }
    static void Write(fs::path const& path, Bytes const& bytes)
    {
        std::ofstream stream(path, std::ios::binary);
        stream.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    qx5::test::TemporaryFolder const folder{"qx5 contacts s\u00f6\u00f1ar \u6c34"};
    CString targetFile;
    vordal::test::Peer peer;
    vordal::LiveHost host;
    QX5SonarConfigurationControlDevice* device = nullptr;

private:
    vordal::FixedClock m_clock{1700000000.0};
    vordal::SonarLink const* m_link = nullptr;
};

TEST_F(LiveContacts, AnImageOf50MegabytesArrivesWholeAndHoldsNobodyUp)
{
    constexpr std::size_t size = 50'000'000;
    Bytes image(size);
    std::uint32_t random = 1;
    for (auto& byte : image) {
        random = random * 1664525U + 1013904223U;
        byte = static_cast<unsigned char>(random >> 24);
    }
    Write(folder / "image.tif", image);
    Write(folder / "contact.tif", {1, 2, 3});
    host.Targets().Add(targetFile, ContactWithImage(folder / "image.tif", folder / "contact.tif"));
    Connect();
    peer.SetReading(false);
    Tell(10);
    EXPECT_FALSE(fs::exists(folder / "contact.tif"));
    EXPECT_TRUE(fs::exists(folder / "image.tif"));
    // The image waits for the sonar; a change that comes meanwhile still finds room, and more images, up to 256 MiB.
    Tell(3);
    constexpr std::size_t moreImages = 4;
    for (std::size_t i = 0; i < moreImages; ++i) {
        Tell(9);
    }
    EXPECT_EQ(Counters().refused, 0U);
    Tell(9);
    EXPECT_EQ(Counters().refused, 1U);
    peer.SetReading(true);

    constexpr std::size_t imageFrame = size + aroundImage;
    std::size_t const total = contactFrame + imageFrame + contactFrame + moreImages * imageFrame;
    ASSERT_TRUE(peer.WaitForBytes(total));
    Bytes const received = peer.Received();
    ASSERT_EQ(received.size(), total);
    auto const contact = std::span(received).first(contactFrame);
    EXPECT_EQ(protocol::GetU32LE(contact, 32), 3001U);
    auto const frame = std::span(received).subspan(contactFrame, imageFrame);
    EXPECT_EQ(protocol::GetU32LE(frame, 8), imageFrame);
    EXPECT_EQ(protocol::GetU32LE(frame, 32), 3002U);
    EXPECT_EQ(protocol::GetU32LE(frame, 36), 7125U);
    EXPECT_EQ(protocol::GetU32LE(frame, 64 + 144), size);
    EXPECT_TRUE(std::equal(image.begin(), image.end(), frame.begin() + imageOffset));
    EXPECT_EQ(protocol::GetU32LE(frame, frame.size() - 4), 0U);
    auto const deletion = std::span(received).subspan(contactFrame + imageFrame, contactFrame);
    EXPECT_EQ(protocol::GetU32LE(deletion, 32), 3001U);
    EXPECT_EQ(protocol::GetU32LE(deletion, 64 + 146), 2U);
    for (std::size_t i = 0; i < moreImages; ++i) {
        auto const more = std::span(received).last((moreImages - i) * imageFrame).first(imageFrame);
        EXPECT_EQ(protocol::GetU32LE(more, 32), 3002U);
        EXPECT_TRUE(std::equal(image.begin(), image.end(), more.begin() + imageOffset));
    }
    // With the images gone there is room again, and nothing of it shows in the next.
    Write(folder / "image.tif", {7});
    ASSERT_TRUE(vordal::test::Eventually([&] { return Idle(); }));
    Tell(9);
    ASSERT_TRUE(peer.WaitForBytes(total + 1 + aroundImage));
    Bytes const all = peer.Received();
    auto const second = std::span(all).subspan(total);
    EXPECT_EQ(protocol::GetU32LE(second, 64 + 144), 1U);
    EXPECT_EQ(Bytes(second.begin() + 64 + 148, second.begin() + imageOffset), Bytes(32));
    EXPECT_EQ(second[imageOffset], 7);
    EXPECT_EQ(protocol::GetU32LE(second, second.size() - 4), 0U);
}

TEST_F(LiveContacts, ImagesArriveWholeAtASonarThatReadsThemMeanwhile)
{
    host.Targets().Add(targetFile, ContactWithImage(folder / "image.tif", folder / "contact.tif"));
    Connect();
    std::size_t total = 0;
    for (std::size_t const size : {std::size_t{6'000'000}, std::size_t{1'200'001}, std::size_t{8'000'000}}) {
        Bytes image(size);
        for (std::size_t i = 0; i < size; ++i) {
            image[i] = static_cast<unsigned char>(i ^ (i >> 8) ^ (i >> 16) ^ size);
        }
        Write(folder / "image.tif", image);
        ASSERT_TRUE(vordal::test::Eventually([&] { return Idle(); }));
        Tell(9);
        ASSERT_TRUE(peer.WaitForBytes(total + size + aroundImage));
        Bytes const received = peer.Received();
        auto const frame = std::span(received).subspan(total);
        ASSERT_EQ(frame.size(), size + aroundImage);
        EXPECT_TRUE(std::equal(image.begin(), image.end(), frame.begin() + imageOffset));
        EXPECT_EQ(protocol::GetU32LE(frame, frame.size() - 4), 0U);
        total += frame.size();
    }
}

TEST_F(LiveContacts, AnImageOfNoBytesArrives)
{
    Write(folder / "image.tif", {});
    host.Targets().Add(targetFile, ContactWithImage(folder / "image.tif", folder / "image.tif"));
    Connect();
    Tell(9);
    EXPECT_FALSE(fs::exists(folder / "image.tif"));
    ASSERT_TRUE(peer.WaitForBytes(aroundImage));
    Bytes const received = peer.Received();
    ASSERT_EQ(received.size(), aroundImage);
    EXPECT_EQ(protocol::GetU32LE(received, 8), aroundImage);
    EXPECT_EQ(protocol::GetU32LE(received, 64 + 144), 0U);
}

TEST_F(LiveContacts, ImagesThatCannotBeReadSendNothingAndRemoveNothing)
{
    fs::create_symlink(folder / "loop.tif", folder / "loop.tif");
    fs::create_directory(folder / "folder.tif");
    Write(folder / "secret.tif", {1});
    fs::permissions(folder / "secret.tif", fs::perms::none);
    Write(folder / "contact.tif", {1});
    host.Targets().Add(targetFile, ContactWithImage(folder / "missing.tif", folder / "contact.tif"));
    Connect();
    Tell(9);
    for (char const* const name : {"loop.tif", "folder.tif", "secret.tif"}) {
        if (std::string_view(name) == "secret.tif" && geteuid() == 0) {
            continue; // whom no permission keeps out
        }
        host.RunAndWait([&] {
            vordal::TargetFile(folder / "wreck.sts").Change(ContactWithImage(folder / name, folder / "contact.tif"));
        });
        Tell(9);
    }
    EXPECT_EQ(Counters().framesOut, 0U);
    EXPECT_TRUE(fs::exists(folder / "contact.tif"));
}

TEST_F(LiveContacts, AnImageThatNoFrameHoldsIsToldAndStays)
{
    // One byte more than a frame holds, and as much as its size field can tell.
    for (auto const& [size, told] : {std::pair(std::uintmax_t{128} * 1024 * 1024 - 247, "134217481"),
                                     std::pair((std::uintmax_t{1} << 32) - 1, "4294967295")}) {
        Write(folder / "image.tif", {});
        fs::resize_file(folder / "image.tif", size); // sparse
        Write(folder / "contact.tif", {1});
        vordal::TargetFile(folder / "wreck.sts")
            .Replace({ContactWithImage(folder / "image.tif", folder / "contact.tif")});
        if (device == nullptr) {
            Connect();
        }
        testing::internal::CaptureStderr();
        Tell(9);
        std::string const line = testing::internal::GetCapturedStderr();
        EXPECT_NE(line.find("contact 7"), std::string::npos) << line;
        EXPECT_NE(line.find((folder / "image.tif").string()), std::string::npos) << line;
        EXPECT_NE(line.find(told), std::string::npos) << line;
        EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
        EXPECT_EQ(Counters().framesOut + Counters().refused, 0U);
        EXPECT_TRUE(fs::exists(folder / "contact.tif"));
        EXPECT_TRUE(fs::exists(folder / "image.tif"));
    }
}

TEST_F(LiveContacts, AnImageAsLargeAsAFrameHoldsIsTaken)
{
    Write(folder / "image.tif", {});
    fs::resize_file(folder / "image.tif", std::uintmax_t{128} * 1024 * 1024 - aroundImage); // sparse
    Write(folder / "contact.tif", {1});
    host.Targets().Add(targetFile, ContactWithImage(folder / "image.tif", folder / "contact.tif"));
    Connect();
    testing::internal::CaptureStderr();
    Tell(9);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(Counters().framesOut + Counters().refused, 1U);
    EXPECT_FALSE(fs::exists(folder / "contact.tif"));
}

TEST_F(LiveContacts, AnImageThatNobodyMayWriteIsSent)
{
    // A program that runs: not even the superuser opens it for writing.
    fs::create_symlink("/proc/self/exe", folder / "image.tif");
    Write(folder / "contact.tif", {1});
    ASSERT_FALSE(std::ofstream(folder / "image.tif", std::ios::in | std::ios::out).is_open());
    host.SetFileFolders({folder, fs::read_symlink("/proc/self/exe").parent_path()});
    host.Targets().Add(targetFile, ContactWithImage(folder / "image.tif", folder / "contact.tif"));
    Connect();
    Tell(9);
    EXPECT_EQ(Counters().framesOut + Counters().refused, 1U);
    EXPECT_FALSE(fs::exists(folder / "contact.tif"));
}

TEST_F(LiveContacts, OfAnImageBeyondFourGigabytesTheLow32BitsOfItsSizeGoOut)
{
    Write(folder / "image.tif", {'I', 'I', '*', 0, 9, 9});
    fs::resize_file(folder / "image.tif", (std::uintmax_t{1} << 32) + 5); // sparse
    host.Targets().Add(targetFile, ContactWithImage(folder / "image.tif", folder / "image.tif"));
    Connect();
    Tell(9);
    ASSERT_TRUE(peer.WaitForBytes(5 + aroundImage));
    Bytes const received = peer.Received();
    ASSERT_EQ(received.size(), 5 + aroundImage);
    EXPECT_EQ(protocol::GetU32LE(received, 64 + 144), 5U);
    EXPECT_EQ(Bytes(received.begin() + imageOffset, received.end() - 4), (Bytes{'I', 'I', '*', 0, 9}));
    EXPECT_FALSE(fs::exists(folder / "image.tif"));
}

TEST_F(LiveContacts, AChangeInTheStoreReachesTheSonar)
{
    Connect();
    StoredTarget contact;
    contact.target.targetId = 7;
    contact.target.range = 50.0F;
    host.Targets().Add(targetFile, contact);
    contact.target.range = 25.0F;
    host.Targets().Change(targetFile, contact);
    host.Targets().Remove(targetFile, 7);
    ASSERT_TRUE(peer.WaitForBytes(3 * contactFrame));
    Bytes const received = peer.Received();
    float const ranges[]{50.0F, 25.0F, 0.0F};
    for (std::uint32_t i = 0; i < 3; ++i) {
        auto const frame = std::span(received).subspan(i * contactFrame, contactFrame);
        EXPECT_EQ(protocol::GetU32LE(frame, 64), 7U);
        EXPECT_EQ(protocol::GetU32LE(frame, 64 + 146), i);
        EXPECT_EQ(protocol::GetF32LE(frame, 64 + 150), ranges[i]);
    }
}

TEST_F(LiveContacts, ADeviceThatIsGoneHearsOfNothing)
{
    Connect();
    host.RunAndWait([&] { host.RemoveAllDevices(); });
    Tell(3);
    EXPECT_EQ(Counters().framesOut, 0U);
}

TEST_F(LiveContacts, ListsAreOfOneMomentWhileAnotherThreadChangesTheFile)
{
    // Each state of the file is a list of as many contacts as the range of each of them says.
    Connect();
    std::atomic<bool> done{false};
    std::atomic<int> written{0};
    std::thread writer([&] {
        vordal::TargetFile file(folder / "wreck.sts");
        for (std::size_t count = 1; !done.load(); count = count % 20 + 1) {
            StoredTarget contact;
            contact.target.range = static_cast<float>(count);
            file.Replace(std::vector<StoredTarget>(count, contact));
            ++written;
        }
    });
    bool const begun =
        vordal::test::Eventually([&] { return !vordal::TargetFile(folder / "wreck.sts").Read().empty(); });
    EXPECT_TRUE(begun);
    int lists = 0;
    auto const ask = [&] {
        host.RunAndWait([&] {
            CAttributeMap request;
            request.Add(L"SendTargetList", CVordalBool(true), 0);
            host.DeliverRequest(*device, &request);
        });
        ++lists;
    };
    ask();
    int const before = written;
    while (lists < 200) {
        ask();
    }
    // On a busy system the other thread may not have had its turn yet.
    EXPECT_TRUE(vordal::test::Eventually([&] { return written >= before + 2; }));
    ask();
    done = true;
    writer.join();
    auto const sent = Counters();
    EXPECT_EQ(sent.framesOut, static_cast<std::uint64_t>(lists));
    ASSERT_TRUE(peer.WaitForBytes(sent.bytesOut));
    Bytes const received = peer.Received();
    std::size_t at = 0;
    std::set<std::size_t> counts;
    while (at < received.size()) {
        auto const frame = std::span(received).subspan(at);
        std::size_t const size = protocol::GetU32LE(frame, 8);
        std::size_t const count = protocol::GetU32LE(frame, 64 + 68);
        ASSERT_EQ(size, 68 + 72 + count * 132);
        counts.insert(count);
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_EQ(protocol::GetF32LE(frame, 64 + 72 + i * 132 + 80), static_cast<float>(count));
        }
        at += size;
    }
    EXPECT_GT(counts.size(), 1U) << "the file changed meanwhile";
}

} // namespace
