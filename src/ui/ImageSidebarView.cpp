#include "ui/ImageSidebarView.h"

#include "editor/VideoEditorViewModel.h"
#include "support/Dialogs.h"
#include "ui/DropHighlight.h"
#include "ui/ImageThumbnailView.h"
#include "ui/SidebarIcons.h"

#include <QColorDialog>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

bool carriesFiles(const QMimeData* mime)
{
    if (!mime->hasUrls())
        return false;
    const QList<QUrl> urls = mime->urls();
    return std::any_of(urls.begin(), urls.end(), [](const QUrl& url) { return url.isLocalFile(); });
}

QIcon colorSwatch(const QColor& color)
{
    QPixmap swatch(28, 16);
    swatch.fill(Qt::transparent);
    QPainter painter(&swatch);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::gray, 1));
    painter.setBrush(color);
    painter.drawRoundedRect(QRectF(0.5, 0.5, 27, 15), 3, 3);
    return QIcon(swatch);
}

std::vector<FileType> imageFileTypes()
{
    QStringList readable;
    for (const QByteArray& format : QImageReader::supportedImageFormats())
        readable << QString::fromLatin1(format).toLower();
    readable.removeDuplicates();
    // The first entry, the one the chooser opens with, shows pictures and PDF scores together.
    QStringList everything = readable;
    everything << QStringLiteral("pdf");
    everything.removeDuplicates();
    return {
            {QStringLiteral("Képek és PDF"), everything},
            {QStringLiteral("Kép"), readable},
            {QStringLiteral("PDF"), {QStringLiteral("pdf")}},
            {QStringLiteral("PNG"), {QStringLiteral("png")}},
            {QStringLiteral("JPEG"), {QStringLiteral("jpg"), QStringLiteral("jpeg")}},
    };
}

} // namespace

ImageSidebarView::ImageSidebarView(VideoEditorViewModel& viewModel, Dialogs& dialogs, QWidget* parent)
    : QWidget(parent)
    , m_viewModel(viewModel)
    , m_dialogs(dialogs)
{
    setObjectName(QStringLiteral("imageSidebar"));
    setAcceptDrops(true);

    auto* title = new QLabel(QStringLiteral("Képek"), this);
    title->setObjectName(QStringLiteral("sidebarTitle"));
    QFont titleFont = title->font();
    titleFont.setPixelSize(18);
    titleFont.setBold(true);
    title->setFont(titleFont);

    QFont zoomFont = font();
    zoomFont.setPixelSize(11);
    m_zoomOutButton = new QToolButton(this);
    m_zoomOutButton->setObjectName(QStringLiteral("zoomOutButton"));
    m_zoomOutButton->setIcon(sidebarIcon(QStringLiteral("minus-magnifyingglass")));
    m_zoomOutButton->setFont(zoomFont);
    m_zoomOutButton->setToolTip(QStringLiteral("Kisebb bélyegképek"));
    m_zoomInButton = new QToolButton(this);
    m_zoomInButton->setObjectName(QStringLiteral("zoomInButton"));
    m_zoomInButton->setIcon(sidebarIcon(QStringLiteral("plus-magnifyingglass")));
    m_zoomInButton->setFont(zoomFont);
    m_zoomInButton->setToolTip(QStringLiteral("Nagyobb bélyegképek"));
    connect(m_zoomOutButton, &QToolButton::clicked, this,
            [this] { setThumbnailScale(m_thumbnailScale - kThumbnailScaleStep); });
    connect(m_zoomInButton, &QToolButton::clicked, this,
            [this] { setThumbnailScale(m_thumbnailScale + kThumbnailScaleStep); });

    auto* header = new QHBoxLayout;
    header->addWidget(title);
    header->addStretch(1);
    header->addWidget(m_zoomOutButton);
    header->addWidget(m_zoomInButton);

    auto* addButton = new QPushButton(sidebarIcon(QStringLiteral("plus-circle-fill")),
                                      QStringLiteral("Képek/PDF hozzáadása"), this);
    addButton->setObjectName(QStringLiteral("addImagesButton"));
    connect(addButton, &QPushButton::clicked, this, &ImageSidebarView::selectImages);

    m_mergeButton = new QPushButton(sidebarIcon(QStringLiteral("rectangle-on-rectangle")), QString(), this);
    m_mergeButton->setObjectName(QStringLiteral("mergeButton"));
    connect(m_mergeButton, &QPushButton::clicked, &m_viewModel, &VideoEditorViewModel::mergeSelectedImages);

    auto* fillLabel = new QLabel(QStringLiteral("Háttér:"), this);
    fillLabel->setObjectName(QStringLiteral("fillColorLabel"));
    m_fillColorButton = new QPushButton(this);
    m_fillColorButton->setObjectName(QStringLiteral("fillColorButton"));
    m_fillColorButton->setIconSize(QSize(28, 16));
    connect(m_fillColorButton, &QPushButton::clicked, this, [this] {
        if (!m_colorDialog) {
            m_colorDialog = new QColorDialog(this);
            m_colorDialog->setObjectName(QStringLiteral("fillColorDialog"));
            connect(m_colorDialog, &QColorDialog::colorSelected, this, &ImageSidebarView::applyFillColor);
        }
        m_colorDialog->setCurrentColor(m_viewModel.fillColor());
        m_colorDialog->open();
    });
    auto* fillRow = new QHBoxLayout;
    fillRow->addWidget(fillLabel);
    fillRow->addWidget(m_fillColorButton);
    fillRow->addStretch(1);

    auto* cells = new QWidget;
    cells->setObjectName(QStringLiteral("thumbnailContainer"));
    m_cellLayout = new QVBoxLayout(cells);
    m_cellLayout->setContentsMargins(8, 8, 8, 8);
    m_cellLayout->setSpacing(10);
    m_cellLayout->addStretch(1);
    m_scrollArea = new QScrollArea(this);
    m_scrollArea->setObjectName(QStringLiteral("thumbnailList"));
    m_scrollArea->setWidgetResizable(true);
    m_scrollArea->setFrameShape(QFrame::NoFrame);
    m_scrollArea->setWidget(cells);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(10, 10, 10, 10);
    column->setSpacing(8);
    column->addLayout(header);
    column->addWidget(addButton);
    column->addWidget(m_mergeButton);
    column->addLayout(fillRow);
    column->addWidget(m_scrollArea, 1);

    connect(&m_viewModel, &VideoEditorViewModel::imagesChanged, this, &ImageSidebarView::refreshCells);
    // The list follows the selection, which playback moves along with the page on screen.
    connect(&m_viewModel, &VideoEditorViewModel::selectedImageIndexChanged, this, [this] {
        refreshCells();
        revealSelectedThumbnail();
    });
    connect(&m_viewModel, &VideoEditorViewModel::selectedImageIndicesChanged, this, [this] {
        refreshCells();
        refreshHeader();
    });
    connect(&m_viewModel, &VideoEditorViewModel::fillColorChanged, this, &ImageSidebarView::refreshHeader);
    refreshHeader();
    refreshCells();
}

void ImageSidebarView::selectImages()
{
    OpenFileRequest request;
    request.title = QStringLiteral("Képek/PDF hozzáadása");
    request.allowedTypes = imageFileTypes();
    request.allowsMultipleSelection = true;
    request.canChooseDirectories = false;
    QPointer<ImageSidebarView> self(this);
    m_dialogs.chooseOpenFiles(request, [self](const QStringList& paths) {
        if (!self)
            return;
        for (const QString& path : paths)
            self->importFile(path);
    });
}

bool ImageSidebarView::handleDrop(const QList<QUrl>& urls)
{
    for (const QUrl& url : urls) {
        // Only file locations become pages; anything else is passed over.
        if (!url.isLocalFile())
            continue;
        const QString path = url.toLocalFile();
        QMetaObject::invokeMethod(
                this, [this, path] { importFile(path); }, Qt::QueuedConnection);
    }
    return true;
}

void ImageSidebarView::importFile(const QString& path)
{
    if (QFileInfo(path).suffix().toLower() == QStringLiteral("pdf"))
        m_viewModel.addPDF(path);
    else
        m_viewModel.addImage(path);
}

void ImageSidebarView::applyFillColor(const QColor& color)
{
    m_viewModel.setFillColor(color);
    m_viewModel.updateFillColor(color);
}

void ImageSidebarView::setThumbnailScale(double scale)
{
    m_thumbnailScale = std::clamp(scale, kMinThumbnailScale, kMaxThumbnailScale);
    refreshHeader();
    refreshCells();
}

void ImageSidebarView::refreshHeader()
{
    const size_t count = m_viewModel.selectedImageIndices().size();
    m_mergeButton->setText(QStringLiteral("Összefűzés (") + QString::number(count) + QStringLiteral(" kép)"));
    m_mergeButton->setVisible(count > 0);
    m_zoomOutButton->setEnabled(m_thumbnailScale > kMinThumbnailScale);
    m_zoomInButton->setEnabled(m_thumbnailScale < kMaxThumbnailScale);
    m_fillColorButton->setIcon(colorSwatch(m_viewModel.fillColor()));
}

void ImageSidebarView::refreshCells()
{
    const std::vector<ImageItem>& images = m_viewModel.images();
    // Cells are reused and only given new content: a reorder drag changes the list while the
    // cell under the pointer is still handling its drag event.
    while (m_cells.size() > images.size()) {
        ImageThumbnailView* cell = m_cells.back();
        m_cells.pop_back();
        cell->hide();
        cell->deleteLater();
    }
    const double width = thumbnailWidth();
    const std::set<int>& multi = m_viewModel.selectedImageIndices();
    const std::optional<int> selected = m_viewModel.selectedImageIndex();
    for (size_t i = 0; i < images.size(); ++i) {
        const int index = static_cast<int>(i);
        const bool isSelected = selected == index;
        const bool isMulti = multi.count(index) > 0;
        if (i < m_cells.size()) {
            m_cells[i]->setContent(images[i], index, width, isSelected, isMulti);
            continue;
        }
        auto* cell = new ImageThumbnailView(images[i], index, m_viewModel, width, isSelected, isMulti,
                                            m_draggedItem);
        m_cellLayout->insertWidget(static_cast<int>(i), cell, 0, Qt::AlignHCenter);
        m_cells.push_back(cell);
    }
}

double ImageSidebarView::thumbnailWidth() const
{
    // The zoom sets the size, but a cell never needs a sideways scroll in a narrow sidebar:
    // the cell's own margins and the list's are taken off the visible width.
    const double available = m_scrollArea->viewport()->width() - 2.0 * 8.0 - 2.0 * 6.0;
    return std::max(60.0, std::min(kBaseThumbnailWidth * m_thumbnailScale, available));
}

void ImageSidebarView::revealSelectedThumbnail()
{
    const std::optional<int> selected = m_viewModel.selectedImageIndex();
    if (selected && *selected >= 0 && static_cast<size_t>(*selected) < m_cells.size())
        m_scrollArea->ensureWidgetVisible(m_cells[static_cast<size_t>(*selected)], 0, 10);
}

void ImageSidebarView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    refreshCells();
}

void ImageSidebarView::setDraggingOver(bool over)
{
    if (m_isDraggingOver == over)
        return;
    m_isDraggingOver = over;
    update();
}

void ImageSidebarView::paintEvent(QPaintEvent*)
{
    if (!m_isDraggingOver)
        return;
    paintDropHighlight(*this, 2, 8);
}

void ImageSidebarView::dragEnterEvent(QDragEnterEvent* event)
{
    if (carriesFiles(event->mimeData())) {
        setDraggingOver(true);
        event->acceptProposedAction();
    } else if (event->mimeData()->hasText() && m_draggedItem) {
        // A thumbnail dragged into the gaps between cells: accepted so that it can end here.
        event->acceptProposedAction();
    } else {
        event->ignore();
    }
}

void ImageSidebarView::dragMoveEvent(QDragMoveEvent* event)
{
    event->acceptProposedAction();
}

void ImageSidebarView::dragLeaveEvent(QDragLeaveEvent*)
{
    setDraggingOver(false);
}

void ImageSidebarView::dropEvent(QDropEvent* event)
{
    setDraggingOver(false);
    if (carriesFiles(event->mimeData())) {
        if (handleDrop(event->mimeData()->urls()))
            event->acceptProposedAction();
        return;
    }
    m_draggedItem.reset();
    event->acceptProposedAction();
}
