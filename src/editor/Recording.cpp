// Page-turn recording: while the audio plays, every frame the playhead passes is given the
// page being recorded (its index, image and placement). Main thread only.
#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"

#include <algorithm>

void VideoEditorViewModel::assignImage(const QImage& image, int64_t frame)
{
    const auto record = m_frameManager->getFrame(frame);
    if (!record)
        return;
    const std::optional<Placement>& recorded = m_pageTurns.placement();
    const Placement placement = recorded ? *recorded : computePlacement(image);
    record->bgImage = image;
    record->bgImageX = placement.x;
    record->bgImageY = placement.y;
    record->bgImageWidth = placement.width;
    record->bgImageHeight = placement.height;
    // The page index written is the page being recorded, whatever image was passed.
    record->assignedImageIndex = m_pageTurns.page();
}

void VideoEditorViewModel::assignImagePublic(const QImage& image, int64_t frame, int imageIndex)
{
    m_pageTurns.turnTo(imageIndex, computePlacement(image));
    assignImage(image, frame);
    announceChange();
}

void VideoEditorViewModel::assignImageWithIndex(const QImage& image, int64_t frame, int imageIndex)
{
    const auto record = m_frameManager->getFrame(frame);
    if (!record)
        return;
    const Placement placement = computePlacement(image);
    record->bgImage = image;
    record->bgImageX = placement.x;
    record->bgImageY = placement.y;
    record->bgImageWidth = placement.width;
    record->bgImageHeight = placement.height;
    record->assignedImageIndex = imageIndex;
}

void VideoEditorViewModel::startRecording()
{
    if (!m_audioURL || m_pages.empty())
        return;
    // Recording starts with the page selected in the sidebar, or with the first page when
    // none (or one that no longer exists) is selected.
    int page = 0;
    if (const std::optional<int> selected = m_pages.selectedIndex(); selected && m_pages.contains(*selected))
        page = *selected;
    else
        setSelectedImageIndex(0);
    // Nothing is written now: the first tick fills from the current frame on.
    m_pageTurns.begin(page, computePlacement(m_pages.at(page).image()), frameIndexForTime(m_currentTime));
    setIsRecording(true);
    play();
}

void VideoEditorViewModel::stopRecording()
{
    // Unlike stop(), the playhead stays where it is.
    setIsRecording(false);
    pause();
    scheduleAutoSave();
}

void VideoEditorViewModel::updateAssignmentForCurrentTime()
{
    const int64_t current = frameIndexForTime(m_currentTime);
    if (current < 0)
        return;
    // The page being recorded always exists while the page list is left alone; should the
    // list have shrunk under a running recording, nothing is written rather than a missing
    // page.
    if (!m_pages.contains(m_pageTurns.page()))
        return;
    if (const auto span = m_pageTurns.sweepTo(current)) {
        // Every frame passed since the last tick is filled, however late the tick came.
        const QImage image = m_pages.at(m_pageTurns.page()).image();
        for (int64_t frame = span->first; frame <= span->last; ++frame)
            assignImage(image, frame);
        announceChange();
    }
    setSelectedImageIndex(m_pageTurns.page());
}

void VideoEditorViewModel::updateSelectedImageForCurrentTime()
{
    const int64_t current = frameIndexForTime(m_currentTime);
    const auto record = m_frameManager->getFrame(std::max<int64_t>(0, current));
    if (!record || !record->assignedImageIndex)
        return;
    if (m_pages.selectedIndex() != record->assignedImageIndex)
        setSelectedImageIndex(record->assignedImageIndex);
}

void VideoEditorViewModel::nextPageDuringRecording()
{
    if (!m_isRecording || m_pages.empty())
        return;
    // One page on, kept inside the page list.
    const std::optional<int> page = m_pageTurns.pageAfterStep(+1, m_pages.size());
    if (!page)
        return;
    const QImage image = m_pages.at(*page).image();
    m_pageTurns.turnTo(*page, computePlacement(image));
    setSelectedImageIndex(page);
    // The frame under the playhead shows the new page at once; the sweep continues with it
    // from the frame after the last one it wrote.
    assignImage(image, std::max<int64_t>(0, frameIndexForTime(m_currentTime)));
    announceChange();
}

void VideoEditorViewModel::previousPageDuringRecording()
{
    if (!m_isRecording || m_pages.empty())
        return;
    const std::optional<int> page = m_pageTurns.pageAfterStep(-1, m_pages.size());
    if (!page)
        return;
    const QImage image = m_pages.at(*page).image();
    m_pageTurns.turnTo(*page, computePlacement(image));
    setSelectedImageIndex(page);
    assignImage(image, std::max<int64_t>(0, frameIndexForTime(m_currentTime)));
    announceChange();
}

std::optional<QUuid> VideoEditorViewModel::recordedPageId() const
{
    if (!m_isRecording || !m_pages.contains(m_pageTurns.page()))
        return std::nullopt;
    return m_pages.at(m_pageTurns.page()).id();
}

void VideoEditorViewModel::followRecordedPage(const std::optional<QUuid>& recordedPage)
{
    if (!recordedPage || !m_isRecording)
        return;
    if (m_pages.indexOf(*recordedPage).has_value())
        return;
    // Rather than go on recording a page that is no longer there (and write nothing), the
    // recording takes the page that moved into its place.
    if (m_pages.contains(m_pageTurns.page()))
        switchRecordingToPage(m_pageTurns.page());
    else
        stopRecording();
}

void VideoEditorViewModel::switchRecordingToPage(int index)
{
    if (!m_isRecording || !m_pages.contains(index))
        return;
    setSelectedImageIndex(index);
    m_pageTurns.turnTo(index, std::nullopt);
    const QImage image = m_pages.at(index).image();
    assignImagePublic(image, std::max<int64_t>(0, frameIndexForTime(m_currentTime)), index);
}
