#include "ZelEffectRegistry.h"
#include "ZelImageProcessorAdjustHSB.h"
#include "ZelImageProcessorCompare.h"
#include "ZelImageProcessorSoftLense.h"
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
            image.setPixel(x, y, 0xFF000000u | (((quint32(x) * 73856093u) ^ (quint32(y) * 19349663u)) * 2654435761u) >> 8);
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
std::unique_ptr<ZelImageProcessor> create(const QString& name, const QImage& image, const Settings& settings = Settings())
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

    void colours_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<Settings>("settings");
        QTest::addColumn<QRgb>("colour");
        QTest::addColumn<QRgb>("expected");
        const auto grey = [](int level) { return qRgb(level, level, level); };
        // Gamma g maps v to 255 (v / 255)^(1 / g): 64 -> 255 * 0.25098^2 = 16.06 for g = 0.5.
        // ImageMagick makes gamma 0 black and a negative one white.
        QTest::newRow("gamma neutral") << "GammaCorrection" << Settings() << grey(64) << grey(64);
        QTest::newRow("gamma 0.5") << "GammaCorrection" << Settings{{"Gamma", 50}} << grey(64) << grey(16);
        QTest::newRow("gamma 0.5 white") << "GammaCorrection" << Settings{{"Gamma", 50}} << grey(255) << grey(255);
        QTest::newRow("gamma 0") << "GammaCorrection" << Settings{{"Gamma", 0}} << grey(64) << grey(0);
        QTest::newRow("gamma negative") << "GammaCorrection" << Settings{{"Gamma", INT_MIN}} << grey(64) << grey(255);
        QTest::newRow("contrast neutral") << "AdjustContrast" << Settings() << grey(64) << grey(64);
        QTest::newRow("brightness 2") << "AdjustContrast" << Settings{{"Gamma", 200}} << grey(64) << grey(128);
        QTest::newRow("brightness 0") << "AdjustContrast" << Settings{{"Gamma", 0}} << grey(64) << grey(0);
        // HSL of (200, 100, 100): hue 0, lightness 150 / 255. The first value scales the lightness,
        // the second turns the hue by (value - 100) / 200 of a full turn, the third scales the
        // saturation.
        QTest::newRow("HSB untouched: neutral") << "AdjustHSB" << Settings() << qRgba(200, 100, 100, 90) << qRgba(200, 100, 100, 90);
        QTest::newRow("HSB first is brightness") << "AdjustHSB" << Settings{{"first", 50}} << grey(200) << grey(100);
        QTest::newRow("HSB second is hue") << "AdjustHSB" << Settings{{"second", 200}} << qRgb(200, 100, 100) << qRgb(100, 200, 200);
        QTest::newRow("HSB third is saturation") << "AdjustHSB" << Settings{{"third", 0}} << qRgb(200, 100, 100) << grey(150);
    }
    void colours()
    {
        QFETCH(QString, effect);
        QFETCH(Settings, settings);
        QFETCH(QRgb, colour);
        QFETCH(QRgb, expected);
        QCOMPARE(create(effect, flat(colour), settings)->result(), flat(expected));
    }

    // The bridge's operations with the effects' arguments: the contrast setter truncates (and
    // converts what lies beyond int to INT_MIN), the HSB setter's (1, 2, 3) arrive as (2, 3, 1).
    void bridgeArguments()
    {
        const QImage source = pattern(6, 5);
        const QList<QList<double>> contrasts{{20, 1.2, 20, 120}, {-35.9, 0.999, -35, 99}, {1e12, std::nan(""), INT_MIN, INT_MIN}};
        for (const QList<double>& contrast : contrasts) {
            const auto processor = create("AdjustContrast", source);
            QVERIFY(QMetaObject::invokeMethod(processor.get(), "setGammaAndStrength", Q_ARG(double, contrast[0]), Q_ARG(double, contrast[1])));
            QCOMPARE(processor->parameterContainer().value("Strength"), QVariant(int(contrast[2])));
            QCOMPARE(processor->parameterContainer().value("Gamma"), QVariant(int(contrast[3])));
            QCOMPARE(processor->result(), bridge().adjustContrast(source, contrast[2], contrast[3] / 100.0));
        }
        ZelImageProcessorAdjustHSB hsb(source);
        hsb.setParameters(1, 2, 3);
        QCOMPARE(hsb.result(), bridge().adjustHSB(source, 2, 3, 1));
        QVERIFY(hsb.result() != bridge().adjustHSB(source, 1, 2, 3));
        const QImage twoGreys = create("BlackWhite", source)->result();
        QCOMPARE(twoGreys, bridge().blackWhite(source));
    }

    void progress_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<Settings>("settings");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("steps");
        QTest::addColumn<bool>("finished");
        QTest::newRow("AdjustContrast") << "AdjustContrast" << Settings{{"Strength", 20}, {"Gamma", 120}} << "Kontrast anpassen"
                                        << QStringList{"Gamma", "SigmoidalContrast"} << false;
        // ImageMagick skips a gamma of 1.0, and with nothing to do reports nothing.
        QTest::newRow("AdjustContrast, neutral gamma") << "AdjustContrast" << Settings{{"Strength", 20}} << "Kontrast anpassen"
                                                       << QStringList{"SigmoidalContrast"} << false;
        QTest::newRow("AdjustContrast neutral") << "AdjustContrast" << Settings() << QString() << QStringList() << false;
        QTest::newRow("GammaCorrection") << "GammaCorrection" << Settings{{"Gamma", 50}} << "Gammakorrektur" << QStringList{"Gamma"} << false;
        QTest::newRow("BlackWhite") << "BlackWhite" << Settings() << "Tontrennung" << QStringList{"Classify", "Dither", "Reduce"} << false;
        QTest::newRow("AdjustHSB") << "AdjustHSB" << Settings{{"first", 90}} << QString::fromUtf8("Einfärben") << QStringList{"Modulate"} << true;
        QTest::newRow("SoftLense") << "SoftLense" << Settings() << "Radialer Weichzeichner" << QStringList{"Morphology"} << false;
        QTest::newRow("Compare") << "Compare" << Settings() << QString() << QStringList{"Composite"} << false;
    }
    // The relay reports (title, step, current, total). The step is the signalizer's name of the
    // running ImageMagick step, "/Image/" removed; the first report may still carry an earlier name.
    void progress()
    {
        QFETCH(QString, effect);
        QFETCH(Settings, settings);
        QFETCH(QString, title);
        QFETCH(QStringList, steps);
        const auto processor = create(effect, pattern(5, 6), settings);
        QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
        QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
        QVERIFY(!processor->result().isNull());
        QCOMPARE(finished.count(), 1);
        QTEST(finished.first().first().toBool(), "finished");
        QCOMPARE(progress.isEmpty(), steps.isEmpty());
        QSet<QString> names;
        for (int i = 0; i < progress.count(); ++i) {
            QCOMPARE(progress.at(i).at(0).toString(), title);
            if (i > 0)
                names << progress.at(i).at(1).toString();
        }
        QStringList sorted = names.values();
        sorted.sort();
        QCOMPARE(sorted, steps);
    }

    void cancelDuringResult_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<Settings>("settings");
        QTest::addColumn<bool>("secondFinished");
        QTest::newRow("AdjustContrast") << "AdjustContrast" << Settings{{"Strength", 20}} << false;
        QTest::newRow("GammaCorrection") << "GammaCorrection" << Settings{{"Gamma", 50}} << false;
        QTest::newRow("BlackWhite") << "BlackWhite" << Settings() << false;
        QTest::newRow("AdjustHSB") << "AdjustHSB" << Settings{{"first", 90}} << true;
        QTest::newRow("SoftLense") << "SoftLense" << Settings() << false;
        QTest::newRow("Compare") << "Compare" << Settings() << false;
    }
    // A cancel from inside the second progress report: cancel() sends finished(false) and result()
    // its own. ImageMagick stops and the effect returns a null image, except where nothing can stop:
    // the soft lens's blur (the source comes back) and the comparison (its picture comes back).
    void cancelDuringResult()
    {
        QFETCH(QString, effect);
        QFETCH(Settings, settings);
        QFETCH(bool, secondFinished);
        const QImage source = pattern(30, 40);
        const auto processor = create(effect, source, settings);
        QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
        int reports = 0;
        const auto connection = connect(processor.get(), &ZelImageProcessor::progress, this, [&] {
            if (++reports == 2)
                processor->cancel();
        });
        const QImage cancelled = processor->result();
        QCOMPARE(finished.count(), 2);
        QCOMPARE(finished.at(0).at(0).toBool(), false);
        QCOMPARE(finished.at(1).at(0).toBool(), secondFinished);
        if (effect == "SoftLense")
            QCOMPARE(cancelled, source);
        else if (effect == "Compare")
            QCOMPARE(cancelled.size(), source.size());
        else
            QVERIFY(cancelled.isNull());
        disconnect(connection);
        QVERIFY(!processor->result().isNull());
    }

    // A 4000-pixel-wide lens: the centre pixel lies so close to the gradient's centre that the
    // mask is black there. Beyond 0.6 of the radius (1200 pixels) the mask is white, and the top
    // row and left column are the black outline. Softness is capped at 100; below 1 nothing blurs.
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
        const auto lensWith = [&](int softness) { return create("SoftLense", small, Settings{{"ASoftness", softness}})->result(); };
        QCOMPARE(lensWith(101), lensWith(100));
        QCOMPARE(lensWith(INT_MAX), lensWith(100));
        QVERIFY(lensWith(60) != lensWith(100));
        QCOMPARE(lensWith(INT_MIN), small);
        // The lens paints onto a copy of the source, in its format.
        QCOMPARE(create("SoftLense", small.convertToFormat(QImage::Format_RGB888))->result().format(), QImage::Format_RGB888);
    }

    void softLensePreviewScalesSoftness_data()
    {
        QTest::addColumn<QSize>("sourceSize");
        QTest::addColumn<int>("softness");
        QTest::addColumn<int>("previewSoftness");
        QTest::addColumn<int>("otherSoftness");
        // Factor = preview width / source width, also where the height limits the scaling.
        QTest::newRow("400 x 200 to 100: factor 1/4") << QSize(400, 200) << 10 << 2 << 10;
        QTest::newRow("100 x 200 to 50 x 100: factor 1") << QSize(100, 200) << 10 << 10 << 5;
        // Beyond the range the cap comes first: 100 / 4, not 1000 / 4.
        QTest::newRow("capped, then scaled") << QSize(400, 200) << 1000 << 25 << 100;
    }
    // Sections keep the softness.
    void softLensePreviewScalesSoftness()
    {
        QFETCH(QSize, sourceSize);
        QFETCH(int, softness);
        QFETCH(int, previewSoftness);
        QFETCH(int, otherSoftness);
        const QImage source = pattern(sourceSize.width(), sourceSize.height());
        const auto lensOn = [](const QImage& image, int s) {
            auto lens = std::make_unique<ZelImageProcessorSoftLense>(image);
            lens->setParameters(s);
            return lens;
        };
        const QImage scaled = source.scaled(QSize(100, 100), Qt::KeepAspectRatio, Qt::SmoothTransformation);
        const QImage preview = lensOn(source, softness)->generatePreview(QSize(100, 100));
        QCOMPARE(preview, lensOn(scaled, previewSoftness)->result());
        QVERIFY(preview != lensOn(scaled, otherSoftness)->result());
        const QRect rect(10, 20, 60, 50);
        QCOMPARE(lensOn(source, softness)->generatePreview(rect), lensOn(source.copy(rect), softness)->result());
    }

    // ImageMagick's difference picture lays its "lowlight" #ffffff at alpha 0.8 over equal pixels
    // and its "highlight" #f1001e over differing ones: 0.8 * colour + 0.2 * source. One pixel
    // differs by (195, 155, 178, 0): mean over 4 channels of 12 pixels, peak 195. A reference of
    // another size gives a red picture in the source's format and keeps the figures.
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
        ZelImageProcessorCompare rgb888(source.convertToFormat(QImage::Format_RGB888));
        rgb888.setParameters(QImage());
        QCOMPARE(rgb888.result().format(), QImage::Format_RGB888);
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
        const auto compareOn = [](const QImage& image, const QImage& other) {
            ZelImageProcessorCompare preview(image);
            preview.setParameters(other);
            return preview.result();
        };
        const auto scaled = [](const QImage& image) { return image.scaled(10, 10, Qt::KeepAspectRatio, Qt::SmoothTransformation); };
        QCOMPARE(compare.generatePreview(QSize(10, 10)), compareOn(scaled(source), scaled(reference)));
        const QRect rect(3, 8, 12, 5);
        QCOMPARE(compare.generatePreview(rect), compareOn(source.copy(rect), reference.copy(rect)));
        QCOMPARE(compare.absoluteError(), 0.0);
    }
};

QTEST_MAIN(TestMagickEffects)
#include "tst_magickeffects.moc"
