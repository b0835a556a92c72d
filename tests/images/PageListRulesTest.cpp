#include "images/PageListRules.h"

#include <gtest/gtest.h>

#include <QImage>

TEST(PageListRules, MovingOneEntryDownLandsBeforeTheDestination)
{
    // Dragging entry 0 to destination 3 in [0 1 2 3 4] puts it before the old entry 3.
    EXPECT_EQ(listMoveOrder(5, {0}, 3), (std::vector<int>{1, 2, 0, 3, 4}));
}

TEST(PageListRules, MovingOneEntryUp)
{
    EXPECT_EQ(listMoveOrder(5, {4}, 1), (std::vector<int>{0, 4, 1, 2, 3}));
}

TEST(PageListRules, MovingToTheEnd)
{
    EXPECT_EQ(listMoveOrder(4, {1}, 4), (std::vector<int>{0, 2, 3, 1}));
}

TEST(PageListRules, MovingSeveralEntriesKeepsTheirOrder)
{
    EXPECT_EQ(listMoveOrder(6, {0, 2, 5}, 4), (std::vector<int>{1, 3, 0, 2, 5, 4}));
    EXPECT_EQ(listMoveOrder(6, {3, 4}, 0), (std::vector<int>{3, 4, 0, 1, 2, 5}));
}

TEST(PageListRules, MovingOntoItselfChangesNothing)
{
    EXPECT_EQ(listMoveOrder(3, {1}, 1), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(listMoveOrder(3, {1}, 2), (std::vector<int>{0, 1, 2}));
}

TEST(PageListRules, OffsetsOutsideTheListAreIgnoredAndDestinationClamped)
{
    EXPECT_EQ(listMoveOrder(3, {7, -1}, 0), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(listMoveOrder(3, {0}, 99), (std::vector<int>{1, 2, 0}));
    EXPECT_EQ(listMoveOrder(0, {0}, 0), (std::vector<int>{}));
}

TEST(PageListRules, ReorderedListFollowsTheOrder)
{
    const std::vector<char> list{'a', 'b', 'c'};
    EXPECT_EQ(reorderedList(list, listMoveOrder(3, {2}, 0)), (std::vector<char>{'c', 'a', 'b'}));
}

TEST(PageListRules, RemovingTheSelectedEntryClearsTheSelection)
{
    EXPECT_EQ(selectionAfterRemoval(2, 2), std::nullopt);
}

TEST(PageListRules, RemovingAnEntryBeforeTheSelectionShiftsItDown)
{
    EXPECT_EQ(selectionAfterRemoval(3, 1), std::optional<int>(2));
    EXPECT_EQ(selectionAfterRemoval(1, 3), std::optional<int>(1));
    EXPECT_EQ(selectionAfterRemoval(std::nullopt, 0), std::nullopt);
}

TEST(PageListRules, MultiSelectionAfterRemovingAMember)
{
    EXPECT_EQ(selectionsAfterRemoval({1, 3, 5}, 3), (std::set<int>{1, 4}));
    EXPECT_EQ(selectionsAfterRemoval({1, 3, 5}, 0), (std::set<int>{0, 2, 4}));
    EXPECT_EQ(selectionsAfterRemoval({1, 3, 5}, 6), (std::set<int>{1, 3, 5}));
}

TEST(PageListRules, MultiSelectionFollowsItsPagesToTheirNewPlaces)
{
    const std::vector<QUuid> before{QUuid::createUuid(), QUuid::createUuid(), QUuid::createUuid(),
                                    QUuid::createUuid()};
    // Moved: page 0 goes to the end.
    const std::vector<QUuid> moved{before[1], before[2], before[3], before[0]};
    EXPECT_EQ(selectionsFollowingPages({0, 2}, before, moved), (std::set<int>{1, 3}));
    // Removed: page 1 goes, the pages after it move up, its own member is dropped.
    const std::vector<QUuid> removed{before[0], before[2], before[3]};
    EXPECT_EQ(selectionsFollowingPages({1, 3}, before, removed), (std::set<int>{2}));
    // Members that named no page are dropped.
    EXPECT_EQ(selectionsFollowingPages({-1, 2, 4, 9}, before, before), (std::set<int>{2}));
    EXPECT_TRUE(selectionsFollowingPages({0, 1}, before, {}).empty());
}

TEST(PageListRules, OrientationIsMeasuredInPoints)
{
    QImage tall(100, 200, QImage::Format_RGB32);
    QImage wide(200, 100, QImage::Format_RGB32);
    QImage square(150, 150, QImage::Format_RGB32);
    EXPECT_EQ(pageOrientation(tall), PageOrientation::portrait);
    EXPECT_EQ(pageOrientation(wide), PageOrientation::landscape);
    EXPECT_EQ(pageOrientation(square), PageOrientation::square);
    square.setDevicePixelRatio(2.0);
    EXPECT_EQ(pageOrientation(square), PageOrientation::square);
}

namespace {

std::function<bool(int)> allExcept(std::set<int> missing)
{
    return [missing](int index) { return !missing.contains(index); };
}

} // namespace

TEST(PageListRules, FivePagesInPairsMakeThreeEntries)
{
    const std::vector<PdfPageGroup> groups = pairedPdfPageGroups(5, allExcept({}));
    EXPECT_EQ(groups, (std::vector<PdfPageGroup>{{0, 1}, {2, 3}, {4, std::nullopt}}));
}

TEST(PageListRules, OnePageInPairsIsASingleEntry)
{
    EXPECT_EQ(pairedPdfPageGroups(1, allExcept({})), (std::vector<PdfPageGroup>{{0, std::nullopt}}));
}

TEST(PageListRules, NoPagesMakeNoEntries)
{
    EXPECT_TRUE(pairedPdfPageGroups(0, allExcept({})).empty());
    EXPECT_TRUE(singlePdfPageGroups(0, allExcept({})).empty());
}

TEST(PageListRules, MissingPageShiftsThePairingByOne)
{
    // Page index 2 cannot be supplied: 0-1, then 2 is skipped, 3-4, and 5 stands alone.
    EXPECT_EQ(pairedPdfPageGroups(6, allExcept({2})),
              (std::vector<PdfPageGroup>{{0, 1}, {3, 4}, {5, std::nullopt}}));
    // Page index 1 missing: 0 alone, then 2-3.
    EXPECT_EQ(pairedPdfPageGroups(4, allExcept({1})), (std::vector<PdfPageGroup>{{0, std::nullopt}, {2, 3}}));
}

TEST(PageListRules, SinglePagesSkipMissingPagesKeepingTheirNumbers)
{
    EXPECT_EQ(singlePdfPageGroups(4, allExcept({1})),
              (std::vector<PdfPageGroup>{{0, std::nullopt}, {2, std::nullopt}, {3, std::nullopt}}));
}
