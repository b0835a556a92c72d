#include "images/PageListRules.h"

#include "images/PagePointSize.h"

#include <QHash>

#include <algorithm>

std::vector<int> listMoveOrder(int count, const std::set<int>& offsets, int destination)
{
    const int target = std::clamp(destination, 0, std::max(count, 0));
    std::vector<int> before;
    std::vector<int> moved;
    std::vector<int> after;
    for (int index = 0; index < count; ++index) {
        if (offsets.contains(index))
            moved.push_back(index);
        else if (index < target)
            before.push_back(index);
        else
            after.push_back(index);
    }
    std::vector<int> order = std::move(before);
    order.insert(order.end(), moved.begin(), moved.end());
    order.insert(order.end(), after.begin(), after.end());
    return order;
}

std::optional<int> selectionAfterRemoval(std::optional<int> selection, int removed)
{
    if (!selection)
        return selection;
    if (*selection == removed)
        return std::nullopt;
    if (*selection > removed)
        return *selection - 1;
    return selection;
}

std::set<int> selectionsAfterRemoval(const std::set<int>& selection, int removed)
{
    std::set<int> result;
    for (int member : selection) {
        if (member < removed)
            result.insert(member);
        else if (member > removed)
            result.insert(member - 1);
    }
    return result;
}

std::set<int> selectionsFollowingPages(const std::set<int>& selection, const std::vector<QUuid>& before,
                                       const std::vector<QUuid>& after)
{
    QHash<QUuid, int> position;
    position.reserve(after.size());
    for (size_t index = 0; index < after.size(); ++index)
        position.insert(after[index], static_cast<int>(index));
    std::set<int> result;
    for (int member : selection) {
        if (member < 0 || static_cast<size_t>(member) >= before.size())
            continue;
        if (const auto found = position.constFind(before[static_cast<size_t>(member)]);
            found != position.cend())
            result.insert(found.value());
    }
    return result;
}

PageOrientation pageOrientation(const QImage& image)
{
    const QSizeF size = pagePointSize(image);
    if (size.width() < size.height())
        return PageOrientation::portrait;
    if (size.height() < size.width())
        return PageOrientation::landscape;
    return PageOrientation::square;
}

std::vector<PdfPageGroup> singlePdfPageGroups(int pageCount, const std::function<bool(int)>& pageAvailable)
{
    std::vector<PdfPageGroup> groups;
    for (int index = 0; index < pageCount; ++index) {
        if (pageAvailable(index))
            groups.push_back({index, std::nullopt});
    }
    return groups;
}

std::vector<PdfPageGroup> pairedPdfPageGroups(int pageCount, const std::function<bool(int)>& pageAvailable)
{
    std::vector<PdfPageGroup> groups;
    int index = 0;
    while (index < pageCount) {
        if (!pageAvailable(index)) {
            index += 1;
            continue;
        }
        if (index + 1 < pageCount && pageAvailable(index + 1)) {
            groups.push_back({index, index + 1});
            index += 2;
        } else {
            groups.push_back({index, std::nullopt});
            index += 1;
        }
    }
    return groups;
}
