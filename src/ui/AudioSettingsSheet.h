// The modal sheet for the audio settings: start and end silence, the fade between pages and
// the volume boost, with the loudness against the video-platform target. The sliders write
// the editor's settings at once; only "Alkalmaz" asks for the audio to be rendered again.
// Main thread; shown over the window while the editor's showAudioSettings is set.
#pragma once

#include <QDialog>

class QLabel;
class QPushButton;
class QSlider;
class VideoEditorViewModel;

class AudioSettingsSheet : public QDialog {
    Q_OBJECT

public:
    // Slider positions per unit of the settings.
    static constexpr int kSilenceStepsPerSecond = 2;     // 0.5 s
    static constexpr int kTransitionStepsPerSecond = 10; // 0.1 s
    static constexpr int kBoostStep = 5;                 // percent
    static constexpr int kWidth = 540;

    explicit AudioSettingsSheet(VideoEditorViewModel& viewModel, QWidget* parent = nullptr);

signals:
    // "Alkalmaz": render the audio again with the current settings. Emitted before the sheet
    // closes.
    void applyRequested();

private:
    void refreshValues();
    void refreshLoudness();

    VideoEditorViewModel& m_viewModel;
    QSlider* m_startSilenceSlider;
    QSlider* m_endSilenceSlider;
    QSlider* m_transitionSlider;
    QSlider* m_boostSlider;
    QLabel* m_startSilenceValue;
    QLabel* m_endSilenceValue;
    QLabel* m_transitionValue;
    QLabel* m_boostValue;
    QLabel* m_originalLoudness;
    QLabel* m_boostedLoudness;
    QLabel* m_verdict;
    QLabel* m_integratedLoudness;
    QLabel* m_truePeak;
    QLabel* m_truePeakWarning;
    QPushButton* m_normaliseButton;
};
