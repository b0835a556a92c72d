// Reading a picture file into a page image. Pure functions, any thread.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <optional>

// Decodes any format Qt has a reader for, with the EXIF orientation applied so that a phone
// photo of a page comes in upright. The result has devicePixelRatio 1 (one point per pixel).
// Nothing is returned for a missing, broken or empty file, or for a picture larger than Qt's
// image allocation limit; the caller ignores such files silently, so nothing is logged.
std::optional<QImage> loadImageFile(const QString& path);

// The same for a picture file's bytes already in memory; the format is recognised from the
// content alone, since there is no file name to go by.
std::optional<QImage> loadImageData(const QByteArray& bytes);
