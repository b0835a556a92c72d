#include "render/ScaledPageCache.h"

const QImage& ScaledPageCache::scaled(const QImage& page, QSize size)
{
    const qint64 key = page.cacheKey();
    for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
        if (it->cacheKey == key && it->size == size) {
            m_entries.splice(m_entries.begin(), m_entries, it);
            return m_entries.front().image;
        }
    }
    // A page drawn afresh from its source is as sharp as the rectangle allows; the held
    // picture, made for the 1920-pixel canvas, would only be enlarged.
    QImage drawn = m_rasteriser ? m_rasteriser(page, size) : QImage();
    // The drawn picture is handed on, not shared: changing the pixel ratio of a shared picture
    // would copy all of it (33 MB for a page at 4K).
    QImage image = drawn.isNull() ? page.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                                  : std::move(drawn).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    // Qt's smooth scaling averages the covered source pixels when shrinking and interpolates
    // bilinearly when enlarging, so staff lines neither vanish nor turn jagged.
    if (image.size() != size)
        image = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    if (image.devicePixelRatio() != 1.0)
        image.setDevicePixelRatio(1.0);
    ++m_scalings;
    m_entries.push_front(Entry{key, size, std::move(image)});
    while (static_cast<int>(m_entries.size()) > m_capacity)
        m_entries.pop_back();
    return m_entries.front().image;
}
