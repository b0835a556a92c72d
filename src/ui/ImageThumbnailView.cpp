#include "ui/ImageThumbnailView.h"

#include "editor/VideoEditorViewModel.h"
#include "images/PagePointSize.h"
#include "support/Log.h"
#include "ui/DeleteButton.h"
#include "ui/ImageDropDelegate.h"
#include "ui/SidebarIcons.h"

#include <QApplication>
#include <QDrag>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <cmath>

namespace {

constexpr int kIconSize = 14;

} // namespace

ImageThumbnailView::ImageThumbnailView(ImageItem item, int index, VideoEditorViewModel& viewModel,
                                       double maxWidth, bool isSelected, bool isMultiSelected,
                                       std::optional<QUuid>& draggedItem, QWidget* parent)
    : QWidget(parent)
    , m_item(std::move(item))
    , m_index(index)
    , m_viewModel(viewModel)
    , m_maxWidth(maxWidth)
    , m_isSelected(isSelected)
    , m_isMultiSelected(isMultiSelected)
    , m_draggedItem(draggedItem)
{
    setObjectName(QStringLiteral("thumbnail"));
    setAcceptDrops(true);

    m_picture = new QLabel(this);
    m_picture->setObjectName(QStringLiteral("thumbnailPicture"));
    m_picture->setAlignment(Qt::AlignCenter);

    m_pageLabel = new QLabel(this);
    m_pageLabel->setObjectName(QStringLiteral("pageLabel"));
    m_checkmark = new QLabel(this);
    m_checkmark->setObjectName(QStringLiteral("checkmark"));
    m_checkmark->setPixmap(sidebarIcon(QStringLiteral("checkmark")).pixmap(16, 16));
    m_deleteButton = new DeleteButton([this] { deleteEntry(); }, this);
    m_deleteButton->setIconSize(QSize(kIconSize - 4, kIconSize - 4));

    auto* pageIcon = new QLabel(this);
    pageIcon->setObjectName(QStringLiteral("pageIcon"));
    pageIcon->setPixmap(sidebarIcon(QStringLiteral("doc-text")).pixmap(kIconSize, kIconSize));

    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    row->addWidget(pageIcon);
    row->addWidget(m_pageLabel);
    row->addStretch(1);
    row->addWidget(m_checkmark);
    row->addWidget(m_deleteButton);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(6, 6, 6, 6);
    column->setSpacing(4);
    column->addWidget(m_picture);
    column->addLayout(row);

    setContent(m_item, index, maxWidth, isSelected, isMultiSelected);
}

void ImageThumbnailView::setContent(const ImageItem& item, int index, double maxWidth, bool isSelected,
                                    bool isMultiSelected)
{
    m_item = item;
    m_index = index;
    m_maxWidth = maxWidth;
    m_isSelected = isSelected;
    m_isMultiSelected = isMultiSelected;

    const bool hasNumber = m_item.pageNumber.has_value();
    m_pageLabel->setText(hasNumber ? QStringLiteral("Oldal ") + QString::number(*m_item.pageNumber)
                                   : QString());
    m_pageLabel->setVisible(hasNumber);
    if (auto* icon = findChild<QLabel*>(QStringLiteral("pageIcon")))
        icon->setVisible(hasNumber);
    m_checkmark->setVisible(m_isMultiSelected);
    refreshPicture();
    update();
}

void ImageThumbnailView::refreshPicture()
{
    const int width = std::max(1, static_cast<int>(std::lround(m_maxWidth)));
    if (m_pictureId == m_item.id() && m_pictureWidth == width)
        return;
    // The aspect comes from the size in points, so a PDF page at two pixels per point looks
    // the same as a picture file of the same shape.
    const QSizeF points = pagePointSize(m_item.image());
    QPixmap pixmap;
    if (!points.isEmpty()) {
        const int height =
                std::max(1, static_cast<int>(std::lround(width * points.height() / points.width())));
        const qreal ratio = devicePixelRatioF();
        pixmap = QPixmap::fromImage(m_item.image().scaled(QSize(width, height) * ratio, Qt::IgnoreAspectRatio,
                                                          Qt::SmoothTransformation));
        pixmap.setDevicePixelRatio(ratio);
    }
    m_picture->setPixmap(pixmap);
    m_picture->setFixedSize(pixmap.isNull() ? QSize(width, width) : pixmap.deviceIndependentSize().toSize());
    m_pictureId = m_item.id();
    m_pictureWidth = width;
}

void ImageThumbnailView::handleClick(bool commandHeld)
{
    if (commandHeld) {
        std::set<int> indices = m_viewModel.selectedImageIndices();
        if (!indices.erase(m_index))
            indices.insert(m_index);
        m_viewModel.setSelectedImageIndices(std::move(indices));
        return;
    }
    if (!m_viewModel.selectedImageIndices().empty())
        m_viewModel.setSelectedImageIndices({});
    m_viewModel.setSelectedImageIndex(m_index);
    // During recording the clicked page is recorded from the playhead on.
    if (m_viewModel.isRecording())
        m_viewModel.switchRecordingToPage(m_index);
}

void ImageThumbnailView::deleteEntry()
{
    logLine(QStringLiteral("[DELETE] Törlés: ") + QString::number(m_index));
    m_viewModel.removeImage(m_index);
}

void ImageThumbnailView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(1, 1, -1, -1);
    const QColor accent = palette().color(QPalette::Highlight);
    if (m_isSelected || m_isMultiSelected) {
        QColor fill = accent;
        fill.setAlphaF(0.15f);
        painter.setBrush(fill);
        painter.setPen(QPen(accent, 2));
    } else {
        painter.setBrush(palette().color(QPalette::Base));
        painter.setPen(QPen(palette().color(QPalette::Mid), 1));
    }
    painter.drawRoundedRect(area, 6, 6);
}

void ImageThumbnailView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        m_pressPosition = event->position().toPoint();
        m_dragged = false;
    }
    QWidget::mousePressEvent(event);
}

void ImageThumbnailView::mouseMoveEvent(QMouseEvent* event)
{
    if (m_pressPosition && (event->buttons() & Qt::LeftButton) &&
        (event->position().toPoint() - *m_pressPosition).manhattanLength() >=
                QApplication::startDragDistance()) {
        m_pressPosition.reset();
        m_dragged = true;
        startDrag();
        return;
    }
    QWidget::mouseMoveEvent(event);
}

void ImageThumbnailView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && m_pressPosition && !m_dragged &&
        rect().contains(event->position().toPoint()))
        handleClick(event->modifiers().testFlag(Qt::ControlModifier));
    m_pressPosition.reset();
    QWidget::mouseReleaseEvent(event);
}

void ImageThumbnailView::startDrag()
{
    m_draggedItem = m_item.id();
    auto* drag = new QDrag(this);
    auto* mime = new QMimeData;
    mime->setText(m_item.id().toString(QUuid::WithoutBraces));
    drag->setMimeData(mime);
    if (const QPixmap picture = m_picture->pixmap(); !picture.isNull())
        drag->setPixmap(picture.scaledToWidth(std::min(120, picture.width())));
    // The drag runs its own event loop; the sidebar's state is reached without this cell,
    // which the list may have reused or dropped in the meantime.
    std::optional<QUuid>& draggedItem = m_draggedItem;
    drag->exec(Qt::MoveAction);
    // A drag that ended outside every cell leaves nothing behind either.
    draggedItem.reset();
}

void ImageThumbnailView::dragEnterEvent(QDragEnterEvent* event)
{
    // Only the reorder drags of the thumbnails; files go to the sidebar itself.
    if (!event->mimeData()->hasText() || event->mimeData()->hasUrls()) {
        event->ignore();
        return;
    }
    ImageDropDelegate(m_item, m_viewModel, m_draggedItem).dropEntered();
    event->acceptProposedAction();
}

void ImageThumbnailView::dragMoveEvent(QDragMoveEvent* event)
{
    if (!event->mimeData()->hasText() || event->mimeData()->hasUrls()) {
        event->ignore();
        return;
    }
    event->setDropAction(ImageDropDelegate(m_item, m_viewModel, m_draggedItem).dropUpdated());
    event->accept();
}

void ImageThumbnailView::dropEvent(QDropEvent* event)
{
    if (!event->mimeData()->hasText() || event->mimeData()->hasUrls()) {
        event->ignore();
        return;
    }
    if (ImageDropDelegate(m_item, m_viewModel, m_draggedItem).performDrop()) {
        event->setDropAction(Qt::MoveAction);
        event->accept();
    }
}
