#include "ZelConvolution.h"
#include "ZelConvolution_p.h"
#include "ZelEditImageManipulator.h"
#include "ZelEditImageManipulator_p.h"
#include "ZelHsvBatch_p.h"
#include "ZelHsv_p.h"

#include <QColor>
#include <QMatrix>
#include <QtTest>

#include <atomic>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <thread>
#include <vector>

Q_DECLARE_METATYPE(ZelCropType)

namespace {

// Indexed images get a table of exactly their colours (Qt's conversion would dither).
QImage imageOf(int width, const QVector<QRgb>& pixels, QImage::Format format = QImage::Format_ARGB32)
{
    if (format == QImage::Format_Indexed8) {
        QImage indexed(width, pixels.size() / width, QImage::Format_Indexed8);
        QVector<QRgb> table;
        for (const QRgb pixel : pixels)
            if (!table.contains(pixel))
                table << pixel;
        indexed.setColorTable(table);
        for (int i = 0; i < pixels.size(); ++i)
            indexed.setPixel(i % width, i / width, uint(table.indexOf(pixels[i])));
        return indexed;
    }
    QImage image(width, pixels.size() / width, QImage::Format_ARGB32);
    for (int i = 0; i < pixels.size(); ++i)
        image.setPixel(i % width, i / width, pixels[i]);
    return image.convertToFormat(format);
}

// Opaque pixels whose blue is each value.
QVector<QRgb> opaqueBlues(std::initializer_list<int> values)
{
    QVector<QRgb> pixels;
    for (const int value : values)
        pixels << (0xFF000000u | quint32(value));
    return pixels;
}

QImage filled(int width, int height, QRgb pixel, QImage::Format format = QImage::Format_ARGB32)
{
    return imageOf(width, QVector<QRgb>(width * height, pixel), format);
}

QImage randomImage(int width, int height, unsigned seed)
{
    std::mt19937 random(seed);
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            line[x] = random();
    }
    return image;
}

// Every 24-bit colour once, opaque, row by row.
QImage everyColour()
{
    QImage image(4096, 4096, QImage::Format_ARGB32);
    for (int y = 0; y < 4096; ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < 4096; ++x)
            line[x] = 0xFF000000u | quint32(y * 4096 + x);
    }
    return image;
}

QVector<int> kernelOf(const ZelConvolution& convolution)
{
    return QVector<int>(convolution.myKernel, convolution.myKernel + 9);
}

// The grey and colour convolutions as their definitions read, pixel by pixel and through QColor:
// the reference for the scan-line and vector paths.
int referenceResponse(const QImage& grey, int x, int y, const int kernel[9], int divisor)
{
    int sum = 0;
    for (int i = 0; i < 9; ++i)
        sum += kernel[i] * qRed(grey.pixel(x + i % 3 - 1, y + i / 3 - 1));
    return (std::abs(sum) / divisor) % 256;
}

QImage maxImageOf(const QImage& image)
{
    QImage max = image.copy();
    for (int y = 0; y < max.height(); ++y) {
        for (int x = 0; x < max.width(); ++x) {
            const QRgb p = max.pixel(x, y);
            const int m = qMax(qRed(p), qMax(qGreen(p), qBlue(p)));
            max.setPixel(x, y, qRgba(m, m, m, qAlpha(p)));
        }
    }
    return max;
}

void copyBorders(QImage* result)
{
    const int w = result->width();
    const int h = result->height();
    for (int x = 0; x < w; ++x) {
        result->setPixel(x, 0, result->pixel(x, 1));
        result->setPixel(x, h - 1, result->pixel(x, h - 2));
    }
    for (int y = 0; y < h; ++y) {
        result->setPixel(0, y, result->pixel(1, y));
        result->setPixel(w - 1, y, result->pixel(w - 2, y));
    }
}

QImage referenceGrey(const QImage& grey, const int kernel[9], int divisor)
{
    QImage result(grey.size(), grey.format());
    for (int y = 1; y < grey.height() - 1; ++y) {
        for (int x = 1; x < grey.width() - 1; ++x) {
            const int v = referenceResponse(grey, x, y, kernel, divisor);
            result.setPixel(x, y, qRgba(v, v, v, qAlpha(grey.pixel(x, y))));
        }
    }
    copyBorders(&result);
    return result;
}

QRgb referenceColourStep(QRgb pixel, int c)
{
    const QColor in(pixel);
    int h, s, v;
    in.getHsv(&h, &s, &v);
    if (s == 0)
        return pixel;
    QColor out;
    if (s > 99) {
        out.setHsv(h, s, c, 255);
    } else {
        QColor a;
        a.setHsv(h, s, c <= 100 ? v : c, 255);
        out = QColor((a.red() * s + in.red() * (150 - s)) / 150, (a.green() * s + in.green() * (150 - s)) / 150,
                     (a.blue() * s + in.blue() * (150 - s)) / 150);
    }
    return (pixel & 0xFF000000u) | (out.rgb() & 0x00FFFFFFu);
}

QImage referenceColour(const QImage& image, const int kernel[9], int divisor)
{
    const QImage max = maxImageOf(image);
    QImage result(image.size(), image.format());
    for (int y = 1; y < image.height() - 1; ++y)
        for (int x = 1; x < image.width() - 1; ++x)
            result.setPixel(x, y,
                            referenceColourStep(image.pixel(x, y), referenceResponse(max, x, y, kernel, divisor)));
    copyBorders(&result);
    return result;
}

QRgb referenceSaturation(QRgb pixel, double factor)
{
    int h, s, v;
    QColor(pixel).getHsv(&h, &s, &v);
    QColor colour;
    colour.setHsv(h, int(s * factor), v, 255);
    return (pixel & 0xFF000000u) | (colour.rgb() & 0x00FFFFFFu);
}

// QColor warns for every colour it rejects; those warnings are expected here.
class QuietQColorWarnings
{
public:
    QuietQColorWarnings() { myPrevious = qInstallMessageHandler(&QuietQColorWarnings::handle); }
    ~QuietQColorWarnings() { qInstallMessageHandler(myPrevious); }

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        if (!text.startsWith("QColor::setHsv"))
            myPrevious(type, context, text);
    }
    static QtMessageHandler myPrevious;
};

QtMessageHandler QuietQColorWarnings::myPrevious = nullptr;

// Runs the pixel loops with their AVX2 code (where the processor has it) and without.
class VectorPaths
{
public:
    VectorPaths()
    {
        zelSetBatchAvx2Allowed(true);
        myPaths << false;
        if (zelBatchUsesAvx2())
            myPaths << true;
    }
    ~VectorPaths() { zelSetBatchAvx2Allowed(true); }
    template <typename Check>
    void forEach(Check check)
    {
        for (const bool avx2 : myPaths) {
            zelSetBatchAvx2Allowed(avx2);
            check(avx2 ? "avx2" : "scalar");
        }
    }

private:
    QList<bool> myPaths;
};

#if ZEL_HAVE_AVX2_PATH
// The vector functions run inside AVX2 functions; vectors never cross their boundary by value.
ZEL_AVX2_FUNCTION QString compareHueAvx2()
{
    using namespace ZelBatch;
    for (int rgb = 0; rgb < (1 << 24); rgb += kLanes) {
        Ints pixels;
        for (int i = 0; i < kLanes; ++i)
            pixels[i] = rgb + i;
        const Channels c(pixels);
        const Ints h = hue(c);
        for (int i = 0; i < kLanes; ++i) {
            const QRgb pixel = QRgb(rgb + i);
            const int max = zelHsvValue(pixel);
            const int min = qMin(qRed(pixel), qMin(qGreen(pixel), qBlue(pixel)));
            if (c.max[i] != max || c.min[i] != min)
                return QString("max or min of %1").arg(rgb + i, 6, 16);
            if (max != min && h[i] != zelHsvHue(qRed(pixel), qGreen(pixel), qBlue(pixel), max, min))
                return QString("hue of %1").arg(rgb + i, 6, 16);
        }
    }
    return QString();
}

ZEL_AVX2_FUNCTION QString compareChromaticHsvToRgbAvx2()
{
    using namespace ZelBatch;
    for (int h = 0; h < 360; ++h) {
        for (int s = 0; s < 256; ++s) {
            for (int v0 = 0; v0 < 256; v0 += kLanes) {
                Ints hs, ss, vs, lows;
                for (int i = 0; i < kLanes; ++i) {
                    hs[i] = h;
                    ss[i] = s;
                    vs[i] = v0 + i;
                    lows[i] = zelHsvLow(s, v0 + i);
                }
                Ints ties;
                const Ints rgb = chromaticHsvToRgb(hs, ss, vs, lows, &ties);
                const Ints computedLow = low(ss, vs);
                for (int i = 0; i < kLanes; ++i) {
                    const QRgb expected = zelChromaticHsvToRgb(h, s, v0 + i) & 0x00FFFFFFu;
                    const int w = int(ZelHsvDetail::kHueSectors.entries[h] & 63);
                    const quint32 x = quint32(v0 + i) * quint32(15300 - s * w);
                    const bool tie = (x + 7650) % 15300 == 0;
                    if (computedLow[i] != lows[i] || (ties[i] != 0) != tie || (!tie && QRgb(rgb[i]) != expected))
                        return QString("hsv %1 %2 %3").arg(h).arg(s).arg(v0 + i);
                }
            }
        }
    }
    return QString();
}

ZEL_AVX2_FUNCTION QString compareGatherAvx2()
{
    std::vector<quint16> wide(65536 + ZelBatch::kGatherPadding, 0xEEEE);
    std::vector<quint8> narrow(65536 + ZelBatch::kGatherPadding, 0xEE);
    for (int i = 0; i < 65536; ++i) {
        wide[size_t(i)] = quint16(i * 7);
        narrow[size_t(i)] = quint8(i * 3);
    }
    const ZelBatch::Ints indices{0, 1, 2, 65535, 40000, 3, 65534, 12345};
    const ZelBatch::Ints wideEntries = ZelBatch::gather(wide.data(), indices);
    const ZelBatch::Ints narrowEntries = ZelBatch::gather(narrow.data(), indices);
    for (int i = 0; i < ZelBatch::kLanes; ++i) {
        if (wideEntries[i] != int(quint16(indices[i] * 7)) || narrowEntries[i] != int(quint8(indices[i] * 3)))
            return QString("entry %1").arg(indices[i]);
    }
    return QString();
}
#endif

} // namespace

class TestToolkit : public QObject
{
    Q_OBJECT

private slots:
    // First: it needs the fade table not to exist yet.
    void fadeTableIsCreatedOnceByConcurrentCallers();

    void constructorSetsKernel_data();
    void constructorSetsKernel();
    void convolutePipeline_data();
    void convolutePipeline();
    void laplaceOfFlatGrey_data();
    void laplaceOfFlatGrey();
    void sharpenOfFlatColour_data();
    void sharpenOfFlatColour();
    void convolutionMatchesDefinition_data();
    void convolutionMatchesDefinition();
    void colourStepOfEveryColourMatchesQColor();
    void convoluteBWFromMaxReadsRedOnly();
    void createMaxImage();
    void combineWrapsAround_data();
    void combineWrapsAround();
    void combineOfDifferentSizesIsNull();
    void invert_data();
    void invert();
    void sobelCombined_data();
    void sobelCombined();
    void sobelCombinedMatchesItsParts();
    void sobelCombinedLeavesSobelV();
    void smallAndOddImages_data();
    void smallAndOddImages();
    void kernelsWithoutDivisorGiveNull();
    void hugeWeightsDoNotOverflow();
    void averageSobel_data();
    void averageSobel();
    void averageSobelWarnsWithRow();
    void averageColorSobel_data();
    void averageColorSobel();
    void averageColorSobelWarnsWithRow();
    void edgesPerPixel_data();
    void edgesPerPixel();
    void wordDividerIsExact();
    void kernelsFitWords();

    void hueOfEveryColourMatchesInline();
    void rgbOfEveryHsvMatchesInline();
    void gatherReadsPaddedTables();

    void fillImage_data();
    void fillImage();
    void morph_data();
    void morph();
    void morphMatchesDefinition_data();
    void morphMatchesDefinition();
    void cropNormalizes();
    void imageContainsAlphaInformation_data();
    void imageContainsAlphaInformation();
    void normalize();
    void whouldMonoBePossible_data();
    void whouldMonoBePossible();
    void changeSaturation_data();
    void changeSaturation();
    void changeSaturationOfEveryColourMatchesQColor();
    void mirrors();
    void toGrayscale_data();
    void toGrayscale();
    void rotate();
    void rotateMatchesQt_data();
    void rotateMatchesQt();
    void cropRect_data();
    void cropRect();
    void paintRedLines_data();
    void paintRedLines();
    void paintBorder();
    void combineWithMask_data();
    void combineWithMask();
    void combineWithMaskWarns();
    void convertAlphamask2ShadowImage_data();
    void convertAlphamask2ShadowImage();
    void convertAlphamask2ShadowImageWarns();
};

void TestToolkit::fadeTableIsCreatedOnceByConcurrentCallers()
{
    QCOMPARE(zelFadeTableCreations(), 0);
    constexpr int kThreads = 8;
    std::atomic<int> waiting{kThreads};
    std::vector<QImage> images(kThreads, filled(16, 16, 0xFF102030u));
    const QImage mask = filled(16, 16, 0xFF808080u);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            // All threads ask for the table at the same moment.
            waiting.fetch_sub(1);
            while (waiting.load() > 0)
                std::this_thread::yield();
            ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, &images[size_t(i)]);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    QCOMPARE(zelFadeTableCreations(), 1);
    // 255 * (255 - 128) / 255 = 127
    for (const QImage& image : images)
        QCOMPARE(image.pixel(15, 15), 0x7F102030u);
}

void TestToolkit::constructorSetsKernel_data()
{
    QTest::addColumn<int>("configuration");
    QTest::addColumn<QVector<int>>("kernel");
    QTest::addColumn<int>("totalWeight");
    const QVector<int> sobelH{1, 2, 1, 0, 0, 0, -1, -2, -1};
    const QVector<int> laplace{-16, -16, -16, -16, 127, -16, -16, -16, -16};
    QTest::newRow("0 SobelHColor") << 0 << sobelH << 8;
    QTest::newRow("1 LaplaceInverted") << 1 << laplace << 255;
    QTest::newRow("2 SobelInverted") << 2 << sobelH << 8;
    QTest::newRow("3 Sobel") << 3 << sobelH << 8;
    QTest::newRow("4 SobelV") << 4 << QVector<int>{1, 0, -1, 2, 0, -2, 1, 0, -1} << 8;
    QTest::newRow("5 SobelH") << 5 << sobelH << 8;
    // Deliberately lopsided: the left neighbour weighs 0, the right one -16.
    QTest::newRow("6 EdgeEnhance") << 6 << QVector<int>{0, -16, 0, 0, 80, -16, 0, -16, 0} << 128;
    QTest::newRow("7 Emboss") << 7 << QVector<int>{1, 0, 1, 0, 0, 0, 1, 0, -2} << 5;
    QTest::newRow("8 Sharpen") << 8 << QVector<int>{-4, -4, -4, -4, 64, -4, -4, -4, -4} << 96;
    QTest::newRow("9 Soften") << 9 << QVector<int>{2, 2, 2, 2, 0, 2, 2, 2, 2} << 16;
    QTest::newRow("10 Laplace") << 10 << laplace << 255;
    QTest::newRow("11 like 0") << 11 << sobelH << 8;
    QTest::newRow("-1 like 0") << -1 << sobelH << 8;
}

void TestToolkit::constructorSetsKernel()
{
    QFETCH(int, configuration);
    QFETCH(QVector<int>, kernel);
    QFETCH(int, totalWeight);
    const ZelConvolution convolution(static_cast<ZelConvolution::convolutionConfiguration>(configuration));
    QCOMPARE(kernelOf(convolution), kernel);
    QCOMPARE(convolution.totalWeight(), totalWeight);
    QCOMPARE(int(convolution.myConfiguration), configuration);
}

void TestToolkit::convolutePipeline_data()
{
    QTest::addColumn<int>("configuration");
    QTest::addColumn<QString>("pipeline");
    QTest::newRow("0") << 0 << "colour SobelH";
    QTest::newRow("1") << 1 << "invert grey Laplace";
    QTest::newRow("2") << 2 << "invert sobel";
    QTest::newRow("3") << 3 << "sobel";
    QTest::newRow("4") << 4 << "grey SobelV";
    QTest::newRow("5") << 5 << "grey SobelH";
    QTest::newRow("6") << 6 << "colour EdgeEnhance";
    QTest::newRow("7") << 7 << "grey Emboss";
    QTest::newRow("8") << 8 << "colour Sharpen";
    QTest::newRow("9") << 9 << "colour Soften";
    QTest::newRow("10") << 10 << "grey Laplace";
    QTest::newRow("11 behaves like 0") << 11 << "colour SobelH";
}

void TestToolkit::convolutePipeline()
{
    QFETCH(int, configuration);
    QFETCH(QString, pipeline);
    const QImage image = randomImage(23, 9, 5);
    ZelConvolution convolution(static_cast<ZelConvolution::convolutionConfiguration>(configuration));
    const QImage result = convolution.convolute(image);

    ZelConvolution expected(ZelConvolution::confSobel);
    const QString kernel = pipeline.section(' ', -1);
    if (kernel == "SobelH")
        expected.configureSobelH();
    else if (kernel == "SobelV")
        expected.configureSobelV();
    else if (kernel == "Laplace")
        expected.configureLaplace();
    else if (kernel == "EdgeEnhance")
        expected.configureEdgeEnhance();
    else if (kernel == "Emboss")
        expected.configureEmboss();
    else if (kernel == "Sharpen")
        expected.configureSharpen();
    else if (kernel == "Soften")
        expected.configureSoften();
    QImage reference;
    if (pipeline.contains("colour"))
        reference = expected.convoluteColor(image);
    else if (pipeline.contains("grey"))
        reference = expected.convoluteBW(image);
    else
        reference = expected.sobelCombined(image);
    if (pipeline.startsWith("invert"))
        reference = expected.invert(reference);
    QCOMPARE(result, reference);
}

void TestToolkit::laplaceOfFlatGrey_data()
{
    QTest::addColumn<int>("grey");
    QTest::addColumn<int>("expected");
    // |127 g - 8 * 16 g| / (255 / 2) = g / 127
    QTest::newRow("0") << 0 << 0;
    QTest::newRow("126") << 126 << 0;
    QTest::newRow("127") << 127 << 1;
    QTest::newRow("200") << 200 << 1;
    QTest::newRow("254") << 254 << 2;
    QTest::newRow("255") << 255 << 2;
}

void TestToolkit::laplaceOfFlatGrey()
{
    QFETCH(int, grey);
    QFETCH(int, expected);
    const QImage image = filled(6, 5, qRgba(grey, grey, grey, 200));
    const QImage result = ZelConvolution(ZelConvolution::confLaplace).convolute(image);
    QCOMPARE(result.size(), image.size());
    QCOMPARE(result.format(), QImage::Format_ARGB32);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 6; ++x)
            QCOMPARE(result.pixel(x, y), qRgba(expected, expected, expected, 200));
}

void TestToolkit::sharpenOfFlatColour_data()
{
    QTest::addColumn<QRgb>("colour");
    QTest::addColumn<QRgb>("expected");
    // Maximum 200: |64 * 200 - 8 * 4 * 200| / (96 / 4) = 266, which wraps to 10.
    // Saturated (s 255), hue 0: setHsv(0, 255, 10) is (10, 0, 0).
    QTest::newRow("red, wraps to 10") << qRgba(200, 0, 0, 90) << qRgba(10, 0, 0, 90);
    // Hue 300 (sector 5): red is the value, blue the falling ramp at distance 0, green the low.
    QTest::newRow("magenta, wraps to 10") << qRgba(200, 0, 200, 255) << qRgba(10, 0, 10, 255);
    // Grey (s 0): unchanged.
    QTest::newRow("grey stays") << qRgba(90, 90, 90, 77) << qRgba(90, 90, 90, 77);
    // Maximum 90: 32 * 90 / 24 = 120 > 100, so the value becomes 120. s = 51 (18 / 90), hue 26
    // (60 * 8 / 18 = 26.67): setHsv(26, 51, 120) = (120, round(120 * (15300 - 51 * 34) / 15300),
    // round(120 * 204 / 255)) = (120, 106, 96); blended with (90, 80, 72) by 51 : 99 over 150:
    // (15030 / 150, 13326 / 150, 12024 / 150) = (100, 88, 80).
    QTest::newRow("weakly saturated, blended") << qRgba(90, 80, 72, 255) << qRgba(100, 88, 80, 255);
}

void TestToolkit::sharpenOfFlatColour()
{
    QFETCH(QRgb, colour);
    QFETCH(QRgb, expected);
    // Wide enough for the vector paths.
    const QImage image = filled(40, 4, colour);
    VectorPaths paths;
    paths.forEach([&](const char* path) {
        const QImage result = ZelConvolution(ZelConvolution::confSharpen).convolute(image);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 40; ++x)
                QVERIFY2(result.pixel(x, y) == expected, path);
    });
}

void TestToolkit::convolutionMatchesDefinition_data()
{
    QTest::addColumn<int>("configuration");
    QTest::addColumn<bool>("colour");
    QTest::addColumn<int>("width");
    for (int width : {3, 4, 11, 37}) {
        for (int configuration = 4; configuration <= 10; ++configuration) {
            const QByteArray name = QByteArray::number(configuration) + " width " + QByteArray::number(width);
            QTest::newRow("grey " + name) << configuration << false << width;
            QTest::newRow("colour " + name) << configuration << true << width;
        }
    }
}

void TestToolkit::convolutionMatchesDefinition()
{
    QFETCH(int, configuration);
    QFETCH(bool, colour);
    QFETCH(int, width);
    const ZelConvolution convolution(static_cast<ZelConvolution::convolutionConfiguration>(configuration));
    const QImage image = randomImage(width, 7, unsigned(configuration * 100 + width));
    const int divisor = convolution.totalWeight() / (colour ? 4 : 2);
    VectorPaths paths;
    paths.forEach([&](const char* path) {
        const QImage result = colour ? convolution.convoluteColor(image) : convolution.convoluteBW(image);
        const QImage expected = colour ? referenceColour(image, convolution.myKernel, divisor)
                                       : referenceGrey(maxImageOf(image), convolution.myKernel, divisor);
        QVERIFY2(result == expected, path);
    });
}

// The colour step for every 7th colour (the vector steps are compared with the inline ones over
// every input above), each seeing the sharpened level of its neighbours (the colours lie row by
// row, so the levels vary widely), against QColor.
void TestToolkit::colourStepOfEveryColourMatchesQColor()
{
    const QImage image = everyColour();
    const ZelConvolution convolution(ZelConvolution::confSharpen);
    QVector<QRgb> expected(4096 * 4096);
    for (int y = 1; y < 4095; ++y) {
        for (int x = 1; x < 4095; ++x) {
            if ((y * 4096 + x) % 7)
                continue;
            // Sharpen of the maxima: 64 centre - 4 * each neighbour, divisor 96 / 4 = 24.
            int sum = 0;
            for (int i = 0; i < 9; ++i) {
                const QRgb p = QRgb(0xFF000000u | quint32((y + i / 3 - 1) * 4096 + x + i % 3 - 1));
                sum += (i == 4 ? 64 : -4) * zelHsvValue(p);
            }
            const QRgb pixel = 0xFF000000u | quint32(y * 4096 + x);
            expected[y * 4096 + x] = referenceColourStep(pixel, (std::abs(sum) / 24) % 256);
        }
    }
    VectorPaths paths;
    paths.forEach([&](const char* path) {
        const QImage result = convolution.convoluteColor(image);
        for (int y = 1; y < 4095; ++y) {
            const QRgb* line = reinterpret_cast<const QRgb*>(result.constScanLine(y));
            for (int x = 1; x < 4095; ++x)
                if ((y * 4096 + x) % 7 == 0 && line[x] != expected[y * 4096 + x])
                    QFAIL(qPrintable(QString("%1: colour %2").arg(path).arg(y * 4096 + x, 6, 16)));
        }
    });
}

void TestToolkit::convoluteBWFromMaxReadsRedOnly()
{
    // Green and blue are noise; only red counts. Laplace: |127 * 200 - 128 * 100| / 127 = 99.
    QVector<QRgb> pixels(9, qRgba(100, 7, 250, 255));
    pixels[4] = qRgba(200, 255, 0, 33);
    const QImage result = ZelConvolution(ZelConvolution::confLaplace).convoluteBWFromMax(imageOf(3, pixels));
    QCOMPARE(result.pixel(1, 1), qRgba(99, 99, 99, 33));
}

void TestToolkit::createMaxImage()
{
    const QImage image = imageOf(2, {qRgba(10, 200, 30, 40), qRgba(9, 8, 7, 255)});
    const QImage max = ZelConvolution(ZelConvolution::confSobel).createMaxImage(image);
    QCOMPARE(max.format(), QImage::Format_ARGB32);
    QCOMPARE(max.pixel(0, 0), qRgba(200, 200, 200, 40));
    QCOMPARE(max.pixel(1, 0), qRgba(9, 9, 9, 255));
}

void TestToolkit::combineWrapsAround_data()
{
    QTest::addColumn<int>("horizontal");
    QTest::addColumn<int>("vertical");
    QTest::addColumn<int>("expected");
    QTest::newRow("3, 4") << 3 << 4 << 5;
    // sqrt(2) * 255 = 360.6: 360 wraps to 104.
    QTest::newRow("255, 255 wraps to 104") << 255 << 255 << 104;
    // sqrt(181^2 + 181^2) = 255.97
    QTest::newRow("181, 181") << 181 << 181 << 255;
    QTest::newRow("0, 0") << 0 << 0 << 0;
}

void TestToolkit::combineWrapsAround()
{
    QFETCH(int, horizontal);
    QFETCH(int, vertical);
    QFETCH(int, expected);
    const QImage h = filled(9, 2, qRgba(horizontal, horizontal, horizontal, 66));
    const QImage v = filled(9, 2, qRgba(vertical, vertical, vertical, 255));
    const QImage result = ZelConvolution(ZelConvolution::confSobel).combine(h, v);
    for (int x = 0; x < 9; ++x)
        QCOMPARE(result.pixel(x, 1), qRgba(expected, expected, expected, 66));
}

void TestToolkit::combineOfDifferentSizesIsNull()
{
    const ZelConvolution convolution(ZelConvolution::confSobel);
    QVERIFY(convolution.combine(filled(3, 3, 0xFFFFFFFFu), filled(2, 3, 0xFFFFFFFFu)).isNull());
    QVERIFY(convolution.combine(QImage(), QImage()).isNull());
}

void TestToolkit::invert_data()
{
    QTest::addColumn<QRgb>("pixel");
    QTest::addColumn<QRgb>("expected");
    // ((255 - c) * 2) mod 256: 0 gives 510 -> 254, 128 gives 254, 255 gives 0.
    QTest::newRow("0, 128, 255") << qRgba(0, 128, 255, 17) << qRgba(254, 254, 0, 17);
    QTest::newRow("127, 1, 200") << qRgba(127, 1, 200, 255) << qRgba(0, 252, 110, 255);
}

void TestToolkit::invert()
{
    QFETCH(QRgb, pixel);
    QFETCH(QRgb, expected);
    const QImage result = ZelConvolution(ZelConvolution::confSobel).invert(filled(5, 1, pixel));
    for (int x = 0; x < 5; ++x)
        QCOMPARE(result.pixel(x, 0), expected);
}

void TestToolkit::sobelCombined_data()
{
    QTest::addColumn<QVector<QRgb>>("pixels");
    QTest::addColumn<int>("expected");
    const QRgb w = 0xFFFFFFFFu;
    const QRgb b = 0xFF000000u;
    // Only the upper-left pixel white: both gradients 255, / 4 = 63; sqrt(2 * 63^2) = 89.1.
    QTest::newRow("corner") << QVector<QRgb>{w, b, b, b, b, b, b, b, b} << 89;
    // Top row and left column white: both gradients 765, / 4 = 191; sqrt(2 * 191^2) = 270.1,
    // which wraps to 14.
    QTest::newRow("wraps") << QVector<QRgb>{w, w, w, w, b, b, w, b, b} << 14;
}

void TestToolkit::sobelCombined()
{
    QFETCH(QVector<QRgb>, pixels);
    QFETCH(int, expected);
    ZelConvolution convolution(ZelConvolution::confSobel);
    const QImage result = convolution.sobelCombined(imageOf(3, pixels));
    // One interior pixel; every border pixel copies it.
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x)
            QCOMPARE(result.pixel(x, y), qRgb(expected, expected, expected));
}

void TestToolkit::sobelCombinedMatchesItsParts()
{
    for (const QSize& size : {QSize(3, 3), QSize(9, 4), QSize(40, 6)}) {
        const QImage image = randomImage(size.width(), size.height(), unsigned(size.width()));
        ZelConvolution parts(ZelConvolution::confSobel);
        parts.configureSobelH();
        const QImage horizontal = parts.convoluteBW(image);
        parts.configureSobelV();
        const QImage vertical = parts.convoluteBW(image);
        ZelConvolution convolution(ZelConvolution::confSobel);
        QCOMPARE(convolution.sobelCombined(image), parts.combine(horizontal, vertical));
    }
}

void TestToolkit::sobelCombinedLeavesSobelV()
{
    const QVector<int> sobelV{1, 0, -1, 2, 0, -2, 1, 0, -1};
    ZelConvolution convolution(ZelConvolution::confLaplace);
    convolution.sobelCombined(filled(4, 4, 0xFF336699u));
    QCOMPARE(kernelOf(convolution), sobelV);
    ZelConvolution onNull(ZelConvolution::confSharpen);
    QVERIFY(onNull.sobelCombined(QImage()).isNull());
    QCOMPARE(kernelOf(onNull), sobelV);
    QCOMPARE(onNull.myConfiguration, ZelConvolution::confSharpen);
}

void TestToolkit::smallAndOddImages_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("1x1") << filled(1, 1, 0xFF808080u) << QImage::Format_ARGB32;
    QTest::newRow("2x2") << filled(2, 2, 0xFF808080u) << QImage::Format_ARGB32;
    QTest::newRow("5x2") << filled(5, 2, 0xFF808080u) << QImage::Format_ARGB32;
    QTest::newRow("2x5") << filled(2, 5, 0xFF808080u) << QImage::Format_ARGB32;
    QTest::newRow("0x0 null") << QImage() << QImage::Format_Invalid;
    QTest::newRow("indexed") << filled(6, 6, 0xFF336699u, QImage::Format_Indexed8) << QImage::Format_RGB32;
    QTest::newRow("indexed with alpha") << filled(6, 6, 0x80336699u, QImage::Format_Indexed8) << QImage::Format_ARGB32;
    QTest::newRow("rgb888") << filled(6, 6, 0xFF336699u, QImage::Format_RGB888) << QImage::Format_RGB32;
    QTest::newRow("mono") << filled(6, 6, 0xFFFFFFFFu, QImage::Format_Mono) << QImage::Format_RGB32;
    QTest::newRow("rgb32") << filled(6, 6, 0xFF336699u, QImage::Format_RGB32) << QImage::Format_RGB32;
}

void TestToolkit::smallAndOddImages()
{
    QFETCH(QImage, image);
    QFETCH(QImage::Format, format);
    ZelConvolution convolution(ZelConvolution::confSharpen);
    const QImage images[] = {convolution.convoluteBW(image),   convolution.convoluteBWFromMax(image),
                             convolution.convoluteColor(image), convolution.sobelCombined(image),
                             convolution.createMaxImage(image), convolution.invert(image),
                             convolution.combine(image, image)};
    for (const QImage& result : images) {
        QCOMPARE(result.size(), image.size());
        QCOMPARE(result.format(), format);
    }
    // Without an interior the convolutions give transparent black.
    if (image.width() < 3 || image.height() < 3) {
        for (int i = 0; i < 4; ++i)
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    QCOMPARE(images[i].pixel(x, y), 0u);
    }
    convolution.averageSobel(image, 1);
    convolution.averageColorSobel(image, 1);
    convolution.edgesPerPixel(image);
}

void TestToolkit::kernelsWithoutDivisorGiveNull()
{
    ZelConvolution convolution(ZelConvolution::confSobel);
    const int single[9] = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    std::copy(single, single + 9, convolution.myKernel);
    // Total weight 1: grey divisor 1 / 2 = 0, colour divisor 1 / 4 = 0.
    QVERIFY(convolution.convoluteBW(filled(4, 4, 0xFF808080u)).isNull());
    QVERIFY(convolution.convoluteColor(filled(4, 4, 0xFF808080u)).isNull());
    // Total weight 3: grey divisor 1, colour divisor 0.
    convolution.myKernel[0] = 2;
    QVERIFY(!convolution.convoluteBW(filled(4, 4, 0xFF808080u)).isNull());
    QVERIFY(convolution.convoluteColor(filled(4, 4, 0xFF808080u)).isNull());
}

void TestToolkit::hugeWeightsDoNotOverflow()
{
    ZelConvolution convolution(ZelConvolution::confSobel);
    std::fill(convolution.myKernel, convolution.myKernel + 9, INT_MAX);
    convolution.myKernel[4] = INT_MIN;
    const QImage image = randomImage(20, 5, 3);
    // The sums wrap in 32 bits; what matters is that nothing is undefined.
    QCOMPARE(convolution.convoluteBW(image).size(), image.size());
    QCOMPARE(convolution.convoluteColor(image).size(), image.size());
}

void TestToolkit::averageSobel_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("expected");
    QTest::newRow("flat") << filled(10, 10, 0xFF808080u) << 1 << 0;
    // gy = gx = 255 at the one interior pixel: 2 * (65025 >> 4) = 8128, / 3 / 3 = 903.
    QImage corner = filled(3, 3, 0xFF000000u);
    corner.setPixel(0, 0, 0xFFFFFFFFu);
    QTest::newRow("corner") << corner << 1 << 903;
    // n = 2: a 3 x 3 canvas showing the image shifted right and down by (6 - 3) / 2 = 1, so the
    // white image pixel (1, 0) lands on canvas (2, 1), right of the centre: gx = -510,
    // 260100 >> 4 = 16256, / 3 / 3 = 1806.
    QImage shifted = filled(6, 6, 0xFF000000u);
    shifted.setPixel(1, 0, 0xFFFFFFFFu);
    QTest::newRow("n 2 shifts") << shifted << 2 << 1806;
    // Vertical stripes 0, 0, 255, 255: every interior pixel adds (1020^2 >> 4) = 65025, 98 per
    // row: 298 * 98 * 65025 / 100 / 300 = 63299.
    QImage stripes(100, 300, QImage::Format_ARGB32);
    for (int x = 0; x < 100; ++x)
        for (int y = 0; y < 300; ++y)
            stripes.setPixel(x, y, x % 4 >= 2 ? 0xFFFFFFFFu : 0xFF000000u);
    QTest::newRow("stripes") << stripes << 1 << 63299;
    QTest::newRow("null") << QImage() << 1 << 0;
    QTest::newRow("n 0") << corner << 0 << 0;
    QTest::newRow("n -3") << corner << -3 << 0;
    QTest::newRow("n larger than the image") << corner << 100 << 0;
}

void TestToolkit::averageSobel()
{
    QFETCH(QImage, image);
    QFETCH(int, n);
    QFETCH(int, expected);
    QCOMPARE(ZelConvolution(ZelConvolution::confSobel).averageSobel(image, n), expected);
}

void TestToolkit::averageSobelWarnsWithRow()
{
    // The stripes again, 316 rows: after row 313 the sum is 313 * 6372450 = 1994576850; in row
    // 314 it passes 2000000000 at the 84th pixel: 1994576850 + 84 * 65025 = 2000038950, and
    // 2000038950 / 100 / 314 = 63695.
    QImage stripes(100, 316, QImage::Format_RGB32);
    for (int x = 0; x < 100; ++x)
        for (int y = 0; y < 316; ++y)
            stripes.setPixel(x, y, x % 4 >= 2 ? 0xFFFFFFFFu : 0xFF000000u);
    QTest::ignoreMessage(QtWarningMsg, "Sobel sprengt Integerbereich, fallback used Zeile 314");
    QCOMPARE(ZelConvolution(ZelConvolution::confSobel).averageSobel(stripes, 1), 63695);
}

void TestToolkit::averageColorSobel_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("expected");
    // Red stripes 0, 0, 255, 255 in a 30 x 30 image: 10 x 10 sampled pixels, each with
    // t = 1020^2 >> 4 = 65025 for red gx and t^2 = 4228250625, which as a signed 32-bit value
    // is -66716671: -6671667100 / 30 / 30 = -7412963.
    QImage redStripes(30, 30, QImage::Format_ARGB32);
    for (int x = 0; x < 30; ++x)
        for (int y = 0; y < 30; ++y)
            redStripes.setPixel(x, y, x % 4 >= 2 ? 0xFFFF0000u : 0xFF000000u);
    QTest::newRow("wraps negative") << redStripes << 1 << -7412963;
    // Stripes of 100 in green: t = 400^2 >> 4 = 10000, t^2 = 10^8 per pixel: 10^10 / 30 / 30.
    QImage greenStripes(30, 30, QImage::Format_ARGB32);
    for (int x = 0; x < 30; ++x)
        for (int y = 0; y < 30; ++y)
            greenStripes.setPixel(x, y, x % 4 >= 2 ? 0xFF006400u : 0xFF000000u);
    QTest::newRow("green stripes") << greenStripes << 1 << 11111111;
    QTest::newRow("h' 20 gives 0") << filled(100, 20, 0xFFFF0000u) << 1 << 0;
    QTest::newRow("null") << QImage() << 1 << 0;
    QTest::newRow("n 0") << redStripes << 0 << 0;
    QTest::newRow("w' 0") << filled(1, 100, 0xFFFF0000u) << 3 << 0;
}

void TestToolkit::averageColorSobel()
{
    QFETCH(QImage, image);
    QFETCH(int, n);
    QFETCH(int, expected);
    QCOMPARE(ZelConvolution(ZelConvolution::confSobel).averageColorSobel(image, n), expected);
}

void TestToolkit::averageColorSobelWarnsWithRow()
{
    // The limit of 10^18 needs some 5 * 10^8 sampled pixels; with a limit of 2.5 * 10^9 the green
    // stripes (10^8 per pixel, 10 per row) pass it at the sixth pixel of row 3:
    // 2.6 * 10^9 / 30 / 3 = 28888888.
    QImage greenStripes(30, 30, QImage::Format_ARGB32);
    for (int x = 0; x < 30; ++x)
        for (int y = 0; y < 30; ++y)
            greenStripes.setPixel(x, y, x % 4 >= 2 ? 0xFF006400u : 0xFF000000u);
    QTest::ignoreMessage(QtWarningMsg, "Sobel sprengt Integerbereich64, fallback used Zeile 3");
    QCOMPARE(zelAverageColorSobel(greenStripes, 1, 2500000000LL), 28888888);
}

void TestToolkit::edgesPerPixel_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<quint32>("mean");
    QTest::addColumn<quint32>("meanSquare");
    // Three interior pixels of red 100 (the rest 0): 300 / 5 / 3 = 20, 30000 / 5 / 3 = 2000.
    QImage small = filled(5, 3, 0xFF000000u);
    for (int x = 1; x <= 3; ++x)
        small.setPixel(x, 1, 0xFF640000u);
    QTest::newRow("small") << small << 20u << 2000u;
    // Red 255 everywhere, 100 wide: the squares pass 2000000000 in row 314 at pixel 84:
    // sum 255 * (313 * 98 + 84) / 100 / 314 = 249, squares 2000038950 / 100 / 314 = 63695.
    QTest::newRow("stops at the limit") << filled(100, 400, 0xFFFF0000u) << 249u << 63695u;
    QTest::newRow("two rows") << filled(5, 2, 0xFFFF0000u) << 0u << 0u;
    QTest::newRow("null") << QImage() << 0u << 0u;
}

void TestToolkit::edgesPerPixel()
{
    QFETCH(QImage, image);
    QFETCH(quint32, mean);
    QFETCH(quint32, meanSquare);
    const QPair<quint32, quint32> edges = ZelConvolution(ZelConvolution::confSobel).edgesPerPixel(image);
    QCOMPARE(edges.first, mean);
    QCOMPARE(edges.second, meanSquare);
}

void TestToolkit::wordDividerIsExact()
{
    QVector<int> divisors;
    for (int d = 2; d <= 600; ++d)
        divisors << d;
    divisors << 1023 << 1024 << 4095 << 16383 << 16384 << 32767;
    for (const int d : divisors) {
        const ZelWordDivider divider(d);
        for (int n = 0; n < 32768; ++n)
            if (divider.divide(n) != n / d)
                QFAIL(qPrintable(QString("%1 / %2").arg(n).arg(d)));
    }
}

void TestToolkit::kernelsFitWords()
{
    for (int configuration = 0; configuration <= 10; ++configuration) {
        const ZelConvolution convolution(static_cast<ZelConvolution::convolutionConfiguration>(configuration));
        QVERIFY(zelKernelFitsWords(convolution.myKernel, convolution.totalWeight() / 2));
    }
    const int large[9] = {130, 0, 0, 0, 0, 0, 0, 0, 0};
    QVERIFY(!zelKernelFitsWords(large, 65));
    const int laplace[9] = {-16, -16, -16, -16, 127, -16, -16, -16, -16};
    QVERIFY(!zelKernelFitsWords(laplace, 1));
}

void TestToolkit::hueOfEveryColourMatchesInline()
{
#if ZEL_HAVE_AVX2_PATH
    if (!zelBatchUsesAvx2())
        QSKIP("the processor has no AVX2");
    const QString failure = compareHueAvx2();
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
#else
    QSKIP("no AVX2 code in this build");
#endif
}

void TestToolkit::rgbOfEveryHsvMatchesInline()
{
#if ZEL_HAVE_AVX2_PATH
    if (!zelBatchUsesAvx2())
        QSKIP("the processor has no AVX2");
    const QString failure = compareChromaticHsvToRgbAvx2();
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
#else
    QSKIP("no AVX2 code in this build");
#endif
}

void TestToolkit::gatherReadsPaddedTables()
{
#if ZEL_HAVE_AVX2_PATH
    if (!zelBatchUsesAvx2())
        QSKIP("the processor has no AVX2");
    const QString failure = compareGatherAvx2();
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
#else
    QSKIP("no AVX2 code in this build");
#endif
}

void TestToolkit::fillImage_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("argb32") << QImage::Format_ARGB32;
    QTest::newRow("rgb32") << QImage::Format_RGB32;
    QTest::newRow("premultiplied") << QImage::Format_ARGB32_Premultiplied;
    QTest::newRow("rgb888") << QImage::Format_RGB888;
}

void TestToolkit::fillImage()
{
    QFETCH(QImage::Format, format);
    QImage image = filled(3, 2, 0x00000000u, format);
    // The colour's alpha is ignored: the pixels become opaque.
    ZelEditImageManipulator::fillImage(&image, QColor(10, 20, 30, 40));
    QCOMPARE(image.format(), format);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            QCOMPARE(image.pixel(x, y), 0xFF0A141Eu);
    ZelEditImageManipulator::fillImage(nullptr, Qt::red);
    QImage null;
    ZelEditImageManipulator::fillImage(&null, Qt::red);
    QVERIFY(null.isNull());
}

void TestToolkit::morph_data()
{
    QTest::addColumn<QImage>("a");
    QTest::addColumn<QImage>("b");
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("steps");
    QTest::addColumn<QRgb>("expected");
    const QImage black = filled(9, 2, 0xFF000000u);
    const QImage white = filled(9, 2, 0xFFFFFFFFu);
    // 255 * 1 / 2 = 127
    QTest::newRow("half way") << black << white << 1 << 2 << 0xFF7F7F7Fu;
    QTest::newRow("step 0 is a, opaque") << filled(9, 2, 0x40102030u) << white << 0 << 5 << 0xFF102030u;
    QTest::newRow("step steps is b") << black << filled(9, 2, 0x10A0B0C0u) << 5 << 5 << 0xFFA0B0C0u;
    QTest::newRow("1 of 1") << black << white << 1 << 1 << 0xFFFFFFFFu;
    // (667 * 10 + 333 * 250) / 1000 = 89.92: table path for 1000 steps.
    QTest::newRow("333 of 1000") << filled(9, 2, 0xFF0A0A0Au) << filled(9, 2, 0xFFFAFAFAu) << 333 << 1000
                                 << 0xFF595959u;
    // (INT_MAX - 1) * 255 / INT_MAX = 254.99...
    QTest::newRow("huge steps") << black << white << INT_MAX - 1 << INT_MAX << 0xFFFEFEFEu;
    // Fallbacks: opaque black in a's size.
    QTest::newRow("sizes differ") << filled(9, 2, 0xFF808080u) << filled(2, 9, 0xFF808080u) << 1 << 2 << 0xFF000000u;
    QTest::newRow("step above steps") << white << white << 3 << 2 << 0xFF000000u;
    QTest::newRow("negative step") << white << white << -1 << 2 << 0xFF000000u;
    QTest::newRow("steps 0") << white << white << 0 << 0 << 0xFF000000u;
}

void TestToolkit::morph()
{
    QFETCH(QImage, a);
    QFETCH(QImage, b);
    QFETCH(int, step);
    QFETCH(int, steps);
    QFETCH(QRgb, expected);
    const QImage result = ZelEditImageManipulator::morph(a, b, step, steps);
    QCOMPARE(result.size(), a.size());
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            QCOMPARE(result.pixel(x, y), expected);
}

void TestToolkit::morphMatchesDefinition_data()
{
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("steps");
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("3 of 8") << 3 << 8 << QImage::Format_ARGB32;
    QTest::newRow("7 of 128") << 7 << 128 << QImage::Format_RGB32;
    QTest::newRow("3 of 257") << 3 << 257 << QImage::Format_ARGB32;
    QTest::newRow("40 of 60") << 40 << 60 << QImage::Format_ARGB32;
    QTest::newRow("premultiplied") << 1 << 3 << QImage::Format_ARGB32_Premultiplied;
    QTest::newRow("indexed") << 2 << 5 << QImage::Format_Indexed8;
}

void TestToolkit::morphMatchesDefinition()
{
    QFETCH(int, step);
    QFETCH(int, steps);
    QFETCH(QImage::Format, format);
    // QColor reads premultiplied words as they are (QImage::pixel does not unpremultiply).
    const QImage a = format == QImage::Format_Indexed8 ? imageOf(3, {1, 0xFF102030u, 0x80FFFFFFu}, format)
                                                      : randomImage(13, 5, 1).convertToFormat(format);
    const QImage b = format == QImage::Format_Indexed8 ? imageOf(3, {0xFF302010u, 7, 0xFFFFFFFFu}, format)
                                                      : randomImage(13, 5, 2).convertToFormat(format);
    const QImage result = ZelEditImageManipulator::morph(a, b, step, steps);
    const bool keepsFormat = format != QImage::Format_Indexed8;
    QCOMPARE(result.format(), keepsFormat ? format : QImage::Format_RGB32);
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QColor ca(a.pixel(x, y));
            const QColor cb(b.pixel(x, y));
            auto channel = [&](int va, int vb) { return ((steps - step) * va + step * vb) / steps; };
            const QRgb expected = qRgb(channel(ca.red(), cb.red()), channel(ca.green(), cb.green()),
                                       channel(ca.blue(), cb.blue()));
            QCOMPARE(result.pixel(x, y), expected);
        }
    }
}

void TestToolkit::cropNormalizes()
{
    const QImage image = randomImage(6, 5, 9);
    QCOMPARE(ZelEditImageManipulator::crop(image, QRect(QPoint(4, 3), QPoint(2, 1))), image.copy(QRect(2, 1, 3, 3)));
}

void TestToolkit::imageContainsAlphaInformation_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<bool>("expected");
    QTest::newRow("rgb32") << filled(3, 3, 0x00FFFFFFu, QImage::Format_RGB32) << false;
    QTest::newRow("argb32 opaque") << filled(3, 3, 0xFF808080u) << false;
    QImage oneTranslucent = filled(3, 3, 0xFF808080u);
    oneTranslucent.setPixel(2, 2, 0xFE808080u);
    QTest::newRow("argb32 one pixel 254") << oneTranslucent << true;
    QTest::newRow("premultiplied") << filled(3, 3, 0x80808080u, QImage::Format_ARGB32_Premultiplied) << true;
    QImage indexed(2, 1, QImage::Format_Indexed8);
    indexed.setColorTable({0xFF000000u, 0x00000000u});
    indexed.fill(1);
    QTest::newRow("indexed with transparent colour") << indexed << true;
    QTest::newRow("null") << QImage() << false;
}

void TestToolkit::imageContainsAlphaInformation()
{
    QFETCH(QImage, image);
    QFETCH(bool, expected);
    QCOMPARE(ZelEditImageManipulator::imageContainsAlphaInformation(image), expected);
}

void TestToolkit::normalize()
{
    const QImage argb = filled(2, 2, 0xFF112233u);
    const QImage rgb = filled(2, 2, 0xFF112233u, QImage::Format_RGB32);
    const QImage indexed = filled(2, 2, 0xFF112233u, QImage::Format_Indexed8);
    // Shared copies where the format already fits.
    QCOMPARE(ZelEditImageManipulator::normalizeARGB32(argb).constBits(), argb.constBits());
    QCOMPARE(ZelEditImageManipulator::normalizeRGB32(argb).format(), QImage::Format_ARGB32);
    QCOMPARE(ZelEditImageManipulator::normalizeRGB32(argb).constBits(), argb.constBits());
    QCOMPARE(ZelEditImageManipulator::normalizeRGB32(rgb).constBits(), rgb.constBits());
    QCOMPARE(ZelEditImageManipulator::normalizeARGB32(rgb).format(), QImage::Format_ARGB32);
    QCOMPARE(ZelEditImageManipulator::normalizeRGB32(indexed).format(), QImage::Format_RGB32);
    QCOMPARE(ZelEditImageManipulator::normalizeRGB32(indexed).pixel(1, 1), 0xFF112233u);
}

void TestToolkit::whouldMonoBePossible_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<bool>("expected");
    QTest::newRow("mono") << filled(3, 3, 0xFF808080u, QImage::Format_Mono) << true;
    QImage blackWhite = filled(3, 3, 0xFFFFFFFFu);
    blackWhite.setPixel(1, 1, 0xFF000000u);
    QTest::newRow("black and white") << blackWhite << true;
    QImage grey = blackWhite;
    grey.setPixel(2, 2, 0xFF010101u);
    QTest::newRow("one grey") << grey << false;
    QTest::newRow("translucent white") << filled(3, 3, 0xFEFFFFFFu) << false;
    QTest::newRow("indexed black") << filled(3, 3, 0xFF000000u, QImage::Format_Indexed8) << true;
}

void TestToolkit::whouldMonoBePossible()
{
    QFETCH(QImage, image);
    QFETCH(bool, expected);
    QCOMPARE(ZelEditImageManipulator::whouldMonoBePossible(image), expected);
}

void TestToolkit::changeSaturation_data()
{
    QTest::addColumn<QRgb>("pixel");
    QTest::addColumn<double>("factor");
    QTest::addColumn<QRgb>("expected");
    // (200, 100, 50): v 200, s 191 (150 / 200), hue 20. s * 0.5 = 95: setHsv(20, 95, 200) =
    // (200, round(200 * (15300 - 95 * 40) / 15300), round(200 * 160 / 255)) = (200, 150, 125).
    QTest::newRow("half") << qRgba(200, 100, 50, 128) << 0.5 << qRgba(200, 150, 125, 128);
    QTest::newRow("zero") << qRgba(200, 100, 50, 128) << 0.0 << qRgba(200, 200, 200, 128);
    QTest::newRow("grey stays") << qRgba(90, 90, 90, 7) << 3.0 << qRgba(90, 90, 90, 7);
    // 191 * 2 = 382: QColor rejects the colour, the pixel turns black with its alpha.
    QTest::newRow("above 255 turns black") << qRgba(200, 100, 50, 128) << 2.0 << qRgba(0, 0, 0, 128);
    QTest::newRow("negative turns black") << qRgba(200, 100, 50, 128) << -1.0 << qRgba(0, 0, 0, 128);
    QTest::newRow("nan turns black") << qRgba(90, 90, 90, 9) << std::nan("") << qRgba(0, 0, 0, 9);
    QTest::newRow("infinity turns black") << qRgba(200, 100, 50, 255) << HUGE_VAL << qRgba(0, 0, 0, 255);
}

void TestToolkit::changeSaturation()
{
    QFETCH(QRgb, pixel);
    QFETCH(double, factor);
    QFETCH(QRgb, expected);
    VectorPaths paths;
    paths.forEach([&](const char* path) {
        // Wide enough for the vector paths and a scalar tail.
        const QImage result = ZelEditImageManipulator::changeSaturation(filled(19, 2, pixel), factor);
        QCOMPARE(result.format(), QImage::Format_ARGB32);
        for (int x = 0; x < 19; ++x)
            QVERIFY2(result.pixel(x, 1) == expected, path);
    });
    QVERIFY(ZelEditImageManipulator::changeSaturation(QImage(), 0.5).isNull());
    QCOMPARE(ZelEditImageManipulator::changeSaturation(filled(2, 2, pixel, QImage::Format_Indexed8), 0.5).format(),
             QImage::Format_RGB32);
}

void TestToolkit::changeSaturationOfEveryColourMatchesQColor()
{
    const QImage image = everyColour();
    QuietQColorWarnings quiet;
    for (const double factor : {0.5, 1.3}) {
        QVector<QRgb> expected(1 << 24);
        // 1.3, which turns many colours black, on every 17th colour.
        const int stride = factor < 1 ? 1 : 17;
        for (int rgb = 0; rgb < (1 << 24); rgb += stride)
            expected[rgb] = referenceSaturation(0xFF000000u | quint32(rgb), factor);
        VectorPaths paths;
        paths.forEach([&](const char* path) {
            const QImage result = ZelEditImageManipulator::changeSaturation(image, factor);
            const QRgb* pixels = reinterpret_cast<const QRgb*>(result.constBits());
            for (int rgb = 0; rgb < (1 << 24); rgb += stride)
                if (pixels[rgb] != expected[rgb])
                    QFAIL(qPrintable(QString("%1, factor %2: %3").arg(path).arg(factor).arg(rgb, 6, 16)));
        });
    }
}

void TestToolkit::mirrors()
{
    const QImage image = imageOf(3, opaqueBlues({1, 2, 3, 4, 5, 6}), QImage::Format_Indexed8);
    const QImage horizontal = ZelEditImageManipulator::mirrorHorizontal(image);
    const QImage vertical = ZelEditImageManipulator::mirrorVertical(image);
    QCOMPARE(horizontal.format(), QImage::Format_RGB32);
    QCOMPARE(horizontal, imageOf(3, opaqueBlues({3, 2, 1, 6, 5, 4}), QImage::Format_RGB32));
    QCOMPARE(vertical, imageOf(3, opaqueBlues({4, 5, 6, 1, 2, 3}), QImage::Format_RGB32));
    const QImage argb = imageOf(2, {0x10000001u, 0x20000002u});
    QCOMPARE(ZelEditImageManipulator::mirrorHorizontal(argb), imageOf(2, {0x20000002u, 0x10000001u}));
    QVERIFY(ZelEditImageManipulator::mirrorVertical(QImage()).isNull());
}

void TestToolkit::toGrayscale_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<bool>("inPlace");
    QTest::newRow("argb32 in place") << QImage::Format_ARGB32 << true;
    QTest::newRow("rgb32 in place") << QImage::Format_RGB32 << true;
    QTest::newRow("rgb888 stays") << QImage::Format_RGB888 << false;
    QTest::newRow("premultiplied stays") << QImage::Format_ARGB32_Premultiplied << false;
    QTest::newRow("indexed stays") << QImage::Format_Indexed8 << false;
}

void TestToolkit::toGrayscale()
{
    QFETCH(QImage::Format, format);
    QFETCH(bool, inPlace);
    QImage image = imageOf(2, {qRgba(200, 100, 50, 255), qRgba(0, 0, 255, 255)}, format);
    const QImage before = image.copy();
    const QImage sharing = image;
    ZelEditImageManipulator::toGrayscale(&image);
    if (!inPlace) {
        QCOMPARE(image, before);
        return;
    }
    // (11 * 200 + 16 * 100 + 5 * 50) >> 5 = 126, (5 * 255) >> 5 = 39; deliberately every image
    // sharing the data changes with it.
    for (const QImage* changed : {static_cast<const QImage*>(&image), &sharing}) {
        QCOMPARE(changed->pixel(0, 0), qRgb(126, 126, 126));
        QCOMPARE(changed->pixel(1, 0), qRgb(39, 39, 39));
    }
}

void TestToolkit::rotate()
{
    // 1 2 3
    // 4 5 6
    const QImage image = imageOf(3, opaqueBlues({1, 2, 3, 4, 5, 6}), QImage::Format_RGB32);
    const QImage clockwise = imageOf(2, opaqueBlues({4, 1, 5, 2, 6, 3}), QImage::Format_RGB32);
    const QImage counterClockwise = imageOf(2, opaqueBlues({3, 6, 2, 5, 1, 4}), QImage::Format_RGB32);
    QCOMPARE(ZelEditImageManipulator::rotateCW(image), clockwise);
    QCOMPARE(ZelEditImageManipulator::rotateCCW(image), counterClockwise);
    QCOMPARE(ZelEditImageManipulator::rotateNicely(image, 1), ZelEditImageManipulator::rotateCW(image));
    QCOMPARE(ZelEditImageManipulator::rotateNicely(image, 0), ZelEditImageManipulator::rotateCCW(image));
    QCOMPARE(ZelEditImageManipulator::rotateNicely(image, -90), ZelEditImageManipulator::rotateCCW(image));
    QVERIFY(ZelEditImageManipulator::rotateCW(QImage()).isNull());
    QCOMPARE(ZelEditImageManipulator::rotateCW(filled(3, 2, 0xFF010203u, QImage::Format_Indexed8)).format(),
             QImage::Format_RGB32);
}

void TestToolkit::rotateMatchesQt_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("tiles and rests") << QSize(100, 37);
    QTest::newRow("one row") << QSize(70, 1);
    QTest::newRow("one column") << QSize(1, 70);
}

void TestToolkit::rotateMatchesQt()
{
    QFETCH(QSize, size);
    const QImage image = randomImage(size.width(), size.height(), 4);
    QMatrix clockwise;
    clockwise.rotate(90);
    QMatrix counterClockwise;
    counterClockwise.rotate(-90);
    QCOMPARE(ZelEditImageManipulator::rotateCW(image), image.transformed(clockwise));
    QCOMPARE(ZelEditImageManipulator::rotateCCW(image), image.transformed(counterClockwise));
}

void TestToolkit::cropRect_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<ZelCropType>("type");
    QTest::addColumn<QRect>("expected");
    const QSize landscape(8, 4);
    QTest::newRow("free") << landscape << ZelCropFree << QRect(0, 0, 8, 4);
    QTest::newRow("1:1") << landscape << ZelCrop1x1 << QRect(2, 0, 4, 4);
    // 4 * 4 / 3 = 5.33 -> 5, centred with the odd pixel cut on the right.
    QTest::newRow("4:3") << landscape << ZelCrop4x3 << QRect(1, 0, 5, 4);
    QTest::newRow("3:2") << landscape << ZelCrop3x2 << QRect(1, 0, 6, 4);
    QTest::newRow("16:9") << landscape << ZelCrop16x9 << QRect(0, 0, 7, 4);
    QTest::newRow("3:4") << landscape << ZelCrop3x4 << QRect(2, 0, 3, 4);
    QTest::newRow("2:3") << landscape << ZelCrop2x3 << QRect(2, 0, 3, 4);
    QTest::newRow("9:16") << landscape << ZelCrop9x16 << QRect(3, 0, 2, 4);
    // Portrait: the height is cut; 4 / (16 / 9) = 2.25 -> 2.
    QTest::newRow("portrait 1:1") << QSize(4, 8) << ZelCrop1x1 << QRect(0, 2, 4, 4);
    QTest::newRow("portrait 16:9") << QSize(4, 8) << ZelCrop16x9 << QRect(0, 3, 4, 2);
    QTest::newRow("exact 4:3 is not cut") << QSize(4000, 3000) << ZelCrop4x3 << QRect(0, 0, 4000, 3000);
    QTest::newRow("at least one pixel") << QSize(1, 100) << ZelCrop16x9 << QRect(0, 49, 1, 1);
    QTest::newRow("empty") << QSize(0, 0) << ZelCrop1x1 << QRect();
    QTest::newRow("unknown type is free") << landscape << static_cast<ZelCropType>(99) << QRect(0, 0, 8, 4);
}

void TestToolkit::cropRect()
{
    QFETCH(QSize, size);
    QFETCH(ZelCropType, type);
    QFETCH(QRect, expected);
    QCOMPARE(ZelEditImageManipulator::cropRect(size, type), expected);
    if (!size.isEmpty()) {
        const QImage image = randomImage(size.width(), size.height(), 8);
        QCOMPARE(ZelEditImageManipulator::crop(image, type), image.copy(expected));
    }
}

void TestToolkit::paintRedLines_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("proportion");
    QTest::addColumn<QVector<int>>("columns");
    QTest::addColumn<QVector<int>>("rows");
    QTest::newRow("landscape 1:1: columns") << QSize(8, 4) << 1.0 << QVector<int>{2, 5} << QVector<int>{};
    QTest::newRow("portrait 1:1: rows") << QSize(4, 8) << 1.0 << QVector<int>{} << QVector<int>{2, 5};
    QTest::newRow("16:9 on portrait: rows") << QSize(4, 8) << 16.0 / 9 << QVector<int>{} << QVector<int>{3, 4};
    QTest::newRow("one column") << QSize(3, 9) << 0.1 << QVector<int>{1} << QVector<int>{};
    QTest::newRow("same proportion: none") << QSize(8, 4) << 2.0 << QVector<int>{} << QVector<int>{};
    QTest::newRow("zero: none") << QSize(8, 4) << 0.0 << QVector<int>{} << QVector<int>{};
    QTest::newRow("nan: none") << QSize(8, 4) << std::nan("") << QVector<int>{} << QVector<int>{};
    QTest::newRow("infinite: none") << QSize(8, 4) << HUGE_VAL << QVector<int>{} << QVector<int>{};
}

void TestToolkit::paintRedLines()
{
    QFETCH(QSize, size);
    QFETCH(double, proportion);
    QFETCH(QVector<int>, columns);
    QFETCH(QVector<int>, rows);
    const QImage image = filled(size.width(), size.height(), 0xFF204060u, QImage::Format_Indexed8);
    const QImage painted = ZelEditImageManipulator::paintRedLines(image, proportion);
    QCOMPARE(painted.format(), QImage::Format_RGB32);
    QCOMPARE(painted.size(), size);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const bool red = columns.contains(x) || rows.contains(y);
            QCOMPARE(painted.pixel(x, y), red ? 0xFFFF0000u : 0xFF204060u);
        }
    }
    QCOMPARE(image.pixel(0, 0), 0xFF204060u);
    // The type forms: a free type takes the proportion of the size.
    if (proportion == 1.0) {
        QCOMPARE(ZelEditImageManipulator::paintRedLines(image, ZelCrop1x1, QSizeF()), painted);
        QCOMPARE(ZelEditImageManipulator::paintRedLines(image, ZelCropFree, QSizeF(3, 3)), painted);
        QCOMPARE(ZelEditImageManipulator::paintRedLines(image, ZelCropFree, QSizeF()),
                 image.convertToFormat(QImage::Format_RGB32));
    }
}

void TestToolkit::paintBorder()
{
    const QImage image = filled(8, 4, 0xFF204060u);
    QColor blue(Qt::blue);
    const QImage painted = ZelEditImageManipulator::paintBorder(image, blue, ZelCrop1x1);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 8; ++x)
            QCOMPARE(painted.pixel(x, y), x >= 2 && x <= 5 ? 0xFF204060u : 0xFF0000FFu);
    // Portrait 16:9: rows 0..2 and 5..7 outside.
    const QImage portrait = ZelEditImageManipulator::paintBorder(filled(4, 8, 0xFF204060u), blue, ZelCrop16x9);
    for (int y = 0; y < 8; ++y)
        QCOMPARE(portrait.pixel(1, y), y == 3 || y == 4 ? 0xFF204060u : 0xFF0000FFu);
    QCOMPARE(ZelEditImageManipulator::paintBorder(image, blue, ZelCropFree), image);
    QVERIFY(ZelEditImageManipulator::paintBorder(QImage(), blue, ZelCrop1x1).isNull());
    // A translucent colour is blended: half blue over (32, 64, 96).
    QColor halfBlue(0, 0, 255, 128);
    const QRgb blended = ZelEditImageManipulator::paintBorder(image, halfBlue, ZelCrop1x1).pixel(0, 0);
    QVERIFY(qAbs(qRed(blended) - 16) <= 1 && qAbs(qBlue(blended) - 176) <= 1);
}

void TestToolkit::combineWithMask_data()
{
    QTest::addColumn<QRgb>("pixel");
    QTest::addColumn<QRgb>("mask");
    QTest::addColumn<QRgb>("expected");
    // alpha * (255 - mask) / 255, colours kept.
    QTest::newRow("128 on opaque") << 0xFF102030u << 0xFF808080u << 0x7F102030u;
    QTest::newRow("white clears") << 0xFF102030u << 0xFFFFFFFFu << 0x00102030u;
    QTest::newRow("black keeps") << 0xC0102030u << 0xFF000000u << 0xC0102030u;
    // 100 * 127 / 255 = 49.8; only the mask's lowest byte counts.
    QTest::newRow("blue byte only") << 0x64102030u << 0x00FF0080u << 0x31102030u;
}

void TestToolkit::combineWithMask()
{
    QFETCH(QRgb, pixel);
    QFETCH(QRgb, mask);
    QFETCH(QRgb, expected);
    QImage image = filled(3, 2, pixel);
    const QImage maskImage = filled(3, 2, mask);
    ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(&maskImage, &image);
    QCOMPARE(image.pixel(2, 1), expected);
    // A grey mask in another format reads as its grey level.
    QImage again = filled(3, 2, pixel);
    const QImage greyMask = filled(3, 2, 0xFF000000u | (mask & 0xFF) * 0x010101u, QImage::Format_Grayscale8);
    ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(&greyMask, &again);
    QCOMPARE(again.pixel(2, 1), expected);
}

void TestToolkit::combineWithMaskWarns()
{
    QImage image = filled(3, 2, 0xFF102030u);
    const QImage mask = filled(3, 2, 0xFFFFFFFFu);
    QTest::ignoreMessage(QtWarningMsg, "ZelDecorationFading::combineBlackWhiteAlphaImageWithRGBAImage image is NULL");
    ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(nullptr, &image);
    QTest::ignoreMessage(QtWarningMsg, "ZelDecorationFading::combineBlackWhiteAlphaImageWithRGBAImage image is NULL");
    ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, nullptr);
    const QImage small = filled(2, 2, 0xFFFFFFFFu);
    QTest::ignoreMessage(QtWarningMsg, "ZelDecorationFading::combineBlackWhiteAlphaImageWithRGBAImage size mismatch");
    ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(&small, &image);
    QImage rgb = filled(3, 2, 0xFF102030u, QImage::Format_RGB32);
    QTest::ignoreMessage(QtWarningMsg,
                         "ZelDecorationFading::combineBlackWhiteAlphaImageWithRGBAImage not in Format_ARGB32");
    ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, &rgb);
    QImage null;
    const QImage nullMask;
    QTest::ignoreMessage(QtWarningMsg,
                         "ZelDecorationFading::combineBlackWhiteAlphaImageWithRGBAImage not in Format_ARGB32");
    ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(&nullMask, &null);
    QCOMPARE(image.pixel(0, 0), 0xFF102030u);
    QCOMPARE(rgb.pixel(0, 0), 0xFF102030u);
}

void TestToolkit::convertAlphamask2ShadowImage_data()
{
    QTest::addColumn<QRgb>("pixel");
    QTest::addColumn<double>("factor");
    QTest::addColumn<QRgb>("expected");
    QTest::newRow("0.5 of 255") << 0xFF8090A0u << 0.5 << 0x7F000000u;
    QTest::newRow("1 keeps alpha") << 0x40FFFFFFu << 1.0 << 0x40000000u;
    // 255 * 2 = 510, modulo 256: 254. Deliberately not clamped.
    QTest::newRow("2 wraps") << 0xFF102030u << 2.0 << 0xFE000000u;
    QTest::newRow("negative is 0") << 0xFF102030u << -1.0 << 0x00000000u;
    QTest::newRow("nan is 0") << 0xFF102030u << std::nan("") << 0x00000000u;
    // Bounded to 4294967295 first: its low byte is 255.
    QTest::newRow("huge") << 0xFF102030u << 1e300 << 0xFF000000u;
}

void TestToolkit::convertAlphamask2ShadowImage()
{
    QFETCH(QRgb, pixel);
    QFETCH(double, factor);
    QFETCH(QRgb, expected);
    QImage image = filled(3, 2, pixel);
    ZelEditImageManipulator::convertAlphamask2ShadowImage(&image, factor);
    QCOMPARE(image.pixel(1, 1), expected);
}

void TestToolkit::convertAlphamask2ShadowImageWarns()
{
    QTest::ignoreMessage(QtWarningMsg, "ZelDecorationFading::convertAlphamask2ShadowImage theImage is NULL");
    ZelEditImageManipulator::convertAlphamask2ShadowImage(nullptr, 0.5);
    QImage null;
    QTest::ignoreMessage(QtWarningMsg, "ZelDecorationFading::convertAlphamask2ShadowImage theImage->isNull()==true");
    ZelEditImageManipulator::convertAlphamask2ShadowImage(&null, 0.5);
    QImage rgb = filled(3, 2, 0xFF102030u, QImage::Format_RGB32);
    QTest::ignoreMessage(
        QtWarningMsg, "ZelDecorationFading::convertAlphamask2ShadowImage theImage not in Format_ARGB32 but format 4");
    ZelEditImageManipulator::convertAlphamask2ShadowImage(&rgb, 0.5);
    QCOMPARE(rgb.pixel(0, 0), 0xFF102030u);
}

QTEST_MAIN(TestToolkit)
#include "tst_toolkit.moc"
