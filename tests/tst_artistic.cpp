#include "ZelEffectTestSupport.h"
#include "ZelImageProcessorArc.h"
#include "ZelImageProcessorPosterize.h"
#include "ZelImageProcessorWave.h"
#include "ZelMagickWandWrapper_p.h"
#include "ZelProgressSignalizer.h"

#include <QLoggingCategory>
#include <QSignalSpy>
#include <QtTest>

#include <climits>
#include <limits>

namespace {

QImage applyEffect(const QString& name, const QImage& image, const QVariantMap& values = {})
{
    return makeEffect(name, image, values)->result();
}

} // namespace

// The effects against the bridge's operations with the arguments they must pass.
class TestArtistic : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // The bridge writes a debug line for every operation.
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
        QCoreApplication::installTranslator(&myTranslator);
    }
    void cleanupTestCase() { QCoreApplication::removeTranslator(&myTranslator); }

    void progress_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<QString>("title"); // empty: no progress at all
        QTest::addColumn<QString>("step");  // one step ImageMagick must report; empty: every step is empty
        QTest::addColumn<bool>("finishedFlag");
        const auto row = [](const char* effect, const char* title, const char* step, bool flag) {
            QTest::newRow(effect) << effect << QString::fromUtf8(title) << step << flag;
        };
        row("Sketch", "Sketch", "Blur", false);
        row("Sepia", "", "", false); // computed by the library
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
    // Untranslated titles come out unmarked. The first report carries the step name known before
    // it (none at first): the monitor reports progress before it names the step.
    void progress()
    {
        QFETCH(QString, effect);
        QFETCH(QString, title);
        QFETCH(QString, step);
        const auto processor = makeEffect(effect, photo(24, 16));
        QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
        QSignalSpy finished(processor.get(), &ZelImageProcessor::finished);
        QVERIFY(!processor->result().isNull());
        QCOMPARE(finished.count(), 1);
        QTEST(finished.at(0).at(0).toBool(), "finishedFlag");
        QCOMPARE(progress.isEmpty(), title.isEmpty());
        QSet<QString> steps;
        for (const QList<QVariant>& report : progress) {
            QCOMPARE(report.at(0).toString(), title);
            steps.insert(report.at(1).toString());
        }
        QVERIFY(title.isEmpty() || progress.first().at(1).toString().isEmpty());
        QVERIFY2(step.isEmpty() ? steps.size() <= 1 : steps.contains(step), qPrintable(QStringList(steps.values()).join(',')));
    }

    void bridgeArguments_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<QVariantMap>("values");
        QTest::addColumn<QImage>("source");
        QTest::addColumn<QImage>("expected");
        ZelProgressSignalizer signalizer;
        const ZelMagickWandWrapper magick(&signalizer);
        const QImage source = photo(30, 20), small = photo(9, 7), tiny = photo(6, 4);
        // The explosion passes the same positive amount: the application's behaviour, kept. At 100
        // ImageMagick refuses under Debian's resource policy: its samples fall too far out.
        for (const int strength : {0, 2, 10, 100}) {
            QTest::addRow("Implode %d", strength) << "Implode" << QVariantMap{{"Strength", strength}} << source << magick.implode(source, strength);
            QTest::addRow("Explode %d", strength) << "Explode" << QVariantMap{{"Strength", strength}} << source << magick.implode(source, strength);
        }
        QTest::newRow("Posterize: 4 levels, no dither") << "Posterize" << QVariantMap() << source << magick.posterize(source, 4, false);
        // The bottom radius becomes 0.99 times the top one instead of a reversed ring; radii of 0:
        // ImageMagick refuses and the picture stays as it was.
        QTest::newRow("Arc, inner 80 outside 50") << "Arc" << QVariantMap{{"CInnerRadius", 80}, {"DOuterRadius", 50}} << source
                                                  << magick.arc(source, 180, 0, 0.5, 0.5 * 0.99);
        QTest::newRow("Arc, equal radii") << "Arc" << QVariantMap{{"CInnerRadius", 50}, {"DOuterRadius", 50}} << source
                                          << magick.arc(source, 180, 0, 0.5, 0.5 * 0.99);
        QTest::newRow("Arc without outer radius") << "Arc" << QVariantMap{{"DOuterRadius", 0}} << source << source;
        // A brush of 1e6 is computed as twice the longer side, 18 (unlimited it would exceed
        // ImageMagick's limits and leave the picture unchanged).
        QTest::newRow("OilPainting 2") << "OilPainting" << QVariantMap{{"BrushSize", 2}} << small << magick.oilPainting(small, 2);
        QTest::newRow("OilPainting 1e6") << "OilPainting" << QVariantMap{{"BrushSize", 1000000}} << small << magick.oilPainting(small, 18);
        // Sigma is limited to 512 (6 + 4) = 5120; ImageMagick gives the same for twice that.
        QTest::newRow("MotionBlur 3") << "MotionBlur" << QVariantMap{{"Sigma", 3}, {"Angle", 30}} << tiny << magick.motionBlur(tiny, 3, 30);
        QTest::newRow("MotionBlur INT_MAX") << "MotionBlur" << QVariantMap{{"Sigma", INT_MAX}, {"Angle", 30}} << tiny
                                            << magick.motionBlur(tiny, 10240, 30);
        QTest::newRow("MotionBlur INT_MIN") << "MotionBlur" << QVariantMap{{"Sigma", INT_MIN}, {"Angle", 30}} << tiny
                                            << magick.motionBlur(tiny, 10240, 30);
    }
    void bridgeArguments()
    {
        QFETCH(QString, effect);
        QFETCH(QVariantMap, values);
        QFETCH(QImage, source);
        QTEST(applyEffect(effect, source, values), "expected");
    }

    // The typed setters, with what the previews use.
    void typedSetters()
    {
        ZelProgressSignalizer signalizer;
        const ZelMagickWandWrapper magick(&signalizer);
        const QImage source = photo(40, 30);
        ZelImageProcessorPosterize posterize(source);
        posterize.setParameters(2, true);
        QCOMPARE(posterize.result(), magick.posterize(source, 2, true));
        QVERIFY(magick.posterize(source, 2, true) != magick.posterize(source, 4, false));
        // Previews always use four levels without dither.
        const QImage scaled = source.scaled(QSize(20, 20), Qt::KeepAspectRatio, Qt::SmoothTransformation);
        QCOMPARE(posterize.generatePreview(QSize(20, 20)), magick.posterize(scaled, 4, false));
        QCOMPARE(posterize.generatePreview(QRect(3, 2, 20, 15)), magick.posterize(source.copy(3, 2, 20, 15), 4, false));
        // Radii in percent, truncated.
        ZelImageProcessorArc arc(source);
        arc.setParameters(90, 30, 10.9, 60.7);
        QCOMPARE(arc.result(), magick.arc(source, 90, 30, 0.6, 0.1));
        // 20.9 % is stored as 20: on a height of 10, 2 pixels.
        ZelImageProcessorWave wave(photo(40, 10));
        wave.setParameters(2, 20.9);
        QCOMPARE(wave.parameterContainer().value("Amplitude"), QVariant(20));
        QCOMPARE(wave.result(), magick.wave(photo(40, 10), 40.0, 2.0));
    }

    void waveLength_data()
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
    void waveLength()
    {
        QFETCH(int, width);
        QFETCH(int, maxima);
        QFETCH(double, waveLength);
        const QImage source = photo(width, 10);
        ZelImageProcessorWave wave(source);
        wave.setParameters(maxima, 30);
        ZelProgressSignalizer signalizer;
        QCOMPARE(wave.result(), ZelMagickWandWrapper(&signalizer).wave(source, waveLength, 3.0));
    }

    void sepiaColours_data()
    {
        QTest::addColumn<int>("strength");
        QTest::addColumn<int>("saturation"); // -1: QColor refuses it
        // (int)(strength x 2.55); 2.55 is stored a little below, so 100 gives 254.
        QTest::newRow("0: pure grey") << 0 << 0;
        QTest::newRow("50") << 50 << 127;
        QTest::newRow("100") << 100 << 254;
        QTest::newRow("101") << 101 << -1;
        QTest::newRow("-1") << -1 << -1;
    }
    // Every pixel becomes the HSV colour (26, saturation, grey) with the grey (11 r + 16 g + 5 b)
    // >> 5, alpha dropped; a saturation QColor refuses gives its invalid colour, opaque black.
    void sepiaColours()
    {
        QFETCH(int, strength);
        QFETCH(int, saturation);
        QImage source = photo(16, 16);
        source.setPixel(0, 0, qRgba(200, 100, 50, 20));
        const QImage sepia = applyEffect("Sepia", source, {{"Strength", strength}});
        QCOMPARE(sepia.format(), QImage::Format_ARGB32);
        for (int y = 0; y < 16; ++y) {
            for (int x = 0; x < 16; ++x) {
                const QRgb pixel = source.pixel(x, y);
                const int grey = (11 * qRed(pixel) + 16 * qGreen(pixel) + 5 * qBlue(pixel)) >> 5;
                QCOMPARE(sepia.pixel(x, y), saturation < 0 ? 0xFF000000u : QColor::fromHsv(26, saturation, grey).rgb());
            }
        }
    }

    // s = 300: outer radius 300 x 0.75 x 0.5 = 112.5, inner 300 x 0.25 x 0.5 = 37.5. The half ring
    // over the centre spans x -112.5 .. 112.5 and y -112.5 .. 0; ImageMagick's best fit starts
    // each axis at floor(min - 0.5) = -113 and spans ceil(max - start + 0.5): 226 x 114.
    void arcDefaultsGiveAHalfRing()
    {
        const QImage arc = applyEffect("Arc", photo(400, 300));
        QCOMPARE(arc.size(), QSize(226, 114));
        QCOMPARE(qAlpha(arc.pixel(113, 113 - 20)), 0); // the hole
        QCOMPARE(qAlpha(arc.pixel(113, 113 - 45)), 255);
        QCOMPARE(qAlpha(arc.pixel(113, 113 - 105)), 255);
        QCOMPARE(qAlpha(arc.pixel(0, 0)), 0);
        QCOMPARE(qAlpha(arc.pixel(225, 0)), 0);
    }

private:
    MarkingTranslator myTranslator;
};

QTEST_MAIN(TestArtistic)
#include "tst_artistic.moc"
