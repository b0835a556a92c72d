// Projects for the rendering and export tests: solid-colour pages, frames written straight
// into the frame store, and recordings as float WAV files.
#pragma once

#include "audio/AudioBuffer.h"
#include "editor/VideoEditorViewModel.h"
#include "tests/support/ScriptedDialogs.h"

#include <QColor>
#include <QImage>
#include <QRect>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

// A page of one colour.
QImage solidPage(const QColor& color, QSize size = QSize(400, 300));

EditorEnvironment testEnvironment(ScriptedDialogs& dialogs);

// Puts the pages into the editor's page list (and the frame store's image list).
void setPages(VideoEditorViewModel& editor, const std::vector<QImage>& pages);

// Grows the store to exactly `count` frames.
void ensureFrames(VideoEditorViewModel& editor, int64_t count);

// Frames [first, end) show page `pageIndex` of the editor's page list in `rect` (lower-left
// origin); with no page index they show only `color`.
void assignFrames(VideoEditorViewModel& editor, int64_t first, int64_t end, std::optional<int> pageIndex,
                  const QRect& rect = QRect(0, 0, 1920, 1080), const QColor& color = Qt::white);

// A sine tone of `seconds` at `sampleRate` with `channels` channels, written as a float WAV.
AudioBuffer tone(int sampleRate, int channels, double seconds);
QString writeToneWav(const QString& path, int sampleRate, int channels, double seconds);

// Writes a silent H.264 QuickTime video of `frames` frames of one colour; true on success.
bool writeSolidVideo(const QString& path, int frames, int fps, QSize size = QSize(320, 240),
                     const QColor& color = Qt::red);

// The log of a finished three-frame export at 30 fps without sound, written to `destination`.
QStringList threeFrameExportLog(const QString& destination);

// Runs the event loop until the editor's dialogs showed `count` alerts.
bool waitForAlerts(const ScriptedDialogs& dialogs, size_t count = 1, int timeoutMs = 120000);

// True when every channel of `actual` is within `tolerance` of `expected`.
// `over` at opacity `alpha` composited on `under`.
QColor blend(const QColor& under, const QColor& over, double alpha);

bool colorNear(QRgb actual, const QColor& expected, int tolerance);
QString describe(QRgb color);
