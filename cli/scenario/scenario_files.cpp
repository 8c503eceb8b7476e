// The files of a scenario: a private temporary folder that stands for "/", and target files beside it.
#include "cli/scenario/scenario_files.h"

#include "reference_host/common/file_root.h"
#include "reference_host/core/host.h"
#include "reference_host/targets/target_store.h"

#include <protocol/utf8.h>
#include <vordalhostdllR/SonarTargetsManager.h>

#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace qx5::cli {

namespace {

namespace fs = std::filesystem;

/// A folder of a name that nobody had before, for this user alone.
fs::path MakePrivateFolder()
{
    std::error_code error;
    auto const parent = fs::temp_directory_path(error);
    std::random_device random;
    for (int attempt = 0; attempt < 100 && !error; ++attempt) {
        auto folder = parent / ("qx5-scenario-" + std::to_string(random()) + std::to_string(random()));
        if (fs::create_directory(folder, error)) {
            fs::permissions(folder, fs::perms::owner_all, error);
            return folder;
        }
    }
    throw std::runtime_error("there is no room for the temporary files of a scenario");
}

vordal::StoredTarget Stored(ScenarioTarget const& from)
{
    vordal::StoredTarget stored;
    SonarTarget& to = stored.target;
    to.pingNumber = from.pingNumber;
    to.contactTime = from.contactTime;
    to.detailNumberA = from.detailNumberA;
    to.detailFlag = from.detailFlag;
    to.detailNumberC = from.detailNumberC;
    to.detailValue = from.detailValue;
    to.latitude = from.latitude;
    to.longitude = from.longitude;
    to.range = from.range;
    to.bearing = from.bearing;
    to.azimuth = from.azimuth;
    to.contactLength = from.contactLength;
    to.contactWidth = from.contactWidth;
    to.contactHeight = from.contactHeight;
    to.description = from.description;
    to.classification = from.classification;
    to.extensionValue = from.extensionValue;
    to.extensionAngle = from.extensionAngle;
    to.extensionMeasure = from.extensionMeasure;
    to.extensionMeasureValid = from.extensionMeasureValid;
    to.detailNumberB = from.detailNumberB;
    to.targetId = from.targetId;
    to.targetGuid = from.targetGuid;
    to.SetLatitudeLongitudeValid(from.latLonValid);
    to.SetTempSonarContactGeoTiff(from.tempGeoTiff);
    to.SetGeoTIFF(from.geoTiff);
    to.SetBearingInDeg(from.bearingDeg);
    stored.lost = from.lost;
    return stored;
}

} // namespace

ScenarioFolder::~ScenarioFolder()
{
    Remove();
}

fs::path const& ScenarioFolder::Use()
{
    if (m_folder.empty()) {
        m_folder = MakePrivateFolder();
        fs::create_directory(RootIn(m_folder));
    }
    return m_folder;
}

void ScenarioFolder::Empty()
{
    auto const root = RootIn(m_folder);
    std::error_code error;
    // The plug-in may have done anything to the root, too.
    bool isAsItWas = fs::is_directory(fs::symlink_status(root, error)) && fs::is_empty(root, error) && !error;
    for (auto const& entry : fs::directory_iterator(m_folder, error)) {
        isAsItWas = isAsItWas && (entry.path() == root || fs::remove(entry.path(), error)) && !error;
    }
    if (!isAsItWas || error) {
        Remove();
    }
}

void ScenarioFolder::Remove()
{
    if (!m_folder.empty()) {
        std::error_code ignored;
        fs::remove_all(std::exchange(m_folder, {}), ignored);
    }
}

ScenarioFiles::ScenarioFiles(ScenarioFolder& folder) : m_folder(folder), m_path(folder.Use()) {}

ScenarioFiles::~ScenarioFiles()
{
    m_folder.Empty();
}

void ScenarioFiles::PutInto(vordal::Host& host, Scenario const& scenario) const
{
    host.SetFileRoot(ScenarioFolder::RootIn(m_path));
    for (auto const& [name, content] : scenario.files) {
        auto const path = vordal::PathOfFile(CString(protocol::DecodeUtf8(name)));
        std::error_code error;
        fs::create_directories(path.parent_path(), error);
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<char const*>(content.data()), static_cast<std::streamsize>(content.size()));
        if (!file.flush()) {
            throw std::runtime_error("the file " + name + " of the scenario cannot be written");
        }
    }
    if (scenario.targets.has_value()) {
        PutTargets(host, *scenario.targets);
    }
}

void ScenarioFiles::PutTargets(vordal::Host& host, ScenarioTargets const& targets) const
{
    auto& store = host.Targets();
    for (int number = 0; auto const& [name, list] : targets.files) {
        // Beside the root and numbered: a full name may be anything, also one of another system.
        auto const path = m_path / (std::to_string(number++) + ".targets");
        std::vector<vordal::StoredTarget> stored;
        for (auto const& target : list) {
            stored.push_back(Stored(target));
        }
        vordal::TargetFile(path, vordal::TargetFile::Missing::Create, vordal::TargetFile::Keeping::Scratch)
            .Replace(stored);
        store.Place(name, path);
    }
    store.SetActive(targets.active);
    store.SetOperatorName(targets.operatorName);
    SonarTargetsManager::Instance().geoTiffOutputEnabled = targets.geoTiffOutput;
}

} // namespace qx5::cli
