// Converts rendered canvases (premultiplied ARGB: bytes B, G, R, A) to the encoder's
// yuv420p pictures with the BT.709 matrix in limited range. One converter per thread.
#pragma once

#include "media/FfmpegHandles.h"
#include "media/VideoPicture.h"

#include <QImage>

class PictureConverter {
public:
    PictureConverter(int width, int height);
    ~PictureConverter();
    PictureConverter(const PictureConverter&) = delete;
    PictureConverter& operator=(const PictureConverter&) = delete;

    // A new picture holding `canvas` (which must have the converter's size), or null when
    // memory runs out or the canvas does not fit.
    VideoPicture convert(const QImage& canvas);

private:
    int m_width;
    int m_height;
    ScalerPtr m_scaler;
};
