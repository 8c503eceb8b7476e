// The budget of an echo in the window: the terms for the settings as they stand, and what is missing for them.
#include "cli/window/budget_pane.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/all.h>

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

namespace keys = protocol::keys;

class BudgetInTheWindow : public ::testing::Test
{
protected:
    BudgetInTheWindow()
    {
        Set(keys::x5Power, 200.0);
        Set(keys::x5Range, 50.0);
        Set(keys::x5CenterFrequency, 200e3);
        Set(keys::x5PulseLength, 1e-4);
        Set(keys::x5BeamWidthX, 2.0);
        pane.Show(tree);
    }
    void Set(protocol::Key const& key, double value)
    {
        AttributeKey const text(key.text);
        tree.Remove(text);
        tree.Add(text, CVordalDouble(value), 0);
    }
    QString Text(char const* name) const
    {
        auto const* const label = pane.findChild<QLabel*>(QString::fromLatin1(name));
        return label != nullptr ? label->text() : QStringLiteral("there is no such label");
    }

    CAttributeMap tree;
    cli::BudgetPane pane;
};

TEST_F(BudgetInTheWindow, TellsTheTermsForTheSettingsAsTheyStand)
{
    EXPECT_EQ(Text("source_level"), "200.0 dB re 1 uPa at 1 m");
    EXPECT_EQ(Text("spreading_loss"), "68.0 dB"); // 40 log 50 = 67.96
    // The pulse's: 0.0349 rad x 50 m x 1490 m/s x 0.1 ms / (2 cos 45) = 0.184 m^2; the beam's would be 2.15.
    EXPECT_EQ(Text("area"), "0.18 m^2");
    EXPECT_EQ(Text("bottom_strength"), "-25.0 dB for 1 m^2"); // sand at 45 degrees: -22 - 3.01
    Set(keys::x5Range, 100.0);
    Set(keys::x5Power, 210.0);
    pane.Show(tree);
    EXPECT_EQ(Text("source_level"), "210.0 dB re 1 uPa at 1 m");
    EXPECT_EQ(Text("spreading_loss"), "80.0 dB");
    pane.findChild<QDoubleSpinBox*>("budgetGrazing")->setValue(30.0);
    EXPECT_EQ(Text("bottom_strength"), "-28.0 dB for 1 m^2"); // -22 - 6.02
    pane.findChild<QComboBox*>("budgetBottom")->setCurrentText("mud");
    EXPECT_EQ(Text("bottom_strength"), "-36.0 dB for 1 m^2"); // -30 - 6.02
}

TEST_F(BudgetInTheWindow, ALouderPulseIsHeardFurther)
{
    auto const metres = [&] { return Text("budgetGreatestRange").chopped(2).toDouble(); };
    double const before = metres();
    EXPECT_GT(before, 50.0);
    Set(keys::x5Power, 220.0);
    pane.Show(tree);
    EXPECT_GT(metres(), before * 1.2);
}

TEST_F(BudgetInTheWindow, SaysWhatIsMissing)
{
    tree.Remove(AttributeKey(keys::x5PulseLength.text));
    pane.Show(tree);
    EXPECT_EQ(Text("snr"), "not known");
    EXPECT_EQ(Text("budgetGreatestRange"), "not known");
    EXPECT_EQ(Text("budgetProblem"), "The sonar has not told its settings.");
    Set(keys::x5PulseLength, 0.0);
    pane.Show(tree);
    EXPECT_EQ(Text("snr"), "not known");
    EXPECT_TRUE(Text("budgetProblem").contains("pulse length")) << Text("budgetProblem").toStdString();
}

TEST_F(BudgetInTheWindow, NoElementIsNameless)
{
    for (auto const* const box : pane.findChildren<QDoubleSpinBox*>()) {
        EXPECT_FALSE(box->accessibleName().isEmpty()) << box->objectName().toStdString();
    }
    EXPECT_EQ(pane.findChild<QComboBox*>("budgetBottom")->accessibleName(), "Bottom");
}

} // namespace
} // namespace qx5::test
