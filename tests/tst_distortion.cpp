#include "ZelBilinearPixel_p.h"
#include "ZelEffectRegistry.h"
#include "ZelImageProcessorIllusion.h"
#include "ZelImageProcessorMosaic.h"
#include "ZelImageProcessorRipple.h"
#include "ZelImageProcessorSplash.h"
#include "ZelImageProcessorThreeDGrid.h"
#include "ZelParameterDescriptionNumber_p.h"
#include "ZelPixelMath_p.h"
#include "ZelPrismWedges_p.h"

#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <memory>

using Parameters = QList<int>;
Q_DECLARE_METATYPE(QImage::Format)

namespace {

QRgb rawPixel(const QImage& image, int x, int y)
{
    return reinterpret_cast<const QRgb*>(image.constScanLine(y))[x];
}

void setRawPixel(QImage& image, int x, int y, QRgb pixel)
{
    reinterpret_cast<QRgb*>(image.scanLine(y))[x] = pixel;
}

// Flat patches (so that neighbours are often equal) beside noise from a generator of its own,
// leaving rand() alone; translucent images mix alphas 255, 0, 128 and random ones.
QImage patternImage(int width, int height, QImage::Format format = QImage::Format_ARGB32, bool translucent = true,
                    quint32 seed = 1)
{
    QImage image(width, height, QImage::Format_ARGB32);
    quint32 state = seed;
    const auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return state >> 8;
    };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const bool flat = (x / 4 + y / 3) % 3 == 0;
            QRgb pixel = (flat ? x / 4 * 0x251F3Du + y / 3 * 0x0B4C91u : next()) & 0xFFFFFF;
            const quint32 alphas[] = {255, 0, 128, next() & 0xFF};
            pixel |= (translucent ? alphas[next() % 4] : 255u) << 24;
            setRawPixel(image, x, y, pixel);
        }
    }
    return image.convertToFormat(format);
}

// An RGB32 image whose words carry alpha bytes other than 255, as raw data may.
QImage rgb32WithStrayAlpha(int width, int height)
{
    QImage words = patternImage(width, height);
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        std::copy_n(words.constScanLine(y), width * 4, image.scanLine(y));
    return image;
}

QImage coordinateImage(int width, int height, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            setRawPixel(image, x, y, 0xFF000000u | uint(x) << 8 | uint(y));
    return image.convertToFormat(format);
}

// --- Straightforward per-pixel implementations, as the effects are defined ---

QRgb referenceBilinear(double tx, double ty, bool alpha, QRgb p00, QRgb p10, QRgb p01, QRgb p11)
{
    if (p00 == p10 && p00 == p01 && p00 == p11)
        return p00;
    if (tx < 1.1920928955078125e-7 && ty < 1.1920928955078125e-7)
        return alpha ? p00 : p00 | 0xFF000000u;
    const bool opaque = !alpha || (qAlpha(p00) & qAlpha(p10) & qAlpha(p01) & qAlpha(p11)) == 255;
    const int a = opaque ? 1 : qAlpha(p11);
    if (a == 0)
        return 0x00FFFFFFu;
    QRgb result = opaque ? 0xFF000000u : uint(a) << 24;
    for (const int bit : {16, 8, 0}) {
        const int c00 = int(p00 >> bit & 0xFF) * a;
        const int c10 = int(p10 >> bit & 0xFF) * a;
        const int c01 = int(p01 >> bit & 0xFF) * a;
        const int c11 = int(p11 >> bit & 0xFF) * a;
        const double top = c00 + (c10 - c00) * tx;
        const double bottom = c01 + (c11 - c01) * tx;
        const int blended = int(top + (bottom - top) * ty);
        result |= uint((opaque ? blended : blended / a) & 0xFF) << bit;
    }
    return result;
}

QImage referenceRipple(const QImage& source, int waveLengthPercent, int amplitudePercent, bool inPlace = true)
{
    const int w = source.width();
    const int h = source.height();
    const int longer = std::max(w, h);
    const int amplitude = zelTruncToInt(amplitudePercent * (longer * 0.01));
    const int waveLength = zelTruncToInt(waveLengthPercent * (longer * 0.01));
    const double fx = w < h ? double(h) / w : 1.0;
    const double fy = w > h ? double(w) / h : 1.0;
    const bool alpha = source.hasAlphaChannel();
    QImage image = source.copy();
    const QImage& sampled = inPlace ? image : source;
    const auto corner = [&](int x, int y) { return x < w && y < h ? rawPixel(sampled, x, y) : 0x00FFFFFFu; };
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const double dx = (x - 0.5 * w) * fx;
            const double dy = (y - 0.5 * h) * fy;
            const double r = std::sqrt(dx * dx + dy * dy);
            const double d = std::sin(r * 6.283185307179586 / waveLength) * amplitude;
            double sx = std::max(std::min((dx + d) / fx + 0.5 * w, w - 1.0), 0.0);
            double sy = std::max(std::min((dy + d) / fy + 0.5 * h, h - 1.0), 0.0);
            sx = std::isnan(sx) ? 0.0 : sx;
            sy = std::isnan(sy) ? 0.0 : sy;
            const int x0 = int(std::floor(sx));
            const int y0 = int(std::floor(sy));
            setRawPixel(image, x, y,
                        referenceBilinear(sx - x0, sy - y0, alpha, corner(x0, y0), corner(x0 + 1, y0),
                                         corner(x0, y0 + 1), corner(x0 + 1, y0 + 1)));
        }
    }
    return image;
}

qint64 clamped(qint64 value, qint64 last)
{
    return std::max<qint64>(std::min(value, last), 0);
}

// Call srand() first, as for the effect.
QImage referenceSplash(const QImage& source, int density)
{
    if (density == 0)
        return source;
    QImage out = source.copy();
    for (int y = 0; y < source.height(); ++y) {
        for (int x = 0; x < source.width(); ++x) {
            const qint64 sx = qint64(std::rand() % density) + (qint64(x) - density / 2);
            const qint64 sy = qint64(std::rand() % density) + (qint64(y) - density / 2);
            setRawPixel(out, x, y, source.pixel(clamped(sx, source.width() - 1), clamped(sy, source.height() - 1)));
        }
    }
    return out;
}

QImage referenceThreeDGrid(const QImage& source, int cellPercent, int depth)
{
    const int c = zelTruncToInt(cellPercent / 100.0 * std::min(source.width(), source.height()));
    if (c == 0)
        return source;
    QImage out = source.copy();
    for (int y = 0; y < out.height(); ++y) {
        for (int x = 0; x < out.width(); ++x) {
            const bool innerColumn = x % c != 0 && (x + 1) % c != 0;
            const bool innerRow = y % c != 0 && (y + 1) % c != 0;
            qint64 shift = 0;
            if ((y - 1) % c == 0 && innerColumn)
                shift = -qint64(depth);
            else if ((y + 2) % c == 0 && innerColumn)
                shift = depth;
            else if ((x - 1) % c == 0 && innerRow)
                shift = depth;
            else if ((x + 2) % c == 0 && innerRow)
                shift = -qint64(depth);
            const QRgb p = rawPixel(out, x, y);
            const auto channel = [&](int bit) { return uint(clamped((p >> bit & 0xFF) + shift, 255)) << bit; };
            setRawPixel(out, x, y, 0xFF000000u | channel(16) | channel(8) | channel(0));
        }
    }
    return out;
}

QImage referenceMosaic(const QImage& source, int blockPercent)
{
    const int b = zelTruncToInt(blockPercent * 0.01 * std::min(source.width(), source.height()));
    if (b == 0)
        return source;
    QImage image = source.copy();
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            setRawPixel(image, x, y, image.pixel(b * (x / b), b * (y / b)) | 0xFF000000u);
    return image;
}

QRgb blendTowards(QRgb own, QRgb shifted, double t)
{
    const auto channel = [&](int bit) {
        const int q = own >> bit & 0xFF;
        const int p = shifted >> bit & 0xFF;
        return uint(std::clamp(int(q + (p - q) * t), 0, 255)) << bit;
    };
    return 0xFF000000u | channel(16) | channel(8) | channel(0);
}

QImage referenceIllusion(const QImage& source, int sectionCount)
{
    const int w = source.width();
    const int h = source.height();
    const double radius = std::sqrt(double(w) * w + double(h) * h) * 0.5;
    const double theta = 3.1415926535 / sectionCount;
    QImage image = source.copy();
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const double nx = (x - w * 0.5) / radius;
            const double ny = (y - h * 0.5) / radius;
            const int k = zelTruncToInt(std::floor(std::atan2(ny, nx) * 0.5 / theta));
            const double phi = theta + theta * (double(k) + double(k));
            const double t = std::sqrt(nx * nx + ny * ny);
            const int sx = int(clamped(zelTruncToInt(x - std::cos(phi) * radius * 0.5), w - 1));
            const int sy = int(clamped(zelTruncToInt(y - std::sin(phi) * radius * 0.5), h - 1));
            setRawPixel(image, x, y, blendTowards(rawPixel(image, x, y), source.pixel(sx, sy), t));
        }
    }
    return image;
}

QImage reference(const QString& effect, const QImage& image, const Parameters& p)
{
    if (effect == "Ripple")
        return referenceRipple(image, p[0], p[1]);
    if (effect == "Splash")
        return referenceSplash(image, p[0]);
    if (effect == "ThreeDGrid")
        return referenceThreeDGrid(image, p[0], p[1]);
    if (effect == "Mosaic")
        return referenceMosaic(image, p[0]);
    return referenceIllusion(image, p[0]);
}

std::unique_ptr<ZelImageProcessor> makeEffect(const QString& name, const QImage& image, const Parameters& p = {})
{
    std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(ZelEffectRegistry::find(name), image));
    if (auto* ripple = qobject_cast<ZelImageProcessorRipple*>(effect.get()))
        ripple->setParameters(p.value(0, 1), p.value(1, 1));
    else if (auto* splash = qobject_cast<ZelImageProcessorSplash*>(effect.get()))
        splash->setParameters(p.value(0, 10));
    else if (auto* grid = qobject_cast<ZelImageProcessorThreeDGrid*>(effect.get()))
        grid->setParameters(p.value(0, 10), p.value(1, 10));
    else if (auto* mosaic = qobject_cast<ZelImageProcessorMosaic*>(effect.get()))
        mosaic->setParameters(p.value(0, 10));
    else if (auto* illusion = qobject_cast<ZelImageProcessorIllusion*>(effect.get()))
        illusion->setSectionCount(p.value(0, 3));
    return effect;
}

QImage applyEffect(const QString& name, const QImage& image, const Parameters& p = {})
{
    std::srand(11);
    return makeEffect(name, image, p)->result();
}

const QStringList kEffects = {"Ripple", "Splash", "ThreeDGrid", "Mosaic", "Illusion"};

// The first pixel where two images differ, for a readable failure.
QString firstDifference(const QImage& actual, const QImage& expected)
{
    if (actual.size() != expected.size() || actual.format() != expected.format())
        return QStringLiteral("size or format differs");
    for (int y = 0; y < actual.height(); ++y)
        for (int x = 0; x < actual.width(); ++x)
            if (rawPixel(actual, x, y) != rawPixel(expected, x, y))
                return QStringLiteral("(%1, %2): %3 instead of %4")
                    .arg(x).arg(y).arg(rawPixel(actual, x, y), 8, 16).arg(rawPixel(expected, x, y), 8, 16);
    return QString();
}

} // namespace

class TestDistortion : public QObject
{
    Q_OBJECT

private slots:
    void metadata_data();
    void metadata();
    void parameters_data();
    void parameters();
    void progressAndFinished_data();
    void progressAndFinished();
    void cancelReturnsTheSource_data();
    void cancelReturnsTheSource();
    void nullAndTinySources_data();
    void nullAndTinySources();
    void otherFormatsAreConverted_data();
    void otherFormatsAreConverted();
    void matchesPerPixelDefinition_data();
    void matchesPerPixelDefinition();
    void previews_data();
    void previews();

    void bilinearBlend_data();
    void bilinearBlend();
    void bilinearBlendMatchesScalarArithmetic();
    void rippleHandComputed();
    void rippleSamplesTheImageBeingWritten();
    void rippleWaveLengthZeroSamplesTheOrigin();

    void splashDensityOneIsTheSource();
    void splashDensityZeroIsSilent();

    void threeDGridCell();
    void threeDGridDepthZeroOnlySetsAlpha();
    void zeroCellOrBlockKeepsTheSource_data();
    void zeroCellOrBlockKeepsTheSource();

    void mosaicBlocks_data();
    void mosaicBlocks();

    void illusionCentreAndCorner();
    void illusionOneSection();
    void illusionNoSectionsSamplesTheOrigin();
    void prismRunsFromAnyGuess_data();
    void prismRunsFromAnyGuess();
};

void TestDistortion::metadata_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("toolTip");
    QTest::addColumn<QString>("iconName");
    QTest::newRow("Ripple") << "Ripple" << "Wasserringe" << "Wasserringe" << "ico_water_wave";
    QTest::newRow("Splash") << "Splash" << "Sprüheffekt" << "Sprüheffekt" << "ico_spray";
    QTest::newRow("ThreeDGrid") << "ThreeDGrid" << "3D Kacheln" << "3D Gitter" << "ico_3d_tiles";
    QTest::newRow("Mosaic") << "Mosaic" << "Blöcke" << "Blöcke" << "ico_tiles";
    QTest::newRow("Illusion") << "Illusion" << "Prismenlinsen" << "Prismenlinse" << "ico_prisma";
}

void TestDistortion::metadata()
{
    QFETCH(QString, effect);
    QFETCH(QString, name);
    QFETCH(QString, toolTip);
    QFETCH(QString, iconName);
    const auto processor = makeEffect(effect, QImage());
    QVERIFY(processor);
    QCOMPARE(processor->metaObject()->className(), QByteArray("ZelImageProcessor" + effect.toLatin1()));
    QCOMPARE(processor->effectName(), name);
    QCOMPARE(processor->property("ToolTip").toString(), toolTip);
    QVERIFY(!processor->property("toolTip").isValid());
    QCOMPARE(processor->property("IconName").toString(), iconName);
}

void TestDistortion::parameters_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("visibleName");
    QTest::addColumn<int>("minimum");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<int>("defaultValue");
    QTest::addColumn<QPoint>("place");
    QTest::newRow("Ripple wave length") << "Ripple" << "AWaveLength" << "Wellenlänge" << 0 << 100 << 1 << QPoint(0, 0);
    QTest::newRow("Ripple amplitude") << "Ripple" << "BAmplitude" << "Amplitude" << 1 << 100 << 1 << QPoint(1, 0);
    QTest::newRow("Splash density") << "Splash" << "ADensity" << "Stärke" << 0 << 100 << 10 << QPoint(0, 0);
    QTest::newRow("ThreeDGrid cell") << "ThreeDGrid" << "ACellSize" << "Gittergröße" << 1 << 100 << 10 << QPoint(0, 0);
    QTest::newRow("ThreeDGrid depth") << "ThreeDGrid" << "BLineDepth" << "Linientiefe" << 0 << 100 << 10 << QPoint(1, 0);
    QTest::newRow("Mosaic block") << "Mosaic" << "ABlockSize" << "Stärke" << 1 << 100 << 10 << QPoint(0, 0);
    QTest::newRow("Illusion sections") << "Illusion" << "ASectionCount" << "Anzahl der Teilstücke" << 0 << 360 << 3
                                       << QPoint(0, 0);
}

void TestDistortion::parameters()
{
    QFETCH(QString, effect);
    QFETCH(QString, key);
    QFETCH(QString, visibleName);
    QFETCH(int, minimum);
    QFETCH(int, maximum);
    QFETCH(int, defaultValue);
    QFETCH(QPoint, place);
    const ZelParameterDescriptionContainer container = makeEffect(effect, QImage())->parameterContainer();
    QCOMPARE(container.parameterNames().size(), effect == "Ripple" || effect == "ThreeDGrid" ? 2 : 1);
    QCOMPARE(container.position(key), place);
    const ZelParameterDescription parameter = container.parameter(key);
    QCOMPARE(parameter.visibleName(), visibleName);
    QCOMPARE(parameter.type(), QVariant::Int);
    QCOMPARE(parameter.value(), QVariant(defaultValue));
    QVERIFY(!parameter.isCheckable());
    QVERIFY(parameter.isEnabled());
    QVERIFY(parameter.visibleInUI());
    const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(parameter.constData());
    QVERIFY(number);
    QCOMPARE(number->defaultValue(), QVariant(defaultValue));
    QCOMPARE(number->min(), QVariant(minimum));
    QCOMPARE(number->max(), QVariant(maximum));
    QVERIFY(!number->hasUserVisibleRange());
}

void TestDistortion::progressAndFinished_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("title");
    QTest::newRow("Ripple") << "Ripple" << "Wasserringe";
    QTest::newRow("Splash") << "Splash" << "Splash";
    QTest::newRow("ThreeDGrid") << "ThreeDGrid" << "3D Kacheln";
    QTest::newRow("Mosaic") << "Mosaic" << "Blöcke";
    QTest::newRow("Illusion") << "Illusion" << "Prismenlinsen";
}

void TestDistortion::progressAndFinished()
{
    QFETCH(QString, effect);
    QFETCH(QString, title);
    const auto processor = makeEffect(effect, patternImage(30, 20));
    QStringList events;
    connect(processor.get(), &ZelImageProcessor::progress, this,
            [&](const QString& t, const QString& step, int current, int total) {
                events << QStringLiteral("%1|%2|%3|%4").arg(t, step).arg(current).arg(total);
            });
    connect(processor.get(), &ZelImageProcessor::finished, this,
            [&](bool flag) { events << QStringLiteral("finished %1").arg(flag); });
    processor->result();
    QStringList expected;
    for (int y = 0; y < 20; ++y)
        expected << QStringLiteral("%1||%2|19").arg(title).arg(y);
    expected << "finished 1";
    QCOMPARE(events, expected);
}

void TestDistortion::cancelReturnsTheSource_data()
{
    QTest::addColumn<QString>("effect");
    for (const QString& effect : kEffects)
        QTest::newRow(qPrintable(effect)) << effect;
}

// A cancel before result() is seen by the first row's resetCancel(); one from a progress
// handler by the next row's. Either way the untouched source comes back and only cancel()'s own
// finished(false) is emitted; the request is used up, so the next result() runs in full.
void TestDistortion::cancelReturnsTheSource()
{
    QFETCH(QString, effect);
    const QImage source = patternImage(30, 20);
    const auto processor = makeEffect(effect, source, {20, 30});
    QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
    QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);

    processor->cancel();
    QCOMPARE(processor->result(), source);
    QCOMPARE(progress.count(), 1);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);

    const auto connection = connect(processor.get(), &ZelImageProcessor::progress, this,
                                    [&](const QString&, const QString&, int current, int) {
                                        if (current == 4)
                                            processor->cancel();
                                    });
    QCOMPARE(processor->result(), source);
    QCOMPARE(progress.count(), 1 + 5);
    QCOMPARE(finished.count(), 2);
    QCOMPARE(finished.at(1).at(0).toBool(), false);
    disconnect(connection);

    QVERIFY(processor->result() != source);
    QCOMPARE(progress.count(), 6 + 20);
    QCOMPARE(finished.last().at(0).toBool(), true);
}

void TestDistortion::nullAndTinySources_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QRgb>("onePixel");
    // One pixel 0x80112233: Ripple's wavelength is 0 pixels and samples (0, 0) itself; Splash
    // clamps every sample to it; 3D grid cells and mosaic blocks come to 0 pixels; the prism
    // samples the pixel itself and only forces alpha.
    QTest::newRow("Ripple") << "Ripple" << 0x80112233u;
    QTest::newRow("Splash") << "Splash" << 0x80112233u;
    QTest::newRow("ThreeDGrid") << "ThreeDGrid" << 0x80112233u;
    QTest::newRow("Mosaic") << "Mosaic" << 0x80112233u;
    QTest::newRow("Illusion") << "Illusion" << 0xFF112233u;
}

void TestDistortion::nullAndTinySources()
{
    QFETCH(QString, effect);
    QFETCH(QRgb, onePixel);
    for (const QImage& empty : {QImage(), QImage(0, 5, QImage::Format_ARGB32), QImage(5, 0, QImage::Format_RGB32)}) {
        const auto processor = makeEffect(effect, empty);
        QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
        QVERIFY(processor->result().isNull());
        QTest::ignoreMessage(QtWarningMsg, "QImage::scaled: Image is a null image");
        QVERIFY(processor->generatePreview(QSize(10, 10)).isNull());
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.at(0).at(0).toBool(), true);
    }
    QImage single(1, 1, QImage::Format_ARGB32);
    single.fill(0x80112233u);
    const QImage result = applyEffect(effect, single);
    QCOMPARE(result.size(), QSize(1, 1));
    QCOMPARE(rawPixel(result, 0, 0), onePixel);
}

void TestDistortion::otherFormatsAreConverted_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QImage::Format>("computedAs");
    const QList<QPair<QImage::Format, QImage::Format>> formats = {
        {QImage::Format_Indexed8, QImage::Format_ARGB32}, {QImage::Format_RGB888, QImage::Format_RGB32},
        {QImage::Format_Mono, QImage::Format_RGB32}, {QImage::Format_Grayscale8, QImage::Format_RGB32},
        {QImage::Format_RGBA8888, QImage::Format_ARGB32},
        {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32_Premultiplied}};
    for (const QString& effect : kEffects)
        for (const auto& format : formats)
            QTest::addRow("%s %d", qPrintable(effect), int(format.first)) << effect << format.first << format.second;
}

// Other formats are computed as 32-bit words, keeping whether they have an alpha channel.
void TestDistortion::otherFormatsAreConverted()
{
    QFETCH(QString, effect);
    QFETCH(QImage::Format, format);
    QFETCH(QImage::Format, computedAs);
    const QImage source = patternImage(33, 21).convertToFormat(format);
    const QImage converted = source.convertToFormat(computedAs);
    const QImage result = applyEffect(effect, source, {20, 30});
    QCOMPARE(result.format(), computedAs);
    QCOMPARE(firstDifference(result, applyEffect(effect, converted, {20, 30})), QString());
}

void TestDistortion::matchesPerPixelDefinition_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage>("source");
    QTest::addColumn<Parameters>("parameters");
    const QList<QSize> sizes = {{31, 20}, {20, 31}, {16, 16}, {17, 13}, {24, 18}, {40, 9}, {1, 7}, {7, 1}, {2, 2}};
    const QList<QPair<QString, QImage::Format>> formats = {
        {"translucent", QImage::Format_ARGB32}, {"opaque", QImage::Format_ARGB32},
        {"rgb32", QImage::Format_RGB32}, {"premultiplied", QImage::Format_ARGB32_Premultiplied}};
    const QList<QPair<QString, QList<Parameters>>> cases = {
        {"Ripple", {{20, 10}, {50, 30}, {7, 4}, {0, 5}, {100, 100}, {INT_MAX, INT_MAX}, {INT_MIN, -3}}},
        {"Splash", {{1}, {2}, {3}, {10}, {100}, {-7}, {INT_MAX}, {INT_MIN}}},
        {"ThreeDGrid", {{10, 10}, {100, 20}, {30, 255}, {7, 300}, {5, 40}, {50, -40}, {-30, 50},
                        {INT_MAX, INT_MAX}, {INT_MIN, INT_MIN}}},
        {"Mosaic", {{10}, {33}, {60}, {100}, {-40}, {INT_MAX}, {INT_MIN}}},
        {"Illusion", {{0}, {1}, {2}, {3}, {7}, {360}, {-3}, {100000}, {INT_MAX}, {INT_MIN}}}};
    for (const auto& effect : cases) {
        for (const QSize& size : sizes) {
            for (const auto& format : formats) {
                const QImage source = format.first == "rgb32" && effect.first == "Splash"
                    ? rgb32WithStrayAlpha(size.width(), size.height())
                    : patternImage(size.width(), size.height(), format.second, format.first != "opaque");
                for (const Parameters& p : effect.second) {
                    QTest::addRow("%s %dx%d %s %d %d", qPrintable(effect.first), size.width(), size.height(),
                                  qPrintable(format.first), p.value(0), p.value(1))
                        << effect.first << source << p;
                }
            }
        }
    }
    // Long rows: many wedges, runs and blocks per row.
    for (const Parameters& p : QList<Parameters>{{3}, {7}, {360}, {1}})
        QTest::addRow("Illusion 257x193 %d", p[0]) << "Illusion" << patternImage(257, 193) << p;
    QTest::newRow("Ripple 129x97") << "Ripple" << patternImage(129, 97) << Parameters{9, 6};
    QTest::newRow("ThreeDGrid 129x97") << "ThreeDGrid" << patternImage(129, 97) << Parameters{9, 6};
    QTest::newRow("Mosaic 129x97") << "Mosaic" << patternImage(129, 97) << Parameters{9};
}

// The effects' fast paths (offset tables, wedge runs, row copies, band rows) against the
// per-pixel definitions, on odd and even sizes, with and without alpha, and with parameters far
// outside their ranges.
void TestDistortion::matchesPerPixelDefinition()
{
    QFETCH(QString, effect);
    QFETCH(QImage, source);
    QFETCH(Parameters, parameters);
    const QImage result = applyEffect(effect, source, parameters);
    std::srand(11);
    QCOMPARE(firstDifference(result, reference(effect, source, parameters)), QString());
}

void TestDistortion::previews_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<Parameters>("parameters");
    QTest::newRow("Ripple") << "Ripple" << Parameters{30, 10};
    QTest::newRow("Splash") << "Splash" << Parameters{5};
    QTest::newRow("ThreeDGrid") << "ThreeDGrid" << Parameters{20, 30};
    QTest::newRow("Mosaic") << "Mosaic" << Parameters{15};
    QTest::newRow("Illusion") << "Illusion" << Parameters{5};
}

// Previews run the effect with this effect's parameters on the scaled image or the section:
// percentages are measured on that image, Splash's density stays in pixels. They report nothing.
void TestDistortion::previews()
{
    QFETCH(QString, effect);
    QFETCH(Parameters, parameters);
    const QImage source = patternImage(60, 40);
    const auto processor = makeEffect(effect, source, parameters);
    QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);

    const QImage scaled = source.scaled(QSize(30, 30), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    std::srand(5);
    const QImage preview = processor->generatePreview(QSize(30, 30));
    std::srand(5);
    QCOMPARE(preview.size(), QSize(30, 20));
    QCOMPARE(firstDifference(preview, reference(effect, scaled, parameters)), QString());

    const QRect section(7, 3, 25, 33);
    std::srand(5);
    const QImage sectionPreview = processor->generatePreview(section);
    std::srand(5);
    QCOMPARE(firstDifference(sectionPreview, reference(effect, source.copy(section), parameters)), QString());
    QCOMPARE(progress.count(), 0);
}

void TestDistortion::bilinearBlend_data()
{
    QTest::addColumn<double>("tx");
    QTest::addColumn<double>("ty");
    QTest::addColumn<bool>("alpha");
    QTest::addColumn<QRgb>("p00");
    QTest::addColumn<QRgb>("p10");
    QTest::addColumn<QRgb>("p01");
    QTest::addColumn<QRgb>("p11");
    QTest::addColumn<QRgb>("expected");
    const double epsilon = 1.1920928955078125e-7;
    QTest::newRow("four identical, alpha kept") << 0.5 << 0.5 << false << 0x80123456u << 0x80123456u << 0x80123456u
                                                << 0x80123456u << 0x80123456u;
    QTest::newRow("below epsilon, opaque") << 1e-7 << 0.0 << false << 0x40102030u << 0xFF000000u << 0xFF000000u
                                           << 0xFF000000u << 0xFF102030u;
    QTest::newRow("below epsilon, alpha") << 0.0 << 1e-7 << true << 0x40102030u << 0xFF000000u << 0xFF000000u
                                          << 0xFF000000u << 0x40102030u;
    // At epsilon the translucent rule runs: channels * 255 blended by a hair, back to p00's.
    QTest::newRow("at epsilon") << epsilon << 0.0 << true << 0x40102030u << 0xFF102030u << 0xFF102030u
                                << 0xFF102030u << 0xFF102030u;
    // R: top 0 + 100 * .25 = 25, bottom 0, 25 - 25 * .5 = 12.5 -> 12; G: top 0, bottom
    // 200 - 200 * .25 = 150, * .5 = 75; B: bottom 250 * .25 = 62.5, * .5 = 31.25 -> 31.
    QTest::newRow("opaque rule") << 0.25 << 0.5 << false << 0xFF000000u << 0xFF640000u << 0xFF00C800u
                                 << 0xFF0000FAu << 0xFF0C4B1Fu;
    QTest::newRow("opaque rule, alpha all 255") << 0.25 << 0.5 << true << 0xFF000000u << 0xFF640000u
                                                << 0xFF00C800u << 0xFF0000FAu << 0xFF0C4B1Fu;
    QTest::newRow("opaque rule forces alpha") << 0.25 << 0.5 << false << 0x10000000u << 0x20640000u
                                              << 0x3000C800u << 0x400000FAu << 0xFF0C4B1Fu;
    // A = 64 from p11 alone: R 100 * 64 = 6400 -> top 1600, 800, / 64 = 12; G 12800 -> 9600,
    // 4800 / 64 = 75; B 16000 -> 4000, 2000 / 64 = 31.
    QTest::newRow("translucent, p11's alpha") << 0.25 << 0.5 << true << 0xFF000000u << 0x80640000u
                                              << 0xFF00C800u << 0x400000FAu << 0x400C4B1Fu;
    // p00 is transparent red, yet its colour counts in full: R 255 * 255 = 65025, top 32512.5,
    // bottom 0, 16256.25 -> 16256 / 255 = 63.
    QTest::newRow("translucent, colour of a clear corner") << 0.5 << 0.5 << true << 0x00FF0000u << 0xFF000000u
                                                           << 0xFF000000u << 0xFF000000u << 0xFF3F0000u;
    QTest::newRow("translucent, p11 clear") << 0.5 << 0.5 << true << 0xFF112233u << 0xFF445566u << 0xFF778899u
                                            << 0x00123456u << 0x00FFFFFFu;
    QTest::newRow("outside corner") << 0.5 << 0.0 << true << 0xFF112233u << 0x00FFFFFFu << 0xFF112233u
                                    << 0x00FFFFFFu << 0x00FFFFFFu;
}

void TestDistortion::bilinearBlend()
{
    QFETCH(double, tx);
    QFETCH(double, ty);
    QFETCH(bool, alpha);
    QFETCH(QRgb, p00);
    QFETCH(QRgb, p10);
    QFETCH(QRgb, p01);
    QFETCH(QRgb, p11);
    QFETCH(QRgb, expected);
    QCOMPARE(getBilinearPixel(tx, ty, alpha, p00, p10, p01, p11), expected);
}

// The blend computes two channels per double operation; the lanes must give what the scalar
// arithmetic gives, bit for bit.
void TestDistortion::bilinearBlendMatchesScalarArithmetic()
{
    quint32 state = 7;
    const auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return state;
    };
    const double fractions[] = {0.0, 5e-8, 1.1920928955078125e-7, 0.5, 0.25, 0.9999999999999999, 1.0 / 3.0};
    const quint32 alphas[] = {0, 255, 1, 128};
    for (int i = 0; i < 300000; ++i) {
        QRgb corners[4];
        for (QRgb& corner : corners) {
            const quint32 bits = next();
            corner = (bits & 0xFFFFFF) | (bits % 3 == 0 ? alphas[bits >> 30] : next() >> 24) << 24;
        }
        if (next() % 4 == 0)
            corners[next() % 4] = corners[next() % 4];
        const double tx = next() % 3 == 0 ? fractions[next() % 7] : (next() >> 8) / double(1 << 24);
        const double ty = next() % 3 == 0 ? fractions[next() % 7] : (next() >> 8) / double(1 << 24);
        const bool alpha = next() % 2;
        const QRgb actual = getBilinearPixel(tx, ty, alpha, corners[0], corners[1], corners[2], corners[3]);
        const QRgb expected = referenceBilinear(tx, ty, alpha, corners[0], corners[1], corners[2], corners[3]);
        if (actual != expected)
            QFAIL(qPrintable(QStringLiteral("%1 %2 %3: %4 instead of %5").arg(tx).arg(ty).arg(alpha).arg(actual, 8, 16)
                                 .arg(expected, 8, 16)));
    }
}

// 4 x 4, amplitude 25 % = 1 pixel, wavelength 100 % = 4 pixels, centre (2, 2). At distance 1
// the sine is sin(pi / 2) = 1, so d = 1 is added to both coordinates:
//   (3, 2): dx 1, dy 0 -> (4, 3), clamped to (3, 3);   (1, 2): dx -1 -> (2, 3);
//   (2, 1): dy -1 -> (3, 2), a row not yet written;       (2, 3): (3, 4) -> (3, 3), not yet written.
// The centre has d = 0 and keeps its pixel; the samples are whole, so no blending happens.
void TestDistortion::rippleHandComputed()
{
    const QImage source = coordinateImage(4, 4, QImage::Format_RGB32);
    ZelImageProcessorRipple ripple(source);
    ripple.setParameters(100, 25);
    const QImage result = ripple.result();
    QCOMPARE(rawPixel(result, 3, 2), rawPixel(source, 3, 3));
    QCOMPARE(rawPixel(result, 1, 2), rawPixel(source, 2, 3));
    QCOMPARE(rawPixel(result, 2, 1), rawPixel(source, 3, 2));
    QCOMPARE(rawPixel(result, 2, 3), rawPixel(source, 3, 3));
    QCOMPARE(rawPixel(result, 2, 2), rawPixel(source, 2, 2));
}

// Sampling reads pixels already written: reading from an untouched copy gives another picture.
void TestDistortion::rippleSamplesTheImageBeingWritten()
{
    const QImage source = patternImage(40, 30);
    const QImage result = applyEffect("Ripple", source, {20, 10});
    QCOMPARE(result, referenceRipple(source, 20, 10, true));
    QVERIFY(result != referenceRipple(source, 20, 10, false));
}

// A wavelength of 0 pixels makes every offset NaN, which clamps to 0: every pixel samples (0, 0),
// which maps to itself (alpha forced where the image has none).
void TestDistortion::rippleWaveLengthZeroSamplesTheOrigin()
{
    for (const QImage::Format format : {QImage::Format_ARGB32, QImage::Format_RGB32}) {
        const QImage source = patternImage(23, 17, format);
        const QRgb origin = rawPixel(source, 0, 0) | (format == QImage::Format_RGB32 ? 0xFF000000u : 0u);
        for (const Parameters& p : {Parameters{0, 30}, Parameters{4, 30}}) {
            const QImage result = applyEffect("Ripple", source, p);
            for (int y = 0; y < result.height(); ++y)
                for (int x = 0; x < result.width(); ++x)
                    QCOMPARE(rawPixel(result, x, y), origin);
        }
    }
}

void TestDistortion::splashDensityOneIsTheSource()
{
    const QImage source = patternImage(19, 11);
    QCOMPARE(applyEffect("Splash", source, {1}), source);
}

// Deliberately: the density check comes before the loop, so nothing is reported at all.
void TestDistortion::splashDensityZeroIsSilent()
{
    const QImage source = patternImage(19, 11, QImage::Format_Indexed8);
    const auto splash = makeEffect("Splash", source, {0});
    QSignalSpy progress(splash.get(), &ZelImageProcessor::progress);
    QSignalSpy finished(splash.get(), &ZelImageProcessor::finished);
    QCOMPARE(splash->result(), source);
    QCOMPARE(progress.count(), 0);
    QCOMPARE(finished.count(), 0);
}

// One 10 x 10 cell, grey 100 at alpha 128, depth 20: row 1 darker and row 8 lighter over
// columns 1..8; column 1 lighter and column 8 darker over rows 2..7 (rows 1 and 8 at those
// columns belong to the row bands, the first rule that applies); the border keeps its colour.
// Alpha becomes 255 everywhere.
void TestDistortion::threeDGridCell()
{
    QImage source(10, 10, QImage::Format_ARGB32);
    source.fill(0x80646464u);
    const QImage result = applyEffect("ThreeDGrid", source, {100, 20});
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 10; ++x) {
            const bool innerX = x >= 1 && x <= 8;
            const bool innerY = y >= 2 && y <= 7;
            QRgb expected = 0xFF646464u;
            if ((y == 1 && innerX) || (x == 8 && innerY))
                expected = 0xFF505050u;
            else if ((y == 8 && innerX) || (x == 1 && innerY))
                expected = 0xFF787878u;
            QCOMPARE(rawPixel(result, x, y), expected);
        }
    }
}

void TestDistortion::threeDGridDepthZeroOnlySetsAlpha()
{
    const QImage source = patternImage(37, 29);
    const QImage result = applyEffect("ThreeDGrid", source, {20, 0});
    for (int y = 0; y < source.height(); ++y)
        for (int x = 0; x < source.width(); ++x)
            QCOMPARE(rawPixel(result, x, y), rawPixel(source, x, y) | 0xFF000000u);
}

void TestDistortion::zeroCellOrBlockKeepsTheSource_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<Parameters>("parameters");
    // A shorter side of 9 pixels at 10 % is 0.9, truncated to 0.
    QTest::newRow("ThreeDGrid") << "ThreeDGrid" << Parameters{10, 10};
    QTest::newRow("Mosaic") << "Mosaic" << Parameters{10};
}

void TestDistortion::zeroCellOrBlockKeepsTheSource()
{
    QFETCH(QString, effect);
    QFETCH(Parameters, parameters);
    const QImage source = patternImage(20, 9, QImage::Format_RGB888);
    const auto processor = makeEffect(effect, source, parameters);
    QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
    QCOMPARE(processor->result(), source);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
}

void TestDistortion::mosaicBlocks_data()
{
    QTest::addColumn<int>("percent");
    QTest::addColumn<int>("block");
    // Shorter side 5: 60 % is 3 pixels, so column 6 and rows 3 and 4 are partial blocks; 20 %
    // is 1 pixel, every pixel its own block.
    QTest::newRow("3 pixels") << 60 << 3;
    QTest::newRow("1 pixel") << 20 << 1;
}

void TestDistortion::mosaicBlocks()
{
    QFETCH(int, percent);
    QFETCH(int, block);
    const QImage source = patternImage(7, 5);
    const QImage result = applyEffect("Mosaic", source, {percent});
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            QCOMPARE(rawPixel(result, x, y), rawPixel(source, x / block * block, y / block * block) | 0xFF000000u);
}

// 8 x 6: R = 5, D = 2.5, centre (4, 3). The centre pixel has t = 0 and keeps its colour (alpha
// forced). The corner (0, 0) has t = 1 (nx -0.8, ny -0.6); its angle atan2(-0.6, -0.8) = -2.498
// gives k = floor(-2.498 * 1.5 / pi) = -2, so phi = -3 theta, about -pi: it samples
// (0 + 2.5, 0 + 2.2e-10), truncated (2, 0). White towards black by t = 1 is black either way t
// rounds.
void TestDistortion::illusionCentreAndCorner()
{
    QImage source(8, 6, QImage::Format_ARGB32);
    source.fill(0xFF808080u);
    source.setPixel(0, 0, 0xFFFFFFFFu);
    source.setPixel(2, 0, 0xFF000000u);
    source.setPixel(4, 3, 0x40123456u);
    const QImage result = applyEffect("Illusion", source, {3});
    QCOMPARE(rawPixel(result, 4, 3), 0xFF123456u);
    QCOMPARE(rawPixel(result, 0, 0), 0xFF000000u);
}

// One section: theta is the ten-decimal pi, 9e-11 short of pi. Above the centre line k = -1 and
// phi = -theta; on and below it k = 0 and phi = theta. cos(+-theta) is -1, so x samples x + D;
// sin(theta) is +9e-11 rather than 0, so the rows on and below the centre line sample the row
// above (y - 9e-11 * D truncates to y - 1), while the rows above sample their own row.
void TestDistortion::illusionOneSection()
{
    const int w = 13;
    const int h = 10;
    const QImage source = patternImage(w, h);
    const QImage result = applyEffect("Illusion", source, {1});
    const double radius = std::sqrt(double(w * w + h * h)) * 0.5;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const double nx = (x - w * 0.5) / radius;
            const double ny = (y - h * 0.5) / radius;
            const int sx = std::min(int(x + radius * 0.5), w - 1);
            const int sy = y < h / 2 ? y : y - 1;
            const QRgb expected = blendTowards(rawPixel(source, x, y), rawPixel(source, sx, sy),
                                                std::sqrt(nx * nx + ny * ny));
            QCOMPARE(rawPixel(result, x, y), expected);
        }
    }
}

// No sections: theta is infinite, every direction NaN, every sample clamps to (0, 0).
void TestDistortion::illusionNoSectionsSamplesTheOrigin()
{
    const int w = 12;
    const int h = 9;
    const QImage source = patternImage(w, h);
    const QImage result = applyEffect("Illusion", source, {0});
    const double radius = std::sqrt(double(w * w + h * h)) * 0.5;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const double nx = (x - w * 0.5) / radius;
            const double ny = (y - h * 0.5) / radius;
            const double t = std::sqrt(nx * nx + ny * ny);
            QCOMPARE(rawPixel(result, x, y), blendTowards(rawPixel(source, x, y), rawPixel(source, 0, 0), t));
        }
    }
}

void TestDistortion::prismRunsFromAnyGuess_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("sectionCount");
    for (const QSize& size : {QSize(64, 48), QSize(33, 47), QSize(301, 5)})
        for (const int count : {1, 3, 8, 360, -5, 0, 100000})
            QTest::addRow("%dx%d %d", size.width(), size.height(), count) << size << count;
}

// The wedge index never goes back along a row, and a run's end is found exactly whatever the
// guess: the search does not rely on the boundary rays that guess it.
void TestDistortion::prismRunsFromAnyGuess()
{
    QFETCH(QSize, size);
    QFETCH(int, sectionCount);
    const int w = size.width();
    const double radius = std::sqrt(double(w) * w + double(size.height()) * size.height()) * 0.5;
    const ZelPrismWedges wedges(w, radius, w * 0.5, 3.1415926535 / sectionCount);
    for (int y = 0; y < size.height(); ++y) {
        const double ny = (y - size.height() * 0.5) / radius;
        QVector<int> wedge(w);
        for (int x = 0; x < w; ++x)
            wedge[x] = wedges.wedgeAt(x, ny);
        const bool ascending = std::is_sorted(wedge.begin(), wedge.end());
        QVERIFY(ascending || std::is_sorted(wedge.rbegin(), wedge.rend()));
        for (int from = 0; from < w;) {
            int end = from;
            while (end + 1 < w && wedge[end + 1] == wedge[from])
                ++end;
            for (const int guess : {-1, from, from + 1, end - 1, end, end + 1, end + 7, w - 2, w - 1, w + 3, INT_MIN})
                QCOMPARE(wedges.runEnd(from, wedge[from], ny, guess), end);
            from = end + 1;
        }
    }
}

QTEST_MAIN(TestDistortion)
#include "tst_distortion.moc"
