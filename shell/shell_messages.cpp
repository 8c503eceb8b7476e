// What a shell asks a running program, and what that answers: each a line of JSON.
#include "shell/shell_messages.h"

#include "json/json_parser.h"
#include "json/json_read.h"
#include "json/tree_json.h"

#include <limits>
#include <utility>

#include <fmt/format.h>

namespace qx5::shell {

namespace {

// The names of members, each written and read.
constexpr std::string_view formName = "qx5";
constexpr std::string_view getName = "get";
constexpr std::string_view watchName = "watch";
constexpr std::string_view requestName = "request";
constexpr std::string_view sonarName = "sonar";
constexpr std::string_view versionName = "version";
constexpr std::string_view processName = "process";
constexpr std::string_view sonarsName = "sonars";
constexpr std::string_view nameName = "name";
constexpr std::string_view idName = "id";
constexpr std::string_view connectedName = "connected";
constexpr std::string_view timeName = "time";
constexpr std::string_view keyName = "key";
constexpr std::string_view valueName = "value";
constexpr std::string_view unitName = "unit";
constexpr std::string_view kindName = "kind";
constexpr std::string_view resultName = "result";
constexpr std::string_view reasonName = "reason";
constexpr std::string_view valuesName = "values";
constexpr std::string_view askedName = "asked";
constexpr std::string_view beforeName = "before";
constexpr std::string_view gotName = "got";
constexpr std::string_view doneName = "done";
constexpr std::string_view errorName = "error";

using Members = std::vector<JsonValue::Member>;

JsonValue::Member Text(std::string_view name, std::string const& text)
{
    return {std::string(name), JsonValue::Text(text)};
}

/// A value that is JSON already.
JsonValue::Member Value(std::string_view name, std::string const& json)
{
    JsonValue value;
    try {
        auto const document = ParseJson(json);
        RefuseDefects(document.Root(), {});
        value = document.Root().Copy();
    } catch (InvalidDocument const&) {
        value = JsonValue::Text(json);
    }
    return {std::string(name), std::move(value)};
}

std::string LineOf(Members members)
{
    members.insert(members.begin(), {std::string(formName), JsonValue::Integer(FormVersion)});
    return WriteJson(JsonValue::Object(std::move(members))) + "\n";
}

std::string Line(Greeting const& greeting)
{
    std::vector<JsonValue> sonars;
    for (TellableSonar const& sonar : greeting.sonars) {
        sonars.push_back(JsonValue::Object({Text(nameName, sonar.name),
                                            Text(idName, sonar.id),
                                            {std::string(connectedName), JsonValue::Bool(sonar.connected)}}));
    }
    return LineOf({Text(versionName, greeting.version),
                   {std::string(processName), JsonValue::Unsigned(greeting.process)},
                   {std::string(sonarsName), JsonValue::Array(std::move(sonars))}});
}

Members MembersOf(ToldValue const& told)
{
    return {Text(timeName, told.time),    Text(sonarName, told.sonar), Text(keyName, told.key),
            Value(valueName, told.value), Text(unitName, told.unit),   Text(kindName, told.kind)};
}

std::string Line(ToldValue const& told)
{
    return LineOf(MembersOf(told));
}

Members MembersOf(Outcome const& outcome)
{
    std::vector<JsonValue> values;
    for (AskedValue const& value : outcome.values) {
        values.push_back(
            JsonValue::Object({Text(keyName, value.key), Value(askedName, value.asked), Value(beforeName, value.before),
                               Value(gotName, value.got), Text(unitName, value.unit)}));
    }
    return {Text(resultName, outcome.result),
            Text(reasonName, outcome.reason),
            {std::string(valuesName), JsonValue::Array(std::move(values))}};
}

std::string Line(Outcome const& outcome)
{
    return LineOf(MembersOf(outcome));
}

std::string Line(Done const&)
{
    return LineOf({{std::string(doneName), JsonValue::Bool(true)}});
}

std::string Line(Problem const& problem)
{
    return LineOf({Text(errorName, problem.text)});
}

/// Checks the form's number, and stands where members are read from.
MemberReader ReaderOf(JsonNode const& object, JsonPath const& path)
{
    MemberReader reader(object, path);
    auto const version =
        ReadInteger(reader.Get(formName), reader.At(formName), 0, std::numeric_limits<std::int32_t>::max());
    if (version != FormVersion) {
        throw InvalidDocument(reader.At(formName),
                              fmt::format("this program knows form {} alone, not {}", FormVersion, version));
    }
    return reader;
}

std::string TextOf(MemberReader& reader, std::string_view name)
{
    return std::string(ReadText(reader.Get(name), reader.At(name)));
}

/// As JSON; what cannot be read of it is told as a text that says so.
std::string ValueOf(MemberReader& reader, std::string_view name)
{
    auto const value = reader.Get(name);
    try {
        RefuseDefects(value, reader.At(name));
    } catch (InvalidDocument const& problem) {
        return WriteJson(JsonValue::Text(std::string(problem.what())));
    }
    return WriteJson(value.Copy());
}

std::vector<std::string> KeysOf(JsonNode const& value, JsonPath const& path)
{
    auto const items = ReadArray(value, path);
    if (items.size() > GreatestKeys) {
        throw InvalidDocument(path, fmt::format("more than {} keys", GreatestKeys));
    }
    std::vector<std::string> keys;
    for (auto const& item : items) {
        JsonPath const at(path, keys.size());
        keys.emplace_back(ReadText(item, at));
        if (keys.back().empty()) {
            throw InvalidDocument(at, "a key without text");
        }
    }
    return keys;
}

} // namespace

std::string LineOf(Question const& question)
{
    Members members;
    if (question.kind == Question::Kind::Request) {
        members.emplace_back(requestName, WriteTree(question.request));
    } else {
        std::vector<JsonValue> keys;
        for (std::string const& key : question.keys) {
            keys.push_back(JsonValue::Text(key));
        }
        members.emplace_back(question.kind == Question::Kind::Get ? getName : watchName,
                             JsonValue::Array(std::move(keys)));
    }
    if (!question.sonar.empty()) {
        members.push_back(Text(sonarName, question.sonar));
    }
    return LineOf(std::move(members));
}

std::string LineOf(Answer const& answer)
{
    return std::visit([](auto const& each) { return Line(each); }, answer);
}

std::string JsonOf(Outcome const& outcome)
{
    return WriteJson(JsonValue::Object(MembersOf(outcome)));
}

std::string JsonOf(ToldValue const& told)
{
    return WriteJson(JsonValue::Object(MembersOf(told)));
}

Question ReadQuestion(std::string_view line)
{
    auto const document = ParseJson(std::string(line));
    JsonPath const root;
    auto reader = ReaderOf(document.Root(), root);
    Question question;
    int count = 0;
    for (auto const& [kind, name] :
         {std::pair(Question::Kind::Get, getName), std::pair(Question::Kind::Watch, watchName),
          std::pair(Question::Kind::Request, requestName)}) {
        auto const value = reader.Find(name);
        if (!value) {
            continue;
        }
        ++count;
        question.kind = kind;
        if (kind == Question::Kind::Request) {
            question.request = ReadTree(*value, reader.At(name));
        } else {
            question.keys = KeysOf(*value, reader.At(name));
        }
    }
    if (count != 1) {
        throw InvalidDocument(
            root, fmt::format("there must be one of \"{}\", \"{}\" and \"{}\"", getName, watchName, requestName));
    }
    if (question.kind == Question::Kind::Request && question.request.Count() == 0) {
        throw InvalidDocument(reader.At(requestName), "nothing is asked for");
    }
    if (reader.Find(sonarName)) {
        question.sonar = TextOf(reader, sonarName);
    }
    return question;
}

Answer ReadAnswer(std::string_view line)
{
    auto const document = ParseJson(std::string(line));
    JsonPath const root;
    auto reader = ReaderOf(document.Root(), root);
    if (reader.Find(errorName)) {
        return Problem{TextOf(reader, errorName)};
    }
    if (reader.Find(doneName)) {
        return Done{};
    }
    if (auto const list = reader.Find(sonarsName)) {
        Greeting greeting;
        greeting.version = TextOf(reader, versionName);
        std::int64_t const process =
            ReadInteger(reader.Get(processName), reader.At(processName), 0, std::numeric_limits<std::int64_t>::max());
        greeting.process = static_cast<std::uint64_t>(process);
        JsonPath const path = reader.At(sonarsName);
        for (auto const& item : ReadArray(*list, path)) {
            JsonPath const at(path, greeting.sonars.size());
            MemberReader sonar(item, at);
            greeting.sonars.push_back(
                {TextOf(sonar, nameName), TextOf(sonar, idName), sonar.Bool(connectedName, false)});
        }
        return greeting;
    }
    if (reader.Find(resultName)) {
        Outcome outcome;
        outcome.result = TextOf(reader, resultName);
        outcome.reason = TextOf(reader, reasonName);
        JsonPath const path = reader.At(valuesName);
        for (auto const& item : ReadArray(reader.Get(valuesName), path)) {
            JsonPath const at(path, outcome.values.size());
            MemberReader value(item, at);
            outcome.values.push_back({TextOf(value, keyName), ValueOf(value, askedName), ValueOf(value, beforeName),
                                      ValueOf(value, gotName), TextOf(value, unitName)});
        }
        return outcome;
    }
    return ToldValue{TextOf(reader, timeName),   TextOf(reader, sonarName), TextOf(reader, keyName),
                     ValueOf(reader, valueName), TextOf(reader, unitName),  TextOf(reader, kindName)};
}

} // namespace qx5::shell
