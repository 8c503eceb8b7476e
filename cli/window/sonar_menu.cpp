// The part of the window's Sonar menu that changes the list of sonars.
#include "sonar_menu.h"

#include "cli/window/shown_view.h"
#include "cli/window/sonar_form.h"
#include "cli/window/window_session.h"
#include "reference_host/window/device_panel.h"
#include "reference_host/window/main_window.h"

#include <QAction>
#include <QMenu>
#include <QMessageBox>

#include <utility>

namespace qx5::cli {

SonarMenu::SonarMenu(WindowSession& session, vordal::MainWindow& window, ShownView& view, QMenu& menu,
                     Question question)
    : m_session(session), m_window(window), m_view(view), m_question(std::move(question))
{
    if (!m_question) {
        m_question = [&window](QString const& text) {
            return QMessageBox::question(&window, QObject::tr("Remove the sonar"), text,
                                         QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
        };
    }
    menu.addSeparator();
    auto const add = [&](QString const& text, char const* name, auto act) {
        auto* const action = menu.addAction(text);
        action->setObjectName(QString::fromLatin1(name));
        QObject::connect(action, &QAction::triggered, action, [this, act] { (this->*act)(); });
        return action;
    };
    m_add = add(QObject::tr("&Add a sonar\u2026"), "addSonar", &SonarMenu::Add);
    m_change = add(QObject::tr("&Change the sonar\u2026"), "changeSonar", &SonarMenu::Change);
    m_remove = add(QObject::tr("&Remove the sonar\u2026"), "removeSonar", &SonarMenu::Remove);
    QObject::connect(&menu, &QMenu::aboutToShow, m_add, [this] { Enable(); });
    QObject::connect(&m_window.Devices(), &vordal::DevicePanel::MenuAsked, m_add, [this](QPoint const& place) {
        Enable();
        QMenu context;
        context.addActions({m_add, m_change, m_remove});
        context.exec(place);
    });
}

SonarMenu::~SonarMenu()
{
    // Their ends take what is connected to them along.
    delete m_add;
    delete m_change;
    delete m_remove;
}

void SonarMenu::Enable()
{
    // Other instruments are not entered here.
    bool const isSonar = IsSonar(m_window.ShownDevice()) && m_session.Find(m_window.ShownDevice()) != nullptr;
    m_change->setEnabled(isSonar);
    m_remove->setEnabled(isSonar);
}

void SonarMenu::Add()
{
    OpenForm(std::nullopt);
}

void SonarMenu::Change()
{
    if (auto const sonar = m_window.ShownDevice(); IsSonar(sonar) && m_session.Find(sonar) != nullptr) {
        OpenForm(sonar);
    }
}

void SonarMenu::OpenForm(std::optional<CDataId> const& sonar)
{
    SonarForm::Setup setup;
    setup.title = sonar ? QObject::tr("Change the sonar") : QObject::tr("Add a sonar");
    setup.accept = sonar ? QObject::tr("Change") : QObject::tr("Add");
    setup.around = [this, sonar] { return m_session.Around(sonar); };
    for (vordal::ListedVessel const& vessel : m_session.Listed()) {
        setup.vessels.push_back(vessel.name.toStdString());
        if (!sonar && vessel.number == m_session.ActiveVessel()) {
            setup.entry.vessel = setup.vessels.back();
        }
    }
    if (sonar) {
        setup.entry = m_session.EntryOf(*sonar);
    }
    setup.take = [this, sonar](SonarSetup const& taken) {
        std::string error;
        bool const isShown = sonar && m_window.ShownDevice() == *sonar;
        if (sonar && isShown && m_session.IsReplacedBy(*sonar, taken)) {
            m_view.Close();
        }
        auto const id = sonar ? m_session.ChangeSonar(*sonar, taken, error) : m_session.AddSonar(taken, error);
        ShowList(id && (!sonar || isShown) ? id : m_window.ShownDevice());
        return error;
    };
    auto* const form = new SonarForm(std::move(setup), &m_window);
    form->open();
}

void SonarMenu::ShowList(std::optional<CDataId> const& shown)
{
    auto const listed = m_session.Listed();
    m_window.SetVessels(listed);
    auto device = shown && m_session.Find(*shown) != nullptr ? shown : std::nullopt;
    for (auto const& vessel : listed) {
        for (auto const& each : vessel.devices) {
            device = device ? device : std::optional(each.id);
        }
    }
    if (!device) {
        m_window.SetShownDevice({});
        m_window.SetViewTitle({});
        m_window.ShowLine(QObject::tr("There is no sonar; the Sonar menu adds one."));
        return;
    }
    if (!(*device == m_window.ShownDevice()) || m_view.Frame().Shown() == nullptr) {
        Q_EMIT m_window.Devices().SonarChosen(*device);
    }
    m_view.Rename();
}

void SonarMenu::Remove()
{
    auto const sonar = m_window.ShownDevice();
    auto const* const device = m_session.Find(sonar);
    if (!IsSonar(sonar) || device == nullptr) {
        return;
    }
    auto const name = QString::fromStdString(m_session.EntryOf(sonar).name);
    QString text = QObject::tr("Remove %1? With it goes:").arg(name);
    for (auto const& line : m_session.LostWith(sonar)) {
        text += QStringLiteral("\n\u2022 ") + QString::fromStdString(line);
    }
    // It may have gone while the question stood.
    if (!m_question(text) || m_session.Find(sonar) == nullptr) {
        return;
    }
    if (m_window.ShownDevice() == sonar) {
        m_view.Close();
    }
    std::string error;
    if (!m_session.RemoveSonar(sonar, error)) {
        m_session.Tell(error);
    }
    ShowList(std::nullopt);
}

} // namespace qx5::cli
