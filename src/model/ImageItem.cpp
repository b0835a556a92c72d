#include "model/ImageItem.h"

ImageItem::ImageItem(QUuid id, QImage image, QString url, std::optional<int> pdfPageNumber,
                     std::optional<int> pdfPairedPageNumber)
    : pageNumber(pdfPageNumber)
    , pairedPageNumber(pdfPairedPageNumber)
    , m_id(id)
    , m_image(std::move(image))
    , m_url(std::move(url))
{}
