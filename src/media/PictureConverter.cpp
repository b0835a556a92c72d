#include "media/PictureConverter.h"

extern "C" {
#include <libavutil/frame.h>
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
    if (av_frame_get_buffer(frame.get(), 0) < 0)
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
