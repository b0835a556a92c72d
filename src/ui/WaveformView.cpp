#include "ui/WaveformView.h"

#include "editor/PageBoundarySnapping.h"
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"
#include "support/Dialogs.h"
#include "ui/AudioSettingsSheet.h"
#include "ui/DropHighlight.h"
#include "ui/SidebarIcons.h"
#include "ui/WaveformCanvas.h"

#include <QDragEnterEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QMimeData>
#include <QProgressBar>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace {

bool isAudioFile(const QUrl& url)
{
    if (!url.isLocalFile())
        return false;
    const QString extension = QFileInfo(url.toLocalFile()).suffix().toLower();
    return extension == QStringLiteral("wav") || extension == QStringLiteral("mp3") ||
           extension == QStringLiteral("m4a");
}

} // namespace

WaveformView::WaveformView(VideoEditorViewModel& viewModel, Dialogs& dialogs, QWidget* parent)
    : QWidget(parent)
    , m_viewModel(viewModel)
    , m_dialogs(dialogs)
{
    setObjectName(QStringLiteral("waveformView"));
    setAcceptDrops(true);
    setMinimumHeight(110);

    m_placeholder = new QToolButton(this);
    m_placeholder->setObjectName(QStringLiteral("waveformPlaceholder"));
    m_placeholder->setIcon(sidebarIcon(QStringLiteral("waveform")));
    m_placeholder->setIconSize(QSize(32, 32));
    m_placeholder->setText(QStringLiteral("Húzz ide egy hangfájlt (WAV/MP3) vagy kattints ide"));
    m_placeholder->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    m_placeholder->setAutoRaise(true);
    m_placeholder->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    connect(m_placeholder, &QToolButton::clicked, this, &WaveformView::selectAudioFile);

    auto* loaded = new QWidget(this);
    loaded->setObjectName(QStringLiteral("waveformLoaded"));
    m_canvas = new WaveformCanvas(
            m_viewModel, [this](double fraction) { scrubTo(fraction); }, loaded);
    m_settingsButton = new QToolButton(loaded);
    m_settingsButton->setObjectName(QStringLiteral("audioSettingsButton"));
    m_settingsButton->setIcon(sidebarIcon(QStringLiteral("slider-horizontal")));
    m_settingsButton->setToolTip(QStringLiteral("Hangsáv beállítások"));
    connect(m_settingsButton, &QToolButton::clicked, this,
            [this] { m_viewModel.setShowAudioSettings(true); });
    auto* loadedLayout = new QGridLayout(loaded);
    loadedLayout->setContentsMargins(0, 0, 0, 0);
    loadedLayout->addWidget(m_canvas, 0, 0);
    loadedLayout->addWidget(m_settingsButton, 0, 0, Qt::AlignRight | Qt::AlignTop);

    m_stack = new QStackedWidget(this);
    m_stack->addWidget(m_placeholder);
    m_stack->addWidget(loaded);

    m_loadingBar = new QProgressBar(this);
    m_loadingBar->setObjectName(QStringLiteral("audioLoadingProgress"));
    m_loadingBar->setRange(0, 100);
    m_loadingBar->setFormat(QStringLiteral("Hang betöltése... %p%"));

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(4, 4, 4, 4);
    column->setSpacing(4);
    column->addWidget(m_stack, 1);
    column->addWidget(m_loadingBar);

    // The page starts are collected again only after frames were written; a scrub moves the
    // playhead and the selection on every pointer move without touching them.
    connect(&m_viewModel, &VideoEditorViewModel::framesChanged, this, [this] { m_boundaries.reset(); });
    connect(&m_viewModel, &VideoEditorViewModel::changed, this, [this] {
        refreshState();
        m_canvas->update();
    });
    connect(&m_viewModel, &VideoEditorViewModel::showAudioSettingsChanged, this,
            [this] { presentSettingsSheet(m_viewModel.showAudioSettings()); });
    refreshState();
}

AudioSettingsSheet* WaveformView::settingsSheet() const
{
    return m_sheet;
}

void WaveformView::refreshState()
{
    m_stack->setCurrentIndex(m_viewModel.audioURL().has_value() ? 1 : 0);
    m_loadingBar->setVisible(m_viewModel.isLoadingAudio());
    m_loadingBar->setValue(
            static_cast<int>(std::lround(std::clamp(m_viewModel.loadingProgress(), 0.0, 1.0) * 100)));
}

void WaveformView::selectAudioFile()
{
    OpenFileRequest request;
    request.title = QStringLiteral("Hangfájl megnyitása");
    request.message = QStringLiteral("Válassz egy hangfájlt");
    request.allowsMultipleSelection = false;
    request.canChooseDirectories = false;
    request.allowedTypes = {
            {QStringLiteral("Hang"),
             {QStringLiteral("wav"), QStringLiteral("mp3"), QStringLiteral("m4a"), QStringLiteral("aac"),
              QStringLiteral("aif"), QStringLiteral("aiff"), QStringLiteral("flac"), QStringLiteral("ogg")}},
            {QStringLiteral("MP3"), {QStringLiteral("mp3")}},
            {QStringLiteral("WAV"), {QStringLiteral("wav")}},
            {QStringLiteral("MPEG-4 hang"), {QStringLiteral("m4a")}},
    };
    QPointer<WaveformView> self(this);
    m_dialogs.chooseOpenFiles(request, [self](const QStringList& paths) {
        if (self && !paths.isEmpty())
            self->m_viewModel.loadAudio(paths.front());
    });
}

bool WaveformView::handleAudioDrop(const QList<QUrl>& urls)
{
    // The first file location decides; another kind of file is passed over silently.
    const auto first =
            std::find_if(urls.begin(), urls.end(), [](const QUrl& url) { return url.isLocalFile(); });
    if (first == urls.end() || !isAudioFile(*first))
        return false;
    const QString path = first->toLocalFile();
    QMetaObject::invokeMethod(
            this, [this, path] { m_viewModel.loadAudio(path); }, Qt::QueuedConnection);
    return true;
}

double WaveformView::snapToPageBoundary(double time)
{
    if (!m_boundaries) {
        m_boundaries = pageBoundaryFrames(m_viewModel.getFrameManager());
        ++m_boundaryComputations;
    }
    return snapTimeToPageBoundary(time, *m_boundaries, VideoEditorViewModel::FPS);
}

void WaveformView::scrubTo(double fraction)
{
    m_viewModel.seekTo(snapToPageBoundary(fraction * m_viewModel.duration()));
}

void WaveformView::presentSettingsSheet(bool show)
{
    if (show && !m_sheet) {
        m_sheet = new AudioSettingsSheet(m_viewModel, this);
        m_sheet->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_sheet, &AudioSettingsSheet::applyRequested, this,
                &WaveformView::applyAudioSettingsRequested);
        m_sheet->open();
    } else if (!show && m_sheet && m_sheet->isVisible()) {
        m_sheet->reject();
    }
}

void WaveformView::setDraggingOver(bool over)
{
    if (m_isDraggingOver == over)
        return;
    m_isDraggingOver = over;
    update();
}

void WaveformView::paintEvent(QPaintEvent*)
{
    if (!m_isDraggingOver)
        return;
    paintDropHighlight(*this, 1, 6);
}

void WaveformView::dragEnterEvent(QDragEnterEvent* event)
{
    if (!event->mimeData()->hasUrls()) {
        event->ignore();
        return;
    }
    setDraggingOver(true);
    event->acceptProposedAction();
}

void WaveformView::dragMoveEvent(QDragMoveEvent* event)
{
    event->acceptProposedAction();
}

void WaveformView::dragLeaveEvent(QDragLeaveEvent*)
{
    setDraggingOver(false);
}

void WaveformView::dropEvent(QDropEvent* event)
{
    setDraggingOver(false);
    if (!event->mimeData()->hasUrls())
        return;
    handleAudioDrop(event->mimeData()->urls());
    event->acceptProposedAction();
}
