// How a project is shared with those ashore, as its file keeps it.
#pragma once

#include "authority/lease.h"
#include "authority/permissions.h"
#include "broker/broker_address.h"
#include "reference_host/store/project_store.h"
#include "vessel/vessel.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::vessel {

struct ShareSetup
{
    std::string broker; ///< URL; empty: it is not shared
    broker::CertificateFiles files;
    std::string group;
    std::string vessel;
    std::string primaryHost;
    authority::Permissions permissions;
    authority::Silence silence = authority::Silence::Refuse;
    std::vector<std::string> history; ///< names of metrics
    std::uint64_t outboxMegabytes = 256;
    double outboxDays = 30.0;

    bool operator==(ShareSetup const& other) const;
};

/// What the project keeps; a line in `problems` for each thing of it that this program does not understand.
ShareSetup ShareSetupIn(vordal::StoredProject const& project, std::vector<std::string>& problems);
/// Keeps it; what else is noted in the project stays.
void PutShareSetup(vordal::StoredProject& project, ShareSetup const& setup);

/// "refuse", "grant".
std::string_view ToText(authority::Silence silence);
/// Nothing for any other text.
std::optional<authority::Silence> SilenceOf(std::string_view text);
/// Puts a role in, as "NAME=ROLE"; false when the text is none.
bool AddRole(authority::Permissions& permissions, std::string_view text);

/// The options of a vessel that is shared so, but for its outbox's file, version, status and tell. Nothing, and one
/// line in `error`, when something of it is missing or is none.
std::optional<VesselOptions> OptionsOf(ShareSetup const& setup, std::string& error);

} // namespace qx5::vessel
