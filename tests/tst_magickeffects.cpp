#include "ZelEffectRegistry.h"
#include "ZelImageProcessorAdjustContrast.h"
#include "ZelImageProcessorAdjustHSB.h"
#include "ZelImageProcessorCompare.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelImageProcessorSoftLense.h"
#include "ZelMagickWandWrapper_p.h"
#include "ZelParameterDescriptionNumber_p.h"
#include "ZelProgressSignalizer.h"

#include <QSignalSpy>
#include <QtTest>

#include <climits>
#include <cmath>
#include <limits>
#include <memory>

using Settings = QMap<QString, int>;
Q_DECLARE_METATYPE(Settings)

namespace {

const QStringList kEffects = {"AdjustContrast", "AdjustHSB", "GammaCorrection", "BlackWhite", "SoftLense", "Compare"};

// Opaque colours that differ from every neighbour, so that blurs and quantization change them.
QImage pattern(int width, int height, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            quint32 h = (quint32(x) * 73856093u) ^ (quint32(y) * 19349663u);
            h *= 2654435761u;
            image.setPixel(x, y, 0xFF000000u | h >> 8);
        }
    }
    return image.convertToFormat(format);
}

QImage flat(QRgb colour, int width = 3, int height = 2)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

QImage argb(const QImage& image)
{
    return image.convertToFormat(QImage::Format_ARGB32);
}

const ZelMagickWandWrapper& bridge()
{
    static ZelProgressSignalizer signalizer;
    static const ZelMagickWandWrapper wrapper(&signalizer);
    return wrapper;
}

// Compare runs on a reference of the source's own size unless told otherwise.
std::unique_ptr<ZelImageProcessor> create(const QString& name, const QImage& image = QImage(),
                                          const Settings& settings = Settings())
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

// The implementation behind a public effect, to drive its signalizer directly.
struct ImplementationOf : ZelImageProcessor
{
    static ZelImageProcessorImpl* of(ZelImageProcessor* processor) { return processor->*(&ImplementationOf::myImpl); }
};

bool near(QRgb actual, int red, int green, int blue)
{
    return qAbs(qRed(actual) - red) <= 1 && qAbs(qGreen(actual) - green) <= 1 && qAbs(qBlue(actual) - blue) <= 1;
}

QList<bool> flags(const QSignalSpy& finished)
{
    QList<bool> list;
    for (const QList<QVariant>& arguments : finished)
        list << arguments.at(0).toBool();
    return list;
}

} // namespace

class TestMagickEffects : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void metadata_data();
    void metadata();
    void numberParameters_data();
    void numberParameters();
    void setGammaAndStrength_data();
    void setGammaAndStrength();
    void greyLevels_data();
    void greyLevels();
    void hsbValuesArriveRotated_data();
    void hsbValuesArriveRotated();
    void hsbOneTwoThreeArrivesAsTwoThreeOne();
    void blackWhiteGivesTwoGreys();
    void extremeValuesDoNotCrash_data();
    void extremeValuesDoNotCrash();
    void progress_data();
    void progress();
    void relayAroundFinished_data();
    void relayAroundFinished();
    void cancelDuringResult_data();
    void cancelDuringResult();
    void nullAndEmptySources_data();
    void nullAndEmptySources();
    void smallAndIndexedSources_data();
    void smallAndIndexedSources();
    void previews_data();
    void previews();
    void softLenseKeepsTheCentreSharp();
    void softLensePreviewScalesSoftness_data();
    void softLensePreviewScalesSoftness();
    void softLenseCapsTheBlur();
    void compareWithItself();
    void compareOneDifferingPixel();
    void compareMismatch_data();
    void compareMismatch();
    void comparePreviewsScaleTheReference();
};

void TestMagickEffects::initTestCase()
{
    // The bridge's own debug lines would bury everything else.
    static const QtMessageHandler testlib = qInstallMessageHandler(nullptr);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (!text.startsWith("ZelMagickWandWrapper::"))
            testlib(type, context, text);
    });
}

void TestMagickEffects::metadata_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("toolTip");
    QTest::addColumn<QVariant>("iconName");
    QTest::addColumn<QStringList>("parameters");
    const auto row = [](const char* effect, const char* name, const char* toolTip, const char* icon, QStringList keys) {
        QTest::newRow(effect) << effect << QString::fromUtf8(name) << QVariant(QString::fromUtf8(toolTip))
                              << QVariant(QString(icon)) << keys;
    };
    row("AdjustContrast", "Kontrast und Helligkeit", "Kontrast und Helligkeit anpassen ", "ico_contrast", {"Gamma", "Strength"});
    row("AdjustHSB", "Einfärben", "Tönung und Sättigung anpassen ", "ico_hsb", {});
    row("GammaCorrection", "Gammakorrektur", "Gammakorrektur des Fotos ", "ico_wb_gamma", {"Gamma"});
    row("BlackWhite", "Tontrennung", "Tontrennung", "ico_tone_seperation", {});
    row("SoftLense", "Radialer Weichzeichner", "Radialer Weichzeichner", "ico_radial_blur", {"ASoftness"});
    QTest::newRow("Compare") << "Compare" << QString() << QVariant() << QVariant() << QStringList();
}

void TestMagickEffects::metadata()
{
    QFETCH(QString, effect);
    QFETCH(QString, name);
    QFETCH(QVariant, toolTip);
    QFETCH(QVariant, iconName);
    QFETCH(QStringList, parameters);
    const auto processor = create(effect);
    QCOMPARE(processor->effectName(), name);
    QCOMPARE(processor->property("ToolTip"), toolTip);
    QVERIFY(!processor->property("toolTip").isValid());
    QCOMPARE(processor->property("IconName"), iconName);
    QCOMPARE(processor->parameterContainer().parameterNames(), parameters);
}

void TestMagickEffects::numberParameters_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("label");
    QTest::addColumn<int>("min");
    QTest::addColumn<int>("max");
    QTest::addColumn<int>("value");
    QTest::addColumn<QPoint>("position");
    QTest::newRow("contrast") << "AdjustContrast" << "Strength" << "Kontrast" << -100 << 100 << 0 << QPoint(0, 0);
    QTest::newRow("brightness") << "AdjustContrast" << "Gamma" << "Helligkeit" << 0 << 240 << 100 << QPoint(1, 0);
    QTest::newRow("gamma") << "GammaCorrection" << "Gamma" << "Gamma" << 1 << 100 << 100 << QPoint(0, 0);
    QTest::newRow("softness") << "SoftLense" << "ASoftness" << QString::fromUtf8("Stärke") << 1 << 100 << 10 << QPoint(0, 0);
}

void TestMagickEffects::numberParameters()
{
    QFETCH(QString, effect);
    QFETCH(QString, key);
    QFETCH(QString, label);
    QFETCH(int, min);
    QFETCH(int, max);
    QFETCH(int, value);
    QFETCH(QPoint, position);
    const ZelParameterDescriptionContainer parameters = create(effect)->parameterContainer();
    const ZelParameterDescription parameter = parameters.parameter(key);
    QCOMPARE(parameter.visibleName(), label);
    const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(parameter.constData());
    QVERIFY(number);
    QCOMPARE(number->min(), QVariant(min));
    QCOMPARE(number->max(), QVariant(max));
    QCOMPARE(parameter.value(), QVariant(value));
    QCOMPARE(ZelParameterDescription(parameter).defaultValue(), QVariant(value));
    QVERIFY(!parameter.isCheckable());
    QCOMPARE(parameters.position(key), position);
}

void TestMagickEffects::setGammaAndStrength_data()
{
    QTest::addColumn<double>("strength");
    QTest::addColumn<double>("gamma");
    QTest::addColumn<int>("strengthValue");
    QTest::addColumn<int>("gammaValue");
    QTest::newRow("20, 1.2") << 20.0 << 1.2 << 20 << 120;
    QTest::newRow("truncated") << -35.9 << 0.999 << -35 << 99;
    QTest::newRow("beyond int") << 1e12 << std::numeric_limits<double>::quiet_NaN() << INT_MIN << INT_MIN;
}

void TestMagickEffects::setGammaAndStrength()
{
    QFETCH(double, strength);
    QFETCH(double, gamma);
    QFETCH(int, strengthValue);
    QFETCH(int, gammaValue);
    const QImage source = pattern(5, 4);
    const auto processor = create("AdjustContrast", source);
    // Through the meta-object system, as tools call it.
    QVERIFY(QMetaObject::invokeMethod(processor.get(), "setGammaAndStrength", Q_ARG(double, strength), Q_ARG(double, gamma)));
    const ZelParameterDescriptionContainer parameters = processor->parameterContainer();
    QCOMPARE(parameters.value("Strength"), QVariant(strengthValue));
    QCOMPARE(parameters.value("Gamma"), QVariant(gammaValue));
    QCOMPARE(parameters.parameter("Strength").defaultValue(), QVariant(strengthValue));
    QCOMPARE(parameters.parameter("Gamma").defaultValue(), QVariant(gammaValue));
    QCOMPARE(processor->result(), bridge().adjustContrast(source, strengthValue, gammaValue / 100.0));
}

void TestMagickEffects::greyLevels_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<int>("grey");
    QTest::addColumn<int>("expected");
    // Gamma g maps a level v to 255 (v / 255)^(1 / g): 64 -> 255 * 0.25098^2 = 16.06 for g = 0.5,
    // 255 * 0.25098^0.5 = 127.75 for g = 2.
    QTest::newRow("gamma neutral") << "GammaCorrection" << Settings() << 64 << 64;
    QTest::newRow("gamma 0.5") << "GammaCorrection" << Settings{{"Gamma", 50}} << 64 << 16;
    QTest::newRow("gamma 0.5 white") << "GammaCorrection" << Settings{{"Gamma", 50}} << 255 << 255;
    // Out of range: ImageMagick makes gamma 0 black and a negative one white; neither crashes.
    QTest::newRow("gamma 0") << "GammaCorrection" << Settings{{"Gamma", 0}} << 64 << 0;
    QTest::newRow("gamma negative") << "GammaCorrection" << Settings{{"Gamma", INT_MIN}} << 64 << 255;
    QTest::newRow("contrast neutral") << "AdjustContrast" << Settings() << 64 << 64;
    QTest::newRow("brightness 2") << "AdjustContrast" << Settings{{"Gamma", 200}} << 64 << 128;
    QTest::newRow("brightness 0") << "AdjustContrast" << Settings{{"Gamma", 0}} << 64 << 0;
}

void TestMagickEffects::greyLevels()
{
    QFETCH(QString, effect);
    QFETCH(Settings, settings);
    QFETCH(int, grey);
    QFETCH(int, expected);
    const QImage result = create(effect, flat(qRgb(grey, grey, grey)), settings)->result();
    QCOMPARE(result, flat(qRgb(expected, expected, expected)));
}

void TestMagickEffects::hsbValuesArriveRotated_data()
{
    QTest::addColumn<Settings>("values");
    QTest::addColumn<QRgb>("colour");
    QTest::addColumn<QRgb>("expected");
    // HSL of (200, 100, 100): hue 0, lightness 150 / 255. The first value scales the lightness, the
    // second turns the hue by (value - 100) / 200 of a full turn, the third scales the saturation.
    QTest::newRow("untouched: neutral") << Settings() << qRgba(200, 100, 100, 90) << qRgba(200, 100, 100, 90);
    QTest::newRow("first is brightness") << Settings{{"first", 50}} << qRgb(200, 200, 200) << qRgb(100, 100, 100);
    QTest::newRow("second is hue") << Settings{{"second", 200}} << qRgb(200, 100, 100) << qRgb(100, 200, 200);
    QTest::newRow("third is saturation") << Settings{{"third", 0}} << qRgb(200, 100, 100) << qRgb(150, 150, 150);
}

void TestMagickEffects::hsbValuesArriveRotated()
{
    QFETCH(Settings, values);
    QFETCH(QRgb, colour);
    QFETCH(QRgb, expected);
    QCOMPARE(create("AdjustHSB", flat(colour), values)->result(), flat(expected));
}

void TestMagickEffects::hsbOneTwoThreeArrivesAsTwoThreeOne()
{
    const QImage source = pattern(6, 5);
    ZelImageProcessorAdjustHSB hsb(source);
    hsb.setParameters(1, 2, 3);
    QCOMPARE(hsb.result(), bridge().adjustHSB(source, 2, 3, 1));
    QVERIFY(hsb.result() != bridge().adjustHSB(source, 1, 2, 3));
}

void TestMagickEffects::blackWhiteGivesTwoGreys()
{
    const QImage source = pattern(12, 9);
    const QImage result = create("BlackWhite", source)->result();
    QCOMPARE(result, bridge().blackWhite(source));
    QSet<QRgb> colours;
    for (int y = 0; y < result.height(); ++y)
        for (int x = 0; x < result.width(); ++x)
            colours << result.pixel(x, y);
    QCOMPARE(colours.size(), 2);
    for (const QRgb colour : colours)
        QVERIFY(qRed(colour) == qGreen(colour) && qGreen(colour) == qBlue(colour));
}

void TestMagickEffects::extremeValuesDoNotCrash_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<double>("hsbValue");
    for (const int strength : {INT_MIN, INT_MAX}) {
        for (const int gamma : {INT_MIN, 0, INT_MAX}) {
            QTest::addRow("contrast %d, brightness %d", strength, gamma)
                << "AdjustContrast" << Settings{{"Strength", strength}, {"Gamma", gamma}} << 0.0;
        }
    }
    QTest::newRow("gamma INT_MAX") << "GammaCorrection" << Settings{{"Gamma", INT_MAX}} << 0.0;
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {1e300, -1e300, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()})
        QTest::addRow("hsb %g", value) << "AdjustHSB" << Settings() << value;
}

void TestMagickEffects::extremeValuesDoNotCrash()
{
    QFETCH(QString, effect);
    QFETCH(Settings, settings);
    QFETCH(double, hsbValue);
    const auto processor = create(effect, pattern(6, 5), settings);
    if (auto* hsb = qobject_cast<ZelImageProcessorAdjustHSB*>(processor.get()))
        hsb->setParameters(hsbValue, hsbValue, hsbValue);
    QCOMPARE(processor->result().size(), QSize(6, 5));
}

void TestMagickEffects::progress_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<bool>("finished");
    QTest::newRow("AdjustContrast") << "AdjustContrast" << Settings{{"Strength", 20}, {"Gamma", 120}}
                                    << "Kontrast anpassen" << QStringList{"Gamma", "SigmoidalContrast"} << false;
    // ImageMagick skips a gamma of 1.0.
    QTest::newRow("AdjustContrast, neutral gamma") << "AdjustContrast" << Settings{{"Strength", 20}}
                                                   << "Kontrast anpassen" << QStringList{"SigmoidalContrast"} << false;
    // Nothing to do for ImageMagick, so nothing to report.
    QTest::newRow("AdjustContrast neutral") << "AdjustContrast" << Settings() << QString() << QStringList() << false;
    QTest::newRow("GammaCorrection") << "GammaCorrection" << Settings{{"Gamma", 50}} << "Gammakorrektur"
                                     << QStringList{"Gamma"} << false;
    QTest::newRow("BlackWhite") << "BlackWhite" << Settings() << "Tontrennung"
                                << QStringList{"Classify", "Dither", "Reduce"} << false;
    QTest::newRow("AdjustHSB") << "AdjustHSB" << Settings{{"first", 90}} << QString::fromUtf8("Einfärben")
                               << QStringList{"Modulate"} << true;
    QTest::newRow("SoftLense") << "SoftLense" << Settings() << "Radialer Weichzeichner"
                               << QStringList{"Morphology"} << false;
    QTest::newRow("Compare") << "Compare" << Settings() << QString() << QStringList{"Composite"} << false;
}

// The relay reports (title, step, current, total). The step is the signalizer's name of the
// running ImageMagick step, "/Image/" removed; the first report may still carry an earlier name.
void TestMagickEffects::progress()
{
    QFETCH(QString, effect);
    QFETCH(Settings, settings);
    QFETCH(QString, title);
    QFETCH(QStringList, steps);
    QFETCH(bool, finished);
    const auto processor = create(effect, pattern(5, 6), settings);
    QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
    QSignalSpy finishedSpy(processor.get(), &ZelImageProcessor::finished);
    QVERIFY(!processor->result().isNull());
    QCOMPARE(flags(finishedSpy), QList<bool>{finished});
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

void TestMagickEffects::relayAroundFinished_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<bool>("duringFinished");
    QTest::addColumn<bool>("afterResult");
    QTest::newRow("AdjustContrast") << "AdjustContrast" << false << false;
    QTest::newRow("GammaCorrection") << "GammaCorrection" << false << false;
    QTest::newRow("BlackWhite") << "BlackWhite" << false << false;
    QTest::newRow("Compare") << "Compare" << false << false;
    // finished(false) comes before the relay is cut: deliberate.
    QTest::newRow("SoftLense") << "SoftLense" << true << false;
    // The relay is never cut: deliberate.
    QTest::newRow("AdjustHSB") << "AdjustHSB" << true << true;
}

void TestMagickEffects::relayAroundFinished()
{
    QFETCH(QString, effect);
    QFETCH(bool, duringFinished);
    QFETCH(bool, afterResult);
    const auto processor = create(effect, pattern(4, 3));
    ZelProgressSignalizer* signalizer = ImplementationOf::of(processor.get())->progressSignalizer();
    QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
    int relayedDuringFinished = -1;
    connect(processor.get(), &ZelImageProcessor::finished, this, [&] {
        const int before = progress.count();
        signalizer->setProgress(7, 9);
        relayedDuringFinished = progress.count() - before;
    });
    processor->result();
    const int before = progress.count();
    signalizer->setProgress(7, 9);
    QCOMPARE(relayedDuringFinished, duringFinished ? 1 : 0);
    QCOMPARE(progress.count() - before, afterResult ? 1 : 0);
}

void TestMagickEffects::cancelDuringResult_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<QList<bool>>("finished");
    QTest::newRow("AdjustContrast") << "AdjustContrast" << Settings{{"Strength", 20}} << QList<bool>{false, false};
    QTest::newRow("GammaCorrection") << "GammaCorrection" << Settings{{"Gamma", 50}} << QList<bool>{false, false};
    QTest::newRow("BlackWhite") << "BlackWhite" << Settings() << QList<bool>{false, false};
    QTest::newRow("AdjustHSB") << "AdjustHSB" << Settings{{"first", 90}} << QList<bool>{false, true};
    QTest::newRow("SoftLense") << "SoftLense" << Settings() << QList<bool>{false, false};
    QTest::newRow("Compare") << "Compare" << Settings() << QList<bool>{false, false};
}

// A cancel from inside the second progress report. ImageMagick stops and the effect returns a
// null image, except where nothing can stop: the soft lens's blur (the source comes back
// unchanged) and the comparison (its picture comes back).
void TestMagickEffects::cancelDuringResult()
{
    QFETCH(QString, effect);
    QFETCH(Settings, settings);
    QFETCH(QList<bool>, finished);
    const QImage source = pattern(30, 40);
    const auto processor = create(effect, source, settings);
    QSignalSpy finishedSpy(processor.get(), &ZelImageProcessor::finished);
    int reports = 0;
    connect(processor.get(), &ZelImageProcessor::progress, this, [&] {
        if (++reports == 2)
            processor->cancel();
    });
    const QImage cancelled = processor->result();
    QCOMPARE(flags(finishedSpy), finished);
    if (effect == "SoftLense")
        QCOMPARE(cancelled, source);
    else if (effect == "Compare")
        QCOMPARE(cancelled.size(), source.size());
    else
        QVERIFY(cancelled.isNull());
    // The next run starts afresh.
    disconnect(processor.get(), &ZelImageProcessor::progress, this, nullptr);
    QVERIFY(!processor->result().isNull());
}

void TestMagickEffects::nullAndEmptySources_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage>("source");
    for (const QString& effect : kEffects) {
        QTest::newRow(qPrintable(effect + " null")) << effect << QImage();
        QTest::newRow(qPrintable(effect + " 0 x 5")) << effect << QImage(0, 5, QImage::Format_ARGB32);
        QTest::newRow(qPrintable(effect + " 5 x 0 indexed")) << effect << QImage(5, 0, QImage::Format_Indexed8);
    }
}

void TestMagickEffects::nullAndEmptySources()
{
    QFETCH(QString, effect);
    QFETCH(QImage, source);
    const auto processor = create(effect);
    processor->setSourceImage(source);
    if (effect == "Compare") {
        for (int run = 0; run < 3; ++run)
            QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^ZelImageProcessorCompareImpl Image sizes differ"));
    }
    QVERIFY(processor->result().isNull());
    QVERIFY(processor->generatePreview(QSize(10, 10)).isNull());
    QVERIFY(processor->generatePreview(QRect(0, 0, 3, 3)).isNull());
}

void TestMagickEffects::smallAndIndexedSources_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage>("source");
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<bool>("asItsArgbConversion");
    const QImage indexed = pattern(5, 4, QImage::Format_RGB32).convertToFormat(QImage::Format_Indexed8);
    for (const QString& effect : kEffects) {
        const bool lens = effect == "SoftLense";
        const QImage::Format computed = lens ? QImage::Format_RGB32 : QImage::Format_ARGB32;
        QTest::newRow(qPrintable(effect + " 1 x 1")) << effect << pattern(1, 1) << QImage::Format_ARGB32 << true;
        QTest::newRow(qPrintable(effect + " Indexed8")) << effect << indexed << computed << true;
        QTest::newRow(qPrintable(effect + " RGB888"))
            << effect << pattern(5, 4, QImage::Format_RGB888)
            << (lens ? QImage::Format_RGB888 : QImage::Format_ARGB32) << true;
        // The lens paints its blurred copy onto a 1-bit copy of the source: dithered, so not
        // comparable pixel for pixel.
        QTest::newRow(qPrintable(effect + " Mono"))
            << effect << pattern(5, 4, QImage::Format_Mono) << (lens ? QImage::Format_Mono : QImage::Format_ARGB32)
            << !lens;
    }
}

// 8-bit indexed and other formats are computed as their ARGB32 conversion.
void TestMagickEffects::smallAndIndexedSources()
{
    QFETCH(QString, effect);
    QFETCH(QImage, source);
    QFETCH(QImage::Format, format);
    QFETCH(bool, asItsArgbConversion);
    const QMap<QString, Settings> changes{{"AdjustHSB", {{"first", 80}, {"second", 130}}},
                                          {"AdjustContrast", {{"Strength", 30}}},
                                          {"GammaCorrection", {{"Gamma", 50}}}};
    const Settings settings = changes.value(effect);
    const QImage result = create(effect, source, settings)->result();
    QCOMPARE(result.size(), source.size());
    QCOMPARE(result.format(), format);
    if (asItsArgbConversion)
        QCOMPARE(argb(result), argb(create(effect, argb(source), settings)->result()));
}

void TestMagickEffects::previews_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<Settings>("settings");
    QTest::addColumn<bool>("pointwise");
    QTest::newRow("AdjustContrast") << "AdjustContrast" << Settings{{"Strength", -40}, {"Gamma", 150}} << true;
    QTest::newRow("GammaCorrection") << "GammaCorrection" << Settings{{"Gamma", 40}} << true;
    // The three values travel to the preview.
    QTest::newRow("AdjustHSB") << "AdjustHSB" << Settings{{"first", 80}, {"second", 160}, {"third", 40}} << true;
    QTest::newRow("BlackWhite") << "BlackWhite" << Settings() << false;
    QTest::newRow("SoftLense") << "SoftLense" << Settings() << false;
    QTest::newRow("Compare") << "Compare" << Settings() << false;
}

void TestMagickEffects::previews()
{
    QFETCH(QString, effect);
    QFETCH(Settings, settings);
    QFETCH(bool, pointwise);
    const QImage source = pattern(40, 20);
    const auto processor = create(effect, source, settings);
    const QImage scaled = source.scaled(10, 10, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const QImage preview = processor->generatePreview(QSize(10, 10));
    QCOMPARE(preview.size(), QSize(10, 5));
    const QImage section = processor->generatePreview(QRect(5, 2, 3, 4));
    QCOMPARE(section.size(), QSize(3, 4));
    if (!pointwise)
        return;
    QCOMPARE(preview, create(effect, scaled, settings)->result());
    QCOMPARE(section.pixel(1, 1), processor->result().pixel(6, 3));
    QVERIFY(preview != argb(scaled));
}

// A 4000-pixel-wide lens: the centre pixel lies so close to the gradient's centre that the mask
// is black there. Beyond 0.6 of the radius (1200 pixels) the mask is white, and the top row and
// left column are the black outline.
void TestMagickEffects::softLenseKeepsTheCentreSharp()
{
    const QImage source = pattern(4000, 3);
    const QImage result = create("SoftLense", source)->result();
    const QImage blurred = bridge().blur(source, 0, 10, 0);
    QCOMPARE(result.format(), QImage::Format_ARGB32);
    QVERIFY(blurred.pixel(2000, 1) != source.pixel(2000, 1));
    QCOMPARE(result.pixel(2000, 1), source.pixel(2000, 1));
    for (const int x : {1, 400, 799, 3201, 3999}) {
        for (const int y : {1, 2})
            QCOMPARE(result.pixel(x, y), blurred.pixel(x, y));
        QCOMPARE(result.pixel(x, 0), source.pixel(x, 0));
    }
    QCOMPARE(result.pixel(0, 2), source.pixel(0, 2));
}

void TestMagickEffects::softLensePreviewScalesSoftness_data()
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

void TestMagickEffects::softLensePreviewScalesSoftness()
{
    QFETCH(QSize, sourceSize);
    QFETCH(int, softness);
    QFETCH(int, previewSoftness);
    QFETCH(int, otherSoftness);
    const QImage source = pattern(sourceSize.width(), sourceSize.height());
    ZelImageProcessorSoftLense lens(source);
    lens.setParameters(softness);
    const QSize size(100, 100);
    const QImage scaled = source.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const auto lensOn = [](const QImage& image, int s) {
        ZelImageProcessorSoftLense other(image);
        other.setParameters(s);
        return other.result();
    };
    const QImage preview = lens.generatePreview(size);
    QCOMPARE(preview, lensOn(scaled, previewSoftness));
    QVERIFY(preview != lensOn(scaled, otherSoftness));
    // Sections keep the softness.
    const QRect rect(10, 20, 60, 50);
    QCOMPARE(lens.generatePreview(rect), lensOn(source.copy(rect), softness));
}

void TestMagickEffects::softLenseCapsTheBlur()
{
    const QImage source = pattern(40, 30);
    const auto lensWith = [&](int softness) { return create("SoftLense", source, Settings{{"ASoftness", softness}})->result(); };
    const QImage top = lensWith(100);
    QCOMPARE(lensWith(101), top);
    QCOMPARE(lensWith(INT_MAX), top);
    QVERIFY(lensWith(60) != top);
    // No blur at all below 1: the source through its own mask.
    QCOMPARE(lensWith(INT_MIN), source);
}

// ImageMagick's difference picture lays its "lowlight" #ffffff at alpha 0.8 over equal pixels and
// its "highlight" #f1001e at alpha 0.8 over differing ones: 0.8 * colour + 0.2 * source.
void TestMagickEffects::compareWithItself()
{
    const QImage source = pattern(8, 6);
    ZelImageProcessorCompare compare(source);
    compare.setParameters(source);
    const QImage difference = compare.result();
    QCOMPARE(compare.absoluteError(), 0.0);
    QCOMPARE(compare.absoluteMeanError(), 0.0);
    QCOMPARE(compare.peakError(), 0.0);
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 8; ++x) {
            const QRgb s = source.pixel(x, y);
            QVERIFY(near(difference.pixel(x, y), qRound(204 + 0.2 * qRed(s)), qRound(204 + 0.2 * qGreen(s)),
                         qRound(204 + 0.2 * qBlue(s))));
        }
    }
}

void TestMagickEffects::compareOneDifferingPixel()
{
    const QImage source = flat(qRgb(60, 100, 77), 4, 3);
    QImage reference = source;
    reference.setPixel(1, 1, qRgb(255, 255, 255));
    ZelImageProcessorCompare compare(source);
    QVERIFY(QMetaObject::invokeMethod(&compare, "setParameters", Q_ARG(QImage, reference)));
    const QImage difference = compare.result();
    double absolute = -1;
    QVERIFY(QMetaObject::invokeMethod(&compare, "absoluteError", Q_RETURN_ARG(double, absolute)));
    // One pixel differs by (195, 155, 178, 0): mean over 4 channels of 12 pixels, peak 195.
    QCOMPARE(absolute, 1.0);
    QVERIFY(qAbs(compare.absoluteMeanError() - (195 + 155 + 178) / (4 * 12 * 255.0)) < 1e-6);
    QVERIFY(qAbs(compare.peakError() - 195 / 255.0) < 1e-6);
    QVERIFY(near(difference.pixel(1, 1), qRound(0.8 * 241 + 12), 20, qRound(0.8 * 30 + 15.4)));
    QVERIFY(near(difference.pixel(0, 0), 216, 224, qRound(204 + 15.4)));
}

void TestMagickEffects::compareMismatch_data()
{
    QTest::addColumn<QImage>("source");
    QTest::addColumn<QImage>("reference");
    QTest::addColumn<QImage::Format>("format");
    const QImage source = pattern(8, 6);
    QTest::newRow("one pixel narrower") << source << pattern(7, 6) << QImage::Format_ARGB32;
    QTest::newRow("no reference") << source << QImage() << QImage::Format_ARGB32;
    QTest::newRow("RGB888") << pattern(8, 6, QImage::Format_RGB888) << pattern(8, 5) << QImage::Format_RGB888;
    QTest::newRow("Indexed8") << pattern(8, 6, QImage::Format_RGB32).convertToFormat(QImage::Format_Indexed8)
                              << pattern(7, 6) << QImage::Format_RGB32;
    QTest::newRow("Indexed8 with alpha") << source.convertToFormat(QImage::Format_Indexed8) << pattern(7, 6)
                                         << QImage::Format_ARGB32;
    QTest::newRow("Mono") << pattern(8, 6, QImage::Format_Mono) << pattern(7, 6) << QImage::Format_RGB32;
}

void TestMagickEffects::compareMismatch()
{
    QFETCH(QImage, source);
    QFETCH(QImage, reference);
    QFETCH(QImage::Format, format);
    ZelImageProcessorCompare compare(source);
    QImage changed = source.convertToFormat(QImage::Format_ARGB32);
    changed.setPixel(0, 0, qRgb(1, 2, 3));
    compare.setParameters(changed);
    compare.result();
    const QList<double> figures{compare.absoluteError(), compare.absoluteMeanError(), compare.peakError()};
    QCOMPARE(figures.at(0), 1.0);

    compare.setParameters(reference);
    QTest::ignoreMessage(QtDebugMsg, qPrintable(QString("ZelImageProcessorCompareImpl Image sizes differ : QSize(8, %1) QSize(%2, %3)")
                                                     .arg(source.height())
                                                     .arg(reference.width())
                                                     .arg(reference.height())));
    const QImage red = compare.result();
    QCOMPARE(red.format(), format);
    QImage expected(source.size(), QImage::Format_ARGB32);
    expected.fill(Qt::red);
    QCOMPARE(argb(red), expected);
    QCOMPARE((QList<double>{compare.absoluteError(), compare.absoluteMeanError(), compare.peakError()}), figures);
}

void TestMagickEffects::comparePreviewsScaleTheReference()
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
    // Previews leave the figures of this object alone.
    QCOMPARE(compare.absoluteError(), 0.0);
}

QTEST_MAIN(TestMagickEffects)
#include "tst_magickeffects.moc"
