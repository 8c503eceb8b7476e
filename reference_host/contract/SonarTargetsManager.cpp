// The target store as the contract has it: the manager and the target files that it opens.
#include <vordalhostdllR/SonarTargetsManager.h>

#include "reference_host/common/host_observer.h"
#include "reference_host/common/log.h"
#include "reference_host/core/host_state.h"
#include "reference_host/targets/followed_target_file.h"
#include "reference_host/targets/target_store.h"

#include <VordalBaseR/CExTime.h>

#include <memory>
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

/// A target file as one of those has it open who share it.
class OpenTargetFile final : public SonarTargetsControl
{
public:
    OpenTargetFile(CString fullName, std::shared_ptr<FollowedTargetFile> file)
        : m_fullName(std::move(fullName)), m_file(std::move(file))
    {
    }

    std::vector<SonarTarget> const& GetSonarTargets() const override { return m_file->Targets(); }
    SonarTarget const* GetSonarTargetByTargetGuid(CString const& targetGuid) const override
    {
        return m_file->FirstOfGuid(targetGuid.View());
    }
    SonarTarget const* GetSonarTargetByTargetId(std::uint32_t targetId) const override
    {
        return m_file->FirstOfId(targetId);
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
    CString const m_fullName;
    ExchangeInfo m_exchange;
    std::shared_ptr<FollowedTargetFile> const m_file;
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
        return new vordal::OpenTargetFile(fileName, host->Targets().Follow(path));
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
