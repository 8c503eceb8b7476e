// What a shell asks a running program, and what that answers: each a line of JSON.
//
// The shell asks for
//   {"qx5": 1, "get": [KEY...], "sonar": NAME}       values once
//   {"qx5": 1, "watch": [KEY...], "sonar": NAME}     values, and each that changes from then on
//   {"qx5": 1, "request": [NODE...], "sonar": NAME}  what is to be set, nodes as in scenario files
// A KEY is a path ("x5SonarSettings/x5RxNumber") or its last key; no key means all. NAME is the sonar's name or id, and
// may be left out where there is one.
//
// The program answers
//   {"qx5": 1, "version": TEXT, "process": N, "sonars": [{"name", "id", "connected"}...]}      once, first of all
//   {"qx5": 1, "time": T, "sonar": NAME, "key": PATH, "value": VALUE, "unit": TEXT, "kind": TEXT}
//   {"qx5": 1, "result": TEXT, "reason": TEXT, "values": [{"key", "asked", "before", "got", "unit"}...]}
//   {"qx5": 1, "done": true}         all that was asked for once has been told
//   {"qx5": 1, "error": TEXT}        in one line, why it has not
// Members that a reader does not know are to be passed over; what changes in another way raises the number.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qx5::shell {

inline constexpr int FormVersion = 1;
/// Of what is asked, with the line's end.
inline constexpr std::size_t GreatestQuestion = std::size_t{256} << 10;
/// Keys of one question.
inline constexpr std::size_t GreatestKeys = 1000;

struct Question
{
    enum class Kind
    {
        Get,
        Watch,
        Request,
    };
    Kind kind = Kind::Get;
    std::string sonar;             ///< name or id; empty: the one that there is
    std::vector<std::string> keys; ///< of Get and Watch; empty: all
    CAttributeMap request;         ///< of Request
};

struct TellableSonar
{
    std::string name;
    std::string id; ///< four numbers with points
    bool connected = false;
};
struct Greeting
{
    std::string version; ///< of the program
    std::uint64_t process = 0;
    std::vector<TellableSonar> sonars;
};

struct ToldValue
{
    std::string time;  ///< "2026-11-21T01:26:24.498Z"
    std::string sonar; ///< its name
    std::string key;   ///< a path
    std::string value; ///< as JSON, see operation::JsonText
    std::string unit;  ///< empty for none
    std::string kind;  ///< of protocol/kinds.h
};

/// What became of a request, as the log of actions tells it. Values are JSON; null where there is none.
struct AskedValue
{
    std::string key;
    std::string asked;
    std::string before;
    std::string got;
    std::string unit;
};
struct Outcome
{
    std::string result;
    std::string reason;
    std::vector<AskedValue> values;
};

struct Done
{
};
struct Problem
{
    std::string text;
};

using Answer = std::variant<Greeting, ToldValue, Outcome, Done, Problem>;

// Lines, with their end. A value that is no JSON is told as a text.
std::string LineOf(Question const& question);
std::string LineOf(Answer const& answer);

/// What was told as an object of "time", "sonar", "key", "value", "unit" and "kind"; without a line's end.
std::string JsonOf(ToldValue const& told);
/// What came of a request as an object of "result", "reason" and "values"; without a line's end.
std::string JsonOf(Outcome const& outcome);

// A line without its end. Throw InvalidDocument, whose text is one line, when it is none of these.
Question ReadQuestion(std::string_view line);
Answer ReadAnswer(std::string_view line);

} // namespace qx5::shell
