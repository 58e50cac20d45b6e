#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"
#include "ZelPixelMath_p.h"

#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>

using Parameters = QList<int>;
Q_DECLARE_METATYPE(QImage::Format)

namespace {

QRgb rawPixel(const QImage& image, int x, int y) { return reinterpret_cast<const QRgb*>(image.constScanLine(y))[x]; }

void setRawPixel(QImage& image, int x, int y, QRgb pixel) { reinterpret_cast<QRgb*>(image.scanLine(y))[x] = pixel; }

// Flat patches (so that neighbours are often equal) beside noise from a generator of its own, leaving rand() alone;
// translucent images mix alphas 255, 0, 128 and random ones. Stray alpha: raw words in an RGB32 image.
QImage patternImage(int width, int height, QImage::Format format = QImage::Format_ARGB32, bool translucent = true,
                    bool strayAlpha = false)
{
    QImage image(width, height, strayAlpha ? QImage::Format_RGB32 : QImage::Format_ARGB32);
    quint32 state = 1;
    const auto next = [&state] { return (state = state * 1664525u + 1013904223u) >> 8; };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const bool flat = (x / 4 + y / 3) % 3 == 0;
            const QRgb pixel = (flat ? x / 4 * 0x251F3Du + y / 3 * 0x0B4C91u : next()) & 0xFFFFFF;
            const quint32 alphas[] = {255, 0, 128, next() & 0xFF};
            setRawPixel(image, x, y, pixel | (translucent ? alphas[next() % 4] : 255u) << 24);
        }
    }
    return image.convertToFormat(format);
}

qint64 clamped(qint64 value, qint64 last)
{
    return std::max<qint64>(std::min(value, last), 0);
}

QRgb referenceBilinear(double tx, double ty, bool alpha, QRgb p00, QRgb p10, QRgb p01, QRgb p11)
{
    if (p00 == p10 && p00 == p01 && p00 == p11)
        return p00;
    if (tx < 1.1920928955078125e-7 && ty < 1.1920928955078125e-7)
        return alpha ? p00 : p00 | 0xFF000000u;
    const bool opaque = !alpha || (qAlpha(p00) & qAlpha(p10) & qAlpha(p01) & qAlpha(p11)) == 255;
    const int a = opaque ? 1 : qAlpha(p11); // every corner weighted by p11's alpha alone
    if (a == 0)
        return 0x00FFFFFFu;
    QRgb result = opaque ? 0xFF000000u : uint(a) << 24;
    for (const int bit : {16, 8, 0}) {
        const auto c = [&](QRgb p) { return int(p >> bit & 0xFF) * a; };
        const double top = c(p00) + (c(p10) - c(p00)) * tx;
        const double bottom = c(p01) + (c(p11) - c(p01)) * tx;
        result |= uint((int(top + (bottom - top) * ty) / a) & 0xFF) << bit;
    }
    return result;
}

// A copy of the source with every pixel, row by row, replaced by pixelAt(copy, x, y).
template <class PixelAt>
QImage perPixel(const QImage& source, PixelAt pixelAt)
{
    QImage image = source.copy();
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            setRawPixel(image, x, y, pixelAt(image, x, y));
    return image;
}

// An opaque pixel of channel(value, bit) for the red, green and blue values of pixel.
QRgb withChannels(QRgb pixel, const std::function<int(int, int)>& channel)
{
    QRgb result = 0xFF000000u;
    for (const int bit : {16, 8, 0})
        result |= uint(channel(pixel >> bit & 0xFF, bit)) << bit;
    return result;
}

// The effect as defined, pixel by pixel, after srand(11) as for the effect.
QImage reference(const QString& effect, const QImage& source, const Parameters& p)
{
    std::srand(11);
    const int w = source.width(), h = source.height();
    if (effect == "Ripple") {
        const int amplitude = zelTruncToInt(p[1] * (std::max(w, h) * 0.01));
        const int waveLength = zelTruncToInt(p[0] * (std::max(w, h) * 0.01));
        const double fx = w < h ? double(h) / w : 1.0, fy = w > h ? double(w) / h : 1.0;
        const auto bound = [](double v, int size) { return std::isnan(v) ? 0.0 : std::max(std::min(v, size - 1.0), 0.0); };
        // Samples the image being written, as the effect does on purpose.
        return perPixel(source, [&](const QImage& image, int x, int y) {
            const auto corner = [&](int cx, int cy) { return cx < w && cy < h ? rawPixel(image, cx, cy) : 0x00FFFFFFu; };
            const double dx = (x - 0.5 * w) * fx, dy = (y - 0.5 * h) * fy;
            const double d = std::sin(std::sqrt(dx * dx + dy * dy) * 6.283185307179586 / waveLength) * amplitude;
            const double sx = bound((dx + d) / fx + 0.5 * w, w);
            const double sy = bound((dy + d) / fy + 0.5 * h, h);
            const int x0 = int(sx), y0 = int(sy);
            return referenceBilinear(sx - x0, sy - y0, source.hasAlphaChannel(), corner(x0, y0), corner(x0 + 1, y0),
                                     corner(x0, y0 + 1), corner(x0 + 1, y0 + 1));
        });
    }
    if (effect == "Splash") {
        const int density = p[0];
        return density == 0 ? source : perPixel(source, [&](const QImage&, int x, int y) {
            const qint64 sx = qint64(std::rand() % density) + (qint64(x) - density / 2);
            const qint64 sy = qint64(std::rand() % density) + (qint64(y) - density / 2);
            return source.pixel(clamped(sx, w - 1), clamped(sy, h - 1));
        });
    }
    if (effect == "ThreeDGrid") {
        const int c = zelTruncToInt(p[0] / 100.0 * std::min(w, h));
        const qint64 depth = p[1];
        return c == 0 ? source : perPixel(source, [&](const QImage& image, int x, int y) {
            const bool innerColumn = x % c != 0 && (x + 1) % c != 0, innerRow = y % c != 0 && (y + 1) % c != 0;
            const qint64 shift = (y - 1) % c == 0 && innerColumn ? -depth
                : (y + 2) % c == 0 && innerColumn                 ? depth
                : (x - 1) % c == 0 && innerRow                    ? depth
                : (x + 2) % c == 0 && innerRow                    ? -depth
                                                                  : 0;
            return withChannels(rawPixel(image, x, y), [&](int v, int) { return int(clamped(v + shift, 255)); });
        });
    }
    if (effect == "Mosaic") {
        const int b = zelTruncToInt(p[0] * 0.01 * std::min(w, h));
        return b == 0 ? source : perPixel(source, [&](const QImage&, int x, int y) {
            return source.pixel(b * (x / b), b * (y / b)) | 0xFF000000u;
        });
    }
    const double radius = std::sqrt(double(w) * w + double(h) * h) * 0.5;
    const double theta = 3.1415926535 / p[0];
    return perPixel(source, [&](const QImage&, int x, int y) {
        const double nx = (x - w * 0.5) / radius, ny = (y - h * 0.5) / radius;
        const int k = zelTruncToInt(std::floor(std::atan2(ny, nx) * 0.5 / theta));
        const double phi = theta + theta * (double(k) + double(k));
        const QRgb shifted = source.pixel(int(clamped(zelTruncToInt(x - std::cos(phi) * radius * 0.5), w - 1)),
                                          int(clamped(zelTruncToInt(y - std::sin(phi) * radius * 0.5), h - 1)));
        const double t = std::sqrt(nx * nx + ny * ny);
        return withChannels(rawPixel(source, x, y), [&](int own, int bit) {
            return std::clamp(int(own + (int(shifted >> bit & 0xFF) - own) * t), 0, 255);
        });
    });
}

// Through the typed setters, as tools call them.
std::unique_ptr<ZelImageProcessor> makeEffect(const QString& name, const QImage& image, const Parameters& p)
{
    std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(ZelEffectRegistry::find(name), image));
    const bool set = name == "Ripple" || name == "ThreeDGrid"
        ? QMetaObject::invokeMethod(effect.get(), "setParameters", Q_ARG(int, p.value(0)), Q_ARG(int, p.value(1)))
        : QMetaObject::invokeMethod(effect.get(), "setParameters", Q_ARG(int, p.value(0)));
    if (!set)
        qFatal("setParameters");
    return effect;
}

// The first pixel where two images differ, for a readable failure.
QString firstDifference(const QImage& actual, const QImage& expected)
{
    if (actual.size() != expected.size() || actual.format() != expected.format() || actual.depth() != 32)
        return actual == expected ? QString() : QStringLiteral("size, format or pixels differ");
    for (int i = 0, width = actual.width(); i < width * actual.height(); ++i) {
        const QRgb a = rawPixel(actual, i % width, i / width), e = rawPixel(expected, i % width, i / width);
        if (a != e)
            return QString::asprintf("(%d, %d): %08x instead of %08x", i % width, i / width, a, e);
    }
    return QString();
}

} // namespace

class TestDistortion : public QObject
{
    Q_OBJECT

private slots:
    void matchesPerPixelDefinition_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<QImage>("source");
        QTest::addColumn<Parameters>("parameters");
        QTest::addColumn<QImage::Format>("computedAs");
        const QList<QSize> sizes = {{31, 20}, {20, 31}, {16, 16}, {17, 13}, {40, 9}, {1, 7}, {7, 1}, {2, 2}, {1, 1}};
        const QStringList kinds = {"translucent", "opaque", "rgb32", "premultiplied"};
        const QImage::Format formats[] = {QImage::Format_ARGB32, QImage::Format_ARGB32, QImage::Format_RGB32,
                                          QImage::Format_ARGB32_Premultiplied};
        const QList<QPair<QString, QList<Parameters>>> cases = {
            {"Ripple", {{20, 10}, {50, 30}, {7, 4}, {0, 5}, {100, 100}, {INT_MAX, INT_MAX}, {INT_MIN, -3}}},
            {"Splash", {{0}, {1}, {2}, {3}, {10}, {100}, {-7}, {INT_MAX}, {INT_MIN}}},
            {"ThreeDGrid", {{10, 10}, {100, 20}, {30, 255}, {7, 300}, {5, 40}, {50, -40}, {50, 0}, {-30, 50},
                            {INT_MAX, INT_MAX}, {INT_MIN, INT_MIN}}},
            {"Mosaic", {{10}, {33}, {60}, {100}, {-40}, {INT_MAX}, {INT_MIN}}},
            {"Illusion", {{0}, {1}, {2}, {3}, {7}, {360}, {-3}, {100000}, {INT_MAX}, {INT_MIN}}}};
        for (const auto& effect : cases) {
            for (const QSize& size : sizes) {
                for (int k = 0; k < 4; ++k) {
                    // Splash copies words, so RGB32 words with stray alpha bytes must come through.
                    const QImage source = patternImage(size.width(), size.height(), formats[k], k != 1,
                                                       effect.first == "Splash" && k == 2);
                    for (const Parameters& p : effect.second)
                        QTest::addRow("%s %dx%d %s %d %d", qPrintable(effect.first), size.width(), size.height(),
                                      qPrintable(kinds[k]), p.value(0), p.value(1))
                            << effect.first << source << p << formats[k];
                }
            }
            // Other formats are computed as 32-bit words, keeping whether they have an alpha channel.
            for (const auto& f : QList<QPair<QImage::Format, QImage::Format>>{
                     {QImage::Format_Indexed8, QImage::Format_ARGB32}, {QImage::Format_RGB888, QImage::Format_RGB32},
                     {QImage::Format_Mono, QImage::Format_RGB32}, {QImage::Format_Grayscale8, QImage::Format_RGB32},
                     {QImage::Format_RGBA8888, QImage::Format_ARGB32}})
                QTest::addRow("%s format %d", qPrintable(effect.first), int(f.first))
                    << effect.first << patternImage(33, 21).convertToFormat(f.first) << Parameters{20, 30} << f.second;
        }
        // Long rows: many wedges, runs and blocks per row.
        const QImage large = patternImage(257, 193);
        for (const Parameters& p : QList<Parameters>{{3}, {7}, {360}, {1}})
            QTest::addRow("Illusion 257x193 %d", p[0]) << "Illusion" << large << p << QImage::Format_ARGB32;
        for (const char* effect : {"Ripple", "ThreeDGrid", "Mosaic"})
            QTest::addRow("%s 257x193", effect) << effect << large << Parameters{9, 6} << QImage::Format_ARGB32;
        // A shorter side of 9 pixels at 10 % is 0.9, truncated to 0: the source comes back as it is.
        const QImage rgb888 = patternImage(20, 9, QImage::Format_RGB888);
        QTest::newRow("ThreeDGrid no cells") << "ThreeDGrid" << rgb888 << Parameters{10, 10} << QImage::Format_RGB888;
        QTest::newRow("Mosaic no blocks") << "Mosaic" << rgb888 << Parameters{10} << QImage::Format_RGB888;
    }

    // The effects' fast paths (offset tables, wedge runs, row copies, band rows) against the per-pixel definitions,
    // on odd and even sizes, with and without alpha, and with parameters far outside their ranges.
    void matchesPerPixelDefinition()
    {
        QFETCH(QString, effect);
        QFETCH(QImage, source);
        QFETCH(Parameters, parameters);
        QFETCH(QImage::Format, computedAs);
        const auto processor = makeEffect(effect, source, parameters);
        QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
        std::srand(11);
        const QImage result = processor->result();
        QCOMPARE(firstDifference(result, reference(effect, source.convertToFormat(computedAs), parameters)), QString());
        // Deliberately: Splash checks its density before the loop, so density 0 reports nothing.
        if (effect == "Splash")
            QCOMPARE(progress.isEmpty(), parameters[0] == 0);
    }

    void progress_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<QString>("title");
        QTest::newRow("Ripple") << "Ripple" << "Wasserringe";
        QTest::newRow("Splash") << "Splash" << "Splash"; // untranslated, unlike the others
        QTest::newRow("ThreeDGrid") << "ThreeDGrid" << "3D Kacheln";
        QTest::newRow("Mosaic") << "Mosaic" << QString::fromUtf8("Blöcke");
        QTest::newRow("Illusion") << "Illusion" << "Prismenlinsen";
    }
    // Each row reports (title, "", row, height - 1).
    void progress()
    {
        QFETCH(QString, effect);
        QFETCH(QString, title);
        const auto processor = makeEffect(effect, patternImage(30, 20), {20, 30});
        QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
        processor->result();
        for (int y = 0; y < 21; ++y)
            QCOMPARE(progress.value(y), y < 20 ? (QVariantList{title, QString(), y, 19}) : QVariantList());
    }
};

QTEST_MAIN(TestDistortion)
#include "tst_distortion.moc"
