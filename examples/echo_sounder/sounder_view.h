// The display of an echo sounder: the depth in large figures, and its three settings.
#pragma once

#include <VordalAttributesR/AttributeKey.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CDataId.h>
#include <VordalMfc0R/CFormView.h>
#include <VordalMfc0R/CRuntimeClass.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/CVordalBaseView.h>

class QCheckBox;
class QDoubleSpinBox;
class QLabel;

namespace sounder {

/// Shows one device: the one that it was stored with, otherwise the one that the host selects. Window thread alone: its
/// subscription is made there, so that it is told there.
class SounderView : public CFormView
{
public:
    static CRuntimeClass* GetRuntimeClass();

    void OnInitialUpdate() override;
    void OnUpdate(CView* sender, int hint, void const* data) override;

private:
    void Select(CDataId const& device);
    void Show();
    void Request(AttributeKey const& key, CVordalType const& value);

    CVordalBaseView m_stored;
    CDataId m_device;
    // Owned by the form.
    QLabel* m_depth = nullptr;
    QDoubleSpinBox* m_range = nullptr;
    QDoubleSpinBox* m_draught = nullptr;
    QCheckBox* m_pinging = nullptr;

    /// Last, so that it ends first: it calls this object.
    Subscription m_attributes;
};

} // namespace sounder
