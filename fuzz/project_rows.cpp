// Fuzzes a project's tables: rows of any content are read or refused in one line, and what is read is saved and read
// again as the same.
#include "reference_host/store/project_store.h"
#include "sqlite_rows.h"
#include "tests/support/temporary_folder.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>

namespace {

using namespace vordal;

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

struct Table
{
    char const* name;
    char const* columns;
};
constexpr Table Tables[] = {
    {"port", "name,host,tcp_port,unacknowledged_ms,keepalive_idle_s,keepalive_interval_s,keepalive_count"},
    {"device", "id,class,name,port,enabled,attributes"},
    {"computation", "position,id,type,stream,attributes"},
    {"computation_device", "computation,position,device"},
    {"vessel", "position,number,name"},
    {"vessel_item", "vessel,section,item,text"},
    {"view", "name,shown"},
    {"setting", "name,value"},
    {"window", "name,state"},
    {"preset", "name,document"},
};

std::optional<StoredProject> Load(ProjectStore& store)
{
    try {
        return store.Load();
    } catch (StoreError const& error) {
        std::string const line = error.what();
        Require(!line.empty() && line.find('\n') == std::string::npos);
        return std::nullopt;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static qx5::test::TemporaryFolder const folder{"qx5-fuzz"};
    static auto const file = folder / "project.qx5p";
    static ProjectStore store(file);
    static fuzz::Rows rows(file);
    fuzz::Input input(data, size);
    rows.Run("BEGIN");
    for (auto const& table : Tables) {
        rows.Run(std::string("DELETE FROM ") + table.name);
    }
    for (int count = 0; !input.IsEmpty() && count < 32; ++count) {
        auto const& table = Tables[input.Byte() % std::size(Tables)];
        rows.Insert(table.name, table.columns, input);
    }
    rows.Run("COMMIT");
    if (auto const project = Load(store)) {
        store.Save(*project);
        auto const again = Load(store);
        Require(again.has_value());
        Require(*project == *again);
    }
    return 0;
}
