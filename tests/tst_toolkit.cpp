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
#include <random>
#include <thread>
#include <vector>

Q_DECLARE_METATYPE(ZelCropType)

namespace {

// Indexed images get a table of exactly their colours (Qt's conversion would dither).
QImage imageOf(int width, const QVector<QRgb>& pixels, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, pixels.size() / width, QImage::Format_ARGB32);
    for (int i = 0; i < pixels.size(); ++i)
        image.setPixel(i % width, i / width, pixels[i]);
    if (format != QImage::Format_Indexed8)
        return image.convertToFormat(format);
    QVector<QRgb> table = pixels;
    std::sort(table.begin(), table.end());
    table.erase(std::unique(table.begin(), table.end()), table.end());
    return image.convertToFormat(format, table);
}

QImage filled(int width, int height, QRgb pixel, QImage::Format format = QImage::Format_ARGB32)
{
    return imageOf(width, QVector<QRgb>(width * height, pixel), format);
}

QImage randomImage(int width, int height, unsigned seed)
{
    std::mt19937 random(seed);
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        std::generate_n(reinterpret_cast<QRgb*>(image.scanLine(y)), width, [&] { return QRgb(random()); });
    return image;
}

// Every 24-bit colour once, opaque, row by row.
QImage everyColour()
{
    QImage image(4096, 4096, QImage::Format_ARGB32);
    QRgb* pixels = reinterpret_cast<QRgb*>(image.bits());
    for (quint32 rgb = 0; rgb < (1u << 24); ++rgb)
        pixels[rgb] = 0xFF000000u | rgb;
    return image;
}

// The colour step through QColor: the pixel takes the level c as its HSV value, weakly saturated
// ones (s below 100) blended with the source by s : 150 - s, and a value only above 100.
QRgb referenceColourStep(QRgb pixel, int c)
{
    const QColor in(pixel);
    int h, s, v;
    in.getHsv(&h, &s, &v);
    if (s == 0)
        return pixel;
    QColor out = QColor::fromHsv(h, s, s > 99 || c > 100 ? c : v);
    if (s <= 99)
        out = QColor((out.red() * s + in.red() * (150 - s)) / 150, (out.green() * s + in.green() * (150 - s)) / 150,
                     (out.blue() * s + in.blue() * (150 - s)) / 150);
    return (pixel & 0xFF000000u) | (out.rgb() & 0x00FFFFFFu);
}

// The grey and colour convolutions as their definitions read, pixel by pixel and through QColor:
// the reference for the scan-line and vector paths. Border pixels copy their inner neighbours.
QImage referenceConvolution(const QImage& image, const int kernel[9], int divisor, bool colour)
{
    QImage max = image.copy();
    for (int y = 0; y < max.height(); ++y)
        for (int x = 0; x < max.width(); ++x) {
            const QRgb p = max.pixel(x, y);
            const int m = qMax(qRed(p), qMax(qGreen(p), qBlue(p)));
            max.setPixel(x, y, qRgba(m, m, m, qAlpha(p)));
        }
    QImage result(image.size(), image.format());
    for (int y = 1; y < image.height() - 1; ++y)
        for (int x = 1; x < image.width() - 1; ++x) {
            int sum = 0;
            for (int i = 0; i < 9; ++i)
                sum += kernel[i] * qRed(max.pixel(x + i % 3 - 1, y + i / 3 - 1));
            const int v = (std::abs(sum) / divisor) % 256;
            result.setPixel(x, y, colour ? referenceColourStep(image.pixel(x, y), v) : qRgba(v, v, v, qAlpha(max.pixel(x, y))));
        }
    const int w = result.width(), h = result.height();
    for (int x = 0; x < w; ++x) {
        result.setPixel(x, 0, result.pixel(x, 1));
        result.setPixel(x, h - 1, result.pixel(x, h - 2));
    }
    for (int y = 0; y < h; ++y) {
        result.setPixel(0, y, result.pixel(1, y));
        result.setPixel(w - 1, y, result.pixel(w - 2, y));
    }
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
QtMessageHandler gPreviousHandler = nullptr;
void quietQColor(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (!text.startsWith("QColor::setHsv"))
        gPreviousHandler(type, context, text);
}

// Runs check with the pixel loops' AVX2 code (where the processor has it) and without.
template <typename Check>
void forEachVectorPath(Check check)
{
    QList<bool> paths{false};
    zelSetBatchAvx2Allowed(true);
    if (zelBatchUsesAvx2())
        paths << true;
    for (const bool avx2 : paths) {
        zelSetBatchAvx2Allowed(avx2);
        check(avx2 ? "avx2" : "scalar");
    }
    zelSetBatchAvx2Allowed(true);
}

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
#endif

} // namespace

class TestToolkit : public QObject
{
    Q_OBJECT

private slots:
    // First: it needs the fade table not to exist yet.
    void fadeTableIsCreatedOnceByConcurrentCallers()
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
        for (const QImage& image : images)
            QCOMPARE(image.pixel(15, 15), 0x7F102030u); // 255 * (255 - 128) / 255 = 127
    }

    void configurations_data()
    {
        QTest::addColumn<int>("configuration");
        QTest::addColumn<QVector<int>>("kernel");
        QTest::addColumn<int>("totalWeight");
        QTest::addColumn<QString>("pipeline");
        const QVector<int> sobelH{1, 2, 1, 0, 0, 0, -1, -2, -1};
        const QVector<int> laplace{-16, -16, -16, -16, 127, -16, -16, -16, -16};
        QTest::newRow("0 SobelHColor") << 0 << sobelH << 8 << "colour";
        QTest::newRow("1 LaplaceInverted") << 1 << laplace << 255 << "invert grey";
        QTest::newRow("2 SobelInverted") << 2 << sobelH << 8 << "invert sobel";
        QTest::newRow("3 Sobel") << 3 << sobelH << 8 << "sobel";
        QTest::newRow("4 SobelV") << 4 << QVector<int>{1, 0, -1, 2, 0, -2, 1, 0, -1} << 8 << "grey";
        QTest::newRow("5 SobelH") << 5 << sobelH << 8 << "grey";
        // Deliberately lopsided: the left neighbour weighs 0, the right one -16.
        QTest::newRow("6 EdgeEnhance") << 6 << QVector<int>{0, -16, 0, 0, 80, -16, 0, -16, 0} << 128 << "colour";
        QTest::newRow("7 Emboss") << 7 << QVector<int>{1, 0, 1, 0, 0, 0, 1, 0, -2} << 5 << "grey";
        QTest::newRow("8 Sharpen") << 8 << QVector<int>{-4, -4, -4, -4, 64, -4, -4, -4, -4} << 96 << "colour";
        QTest::newRow("9 Soften") << 9 << QVector<int>{2, 2, 2, 2, 0, 2, 2, 2, 2} << 16 << "colour";
        QTest::newRow("10 Laplace") << 10 << laplace << 255 << "grey";
        QTest::newRow("11 like 0") << 11 << sobelH << 8 << "colour";
        QTest::newRow("-1 like 0") << -1 << sobelH << 8 << "colour";
    }
    // The kernel and the steps convolute() runs for each configuration.
    void configurations()
    {
        QFETCH(int, configuration);
        QFETCH(QVector<int>, kernel);
        QFETCH(QString, pipeline);
        ZelConvolution convolution(static_cast<ZelConvolution::convolutionConfiguration>(configuration));
        QCOMPARE(QVector<int>(convolution.myKernel, convolution.myKernel + 9), kernel);
        QTEST(convolution.totalWeight(), "totalWeight");
        const QImage image = randomImage(23, 9, 5);
        const QImage result = convolution.convolute(image);
        QImage expected = pipeline.endsWith("colour") ? convolution.convoluteColor(image)
                          : pipeline.endsWith("grey") ? convolution.convoluteBW(image)
                                                      : convolution.sobelCombined(image);
        QCOMPARE(result, pipeline.startsWith("invert") ? convolution.invert(expected) : expected);
    }

    void convolutionMatchesDefinition_data()
    {
        QTest::addColumn<int>("configuration");
        QTest::addColumn<bool>("colour");
        QTest::addColumn<int>("width");
        for (int width : {3, 4, 11, 37})
            for (int configuration = 4; configuration <= 10; ++configuration)
                for (const bool colour : {false, true})
                    QTest::addRow("%s %d, width %d", colour ? "colour" : "grey", configuration, width) << configuration << colour << width;
    }
    void convolutionMatchesDefinition()
    {
        QFETCH(int, configuration);
        QFETCH(bool, colour);
        QFETCH(int, width);
        const ZelConvolution convolution(static_cast<ZelConvolution::convolutionConfiguration>(configuration));
        const QImage image = randomImage(width, 7, unsigned(configuration * 100 + width));
        const QImage expected = referenceConvolution(image, convolution.myKernel, convolution.totalWeight() / (colour ? 4 : 2), colour);
        forEachVectorPath([&](const char* path) {
            QVERIFY2((colour ? convolution.convoluteColor(image) : convolution.convoluteBW(image)) == expected, path);
        });
    }

    void handComputedConvolutions_data()
    {
        QTest::addColumn<int>("configuration");
        QTest::addColumn<QImage>("image");
        QTest::addColumn<QRgb>("expected"); // every pixel
        // |127 g - 8 * 16 g| / (255 / 2) = g / 127
        for (const int grey : {126, 127, 254, 255})
            QTest::addRow("Laplace of flat %d", grey) << 10 << filled(6, 5, qRgba(grey, grey, grey, 200)) << qRgba(grey / 127, grey / 127, grey / 127, 200);
        // Maximum 200: |64 * 200 - 8 * 4 * 200| / (96 / 4) = 266, which wraps to 10. Saturated, hue 0:
        // setHsv(0, 255, 10) is (10, 0, 0); hue 300: red is the value, blue the falling ramp.
        QTest::newRow("sharpen red, wraps to 10") << 8 << filled(40, 4, qRgba(200, 0, 0, 90)) << qRgba(10, 0, 0, 90);
        QTest::newRow("sharpen magenta, wraps to 10") << 8 << filled(40, 4, qRgba(200, 0, 200, 255)) << qRgba(10, 0, 10, 255);
        QTest::newRow("sharpen grey: unchanged") << 8 << filled(40, 4, qRgba(90, 90, 90, 77)) << qRgba(90, 90, 90, 77);
        // Maximum 90: 32 * 90 / 24 = 120 > 100 becomes the value. s = 51, hue 26: setHsv(26, 51, 120) =
        // (120, 106, 96), blended with (90, 80, 72) by 51 : 99 over 150: (100, 88, 80).
        QTest::newRow("sharpen weakly saturated, blended") << 8 << filled(40, 4, qRgba(90, 80, 72, 255)) << qRgba(100, 88, 80, 255);
        const QRgb w = 0xFFFFFFFFu, b = 0xFF000000u;
        // Only the upper-left pixel white: both gradients 255, / 4 = 63; sqrt(2 * 63^2) = 89.1. Top row
        // and left column white: both 765 / 4 = 191; sqrt(2 * 191^2) = 270.1, which wraps to 14.
        QTest::newRow("Sobel, corner") << 3 << imageOf(3, {w, b, b, b, b, b, b, b, b}) << qRgb(89, 89, 89);
        QTest::newRow("Sobel wraps") << 3 << imageOf(3, {w, w, w, w, b, b, w, b, b}) << qRgb(14, 14, 14);
        // ((255 - 89) * 2) mod 256 = 76.
        QTest::newRow("Sobel inverted") << 2 << imageOf(3, {w, b, b, b, b, b, b, b, b}) << qRgb(76, 76, 76);
    }
    void handComputedConvolutions()
    {
        QFETCH(int, configuration);
        QFETCH(QImage, image);
        QFETCH(QRgb, expected);
        ZelConvolution convolution(static_cast<ZelConvolution::convolutionConfiguration>(configuration));
        forEachVectorPath([&](const char* path) {
            const QImage result = convolution.convolute(image);
            QCOMPARE(result.size(), image.size());
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    QVERIFY2(result.pixel(x, y) == expected, path);
        });
    }

    // The colour step for every 7th colour, each seeing the sharpened level of its neighbours (the
    // colours lie row by row, so the levels vary widely), against QColor.
    void colourStepOfEveryColourMatchesQColor()
    {
        const QImage image = everyColour();
        const ZelConvolution convolution(ZelConvolution::confSharpen);
        QVector<QRgb> expected(4096 * 4096);
        for (int y = 1; y < 4095; ++y) {
            for (int x = 1; x < 4095; ++x) {
                if ((y * 4096 + x) % 7)
                    continue;
                int sum = 0; // 64 centre - 4 * each neighbour, of the maxima; divisor 96 / 4 = 24
                for (int i = 0; i < 9; ++i) {
                    const QRgb p = QRgb((y + i / 3 - 1) * 4096 + x + i % 3 - 1);
                    sum += (i == 4 ? 64 : -4) * qMax(qRed(p), qMax(qGreen(p), qBlue(p)));
                }
                expected[y * 4096 + x] = referenceColourStep(0xFF000000u | quint32(y * 4096 + x), (std::abs(sum) / 24) % 256);
            }
        }
        forEachVectorPath([&](const char* path) {
            const QImage result = convolution.convoluteColor(image);
            const QRgb* pixels = reinterpret_cast<const QRgb*>(result.constBits());
            for (int y = 1; y < 4095; ++y)
                for (int x = 1; x < 4095; ++x)
                    if ((y * 4096 + x) % 7 == 0 && pixels[y * 4096 + x] != expected[y * 4096 + x])
                        QFAIL(qPrintable(QString("%1: colour %2").arg(path).arg(y * 4096 + x, 6, 16)));
        });
    }

    void sobelCombinedMatchesItsParts()
    {
        for (const QSize& size : {QSize(3, 3), QSize(9, 4), QSize(40, 6)}) {
            const QImage image = randomImage(size.width(), size.height(), unsigned(size.width()));
            ZelConvolution parts(ZelConvolution::confSobel);
            parts.configureSobelH();
            const QImage horizontal = parts.convoluteBW(image);
            parts.configureSobelV();
            QCOMPARE(ZelConvolution(ZelConvolution::confSobel).sobelCombined(image), parts.combine(horizontal, parts.convoluteBW(image)));
        }
    }

    void pixelOperations_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QRgb>("pixel"); // of a 19 x 3 picture, wide enough for the vector paths
        QTest::addColumn<double>("value");
        QTest::addColumn<QRgb>("expected"); // of every pixel but the convolutions' borders
        const auto row = [](const char* name, const char* operation, QRgb pixel, double value, QRgb expected) {
            QTest::newRow(name) << operation << pixel << value << expected;
        };
        // Green and blue are noise; only red counts. Laplace: |127 * 200 - 128 * 100| / 127 = 99.
        row("grey from red: Laplace", "bwFromMax", qRgba(200, 255, 0, 33), 100, qRgba(99, 99, 99, 33));
        row("maximum of the channels", "max", qRgba(10, 200, 30, 40), 0, qRgba(200, 200, 200, 40));
        // ((255 - c) * 2) mod 256: 0 gives 510 -> 254, 128 gives 254, 255 gives 0; 127 -> 0, 1 -> 252,
        // 200 -> 110.
        row("invert wraps", "invert", qRgba(0, 128, 255, 17), 0, qRgba(254, 254, 0, 17));
        row("invert wraps again", "invert", qRgba(127, 1, 200, 255), 0, qRgba(0, 252, 110, 255));
        // sqrt(h^2 + v^2) modulo 256 with the horizontal picture's alpha; v is the value.
        row("combine 3, 4", "combine", qRgba(3, 3, 3, 66), 4, qRgba(5, 5, 5, 66));
        row("combine 255, 255: 360.6 wraps", "combine", qRgba(255, 255, 255, 66), 255, qRgba(104, 104, 104, 66));
        row("combine 181, 181: 255.97", "combine", qRgba(181, 181, 181, 66), 181, qRgba(255, 255, 255, 66));
        // (200, 100, 50): v 200, s 191, hue 20. s * 0.5 = 95: setHsv(20, 95, 200) = (200, 150, 125).
        row("saturation half", "saturation", qRgba(200, 100, 50, 128), 0.5, qRgba(200, 150, 125, 128));
        row("saturation zero", "saturation", qRgba(200, 100, 50, 128), 0.0, qRgba(200, 200, 200, 128));
        row("saturation of grey", "saturation", qRgba(90, 90, 90, 7), 3.0, qRgba(90, 90, 90, 7));
        // 191 * 2 = 382, or not a number: QColor rejects the colour, the pixel turns black, its alpha kept.
        row("saturation above 255: black", "saturation", qRgba(200, 100, 50, 128), 2.0, qRgba(0, 0, 0, 128));
        row("saturation negative: black", "saturation", qRgba(200, 100, 50, 128), -1.0, qRgba(0, 0, 0, 128));
        row("saturation nan: black", "saturation", qRgba(90, 90, 90, 9), std::nan(""), qRgba(0, 0, 0, 9));
        // Alpha x factor into 0 ... 4294967295, modulo 256 (deliberately not clamped); black.
        row("shadow 0.5 of 255", "shadow", 0xFF8090A0u, 0.5, 0x7F000000u);
        row("shadow 2 wraps", "shadow", 0xFF102030u, 2.0, 0xFE000000u);
        row("shadow negative", "shadow", 0xFF102030u, -1.0, 0x00000000u);
        row("shadow nan", "shadow", 0xFF102030u, std::nan(""), 0x00000000u);
        row("shadow huge: 4294967295", "shadow", 0xFF102030u, 1e300, 0xFF000000u);
        // alpha * (255 - mask) / 255, colours kept; only the mask's lowest byte counts.
        row("mask 128 on opaque", "mask", 0xFF102030u, 0xFF808080u, 0x7F102030u);
        row("white mask clears", "mask", 0xFF102030u, 0xFFFFFFFFu, 0x00102030u);
        row("black mask keeps", "mask", 0xC0102030u, 0xFF000000u, 0xC0102030u);
        row("mask's blue byte: 100 * 127 / 255", "mask", 0x64102030u, 0x00FF0080u, 0x31102030u);
        row("grey mask image reads as its level", "greyMask", 0x64102030u, 0xFF808080u, 0x31102030u);
        // (11 * 200 + 16 * 100 + 5 * 50) >> 5 = 126; (5 * 255) >> 5 = 39.
        row("grey levels", "grey", qRgba(200, 100, 50, 255), 0, qRgb(126, 126, 126));
        row("grey levels of blue", "grey", qRgb(0, 0, 255), 0, qRgb(39, 39, 39));
        row("fill is opaque", "fill", 0x00000000u, 0, 0xFF0A141Eu);
        // Toward white by value / 1000 of the way (a table for 1000 steps): (667 * 10 + 333 * 255) /
        // 1000 = 91.59, opaque.
        row("morph 1 of 2", "morph", 0xFF000000u, 500, 0xFF7F7F7Fu);
        row("morph 333 of 1000", "morph", 0xFF0A0A0Au, 333, 0xFF5B5B5Bu);
        row("morph 0: a, opaque", "morph", 0x40102030u, 0, 0xFF102030u);
    }
    void pixelOperations()
    {
        QFETCH(QString, operation);
        QFETCH(QRgb, pixel);
        QFETCH(double, value);
        QFETCH(QRgb, expected);
        ZelConvolution convolution(ZelConvolution::confLaplace);
        QImage image = filled(19, 3, pixel);
        forEachVectorPath([&](const char* path) {
            QImage result = image;
            if (operation == "bwFromMax") {
                QVector<QRgb> pixels(19 * 3, qRgba(int(value), 7, 250, 255));
                pixels[20] = pixel;
                result = convolution.convoluteBWFromMax(imageOf(19, pixels)).copy(1, 1, 1, 1);
            } else if (operation == "max") {
                result = convolution.createMaxImage(image);
            } else if (operation == "invert") {
                result = convolution.invert(image);
            } else if (operation == "combine") {
                result = convolution.combine(image, filled(19, 3, qRgb(int(value), int(value), int(value))));
            } else if (operation == "saturation") {
                result = ZelEditImageManipulator::changeSaturation(image, value);
            } else if (operation == "shadow") {
                ZelEditImageManipulator::convertAlphamask2ShadowImage(&result, value);
            } else if (operation == "mask" || operation == "greyMask") {
                const QImage mask = filled(19, 3, QRgb(value), operation == "mask" ? QImage::Format_ARGB32 : QImage::Format_Grayscale8);
                ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, &result);
            } else if (operation == "grey") {
                result = image.copy(); // deliberately in place, for every image sharing the data
                ZelEditImageManipulator::toGrayscale(&result);
            } else if (operation == "fill") {
                ZelEditImageManipulator::fillImage(&result, QColor(10, 20, 30, 40));
            } else {
                result = ZelEditImageManipulator::morph(image, filled(19, 3, 0xFFFFFFFFu), int(value), 1000);
            }
            for (int y = 0; y < result.height(); ++y)
                for (int x = 0; x < result.width(); ++x)
                    QVERIFY2(result.pixel(x, y) == expected, qPrintable(QString("%1 (%2, %3): %4").arg(path).arg(x).arg(y).arg(result.pixel(x, y), 8, 16)));
        });
    }

    void saturationAndMorphMatchDefinitions()
    {
        // Saturation 0.5 for every colour, 1.3 (which turns many colours black) for every 17th,
        // against QColor.
        const QImage image = everyColour();
        gPreviousHandler = qInstallMessageHandler(quietQColor);
        for (const double factor : {0.5, 1.3}) {
            const int stride = factor < 1 ? 1 : 17;
            QVector<QRgb> expected(1 << 24);
            for (int rgb = 0; rgb < (1 << 24); rgb += stride)
                expected[rgb] = referenceSaturation(0xFF000000u | quint32(rgb), factor);
            forEachVectorPath([&](const char* path) {
                const QImage result = ZelEditImageManipulator::changeSaturation(image, factor);
                const QRgb* pixels = reinterpret_cast<const QRgb*>(result.constBits());
                for (int rgb = 0; rgb < (1 << 24); rgb += stride)
                    if (pixels[rgb] != expected[rgb])
                        QFAIL(qPrintable(QString("%1, factor %2: %3").arg(path).arg(factor).arg(rgb, 6, 16)));
            });
        }
        qInstallMessageHandler(gPreviousHandler);
        // ((steps - step) a + step b) / steps per channel of QImage::pixel, opaque, in the format of a
        // (indexed: RGB32). Out of order: opaque black in a's size.
        const QList<QVector<int>> morphs{{3, 8, QImage::Format_ARGB32}, {7, 128, QImage::Format_RGB32}, {3, 257, QImage::Format_ARGB32},
                                         {40, 60, QImage::Format_ARGB32_Premultiplied}, {2, 5, QImage::Format_Indexed8},
                                         {INT_MAX - 1, INT_MAX, QImage::Format_ARGB32}, {3, 2, QImage::Format_ARGB32},
                                         {-1, 2, QImage::Format_ARGB32}, {0, 0, QImage::Format_ARGB32}, {1, 2, -1}};
        for (const QVector<int>& morph : morphs) {
            const int step = morph[0], steps = morph[1];
            const QImage::Format format = QImage::Format(morph[2] < 0 ? QImage::Format_ARGB32 : morph[2]);
            const bool indexed = format == QImage::Format_Indexed8;
            const QImage a = indexed ? imageOf(3, {1, 0xFF102030u, 0x80FFFFFFu}, format) : randomImage(13, 5, 1).convertToFormat(format);
            const QImage b = indexed ? imageOf(3, {0xFF302010u, 7, 0xFFFFFFFFu}, format)
                                     : randomImage(13, morph[2] < 0 ? 4 : 5, 2).convertToFormat(format); // sizes differ
            const QImage result = ZelEditImageManipulator::morph(a, b, step, steps);
            QCOMPARE(result.format(), indexed ? QImage::Format_RGB32 : format);
            QCOMPARE(result.size(), a.size());
            const bool valid = steps > 0 && step >= 0 && step <= steps && a.size() == b.size();
            for (int y = 0; y < a.height(); ++y) {
                for (int x = 0; x < a.width(); ++x) {
                    const QRgb pa = a.pixel(x, y), pb = valid ? b.pixel(x, y) : 0;
                    auto channel = [&](int va, int vb) { return int(((qint64(steps) - step) * va + qint64(step) * vb) / steps); };
                    const QRgb expected = valid ? qRgb(channel(qRed(pa), qRed(pb)), channel(qGreen(pa), qGreen(pb)), channel(qBlue(pa), qBlue(pb)))
                                                : 0xFF000000u;
                    QCOMPARE(result.pixel(x, y), expected);
                }
            }
        }
    }

    void statistics_data()
    {
        QTest::addColumn<QString>("measure");
        QTest::addColumn<QImage>("image");
        QTest::addColumn<int>("n");
        QTest::addColumn<qint64>("expected");
        QImage corner = filled(3, 3, 0xFF000000u);
        corner.setPixel(0, 0, 0xFFFFFFFFu);
        QImage shifted = filled(6, 6, 0xFF000000u);
        shifted.setPixel(1, 0, 0xFFFFFFFFu);
        const auto stripes = [](int width, int height, QRgb colour) {
            QImage image(width, height, QImage::Format_RGB32);
            for (int x = 0; x < width; ++x)
                for (int y = 0; y < height; ++y)
                    image.setPixel(x, y, x % 4 >= 2 ? colour : 0xFF000000u);
            return image;
        };
        // gy = gx = 255 at the one interior pixel: 2 * (65025 >> 4) = 8128, / 3 / 3 = 903.
        QTest::newRow("Sobel, corner") << "sobel" << corner << 1 << qint64(903);
        // n = 2: a 3 x 3 canvas showing the image shifted by (6 - 3) / 2 = 1: the white pixel (1, 0)
        // lands right of the centre: gx = -510, 260100 >> 4 = 16256, / 3 / 3 = 1806.
        QTest::newRow("Sobel, n 2 shifts") << "sobel" << shifted << 2 << qint64(1806);
        // Stripes 0, 0, 255, 255: each interior pixel adds 1020^2 >> 4 = 65025, 98 a row: 298 * 98 *
        // 65025 / 100 / 300 = 63299.
        QTest::newRow("Sobel, stripes") << "sobel" << stripes(100, 300, 0xFFFFFFFFu) << 1 << qint64(63299);
        // 316 rows: the sum passes 2000000000 in row 314 at the 84th pixel: 2000038950 / 100 / 314.
        QTest::newRow("Sobel beyond int") << "sobel" << stripes(100, 316, 0xFFFFFFFFu) << 1 << qint64(63695);
        QTest::newRow("Sobel, n 0") << "sobel" << corner << 0 << qint64(0);
        QTest::newRow("Sobel, n beyond the image") << "sobel" << corner << 100 << qint64(0);
        // Red stripes in 30 x 30: 10 x 10 sampled pixels, each with t = 65025 for red gx and t^2 =
        // 4228250625, as a signed 32-bit value -66716671: / 30 / 30.
        QTest::newRow("colour Sobel wraps negative") << "colour" << stripes(30, 30, 0xFFFF0000u) << 1 << qint64(-7412963);
        // Green 100: t = 400^2 >> 4 = 10000, t^2 = 10^8 per pixel; a limit of 2.5 * 10^9 is passed at
        // the sixth pixel of row 3: 2.6 * 10^9 / 30 / 3.
        QTest::newRow("colour Sobel beyond a limit") << "limit" << stripes(30, 30, 0xFF006400u) << 1 << qint64(28888888);
        QTest::newRow("colour Sobel, h' 20") << "colour" << filled(100, 20, 0xFFFF0000u) << 1 << qint64(0);
        // Three interior pixels of red 100: 300 / 5 / 3 = 20 and 30000 / 5 / 3 = 2000.
        QImage small = filled(5, 3, 0xFF000000u);
        for (int x = 1; x <= 3; ++x)
            small.setPixel(x, 1, 0xFF640000u);
        QTest::newRow("edges per pixel") << "edges" << small << 0 << qint64(20) * 100000 + 2000;
        // Red 255, 100 wide: the squares pass 2000000000 in row 314 at pixel 84: 255 * (313 * 98 + 84)
        // / 100 / 314 = 249, 2000038950 / 100 / 314 = 63695.
        QTest::newRow("edges stop at the limit") << "edges" << filled(100, 400, 0xFFFF0000u) << 0 << qint64(249) * 100000 + 63695;
    }
    // Edge statistics; a sum beyond its range falls back to the rows so far and names the row.
    void statistics()
    {
        QFETCH(QString, measure);
        QFETCH(QImage, image);
        QFETCH(int, n);
        const ZelConvolution convolution(ZelConvolution::confSobel);
        if (QByteArray(QTest::currentDataTag()) == "Sobel beyond int")
            QTest::ignoreMessage(QtWarningMsg, "Sobel sprengt Integerbereich, fallback used Zeile 314");
        if (measure == "limit")
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Integerbereich"));
        qint64 value = 0;
        if (measure == "sobel")
            value = convolution.averageSobel(image, n);
        else if (measure == "colour")
            value = convolution.averageColorSobel(image, n);
        else if (measure == "limit")
            value = zelAverageColorSobel(image, n, 2500000000LL);
        else
            value = convolution.edgesPerPixel(image).first * qint64(100000) + convolution.edgesPerPixel(image).second;
        QTEST(value, "expected");
    }

    void wordDividerAndKernelFit()
    {
        QVector<int> divisors{1023, 1024, 4095, 16383, 16384, 32767};
        for (int d = 2; d <= 600; ++d)
            divisors << d;
        for (const int d : divisors) {
            const ZelWordDivider divider(d);
            for (int n = 0; n < 32768; ++n)
                if (divider.divide(n) != n / d)
                    QFAIL(qPrintable(QString("%1 / %2").arg(n).arg(d)));
        }
        for (int configuration = 0; configuration <= 10; ++configuration) {
            const ZelConvolution convolution(static_cast<ZelConvolution::convolutionConfiguration>(configuration));
            QVERIFY(zelKernelFitsWords(convolution.myKernel, convolution.totalWeight() / 2));
        }
        const int large[9] = {130, 0, 0, 0, 0, 0, 0, 0, 0};
        QVERIFY(!zelKernelFitsWords(large, 65));
        const int laplace[9] = {-16, -16, -16, -16, 127, -16, -16, -16, -16};
        QVERIFY(!zelKernelFitsWords(laplace, 1));
    }

    // Hue and HSV to RGB of the vector code against the inline functions, for every input (the
    // table gather is read for every index by the every-colour tests on the AVX2 path).
    void vectorCodeMatchesInline()
    {
#if ZEL_HAVE_AVX2_PATH
        if (!zelBatchUsesAvx2())
            QSKIP("the processor has no AVX2");
        for (const auto compare : {compareHueAvx2, compareChromaticHsvToRgbAvx2}) {
            const QString failure = compare();
            QVERIFY2(failure.isEmpty(), qPrintable(failure));
        }
#else
        QSKIP("no AVX2 code in this build");
#endif
    }

    void geometryMatchesQt()
    {
        for (const QSize& size : {QSize(100, 37), QSize(70, 1), QSize(1, 70)}) {
            const QImage image = randomImage(size.width(), size.height(), 4);
            QCOMPARE(ZelEditImageManipulator::rotateCW(image), image.transformed(QMatrix().rotate(90)));
            QCOMPARE(ZelEditImageManipulator::rotateCCW(image), image.transformed(QMatrix().rotate(-90)));
            QCOMPARE(ZelEditImageManipulator::rotateNicely(image, 1), image.transformed(QMatrix().rotate(90)));
            QCOMPARE(ZelEditImageManipulator::rotateNicely(image, -90), image.transformed(QMatrix().rotate(-90)));
            QCOMPARE(ZelEditImageManipulator::mirrorHorizontal(image), image.mirrored(true, false));
            QCOMPARE(ZelEditImageManipulator::mirrorVertical(image), image.mirrored(false, true));
        }
        const QImage indexed = imageOf(2, {0xFF000001u, 0xFF000002u, 0xFF000003u, 0xFF000004u}, QImage::Format_Indexed8);
        QCOMPARE(ZelEditImageManipulator::mirrorHorizontal(indexed), indexed.convertToFormat(QImage::Format_RGB32).mirrored(true, false));
        QCOMPARE(ZelEditImageManipulator::rotateCW(indexed).format(), QImage::Format_RGB32);
        const QImage image = randomImage(6, 5, 9);
        QCOMPARE(ZelEditImageManipulator::crop(image, QRect(QPoint(4, 3), QPoint(2, 1))), image.copy(QRect(2, 1, 3, 3)));
    }

    void cropGuides_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("type");
        QTest::addColumn<QRect>("rect");
        const QSize landscape(8, 4), portrait(4, 8);
        QTest::newRow("free") << landscape << int(ZelCropFree) << QRect(0, 0, 8, 4);
        QTest::newRow("1:1") << landscape << int(ZelCrop1x1) << QRect(2, 0, 4, 4);
        // 4 * 4 / 3 = 5.33 -> 5, centred with the odd pixel cut on the right.
        QTest::newRow("4:3") << landscape << int(ZelCrop4x3) << QRect(1, 0, 5, 4);
        QTest::newRow("3:2") << landscape << int(ZelCrop3x2) << QRect(1, 0, 6, 4);
        QTest::newRow("16:9") << landscape << int(ZelCrop16x9) << QRect(0, 0, 7, 4);
        QTest::newRow("3:4") << landscape << int(ZelCrop3x4) << QRect(2, 0, 3, 4);
        QTest::newRow("2:3") << landscape << int(ZelCrop2x3) << QRect(2, 0, 3, 4);
        QTest::newRow("9:16") << landscape << int(ZelCrop9x16) << QRect(3, 0, 2, 4);
        // Portrait: the height is cut; 4 / (16 / 9) = 2.25 -> 2.
        QTest::newRow("portrait 1:1") << portrait << int(ZelCrop1x1) << QRect(0, 2, 4, 4);
        QTest::newRow("portrait 16:9") << portrait << int(ZelCrop16x9) << QRect(0, 3, 4, 2);
        QTest::newRow("exact 4:3 is not cut") << QSize(4000, 3000) << int(ZelCrop4x3) << QRect(0, 0, 4000, 3000);
        QTest::newRow("at least one pixel") << QSize(1, 100) << int(ZelCrop16x9) << QRect(0, 49, 1, 1);
        QTest::newRow("unknown type is free") << landscape << 99 << QRect(0, 0, 8, 4);
    }
    // The rectangle, the crop, the red lines at its edges and the border painted outside it.
    void cropGuides()
    {
        QFETCH(QSize, size);
        QFETCH(int, type);
        QFETCH(QRect, rect);
        const ZelCropType cropType = static_cast<ZelCropType>(type);
        QCOMPARE(ZelEditImageManipulator::cropRect(size, cropType), rect);
        const QImage image = filled(size.width(), size.height(), 0xFF204060u, QImage::Format_Indexed8);
        QCOMPARE(ZelEditImageManipulator::crop(image, cropType), image.copy(rect));
        const bool cut = rect.size() != size;
        const QImage lines = ZelEditImageManipulator::paintRedLines(image, double(rect.width()) / rect.height());
        QColor blue(0, 0, 255, 128); // blended: half blue over (32, 64, 96) is (16, 32, 176)
        const QImage border = ZelEditImageManipulator::paintBorder(image.convertToFormat(QImage::Format_ARGB32), blue, cropType);
        QCOMPARE(lines.format(), QImage::Format_RGB32);
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x) {
                const bool edge = cut && (rect.width() < size.width() ? x == rect.left() || x == rect.right() : y == rect.top() || y == rect.bottom());
                QCOMPARE(lines.pixel(x, y), edge ? 0xFFFF0000u : 0xFF204060u);
                const QRgb outside = border.pixel(x, y);
                QVERIFY(rect.contains(x, y) ? outside == 0xFF204060u : qAbs(qRed(outside) - 16) <= 1 && qAbs(qBlue(outside) - 176) <= 1);
            }
        }
        if (type == ZelCrop1x1) {
            QCOMPARE(ZelEditImageManipulator::paintRedLines(image, ZelCrop1x1, QSizeF()), lines);
            QCOMPARE(ZelEditImageManipulator::paintRedLines(image, ZelCropFree, QSizeF(3, 3)), lines);
        }
    }

    void predicates()
    {
        QImage translucent = filled(3, 3, 0xFF808080u);
        translucent.setPixel(2, 2, 0xFE808080u);
        QImage transparentIndex = filled(2, 1, 0xFF000000u, QImage::Format_Indexed8);
        transparentIndex.setColorTable({0x00000000u});
        QImage blackWhite = filled(3, 3, 0xFFFFFFFFu);
        blackWhite.setPixel(1, 1, 0xFF000000u);
        QImage grey = blackWhite;
        grey.setPixel(2, 2, 0xFF010101u);
        const auto alpha = &ZelEditImageManipulator::imageContainsAlphaInformation;
        const auto mono = &ZelEditImageManipulator::whouldMonoBePossible;
        QCOMPARE((QList<bool>{alpha(filled(3, 3, 0x00FFFFFFu, QImage::Format_RGB32)), alpha(filled(3, 3, 0xFF808080u)), alpha(translucent),
                              alpha(transparentIndex)}),
                 (QList<bool>{false, false, true, true}));
        QCOMPARE((QList<bool>{mono(blackWhite), mono(filled(3, 3, 0xFF000000u, QImage::Format_Indexed8)), mono(grey),
                              mono(filled(3, 3, 0xFEFFFFFFu))}),
                 (QList<bool>{true, true, false, false}));
        // Without an interior the convolutions give transparent black; pictures of different sizes
        // do not combine; a kernel whose total weight leaves a divisor of 0 computes nothing.
        ZelConvolution sharpen(ZelConvolution::confSharpen);
        QCOMPARE(sharpen.convoluteColor(filled(2, 5, 0xFF808080u)), filled(2, 5, 0u));
        QCOMPARE(sharpen.convoluteBW(filled(5, 2, 0xFF808080u)), filled(5, 2, 0u));
        QVERIFY(sharpen.combine(filled(3, 3, 0xFFFFFFFFu), filled(2, 3, 0xFFFFFFFFu)).isNull());
        std::fill(sharpen.myKernel, sharpen.myKernel + 9, 0);
        sharpen.myKernel[4] = 1; // grey divisor 1 / 2, colour divisor 1 / 4
        QVERIFY(sharpen.convoluteBW(filled(4, 4, 0xFF808080u)).isNull());
        QVERIFY(sharpen.convoluteColor(filled(4, 4, 0xFF808080u)).isNull());
        // The mask steps leave pictures of the wrong format or size alone.
        QImage rgb = filled(3, 2, 0xFF102030u, QImage::Format_RGB32), argb = filled(3, 2, 0xFF102030u);
        const QImage mask = filled(3, 2, 0xFFFFFFFFu), small = filled(2, 2, 0xFFFFFFFFu);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("mismatch"));
        ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(&small, &argb);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Format_ARGB32"));
        ZelEditImageManipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, &rgb);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Format_ARGB32"));
        ZelEditImageManipulator::convertAlphamask2ShadowImage(&rgb, 0.5);
        QCOMPARE(argb.pixel(0, 0), 0xFF102030u);
        QCOMPARE(rgb.pixel(0, 0), 0xFF102030u);
    }
};

QTEST_MAIN(TestToolkit)
#include "tst_toolkit.moc"
