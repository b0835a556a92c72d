#include "tests/support/ImageFixtures.h"

#include "editor/VideoEditorViewModel.h"
#include "model/Frames.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>

#include <array>

namespace ImageFixtures {

QImage quadrantImage(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    const int halfW = width / 2;
    const int halfH = height / 2;
    painter.fillRect(0, 0, halfW, halfH, Qt::red);
    painter.fillRect(halfW, 0, width - halfW, halfH, Qt::green);
    painter.fillRect(0, halfH, halfW, height - halfH, Qt::blue);
    painter.fillRect(halfW, halfH, width - halfW, height - halfH, Qt::yellow);
    return image;
}

namespace {

void appendBigEndian16(QByteArray& out, quint16 value)
{
    out.append(static_cast<char>(value >> 8));
    out.append(static_cast<char>(value & 0xFF));
}

void appendBigEndian32(QByteArray& out, quint32 value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        out.append(static_cast<char>((value >> shift) & 0xFF));
}

quint32 crc32(const QByteArray& bytes)
{
    static const std::array<quint32, 256> table = [] {
        std::array<quint32, 256> t{};
        for (quint32 n = 0; n < 256; ++n) {
            quint32 c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    quint32 crc = 0xFFFFFFFFu;
    for (char byte : bytes)
        crc = table[(crc ^ static_cast<quint8>(byte)) & 0xFF] ^ (crc >> 8);
    return crc ^ 0xFFFFFFFFu;
}

void appendChunk(QByteArray& out, const char type[4], const QByteArray& data)
{
    appendBigEndian32(out, static_cast<quint32>(data.size()));
    QByteArray typed(type, 4);
    typed += data;
    out += typed;
    appendBigEndian32(out, crc32(typed));
}

QByteArray pngWithImageData(quint32 width, quint32 height, const QByteArray& zlibData)
{
    QByteArray png("\x89PNG\r\n\x1A\n", 8);
    QByteArray header;
    appendBigEndian32(header, width);
    appendBigEndian32(header, height);
    header.append(char(1)); // bit depth
    header.append(char(0)); // greyscale
    header.append(char(0)); // deflate
    header.append(char(0)); // adaptive filtering
    header.append(char(0)); // no interlace
    appendChunk(png, "IHDR", header);
    appendChunk(png, "IDAT", zlibData);
    appendChunk(png, "IEND", {});
    return png;
}

} // namespace

QByteArray blackPng(quint32 width, quint32 height)
{
    // Each row is a filter byte (0) and width bits of 0, i.e. black.
    const qsizetype rowBytes = 1 + static_cast<qsizetype>((width + 7) / 8);
    const QByteArray raw(rowBytes * static_cast<qsizetype>(height), '\0');
    // qCompress prefixes the zlib stream with its own 4-byte length.
    return pngWithImageData(width, height, qCompress(raw, 9).mid(4));
}

QByteArray zeroSizePng()
{
    return pngWithImageData(0, 0, qCompress(QByteArray(), 9).mid(4));
}

QByteArray jpegWithExifOrientation(const QImage& image, int orientation)
{
    QByteArray jpeg;
    {
        QBuffer buffer(&jpeg);
        buffer.open(QIODevice::WriteOnly);
        QImageWriter writer(&buffer, "jpeg");
        writer.setQuality(95);
        if (!writer.write(image))
            return {};
    }
    // APP1: "Exif\0\0", then a big-endian TIFF header and one IFD with the orientation tag.
    QByteArray exif("Exif\0\0", 6);
    exif += QByteArray("MM\0\x2A", 4);
    appendBigEndian32(exif, 8); // offset of the first IFD
    appendBigEndian16(exif, 1); // one entry
    appendBigEndian16(exif, 0x0112);
    appendBigEndian16(exif, 3); // SHORT
    appendBigEndian32(exif, 1);
    appendBigEndian16(exif, static_cast<quint16>(orientation));
    appendBigEndian16(exif, 0);
    appendBigEndian32(exif, 0); // no next IFD
    QByteArray segment("\xFF\xE1", 2);
    appendBigEndian16(segment, static_cast<quint16>(exif.size() + 2));
    segment += exif;
    // Right after the start-of-image marker.
    return jpeg.left(2) + segment + jpeg.mid(2);
}

bool frameStoreMatchesPageList(const VideoEditorViewModel& editor)
{
    const QList<QImage>& stored = editor.getFrameManager().images();
    if (stored.size() != static_cast<qsizetype>(editor.images().size()))
        return false;
    for (size_t i = 0; i < editor.images().size(); ++i) {
        if (stored[static_cast<qsizetype>(i)] != editor.images()[i].image())
            return false;
    }
    return true;
}

} // namespace ImageFixtures
