#include "ZelConvolutionKernelGenerator.h"
#include "ZelEffectTestSupport.h"
#include "ZelImageProcessorBackgroundImage.h"
#include "ZelImageProcessorContrastStretch.h"
#include "ZelImageProcessorConvolution.h"
#include "ZelImageProcessorGrayscale.h"
#include "ZelImageProcessorInvert.h"
#include "ZelMagickWandWrapper_p.h"
#include "ZelMetaTypeCoreRegistry.h"
#include "ZelProgressSignalizer.h"

#include <QLoggingCategory>
#include <QMatrix>
#include <QPainterPath>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <climits>
#include <cmath>
#include <random>

using Kernel = QVector<int>;
using Kernel2D = QVector<QVector<int>>;
using Rows = QList<QList<int>>;
constexpr QImage::Format kIndexed = QImage::Format_Indexed8, kArgb = QImage::Format_ARGB32;

namespace {

ZelConvolutionKernelGenerator& generator() { return ZelConvolutionKernelGenerator::instance(); }

QVector<QRgb> greyTable()
{
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i)
        table[i] = qRgb(i, i, i);
    return table;
}

QRgb rawPixel(const QImage& i, int x, int y) { return reinterpret_cast<const QRgb*>(i.constScanLine(y))[x]; }

// Indexed with a table of greys, or ARGB32 opaque greys.
QImage greyImage(const Rows& rows, bool indexed)
{
    QImage image(rows.first().size(), rows.size(), indexed ? kIndexed : kArgb);
    image.setColorTable(greyTable());
    for (int y = 0; y < rows.size(); ++y)
        for (int x = 0; x < rows[y].size(); ++x)
            image.setPixel(x, y, indexed ? uint(rows[y][x]) : qRgb(rows[y][x], rows[y][x], rows[y][x]));
    return image;
}

Rows levels(const QImage& image)
{
    Rows rows;
    for (int y = 0; y < image.height(); ++y)
        rows << QList<int>(image.constScanLine(y), image.constScanLine(y) + image.width());
    return rows;
}

QImage randomImage(int width, int height, QImage::Format format, unsigned seed, int range = 256)
{
    std::mt19937 random(seed);
    QImage image(width, height, format);
    image.setColorTable(greyTable());
    for (int y = 0; y < height; ++y)
        std::generate_n(image.scanLine(y), image.bytesPerLine(), [&] { return uchar(random() % range); });
    return image;
}

QPainterPath rectanglePath(const QRectF& rectangle)
{
    QPainterPath path;
    return path.addRect(rectangle), path;
}

QImage convolveSeparable(const QImage& image, const Kernel& kernel, double factor, const QPainterPath& avoid = {})
{
    ZelImageProcessorConvolution convolution(image);
    convolution.setParameters(kernel, factor);
    return convolution.setRegionToAvoid(avoid), convolution.result();
}

QImage convolve2D(const QImage& image, const Kernel2D& kernel, double factor = 1.0)
{
    ZelImageProcessorConvolution convolution(image);
    return convolution.setParameters(kernel, factor), convolution.result();
}

// The convolutions as their definitions read, pixel by pixel, for comparison with the lane loops.
int clampIndex(int index, int size) { return qBound(0, index, size - 1); }

// Words truncate, index bytes round halves up; a quotient outside int converts to INT_MIN.
uchar quotientByte(qint64 sum, double factor, bool indexed)
{
    const double quotient = indexed ? std::floor(double(sum) / factor + 0.5) : std::trunc(double(sum) / factor);
    return quotient > -2147483649.0 && quotient < 2147483648.0 ? uchar(int(quotient)) : 0;
}

// Avoided pixels copy the source at the last tap of the last computed pixel.
QImage referencePass(const QImage& in, const Kernel& kernel, double factor, const QPainterPath& avoid, bool alongX)
{
    QImage out(in.size(), in.format());
    out.setColorTable(in.colorTable());
    const bool indexed = in.format() == kIndexed;
    const int lanes = indexed ? 1 : 4, n = kernel.size(), size = alongX ? in.width() : in.height();
    int last = 0;
    for (int y = 0; y < in.height(); ++y) {
        for (int x = 0; x < in.width(); ++x) {
            const auto at = [&](int t) { return in.constScanLine(alongX ? y : t) + (alongX ? t : x) * lanes; };
            uchar* target = out.scanLine(y) + x * lanes;
            if (avoid.contains(alongX ? QPointF(x, y) : QPointF(y, x))) {
                std::copy_n(at(last), lanes, target);
                continue;
            }
            const int position = alongX ? x : y;
            for (int lane = 0; lane < lanes; ++lane) {
                qint64 sum = 0;
                for (int i = 0; i < n; ++i)
                    sum += qint64(kernel[i]) * at(clampIndex(position - n / 2 + i, size))[lane];
                target[lane] = quotientByte(sum, factor, indexed);
            }
            last = n > 0 ? clampIndex(position - n / 2 + n - 1, size) : last;
        }
    }
    return out;
}

// Formats other than indexed and these pixel words are computed as RGB32.
QImage words(const QImage& image)
{
    const QList<QImage::Format> kept{kIndexed, kArgb, QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied};
    return kept.contains(image.format()) ? image : image.convertToFormat(QImage::Format_RGB32);
}

QImage referenceSeparable(const QImage& image, const Kernel& kernel, double factor, const QPainterPath& avoid)
{
    const QImage alongX = referencePass(words(image), kernel, factor, avoid, true);
    return referencePass(alongX, kernel, factor, QMatrix(0, 1, 1, 0, 0, 0).map(avoid), false);
}

// Indexed: |sum| modulo 256 with clamped taps. Words: only pixels a kernel size away from every
// border are computed; a channel outside 0...255 makes the pixel opaque black.
QImage reference2D(const QImage& source, const Kernel2D& kernel)
{
    const QImage image = words(source);
    const int columns = kernel.size(), rows = columns ? kernel[0].size() : 0;
    const bool indexed = image.format() == kIndexed;
    const int bandX = indexed ? 0 : columns, bandY = indexed ? 0 : rows;
    QImage out = image.copy();
    for (int y = bandY; y < image.height() - bandY; ++y) {
        for (int x = bandX; x < image.width() - bandX; ++x) {
            qint64 sum[3] = {0, 0, 0};
            for (int k = 0; k < rows * columns; ++k) {
                const int i = k / columns, j = k % columns;
                const int ty = clampIndex(y - rows / 2 + i, image.height());
                const int tx = clampIndex(x - columns / 2 + j, image.width());
                const QRgb pixel = indexed ? image.constScanLine(ty)[tx] : rawPixel(image, tx, ty);
                const int channels[3] = {indexed ? int(pixel) : qRed(pixel), qGreen(pixel), qBlue(pixel)};
                for (int c = 0; c < 3; ++c)
                    sum[c] += qint64(kernel[i][j]) * channels[c];
            }
            const bool valid = std::all_of(sum, sum + 3, [](qint64 s) { return s >= 0 && s <= 255; });
            if (indexed)
                out.scanLine(y)[x] = uchar(std::abs(sum[0]) % 256);
            else
                reinterpret_cast<QRgb*>(out.scanLine(y))[x] = valid ? qRgb(sum[0], sum[1], sum[2]) : 0xFF000000u;
        }
    }
    return out;
}

// The charcoal chain from public processors, with the edge step as its definition reads.
QImage referenceCharcoal(const QImage& source, int radius)
{
    ZelImageProcessorGrayscale grayscale(source);
    grayscale.setParamters(kIndexed);
    const QImage grey = grayscale.result();
    Kernel2D kernel;
    double factor = 0;
    generator().generateHVDifferenceFilter(kernel, factor, qBound(0, radius, 100) / 25 + 1);
    const int size = kernel.size();
    QImage edges = grey.copy();
    for (int y = 0; y < grey.height(); ++y) {
        for (int x = 0; x < grey.width(); ++x) {
            qint64 horizontal = 0, vertical = 0;
            for (int k = 0; k < size * size; ++k) {
                const int i = k / size, j = k % size;
                const int value = grey.pixelIndex(clampIndex(x - size / 2 + j, grey.width()),
                                                  clampIndex(y - size / 2 + i, grey.height()));
                horizontal += kernel[i][j] * value;
                vertical += kernel[j][i] * value;
            }
            edges.scanLine(y)[x] = uchar(qMin(255, int((std::abs(horizontal) + std::abs(vertical)) / factor)));
        }
    }
    Kernel gauss;
    double norm = 0;
    generator().generateGaussFilter(qBound(1.0, radius * 0.5, 5.0), 0, gauss, norm);
    const QImage blurred = convolveSeparable(ZelImageProcessorInvert(edges).result(), gauss, norm);
    return ZelImageProcessorContrastStretch(blurred).result().convertToFormat(kArgb);
}

} // namespace

class TestFilter : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false")); }

    // The fixed kernels; the difference filter's rows: right box minus left box, sizes taken into 1 ... 16.
    void fixedKernels()
    {
        Kernel2D kernel{{7}};
        double factor = 0;
        generator().generateLaplace(kernel, factor);
        QVERIFY(kernel == (Kernel2D{{1, 1, 1}, {1, -8, 1}, {1, 1, 1}}) && factor == 8.0);
        generator().generateHorizontalSobel(kernel, factor); // columns differ
        QVERIFY(kernel == (Kernel2D{{1, 0, -1}, {2, 0, -2}, {1, 0, -1}}) && factor == 4.0);
        generator().generateVerticalSobel(kernel, factor);
        QVERIFY(kernel == (Kernel2D{{1, 2, 1}, {0, 0, 0}, {-1, -2, -1}}) && factor == 4.0);
        const Kernel widest = Kernel(16, -1) + Kernel{0} + Kernel(16, 1);
        const QList<std::tuple<int, Kernel, double>> differences{
            {1, {-1, 0, 1}, 3.0}, {2, {-1, -1, 0, 1, 1}, 10.0}, {0, {-1, 0, 1}, 3.0}, {INT_MIN, {-1, 0, 1}, 3.0},
            {INT_MAX, widest, 528.0}};
        for (const auto& [size, row, expectedFactor] : differences) {
            generator().generateHVDifferenceFilter(kernel, factor, size);
            QCOMPARE(kernel, Kernel2D(row.size(), row));
            QCOMPARE(factor, expectedFactor);
        }
    }

    // The integer form scales the weights by the largest power of 10 that keeps 255 x n x the
    // weights in int, and no further than the smallest weight needs to become whole.
    void gauss()
    {
        struct Case { double sigma; int radius; QVector<double> weights; double scale; int end; }; // weights: if any
        const double e05 = std::exp(-0.5), e2 = std::exp(-2.0), e45 = std::exp(-4.5);
        const QList<Case> cases{
            // q = trunc(2147483647 / (255 x 1 x 7)) = 1203072; six divisions by 10 reach 1: cap 10^5. The
            // smallest weight exp(-4.5) = 0.0111 passes the cap after seven multiplications: 111089.97.
            {1.0, 0, {e45, e2, e05, 1, e05, e2, e45}, 1e7, 111089},
            {0.0, 2, {1, 1, 1, 1, 1}, 1.0, 1}, // sigma 0: whole ones, not scaled
            {2.0, 6, {}, 1e6, 11108},          // n = 13: q = 647805, cap 10^4; 0.0111 passes it after six
            {40000.0 / 3, 40000, {}, 100.0, 1}, // n = 80001: q = 105, cap 1; 0.0111 passes it after two
            {421075.0 / 38, 421075, {}, 1.0, 0}, // n = 842151: q = 10, no cap; exp(-722) is not scaled
            // Refused: a negative radius, sigma not a number, a radius beyond 2^20, 3 sigma beyond int.
            {1.0, -1, {}, 0.0, 0}, {std::nan(""), 3, {}, 0.0, 0}, {1.0, (1 << 20) + 1, {}, 0.0, 0},
            {1e10, 0, {}, 0.0, 0}};
        for (const Case& c : cases) {
            QVector<double> generated{42.0};
            double sum = -1;
            generator().generateGaussFilter(c.sigma, c.radius, generated, sum);
            if (!c.weights.isEmpty())
                QCOMPARE(generated, c.weights);
            QCOMPARE(generated.isEmpty(), c.scale == 0);
            QCOMPARE(sum, std::accumulate(generated.begin(), generated.end(), 0.0));
            Kernel integers{99};
            double integerSum = -1;
            generator().generateGaussFilter(c.sigma, c.radius, integers, integerSum);
            QCOMPARE(integers.size(), generated.size());
            QCOMPARE(integerSum, c.scale * sum);
            for (int i = 0; i < integers.size(); ++i)
                QCOMPARE(integers[i], int(c.scale * generated[i]));
            QCOMPARE(integers.value(0), c.end);
        }
    }

    // Where the definitions could be wrong the same way: rounding, the region's copy rule, the 2-D orientation.
    void handComputed()
    {
        struct Case { Rows rows; Kernel kernel; double factor; QRectF avoid; Rows words; int alpha; Rows indexed; };
        const QList<Case> cases{
            // Indexed: -0.5 -> 0 and -1.5 -> -1 = 255, then -127.5 -> -127 = 129; 0.5 -> 1 where words
            // truncate to 0. Alpha -127.5 -> -127 = 129, then -64.5 -> -64 = 192.
            {{{1, 3}}, {-1}, 2.0, {}, {{0, 129}}, 192, {{0, 129}}},
            // (1, 2, 1) / 4 over 10, ..., 60: 12.5, 20, ..., 57.5. Avoided pixels take the source at the
            // last tap of the last computed pixel: both 30, the second not its own 40.
            {{{10, 20, 30, 40, 50, 60}}, {1, 2, 1}, 4.0, {1.5, -0.5, 2, 1}, {{12, 20, 30, 30, 50, 57}}, 255,
             {{13, 20, 30, 30, 50, 58}}}};
        for (const Case& c : cases) {
            const QPainterPath region = c.avoid.isNull() ? QPainterPath() : rectanglePath(c.avoid);
            const QImage convolved = convolveSeparable(greyImage(c.rows, false), c.kernel, c.factor, region);
            for (int i = 0; i < convolved.width(); ++i) {
                const int level = c.words[0][i];
                QCOMPARE(rawPixel(convolved, i, 0), qRgba(level, level, level, c.avoid.contains(i, 0) ? 255 : c.alpha));
            }
            QCOMPARE(levels(convolveSeparable(greyImage(c.rows, true), c.kernel, c.factor, region)), c.indexed);
        }
        // Kernel row i reads image row y - 1 + i, column j pixel x - 1 + j.
        const QImage ds = greyImage({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, true);
        QCOMPARE(levels(convolve2D(ds, {{0, 0, 1}, {0, 0, 0}, {0, 0, 0}})), (Rows{{2, 3, 3}, {2, 3, 3}, {5, 6, 6}}));
    }

    void twoDimensionalMatchesItsDefinition_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<Kernel2D>("kernel");
        QTest::addColumn<bool>("unreadable"); // the source comes back
        const Kernel outer{1, 4, 7, 4, 1}, inner{4, 16, 26, 16, 4};
        const Kernel2D gauss300{outer, inner, {7, 26, -300, 26, 7}, inner, outer};
        const QList<QPair<const char*, Kernel2D>> kernels{
            {"Sobel (16-bit sums)", {{1, 0, -1}, {2, 0, -2}, {1, 0, -1}}}, {"up to 300 (32-bit sums)", gauss300},
            {"2^29 (64-bit sums)", {{0, 1 << 29, 0}, {-(1 << 29), 3, 1 << 29}, {0, 0, -(1 << 29)}}},
            {"not negative (unsigned 32-bit sums)", {{0, 1 << 23, 0}, {0, 1, 0}, {0, 0, 3}}},
            {"even size", {{1, 0, 0, 2}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}, {"one weight", {{1}}},
            {"larger than the image", Kernel2D(15, Kernel(15, 1))}, {"no rows: sums of nothing", {}},
            {"two empty rows: words keep two columns", {{}, {}}}, {"unreadable: row 0 longer", {{1, 2, 3}, {4, 5, 6}}},
            {"unreadable: row 0 shorter", {{1}, {2}}}, {"unreadable: ragged", {{1, 1, 1}, {1}, {1, 1, 1}}}};
        // Dark pictures keep sums of small kernels in range, so that they are not just black; other
        // formats are computed as words (premultiplied ones as they are).
        const QImage dark = randomImage(40, 12, kArgb, 8, 32);
        const QList<QPair<const char*, QImage>> images{
            {"indexed", randomImage(37, 9, kIndexed, 6)}, {"ARGB32", randomImage(23, 17, kArgb, 7)}, {"dark", dark},
            {"RGB888", dark.convertToFormat(QImage::Format_RGB888)},
            {"grey", randomImage(9, 7, QImage::Format_Grayscale8, 5)},
            {"premultiplied", dark.convertToFormat(QImage::Format_ARGB32_Premultiplied)}};
        for (const auto& kernel : kernels)
            for (const auto& image : images)
                QTest::addRow("%s, %s", kernel.first, image.first)
                    << image.second << kernel.second << QByteArray(kernel.first).startsWith("unreadable");
        QTest::newRow("300 in a wide indexed row") << randomImage(4500, 2, kIndexed, 9)
                                                   << Kernel2D{{0, 0, 0}, {300, -1, 2}, {0, 0, 0}} << false;
    }
    // The lane loops against the pixel-by-pixel definition. The factor never reaches a 2-D run.
    void twoDimensionalMatchesItsDefinition()
    {
        QFETCH(QImage, image);
        QFETCH(Kernel2D, kernel);
        QFETCH(bool, unreadable);
        QCOMPARE(convolve2D(image, kernel, 9.0), unreadable ? image : reference2D(image, kernel));
    }

    void separableMatchesItsDefinition_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<Kernel>("kernel");
        QTest::addColumn<double>("factor");
        QTest::addColumn<QPainterPath>("avoid");
        Kernel gauss1, gauss2, gauss5;
        double sum1 = 0, sum2 = 0, sum5 = 0;
        generator().generateGaussFilter(1.0, 0, gauss1, sum1);
        generator().generateGaussFilter(2.0, 6, gauss2, sum2);
        generator().generateGaussFilter(5.0, 0, gauss5, sum5);
        // 16-, 32- (mirrored taps or not), unsigned 32- and 64-bit sums; factors of every kind.
        const QList<std::tuple<const char*, Kernel, double>> kernels{
            {"binomial", {1, 2, 1}, 4.0}, {"even, negative", {3, -1, 7, 2}, 5.5}, {"13-tap Gaussian", gauss2, sum2},
            {"32 bits, not mirrored", {1000, -2000, 1500, 0, 9}, 3.7}, {"31-tap Gaussian", gauss5, sum5},
            {"nearly mirrored", {500, 7, 600, 7, 501}, 1615.0}, {"unsigned, not mirrored", {9000000, 1, 3000000}, 1.5},
            {"10^7 Gaussian (beyond 32 bits)", gauss1, sum1}, {"2^29", {1 << 29, -(1 << 30), 1 << 29, 5}, 1e9},
            {"2^30 twice over 2^31", {1 << 30, 1 << 30}, 2147483648.0}, {"longer than the image", Kernel(41, 3), 123.0},
            {"factor 0.3", {2, 1, 2}, 0.3}, {"factor -1", {1, 1}, -1.0}, {"factor 0", {1, 2}, 0.0},
            {"factor 1e-300", {1}, 1e-300}, {"infinite factor", {1}, HUGE_VAL}, {"empty", {}, 1.0}};
        QPainterPath ellipse;
        ellipse.addEllipse(QPointF(18, 3), 9, 2.5);
        const QPainterPath rows3To8 = rectanglePath(QRectF(-1, 2.5, 7, 6)); // longer than the saved rows reach back
        const QImage rgb = randomImage(9, 4, QImage::Format_RGB32, 34);
        const QList<std::tuple<const char*, QImage, QPainterPath>> images{
            {"ARGB32", randomImage(37, 7, kArgb, 11), {}}, {"indexed", randomImage(37, 7, kIndexed, 12), {}},
            {"ARGB32, ellipse avoided", randomImage(37, 7, kArgb, 13), ellipse},
            {"indexed, ellipse avoided", randomImage(37, 7, kIndexed, 14), ellipse},
            {"ARGB32 1100 x 3 (chunks)", randomImage(1100, 3, kArgb, 15), rectanglePath(QRectF(1020, 0.5, 70, 1))},
            {"indexed 4500 x 2 (chunks)", randomImage(4500, 2, kIndexed, 16), {}},
            {"2 x 9, all avoided", randomImage(2, 9, kArgb, 18), rectanglePath(QRectF(-1, -1, 5, 12))},
            {"ARGB32, rows 3 to 8 avoided", randomImage(5, 12, kArgb, 31), rows3To8},
            {"indexed, rows 3 to 8 avoided", randomImage(5, 12, kIndexed, 32), rows3To8},
            {"RGB888", rgb.convertToFormat(QImage::Format_RGB888), {}}, {"1 x 1", randomImage(1, 1, kArgb, 17), {}},
            {"premultiplied as words", rgb.convertToFormat(QImage::Format_ARGB32_Premultiplied), {}}};
        for (const auto& kernel : kernels)
            for (const auto& image : images)
                QTest::addRow("%s, %s", std::get<0>(kernel), std::get<0>(image))
                    << std::get<1>(image) << std::get<1>(kernel) << std::get<2>(kernel) << std::get<2>(image);
    }
    // The lane loops (16-, 32- and 64-bit sums, mirrored taps, chunks, the in-place pass along y
    // and its saved rows) against the pixel-by-pixel definition.
    void separableMatchesItsDefinition()
    {
        QFETCH(QImage, image);
        QFETCH(Kernel, kernel);
        QFETCH(double, factor);
        QFETCH(QPainterPath, avoid);
        QCOMPARE(convolveSeparable(image, kernel, factor, avoid), referenceSeparable(image, kernel, factor, avoid));
    }

    // The stages are processors of their own; only the end reaches the caller. Grey levels 0, 0, 90.
    // Strong: horizontal Sobel |4 x left - 4 x right| = 0, 360, 360 -> 0, 104, 104, the vertical one
    // 0; inverted 255, 151, 151; doubled 510 -> 254, 302 -> 46. Weak: Laplace |3 x left - 6 x centre
    // + 3 x right| = 0, 270, 270 -> 14; inverted 255, 241, 241; doubled 254, 482 -> 226.
    void contures()
    {
        for (const auto& [effect, row] : QList<QPair<QString, QList<int>>>{{"StrongContur", {254, 46, 46}},
                                                                          {"WeakContur", {254, 226, 226}}}) {
            const auto processor = makeEffect(effect, greyImage({{0, 0, 90}, {0, 0, 90}, {0, 0, 90}}, false));
            QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
            const QImage contour = processor->result();
            QCOMPARE(contour.colorTable(), greyTable());
            QCOMPARE(levels(contour), (Rows{row, row, row}));
            QCOMPARE(progress.count(), 0);
        }
    }

    // White ratio, blur and saturation reach the bridge; the radius is qRound(sqrt(w h) unsharpen / 250).
    void backgroundIsTheBridgesBlur()
    {
        const QList<std::tuple<QSize, QList<int>, int>> cases{// size; white ratio, unsharpen, saturation; radius
            {QSize(40, 40), {3, 5, 2}, 1}, {QSize(400, 100), {0, 5, 0}, 4}, {QSize(100, 100), {0, 3, 6}, 1},
            {QSize(125, 125), {0, 3, 0}, 2}, {QSize(125, 125), {0, INT_MAX, 0}, 5}, {QSize(40, 40), {12, -4, 0}, 0}};
        for (const auto& [size, values, radius] : cases) {
            const QImage image = photo(size.width(), size.height());
            ZelImageProcessorBackgroundImage background(image);
            background.setParameters(values[0], values[1], values[2]);
            QCOMPARE(background.unsharpenStrengthDenormalized(), radius);
            ZelProgressSignalizer signalizer;
            QCOMPARE(background.result(), ZelMagickWandWrapper(&signalizer).blur(image, values[0], radius, values[2]));
        }
    }

    // Sigma radius / 2 within 1 ... 5, the edge half-width radius / 25 + 1, the radius taken into 0 ... 100.
    void charcoalMatchesItsChain()
    {
        const QImage image = photo(45, 31);
        for (const int radius : {INT_MIN, 0, 2, 3, 7, 9, 10, 24, 25, 50, 99, 100, INT_MAX})
            QCOMPARE(makeEffect("Charcoal", image, {{"Radius", radius}})->result(), referenceCharcoal(image, radius));
    }
};

QTEST_MAIN(TestFilter)
#include "tst_filter.moc"
