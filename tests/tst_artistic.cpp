#include "ZelEffectRegistry.h"
#include "ZelEffectTestSupport.h"
#include "ZelImageProcessorArc.h"
#include "ZelImageProcessorPosterize.h"
#include "ZelImageProcessorWave.h"
#include "ZelMagickWandWrapper_p.h"
#include "ZelParameterDescriptionNumber_p.h"
#include "ZelProgressSignalizer.h"

#include <QLoggingCategory>
#include <QSignalSpy>
#include <QTranslator>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <limits>
#include <memory>
#include <thread>

using Values = QVariantMap;
Q_DECLARE_METATYPE(QImage::Format)

namespace {

QRgb rawPixel(const QImage& image, int x, int y)
{
    return reinterpret_cast<const QRgb*>(image.constScanLine(y))[x];
}

QImage applyEffect(const QString& name, const QImage& image, const Values& values = {})
{
    return makeEffect(name, image, values)->result();
}

// Each effect once with parameters that change the picture, as a preview would run them.
const QList<QPair<QString, Values>> kWorkingValues = {
    {"Sketch", {}},
    {"MotionBlur", {{"Angle", 30}, {"Sigma", 2}}},
    {"Sepia", {{"Strength", 70}}},
    {"Arc", {{"AArcAngle", 120}, {"BRotateAngle", 20}}},
    {"Posterize", {}},
    {"OilPainting", {{"BrushSize", 2}}},
    {"Emboss", {}},
    {"Implode", {{"Strength", 3}}},
    {"Explode", {{"Strength", 3}}},
    {"Shade", {}},
    {"Swirl", {{"Angle", 200}}},
    {"Wave", {{"NumberOfMaxima", 3}, {"Amplitude", 20}}}};

Values workingValues(const QString& effect)
{
    const auto entry = std::find_if(kWorkingValues.begin(), kWorkingValues.end(),
                                    [&](const auto& candidate) { return candidate.first == effect; });
    return entry->second;
}

} // namespace

class TestArtistic : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void metadata_data();
    void metadata();
    void parameters_data();
    void parameters();
    void typedSettersAreInvokable_data();
    void typedSettersAreInvokable();
    void progressAndFinished_data();
    void progressAndFinished();
    void nullAndTinySources_data();
    void nullAndTinySources();
    void otherFormatsAreComputedAsARGB32_data();
    void otherFormatsAreComputedAsARGB32();
    void previews_data();
    void previews();
    void cancelBeforeResultIsForgotten();
    void cancelFromAnotherThreadDuringAPhoto();

    void implodeAndExplodeAreEqual_data();
    void implodeAndExplodeAreEqual();
    void posterizePreviewsUseFourLevelsWithoutDither();
    void waveLength_data();
    void waveLength();
    void waveTruncatesTheAmplitude();
    void sepiaColours_data();
    void sepiaColours();
    void arcDefaultsGiveAHalfRing();
    void arcInnerRadiusIsForcedInside_data();
    void arcInnerRadiusIsForcedInside();
    void arcSetterTruncatesRadii();
    void arcWithoutOuterRadiusIsRefused();
    void oilPaintingBrushIsLimitedToThePicture();
    void motionBlurSigmaIsLimited();

private:
    // The bridge on a signalizer of its own, for the results the effects must match.
    ZelMagickWandWrapper magick() { return ZelMagickWandWrapper(&mySignalizer); }

    MarkingTranslator myTranslator;
    ZelProgressSignalizer mySignalizer;
};

void TestArtistic::initTestCase()
{
    // The bridge writes a debug line for every operation.
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    QCoreApplication::installTranslator(&myTranslator);
    // The sketch draws with ImageMagick's random numbers; one key makes them repeat.
    magick();
    SetRandomSecretKey(1);
}

void TestArtistic::cleanupTestCase()
{
    QCoreApplication::removeTranslator(&myTranslator);
}

void TestArtistic::metadata_data()
{
    addEffectMetadataColumns();
    const auto row = addEffectMetadataRow;
    row("Sketch", "Strichzeichnung", "Dieser Effekt vermittelt den Eindruck einer Strichzeichnung ",
        ":tessaroon/effectSketch.png");
    row("MotionBlur", "Bewegungsunschärfe", "Dieser Effekt vermittelt den Eindruck von Bewegungsunschärfe ",
        "ico_motion_blur");
    row("Sepia", "Sepia", "Farben des Fotos in Sepiafarben umwandeln ", "ico_sepia");
    row("Arc", "Kreisbogen", "Foto in einen Kreisbogen umwandeln ", "ico_arc");
    row("Posterize", "Poster", "Anzahl der Farben verringern, um den Eindruck eines Posters zu vermitteln ",
        "ico_posterize");
    row("OilPainting", "Ölgemälde", "Dieser Effekt vermittelt den Eindruck eines Ölgemäldes ", "ico_oil_canvas");
    row("Emboss", "Gravur", "Dieser Effekt vermittelt den Eindruck einer Gravur ", ":tessaroon/emboss.png");
    row("Implode", "Implosion", "Dieser Effekt vermittelt den Eindruck einer Implosion ", "ico_implosion");
    row("Explode", "Explosion", "Dieser Effekt vermittelt den Eindruck einer Explosion ", "ico_explosion");
    row("Shade", "Relief", "Dieser Effekt vermittelt den Eindruck eines Reliefs ", "ico_relief2");
    row("Swirl", "Verwirbeln", "Dieser Effekt vermittelt den Eindruck eines Wirbels ", "ico_swirl");
    row("Wave", "Welle", "Dieser Effekt verformt das Foto wellenförmig ", "ico_wave");
}

void TestArtistic::metadata()
{
    verifyEffectMetadata();
}

void TestArtistic::parameters_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QStringList>("labels");
    QTest::addColumn<QList<int>>("ranges"); // minimum, maximum, default per key
    const auto row = [](const char* effect, const QStringList& keys, const QStringList& labels,
                        const QList<int>& ranges) { QTest::newRow(effect) << effect << keys << labels << ranges; };
    row("Sketch", {}, {}, {});
    row("MotionBlur", {"Angle", "Sigma"}, {"Winkel", "Stärke"}, {0, 360, 0, 1, 10, 1});
    row("Sepia", {"Strength"}, {"Stärke"}, {0, 100, 50});
    row("Arc", {"AArcAngle", "BRotateAngle", "CInnerRadius", "DOuterRadius"},
        {"Größe des Kreisbogens", "Rotationswinkel", "Innenradius", "Außenradius"},
        {0, 360, 180, 0, 360, 0, 0, 100, 25, 0, 100, 75});
    row("Posterize", {}, {}, {});
    row("OilPainting", {"BrushSize"}, {"Pinselradius"}, {1, 100, 1});
    row("Emboss", {}, {}, {});
    row("Implode", {"Strength"}, {"Stärke"}, {0, 100, 0});
    row("Explode", {"Strength"}, {"Stärke"}, {0, 100, 0});
    row("Shade", {}, {}, {});
    row("Swirl", {"Angle"}, {"Winkel"}, {0, 359, 15});
    row("Wave", {"NumberOfMaxima", "Amplitude"}, {"Wellenlänge", "Amplitude"}, {1, 100, 1, 1, 100, 1});
}

// Keys are filed down one column in the listed order; labels are translated in the
// implementation's context.
void TestArtistic::parameters()
{
    QFETCH(QString, effect);
    QFETCH(QStringList, keys);
    QFETCH(QStringList, labels);
    QFETCH(QList<int>, ranges);
    const ZelParameterDescriptionContainer container = makeEffect(effect, QImage())->parameterContainer();
    QStringList sortedKeys = keys;
    sortedKeys.sort();
    QCOMPARE(container.parameterNames(), sortedKeys);
    for (int i = 0; i < keys.size(); ++i) {
        const ZelParameterDescription parameter = container.parameter(keys[i]);
        QCOMPARE(container.position(keys[i]), QPoint(i, 0));
        QCOMPARE(parameter.visibleName(), QStringLiteral("[ZelImageProcessor%1Impl]%2").arg(effect, labels[i]));
        QCOMPARE(parameter.type(), QVariant::Int);
        QCOMPARE(parameter.value(), QVariant(ranges[3 * i + 2]));
        QVERIFY(!parameter.isCheckable());
        const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(parameter.constData());
        QVERIFY(number);
        QCOMPARE(number->min(), QVariant(ranges[3 * i]));
        QCOMPARE(number->max(), QVariant(ranges[3 * i + 1]));
        QCOMPARE(number->defaultValue(), QVariant(ranges[3 * i + 2]));
        QVERIFY(!number->hasUserVisibleRange());
    }
}

void TestArtistic::typedSettersAreInvokable_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QByteArray>("signature");
    QTest::newRow("Posterize") << "Posterize" << QByteArray("setParameters(int,bool)");
    QTest::newRow("Wave") << "Wave" << QByteArray("setParameters(int,double)");
    QTest::newRow("Arc") << "Arc" << QByteArray("setParameters(int,int,double,double)");
}

void TestArtistic::typedSettersAreInvokable()
{
    QFETCH(QString, effect);
    QFETCH(QByteArray, signature);
    const QMetaObject* meta = ZelEffectRegistry::find(effect);
    const int index = meta->indexOfMethod(signature);
    QVERIFY(index >= 0);
    QCOMPARE(meta->method(index).methodType(), QMetaMethod::Method);
}

void TestArtistic::progressAndFinished_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("step"); // one step ImageMagick must report; empty: every step is empty
    QTest::addColumn<bool>("finishedFlag");
    const auto row = [](const char* effect, const char* title, const char* step, bool flag) {
        QTest::newRow(effect) << effect << QString::fromUtf8(title) << step << flag;
    };
    row("Sketch", "Sketch", "Blur", false);
    row("Sepia", "", "", false); // computed by the library: no progress at all
    row("MotionBlur", "Bewegungsunschärfe", "Blur", false);
    row("Arc", "[ZelImageProcessorArcImpl]Kreisbogen erzeugen", "Distort", false);
    row("Posterize", "Poster", "Posterize", true);
    row("OilPainting", "[ZelImageProcessorOilPaintingImpl]Ölgemälde", "OilPaint", false);
    row("Emboss", "[ZelImageProcessorEmbossImpl]Gravur", "Morphology", false);
    row("Implode", "[ZelImageProcessorImplodeImpl]Implosion", "", false);
    row("Explode", "[ZelImageProcessorExplodeImpl]Explosion", "", false);
    row("Shade", "Sketch", "Shade", false); // the sketch's title, as the application has it
    row("Swirl", "[ZelImageProcessorSwirlImpl]Wirbel", "Swirl", false);
    row("Wave", "Welle", "Wave", false);
}

// Untranslated titles come out unmarked. The first report carries the step name known before it
// (none at first): the monitor reports progress before it names the step.
void TestArtistic::progressAndFinished()
{
    QFETCH(QString, effect);
    QFETCH(QString, title);
    QFETCH(QString, step);
    QFETCH(bool, finishedFlag);
    const auto processor = makeEffect(effect, photo(24, 16));
    QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
    QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
    QVERIFY(!processor->result().isNull());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), finishedFlag);
    if (title.isEmpty()) {
        QCOMPARE(progress.count(), 0);
        return;
    }
    QVERIFY(progress.count() > 1);
    QSet<QString> steps;
    for (const QList<QVariant>& report : progress) {
        QCOMPARE(report.at(0).toString(), title);
        steps.insert(report.at(1).toString());
    }
    QCOMPARE(progress.first().at(1).toString(), QString());
    if (step.isEmpty())
        QCOMPARE(steps, QSet<QString>{QString()});
    else
        QVERIFY2(steps.contains(step), qPrintable(QStringList(steps.values()).join(',')));
    for (const QString& name : steps)
        QVERIFY(!name.contains('/'));
}

void TestArtistic::nullAndTinySources_data()
{
    QTest::addColumn<QString>("effect");
    for (const auto& entry : kWorkingValues)
        QTest::newRow(qPrintable(entry.first)) << entry.first;
}

void TestArtistic::nullAndTinySources()
{
    QFETCH(QString, effect);
    for (const QImage& empty : {QImage(), QImage(0, 5, QImage::Format_ARGB32), QImage(5, 0, QImage::Format_RGB32)}) {
        const auto processor = makeEffect(effect, photo(3, 3));
        processor->setSourceImage(empty);
        QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
        QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
        QVERIFY(processor->result().isNull());
        QTest::ignoreMessage(QtWarningMsg, "QImage::scaled: Image is a null image");
        QVERIFY(processor->generatePreview(QSize(10, 10)).isNull());
        QCOMPARE(progress.count(), 0);
        QCOMPARE(finished.count(), 1);
    }
    QVERIFY(!applyEffect(effect, photo(1, 1), workingValues(effect)).isNull());
}

void TestArtistic::otherFormatsAreComputedAsARGB32_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QImage::Format>("format");
    const QList<QImage::Format> formats = {QImage::Format_Indexed8, QImage::Format_Mono, QImage::Format_RGB888};
    for (const auto& effect : kWorkingValues)
        for (const QImage::Format format : formats)
            QTest::addRow("%s %d", qPrintable(effect.first), int(format)) << effect.first << format;
}

void TestArtistic::otherFormatsAreComputedAsARGB32()
{
    QFETCH(QString, effect);
    QFETCH(QImage::Format, format);
    const Values values = workingValues(effect);
    const QImage source = photo(13, 9).convertToFormat(format);
    const QImage result = applyEffect(effect, source, values);
    QCOMPARE(result.format(), QImage::Format_ARGB32);
    QCOMPARE(result, applyEffect(effect, source.convertToFormat(QImage::Format_ARGB32), values));
}

void TestArtistic::previews_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<Values>("values");
    for (const auto& entry : kWorkingValues)
        QTest::newRow(qPrintable(entry.first)) << entry.first << entry.second;
}

// Previews run the effect with this effect's parameters on the scaled picture or the section,
// and report nothing.
void TestArtistic::previews()
{
    QFETCH(QString, effect);
    QFETCH(Values, values);
    const QImage source = photo(40, 30);
    const auto processor = makeEffect(effect, source, values);
    QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
    QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);

    const QImage scaled = source.scaled(QSize(20, 20), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const QImage preview = processor->generatePreview(QSize(20, 20));
    QCOMPARE(preview, applyEffect(effect, scaled, values));
    if (!values.isEmpty())
        QVERIFY(preview != applyEffect(effect, scaled));
    const QRect section(5, 3, 17, 21);
    QCOMPARE(processor->generatePreview(section), applyEffect(effect, source.copy(section), values));
    QCOMPARE(progress.count(), 0);
    QCOMPARE(finished.count(), 0);
}

// The bridge clears a cancel when it hands the next picture to ImageMagick.
void TestArtistic::cancelBeforeResultIsForgotten()
{
    const QImage source = photo(20, 10);
    const auto processor = makeEffect("Swirl", source);
    processor->cancel();
    QCOMPARE(processor->result(), applyEffect("Swirl", source));
}

// A cancel from another thread stops ImageMagick at its next report; the wand is left behind
// and a null image comes back. The same object then computes normally.
void TestArtistic::cancelFromAnotherThreadDuringAPhoto()
{
    using Clock = std::chrono::steady_clock;
    const auto processor = makeEffect("Swirl", photo(6000, 4000));
    // Waits for ImageMagick's first report: a cancel before it would be cleared with the handover.
    std::atomic<bool> running{false};
    const auto connection = connect(processor.get(), &ZelImageProcessor::progress, this,
                                    [&running] { running.store(true); }, Qt::DirectConnection);
    Clock::time_point cancelledAt;
    std::thread canceller([&] {
        while (!running.load())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        cancelledAt = Clock::now();
        processor->cancel();
    });
    const QImage cancelled = processor->result();
    const Clock::time_point returnedAt = Clock::now();
    canceller.join();
    disconnect(connection);
    QVERIFY(cancelled.isNull());
    const auto stopMs = std::chrono::duration_cast<std::chrono::milliseconds>(returnedAt - cancelledAt).count();
    QVERIFY2(stopMs < 1000, qPrintable(QString::number(stopMs)));

    const QImage small = photo(20, 10);
    processor->setSourceImage(small);
    QCOMPARE(processor->result(), applyEffect("Swirl", small));
}

void TestArtistic::implodeAndExplodeAreEqual_data()
{
    QTest::addColumn<int>("strength");
    QTest::addColumn<bool>("changes");
    QTest::newRow("0") << 0 << false;
    QTest::newRow("2") << 2 << true;
    QTest::newRow("10") << 10 << true;
    // ImageMagick refuses under Debian's resource policy: its samples fall too far out.
    QTest::newRow("100") << 100 << false;
}

// The explosion passes the same positive amount: the application's behaviour, kept.
void TestArtistic::implodeAndExplodeAreEqual()
{
    QFETCH(int, strength);
    QFETCH(bool, changes);
    const QImage source = photo(30, 20);
    const QImage imploded = applyEffect("Implode", source, {{"Strength", strength}});
    QCOMPARE(applyEffect("Explode", source, {{"Strength", strength}}), imploded);
    QCOMPARE(imploded, magick().implode(source, strength));
    QCOMPARE(imploded != source, changes);
}

void TestArtistic::posterizePreviewsUseFourLevelsWithoutDither()
{
    const QImage source = photo(40, 30);
    ZelImageProcessorPosterize posterize(source);
    QCOMPARE(posterize.result(), magick().posterize(source, 4, false));
    posterize.setParameters(2, true);
    QCOMPARE(posterize.result(), magick().posterize(source, 2, true));
    QVERIFY(magick().posterize(source, 2, true) != magick().posterize(source, 4, false));

    const QImage scaled = source.scaled(QSize(20, 20), Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QCOMPARE(posterize.generatePreview(QSize(20, 20)), magick().posterize(scaled, 4, false));
    const QRect section(3, 2, 20, 15);
    QCOMPARE(posterize.generatePreview(section), magick().posterize(source.copy(section), 4, false));
}

void TestArtistic::waveLength_data()
{
    const double infinity = std::numeric_limits<double>::infinity();
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("maxima");
    QTest::addColumn<double>("waveLength");
    // m = min(maxima, width / 4), wave length 2 width / m.
    QTest::newRow("400 wide, 150 maxima: m = 100") << 400 << 150 << 8.0;
    QTest::newRow("400 wide, 3 maxima") << 400 << 3 << 800.0 / 3;
    QTest::newRow("401 wide, 150 maxima: m = 100") << 401 << 150 << 8.02;
    QTest::newRow("3 wide: m = 0") << 3 << 1 << infinity;
    QTest::newRow("0 maxima") << 40 << 0 << infinity;
    QTest::newRow("-4 maxima") << 40 << -4 << -20.0;
}

// Amplitude 30 % of a height of 10: 3 pixels.
void TestArtistic::waveLength()
{
    QFETCH(int, width);
    QFETCH(int, maxima);
    QFETCH(double, waveLength);
    const QImage source = photo(width, 10);
    ZelImageProcessorWave wave(source);
    wave.setParameters(maxima, 30);
    const QImage waved = wave.result();
    QCOMPARE(waved, magick().wave(source, waveLength, 3.0));
    QCOMPARE(waved.height(), 10 + 2 * 3);
}

// 20.9 % is stored as 20: on a height of 10, 2 pixels.
void TestArtistic::waveTruncatesTheAmplitude()
{
    const QImage source = photo(40, 10);
    ZelImageProcessorWave wave(source);
    wave.setParameters(2, 20.9);
    QCOMPARE(wave.parameterContainer().value("Amplitude"), QVariant(20));
    QCOMPARE(wave.result(), magick().wave(source, 40.0, 2.0));
}

void TestArtistic::sepiaColours_data()
{
    QTest::addColumn<int>("strength");
    QTest::addColumn<int>("saturation"); // -1: QColor refuses it
    // (int)(strength x 2.55); 2.55 is stored a little below, so 100 gives 254.
    QTest::newRow("0: pure grey") << 0 << 0;
    QTest::newRow("50") << 50 << 127;
    QTest::newRow("100") << 100 << 254;
    QTest::newRow("101") << 101 << -1;
    QTest::newRow("-1") << -1 << -1;
    QTest::newRow("INT_MAX") << INT_MAX << -1;
}

// Every pixel becomes the HSV colour (26, saturation, grey) with the grey (11 r + 16 g + 5 b) >> 5;
// a saturation QColor refuses gives its invalid colour, opaque black.
void TestArtistic::sepiaColours()
{
    QFETCH(int, strength);
    QFETCH(int, saturation);
    QImage source = photo(16, 16);
    source.setPixel(0, 0, qRgba(200, 100, 50, 20)); // alpha is dropped with the grey conversion
    const QImage sepia = applyEffect("Sepia", source, {{"Strength", strength}});
    QCOMPARE(sepia.format(), QImage::Format_ARGB32);
    QCOMPARE(sepia.size(), source.size());
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            const QRgb pixel = rawPixel(source, x, y);
            const int grey = (11 * qRed(pixel) + 16 * qGreen(pixel) + 5 * qBlue(pixel)) >> 5;
            const QRgb expected = saturation < 0 ? 0xFF000000u : QColor::fromHsv(26, saturation, grey).rgb();
            QCOMPARE(rawPixel(sepia, x, y), expected);
        }
    }
    // (200, 100, 50) gives the grey (2200 + 1600 + 250) >> 5 = 126.
    if (strength == 0)
        QCOMPARE(rawPixel(sepia, 0, 0), 0xFF7E7E7Eu);
}

// s = 300: outer radius 300 x 0.75 x 0.5 = 112.5, inner 300 x 0.25 x 0.5 = 37.5. The half ring over
// the centre spans x -112.5 .. 112.5 and y -112.5 .. 0; ImageMagick's best fit starts each axis at
// floor(min - 0.5) = -113 and spans ceil(max - start + 0.5): 226 x 114, the centre at (113, 113).
void TestArtistic::arcDefaultsGiveAHalfRing()
{
    const QImage arc = applyEffect("Arc", photo(400, 300));
    QCOMPARE(arc.size(), QSize(226, 114));
    const auto alphaAbove = [&](int distance) { return qAlpha(rawPixel(arc, 113, 113 - distance)); };
    QCOMPARE(alphaAbove(20), 0);   // the hole
    QCOMPARE(alphaAbove(45), 255); // the ring
    QCOMPARE(alphaAbove(105), 255);
    QCOMPARE(qAlpha(rawPixel(arc, 0, 0)), 0);
    QCOMPARE(qAlpha(rawPixel(arc, 225, 0)), 0);
}

void TestArtistic::arcInnerRadiusIsForcedInside_data()
{
    QTest::addColumn<int>("inner");
    QTest::addColumn<int>("outer");
    QTest::newRow("inner 80, outer 50") << 80 << 50;
    QTest::newRow("equal") << 50 << 50;
}

// The bottom radius becomes 0.99 times the top one instead of a reversed ring.
void TestArtistic::arcInnerRadiusIsForcedInside()
{
    QFETCH(int, inner);
    QFETCH(int, outer);
    const QImage source = photo(40, 30);
    const QImage arc = applyEffect("Arc", source, {{"CInnerRadius", inner}, {"DOuterRadius", outer}});
    QCOMPARE(arc, magick().arc(source, 180, 0, 0.5, 0.5 * 0.99));
    QVERIFY(arc != magick().arc(source, 180, 0, 0.5, 0.4));
}

void TestArtistic::arcSetterTruncatesRadii()
{
    const QImage source = photo(40, 30);
    ZelImageProcessorArc arc(source);
    arc.setParameters(90, 30, 10.9, 60.7);
    QCOMPARE(arc.result(), magick().arc(source, 90, 30, 0.6, 0.1));
}

// Radii of 0: ImageMagick refuses the distortion and the picture stays as it was.
void TestArtistic::arcWithoutOuterRadiusIsRefused()
{
    const QImage source = photo(40, 30);
    QCOMPARE(applyEffect("Arc", source, {{"DOuterRadius", 0}}), source);
}

// 1e6 is computed as twice the longer side, 18, and ImageMagick gives the same for 77 (unlimited,
// 1e6 exceeds its limits and would leave the picture unchanged).
void TestArtistic::oilPaintingBrushIsLimitedToThePicture()
{
    const QImage source = photo(9, 7);
    const QImage painted = applyEffect("OilPainting", source, {{"BrushSize", 1000000}});
    QVERIFY(painted != source);
    QCOMPARE(painted, magick().oilPainting(source, 18));
    QCOMPARE(painted, magick().oilPainting(source, 77));
    QCOMPARE(applyEffect("OilPainting", source, {{"BrushSize", 2}}), magick().oilPainting(source, 2));
}

// Limit 512 (6 + 4) = 5120: both huge sigmas give what ImageMagick gives for twice the limit
// (unlimited, INT_MAX exceeds its memory and would leave the picture unchanged).
void TestArtistic::motionBlurSigmaIsLimited()
{
    const QImage source = photo(6, 4);
    const QImage farBeyond = magick().motionBlur(source, 10240, 30);
    QVERIFY(farBeyond != source);
    QCOMPARE(applyEffect("MotionBlur", source, {{"Sigma", INT_MAX}, {"Angle", 30}}), farBeyond);
    QCOMPARE(applyEffect("MotionBlur", source, {{"Sigma", INT_MIN}, {"Angle", 30}}), farBeyond);
    QCOMPARE(applyEffect("MotionBlur", source, {{"Sigma", 3}, {"Angle", 30}}), magick().motionBlur(source, 3, 30));
}

QTEST_MAIN(TestArtistic)
#include "tst_artistic.moc"
