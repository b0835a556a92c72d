#include "ui/ImageDropDelegate.h"

#include "editor/VideoEditorViewModel.h"

#include <algorithm>

ImageDropDelegate::ImageDropDelegate(ImageItem item, VideoEditorViewModel& viewModel,
                                     std::optional<QUuid>& draggedItem)
    : m_item(std::move(item))
    , m_viewModel(viewModel)
    , m_draggedItem(draggedItem)
{}

void ImageDropDelegate::dropEntered()
{
    if (!m_draggedItem || *m_draggedItem == m_item.id())
        return;
    std::vector<ImageItem> images = m_viewModel.images();
    const auto byId = [&](const QUuid& id) {
        return std::find_if(images.begin(), images.end(),
                            [&](const ImageItem& entry) { return entry.id() == id; });
    };
    const auto from = byId(*m_draggedItem);
    const auto to = byId(m_item.id());
    if (from == images.end() || to == images.end() || from == to)
        return;
    // Moving one entry before position to + 1 (downwards) or to (upwards) leaves it at `to`.
    if (from < to)
        std::rotate(from, from + 1, to + 1);
    else
        std::rotate(to, from, from + 1);
    m_viewModel.setImages(std::move(images));
}

bool ImageDropDelegate::performDrop()
{
    m_draggedItem.reset();
    return true;
}
