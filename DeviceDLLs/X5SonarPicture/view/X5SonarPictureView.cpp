// The display around a picture: which sonar it shows, and its controls.
#include "X5SonarPictureView.h"

#include "picture/map_export.h"
#include "picture_widget.h"

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CDataInfo.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <VordalSubscriberR/NotificationInfo.h>
#include <VordalSubscriberR/Subscriber.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/VesselManager.h>

#include <QBuffer>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSaveFile>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

using picture::DecibelRange;
using picture::PaneKind;
using picture::PictureWidget;

namespace {

/// Second field of a sonar's id.
constexpr unsigned short sonarGroup = 78;
// What an operator has chosen, among the display's stored attributes.
constexpr AttributeKey storedColours{L"PICTURE_COLOURS"}; ///< text, as the list of colours has it
constexpr AttributeKey storedFollow{L"PICTURE_FOLLOW"};   ///< bool
constexpr AttributeKey storedLayer{L"PICTURE_LAYER"};     ///< text, as the map's list has it
constexpr AttributeKey storedLevels{L"PICTURE_LEVELS"};   ///< pair, dB, of the darkest and the lightest colour

/// Told in the whole stream, not in one item of it.
constexpr unsigned short wholeStream = 65535;

template <PaneKind kind>
class ViewOf final : public X5SonarPictureView
{
public:
    ViewOf() : X5SonarPictureView(kind) {}
};

template <PaneKind kind>
CRuntimeClass* ClassOf()
{
    static CRuntimeClass runtimeClass = MakeRuntimeClass<ViewOf<kind>>(picture::NameOf(kind));
    return &runtimeClass;
}

QString ToQt(std::string_view text)
{
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

CRuntimeClass* X5SonarPictureView::GetRuntimeClass(PaneKind kind)
{
    switch (kind) {
    case PaneKind::Fan:
        return ClassOf<PaneKind::Fan>();
    case PaneKind::Waterfall:
        return ClassOf<PaneKind::Waterfall>();
    case PaneKind::Profile:
        return ClassOf<PaneKind::Profile>();
    case PaneKind::Map:
        return ClassOf<PaneKind::Map>();
    case PaneKind::Beam:
        break;
    }
    return ClassOf<PaneKind::Beam>();
}

CString X5SonarPictureView::DisplayName(PaneKind kind)
{
    std::string_view const name = picture::NameOf(kind);
    return CString(std::wstring(name.begin(), name.end()));
}

X5SonarPictureView::X5SonarPictureView(PaneKind kind) : m_kind(kind), m_widget(std::make_unique<QWidget>())
{
    m_widget->setObjectName(QStringLiteral("sonarPicture"));
    MakeControls();
    using View = X5SonarPictureView;
    m_sonarSelection.SetSubscriber(new MemFunSubscriber<View>(this, &View::OnSelectedSonarChange), true);
    m_vesselSelection.SetSubscriber(new MemFunSubscriber<View>(this, &View::OnActiveVesselChange), true);
}

X5SonarPictureView::~X5SonarPictureView() = default;

QWidget* X5SonarPictureView::GetWidget()
{
    return m_widget.get();
}

void X5SonarPictureView::MakeControls()
{
    auto* const layout = new QVBoxLayout(m_widget.get());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto* const row = new QHBoxLayout;
    row->setContentsMargins(4, 2, 4, 0);
    m_picture = new PictureWidget(m_kind, m_widget.get());
    auto const addBox = [&](char const* name, QString const& text, bool isOn) {
        auto* const box = new QCheckBox(text);
        box->setObjectName(QString::fromLatin1(name));
        box->setChecked(isOn);
        row->addWidget(box);
        QObject::connect(box, &QCheckBox::toggled, box, [this] { TakeChoices(); });
        return box;
    };
    auto const addList = [&](char const* name, QString const& what) {
        auto* const list = new QComboBox;
        list->setObjectName(QString::fromLatin1(name));
        list->setAccessibleName(what);
        list->setFocusPolicy(Qt::StrongFocus); // a wheel that passes over it changes nothing
        row->addWidget(list);
        return list;
    };
    m_freeze = addBox("freeze", QStringLiteral("Freeze"), false);
    m_follow = addBox("follow", QStringLiteral("Follow"), true);
    m_colours = addList("colours", QStringLiteral("Colours"));
    for (picture::PaletteName const name : picture::allPalettes) {
        m_colours->addItem(ToQt(picture::TextOf(name)));
    }
    QObject::connect(m_colours, &QComboBox::currentIndexChanged, m_colours, [this] { TakeChoices(); });
    if (m_kind == PaneKind::Map) {
        m_layer = addList("layer", QStringLiteral("What the map shows"));
        m_layer->addItems({QStringLiteral("Depth"), QStringLiteral("Soundings"), QStringLiteral("Deviation")});
        QObject::connect(m_layer, &QComboBox::currentIndexChanged, m_layer, [this] { TakeChoices(); });
    } else {
        auto const addLevel = [&](char const* name, QString const& what) {
            auto* const level = new QSpinBox;
            level->setObjectName(QString::fromLatin1(name));
            level->setAccessibleName(what);
            level->setRange(-300, 400);
            level->setSuffix(QStringLiteral(" dB"));
            level->setFocusPolicy(Qt::StrongFocus);
            level->setKeyboardTracking(false);
            row->addWidget(level);
            QObject::connect(level, &QSpinBox::valueChanged, level, [this] {
                m_hasChosenLevels = true;
                TakeChoices();
            });
            return level;
        };
        m_from = addLevel("levelFrom", QStringLiteral("Level of the darkest colour"));
        m_to = addLevel("levelTo", QStringLiteral("Level of the lightest colour"));
        auto* const byEchoes = new QPushButton(QStringLiteral("Auto"));
        byEchoes->setObjectName(QStringLiteral("scaleByEchoes"));
        byEchoes->setAccessibleDescription(QStringLiteral("Takes the levels from what is heard now"));
        row->addWidget(byEchoes);
        QObject::connect(byEchoes, &QPushButton::clicked, byEchoes, [this] {
            m_hasChosenLevels = m_picture->ScaleByEchoes() || m_hasChosenLevels;
            StoreChoices();
        });
    }
    auto* const all = new QPushButton(QStringLiteral("Show all"));
    all->setObjectName(QStringLiteral("showAll"));
    row->addWidget(all);
    QObject::connect(all, &QPushButton::clicked, all, [this] { m_picture->ShowAll(); });
    if (m_kind == PaneKind::Map) {
        auto* const save = new QPushButton(QStringLiteral("Save..."));
        save->setObjectName(QStringLiteral("saveMap"));
        save->setAccessibleDescription(QStringLiteral("Writes the map as an ESRI grid or as a PNG"));
        row->addWidget(save);
        QObject::connect(save, &QPushButton::clicked, save, [this] { AskWhereToSave(); });
        m_saved = new QLabel;
        m_saved->setObjectName(QStringLiteral("mapSaved"));
        row->addWidget(m_saved, 1);
    }
    row->addStretch(1);
    layout->addLayout(row);
    layout->addWidget(m_picture, 1);
    m_picture->SetChoicesHandler([this] { ShowChoices(); });
    ShowChoices();
}

void X5SonarPictureView::AskWhereToSave()
{
    auto* const dialog = new QFileDialog(m_widget.get(), QStringLiteral("Save the map"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilters({QStringLiteral("ESRI grid (*.asc)"), QStringLiteral("Picture with a world file (*.png)")});
    dialog->setDefaultSuffix(QStringLiteral("asc"));
    QObject::connect(dialog, &QFileDialog::filterSelected, dialog, [dialog](QString const& filter) {
        dialog->setDefaultSuffix(filter.contains(QStringLiteral("png")) ? QStringLiteral("png")
                                                                        : QStringLiteral("asc"));
    });
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [this](QString const& file) {
        QString const problem = SaveMap(file);
        m_saved->setText(problem.isEmpty() ? QStringLiteral("Saved as %1").arg(QFileInfo(file).fileName()) : problem);
    });
    dialog->open();
}

QString X5SonarPictureView::SaveMap(QString const& file)
{
    auto* const grid = m_picture->Map();
    if (grid == nullptr) {
        return QStringLiteral("there is no sonar whose map could be saved");
    }
    if (auto const problem = picture::WhyNoExport(*grid); !problem.empty()) {
        return ToQt(problem);
    }
    auto const write = [](QString const& name, QByteArray const& bytes) {
        QSaveFile out(name); // in place of what is there once it is whole
        bool const isWritten = out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size() && out.commit();
        return isWritten ? QString() : QStringLiteral("%1: %2").arg(QFileInfo(name).fileName(), out.errorString());
    };
    if (file.endsWith(QStringLiteral(".asc"), Qt::CaseInsensitive)) {
        return write(file, QByteArray::fromStdString(picture::EsriGridOf(*grid)));
    }
    if (!file.endsWith(QStringLiteral(".png"), Qt::CaseInsensitive)) {
        return QStringLiteral("a map is saved under a name that ends in .asc or .png");
    }
    auto const extent = *grid->ExtentOfCells();
    QImage image(extent.columns, extent.rows, QImage::Format_ARGB32);
    if (image.isNull()) {
        return QStringLiteral("there is no memory for a picture of %1 by %2").arg(extent.columns).arg(extent.rows);
    }
    image.fill(Qt::transparent);
    picture::Canvas canvas(reinterpret_cast<picture::Colour*>(image.bits()), image.width(), image.height(),
                           image.bytesPerLine() / 4);
    picture::PaintCells(*grid, canvas, m_picture->Chosen().layer, m_picture->Chosen().palette);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG")) {
        return QStringLiteral("the picture cannot be made");
    }
    QString const problem = write(file, bytes);
    return !problem.isEmpty() ? problem
                              : write(file.chopped(4) + QStringLiteral(".pgw"),
                                      QByteArray::fromStdString(picture::WorldFileOf(*grid)));
}

void X5SonarPictureView::TakeChoices()
{
    auto choices = m_picture->Chosen();
    choices.isFrozen = m_freeze->isChecked();
    choices.follows = m_follow->isChecked();
    choices.palette = picture::allPalettes.at(static_cast<std::size_t>(std::max(0, m_colours->currentIndex())));
    if (m_layer != nullptr) {
        constexpr std::array layers{picture::MapLayer::Depth, picture::MapLayer::Count, picture::MapLayer::Deviation};
        choices.layer = layers.at(static_cast<std::size_t>(std::max(0, m_layer->currentIndex())));
    }
    if (m_from != nullptr) {
        // A scale without an extent would have no colours: the end that was not moved gives way.
        double const from = m_from->value();
        double const to = m_to->value();
        bool const isFromMoved = from != choices.scale.from;
        choices.scale = {!isFromMoved && to <= from ? to - 1.0 : from, isFromMoved && to <= from ? from + 1.0 : to};
    }
    m_picture->Choose(choices);
    ShowChoices();
    StoreChoices();
}

void X5SonarPictureView::StoreChoices()
{
    auto const& choices = m_picture->Chosen();
    auto& stored = m_baseView.GetAttributes();
    stored.FindCreate(storedColours).ReplaceValue(new CVordalText(m_colours->currentText().toStdWString()));
    stored.FindCreate(storedFollow).ReplaceValue(new CVordalBool(choices.follows));
    if (m_layer != nullptr) {
        stored.FindCreate(storedLayer).ReplaceValue(new CVordalText(m_layer->currentText().toStdWString()));
    }
    if (m_hasChosenLevels) {
        stored.FindCreate(storedLevels).ReplaceValue(new CVordalDouble2D(choices.scale.from, choices.scale.to));
    }
}

void X5SonarPictureView::RestoreChoices()
{
    auto const& stored = std::as_const(m_baseView.GetAttributes());
    auto const choose = [&](QComboBox& list, AttributeKey const& key) {
        CString text;
        if (stored.FindValue(key).Get(text)) {
            QSignalBlocker const quiet(list);
            // An entry that is not offered any more leaves the list as it is.
            list.setCurrentIndex(std::max(list.findText(QString::fromWCharArray(text.GetString())), 0));
        }
    };
    choose(*m_colours, storedColours);
    if (m_layer != nullptr) {
        choose(*m_layer, storedLayer);
    }
    if (bool follows = true; stored.FindValue(storedFollow).Get(follows)) {
        QSignalBlocker const quiet(m_follow);
        m_follow->setChecked(follows);
    }
    DecibelRange levels;
    if (m_from != nullptr && stored.FindValue(storedLevels).Get(levels.from, levels.to) && levels.from < levels.to) {
        auto choices = m_picture->Chosen();
        choices.scale = levels;
        m_picture->Choose(choices);
        m_hasChosenLevels = true;
        ShowChoices();
    }
    TakeChoices();
}

void X5SonarPictureView::ShowChoices()
{
    auto const& choices = m_picture->Chosen();
    QSignalBlocker const quietFreeze(m_freeze);
    m_freeze->setChecked(choices.isFrozen);
    if (m_from != nullptr) {
        QSignalBlocker const quietFrom(m_from);
        QSignalBlocker const quietTo(m_to);
        m_from->setValue(static_cast<int>(choices.scale.from));
        m_to->setValue(static_cast<int>(choices.scale.to));
    }
}

void X5SonarPictureView::OnInitialUpdate()
{
    CView::OnInitialUpdate();
    m_baseView.ConnectDisplayDoc(GetDocument(), 0);
    CDataInfo stored;
    if (m_baseView.GetAttributes().FindValue(ATTR_DATAID).Get(stored)) {
        SelectDevice(stored.GetDataId());
    }
    RestoreChoices();
    m_sonarSelection.Subscribe(GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE);
    m_vesselSelection.Subscribe(sel_change::ACTIVE_VESSEL);
}

void X5SonarPictureView::OnUpdate(CView*, int hint, void const* data)
{
    if (hint == HINT_SELECT_DEVICE && data != nullptr) {
        SelectDevice(*static_cast<CDataId const*>(data));
    }
}

void X5SonarPictureView::OnSelectedSonarChange(NotificationInfo const* info)
{
    if (auto const* const selected = dynamic_cast<DataId_NI const*>(info)) {
        // The host names the sonar by any of its streams.
        CDataId id = selected->GetDataId();
        id.SetGroupId(sonarGroup);
        SelectDevice(id);
        RenameDisplay(id);
    }
}

void X5SonarPictureView::OnActiveVesselChange(NotificationInfo const* info)
{
    auto const* const vessel = dynamic_cast<NFDataT<unsigned short> const*>(info);
    if (vessel == nullptr) {
        return;
    }
    CDataId const id(1, sonarGroup, 1, vessel->GetData());
    if (DataManager::GetDataManager().FindDevice(id) != nullptr) {
        SelectDevice(id);
        RenameDisplay(id);
    }
}

void X5SonarPictureView::SelectDevice(CDataId const& id)
{
    if (id == m_sonar) {
        return;
    }
    m_sonar = id;
    bool const isThere = DataManager::GetDataManager().FindDevice(id) != nullptr;
    m_picture->SetFeed(isThere ? picture::SonarFeed::Of(id) : nullptr);
    ShowChoices();
    auto& stored = m_baseView.GetAttributes();
    stored.FindCreate(ATTR_DATAID).ReplaceValue(new CVordalDataInfo(id, wholeStream, wholeStream));
}

void X5SonarPictureView::RenameDisplay(CDataId const& id)
{
    auto& data = DataManager::GetDataManager();
    auto const* const device = data.FindDevice(id);
    CString title = DisplayName(m_kind);
    if (device != nullptr) {
        title += L" - ";
        title += device->GetDeviceName();
        title += L" - ";
        title += data.GetVesselManager().GetVesselName(id.GetVessel());
    }
    GetDocument()->RenameDisplay(title);
}
