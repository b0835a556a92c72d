// Converts rendered canvases (premultiplied ARGB: bytes B, G, R, A) to the encoder's
// yuv420p pictures with the BT.709 matrix in limited range. One converter per thread.
#pragma once

#include "media/FfmpegHandles.h"
#include "media/VideoPicture.h"

#include <QImage>

#include <memory>

struct AVBufferPool;
struct AVBufferRef;
struct AVFrame;

class PictureConverter {
public:
    PictureConverter(int width, int height);
    ~PictureConverter();
    PictureConverter(const PictureConverter&) = delete;
    PictureConverter& operator=(const PictureConverter&) = delete;

    // A new picture holding `canvas` (which must have the converter's size), or null when
    // memory runs out or the canvas does not fit.
    VideoPicture convert(const QImage& canvas);

    // How many picture buffers the converter has allocated so far: pictures are made in the
    // memory of released ones, so this stays at the number held at the same time.
    int buffersAllocated() const { return m_buffersAllocated; }

private:
    struct PoolRelease {
        void operator()(AVBufferPool* pool) const;
    };
    static AVBufferRef* allocateBuffer(void* converter, size_t size);
    bool attachPooledBuffer(AVFrame& frame);

    int m_width;
    int m_height;
    ScalerPtr m_scaler;
    int m_buffersAllocated = 0;
    std::unique_ptr<AVBufferPool, PoolRelease> m_pool;
};
