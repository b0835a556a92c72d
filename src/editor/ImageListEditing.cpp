// The editor's page-list edits: remove, delete all, delete by orientation, merge the selected
// pages, move by drag. Main thread, synchronous. The frames are deliberately left alone: a
// recorded frame keeps the picture it was given and its stored page index, even when that
// index afterwards names a different entry or none.
#include "editor/VideoEditorViewModel.h"
#include "images/CompactPagePicture.h"
#include "images/ImageMerging.h"
#include "images/PageListRules.h"
#include "model/Frames.h"
#include "support/Log.h"

#include <QList>

void VideoEditorViewModel::removeImage(int index)
{
    if (!m_pages.contains(index)) {
        logLine(QStringLiteral("[removeImage] HIBA: érvénytelen index: %1, images.count: %2")
                        .arg(index)
                        .arg(m_pages.size()));
        return;
    }
    logLine(QStringLiteral("[removeImage] Törlés előtt: %1 kép").arg(m_pages.size()));
    const std::optional<QUuid> recorded = recordedPageId();
    // Both selections are kept valid by the list itself.
    publishPageListChanges(m_pages.removeAt(index));
    logLine(QStringLiteral("[removeImage] Törlés után: %1 kép").arg(m_pages.size()));
    followRecordedPage(recorded);

    announceChange();
    updateFrameManagerImages();
    scheduleAutoSave();
}

void VideoEditorViewModel::deleteAllImages()
{
    if (m_pages.empty())
        return;
    const size_t count = m_pages.size();
    const std::optional<QUuid> recorded = recordedPageId();
    publishPageListChanges(m_pages.setPages({}));
    setSelectedImageIndex(std::nullopt);
    setSelectedImageIndices({});
    followRecordedPage(recorded);
    announceChange();
    updateFrameManagerImages();
    scheduleAutoSave();
    logLine(QStringLiteral("[deleteAllImages] %1 kép törölve").arg(count));
}

void VideoEditorViewModel::deletePortraitImages()
{
    deleteImagesWithOrientation(true);
}

void VideoEditorViewModel::deleteLandscapeImages()
{
    deleteImagesWithOrientation(false);
}

void VideoEditorViewModel::deleteImagesWithOrientation(bool portrait)
{
    const PageOrientation doomed = portrait ? PageOrientation::portrait : PageOrientation::landscape;
    const size_t countBefore = m_pages.size();
    const std::optional<QUuid> recorded = recordedPageId();
    // Runs through also when nothing matched: the selections are cleared and the count logged.
    publishPageListChanges(m_pages.removeWithOrientation(doomed));
    const size_t removed = countBefore - m_pages.size();
    setSelectedImageIndex(std::nullopt);
    setSelectedImageIndices({});
    followRecordedPage(recorded);
    announceChange();
    updateFrameManagerImages();
    scheduleAutoSave();
    if (portrait)
        logLine(QStringLiteral("[deletePortraitImages] %1 álló kép törölve").arg(removed));
    else
        logLine(QStringLiteral("[deleteLandscapeImages] %1 fekvő kép törölve").arg(removed));
}

void VideoEditorViewModel::mergeSelectedImages()
{
    // List order, not the order of clicking. Members that name no entry take no part.
    const std::vector<int> selected = m_pages.selectedPagesInListOrder();
    if (selected.size() < 2) {
        logLine(QStringLiteral("[merge] Legalább 2 kép kell az összefűzéshez"));
        return;
    }

    std::vector<QImage> pictures;
    pictures.reserve(selected.size());
    for (int index : selected)
        pictures.push_back(m_pages.at(index).image());
    const QSizeF size = mergedSizeInPoints(pictures);
    QImage merged = mergeHorizontally(pictures);
    ImageItem entry(QUuid::createUuid(), std::move(merged), m_pages.at(selected.front()).url());

    const std::optional<QUuid> recorded = recordedPageId();
    publishPageListChanges(m_pages.replaceWithOne(selected, std::move(entry)));

    setSelectedImageIndices({});
    setSelectedImageIndex(selected.front());
    followRecordedPage(recorded);
    announceChange();
    updateFrameManagerImages();
    scheduleAutoSave();
    logLine(QStringLiteral("[merge] %1 kép összefűzve, méret: %2x%3")
                    .arg(selected.size())
                    .arg(static_cast<qint64>(size.width()))
                    .arg(static_cast<qint64>(size.height())));
}

void VideoEditorViewModel::moveImage(const std::set<int>& offsets, int destination)
{
    publishPageListChanges(m_pages.move(offsets, destination));
    updateFrameManagerImages();
    scheduleAutoSave();
}

void VideoEditorViewModel::moveImageDuringDrag(const QUuid& dragged, const QUuid& target)
{
    publishPageListChanges(m_pages.moveOnto(dragged, target));
}

QImage VideoEditorViewModel::mergeImagesHorizontally(const QImage& left, const QImage& right)
{
    return compactIfGrey(mergeHorizontally(left, right));
}

void VideoEditorViewModel::updateFrameManagerImages()
{
    QList<QImage> pictures;
    pictures.reserve(static_cast<qsizetype>(m_pages.size()));
    for (const ImageItem& item : m_pages.pages())
        pictures.append(item.image());
    m_frameManager->setImages(std::move(pictures));
    emit framesChanged();
}
