// The conversion of an operator terminal's codes into requests.
#pragma once

#include "terminal_steps.h"
#include <commands/terminal_codes.h>

#include <VordalBaseR/CDataId.h>
#include <VordalSubscriberR/Subscription.h>

#include <cstdint>
#include <vector>

class AttributeKey;
class BaseDataSource;
class CAttributeMap;
class CVordalType;

/// Follows the terminal of one sonar and turns its codes into the request maps that the views send, each handed to the
/// host by itself. A code selects a function, which the step codes then lower or raise, or acts at once; Codes is the
/// list. The terminal is not followed before SetSonarId.
///
/// The sinks run on the host's threads, RefreshLimits also under the lock of the device. A request comes back to
/// HandleSettingsChange before it returns, so limits are read anew for each request. Reads that fail leave what was
/// there; nothing is reported.
class TerminalCommandsToQX5Conv
{
public:
    TerminalCommandsToQX5Conv();
    TerminalCommandsToQX5Conv(TerminalCommandsToQX5Conv const&) = delete;
    TerminalCommandsToQX5Conv& operator=(TerminalCommandsToQX5Conv const&) = delete;
    ~TerminalCommandsToQX5Conv();

    /// Follows this sonar's settings and its terminal from now on.
    void SetSonarId(CDataId id);
    /// Takes the limits from the sonar's tree; null, or a sonar without settings, leaves them as they are.
    void RefreshLimits(CAttributeMap* tree);

    // Sinks.
    void HandleSettingsChange();
    void HandleTerminalData();

    /// Asks the host for one request with that one value; on the host thread it has been carried out on return.
    void SendRequest(AttributeKey const& key, CVordalType const& value);

private:
    using Direction = qx5::terminal::Direction;

    /// The code of the terminal's latest block; 0, which means nothing, when there is none.
    std::uint32_t ReadCode();
    void Act(qx5::terminal::Code const& code);
    void Step(Direction direction);
    void StepProjector(CAttributeMap const& tree, Direction direction);
    void StepLightMode(Direction direction);
    void ApplyPreset(int index);
    void ToggleDisplay();
    /// Brings the snapshot display to the front; sets one up where the application has none.
    void ShowSnapshotDisplay();
    void UpdateDisplays(int hint);

    // In the order in which they are constructed.
    Subscription settingsSubscription;
    CDataId sonarId;
    CDataId terminalId; ///< the terminal's stream and attributes: the sonar's id with the terminal's group
    DataSubscription terminalSubscription;
    BaseDataSource* terminalBuffer = nullptr; ///< found on the first data; the host's
    std::int32_t lastDeviceEnum = -2;
    std::int32_t commandMode = 0; ///< the code that the step codes go by
    bool snapshotShown = false;   ///< which of the two displays is up
    double rangeMin = 2.5;        ///< metres
    double rangeMax = 15000.0;    ///< metres
    std::vector<double> rangeSet; ///< metres, ascending
    double powerMin = 0.0;
    double powerMax = 0.0;
    float pingRateMin = 0.0F; ///< pings per second
    float pingRateMax = 0.0F;
    double gainMin = 0.0;
    double gainMax = 0.0;
    std::int32_t lastPulseType = -1; ///< stays so: a tree with a pulse type refreshes the limits at every change
    double pulseMin = 0.0;           ///< seconds
    double pulseMax = 0.0;
    std::vector<float> centerFrequencies; ///< hertz, one for each projector
};
