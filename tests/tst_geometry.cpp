#include "ZelEffectRegistry.h"
#include "ZelImageProcessorCut.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelImageProcessorRotate.h"
#include "ZelImageProcessorScale.h"
#include "ZelImageProcessorShift.h"
#include "ZelParameterDescriptionNumber_p.h"
#include "ZelProgressSignalizer.h"

#include <QSignalSpy>
#include <QtTest>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

namespace {

// Pixel (x, y) is 0xFF000000 | x << 8 | y, so every pixel tells where it came from. Indexed
// images get one colour-table entry per pixel; mono ones a pattern of two colours.
QImage testImage(int width, int height, QImage::Format format = QImage::Format_ARGB32)
{
    if (format == QImage::Format_Indexed8 || format == QImage::Format_Mono) {
        QImage image(width, height, format);
        QVector<QRgb> colours;
        if (format == QImage::Format_Mono)
            colours = {qRgb(0, 0, 0), qRgb(255, 255, 255)};
        else
            for (int i = 0; i < width * height; ++i)
                colours << qRgb(i, 255 - i, 7);
        image.setColorTable(colours);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                image.setPixel(x, y, format == QImage::Format_Mono ? uint((x + 2 * y) % 3 == 0) : uint(y * width + x));
        return image;
    }
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, 0xFF000000u | uint(x) << 8 | uint(y));
    return image.convertToFormat(format);
}

std::unique_ptr<ZelImageProcessor> createEffect(const QString& name, const QImage& image = QImage())
{
    return std::unique_ptr<ZelImageProcessor>(ZelEffectRegistry::create(ZelEffectRegistry::find(name), image));
}

// The shift as defined, pixel by pixel, drawing from rand() like the effect: k = rand() % (max + 1)
// (a negative max counts as 0); for k > 0 an even second rand() moves the row left (pixel x shows
// pixel x + k, the last pixel past the end), an odd one right (x shows x - k, the first pixel
// before the start).
QImage referenceShift(const QImage& source, int maxShift)
{
    const bool indexed = source.format() == QImage::Format_Indexed8;
    QImage expected = source.copy();
    const long long choices = qMax(maxShift, 0) + 1LL;
    for (int y = 0; y < source.height(); ++y) {
        const long long k = std::rand() % choices;
        if (k == 0)
            continue;
        const bool left = std::rand() % 2 == 0;
        for (int x = 0; x < source.width(); ++x) {
            const int from = int(left ? qMin(x + k, source.width() - 1LL) : qMax(x - k, 0LL));
            expected.setPixel(x, y, indexed ? uint(source.pixelIndex(from, y)) : source.pixel(from, y));
        }
    }
    return expected;
}

bool isSingleColourRow(const QImage& image, int y, QRgb colour)
{
    for (int x = 0; x < image.width(); ++x)
        if (image.pixel(x, y) != colour)
            return false;
    return true;
}

// Opens the implementation, to drive its progress signalizer.
template <class Effect>
class Opened : public Effect
{
public:
    using Effect::Effect;
    ZelImageProcessorImpl* impl() const { return this->myImpl; }
};

template <class Effect>
QVariantList progressRelayedFromSignalizer()
{
    Opened<Effect> effect(testImage(2, 2));
    QSignalSpy progress(&effect, &ZelImageProcessor::progress);
    effect.impl()->connectProgressSignalizer();
    effect.impl()->progressSignalizer()->setProgress(3, 10);
    return progress.count() == 1 ? progress.at(0) : QVariantList();
}

} // namespace

class TestGeometry : public QObject
{
    Q_OBJECT

private slots:
    void metadata_data();
    void metadata();
    void parameterDescriptions();
    void progressTitles();
    void typedSettersAreInvokable();
    void endsWithFinishedFalse_data();
    void endsWithFinishedFalse();
    void nullAndEmptySources_data();
    void nullAndEmptySources();
    void oneByOneSources();

    void rotateSizes_data();
    void rotateSizes();
    void rotate90MapsPixels();
    void rotate45HasTransparentCorners();
    void rotatePreviewsPassTheDegrees();

    void cutRectangles_data();
    void cutRectangles();
    void cutPreviews_data();
    void cutPreviews();

    void scaleFactors_data();
    void scaleFactors();
    void scalePreviewsShowFactorOne();

    void shiftByHand_data();
    void shiftByHand();
    void shiftMatchesReference_data();
    void shiftMatchesReference();
    void shiftWideMaximumFillsRowsWithAnEdge();
    void shiftProgressAndFinished();
    void shiftCancel_data();
    void shiftCancel();
    void shiftPreviewsUseTheDefaultMaximum();
};

void TestGeometry::metadata_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("toolTipKey");
    QTest::addColumn<QString>("toolTip");
    QTest::addColumn<QString>("iconName");

    // Rotate and Scale keep the lower-case key and the trailing blanks; null means unset.
    QTest::newRow("Rotate") << "Rotate" << "Rotieren" << QByteArray("toolTip") << "Aktuelles Foto rotieren "
                            << QString();
    QTest::newRow("Cut") << "Cut" << "Ausschneiden" << QByteArray("ToolTip") << "Ausschneiden" << "ico_cut";
    QTest::newRow("Scale") << "Scale" << "Skalieren" << QByteArray("toolTip")
                           << QString::fromUtf8("Breite und Höhe des Fotos ändern ") << "ico_scale";
    QTest::newRow("Shift") << "Shift" << "" << QByteArray() << QString() << QString();
}

void TestGeometry::metadata()
{
    QFETCH(QString, effect);
    QFETCH(QString, name);
    QFETCH(QByteArray, toolTipKey);
    QFETCH(QString, toolTip);
    QFETCH(QString, iconName);
    const auto processor = createEffect(effect);
    QCOMPARE(processor->effectName(), name);
    for (const QByteArray& key : {QByteArray("toolTip"), QByteArray("ToolTip")}) {
        const QVariant property = processor->property(key.constData());
        QCOMPARE(property.isValid(), key == toolTipKey);
        if (key == toolTipKey)
            QCOMPARE(property.toString(), toolTip);
    }
    QCOMPARE(processor->property("IconName").isValid(), !iconName.isNull());
    QCOMPARE(processor->property("IconName").toString(), iconName);
}

void TestGeometry::parameterDescriptions()
{
    const ZelParameterDescriptionContainer rotate = ZelImageProcessorRotate().parameterContainer();
    QCOMPARE(rotate.parameterNames(), QStringList{"Degrees"});
    QCOMPARE(rotate.position("Degrees"), QPoint(0, 0));
    ZelParameterDescription degrees = rotate.parameter("Degrees");
    const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(degrees.constData());
    QVERIFY(number);
    QCOMPARE(number->min().toDouble(), 0.0);
    QCOMPARE(number->max().toDouble(), 360.0);
    QCOMPARE(degrees.visibleName(), QString("Grad"));
    QCOMPARE(degrees.value(), QVariant(0.0));
    QCOMPARE(degrees.defaultValue(), QVariant(0.0));

    const ZelParameterDescriptionContainer cut = ZelImageProcessorCut().parameterContainer();
    QCOMPARE(cut.parameterNames(), QStringList{"Rect"});
    QCOMPARE(cut.position("Rect"), QPoint(0, 0));
    ZelParameterDescription rect = cut.parameter("Rect");
    QVERIFY(!dynamic_cast<const ZelParameterDescriptionNumberImpl*>(rect.constData()));
    QCOMPARE(rect.visibleName(), QString("Rechteck"));
    QCOMPARE(rect.value(), QVariant(QRectF()));
    QCOMPARE(rect.defaultValue(), QVariant(QRectF()));

    QVERIFY(ZelImageProcessorScale().parameterContainer().isEmpty());
    QVERIFY(ZelImageProcessorShift().parameterContainer().isEmpty());
}

// The signalizer's progress leaves with the effect name and an empty step name.
void TestGeometry::progressTitles()
{
    QCOMPARE(progressRelayedFromSignalizer<ZelImageProcessorRotate>(), (QVariantList{"Rotieren", "", 3, 10}));
    QCOMPARE(progressRelayedFromSignalizer<ZelImageProcessorCut>(), (QVariantList{"Ausschneiden", "", 3, 10}));
    QCOMPARE(progressRelayedFromSignalizer<ZelImageProcessorScale>(), (QVariantList{"Skalieren", "", 3, 10}));
    QCOMPARE(progressRelayedFromSignalizer<ZelImageProcessorShift>(), (QVariantList{"", "", 3, 10}));
}

// Tools reach the typed setters through the meta-object system.
void TestGeometry::typedSettersAreInvokable()
{
    const QImage source = testImage(4, 2);
    ZelImageProcessorRotate rotate(source);
    QVERIFY(QMetaObject::invokeMethod(&rotate, "setDegrees", Q_ARG(double, 90.0)));
    QCOMPARE(rotate.result().size(), QSize(2, 4));
    ZelImageProcessorCut cut(source);
    QVERIFY(QMetaObject::invokeMethod(&cut, "setRect", Q_ARG(QRectF, QRectF(1, 0, 2, 2))));
    QCOMPARE(cut.result(), source.copy(1, 0, 2, 2));
    ZelImageProcessorScale scale(source);
    QVERIFY(QMetaObject::invokeMethod(&scale, "setParameters", Q_ARG(double, 2.0), Q_ARG(double, 1.0)));
    QCOMPARE(scale.result().size(), QSize(8, 2));
    ZelImageProcessorShift shift(source);
    QVERIFY(QMetaObject::invokeMethod(&shift, "setShiftValue", Q_ARG(int, 0)));
    QCOMPARE(shift.result(), source);
}

void TestGeometry::endsWithFinishedFalse_data()
{
    QTest::addColumn<QString>("effect");
    QTest::newRow("Rotate") << "Rotate";
    QTest::newRow("Cut") << "Cut";
    QTest::newRow("Scale") << "Scale";
}

void TestGeometry::endsWithFinishedFalse()
{
    QFETCH(QString, effect);
    const auto processor = createEffect(effect, testImage(6, 4));
    QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
    QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
    QVERIFY(!processor->result().isNull());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
    QCOMPARE(progress.count(), 0);
}

void TestGeometry::nullAndEmptySources_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage>("source");
    for (const QString effect : {"Rotate", "Cut", "Scale", "Shift"}) {
        QTest::newRow(qPrintable(effect + " null")) << effect << QImage();
        QTest::newRow(qPrintable(effect + " 0 x 7")) << effect << QImage(0, 7, QImage::Format_ARGB32);
        QTest::newRow(qPrintable(effect + " 7 x 0")) << effect << QImage(7, 0, QImage::Format_Indexed8);
    }
}

void TestGeometry::nullAndEmptySources()
{
    QFETCH(QString, effect);
    QFETCH(QImage, source);
    const auto processor = createEffect(effect);
    processor->setSourceImage(source);
    if (auto* rotate = qobject_cast<ZelImageProcessorRotate*>(processor.get()))
        rotate->setDegrees(30);
    if (auto* cut = qobject_cast<ZelImageProcessorCut*>(processor.get()))
        cut->setRect(QRectF(1, 1, 3, 3));
    if (auto* scale = qobject_cast<ZelImageProcessorScale*>(processor.get()))
        scale->setParameters(2, 2);
    QVERIFY(processor->result().isNull());
    QVERIFY(processor->generatePreview(QSize(10, 10)).isNull());
    QVERIFY(processor->generatePreview(QRect(0, 0, 5, 5)).isNull());
}

void TestGeometry::oneByOneSources()
{
    const QImage pixel = testImage(1, 1);
    ZelImageProcessorRotate rotate(pixel);
    rotate.setDegrees(90);
    QCOMPARE(rotate.result().pixel(0, 0), pixel.pixel(0, 0));
    rotate.setDegrees(45);
    QVERIFY(!rotate.result().isNull());

    ZelImageProcessorCut cut(pixel);
    QCOMPARE(cut.result(), pixel);
    cut.setRect(QRectF(0, 0, 1, 1));
    QCOMPARE(cut.result(), pixel);

    ZelImageProcessorScale scale(pixel);
    scale.setParameters(3, 2);
    const QImage scaled = scale.result();
    QCOMPARE(scaled.size(), QSize(3, 2));
    QVERIFY(isSingleColourRow(scaled, 1, pixel.pixel(0, 0)));

    // Any shift of a single pixel fills it with itself.
    ZelImageProcessorShift shift(pixel);
    shift.setShiftValue(5);
    for (int i = 0; i < 10; ++i)
        QCOMPARE(shift.result(), pixel);
}

void TestGeometry::rotateSizes_data()
{
    QTest::addColumn<double>("degrees");
    QTest::addColumn<QSize>("size");
    QTest::newRow("0") << 0.0 << QSize(20, 10);
    QTest::newRow("90") << 90.0 << QSize(10, 20);
    QTest::newRow("270") << 270.0 << QSize(10, 20);
    QTest::newRow("180") << 180.0 << QSize(20, 10);
    // Qt gives a null image for angles that are not finite; huge finite ones still rotate.
    QTest::newRow("NaN") << std::numeric_limits<double>::quiet_NaN() << QSize();
    QTest::newRow("infinity") << std::numeric_limits<double>::infinity() << QSize();
}

void TestGeometry::rotateSizes()
{
    QFETCH(double, degrees);
    QFETCH(QSize, size);
    const QImage source = testImage(20, 10);
    ZelImageProcessorRotate rotate(source);
    rotate.setDegrees(degrees);
    const QImage rotated = rotate.result();
    QCOMPARE(rotated.isNull(), size.isEmpty());
    if (!size.isEmpty())
        QCOMPARE(rotated.size(), size);
    if (degrees == 0.0)
        QCOMPARE(rotated, source);
    rotate.setDegrees(1e300);
    QVERIFY(!rotate.result().isNull());
}

// Clockwise on screen: the source's top-left pixel goes to the top right, so with source height H
// the result's pixel (x, y) is the source's (y, H - 1 - x).
void TestGeometry::rotate90MapsPixels()
{
    const QImage source = testImage(3, 2);
    ZelImageProcessorRotate rotate(source);
    rotate.setDegrees(90);
    const QImage rotated = rotate.result();
    QCOMPARE(rotated.size(), QSize(2, 3));
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 2; ++x)
            QCOMPARE(rotated.pixel(x, y), source.pixel(y, 1 - x));
}

void TestGeometry::rotate45HasTransparentCorners()
{
    QImage source(20, 10, QImage::Format_RGB32);
    source.fill(qRgb(200, 100, 50));
    ZelImageProcessorRotate rotate(source);
    rotate.setDegrees(45);
    const QImage rotated = rotate.result();
    // The bounding box of the rotated photo: (20 + 10) / sqrt(2) = 21.2 each way.
    QVERIFY(rotated.width() >= 22 && rotated.height() >= 22);
    QVERIFY(rotated.hasAlphaChannel());
    const int right = rotated.width() - 1;
    const int bottom = rotated.height() - 1;
    for (const QPoint corner : {QPoint(0, 0), QPoint(right, 0), QPoint(0, bottom), QPoint(right, bottom)})
        QCOMPARE(qAlpha(rotated.pixel(corner)), 0);
    QCOMPARE(rotated.pixel(right / 2, bottom / 2), qRgb(200, 100, 50));
}

void TestGeometry::rotatePreviewsPassTheDegrees()
{
    const QImage source = testImage(40, 20);
    ZelImageProcessorRotate rotate(source);
    rotate.setDegrees(90);
    QCOMPARE(rotate.generatePreview(QSize(10, 10)).size(), QSize(5, 10));
    const QImage section = rotate.generatePreview(QRect(2, 3, 6, 4));
    QCOMPARE(section.size(), QSize(4, 6));
    // The section's bottom-left pixel (2, 6) ends up top left.
    QCOMPARE(section.pixel(0, 0), source.pixel(2, 6));
}

void TestGeometry::cutRectangles_data()
{
    QTest::addColumn<QRectF>("rect");
    QTest::addColumn<QRect>("section");

    const double nan = std::numeric_limits<double>::quiet_NaN();
    // Each coordinate truncated on its own: 10.9 -> 10 and 5.9 -> 5.
    QTest::newRow("fractions") << QRectF(10.9, 10.9, 5.9, 5.9) << QRect(10, 10, 5, 5);
    // QImage::copy takes the null rectangle for the whole image.
    QTest::newRow("default null") << QRectF() << QRect(0, 0, 40, 20);
    QTest::newRow("null elsewhere") << QRectF(5, 5, 0.5, 0.9) << QRect(0, 0, 40, 20);
    // Toward zero, not down: -2.5 -> -2; outside pixels come out as 0.
    QTest::newRow("negative") << QRectF(-2.5, -2.5, 4, 4) << QRect(-2, -2, 4, 4);
    QTest::newRow("partly outside") << QRectF(38, 18, 5, 5) << QRect(38, 18, 5, 5);
    QTest::newRow("outside") << QRectF(100, 100, 3, 3) << QRect(100, 100, 3, 3);
    // An empty rectangle that is not null, and ones beyond int or too large to allocate: null.
    QTest::newRow("no width") << QRectF(3, 3, 0, 4) << QRect();
    QTest::newRow("negative size") << QRectF(3, 3, -2, -2) << QRect();
    QTest::newRow("right edge beyond int") << QRectF(2147483000, 0, 5000, 5) << QRect();
    QTest::newRow("left beyond int") << QRectF(-3e9, 0, 5, 5) << QRect();
    QTest::newRow("NaN") << QRectF(nan, 0, 5, 5) << QRect();
    QTest::newRow("too large") << QRectF(0, 0, 1e6, 1e6) << QRect();
}

void TestGeometry::cutRectangles()
{
    QFETCH(QRectF, rect);
    QFETCH(QRect, section);
    const QImage source = testImage(40, 20);
    ZelImageProcessorCut cut(source);
    if (!rect.isNull())
        cut.setRect(rect);
    const QImage result = cut.result();
    if (section.isNull()) {
        QVERIFY(result.isNull());
        return;
    }
    QCOMPARE(result.size(), section.size());
    for (int y = 0; y < section.height(); ++y) {
        for (int x = 0; x < section.width(); ++x) {
            const QPoint from = section.topLeft() + QPoint(x, y);
            QCOMPARE(result.pixel(x, y), source.rect().contains(from) ? source.pixel(from) : 0u);
        }
    }
}

void TestGeometry::cutPreviews_data()
{
    QTest::addColumn<bool>("bySize");
    QTest::addColumn<QRect>("area");
    QTest::addColumn<QRect>("cutOfPreview");

    // Factors source / preview in whole numbers, deliberately: 0 for any smaller preview, whose
    // null rectangle cuts the whole preview.
    QTest::newRow("smaller size") << true << QRect(0, 0, 20, 20) << QRect(0, 0, 20, 10);
    QTest::newRow("smaller section") << false << QRect(5, 5, 10, 10) << QRect(0, 0, 10, 10);
    QTest::newRow("section of the source's size") << false << QRect(0, 0, 40, 20) << QRect(10, 10, 5, 5);
    // Factor 2: (21.8, 21.8, 33.6 - 21.8, 33.6 - 21.8), truncated.
    QTest::newRow("twice the source") << false << QRect(0, 0, 80, 40) << QRect(21, 21, 11, 11);
}

void TestGeometry::cutPreviews()
{
    QFETCH(bool, bySize);
    QFETCH(QRect, area);
    QFETCH(QRect, cutOfPreview);
    const QImage source = testImage(40, 20);
    ZelImageProcessorCut cut(source);
    cut.setRect(QRectF(10.9, 10.9, 5.9, 5.9));
    const QImage preview = bySize ? source.scaled(area.size(), Qt::KeepAspectRatio, Qt::SmoothTransformation)
                                  : source.copy(area);
    const QImage result = bySize ? cut.generatePreview(area.size()) : cut.generatePreview(area);
    QCOMPARE(result, preview.copy(cutOfPreview));
}

void TestGeometry::scaleFactors_data()
{
    QTest::addColumn<double>("horizontal");
    QTest::addColumn<double>("vertical");
    QTest::addColumn<QSize>("size");
    QTest::newRow("2 x 0.5") << 2.0 << 0.5 << QSize(8, 2);
    QTest::newRow("1 x 1") << 1.0 << 1.0 << QSize(4, 4);
    // Qt gives null images for these; none may crash.
    QTest::newRow("0") << 0.0 << 1.0 << QSize();
    QTest::newRow("1e-9") << 1e-9 << 1e-9 << QSize();
    QTest::newRow("1e6") << 1e6 << 1e6 << QSize();
    QTest::newRow("1e20") << 1e20 << 1.0 << QSize();
    QTest::newRow("infinity") << std::numeric_limits<double>::infinity() << 1.0 << QSize();
    QTest::newRow("NaN") << std::numeric_limits<double>::quiet_NaN() << 1.0 << QSize();
}

void TestGeometry::scaleFactors()
{
    QFETCH(double, horizontal);
    QFETCH(double, vertical);
    QFETCH(QSize, size);
    const QImage source = testImage(4, 4);
    ZelImageProcessorScale scale(source);
    scale.setParameters(horizontal, vertical);
    const QImage scaled = scale.result();
    QCOMPARE(scaled.isNull(), size.isEmpty());
    if (!size.isEmpty())
        QCOMPARE(scaled.size(), size);
    if (horizontal == 1.0 && vertical == 1.0)
        QCOMPARE(scaled, source);
}

// Deliberately: the preview object never receives the factors.
void TestGeometry::scalePreviewsShowFactorOne()
{
    const QImage source = testImage(40, 20);
    ZelImageProcessorScale scale(source);
    scale.setParameters(3, 3);
    QCOMPARE(scale.generatePreview(QSize(10, 10)),
             source.scaled(QSize(10, 10), Qt::KeepAspectRatio, Qt::SmoothTransformation));
    QCOMPARE(scale.generatePreview(QRect(2, 3, 5, 4)), source.copy(2, 3, 5, 4));
}

void TestGeometry::shiftByHand_data()
{
    QTest::addColumn<unsigned>("seed");
    QTest::addColumn<int>("maxShift");
    QTest::addColumn<QVector<QVector<int>>>("columns");
    QTest::addColumn<int>("nextRand");

    // glibc's rand() after srand(1): 1804289383 846930886 1681692777 1714636915 1957747793
    // 424238335 719885386 1649760492 596516649. Modulo 4 and parity, row by row: 3 even (left 3),
    // 1 odd (right 1), 1 odd (right 1), 2 even (left 2).
    QTest::newRow("seed 1, max 3") << 1u << 3
        << QVector<QVector<int>>{{3, 4, 4, 4, 4}, {0, 0, 1, 2, 3}, {0, 0, 1, 2, 3}, {2, 3, 4, 4, 4}}
        << 596516649;
    // After srand(2): 1505335290 1738766719 190686788 260874575 747983061 906156498: 2 odd (right
    // 2), 0 (unchanged, one call), 3 odd (right 3).
    QTest::newRow("seed 2, max 3") << 2u << 3
        << QVector<QVector<int>>{{0, 0, 0, 1, 2}, {0, 1, 2, 3, 4}, {0, 0, 0, 0, 1}} << 906156498;
    // Modulo 8: 7 even, a shift past the width: the whole row is the last pixel.
    QTest::newRow("seed 1, max 7") << 1u << 7 << QVector<QVector<int>>{{4, 4, 4, 4, 4}} << 1681692777;
}

// Each row lists the source column every pixel shows.
void TestGeometry::shiftByHand()
{
    QFETCH(unsigned, seed);
    QFETCH(int, maxShift);
    QFETCH(QVector<QVector<int>>, columns);
    QFETCH(int, nextRand);
    const QImage source = testImage(5, columns.size());
    ZelImageProcessorShift shift(source);
    shift.setShiftValue(maxShift);
    std::srand(seed);
    const QImage shifted = shift.result();
    QCOMPARE(std::rand(), nextRand);
    for (int y = 0; y < columns.size(); ++y)
        for (int x = 0; x < 5; ++x)
            QCOMPARE(shifted.pixel(x, y), source.pixel(columns[y][x], y));
}

void TestGeometry::shiftMatchesReference_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("maxShift");
    QTest::newRow("ARGB32") << int(QImage::Format_ARGB32) << 3;
    QTest::newRow("ARGB32 beyond the width") << int(QImage::Format_ARGB32) << 7;
    QTest::newRow("RGB32") << int(QImage::Format_RGB32) << 4;
    QTest::newRow("indexed, byte-wise") << int(QImage::Format_Indexed8) << 3;
    QTest::newRow("RGB888, 3 bytes") << int(QImage::Format_RGB888) << 3;
    QTest::newRow("RGBA64, 8 bytes") << int(QImage::Format_RGBA64) << 3;
    QTest::newRow("mono, as ARGB32") << int(QImage::Format_Mono) << 3;
    // 0 and negative maxima: an exact copy, one rand() per row.
    QTest::newRow("max 0") << int(QImage::Format_ARGB32) << 0;
    QTest::newRow("max -1") << int(QImage::Format_ARGB32) << -1;
    QTest::newRow("max -5") << int(QImage::Format_Indexed8) << -5;
    // max + 1 overflows int; the sanitizer build traps if that is computed in int.
    QTest::newRow("max INT_MAX") << int(QImage::Format_ARGB32) << INT_MAX;
}

void TestGeometry::shiftMatchesReference()
{
    QFETCH(int, format);
    QFETCH(int, maxShift);
    const QImage source = testImage(5, 12, QImage::Format(format));
    const QImage pixelWords = source.depth() == 1 ? source.convertToFormat(QImage::Format_ARGB32) : source;
    for (unsigned seed : {1u, 5u, 9u}) {
        ZelImageProcessorShift shift(source);
        shift.setShiftValue(maxShift);
        std::srand(seed);
        const QImage shifted = shift.result();
        const int next = std::rand();
        std::srand(seed);
        const QImage expected = referenceShift(pixelWords, maxShift);
        QCOMPARE(shifted, expected);
        QCOMPARE(next, std::rand());
        if (maxShift <= 0)
            QCOMPARE(shifted, pixelWords);
        else
            QVERIFY(shifted != pixelWords);
    }
}

void TestGeometry::shiftWideMaximumFillsRowsWithAnEdge()
{
    const QImage source = testImage(5, 20);
    ZelImageProcessorShift shift(source);
    shift.setShiftValue(5);
    std::srand(11);
    const QImage shifted = shift.result();
    int filledRows = 0;
    for (int y = 0; y < 20; ++y) {
        if (isSingleColourRow(shifted, y, source.pixel(0, y)) || isSingleColourRow(shifted, y, source.pixel(4, y)))
            ++filledRows;
    }
    QVERIFY(filledRows > 0);
}

void TestGeometry::shiftProgressAndFinished()
{
    ZelImageProcessorShift shift(testImage(4, 5));
    QList<QVariantList> events;
    connect(&shift, &ZelImageProcessor::progress, this,
            [&](const QString& title, const QString& step, int current, int total) {
                events << QVariantList{title, step, current, total};
            });
    connect(&shift, &ZelImageProcessor::finished, this, [&](bool flag) { events << QVariantList{flag}; });
    shift.result();
    QCOMPARE(events.size(), 6);
    for (int y = 0; y < 5; ++y)
        QCOMPARE(events.at(y), (QVariantList{"Shift", "", y, 4}));
    QCOMPARE(events.last(), QVariantList{true});
}

void TestGeometry::shiftCancel_data()
{
    QTest::addColumn<int>("format");
    QTest::newRow("ARGB32") << int(QImage::Format_ARGB32);
    QTest::newRow("mono comes back as mono") << int(QImage::Format_Mono);
}

void TestGeometry::shiftCancel()
{
    QFETCH(int, format);
    const QImage source = testImage(5, 6, QImage::Format(format));
    ZelImageProcessorShift shift(source);
    QSignalSpy finished(&shift, &ZelImageProcessor::finished);
    int rows = 0;
    const auto connection = connect(&shift, &ZelImageProcessor::progress, this,
                                    [&](const QString&, const QString&, int current, int) {
                                        rows = current + 1;
                                        if (current == 1)
                                            shift.cancel();
                                    });
    QCOMPARE(shift.result(), source);
    QCOMPARE(rows, 2);
    // The only finished is cancel()'s own.
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);

    // The request is used up: the next run goes through.
    disconnect(connection);
    shift.result();
    QCOMPARE(finished.count(), 2);
    QCOMPARE(finished.at(1).at(0).toBool(), true);
}

// Previews run on a fresh object: maximum 10, whatever was set.
void TestGeometry::shiftPreviewsUseTheDefaultMaximum()
{
    const QImage source = testImage(40, 20);
    ZelImageProcessorShift shift(source);
    shift.setShiftValue(0);
    std::srand(3);
    const QImage section = shift.generatePreview(QRect(2, 3, 30, 6));
    std::srand(3);
    QCOMPARE(section, referenceShift(source.copy(2, 3, 30, 6), 10));
    QCOMPARE(shift.generatePreview(QSize(10, 10)).size(), QSize(10, 5));
}

QTEST_MAIN(TestGeometry)
#include "tst_geometry.moc"
