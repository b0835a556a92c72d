// Reordering the page list by dragging a thumbnail over the others. The list is rearranged
// live, as the pointer enters each cell, by the editor's moveImageDuringDrag: no frame-store
// update and no autosave, which only the finished edits of the page list request. Main thread;
// made by a cell for each drag event.
#pragma once

#include "model/ImageItem.h"

#include <QUuid>

#include <optional>

class VideoEditorViewModel;

class ImageDropDelegate {
public:
    ImageDropDelegate(ImageItem item, VideoEditorViewModel& viewModel, std::optional<QUuid>& draggedItem);

    // The pointer entered this cell: moves the dragged entry to this cell's position.
    void dropEntered();
    // Always a move.
    Qt::DropAction dropUpdated() const { return Qt::MoveAction; }
    // The drag ended on a cell: forgets the dragged entry and reports success.
    bool performDrop();

private:
    ImageItem m_item;
    VideoEditorViewModel& m_viewModel;
    std::optional<QUuid>& m_draggedItem;
};
