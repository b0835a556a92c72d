// One cell of the page sidebar: the page picture, its "Oldal" label, the multi-selection
// checkmark and the "Törlés" button. It handles the click rules (Ctrl toggles the
// multi-selection, a plain click selects, during recording it switches the recorded page),
// starts a reorder drag and takes part in one through ImageDropDelegate.
// Main thread; owned by the sidebar, which reassigns its content as the list changes.
#pragma once

#include "model/ImageItem.h"

#include <QPixmap>
#include <QPoint>
#include <QUuid>
#include <QWidget>

#include <optional>

class DeleteButton;
class QLabel;
class VideoEditorViewModel;

class ImageThumbnailView : public QWidget {
    Q_OBJECT

public:
    ImageThumbnailView(ImageItem item, int index, VideoEditorViewModel& viewModel, double maxWidth,
                       bool isSelected, bool isMultiSelected, std::optional<QUuid>& draggedItem,
                       QWidget* parent = nullptr);

    // Shows another entry (or the same one at another position or size) in this cell.
    void setContent(const ImageItem& item, int index, double maxWidth, bool isSelected, bool isMultiSelected);

    const ImageItem& item() const { return m_item; }
    int index() const { return m_index; }
    bool isSelected() const { return m_isSelected; }
    bool isMultiSelected() const { return m_isMultiSelected; }

    // What a click on the cell does; `commandHeld` is the Ctrl key.
    void handleClick(bool commandHeld);
    // The delete button's action: logs the index and removes the entry.
    void deleteEntry();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void startDrag();
    void refreshPicture();

    ImageItem m_item;
    int m_index;
    VideoEditorViewModel& m_viewModel;
    double m_maxWidth;
    bool m_isSelected;
    bool m_isMultiSelected;
    std::optional<QUuid>& m_draggedItem;

    QLabel* m_picture;
    QLabel* m_pageLabel;
    QLabel* m_checkmark;
    DeleteButton* m_deleteButton;
    // The scaled picture is kept for the entry and width it was made for.
    QUuid m_pictureId;
    int m_pictureWidth = 0;
    std::optional<QPoint> m_pressPosition;
    bool m_dragged = false;
};
