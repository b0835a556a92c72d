#include "tests/support/PdfFixtures.h"

#include <QColor>
#include <QFile>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QPen>

#include <vector>

namespace PdfFixtures {

QColor pageColor(int pageIndex)
{
    static const QColor kColors[] = {Qt::red,  Qt::green,  Qt::blue, Qt::magenta,
                                     Qt::cyan, Qt::yellow, Qt::black};
    return kColors[pageIndex % 7];
}

void drawMarkedPage(QPainter& painter, int pageIndex, QSizeF /*pageSize*/)
{
    painter.fillRect(QRectF(0, 0, 40, 40), pageColor(pageIndex));
}

void drawStaffPage(QPainter& painter, int /*pageIndex*/, QSizeF pageSize)
{
    painter.save();
    painter.setPen(QPen(Qt::black, kStaffLineWidth, Qt::SolidLine, Qt::FlatCap));
    for (int staff = 0; staff < kStaffCount; ++staff) {
        for (int line = 0; line < 5; ++line) {
            const double y = kFirstStaffTop + staff * kStaffSpacing + line * kStaffLineGap;
            painter.drawLine(QPointF(40, y), QPointF(pageSize.width() - 40, y));
        }
    }
    painter.restore();
}

bool writePdf(const QString& path, const QList<QSizeF>& pageSizes, const PageDrawer& draw)
{
    if (pageSizes.isEmpty())
        return false;
    QPdfWriter writer(path);
    // 72 dots per inch makes one painter unit one point.
    writer.setResolution(72);
    const auto layoutFor = [](QSizeF size) {
        return QPageLayout(QPageSize(size, QPageSize::Point, QString(), QPageSize::ExactMatch),
                           QPageLayout::Portrait, QMarginsF(0, 0, 0, 0), QPageLayout::Point);
    };
    writer.setPageLayout(layoutFor(pageSizes.front()));
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    for (qsizetype i = 0; i < pageSizes.size(); ++i) {
        if (i > 0) {
            writer.setPageLayout(layoutFor(pageSizes[i]));
            if (!writer.newPage())
                return false;
        }
        if (draw)
            draw(painter, static_cast<int>(i), pageSizes[i]);
    }
    return painter.end();
}

bool writePdf(const QString& path, int pageCount, QSizeF pageSize, const PageDrawer& draw)
{
    return writePdf(path, QList<QSizeF>(pageCount, pageSize), draw);
}

namespace {

// Assembles numbered objects into a PDF with a correct cross-reference table.
QByteArray assemblePdf(const std::vector<QByteArray>& objects, const QByteArray& trailerExtra)
{
    QByteArray out = "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n";
    std::vector<qsizetype> offsets;
    for (size_t i = 0; i < objects.size(); ++i) {
        offsets.push_back(out.size());
        out += QByteArray::number(static_cast<qulonglong>(i + 1)) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const qsizetype xref = out.size();
    out += "xref\n0 " + QByteArray::number(static_cast<qulonglong>(objects.size() + 1)) + "\n";
    out += "0000000000 65535 f \n";
    for (qsizetype offset : offsets)
        out += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    out += "trailer\n<< /Size " + QByteArray::number(static_cast<qulonglong>(objects.size() + 1)) +
           " /Root 1 0 R" + trailerExtra + " >>\nstartxref\n" + QByteArray::number(xref) + "\n%%EOF\n";
    return out;
}

} // namespace

QByteArray zeroPagePdf()
{
    return assemblePdf({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [] /Count 0 >>"}, "");
}

QByteArray passwordProtectedPdf()
{
    // /O and /U are the 32-byte password hashes of the standard handler (revision 2). The user
    // hash below does not match the empty password, so a reader has to ask for one.
    const QByteArray ownerHash = QByteArray(32, '\x5A').toHex();
    const QByteArray userHash = QByteArray(32, '\xA5').toHex();
    const QByteArray fileId = QByteArray("vornik-test-id-1").toHex();
    return assemblePdf(
            {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
             "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 100] >>",
             "<< /Filter /Standard /V 1 /R 2 /O <" + ownerHash + "> /U <" + userHash + "> /P -4 >>"},
            " /Encrypt 4 0 R /ID [<" + fileId + "> <" + fileId + ">]");
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return file.write(bytes) == bytes.size();
}

} // namespace PdfFixtures
