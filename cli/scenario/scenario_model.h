// A scenario and its steps as a file states them, checked and with every default filled in.
#pragma once

#include "cli/scenario/event_kinds.h"
#include "cli/scenario/step_kinds.h"
#include "json/json_document.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace qx5::cli {

/// One item of a data block. Without bytes its data pointer is null.
struct ScenarioBlockItem
{
    std::uint16_t item = 0;
    std::uint16_t type = 0;
    std::uint32_t size = 0;
    std::optional<std::vector<unsigned char>> bytes; ///< `size` bytes, little-endian
    std::uint16_t status = 0;
};

struct ScenarioBlock
{
    std::uint16_t status = 0;
    std::vector<ScenarioBlockItem> items;
};

enum class PortKind
{
    Sonar,
    Playback,
    Other,
    None
};

struct ScenarioDevice
{
    CDataId id{1, 78, 1, 1};
    bool isSonar = true; ///< of the plug-in's device class; otherwise a plain device
    CString name;
    bool enabled = true;
    PortKind port = PortKind::Sonar;
    CString portName = L"port-1";
    CAttributeMap attributes;
};

struct ScenarioComputation
{
    CDataId id;
    int type = 0;
    CAttributeMap attributes;
    std::vector<CDataId> linked;
    std::optional<CDataId> stream;
};

struct ScenarioVessel
{
    std::uint16_t number = 1;
    CString name = L"Vessel";
    std::map<CString, std::map<CString, CString>> config;
};

struct ScenarioStream
{
    CDataId id;
    std::optional<double> time; ///< seconds, of the last block
    std::optional<ScenarioBlock> block;
};

/// A contact of a target file; the fields bear the names of the host's class.
struct ScenarioTarget
{
    std::uint32_t pingNumber = 0;
    double contactTime = 0.0; ///< seconds
    std::uint32_t detailNumberA = 0;
    bool detailFlag = false;
    std::uint32_t detailNumberC = 0;
    float detailValue = 0.0F;
    double latitude = 0.0;  ///< degrees
    double longitude = 0.0; ///< degrees
    float range = 0.0F;
    float bearing = 0.0F; ///< degrees
    float azimuth = 0.0F; ///< degrees
    float contactLength = 0.0F;
    float contactWidth = 0.0F;
    float contactHeight = 0.0F;
    CString description;
    CString classification;
    float extensionValue = 0.0F;
    float extensionAngle = 0.0F; ///< degrees
    float extensionMeasure = 0.0F;
    bool extensionMeasureValid = false;
    std::uint32_t detailNumberB = 0;
    std::uint32_t targetId = 0;
    CString targetGuid;
    bool latLonValid = false;
    CString tempGeoTiff;
    CString geoTiff;
    float bearingDeg = 0.0F;
    bool lost = false; ///< in the list, but not found by its GUID
};

struct ScenarioTargets
{
    CString active;
    std::map<CString, std::vector<ScenarioTarget>> files; ///< by full name
    CString operatorName;
    bool geoTiffOutput = false;
};

struct ScenarioDisplay
{
    CString section;
    CString type;
    CString name;
    bool enabled = true;
};

struct ScenarioApplication
{
    CString guid = L"app-guid";
    bool mainWindow = true;
    bool isOperator = true;
    bool aScan = false;
    int lightMode = 2;
    std::vector<ScenarioDisplay> displays;
};

/// A control of the view.
struct ControlName
{
    std::string page;
    int id = 0;
};

// The arguments of steps, by shape.

struct NoArgument
{
};
/// Absent where a request of null is given.
struct TreeArgument
{
    std::optional<CAttributeMap> tree;
};
/// A clock, a time to settle (milliseconds).
struct NumberArgument
{
    double value = 0.0;
};
/// A terminal code, a tab; absent where null is given.
struct IntegerArgument
{
    std::optional<int> value;
};
/// Absent where null is given.
struct IdArgument
{
    std::optional<CDataId> id;
};
struct LoggerArgument
{
    bool start = false;
};
struct TargetChange
{
    std::uint32_t targetId = 0;
    std::uint32_t changeCode = 0;
    double time = 0.0; ///< seconds
};
struct TargetChangeArgument
{
    std::optional<TargetChange> change;
};
struct BlockArgument
{
    CDataId id;
    ScenarioBlock block;
};
struct BufferStatusArgument
{
    CDataId id;
    std::uint16_t status = 0;
};
/// The functions of a plug-in that a step may call.
enum class EntryPoint
{
    RegisterDevices,
    UnRegisterDevices,
    RegisterViews,
    InitializeTemplates, ///< with the application of a host without windows
    UnInitializeTemplates,
    DeviceCtrlInit,
    LibraryAttach, ///< once more: the plug-in is attached already
    LibraryDetach, ///< and again when the plug-in is unloaded
};
struct CallArgument
{
    EntryPoint function = EntryPoint::RegisterDevices;
    std::array<std::uint16_t, 4> numbers{}; ///< of DeviceCtrlInit
};
struct ViewArgument
{
    bool open = false;
    std::optional<CDataId> stored;
    std::optional<std::pair<int, int>> size;
};
struct SliderArgument
{
    ControlName control;
    int kind = 0;
    std::optional<int> position;
};
/// A click, Return in a field.
struct ControlArgument
{
    ControlName control;
};
struct ChooseArgument
{
    ControlName control;
    int index = 0;
};
struct TypeArgument
{
    ControlName control;
    CString text;
};
struct ViewUpdateArgument
{
    int hint = 0;
    std::optional<CDataId> id;
};
struct SizeArgument
{
    int width = 0;
    int height = 0;
};

using StepArgument =
    std::variant<NoArgument, TreeArgument, NumberArgument, IntegerArgument, IdArgument, LoggerArgument,
                 TargetChangeArgument, BlockArgument, BufferStatusArgument, CallArgument, ViewArgument, SliderArgument,
                 ControlArgument, ChooseArgument, TypeArgument, ViewUpdateArgument, SizeArgument>;

/// What a step is expected to do, as the file has it, whose document must outlive this.
struct ExpectedEvents
{
    std::vector<JsonNode> events;
    std::optional<std::vector<EventKind>> of; ///< kinds of events that count; absent: all
};

struct ScenarioStep
{
    StepKind kind = StepKind::Request;
    /// The device that the step means: the one it names, otherwise the first; undefined when there is none.
    CDataId device;
    StepArgument argument;
    std::optional<ExpectedEvents> expect;
};

/// A scenario but for its steps.
struct Scenario
{
    std::string name;
    double clock = 1700000000.0; ///< seconds since 1970-01-01 UTC
    std::string timezone = "UTC";
    std::vector<ScenarioDevice> devices{ScenarioDevice()};
    std::vector<ScenarioComputation> computations;
    std::vector<ScenarioVessel> vessels{ScenarioVessel()};
    std::optional<std::uint16_t> activeVessel; ///< absent: the first
    std::vector<ScenarioStream> streams;
    std::optional<ScenarioTargets> targets;
    std::map<std::uint32_t, std::optional<CString>> paths; ///< absent text: the call fails
    std::map<std::uint32_t, double> units;                 ///< factor by unit group
    ScenarioApplication application;
    std::map<std::string, std::vector<unsigned char>> files; ///< content by path
    std::vector<CString> routes;
    std::map<std::uint32_t, std::map<std::uint32_t, std::vector<CString>>> itemTexts; ///< by group and item
};

} // namespace qx5::cli
