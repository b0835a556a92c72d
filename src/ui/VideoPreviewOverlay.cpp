#include "ui/VideoPreviewOverlay.h"

#include "editor/VideoEditorViewModel.h"
#include "support/ValueFormat.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace {

QLabel* makeInfoLabel(const QString& objectName, QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setObjectName(objectName);
    QFont font = label->font();
    font.setPixelSize(11);
    label->setFont(font);
    label->setStyleSheet(QStringLiteral("QLabel { color: white; background: rgba(0, 0, 0, 153);"
                                        " border-radius: 4px; padding: 4px 6px; }"));
    return label;
}

// The red dot and "REC".
class RecordingIndicator : public QWidget {
public:
    explicit RecordingIndicator(QWidget* parent)
        : QWidget(parent)
    {
        setObjectName(QStringLiteral("recordingIndicator"));
        auto* layout = new QHBoxLayout(this);
        layout->setContentsMargins(6, 4, 6, 4);
        layout->setSpacing(6);
        auto* dot = new QWidget(this);
        dot->setFixedSize(10, 10);
        dot->setStyleSheet(QStringLiteral("background: red; border-radius: 5px;"));
        auto* text = new QLabel(QStringLiteral("REC"), this);
        text->setObjectName(QStringLiteral("recordingLabel"));
        QFont font = text->font();
        font.setPixelSize(11);
        font.setBold(true);
        text->setFont(font);
        text->setStyleSheet(QStringLiteral("color: red;"));
        layout->addWidget(dot);
        layout->addWidget(text);
    }
};

} // namespace

VideoPreviewOverlay::VideoPreviewOverlay(VideoEditorViewModel& viewModel, QWidget* parent)
    : QWidget(parent)
    , m_viewModel(viewModel)
{
    setObjectName(QStringLiteral("videoPreviewOverlay"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(10, 10, 10, 10);
    auto* top = new QHBoxLayout;
    m_timeLabel = makeInfoLabel(QStringLiteral("previewTimeLabel"), this);
    m_formatLabel = makeInfoLabel(QStringLiteral("previewFormatLabel"), this);
    m_recordingIndicator = new RecordingIndicator(this);
    top->addWidget(m_timeLabel);
    top->addWidget(m_formatLabel);
    top->addStretch(1);
    top->addWidget(m_recordingIndicator);
    column->addLayout(top);
    column->addStretch(1);
    connect(&m_viewModel, &VideoEditorViewModel::changed, this, &VideoPreviewOverlay::refresh);
    refresh();
}

void VideoPreviewOverlay::refresh()
{
    m_timeLabel->setText(QStringLiteral("%1 s · %2. kocka")
                                 .arg(formatFixed(m_viewModel.currentTime(), 2))
                                 .arg(m_viewModel.frameIndexForTime(m_viewModel.currentTime())));
    const QSizeF size = m_viewModel.videoSize();
    m_formatLabel->setText(QStringLiteral("%1 x %2 · %3 fps · áttűnés %4 s")
                                   .arg(qRound(size.width()))
                                   .arg(qRound(size.height()))
                                   .arg(m_viewModel.exportFPS())
                                   .arg(formatFixed(m_viewModel.transitionDuration(), 1)));
    m_recordingIndicator->setVisible(m_viewModel.isRecording());
}

void VideoPreviewOverlay::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor outline(Qt::white);
    outline.setAlphaF(0.8f);
    painter.setPen(QPen(outline, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(QRectF(rect()).adjusted(1, 1, -1, -1));
}
