#include "editor/PageList.h"
#include "images/PageListRules.h"

#include <gtest/gtest.h>

#include <QColor>

#include <algorithm>

namespace {

// Page i is a `width` x `height` picture from "/pages/<i>.png".
ImageItem page(int i, int width = 40, int height = 40)
{
    QImage picture(width, height, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::white);
    return ImageItem(QUuid::createUuid(), picture, QStringLiteral("/pages/%1.png").arg(i));
}

std::vector<ImageItem> pages(int count)
{
    std::vector<ImageItem> list;
    for (int i = 0; i < count; ++i)
        list.push_back(page(i));
    return list;
}

// The list's pages by their original number, read from their file names.
std::vector<int> order(const PageList& list)
{
    std::vector<int> numbers;
    for (const ImageItem& item : list.pages())
        numbers.push_back(item.url().section(QLatin1Char('/'), -1).section(QLatin1Char('.'), 0, 0).toInt());
    return numbers;
}

PageList listOf(int count)
{
    PageList list;
    list.setPages(pages(count));
    return list;
}

PageList::Changes changed(bool pages, bool selectedIndices = false, bool selectedIndex = false)
{
    return PageList::Changes{pages, selectedIndices, selectedIndex};
}

} // namespace

TEST(PageList, StartsEmptyWithNothingSelected)
{
    const PageList list;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.size(), 0u);
    EXPECT_FALSE(list.selectedIndex().has_value());
    EXPECT_TRUE(list.selectedIndices().empty());
    EXPECT_FALSE(list.contains(0));
}

TEST(PageList, SelectionsAreTakenAsGivenEvenBeyondTheList)
{
    PageList list = listOf(2);
    list.select(9);
    list.setSelectedIndices({1, 7});
    EXPECT_EQ(list.selectedIndex(), 9);
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{1, 7}));
    // Only the members that name a page take part in what uses them.
    EXPECT_EQ(list.selectedPagesInListOrder(), (std::vector<int>{1}));
}

TEST(PageList, ContainsAndIndexOfFindPagesByPositionAndIdentity)
{
    const PageList list = listOf(3);
    EXPECT_TRUE(list.contains(0));
    EXPECT_TRUE(list.contains(2));
    EXPECT_FALSE(list.contains(3));
    EXPECT_FALSE(list.contains(-1));
    EXPECT_EQ(list.indexOf(list.at(2).id()), 2);
    EXPECT_EQ(list.indexOf(list.at(0).id()), 0);
    EXPECT_FALSE(list.indexOf(QUuid::createUuid()).has_value());
}

TEST(PageList, SettingPagesCarriesTheMultiSelectionToItsPages)
{
    PageList list = listOf(4);
    list.select(1);
    list.setSelectedIndices({0, 1});
    std::vector<ImageItem> rotated = list.pages();
    std::rotate(rotated.begin(), rotated.begin() + 1, rotated.end());
    EXPECT_EQ(list.setPages(std::move(rotated)), changed(true, true));
    EXPECT_EQ(order(list), (std::vector<int>{1, 2, 3, 0}));
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{0, 3}));
    // The single selection is an index and stays one.
    EXPECT_EQ(list.selectedIndex(), 1);
}

TEST(PageList, SettingPagesDropsMembersWhosePageIsGoneOrThatNamedNone)
{
    PageList list = listOf(4);
    list.setSelectedIndices({1, 3, 8});
    std::vector<ImageItem> shorter = list.pages();
    shorter.pop_back();
    EXPECT_EQ(list.setPages(std::move(shorter)), changed(true, true));
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{1}));
}

TEST(PageList, SettingPagesThatKeepTheSelectedOnesInPlaceReportsOnlyThePages)
{
    PageList list = listOf(3);
    list.setSelectedIndices({0, 2});
    std::vector<ImageItem> same = list.pages();
    EXPECT_EQ(list.setPages(std::move(same)), changed(true));
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{0, 2}));
}

TEST(PageList, AppendingAddsAtTheEndAndLeavesTheSelectionsAlone)
{
    PageList list = listOf(2);
    list.select(1);
    list.setSelectedIndices({0, 1});
    EXPECT_EQ(list.append({page(7), page(8)}), changed(true));
    EXPECT_EQ(order(list), (std::vector<int>{0, 1, 7, 8}));
    EXPECT_EQ(list.selectedIndex(), 1);
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{0, 1}));
}

TEST(PageList, RemovingTheSelectedPageClearsTheSingleSelection)
{
    PageList list = listOf(4);
    list.select(2);
    EXPECT_EQ(list.removeAt(2), changed(true, false, true));
    EXPECT_EQ(order(list), (std::vector<int>{0, 1, 3}));
    EXPECT_FALSE(list.selectedIndex().has_value());
}

TEST(PageList, RemovingAPageBeforeTheSelectionShiftsItDownByOne)
{
    PageList list = listOf(4);
    list.select(2);
    EXPECT_EQ(list.removeAt(0), changed(true, false, true));
    EXPECT_EQ(list.selectedIndex(), 1);
    // A page after it leaves it where it is, and says so.
    EXPECT_EQ(list.removeAt(2), changed(true));
    EXPECT_EQ(list.selectedIndex(), 1);
    EXPECT_EQ(order(list), (std::vector<int>{1, 2}));
}

TEST(PageList, RemovingAnIndexThatNamesNoPageChangesNothing)
{
    PageList list = listOf(3);
    list.select(1);
    list.setSelectedIndices({0, 2});
    EXPECT_EQ(list.removeAt(3), changed(false));
    EXPECT_EQ(list.removeAt(-1), changed(false));
    EXPECT_EQ(order(list), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(list.selectedIndex(), 1);
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{0, 2}));
}

TEST(PageList, RemovingAPageTakesItOutOfTheMultiSelectionAndShiftsTheLaterMembers)
{
    PageList list = listOf(6);
    list.setSelectedIndices({1, 3, 5});
    EXPECT_EQ(list.removeAt(3), changed(true, true));
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{1, 4}));
}

TEST(PageList, RemovingByOrientationKeepsThePagesOfTheOtherShapes)
{
    PageList list;
    list.setPages({page(0, 30, 50), page(1, 50, 30), page(2, 40, 40), page(3, 20, 60)});
    list.setSelectedIndices({1, 3});
    EXPECT_EQ(list.removeWithOrientation(PageOrientation::portrait), changed(true, true));
    EXPECT_EQ(order(list), (std::vector<int>{1, 2}));
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{0}));
    EXPECT_EQ(list.removeWithOrientation(PageOrientation::landscape), changed(true, true));
    EXPECT_EQ(order(list), (std::vector<int>{2}));
    EXPECT_TRUE(list.selectedIndices().empty());
}

TEST(PageList, RemovingByOrientationMeasuresInPoints)
{
    // 60 x 100 pixels at two pixels per point is still narrower than tall; 100 x 60 at one
    // pixel per point is wider.
    QImage dense(60, 100, QImage::Format_ARGB32_Premultiplied);
    dense.fill(Qt::white);
    dense.setDevicePixelRatio(2.0);
    PageList list;
    list.setPages({ImageItem(QUuid::createUuid(), dense, QStringLiteral("/pages/0.png")), page(1, 100, 60)});
    list.removeWithOrientation(PageOrientation::portrait);
    EXPECT_EQ(order(list), (std::vector<int>{1}));
}

TEST(PageList, MovingByOffsetsLandsThePagesBeforeTheDestination)
{
    PageList list = listOf(5);
    list.select(1);
    list.setSelectedIndices({0, 3});
    EXPECT_EQ(list.move({0, 3}, 2), changed(true, true));
    EXPECT_EQ(order(list), (std::vector<int>{1, 0, 3, 2, 4}));
    // The single selection stays where it was; the multi-selection follows its pages.
    EXPECT_EQ(list.selectedIndex(), 1);
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{1, 2}));

    list.move({1}, 5);
    EXPECT_EQ(order(list), (std::vector<int>{1, 3, 2, 4, 0}));
}

TEST(PageList, MovingOntoAPageDownPutsItAfterTheTargetAndUpBeforeIt)
{
    PageList list = listOf(5);
    list.setSelectedIndices({0});
    const QUuid first = list.at(0).id();
    const QUuid fourth = list.at(3).id();
    const QUuid fifth = list.at(4).id();
    const QUuid second = list.at(1).id();
    EXPECT_EQ(list.moveOnto(first, fourth), changed(true, true));
    EXPECT_EQ(order(list), (std::vector<int>{1, 2, 3, 0, 4}));
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{3}));
    EXPECT_EQ(list.moveOnto(fifth, second), changed(true, true));
    EXPECT_EQ(order(list), (std::vector<int>{4, 1, 2, 3, 0}));
    EXPECT_EQ(list.selectedIndices(), (std::set<int>{4}));
}

TEST(PageList, MovingOntoItselfOrAMissingPageChangesNothing)
{
    PageList list = listOf(3);
    const QUuid first = list.at(0).id();
    EXPECT_EQ(list.moveOnto(first, first), changed(false));
    EXPECT_EQ(list.moveOnto(first, QUuid::createUuid()), changed(false));
    EXPECT_EQ(list.moveOnto(QUuid::createUuid(), first), changed(false));
    EXPECT_EQ(order(list), (std::vector<int>{0, 1, 2}));
}

TEST(PageList, ReplacingMembersWithOnePutsItWhereTheFirstStood)
{
    PageList list = listOf(6);
    list.select(5);
    list.setSelectedIndices({2, 4});
    EXPECT_EQ(list.replaceWithOne({2, 4}, page(9)), changed(true, true));
    EXPECT_EQ(order(list), (std::vector<int>{0, 1, 9, 3, 5}));
    // The joined pages are gone, so no member is left; the single selection is an index.
    EXPECT_TRUE(list.selectedIndices().empty());
    EXPECT_EQ(list.selectedIndex(), 5);
}

TEST(PageList, ReplacingTheLastPagesWithOneAppendsIt)
{
    PageList list = listOf(3);
    EXPECT_EQ(list.replaceWithOne({1, 2}, page(9)), changed(true));
    EXPECT_EQ(order(list), (std::vector<int>{0, 9}));
}

TEST(PageList, ReplacingNoMembersChangesNothing)
{
    PageList list = listOf(2);
    EXPECT_EQ(list.replaceWithOne({}, page(9)), changed(false));
    EXPECT_EQ(order(list), (std::vector<int>{0, 1}));
}

TEST(PageList, TheMultiSelectionIsUsedInListOrder)
{
    PageList list = listOf(5);
    list.setSelectedIndices({4, -1, 2, 5});
    EXPECT_EQ(list.selectedPagesInListOrder(), (std::vector<int>{2, 4}));
}
