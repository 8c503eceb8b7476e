// The settings of a sonar under a name, and the JSON document that keeps them.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <protocol/value.h>

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::operation {

/// Why a preset cannot be read, named or written, in one line; of a document with the place ("line 3, column 7").
class PresetError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

struct PresetSetting
{
    std::wstring key;
    protocol::Value value; ///< not none
    std::string unit;      ///< as it is written, "m" or "dB"; empty for none
};

/// A value; texts are UTF-8.
struct Preset
{
    std::string name;
    std::string time;                    ///< when it was taken, "2026-11-22T14:30:05Z"
    std::string sonar;                   ///< whose settings they were
    std::string sonarClass;              ///< of which class of devices that one is
    std::vector<PresetSetting> settings; ///< no key twice

    /// Those that are known here at the root of a tree, as a request has them.
    CAttributeMap Tree() const;
};

/// Whose settings a preset takes, when.
struct PresetOrigin
{
    std::string name;
    double utcSeconds = 0.0; ///< since 1970-01-01
    std::string sonar = {};
    std::string sonarClass = {};
};

/// The settings (see commands/settings.h) that a device's tree holds, in the order in which requests take them. A value
/// of another kind than its key's is none: no command takes it. Throws PresetError for a name that a preset cannot
/// have.
Preset TakePreset(CAttributeMap const& tree, PresetOrigin const& origin);

/// Why no preset can have the name, in one line; empty for a good one. Names have 1 to 100 characters, without control
/// characters.
std::string RefusePresetName(std::string_view name);

/// Why a sonar of that class of devices cannot be given the preset, in one line; empty when it can.
std::string RefuseSonarClass(Preset const& preset, std::string_view sonarClass);

/// The document: one setting on a line, key, kind, value and unit. Numbers read back to the last bit, whatever the
/// locale.
std::string WritePreset(Preset const& preset);

/// More than a preset of any sonar needs.
inline constexpr std::size_t GreatestPresetSize = 16 * 1024 * 1024;

/// Reads a document. Keys that are not known here are kept. Throws PresetError, and nothing is read, for what is no
/// preset, has another version, a key twice, or a known key with another kind or unit than its own.
Preset ReadPreset(std::string_view document);

/// The same of a file. The error names it.
Preset ReadPresetFile(std::filesystem::path const& file);

/// Puts the document in the place of the file, in one step: whoever reads the file has the old one or the new one
/// whole, whatever breaks off. Throws PresetError; the file is then as it was.
void WritePresetFile(std::filesystem::path const& file, Preset const& preset);

} // namespace qx5::operation
