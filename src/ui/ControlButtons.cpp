#include "ui/ControlButtons.h"

#include "editor/VideoEditorViewModel.h"
#include "support/CheckedConversions.h"
#include "ui/ControlButton.h"
#include "ui/MediaButton.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const QColor kAccent(0x0a, 0x84, 0xff);
const QColor kPurple(0xaf, 0x52, 0xde);
const QColor kBlue(0x0a, 0x84, 0xff);
const QColor kOrange(0xff, 0x9f, 0x0a);
const QColor kRed(0xff, 0x3b, 0x30);
const QColor kGreen(0x30, 0xd1, 0x58);

QFont monospaced(double pointSize, QFont::Weight weight)
{
    QFont font(QStringLiteral("monospace"));
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(qRound(pointSize));
    font.setWeight(weight);
    return font;
}

QLabel* makeLabel(const QString& objectName, const QFont& font, const QColor& color, QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setObjectName(objectName);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    return label;
}

QColor withAlpha(QColor color, float alpha)
{
    color.setAlphaF(alpha);
    return color;
}

// A segmented picker: exclusive checkable buttons side by side, `width` points in all.
QButtonGroup* makeSegmentedPicker(QWidget* container, const QStringList& titles, const QStringList& names,
                                  int width)
{
    auto* layout = new QHBoxLayout(container);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* group = new QButtonGroup(container);
    group->setExclusive(true);
    for (int i = 0; i < titles.size(); ++i) {
        auto* button = new QPushButton(titles[i], container);
        button->setObjectName(names[i]);
        button->setCheckable(true);
        button->setFocusPolicy(Qt::NoFocus);
        layout->addWidget(button);
        group->addButton(button, i);
    }
    container->setFixedWidth(width);
    // The chosen segment stands out in the accent colour.
    container->setStyleSheet(
            QStringLiteral("QPushButton { background: #3a3a3a; color: white; border: 1px solid #555;"
                           " padding: 4px 0; } QPushButton:checked { background: #0a84ff;"
                           " border-color: #0a84ff; }"));
    return group;
}

} // namespace

ControlButtons::ControlButtons(VideoEditorViewModel& viewModel, QWidget* parent)
    : QWidget(parent)
    , m_viewModel(viewModel)
{
    setObjectName(QStringLiteral("controlButtons"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(16, 8, 16, 12);
    column->setSpacing(10);

    auto* mainRow = new QHBoxLayout;
    buildMainRow(mainRow);
    column->addLayout(mainRow);

    m_pageButtons = new QWidget(this);
    m_pageButtons->setObjectName(QStringLiteral("pageButtons"));
    m_pageButtonsLayout = new QHBoxLayout(m_pageButtons);
    m_pageButtonsLayout->setContentsMargins(0, 0, 0, 0);
    m_pageButtonsLayout->setSpacing(12);
    column->addWidget(m_pageButtons, 0, Qt::AlignHCenter);

    auto* settingsRow = new QHBoxLayout;
    buildSettingsRow(settingsRow);
    column->addLayout(settingsRow);

    connect(&m_viewModel, &VideoEditorViewModel::changed, this, &ControlButtons::refresh);
    refresh();
}

void ControlButtons::buildMainRow(QHBoxLayout* row)
{
    row->setSpacing(16);
    row->addStretch(1);
    m_toStart = new MediaButton(QStringLiteral("backward.end.fill"), 60, Qt::white, this);
    m_toStart->setObjectName(QStringLiteral("toStartButton"));
    m_play = new MediaButton(QStringLiteral("play.fill"), 70, kAccent, this);
    m_play->setObjectName(QStringLiteral("playButton"));
    m_stop = new MediaButton(QStringLiteral("stop.fill"), 60, Qt::white, this);
    m_stop->setObjectName(QStringLiteral("stopButton"));
    m_record = new MediaButton(QStringLiteral("record.circle"), 70, kRed, this);
    m_record->setObjectName(QStringLiteral("recordButton"));
    for (MediaButton* button : {m_toStart, m_play, m_stop, m_record})
        row->addWidget(button, 0, Qt::AlignVCenter);
    connect(m_toStart, &QAbstractButton::clicked, &m_viewModel, &VideoEditorViewModel::jumpToStart);
    connect(m_play, &QAbstractButton::clicked, this, &ControlButtons::playPressed);
    connect(m_stop, &QAbstractButton::clicked, &m_viewModel, &VideoEditorViewModel::stop);
    connect(m_record, &QAbstractButton::clicked, this, &ControlButtons::recordPressed);

    m_timePanel = new QWidget(this);
    m_timePanel->setObjectName(QStringLiteral("timePanel"));
    auto* panel = new QVBoxLayout(m_timePanel);
    panel->setContentsMargins(8, 8, 8, 8);
    panel->setSpacing(4);
    auto* timeRow = new QHBoxLayout;
    timeRow->setSpacing(4);
    const QFont timeFont = monospaced(20, QFont::Medium);
    m_currentTime = makeLabel(QStringLiteral("currentTimeLabel"), timeFont, Qt::white, m_timePanel);
    QLabel* slash =
            makeLabel(QStringLiteral("timeSeparator"), timeFont, withAlpha(Qt::white, 0.5f), m_timePanel);
    slash->setText(QStringLiteral("/"));
    m_duration =
            makeLabel(QStringLiteral("durationLabel"), timeFont, withAlpha(Qt::white, 0.7f), m_timePanel);
    timeRow->addWidget(m_currentTime);
    timeRow->addWidget(slash);
    timeRow->addWidget(m_duration);
    panel->addLayout(timeRow);
    m_frameCounter = makeLabel(QStringLiteral("frameCounter"), monospaced(11, QFont::Normal),
                               withAlpha(Qt::white, 0.6f), m_timePanel);
    panel->addWidget(m_frameCounter);
    row->addWidget(m_timePanel);
    row->addStretch(1);
}

void ControlButtons::buildSettingsRow(QHBoxLayout* row)
{
    row->setSpacing(10);
    row->addStretch(1);
    auto* formatLabel = new QLabel(QStringLiteral("Formátum:"), this);
    row->addWidget(formatLabel);
    auto* formatPicker = new QWidget(this);
    formatPicker->setObjectName(QStringLiteral("formatPicker"));
    m_formatGroup = makeSegmentedPicker(formatPicker, {QStringLiteral("16:9"), QStringLiteral("9:16")},
                                        {QStringLiteral("format16x9"), QStringLiteral("format9x16")}, 120);
    row->addWidget(formatPicker);
    connect(m_formatGroup, &QButtonGroup::idClicked, this, [this](int id) {
        const VideoFormat format = id == 0 ? VideoFormat::landscape : VideoFormat::portrait;
        if (format == m_viewModel.videoFormat())
            return;
        m_viewModel.setVideoFormat(format);
        m_viewModel.recalculatePlacementsForFormat();
    });

    row->addSpacing(16);
    row->addWidget(new QLabel(QStringLiteral("FPS:"), this));
    auto* fpsPicker = new QWidget(this);
    fpsPicker->setObjectName(QStringLiteral("fpsPicker"));
    m_fpsGroup = makeSegmentedPicker(
            fpsPicker, {QStringLiteral("24"), QStringLiteral("30"), QStringLiteral("60")},
            {QStringLiteral("fps24"), QStringLiteral("fps30"), QStringLiteral("fps60")}, 150);
    row->addWidget(fpsPicker);
    connect(m_fpsGroup, &QButtonGroup::idClicked, this, [this](int id) {
        static constexpr int kRates[] = {24, 30, 60};
        m_viewModel.setExportFPS(kRates[id]);
    });

    row->addSpacing(16);
    auto* resolutionLabel = new QLabel(QStringLiteral("Felbontás:"), this);
    resolutionLabel->setObjectName(QStringLiteral("resolutionLabel"));
    row->addWidget(resolutionLabel);
    auto* resolutionPicker = new QWidget(this);
    resolutionPicker->setObjectName(QStringLiteral("resolutionPicker"));
    m_resolutionGroup = makeSegmentedPicker(
            resolutionPicker, {rawValue(ExportResolution::hd1080), rawValue(ExportResolution::uhd4K)},
            {QStringLiteral("resolution1080p"), QStringLiteral("resolution4K")}, 120);
    row->addWidget(resolutionPicker);
    connect(m_resolutionGroup, &QButtonGroup::idClicked, this, [this](int id) {
        m_viewModel.setExportResolution(id == 0 ? ExportResolution::hd1080 : ExportResolution::uhd4K);
    });

    row->addSpacing(16);
    m_export = new ControlButton(QStringLiteral("Videó exportálása"), kGreen, QStringLiteral("film"), this);
    m_export->setObjectName(QStringLiteral("exportButton"));
    connect(m_export, &QAbstractButton::clicked, &m_viewModel, &VideoEditorViewModel::exportVideo);
    row->addWidget(m_export);
    row->addStretch(1);
}

QString ControlButtons::timeString(double seconds)
{
    const int64_t whole = toInt64Checked(seconds);
    return QString::asprintf("%02lld:%02lld", static_cast<long long>(whole / 60),
                             static_cast<long long>(whole % 60));
}

int64_t ControlButtons::currentFrame() const
{
    return m_viewModel.frameIndexForTime(m_viewModel.currentTime());
}

int64_t ControlButtons::totalFrames() const
{
    return m_viewModel.totalFrameCount();
}

void ControlButtons::playPressed()
{
    // During recording the play/pause button ends the recording rather than only pausing.
    if (m_viewModel.isRecording())
        m_viewModel.stopRecording();
    else
        m_viewModel.togglePlayback();
}

void ControlButtons::recordPressed()
{
    if (m_viewModel.isRecording())
        m_viewModel.stopRecording();
    else
        m_viewModel.startRecording();
}

ControlButton* ControlButtons::addPageButton(const QString& objectName, const QString& title,
                                             const QColor& color, const QString& icon,
                                             void (VideoEditorViewModel::*action)())
{
    auto* button = new ControlButton(title, color, icon, m_pageButtons);
    button->setObjectName(objectName);
    connect(button, &QAbstractButton::clicked, &m_viewModel, action);
    m_pageButtonsLayout->addWidget(button);
    return button;
}

void ControlButtons::rebuildPageButtons()
{
    const bool audioLoaded = m_viewModel.audioURL().has_value();
    PageRow wanted = PageRow::none;
    if (audioLoaded)
        wanted = m_viewModel.isRecording() ? PageRow::recording
                 : m_viewModel.isPlaying() ? PageRow::playing
                                           : PageRow::stopped;
    m_pageButtons->setVisible(wanted != PageRow::none);
    if (wanted == m_pageRow)
        return;
    m_pageRow = wanted;
    while (QLayoutItem* item = m_pageButtonsLayout->takeAt(0)) {
        // Deleted later: the button whose click changed the state may still be on the stack.
        if (QWidget* widget = item->widget()) {
            widget->hide();
            widget->deleteLater();
        }
        delete item;
    }
    switch (wanted) {
    case PageRow::none:
        break;
    case PageRow::recording:
        addPageButton(QStringLiteral("previousPageDuringRecordingButton"), QStringLiteral("Előző oldal"),
                      kPurple, QStringLiteral("arrow.left.circle.fill"),
                      &VideoEditorViewModel::previousPageDuringRecording);
        addPageButton(QStringLiteral("nextPageDuringRecordingButton"), QStringLiteral("Következő oldal"),
                      kBlue, QStringLiteral("arrow.right.circle.fill"),
                      &VideoEditorViewModel::nextPageDuringRecording);
        break;
    case PageRow::playing:
        addPageButton(QStringLiteral("jumpBack3SecondsButton"), QStringLiteral("Vissza 3 mp"), kOrange,
                      QStringLiteral("gobackward.3"), &VideoEditorViewModel::jumpBack3Seconds);
        break;
    case PageRow::stopped:
        addPageButton(QStringLiteral("jumpToPreviousPageButton"), QStringLiteral("Előző oldalhoz"), kPurple,
                      QStringLiteral("arrow.left.circle.fill"), &VideoEditorViewModel::jumpToPreviousPage);
        addPageButton(QStringLiteral("jumpToNextPageButton"), QStringLiteral("Következő oldalhoz"), kBlue,
                      QStringLiteral("arrow.right.circle.fill"), &VideoEditorViewModel::jumpToNextPage);
        addPageButton(QStringLiteral("jumpToLastPageButton"), QStringLiteral("Utolsó oldalhoz"), kRed,
                      QStringLiteral("arrow.right.to.line"), &VideoEditorViewModel::jumpToLastPage);
        break;
    }
}

void ControlButtons::refresh()
{
    const bool audioLoaded = m_viewModel.audioURL().has_value();
    const bool hasPages = !m_viewModel.images().empty();
    m_toStart->setEnabled(audioLoaded);
    m_play->setEnabled(audioLoaded);
    m_stop->setEnabled(audioLoaded);
    m_record->setEnabled(audioLoaded && hasPages);
    m_play->setIconName(m_viewModel.isPlaying() ? QStringLiteral("pause.fill") : QStringLiteral("play.fill"));
    m_record->setIconName(m_viewModel.isRecording() ? QStringLiteral("record.circle.fill")
                                                    : QStringLiteral("record.circle"));
    m_export->setEnabled(audioLoaded && hasPages);

    m_timePanel->setVisible(audioLoaded);
    if (audioLoaded) {
        m_currentTime->setText(timeString(m_viewModel.currentTime()));
        m_duration->setText(timeString(m_viewModel.duration()));
        m_frameCounter->setText(QStringLiteral("Frame: %1 / %2").arg(currentFrame()).arg(totalFrames()));
    }
    rebuildPageButtons();

    const int formatId = m_viewModel.videoFormat() == VideoFormat::landscape ? 0 : 1;
    if (QAbstractButton* button = m_formatGroup->button(formatId))
        button->setChecked(true);
    const int fps = m_viewModel.exportFPS();
    const int fpsId = fps == 24 ? 0 : fps == 60 ? 2 : fps == 30 ? 1 : -1;
    if (QAbstractButton* button = m_fpsGroup->button(fpsId))
        button->setChecked(true);
    const int resolutionId = m_viewModel.exportResolution() == ExportResolution::hd1080 ? 0 : 1;
    if (QAbstractButton* button = m_resolutionGroup->button(resolutionId))
        button->setChecked(true);
}
