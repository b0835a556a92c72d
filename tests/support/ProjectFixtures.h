// An editor for the project-file and reload tests: manual-clock players, scripted dialogs,
// and every file it writes (rendered audio, autosave) inside one temporary folder. Helpers
// to make recordings, pages and project files on the spot and to wait for audio loads.
#pragma once

#include "editor/VideoEditorViewModel.h"
#include "project/ProjectFormat.h"
#include "tests/support/ScriptedDialogs.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

namespace ProjectFixtures {

class ProjectEditor {
public:
    ProjectEditor();
    VideoEditorViewModel& editor() { return *m_editor; }
    ScriptedDialogs& dialogs() { return m_dialogs; }
    QString file(const QString& name) const { return m_dir.filePath(name); }
    // The folder given to the editor as its per-user data folder (not created in advance).
    QString dataDirectory() const { return m_dir.filePath(QStringLiteral("data")); }

    // A mono 44.1 kHz tone of `seconds` written as a float WAV; returns its path.
    QString writeTone(const QString& name, double seconds);
    // A PNG page of the given size in one colour; returns its path.
    QString writePng(const QString& name, int width, int height, const QColor& color);

    // Loads a recording and waits until the load has ended; true when it succeeded.
    bool loadAudioAndWait(const QString& path);
    // Reloads with the current silences and waits; true when it succeeded.
    bool reloadAndWait();

private:
    QTemporaryDir m_dir;
    ScriptedDialogs m_dialogs;
    std::unique_ptr<VideoEditorViewModel> m_editor;
};

// Waits for the editor's next audioLoadFinished() after `start` ran, then for the pool to
// hand back its last references; returns the reported outcome (false also on a timeout).
bool runAndWaitForAudio(VideoEditorViewModel& editor, const std::function<void()>& start);

// Writes bytes to a file; returns the path.
QString writeFile(const QString& path, const QByteArray& bytes);
QByteArray readFile(const QString& path);

} // namespace ProjectFixtures
