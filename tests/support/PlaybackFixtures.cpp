#include "tests/support/PlaybackFixtures.h"
#include "model/Frames.h"
#include "tests/support/EditorTestAccess.h"

#include <QUuid>

#include <gtest/gtest.h>

#include <memory>

namespace {

EditorEnvironment playbackEnvironment(Dialogs* dialogs)
{
    EditorEnvironment environment;
    environment.dialogs = dialogs;
    return environment;
}

} // namespace

QImage makePageImage(int width, int height, const QColor& color, double devicePixelRatio)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    image.setDevicePixelRatio(devicePixelRatio);
    return image;
}

std::vector<ImageItem> makePageItems(const std::vector<QImage>& images)
{
    std::vector<ImageItem> items;
    for (size_t i = 0; i < images.size(); ++i)
        items.emplace_back(QUuid::createUuid(), images[i], QStringLiteral("/pages/page%1.png").arg(i + 1));
    return items;
}

PlaybackEditor::PlaybackEditor(double duration)
    : m_editor(playbackEnvironment(&m_dialogs))
{
    auto player = std::make_unique<ManualAudioPlayer>(duration);
    m_player = player.get();
    EditorTestAccess::setAudioPlayer(m_editor, std::move(player));
    m_editor.setDuration(duration);
    m_editor.setAudioURL(QStringLiteral("/tmp/audio_with_silence_TEST.wav"));
    m_editor.getFrameManager().ensureFrameCount(duration, VideoEditorViewModel::FPS);
}

void PlaybackEditor::tickAt(double seconds)
{
    m_player->setCurrentTime(seconds);
    m_editor.playbackTick();
}

std::optional<int> PlaybackEditor::pageOfFrame(int64_t frame)
{
    const auto record = m_editor.getFrameManager().getFrame(frame);
    EXPECT_NE(record, nullptr) << "frame " << frame;
    return record ? record->assignedImageIndex : std::nullopt;
}
