// The project in one file: ports, devices with their attributes, computations, vessels, what views showed and how
// windows stood.
#pragma once

#include "reference_host/attributes/tree_account.h"
#include "reference_host/common/setups.h"
#include "reference_host/platform/line_watch.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace vordal {

/// Why a project cannot be opened, read or saved, in one line that names the file.
class VORDAL_API StoreError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A named connection to a sonar.
struct StoredPort
{
    CString name;
    CString host;
    std::uint16_t tcpPort = 0;
    LineWatch watch;
};

struct StoredDevice
{
    CDataId dataId;
    CString className;
    CString name;
    CString portName; ///< empty: on no port
    bool enabled = true;
    CAttributeMap attributes;
};

/// A project as a whole; lists keep their order.
struct StoredProject
{
    std::vector<StoredPort> ports;
    std::vector<StoredDevice> devices;
    std::vector<ComputationSetup> computations;
    std::vector<VesselSetup> vessels;
    unsigned short activeVessel = 0; ///< 0: none
    /// What the sonar of each device may fill of its tree.
    TreeLimits toldLimits;
    /// What can do harm at a real sonar is refused.
    bool transmitLocked = false;
    /// What each view showed, by the view's name.
    std::map<CString, CAttributeMap> views;
    /// What others keep with the project, by names of theirs: how it is shared with those ashore, and whatever a newer
    /// program put there.
    std::map<CString, CString> notes;
    /// How each window stood, by the window's name, in bytes that only the window understands.
    std::map<CString, std::vector<unsigned char>> windows;

    /// The same in all that is saved.
    VORDAL_API friend bool operator==(StoredProject const& a, StoredProject const& b);
};

/// One key that somebody asked a sonar for, as the log of actions keeps it. Texts are UTF-8.
struct StoredAction
{
    double time = 0.0; ///< seconds since 1970-01-01 UTC
    std::string who;
    CDataId sonar;
    std::string sonarName; ///< what the operator calls it
    std::string key;
    std::string before; ///< the value that was there, as JSON
    std::string asked;  ///< the value asked for, as JSON
    std::string result;

    bool operator==(StoredAction const&) const = default;
};

/// What of a log is not as it was written.
struct LogDamage
{
    std::size_t changed = 0; ///< rows that are not as they were saved; they are left out
    std::size_t missing = 0; ///< rows that are not there any more, those aside that gave way to newer ones

    bool operator==(LogDamage const&) const = default;
};

/// A project file, open. Each save is one transaction: it is on the disk when the call returns, and a process that is
/// killed in the middle leaves what was saved before. Names and texts are kept as UTF-8: what is no character becomes
/// U+FFFD; attribute trees keep all that they have. One thread at a time.
///
/// All operations throw StoreError and leave the file as it was. A file that is damaged, no project, or written by a
/// newer version is refused when it is opened, and not touched; one of an older version is brought up to date. Each row
/// bears a checksum of its values, so that a single changed bit counts as damage.
class VORDAL_API ProjectStore
{
public:
    enum class Missing
    {
        Create,
        Refuse
    };

    /// Opens the file. One that is not there is made, in a folder that is there, unless `missing` refuses.
    explicit ProjectStore(std::filesystem::path const& file, Missing missing = Missing::Create);
    ProjectStore(ProjectStore const&) = delete;
    ProjectStore& operator=(ProjectStore const&) = delete;
    ~ProjectStore();

    StoredProject Load();

    /// Replaces all that the file holds but the presets.
    void Save(StoredProject const& project);
    /// Makes another project file that holds `project`, and the presets and the log of the one in `source` (no name:
    /// none). A project file that is there is replaced once all of that is on the disk; anything else that is there, or
    /// a project that another program is writing, is refused and left as it is.
    static void SaveAs(std::filesystem::path const& file, StoredProject const& project,
                       std::filesystem::path const& source = {});
    /// Replaces the device of that id, in its place, or appends it.
    void SaveDevice(StoredDevice const& device);
    /// Replaces the attributes of a device that the project has; false when it has none of that id.
    bool SaveAttributes(CDataId const& dataId, CAttributeMap const& attributes);
    void SaveView(CString const& name, CAttributeMap const& shown);
    void SaveWindow(CString const& name, std::vector<unsigned char> const& state);
    /// The documents of the presets by their names. A document is kept as it is given; whoever reads it checks it.
    std::map<CString, std::string> Presets();
    /// Replaces the preset of that name, or adds it.
    void SavePreset(CString const& name, std::string const& document);
    /// Puts the document under the new name and takes away what was under the old one, in one step.
    void RenamePreset(CString const& name, CString const& to, std::string const& document);
    /// False when there is no such preset.
    bool RemovePreset(CString const& name);
    /// False when there is no such device.
    bool RemoveDevice(CDataId const& dataId);

    /// Rows that the log of actions keeps.
    static constexpr std::int64_t GreatestActions = 100'000;
    /// Adds to the log, which Save and Load have nothing to do with; beyond `greatest` rows the oldest give way.
    void AppendActions(std::span<StoredAction const> actions, std::int64_t greatest = GreatestActions);
    /// Calls `visit` for each row of a project's log, the oldest first. Reads alone, also while another program has the
    /// project open; a log that is damaged does not keep a project from being opened, nor its good rows from being
    /// read. An exception of `visit` passes through.
    static LogDamage ReadActions(std::filesystem::path const& file,
                                 std::function<void(StoredAction const&)> const& visit);

private:
    void TakePresetsAndLog(std::filesystem::path const& source);

    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace vordal
