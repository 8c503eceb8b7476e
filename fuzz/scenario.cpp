// Fuzzes the reader of scenario files: any bytes give scenarios or one line that says where and why not, and what the
// reader of sound JSON takes is what the other one has of it.
#include "cli/scenario/scenario_reader.h"
#include "json/json_parser.h"
#include "json/json_readers.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

using namespace qx5;
using namespace qx5::cli;

void CheckMessage(InvalidDocument const& failure)
{
    std::string_view const reason = failure.what();
    if (reason.empty() || reason.find('\n') != std::string_view::npos ||
        failure.Path().find('\n') != std::string::npos) {
        std::abort();
    }
}

void CheckSoundReader(std::string_view text)
{
    JsonContent sound;
    sound.text = text;
    if (!ReadSoundJson(sound)) {
        return;
    }
    JsonContent other;
    other.text = text;
    ReadJson(other); // an exception ends the fuzzer
    bool isSame = !other.hasDefects && sound.beside == other.beside && sound.entries.size() == other.entries.size();
    for (std::size_t i = 0; isSame && i < sound.entries.size(); ++i) {
        isSame = sound.entries[i] == other.entries[i];
    }
    if (!isSame) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    CheckSoundReader({reinterpret_cast<char const*>(data), size});
    std::optional<JsonDocument> document;
    try {
        document = ParseJson(std::string(reinterpret_cast<char const*>(data), size));
    } catch (InvalidDocument const& failure) {
        CheckMessage(failure);
        return 0;
    }
    auto const read = [](ScenarioSource const& source) {
        try {
            auto const scenario = ReadScenario(source);
            ScenarioSteps const steps(source, scenario);
        } catch (InvalidDocument const& failure) {
            CheckMessage(failure);
        }
    };
    ForEachScenario(*document, read, CheckMessage);
    return 0;
}
