// The sonars of a vessel as they were told last: which there are, their trees, links and leases.
#pragma once

#include "authority/lease.h"
#include "authority/shore_facts.h"
#include "operation/operator_desk.h"
#include "operation/sonar_limits.h"
#include "sparkplug/edge_node.h"
#include "vessel/detection_sender.h"
#include "vessel/sonar_names.h"
#include "vessel/vessel_marks.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::vessel {

/// The vessel's thread, where nothing else is said. What it is given outlives it.
class ToldSonars
{
public:
    ToldSonars(operation::OperatorDesk& desk, std::shared_ptr<VesselMarks> marks, authority::Leases& leases,
               sparkplug::EdgeNode& node, DetectionSender& detections, std::function<void(std::string const&)> tell);

    /// The sonar that topics call so. Any thread.
    std::optional<CDataId> Find(std::string const& onTopic) const;
    /// What is told of a sonar beside its attributes.
    authority::SonarFacts ToldOf(CDataId const& sonar) const;
    /// What the unit and the limits of its attributes are.
    sparkplug::MetricFacts FactsOf(std::string_view device, std::wstring_view key);

    /// Tells which have come, gone or been called otherwise.
    void LookAtSonars();
    /// Tells which have lost their connections, or have them again.
    void LookAtLinks();
    void TellReservedAgain();
    void TakeChange(CDataId const& sonar);
    /// `sonar`: the text of its id.
    void TakeLease(CString const& sonar, authority::LeaseNews const& news);

private:
    struct Told
    {
        TopicSonar sonar;
        CAttributeMap tree;
        operation::SonarLimits limits; ///< that the tree tells, once they were asked for
        bool hasLimits = false;
        authority::SonarFacts facts{{}, authority::SonarLink::NoAnswer, {}};
    };

    bool IsAsTold(std::vector<TopicSonar> const& named) const;
    void NameOnTopics(std::vector<TopicSonar> const& named);
    void RemoveOthersThan(std::vector<TopicSonar> const& named);
    void SeeTree(Told& told);
    void TellReserved(Told const& told);
    void NoteWhoCommands(CDataId const& sonar, authority::LeaseNews const& former, authority::LeaseNews const& news);

    operation::OperatorDesk& m_desk;
    std::shared_ptr<VesselMarks> const m_marks;
    authority::Leases& m_leases;
    sparkplug::EdgeNode& m_node;
    DetectionSender& m_detections;
    std::function<void(std::string const&)> const m_tell;
    std::map<CString, Told> m_sonars; ///< by the texts of their ids

    mutable std::mutex m_namesMutex; ///< guards what follows
    std::map<std::string, CDataId, std::less<>> m_byTopic;
};

} // namespace qx5::vessel
