// Absorption, sound speed and pressure against what the papers print. The numbers are theirs, typed in by hand.
#include <simulator/acoustics/water.h>

#include "refusal.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

/// Francois and Garrison 1982, Part II, Table IV: absorption at the surface, pH 8.
struct PrintedAbsorption
{
    double kilohertz;
    double temperature;
    double salinity;
    double absorption; // dB/km
    double lastDigit;
};
constexpr std::array<PrintedAbsorption, 21> TableIv{{
    {0.4, 10.0, 30.0, 0.015, 0.001}, {2.0, 10.0, 35.0, 0.123, 0.001}, {10.0, 30.0, 35.0, 0.606, 0.001},
    {10.0, -1.8, 35.0, 1.36, 0.01},  {14.0, 20.0, 35.0, 1.29, 0.01},  {20.0, -1.8, 35.0, 4.40, 0.01},
    {20.0, 10.0, 35.0, 3.35, 0.01},  {40.0, 4.0, 35.0, 11.5, 0.1},    {50.0, 20.0, 35.0, 13.0, 0.1},
    {60.0, -1.8, 30.0, 13.6, 0.1},   {80.0, 16.0, 35.0, 28.6, 0.1},   {100.0, 0.0, 30.0, 21.0, 0.1},
    {100.0, 10.0, 35.0, 33.6, 0.1},  {140.0, 25.0, 35.0, 58.4, 0.1},  {200.0, 0.0, 35.0, 40.6, 0.1},
    {200.0, 30.0, 30.0, 79.3, 0.1},  {300.0, 10.0, 35.0, 73.1, 0.1},  {500.0, 10.0, 35.0, 125.0, 1.0},
    {700.0, 4.0, 35.0, 228.0, 1.0},  {1000.0, 0.0, 30.0, 513.0, 1.0}, {1000.0, 30.0, 35.0, 344.0, 1.0},
}};

TEST(WaterAbsorption, OfFrancoisAndGarrisonIsThatOfTheirTable)
{
    double worst = 0.0;
    for (PrintedAbsorption const& printed : TableIv) {
        auto const absorption = AbsorptionFrancoisGarrison(
            printed.kilohertz * 1000.0, {.temperature = printed.temperature, .salinity = printed.salinity});
        ASSERT_TRUE(absorption) << absorption.WhyNot().line;
        // Half of the last printed digit: the table's own rounding.
        EXPECT_NEAR(*absorption, printed.absorption, 0.5 * printed.lastDigit)
            << printed.kilohertz << " kHz, " << printed.temperature << " C, " << printed.salinity << " PSU";
        worst = std::max(worst, std::abs(*absorption - printed.absorption) / printed.lastDigit);
    }
    RecordProperty("worst_deviation_in_last_digits", std::to_string(worst));
}

TEST(WaterAbsorption, OfFrancoisAndGarrisonTakesItsTwoBranchesOfPureWaterWhereTheyBelong)
{
    // At 1 MHz a unit of 1e-4 dB/km/kHz^2 of pure water is 100 dB/km. The paper's two polynomials: at 20 C they
    // give 2.201 and 2.200 of it; at 30 C 1.446 and 1.3955.
    double const at20 = *AbsorptionFrancoisGarrison(1e6, {.temperature = 20.0});
    double const above20 = *AbsorptionFrancoisGarrison(1e6, {.temperature = 20.0 + 1e-9});
    EXPECT_NEAR(at20 - above20, 0.1, 1e-4);
    EXPECT_NEAR(*AbsorptionFrancoisGarrison(1e6, {.temperature = 30.0}), 344.0, 0.5);
}

TEST(WaterAbsorption, OfFrancoisAndGarrisonFallsWithDepthAsThePaperHasIt)
{
    // 300 kHz, 10 C, 35 PSU, pH 8 at 1,000 m, worked out term by term from the paper's equations:
    // c = 1412 + 32.1 + 41.65 + 16.7 = 1502.45;
    // boric acid: A1 = 8.86 / 1502.45 x 10^1.24 = 0.102479, f1 = 2.8 x 10^(4 - 1245/283) = 1.11652 kHz, 0.114417 dB/km;
    // magnesium sulphate: A2 = 21.44 x 35 / 1502.45 x 1.25 = 0.624314, P2 = 1 - 0.137 + 0.0062 = 0.8692,
    // f2 = 8.17 x 10^(8 - 1990/283) = 75.9311 kHz, A2 f2 f^2 / (f2^2 + f^2) = 44.5509, 38.7236 dB/km;
    // pure water: A3 = 3.108e-4, P3 = 1 - 0.0383 + 0.00049 = 0.96219, 26.9144 dB/km.
    EXPECT_NEAR(*AbsorptionFrancoisGarrison(300e3, {.temperature = 10.0, .depth = 1000.0}), 65.7524, 0.0001);
}

TEST(WaterAbsorption, OfAinslieAndMcColmIsWhatIsPrintedOfIt)
{
    // Ainslie, "Principles of Sonar Performance Modelling" (2010), section 3.2.3.8: 0.0086 dB/km at 300 Hz, 10 C, 35
    // PSU, surface, pH 8.
    EXPECT_NEAR(*AbsorptionAinslieMcColm(300.0, {}), 0.0086, 0.00005);
    // 100 kHz, 10 C, 35 PSU, 1,000 m, pH 8, from the formula by hand: boric acid 0.106 x 0.78 e^(10/26) = 0.12146, less
    // what 100 kHz leaves of it: 0.12145; magnesium sulphate f2 = 42 e^(10/17) = 75.6339 kHz, 0.52 (1 + 10/43) e^(-1/6)
    // = 0.542536, times f2 f^2 / (f2^2 + f^2) = 48.1117: 26.1023; pure water 0.00049 e^-(10/27 + 1/17) x 10^4
    // = 3.19007.
    EXPECT_NEAR(*AbsorptionAinslieMcColm(100e3, {.depth = 1000.0}), 29.4138, 0.0001);
}

TEST(WaterAbsorption, OfBothModelsDiffersByATenthAtMost)
{
    // The paper of 1998 says so of these waters, 100 Hz to 1 MHz; the older formula begins at 200 Hz.
    Water const waters[]{{.temperature = 4.0, .salinity = 34.0, .depth = 1000.0, .ph = 7.7}, // Pacific
                         {.temperature = 22.0, .salinity = 40.0, .depth = 200.0, .ph = 8.2}, // Red Sea
                         {.temperature = -1.5, .salinity = 30.0, .depth = 0.0, .ph = 8.2},   // Arctic
                         {.temperature = 4.0, .salinity = 8.0, .depth = 0.0, .ph = 7.9}};    // Baltic
    for (Water const& water : waters) {
        for (double frequency = 200.0; frequency <= 1e6; frequency *= 1.05) {
            double const older = *Absorption(AbsorptionModel::FrancoisGarrison, frequency, water);
            double const newer = *Absorption(AbsorptionModel::AinslieMcColm, frequency, water);
            EXPECT_NEAR(newer / older, 1.0, 0.1) << frequency << " Hz, " << water.temperature << " C";
        }
    }
}

TEST(WaterAbsorption, RefusesWhatItsFormulasDoNotHoldFor)
{
    for (auto const model : {AbsorptionModel::FrancoisGarrison, AbsorptionModel::AinslieMcColm}) {
        auto const refuses = [&](double frequency, Water const& water, char const* quantity) {
            test::ExpectRefused(Absorption(model, frequency, water), quantity);
        };
        refuses(0.0, {}, "frequency");
        refuses(-300e3, {}, "frequency");
        refuses(1.1e6, {}, "frequency");
        refuses(300e3, {.temperature = 36.0}, "temperature");
        refuses(300e3, {.salinity = -1.0}, "salinity");
        refuses(300e3, {.depth = -1.0}, "depth");
        refuses(300e3, {.ph = 5.0}, "pH");
        for (double const bad : test::NotFinite) {
            refuses(bad, {}, "frequency");
            refuses(300e3, {.temperature = bad}, "temperature");
            refuses(300e3, {.salinity = bad}, "salinity");
            refuses(300e3, {.depth = bad}, "depth");
            refuses(300e3, {.ph = bad}, "pH");
        }
    }
    EXPECT_EQ(AbsorptionFrancoisGarrison(300e3, {.temperature = 34.5}).WhyNot().line,
              "temperature 34.5 C lies outside of -2 to 30 C, where absorption by Francois and Garrison holds");
    EXPECT_TRUE(AbsorptionFrancoisGarrison(300e3, {.salinity = 0.0})) << "a lake";
}

/// UNESCO Technical Papers in Marine Science 44, p. 50: sound speed in m/s for 0, 10, 20, 30 and 40 C (IPTS-68), a row
/// for each 1,000 dbar from 0 to 10,000.
using SoundSpeeds = std::array<std::array<double, 5>, 11>;
constexpr SoundSpeeds Of25Psu{{{1435.8, 1477.7, 1510.3, 1535.2, 1553.4},
                               {1452.0, 1494.1, 1527.0, 1552.1, 1570.6},
                               {1468.6, 1510.7, 1543.6, 1569.0, 1587.6},
                               {1485.6, 1527.5, 1560.3, 1585.7, 1604.5},
                               {1502.8, 1544.3, 1576.9, 1602.4, 1621.3},
                               {1520.4, 1561.3, 1593.6, 1619.0, 1638.0},
                               {1538.1, 1578.4, 1610.3, 1635.5, 1654.6},
                               {1556.0, 1595.6, 1626.9, 1651.9, 1671.0},
                               {1574.1, 1612.8, 1643.5, 1668.2, 1687.2},
                               {1592.2, 1630.1, 1660.2, 1684.5, 1703.3},
                               {1610.4, 1647.4, 1676.8, 1700.6, 1719.2}}};
constexpr SoundSpeeds Of30Psu{{{1442.5, 1483.7, 1515.9, 1540.4, 1558.3},
                               {1458.8, 1500.2, 1532.5, 1557.3, 1575.4},
                               {1475.4, 1516.8, 1549.2, 1574.1, 1592.3},
                               {1492.4, 1533.6, 1565.8, 1590.8, 1609.2},
                               {1509.7, 1550.4, 1582.4, 1607.4, 1626.0},
                               {1527.2, 1567.4, 1599.1, 1624.0, 1642.7},
                               {1544.9, 1584.4, 1615.7, 1640.4, 1659.2},
                               {1562.7, 1601.5, 1632.3, 1656.8, 1675.6},
                               {1580.7, 1618.7, 1648.9, 1673.1, 1691.8},
                               {1598.8, 1636.0, 1665.5, 1689.3, 1707.8},
                               {1616.8, 1653.3, 1682.1, 1705.4, 1723.5}}};
constexpr SoundSpeeds Of35Psu{{{1449.1, 1489.8, 1521.5, 1545.6, 1563.2},
                               {1465.5, 1506.3, 1538.1, 1562.4, 1580.2},
                               {1482.3, 1523.0, 1554.7, 1579.2, 1597.1},
                               {1499.3, 1539.7, 1571.3, 1595.9, 1613.9},
                               {1516.5, 1556.5, 1587.9, 1612.5, 1630.7},
                               {1534.0, 1573.4, 1604.5, 1629.0, 1647.3},
                               {1551.6, 1590.4, 1621.0, 1645.4, 1663.8},
                               {1569.4, 1607.5, 1637.6, 1661.7, 1680.1},
                               {1587.2, 1624.6, 1654.1, 1677.9, 1696.2},
                               {1605.2, 1641.8, 1670.6, 1694.0, 1712.2},
                               {1623.2, 1659.0, 1687.2, 1710.1, 1727.8}}};
constexpr SoundSpeeds Of40Psu{{{1455.8, 1495.9, 1527.1, 1550.8, 1568.1},
                               {1472.3, 1512.5, 1543.7, 1567.6, 1585.0},
                               {1489.1, 1529.1, 1560.3, 1584.3, 1601.8},
                               {1506.1, 1545.8, 1576.8, 1600.9, 1618.6},
                               {1523.3, 1562.5, 1593.3, 1617.5, 1635.3},
                               {1540.7, 1579.4, 1609.8, 1633.9, 1651.9},
                               {1558.2, 1596.3, 1626.3, 1650.2, 1668.3},
                               {1575.9, 1613.3, 1642.8, 1666.5, 1684.6},
                               {1593.7, 1630.3, 1659.2, 1682.6, 1700.6},
                               {1611.5, 1647.4, 1675.7, 1698.7, 1716.4},
                               {1629.3, 1664.6, 1692.2, 1714.6, 1732.0}}};

TEST(SoundSpeed, OfChenAndMilleroIsThatOfTheUnescoTable)
{
    // The check value of p. 48.
    EXPECT_NEAR(*SoundSpeedChenMillero(40.0, 40.0, 10000.0), 1731.995, 0.0005);
    std::pair<double, SoundSpeeds const*> const tables[]{
        {25.0, &Of25Psu}, {30.0, &Of30Psu}, {35.0, &Of35Psu}, {40.0, &Of40Psu}};
    double worst = 0.0;
    for (auto const& [salinity, table] : tables) {
        for (std::size_t row = 0; row < table->size(); ++row) {
            for (std::size_t column = 0; column < 5; ++column) {
                double const pressure = 1000.0 * static_cast<double>(row);
                double const temperature = 10.0 * static_cast<double>(column);
                double const speed = *SoundSpeedChenMillero(temperature, salinity, pressure);
                EXPECT_NEAR(speed, (*table)[row][column], 0.05)
                    << salinity << " PSU, " << temperature << " C, " << pressure << " dbar";
                worst = std::max(worst, std::abs(speed - (*table)[row][column]));
            }
        }
    }
    RecordProperty("worst_deviation_m_per_s", std::to_string(worst));
}

TEST(SoundSpeed, OfMackenzieIsItsCheckValue)
{
    EXPECT_NEAR(*SoundSpeedMackenzie(25.0, 35.0, 1000.0), 1550.744, 0.0005);
    // 10 C, 30 PSU, surface, by hand: 1448.96 + 45.91 - 5.304 + 0.2374 - 6.70 + 0.5125.
    EXPECT_NEAR(*SoundSpeedMackenzie(10.0, 30.0, 0.0), 1483.6159, 1e-9);
}

TEST(SoundSpeed, OfSeaWaterAgreesBetweenBothFormulas)
{
    // Chen and Millero's is known to be high in cold and deep water, by half a metre per second and more (Millero and
    // Li 1994); Mackenzie's was fitted to other measurements.
    for (double const depth : {0.0, 100.0, 1000.0, 4000.0}) {
        double const byPressure = *SoundSpeedChenMillero(5.0, 35.0, *PressureOfDepth(depth));
        EXPECT_NEAR(*SoundSpeedMackenzie(5.0, 35.0, depth), byPressure, depth > 1000.0 ? 0.8 : 0.5) << depth;
    }
}

TEST(SoundSpeed, OfWaterIsMackenziesWhereThatHolds)
{
    EXPECT_EQ(*SoundSpeed(Water{.temperature = 25.0, .salinity = 35.0, .depth = 1000.0}),
              *SoundSpeedMackenzie(25.0, 35.0, 1000.0));
    // A lake at 0 C: the first coefficient of the other one.
    EXPECT_NEAR(*SoundSpeed(Water{.temperature = 0.0, .salinity = 0.0, .depth = 0.0}), 1402.388, 1e-9);
    test::ExpectRefused(SoundSpeed(Water{.temperature = -1.0, .salinity = 0.0}), "temperature");
    test::ExpectRefused(SoundSpeed(Water{.depth = 20000.0}), "depth");
}

TEST(SoundSpeed, IsRefusedWhereItsFormulasDoNotHold)
{
    test::ExpectRefused(SoundSpeedMackenzie(31.0, 35.0, 0.0), "temperature");
    test::ExpectRefused(SoundSpeedMackenzie(10.0, 24.0, 0.0), "salinity");
    test::ExpectRefused(SoundSpeedMackenzie(10.0, 35.0, 8001.0), "depth");
    test::ExpectRefused(SoundSpeedChenMillero(41.0, 35.0, 0.0), "temperature");
    test::ExpectRefused(SoundSpeedChenMillero(10.0, 41.0, 0.0), "salinity");
    test::ExpectRefused(SoundSpeedChenMillero(10.0, 35.0, -0.1), "pressure");
    for (double const bad : test::NotFinite) {
        test::ExpectRefused(SoundSpeedMackenzie(bad, 35.0, 0.0), "temperature");
        test::ExpectRefused(SoundSpeedMackenzie(10.0, bad, 0.0), "salinity");
        test::ExpectRefused(SoundSpeedMackenzie(10.0, 35.0, bad), "depth");
        test::ExpectRefused(SoundSpeedChenMillero(bad, 35.0, 0.0), "temperature");
        test::ExpectRefused(SoundSpeedChenMillero(10.0, bad, 0.0), "salinity");
        test::ExpectRefused(SoundSpeedChenMillero(10.0, 35.0, bad), "pressure");
        test::ExpectRefused(PressureOfDepth(bad), "depth");
        test::ExpectRefused(PressureOfDepth(10.0, bad), "latitude");
        test::ExpectRefused(DepthOfPressure(bad), "pressure");
    }
}

TEST(Pressure, AndDepthAreThoseOfUnesco)
{
    // The check value of UNESCO 44.
    EXPECT_NEAR(*DepthOfPressure(10000.0, 30.0), 9712.653, 0.0005);
    for (double const depth : {0.0, 1.0, 30.0, 1000.0, 11000.0}) {
        for (double const latitude : {-90.0, 0.0, 45.0}) {
            EXPECT_NEAR(*DepthOfPressure(*PressureOfDepth(depth, latitude), latitude), depth, 1e-9);
        }
    }
}

} // namespace
} // namespace qx5::acoustics
