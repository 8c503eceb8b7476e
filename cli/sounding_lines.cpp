// Lines of soundings, written without the locale.
#include "sounding_lines.h"

#include "simulator/acoustics/decibel.h"
#include "json/json_value.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

std::string TextOf(acoustics::PingEchoes const& echoes)
{
    std::string line =
        fmt::format("ping {}  {} beams  {} detections", echoes.number, echoes.beams, echoes.detections.size());
    std::vector<double> depths;
    for (acoustics::Detection const& detection : echoes.detections) {
        depths.push_back(SoundingOf(echoes, detection).depth);
    }
    if (!depths.empty()) {
        auto const [least, most] = std::minmax_element(depths.begin(), depths.end());
        line += fmt::format("  depths {:.2f} to {:.2f} m", *least, *most);
    }
    return line + "\n";
}

std::string JsonOf(acoustics::PingEchoes const& echoes, acoustics::Detection const& detection, Sounding const& sounding,
                   std::optional<double> const& truth)
{
    std::vector<JsonValue::Member> members{
        {"ping", JsonValue::Integer(echoes.number)},
        {"beam", JsonValue::Integer(detection.beam)},
        {"angle", JsonValue::Double(static_cast<double>(detection.angle))},
        {"range", JsonValue::Double(sounding.range)},
        {"depth", JsonValue::Double(sounding.depth)},
        {"across", JsonValue::Double(sounding.across)},
        {"along", JsonValue::Double(sounding.along)},
        {"level", JsonValue::Double(static_cast<double>(detection.level))},
        {"quality", JsonValue::Double(static_cast<double>(detection.quality))},
    };
    if (truth) {
        members.emplace_back("true_depth", JsonValue::Double(*truth));
    }
    return WriteJson(JsonValue::Object(std::move(members))) + "\n";
}

} // namespace

Sounding SoundingOf(acoustics::PingEchoes const& echoes, acoustics::Detection const& detection)
{
    Sounding sounding;
    sounding.range = static_cast<double>(detection.travelTime) * echoes.soundSpeed / 2.0;
    double const across = std::sin(acoustics::Radians(static_cast<double>(detection.angle)));
    double const along = std::sin(acoustics::Radians(echoes.steering));
    sounding.across = sounding.range * across;
    sounding.along = sounding.range * along;
    sounding.depth =
        echoes.pose.depth + sounding.range * std::sqrt(std::max(0.0, 1.0 - across * across - along * along));
    double const sine = std::sin(acoustics::Radians(echoes.pose.heading));
    double const cosine = std::cos(acoustics::Radians(echoes.pose.heading));
    sounding.east = echoes.pose.east + sounding.along * sine + sounding.across * cosine;
    sounding.north = echoes.pose.north + sounding.along * cosine - sounding.across * sine;
    return sounding;
}

std::string SoundingHead(SoundingForm form, bool withTruth)
{
    if (form != SoundingForm::Csv) {
        return {};
    }
    return std::string("ping,beam,angle,range,depth,across,along,level,quality") + (withTruth ? ",true_depth" : "") +
           "\n";
}

std::string SoundingLines(SoundingForm form, acoustics::PingEchoes const& echoes, TrueDepth const& truth)
{
    if (form == SoundingForm::Text) {
        return TextOf(echoes);
    }
    std::string lines;
    for (acoustics::Detection const& detection : echoes.detections) {
        Sounding const sounding = SoundingOf(echoes, detection);
        std::optional<double> const trueDepth = truth ? truth(detection.beam) : std::nullopt;
        if (form == SoundingForm::Json) {
            lines += JsonOf(echoes, detection, sounding, trueDepth);
        } else if (form == SoundingForm::Xyz) {
            fmt::format_to(std::back_inserter(lines), "{:.3f} {:.3f} {:.3f}\n", sounding.east, sounding.north,
                           sounding.depth);
        } else {
            fmt::format_to(std::back_inserter(lines), "{},{},{:.3f},{:.3f},{:.3f},{:.3f},{:.3f},{:.2f},{:.3f}",
                           echoes.number, detection.beam, detection.angle, sounding.range, sounding.depth,
                           sounding.across, sounding.along, detection.level, detection.quality);
            if (truth) {
                lines += trueDepth ? fmt::format(",{:.3f}", *trueDepth) : std::string(",");
            }
            lines += '\n';
        }
    }
    return lines;
}

} // namespace qx5::cli
