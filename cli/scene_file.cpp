// Reads scenes, one value after the other, each with its place.
#include "scene_file.h"

#include "reference_host/common/path_text.h"
#include "json/json_parser.h"
#include "json/json_read.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ios>
#include <system_error>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using acoustics::SceneShapes;

/// Of a place that has one, or of the scene.
std::optional<acoustics::Bottom> ReadBottom(MemberReader& members)
{
    auto const value = members.Find("bottom");
    if (!value) {
        return std::nullopt;
    }
    JsonPath const path = members.At("bottom");
    auto const name = ReadText(*value, path);
    auto const row =
        std::find_if(acoustics::Bottoms.begin(), acoustics::Bottoms.end(),
                     [&](acoustics::BottomScattering const& scattering) { return scattering.name == name; });
    if (row == acoustics::Bottoms.end()) {
        throw InvalidDocument(path, "there is no bottom " + QuoteForMessage(name));
    }
    return row->bottom;
}

/// What stands in a list; an absent one is empty. `read` takes the members of one item.
template <typename Item, typename Read>
std::vector<Item> ReadList(MemberReader& members, std::string_view key, std::size_t most, Read const& read)
{
    std::vector<Item> items;
    auto const list = members.Find(key);
    if (!list) {
        return items;
    }
    JsonPath const path = members.At(key);
    auto const values = ReadArray(*list, path);
    auto const count = values.size();
    if (count > most) {
        throw InvalidDocument(path, fmt::format("holds {}, more than {}", count, most));
    }
    items.reserve(count);
    for (auto const& value : values) {
        JsonPath const at(path, items.size());
        MemberReader item(value, at);
        items.push_back(read(item));
        item.RefuseUnknown();
    }
    return items;
}

double Wanted(MemberReader& members, std::string_view key)
{
    return ReadDouble(members.Get(key), members.At(key));
}

SceneShapes ReadShapes(JsonNode const& root)
{
    JsonPath const path;
    RefuseDefects(root, path);
    MemberReader members(root, path);
    SceneShapes shapes;
    shapes.depth = members.Double("depth", shapes.depth);
    shapes.slopeEast = members.Double("slope_east", 0.0);
    shapes.slopeNorth = members.Double("slope_north", 0.0);
    shapes.bottom = ReadBottom(members).value_or(shapes.bottom);
    shapes.waves = ReadList<SceneShapes::Wave>(members, "waves", SceneShapes::MostWaves, [](MemberReader& item) {
        SceneShapes::Wave wave;
        wave.height = item.Double("height", wave.height);
        wave.length = item.Double("length", wave.length);
        wave.heading = item.Double("heading", wave.heading);
        return wave;
    });
    shapes.mounds = ReadList<SceneShapes::Mound>(members, "mounds", SceneShapes::MostMounds, [](MemberReader& item) {
        SceneShapes::Mound mound;
        mound.east = item.Double("east", mound.east);
        mound.north = item.Double("north", mound.north);
        mound.radius = item.Double("radius", mound.radius);
        mound.height = item.Double("height", mound.height);
        mound.bottom = ReadBottom(item);
        return mound;
    });
    shapes.targets =
        ReadList<acoustics::WaterTarget>(members, "targets", acoustics::Scene::GreatestTargets, [](MemberReader& item) {
            return acoustics::WaterTarget{.east = Wanted(item, "east"),
                                          .north = Wanted(item, "north"),
                                          .depth = Wanted(item, "depth"),
                                          .strength = Wanted(item, "strength")};
        });
    members.RefuseUnknown();
    return shapes;
}

} // namespace

acoustics::Result<acoustics::Scene> ReadScene(std::string_view document)
{
    try {
        return acoustics::Scene::OfShapes(ReadShapes(ParseJson(std::string(document)).Root()));
    } catch (InvalidDocument const& failure) {
        return acoustics::Failure{failure.Path() + ": " + failure.what()};
    }
}

acoustics::Result<acoustics::Scene> ReadSceneFile(std::string const& file)
{
    auto const refused = [&](std::string_view reason) {
        return acoustics::Failure{fmt::format("{}: {}", QuoteForMessage(file, 200), reason)};
    };
    std::error_code error;
    if (std::filesystem::is_directory(vordal::PathOf(file), error)) {
        return refused("this is a folder, no scene");
    }
    std::ifstream stream(vordal::PathOf(file), std::ios::binary);
    std::string document(GreatestSceneFile + 1, '\0');
    stream.read(document.data(), static_cast<std::streamsize>(document.size()));
    if (stream.bad() || (stream.fail() && !stream.eof())) {
        return refused("the file cannot be read");
    }
    document.resize(static_cast<std::size_t>(stream.gcount()));
    if (document.size() > GreatestSceneFile) {
        return refused(fmt::format("a scene has no more than {} bytes", GreatestSceneFile));
    }
    auto scene = ReadScene(document);
    return scene ? scene : refused(scene.WhyNot().line);
}

} // namespace qx5::cli
