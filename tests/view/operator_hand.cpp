// The view's real controls under an operator's mouse, wheel and keys, with a host that tells what was asked for.
#include "operator_hand.h"

#include "json/json_parser.h"
#include "json/json_path.h"
#include "json/tree_json.h"

#include <QStyle>
#include <QStyleOptionSlider>
#include <QWheelEvent>

#include <stdexcept>

namespace qx5::test {

namespace {

CAttributeMap Tree(Json const& tree)
{
    return ReadTree(ParseJson(tree.dump()).Root(), JsonPath());
}

} // namespace

Scrolls::Scrolls(QSlider& slider)
{
    // The slider's class is the plug-in's own: its signal is known by its text alone.
    int const signal = slider.metaObject()->indexOfSignal("Scrolled(qx5::ScrollKind,int)");
    EXPECT_GE(signal, 0);
    EXPECT_TRUE(QMetaObject::connect(&slider, signal, this, QObject::staticMetaObject.methodCount()));
}

int Scrolls::qt_metacall(QMetaObject::Call call, int method, void** arguments)
{
    int const own = QObject::qt_metacall(call, method, arguments);
    if (call == QMetaObject::InvokeMetaMethod && own == 0) {
        kinds.push_back(*static_cast<int const*>(arguments[1]));
    }
    return own - 1;
}

void Requests::OnHostSet(CDataId const&, CAttributeMap const& tree, unsigned)
{
    std::string text;
    for (CAttributeMap const& value : tree.Find(L"Request")) {
        CString const key = value.GetKey();
        for (wchar_t const letter : key.View()) {
            text += static_cast<char>(letter);
        }
        text += "=" + value.Value().ToText();
    }
    made.push_back(text);
}

OperatorHand::OperatorHand()
    : OperatorHand(With(With(SonarTree(), {"x5Range", "double", 100.0}), {"x5PulseLength", "double", 0.0001}))
{
}

OperatorHand::OperatorHand(Json const& tree)
{
    m_host.SetWindowThread({});
    m_host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    std::string reason;
    m_plugin = vordal::PlugIn::Load(QX5_PLUGIN_FILE, reason);
    if (m_plugin == nullptr) {
        throw std::runtime_error(reason);
    }
    m_plugin->RegisterDevices();
    m_plugin->RegisterViews();
    m_device =
        m_host.AddDevice(m_host.MakeDevice(L"QX5SonarConfigurationControlDevice"), CDataId(1, 78, 1, 1), L"Sonar");
    m_host.ReplaceAttributes(*m_device, Tree(tree));
    m_host.SetObserver(&requests);
    view = std::make_unique<ShownView>();
}

OperatorHand::~OperatorHand()
{
    view.reset();
    m_host.SetObserver(nullptr);
    m_host.RemoveAllDevices();
    m_plugin.reset();
    m_host.EndWindowThread();
}

QRect OperatorHand::Handle(QSlider& slider)
{
    QStyleOptionSlider option;
    option.initFrom(&slider);
    option.orientation = Qt::Horizontal;
    option.minimum = slider.minimum();
    option.maximum = slider.maximum();
    option.sliderPosition = slider.sliderPosition();
    option.sliderValue = slider.value();
    return slider.style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider);
}

bool OperatorHand::TurnBy(QWidget& widget, QPoint const& angle)
{
    QPointF const at = widget.rect().center();
    QWheelEvent event(at, widget.mapToGlobal(at), QPoint(), angle, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                      false);
    QCoreApplication::sendEvent(&widget, &event);
    return event.isAccepted();
}

QSlider& OperatorHand::InUse(int id)
{
    auto& slider = view->Slider("settings", id);
    slider.activateWindow();
    slider.setFocus();
    EXPECT_TRUE(RunUntil([&] { return slider.hasFocus(); }));
    return slider;
}

void OperatorHand::SonarSays(Json const& tree)
{
    m_host.MergeDecoded(*m_device, Tree(tree));
}

void OperatorHand::SonarIs(Json const& tree)
{
    m_host.ReplaceAttributes(*m_device, CAttributeMap());
    SonarSays(tree);
}

} // namespace qx5::test
