// Writes the seed inputs of the fuzz targets made with Vornik's own code and Qt's writers:
// project files from the project encoder, PDF documents from QPdfWriter, pictures in the
// formats Qt writes. scripts/fuzz-corpus runs it and adds the audio files made with ffmpeg.
//
//   fuzz_seeds <corpus folder>     (writes <folder>/project, <folder>/pdf, <folder>/image)
#include "project/ProjectFormat.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QImageWriter>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>

#include <cstdio>

namespace {

bool writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

std::vector<ProjectJSON> projects()
{
    std::vector<ProjectJSON> list;

    // Only the required members, as the oldest files have them.
    list.push_back(ProjectJSON{});

    ProjectJSON pictures;
    pictures.audioPath = QStringLiteral("/tmp/audio_with_silence_0A1B.wav");
    pictures.originalAudioPath = QStringLiteral("/home/user/zene/felvétel.mp3");
    pictures.imagePaths = {{QStringLiteral("/home/user/kotta/1.png"), std::nullopt, std::nullopt},
                           {QStringLiteral("/home/user/kotta/2.JPG"), std::nullopt, std::nullopt}};
    for (int i = 0; i < 12; ++i)
        pictures.frames.push_back(
                FrameJSON{i < 6 ? std::optional<int>(0) : std::optional<int>(1), 240, 0, 1440, 1080});
    pictures.frames.push_back(FrameJSON{std::nullopt, 0, 0, 1920, 1080});
    pictures.duration = 0.4;
    pictures.currentTime = 0.25;
    pictures.startSilence = 3.0;
    pictures.endSilence = 5.0;
    pictures.transitionDuration = 0.5;
    pictures.volumeBoost = 100.0;
    pictures.videoFormat = QStringLiteral("16:9");
    pictures.fillColorR = 1.0;
    pictures.fillColorG = 1.0;
    pictures.fillColorB = 1.0;
    list.push_back(pictures);

    ProjectJSON score;
    score.originalAudioPath = QStringLiteral("/zene/darab.m4a");
    score.imagePaths = {{QStringLiteral("/kotta/darab.pdf"), 1, std::nullopt},
                        {QStringLiteral("/kotta/darab.pdf"), 2, 3},
                        {QStringLiteral("/kotta/Masik.PDF"), 3, std::nullopt},
                        {QStringLiteral("/kotta/darab.pdf"), 7, std::nullopt}};
    for (int i = 0; i < 30; ++i)
        score.frames.push_back(FrameJSON{i % 5, -12, 7, 1080, 1920});
    score.frames.push_back(FrameJSON{-1, 0, 0, 0, 0});
    score.frames.push_back(FrameJSON{9, 1, 2, 3, 4});
    score.duration = 1.0;
    score.currentTime = 2.5;
    score.startSilence = 0.0;
    score.endSilence = 0.0;
    score.transitionDuration = 0.0;
    score.volumeBoost = 1000.0;
    score.videoFormat = QStringLiteral("9:16");
    score.fillColorR = 0.1;
    score.fillColorG = 0.25;
    score.fillColorB = 0.75;
    score.exportResolution = QStringLiteral("4K");
    list.push_back(score);

    ProjectJSON odd;
    odd.audioPath = QString();
    odd.imagePaths = {{QString(), -1, 0},
                      {QStringLiteral("\u00e1\u00e9\u0151.jpeg"), 2147483647, -2147483647}};
    odd.frames = {FrameJSON{2147483647, -2147483647, 2147483647, -1, -1}};
    odd.duration = -1.0;
    odd.currentTime = 1e300;
    odd.startSilence = 1e-300;
    odd.endSilence = 123456.789;
    odd.transitionDuration = -0.5;
    odd.volumeBoost = 25.0;
    odd.videoFormat = QStringLiteral("4:3");
    odd.fillColorR = -1.0;
    odd.fillColorG = 2.0;
    odd.fillColorB = 0.5;
    odd.exportResolution = QStringLiteral("8K");
    list.push_back(odd);
    return list;
}

bool writeProjects(const QDir& folder)
{
    int index = 0;
    for (const ProjectJSON& project : projects()) {
        if (!writeBytes(folder.filePath(QStringLiteral("project-%1.vnk").arg(++index)),
                        encodeProject(project)))
            return false;
    }
    // Hand-written variants the encoder never makes: nulls for optional members, numbers
    // written as floats, unknown keys, another key order.
    const char* handWritten = R"({"frames":[{"h":1080.0,"w":1920,"x":0,"y":0,"imageIndex":null}],
"extra":{"a":[1,2,{"b":null}]},"imagePaths":[{"path":"a.png","pageNumber":null}],
"duration":1,"currentTime":0,"startSilence":0,"endSilence":0,"volumeBoost":null,
"videoFormat":null,"fillColorR":0,"fillColorG":0})";
    return writeBytes(folder.filePath(QStringLiteral("project-handwritten.vnk")), QByteArray(handWritten));
}

bool writePdf(const QString& path, const std::vector<QSizeF>& pagesInPoints, bool withPicture)
{
    QPdfWriter writer(path);
    writer.setResolution(72);
    writer.setPageSize(QPageSize(pagesInPoints.front(), QPageSize::Point));
    writer.setPageMargins(QMarginsF());
    QPainter painter(&writer);
    for (size_t page = 0; page < pagesInPoints.size(); ++page) {
        if (page > 0) {
            writer.setPageSize(QPageSize(pagesInPoints[page], QPageSize::Point));
            writer.newPage();
        }
        const QSizeF size = pagesInPoints[page];
        painter.setPen(QPen(Qt::black, 0.8));
        for (int line = 0; line < 5; ++line) {
            const double y = size.height() * 0.3 + line * 4.0;
            painter.drawLine(QPointF(10.0, y), QPointF(size.width() - 10.0, y));
        }
        painter.drawText(QPointF(10.0, 20.0), QStringLiteral("%1. oldal").arg(page + 1));
        if (withPicture) {
            QImage picture(8, 8, QImage::Format_ARGB32);
            picture.fill(QColor(0, 128, 255, 128));
            painter.drawImage(QRectF(20.0, 40.0, 16.0, 16.0), picture);
        }
    }
    return painter.end() && QFile::exists(path);
}

bool writePdfs(const QDir& folder)
{
    return writePdf(folder.filePath(QStringLiteral("one-page.pdf")), {QSizeF(120, 170)}, false) &&
           writePdf(folder.filePath(QStringLiteral("three-pages.pdf")),
                    {QSizeF(100, 140), QSizeF(100, 140), QSizeF(100, 140)}, false) &&
           writePdf(folder.filePath(QStringLiteral("mixed-sizes.pdf")), {QSizeF(140, 100), QSizeF(60, 200)},
                    true);
}

QImage testPicture(int width, int height, QImage::Format format)
{
    QImage picture(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            picture.setPixelColor(x, y,
                                  QColor((x * 37) % 256, (y * 59) % 256, ((x + y) * 11) % 256, 255 - x % 64));
    }
    return picture.convertToFormat(format);
}

// A phone photo: a JPEG whose EXIF orientation tag (6: turned a quarter clockwise) tells the
// reader to rotate it. Qt does not write the tag, so the APP1 segment is put in by hand.
bool writeRotatedPhoto(const QString& path)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!testPicture(20, 10, QImage::Format_RGB32).save(&buffer, "JPEG"))
        return false;
    const QByteArray jpeg = buffer.data();
    if (!jpeg.startsWith("\xff\xd8"))
        return false;
    static const char exif[] = "\xff\xe1\x00\x22"        // APP1, 34 bytes
                               "Exif\x00\x00"            //
                               "II*\x00\x08\x00\x00\x00" // little-endian TIFF, IFD at 8
                               "\x01\x00"                // one entry:
                               "\x12\x01\x03\x00\x01\x00\x00\x00\x06\x00\x00\x00" // Orientation = 6
                               "\x00\x00\x00\x00";                                // no next IFD
    const QByteArray rotated = jpeg.left(2) + QByteArray(exif, sizeof exif - 1) + jpeg.mid(2);
    return writeBytes(path, rotated);
}

bool writePictures(const QDir& folder)
{
    struct Picture {
        const char* name;
        const char* format;
        QImage image;
    };
    const std::vector<Picture> pictures = {
            {"rgb.png", "PNG", testPicture(16, 12, QImage::Format_RGB32)},
            {"alpha.png", "PNG", testPicture(9, 17, QImage::Format_ARGB32)},
            {"gray.png", "PNG", testPicture(8, 8, QImage::Format_Grayscale8)},
            {"indexed.png", "PNG", testPicture(7, 5, QImage::Format_Indexed8)},
            {"mono.png", "PNG", testPicture(13, 3, QImage::Format_Mono)},
            {"photo.jpg", "JPEG", testPicture(24, 16, QImage::Format_RGB32)},
            {"gray.jpg", "JPEG", testPicture(8, 16, QImage::Format_Grayscale8)},
            {"picture.bmp", "BMP", testPicture(5, 4, QImage::Format_RGB32)},
            {"picture.gif", "GIF", testPicture(6, 6, QImage::Format_Indexed8)},
            {"picture.webp", "WEBP", testPicture(10, 10, QImage::Format_ARGB32)},
            {"picture.tiff", "TIFF", testPicture(6, 9, QImage::Format_RGB32)},
            {"picture.ppm", "PPM", testPicture(4, 4, QImage::Format_RGB32)},
    };
    const QList<QByteArray> writable = QImageWriter::supportedImageFormats();
    for (const Picture& picture : pictures) {
        if (!writable.contains(QByteArray(picture.format).toLower()))
            continue; // a format whose plug-in is not installed
        QImageWriter writer(folder.filePath(QString::fromLatin1(picture.name)), picture.format);
        if (!writer.write(picture.image))
            return false;
    }
    return writeRotatedPhoto(folder.filePath(QStringLiteral("rotated-exif.jpg")));
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_seeds <corpus folder>\n");
        return 2;
    }
    const QDir root(QString::fromLocal8Bit(argv[1]));
    for (const char* name : {"project", "pdf", "image"}) {
        if (!root.mkpath(QString::fromLatin1(name))) {
            std::fprintf(stderr, "fuzz_seeds: cannot make %s/%s\n", argv[1], name);
            return 1;
        }
    }
    const bool written = writeProjects(QDir(root.filePath(QStringLiteral("project")))) &&
                         writePdfs(QDir(root.filePath(QStringLiteral("pdf")))) &&
                         writePictures(QDir(root.filePath(QStringLiteral("image"))));
    if (!written) {
        std::fprintf(stderr, "fuzz_seeds: writing the seeds failed\n");
        return 1;
    }
    return 0;
}
