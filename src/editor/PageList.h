// The page list and its two selections: the pages in list order, the single selection (the
// page the sidebar highlights and a recording starts from) and the multi-selection (the pages
// picked for a merge). Main thread only. Owned by value by the editor, which announces every
// change an operation reports; knows nothing of the editor or the frame store.
#pragma once

#include "model/ImageItem.h"

#include <QUuid>

#include <cstddef>
#include <optional>
#include <set>
#include <vector>

// See images/PageListRules.h; only its name is needed here.
enum class PageOrientation;

class PageList {
public:
    // What an edit changed, for the owner to announce in this order: the pages, then the
    // multi-selection, then the single selection.
    struct Changes {
        bool pages = false;
        bool selectedIndices = false;
        bool selectedIndex = false;

        bool operator==(const Changes&) const = default;
    };

    const std::vector<ImageItem>& pages() const { return m_pages; }
    size_t size() const { return m_pages.size(); }
    bool empty() const { return m_pages.empty(); }
    // True when `index` names a page of the list.
    bool contains(int index) const;
    // The page at `index`, which must name one.
    const ImageItem& at(int index) const { return m_pages[static_cast<size_t>(index)]; }
    // Where the page with this identity stands; none when it is not in the list.
    std::optional<int> indexOf(const QUuid& id) const;

    std::optional<int> selectedIndex() const { return m_selectedIndex; }
    const std::set<int>& selectedIndices() const { return m_selectedIndices; }
    // The members of the multi-selection that name a page, in list order (not the order in
    // which they were picked).
    std::vector<int> selectedPagesInListOrder() const;

    // Both selections are taken as given, even an index that names no page: a selection that
    // no longer fits is dealt with where it is used.
    void select(std::optional<int> index) { m_selectedIndex = index; }
    void setSelectedIndices(std::set<int> indices) { m_selectedIndices = std::move(indices); }

    // Every edit below replaces the pages and carries the multi-selection along: each member
    // follows its page to where it stands now, members whose page is gone (or that named no
    // page) are dropped. The single selection stays as it is unless the edit says otherwise.

    // Replaces the whole list.
    Changes setPages(std::vector<ImageItem> pages);
    // Adds pages at the end.
    Changes append(std::vector<ImageItem> pages);
    // Takes out the page at `index`. The single selection is cleared when it was that page and
    // moves down by one when it was after it. An index that names no page changes nothing.
    Changes removeAt(int index);
    // Takes out every page of that orientation (measured in points).
    Changes removeWithOrientation(PageOrientation orientation);
    // Moves the pages at `offsets` before the page at `destination` (counted before they are
    // taken out), the way a drag in a list does; see listMoveOrder.
    Changes move(const std::set<int>& offsets, int destination);
    // Moves the page `dragged` to where the page `target` stands: down, it lands after the
    // target; up, before it. Changes nothing when either is missing or both are the same.
    Changes moveOnto(const QUuid& dragged, const QUuid& target);
    // Replaces the pages at `members` (list positions in ascending order, each naming a page)
    // with `joined`, which stands where the first of them stood. No members change nothing.
    Changes replaceWithOne(const std::vector<int>& members, ImageItem joined);

private:
    std::vector<ImageItem> m_pages;
    std::optional<int> m_selectedIndex;
    std::set<int> m_selectedIndices;
};
