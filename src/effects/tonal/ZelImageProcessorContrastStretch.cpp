#include "ZelImageProcessorContrastStretch.h"
#include "ZelHsvBatch_p.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"
#include "ZelTonalImage_p.h"

#include <QVector>

#include <array>
#include <vector>

namespace {

using Histogram = std::array<qint64, 256>;

// Counted in four interleaved partial histograms: neighbouring pixels mostly share a bin, and
// one counter would make every increment wait for the one before.
template <typename Bin>
Histogram histogram(const QImage& image, Bin bin)
{
    std::array<std::array<quint32, 256>, 4> partial{};
    const int width = image.width();
    for (int y = 0; y < image.height(); ++y) {
        const uchar* line = image.constScanLine(y);
        int x = 0;
        for (; x + 4 <= width; x += 4) {
            ++partial[0][bin(line, x)];
            ++partial[1][bin(line, x + 1)];
            ++partial[2][bin(line, x + 2)];
            ++partial[3][bin(line, x + 3)];
        }
        for (; x < width; ++x)
            ++partial[0][bin(line, x)];
    }
    Histogram counts{};
    for (const auto& part : partial)
        for (int i = 0; i < 256; ++i)
            counts[i] += part[i];
    return counts;
}

Histogram valueHistogram(const QImage& image)
{
    return histogram(image, [](const uchar* line, int x) {
        return zelHsvValue(reinterpret_cast<const QRgb*>(line)[x]);
    });
}

Histogram indexHistogram(const QImage& image)
{
    return histogram(image, [](const uchar* line, int x) { return line[x]; });
}

struct StretchPoints
{
    int black = 0;
    int white = 255;
};

// The first bins, from either end, at which the running count exceeds 1 % of the pixels.
StretchPoints stretchPoints(const QVector<qint32>& histogram, int pixelCount)
{
    const double threshold = pixelCount * 0.01;
    StretchPoints points;
    qint64 sum = 0;
    for (int bin = 0; bin < 256; ++bin) {
        sum += histogram[bin];
        if (double(sum) > threshold) {
            points.black = bin;
            break;
        }
    }
    sum = 0;
    for (int bin = 255; bin >= 0; --bin) {
        sum += histogram[bin];
        if (double(sum) > threshold) {
            points.white = bin;
            break;
        }
    }
    return points;
}

// The stretch of the value between the points. The two paths test the ends in opposite order,
// which differs only when both points are the same bin: intended.
int stretchedValue(int value, StretchPoints points)
{
    if (value >= points.white)
        return 255;
    if (value > points.black)
        return zelTruncToInt((value - points.black) * 255.0 / (points.white - points.black));
    return 0;
}

int stretchedGrey(int grey, StretchPoints points)
{
    if (grey <= points.black)
        return 0;
    if (grey >= points.white)
        return 255;
    return zelTruncToInt((grey - points.black) * 255.0 / (points.white - points.black)) & 0xFF;
}

// The stretch of one pixel by the table of what its channel maximum and minimum decide (see
// stretchPixelWords). Greys need no branch: hue 0 with saturation 0 gives the grey of the value.
inline QRgb stretchedPixel(QRgb pixel, const quint32* byExtremes)
{
    const int red = qRed(pixel);
    const int green = qGreen(pixel);
    const int blue = qBlue(pixel);
    const int max = qMax(red, qMax(green, blue));
    const int min = qMin(red, qMin(green, blue));
    const quint32 extremes = byExtremes[max << 8 | min];
    return zelChromaticHsvToRgb(zelHsvHue(red, green, blue, max, min), (extremes >> 8) & 0xFF, int(extremes >> 16),
                                int(extremes & 0xFF));
}

#if ZEL_HAVE_AVX2_PATH
// stretchedPixel of a row, eight pixels at a time: hues and table entries in a first pass, the
// conversion back in a second, so that the long dependency chain of each overlaps between
// pixels. Greys come out as greys as in the scalar step (hue 0, saturation 0); lanes on a
// rounding tie of the ramp take the scalar step.
ZEL_AVX2_FUNCTION void stretchRowAvx2(const QRgb* source, QRgb* target, int width, const quint32* byExtremes,
                                      int32_t* hues, int32_t* entries)
{
    using namespace ZelBatch;
    const int end = width / kLanes * kLanes;
    for (int x = 0; x < end; x += kLanes) {
        const Channels c(load(source + x));
        store(hues + x, hue(c));
        store(entries + x, Ints(_mm256_i32gather_epi32(reinterpret_cast<const int*>(byExtremes),
                                                       __m256i((c.max << 8) | c.min), 4)));
    }
    for (int x = 0; x < end; x += kLanes) {
        const Ints entry = load(entries + x);
        Ints ties;
        const Ints rgb = chromaticHsvToRgb(load(hues + x), (entry >> 8) & 0xFF, entry >> 16, entry & 0xFF, &ties);
        store(target + x, rgb | int(0xFF000000u));
        if (anyLane(ties)) {
            for (int i = 0; i < kLanes; ++i)
                if (ties[i])
                    target[x + i] = stretchedPixel(source[x + i], byExtremes);
        }
    }
    for (int x = end; x < width; ++x)
        target[x] = stretchedPixel(source[x], byExtremes);
}
#endif

} // namespace

class ZelImageProcessorContrastStretchImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorContrastStretchImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

public slots:
    QImage result() override;

protected:
    QString progressTitle() const override { return tr("Kontrast spreizen"); }

private:
    // Counts wrap like the 32-bit counters they are instead of overflowing.
    void accumulate(const Histogram& counts);
    QImage stretchIndexed(const QImage& source, StretchPoints points);
    static QImage stretchPixelWords(const QImage& source, StretchPoints points);

    QVector<qint32> myHistogram;
};

void ZelImageProcessorContrastStretchImpl::accumulate(const Histogram& counts)
{
    myHistogram.resize(256);
    for (int bin = 0; bin < 256; ++bin)
        myHistogram[bin] = qint32(quint32(myHistogram[bin]) + quint32(quint64(counts[bin])));
}

QImage ZelImageProcessorContrastStretchImpl::stretchIndexed(const QImage& source, StretchPoints points)
{
    QVector<QRgb> table = source.colorTable();
    for (QRgb& entry : table) {
        const int grey = (11 * qRed(entry) + 16 * qGreen(entry) + 5 * qBlue(entry)) >> 5;
        const int stretched = stretchedGrey(grey, points);
        entry = qRgb(stretched, stretched, stretched);
    }
    QImage stretched = source;
    stretched.setColorTable(table);
    emit finished(false);
    return stretched;
}

QImage ZelImageProcessorContrastStretchImpl::stretchPixelWords(const QImage& source, StretchPoints points)
{
    QImage stretched = zelBlankLike(source);
    if (stretched.isNull())
        return stretched;
    // What the channel maximum and minimum decide, by max << 8 | min: the stretched value, the
    // saturation and the low channel, packed as value << 16 | saturation << 8 | low.
    std::vector<quint32> byExtremes(256 * 256);
    const uint8_t* saturations = zelHsvSaturationTable();
    for (int max = 0; max < 256; ++max) {
        const int value = stretchedValue(max, points);
        for (int min = 0; min <= max; ++min) {
            const int saturation = saturations[max << 8 | min];
            byExtremes[max << 8 | min] = quint32(value << 16 | saturation << 8 | zelHsvLow(saturation, value));
        }
    }
    const int width = source.width();
#if ZEL_HAVE_AVX2_PATH
    if (zelBatchUsesAvx2()) {
        std::vector<int32_t> hues(static_cast<size_t>(width));
        std::vector<int32_t> entries(static_cast<size_t>(width));
        for (int y = 0; y < source.height(); ++y)
            stretchRowAvx2(reinterpret_cast<const QRgb*>(source.constScanLine(y)),
                           reinterpret_cast<QRgb*>(stretched.scanLine(y)), width, byExtremes.data(), hues.data(),
                           entries.data());
        return stretched;
    }
#endif
    for (int y = 0; y < source.height(); ++y) {
        const QRgb* in = reinterpret_cast<const QRgb*>(source.constScanLine(y));
        QRgb* out = reinterpret_cast<QRgb*>(stretched.scanLine(y));
        for (int x = 0; x < width; ++x)
            out[x] = stretchedPixel(in[x], byExtremes.data());
    }
    return stretched;
}

QImage ZelImageProcessorContrastStretchImpl::result()
{
    const QImage source = zelToPointOperationFormat(sourceImage());
    const bool indexed = source.format() == QImage::Format_Indexed8;
    accumulate(indexed ? indexHistogram(source) : valueHistogram(source));
    const StretchPoints points = stretchPoints(myHistogram, countSourceImagePixels());
    if (indexed)
        return stretchIndexed(source, points);
    return stretchPixelWords(source, points);
}

ZelImageProcessorContrastStretch::ZelImageProcessorContrastStretch(const QImage& image)
    : ZelImageProcessor(image)
{
    installImplementation(new ZelImageProcessorContrastStretchImpl(image));
}

#include "ZelImageProcessorContrastStretch.moc"
