// Covers the whole window while an export or a save runs (the editor's isSavingProject):
// a spinning indicator, the title "Export folyamatban...", a 300-point progress bar, the
// whole percentage and the progress text, on a panel in the middle whose background is
// 0.8-opaque. It swallows the mouse over the whole window while shown. Main thread only.
#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;
class VideoEditorViewModel;

class ProgressOverlay : public QWidget {
    Q_OBJECT

public:
    explicit ProgressOverlay(VideoEditorViewModel& viewModel, QWidget* parent = nullptr);

    static QString title() { return QStringLiteral("Export folyamatban..."); }
    // "42%" for 0.429: the integer part of progress x 100.
    static QString percentText(double progress);

    void refresh();
    // The panel's background colour: the window colour at 0.8 opacity.
    QColor panelColor() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void paintPanel();

    VideoEditorViewModel& m_viewModel;
    QWidget* m_panel;
    QLabel* m_title;
    QProgressBar* m_bar;
    QLabel* m_percent;
    QLabel* m_text;
};
