// Pages smooth-scaled to the rectangles they are drawn into, kept while they are in use so
// that a page shown for many frames is scaled once. One cache per rendering thread; not
// shared between threads.
#pragma once

#include <QImage>
#include <QSize>

#include <cstdint>
#include <functional>
#include <list>

// Draws a page afresh from where it came from (a PDF page, say) at exactly `size` pixels;
// a null image when it has no such source, and the held picture is scaled instead.
using PageRasteriser = std::function<QImage(const QImage& page, QSize size)>;

class ScaledPageCache {
public:
    explicit ScaledPageCache(int capacity = 6, PageRasteriser rasteriser = {})
        : m_capacity(capacity)
        , m_rasteriser(std::move(rasteriser))
    {}

    // The page scaled to exactly `size` pixels (premultiplied ARGB, device pixel ratio 1).
    // The reference stays valid until the next call.
    const QImage& scaled(const QImage& page, QSize size);

    // How many scalings were made so far (each a cache miss).
    int64_t scalingCount() const { return m_scalings; }
    int entryCount() const { return static_cast<int>(m_entries.size()); }

private:
    struct Entry {
        qint64 cacheKey;
        QSize size;
        QImage image;
    };

    int m_capacity;
    PageRasteriser m_rasteriser;
    int64_t m_scalings = 0;
    std::list<Entry> m_entries; // most recently used first
};
