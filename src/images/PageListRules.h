// The rules of page-list editing as pure functions on indices: where pages go when they are
// moved, how selections follow a removal, which pages are portrait or landscape, and which PDF
// pages make up each imported entry. Know nothing of the editor; any thread.
#pragma once

#include <QImage>
#include <QUuid>

#include <functional>
#include <optional>
#include <set>
#include <vector>

// The order after moving the entries at `offsets` to `destination` the way a drag in a list
// does: `destination` is a position counted before the removal (0...count), the moved entries
// keep their relative order and land before the entry that stood at `destination`. Returns the
// original indices in their new order. Offsets outside the list are ignored; the destination is
// clamped to the list.
std::vector<int> listMoveOrder(int count, const std::set<int>& offsets, int destination);

// Applies a move order to a list.
template <typename T>
std::vector<T> reorderedList(const std::vector<T>& list, const std::vector<int>& order)
{
    std::vector<T> result;
    result.reserve(order.size());
    for (int index : order)
        result.push_back(list[static_cast<size_t>(index)]);
    return result;
}

// The single selection after the entry at `removed` is gone: cleared when it was that entry,
// one lower when it was after it, otherwise unchanged.
std::optional<int> selectionAfterRemoval(std::optional<int> selection, int removed);

// The multi-selection after the entry at `removed` is gone: that member dropped, members after
// it one lower.
std::set<int> selectionsAfterRemoval(const std::set<int>& selection, int removed);

// The multi-selection after the list went from `before` to `after` (the pages' identities in
// list order): each member follows its page to where it is now; members whose page is gone,
// and members that named no page, are dropped.
std::set<int> selectionsFollowingPages(const std::set<int>& selection, const std::vector<QUuid>& before,
                                       const std::vector<QUuid>& after);

enum class PageOrientation { portrait, landscape, square };

// Compares the image's size in points: narrower than tall is portrait, wider is landscape.
PageOrientation pageOrientation(const QImage& image);

// One entry made from a PDF: a page alone, or a page and the one after it side by side.
// Indices are 0-based page indices.
struct PdfPageGroup {
    int firstPageIndex = 0;
    std::optional<int> secondPageIndex;

    bool operator==(const PdfPageGroup&) const = default;
};

// One entry per page the document can supply, in page order; unavailable pages are skipped.
std::vector<PdfPageGroup> singlePdfPageGroups(int pageCount, const std::function<bool(int)>& pageAvailable);

// Pairs of consecutive pages: a pair starts at the first page after the previous entry (1-2,
// 3-4, ...). A page whose next page is missing or past the end stands alone, and a missing page
// shifts the pairing by one from there on.
std::vector<PdfPageGroup> pairedPdfPageGroups(int pageCount, const std::function<bool(int)>& pageAvailable);
