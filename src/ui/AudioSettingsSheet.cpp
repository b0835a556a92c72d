#include "ui/AudioSettingsSheet.h"

#include "audio/Loudness.h"
#include "audio/LoudnessNormalisation.h"
#include "editor/VideoEditorViewModel.h"
#include "support/ValueFormat.h"
#include "ui/SidebarIcons.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QToolButton>
#include <QVBoxLayout>

#include <cmath>

namespace {

QLabel* iconLabel(const QString& icon, QWidget* parent, int size = 16)
{
    auto* label = new QLabel(parent);
    label->setPixmap(sidebarIcon(icon).pixmap(size, size));
    return label;
}

QLabel* textLabel(const QString& text, QWidget* parent, double pointSize, bool bold = false)
{
    auto* label = new QLabel(text, parent);
    QFont font = label->font();
    font.setPixelSize(qRound(pointSize));
    font.setBold(bold);
    label->setFont(font);
    return label;
}

QLabel* captionLabel(const QString& text, QWidget* parent)
{
    QLabel* label = textLabel(text, parent, 10);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QSlider* slider(const QString& name, int minimum, int maximum, QWidget* parent)
{
    auto* control = new QSlider(Qt::Horizontal, parent);
    control->setObjectName(name);
    control->setRange(minimum, maximum);
    return control;
}

QString seconds(double value)
{
    return formatFixed(value, 1) + QStringLiteral(" mp");
}

QString decibels(double value)
{
    return formatFixed(value, 1) + QStringLiteral(" dB");
}

int sliderPosition(double value, int stepsPerUnit)
{
    return static_cast<int>(std::lround(value * stepsPerUnit));
}

// A row: icon and label on the left, the value on the right.
QHBoxLayout* headingRow(const QString& icon, const QString& text, QLabel* value, QWidget* parent)
{
    auto* row = new QHBoxLayout;
    row->addWidget(iconLabel(icon, parent));
    row->addWidget(textLabel(text, parent, 14));
    row->addStretch(1);
    row->addWidget(value);
    return row;
}

// The slider with small captions of its range ends on either side.
QHBoxLayout* sliderRow(QSlider* control, const QString& low, const QString& high, QWidget* parent)
{
    auto* row = new QHBoxLayout;
    row->addWidget(captionLabel(low, parent));
    row->addWidget(control, 1);
    row->addWidget(captionLabel(high, parent));
    return row;
}

} // namespace

AudioSettingsSheet::AudioSettingsSheet(VideoEditorViewModel& viewModel, QWidget* parent)
    : QDialog(parent)
    , m_viewModel(viewModel)
{
    setObjectName(QStringLiteral("audioSettingsSheet"));
    setWindowTitle(QStringLiteral("Hangsáv beállítások"));
    setModal(true);
    setFixedWidth(kWidth);

    // 1. Title row.
    QLabel* title = textLabel(QStringLiteral("Hangsáv beállítások"), this, 24, true);
    title->setObjectName(QStringLiteral("sheetTitle"));
    auto* closeButton = new QToolButton(this);
    closeButton->setObjectName(QStringLiteral("closeButton"));
    closeButton->setIcon(sidebarIcon(QStringLiteral("xmark-circle-fill")));
    closeButton->setIconSize(QSize(20, 20));
    closeButton->setAutoRaise(true);
    connect(closeButton, &QToolButton::clicked, this, &QDialog::reject);
    auto* titleRow = new QHBoxLayout;
    titleRow->addWidget(title);
    titleRow->addStretch(1);
    titleRow->addWidget(closeButton);

    // 2. Silences.
    auto* silenceGroup = new QGroupBox(this);
    silenceGroup->setObjectName(QStringLiteral("silenceGroup"));
    auto* silenceLayout = new QVBoxLayout(silenceGroup);
    QLabel* silenceHeading = textLabel(QStringLiteral("Csend időtartamok"), silenceGroup, 18, true);
    m_startSilenceValue = textLabel(QString(), silenceGroup, 12);
    m_startSilenceValue->setObjectName(QStringLiteral("startSilenceValue"));
    m_endSilenceValue = textLabel(QString(), silenceGroup, 12);
    m_endSilenceValue->setObjectName(QStringLiteral("endSilenceValue"));
    m_startSilenceSlider =
            slider(QStringLiteral("startSilenceSlider"), 0, 10 * kSilenceStepsPerSecond, silenceGroup);
    m_endSilenceSlider =
            slider(QStringLiteral("endSilenceSlider"), 0, 10 * kSilenceStepsPerSecond, silenceGroup);
    silenceLayout->addWidget(silenceHeading);
    silenceLayout->addLayout(headingRow(QStringLiteral("photo-fill"),
                                        QStringLiteral("Kezdő csend (borítókép)"), m_startSilenceValue,
                                        silenceGroup));
    silenceLayout->addLayout(
            sliderRow(m_startSilenceSlider, QStringLiteral("0 mp"), QStringLiteral("10 mp"), silenceGroup));
    silenceLayout->addLayout(headingRow(QStringLiteral("text-bubble"), QStringLiteral("Vég csend (felirat)"),
                                        m_endSilenceValue, silenceGroup));
    silenceLayout->addLayout(
            sliderRow(m_endSilenceSlider, QStringLiteral("0 mp"), QStringLiteral("10 mp"), silenceGroup));

    // 3. Fade between pages.
    m_transitionValue = textLabel(QString(), this, 12);
    m_transitionValue->setObjectName(QStringLiteral("transitionValue"));
    m_transitionSlider = slider(QStringLiteral("transitionSlider"), 0, 3 * kTransitionStepsPerSecond, this);
    QLabel* transitionCaption = captionLabel(
            QStringLiteral("Az átmenet időtartama, ameddig az egyik kép fokozatosan átúszik a másikba."),
            this);
    transitionCaption->setObjectName(QStringLiteral("transitionCaption"));

    // 4. Volume boost.
    m_boostValue = textLabel(QString(), this, 12);
    m_boostValue->setObjectName(QStringLiteral("volumeBoostValue"));
    m_boostSlider = slider(QStringLiteral("volumeBoostSlider"), 25, 1000, this);
    m_boostSlider->setSingleStep(kBoostStep);
    m_boostSlider->setPageStep(25);
    QLabel* boostCaption = captionLabel(
            QStringLiteral("100% = eredeti hangerő. A YouTube ajánlott szintje kb -14 LUFS."), this);
    boostCaption->setObjectName(QStringLiteral("volumeBoostCaption"));

    // 5. Loudness panel.
    auto* loudness = new QGroupBox(this);
    loudness->setObjectName(QStringLiteral("loudnessPanel"));
    auto* loudnessLayout = new QVBoxLayout(loudness);
    auto* loudnessHeading = new QHBoxLayout;
    loudnessHeading->addWidget(iconLabel(QStringLiteral("play-rectangle-fill"), loudness));
    loudnessHeading->addWidget(textLabel(QStringLiteral("YouTube-hoz képest:"), loudness, 14, true));
    loudnessHeading->addStretch(1);
    m_originalLoudness = textLabel(QString(), loudness, 14, true);
    m_originalLoudness->setObjectName(QStringLiteral("originalLoudnessValue"));
    m_boostedLoudness = textLabel(QString(), loudness, 14, true);
    m_boostedLoudness->setObjectName(QStringLiteral("boostedLoudnessValue"));
    QLabel* target = textLabel(QStringLiteral("-16.0 dB"), loudness, 14, true);
    target->setObjectName(QStringLiteral("youtubeTargetValue"));
    const auto figure = [loudness](const QString& caption, QLabel* value) {
        auto* column = new QVBoxLayout;
        column->addWidget(captionLabel(caption, loudness));
        column->addWidget(value);
        return column;
    };
    auto* figures = new QHBoxLayout;
    figures->addLayout(figure(QStringLiteral("Eredeti"), m_originalLoudness));
    figures->addWidget(iconLabel(QStringLiteral("arrow-right"), loudness));
    figures->addLayout(figure(QStringLiteral("Erősítve"), m_boostedLoudness));
    figures->addStretch(1);
    figures->addLayout(figure(QStringLiteral("YouTube cél"), target));
    m_verdict = textLabel(QString(), loudness, 12, true);
    m_verdict->setObjectName(QStringLiteral("loudnessVerdict"));
    loudnessLayout->addLayout(loudnessHeading);
    loudnessLayout->addLayout(figures);
    loudnessLayout->addWidget(m_verdict);
    // Integrated loudness and true peak, as video platforms measure them, with the boost.
    m_integratedLoudness = textLabel(QString(), loudness, 12, true);
    m_integratedLoudness->setObjectName(QStringLiteral("integratedLoudnessValue"));
    m_truePeak = textLabel(QString(), loudness, 12, true);
    m_truePeak->setObjectName(QStringLiteral("truePeakValue"));
    m_truePeakWarning = textLabel(QStringLiteral("Torzítás veszélye!"), loudness, 12, true);
    m_truePeakWarning->setObjectName(QStringLiteral("truePeakWarning"));
    QPalette warningPalette = m_truePeakWarning->palette();
    warningPalette.setColor(QPalette::WindowText, LoudnessColors::red());
    m_truePeakWarning->setPalette(warningPalette);
    auto* integratedRow = new QHBoxLayout;
    integratedRow->addWidget(textLabel(QStringLiteral("Integrált hangosság:"), loudness, 12));
    integratedRow->addWidget(m_integratedLoudness);
    integratedRow->addStretch(1);
    auto* truePeakRow = new QHBoxLayout;
    truePeakRow->addWidget(textLabel(QStringLiteral("Valódi csúcs:"), loudness, 12));
    truePeakRow->addWidget(m_truePeak);
    truePeakRow->addWidget(m_truePeakWarning);
    truePeakRow->addStretch(1);
    m_normaliseButton = new QPushButton(QStringLiteral("Normalizálás -14 LUFS-re"), loudness);
    m_normaliseButton->setObjectName(QStringLiteral("normaliseButton"));
    // Only moves the boost; "Alkalmaz" still renders the audio again.
    connect(m_normaliseButton, &QPushButton::clicked, this, [this] {
        if (const std::optional<double> boost = m_viewModel.normalisationVolumeBoost())
            m_viewModel.setVolumeBoost(*boost);
    });
    auto* normaliseRow = new QHBoxLayout;
    normaliseRow->addWidget(m_normaliseButton);
    normaliseRow->addStretch(1);
    loudnessLayout->addLayout(integratedRow);
    loudnessLayout->addLayout(truePeakRow);
    loudnessLayout->addLayout(normaliseRow);

    // 6. Warning.
    QLabel* warning =
            textLabel(QStringLiteral("Az alkalmazás gomb megnyomásával a hangsáv újra fog töltődni és az "
                                     "összes oldal hozzárendelés törlődni fog!"),
                      this, 12);
    warning->setObjectName(QStringLiteral("warningLabel"));
    warning->setWordWrap(true);
    auto* warningRow = new QHBoxLayout;
    warningRow->addWidget(iconLabel(QStringLiteral("exclamationmark-triangle-fill"), this), 0, Qt::AlignTop);
    warningRow->addWidget(warning, 1);

    // 7. Buttons.
    auto* cancelButton = new QPushButton(QStringLiteral("Mégse"), this);
    cancelButton->setObjectName(QStringLiteral("cancelButton"));
    auto* applyButton = new QPushButton(QStringLiteral("Alkalmaz"), this);
    applyButton->setObjectName(QStringLiteral("applyButton"));
    applyButton->setDefault(true);
    connect(cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(applyButton, &QPushButton::clicked, this, [this] {
        emit applyRequested();
        accept();
    });
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cancelButton);
    buttons->addWidget(applyButton);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(12);
    column->addLayout(titleRow);
    column->addWidget(silenceGroup);
    column->addLayout(headingRow(QStringLiteral("rectangle-on-rectangle-angled"),
                                 QStringLiteral("Képek közötti átmenet (fade)"), m_transitionValue, this));
    column->addWidget(m_transitionSlider);
    column->addWidget(transitionCaption);
    column->addLayout(headingRow(QStringLiteral("speaker-wave"), QStringLiteral("Hangerő erősítés"),
                                 m_boostValue, this));
    column->addLayout(sliderRow(m_boostSlider, QStringLiteral("25%"), QStringLiteral("1000%"), this));
    column->addWidget(boostCaption);
    column->addWidget(loudness);
    column->addLayout(warningRow);
    column->addLayout(buttons);

    // The sliders write the settings as they move.
    connect(m_startSilenceSlider, &QSlider::valueChanged, this, [this](int position) {
        m_viewModel.setStartSilenceDuration(static_cast<double>(position) / kSilenceStepsPerSecond);
    });
    connect(m_endSilenceSlider, &QSlider::valueChanged, this, [this](int position) {
        m_viewModel.setEndSilenceDuration(static_cast<double>(position) / kSilenceStepsPerSecond);
    });
    connect(m_transitionSlider, &QSlider::valueChanged, this, [this](int position) {
        m_viewModel.setTransitionDuration(static_cast<double>(position) / kTransitionStepsPerSecond);
    });
    connect(m_boostSlider, &QSlider::valueChanged, this,
            [this](int percent) { m_viewModel.setVolumeBoost(static_cast<double>(percent)); });

    for (auto signal :
         {&VideoEditorViewModel::startSilenceDurationChanged,
          &VideoEditorViewModel::endSilenceDurationChanged, &VideoEditorViewModel::transitionDurationChanged,
          &VideoEditorViewModel::volumeBoostChanged, &VideoEditorViewModel::audioLoudnessDBChanged,
          &VideoEditorViewModel::integratedLoudnessLUFSChanged, &VideoEditorViewModel::truePeakDBTPChanged,
          &VideoEditorViewModel::isMeasuringLoudnessChanged})
        connect(&m_viewModel, signal, this, &AudioSettingsSheet::refreshValues);

    // Closing the sheet in any way ends the editor's request to show it.
    connect(this, &QDialog::finished, this, [this] {
        if (m_viewModel.showAudioSettings())
            m_viewModel.setShowAudioSettings(false);
    });
    refreshValues();
    // The wrapped captions need the height that goes with the fixed width.
    setMinimumHeight(column->heightForWidth(kWidth));
    resize(kWidth, minimumHeight());
}

void AudioSettingsSheet::refreshValues()
{
    {
        // Follow settings changed elsewhere without writing them back rounded to a step.
        const QSignalBlocker blockStart(m_startSilenceSlider);
        const QSignalBlocker blockEnd(m_endSilenceSlider);
        const QSignalBlocker blockTransition(m_transitionSlider);
        const QSignalBlocker blockBoost(m_boostSlider);
        m_startSilenceSlider->setValue(
                sliderPosition(m_viewModel.startSilenceDuration(), kSilenceStepsPerSecond));
        m_endSilenceSlider->setValue(
                sliderPosition(m_viewModel.endSilenceDuration(), kSilenceStepsPerSecond));
        m_transitionSlider->setValue(
                sliderPosition(m_viewModel.transitionDuration(), kTransitionStepsPerSecond));
        m_boostSlider->setValue(sliderPosition(m_viewModel.volumeBoost(), 1));
    }
    m_startSilenceValue->setText(seconds(m_viewModel.startSilenceDuration()));
    m_endSilenceValue->setText(seconds(m_viewModel.endSilenceDuration()));
    const double transition = m_viewModel.transitionDuration();
    m_transitionValue->setText(transition == 0.0 ? QStringLiteral("Ki") : seconds(transition));
    m_boostValue->setText(QString::number(std::lround(m_viewModel.volumeBoost())) + QStringLiteral("%"));
    refreshLoudness();
}

void AudioSettingsSheet::refreshLoudness()
{
    // Without a measurement the two figures are left out; the verdict says why.
    const std::optional<double> original = m_viewModel.audioLoudnessDB();
    const std::optional<double> boosted = m_viewModel.boostedLoudnessDB();
    m_originalLoudness->setText(original ? decibels(*original) : QString());
    m_originalLoudness->setVisible(original.has_value());
    m_boostedLoudness->setText(boosted ? decibels(*boosted) : QString());
    m_boostedLoudness->setVisible(boosted.has_value());
    const VideoEditorViewModel::LoudnessInfo info = m_viewModel.youtubeLoudnessInfo();
    m_verdict->setText(info.text);
    QPalette verdictPalette = m_verdict->palette();
    verdictPalette.setColor(QPalette::WindowText, info.color);
    m_verdict->setPalette(verdictPalette);

    // Without a measurement the rows show a dash and there is nothing to normalise; while the
    // meter is still working through a fresh recording they say so.
    const QString absent = m_viewModel.isMeasuringLoudness() ? QStringLiteral("mérés…") : QStringLiteral("–");
    const std::optional<double> lufs = m_viewModel.integratedLoudnessLUFS();
    const std::optional<double> boostedLufs = m_viewModel.boostedIntegratedLoudnessLUFS();
    m_integratedLoudness->setText(lufs && boostedLufs
                                          ? formatFixed(*lufs, 1) + QStringLiteral(" LUFS → ") +
                                                    formatFixed(*boostedLufs, 1) + QStringLiteral(" LUFS")
                                          : absent);
    const std::optional<double> peak = m_viewModel.boostedTruePeakDBTP();
    const bool distorts = peak && *peak > kTruePeakCeilingDBTP;
    m_truePeak->setText(peak ? formatFixed(*peak, 1) + QStringLiteral(" dBTP") : absent);
    QPalette peakPalette = m_truePeak->palette();
    peakPalette.setColor(QPalette::WindowText,
                         distorts ? LoudnessColors::red() : palette().color(QPalette::WindowText));
    m_truePeak->setPalette(peakPalette);
    m_truePeakWarning->setVisible(distorts);
    m_normaliseButton->setEnabled(m_viewModel.normalisationVolumeBoost().has_value());
}
