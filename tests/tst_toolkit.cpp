#include "ZelConvolution.h"
#include "ZelConvolution_p.h"
#include "ZelEditImageManipulator.h"
#include "ZelEditImageManipulator_p.h"
#include "ZelHsvBatch_p.h"

#include <QColor>
#include <QMatrix>
#include <QtTest>

#include <atomic>
#include <climits>
#include <cmath>
#include <random>
#include <thread>
#include <vector>

using PixelOperation = QImage (*)(QImage, double);
Q_DECLARE_METATYPE(PixelOperation)

namespace {

using Manipulator = ZelEditImageManipulator;

// Indexed images get a table of exactly their colours (Qt's conversion would dither).
QImage imageOf(int width, const QVector<QRgb>& pixels, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, pixels.size() / width, QImage::Format_ARGB32);
    std::copy(pixels.begin(), pixels.end(), reinterpret_cast<QRgb*>(image.bits()));
    return image.convertToFormat(format, pixels);
}

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
    for (int y = 0; y < height; ++y)
        std::generate_n(reinterpret_cast<QRgb*>(image.scanLine(y)), width, [&] { return QRgb(random()); });
    return image;
}

// Every stride-th 24-bit colour once, opaque, in rows of 4096.
QImage everyColour(int stride)
{
    QImage image(4096, (((1 << 24) + stride - 1) / stride + 4095) / 4096, QImage::Format_ARGB32);
    QRgb* pixels = reinterpret_cast<QRgb*>(image.bits());
    for (int i = 0; i < image.width() * image.height(); ++i)
        pixels[i] = 0xFF000000u | quint32(i * stride % (1 << 24));
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
    if (s == 0)
        return pixel;
    QColor out = QColor::fromHsv(h, s, s > 99 || c > 100 ? c : v);
    if (s <= 99)
        out = QColor((out.red() * s + in.red() * (150 - s)) / 150, (out.green() * s + in.green() * (150 - s)) / 150,
                     (out.blue() * s + in.blue() * (150 - s)) / 150);
    return (pixel & 0xFF000000u) | (out.rgb() & 0x00FFFFFFu);
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
        for (QImage& image : images) {
            threads.emplace_back([&, target = &image] {
                for (waiting.fetch_sub(1); waiting.load() > 0;) // all ask for the table at once
                    std::this_thread::yield();
                Manipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, target);
            });
        }
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
        const PixelOperation bwFromMax = [](QImage image, double red) { // of the pixel's neighbours
            QImage around = filled(19, 3, qRgba(int(red), 7, 250, 255));
            around.setPixel(1, 1, image.pixel(1, 1));
            return convolutionOf(10).convoluteBWFromMax(around).copy(1, 1, 1, 1);
        };
        const PixelOperation max = [](QImage i, double) { return convolutionOf(10).createMaxImage(i); };
        const PixelOperation invert = [](QImage i, double) { return convolutionOf(10).invert(i); };
        const PixelOperation combine = [](QImage i, double v) {
            return convolutionOf(10).combine(i, filled(19, 3, qRgb(int(v), int(v), int(v))));
        };
        const PixelOperation convolute = [](QImage i, double c) { return convolutionOf(int(c)).convolute(i); };
        const PixelOperation saturation = [](QImage i, double f) { return Manipulator::changeSaturation(i, f); };
        const PixelOperation shadow = [](QImage i, double f) { return Manipulator::convertAlphamask2ShadowImage(&i, f), i; };
        const PixelOperation mask = [](QImage i, double v) { // negative: a grey mask image
            const QImage mask = filled(19, 3, QRgb(std::abs(v)), v < 0 ? QImage::Format_Grayscale8 : i.format());
            return Manipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, &i), i;
        };
        // Deliberately in place, for every image sharing the data: here a copy.
        const PixelOperation grey = [](QImage i, double) { return i = i.copy(), Manipulator::toGrayscale(&i), i; };
        const PixelOperation fill = [](QImage i, double) { return Manipulator::fillImage(&i, QColor(10, 20, 30, 40)), i; };
        // Green and blue are noise; only red counts. Laplace: |127 * 200 - 128 * 100| / 127 = 99.
        row("grey from red: Laplace", bwFromMax, qRgba(200, 255, 0, 33), 100, qRgba(99, 99, 99, 33));
        row("maximum of the channels", max, qRgba(10, 200, 30, 40), 0, qRgba(200, 200, 200, 40));
        // ((255 - c) * 2) mod 256: 0 gives 510 -> 254, 128 gives 254, 255 gives 0.
        row("invert wraps", invert, qRgba(0, 128, 255, 17), 0, qRgba(254, 254, 0, 17));
        // sqrt(h^2 + v^2) truncated, modulo 256, with the horizontal picture's alpha; v is the value.
        row("combine 255, 255: 360.6 wraps", combine, qRgba(255, 255, 255, 66), 255, qRgba(104, 104, 104, 66));
        row("combine 181, 181: 255.97", combine, qRgba(181, 181, 181, 66), 181, qRgba(255, 255, 255, 66));
        // Flat pictures, the value naming the configuration. Laplace: |127 g - 128 g| / (255 / 2) =
        // g / 127. Sharpen of maximum 200: 32 * 200 / 24 = 266 wraps to 10, and saturated red of
        // value 10 is (10, 0, 0). Of maximum 90: 120 > 100 becomes the value; s 51, hue 26:
        // setHsv(26, 51, 120) = (120, 106, 96), blended with (90, 80, 72) by 51 : 99 / 150.
        row("Laplace of flat 254", convolute, qRgba(254, 254, 254, 200), 10, qRgba(2, 2, 2, 200));
        row("sharpen red: wraps to 10", convolute, qRgba(200, 0, 0, 90), 8, qRgba(10, 0, 0, 90));
        row("sharpen weakly saturated: blended", convolute, qRgba(90, 80, 72, 255), 8, qRgba(100, 88, 80, 255));
        // QColor rejects the colour, the pixel turns black, its alpha kept.
        row("saturation negative: black", saturation, qRgba(200, 100, 50, 128), -1.0, qRgba(0, 0, 0, 128));
        row("saturation nan: black", saturation, qRgba(90, 90, 90, 9), std::nan(""), qRgba(0, 0, 0, 9));
        // Alpha x factor into 0 ... 4294967295, modulo 256 (deliberately not clamped); black.
        row("shadow 0.5 of 255", shadow, 0xFF8090A0u, 0.5, 0x7F000000u);
        row("shadow 2 wraps", shadow, 0xFF102030u, 2.0, 0xFE000000u);
        row("shadow negative", shadow, 0xFF102030u, -1.0, 0x00000000u);
        row("shadow nan", shadow, 0xFF102030u, std::nan(""), 0x00000000u);
        row("shadow huge: 4294967295", shadow, 0xFF102030u, 1e300, 0xFF000000u);
        // alpha * (255 - mask) / 255, colours kept; only the mask's lowest byte counts.
        row("white mask clears", mask, 0xFF102030u, 0xFFFFFFFFu, 0x00102030u);
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
        const QImage image = filled(19, 3, pixel);
        forEachVectorPath([&](const char* path) {
            const QImage result = operation(image, value);
            for (int i = 0; i < result.width() * result.height(); ++i) {
                const QRgb actual = result.pixel(i % result.width(), i / result.width());
                QVERIFY2(actual == expected, qPrintable(QString("%1, pixel %2: %3").arg(path).arg(i).arg(actual, 8, 16)));
            }
        });
    }

    // The colour step of sharpening (each colour seeing the levels of its neighbours, which vary
    // widely row by row), and saturation 0.5 for every colour and 1.3 (which turns many colours
    // black) for every 17th.
    void everyColourMatchesQColor()
    {
        const QImage image = everyColour(1);
        const ZelConvolution sharpen(ZelConvolution::confSharpen);
        const QImage sharpened = referenceConvolution(image, sharpen.myKernel, 24, true);
        forEachVectorPath([&](const char* path) { QVERIFY2(sharpen.convoluteColor(image) == sharpened, path); });
        gPreviousHandler = qInstallMessageHandler(quietQColor);
        for (const int stride : {1, 17}) {
            const double factor = stride == 1 ? 0.5 : 1.3;
            const QImage colours = everyColour(stride), expected = referenceSaturation(colours, factor);
            forEachVectorPath([&](const char* path) {
                QVERIFY2(Manipulator::changeSaturation(colours, factor) == expected, path);
            });
        }
        qInstallMessageHandler(gPreviousHandler);
    }

    // ((steps - step) a + step b) / steps per channel of QImage::pixel, opaque, in the format of a
    // (indexed: RGB32). Out of order, or for b of another size (format negated): opaque black.
    void morphMatchesDefinition()
    {
        const QList<QVector<int>> morphs{
            {3, 8, QImage::Format_ARGB32}, {7, 128, QImage::Format_RGB32}, {3, 257, QImage::Format_ARGB32},
            {333, 1000, QImage::Format_ARGB32}, {40, 60, QImage::Format_ARGB32_Premultiplied},
            {2, 5, QImage::Format_Indexed8}, {INT_MAX - 1, INT_MAX, QImage::Format_ARGB32}, {3, 2, QImage::Format_ARGB32},
            {-1, 2, QImage::Format_ARGB32}, {0, 0, QImage::Format_ARGB32}, {1, 2, -QImage::Format_ARGB32}};
        for (const QVector<int>& morph : morphs) {
            const int step = morph[0], steps = morph[1];
            const QImage::Format format = QImage::Format(qAbs(morph[2]));
            const bool indexed = format == QImage::Format_Indexed8;
            const QImage a = indexed ? imageOf(3, {1, 0xFF102030u, 0x80FFFFFFu}, format) : randomImage(13, 5, 1).convertToFormat(format);
            const QImage b = indexed ? imageOf(3, {0xFF302010u, 7, 0xFFFFFFFFu}, format)
                                     : randomImage(13, morph[2] < 0 ? 4 : 5, 2).convertToFormat(format);
            const QImage result = Manipulator::morph(a, b, step, steps);
            QCOMPARE(result.format(), indexed ? QImage::Format_RGB32 : format);
            QCOMPARE(result.size(), a.size());
            const bool valid = steps > 0 && step >= 0 && step <= steps && a.size() == b.size();
            const auto mix = [&](int va, int vb) { return int(((qint64(steps) - step) * va + qint64(step) * vb) / steps); };
            for (int i = 0; i < a.width() * a.height(); ++i) {
                const int x = i % a.width(), y = i / a.width();
                const QRgb pa = a.pixel(x, y), pb = valid ? b.pixel(x, y) : 0;
                QCOMPARE(result.pixel(x, y), valid ? qRgb(mix(qRed(pa), qRed(pb)), mix(qGreen(pa), qGreen(pb)), mix(qBlue(pa), qBlue(pb)))
                                                   : 0xFF000000u);
            }
        }
    }

    void statistics_data()
    {
        QTest::addColumn<QString>("measure");
        QTest::addColumn<QImage>("image");
        QTest::addColumn<int>("n");
        QTest::addColumn<qint64>("expected");
        QImage corner = filled(3, 3, 0xFF000000u), shifted = filled(6, 6, 0xFF000000u), small = filled(5, 3, 0xFF000000u);
        corner.setPixel(0, 0, 0xFFFFFFFFu);
        shifted.setPixel(1, 0, 0xFFFFFFFFu);
        for (int x = 1; x <= 3; ++x)
            small.setPixel(x, 1, 0xFF640000u);
        const auto stripes = [](int width, int height, QRgb colour) { // columns 0, 0, colour, colour, ...
            QImage image = filled(width, height, 0xFF000000u);
            for (int i = 0; i < width * height; ++i)
                image.setPixel(i % width, i / width, i % width % 4 >= 2 ? colour : 0xFF000000u);
            return image;
        };
        // gy = gx = 255 at the one interior pixel: 2 * (65025 >> 4) = 8128, / 3 / 3 = 903.
        QTest::newRow("Sobel, corner") << "sobel" << corner << 1 << qint64(903);
        // n = 2: a 3 x 3 canvas showing the image shifted by (6 - 3) / 2 = 1: the white pixel (1, 0)
        // lands right of the centre: gx = -510, 260100 >> 4 = 16256, / 3 / 3 = 1806.
        QTest::newRow("Sobel, n 2 shifts") << "sobel" << shifted << 2 << qint64(1806);
        // Each interior pixel adds 1020^2 >> 4 = 65025, 98 a row; with 316 rows the sum passes
        // 2000000000 in row 314 at the 84th pixel: 2000038950 / 100 / 314.
        QTest::newRow("Sobel beyond int") << "sobel" << stripes(100, 316, 0xFFFFFFFFu) << 1 << qint64(63695);
        QTest::newRow("Sobel, n 0") << "sobel" << corner << 0 << qint64(0);
        QTest::newRow("Sobel, n beyond the image") << "sobel" << corner << 100 << qint64(0);
        // 10 x 10 sampled pixels, each with t = 65025 for red gx and t^2 = 4228250625, as a signed
        // 32-bit value -66716671: / 30 / 30.
        QTest::newRow("colour Sobel wraps negative") << "colour" << stripes(30, 30, 0xFFFF0000u) << 1 << qint64(-7412963);
        // Green 100: t = 400^2 >> 4 = 10000, t^2 = 10^8 per pixel; a limit of 2.5 * 10^9 is passed at
        // the sixth pixel of row 3: 2.6 * 10^9 / 30 / 3.
        QTest::newRow("colour Sobel beyond a limit") << "limit" << stripes(30, 30, 0xFF006400u) << 1 << qint64(28888888);
        QTest::newRow("colour Sobel, h' 20") << "colour" << filled(100, 20, 0xFFFF0000u) << 1 << qint64(0);
        // Three interior pixels of red 100: 300 / 5 / 3 = 20 and 30000 / 5 / 3 = 2000.
        QTest::newRow("edges per pixel") << "edges" << small << 0 << qint64(20) * 100000 + 2000;
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
        const auto edges = convolution.edgesPerPixel(image);
        QTEST(measure == "sobel"    ? qint64(convolution.averageSobel(image, n))
              : measure == "colour" ? qint64(convolution.averageColorSobel(image, n))
              : measure == "limit"  ? qint64(zelAverageColorSobel(image, n, 2500000000LL))
                                    : edges.first * qint64(100000) + edges.second,
              "expected");
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
            const ZelConvolution convolution = convolutionOf(configuration);
            QVERIFY(zelKernelFitsWords(convolution.myKernel, convolution.totalWeight() / 2));
        }
        const int large[9] = {130, 0, 0, 0, 0, 0, 0, 0, 0}, laplace[9] = {-16, -16, -16, -16, 127, -16, -16, -16, -16};
        QVERIFY(!zelKernelFitsWords(large, 65));
        QVERIFY(!zelKernelFitsWords(laplace, 1));
    }

    void geometryMatchesQt()
    {
        for (const QSize& size : {QSize(100, 37), QSize(70, 1), QSize(1, 70)}) {
            const QImage image = randomImage(size.width(), size.height(), 4);
            QCOMPARE(Manipulator::rotateCW(image), image.transformed(QMatrix().rotate(90)));
            QCOMPARE(Manipulator::rotateCCW(image), image.transformed(QMatrix().rotate(-90)));
            QCOMPARE(Manipulator::rotateNicely(image, 1), image.transformed(QMatrix().rotate(90)));
            QCOMPARE(Manipulator::rotateNicely(image, -90), image.transformed(QMatrix().rotate(-90)));
            QCOMPARE(Manipulator::mirrorHorizontal(image), image.mirrored(true, false));
            QCOMPARE(Manipulator::mirrorVertical(image), image.mirrored(false, true));
        }
        const QImage indexed = imageOf(2, {0xFF000001u, 0xFF000002u, 0xFF000003u, 0xFF000004u}, QImage::Format_Indexed8);
        QCOMPARE(Manipulator::mirrorHorizontal(indexed), indexed.convertToFormat(QImage::Format_RGB32).mirrored(true, false));
        QCOMPARE(Manipulator::rotateCW(indexed).format(), QImage::Format_RGB32);
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
            const bool edge = cut && (widthCut ? x == rect.left() || x == rect.right() : y == rect.top() || y == rect.bottom());
            QCOMPARE(lines.pixel(x, y), edge ? 0xFFFF0000u : 0xFF204060u);
            const QRgb outside = border.pixel(x, y);
            QVERIFY(rect.contains(x, y) ? outside == 0xFF204060u : qAbs(qRed(outside) - 16) <= 1 && qAbs(qBlue(outside) - 176) <= 1);
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
                              alpha(translucent), alpha(transparentIndex)}),
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
        Manipulator::combineBlackWhiteAlphaImageWithRGBAImage(&small, &argb);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Format_ARGB32"));
        Manipulator::combineBlackWhiteAlphaImageWithRGBAImage(&mask, &rgb);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Format_ARGB32"));
        Manipulator::convertAlphamask2ShadowImage(&rgb, 0.5);
        QCOMPARE(argb.pixel(0, 0), 0xFF102030u);
        QCOMPARE(rgb.pixel(0, 0), 0xFF102030u);
    }
};

QTEST_MAIN(TestToolkit)
#include "tst_toolkit.moc"
