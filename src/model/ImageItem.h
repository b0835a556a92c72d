// One page of the page list: the picture and where it came from. A value type; `id`,
// `image` and `url` never change once the item exists, the page numbers may.
// An image's size in points is pagePointSize(image): PDF pages are stored at devicePixelRatio 2
// with their exact size in points attached, plain image files at 1 (one point per pixel).
#pragma once

#include <QImage>
#include <QString>
#include <QUuid>

#include <optional>

class ImageItem {
public:
    ImageItem(QUuid id, QImage image, QString url, std::optional<int> pdfPageNumber = std::nullopt,
              std::optional<int> pdfPairedPageNumber = std::nullopt);

    const QUuid& id() const { return m_id; }
    const QImage& image() const { return m_image; }
    // Absolute path of the image file or PDF document the page came from.
    const QString& url() const { return m_url; }

    // 1-based page number within a PDF; none for a plain image file.
    std::optional<int> pageNumber;
    // 1-based number of the right-hand page when two PDF pages were joined side by side.
    std::optional<int> pairedPageNumber;

private:
    QUuid m_id;
    QImage m_image;
    QString m_url;
};
