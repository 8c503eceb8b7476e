// Contacts and their images: from the host's notification until the sonar has them, held against a bare send.
#include "stage.h"

#include "reference_host/common/path_text.h"
#include "reference_host/targets/target_store.h"
#include "tests/support/temporary_folder.h"
#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/shared_keys.h>
#include <vordalhostdllR/SonarTargetsManager.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

namespace {

namespace fs = std::filesystem;

constexpr AttributeKey deviceIdKey{qx5::protocol::keys::DeviceId.text};
constexpr std::size_t contactBytes = 590;
constexpr std::size_t imageBytes = 50'000'000;
constexpr std::size_t imageFrameBytes = imageBytes + 248;
constexpr std::uint32_t contactId = 500;
/// The host of a virtual machine may take memory away that nobody has: then the first of a round, and the second, whose
/// memory is asked for before that of the first is free, take 100 ms longer. Most are to be others.
constexpr std::size_t imagesPerRound = 10;

/// A sonar that follows a target file of 1,000 contacts; one of them has an image.
class Contacts
{
public:
    explicit Contacts(Stage& stage) : m_stage(stage), m_targetFile(vordal::TextOf(m_folder / "contacts.sts"))
    {
        {
            std::vector<char> const image(imageBytes, '\x5A');
            std::ofstream(m_folder / "image.tif", std::ios::binary).write(image.data(), imageBytes);
        }
        std::vector<vordal::StoredTarget> stored(1000);
        for (std::uint32_t id = 0; id < stored.size(); ++id) {
            stored[id].target.targetId = id;
            stored[id].target.targetGuid = L"6f9619ff-8b86-d011-b42d-" + std::to_wstring(id);
            stored[id].target.description = L"Boat, upright";
        }
        m_contact = stored[contactId];
        m_contact.target.SetTempSonarContactGeoTiff(vordal::TextOf(m_folder / "image.tif"));
        m_contact.target.SetGeoTIFF(vordal::TextOf(m_folder / "no.tif"));
        stored[contactId] = m_contact;
        vordal::TargetFile(m_folder / "contacts.sts", vordal::TargetFile::Missing::Create).Replace(stored);

        stage.Host().SetFileFolders({m_folder});
        stage.Host().Targets().SetActive(m_targetFile);
        SonarTargetsManager::Instance().geoTiffOutputEnabled = true;
        m_sonar = std::make_unique<LiveSonar>(stage.Host(), static_cast<unsigned short>(3));
        stage.Host().Targets().SetActive(CString());
        CAttributeMap identity;
        identity.Add(deviceIdKey, CVordalInt(7125), 0);
        m_sonar->GetDevice().SetAttributeMap(identity, 0);
        m_drain = std::make_unique<Drain>(m_sonar->FarEnd());
    }
    Contacts(Contacts const&) = delete;
    Contacts& operator=(Contacts const&) = delete;
    ~Contacts()
    {
        m_drain.reset();
        m_sonar.reset();
    }

    /// The host's notification, until so many bytes have arrived. On the host thread.
    void Tell(std::uint32_t changeCode, std::size_t bytes)
    {
        m_arrived += bytes;
        m_stage.Host().Targets().Tell(contactId, changeCode, 1700000000.0);
        m_drain->WaitFor(m_arrived);
    }
    /// The contact changed in the file, told, and arrived without its image.
    void Change()
    {
        m_arrived += contactBytes;
        m_contact.target.range += 1.0F;
        SonarTargetsManager::Instance().geoTiffOutputEnabled = false;
        m_stage.Host().Targets().Change(m_targetFile, m_contact);
        m_drain->WaitFor(m_arrived);
    }

private:
    qx5::test::TemporaryFolder const m_folder{"qx5-bench"};
    Stage& m_stage;
    CString m_targetFile;
    vordal::StoredTarget m_contact;
    std::unique_ptr<LiveSonar> m_sonar;
    std::unique_ptr<Drain> m_drain;
    std::uint64_t m_arrived = 0;
};

/// The bare program: bytes that lie in memory, sent, until they have arrived.
class BareSend
{
public:
    BareSend() : m_drain(m_pair.far), m_bytes(imageFrameBytes, 0x5A) {}
    void Run(std::size_t size)
    {
        SendAll(m_pair.near, std::span(m_bytes).first(size));
        m_arrived += size;
        m_drain.WaitFor(m_arrived);
    }

private:
    Pair m_pair;
    Drain m_drain;
    std::vector<unsigned char> m_bytes;
    std::uint64_t m_arrived = 0;
};

} // namespace

std::vector<Case> TargetCases(Stage& stage)
{
    auto const contacts = std::make_shared<Contacts>(stage);
    auto const bare = std::make_shared<BareSend>();
    auto const whileLive = [&stage](std::function<void()> const& operation) {
        return [&stage, operation](std::size_t samples, std::vector<double>& nanoseconds) {
            stage.OnHostLive([&] { Time(samples, 1, nanoseconds, operation); });
        };
    };

    std::vector<Case> cases;
    cases.push_back({"contact", "a contact's change told in the host, until its record of 590 bytes has arrived", 300,
                     whileLive([contacts] {
                         SonarTargetsManager::Instance().geoTiffOutputEnabled = false;
                         contacts->Tell(SONAR_TARGET_SEL_INFO::Changed, contactBytes);
                     })});
    cases.push_back({"bare-contact", "bare program: 590 bytes to another thread over loopback, until they have arrived",
                     300, [bare](std::size_t samples, std::vector<double>& nanoseconds) {
                         Time(samples, 1, nanoseconds, [&] { bare->Run(contactBytes); });
                     }});
    cases.push_back({"contact-stored", "a contact of 1,000 changed in its file, told, read again, until it has arrived",
                     20, whileLive([contacts] { contacts->Change(); })});
    cases.push_back({"contact-image", "an image of 50 MB told in the host, read from its file, until it has arrived",
                     imagesPerRound, whileLive([contacts] {
                         SonarTargetsManager::Instance().geoTiffOutputEnabled = true;
                         contacts->Tell(SONAR_TARGET_SEL_INFO::ImageMade, imageFrameBytes);
                     })});
    cases.push_back({"bare-image", "bare program: the same bytes from memory over loopback, until they have arrived",
                     imagesPerRound, [bare](std::size_t samples, std::vector<double>& nanoseconds) {
                         Time(samples, 1, nanoseconds, [&] { bare->Run(imageFrameBytes); });
                     }});
    return cases;
}

} // namespace bench
