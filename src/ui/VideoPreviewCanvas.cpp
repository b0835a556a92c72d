#include "ui/VideoPreviewCanvas.h"

#include "editor/VideoEditorViewModel.h"
#include "images/PagePointSize.h"
#include "ui/SymbolIcons.h"

#include <QPainter>

VideoPreviewCanvas::VideoPreviewCanvas(VideoEditorViewModel& viewModel, QWidget* parent)
    : QWidget(parent)
    , m_viewModel(viewModel)
{
    setObjectName(QStringLiteral("videoPreviewCanvas"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(200, 150);
    connect(&m_viewModel, &VideoEditorViewModel::changed, this, &VideoPreviewCanvas::markStale);
    connect(&m_viewModel, &VideoEditorViewModel::currentTimeChanged, this, &VideoPreviewCanvas::markStale);
}

void VideoPreviewCanvas::markStale()
{
    m_stale = true;
    update();
}

void VideoPreviewCanvas::refreshPicture()
{
    if (!m_stale)
        return;
    m_stale = false;
    ++m_renderCount;
    if (std::optional<QImage> frame = m_viewModel.renderCurrentFrame()) {
        m_content = Content::renderedFrame;
        m_picture = std::move(*frame);
    } else if (!m_viewModel.images().empty()) {
        m_content = Content::firstImage;
        m_picture = m_viewModel.images().front().image();
    } else {
        m_content = Content::placeholder;
        m_picture = QImage();
    }
}

VideoPreviewCanvas::Content VideoPreviewCanvas::content()
{
    refreshPicture();
    return m_content;
}

QImage VideoPreviewCanvas::picture()
{
    refreshPicture();
    return m_picture;
}

QRectF VideoPreviewCanvas::pictureRect()
{
    refreshPicture();
    if (m_picture.isNull())
        return {};
    // Fit, keeping the aspect ratio of the picture's size in points.
    const QSizeF pictureSize = pagePointSize(m_picture);
    const QSizeF fitted = pictureSize.scaled(QSizeF(size()), Qt::KeepAspectRatio);
    return {(width() - fitted.width()) / 2, (height() - fitted.height()) / 2, fitted.width(),
            fitted.height()};
}

void VideoPreviewCanvas::paintEvent(QPaintEvent*)
{
    refreshPicture();
    QPainter painter(this);
    painter.fillRect(rect(), m_viewModel.fillColor());
    if (!m_picture.isNull()) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(pictureRect(), m_picture);
        return;
    }
    // The placeholder: a 60-point symbol and the text below it, grey at reduced opacity.
    QColor grey(Qt::gray);
    grey.setAlphaF(0.6f);
    QFont font = this->font();
    font.setPixelSize(16);
    const int textHeight = QFontMetrics(font).height();
    const int symbolSize = 60;
    const int padding = 12;
    const int top = (height() - symbolSize - padding - textHeight) / 2;
    painter.drawPixmap(
            QPointF((width() - symbolSize) / 2.0, top),
            tintedSymbol(QStringLiteral("photo.on.rectangle.angled"), symbolSize, grey, devicePixelRatioF()));
    painter.setFont(font);
    painter.setPen(grey);
    painter.drawText(QRect(0, top + symbolSize + padding, width(), textHeight), Qt::AlignHCenter,
                     placeholderText());
}
