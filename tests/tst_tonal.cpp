#include "ZelEffectRegistry.h"
#include "ZelHsv_p.h"
#include "ZelImageProcessorAdjustRGBIntensity.h"
#include "ZelImageProcessorCombine.h"
#include "ZelImageProcessorContrastStretch.h"
#include "ZelImageProcessorGrayscale.h"
#include "ZelImageProcessorIntensity.h"
#include "ZelImageProcessorInvert.h"
#include "ZelImageProcessorPointOperation.h"
#include "ZelImageProcessorTint.h"
#include "ZelParameterDescriptionNumber_p.h"

#include <QColor>
#include <QSignalSpy>
#include <QtTest>

#include <climits>
#include <limits>
#include <memory>

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
    QVector<QRgb> table;
    for (int i = 0; i < 256; ++i)
        table << qRgb(i, i, i);
    return table;
}

// Deterministic varied colours with channels in [low, high] and alpha in [0, 255].
QRgb variedColour(int i, int low, int high)
{
    quint32 h = quint32(i) * 2654435761u;
    h ^= h >> 15;
    h *= 2246822519u;
    h ^= h >> 13;
    const int span = high - low + 1;
    return qRgba(low + int(h % span), low + int((h >> 8) % span), low + int((h >> 16) % span), int(h >> 24));
}

QRgb qColorRoundTrip(QRgb pixel, int newValue)
{
    int h, s, v;
    QColor(pixel).getHsv(&h, &s, &v);
    QColor colour;
    colour.setHsv(h, s, newValue, 255);
    return colour.rgb();
}

// Tint as its definition reads, through QColor per pixel.
QRgb qColorTint(QRgb pixel, int hue, double fraction)
{
    int h, s, v;
    QColor(pixel).getHsv(&h, &s, &v);
    QColor target;
    target.setHsv(hue, s, v, 255);
    auto channel = [&](int c, int t) { return qBound(0, int(c + (t - c) * fraction), 255); };
    const QRgb t = target.rgb();
    return qRgba(channel(qRed(pixel), qRed(t)), channel(qGreen(pixel), qGreen(t)), channel(qBlue(pixel), qBlue(t)),
                 qAlpha(pixel));
}

// QColor warns on every hue below -1; those warnings are expected here.
struct QuietQColorWarnings
{
    QuietQColorWarnings()
    {
        previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
            if (!text.startsWith("QColor::setHsv"))
                QFAIL(qPrintable(text));
        });
    }
    ~QuietQColorWarnings() { qInstallMessageHandler(previous); }
    QtMessageHandler previous;
};

std::unique_ptr<ZelImageProcessor> create(const QString& name, const QImage& image = QImage())
{
    if (name == "PointOperation")
        return std::unique_ptr<ZelImageProcessor>(image.isNull() ? new ZelImageProcessorPointOperation
                                                                 : new ZelImageProcessorPointOperation(image));
    return std::unique_ptr<ZelImageProcessor>(ZelEffectRegistry::create(ZelEffectRegistry::find(name), image));
}

const QStringList kEffects = {"Intensity", "Invert", "Combine", "ContrastStretch", "AdjustRGBIntensity", "Tint", "Grayscale"};

} // namespace

class TestTonal : public QObject
{
    Q_OBJECT

private slots:
    void hsvOfEveryRgbMatchesQColor();
    void rgbOfEveryHsvMatchesQColor();
    void rgbOfOutOfRangeHuesMatchesQColor_data();
    void rgbOfOutOfRangeHuesMatchesQColor();

    void metadata_data();
    void metadata();
    void pointOperationIsAnEmptySkeleton();
    void tintParameters();
    void nullAndEmptySources_data();
    void nullAndEmptySources();
    void oneByOneSources_data();
    void oneByOneSources();
    void progressAndFinished_data();
    void progressAndFinished();
    void previews_data();
    void previews();

    void intensity();
    void invert_data();
    void invert();
    void adjustRGBIntensity_data();
    void adjustRGBIntensity();
    void adjustRGBIntensityPreviewUsesFullIntensity();
    void combine_data();
    void combine();
    void combineIndexed();
    void combineGuards();
    void combinePreviews();

    void contrastStretchMatchesQColor_data();
    void contrastStretchMatchesQColor();
    void contrastStretchByHand();
    void contrastStretchAccumulatesItsHistogram();
    void contrastStretchSingleValue();
    void contrastStretchIndexedTable();

    void tint_data();
    void tint();
    void tintMatchesQColor();
    void tintTypedSetterAndPreview();
    void typedSettersAreInvokable();
    void grayscale_data();
    void grayscale();
    void grayscalePreviewIsArgb32();
};

void TestTonal::hsvOfEveryRgbMatchesQColor()
{
    for (int rgb = 0; rgb < (1 << 24); ++rgb) {
        int h, s, v, qh, qs, qv;
        zelRgbToHsv(QRgb(rgb), h, s, v);
        QColor(QRgb(rgb)).getHsv(&qh, &qs, &qv);
        if (h != qh || s != qs || v != qv || zelHsvValue(QRgb(rgb)) != qv)
            QFAIL(qPrintable(QString("rgb %1: %2 %3 %4, QColor %5 %6 %7").arg(rgb, 6, 16, QChar('0'))
                                 .arg(h).arg(s).arg(v).arg(qh).arg(qs).arg(qv)));
    }
}

// Every hue an effect can pass (-1 for greys, 0..359), with every saturation and value: the
// round trip of every colour, every stretched value and every tint lie in this set.
void TestTonal::rgbOfEveryHsvMatchesQColor()
{
    for (int i = 0; i < 361 * 65536; ++i) {
        const int h = i / 65536 - 1;
        const int s = (i >> 8) & 0xFF;
        const int v = i & 0xFF;
        QColor colour;
        colour.setHsv(h, s, v, 255);
        if (zelHsvToRgb(h, s, v) != colour.rgb())
            QFAIL(qPrintable(QString("hsv %1 %2 %3: %4, QColor %5").arg(h).arg(s).arg(v)
                                 .arg(zelHsvToRgb(h, s, v), 8, 16).arg(colour.rgb(), 8, 16)));
        if (h >= 0 && zelChromaticHsvToRgb(h, s, v) != colour.rgb())
            QFAIL(qPrintable(QString("chromatic hsv %1 %2 %3").arg(h).arg(s).arg(v)));
    }
}

void TestTonal::rgbOfOutOfRangeHuesMatchesQColor_data()
{
    QTest::addColumn<int>("hue");
    QTest::newRow("360 wraps") << 360;
    QTest::newRow("719 wraps") << 719;
    QTest::newRow("INT_MAX wraps") << INT_MAX;
    QTest::newRow("-2 is invalid") << -2;
    QTest::newRow("INT_MIN is invalid") << INT_MIN;
}

void TestTonal::rgbOfOutOfRangeHuesMatchesQColor()
{
    QFETCH(int, hue);
    QuietQColorWarnings quiet;
    for (int s = 0; s < 256; s += 5) {
        for (int v = 0; v < 256; v += 3) {
            QColor colour;
            colour.setHsv(hue, s, v, 255);
            QCOMPARE(zelHsvToRgb(hue, s, v), colour.rgb());
        }
    }
}

void TestTonal::metadata_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("toolTip");
    QTest::addColumn<QVariant>("iconName");
    QTest::addColumn<QStringList>("parameters");
    for (const char* effect : {"Intensity", "Invert", "Combine", "ContrastStretch", "AdjustRGBIntensity"})
        QTest::newRow(effect) << effect << QString() << QVariant() << QVariant() << QStringList();
    QTest::newRow("Tint") << "Tint" << QString::fromUtf8("Einfärben") << QVariant() << QVariant()
                          << QStringList{"Hue", "Saturation"};
    QTest::newRow("Grayscale") << "Grayscale" << QString::fromUtf8("Schwarzweiß")
                               << QVariant(QString::fromUtf8("Foto in Schwarz-Weiß-Foto verwandeln "))
                               << QVariant(QString("ico_black_white")) << QStringList();
}

void TestTonal::metadata()
{
    QFETCH(QString, effect);
    QFETCH(QString, name);
    QFETCH(QVariant, toolTip);
    QFETCH(QVariant, iconName);
    QFETCH(QStringList, parameters);
    const auto processor = create(effect);
    QVERIFY(processor);
    QCOMPARE(processor->effectName(), name);
    QCOMPARE(processor->property("ToolTip"), toolTip);
    QVERIFY(!processor->property("toolTip").isValid());
    QCOMPARE(processor->property("IconName"), iconName);
    QCOMPARE(processor->parameterContainer().parameterNames(), parameters);
}

void TestTonal::pointOperationIsAnEmptySkeleton()
{
    QImage source(4, 4, QImage::Format_ARGB32);
    source.fill(Qt::red);
    ZelImageProcessorPointOperation skeleton(source);
    QSignalSpy finished(&skeleton, &ZelImageProcessor::finished);
    QVERIFY(skeleton.result().isNull());
    QVERIFY(skeleton.generatePreview(QSize(2, 2)).isNull());
    QVERIFY(skeleton.generatePreview(QRect(0, 0, 2, 2)).isNull());
    QCOMPARE(skeleton.pointOperation(QPoint(1, 1)), 0u);
    QCOMPARE(finished.count(), 0);
    // Without a meta-object of its own the registry cannot offer it.
    QCOMPARE(QString(skeleton.metaObject()->className()), QString("ZelImageProcessor"));
    QVERIFY(!ZelEffectRegistry::find("PointOperation"));
}

void TestTonal::tintParameters()
{
    const ZelParameterDescriptionContainer parameters = ZelImageProcessorTint().parameterContainer();
    struct Expected { const char* key; const char* label; int min; int max; QPoint position; };
    for (const Expected& e : {Expected{"Saturation", "Farbfilter", 1, 100, {0, 0}}, Expected{"Hue", "Farbton", 1, 359, {1, 0}}}) {
        const ZelParameterDescription parameter = parameters.parameter(e.key);
        QCOMPARE(parameter.visibleName(), QString(e.label));
        const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(parameter.constData());
        QVERIFY(number);
        QCOMPARE(number->min(), QVariant(e.min));
        QCOMPARE(number->max(), QVariant(e.max));
        // The default 0 lies below the range and makes the default tint an identity.
        QCOMPARE(parameter.value(), QVariant(0));
        QCOMPARE(ZelParameterDescription(parameter).defaultValue(), QVariant(0));
        QCOMPARE(parameters.position(e.key), e.position);
    }
}

void TestTonal::nullAndEmptySources_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage>("source");
    for (const QString& effect : kEffects + QStringList{"PointOperation"}) {
        QTest::newRow(qPrintable(effect + " null")) << effect << QImage();
        QTest::newRow(qPrintable(effect + " 0 x 5")) << effect << QImage(0, 5, QImage::Format_ARGB32);
        QTest::newRow(qPrintable(effect + " 5 x 0 indexed")) << effect << QImage(5, 0, QImage::Format_Indexed8);
    }
}

void TestTonal::nullAndEmptySources()
{
    QFETCH(QString, effect);
    QFETCH(QImage, source);
    const auto processor = create(effect);
    processor->setSourceImage(source);
    QVERIFY(processor->result().isNull());
    QVERIFY(processor->generatePreview(QSize(10, 10)).isNull());
    QVERIFY(processor->generatePreview(QRect(0, 0, 3, 3)).isNull());
}

void TestTonal::oneByOneSources_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage>("source");
    const QImage argb = imageOf(1, {qRgba(10, 20, 30, 40)});
    for (const QString& effect : kEffects) {
        QTest::newRow(qPrintable(effect + " ARGB32")) << effect << argb;
        QTest::newRow(qPrintable(effect + " Indexed8")) << effect << indexedOf(1, {0}, {qRgb(10, 20, 30)});
        QTest::newRow(qPrintable(effect + " RGB888")) << effect << argb.convertToFormat(QImage::Format_RGB888);
        QTest::newRow(qPrintable(effect + " Mono")) << effect << argb.convertToFormat(QImage::Format_Mono);
        QTest::newRow(qPrintable(effect + " Grayscale8")) << effect << argb.convertToFormat(QImage::Format_Grayscale8);
    }
}

void TestTonal::oneByOneSources()
{
    QFETCH(QString, effect);
    QFETCH(QImage, source);
    const auto processor = create(effect, source);
    QCOMPARE(processor->result().size(), QSize(1, 1));
}

void TestTonal::progressAndFinished_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage>("source");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QList<bool>>("finished");
    const QImage argb = imageOf(2, {1, 2, 3, 4, 5, 6});
    const QImage indexed = indexedOf(2, {0, 1, 1, 0, 1, 0}, {qRgb(1, 2, 3), qRgb(4, 5, 6)});
    const QList<bool> once{false};
    for (const QImage& source : {argb, indexed}) {
        const QString suffix = source.format() == QImage::Format_Indexed8 ? " indexed" : "";
        QTest::newRow(qPrintable("Intensity" + suffix)) << "Intensity" << source << QString() << once;
        QTest::newRow(qPrintable("Invert" + suffix)) << "Invert" << source << "Invertieren" << once;
        QTest::newRow(qPrintable("Combine" + suffix)) << "Combine" << source << QString() << once;
        QTest::newRow(qPrintable("AdjustRGBIntensity" + suffix)) << "AdjustRGBIntensity" << source << QString() << once;
        QTest::newRow(qPrintable("Tint" + suffix)) << "Tint" << source << QString() << once;
        QTest::newRow(qPrintable("Grayscale" + suffix)) << "Grayscale" << source << "Graustufen" << once;
    }
    // The 32-bit path ends without finished, the indexed one with finished(false): intended.
    QTest::newRow("ContrastStretch") << "ContrastStretch" << argb << QString() << QList<bool>();
    QTest::newRow("ContrastStretch indexed") << "ContrastStretch" << indexed << QString() << once;
}

// Invert and Grayscale report (row, height - 1) after every row; the others never report.
void TestTonal::progressAndFinished()
{
    QFETCH(QString, effect);
    QFETCH(QImage, source);
    QFETCH(QString, title);
    QFETCH(QList<bool>, finished);
    const auto processor = create(effect, source);
    QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
    QSignalSpy finishedSpy(processor.get(), &ZelImageProcessor::finished);
    processor->result();
    QList<bool> finishedFlags;
    for (const QList<QVariant>& arguments : finishedSpy)
        finishedFlags << arguments.at(0).toBool();
    QCOMPARE(finishedFlags, finished);
    QCOMPARE(progress.count(), title.isEmpty() ? 0 : 3);
    for (int row = 0; row < progress.count(); ++row)
        QCOMPARE(progress.at(row), (QList<QVariant>{title, QString(), row, 2}));
}

void TestTonal::previews_data()
{
    QTest::addColumn<QString>("effect");
    for (const QString& effect : kEffects)
        QTest::newRow(qPrintable(effect)) << effect;
}

void TestTonal::previews()
{
    QFETCH(QString, effect);
    QImage source(40, 20, QImage::Format_ARGB32);
    for (int i = 0; i < 800; ++i)
        source.setPixel(i % 40, i / 40, variedColour(i, 0, 255) | 0xFF000000u);
    const auto processor = create(effect, source);
    QCOMPARE(processor->generatePreview(QSize(10, 10)).size(), QSize(10, 5));
    const QImage section = processor->generatePreview(QRect(5, 2, 3, 4));
    QCOMPARE(section.size(), QSize(3, 4));
    // A section is the effect on that part of the source; ContrastStretch's points depend on it.
    if (effect != "ContrastStretch")
        QCOMPARE(section.pixel(1, 1), processor->result().pixel(6, 3));
}

void TestTonal::intensity()
{
    ZelImageProcessorIntensity intensity(imageOf(2, {qRgba(10, 200, 30, 5), qRgb(90, 20, 60)}));
    const QImage levels = intensity.result();
    QCOMPARE(levels.format(), QImage::Format_Indexed8);
    QCOMPARE(levels.colorTable(), greyTable());
    QCOMPARE(levels.pixelIndex(0, 0), 200);
    QCOMPARE(levels.pixelIndex(1, 0), 90);
    // An indexed source counts with the colours of its table.
    intensity.setSourceImage(indexedOf(1, {0}, {qRgb(7, 8, 9)}));
    QCOMPARE(intensity.result().pixelIndex(0, 0), 9);
}

void TestTonal::invert_data()
{
    QTest::addColumn<QImage>("source");
    QTest::addColumn<QRgb>("expected");
    QTest::addColumn<int>("format");
    // An inverted picture is always opaque, whatever its alpha was.
    QTest::newRow("ARGB32 alpha 128") << imageOf(1, {qRgba(10, 20, 30, 128)}) << qRgb(245, 235, 225)
                                      << int(QImage::Format_ARGB32);
    QTest::newRow("RGB32") << imageOf(1, {qRgb(0, 128, 255)}, QImage::Format_RGB32) << qRgb(255, 127, 0)
                           << int(QImage::Format_RGB32);
    QTest::newRow("RGB888 is converted") << imageOf(1, {qRgb(10, 20, 30)}, QImage::Format_RGB888)
                                         << qRgb(245, 235, 225) << int(QImage::Format_RGB32);
}

void TestTonal::invert()
{
    QFETCH(QImage, source);
    QFETCH(QRgb, expected);
    QFETCH(int, format);
    const QImage inverted = ZelImageProcessorInvert(source).result();
    QCOMPARE(int(inverted.format()), format);
    QCOMPARE(inverted.pixel(0, 0), expected);

    // Index bytes are inverted, the table stays.
    const QVector<QRgb> table{qRgb(1, 2, 3), qRgb(4, 5, 6)};
    const QImage indexed = ZelImageProcessorInvert(indexedOf(3, {0, 1, 200}, table)).result();
    QCOMPARE(indexed.colorTable(), table);
    QCOMPARE(indexed.pixelIndex(0, 0), 255);
    QCOMPARE(indexed.pixelIndex(1, 0), 254);
    QCOMPARE(indexed.pixelIndex(2, 0), 55);
}

void TestTonal::adjustRGBIntensity_data()
{
    QTest::addColumn<double>("percent");
    QTest::addColumn<int>("channel");
    QTest::addColumn<int>("expected");
    // No clamping: bright channels wrap around, intended.
    QTest::newRow("150 % wraps 200 to 44") << 150.0 << 200 << 44;
    QTest::newRow("150 % of 100") << 150.0 << 100 << 150;
    // 0.53f * 100 = 52.99999 in single precision (53 in double), 0.29f * 100 = 29 (28.99999...).
    QTest::newRow("single precision 53 %") << 53.0 << 100 << 52;
    QTest::newRow("single precision 29 %") << 29.0 << 100 << 29;
    QTest::newRow("negative wraps: -50 is 206") << -100.0 << 50 << 206;
    // The factor overflows to infinity and the product's conversion gives INT_MIN, whose low
    // byte is 0.
    QTest::newRow("1e300 %") << 1e300 << 100 << 0;
    QTest::newRow("NaN %") << std::numeric_limits<double>::quiet_NaN() << 100 << 0;
}

void TestTonal::adjustRGBIntensity()
{
    QFETCH(double, percent);
    QFETCH(int, channel);
    QFETCH(int, expected);
    ZelImageProcessorAdjustRGBIntensity adjust(imageOf(1, {qRgba(channel, channel, channel, 0x40)}));
    adjust.setParameters(percent);
    QCOMPARE(adjust.result().pixel(0, 0), qRgba(expected, expected, expected, 0x40));

    const QVector<QRgb> table{qRgb(9, 9, 9)};
    adjust.setSourceImage(indexedOf(1, {uchar(channel)}, table));
    const QImage indexed = adjust.result();
    QCOMPARE(indexed.pixelIndex(0, 0), expected);
    QCOMPARE(indexed.colorTable(), table);
}

void TestTonal::adjustRGBIntensityPreviewUsesFullIntensity()
{
    const QImage source = imageOf(2, {qRgb(200, 100, 50), qRgb(10, 20, 30)});
    ZelImageProcessorAdjustRGBIntensity adjust(source);
    adjust.setParameters(150);
    // The preview runs on a new object, which knows nothing of the factor: intended.
    QCOMPARE(adjust.generatePreview(QRect(0, 0, 2, 1)), source);
    QCOMPARE(adjust.result().pixel(0, 0), qRgb(44, 150, 75));
}

void TestTonal::combine_data()
{
    QTest::addColumn<QImage>("first");
    QTest::addColumn<QImage>("second");
    QTest::addColumn<QRgb>("expected");
    QTest::addColumn<int>("format");
    // Channel pairs (255, 255), (3, 4), (100, 100): sqrt gives 360.6, 5 and 141.4; 360 wraps to 104.
    const QImage a = imageOf(1, {qRgba(255, 3, 100, 0x80)});
    const QImage b = imageOf(1, {qRgba(255, 4, 100, 0x10)});
    const QImage opaqueA = imageOf(1, {qRgb(255, 3, 100)});
    const QImage opaqueB = imageOf(1, {qRgb(255, 4, 100)});
    QTest::newRow("ARGB32 + RGB32") << a << opaqueB.convertToFormat(QImage::Format_RGB32) << qRgba(104, 5, 141, 0x80)
                                    << int(QImage::Format_ARGB32);
    QTest::newRow("RGB32 + ARGB32") << opaqueA.convertToFormat(QImage::Format_RGB32) << b << qRgb(104, 5, 141)
                                    << int(QImage::Format_ARGB32);
    QTest::newRow("RGB32 + RGB32") << opaqueA.convertToFormat(QImage::Format_RGB32)
                                   << opaqueB.convertToFormat(QImage::Format_RGB32) << qRgb(104, 5, 141)
                                   << int(QImage::Format_RGB32);
    QTest::newRow("RGB888 + RGB888") << opaqueA.convertToFormat(QImage::Format_RGB888)
                                     << opaqueB.convertToFormat(QImage::Format_RGB888) << qRgb(104, 5, 141)
                                     << int(QImage::Format_ARGB32);
    QTest::newRow("Indexed8 + RGB32") << indexedOf(1, {0}, {qRgb(255, 3, 100)})
                                      << opaqueB.convertToFormat(QImage::Format_RGB32) << qRgb(104, 5, 141)
                                      << int(QImage::Format_ARGB32);
    QTest::newRow("larger second image") << a << imageOf(2, {b.pixel(0, 0), 0, 0, 0}) << qRgba(104, 5, 141, 0x80)
                                         << int(QImage::Format_ARGB32);
}

void TestTonal::combine()
{
    QFETCH(QImage, first);
    QFETCH(QImage, second);
    QFETCH(QRgb, expected);
    QFETCH(int, format);
    ZelImageProcessorCombine combine(first, second);
    const QImage combined = combine.result();
    QCOMPARE(combined.size(), first.size());
    QCOMPARE(int(combined.format()), format);
    QCOMPARE(combined.pixel(0, 0), expected);
}

void TestTonal::combineIndexed()
{
    const QVector<QRgb> table{qRgb(1, 1, 1), qRgb(2, 2, 2)};
    ZelImageProcessorCombine combine(indexedOf(3, {255, 3, 100}, table), indexedOf(3, {255, 4, 100}, {}));
    const QImage combined = combine.result();
    // Indices are clamped to 255 instead of wrapping: intended.
    QCOMPARE(combined.pixelIndex(0, 0), 255);
    QCOMPARE(combined.pixelIndex(1, 0), 5);
    QCOMPARE(combined.pixelIndex(2, 0), 141);
    QCOMPARE(combined.colorTable(), table);

    // The registry combines an image with itself: 100 gives trunc(100 sqrt 2) = 141.
    const auto self = create("Combine", imageOf(1, {qRgb(100, 0, 1)}));
    QCOMPARE(self->result().pixel(0, 0), qRgb(141, 0, 1));
}

void TestTonal::combineGuards()
{
    const QImage source = imageOf(2, {1, 2, 3, 4});
    QVERIFY(ZelImageProcessorCombine().result().isNull());
    QVERIFY(ZelImageProcessorCombine(source, QImage()).result().isNull());
    QVERIFY(ZelImageProcessorCombine(source, source.copy(0, 0, 2, 1)).result().isNull());
    QVERIFY(ZelImageProcessorCombine(source, source.copy(0, 0, 1, 2)).result().isNull());
    ZelImageProcessorCombine combine(source, source);
    QSignalSpy finished(&combine, &ZelImageProcessor::finished);
    combine.setSourceImage(imageOf(3, {1, 2, 3}));
    QVERIFY(combine.result().isNull());
    QCOMPARE(finished.count(), 1);
}

void TestTonal::combinePreviews()
{
    QImage first(40, 20, QImage::Format_ARGB32);
    first.fill(qRgb(30, 40, 0));
    QImage second(40, 20, QImage::Format_ARGB32);
    second.fill(qRgb(40, 30, 0));
    second.setPixel(6, 3, qRgb(0, 0, 9));
    ZelImageProcessorCombine combine(first, second);
    const QImage small = combine.generatePreview(QSize(10, 10));
    QCOMPARE(small.size(), QSize(10, 5));
    QCOMPARE(small.pixel(0, 0), qRgb(50, 50, 0));
    const QImage section = combine.generatePreview(QRect(5, 2, 3, 4));
    QCOMPARE(section.size(), QSize(3, 4));
    QCOMPARE(section.pixel(1, 1), qRgb(30, 40, 9));
}

void TestTonal::contrastStretchMatchesQColor_data()
{
    QTest::addColumn<int>("black");
    QTest::addColumn<int>("white");
    QTest::newRow("identity stretch: only the HSV round trip") << 0 << 255;
    QTest::newRow("stretch 20 ... 230") << 20 << 230;
}

// 4096 varied colours with values in [black, white], 50 of them at each end: the 1 % points are
// black and white, and every pixel must be what QColor's round trip gives for its new value.
void TestTonal::contrastStretchMatchesQColor()
{
    QFETCH(int, black);
    QFETCH(int, white);
    QImage source(64, 64, QImage::Format_ARGB32);
    for (int i = 0; i < 4096; ++i) {
        QRgb pixel = variedColour(i, black, white);
        if (i < 50)
            pixel = qRgb(black, black, black);
        else if (i < 100)
            pixel = qRgb(white, white / 2, black);
        source.setPixel(i % 64, i / 64, pixel);
    }
    source.setPixel(0, 63, qRgb(white, black + 1, black));
    const QImage stretched = ZelImageProcessorContrastStretch(source).result();
    QCOMPARE(stretched.format(), QImage::Format_ARGB32);
    for (int i = 0; i < 4096; ++i) {
        const QRgb pixel = source.pixel(i % 64, i / 64);
        const int value = QColor(pixel).value();
        const int newValue = value >= white ? 255 : value <= black ? 0 : int((value - black) * 255.0 / (white - black));
        QCOMPARE(stretched.pixel(i % 64, i / 64), qColorRoundTrip(pixel, newValue));
    }
    // (255, 1, 0) has hue 0.24 degrees, truncated to 0: green 1 is lost in the round trip.
    if (black == 0)
        QCOMPARE(stretched.pixel(0, 63), qRgb(255, 0, 0));
}

void TestTonal::contrastStretchByHand()
{
    // 100 pixels: 49 of grey 50, 49 of grey 150, grey 100 and (100, 60, 60). Over 1 pixel from
    // either end the points are 50 and 150, so value 100 becomes trunc(50 * 255 / 100) = 127.
    // (100, 60, 60): hue 0, saturation round(65535 * 40 / 100) / 257 = 102; back with value
    // 127: ramp and low are round(127 * (15300 - 102 * 60) / 15300) = round(127 * 153 / 255) = 76.
    QVector<QRgb> pixels(49, qRgb(50, 50, 50));
    pixels += QVector<QRgb>(49, qRgb(150, 150, 150));
    pixels << qRgb(100, 100, 100) << qRgba(100, 60, 60, 7);
    const QImage stretched = ZelImageProcessorContrastStretch(imageOf(10, pixels)).result();
    QCOMPARE(stretched.pixel(0, 0), qRgb(0, 0, 0));
    QCOMPARE(stretched.pixel(0, 5), qRgb(255, 255, 255));
    QCOMPARE(stretched.pixel(8, 9), qRgb(127, 127, 127));
    QCOMPARE(stretched.pixel(9, 9), qRgb(127, 76, 76));
}

// 200 pixels: two of grey 10, two of grey 240, the rest grey 100. The first run needs more than
// 2 pixels from either end, so both points are 100 and grey 100 becomes 255. The second run
// counts every pixel twice against the same 2: the points are 10 and 240, and grey 100 becomes
// trunc(90 * 255 / 230) = 99. The accumulation is intended.
void TestTonal::contrastStretchAccumulatesItsHistogram()
{
    QVector<QRgb> pixels(200, qRgb(100, 100, 100));
    pixels[0] = pixels[1] = qRgb(10, 10, 10);
    pixels[2] = pixels[3] = qRgb(240, 240, 240);
    ZelImageProcessorContrastStretch stretch(imageOf(20, pixels));
    QCOMPARE(stretch.result().pixel(5, 5), qRgb(255, 255, 255));
    const QImage second = stretch.result();
    QCOMPARE(second.pixel(5, 5), qRgb(99, 99, 99));
    QCOMPARE(second.pixel(0, 0), qRgb(0, 0, 0));
    QCOMPARE(second.pixel(2, 0), qRgb(255, 255, 255));
    // A fresh object, as every preview is, starts from an empty histogram.
    QCOMPARE(stretch.generatePreview(QRect(0, 0, 20, 10)).pixel(5, 5), qRgb(255, 255, 255));
}

// With a single value both points are that value. The 32-bit path tests the white point first
// and gives 255; the indexed path tests the black point first and gives 0. Both intended.
void TestTonal::contrastStretchSingleValue()
{
    QImage grey(3, 3, QImage::Format_RGB32);
    grey.fill(qRgb(77, 77, 77));
    QCOMPARE(ZelImageProcessorContrastStretch(grey).result().pixel(1, 1), qRgb(255, 255, 255));

    // Every index is 5 and entry 5 is grey 5: (11 + 16 + 5) * 5 >> 5 = 5.
    const QImage indexed = ZelImageProcessorContrastStretch(indexedOf(3, QVector<uchar>(9, 5), greyTable())).result();
    QCOMPARE(indexed.color(5), qRgb(0, 0, 0));
    QCOMPARE(indexed.color(6), qRgb(255, 255, 255));
}

void TestTonal::contrastStretchIndexedTable()
{
    // Index histogram: 50 pixels of index 40, 50 of index 120, so the points are 40 and 120.
    // Entries are stretched by their grey (11 R + 16 G + 5 B) >> 5; pure red is grey 87.
    QVector<uchar> indices(50, 40);
    indices += QVector<uchar>(50, 120);
    QVector<QRgb> table = greyTable();
    table[100] = qRgba(255, 0, 0, 9);
    ZelImageProcessorContrastStretch stretch(indexedOf(10, indices, table));
    QSignalSpy finished(&stretch, &ZelImageProcessor::finished);
    const QImage stretched = stretch.result();
    QCOMPARE(finished.count(), 1);
    QCOMPARE(stretched.format(), QImage::Format_Indexed8);
    QCOMPARE(stretched.pixelIndex(0, 0), 40);
    QCOMPARE(stretched.pixelIndex(9, 9), 120);
    const QList<QPair<int, int>> expected{{30, 0}, {40, 0}, {41, 3}, {80, 127}, {100, 149}, {120, 255}, {200, 255}};
    for (const auto& entry : expected)
        QCOMPARE(stretched.color(entry.first), qRgb(entry.second, entry.second, entry.second));
}

void TestTonal::tint_data()
{
    QTest::addColumn<int>("hue");
    QTest::addColumn<int>("saturation");
    QTest::addColumn<QRgb>("pixel");
    QTest::addColumn<QRgb>("expected");
    // (200, 100, 50): saturation round(65535 * 150 / 200) / 257 = 191, value 200. At hue 120,
    // low = round(200 * 64 / 255) = 50 and the ramp round(200 * (15300 - 191 * 60) / 15300) = 50.
    const QRgb pixel = qRgba(200, 100, 50, 77);
    QTest::newRow("100 replaces the hue") << 120 << 100 << pixel << qRgba(50, 200, 50, 77);
    QTest::newRow("0 keeps the pixel") << 120 << 0 << pixel << pixel;
    QTest::newRow("50 goes half way") << 120 << 50 << pixel << qRgba(125, 150, 50, 77);
    QTest::newRow("300 is clamped") << 120 << 300 << pixel << qRgba(0, 255, 50, 77);
    QTest::newRow("hue 480 wraps to 120") << 480 << 100 << pixel << qRgba(50, 200, 50, 77);
    QTest::newRow("hue -1 tints toward grey") << -1 << 100 << pixel << qRgba(200, 200, 200, 77);
    QTest::newRow("hue -5 tints toward black") << -5 << 100 << pixel << qRgba(0, 0, 0, 77);
    QTest::newRow("grey pixels stay") << 120 << 100 << qRgb(90, 90, 90) << qRgb(90, 90, 90);
    // 2147483647 / 100 as the fraction: 200 - 150 f and 100 + 100 f leave the int range and
    // convert to INT_MIN, clamped to 0.
    QTest::newRow("far out of range saturation") << 120 << INT_MAX << pixel << qRgba(0, 0, 50, 77);
}

void TestTonal::tint()
{
    QFETCH(int, hue);
    QFETCH(int, saturation);
    QFETCH(QRgb, pixel);
    QFETCH(QRgb, expected);
    ZelImageProcessorTint tint(imageOf(1, {pixel}));
    ZelUIParameterMap values;
    values["Hue"] = qMakePair(QVariant(hue), true);
    values["Saturation"] = qMakePair(QVariant(saturation), true);
    tint.setParameters(values);
    QCOMPARE(tint.result().pixel(0, 0), expected);
}

// The lookup tables against QColor per pixel, over varied colours and hues at sector edges.
void TestTonal::tintMatchesQColor()
{
    QImage source(32, 32, QImage::Format_ARGB32);
    for (int i = 0; i < 1024; ++i)
        source.setPixel(i % 32, i / 32, variedColour(i, 0, 255));
    QuietQColorWarnings quiet;
    for (int hue : {0, 59, 60, 119, 200, 359, 725, -1, -2}) {
        for (int saturation : {100, 37}) {
            ZelImageProcessorTint tint(source);
            tint.setParameters(hue, saturation / 100.0);
            const QImage tinted = tint.result();
            for (int i = 0; i < 1024; ++i) {
                const QRgb expected = qColorTint(source.pixel(i % 32, i / 32), hue, saturation / 100.0);
                QCOMPARE(tinted.pixel(i % 32, i / 32), expected);
            }
        }
    }
}

void TestTonal::tintTypedSetterAndPreview()
{
    ZelImageProcessorTint tint(imageOf(2, {qRgba(200, 100, 50, 77), qRgb(0, 0, 0)}));
    tint.setParameters(120.9, 0.509);
    QCOMPARE(tint.parameterContainer().value("Hue"), QVariant(120));
    QCOMPARE(tint.parameterContainer().value("Saturation"), QVariant(50));
    QCOMPARE(tint.result().pixel(0, 0), qRgba(125, 150, 50, 77));
    // Previews take a copy of the parameters.
    QCOMPARE(tint.generatePreview(QRect(0, 0, 1, 1)).pixel(0, 0), qRgba(125, 150, 50, 77));
}

// Tools reach the typed setters through the meta-object system.
void TestTonal::typedSettersAreInvokable()
{
    const QImage source = imageOf(1, {qRgba(200, 100, 50, 77)});
    ZelImageProcessorTint tint(source);
    QVERIFY(QMetaObject::invokeMethod(&tint, "setParameters", Q_ARG(double, 120), Q_ARG(double, 1.0)));
    QCOMPARE(tint.result().pixel(0, 0), qRgba(50, 200, 50, 77));
    ZelImageProcessorAdjustRGBIntensity adjust(source);
    QVERIFY(QMetaObject::invokeMethod(&adjust, "setParameters", Q_ARG(double, 150)));
    QCOMPARE(adjust.result().pixel(0, 0), qRgba(44, 150, 75, 77));
    ZelImageProcessorGrayscale grayscale(source);
    QVERIFY(QMetaObject::invokeMethod(&grayscale, "setParamters", Q_ARG(QImage::Format, QImage::Format_Indexed8)));
    QCOMPARE(grayscale.result().format(), QImage::Format_Indexed8);
}

void TestTonal::grayscale_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("alpha");
    QTest::addColumn<QRgb>("expected");
    // Pure red: 11 * 255 >> 5 = 87, keeping alpha where the format has it.
    QTest::newRow("ARGB32 keeps alpha") << int(QImage::Format_ARGB32) << 0x40 << qRgba(87, 87, 87, 0x40);
    QTest::newRow("RGB32 is opaque") << int(QImage::Format_RGB32) << 0x40 << qRgb(87, 87, 87);
    QTest::newRow("Indexed8 greys are opaque") << int(QImage::Format_Indexed8) << 0x40 << qRgb(87, 87, 87);
    QTest::newRow("Grayscale8") << int(QImage::Format_Grayscale8) << 0xFF << qRgb(87, 87, 87);
    QTest::newRow("RGB888") << int(QImage::Format_RGB888) << 0xFF << qRgb(87, 87, 87);
    QTest::newRow("invalid gives null") << int(QImage::Format_Invalid) << 0xFF << QRgb(0);
    QTest::newRow("out of range gives null") << int(QImage::NImageFormats) << 0xFF << QRgb(0);
}

void TestTonal::grayscale()
{
    QFETCH(int, format);
    QFETCH(int, alpha);
    QFETCH(QRgb, expected);
    ZelImageProcessorGrayscale grayscale(imageOf(2, {qRgba(255, 0, 0, alpha), qRgb(10, 200, 30)}));
    grayscale.setParamters(QImage::Format(format));
    QSignalSpy finished(&grayscale, &ZelImageProcessor::finished);
    const QImage grey = grayscale.result();
    QCOMPARE(finished.count(), 1);
    if (expected == 0) {
        QVERIFY(grey.isNull());
        return;
    }
    QCOMPARE(int(grey.format()), format);
    QCOMPARE(grey.pixel(0, 0), expected);
    // (11 * 10 + 16 * 200 + 5 * 30) >> 5 = 3460 >> 5 = 108.
    QCOMPARE(qGreen(grey.pixel(1, 0)), 108);
    if (format == QImage::Format_Indexed8)
        QCOMPARE(grey.colorTable(), greyTable());

    // An indexed source is grey by the colours of its table.
    grayscale.setSourceImage(indexedOf(1, {0}, {qRgb(255, 0, 0)}));
    QCOMPARE(qRed(grayscale.result().pixel(0, 0)), 87);
}

void TestTonal::grayscalePreviewIsArgb32()
{
    ZelImageProcessorGrayscale grayscale(imageOf(2, {qRgb(255, 0, 0), qRgb(0, 0, 255)}));
    grayscale.setParamters(QImage::Format_Indexed8);
    // The preview runs on a new object, which has the default format: intended.
    QCOMPARE(grayscale.generatePreview(QRect(0, 0, 2, 1)).format(), QImage::Format_ARGB32);
    QCOMPARE(grayscale.generatePreview(QSize(1, 1)).format(), QImage::Format_ARGB32);
    QCOMPARE(grayscale.result().format(), QImage::Format_Indexed8);
}

QTEST_MAIN(TestTonal)
#include "tst_tonal.moc"
