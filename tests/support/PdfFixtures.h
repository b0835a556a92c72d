// PDF documents made at test time: drawn with QPdfWriter, or written byte by byte where
// QPdfWriter cannot make them (no pages, encrypted), plus broken files for error paths.
#pragma once

#include <QByteArray>
#include <QColor>
#include <QList>
#include <QSizeF>
#include <QString>

#include <functional>

class QPainter;

namespace PdfFixtures {

// Draws one page; painter units are points, origin at the top-left corner of the page.
using PageDrawer = std::function<void(QPainter& painter, int pageIndex, QSizeF pageSize)>;

// Each page leaves its background transparent and carries a filled square in a colour of its
// own (pageColor) in its top-left corner, so pages can be told apart after rendering.
void drawMarkedPage(QPainter& painter, int pageIndex, QSizeF pageSize);
QColor pageColor(int pageIndex);

// A printed score's finest detail: staves of five black lines 0.5 pt thick, 7 pt apart, one
// staff every kStaffSpacing points from kFirstStaffTop down the page, 40 pt from either side.
// The background stays transparent (white once rendered).
inline constexpr double kStaffLineWidth = 0.5;
inline constexpr double kStaffLineGap = 7.0;
inline constexpr double kFirstStaffTop = 100.0;
inline constexpr double kStaffSpacing = 80.0;
inline constexpr int kStaffCount = 8;
void drawStaffPage(QPainter& painter, int pageIndex, QSizeF pageSize);

// Writes a PDF with one page per size (in points) and returns true when the file was written.
bool writePdf(const QString& path, const QList<QSizeF>& pageSizes, const PageDrawer& draw = drawMarkedPage);
bool writePdf(const QString& path, int pageCount, QSizeF pageSize, const PageDrawer& draw = drawMarkedPage);

// A syntactically valid PDF whose page tree has no pages.
QByteArray zeroPagePdf();

// A one-page PDF encrypted with the standard security handler under a user password that is
// not empty, so it cannot be opened without the password.
QByteArray passwordProtectedPdf();

// Writes bytes to a file; true on success.
bool writeFile(const QString& path, const QByteArray& bytes);

} // namespace PdfFixtures
