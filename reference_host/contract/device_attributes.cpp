// A device's attributes under their lock: written, merged and told, and read.
#include <VordalDataBlocksR/BaseDevice.h>

#include "reference_host/attributes/tree_merge.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/common/request_observer.h"
#include "reference_host/core/host_state.h"

#include <utility>

namespace vordal {
namespace {

/// What attribute notifications of the device carry. The device's lock is held.
std::shared_ptr<DataId_NI const> ChangeInfo(DeviceInternals& internals, CDataId const& id)
{
    if (internals.changeInfo == nullptr || !(internals.changeInfo->GetDataId() == id)) {
        internals.changeInfo = std::make_shared<DataId_NI const>(id);
    }
    return internals.changeInfo;
}

/// With the device's lock given back.
void TellChange(DeviceInternals& internals, CAttributeMap const& tree, DataId_NI const& info)
{
    if (auto* const observer = CurrentRequestObserver()) {
        observer->OnChanged(info.GetDataId());
    }
    internals.subscriptions->Bus()->NotifyKeysOf(tree, &info);
}

} // namespace

bool MergeAndNotify(DeviceInternals& internals, CDataId const& id, CAttributeMap const& tree)
{
    if (tree.Count() == 0) {
        return false;
    }
    std::shared_ptr<DataId_NI const> info;
    {
        std::lock_guard const lock(*internals.lock);
        internals.mergedTold.Forget();
        Merge(internals.tree, tree);
        internals.told.NoteOthersWrote();
        info = ChangeInfo(internals, id);
    }
    TellChange(internals, tree, *info);
    return true;
}

bool MergeToldAndNotify(DeviceInternals& internals, CDataId const& id, CAttributeMap const& tree, std::uint64_t number)
{
    if (tree.Count() == 0) {
        return false;
    }
    std::shared_ptr<DataId_NI const> info;
    bool firstRefusal = false;
    {
        std::lock_guard const lock(*internals.lock);
        internals.mergedTold.Merge(internals.tree, tree, number, internals.told);
        firstRefusal = !internals.refusalTold && internals.told.Refused() != TreeSize{};
        internals.refusalTold = internals.refusalTold || firstRefusal;
        info = ChangeInfo(internals, id);
    }
    TellChange(internals, tree, *info);
    return firstRefusal;
}

} // namespace vordal

namespace {

void TellEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags)
{
    if (auto* const observer = vordal::CurrentObserver()) {
        observer->OnEcho(device, tree, flags);
    }
    if (auto* const observer = vordal::CurrentRequestObserver()) {
        observer->OnEcho(device, tree, flags);
    }
}

} // namespace

SubscriptionMap* BaseDevice::GetAttributeSubscriptionMap()
{
    return m_internals->subscriptions.get();
}

bool BaseDevice::SetAttributeMap(CAttributeMap const& map, unsigned flags)
{
    TellEcho(*this, map, flags);
    return vordal::MergeAndNotify(*m_internals, m_dataId, map);
}

bool BaseDevice::AppendAttributeMap(CAttributeMap const& map, unsigned flags)
{
    TellEcho(*this, map, flags);
    if (map.Count() == 0) {
        return false;
    }
    std::shared_ptr<DataId_NI const> info;
    {
        std::lock_guard const lock(m_criticalSection);
        // A copy, since the tree may be asked to append itself.
        CAttributeMap const given(map);
        for (CAttributeMap const& child : given) {
            m_attributes->Append(child);
        }
        m_internals->told.NoteOthersWrote();
        info = vordal::ChangeInfo(*m_internals, m_dataId);
    }
    vordal::TellChange(*m_internals, map, *info);
    return true;
}

bool BaseDevice::GetAttributeMap(CAttributeMap& map) const
{
    CAttributeMap copy;
    {
        std::lock_guard const lock(m_criticalSection);
        copy = *m_attributes;
    }
    map = std::move(copy);
    return true;
}

namespace {

/// Reads value and flag word of the key's first occurrence; nothing is written when the value is of another kind.
template <typename... Out>
bool ReadAttribute(CriticalSection& section, CAttributeMap const& tree, AttributeKey const& key, unsigned& flags,
                   Out&... out)
{
    std::lock_guard const lock(section);
    auto const* node = tree.GetAttrMap(key, 0);
    if (node == nullptr || !node->Value().Get(out...)) {
        return false;
    }
    flags = node->GetFlags();
    return true;
}

} // namespace

bool BaseDevice::GetAttribValue(AttributeKey const& key, CString& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, CCompOffset& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, CDataInfo& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, double& first, double& second, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, first, second);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, double& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, bool& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, int& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
