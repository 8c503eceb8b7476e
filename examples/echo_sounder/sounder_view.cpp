// The display of an echo sounder: the depth in large figures, and its three settings.
#include "sounder_view.h"

#include "sounder_keys.h"

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataInfo.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <VordalSubscriberR/Subscriber.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/DataManager.h>

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QSignalBlocker>

namespace sounder {

namespace {

CRuntimeClass runtimeClass = MakeRuntimeClass<SounderView>("SingleBeamSounderView");

/// The branch of a tree that DataManager::SetAttributeMap hands to the device, and the flags of a request.
constexpr AttributeKey requestBranch{L"Request"};
constexpr unsigned requestFlags = 4;

QDoubleSpinBox* AddMetres(QFormLayout& layout, QString const& label, char const* name, double greatest)
{
    auto* const box = new QDoubleSpinBox;
    box->setObjectName(QString::fromLatin1(name));
    box->setAccessibleName(label);
    box->setLocale(QLocale::c());
    box->setRange(0.0, greatest);
    box->setSuffix(QStringLiteral(" m"));
    box->setKeyboardTracking(false); // a request for what was meant, not for each digit
    layout.addRow(label, box);
    return box;
}

} // namespace

CRuntimeClass* SounderView::GetRuntimeClass()
{
    return &runtimeClass;
}

void SounderView::OnInitialUpdate()
{
    CFormView::OnInitialUpdate();
    m_stored.ConnectDisplayDoc(GetDocument(), 0);

    auto* const layout = new QFormLayout(GetForm());
    m_depth = new QLabel(QStringLiteral("-"));
    m_depth->setObjectName(QStringLiteral("depth"));
    m_depth->setAccessibleName(QStringLiteral("Depth below the transducer"));
    auto font = m_depth->font();
    font.setPointSize(4 * font.pointSize());
    m_depth->setFont(font);
    layout->addRow(m_depth);
    m_range = AddMetres(*layout, QStringLiteral("Range"), "range", 600.0);
    m_draught = AddMetres(*layout, QStringLiteral("Draught"), "draught", 30.0);
    m_pinging = new QCheckBox(QStringLiteral("Transmit"));
    m_pinging->setObjectName(QStringLiteral("pinging"));
    layout->addRow(m_pinging);

    QObject::connect(m_range, &QDoubleSpinBox::valueChanged, m_range,
                     [this](double metres) { Request(Range, CVordalDouble(metres)); });
    QObject::connect(m_draught, &QDoubleSpinBox::valueChanged, m_draught,
                     [this](double metres) { Request(Draught, CVordalDouble(metres)); });
    QObject::connect(m_pinging, &QCheckBox::toggled, m_pinging, [this](bool on) { Request(Pinging, CVordalBool(on)); });

    m_attributes.SetSubscriber(new MemFunNoInfoSubscriber<SounderView>(this, &SounderView::Show), true);
    m_attributes.Subscribe(
        {CString(Depth.Text()), CString(Range.Text()), CString(Draught.Text()), CString(Pinging.Text())});

    CDataInfo stored;
    if (m_stored.GetAttributes().FindValue(ATTR_DATAID).Get(stored)) {
        Select(stored.GetDataId());
    }
}

void SounderView::OnUpdate(CView*, int hint, void const* data)
{
    if (hint == HINT_SELECT_DEVICE && data != nullptr) {
        Select(*static_cast<CDataId const*>(data));
    }
}

void SounderView::Select(CDataId const& device)
{
    m_device = device;
    m_attributes.SetMap(DataManager::GetDataManager().GetAttributeSubscriptionMap(device));
    // The next display begins with it.
    m_stored.GetAttributes().FindCreate(ATTR_DATAID, 0).SetValue(CVordalDataInfo(device, 65535, 65535));
    if (auto const* const found = DataManager::GetDataManager().FindDevice(device)) {
        GetDocument()->RenameDisplay(found->GetDeviceName());
    }
    Show();
}

void SounderView::Show()
{
    CAttributeMap tree;
    if (!DataManager::GetDataManager().GetAttributeMap(m_device, tree)) {
        return;
    }
    // What is shown is not asked for.
    QSignalBlocker const quietRange(m_range);
    QSignalBlocker const quietDraught(m_draught);
    QSignalBlocker const quietPinging(m_pinging);
    CAttributeMap const& attributes = tree;
    double metres = 0.0;
    bool const hasDepth = attributes.FindValue(Depth).Get(metres);
    m_depth->setText(hasDepth ? QLocale::c().toString(metres, 'f', 2) + QStringLiteral(" m") : QStringLiteral("-"));
    if (attributes.FindValue(Range).Get(metres)) {
        m_range->setValue(metres);
    }
    if (attributes.FindValue(Draught).Get(metres)) {
        m_draught->setValue(metres);
    }
    bool pinging = false;
    if (attributes.FindValue(Pinging).Get(pinging)) {
        m_pinging->setChecked(pinging);
    }
}

void SounderView::Request(AttributeKey const& key, CVordalType const& value)
{
    CAttributeMap tree;
    tree.Add(requestBranch)->Add(key, value, 0);
    DataManager::GetDataManager().SetAttributeMap(m_device, tree, requestFlags, false);
}

} // namespace sounder
