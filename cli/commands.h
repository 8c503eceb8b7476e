// The commands of `qx5`: what each is given and the exit code that it ends with.
#pragma once

#include "program_facts.h"
#include "value_source.h"

#include "fleet/fleet_line.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qx5::cli {

using fleet::FleetLine;

/// Exit codes: it worked; it did not (or differs); it was called wrongly or given what cannot be read.
enum ExitCode : int
{
    ExitGood = 0,
    ExitFailed = 1,
    ExitWrong = 2,
};

/// Prints "qx5: TEXT" as one line on standard error and gives `code`.
int Complain(ExitCode code, std::string const& text);

struct DecodeOptions
{
    std::vector<std::string> files; ///< "-" or none: standard input
    bool hex = false;               ///< the input is hexadecimal text whatever it looks like
    bool raw = false;               ///< the input is raw bytes whatever it looks like
    bool json = false;              ///< a line of JSON for each record
    std::optional<int> port;        ///< of captured traffic, connections with it at one end alone; 1 to 65535
};
int Decode(DecodeOptions const& options);

struct KeysOptions
{
    std::string filter; ///< part of a key, a handler or a record id; empty: all
    bool markdown = false;
    bool json = false; ///< a line of JSON for each row
};
int Keys(KeysOptions const& options);

struct ExplainOptions
{
    std::vector<std::string> names; ///< keys, handlers, numbers of records
    bool json = false;              ///< a line of JSON for each of them
};
int Explain(ExplainOptions const& options);

struct SendOptions
{
    std::string sonar = "127.0.0.1:7000";
    std::string plugin;
    std::vector<std::string> keyValues;
    std::vector<std::string> stored; ///< put into the device's tree beforehand
    int timeoutMilliseconds = 3000;
    double waitSeconds = 0.5;             ///< for the sonar's answer, at most; 0: it is not looked at
    bool bytes = false;                   ///< show the bytes, too
    bool json = false;                    ///< one JSON object in place of the text
    bool isThroughRun = false;            ///< by way of a `qx5 run`, in place of a connection of its own
    std::optional<std::uint64_t> process; ///< that one; none: the one that there is
    std::string device;                   ///< its sonar, by name or id; empty: the one that it has
};
int Send(SendOptions const& options);
/// What Send does where it is by way of a `qx5 run`.
int SendThroughRun(SendOptions const& options);

/// `qx5 get` and `qx5 watch`.
struct ValuesOptions
{
    ValueTarget target;
    std::vector<std::string> keys; ///< none: all
    bool json = false;
    std::optional<int> timeoutMilliseconds;
    std::optional<int> count;       ///< of lines, after which it ends; of Watch, as is the next
    std::vector<std::string> until; ///< KEY=VALUE, all of which are waited for
};
int Get(ValuesOptions const& options);
int Watch(ValuesOptions const& options);

struct PresetOptions
{
    std::string project; ///< file; empty: none
    std::string sonar;   ///< HOST:PORT; empty: none
    std::string plugin;
    std::string device;            ///< of the project: by its name, or its id as four numbers with points
    std::string preset;            ///< a name in the project, a file, or where it is compared HOST:PORT
    std::string other;             ///< the same, of what it is compared with
    std::string file;              ///< to write to or to read from
    std::string name;              ///< to take in place of the preset's own
    std::vector<std::string> only; ///< keys; empty: all
    int timeoutMilliseconds = 3000;
    double waitSeconds = 0.5; ///< for the sonar's answer, at most
    bool dryRun = false;
    bool replace = false;
    bool all = false; ///< rows that are equal, too
    bool json = false;
};
int PresetSave(PresetOptions const& options);
int PresetList(PresetOptions const& options);
int PresetShow(PresetOptions const& options);
int PresetCompare(PresetOptions const& options);
int PresetLoad(PresetOptions const& options);
int PresetExport(PresetOptions const& options);
int PresetImport(PresetOptions const& options);
int PresetRemove(PresetOptions const& options);

struct RunOptions
{
    std::vector<std::string> plugins; ///< beside those that lie beside this program
    std::vector<std::string> devices; ///< CLASS or CLASS=HOST:PORT, in place of the sonars; for the window
    FleetLine fleet;                  ///< whose sonars the window shows; without a broker: those of this machine
    std::string sonar;                ///< empty: start a simulated one
    std::string project;              ///< empty: nothing is kept
    std::optional<int> sonars;        ///< simulated ones: in the window 1 to 256, sequenced 1 to 26; none: 3
    std::optional<double> pingRate;   ///< at which the window's simulated sonars ping from the start; none: they do
                                      ///< not, but for those that the window opens on where nothing is told
    int groups = 2;                   ///< of the same; no more than there are sonars
    std::string record;               ///< file to record the session into; empty: none
    std::uint64_t blackBox = std::uint64_t{256} << 20; ///< bytes of the project's black box; 0: none
    std::string demo; ///< name of a demonstration to show in place of the guided session
    bool once = false;
    bool terminal = false;    ///< the keyboard is an operator terminal; no guided session
    bool guided = false;      ///< the guided session in place of the window
    std::string screenshot;   ///< a file: render into that in place of opening a window
    std::string display;      ///< to render in place of the view, by name; empty: the view
    int tab = 0;              ///< of the view that is rendered, from 0
    int scale = 100;          ///< per cent, of what is rendered
    bool dark = false;        ///< the window begins with a dark palette
    bool allTabs = false;     ///< render each tab, named by its caption where the file's name has a %
    bool wholeWindow = false; ///< render the whole window, not the view alone
    std::vector<Fact> facts;  ///< what this program is, for its window
};
int Run(RunOptions const& options);

/// What a simulated sonar hears.
struct SceneOptions
{
    std::string name;    ///< one of SceneTexts
    double depth = 30.0; ///< m, the scene's mean one
    std::uint64_t seed = 1;
    bool calm = false; ///< the ship does not move but along its line
};

struct SimOptions
{
    std::string address = "127.0.0.1";
    int port = 7000;
    int heads = 1;
    bool verbose = false;
    bool state = false;
    bool pings = false;
    SceneOptions scene{.name = "wreck"};
};
int Sim(SimOptions const& options);

struct ScenarioCommandOptions
{
    std::vector<std::string> files;
    std::string plugin;
    bool check = false;
    bool json = false; ///< with `check`: a line of JSON for each scenario
    std::string junit; ///< with `check`: file to write what came of it to as JUnit XML; empty: none
};
int Scenario(ScenarioCommandOptions const& options);

/// `qx5 recording`.
struct RecordingOptions
{
    std::string file;
    std::vector<std::string> words; ///< of a filter
    std::string way;                ///< "out" or "in": frames that way alone; empty: all messages
    std::string sonar;              ///< id or name; empty: all
    std::string from;               ///< moments as ReadMoment takes them; empty: from the beginning
    std::string to;
    std::string at;
    std::string out;
    std::string text;   ///< of a mark
    bool json = false;  ///< info, list
    std::string pcapng; ///< files to export into; empty: not that
    std::string csv;
    std::optional<std::string> jsonOut; ///< empty: standard output
    std::vector<std::string> keys;      ///< of the CSV; empty: all
    std::string scenario;               ///< a file to export into, or FROM..TO: standard output; empty: not that
};
int RecordingInfo(RecordingOptions const& options);
int RecordingList(RecordingOptions const& options);
int RecordingCut(RecordingOptions const& options);
int RecordingMark(RecordingOptions const& options);
int RecordingCheck(RecordingOptions const& options);
int RecordingExport(RecordingOptions const& options);

struct ReplayOptions
{
    std::string file;
    std::string plugin;
    std::string from;  ///< moments as ReadMoment takes them; empty: from the beginning
    std::string to;    ///< empty: to the end
    std::string sonar; ///< of the recording by id or name, of --as-host HOST:PORT; empty: all, or the only one
    std::string of;    ///< of --as-host: the sonar of the recording; empty: the only one
    bool check = false;
    bool asSonar = false;
    bool asHost = false;
    int port = 7000; ///< of --as-sonar, on 127.0.0.1; 0 for any
    double speed = 1.0;
    bool step = false;      ///< a frame for each line of standard input
    bool loop = false;      ///< from the beginning again at its end
    bool window = false;    ///< in the window, which it is without any other way to play it
    std::string screenshot; ///< a file: render the window at that moment into it in place of opening one
    bool dark = false;
    std::vector<Fact> facts; ///< what this program is, for its window
};
int Replay(ReplayOptions const& options);

/// `qx5 fleet`.
struct FleetCommandOptions
{
    FleetLine line;
    std::string place;              ///< VESSEL or VESSEL/SONAR; empty: all
    std::vector<std::string> words; ///< keys, of Set KEY=VALUE
    std::string verb;               ///< of a lease; empty: it is printed
    double seconds = 300.0;         ///< that a lease is taken for
    std::string asker;              ///< whom it is granted or refused; empty: who asks
    std::string archive;            ///< a file; empty: none
    bool json = false;
    std::optional<int> timeoutMilliseconds;
    std::optional<int> count;       ///< of Watch and Log
    std::vector<std::string> until; ///< of Watch
};
int FleetList(FleetCommandOptions const& options);
int FleetGet(FleetCommandOptions const& options);
int FleetWatch(FleetCommandOptions const& options);
int FleetSet(FleetCommandOptions const& options);
int FleetLease(FleetCommandOptions const& options);
int FleetLog(FleetCommandOptions const& options);
int FleetPresence(FleetCommandOptions const& options);

struct BrokerSetupOptions
{
    std::string folder;
    std::string group;
    std::vector<std::string> vessels;
    std::vector<std::string> persons; ///< NAME=ROLE
    std::string address;              ///< empty: all
    int port = 8883;
};
int BrokerSetup(BrokerSetupOptions const& options);

struct ServeOptions
{
    std::string project;
    std::vector<std::string> plugins; ///< beside those that lie beside this program
    // Each in place of what the project says; empty: as that says.
    std::string broker;
    std::string authority; ///< files
    std::string certificate;
    std::string key;
    std::string group;
    std::string vessel;
    std::string primaryHost;
    std::vector<std::string> roles;   ///< NAME=ROLE
    std::vector<std::string> allowed; ///< names of locked actions
    std::string silence;
    std::vector<std::string> history; ///< names of metrics
    std::optional<std::uint64_t> outboxMegabytes;
    std::optional<double> outboxDays;
    std::string outbox;    ///< file; empty: beside the project
    bool keep = false;     ///< the project says so from now on
    double pingRate = 0.0; ///< at which simulated sonars ping from the start; 0: they do not
    std::vector<Fact> facts;
};
int Serve(ServeOptions const& options);

struct PluginOptions
{
    std::string file;
    bool json = false; ///< one JSON object in place of the text
};
int Plugin(PluginOptions const& options);

struct ShowLogOptions
{
    std::string project;
    bool json = false; ///< a line of JSON for each row
    bool csv = false;
    std::string sonar; ///< name or id; empty: all
    std::string key;   ///< part of a key; empty: all
};
int ShowLog(ShowLogOptions const& options);

/// What sound does in water. Quantities in the units of the acoustics (Hz, C, PSU, m, s, degrees, dB).
struct AcousticsOptions
{
    double frequency = 0.0;
    double temperature = 10.0;
    double salinity = 35.0;
    std::optional<double> depth;    ///< of the water; none: the surface
    std::optional<double> pressure; ///< dbar, in place of the depth
    double ph = 8.0;
    std::string model; ///< of absorption or sound speed, by its name; empty: see the command
    double range = 0.0;
    double grazing = 0.0;
    double power = 0.0;
    double pulseLength = 0.0;
    double beamWidthAlong = 0.0;
    double beamWidthAcross = 0.0;
    std::string bottom; ///< by its name
    bool json = false;
};
/// Names that `model` and `bottom` may have; of absorption's the first where none is told.
std::vector<std::string> AbsorptionModelNames();
std::vector<std::string> SoundSpeedModelNames();
std::vector<std::string> BottomNames();
int AcousticsAbsorption(AcousticsOptions const& options);
int AcousticsSoundSpeed(AcousticsOptions const& options);
int AcousticsBudget(AcousticsOptions const& options);

struct SoundingsOptions
{
    std::string sonar; ///< HOST:PORT; empty: the scene
    SceneOptions scene;
    std::string sceneFile; ///< in place of its name and depth
    int pings = 1;
    bool truth = false; ///< the depth that each beam really meets, too
    std::vector<std::string> keyValues;
    bool json = false;
    bool csv = false;
    bool xyz = false;
};
/// The scenes, each with what is in it.
std::vector<std::string> SceneTexts();
int Soundings(SoundingsOptions const& options);

struct DocsOptions
{
    std::string folder = "docs";
    std::string plugin;
};
int Docs(DocsOptions const& options);

} // namespace qx5::cli
