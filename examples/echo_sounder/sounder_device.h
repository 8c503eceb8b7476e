// The echo sounder as a device of the host.
#pragma once

#include <vordalhostdllR/Device.h>

#include <string>
#include <string_view>

namespace sounder {

/// Takes requests of three keys, sends a sentence for each and echoes it; takes the instrument's sentences and puts
/// what they tell into the device's tree, the depth into a data block, too. All on the host thread.
class SounderDevice : public Device
{
public:
    /// Bytes of the instrument: lines, in whatever pieces they come.
    bool ProcessMessage(char* message, int size) override;
    /// A line that was begun before the connection broke does not go on.
    void HandlePortConnected() override;

private:
    void HandleRequestMap(CAttributeMap* request) override;

    bool TakeLine(std::string_view line);
    void PublishDepth(double depth);

    std::string m_line; ///< what has come of a line that has not ended
};

} // namespace sounder
