#include "ZelImageProcessorThreeDGrid.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"
#include "ZelPixelWords_p.h"

#include <vector>

namespace {

// The bands of the grid. A pixel's shift depends on whether its row and its column are a cell's
// second, second-last or an inner one, so both are classified once; most rows have no band
// crossing them and only get alpha 255, with at most two band columns per cell to shift.
class GridBands
{
public:
    GridBands(int width, int cellSize, int lineDepth)
        : myCellSize(cellSize)
        // A shift beyond 255 saturates every channel just as 255 does; bounding it keeps the
        // channel sums (and the negation) in range for any depth.
        , myDepth(qBound(-255, lineDepth, 255))
        , myColumns(width)
    {
        for (int x = 0; x < width; ++x) {
            const bool inner = x % cellSize != 0 && (x + 1) % cellSize != 0;
            const bool second = (x - 1) % cellSize == 0;
            const bool secondLast = (x + 2) % cellSize == 0;
            myColumns[x] = uchar((inner ? kInner : 0) | (second ? kSecond : 0) | (secondLast ? kSecondLast : 0));
            if (second || secondLast)
                myBandColumns.push_back(x);
        }
    }

    void processRow(const QRgb* in, QRgb* line, int y) const
    {
        const bool secondRow = (y - 1) % myCellSize == 0;
        const bool secondLastRow = (y + 2) % myCellSize == 0;
        const bool innerRow = y % myCellSize != 0 && (y + 1) % myCellSize != 0;
        const int width = int(myColumns.size());
        if (secondRow || secondLastRow) {
            const int rowShift = secondRow ? -myDepth : myDepth;
            for (int x = 0; x < width; ++x) {
                const int shift = myColumns[x] & kInner ? rowShift : innerRow ? columnShift(myColumns[x]) : 0;
                line[x] = shifted(in[x], shift);
            }
            return;
        }
        for (int x = 0; x < width; ++x)
            line[x] = in[x] | 0xFF000000u;
        if (!innerRow)
            return;
        for (const int x : myBandColumns)
            line[x] = shifted(in[x], columnShift(myColumns[x]));
    }

private:
    enum : uchar { kInner = 1, kSecond = 2, kSecondLast = 4 };

    int columnShift(uchar column) const
    {
        return column & kSecond ? myDepth : column & kSecondLast ? -myDepth : 0;
    }

    static uint shiftedChannel(QRgb pixel, int bit, int shift)
    {
        return uint(qBound(0, int(pixel >> bit & 0xFF) + shift, 255)) << bit;
    }

    static QRgb shifted(QRgb pixel, int shift)
    {
        if (shift == 0)
            return pixel | 0xFF000000u;
        return 0xFF000000u | shiftedChannel(pixel, 16, shift) | shiftedChannel(pixel, 8, shift)
            | shiftedChannel(pixel, 0, shift);
    }

    const int myCellSize;
    const int myDepth;
    std::vector<uchar> myColumns;
    std::vector<int> myBandColumns;
};

} // namespace

class ZelImageProcessorThreeDGridImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorThreeDGridImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("3D Kacheln"))
    {
        createParameterDescriptions();
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int cellSize, int lineDepth)
    {
        parameters().setValue(QStringLiteral("ACellSize"), cellSize);
        parameters().setValue(QStringLiteral("BLineDepth"), lineDepth);
        updateParameters();
    }

public slots:
    QImage result() override
    {
        updateParameters();
        return threeDGrid(sourceImage());
    }
    QImage generatePreview(const QSize& size) override
    {
        updateParameters();
        return previewOn(sourceImageScaled(size));
    }
    QImage generatePreview(const QRect& rect) override
    {
        updateParameters();
        return previewOn(sectionOfSourceImage(rect));
    }

private:
    void createParameterDescriptions();
    void updateParameters()
    {
        const int shorter = qMin(mySourceImage.width(), mySourceImage.height());
        myCellSizeInPixels = zelTruncToInt(myParameters.value(QStringLiteral("ACellSize")).toInt() / 100.0 * shorter);
        myLineDepth = myParameters.value(QStringLiteral("BLineDepth")).toInt();
    }
    QImage threeDGrid(const QImage& image);

    QImage previewOn(const QImage& image) const
    {
        ZelImageProcessorThreeDGrid preview(image);
        preview.setParameters(myParameters.value(QStringLiteral("ACellSize")).toInt(),
                              myParameters.value(QStringLiteral("BLineDepth")).toInt());
        return preview.result();
    }

    int myCellSizeInPixels = 0;
    int myLineDepth = 0;
};

void ZelImageProcessorThreeDGridImpl::createParameterDescriptions()
{
    addNumberParameter(QStringLiteral("ACellSize"), tr("Gittergröße"), 10, 1, 100, 0, 0);

    addNumberParameter(QStringLiteral("BLineDepth"), tr("Linientiefe"), 10, 0, 100, 1, 0);

    // The raw parameter values; result() always measures them on the image first.
    myCellSizeInPixels = 10;
    myLineDepth = 10;
}

QImage ZelImageProcessorThreeDGridImpl::threeDGrid(const QImage& image)
{
    // Cells of 0 pixels would divide by zero: the source stays as it is.
    if (myCellSizeInPixels == 0) {
        emit finished(true);
        return image;
    }
    const QImage words = zelToPixelWords(image);
    QImage out = words.isNull() ? QImage() : zelBlankLike(words);
    if (out.isNull()) {
        emit finished(true);
        return QImage();
    }
    QRgb* const bits = reinterpret_cast<QRgb*>(out.bits());
    const int height = out.height();
    const qsizetype stride = out.bytesPerLine() / qsizetype(sizeof(QRgb));
    const GridBands bands(out.width(), myCellSizeInPixels, myLineDepth);
    for (int y = 0; y < height; ++y) {
        bands.processRow(reinterpret_cast<const QRgb*>(words.constScanLine(y)), bits + y * stride, y);
        emit progress(QStringLiteral("3D Kacheln"), QString(), y, height - 1);
        if (resetCancel())
            return image;
    }
    emit finished(true);
    return out;
}

ZelImageProcessorThreeDGrid::ZelImageProcessorThreeDGrid(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("3D Gitter"));
    setProperty("IconName", QStringLiteral("ico_3d_tiles"));
    installImplementation(new ZelImageProcessorThreeDGridImpl(image));
}

void ZelImageProcessorThreeDGrid::setParameters(int cellSize, int lineDepth)
{
    static_cast<ZelImageProcessorThreeDGridImpl*>(myImpl)->setParameters(cellSize, lineDepth);
}

#include "ZelImageProcessorThreeDGrid.moc"
