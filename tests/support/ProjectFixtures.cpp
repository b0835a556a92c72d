#include "tests/support/ProjectFixtures.h"

#include "tests/support/AudioFixtures.h"
#include "tests/support/EventLoop.h"

#include <QFile>
#include <QImage>
#include <QThreadPool>

#include <cmath>

namespace ProjectFixtures {

ProjectEditor::ProjectEditor()
{
    EditorEnvironment environment = fixtures::manualPlayerEnvironment(m_dir.path());
    environment.dialogs = &m_dialogs;
    environment.dataDirectory = dataDirectory();
    m_editor = std::make_unique<VideoEditorViewModel>(std::move(environment));
}

QString ProjectEditor::writeTone(const QString& name, double seconds)
{
    const auto frames = static_cast<int64_t>(std::llround(seconds * 44100.0));
    return fixtures::writeWav(file(name), fixtures::sineTone(44100, 1, frames));
}

QString ProjectEditor::writePng(const QString& name, int width, int height, const QColor& color)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(color);
    const QString path = file(name);
    return image.save(path, "PNG") ? path : QString();
}

bool ProjectEditor::loadAudioAndWait(const QString& path)
{
    return runAndWaitForAudio(*m_editor, [&] { m_editor->loadAudio(path); });
}

bool ProjectEditor::reloadAndWait()
{
    return runAndWaitForAudio(*m_editor, [&] { m_editor->reloadAudioWithNewSilence(); });
}

bool runAndWaitForAudio(VideoEditorViewModel& editor, const std::function<void()>& start)
{
    std::optional<bool> outcome;
    const QMetaObject::Connection connection =
            QObject::connect(&editor, &VideoEditorViewModel::audioLoadFinished, [&outcome](bool succeeded) {
                if (!outcome)
                    outcome = succeeded;
            });
    start();
    waitUntil([&] { return outcome.has_value(); }, 60000);
    QObject::disconnect(connection);
    QThreadPool::globalInstance()->waitForDone();
    drainEvents();
    return outcome.value_or(false);
}

QString writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return QString();
    return path;
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

} // namespace ProjectFixtures
