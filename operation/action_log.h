// The log of actions: who asked which sonar for what, what was there, what came of it.
#pragma once

#include "operation/action_listener.h"
#include "reference_host/store/project_store.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace qx5::operation {

/// A value as JSON: numbers, true and false, lists and pairs as lists, texts; null for no value; what JSON has no
/// number for (NaN, the infinities) and other kinds as the text that people read. A longer one than 4,000 bytes is a
/// text of its beginning.
std::string JsonText(CVordalType const* value);
/// The same for a table: a text without quotes, nothing for no value, of any length.
std::string PlainText(CVordalType const* value);
/// A field of a table as RFC 4180 has it: in quotes where it needs them.
std::string CsvField(std::string const& text);

/// A row for each key of the action, none where it changes nothing. `sonarName` is what the operator calls the sonar.
std::vector<vordal::StoredAction> RowsOf(Action const& action, std::string const& sonarName);

/// Collects a row for each key of each action until they are written into a project; what changes nothing and what the
/// sonar tells of itself is none. Any thread, except for what it listens to. Beyond GreatestWaiting the oldest rows
/// give way and are counted.
class ActionLog final : public ActionListener
{
public:
    static constexpr std::size_t GreatestWaiting = 20'000;

    /// What the operator calls the sonar.
    void SetName(CDataId const& sonar, std::string name);
    std::size_t Waiting() const;
    /// Rows that gave way before they were written.
    std::uint64_t Lost() const;
    /// Appends what waits to the project, in one transaction. Throws vordal::StoreError; it then still waits. On the
    /// thread that has the store; others may add rows meanwhile.
    void WriteTo(vordal::ProjectStore& store);

    void OnActionStands(Action const& action) override;

private:
    mutable std::mutex m_mutex; ///< guards what follows
    std::map<CString, std::string> m_names;
    std::deque<vordal::StoredAction> m_rows;
    std::uint64_t m_first = 0; ///< how many rows went before the first that waits
    std::uint64_t m_lost = 0;
};

/// "2026-11-21T01:26:24.498Z"; "unknown" for what is no time of years 1 to 9999.
std::string IsoTime(double seconds);

/// One line each, without its end: {"time", "who", "sonar", "key", "old", "new", "result"}.
std::string JsonLine(vordal::StoredAction const& action);
/// The same as RFC 4180 has it, without the line's end, which is CR LF there; texts are plain, no value is empty.
std::string CsvHeader();
std::string CsvLine(vordal::StoredAction const& action);
/// For people.
std::string PlainLine(vordal::StoredAction const& action);

} // namespace qx5::operation
