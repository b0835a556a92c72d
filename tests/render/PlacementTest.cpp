#include "render/Placement.h"

#include <gtest/gtest.h>

namespace {

const QSizeF kLandscape(1920, 1080);
const QSizeF kPortrait(1080, 1920);

Placement placement(int x, int y, int width, int height)
{
    return Placement{x, y, width, height};
}

} // namespace

TEST(Placement, ImageWithTheCanvasAspectRatioFillsTheCanvas)
{
    EXPECT_EQ(computePlacement(QSizeF(1920, 1080), kLandscape), placement(0, 0, 1920, 1080));
    EXPECT_EQ(computePlacement(QSizeF(3840, 2160), kLandscape), placement(0, 0, 1920, 1080));
    EXPECT_EQ(computePlacement(QSizeF(540, 960), kPortrait), placement(0, 0, 1080, 1920));
}

TEST(Placement, SmallSquareImageIsEnlargedToTouchTheCanvas)
{
    EXPECT_EQ(computePlacement(QSizeF(100, 100), kLandscape), placement(420, 0, 1080, 1080));
}

TEST(Placement, PortraitPageOnLandscapeCanvasIsCentredHorizontally)
{
    // scale 1080 / 1754 = 0.6157..., width 763.5... rounds up to 764, x = 578.
    EXPECT_EQ(computePlacement(QSizeF(1240, 1754), kLandscape), placement(578, 0, 764, 1080));
}

TEST(Placement, LandscapePageOnPortraitCanvasRoundsItsHeightUp)
{
    // scale 1080 / 3508, height 763.51... rounds up to 764, y = 578.
    EXPECT_EQ(computePlacement(QSizeF(3508, 2480), kPortrait), placement(0, 578, 1080, 764));
}

TEST(Placement, OddRemainderGivesAHalfOffsetThatRoundsUp)
{
    // A 763 x 1080 image keeps its size; (1920 - 763) / 2 = 578.5 rounds away from zero.
    EXPECT_EQ(computePlacement(QSizeF(763, 1080), kLandscape), placement(579, 0, 763, 1080));
    EXPECT_EQ(computePlacement(QSizeF(1920, 1079), kLandscape), placement(0, 1, 1920, 1079));
}

TEST(Placement, SizeHalfIsRoundedAwayFromZero)
{
    // scale = 1080 / 2160 = 0.5: a 1001-point wide image is 500.5 wide and becomes 501;
    // the offset (1920 - 501) / 2 = 709.5 becomes 710.
    EXPECT_EQ(computePlacement(QSizeF(1001, 2160), kLandscape), placement(710, 0, 501, 1080));
}

TEST(Placement, ExplicitCanvasIsUsedAsGiven)
{
    EXPECT_EQ(computePlacement(QSizeF(100, 50), QSizeF(400, 400)), placement(0, 100, 400, 200));
}

TEST(PlacementDeathTest, EmptyImageStopsTheProgram)
{
    EXPECT_DEATH(computePlacement(QSizeF(0, 0), kLandscape),
                 "Double value cannot be converted to Int because it is either infinite or NaN");
}
