#include "ui/ContentView.h"

#include "editor/VideoEditorViewModel.h"
#include "ui/AppCommands.h"
#include "ui/ControlButtons.h"
#include "ui/DarkTheme.h"
#include "ui/ImageSidebarView.h"
#include "ui/ProgressOverlay.h"
#include "ui/ResizableSplitView.h"
#include "ui/VideoPreviewCanvas.h"
#include "ui/VideoPreviewOverlay.h"
#include "ui/WaveformView.h"

#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

ContentView::ContentView(EditorEnvironment environment, EditorHolder* delegate, QWidget* parent)
    : QWidget(parent)
    , m_viewModel(new VideoEditorViewModel(std::move(environment), this))
    , m_delegate(delegate)
{
    setObjectName(QStringLiteral("contentView"));
    setMinimumSize(1400, 800);
    // The application carries the same palette; the view sets it too so that it is dark even
    // where it is made without the application's theme (tests).
    setPalette(darkPalette());
    setAutoFillBackground(true);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_splitView = new ResizableSplitView(makeSidebarPane(), makeRightPane(), this);
    layout->addWidget(m_splitView);

    m_progressOverlay = new ProgressOverlay(*m_viewModel, this);
}

ContentView::~ContentView() = default;

QWidget* ContentView::makeSidebarPane()
{
    return new ImageSidebarView(*m_viewModel, *m_viewModel->environment().dialogs);
}

// The waveform strip also presents the audio settings sheet while showAudioSettings is set.
QWidget* ContentView::makeWaveformPane()
{
    auto* waveform = new WaveformView(*m_viewModel, *m_viewModel->environment().dialogs);
    connect(waveform, &WaveformView::applyAudioSettingsRequested, m_viewModel,
            &VideoEditorViewModel::reloadAudioWithNewSilence);
    m_waveform = waveform;
    return waveform;
}

QWidget* ContentView::makeRightPane()
{
    auto* pane = new QWidget;
    pane->setObjectName(QStringLiteral("editingPane"));
    auto* column = new QVBoxLayout(pane);
    column->setContentsMargins(12, 12, 12, 4);
    column->setSpacing(10);

    auto* preview = new QWidget(pane);
    preview->setObjectName(QStringLiteral("previewArea"));
    auto* stack = new QGridLayout(preview);
    stack->setContentsMargins(0, 0, 0, 0);
    m_canvas = new VideoPreviewCanvas(*m_viewModel, preview);
    m_overlay = new VideoPreviewOverlay(*m_viewModel, preview);
    stack->addWidget(m_canvas, 0, 0);
    stack->addWidget(m_overlay, 0, 0);
    column->addWidget(preview, 1);

    QWidget* waveform = makeWaveformPane();
    waveform->setParent(pane);
    column->addWidget(waveform);

    m_controls = new ControlButtons(*m_viewModel, pane);
    column->addWidget(m_controls);
    return pane;
}

void ContentView::connectCommands(const AppCommands& commands)
{
    VideoEditorViewModel* editor = m_viewModel;
    connectProjectCommands(commands);
    connect(&commands, &AppCommands::openSettings, editor, &VideoEditorViewModel::openSettings);
    connect(&commands, &AppCommands::showAbout, editor, &VideoEditorViewModel::showAbout);
    connect(&commands, &AppCommands::deleteAllImages, editor, &VideoEditorViewModel::deleteAllImages);
    connect(&commands, &AppCommands::deletePortraitImages, editor,
            &VideoEditorViewModel::deletePortraitImages);
    connect(&commands, &AppCommands::deleteLandscapeImages, editor,
            &VideoEditorViewModel::deleteLandscapeImages);
    connect(&commands, &AppCommands::togglePlayback, editor, &VideoEditorViewModel::togglePlayback);
}

void ContentView::connectProjectCommands(const AppCommands& commands)
{
    connect(&commands, &AppCommands::newProject, m_viewModel, &VideoEditorViewModel::newProject);
    connect(&commands, &AppCommands::saveProject, m_viewModel, &VideoEditorViewModel::saveProject);
    connect(&commands, &AppCommands::saveProjectAs, m_viewModel, &VideoEditorViewModel::saveProjectAs);
    connect(&commands, &AppCommands::loadProject, m_viewModel, &VideoEditorViewModel::loadProjectDialog);
}

void ContentView::autoLoadProject()
{
    emit autoLoadStarted();
    if (m_projectToOpen.isEmpty())
        m_viewModel->autoLoadProject();
    else
        m_viewModel->loadProject(m_projectToOpen);
}

void ContentView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_delegate)
        m_delegate->setViewModel(m_viewModel);
    if (!m_didAutoLoad) {
        m_didAutoLoad = true;
        autoLoadProject();
    }
}
