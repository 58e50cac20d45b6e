#include "ZelConvolution.h"
#include "ZelConvolution_p.h"
#include "ZelEditImageManipulator.h"
#include "ZelEditImageManipulator_p.h"
#include "ZelHsvBatch_p.h"
#include "ZelImageAllocation_p.h"

#include <QColor>
#include <QColorSpace>
#include <QMatrix>
#include <QtTest>

#include <atomic>
#include <climits>
#include <cmath>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

using PixelOperation = QImage (*)(QImage, double);
Q_DECLARE_METATYPE(PixelOperation)

namespace {

using Manipulator = ZelEditImageManipulator;

QImage filled(int width, int height, QRgb pixel, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(pixel);
    return image.convertToFormat(format, QVector<QRgb>{pixel});
}

QImage randomImage(int width, int height, unsigned seed)
{
    std::mt19937 random(seed);
    QImage image(width, height, QImage::Format_ARGB32);
    std::generate_n(reinterpret_cast<QRgb*>(image.bits()), width * height, [&] { return QRgb(random()); });
    return image;
}

// Every 24-bit colour once, opaque, row by row.
QImage everyColour()
{
    QImage image(4096, 4096, QImage::Format_ARGB32);
    for (quint32 rgb = 0; rgb < (1u << 24); ++rgb)
        reinterpret_cast<QRgb*>(image.bits())[rgb] = 0xFF000000u | rgb;
    return image;
}

ZelConvolution convolutionOf(int configuration)
{
    return ZelConvolution(static_cast<ZelConvolution::convolutionConfiguration>(configuration));
}

// The colour step through QColor: the pixel takes the level c as its HSV value, weakly saturated
// ones (s below 100) blended with the source by s : 150 - s, and a value only above 100.
QRgb referenceColourStep(QRgb pixel, int c)
{
    const QColor in(pixel);
    int h, s, v;
    in.getHsv(&h, &s, &v);
    QColor out = QColor::fromHsv(h, s, s > 99 || c > 100 ? c : v);
    if (s <= 99)
        out = QColor((out.red() * s + in.red() * (150 - s)) / 150, (out.green() * s + in.green() * (150 - s)) / 150,
                     (out.blue() * s + in.blue() * (150 - s)) / 150);
    return s == 0 ? pixel : (pixel & 0xFF000000u) | (out.rgb() & 0x00FFFFFFu);
}

// The grey and colour convolutions as their definitions read, pixel by pixel: the level is
// |kernel over the channel maxima| / divisor modulo 256. Border pixels copy their inner neighbours.
QImage referenceConvolution(const QImage& image, const int kernel[9], int divisor, bool colour)
{
    const int w = image.width(), h = image.height();
    QImage result(image.size(), image.format());
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const int cx = qBound(1, x, w - 2), cy = qBound(1, y, h - 2);
            int sum = 0;
            for (int i = 0; i < 9; ++i) {
                const QRgb p = image.pixel(cx + i % 3 - 1, cy + i / 3 - 1);
                sum += kernel[i] * qMax(qRed(p), qMax(qGreen(p), qBlue(p)));
            }
            const int v = (std::abs(sum) / divisor) % 256;
            const QRgb p = image.pixel(cx, cy);
            result.setPixel(x, y, colour ? referenceColourStep(p, v) : qRgba(v, v, v, qAlpha(p)));
        }
    }
    return result;
}

QImage referenceSaturation(QImage image, double factor)
{
    QRgb* pixels = reinterpret_cast<QRgb*>(image.bits());
    for (int i = 0; i < image.width() * image.height(); ++i) {
        int h, s, v;
        QColor(pixels[i]).getHsv(&h, &s, &v);
        QColor colour;
        colour.setHsv(h, int(s * factor), v, 255);
        pixels[i] = (pixels[i] & 0xFF000000u) | (colour.rgb() & 0x00FFFFFFu);
    }
    return image;
}

// With the pixel loops' AVX2 code (where the processor has it) and without.
template <typename Check>
void forEachVectorPath(Check check)
{
    zelSetBatchAvx2Allowed(false);
    check("scalar");
    zelSetBatchAvx2Allowed(true);
    if (zelBatchUsesAvx2())
        check("avx2");
}

} // namespace

class TestToolkit : public QObject
{
    Q_OBJECT

private slots:
    // First: it needs the fade table not to exist yet.
    void fadeTableIsCreatedOnceByConcurrentCallers()
    {
        QCOMPARE(zelFadeTableCreations(), 0);
        std::atomic<int> waiting{8};
        std::vector<QImage> images(8, filled(16, 16, 0xFF102030u));
        const QImage mask = filled(16, 16, 0xFF808080u);
        std::vector<std::thread> threads;
        for (QImage& image : images)
            threads.emplace_back([&, target = &image] {
                for (waiting.fetch_sub(1); waiting.load() > 0;) // all ask for the table at once
                    std::this_thread::yield();
                Manipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, target);
            });
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(zelFadeTableCreations(), 1);
        for (const QImage& image : images)
            QCOMPARE(image, filled(16, 16, 0x7F102030u)); // 255 * (255 - 128) / 255 = 127
    }

    void configurations_data()
    {
        QTest::addColumn<int>("configuration");
        QTest::addColumn<QVector<int>>("kernel");
        QTest::addColumn<int>("totalWeight");
        QTest::addColumn<QString>("pipeline");
        const QVector<int> sobelH{1, 2, 1, 0, 0, 0, -1, -2, -1}, laplace{-16, -16, -16, -16, 127, -16, -16, -16, -16};
        const QList<std::tuple<QVector<int>, int, QString>> rows{
            {sobelH, 8, "colour"}, {laplace, 255, "invert grey"}, {sobelH, 8, "invert sobel"}, {sobelH, 8, "sobel"},
            {{1, 0, -1, 2, 0, -2, 1, 0, -1}, 8, "grey"}, {sobelH, 8, "grey"},
            {{0, -16, 0, 0, 80, -16, 0, -16, 0}, 128, "colour"}, // deliberately lopsided: left 0, right -16
            {{1, 0, 1, 0, 0, 0, 1, 0, -2}, 5, "grey"}, {{-4, -4, -4, -4, 64, -4, -4, -4, -4}, 96, "colour"},
            {{2, 2, 2, 2, 0, 2, 2, 2, 2}, 16, "colour"}, {laplace, 255, "grey"}};
        for (int c = -1; c <= 11; ++c) { // out of range: like 0
            const auto& [kernel, totalWeight, pipeline] = rows[c < 0 || c > 10 ? 0 : c];
            QTest::addRow("%d %s", c, qPrintable(pipeline)) << c << kernel << totalWeight << pipeline;
        }
    }
    // The kernel of each configuration, and convolute() on pictures 3 to 37 wide (borders and tails
    // of the vector paths) against the definitions of its steps.
    void configurations()
    {
        QFETCH(int, configuration);
        QFETCH(QVector<int>, kernel);
        QFETCH(int, totalWeight);
        QFETCH(QString, pipeline);
        ZelConvolution convolution = convolutionOf(configuration);
        QCOMPARE(QVector<int>(convolution.myKernel, convolution.myKernel + 9), kernel);
        QCOMPARE(convolution.totalWeight(), totalWeight);
        const bool colour = pipeline == "colour";
        const int sobelV[9] = {1, 0, -1, 2, 0, -2, 1, 0, -1};
        for (const int width : {3, 4, 11, 37}) {
            const QImage image = randomImage(width, 7, unsigned(configuration * 100 + width));
            QImage expected = referenceConvolution(image, kernel.data(), totalWeight / (colour ? 4 : 2), colour);
            if (pipeline.endsWith("sobel"))
                expected = convolution.combine(expected, referenceConvolution(image, sobelV, 4, false));
            if (pipeline.startsWith("invert"))
                expected = convolution.invert(expected);
            forEachVectorPath([&](const char* path) { QVERIFY2(convolution.convolute(image) == expected, path); });
        }
    }

    void pixelOperations_data()
    {
        QTest::addColumn<PixelOperation>("operation");
        QTest::addColumn<QRgb>("pixel"); // of a 19 x 3 picture, wide enough for the vector paths
        QTest::addColumn<double>("value");
        QTest::addColumn<QRgb>("expected"); // of every pixel
        const auto row = [](const char* name, PixelOperation operation, QRgb pixel, double value, QRgb expected) {
            QTest::newRow(name) << operation << pixel << value << expected;
        };
        const auto bwFromMax = [](QImage image, double red) { // of the pixel's neighbours
            QImage around = filled(19, 3, qRgba(int(red), 7, 250, 255));
            around.setPixel(1, 1, image.pixel(1, 1));
            return convolutionOf(10).convoluteBWFromMax(around).copy(1, 1, 1, 1);
        };
        const auto max = [](QImage i, double) { return convolutionOf(10).createMaxImage(i); };
        const auto invert = [](QImage i, double) { return convolutionOf(10).invert(i); };
        const auto combine = [](QImage i, double v) { return convolutionOf(10).combine(i, filled(19, 3, QRgb(v))); };
        const auto convolute = [](QImage i, double c) { return convolutionOf(int(c)).convolute(i); };
        const auto saturation = [](QImage i, double f) { return Manipulator::changeSaturation(i, f); };
        const auto shadow = [](QImage i, double f) { return Manipulator::convertAlphamask2ShadowImage(&i, f), i; };
        const auto mask = [](QImage i, double v) { // negative: a grey mask image
            const QImage mask = filled(19, 3, QRgb(std::abs(v)), v < 0 ? QImage::Format_Grayscale8 : i.format());
            return Manipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, &i), i;
        };
        const auto grey = [](QImage i, double) { return i = i.copy(), Manipulator::toGrayscale(&i), i; }; // in place
        const auto fill = [](QImage i, double) { return Manipulator::fillImage(&i, QColor(10, 20, 30, 40)), i; };
        // Green and blue are noise; only red counts. Laplace: |127 * 200 - 128 * 100| / 127 = 99.
        row("grey from red: Laplace", bwFromMax, qRgba(200, 255, 0, 33), 100, qRgba(99, 99, 99, 33));
        row("maximum of the channels", max, qRgba(10, 200, 30, 40), 0, qRgba(200, 200, 200, 40));
        row("invert: (255 - c) * 2 mod 256", invert, qRgba(0, 128, 255, 17), 0, qRgba(254, 254, 0, 17));
        // sqrt(h^2 + v^2) truncated, modulo 256, with the horizontal picture's alpha; v is the value.
        row("combine: 360.6 wraps", combine, qRgba(255, 255, 255, 66), 0xFFFFFFFFu, qRgba(104, 104, 104, 66));
        row("combine: 255.97", combine, qRgba(181, 181, 181, 66), qRgb(181, 181, 181), qRgba(255, 255, 255, 66));
        // Flat pictures, sharpened (8). Maximum 200: 32 * 200 / 24 = 266 wraps to 10, saturated red of
        // value 10 is (10, 0, 0). Maximum 90: 120 > 100 becomes the value; s 51, hue 26:
        // setHsv(26, 51, 120) = (120, 106, 96), blended with (90, 80, 72) by 51 : 99 / 150.
        row("sharpen red: wraps to 10", convolute, qRgba(200, 0, 0, 90), 8, qRgba(10, 0, 0, 90));
        row("sharpen weakly saturated: blended", convolute, qRgba(90, 80, 72, 255), 8, qRgba(100, 88, 80, 255));
        row("saturation negative: rejected, black", saturation, qRgba(200, 100, 50, 128), -1.0, qRgba(0, 0, 0, 128));
        row("saturation nan: black", saturation, qRgba(90, 90, 90, 9), std::nan(""), qRgba(0, 0, 0, 9));
        // Alpha x factor into 0 ... 4294967295, modulo 256 (deliberately not clamped); black.
        row("shadow 2 wraps", shadow, 0xFF102030u, 2.0, 0xFE000000u);
        row("shadow negative", shadow, 0xFF102030u, -1.0, 0x00000000u);
        row("shadow nan", shadow, 0xFF102030u, std::nan(""), 0x00000000u);
        row("shadow huge: 4294967295", shadow, 0xFF102030u, 1e300, 0xFF000000u);
        // alpha * (255 - mask) / 255, colours kept; only the mask's lowest byte counts.
        row("mask's blue byte: 100 * 127 / 255", mask, 0x64102030u, 0x00FF0080u, 0x31102030u);
        row("grey mask image reads as its level", mask, 0x64102030u, -double(0xFF808080u), 0x31102030u);
        row("grey levels: (11 r + 16 g + 5 b) >> 5", grey, qRgba(200, 100, 50, 255), 0, qRgb(126, 126, 126));
        row("fill is opaque", fill, 0x00000000u, 0, 0xFF0A141Eu);
    }
    void pixelOperations()
    {
        QFETCH(PixelOperation, operation);
        QFETCH(QRgb, pixel);
        QFETCH(double, value);
        QFETCH(QRgb, expected);
        forEachVectorPath([&](const char* path) {
            const QImage result = operation(filled(19, 3, pixel), value);
            QVERIFY2(result == filled(result.width(), result.height(), expected, result.format()), path);
        });
    }

    // The colour step of sharpening (each colour seeing the levels of its neighbours, which vary
    // widely row by row), and saturations 0.5 and 1.3 (which turns many colours black).
    void everyColourMatchesQColor()
    {
        const QImage image = everyColour();
        const ZelConvolution sharpen(ZelConvolution::confSharpen);
        const QImage sharpened = referenceConvolution(image, sharpen.myKernel, 24, true);
        forEachVectorPath([&](const char* path) { QVERIFY2(sharpen.convoluteColor(image) == sharpened, path); });
        QLoggingCategory::setFilterRules("default.warning=false"); // QColor's for every colour it rejects
        for (const double factor : {0.5, 1.3}) {
            const QImage expected = referenceSaturation(image, factor);
            forEachVectorPath([&](const char* path) {
                QVERIFY2(Manipulator::changeSaturation(image, factor) == expected, path);
            });
        }
        QLoggingCategory::setFilterRules(QString());
    }

    // ((n - k) a + k b) / n per channel of QImage::pixel for step k of n, opaque, in the format of a
    // (indexed: RGB32). Out of order, or for b of another size (its rows last): opaque black.
    void morphMatchesDefinition()
    {
        const int argb = QImage::Format_ARGB32;
        const QList<QVector<int>> morphs{
            {3, 8, argb}, {7, 128, QImage::Format_RGB32}, {3, 257, argb}, {333, 1000, argb}, {-1, 2, argb},
            {40, 60, QImage::Format_ARGB32_Premultiplied}, {2, 5, QImage::Format_Indexed8}, {0, 0, argb}, {3, 2, argb},
            {INT_MAX - 1, INT_MAX, argb}, {1, 2, argb, 4}};
        for (const QVector<int>& morph : morphs) {
            const int k = morph[0], n = morph[1];
            const QImage::Format format = QImage::Format(morph[2]);
            const QImage a = randomImage(13, 5, 1).convertToFormat(format);
            const QImage b = randomImage(13, morph.value(3, 5), 2).convertToFormat(format);
            const QImage result = Manipulator::morph(a, b, k, n);
            QCOMPARE(result.format(), format == QImage::Format_Indexed8 ? QImage::Format_RGB32 : format);
            QCOMPARE(result.size(), a.size());
            const bool valid = n > 0 && k >= 0 && k <= n && a.size() == b.size();
            const auto mix = [&](int u, int v) { return int(((qint64(n) - k) * u + qint64(k) * v) / qMax(n, 1)); };
            for (int i = 0; i < a.width() * a.height(); ++i) {
                const int x = i % a.width(), y = i / a.width();
                const QRgb p = a.pixel(x, y), q = valid ? b.pixel(x, y) : 0;
                const QRgb mixed = qRgb(mix(qRed(p), qRed(q)), mix(qGreen(p), qGreen(q)), mix(qBlue(p), qBlue(q)));
                QCOMPARE(result.pixel(x, y), valid ? mixed : 0xFF000000u);
            }
        }
    }

    void statistics_data()
    {
        QTest::addColumn<QString>("measure");
        QTest::addColumn<QImage>("image");
        QTest::addColumn<int>("n");
        QTest::addColumn<qint64>("expected");
        QImage shifted = filled(6, 6, 0xFF000000u);
        shifted.setPixel(1, 0, 0xFFFFFFFFu);
        const auto stripes = [](int width, int height, QRgb colour) { // columns 0, 0, colour, colour, ...
            QImage image = filled(width, height, 0xFF000000u);
            for (int i = 0; i < width * height; ++i)
                image.setPixel(i % width, i / width, i % width % 4 >= 2 ? colour : 0xFF000000u);
            return image;
        };
        // n = 2: a 3 x 3 canvas showing the image shifted by (6 - 3) / 2 = 1: the white pixel (1, 0)
        // lands right of the centre: gx = -510, 260100 >> 4 = 16256 (gy 0), / 3 / 3 = 1806.
        QTest::newRow("Sobel, n 2 shifts") << "sobel" << shifted << 2 << qint64(1806);
        QTest::newRow("Sobel, n 0") << "sobel" << shifted << 0 << qint64(0);
        QTest::newRow("Sobel, n beyond the image") << "sobel" << shifted << 100 << qint64(0);
        // Each interior pixel adds 1020^2 >> 4 = 65025, 98 a row; 2000038950 at row 314, pixel 84: / 100 / 314.
        QTest::newRow("Sobel beyond int") << "sobel" << stripes(100, 316, 0xFFFFFFFFu) << 1 << qint64(63695);
        // 10 x 10 samples of t = 65025 for red gx, t^2 = 4228250625 as a signed 32-bit -66716671.
        QTest::newRow("colour Sobel wraps") << "colour" << stripes(30, 30, 0xFFFF0000u) << 1 << qint64(-7412963);
        // Green 100: t^2 = (400^2 >> 4)^2 = 10^8; 2.5 * 10^9 is passed at row 3, pixel 6: 2.6 * 10^9 / 90.
        QTest::newRow("colour Sobel, limit") << "limit" << stripes(30, 30, 0xFF006400u) << 1 << qint64(28888888);
        // The red of the interior: 3 x 100 / 15 = 20 and 3 x 100^2 / 15 = 2000.
        QTest::newRow("edges per pixel") << "edges" << filled(5, 3, 0xFF640000u) << 0 << qint64(20) * 100000 + 2000;
        // The squares pass 2000000000 in row 314 at pixel 84: 255 * (313 * 98 + 84) / 100 / 314 = 249.
        QTest::newRow("edges stop at the limit") << "edges" << filled(100, 400, 0xFFFF0000u) << 0
                                                 << qint64(249) * 100000 + 63695;
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
        const auto edges = [&] { return convolution.edgesPerPixel(image); };
        QTEST(measure == "sobel"    ? qint64(convolution.averageSobel(image, n))
              : measure == "colour" ? qint64(convolution.averageColorSobel(image, n))
              : measure == "limit"  ? qint64(zelAverageColorSobel(image, n, 2500000000LL))
                                    : edges().first * qint64(100000) + edges().second,
              "expected");
    }

    // The divider of the 16-bit path for every dividend; kernels just inside and beyond 16-bit sums,
    // or with a divisor below 2, against the definition.
    void wordDividerAndCustomKernels()
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
        ZelConvolution custom(ZelConvolution::confSharpen);
        const QImage blackWhite = randomImage(37, 7, 3).convertToFormat(QImage::Format_Mono); // reaches the extremes
        const QImage image = blackWhite.convertToFormat(QImage::Format_ARGB32);
        for (const int weight : {127, 128, 1, 0}) { // divisors weight and (2 weight + 1) / 4; 0 computes nothing
            const int kernel[9] = {weight, 0, 0, 0, 1, 0, 0, 0, -weight};
            std::copy(kernel, kernel + 9, custom.myKernel);
            const auto expected = [&](int divisor, bool colour) {
                return divisor ? referenceConvolution(image, kernel, divisor, colour) : QImage();
            };
            forEachVectorPath([&](const char* path) {
                QVERIFY2(custom.convoluteBW(image) == expected(weight, false), path);
                QVERIFY2(custom.convoluteColor(image) == expected((2 * weight + 1) / 4, true), path);
            });
        }
    }

    void geometryMatchesQt()
    {
        const QImage indexed = randomImage(7, 3, 3).convertToFormat(QImage::Format_Indexed8);
        for (const QImage& image : {randomImage(100, 37, 4), randomImage(70, 1, 5), randomImage(1, 70, 6), indexed}) {
            const QImage words = image.convertToFormat(image.depth() == 8 ? QImage::Format_RGB32 : image.format());
            QCOMPARE(Manipulator::rotateCW(image), words.transformed(QMatrix().rotate(90)));
            QCOMPARE(Manipulator::rotateCCW(image), words.transformed(QMatrix().rotate(-90)));
            QCOMPARE(Manipulator::rotateNicely(image, 1), words.transformed(QMatrix().rotate(90)));
            QCOMPARE(Manipulator::rotateNicely(image, -90), words.transformed(QMatrix().rotate(-90)));
            QCOMPARE(Manipulator::mirrorHorizontal(image), words.mirrored(true, false));
            QCOMPARE(Manipulator::mirrorVertical(image), words.mirrored(false, true));
        }
        const QImage image = randomImage(6, 5, 9);
        QCOMPARE(Manipulator::crop(image, QRect(QPoint(4, 3), QPoint(2, 1))), image.copy(QRect(2, 1, 3, 3)));
    }

    void cropGuides_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("cropType");
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
        QTest::newRow("portrait 16:9: 4 / (16 / 9) = 2.25") << portrait << int(ZelCrop16x9) << QRect(0, 3, 4, 2);
        QTest::newRow("exact 4:3 is not cut") << QSize(40, 30) << int(ZelCrop4x3) << QRect(0, 0, 40, 30);
        QTest::newRow("at least one pixel") << QSize(1, 100) << int(ZelCrop16x9) << QRect(0, 49, 1, 1);
        QTest::newRow("unknown type is free") << landscape << 99 << QRect(0, 0, 8, 4);
    }
    // The rectangle, the crop, the red lines at its edges and the border painted outside it.
    void cropGuides()
    {
        QFETCH(QSize, size);
        QFETCH(int, cropType);
        QFETCH(QRect, rect);
        const ZelCropType type = static_cast<ZelCropType>(cropType);
        QCOMPARE(Manipulator::cropRect(size, type), rect);
        const QImage image = filled(size.width(), size.height(), 0xFF204060u, QImage::Format_Indexed8);
        QCOMPARE(Manipulator::crop(image, type), image.copy(rect));
        const QImage lines = Manipulator::paintRedLines(image, double(rect.width()) / rect.height());
        QColor blue(0, 0, 255, 128); // half over (32, 64, 96): (16, 32, 176)
        const QImage border = Manipulator::paintBorder(image.convertToFormat(QImage::Format_ARGB32), blue, type);
        QCOMPARE(lines.format(), QImage::Format_RGB32);
        const bool cut = rect.size() != size, widthCut = rect.width() < size.width();
        for (int i = 0; i < size.width() * size.height(); ++i) {
            const int x = i % size.width(), y = i / size.width();
            const bool edge = widthCut ? x == rect.left() || x == rect.right() : y == rect.top() || y == rect.bottom();
            QCOMPARE(lines.pixel(x, y), cut && edge ? 0xFFFF0000u : 0xFF204060u);
            const QRgb p = border.pixel(x, y);
            QVERIFY(rect.contains(x, y) ? p == 0xFF204060u : qAbs(qRed(p) - 16) <= 1 && qAbs(qBlue(p) - 176) <= 1);
        }
        if (type == ZelCrop1x1) {
            QCOMPARE(Manipulator::paintRedLines(image, ZelCrop1x1, QSizeF()), lines);
            QCOMPARE(Manipulator::paintRedLines(image, ZelCropFree, QSizeF(3, 3)), lines);
        }
    }

    void predicates()
    {
        QImage translucent = filled(3, 3, 0xFF808080u), blackWhite = filled(3, 3, 0xFFFFFFFFu);
        translucent.setPixel(2, 2, 0xFE808080u);
        blackWhite.setPixel(1, 1, 0xFF000000u);
        QImage grey = blackWhite, transparentIndex = filled(2, 1, 0xFF000000u, QImage::Format_Indexed8);
        grey.setPixel(2, 2, 0xFF010101u);
        transparentIndex.setColorTable({0x00000000u});
        const auto alpha = &Manipulator::imageContainsAlphaInformation;
        const auto mono = &Manipulator::whouldMonoBePossible;
        QCOMPARE((QList<bool>{alpha(filled(3, 3, 0x00FFFFFFu, QImage::Format_RGB32)), alpha(filled(3, 3, 0xFF808080u)),
                              alpha(translucent), alpha(transparentIndex)}), (QList<bool>{false, false, true, true}));
        QCOMPARE((QList<bool>{mono(blackWhite), mono(filled(3, 3, 0xFF000000u, QImage::Format_Indexed8)), mono(grey),
                              mono(filled(3, 3, 0xFEFFFFFFu))}), (QList<bool>{true, true, false, false}));
        // Without an interior: transparent black; pictures of different sizes do not combine.
        const ZelConvolution sharpen(ZelConvolution::confSharpen);
        QCOMPARE(sharpen.convoluteColor(filled(2, 5, 0xFF808080u)), filled(2, 5, 0u));
        QCOMPARE(sharpen.convoluteBW(filled(5, 2, 0xFF808080u)), filled(5, 2, 0u));
        QVERIFY(sharpen.combine(filled(3, 3, 0xFFFFFFFFu), filled(2, 3, 0xFFFFFFFFu)).isNull());
        // The mask steps leave pictures of the wrong format or size alone.
        QImage rgb = filled(3, 2, 0xFF102030u, QImage::Format_RGB32), argb = filled(3, 2, 0xFF102030u);
        const QImage mask = filled(3, 2, 0xFFFFFFFFu), small = filled(2, 2, 0xFFFFFFFFu);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("mismatch"));
        Manipulator::combineBlackWhiteAlphaImageWithRGBAImage(&small, &argb);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Format_ARGB32"));
        Manipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, &rgb);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Format_ARGB32"));
        Manipulator::convertAlphamask2ShadowImage(&rgb, 0.5);
        QCOMPARE(argb.pixel(0, 0), 0xFF102030u);
        QCOMPARE(rgb.pixel(0, 0), 0xFF102030u);
    }

    void largeImageAllocations_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to"); // -1: zelCopyImage, -2: its section (1, 2, 1500, 1400), -3: (7, 7, 0, 0)
        QTest::addColumn<QSize>("size"); // 8 MB of source (copies) or of words (conversions)
        const QSize words(1501, 1400);
        QTest::newRow("copy ARGB32") << int(QImage::Format_ARGB32) << -1 << words;
        QTest::newRow("copy indexed") << int(QImage::Format_Indexed8) << -1 << QSize(2901, 2900);
        QTest::newRow("RGB888 to RGB32") << int(QImage::Format_RGB888) << int(QImage::Format_RGB32) << words;
        QTest::newRow("indexed to ARGB32") << int(QImage::Format_Indexed8) << int(QImage::Format_ARGB32) << words;
        QTest::newRow("mono to ARGB32") << int(QImage::Format_Mono) << int(QImage::Format_ARGB32) << words;
        QTest::newRow("ARGB32 to premultiplied") << int(QImage::Format_ARGB32)
                                                 << int(QImage::Format_ARGB32_Premultiplied) << words;
        QTest::newRow("section of ARGB32") << int(QImage::Format_ARGB32) << -2 << QSize(1601, 1450);
        QTest::newRow("null section of ARGB32") << int(QImage::Format_ARGB32) << -3 << words;
    }
    // Images of several megabytes go to the library's own allocation, band by band through Qt's
    // converter: the pixels, colour table and metadata stay those of copy() and convertToFormat().
    void largeImageAllocations()
    {
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(QSize, size);
        QImage source(size, from == QImage::Format_Indexed8 ? QImage::Format_Indexed8 : QImage::Format_ARGB32);
        QVector<QRgb> colours;
        for (int i = 0; i < 256; ++i)
            colours.append(qRgba(i, 255 - i, i * 7, i ^ 0x5A));
        if (source.depth() == 8)
            source.setColorTable(colours);
        for (int y = 0; y < source.height(); ++y) {
            uchar* bytes = source.scanLine(y);
            QRgb* line = reinterpret_cast<QRgb*>(bytes);
            for (int x = 0; x < source.width(); ++x) {
                if (source.depth() == 8)
                    bytes[x] = uchar(x * 3 + y);
                else
                    line[x] = qRgba(x & 0xFF, y & 0xFF, (x * y) & 0xFF, (x + 3 * y) & 0xFF);
            }
        }
        source = source.convertToFormat(QImage::Format(from));
        source.setText("Author", "Z");
        source.setDotsPerMeterX(1234);
        source.setOffset(QPoint(5, 6));
        source.setColorSpace(QColorSpace::DisplayP3);
        const QRect section = to == -2 ? QRect(1, 2, 1500, 1400) : to == -3 ? QRect(7, 7, 0, 0) : QRect();
        const QImage actual = to <= -2 ? zelCopyImage(source, section)
            : to < 0                   ? zelCopyImage(source)
                                       : zelConvertImage(source, QImage::Format(to));
        const QImage expected = to < 0 ? source.copy(section) : source.convertToFormat(QImage::Format(to));
        QVERIFY(actual.constBits() != source.constBits());
        QCOMPARE(actual.format(), expected.format());
        QCOMPARE(actual.colorTable(), expected.colorTable());
        QCOMPARE(actual.text(), expected.text());
        QCOMPARE(actual.dotsPerMeterX(), expected.dotsPerMeterX());
        QCOMPARE(actual.offset(), expected.offset());
        QCOMPARE(actual.colorSpace(), expected.colorSpace());
        const int rowBytes = (expected.width() * expected.depth() + 7) / 8;
        for (int y = 0; y < expected.height(); ++y)
            QVERIFY2(std::memcmp(actual.constScanLine(y), expected.constScanLine(y), size_t(rowBytes)) == 0,
                     qPrintable(QString("row %1").arg(y)));
    }
};

QTEST_MAIN(TestToolkit)
#include "tst_toolkit.moc"
