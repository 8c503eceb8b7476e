// The target store as the contract has it: the manager and the target files that it opens.
#include <vordalhostdllR/SonarTargetsManager.h>

#include "reference_host/common/host_observer.h"
#include "reference_host/common/host_turn.h"
#include "reference_host/common/log.h"
#include "reference_host/common/salted_hash.h"
#include "reference_host/core/host_state.h"
#include "reference_host/targets/target_store.h"

#include <VordalBaseR/CExTime.h>

#include <unordered_map>
#include <utility>

struct SonarTargetsManagerAccess
{
    static SonarTargetsManager instance;
};
SonarTargetsManager SonarTargetsManagerAccess::instance;

SONAR_TARGET_SEL_INFO::~SONAR_TARGET_SEL_INFO() = default;
std::unique_ptr<NotificationInfo> SONAR_TARGET_SEL_INFO::Clone() const
{
    return std::make_unique<SONAR_TARGET_SEL_INFO>(*this);
}
SynchronizeTargetManagerInfo::~SynchronizeTargetManagerInfo() = default;
SonarTargetsControl::~SonarTargetsControl() = default;

namespace vordal {
namespace {

class ExchangeInfo final : public SynchronizeTargetManagerInfo
{
public:
    void SetRequestTimeStamp() override
    {
        if (auto* const observer = CurrentObserver()) {
            observer->OnTargetListRequested();
        }
        m_requested = CExTime::GetCurTime();
    }
    double GetRequestTimeStamp() const override { return m_requested; }

private:
    double m_requested = 0.0;
};

/// An open target file. It follows what other programs do to the file from one request or notification to the next;
/// within one it stays as it is.
class OpenTargetFile final : public SonarTargetsControl
{
public:
    /// Throws TargetFileError.
    OpenTargetFile(CString fullName, std::filesystem::path const& file) : m_fullName(std::move(fullName)), m_file(file)
    {
        m_version = m_file.Version();
        Take(m_file.Read());
    }

    std::vector<SonarTarget> const& GetSonarTargets() const override
    {
        Refresh();
        return m_targets;
    }
    SonarTarget const* GetSonarTargetByTargetGuid(CString const& targetGuid) const override
    {
        Refresh();
        auto const found = m_byGuid.find(targetGuid.View());
        return found != m_byGuid.end() ? &m_targets[found->second] : nullptr;
    }
    CString const& FileName() const override { return m_fullName; }
    SynchronizeTargetManagerInfo& GetSynchronizeTargetManagerInfo() override { return m_exchange; }
    void Close() override
    {
        if (auto* const observer = CurrentObserver()) {
            observer->OnCloseTargets(m_fullName);
        }
        delete this;
    }

private:
    void Refresh() const
    {
        auto const turn = HostTurn::Current();
        if (turn == m_turn) {
            return;
        }
        m_turn = turn;
        try {
            // The version first: what is changed while it is read is read again next time.
            auto const version = m_file.Version();
            if (version != m_version) {
                Take(m_file.Read());
                m_version = version;
            }
            m_failed = false;
        } catch (TargetFileError const& error) {
            if (!std::exchange(m_failed, true)) {
                Log(LogLevel::Warning, std::string(error.what()) + "; its contacts stay as they were read last");
            }
        }
    }

    void Take(std::vector<StoredTarget>&& stored) const
    {
        m_byGuid.clear();
        m_targets.clear();
        m_targets.reserve(stored.size());
        for (auto& each : stored) {
            m_targets.push_back(std::move(each.target));
        }
        for (std::size_t i = 0; i < stored.size(); ++i) {
            if (!stored[i].lost) {
                m_byGuid.emplace(m_targets[i].targetGuid.View(), i);
            }
        }
    }

    CString const m_fullName;
    ExchangeInfo m_exchange;
    // What the file held when it was read last.
    mutable TargetFile m_file;
    mutable std::vector<SonarTarget> m_targets;
    /// Views into m_targets.
    mutable std::unordered_map<std::wstring_view, std::size_t, vordal::SaltedTextHash> m_byGuid;
    mutable std::int64_t m_version = 0;
    mutable std::uint64_t m_turn = 0;
    mutable bool m_failed = false;
};

} // namespace
} // namespace vordal

SonarTargetsManager& SonarTargetsManager::Instance()
{
    return SonarTargetsManagerAccess::instance;
}

CString SonarTargetsManager::GetActiveSonarTargetsName() const
{
    auto* const host = vordal::Host::CurrentOrNull();
    return host != nullptr ? host->Targets().Active() : CString();
}

SonarTargetsControl* SonarTargetsManager::OpenSTSFile(CString const& fileName)
{
    auto* const host = vordal::Host::CurrentOrNull();
    if (host == nullptr) {
        return nullptr;
    }
    if (auto* const observer = host->Observer()) {
        observer->OnOpenTargets(fileName);
    }
    if (fileName.IsEmpty()) {
        return nullptr;
    }
    auto const path = host->Targets().PathOf(fileName);
    std::error_code error;
    if (path.empty() || std::filesystem::status(path, error).type() == std::filesystem::file_type::not_found) {
        return nullptr;
    }
    try {
        return new vordal::OpenTargetFile(fileName, path);
    } catch (vordal::TargetFileError const& failure) {
        vordal::Log(vordal::LogLevel::Error, failure.what());
        return nullptr;
    }
}

CString SonarTargetsManager::GetOperatorName() const
{
    auto* const host = vordal::Host::CurrentOrNull();
    return host != nullptr ? host->Targets().OperatorName() : CString();
}
