#include "media/PictureConverter.h"

extern "C" {
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

PictureConverter::PictureConverter(int width, int height)
    : m_width(width)
    , m_height(height)
{
    m_scaler.reset(sws_getContext(width, height, AV_PIX_FMT_BGRA, width, height, AV_PIX_FMT_YUV420P,
                                  SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
    if (m_scaler) {
        // Full-range RGB in, BT.709 limited-range YUV out: what players assume for HD video.
        const int* bt709 = sws_getCoefficients(SWS_CS_ITU709);
        sws_setColorspaceDetails(m_scaler.get(), bt709, 1, bt709, 0, 0, 1 << 16, 1 << 16);
    }
}

PictureConverter::~PictureConverter() = default;

void PictureConverter::PoolRelease::operator()(AVBufferPool* pool) const
{
    av_buffer_pool_uninit(&pool);
}

AVBufferRef* PictureConverter::allocateBuffer(void* converter, size_t size)
{
    AVBufferRef* buffer = av_buffer_alloc(size);
    if (buffer)
        ++static_cast<PictureConverter*>(converter)->m_buffersAllocated;
    return buffer;
}

// A picture's memory goes back to the converter's pool when the last holder releases it, and
// the next picture is made in it: at 4K each picture is 12 MB, and a fresh block for every
// changing frame cost the export a page fault per 4 KB and left holes in the heap that x264's
// planes could not fill.
bool PictureConverter::attachPooledBuffer(AVFrame& frame)
{
    constexpr int kAlign = 64;
    const int size = av_image_get_buffer_size(AV_PIX_FMT_YUV420P, m_width, m_height, kAlign);
    if (size < 0)
        return false;
    if (!m_pool)
        m_pool.reset(av_buffer_pool_init2(static_cast<size_t>(size), this, &PictureConverter::allocateBuffer,
                                          nullptr));
    if (!m_pool)
        return false;
    frame.buf[0] = av_buffer_pool_get(m_pool.get());
    if (!frame.buf[0])
        return false;
    return av_image_fill_arrays(frame.data, frame.linesize, frame.buf[0]->data, AV_PIX_FMT_YUV420P, m_width,
                                m_height, kAlign) >= 0;
}

VideoPicture PictureConverter::convert(const QImage& canvas)
{
    if (!m_scaler || canvas.width() != m_width || canvas.height() != m_height)
        return nullptr;
    if (canvas.format() != QImage::Format_ARGB32_Premultiplied && canvas.format() != QImage::Format_ARGB32 &&
        canvas.format() != QImage::Format_RGB32)
        return convert(canvas.convertToFormat(QImage::Format_ARGB32_Premultiplied));

    FramePtr frame(av_frame_alloc());
    if (!frame)
        return nullptr;
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = m_width;
    frame->height = m_height;
    frame->color_range = AVCOL_RANGE_MPEG;
    frame->colorspace = AVCOL_SPC_BT709;
    frame->color_primaries = AVCOL_PRI_BT709;
    frame->color_trc = AVCOL_TRC_BT709;
    if (!attachPooledBuffer(*frame))
        return nullptr;
    const uint8_t* sourcePlanes[1] = {canvas.constBits()};
    const int sourceStrides[1] = {static_cast<int>(canvas.bytesPerLine())};
    if (sws_scale(m_scaler.get(), sourcePlanes, sourceStrides, 0, m_height, frame->data, frame->linesize) !=
        m_height)
        return nullptr;
    return VideoPicture(frame.release(), [](const AVFrame* done) {
        AVFrame* owned = const_cast<AVFrame*>(done);
        av_frame_free(&owned);
    });
}
