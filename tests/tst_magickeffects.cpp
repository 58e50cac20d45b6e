#include "ZelEffectRegistry.h"
#include "ZelImageProcessorAdjustHSB.h"
#include "ZelImageProcessorCompare.h"
#include "ZelMagickWandWrapper_p.h"
#include "ZelProgressSignalizer.h"

#include <QLoggingCategory>
#include <QSignalSpy>
#include <QtTest>

#include <climits>
#include <cmath>
#include <memory>

using Settings = QMap<QString, int>;
Q_DECLARE_METATYPE(Settings)

namespace {

// Opaque colours that differ from every neighbour, so that blurs and quantization change them.
QImage pattern(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, 0xFF000000u | ((quint32(x) * 73856093u ^ quint32(y) * 19349663u) * 2654435761u) >> 8);
    return image;
}

QImage flat(QRgb colour, int width = 3, int height = 2)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

const ZelMagickWandWrapper& bridge()
{
    static ZelProgressSignalizer signalizer;
    static const ZelMagickWandWrapper wrapper(&signalizer);
    return wrapper;
}

// Settings by key; AdjustHSB takes "first", "second" and "third" through its setter, Compare the
// source as its reference.
std::unique_ptr<ZelImageProcessor> create(const QString& name, const QImage& image, const Settings& settings = {})
{
    std::unique_ptr<ZelImageProcessor> processor(ZelEffectRegistry::create(ZelEffectRegistry::find(name), image));
    ZelParameterDescriptionContainer parameters = processor->parameterContainer();
    for (auto it = settings.constBegin(); it != settings.constEnd(); ++it)
        parameters.setValue(it.key(), it.value());
    processor->setParameters(parameters);
    if (auto* compare = qobject_cast<ZelImageProcessorCompare*>(processor.get()))
        compare->setParameters(image);
    if (auto* hsb = qobject_cast<ZelImageProcessorAdjustHSB*>(processor.get()); hsb && !settings.isEmpty())
        hsb->setParameters(settings.value("first", 100), settings.value("second", 100), settings.value("third", 100));
    return processor;
}

QImage compared(const QImage& image, const QImage& reference)
{
    ZelImageProcessorCompare compare(image);
    compare.setParameters(reference);
    return compare.result();
}

bool near(QRgb actual, int red, int green, int blue)
{
    return qAbs(qRed(actual) - red) <= 1 && qAbs(qGreen(actual) - green) <= 1 && qAbs(qBlue(actual) - blue) <= 1;
}

} // namespace

class TestMagickEffects : public QObject
{
    Q_OBJECT

private slots:
    // The bridge writes a debug line for every operation.
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false")); }

    // Gamma g maps v to 255 (v / 255)^(1 / g): 64 -> 255 * 0.25098^2 = 16.06 for g = 0.5 ("Gamma" 50).
    // Without its setter the HSB effect keeps the picture, alpha included.
    void colours()
    {
        const QRgb grey = qRgb(64, 64, 64), translucent = qRgba(200, 100, 100, 90);
        QCOMPARE(create("GammaCorrection", flat(grey))->result(), flat(grey));
        QCOMPARE(create("GammaCorrection", flat(grey), {{"Gamma", 50}})->result(), flat(qRgb(16, 16, 16)));
        QCOMPARE(create("AdjustHSB", flat(translucent))->result(), flat(translucent));
    }

    // The bridge's operations with the effects' arguments: the contrast setter truncates (and converts
    // what lies beyond int to INT_MIN), the HSB setter's (1, 2, 3) arrive as (2, 3, 1).
    void bridgeArguments()
    {
        const QImage source = pattern(6, 5);
        const QList<QList<double>> contrasts{{20, 1.2, 20, 120}, {-35.9, 0.999, -35, 99},
                                             {1e12, std::nan(""), INT_MIN, INT_MIN}};
        for (const QList<double>& contrast : contrasts) {
            const auto processor = create("AdjustContrast", source);
            QVERIFY(QMetaObject::invokeMethod(processor.get(), "setGammaAndStrength", Q_ARG(double, contrast[0]),
                                              Q_ARG(double, contrast[1])));
            QCOMPARE(processor->parameterContainer().value("Strength"), QVariant(int(contrast[2])));
            QCOMPARE(processor->parameterContainer().value("Gamma"), QVariant(int(contrast[3])));
            QCOMPARE(processor->result(), bridge().adjustContrast(source, contrast[2], contrast[3] / 100.0));
        }
        ZelImageProcessorAdjustHSB hsb(source);
        hsb.setParameters(1, 2, 3);
        QCOMPARE(hsb.result(), bridge().adjustHSB(source, 2, 3, 1));
        QVERIFY(hsb.result() != bridge().adjustHSB(source, 1, 2, 3));
        QCOMPARE(create("BlackWhite", source)->result(), bridge().blackWhite(source));
    }

    void progress_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<Settings>("settings");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("steps");
        const auto row = [](const char* name, const char* effect, const Settings& settings, const char* title,
                            const QStringList& steps) { QTest::newRow(name) << effect << settings << title << steps; };
        row("AdjustContrast", "AdjustContrast", {{"Strength", 20}, {"Gamma", 120}}, "Kontrast anpassen",
            {"Gamma", "SigmoidalContrast"});
        // ImageMagick skips a gamma of 1.0, and with nothing to do reports nothing.
        row("Contrast, gamma 1", "AdjustContrast", {{"Strength", 20}}, "Kontrast anpassen", {"SigmoidalContrast"});
        row("Contrast neutral", "AdjustContrast", {}, "", {});
        row("GammaCorrection", "GammaCorrection", {{"Gamma", 50}}, "Gammakorrektur", {"Gamma"});
        row("BlackWhite", "BlackWhite", {}, "Tontrennung", {"Classify", "Dither", "Reduce"});
        row("AdjustHSB", "AdjustHSB", {{"first", 90}}, "Einfärben", {"Modulate"});
        row("SoftLense", "SoftLense", {}, "Radialer Weichzeichner", {"Morphology"});
        row("Compare", "Compare", {}, "", {"Composite"});
    }
    // The relay reports (title, step, current, total). The step is the signalizer's name of the running
    // ImageMagick step, "/Image/" removed; the first report may still carry an earlier name.
    void progress()
    {
        QFETCH(QString, effect);
        QFETCH(Settings, settings);
        QFETCH(QString, title);
        QFETCH(QStringList, steps);
        const auto processor = create(effect, pattern(5, 6), settings);
        QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
        QVERIFY(!processor->result().isNull());
        QCOMPARE(progress.isEmpty(), steps.isEmpty());
        QSet<QString> names;
        for (int i = 0; i < progress.count(); ++i) {
            QCOMPARE(progress.at(i).at(0).toString(), title);
            if (i > 0)
                names << progress.at(i).at(1).toString();
        }
        QCOMPARE(names, QSet<QString>(steps.begin(), steps.end()));
    }

    // A 4000-pixel-wide lens: the centre pixel lies so close to the gradient's centre that the mask is
    // black there. Beyond 0.6 of the radius (1200 pixels) the mask is white, and the top row and left
    // column are the black outline. Softness is capped at 100; below 1 nothing blurs.
    void softLense()
    {
        const QImage source = pattern(4000, 3);
        const QImage result = create("SoftLense", source)->result();
        const QImage blurred = bridge().blur(source, 0, 10, 0);
        QVERIFY(blurred.pixel(2000, 1) != source.pixel(2000, 1));
        QCOMPARE(result.pixel(2000, 1), source.pixel(2000, 1));
        for (const int x : {1, 400, 799, 3201, 3999}) {
            QCOMPARE(result.pixel(x, 1), blurred.pixel(x, 1));
            QCOMPARE(result.pixel(x, 2), blurred.pixel(x, 2));
            QCOMPARE(result.pixel(x, 0), source.pixel(x, 0));
        }
        QCOMPARE(result.pixel(0, 2), source.pixel(0, 2));
        const QImage small = pattern(40, 30);
        const auto lensWith = [&](int soft) { return create("SoftLense", small, {{"ASoftness", soft}})->result(); };
        QCOMPARE(lensWith(101), lensWith(100));
        QCOMPARE(lensWith(INT_MAX), lensWith(100));
        QVERIFY(lensWith(60) != lensWith(100));
        QCOMPARE(lensWith(INT_MIN), small);
        // The lens paints onto a copy of the source, in its format.
        QCOMPARE(create("SoftLense", small.convertToFormat(QImage::Format_RGB888))->result().format(),
                 QImage::Format_RGB888);
    }

    void softLensePreviewScalesSoftness_data()
    {
        QTest::addColumn<QSize>("sourceSize");
        QTest::addColumn<QList<int>>("softness"); // set, used for the preview, another one
        // Factor = preview width / source width, also where the height limits the scaling; beyond the
        // range the cap comes first: 100 / 4, not 1000 / 4.
        QTest::newRow("400 x 200 to 100: factor 1/4") << QSize(400, 200) << QList<int>{10, 2, 10};
        QTest::newRow("100 x 200 to 50 x 100: factor 1") << QSize(100, 200) << QList<int>{10, 10, 5};
        QTest::newRow("capped, then scaled") << QSize(400, 200) << QList<int>{1000, 25, 100};
    }
    void softLensePreviewScalesSoftness()
    {
        QFETCH(QSize, sourceSize);
        QFETCH(QList<int>, softness);
        const QImage source = pattern(sourceSize.width(), sourceSize.height());
        const QImage scaled = source.scaled(QSize(100, 100), Qt::KeepAspectRatio, Qt::SmoothTransformation);
        const auto lens = [](const QImage& image, int s) { return create("SoftLense", image, {{"ASoftness", s}}); };
        const QImage preview = lens(source, softness[0])->generatePreview(QSize(100, 100));
        QCOMPARE(preview, lens(scaled, softness[1])->result());
        QVERIFY(preview != lens(scaled, softness[2])->result());
    }

    // ImageMagick's difference picture lays its "lowlight" #ffffff at alpha 0.8 over equal pixels and
    // its "highlight" #f1001e over differing ones: 0.8 * colour + 0.2 * source. One pixel differs by
    // (195, 155, 178, 0): mean over 4 channels of 12 pixels, peak 195. A reference of another size gives
    // a red picture in the source's format and keeps the figures.
    void compare()
    {
        const QImage source = flat(qRgb(60, 100, 77), 4, 3);
        QImage reference = source;
        reference.setPixel(1, 1, qRgb(255, 255, 255));
        ZelImageProcessorCompare compare(source);
        QVERIFY(QMetaObject::invokeMethod(&compare, "setParameters", Q_ARG(QImage, reference)));
        const QImage difference = compare.result();
        QCOMPARE(compare.absoluteError(), 1.0);
        QVERIFY(qAbs(compare.absoluteMeanError() - (195 + 155 + 178) / (4 * 12 * 255.0)) < 1e-6);
        QVERIFY(qAbs(compare.peakError() - 195 / 255.0) < 1e-6);
        QVERIFY(near(difference.pixel(1, 1), qRound(0.8 * 241 + 12), 20, qRound(0.8 * 30 + 15.4)));
        QVERIFY(near(difference.pixel(0, 0), 216, 224, qRound(204 + 15.4)));
        for (const QImage& other : {pattern(3, 3), QImage()}) {
            compare.setParameters(other);
            QCOMPARE(compare.result(), flat(qRgb(255, 0, 0), 4, 3));
            QCOMPARE(compare.absoluteError(), 1.0);
        }
        QCOMPARE(compared(source.convertToFormat(QImage::Format_RGB888), QImage()).format(), QImage::Format_RGB888);
    }

    // Previews compare with the reference scaled or cut the same way, and leave the figures alone.
    void comparePreviewsScaleTheReference()
    {
        const QImage source = pattern(40, 20);
        QImage reference = source;
        for (int x = 0; x < 40; ++x)
            reference.setPixel(x, 10, qRgb(255, 255, 255));
        ZelImageProcessorCompare compare(source);
        compare.setParameters(reference);
        const auto scaled = [](const QImage& image) {
            return image.scaled(10, 10, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        };
        QCOMPARE(compare.generatePreview(QSize(10, 10)), compared(scaled(source), scaled(reference)));
        const QRect rect(3, 8, 12, 5);
        QCOMPARE(compare.generatePreview(rect), compared(source.copy(rect), reference.copy(rect)));
        QCOMPARE(compare.absoluteError(), 0.0);
    }
};

QTEST_MAIN(TestMagickEffects)
#include "tst_magickeffects.moc"
