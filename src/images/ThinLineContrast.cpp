#include "images/ThinLineContrast.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<int, 3> kChannelShifts{16, 8, 0}; // red, green, blue in a QRgb

int inkOf(QRgb pixel, int shift)
{
    return 255 - ((pixel >> shift) & 0xff);
}

void setInk(QRgb& pixel, int shift, int ink)
{
    const auto value = static_cast<QRgb>(255 - ink);
    pixel = (pixel & ~(QRgb(0xff) << shift)) | (value << shift);
}

// One line of pixels (a column or a row), reached through `at(i)` for i in [0, length).
template <typename PixelAt>
void concentrateAlong(int length, int shift, PixelAt at)
{
    for (int i = 0; i + 1 < length; ++i) {
        const bool startsAfterPaper = i == 0 || inkOf(at(i - 1), shift) <= kPaperInk;
        const bool endsBeforePaper = i + 2 == length || inkOf(at(i + 2), shift) <= kPaperInk;
        QRgb& first = at(i);
        QRgb& second = at(i + 1);
        const int firstInk = inkOf(first, shift);
        const int secondInk = inkOf(second, shift);
        if (!startsAfterPaper || !endsBeforePaper || firstInk <= kPaperInk || secondInk <= kPaperInk)
            continue;
        const int total = firstInk + secondInk;
        if (total < kThinLineCoreInk)
            continue; // too faint to be a line worth a full core: a hairline stays as drawn
        const bool firstIsCore = firstInk >= secondInk;
        const int coreInk = std::max(firstIsCore ? firstInk : secondInk, kThinLineCoreInk);
        setInk(firstIsCore ? first : second, shift, coreInk);
        // Within one 2 x 2 block the ink moves, so the block's average (the 1080p pixel) stays;
        // across two blocks the core only darkens, which changes both averages least.
        if (i % 2 == 0)
            setInk(firstIsCore ? second : first, shift, total - coreInk);
        ++i; // the run's second pixel is done too
    }
}

} // namespace

void concentrateThinLines(QImage& page)
{
    if (page.isNull())
        return;
    if (page.format() != QImage::Format_ARGB32_Premultiplied)
        page = page.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const int width = page.width();
    const int height = page.height();
    uchar* bits = page.bits();
    const qsizetype stride = page.bytesPerLine();
    const auto pixel = [bits, stride](int x, int y) -> QRgb& {
        return reinterpret_cast<QRgb*>(bits + y * stride)[x];
    };
    for (const int shift : kChannelShifts) {
        for (int x = 0; x < width; ++x)
            concentrateAlong(height, shift, [&pixel, x](int y) -> QRgb& { return pixel(x, y); });
        for (int y = 0; y < height; ++y)
            concentrateAlong(width, shift, [&pixel, y](int x) -> QRgb& { return pixel(x, y); });
    }
}
