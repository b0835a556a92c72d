// The control bar under the preview: time panel and frame counter, the four round media
// buttons, the page buttons of the current state (recording / playing / stopped), the format,
// export-FPS and export-resolution pickers and the export button. Holds only the editor;
// every change of the editor rebuilds what is shown. Main thread only.
#pragma once

#include <QWidget>

#include <cstdint>

class ControlButton;
class MediaButton;
class QButtonGroup;
class QHBoxLayout;
class QLabel;
class VideoEditorViewModel;

class ControlButtons : public QWidget {
    Q_OBJECT

public:
    explicit ControlButtons(VideoEditorViewModel& viewModel, QWidget* parent = nullptr);

    // "mm:ss" of the seconds truncated toward zero; minutes are not limited to 59.
    static QString timeString(double seconds);
    int64_t currentFrame() const;
    int64_t totalFrames() const;

    // Re-reads the editor: enabled states, icons, texts and which rows are shown.
    void refresh();

private:
    void buildMainRow(QHBoxLayout* row);
    void buildSettingsRow(QHBoxLayout* row);
    void rebuildPageButtons();
    void playPressed();
    void recordPressed();
    ControlButton* addPageButton(const QString& objectName, const QString& title, const QColor& color,
                                 const QString& icon, void (VideoEditorViewModel::*action)());

    enum class PageRow { none, recording, playing, stopped };

    VideoEditorViewModel& m_viewModel;
    MediaButton* m_toStart = nullptr;
    MediaButton* m_play = nullptr;
    MediaButton* m_stop = nullptr;
    MediaButton* m_record = nullptr;
    QWidget* m_timePanel = nullptr;
    QLabel* m_currentTime = nullptr;
    QLabel* m_duration = nullptr;
    QLabel* m_frameCounter = nullptr;
    QWidget* m_pageButtons = nullptr;
    QHBoxLayout* m_pageButtonsLayout = nullptr;
    PageRow m_pageRow = PageRow::none;
    QButtonGroup* m_formatGroup = nullptr;
    QButtonGroup* m_fpsGroup = nullptr;
    QButtonGroup* m_resolutionGroup = nullptr;
    ControlButton* m_export = nullptr;
};
