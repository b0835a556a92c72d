#include "editor/PageList.h"

#include "images/PageListRules.h"

#include <algorithm>
#include <iterator>

namespace {

std::vector<QUuid> pageIds(const std::vector<ImageItem>& pages)
{
    std::vector<QUuid> ids;
    ids.reserve(pages.size());
    for (const ImageItem& page : pages)
        ids.push_back(page.id());
    return ids;
}

} // namespace

bool PageList::contains(int index) const
{
    return index >= 0 && static_cast<size_t>(index) < m_pages.size();
}

std::optional<int> PageList::indexOf(const QUuid& id) const
{
    const auto found = std::find_if(m_pages.begin(), m_pages.end(),
                                    [&](const ImageItem& page) { return page.id() == id; });
    if (found == m_pages.end())
        return std::nullopt;
    return static_cast<int>(found - m_pages.begin());
}

std::vector<int> PageList::selectedPagesInListOrder() const
{
    // The set is ordered, so its members come in list order already.
    std::vector<int> members;
    for (int index : m_selectedIndices) {
        if (contains(index))
            members.push_back(index);
    }
    return members;
}

PageList::Changes PageList::setPages(std::vector<ImageItem> pages)
{
    Changes changes;
    changes.pages = true;
    if (!m_selectedIndices.empty()) {
        std::set<int> followed =
                selectionsFollowingPages(m_selectedIndices, pageIds(m_pages), pageIds(pages));
        if (followed != m_selectedIndices) {
            m_selectedIndices = std::move(followed);
            changes.selectedIndices = true;
        }
    }
    m_pages = std::move(pages);
    return changes;
}

PageList::Changes PageList::append(std::vector<ImageItem> pages)
{
    std::vector<ImageItem> longer = m_pages;
    longer.reserve(longer.size() + pages.size());
    std::move(pages.begin(), pages.end(), std::back_inserter(longer));
    return setPages(std::move(longer));
}

PageList::Changes PageList::removeAt(int index)
{
    if (!contains(index))
        return {};
    std::vector<ImageItem> shorter = m_pages;
    shorter.erase(shorter.begin() + index);
    Changes changes = setPages(std::move(shorter));
    const std::optional<int> selection = selectionAfterRemoval(m_selectedIndex, index);
    if (selection != m_selectedIndex) {
        m_selectedIndex = selection;
        changes.selectedIndex = true;
    }
    return changes;
}

PageList::Changes PageList::removeWithOrientation(PageOrientation orientation)
{
    std::vector<ImageItem> kept;
    for (const ImageItem& page : m_pages) {
        if (pageOrientation(page.image()) != orientation)
            kept.push_back(page);
    }
    return setPages(std::move(kept));
}

PageList::Changes PageList::move(const std::set<int>& offsets, int destination)
{
    const std::vector<int> order = listMoveOrder(static_cast<int>(m_pages.size()), offsets, destination);
    return setPages(reorderedList(m_pages, order));
}

PageList::Changes PageList::moveOnto(const QUuid& dragged, const QUuid& target)
{
    const std::optional<int> from = indexOf(dragged);
    const std::optional<int> to = indexOf(target);
    if (!from || !to || *from == *to)
        return {};
    // The destination counts positions before the dragged page is taken out: moving down it
    // goes before the page after the target, moving up before the target itself.
    const int destination = *from < *to ? *to + 1 : *to;
    return move({*from}, destination);
}

PageList::Changes PageList::replaceWithOne(const std::vector<int>& members, ImageItem joined)
{
    if (members.empty())
        return {};
    std::vector<ImageItem> pages = m_pages;
    for (auto it = members.rbegin(); it != members.rend(); ++it)
        pages.erase(pages.begin() + *it);
    const int position = std::min(members.front(), static_cast<int>(pages.size()));
    pages.insert(pages.begin() + position, std::move(joined));
    return setPages(std::move(pages));
}
