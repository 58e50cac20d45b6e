#include "ZelEffectTestSupport.h"
#include "ZelHsvBatch_p.h"
#include "ZelImageProcessorCombine.h"
#include "ZelImageProcessorContrastStretch.h"
#include "ZelImageProcessorTint.h"

#include <QScopeGuard>
#include <QSignalSpy>
#include <QtTest>

#include <climits>

Q_DECLARE_METATYPE(QImage::Format)

namespace {

QImage imageOf(int width, const QVector<QRgb>& pixels, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, pixels.size() / width, QImage::Format_ARGB32);
    for (int i = 0; i < pixels.size(); ++i)
        image.setPixel(i % width, i / width, pixels[i]);
    return image.convertToFormat(format);
}

QImage indexedOf(int width, const QVector<uchar>& indices, const QVector<QRgb>& table)
{
    QImage image(width, indices.size() / width, QImage::Format_Indexed8);
    image.setColorTable(table);
    // Written directly: setPixel refuses indices beyond the table, which effects must take.
    for (int i = 0; i < indices.size(); ++i)
        image.scanLine(i / width)[i % width] = indices[i];
    return image;
}

QVector<QRgb> greyTable()
{
    QVector<QRgb> table(256);
    for (int i = 0; i < 256; ++i)
        table[i] = qRgb(i, i, i);
    return table;
}

// Format, size, colour table and every pixel (index bytes of indexed images), for readable failures.
QString describe(const QImage& image)
{
    QString text = QStringLiteral("format %1, %2 x %3:").arg(image.format()).arg(image.width()).arg(image.height());
    for (const QRgb colour : image.colorTable())
        text += ' ' + QString::number(colour, 16);
    for (int i = 0, x = 0, y = 0; i < image.width() * image.height(); x = ++i % image.width(), y = i / image.width())
        text += ' ' + QString::number(image.colorCount() ? image.constScanLine(y)[x] : image.pixel(x, y), 16);
    return text;
}

// Deterministic varied colours with channels in [low, high] and alpha in [0, 255].
QRgb variedColour(int i, int low, int high)
{
    quint32 h = quint32(i) * 2654435761u;
    h ^= h >> 15;
    const int span = high - low + 1;
    return qRgba(low + int(h % span), low + int((h >> 8) % span), low + int((h >> 16) % span), int(h >> 24));
}

// What QColor's setHsv gives; unlike fromHsv it wraps hues from 360.
QRgb hsv(int h, int s, int v)
{
    QColor colour;
    colour.setHsv(h, s, v, 255);
    return colour.rgb();
}

// The effect is the tag's first word.
void addRow(const char* tag, const QImage& source, const QImage& expected, const QVariantList& arguments = {},
            const QRect& preview = {})
{
    QTest::newRow(tag) << QString(tag).section(QRegExp("[ :]"), 0, 0) << arguments << preview << source << expected;
}

} // namespace

class TestTonal : public QObject
{
    Q_OBJECT

private slots:
    void hsvMatchesQColor()
    {
        // Every RGB colour; every hue an effect can pass (-1 for greys, 0..359) with every saturation and value: the
        // round trip of every colour, every stretched value and every tint lie in this set. Hues from 360 wrap.
        const int hues[] = {360, 719, INT_MAX};
        for (int i = 0; i < 364 * 65536; ++i) {
            int h, s, v, qh, qs, qv;
            zelRgbToHsv(QRgb(i), h, s, v);
            QColor(QRgb(i)).getHsv(&qh, &qs, &qv);
            if (i < (1 << 24) && (h != qh || s != qs || v != qv || zelHsvValue(QRgb(i)) != qv))
                QFAIL(qPrintable(QString::asprintf("rgb %06x: %d %d %d, QColor %d %d %d", i, h, s, v, qh, qs, qv)));
            h = i < 361 * 65536 ? i / 65536 - 1 : hues[i / 65536 - 361], s = (i >> 8) & 0xFF, v = i & 0xFF;
            const QRgb q = hsv(h, s, v), ours = zelHsvToRgb(h, s, v);
            if (ours != q || (h >= 0 && h < 360 && zelChromaticHsvToRgb(h, s, v) != q))
                QFAIL(qPrintable(QString::asprintf("hsv %d %d %d: %08x, QColor %08x", h, s, v, ours, q)));
        }
    }

    void pointEffects_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<QVariantList>("arguments"); // for the typed setter, or Combine's second image
        QTest::addColumn<QRect>("preview"); // a section preview instead of result()
        QTest::addColumn<QImage>("source");
        QTest::addColumn<QImage>("expected");
        addRow("Intensity", imageOf(2, {qRgba(1, 200, 3, 5), qRgb(90, 2, 6)}), indexedOf(2, {200, 90}, greyTable()));
        // An inverted picture is always opaque, whatever its alpha was; index bytes are inverted.
        const QVector<QRgb> two{qRgb(1, 2, 3), qRgb(4, 5, 6)};
        addRow("Invert ARGB32", imageOf(1, {qRgba(10, 20, 30, 128)}), imageOf(1, {qRgb(245, 235, 225)}));
        addRow("Invert indexed", indexedOf(3, {0, 1, 200}, two), indexedOf(3, {255, 254, 55}, two));
        // No clamping: bright channels wrap around, intended. The factor is single precision: 0.53f * 100 = 52.99999
        // (53 in double). NaN converts to INT_MIN, low byte 0. Previews run on a new object, at 100 % (intended).
        const auto grey = [](int c) { return imageOf(1, {qRgba(c, c, c, 0x40)}); };
        addRow("AdjustRGBIntensity 150 % wraps 200 to 44", grey(200), grey(44), {150.0});
        addRow("AdjustRGBIntensity 53 %", grey(100), grey(52), {53.0});
        addRow("AdjustRGBIntensity NaN %", grey(100), grey(0), {qQNaN()});
        addRow("AdjustRGBIntensity preview", grey(200), grey(200), {150.0}, QRect(0, 0, 1, 1));
        // Hue and saturation * 100 are truncated; 200 - 150 f and 100 + 100 f beyond int are INT_MIN, clamped to 0.
        const QImage pixel = imageOf(1, {qRgba(200, 100, 50, 77)});
        const auto tinted = [](int r, int g, int b) { return imageOf(1, {qRgba(r, g, b, 77)}); };
        addRow("Tint 0 keeps the pixel", pixel, pixel, {120.0, 0.0});
        addRow("Tint 0.509 goes half way", pixel, tinted(125, 150, 50), {120.9, 0.509});
        addRow("Tint 3 is clamped", pixel, tinted(0, 255, 50), {120.0, 3.0});
        addRow("Tint hue -5 toward black", pixel, tinted(0, 0, 0), {-5.0, 1.0});
        addRow("Tint far out of range", pixel, tinted(0, 0, 50), {120.0, 21474836.47});
        // Pure red: 11 * 255 >> 5 = 87; (11 * 10 + 16 * 200 + 5 * 30) >> 5 = 108. Alpha is kept where the format has
        // it. Previews run on a new object, which has the default format ARGB32: intended.
        const QImage red = imageOf(2, {qRgba(255, 0, 0, 0x40), qRgb(10, 200, 30)});
        const QImage opaqueRed = imageOf(2, {qRgb(255, 0, 0), qRgb(10, 200, 30)});
        const auto greys = [](QImage::Format f) { return imageOf(2, {qRgb(87, 87, 87), qRgb(108, 108, 108)}, f); };
        const auto as = [](int f) { return QVariantList{QVariant::fromValue(QImage::Format(f))}; };
        addRow("Grayscale ARGB32", red, imageOf(2, {qRgba(87, 87, 87, 0x40), qRgb(108, 108, 108)}),
               as(QImage::Format_ARGB32));
        addRow("Grayscale RGB32 is opaque", red, greys(QImage::Format_RGB32), as(QImage::Format_RGB32));
        addRow("Grayscale Indexed8", red, indexedOf(2, {87, 108}, greyTable()), as(QImage::Format_Indexed8));
        addRow("Grayscale Grayscale8", opaqueRed, greys(QImage::Format_Grayscale8), as(QImage::Format_Grayscale8));
        addRow("Grayscale invalid", red, QImage(), as(QImage::Format_Invalid));
        addRow("Grayscale out of range", red, QImage(), as(QImage::NImageFormats));
        addRow("Grayscale preview", opaqueRed, greys(QImage::Format_ARGB32), as(QImage::Format_Indexed8), {0, 0, 2, 1});
        // Channel pairs (255, 255), (3, 4), (100, 100): sqrt gives 360.6, 5 and 141.4; 360 wraps to 104. Different
        // formats are both converted to ARGB32; alpha comes from the first image. Indexed images clamp to 255 instead,
        // intended, and keep the first table. A second image smaller than the first gives null, not a read beyond it.
        const QImage a = imageOf(1, {qRgba(255, 3, 100, 0x80)}), combined = imageOf(1, {qRgba(104, 5, 141, 0x80)});
        const QVariantList b{imageOf(1, {qRgb(255, 4, 100)}, QImage::Format_RGB32)};
        addRow("Combine ARGB32 + RGB32", a, combined, b);
        addRow("Combine Indexed8 + RGB32", indexedOf(1, {0}, {qRgb(255, 3, 100)}), imageOf(1, {qRgb(104, 5, 141)}), b);
        addRow("Combine indexed", indexedOf(3, {255, 3, 100}, two), indexedOf(3, {255, 5, 141}, two),
               {indexedOf(3, {255, 4, 100}, {})});
        addRow("Combine with itself, as registered", imageOf(1, {qRgb(100, 0, 1)}), imageOf(1, {qRgb(141, 0, 1)}));
        const QImage four = imageOf(2, {1, 2, 3, 4});
        addRow("Combine second narrower", four, QImage(), {four.copy(0, 0, 1, 2)});
        addRow("Combine second null", four, QImage(), {QImage()});
        // Previews cut the second image the same way: its odd pixel (6, 3) shows at (1, 1).
        QImage second = imageOf(40, QVector<QRgb>(800, qRgb(40, 30, 0)));
        second.setPixel(6, 3, qRgb(0, 0, 9));
        QImage cut = imageOf(3, QVector<QRgb>(12, qRgb(50, 50, 0)));
        cut.setPixel(1, 1, qRgb(30, 40, 9));
        addRow("Combine preview", imageOf(40, QVector<QRgb>(800, qRgb(30, 40, 0))), cut, {second}, {5, 2, 3, 4});
        // 200 pixels, 2 of grey 10 and 240: the points lie where the count exceeds 2, not where it reaches it, so 50
        // and 200: grey 100 becomes trunc(50 * 255 / 150) = 85.
        const auto levels = [](const QVector<int>& values) {
            QVector<QRgb> pixels;
            for (int i = 0; i < 5; ++i)
                pixels += QVector<QRgb>(QVector<int>{2, 10, 176, 10, 2}[i], qRgb(values[i], values[i], values[i]));
            return imageOf(20, pixels);
        };
        addRow("ContrastStretch beyond 1 %", levels({10, 50, 100, 200, 240}), levels({0, 0, 85, 255, 255}));
        // With a single value both points are that value. The 32-bit path tests the white point first and gives 255;
        // the indexed path tests the black point first and gives 0 (index 5, entry 5 is grey 5). Both intended.
        addRow("ContrastStretch single value", imageOf(3, QVector<QRgb>(9, qRgb(77, 77, 77)), QImage::Format_RGB32),
               imageOf(3, QVector<QRgb>(9, qRgb(255, 255, 255)), QImage::Format_RGB32));
        addRow("ContrastStretch indexed single value", indexedOf(3, QVector<uchar>(9, 5), greyTable()),
               indexedOf(3, QVector<uchar>(9, 5), QVector<QRgb>(6, qRgb(0, 0, 0)) + QVector<QRgb>(250, 0xFFFFFFFF)));
        // Index histogram: 50 pixels of index 40, 50 of index 120, so the points are 40 and 120. Entries are stretched
        // by their grey (11 R + 16 G + 5 B) >> 5: 41 -> 3, 80 -> 127, and pure red, grey 87, -> trunc(47 * 255 / 80).
        const QVector<uchar> indices = QVector<uchar>(50, 40) + QVector<uchar>(50, 120);
        QVector<QRgb> table = greyTable(), stretched(256);
        table[100] = qRgba(255, 0, 0, 9);
        for (int g = 0; g < 256; ++g) {
            const int v = g == 100 ? 87 : g, level = v <= 40 ? 0 : v >= 120 ? 255 : int((v - 40) * 255.0 / 80);
            stretched[g] = qRgb(level, level, level);
        }
        addRow("ContrastStretch indexed table", indexedOf(10, indices, table), indexedOf(10, indices, stretched));
    }
    void pointEffects()
    {
        QFETCH(QString, effect);
        QFETCH(QVariantList, arguments);
        QFETCH(QRect, preview);
        QFETCH(QImage, source);
        QFETCH(QImage, expected);
        std::unique_ptr<ZelImageProcessor> processor = effect == "Combine" && !arguments.isEmpty()
            ? std::make_unique<ZelImageProcessorCombine>(source, arguments.at(0).value<QImage>())
            : makeEffect(effect, source);
        QGenericArgument typed[2];
        for (int i = 0; i < arguments.size() && effect != "Combine"; ++i)
            typed[i] = QGenericArgument(arguments.at(i).typeName(), arguments.at(i).constData());
        if (typed[0].name())
            QVERIFY(QMetaObject::invokeMethod(processor.get(), effect == "Grayscale" ? "setParamters" : "setParameters",
                                              typed[0], typed[1]));
        QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
        const QImage actual = preview.isNull() ? processor->result() : processor->generatePreview(preview);
        QCOMPARE(describe(actual), describe(expected));
        // ContrastStretch's 32-bit path ends without finished, intended; previews run elsewhere.
        const bool silent = !preview.isNull() || (effect == "ContrastStretch" && source.depth() == 32);
        QCOMPARE(finished.count(), silent ? 0 : 1);
    }

    void matchesQColor_data()
    {
        QTest::addColumn<bool>("tint");
        QTest::addColumn<int>("a"); // hue or black point
        QTest::addColumn<int>("b"); // saturation in percent or white point
        QTest::addColumn<bool>("vectors"); // the AVX2 pixel loops where the processor has them
        for (bool vectors : {false, true}) {
            const char* path = vectors ? "avx2" : "scalar";
            for (int hue : {0, 59, 60, 119, 200, 359, 725, -1})
                for (int saturation : {100, 37})
                    QTest::addRow("Tint %d %d %s", hue, saturation, path) << true << hue << saturation << vectors;
            QTest::addRow("ContrastStretch: only the HSV round trip %s", path) << false << 0 << 255 << vectors;
            QTest::addRow("ContrastStretch 20 ... 230 %s", path) << false << 20 << 230 << vectors;
        }
    }
    // The lookup tables against QColor per pixel, over varied colours and hues at sector edges. ContrastStretch gets
    // 50 pixels at each end of [a, b], so that those are its 1 % points.
    void matchesQColor()
    {
        QFETCH(bool, tint);
        QFETCH(int, a);
        QFETCH(int, b);
        QFETCH(bool, vectors);
        zelSetBatchAvx2Allowed(vectors);
        const auto restore = qScopeGuard([] { zelSetBatchAvx2Allowed(true); });
        if (vectors && !zelBatchUsesAvx2())
            QSKIP("no AVX2 on this processor");
        QImage source(64, 64, QImage::Format_ARGB32);
        for (int i = 0; i < 4096; ++i)
            source.setPixel(i % 64, i / 64, tint ? variedColour(i, 0, 255) : i < 50 ? qRgb(a, a, a)
                                                : i < 100 ? qRgb(b, b / 2, a) : variedColour(i, a, b));
        source.setPixel(0, 63, qRgb(255, 1, 0)); // hue 0.24 degrees, truncated to 0: green 1 is lost in the round trip
        ZelImageProcessorTint tinting(source);
        tinting.setParameters(a, b / 100.0);
        const QImage result = tint ? tinting.result() : ZelImageProcessorContrastStretch(source).result();
        const double fraction = b / 100.0;
        const auto mix = [&](int c, int t) { return qBound(0, int(c + (t - c) * fraction), 255); };
        for (int i = 0; i < 4096; ++i) {
            const QRgb pixel = source.pixel(i % 64, i / 64);
            int h, s, v;
            QColor(pixel).getHsv(&h, &s, &v);
            const QRgb t = hsv(a, s, v);
            const int value = v >= b ? 255 : v <= a ? 0 : int((v - a) * 255.0 / (b - a));
            const QRgb mixed = qRgba(mix(qRed(pixel), qRed(t)), mix(qGreen(pixel), qGreen(t)),
                                     mix(qBlue(pixel), qBlue(t)), qAlpha(pixel));
            QCOMPARE(result.pixel(i % 64, i / 64), tint ? mixed : hsv(h, s, value));
        }
    }

    // 200 pixels: two of grey 10, two of 240, the rest 100. The first run needs more than 2 pixels from either end,
    // so both points are 100 and grey 100 becomes 255. The second counts every pixel twice against the same 2
    // (intended): the points are 10 and 240, grey 100 becomes 99. Previews, on fresh objects, start from nothing.
    void contrastStretchAccumulatesItsHistogram()
    {
        QVector<QRgb> pixels(200, qRgb(100, 100, 100));
        pixels[0] = pixels[1] = qRgb(10, 10, 10);
        pixels[2] = pixels[3] = qRgb(240, 240, 240);
        ZelImageProcessorContrastStretch stretch(imageOf(20, pixels));
        QCOMPARE(stretch.result().pixel(5, 5), qRgb(255, 255, 255));
        const QImage second = stretch.result();
        QCOMPARE(second.pixel(5, 5), qRgb(99, 99, 99));
        QVERIFY(second.pixel(0, 0) == 0xFF000000u && second.pixel(2, 0) == 0xFFFFFFFFu);
        QCOMPARE(stretch.generatePreview(QRect(0, 0, 20, 10)).pixel(5, 5), qRgb(255, 255, 255));
    }
};

QTEST_MAIN(TestTonal)
#include "tst_tonal.moc"
