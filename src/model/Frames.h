// The frame store: the video's timeline, one FrameData per frame at 30 frames per second,
// from the first sample of the audio (start silence included) to its end. It only grows
// while audio is loaded; clear() empties it. No lock of its own: the editor uses it on the
// main thread.
#pragma once

#include "audio/AudioBuffer.h"
#include "audio/FrameSlicing.h"
#include "model/FrameData.h"

#include <QColor>
#include <QImage>
#include <QList>

#include <cstdint>
#include <memory>
#include <vector>

class Frames {
public:
    // The page images in page-list order, as last handed over.
    void setImages(QList<QImage> images);
    const QList<QImage>& images() const { return m_images; }

    // Grows the timeline to ceil(duration x fps) records; never shrinks it and never
    // touches existing records. A non-finite target stops the program.
    void ensureFrameCount(double duration, int fps);
    int64_t getFrameCount() const { return static_cast<int64_t>(m_frames.size()); }
    // The record at the index, or null when the index is negative or past the end. Readers
    // get it read-only; only a writable store hands out records that can be changed.
    std::shared_ptr<const FrameData> getFrame(int64_t index) const;
    std::shared_ptr<FrameData> getFrame(int64_t index);
    // Removes every record and releases the memory.
    void clear();

    // Sets every existing record's colour; the default for later records is separate.
    void setFillColorForAllFrames(const QColor& color);
    QColor defaultFillColor() const { return m_defaultFillColor; }
    void setDefaultFillColor(const QColor& color) { m_defaultFillColor = color; }

    // Audio slices of every existing frame, cut from channel 0 of the recording in runs of
    // sampleRate / fps samples whatever the recording's own rate. Frames past the end get
    // silence (512). The first form decodes the file and only logs its failures.
    void loadAudioData(const QString& url, double sampleRate = 44100.0, int fps = 60);
    void loadAudioData(const AudioBuffer& audio, double sampleRate = 44100.0, int fps = 60);
    // The same with slices already cut (on a background thread); replaces every frame's
    // audioDatas and logs the summary line.
    void applyAudioSlices(FrameAudioSlices slices);

private:
    std::vector<std::shared_ptr<FrameData>> m_frames;
    QList<QImage> m_images;
    QColor m_defaultFillColor = Qt::white;
};
