#include "ZelConvolutionKernelGenerator.h"
#include "ZelEffectRegistry.h"
#include "ZelEffectTestSupport.h"
#include "ZelImageProcessorBackgroundImage.h"
#include "ZelImageProcessorCharcoal.h"
#include "ZelImageProcessorContrastStretch.h"
#include "ZelImageProcessorConvolution.h"
#include "ZelImageProcessorGrayscale.h"
#include "ZelImageProcessorInvert.h"
#include "ZelImageProcessorStrongContur.h"
#include "ZelImageProcessorWeakContur.h"
#include "ZelMagickWandWrapper_p.h"
#include "ZelMetaTypeCoreRegistry.h"
#include "ZelParameterDescriptionNumber_p.h"
#include "ZelProgressSignalizer.h"

#include <QLoggingCategory>
#include <QMatrix>
#include <QPainterPath>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>

#include <climits>
#include <cmath>
#include <functional>
#include <memory>
#include <random>

using Kernel = QVector<int>;
using Kernel2D = QVector<QVector<int>>;

namespace {

ZelConvolutionKernelGenerator& generator()
{
    return ZelConvolutionKernelGenerator::instance();
}

QVector<QRgb> greyTable()
{
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i)
        table[i] = qRgb(i, i, i);
    return table;
}

// An 8-bit indexed image with a table of greys, rows of index bytes.
QImage indexedImage(const QList<QList<int>>& rows)
{
    QImage image(rows.first().size(), rows.size(), QImage::Format_Indexed8);
    image.setColorTable(greyTable());
    for (int y = 0; y < rows.size(); ++y) {
        for (int x = 0; x < rows[y].size(); ++x)
            image.scanLine(y)[x] = uchar(rows[y][x]);
    }
    return image;
}

QList<int> indexRow(const QImage& image, int y)
{
    QList<int> row;
    for (int x = 0; x < image.width(); ++x)
        row << image.constScanLine(y)[x];
    return row;
}

QList<QList<int>> indexRows(const QImage& image)
{
    QList<QList<int>> rows;
    for (int y = 0; y < image.height(); ++y)
        rows << indexRow(image, y);
    return rows;
}

QRgb rawPixel(const QImage& image, int x, int y)
{
    return reinterpret_cast<const QRgb*>(image.constScanLine(y))[x];
}

// ARGB32, one grey level per pixel, opaque.
QImage greyWords(const QList<QList<int>>& rows)
{
    QImage image(rows.first().size(), rows.size(), QImage::Format_ARGB32);
    for (int y = 0; y < rows.size(); ++y) {
        for (int x = 0; x < rows[y].size(); ++x)
            reinterpret_cast<QRgb*>(image.scanLine(y))[x] = qRgb(rows[y][x], rows[y][x], rows[y][x]);
    }
    return image;
}

// The blue byte of every pixel.
QList<QList<int>> blueRows(const QImage& image)
{
    QList<QList<int>> rows;
    for (int y = 0; y < image.height(); ++y) {
        QList<int> row;
        for (int x = 0; x < image.width(); ++x)
            row << qBlue(rawPixel(image, x, y));
        rows << row;
    }
    return rows;
}

QImage randomImage(int width, int height, QImage::Format format, unsigned seed)
{
    std::mt19937 random(seed);
    QImage image(width, height, format);
    if (format == QImage::Format_Indexed8)
        image.setColorTable(greyTable());
    for (int y = 0; y < height; ++y) {
        uchar* line = image.scanLine(y);
        for (int i = 0; i < image.bytesPerLine(); ++i)
            line[i] = uchar(random());
    }
    return image;
}

QImage convolveSeparable(const QImage& image, const Kernel& kernel, double factor,
                         const QPainterPath& avoid = QPainterPath())
{
    ZelImageProcessorConvolution convolution(image);
    convolution.setParameters(kernel, factor);
    convolution.setRegionToAvoid(avoid);
    return convolution.result();
}

QImage convolve2D(const QImage& image, const Kernel2D& kernel, double factor = 1.0)
{
    ZelImageProcessorConvolution convolution(image);
    convolution.setParameters(kernel, factor);
    return convolution.result();
}

// -------------------------------------------------------------------------------------------
// The convolution as its definition reads, pixel by pixel, for comparison with the effect's
// lane loops.

int clampIndex(int index, int size)
{
    return qBound(0, index, size - 1);
}

int lanesOf(const QImage& image)
{
    return image.format() == QImage::Format_Indexed8 ? 1 : 4;
}

uchar quotientByte(qint64 sum, double factor, bool indexed)
{
    const double quotient = indexed ? std::floor(double(sum) / factor + 0.5) : std::trunc(double(sum) / factor);
    if (!(quotient > -2147483649.0 && quotient < 2147483648.0))
        return 0;
    return uchar(int(quotient));
}

QImage referencePass(const QImage& in, const Kernel& kernel, double factor, const QPainterPath& avoid, bool alongX)
{
    QImage out(in.size(), in.format());
    out.setColorTable(in.colorTable());
    const bool indexed = in.format() == QImage::Format_Indexed8;
    const int lanes = lanesOf(in);
    const int n = kernel.size();
    const int half = n / 2;
    int last = 0;
    for (int y = 0; y < in.height(); ++y) {
        for (int x = 0; x < in.width(); ++x) {
            const QPointF probe = alongX ? QPointF(x, y) : QPointF(y, x);
            uchar* target = out.scanLine(y) + x * lanes;
            if (avoid.contains(probe)) {
                const uchar* from = alongX ? in.constScanLine(y) + last * lanes : in.constScanLine(last) + x * lanes;
                std::copy_n(from, lanes, target);
                continue;
            }
            const int position = alongX ? x : y;
            const int size = alongX ? in.width() : in.height();
            for (int lane = 0; lane < lanes; ++lane) {
                qint64 sum = 0;
                for (int i = 0; i < n; ++i) {
                    const int tap = clampIndex(position - half + i, size);
                    const uchar* pixel = alongX ? in.constScanLine(y) + tap * lanes : in.constScanLine(tap) + x * lanes;
                    sum += qint64(kernel[i]) * pixel[lane];
                }
                target[lane] = quotientByte(sum, factor, indexed);
            }
            if (n > 0)
                last = clampIndex(position - half + n - 1, size);
        }
    }
    return out;
}

QImage referenceSeparable(const QImage& image, const Kernel& kernel, double factor, const QPainterPath& avoid)
{
    const QImage alongX = referencePass(image, kernel, factor, avoid, true);
    return referencePass(alongX, kernel, factor, QMatrix(0, 1, 1, 0, 0, 0).map(avoid), false);
}

QImage reference2D(const QImage& image, const Kernel2D& kernel)
{
    const int columns = kernel.size();
    const int rows = columns ? kernel[0].size() : 0;
    const int width = image.width();
    const int height = image.height();
    QImage out = image.copy();
    if (image.format() == QImage::Format_Indexed8) {
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                qint64 sum = 0;
                for (int i = 0; i < rows; ++i) {
                    for (int j = 0; j < columns; ++j)
                        sum += qint64(kernel[i][j])
                            * image.constScanLine(clampIndex(y - rows / 2 + i, height))[clampIndex(x - columns / 2 + j, width)];
                }
                out.scanLine(y)[x] = uchar(std::abs(sum) % 256);
            }
        }
        return out;
    }
    for (int y = rows; y < height - rows; ++y) {
        for (int x = columns; x < width - columns; ++x) {
            qint64 red = 0, green = 0, blue = 0;
            for (int i = 0; i < rows; ++i) {
                for (int j = 0; j < columns; ++j) {
                    const QRgb pixel = rawPixel(image, x - columns / 2 + j, y - rows / 2 + i);
                    red += qint64(kernel[i][j]) * qRed(pixel);
                    green += qint64(kernel[i][j]) * qGreen(pixel);
                    blue += qint64(kernel[i][j]) * qBlue(pixel);
                }
            }
            const bool valid = red >= 0 && red <= 255 && green >= 0 && green <= 255 && blue >= 0 && blue <= 255;
            reinterpret_cast<QRgb*>(out.scanLine(y))[x] = valid ? qRgb(int(red), int(green), int(blue)) : 0xFF000000u;
        }
    }
    return out;
}

QPainterPath rectanglePath(const QRectF& rectangle)
{
    QPainterPath path;
    path.addRect(rectangle);
    return path;
}

struct ProgressRecord
{
    QStringList titles;
    QStringList steps;
    QList<int> currents;
    QList<int> totals;
};

ProgressRecord progressOf(const QSignalSpy& spy)
{
    ProgressRecord record;
    for (const QList<QVariant>& arguments : spy) {
        record.titles << arguments.at(0).toString();
        record.steps << arguments.at(1).toString();
        record.currents << arguments.at(2).toInt();
        record.totals << arguments.at(3).toInt();
    }
    return record;
}

template <typename T>
QList<T> repeated(int count, const T& value)
{
    QList<T> values;
    for (int i = 0; i < count; ++i)
        values << value;
    return values;
}

QList<int> range(int from, int to)
{
    QList<int> values;
    for (int i = from; i < to; ++i)
        values << i;
    return values;
}

QImage runCharcoal(const QImage& image, int radius)
{
    ZelImageProcessorCharcoal charcoal(image);
    ZelUIParameterMap values;
    values.insert("Radius", qMakePair(QVariant(radius), true));
    charcoal.setParameters(values);
    return charcoal.result();
}

// The charcoal chain from public processors, with the edge step as its definition reads.
QImage referenceCharcoal(const QImage& source, int radius)
{
    ZelImageProcessorGrayscale grayscale(source);
    grayscale.setParamters(QImage::Format_Indexed8);
    const QImage grey = grayscale.result();
    Kernel2D kernel;
    double factor = 0;
    generator().generateHVDifferenceFilter(kernel, factor, qBound(0, radius, 100) / 25 + 1);
    const int size = kernel.size();
    QImage edges = grey.copy();
    for (int y = 0; y < grey.height(); ++y) {
        for (int x = 0; x < grey.width(); ++x) {
            qint64 horizontal = 0;
            qint64 vertical = 0;
            for (int i = 0; i < size; ++i) {
                for (int j = 0; j < size; ++j) {
                    const int value = grey.constScanLine(clampIndex(y - size / 2 + i, grey.height()))
                                          [clampIndex(x - size / 2 + j, grey.width())];
                    horizontal += kernel[i][j] * value;
                    vertical += kernel[j][i] * value;
                }
            }
            edges.scanLine(y)[x] = uchar(qMin(255, int((std::abs(horizontal) + std::abs(vertical)) / factor)));
        }
    }
    const QImage inverted = ZelImageProcessorInvert(edges).result();
    Kernel gauss;
    double norm = 0;
    generator().generateGaussFilter(qBound(1.0, radius * 0.5, 5.0), 0, gauss, norm);
    const QImage blurred = convolveSeparable(inverted, gauss, norm);
    return ZelImageProcessorContrastStretch(blurred).result().convertToFormat(QImage::Format_ARGB32);
}

} // namespace

Q_DECLARE_METATYPE(QImage::Format)

class TestFilter : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    // kernel generator
    void fixedKernels_data();
    void fixedKernels();
    void fixedKernelsAreBuiltOnce();
    void gaussDoubles_data();
    void gaussDoubles();
    void gaussIntegers_data();
    void gaussIntegers();
    void gaussRefusesWhatCannotBeBuilt_data();
    void gaussRefusesWhatCannotBeBuilt();
    void differenceFilter_data();
    void differenceFilter();
    void oneGenerator();

    // convolution, 2-D kernel
    void indexed2DClampsAndWraps();
    void words2DComputesOnlyTheInside_data();
    void words2DComputesOnlyTheInside();
    void words2DOutOfRangeIsBlack();
    void factorOf2DIsDiscarded();
    void unreadable2DKernelsLeaveTheSource_data();
    void unreadable2DKernelsLeaveTheSource();
    void empty2DKernel_data();
    void empty2DKernel();
    void twoDimensionalMatchesItsDefinition_data();
    void twoDimensionalMatchesItsDefinition();

    // convolution, separable kernel
    void separableWords_data();
    void separableWords();
    void separableIndexedRoundsHalvesUp_data();
    void separableIndexedRoundsHalvesUp();
    void separableSumsAreExact();
    void separableOddFactors_data();
    void separableOddFactors();
    void avoidRegionInBothPasses_data();
    void avoidRegionInBothPasses();
    void regionToAvoidValues();
    void separableMatchesItsDefinition_data();
    void separableMatchesItsDefinition();
    void passAlongXWritesADebugLineOn32BitImages();

    // convolution as an effect
    void previewsUseThe2DKernel();
    void convolutionProgress_data();
    void convolutionProgress();
    void convolutionCancel();
    void convolutionBadSources_data();
    void convolutionBadSources();
    void largeImagesComeBackWhole();
    void convolutionInRegistryAndZelfx();

    // chains
    void metadata_data();
    void metadata();
    void previewsRunTheSameWork_data();
    void previewsRunTheSameWork();
    void badSources_data();
    void badSources();
    void conturesOfAFlatPicture_data();
    void conturesOfAFlatPicture();
    void conturesOfAnEdge_data();
    void conturesOfAnEdge();
    void conturesReportNoProgress_data();
    void conturesReportNoProgress();
    void backgroundParameters();
    void backgroundDenormalizedUnsharpen_data();
    void backgroundDenormalizedUnsharpen();
    void backgroundIsTheBridgesBlur_data();
    void backgroundIsTheBridgesBlur();
    void charcoalParameter();
    void charcoalMatchesItsChain_data();
    void charcoalMatchesItsChain();
    void charcoalSigmaIsClamped_data();
    void charcoalSigmaIsClamped();
    void charcoalOfAFlatPictureIsBlack();
    void charcoalProgress();
    void charcoalCancel();

private:
    MarkingTranslator myTranslator;
};

void TestFilter::initTestCase()
{
    // The separable pass along x writes a debug line on 32-bit images.
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    QCoreApplication::installTranslator(&myTranslator);
}

void TestFilter::cleanupTestCase()
{
    QCoreApplication::removeTranslator(&myTranslator);
}

// ---------------------------------------------------------------------------------------------
// Kernel generator

void TestFilter::fixedKernels_data()
{
    QTest::addColumn<QString>("which");
    QTest::addColumn<Kernel2D>("kernel");
    QTest::addColumn<double>("factor");
    QTest::newRow("Laplace") << "Laplace" << Kernel2D{{1, 1, 1}, {1, -8, 1}, {1, 1, 1}} << 8.0;
    QTest::newRow("horizontal Sobel: columns differ") << "horizontal" << Kernel2D{{1, 0, -1}, {2, 0, -2}, {1, 0, -1}}
                                                      << 4.0;
    QTest::newRow("vertical Sobel: rows differ") << "vertical" << Kernel2D{{1, 2, 1}, {0, 0, 0}, {-1, -2, -1}} << 4.0;
}

void TestFilter::fixedKernels()
{
    QFETCH(QString, which);
    QFETCH(Kernel2D, kernel);
    QFETCH(double, factor);
    Kernel2D generated{{7}};
    double generatedFactor = 0;
    if (which == "Laplace")
        generator().generateLaplace(generated, generatedFactor);
    else if (which == "horizontal")
        generator().generateHorizontalSobel(generated, generatedFactor);
    else
        generator().generateVerticalSobel(generated, generatedFactor);
    QCOMPARE(generated, kernel);
    QCOMPARE(generatedFactor, factor);
}

// The second call hands out the matrix the first one built.
void TestFilter::fixedKernelsAreBuiltOnce()
{
    Kernel2D first, second;
    double factor = 0;
    generator().generateLaplace(first, factor);
    generator().generateLaplace(second, factor);
    QVERIFY(first.constData() == second.constData());
}

void TestFilter::gaussDoubles_data()
{
    QTest::addColumn<double>("sigma");
    QTest::addColumn<int>("radius");
    QTest::addColumn<QVector<double>>("kernel");
    const double e05 = std::exp(-0.5), e2 = std::exp(-2.0), e45 = std::exp(-4.5);
    QTest::newRow("sigma 1: radius 3 sigma") << 1.0 << 0 << QVector<double>{e45, e2, e05, 1.0, e05, e2, e45};
    QTest::newRow("a radius wins over sigma") << 1.0 << 1 << QVector<double>{e05, 1.0, e05};
    // exp(-(r - i)^2 * 0.5 / 4): distance 2 gives exp(-0.5).
    QTest::newRow("sigma 2, radius 2") << 2.0 << 2 << QVector<double>{e05, std::exp(-0.125), 1.0, std::exp(-0.125), e05};
    QTest::newRow("sigma 0: all ones") << 0.0 << 2 << QVector<double>{1, 1, 1, 1, 1};
    QTest::newRow("sigma 0, radius 0: one tap") << 0.0 << 0 << QVector<double>{1};
    // sigma^2 underflows to exactly 0.
    QTest::newRow("sigma 1e-200: all ones") << 1e-200 << 1 << QVector<double>{1, 1, 1};
    QTest::newRow("negative sigma") << -1.0 << 1 << QVector<double>{e05, 1.0, e05};
}

void TestFilter::gaussDoubles()
{
    QFETCH(double, sigma);
    QFETCH(int, radius);
    QFETCH(QVector<double>, kernel);
    QVector<double> generated{42.0};
    double sum = -1;
    generator().generateGaussFilter(sigma, radius, generated, sum);
    QCOMPARE(generated, kernel);
    double expectedSum = 0;
    for (double weight : kernel)
        expectedSum += weight;
    QCOMPARE(sum, expectedSum);
}

void TestFilter::gaussIntegers_data()
{
    QTest::addColumn<double>("sigma");
    QTest::addColumn<int>("radius");
    QTest::addColumn<double>("scale");
    QTest::addColumn<int>("centre");
    QTest::addColumn<int>("end");
    // q = trunc(2147483647 / (255 x 1 x 7)) = 1203072; six divisions by 10 reach 1: cap 10^5. The
    // smallest weight exp(-4.5) = 0.0111 passes the cap after seven multiplications: 111089.97.
    QTest::newRow("sigma 1: 10^7") << 1.0 << 0 << 1e7 << 10000000 << 111089;
    // n = 13: q = 647805, cap 10^4; 0.0111 passes it after six multiplications.
    QTest::newRow("sigma 2, 13 taps: 10^6") << 2.0 << 6 << 1e6 << 1000000 << 11108;
    // n = 80001: q = 105, one division: cap 1. 0.0111 -> 0.111 -> 1.11 passes it: scale 100.
    QTest::newRow("cap 1") << 40000.0 / 3 << 40000 << 100.0 << 100 << 1;
    // n = 842151: q = 10, no cap; the smallest weight exp(-722) has a fraction but is not
    // scaled.
    QTest::newRow("no cap") << 421075.0 / 38 << 421075 << 1.0 << 1 << 0;
    // Whole weights are not scaled whatever the cap.
    QTest::newRow("sigma 0: whole ones") << 0.0 << 3 << 1.0 << 1 << 1;
}

void TestFilter::gaussIntegers()
{
    QFETCH(double, sigma);
    QFETCH(int, radius);
    QFETCH(double, scale);
    QFETCH(int, centre);
    QFETCH(int, end);
    QVector<double> weights;
    double doubleSum = 0;
    generator().generateGaussFilter(sigma, radius, weights, doubleSum);
    Kernel kernel{99};
    double sum = 0;
    generator().generateGaussFilter(sigma, radius, kernel, sum);
    QCOMPARE(kernel.size(), weights.size());
    QCOMPARE(kernel[kernel.size() / 2], centre);
    QCOMPARE(kernel.first(), end);
    QCOMPARE(kernel.last(), end);
    for (int i = 0; i < kernel.size(); ++i)
        QCOMPARE(kernel[i], int(scale * weights[i]));
    QCOMPARE(sum, scale * doubleSum);
}

void TestFilter::gaussRefusesWhatCannotBeBuilt_data()
{
    QTest::addColumn<double>("sigma");
    QTest::addColumn<int>("radius");
    QTest::newRow("negative radius") << 1.0 << -1;
    QTest::newRow("negative sigma, radius from it") << -1.0 << 0;
    QTest::newRow("sigma not a number") << std::nan("") << 3;
    QTest::newRow("infinite sigma") << HUGE_VAL << 3;
    QTest::newRow("radius beyond 2^20") << 1.0 << (1 << 20) + 1;
    QTest::newRow("3 sigma beyond the int range") << 1e10 << 0;
    QTest::newRow("largest radius") << 1.0 << INT_MAX;
}

// An empty kernel and a sum of 0, for both forms.
void TestFilter::gaussRefusesWhatCannotBeBuilt()
{
    QFETCH(double, sigma);
    QFETCH(int, radius);
    QVector<double> weights{1.0};
    double sum = 5;
    generator().generateGaussFilter(sigma, radius, weights, sum);
    QVERIFY(weights.isEmpty());
    QCOMPARE(sum, 0.0);
    Kernel kernel{1};
    sum = 5;
    generator().generateGaussFilter(sigma, radius, kernel, sum);
    QVERIFY(kernel.isEmpty());
    QCOMPARE(sum, 0.0);
}

void TestFilter::differenceFilter_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<Kernel>("row");
    QTest::addColumn<double>("factor");
    QTest::newRow("1: 3 x 3") << 1 << Kernel{-1, 0, 1} << 3.0;
    QTest::newRow("2: 5 x 5") << 2 << Kernel{-1, -1, 0, 1, 1} << 10.0;
    QTest::newRow("0 counts as 1") << 0 << Kernel{-1, 0, 1} << 3.0;
    QTest::newRow("negative counts as 1") << INT_MIN << Kernel{-1, 0, 1} << 3.0;
    Kernel widest(33, 1);
    std::fill(widest.begin(), widest.begin() + 16, -1);
    widest[16] = 0;
    QTest::newRow("above 16 counts as 16") << INT_MAX << widest << 528.0;
}

// Every row the same: the right box minus the left box.
void TestFilter::differenceFilter()
{
    QFETCH(int, size);
    QFETCH(Kernel, row);
    QFETCH(double, factor);
    Kernel2D kernel;
    double generatedFactor = 0;
    generator().generateHVDifferenceFilter(kernel, generatedFactor, size);
    QCOMPARE(kernel, Kernel2D(row.size(), row));
    QCOMPARE(generatedFactor, factor);
}

void TestFilter::oneGenerator()
{
    QCOMPARE(&ZelConvolutionKernelGenerator::instance(), &generator());
}

// ---------------------------------------------------------------------------------------------
// Convolution, 2-D kernel

void TestFilter::indexed2DClampsAndWraps()
{
    const auto check = [](const QList<QList<int>>& rows, const Kernel2D& kernel, const QList<QList<int>>& expected) {
        const QImage convolved = convolve2D(indexedImage(rows), kernel);
        QCOMPARE(convolved.format(), QImage::Format_Indexed8);
        QCOMPARE(convolved.colorTable(), greyTable());
        QCOMPARE(indexRows(convolved), expected);
    };
    // Centre: -8 x 40 = -320, |-320| mod 256 = 64. Every other pixel sees the centre once
    // through its clamped neighbourhood.
    check({{0, 0, 0}, {0, 40, 0}, {0, 0, 0}}, {{1, 1, 1}, {1, -8, 1}, {1, 1, 1}},
          {{40, 40, 40}, {40, 64, 40}, {40, 40, 40}});
    // Kernel row i reads image row y - 1 + i, column j pixel x - 1 + j, both clamped.
    const QList<QList<int>> digits{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    check(digits, {{0, 0, 0}, {0, 0, 1}, {0, 0, 0}}, {{2, 3, 3}, {5, 6, 6}, {8, 9, 9}});
    check(digits, {{0, 1, 0}, {0, 0, 0}, {0, 0, 0}}, {{1, 2, 3}, {1, 2, 3}, {4, 5, 6}});
    // |-3 x 100| = 300, modulo 256: 44.
    check({{100}}, {{0, 0, 0}, {0, -3, 0}, {0, 0, 0}}, {{44}});
}

void TestFilter::words2DComputesOnlyTheInside_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("taps");
    QTest::newRow("8 x 8, 3 x 3: rows and columns 3 and 4") << 8 << 3;
    QTest::newRow("7 x 7, 3 x 3: pixel (3, 3)") << 7 << 3;
    QTest::newRow("6 x 6, 3 x 3: nothing") << 6 << 3;
    QTest::newRow("12 x 12, 5 x 5: 5 and 6") << 12 << 5;
}

// An identity kernel makes the computed pixels opaque and leaves the band of `taps` rows and
// columns as it was, alpha included.
void TestFilter::words2DComputesOnlyTheInside()
{
    QFETCH(int, size);
    QFETCH(int, taps);
    QImage image = randomImage(size, size, QImage::Format_ARGB32, 2);
    Kernel2D identity(taps, Kernel(taps, 0));
    identity[taps / 2][taps / 2] = 1;
    const QImage convolved = convolve2D(image, identity);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const bool inside = x >= taps && x < size - taps && y >= taps && y < size - taps;
            QCOMPARE(rawPixel(convolved, x, y), inside ? rawPixel(image, x, y) | 0xFF000000u : rawPixel(image, x, y));
        }
    }
}

// Each channel sum is taken as it is; one channel outside 0...255 turns the pixel opaque black,
// as QColor::setRgb refuses it.
void TestFilter::words2DOutOfRangeIsBlack()
{
    QImage image(7, 7, QImage::Format_ARGB32);
    image.fill(qRgba(100, 20, 127, 128));
    reinterpret_cast<QRgb*>(image.scanLine(3))[2] = qRgba(50, 60, 70, 0);
    // Centre twice: 200, 40, 254, and the left neighbour once more: 250, 100, 324.
    const Kernel2D doubled{{0, 0, 0}, {0, 2, 0}, {0, 0, 0}};
    QCOMPARE(rawPixel(convolve2D(image, doubled), 3, 3), qRgb(200, 40, 254));
    QCOMPARE(rawPixel(convolve2D(image, {{0, 0, 0}, {1, 2, 0}, {0, 0, 0}}), 3, 3), 0xFF000000u);
    QCOMPARE(rawPixel(convolve2D(image, {{0, 0, 0}, {0, -1, 0}, {0, 0, 0}}), 3, 3), 0xFF000000u);
}

// The caller's factor never reaches the computation: 90 / 9 would be 10.
void TestFilter::factorOf2DIsDiscarded()
{
    const QImage convolved = convolve2D(indexedImage({{90, 90}, {90, 90}}), {{0, 0, 0}, {0, 1, 0}, {0, 0, 0}}, 9.0);
    QCOMPARE(indexRows(convolved), (QList<QList<int>>{{90, 90}, {90, 90}}));
}

void TestFilter::unreadable2DKernelsLeaveTheSource_data()
{
    QTest::addColumn<Kernel2D>("kernel");
    QTest::addColumn<QImage::Format>("format");
    const QList<QPair<const char*, Kernel2D>> kernels{{"first row longer", {{1, 2, 3}, {4, 5, 6}}},
                                                     {"first row shorter", {{1}, {2}}},
                                                     {"ragged", {{1, 1, 1}, {1}, {1, 1, 1}}}};
    for (const auto& kernel : kernels) {
        QTest::newRow(QByteArray(kernel.first).append(", indexed").constData()) << kernel.second << QImage::Format_Indexed8;
        QTest::newRow(QByteArray(kernel.first).append(", ARGB32").constData()) << kernel.second << QImage::Format_ARGB32;
    }
}

void TestFilter::unreadable2DKernelsLeaveTheSource()
{
    QFETCH(Kernel2D, kernel);
    QFETCH(QImage::Format, format);
    const QImage image = randomImage(9, 9, format, 3);
    ZelImageProcessorConvolution convolution(image);
    convolution.setParameters(kernel, 1.0);
    QSignalSpy finished(&convolution, &ZelImageProcessor::finished);
    QCOMPARE(convolution.result(), image);
    QCOMPARE(finished.count(), 1);
}

void TestFilter::empty2DKernel_data()
{
    QTest::addColumn<Kernel2D>("kernel");
    QTest::addColumn<int>("keptColumns");
    QTest::newRow("no rows") << Kernel2D{} << 0;
    QTest::newRow("one empty row") << Kernel2D{{}} << 1;
    QTest::newRow("two empty rows") << Kernel2D{{}, {}} << 2;
}

// Sums of nothing: 0 in indexed images, opaque black in 32-bit ones wherever computed; the
// number of rows still sets the band of columns that 32-bit images keep.
void TestFilter::empty2DKernel()
{
    QFETCH(Kernel2D, kernel);
    QFETCH(int, keptColumns);
    const QImage indexed = convolve2D(randomImage(6, 3, QImage::Format_Indexed8, 4), kernel);
    QCOMPARE(indexRows(indexed), repeated(3, repeated(6, 0)));
    const QImage words = randomImage(6, 3, QImage::Format_ARGB32, 5);
    const QImage convolved = convolve2D(words, kernel);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 6; ++x) {
            const bool kept = x < keptColumns || x >= 6 - keptColumns;
            QCOMPARE(rawPixel(convolved, x, y), kept ? rawPixel(words, x, y) : 0xFF000000u);
        }
    }
}

void TestFilter::twoDimensionalMatchesItsDefinition_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<Kernel2D>("kernel");
    const QList<QPair<const char*, Kernel2D>> kernels{
        {"Sobel (16-bit sums)", {{1, 0, -1}, {2, 0, -2}, {1, 0, -1}}},
        {"weights up to 300 (32-bit sums)", {{1, 4, 7, 4, 1}, {4, 16, 26, 16, 4}, {7, 26, -300, 26, 7},
                                             {4, 16, 26, 16, 4}, {1, 4, 7, 4, 1}}},
        {"weights of 2^29 (64-bit sums)", {{0, 1 << 29, 0}, {-(1 << 29), 3, 1 << 29}, {0, 0, -(1 << 29)}}},
        {"no negative weights (unsigned 32-bit sums)", {{0, 1 << 23, 0}, {0, 1, 0}, {0, 0, 3}}},
        {"even size", {{1, 0, 0, 2}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}},
        {"one weight", {{1}}},
        {"larger than the image", Kernel2D(15, Kernel(15, 1))}};
    for (const auto& kernel : kernels) {
        QTest::newRow(QByteArray(kernel.first).append(", indexed").constData())
            << randomImage(37, 9, QImage::Format_Indexed8, 6) << kernel.second;
        QTest::newRow(QByteArray(kernel.first).append(", ARGB32").constData())
            << randomImage(23, 17, QImage::Format_ARGB32, 7) << kernel.second;
    }
    // Dark pictures keep sums of small kernels in range, so that they are not just black.
    QImage dark = randomImage(40, 12, QImage::Format_ARGB32, 8);
    for (int y = 0; y < dark.height(); ++y) {
        for (int x = 0; x < dark.width() * 4; ++x)
            dark.scanLine(y)[x] /= 8;
    }
    QTest::newRow("box 3 x 3, dark ARGB32") << dark << Kernel2D(3, Kernel(3, 1));
    QTest::newRow("weight 300 in a wide indexed row") << randomImage(4500, 2, QImage::Format_Indexed8, 9)
                                                      << Kernel2D{{0, 0, 0}, {300, -1, 2}, {0, 0, 0}};
}

// The lane loops, with their 16-, 32- and 64-bit sums, against the pixel-by-pixel definition.
void TestFilter::twoDimensionalMatchesItsDefinition()
{
    QFETCH(QImage, image);
    QFETCH(Kernel2D, kernel);
    QCOMPARE(convolve2D(image, kernel), reference2D(image, kernel));
}

// ---------------------------------------------------------------------------------------------
// Convolution, separable kernel

void TestFilter::separableWords_data()
{
    QTest::addColumn<QList<QList<int>>>("rows");
    QTest::addColumn<Kernel>("kernel");
    QTest::addColumn<double>("factor");
    QTest::addColumn<QList<QList<int>>>("expected");
    QTest::addColumn<int>("alpha");
    // Along x: (10 + 10 + 20) / 3 = 13.3, (10 + 20 + 40) / 3 = 23.3, (20 + 40 + 40) / 3 = 33.3,
    // truncated. Along y a single row gives 3v / 3 = v.
    QTest::newRow("truncated") << QList<QList<int>>{{10, 20, 40}} << Kernel{1, 1, 1} << 3.0
                               << QList<QList<int>>{{13, 23, 33}} << 255;
    // Along x: 350 -> 94, 210, 80; along y times 4: 376 -> 120, 840 -> 72, 320 -> 64. Alpha:
    // 255 x 4 = 1020 -> 252, then 1008 -> 240.
    QTest::newRow("low 8 bits") << QList<QList<int>>{{100, 50, 10}} << Kernel{1, 2, 1} << 1.0
                                << QList<QList<int>>{{120, 72, 64}} << 240;
    // Along x the middle row becomes 16, 32, 16; along y the columns 4, 8, 4 and 8, 16, 8.
    QTest::newRow("both directions") << QList<QList<int>>{{0, 0, 0}, {0, 64, 0}, {0, 0, 0}} << Kernel{1, 2, 1} << 4.0
                                     << QList<QList<int>>{{4, 8, 4}, {8, 16, 8}, {4, 8, 4}} << 255;
    // Even length: taps x - 1 and x. Along x 20, 30, 50; along y doubled. Alpha 510 -> 254 -> 252.
    QTest::newRow("even length") << QList<QList<int>>{{10, 20, 30}} << Kernel{1, 1} << 1.0
                                 << QList<QList<int>>{{40, 60, 100}} << 252;
    // -10 -> 246, then -246 -> 10; alpha -255 -> 1, then -1 -> 255.
    QTest::newRow("negative sums") << QList<QList<int>>{{10}} << Kernel{-1} << 1.0 << QList<QList<int>>{{10}} << 255;
    // Nothing to sum: every byte 0, alpha too.
    QTest::newRow("empty kernel") << QList<QList<int>>{{10, 20}} << Kernel{} << 1.0 << QList<QList<int>>{{0, 0}} << 0;
}

void TestFilter::separableWords()
{
    QFETCH(QList<QList<int>>, rows);
    QFETCH(Kernel, kernel);
    QFETCH(double, factor);
    QFETCH(QList<QList<int>>, expected);
    QFETCH(int, alpha);
    const QImage convolved = convolveSeparable(greyWords(rows), kernel, factor);
    QCOMPARE(convolved.format(), QImage::Format_ARGB32);
    QCOMPARE(blueRows(convolved), expected);
    for (int y = 0; y < convolved.height(); ++y) {
        for (int x = 0; x < convolved.width(); ++x) {
            const QRgb pixel = rawPixel(convolved, x, y);
            QCOMPARE(qAlpha(pixel), alpha);
            QCOMPARE(qRed(pixel), qBlue(pixel));
            QCOMPARE(qGreen(pixel), qBlue(pixel));
        }
    }
}

void TestFilter::separableIndexedRoundsHalvesUp_data()
{
    QTest::addColumn<QList<QList<int>>>("rows");
    QTest::addColumn<Kernel>("kernel");
    QTest::addColumn<double>("factor");
    QTest::addColumn<QList<QList<int>>>("expected");
    // 0.25 -> floor(0.75) = 0, 0.5 -> floor(1.0) = 1; along y 4v / 4 = v.
    QTest::newRow("half up") << QList<QList<int>>{{0, 1, 0}} << Kernel{1, 2, 1} << 4.0 << QList<QList<int>>{{0, 1, 0}};
    // -0.5 -> 0 and -1.5 -> -1 = 255; along y -127.5 -> -127 = 129.
    QTest::newRow("negative halves") << QList<QList<int>>{{1, 3}} << Kernel{-1} << 2.0 << QList<QList<int>>{{0, 129}};
    QTest::newRow("empty kernel") << QList<QList<int>>{{7, 9}} << Kernel{} << 1.0 << QList<QList<int>>{{0, 0}};
}

void TestFilter::separableIndexedRoundsHalvesUp()
{
    QFETCH(QList<QList<int>>, rows);
    QFETCH(Kernel, kernel);
    QFETCH(double, factor);
    QFETCH(QList<QList<int>>, expected);
    const QImage convolved = convolveSeparable(indexedImage(rows), kernel, factor);
    QCOMPARE(convolved.format(), QImage::Format_Indexed8);
    QCOMPARE(convolved.colorTable(), greyTable());
    QCOMPARE(indexRows(convolved), expected);
}

// 255 x the weights of the integer Gaussian of sigma 1 (10^7 in the centre) is 6.4 x 10^9, beyond
// 32 bits. With exact sums flat 255 stays 255 in indexed images; in 32-bit ones it truncates to
// 254 along x and 253 along y, the integer weights summing to slightly less than the factor.
void TestFilter::separableSumsAreExact()
{
    Kernel gauss;
    double sum = 0;
    generator().generateGaussFilter(1.0, 0, gauss, sum);
    const QImage indexed = convolveSeparable(indexedImage(repeated(3, repeated(9, 255))), gauss, sum);
    QCOMPARE(indexRows(indexed), repeated(3, repeated(9, 255)));
    QImage white(9, 3, QImage::Format_ARGB32);
    white.fill(0xFFFFFFFFu);
    const QImage words = convolveSeparable(white, gauss, sum);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 9; ++x)
            QCOMPARE(rawPixel(words, x, y), 0xFDFDFDFDu);
    }
    // 200 x 2^31 / 2^31 in both passes.
    const QImage heavy = convolveSeparable(indexedImage({{200, 200, 200, 200}}), {1 << 30, 1 << 30}, 2147483648.0);
    QCOMPARE(indexRow(heavy, 0), (QList<int>{200, 200, 200, 200}));
}

void TestFilter::separableOddFactors_data()
{
    QTest::addColumn<double>("factor");
    QTest::addColumn<int>("word");
    QTest::addColumn<int>("index");
    // A quotient outside the int range (or not a number) converts to INT_MIN: low byte 0.
    QTest::newRow("0") << 0.0 << 0 << 0;
    QTest::newRow("not a number") << std::nan("") << 0 << 0;
    QTest::newRow("infinite: quotient 0") << HUGE_VAL << 0 << 0;
    // 200 / 0.5 = 400 -> 144, then 288 -> 32; indexed the same (no halves).
    QTest::newRow("0.5") << 0.5 << 32 << 32;
    // -200 -> 56, then -56 -> 200.
    QTest::newRow("-1") << -1.0 << 200 << 200;
    // 1e-300: beyond the int range.
    QTest::newRow("tiny") << 1e-300 << 0 << 0;
}

void TestFilter::separableOddFactors()
{
    QFETCH(double, factor);
    QFETCH(int, word);
    QFETCH(int, index);
    const QImage words = convolveSeparable(greyWords({{200, 200}}), {1}, factor);
    QCOMPARE(qBlue(rawPixel(words, 1, 0)), word);
    const QImage indexed = convolveSeparable(indexedImage({{200, 200}}), {1}, factor);
    QCOMPARE(indexRow(indexed, 0).at(1), index);
}

void TestFilter::avoidRegionInBothPasses_data()
{
    QTest::addColumn<bool>("column");
    QTest::addColumn<QRectF>("region");
    QTest::addColumn<QList<int>>("expected");
    QTest::addColumn<QList<int>>("expectedIndexed");
    // Kernel (1, 2, 1) / 4 over 10, 20, ..., 60. Computed: (10 + 20 + 20) / 4 = 12.5, 20, ...,
    // (50 + 120 + 60) / 4 = 57.5 (indexed: 13 and 58). Avoided pixels take the source at the
    // final tap of the last computed pixel: both 30, the second not its own 40.
    QTest::newRow("row: along x") << false << QRectF(1.5, -0.5, 2, 1) << QList<int>{12, 20, 30, 30, 50, 57}
                                  << QList<int>{13, 20, 30, 30, 50, 58};
    // A column is left alone along x (every tap is the pixel itself); along y the transposed
    // region avoids the same pixels.
    QTest::newRow("column: along y") << true << QRectF(-0.5, 1.5, 1, 2) << QList<int>{12, 20, 30, 30, 50, 57}
                                     << QList<int>{13, 20, 30, 30, 50, 58};
    // Before any sum the copies come from the first column (row): 10 twice.
    QTest::newRow("row: from the start") << false << QRectF(-0.5, -0.5, 2, 1) << QList<int>{10, 10, 30, 40, 50, 57}
                                         << QList<int>{10, 10, 30, 40, 50, 58};
    QTest::newRow("column: from the start") << true << QRectF(-0.5, -0.5, 1, 2) << QList<int>{10, 10, 30, 40, 50, 57}
                                            << QList<int>{10, 10, 30, 40, 50, 58};
}

void TestFilter::avoidRegionInBothPasses()
{
    QFETCH(bool, column);
    QFETCH(QRectF, region);
    QFETCH(QList<int>, expected);
    QFETCH(QList<int>, expectedIndexed);
    const QList<int> values{10, 20, 30, 40, 50, 60};
    QList<QList<int>> rows;
    if (column) {
        for (int value : values)
            rows << QList<int>{value};
    } else {
        rows << values;
    }
    for (const bool indexed : {false, true}) {
        const QImage image = indexed ? indexedImage(rows) : greyWords(rows);
        const QImage convolved = convolveSeparable(image, {1, 2, 1}, 4.0, rectanglePath(region));
        QList<int> result;
        for (const QList<int>& row : indexed ? indexRows(convolved) : blueRows(convolved))
            result << row;
        QCOMPARE(result, indexed ? expectedIndexed : expected);
    }
}

void TestFilter::regionToAvoidValues()
{
    ZelImageProcessorConvolution convolution;
    const ZelParameterDescriptionContainer container = convolution.parameterContainer();
    QCOMPARE(container.parameterNames(), QStringList{"AAvoidRegion"});
    QCOMPARE(container.position("AAvoidRegion"), QPoint(0, 0));
    ZelParameterDescription region = container.parameter("AAvoidRegion");
    QCOMPARE(region.visibleName(), QStringLiteral("[ZelImageProcessorConvolutionImpl]In diesem Bereich nicht anwenden"));
    QVERIFY(!region.isCheckable());
    QVERIFY(!region.isEnabled());
    QCOMPARE(region.value().userType(), ZelMetaTypeCoreRegistry::instance().qPainterPathVariantUserType());
    QVERIFY(region.value().value<QPainterPath>().isEmpty());
    QVERIFY(region.defaultValue().value<QPainterPath>().isEmpty());
    QCOMPARE(convolution.effectName(), QStringLiteral("[ZelImageProcessorConvolutionImpl]Faltung"));
    QVERIFY(!convolution.property("ToolTip").isValid());
    QVERIFY(!convolution.property("IconName").isValid());

    const QPainterPath path = rectanglePath(QRectF(1, 2, 3, 4));
    convolution.setRegionToAvoid(path);
    QCOMPARE(convolution.regionToAvoid(), path);
    QCOMPARE(convolution.parameterContainer().value("AAvoidRegion").value<QPainterPath>(), path);

    // A value that is no path reads as the empty path.
    ZelUIParameterMap values;
    values.insert("AAvoidRegion", qMakePair(QVariant(5), true));
    convolution.setParameters(values);
    QVERIFY(convolution.regionToAvoid().isEmpty());
    const QImage image = randomImage(5, 4, QImage::Format_ARGB32, 10);
    convolution.setSourceImage(image);
    convolution.setParameters(Kernel{1, 2, 1}, 4.0);
    QCOMPARE(convolution.result(), convolveSeparable(image, {1, 2, 1}, 4.0));
}

void TestFilter::separableMatchesItsDefinition_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<Kernel>("kernel");
    QTest::addColumn<double>("factor");
    QTest::addColumn<QPainterPath>("avoid");
    Kernel gauss;
    double gaussSum = 0;
    generator().generateGaussFilter(2.0, 6, gauss, gaussSum);
    Kernel wideGauss;
    double wideGaussSum = 0;
    generator().generateGaussFilter(5.0, 0, wideGauss, wideGaussSum);
    QPainterPath ellipse;
    ellipse.addEllipse(QPointF(18, 3), 9, 2.5);
    const QList<std::tuple<const char*, Kernel, double>> kernels{
        std::make_tuple("binomial (16-bit sums)", Kernel{1, 2, 1}, 4.0),
        std::make_tuple("even, negative (16-bit sums)", Kernel{3, -1, 7, 2}, 5.5),
        std::make_tuple("13-tap Gaussian (32-bit sums, mirrored)", gauss, gaussSum),
        std::make_tuple("not mirrored, a zero (32-bit sums)", Kernel{1000, -2000, 1500, 0, 9}, 3.7),
        std::make_tuple("nearly mirrored (32-bit sums)", Kernel{500, 7, 600, 7, 501}, 1615.0),
        std::make_tuple("31-tap Gaussian (unsigned 32-bit sums)", wideGauss, wideGaussSum),
        std::make_tuple("not mirrored (unsigned 32-bit sums)", Kernel{9000000, 1, 3000000}, 1.5),
        std::make_tuple("2^29 (64-bit sums)", Kernel{1 << 29, -(1 << 30), 1 << 29, 5}, 1e9),
        std::make_tuple("longer than the image", Kernel(41, 3), 123.0),
        std::make_tuple("factor below 1", Kernel{2, 1, 2}, 0.3)};
    const QList<std::tuple<const char*, QImage, QPainterPath>> images{
        std::make_tuple("ARGB32 37 x 7", randomImage(37, 7, QImage::Format_ARGB32, 11), QPainterPath()),
        std::make_tuple("indexed 37 x 7", randomImage(37, 7, QImage::Format_Indexed8, 12), QPainterPath()),
        std::make_tuple("ARGB32, ellipse avoided", randomImage(37, 7, QImage::Format_ARGB32, 13), ellipse),
        std::make_tuple("indexed, ellipse avoided", randomImage(37, 7, QImage::Format_Indexed8, 14), ellipse),
        std::make_tuple("ARGB32 1100 x 3 (several chunks)", randomImage(1100, 3, QImage::Format_ARGB32, 15),
                        rectanglePath(QRectF(1020, 0.5, 70, 1))),
        std::make_tuple("indexed 4500 x 2 (two chunks)", randomImage(4500, 2, QImage::Format_Indexed8, 16),
                        QPainterPath()),
        std::make_tuple("1 x 1", randomImage(1, 1, QImage::Format_ARGB32, 17), QPainterPath()),
        std::make_tuple("2 x 9, all avoided", randomImage(2, 9, QImage::Format_ARGB32, 18),
                        rectanglePath(QRectF(-1, -1, 5, 12))),
        // Whole rows avoided longer than the saved rows reach back.
        std::make_tuple("ARGB32 5 x 12, rows 3 to 8 avoided", randomImage(5, 12, QImage::Format_ARGB32, 31),
                        rectanglePath(QRectF(-1, 2.5, 7, 6))),
        std::make_tuple("indexed 5 x 12, rows 3 to 8 avoided", randomImage(5, 12, QImage::Format_Indexed8, 32),
                        rectanglePath(QRectF(-1, 2.5, 7, 6)))};
    for (const auto& kernel : kernels) {
        for (const auto& image : images) {
            QTest::newRow(QByteArray(std::get<0>(kernel)).append(", ").append(std::get<0>(image)).constData())
                << std::get<1>(image) << std::get<1>(kernel) << std::get<2>(kernel) << std::get<2>(image);
        }
    }
}

// The lane loops (16-, 32- and 64-bit sums, mirrored taps, chunks, the in-place pass along y and
// its saved rows) against the pixel-by-pixel definition.
void TestFilter::separableMatchesItsDefinition()
{
    QFETCH(QImage, image);
    QFETCH(Kernel, kernel);
    QFETCH(double, factor);
    QFETCH(QPainterPath, avoid);
    QCOMPARE(convolveSeparable(image, kernel, factor, avoid), referenceSeparable(image, kernel, factor, avoid));
}

namespace {

QStringList gDebugLines;

void collectDebugLines(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtDebugMsg)
        gDebugLines << message;
}

} // namespace

void TestFilter::passAlongXWritesADebugLineOn32BitImages()
{
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=true"));
    const QtMessageHandler previous = qInstallMessageHandler(collectDebugLines);
    gDebugLines.clear();
    convolveSeparable(randomImage(5, 5, QImage::Format_RGB32, 29), {1, 2, 1}, 4.0);
    const QStringList words = gDebugLines;
    gDebugLines.clear();
    convolveSeparable(randomImage(5, 5, QImage::Format_Indexed8, 29), {1, 2, 1}, 4.0);
    const QStringList indexed = gDebugLines;
    qInstallMessageHandler(previous);
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    QCOMPARE(words, QStringList{"applyFilterAlongXDirection, 32Bit"});
    QCOMPARE(indexed, QStringList());
}

// ---------------------------------------------------------------------------------------------
// Convolution as an effect

void TestFilter::previewsUseThe2DKernel()
{
    const QImage image = randomImage(16, 16, QImage::Format_ARGB32, 19);
    ZelImageProcessorConvolution convolution(image);
    convolution.setParameters(Kernel{1, 2, 1}, 4.0);
    // No 2-D kernel: sums of nothing, opaque black (smooth scaling premultiplies).
    QImage black(8, 8, QImage::Format_ARGB32_Premultiplied);
    black.fill(0xFF000000u);
    QCOMPARE(convolution.generatePreview(QSize(8, 8)), black);
    QCOMPARE(convolution.generatePreview(QRect(2, 2, 8, 8)), black.convertToFormat(QImage::Format_ARGB32));

    // A 2-D kernel set before stays for the previews; the result uses the separable one.
    const Kernel2D shift{{0, 0, 0}, {0, 0, 1}, {0, 0, 0}};
    convolution.setParameters(shift, 5.0);
    convolution.setParameters(Kernel{1, 2, 1}, 4.0);
    convolution.setRegionToAvoid(rectanglePath(QRectF(0, 0, 16, 16)));
    const QImage scaled = image.scaled(QSize(8, 8), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QCOMPARE(convolution.generatePreview(QSize(8, 8)), convolve2D(scaled, shift));
    QCOMPARE(convolution.generatePreview(QRect(1, 2, 9, 10)), convolve2D(image.copy(1, 2, 9, 10), shift));
    QCOMPARE(convolution.result(), convolveSeparable(image, {1, 2, 1}, 4.0, rectanglePath(QRectF(0, 0, 16, 16))));

    // The 2-D setter drops the separable kernel.
    convolution.setParameters(shift, 1.0);
    QCOMPARE(convolution.result(), convolve2D(image, shift));
}

void TestFilter::convolutionProgress_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<bool>("separable");
    QTest::addColumn<QList<int>>("currents");
    QTest::addColumn<int>("total");
    QTest::newRow("2-D, 32-bit: computed rows") << randomImage(7, 8, QImage::Format_RGB32, 20) << false
                                                << QList<int>{3, 4} << 7;
    QTest::newRow("2-D, indexed: every row") << randomImage(3, 4, QImage::Format_Indexed8, 21) << false
                                             << range(0, 4) << 3;
    QTest::newRow("separable: both passes") << randomImage(2, 3, QImage::Format_ARGB32, 22) << true
                                            << QList<int>{0, 1, 2, 0, 1, 2} << 2;
    QTest::newRow("separable indexed") << randomImage(2, 3, QImage::Format_Indexed8, 23) << true
                                       << QList<int>{0, 1, 2, 0, 1, 2} << 2;
}

void TestFilter::convolutionProgress()
{
    QFETCH(QImage, image);
    QFETCH(bool, separable);
    QFETCH(QList<int>, currents);
    QFETCH(int, total);
    ZelImageProcessorConvolution convolution(image);
    if (separable)
        convolution.setParameters(Kernel{1, 2, 1}, 4.0);
    else
        convolution.setParameters(Kernel2D{{1, 0, -1}, {2, 0, -2}, {1, 0, -1}}, 4.0);
    QSignalSpy progress(&convolution, &ZelImageProcessor::progress);
    QSignalSpy finished(&convolution, &ZelImageProcessor::finished);
    QList<int> progressBeforeFinished;
    connect(&convolution, &ZelImageProcessor::finished, this, [&] { progressBeforeFinished << progress.count(); });
    convolution.result();
    const ProgressRecord record = progressOf(progress);
    QCOMPARE(record.currents, currents);
    QCOMPARE(record.totals, repeated(currents.size(), total));
    QCOMPARE(record.titles, repeated(currents.size(), QStringLiteral("[ZelImageProcessorConvolutionImpl]Faltung")));
    QCOMPARE(record.steps, repeated(currents.size(), QString()));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.first().first().toBool(), false);
    QCOMPARE(progressBeforeFinished, QList<int>{currents.size()});
}

// A cancel, before the run or from inside it, returns the source; cancel() itself ends the run
// with finished(false), result() adds no second one.
void TestFilter::convolutionCancel()
{
    const QImage image = randomImage(9, 9, QImage::Format_ARGB32, 24);
    for (const bool separable : {false, true}) {
        for (const bool fromInside : {false, true}) {
            ZelImageProcessorConvolution convolution(image);
            if (separable)
                convolution.setParameters(Kernel{1, 2, 1}, 4.0);
            else
                convolution.setParameters(Kernel2D{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, 1.0);
            QSignalSpy finished(&convolution, &ZelImageProcessor::finished);
            QSignalSpy progress(&convolution, &ZelImageProcessor::progress);
            if (fromInside)
                connect(&convolution, &ZelImageProcessor::progress, &convolution, &ZelImageProcessor::cancel);
            else
                convolution.cancel();
            QCOMPARE(convolution.result(), image);
            QCOMPARE(finished.count(), 1);
            // The run stops after its first row.
            QCOMPARE(progress.count(), 1);
            // The request is used up: the next run computes.
            disconnect(&convolution, &ZelImageProcessor::progress, &convolution, &ZelImageProcessor::cancel);
            QVERIFY(convolution.result() != image);
        }
    }
}

void TestFilter::convolutionBadSources_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("null") << QImage() << QImage::Format_Invalid;
    QImage rgb888(5, 4, QImage::Format_RGB888);
    rgb888.fill(Qt::darkCyan);
    QTest::newRow("RGB888: RGB32") << rgb888 << QImage::Format_RGB32;
    QImage mono(9, 9, QImage::Format_Mono);
    mono.fill(1);
    QTest::newRow("mono: RGB32") << mono << QImage::Format_RGB32;
    QImage grey(8, 3, QImage::Format_Grayscale8);
    grey.fill(77);
    QTest::newRow("grey 8 bits: RGB32") << grey << QImage::Format_RGB32;
    QTest::newRow("1 x 1 ARGB32") << randomImage(1, 1, QImage::Format_ARGB32, 25) << QImage::Format_ARGB32;
    QTest::newRow("1 x 1 indexed") << randomImage(1, 1, QImage::Format_Indexed8, 26) << QImage::Format_Indexed8;
    QTest::newRow("premultiplied words stay") << randomImage(4, 4, QImage::Format_ARGB32_Premultiplied, 27)
                                              << QImage::Format_ARGB32_Premultiplied;
}

// Other formats are computed as pixel words; the size is kept.
void TestFilter::convolutionBadSources()
{
    QFETCH(QImage, image);
    QFETCH(QImage::Format, format);
    const QImage separable = convolveSeparable(image, {1, 2, 1}, 4.0);
    const QImage twoD = convolve2D(image, {{1, 2, 1}, {2, 4, 2}, {1, 2, 1}});
    QCOMPARE(separable.format(), format);
    QCOMPARE(twoD.format(), format);
    QCOMPARE(separable.size(), image.size());
    QCOMPARE(twoD.size(), image.size());
    if (image.isNull())
        return;
    const QImage words = image.format() == QImage::Format_Indexed8 ? image : image.convertToFormat(format);
    QCOMPARE(separable, referenceSeparable(words, {1, 2, 1}, 4.0, QPainterPath()));
}

// Images from 8 MiB on are asked to be backed by huge pages; the pixels are not affected.
void TestFilter::largeImagesComeBackWhole()
{
    const QImage image = randomImage(1600, 1400, QImage::Format_ARGB32, 33);
    QCOMPARE(convolveSeparable(image, {0, 3, 0}, 3.0), image);
}

// Reached by class name; zelfx passes kernels as ','-separated numbers, 2-D kernels with rows
// separated by ';' and the region as rectangles.
void TestFilter::convolutionInRegistryAndZelfx()
{
    QCOMPARE(ZelEffectRegistry::find("Convolution"), &ZelImageProcessorConvolution::staticMetaObject);
    QTemporaryDir directory;
    QVERIFY(directory.isValid());
    const QString input = directory.filePath("in.png");
    const QImage image = randomImage(12, 10, QImage::Format_ARGB32, 28);
    QVERIFY(image.save(input));
    const auto zelfx = [&](const QStringList& options) {
        const QString output = directory.filePath("out.png");
        QFile::remove(output);
        QProcess process;
        process.start(ZELFX_PATH, QStringList{"apply", "Convolution", input, output} + options);
        if (!process.waitForFinished(60000) || process.exitCode() != 0)
            return QImage();
        return QImage(output).convertToFormat(QImage::Format_ARGB32);
    };
    const QImage loaded = QImage(input).convertToFormat(QImage::Format_ARGB32);
    QCOMPARE(zelfx({"--call", "setParameters(1,2,1,4)"}), convolveSeparable(loaded, {1, 2, 1}, 4.0));
    QCOMPARE(zelfx({"--call", "setParameters(0,0,0;0,0,1;0,0,0,1)"}),
             convolve2D(loaded, {{0, 0, 0}, {0, 0, 1}, {0, 0, 0}}));
    const QPainterPath avoid = rectanglePath(QRectF(2, 1, 5, 4)) + rectanglePath(QRectF(8, 6, 2, 2));
    QCOMPARE(zelfx({"--set", "AAvoidRegion=2,1,5,4;8,6,2,2", "--call", "setParameters(1,2,1,4)"}),
             convolveSeparable(loaded, {1, 2, 1}, 4.0, avoid));
    QCOMPARE(zelfx({"--call", "setRegionToAvoid(2,1,5,4;8,6,2,2)", "--call", "setParameters(1,2,1,4)"}),
             convolveSeparable(loaded, {1, 2, 1}, 4.0, avoid));
    // Ragged rows convert, and the effect leaves the source as it is.
    QCOMPARE(zelfx({"--call", "setParameters(1,2;3,4)"}), loaded);
    QCOMPARE(zelfx({"--call", "setParameters(1,x,4)"}), QImage());

    QProcess describe;
    describe.start(ZELFX_PATH, QStringList{"describe", "Convolution"});
    QVERIFY(describe.waitForFinished(60000));
    QVERIFY(QString::fromUtf8(describe.readAllStandardOutput()).contains("AAvoidRegion (QPainterPath)"));
}

// ---------------------------------------------------------------------------------------------
// Chains

void TestFilter::metadata_data()
{
    addEffectMetadataColumns();
    const auto row = addEffectMetadataRow;
    row("StrongContur", "Starke Konturen", "Kontur zeichnen, stark", "ico_strong_contur");
    row("WeakContur", "Schwache Konturen", "Kontur zeichnen, schwach", "ico_weak_contur");
    row("BackgroundImage", "Weichzeichner", "Hintergrundbild erzeugen ", "ico_blur");
    row("Charcoal", "Kohlezeichnung", "Dieser Effekt vermittelt den Eindruck einer Kohlezeichnung ", "ico_charcoal");
}

void TestFilter::metadata()
{
    verifyEffectMetadata();
}

void TestFilter::previewsRunTheSameWork_data()
{
    QTest::addColumn<QString>("effect");
    for (const char* effect : {"StrongContur", "WeakContur", "BackgroundImage", "Charcoal"})
        QTest::newRow(effect) << effect;
}

// On the scaled source or the section, with this effect's parameters.
void TestFilter::previewsRunTheSameWork()
{
    QFETCH(QString, effect);
    const QImage image = photo(60, 40);
    const auto processor = makeEffect(effect, image);
    ZelUIParameterMap values;
    values.insert(effect == "Charcoal" ? "Radius" : "CWhiteRatio", qMakePair(QVariant(3), true));
    processor->setParameters(values);
    const QImage scaled = image.scaled(QSize(30, 30), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const auto scaledProcessor = makeEffect(effect, scaled);
    scaledProcessor->setParameters(values);
    QCOMPARE(processor->generatePreview(QSize(30, 30)), scaledProcessor->result());
    const auto sectionProcessor = makeEffect(effect, image.copy(5, 6, 20, 22));
    sectionProcessor->setParameters(values);
    QCOMPARE(processor->generatePreview(QRect(5, 6, 20, 22)), sectionProcessor->result());
}

void TestFilter::badSources_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage>("image");
    QTest::addColumn<QImage::Format>("format");
    const QList<QPair<const char*, QImage::Format>> effects{{"StrongContur", QImage::Format_Indexed8},
                                                           {"WeakContur", QImage::Format_Indexed8},
                                                           {"BackgroundImage", QImage::Format_ARGB32},
                                                           {"Charcoal", QImage::Format_ARGB32}};
    QImage mono(9, 7, QImage::Format_Mono);
    mono.fill(0);
    QImage rgb888(3, 5, QImage::Format_RGB888);
    rgb888.fill(Qt::darkRed);
    for (const auto& effect : effects) {
        const QByteArray name(effect.first);
        QTest::newRow(name + ", null") << effect.first << QImage() << QImage::Format_Invalid;
        QTest::newRow(name + ", 1 x 1") << effect.first << photo(1, 1) << effect.second;
        QTest::newRow(name + ", 2 x 1") << effect.first << photo(2, 1) << effect.second;
        QTest::newRow(name + ", indexed") << effect.first << randomImage(8, 6, QImage::Format_Indexed8, 30)
                                          << effect.second;
        QTest::newRow(name + ", mono") << effect.first << mono << effect.second;
        QTest::newRow(name + ", RGB888") << effect.first << rgb888 << effect.second;
    }
}

// Null stays null; everything else keeps its size.
void TestFilter::badSources()
{
    QFETCH(QString, effect);
    QFETCH(QImage, image);
    QFETCH(QImage::Format, format);
    const QImage result = makeEffect(effect, image)->result();
    QCOMPARE(result.format(), format);
    QCOMPARE(result.size(), image.size());
}

void TestFilter::conturesOfAFlatPicture_data()
{
    QTest::addColumn<QString>("effect");
    QTest::newRow("StrongContur") << "StrongContur";
    QTest::newRow("WeakContur") << "WeakContur";
}

// Every kernel sum is 0, the inversion gives 255, and doubling it wraps: 510 modulo 256 = 254.
void TestFilter::conturesOfAFlatPicture()
{
    QFETCH(QString, effect);
    QImage flat(7, 5, QImage::Format_RGB32);
    flat.fill(qRgb(90, 120, 30));
    const QImage contour = makeEffect(effect, flat)->result();
    QCOMPARE(contour.format(), QImage::Format_Indexed8);
    QCOMPARE(contour.colorTable(), greyTable());
    QCOMPARE(indexRows(contour), repeated(5, repeated(7, 254)));
}

void TestFilter::conturesOfAnEdge_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QList<int>>("row");
    // Grey levels 0, 0, 90 in every row. Horizontal Sobel: |4 x left - 4 x right| = 0, 360, 360,
    // modulo 256 0, 104, 104; the vertical one is 0. Combined 0, 104, 104; inverted 255, 151,
    // 151; doubled 510 -> 254, 302 -> 46.
    QTest::newRow("StrongContur") << "StrongContur" << QList<int>{254, 46, 46};
    // Laplace: |3 x left - 6 x centre + 3 x right| = 0, 270, 270 -> 14; inverted 255, 241, 241;
    // doubled 254, 482 -> 226.
    QTest::newRow("WeakContur") << "WeakContur" << QList<int>{254, 226, 226};
}

void TestFilter::conturesOfAnEdge()
{
    QFETCH(QString, effect);
    QFETCH(QList<int>, row);
    QImage edge(3, 3, QImage::Format_ARGB32);
    edge.fill(qRgb(0, 0, 0));
    for (int y = 0; y < 3; ++y)
        reinterpret_cast<QRgb*>(edge.scanLine(y))[2] = qRgb(90, 10, 20);
    QCOMPARE(indexRows(makeEffect(effect, edge)->result()), repeated(3, row));
}

void TestFilter::conturesReportNoProgress_data()
{
    conturesOfAFlatPicture_data();
}

// The stages are processors of their own; only the end reaches the caller.
void TestFilter::conturesReportNoProgress()
{
    QFETCH(QString, effect);
    const auto processor = makeEffect(effect, photo(20, 10));
    QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
    QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
    processor->result();
    QCOMPARE(progress.count(), 0);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.first().first().toBool(), false);
}

void TestFilter::backgroundParameters()
{
    ZelImageProcessorBackgroundImage background(photo(10, 10));
    const ZelParameterDescriptionContainer container = background.parameterContainer();
    QCOMPARE(container.parameterNames(), (QStringList{"ASaturation", "BUnsharpen", "CWhiteRatio"}));
    const QStringList labels{"Entsättigen", "Unschärfe", "Nach weiß ausblenden"};
    for (int i = 0; i < 3; ++i) {
        const QString key = container.parameterNames().at(i);
        const ZelParameterDescription parameter = container.parameter(key);
        QCOMPARE(container.position(key), QPoint(i, 0));
        QCOMPARE(parameter.visibleName(), "[ZelImageProcessorBackgroundImageImpl]" + labels[i]);
        QCOMPARE(parameter.value(), QVariant(0));
        QVERIFY(parameter.isCheckable());
        QVERIFY(parameter.isEnabled());
        const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(parameter.constData());
        QVERIFY(number);
        QCOMPARE(number->min(), QVariant(0));
        QCOMPARE(number->max(), QVariant(10));
        QCOMPARE(number->defaultValue(), QVariant(0));
    }
    background.setParameters(7, 8, 9);
    QCOMPARE(background.whiteRatio(), 7);
    QCOMPARE(background.unsharpenStrength(), 8);
    QCOMPARE(background.saturationStrength(), 9);
    QVERIFY(QMetaObject::invokeMethod(&background, "setParameters", Q_ARG(int, 1), Q_ARG(int, 2), Q_ARG(int, 3)));
    QCOMPARE(background.parameterContainer().value("CWhiteRatio"), QVariant(1));
    QCOMPARE(background.parameterContainer().value("ASaturation"), QVariant(3));

    // A disabled step reads as 0 whatever its value.
    ZelParameterDescriptionContainer disabled = background.parameterContainer();
    ZelParameterDescription white = disabled.parameter("CWhiteRatio");
    white.setEnabled(false);
    disabled.remove("CWhiteRatio");
    disabled.add(white, 2, 0);
    background.setParameters(disabled);
    QCOMPARE(background.whiteRatio(), 0);
    QCOMPARE(background.saturationStrength(), 3);
}

void TestFilter::backgroundDenormalizedUnsharpen_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("unsharpen");
    QTest::addColumn<int>("sigma");
    // qRound(sqrt(w x h) x unsharpen / 10 / 25).
    QTest::newRow("0 passes 0") << QSize(400, 100) << 0 << 0;
    QTest::newRow("200 x 0.5 / 25 = 4") << QSize(400, 100) << 5 << 4;
    QTest::newRow("100 x 0.3 / 25 = 1.2") << QSize(100, 100) << 3 << 1;
    QTest::newRow("100 x 0.4 / 25 = 1.6") << QSize(100, 100) << 4 << 2;
    QTest::newRow("125 x 0.3 / 25 = 1.5: halves up") << QSize(125, 125) << 3 << 2;
    QTest::newRow("above 10 counts as 10") << QSize(125, 125) << 50 << 5;
    QTest::newRow("largest int counts as 10") << QSize(125, 125) << INT_MAX << 5;
    QTest::newRow("negative counts as 0") << QSize(125, 125) << -4 << 0;
    QTest::newRow("no source") << QSize() << 10 << 0;
}

void TestFilter::backgroundDenormalizedUnsharpen()
{
    QFETCH(QSize, size);
    QFETCH(int, unsharpen);
    QFETCH(int, sigma);
    ZelImageProcessorBackgroundImage background(size.isValid() ? photo(size.width(), size.height()) : QImage());
    background.setParameters(0, unsharpen, 0);
    QCOMPARE(background.unsharpenStrengthDenormalized(), sigma);
}

void TestFilter::backgroundIsTheBridgesBlur_data()
{
    QTest::addColumn<int>("whiteRatio");
    QTest::addColumn<int>("unsharpen");
    QTest::addColumn<int>("saturation");
    QTest::addColumn<int>("blurRadius");
    // 40 x 40: sqrt 40, x 0.5 / 25 = 0.8 -> 1.
    QTest::newRow("every step") << 3 << 5 << 2 << 1;
    QTest::newRow("nothing: the round trip") << 0 << 0 << 0 << 0;
    QTest::newRow("white from 12 on") << 12 << 0 << 0 << 0;
    QTest::newRow("saturation only") << 0 << 0 << 6 << 0;
}

// White ratio, blur and saturation reach the bridge as softness, blur radius and fade.
void TestFilter::backgroundIsTheBridgesBlur()
{
    QFETCH(int, whiteRatio);
    QFETCH(int, unsharpen);
    QFETCH(int, saturation);
    QFETCH(int, blurRadius);
    const QImage image = photo(40, 40);
    ZelImageProcessorBackgroundImage background(image);
    background.setParameters(whiteRatio, unsharpen, saturation);
    QSignalSpy finished(&background, &ZelImageProcessor::finished);
    ZelProgressSignalizer signalizer;
    QCOMPARE(background.result(), ZelMagickWandWrapper(&signalizer).blur(image, whiteRatio, blurRadius, saturation));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.first().first().toBool(), false);
}

void TestFilter::charcoalParameter()
{
    const ZelParameterDescriptionContainer container = ZelImageProcessorCharcoal().parameterContainer();
    QCOMPARE(container.parameterNames(), QStringList{"Radius"});
    const ZelParameterDescription radius = container.parameter("Radius");
    QCOMPARE(container.position("Radius"), QPoint(0, 0));
    QCOMPARE(radius.visibleName(), QStringLiteral("[ZelImageProcessorCharcoalImpl]Stiftstärke"));
    QCOMPARE(radius.value(), QVariant(50));
    QVERIFY(!radius.isCheckable());
    const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(radius.constData());
    QVERIFY(number);
    QCOMPARE(number->min(), QVariant(0));
    QCOMPARE(number->max(), QVariant(100));
}

void TestFilter::charcoalMatchesItsChain_data()
{
    QTest::addColumn<int>("radius");
    QTest::newRow("0: half-width 1, sigma 1") << 0;
    QTest::newRow("7: half-width 1, sigma 3.5") << 7;
    QTest::newRow("50: half-width 3, sigma 5") << 50;
    QTest::newRow("99: half-width 4, sigma 5") << 99;
    QTest::newRow("100: half-width 5, sigma 5") << 100;
}

void TestFilter::charcoalMatchesItsChain()
{
    QFETCH(int, radius);
    const QImage image = photo(45, 31);
    QCOMPARE(runCharcoal(image, radius), referenceCharcoal(image, radius));
}

void TestFilter::charcoalSigmaIsClamped_data()
{
    QTest::addColumn<int>("radius");
    QTest::addColumn<int>("sameAs");
    QTest::addColumn<int>("differentFrom");
    // Sigma radius / 2, at most 5.0 and at least 1.0; the edge half-width radius / 25 + 1 with
    // the radius taken into 0 ... 100.
    QTest::newRow("1 and 2: sigma 1.0 like 0") << 2 << 0 << 3;
    QTest::newRow("negative: sigma 1.0 like 0") << -40 << 0 << 3;
    QTest::newRow("11 and 24: sigma 5.0 like 10") << 24 << 10 << 9;
    QTest::newRow("beyond 100: like 100") << INT_MAX << 100 << 99;
}

void TestFilter::charcoalSigmaIsClamped()
{
    QFETCH(int, radius);
    QFETCH(int, sameAs);
    QFETCH(int, differentFrom);
    const QImage image = photo(45, 31);
    const QImage charcoal = runCharcoal(image, radius);
    QCOMPARE(charcoal, runCharcoal(image, sameAs));
    QVERIFY(charcoal != runCharcoal(image, differentFrom));
}

// No edges: the inversion is white everywhere and so is the blur; the stretch then finds black
// and white point both at 255 and maps 255 to black.
void TestFilter::charcoalOfAFlatPictureIsBlack()
{
    QImage flat(12, 9, QImage::Format_RGB32);
    flat.fill(qRgb(200, 100, 50));
    QImage black(12, 9, QImage::Format_ARGB32);
    black.fill(0xFF000000u);
    QCOMPARE(runCharcoal(flat, 50), black);
}

// Grey levels, edges, inversion and both convolution passes report on the effect's channel,
// each under its own title; the stretch reports nothing. The end comes last.
void TestFilter::charcoalProgress()
{
    ZelImageProcessorCharcoal charcoal(photo(6, 4));
    QSignalSpy progress(&charcoal, &ZelImageProcessor::progress);
    QSignalSpy finished(&charcoal, &ZelImageProcessor::finished);
    QList<int> progressBeforeFinished;
    connect(&charcoal, &ZelImageProcessor::finished, this, [&] { progressBeforeFinished << progress.count(); });
    const QImage result = charcoal.result();
    QCOMPARE(result.format(), QImage::Format_ARGB32);
    const ProgressRecord record = progressOf(progress);
    const QStringList titles = repeated(4, QStringLiteral("[ZelImageProcessorGrayscaleImpl]Graustufen"))
        + repeated(4, QStringLiteral("[ZelImageProcessorCharcoalImpl]Kohlezeichnung"))
        + repeated(4, QStringLiteral("[ZelImageProcessorInvertImpl]Invertieren"))
        + repeated(8, QStringLiteral("[ZelImageProcessorConvolutionImpl]Faltung"));
    QCOMPARE(record.titles, titles);
    QCOMPARE(record.steps, repeated(20, QString()));
    QCOMPARE(record.currents, range(0, 4) + range(0, 4) + range(0, 4) + range(0, 4) + range(0, 4));
    QCOMPARE(record.totals, repeated(20, 3));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.first().first().toBool(), false);
    QCOMPARE(progressBeforeFinished, QList<int>{20});
}

// A cancel stops the chain after the running step (the processors of the chain do not see it,
// the edge step stops at once); the source comes back, and cancel() has sent the only finished.
void TestFilter::charcoalCancel()
{
    const QImage image = photo(6, 4);
    // Progress signals 1-4 grey levels, 5-8 edges, 9-12 inversion, 13-20 convolution.
    const QList<QPair<int, int>> cancelAtAndStop{{1, 4}, {6, 6}, {11, 12}, {15, 20}};
    for (const auto& cancel : cancelAtAndStop) {
        ZelImageProcessorCharcoal charcoal(image);
        QSignalSpy finished(&charcoal, &ZelImageProcessor::finished);
        int count = 0;
        connect(&charcoal, &ZelImageProcessor::progress, this, [&] {
            if (++count == cancel.first)
                charcoal.cancel();
        });
        QCOMPARE(charcoal.result(), image);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(count, cancel.second);
    }
}

QTEST_MAIN(TestFilter)

#include "tst_filter.moc"
