// A recording as a table of values, and as lines of JSON.
#include "table_export.h"

#include "new_file.h"
#include "recording_text.h"
#include "recording_time.h"

#include "operation/action_log.h"
#include "operation/tree_walk.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace qx5::recording {

void ExportCsv(RecordedSession& session, std::filesystem::path const& out, std::vector<std::string> const& keys,
               RecordedRange const& range)
{
    NewFile file(out);
    file.Write("time,sonar,from,key,value\r\n");
    auto wanted = range;
    wanted.kinds = {&kinds::Settings, &kinds::Attributes, &kinds::Written};
    session.ForEach(wanted, [&](RecordedMessage const& message) {
        auto const* const attributes = std::get_if<RecordedAttributes>(&message.content);
        auto const* const settings = std::get_if<RecordedSettings>(&message.content);
        auto const* const writing = std::get_if<RecordedWriting>(&message.content);
        if (settings != nullptr && settings->isAgain) {
            return true;
        }
        auto const* const change = ChangeIn(message.content);
        auto const& tree = change != nullptr ? *change : settings->tree;
        std::string_view const from = writing != nullptr      ? "host"
                                      : attributes == nullptr ? "settings"
                                      : attributes->isEcho    ? "echo"
                                                              : "sonar";
        auto const time = IsoTime(message.time);
        operation::WalkTrees<0>(tree, {}, [&](std::string const& path, CAttributeMap const& node, auto const&) {
            auto const* const value = operation::ValueOf(&node);
            if (value == nullptr || !operation::IsPathMeant(path, keys)) {
                return;
            }
            file.Write(fmt::format("{},{},{},{},{}\r\n", time, message.sonar != nullptr ? *message.sonar : "", from,
                                   operation::CsvField(path), operation::CsvField(operation::PlainText(value))));
        });
        return true;
    });
    file.Finish();
}

void ExportJson(RecordedSession& session, std::function<void(std::string_view)> const& take, RecordedRange const& range)
{
    RecordingText text(session.Sonars());
    session.ForEach(range, [&](RecordedMessage const& message) {
        take(text.JsonLine(message) + '\n');
        return true;
    });
}

void ExportJson(RecordedSession& session, std::filesystem::path const& out, RecordedRange const& range)
{
    NewFile file(out);
    ExportJson(
        session, [&](std::string_view line) { file.Write(line); }, range);
    file.Finish();
}

} // namespace qx5::recording
