// How the cost of a contact's change grows with the contacts of its file and with the sonars that follow it.
#include "curve.h"

#include "bench/measure.h"
#include "bench/stage.h"
#include "reference_host/common/path_text.h"
#include "reference_host/targets/target_store.h"
#include "tests/support/temporary_folder.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/shared_keys.h>
#include <protocol/records/target_exchange.h>
#include <vordalhostdllR/SonarTargetsManager.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace bench {

namespace {

constexpr AttributeKey deviceIdKey{qx5::protocol::keys::DeviceId.text};
constexpr AttributeKey listKey{qx5::protocol::keys::SendTargetList.text};
constexpr int changesOfEach = 60;

vordal::StoredTarget Contact(std::uint32_t id)
{
    vordal::StoredTarget stored;
    stored.target.targetId = id;
    stored.target.targetGuid = L"6f9619ff-8b86-d011-b42d-" + std::to_wstring(100'000'000'000 + id);
    stored.target.description = L"Boat, upright";
    return stored;
}

/// A file of so many contacts that stays open.
class ContactFile
{
public:
    ContactFile(vordal::Host& host, std::size_t contacts)
        : path(m_folder / "contacts.sts"), name(vordal::TextOf(path)), m_host(host)
    {
        std::vector<vordal::StoredTarget> all;
        for (std::uint32_t id = 0; id < contacts; ++id) {
            all.push_back(Contact(id));
        }
        vordal::TargetFile(path, vordal::TargetFile::Missing::Create).Replace(all);
        m_host.RunAndWait([&] { m_control = SonarTargetsManager::Instance().OpenSTSFile(name); });
    }
    ContactFile(ContactFile const&) = delete;
    ContactFile& operator=(ContactFile const&) = delete;
    ~ContactFile()
    {
        m_host.RunAndWait([this] { m_control->Close(); });
    }

private:
    qx5::test::TemporaryFolder const m_folder{"qx5-bench"};

public:
    std::filesystem::path const path;
    CString const name;

private:
    vordal::Host& m_host;
    SonarTargetsControl* m_control = nullptr;
};

using ContactFiles = std::map<std::size_t, std::unique_ptr<ContactFile>>;

/// Sonars without a line that follow a contact file.
std::unique_ptr<vordal::OpenProject> Followers(Stage& stage, ContactFile const& file, std::size_t sonars)
{
    vordal::StoredProject project;
    for (std::size_t i = 0; i < sonars; ++i) {
        vordal::StoredDevice sonar{CDataId(1, 78, static_cast<unsigned short>(100 + i), 1),
                                   L"QX5SonarConfigurationControlDevice",
                                   L"sonar",
                                   {},
                                   true,
                                   {}};
        sonar.attributes.Add(deviceIdKey, CVordalInt(7125), 0);
        project.devices.push_back(std::move(sonar));
    }
    stage.Host().Targets().SetActive(file.name);
    auto followers = std::make_unique<vordal::OpenProject>(stage.Host(), stage.Host().Links(), std::move(project));
    followers->Start(stage.Host().LoadedPlugIns());
    stage.Host().Targets().SetActive(CString());
    return followers;
}

/// The time of `change`, told of each time another contact of the file.
template <typename Change>
void TimeChanges(Stage& stage, ContactFile const& file, std::size_t contacts, std::size_t sonars,
                 std::vector<double>& nanoseconds, Change change)
{
    auto const followers = Followers(stage, file, sonars);
    stage.OnHostRecorded([&] {
        std::size_t at = 0;
        for (int i = 0; i < changesOfEach; ++i) {
            at = (at + 7919) % contacts;
            auto contact = Contact(static_cast<std::uint32_t>(at));
            static float range = 0.0F;
            contact.target.range = range += 1.0F;
            Time(1, 1, nanoseconds, [&] { change(contact); });
        }
    });
}

} // namespace

std::vector<Curve> ContactCurves(Stage& stage)
{
    auto const files = std::make_shared<ContactFiles>();
    auto const fileOf = [files, &stage](std::size_t contacts) -> ContactFile const& {
        auto& file = (*files)[contacts];
        if (file == nullptr) {
            file = std::make_unique<ContactFile>(stage.Host(), contacts);
        }
        return *file;
    };
    auto const changed = [&stage, fileOf](std::size_t contacts, std::size_t sonars, std::vector<double>& nanoseconds) {
        auto const& file = fileOf(contacts);
        TimeChanges(stage, file, contacts, sonars, nanoseconds,
                    [&](vordal::StoredTarget const& contact) { stage.Host().Targets().Change(file.name, contact); });
    };
    std::vector<std::size_t> const sizes{1000, 10'000, 100'000, 1'000'000};
    std::vector<Curve> curves;
    for (std::size_t const sonars : {1, 64}) {
        curves.push_back(
            {"contact-changed-" + std::to_string(sonars),
             "one of N contacts changed in the host, recorded, sonars that follow: " + std::to_string(sonars),
             sizes,
             0.0,
             {{10'000, 1e6}, {1'000'000, 5e6}},
             [changed, sonars](std::size_t contacts, std::vector<double>& nanoseconds) {
                 changed(contacts, sonars, nanoseconds);
             }});
    }
    curves.push_back(
        {"contact-changed-sonars",
         "one of 10,000 contacts changed in the host, recorded, N sonars that follow",
         {1, 4, 16, 64, 256},
         1.0,
         {{256, 1e6}},
         [changed](std::size_t sonars, std::vector<double>& nanoseconds) { changed(10'000, sonars, nanoseconds); }});
    curves.push_back({"contact-changed-elsewhere",
                      "one of N contacts changed by another program, then told to 64 sonars that follow, recorded",
                      sizes,
                      0.0,
                      {{10'000, 1e6}, {1'000'000, 5e6}},
                      [&stage, fileOf](std::size_t contacts, std::vector<double>& nanoseconds) {
                          auto const& file = fileOf(contacts);
                          vordal::TargetFile elsewhere(file.path, vordal::TargetFile::Missing::Refuse,
                                                       vordal::TargetFile::Keeping::OnDisk,
                                                       vordal::TargetFile::Checking::Header);
                          TimeChanges(stage, file, contacts, 64, nanoseconds, [&](vordal::StoredTarget const& contact) {
                              elsewhere.Change(contact);
                              stage.Host().Targets().Tell(contact.target.targetId, SONAR_TARGET_SEL_INFO::Changed, 1.0);
                          });
                      }});
    curves.push_back(
        {"contact-found",
         "one of N contacts found, its record sent, recorded",
         sizes,
         0.0,
         {},
         [&stage, fileOf](std::size_t contacts, std::vector<double>& nanoseconds) {
             TimeChanges(stage, fileOf(contacts), contacts, 1, nanoseconds, [&](vordal::StoredTarget const& contact) {
                 stage.Host().Targets().Tell(contact.target.targetId, SONAR_TARGET_SEL_INFO::Changed, 1.0);
             });
         }});
    curves.push_back({"contact-list",
                      "the list of N contacts sent, recorded",
                      {100, 1000, 10'000, 100'000},
                      1.0,
                      {},
                      [&stage, fileOf](std::size_t contacts, std::vector<double>& nanoseconds) {
                          auto const followers = Followers(stage, fileOf(contacts), 1);
                          stage.OnHostRecorded([&] {
                              CAttributeMap request;
                              request.Add(listKey, CVordalBool(true), 0);
                              auto* const sonar = stage.Host().Devices().back();
                              Time(5, 1, nanoseconds, [&] { sonar->DeliverRequest(&request); });
                          });
                      }});
    return curves;
}

} // namespace bench
