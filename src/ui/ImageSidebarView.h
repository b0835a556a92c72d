// The left-hand panel of the window: the header with the add, merge, zoom and background
// controls, and the scrollable list of page thumbnails. It accepts image and PDF files
// dropped from a file manager. Observes the editor and calls its page-list operations;
// keeps only view state (drag hover, the thumbnail being dragged, the zoom). Main thread.
#pragma once

#include <QList>
#include <QUrl>
#include <QUuid>
#include <QWidget>

#include <optional>
#include <vector>

class Dialogs;
class ImageThumbnailView;
class QColorDialog;
class QLabel;
class QPushButton;
class QScrollArea;
class QToolButton;
class QVBoxLayout;
class VideoEditorViewModel;

class ImageSidebarView : public QWidget {
    Q_OBJECT

public:
    static constexpr double kBaseThumbnailWidth = 200.0;
    static constexpr double kMinThumbnailScale = 0.5;
    static constexpr double kMaxThumbnailScale = 1.5;
    static constexpr double kThumbnailScaleStep = 0.25;

    ImageSidebarView(VideoEditorViewModel& viewModel, Dialogs& dialogs, QWidget* parent = nullptr);

    // Opens the file chooser for images and PDFs and imports the chosen files in order.
    void selectImages();
    // Imports the dropped files (PDFs by their extension, everything else as pictures), each
    // on a later turn of the event loop; returns true at once.
    bool handleDrop(const QList<QUrl>& urls);
    // The background colour chosen with the "Háttér:" control: stored and given to every frame.
    void applyFillColor(const QColor& color);

    bool isDraggingOver() const { return m_isDraggingOver; }
    const std::optional<QUuid>& draggedItem() const { return m_draggedItem; }
    void setDraggedItem(std::optional<QUuid> id) { m_draggedItem = id; }
    double thumbnailScale() const { return m_thumbnailScale; }
    void setThumbnailScale(double scale);
    // The cells in list order.
    std::vector<ImageThumbnailView*> thumbnails() const { return m_cells; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void importFile(const QString& path);
    double thumbnailWidth() const;
    void revealSelectedThumbnail();
    void refreshCells();
    void refreshHeader();
    void setDraggingOver(bool over);

    VideoEditorViewModel& m_viewModel;
    Dialogs& m_dialogs;
    bool m_isDraggingOver = false;
    std::optional<QUuid> m_draggedItem;
    double m_thumbnailScale = 1.0;

    QPushButton* m_mergeButton;
    QToolButton* m_zoomOutButton;
    QToolButton* m_zoomInButton;
    QPushButton* m_fillColorButton;
    QColorDialog* m_colorDialog = nullptr;
    QScrollArea* m_scrollArea;
    QVBoxLayout* m_cellLayout;
    std::vector<ImageThumbnailView*> m_cells;
};
