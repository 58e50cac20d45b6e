#include "ZelImageProcessorConvolution.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelKernelSums_p.h"
#include "ZelMetaTypeCoreRegistry.h"
#include "ZelPixelWords_p.h"
#include "ZelTonalImage_p.h"

#include <QDebug>
#include <QMatrix>

#include <cmath>
#include <vector>

namespace {

const QString kAvoidRegion = QStringLiteral("AAvoidRegion");

// Lanes summed at a time: the sums stay in the first-level cache.
constexpr int kChunkLanes = 4096;

// The byte of a pixel word that holds red, green and blue.
constexpr int kRedLane = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 2 : 1;
constexpr int kGreenLane = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 1 : 2;
constexpr int kBlueLane = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 0 : 3;

bool isIndexed(const QImage& image)
{
    return image.format() == QImage::Format_Indexed8;
}

// 8-bit indexed images are computed byte-wise, everything else as pixel words.
QImage computableImage(const QImage& image)
{
    return isIndexed(image) ? image : zelToPixelWords(image);
}

int lanesPerPixel(const QImage& image)
{
    return isIndexed(image) ? 1 : 4;
}

int painterPathType()
{
    return ZelMetaTypeCoreRegistry::instance().qPainterPathVariantUserType();
}

// The 2-D loops read kernel[i][j] for i below the first row's length and j below the number of
// rows; anything else would read outside the kernel.
bool isReadable(const QVector<QVector<int> >& kernel, int rows, int columns)
{
    if (rows == 0)
        return true;
    if (rows > kernel.size())
        return false;
    for (int i = 0; i < rows; ++i) {
        if (kernel.at(i).size() < columns)
            return false;
    }
    return true;
}

ZelKernelWeight weightOf(const QVector<QVector<int> >& kernel, int rows, int columns)
{
    ZelKernelWeight weight;
    for (int i = 0; i < rows; ++i)
        weight.add(kernel.at(i), columns);
    return weight;
}

ZelKernelWeight weightOf(const QVector<int>& kernel)
{
    ZelKernelWeight weight;
    weight.add(kernel);
    return weight;
}

// The channel sums of a 32-bit pixel as QColor::setRgb(red, green, blue, 255).rgb() gives
// them: out of range, QColor refuses and its invalid colour reads as opaque black.
template <typename Sum>
QRgb colourOfSums(const Sum* lanes)
{
    const qint64 red = zelSumInteger(lanes[kRedLane]);
    const qint64 green = zelSumInteger(lanes[kGreenLane]);
    const qint64 blue = zelSumInteger(lanes[kBlueLane]);
    const auto inRange = [](qint64 value) { return value >= 0 && value <= 255; };
    if (!inRange(red) || !inRange(green) || !inRange(blue))
        return 0xFF000000u;
    return qRgb(int(red), int(green), int(blue));
}

// |sum| modulo 256.
inline uchar magnitudeByte(qint64 sum)
{
    return uchar(sum < 0 ? 0 - quint64(sum) : quint64(sum));
}

// The pixels of a row whose probe point lies in the region to avoid. The pass along x probes
// (x, y) in the region; the pass along y probes (y, x) in the transposed region. Only points
// inside the region's control point rectangle are handed to contains(), which answers false for
// every other point itself.
class AvoidProbe
{
public:
    AvoidProbe(const QPainterPath& region, bool transposed)
        : myRegion(region)
        , myTransposed(transposed)
        , myEmpty(region.isEmpty())
        , myBounds(region.controlPointRect())
    {
    }

    // Whether any pixel of row y is inside; if so, avoided holds one flag per pixel.
    bool probeRow(int y, int width, std::vector<char>* avoided) const
    {
        if (myEmpty)
            return false;
        const double rowLow = myTransposed ? myBounds.left() : myBounds.top();
        const double rowHigh = myTransposed ? myBounds.right() : myBounds.bottom();
        const double columnLow = myTransposed ? myBounds.top() : myBounds.left();
        const double columnHigh = myTransposed ? myBounds.bottom() : myBounds.right();
        if (!(y >= rowLow && y <= rowHigh))
            return false;
        const int first = int(qBound(0.0, std::ceil(columnLow), double(width)));
        const int last = int(qBound(-1.0, std::floor(columnHigh), double(width - 1)));
        bool any = false;
        avoided->assign(size_t(width), 0);
        for (int x = first; x <= last; ++x) {
            const QPointF probe = myTransposed ? QPointF(y, x) : QPointF(x, y);
            if (myRegion.contains(probe)) {
                (*avoided)[size_t(x)] = 1;
                any = true;
            }
        }
        return any;
    }

private:
    const QPainterPath myRegion;
    const bool myTransposed;
    const bool myEmpty;
    const QRectF myBounds;
};

// The rows an in-place pass has overwritten but still reads: the last `count` rows in a ring,
// and apart from them the one row that avoided pixels are copied from.
class SavedRows
{
public:
    SavedRows(int count, size_t rowLength)
        : myLength(rowLength)
        , myRing(size_t(count) * rowLength)
        , myRows(size_t(count), -1)
        , myKept(rowLength)
    {
    }

    // Keeps row y, taking the place of the oldest row; that one is kept apart if it is `keep`.
    void save(int y, const uchar* line, int keep)
    {
        const size_t slot = size_t(y) % myRows.size();
        if (myRows[slot] >= 0 && myRows[slot] == keep)
            std::copy_n(slotData(slot), myLength, myKept.data());
        std::copy_n(line, myLength, slotData(slot));
        myRows[slot] = y;
    }

    const uchar* row(int y) const
    {
        const size_t slot = size_t(y) % myRows.size();
        return myRows[slot] == y ? slotData(slot) : myKept.data();
    }

private:
    uchar* slotData(size_t slot) { return myRing.data() + slot * myLength; }
    const uchar* slotData(size_t slot) const { return myRing.data() + slot * myLength; }

    const size_t myLength;
    std::vector<uchar> myRing;
    std::vector<int> myRows;
    std::vector<uchar> myKept;
};

} // namespace

class ZelImageProcessorConvolutionImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorConvolutionImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Faltung"))
    {
        createParameterDescriptions();
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(const QVector<QVector<int> >& kernel, double factor)
    {
        myKernel2D = kernel;
        myKernel1D.clear();
        myFactor = factor;
        mySeparable = false;
    }
    void setParameters(const QVector<int>& kernel, double factor)
    {
        myKernel1D.clear();
        myKernel1D = kernel;
        myFactor = factor;
        mySeparable = true;
    }

    void setRegionToAvoid(const QPainterPath& region)
    {
        myParameters.setValue(kAvoidRegion, QVariant(painterPathType(), &region));
    }
    QPainterPath regionToAvoid() const
    {
        return qvariant_cast<QPainterPath>(myParameters.value(kAvoidRegion));
    }

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override { return previewOn(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return previewOn(sectionOfSourceImage(rect)); }

protected:
    QString progressTitle() const override { return tr("Faltung"); }

private:
    void createParameterDescriptions();
    // Always the 2-D kernel and no region to avoid, also when this effect is set up separable.
    QImage previewOn(const QImage& image) const
    {
        ZelImageProcessorConvolution preview(image);
        preview.setParameters(myKernel2D, 1.0);
        return preview.result();
    }

    // Progress after a row; false when the run is to stop.
    bool rowDone(int y, int height)
    {
        emitProgress(y, height - 1);
        return !isCancelled();
    }

    QImage applyConvolution();
    template <typename Sum>
    QImage convolveIndexed(const QImage& source, int rows, int columns);
    template <typename Sum>
    QImage convolveWords(const QImage& source, int rows, int columns);

    QImage applyLinearConvolution();
    QImage applyFilterAlongXDirection(const QImage& image, const QVector<int>& kernel, const QPainterPath& avoid);
    // Filters image in place; it must not be shared.
    QImage applyFilterAlongYDirection(QImage image, const QVector<int>& kernel, const QPainterPath& avoid);
    template <typename Sum>
    QImage filterAlongX(const QImage& image, const QVector<int>& kernel, const QPainterPath& avoid);
    template <typename Sum>
    QImage filterAlongY(QImage image, const QVector<int>& kernel, const QPainterPath& avoid);
    template <typename Sum>
    void storeQuotients(const Sum* sums, uchar* out, int count, bool indexed) const
    {
        if (indexed)
            zelStoreRoundedQuotients(sums, out, count, myFactor);
        else
            zelStoreTruncatedQuotients(sums, out, count, myFactor);
    }

    QVector<QVector<int> > myKernel2D;
    QVector<int> myKernel1D;
    bool mySeparable = false;
    double myFactor = 1.0;
};

void ZelImageProcessorConvolutionImpl::createParameterDescriptions()
{
    const QPainterPath nowhere;
    const QVariant value(painterPathType(), &nowhere);
    ZelParameterDescription region;
    region.setParameterName(kAvoidRegion);
    region.setVisibleName(tr("In diesem Bereich nicht anwenden"));
    region.setValue(value);
    region.setDefaultValue(value);
    region.setCheckable(false);
    region.setEnabled(false);
    addParameter(kAvoidRegion, region, 0, 0);
}

QImage ZelImageProcessorConvolutionImpl::result()
{
    const QImage convolved = mySeparable ? applyLinearConvolution() : applyConvolution();
    // cancel() has sent finished already.
    if (resetCancel())
        return sourceImage();
    emit finished(false);
    // An image that could not be allocated leaves the source as it is.
    return convolved.isNull() ? sourceImage() : convolved;
}

// ---------------------------------------------------------------------------------------------
// 2-D kernel

QImage ZelImageProcessorConvolutionImpl::applyConvolution()
{
    const QImage source = computableImage(sourceImage());
    if (source.isNull())
        return QImage();
    // The kernel's outer size counts its columns, its first row's length its rows.
    const int columns = myKernel2D.size();
    const int rows = columns > 0 ? myKernel2D.first().size() : 0;
    if (!isReadable(myKernel2D, rows, columns))
        return sourceImage();
    const bool indexed = isIndexed(source);
    return zelWithSumType(weightOf(myKernel2D, rows, columns), [&](auto zero) {
        using Sum = decltype(zero);
        return indexed ? convolveIndexed<Sum>(source, rows, columns) : convolveWords<Sum>(source, rows, columns);
    });
}

// Every pixel, rows and columns clamped. The 2-D factor is always 1.0 (the public setter
// discards the caller's), so |sum| / trunc(factor) is |sum|.
template <typename Sum>
QImage ZelImageProcessorConvolutionImpl::convolveIndexed(const QImage& source, int rows, int columns)
{
    QImage convolved = zelBlankLike(source);
    if (convolved.isNull())
        return convolved;
    const int width = source.width();
    const int height = source.height();
    const ZelInnerSpan inner(width, columns, columns / 2);
    std::vector<Sum> sums(size_t(inner.end - inner.first));
    for (int y = 0; y < height; ++y) {
        uchar* out = convolved.scanLine(y);
        zelKernelRowSums(source, 1, myKernel2D, rows, columns, y, inner.first, inner.end, sums.data());
        for (int x = inner.first; x < inner.end; ++x)
            out[x] = magnitudeByte(zelSumInteger(sums[size_t(x - inner.first)]));
        inner.forEachOuterPixel(width, [&](int x) {
            out[x] = magnitudeByte(zelClampedKernelSum(source, myKernel2D, rows, columns, x, y));
        });
        if (!rowDone(y, height))
            return QImage();
    }
    return convolved;
}

// Only pixels at least `rows` rows and `columns` columns inside; the band around them keeps the
// source. Their neighbourhoods lie inside the image, so nothing is clamped.
template <typename Sum>
QImage ZelImageProcessorConvolutionImpl::convolveWords(const QImage& source, int rows, int columns)
{
    QImage convolved = zelCopyImage(source);
    if (convolved.isNull())
        return convolved;
    const int width = source.width();
    const int height = source.height();
    const int firstX = columns;
    const int endX = width - columns;
    if (endX <= firstX)
        return convolved;
    std::vector<Sum> sums(size_t(endX - firstX) * 4);
    for (int y = rows; y < height - rows; ++y) {
        zelKernelRowSums(source, 4, myKernel2D, rows, columns, y, firstX, endX, sums.data());
        QRgb* out = reinterpret_cast<QRgb*>(convolved.scanLine(y));
        for (int x = firstX; x < endX; ++x)
            out[x] = colourOfSums(sums.data() + size_t(x - firstX) * 4);
        if (!rowDone(y, height))
            return QImage();
    }
    return convolved;
}

// ---------------------------------------------------------------------------------------------
// Separable kernel

QImage ZelImageProcessorConvolutionImpl::applyLinearConvolution()
{
    const QMatrix transpose(0, 1, 1, 0, 0, 0);
    const QPainterPath avoid = regionToAvoid();
    const QPainterPath avoidTransposed = transpose.map(avoid);
    QImage alongX = applyFilterAlongXDirection(computableImage(sourceImage()), myKernel1D, avoid);
    if (isCancelled())
        return QImage();
    return applyFilterAlongYDirection(std::move(alongX), myKernel1D, avoidTransposed);
}

QImage ZelImageProcessorConvolutionImpl::applyFilterAlongXDirection(const QImage& image, const QVector<int>& kernel,
                                                                    const QPainterPath& avoid)
{
    if (image.isNull())
        return image;
    if (!isIndexed(image))
        qDebug() << "applyFilterAlongXDirection, 32Bit";
    return zelWithSumType(weightOf(kernel), [&](auto zero) {
        return filterAlongX<decltype(zero)>(image, kernel, avoid);
    });
}

QImage ZelImageProcessorConvolutionImpl::applyFilterAlongYDirection(QImage image, const QVector<int>& kernel,
                                                                    const QPainterPath& avoid)
{
    if (image.isNull())
        return image;
    return zelWithSumType(weightOf(kernel), [&](auto zero) {
        return filterAlongY<decltype(zero)>(std::move(image), kernel, avoid);
    });
}

template <typename Sum>
QImage ZelImageProcessorConvolutionImpl::filterAlongX(const QImage& image, const QVector<int>& kernel,
                                                      const QPainterPath& avoid)
{
    QImage filtered = zelBlankLike(image);
    if (filtered.isNull())
        return filtered;
    const bool indexed = isIndexed(image);
    const int lanes = lanesPerPixel(image);
    const int width = image.width();
    const int height = image.height();
    const int taps = kernel.size();
    const int half = taps / 2;
    const ZelInnerSpan inner(width, taps, half);
    const AvoidProbe probe(avoid, false);
    std::vector<char> avoided;
    std::vector<Sum> sums(kChunkLanes);
    ZelTaps chunkTaps;
    int lastTapColumn = 0;
    for (int y = 0; y < height; ++y) {
        const uchar* line = image.constScanLine(y);
        uchar* out = filtered.scanLine(y);
        for (int start = inner.first * lanes; start < inner.end * lanes; start += kChunkLanes) {
            const int count = qMin(kChunkLanes, inner.end * lanes - start);
            chunkTaps.clear();
            for (int i = 0; i < taps; ++i)
                chunkTaps.add(line + start + (i - half) * lanes, kernel.at(i));
            zelSumTaps(chunkTaps, count, sums.data());
            storeQuotients(sums.data(), out + start, count, indexed);
        }
        inner.forEachOuterPixel(width, [&](int x) {
            for (int lane = 0; lane < lanes; ++lane) {
                quint64 sum = 0;
                for (int i = 0; i < taps; ++i)
                    sum += quint64(qint64(kernel.at(i))) * line[zelClampIndex(x - half + i, width) * lanes + lane];
                storeQuotients(&sum, out + x * lanes + lane, 1, indexed);
            }
        });
        if (probe.probeRow(y, width, &avoided)) {
            for (int x = 0; x < width; ++x) {
                if (avoided[size_t(x)])
                    std::copy_n(line + lastTapColumn * lanes, lanes, out + x * lanes);
                else if (taps > 0)
                    lastTapColumn = zelClampIndex(x - half + taps - 1, width);
            }
        } else if (taps > 0) {
            lastTapColumn = zelClampIndex(width - 1 - half + taps - 1, width);
        }
        if (!rowDone(y, height))
            return QImage();
    }
    return filtered;
}

// In place: each row is saved before it is overwritten, in a ring that holds the rows the
// taps of the coming rows still read, so that no second image has to be allocated.
template <typename Sum>
QImage ZelImageProcessorConvolutionImpl::filterAlongY(QImage image, const QVector<int>& kernel,
                                                      const QPainterPath& avoid)
{
    const bool indexed = isIndexed(image);
    const int lanes = lanesPerPixel(image);
    const int width = image.width();
    const int height = image.height();
    const size_t rowLanes = size_t(width) * size_t(lanes);
    const int taps = kernel.size();
    const int half = taps / 2;
    uchar* const bits = image.bits();
    if (!bits)
        return QImage();
    const qsizetype bytesPerLine = image.bytesPerLine();
    const auto imageRow = [&](int y) { return bits + y * bytesPerLine; };
    SavedRows saved(half + 1, rowLanes);
    // The row the pass last took a final tap from, as it was before the pass.
    const auto originalRow = [&](int row, int y) -> const uchar* { return row > y ? imageRow(row) : saved.row(row); };
    const AvoidProbe probe(avoid, true);
    std::vector<char> avoided;
    std::vector<Sum> sums(kChunkLanes);
    ZelTaps chunkTaps;
    int lastTapRow = 0;
    for (int y = 0; y < height; ++y) {
        saved.save(y, imageRow(y), lastTapRow);
        uchar* out = imageRow(y);
        for (size_t start = 0; start < rowLanes; start += kChunkLanes) {
            const int count = int(qMin(size_t(kChunkLanes), rowLanes - start));
            chunkTaps.clear();
            for (int i = 0; i < taps; ++i)
                chunkTaps.add(originalRow(zelClampIndex(y - half + i, height), y) + start, kernel.at(i));
            zelSumTaps(chunkTaps, count, sums.data());
            storeQuotients(sums.data(), out + start, count, indexed);
        }
        if (probe.probeRow(y, width, &avoided)) {
            for (int x = 0; x < width; ++x) {
                if (avoided[size_t(x)])
                    std::copy_n(originalRow(lastTapRow, y) + x * lanes, lanes, out + x * lanes);
                else if (taps > 0)
                    lastTapRow = zelClampIndex(y - half + taps - 1, height);
            }
        } else if (taps > 0) {
            lastTapRow = zelClampIndex(y - half + taps - 1, height);
        }
        if (!rowDone(y, height))
            return QImage();
    }
    return image;
}

// ---------------------------------------------------------------------------------------------

ZelImageProcessorConvolution::ZelImageProcessorConvolution(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorConvolutionImpl(image));
}

void ZelImageProcessorConvolution::setParameters(const QVector<int>& kernel, double factor)
{
    static_cast<ZelImageProcessorConvolutionImpl*>(myImpl)->setParameters(kernel, factor);
}

void ZelImageProcessorConvolution::setParameters(const QVector<QVector<int> >& kernel, double)
{
    // The caller's factor is discarded on purpose: the 2-D path never divides by more than 1.
    static_cast<ZelImageProcessorConvolutionImpl*>(myImpl)->setParameters(kernel, 1.0);
}

void ZelImageProcessorConvolution::setRegionToAvoid(const QPainterPath& region)
{
    static_cast<ZelImageProcessorConvolutionImpl*>(myImpl)->setRegionToAvoid(region);
}

QPainterPath ZelImageProcessorConvolution::regionToAvoid() const
{
    return static_cast<const ZelImageProcessorConvolutionImpl*>(myImpl)->regionToAvoid();
}

#include "ZelImageProcessorConvolution.moc"
