// The echo sounder as a device of the host.
#include "sounder_device.h"

#include "sentence.h"
#include "sounder_keys.h"

#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CExTime.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <array>
#include <bit>
#include <cstdint>
#include <utility>

namespace sounder {

namespace {

/// A sentence has 82 characters at most; this is no sentence any more.
constexpr std::size_t greatestLine = 200;

std::array<unsigned char, 8> LittleEndian(double value)
{
    auto const bits = std::bit_cast<std::uint64_t>(value);
    std::array<unsigned char, 8> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
    }
    return bytes;
}

} // namespace

void SounderDevice::HandleRequestMap(CAttributeMap* request)
{
    if (request == nullptr) {
        return;
    }
    CAttributeMap const& asked = *request;
    CAttributeMap echo;
    for (auto const& [key, word] : {std::pair{Range, "RANGE"}, std::pair{Draught, "DRAUGHT"}}) {
        double metres = 0.0;
        // A value of another kind is no request.
        if (asked.FindValue(key).Get(metres)) {
            SendMessageW(MakeSentence(std::string("PSBES,") + word + "," + TextOf(metres)), false);
            echo.Add(key, CVordalDouble(metres), 0);
        }
    }
    bool pinging = false;
    if (asked.FindValue(Pinging).Get(pinging)) {
        SendMessageW(MakeSentence(std::string("PSBES,PING,") + (pinging ? "1" : "0")), false);
        echo.Add(Pinging, CVordalBool(pinging), 0);
    }
    // Everybody who follows the keys sees what was asked for; the instrument's answer comes later.
    SetAttributeMap(echo, 0);
}

bool SounderDevice::ProcessMessage(char* message, int size)
{
    bool used = true;
    for (char const c : std::string_view(message, static_cast<std::size_t>(size))) {
        if (c == '\n') {
            std::string_view line = m_line;
            if (!line.empty() && line.back() == '\r') {
                line.remove_suffix(1);
            }
            used = TakeLine(line) && used;
            m_line.clear();
        } else if (m_line.size() < greatestLine) {
            m_line += c;
        }
    }
    return used;
}

void SounderDevice::HandlePortConnected()
{
    m_line.clear();
}

bool SounderDevice::TakeLine(std::string_view line)
{
    auto const fields = ParseSentence(line);
    if (!fields) {
        return false;
    }
    auto const field = [&](std::size_t index) { return index < fields->size() ? (*fields)[index] : std::string(); };
    std::string const& name = fields->front();
    if (name == "PSBES") {
        CAttributeMap answer;
        auto const number = NumberOf(field(2));
        if (field(1) == "RANGE" && number) {
            answer.Add(Range, CVordalDouble(*number), 0);
        } else if (field(1) == "DRAUGHT" && number) {
            answer.Add(Draught, CVordalDouble(*number), 0);
        } else if (field(1) == "PING" && number) {
            answer.Add(Pinging, CVordalBool(*number != 0.0), 0);
        }
        return SetAttributeMap(answer, 0);
    }
    // Any talker: DBT tells the depth in feet, metres and fathoms, DPT in metres.
    bool const isDepth = name.size() == 5 && (name.substr(2) == "DBT" || name.substr(2) == "DPT");
    auto const depth = isDepth ? NumberOf(field(name.substr(2) == "DBT" ? 3 : 1)) : std::nullopt;
    if (depth) {
        PublishDepth(*depth);
    }
    // An empty field means that the bottom was not found; other sentences are none of ours.
    return isDepth;
}

void SounderDevice::PublishDepth(double depth)
{
    CAttributeMap told;
    told.Add(Depth, CVordalDouble(depth), 0);
    SetAttributeMap(told, 0);

    CDataBlock block;
    block.SetTime(CExTime::GetCurTime());
    auto const bytes = LittleEndian(depth);
    block.AddItem(DepthItem, DATA_DOUBLE, bytes, bytes.size(), 0);
    DispatchDataBlock(block);
}

} // namespace sounder
