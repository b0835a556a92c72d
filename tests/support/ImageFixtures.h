// Picture files made at test time for the image import: pictures with an EXIF orientation,
// PNG files of any declared size (also sizes QImage could never hold) and broken files.
#pragma once

#include <QByteArray>
#include <QImage>

class VideoEditorViewModel;

namespace ImageFixtures {

// An opaque picture of the given size whose quadrants have four different colours (top-left
// red, top-right green, bottom-left blue, bottom-right yellow), to check orientation.
QImage quadrantImage(int width, int height);

// `image` encoded as JPEG with an EXIF APP1 segment holding the given orientation (1...8).
QByteArray jpegWithExifOrientation(const QImage& image, int orientation);

// A well-formed 1-bit greyscale PNG that declares the given size, all black. Built by hand so
// that sizes far beyond what can be decoded take only a few hundred kilobytes on disk.
QByteArray blackPng(quint32 width, quint32 height);

// A PNG whose header declares 0 x 0 pixels, followed by an empty image data chunk.
QByteArray zeroSizePng();

// Whether the frame store holds exactly the pictures of the editor's page list, in order.
bool frameStoreMatchesPageList(const VideoEditorViewModel& editor);

} // namespace ImageFixtures
