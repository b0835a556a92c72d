#include "ui/ImageDropDelegate.h"

#include "editor/VideoEditorViewModel.h"

ImageDropDelegate::ImageDropDelegate(ImageItem item, VideoEditorViewModel& viewModel,
                                     std::optional<QUuid>& draggedItem)
    : m_item(std::move(item))
    , m_viewModel(viewModel)
    , m_draggedItem(draggedItem)
{}

void ImageDropDelegate::dropEntered()
{
    if (m_draggedItem)
        m_viewModel.moveImageDuringDrag(*m_draggedItem, m_item.id());
}

bool ImageDropDelegate::performDrop()
{
    m_draggedItem.reset();
    return true;
}
