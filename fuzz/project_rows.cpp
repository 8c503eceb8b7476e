// Fuzzes a project's tables: rows of any content are read or refused in one line, and what is read is saved and read
// again as the same.
#include "reference_host/attributes/tree_merge.h"
#include "reference_host/store/project_store.h"
#include "sqlite_rows.h"

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
    if (!holds)
        std::abort();
}

struct Table
{
    char const* name;
    char const* columns;
};
constexpr Table Tables[] = {
    {"port", "name,host,tcp_port"},
    {"device", "id,class,name,port,enabled,attributes"},
    {"computation", "position,id,type,stream,attributes"},
    {"computation_device", "computation,position,device"},
    {"vessel", "position,number,name"},
    {"vessel_item", "vessel,section,item,text"},
    {"view", "name,shown"},
    {"setting", "name,value"},
    {"window", "name,state"},
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

void RequireSame(StoredProject const& a, StoredProject const& b)
{
    Require(a.ports.size() == b.ports.size() && a.devices.size() == b.devices.size());
    for (std::size_t i = 0; i < a.ports.size(); ++i)
        Require(a.ports[i].name == b.ports[i].name && a.ports[i].host == b.ports[i].host &&
                a.ports[i].tcpPort == b.ports[i].tcpPort);
    for (std::size_t i = 0; i < a.devices.size(); ++i)
        Require(a.devices[i].dataId == b.devices[i].dataId && a.devices[i].className == b.devices[i].className &&
                a.devices[i].name == b.devices[i].name && a.devices[i].portName == b.devices[i].portName &&
                a.devices[i].enabled == b.devices[i].enabled &&
                TreesEqual(a.devices[i].attributes, b.devices[i].attributes));
    Require(a.computations.size() == b.computations.size() && a.vessels.size() == b.vessels.size());
    for (std::size_t i = 0; i < a.computations.size(); ++i)
        Require(a.computations[i].dataId == b.computations[i].dataId &&
                a.computations[i].type == b.computations[i].type &&
                a.computations[i].stream == b.computations[i].stream &&
                a.computations[i].linkedDevices == b.computations[i].linkedDevices &&
                TreesEqual(a.computations[i].attributes, b.computations[i].attributes));
    for (std::size_t i = 0; i < a.vessels.size(); ++i)
        Require(a.vessels[i].number == b.vessels[i].number && a.vessels[i].name == b.vessels[i].name &&
                a.vessels[i].configuration == b.vessels[i].configuration);
    Require(a.activeVessel == b.activeVessel && a.toldLimits == b.toldLimits && a.windows == b.windows &&
            a.views.size() == b.views.size());
    for (auto const& [name, shown] : a.views)
        Require(b.views.count(name) == 1 && TreesEqual(shown, b.views.at(name)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static fuzz::Folder const folder;
    static auto const file = folder.Path() / "project.qx5p";
    static ProjectStore store(file);
    static fuzz::Rows rows(file);
    fuzz::Input input(data, size);
    rows.Run("BEGIN");
    for (auto const& table : Tables)
        rows.Run(std::string("DELETE FROM ") + table.name);
    for (int count = 0; !input.IsEmpty() && count < 32; ++count) {
        auto const& table = Tables[input.Byte() % std::size(Tables)];
        rows.Insert(table.name, table.columns, input);
    }
    rows.Run("COMMIT");
    if (auto const project = Load(store)) {
        store.Save(*project);
        auto const again = Load(store);
        Require(again.has_value());
        RequireSame(*project, *again);
    }
    return 0;
}
