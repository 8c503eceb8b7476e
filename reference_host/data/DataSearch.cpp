// The way to the project's files.
#include <VordalConfigureR/DataSearch.h>

#include "reference_host/host/host_state.h"

struct DataSearchAccess
{
    static DataSearch instance;
};
DataSearch DataSearchAccess::instance;

DataSearch& DataSearch::GetDataSearch()
{
    return DataSearchAccess::instance;
}

bool DataSearch::GetFullPath(unsigned kind, CString& name) const
{
    auto const* const host = vordal::CurrentState();
    if (host == nullptr) {
        return false;
    }
    std::lock_guard const lock(host->mutex);
    auto const folder = host->projectFolders.find(kind);
    if (folder == host->projectFolders.end()) {
        return false;
    }
    name = folder->second + name;
    return true;
}
