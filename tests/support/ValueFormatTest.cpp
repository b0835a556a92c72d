#include "support/ValueFormat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(ValueFormat, WholeNumbersKeepADecimalPoint)
{
    EXPECT_EQ(formatDouble(3.0), QStringLiteral("3.0"));
    EXPECT_EQ(formatDouble(0.0), QStringLiteral("0.0"));
    EXPECT_EQ(formatDouble(-2.0), QStringLiteral("-2.0"));
    EXPECT_EQ(formatDouble(100.0), QStringLiteral("100.0"));
    EXPECT_EQ(formatDouble(1e15), QStringLiteral("1000000000000000.0"));
}

TEST(ValueFormat, FractionsUseTheShortestRoundTripDigits)
{
    EXPECT_EQ(formatDouble(0.5), QStringLiteral("0.5"));
    EXPECT_EQ(formatDouble(10.01), QStringLiteral("10.01"));
    EXPECT_EQ(formatDouble(0.1 + 0.2), QStringLiteral("0.30000000000000004"));
    EXPECT_EQ(formatDouble(-0.05), QStringLiteral("-0.05"));
    EXPECT_EQ(formatDouble(0.0001), QStringLiteral("0.0001"));
    EXPECT_EQ(formatDouble(15.0 + 1.0 / 3.0), QStringLiteral("15.333333333333334"));
}

TEST(ValueFormat, VerySmallAndVeryLargeValuesUseAnExponent)
{
    EXPECT_EQ(formatDouble(1e-05), QStringLiteral("1e-05"));
    EXPECT_EQ(formatDouble(2.5e-07), QStringLiteral("2.5e-07"));
    EXPECT_EQ(formatDouble(1e16), QStringLiteral("1e+16"));
    EXPECT_EQ(formatDouble(1.5e300), QStringLiteral("1.5e+300"));
    EXPECT_EQ(formatDouble(-1e-05), QStringLiteral("-1e-05"));
}

TEST(ValueFormat, NonFiniteValuesHaveNames)
{
    EXPECT_EQ(formatDouble(std::numeric_limits<double>::infinity()), QStringLiteral("inf"));
    EXPECT_EQ(formatDouble(-std::numeric_limits<double>::infinity()), QStringLiteral("-inf"));
    EXPECT_EQ(formatDouble(std::nan("")), QStringLiteral("nan"));
}

TEST(ValueFormat, FormattedTextReadsBackAsTheSameDouble)
{
    for (double value : {1.0 / 3.0, 2.0 / 7.0, 123456.789, 9.87654321e-3, 6.02214076e23}) {
        EXPECT_EQ(formatDouble(value).toDouble(), value) << formatDouble(value).toStdString();
    }
}

TEST(ValueFormat, FixedDecimalsRoundLikePrintf)
{
    EXPECT_EQ(formatFixed(-3.04, 1), QStringLiteral("-3.0"));
    EXPECT_EQ(formatFixed(-20.0, 1), QStringLiteral("-20.0"));
    EXPECT_EQ(formatFixed(2.25, 2), QStringLiteral("2.25"));
}
