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

// Every pixel the HSV colour (26, saturation, grey) with the grey (11 r + 16 g + 5 b) >> 5, alpha dropped;
// a saturation QColor refuses gives its invalid colour, opaque black.
QImage sepia(const QImage& source, int saturation)
{
    QImage image(source.size(), QImage::Format_ARGB32);
    for (int y = 0; y < source.height(); ++y)
        for (int x = 0; x < source.width(); ++x) {
            const QRgb pixel = source.pixel(x, y);
            const int grey = (11 * qRed(pixel) + 16 * qGreen(pixel) + 5 * qBlue(pixel)) >> 5;
            image.setPixel(x, y, saturation < 0 ? 0xFF000000u : QColor::fromHsv(26, saturation, grey).rgb());
        }
    return image;
}

} // namespace

// The effects against the bridge's operations with the arguments they must pass.
class TestArtistic : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false")); // a debug line per operation
        QCoreApplication::installTranslator(&myTranslator);
    }

    void progress_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<QString>("title"); // empty: no progress at all
        QTest::addColumn<QString>("step");  // one step ImageMagick must report; empty: every step is empty
        const auto row = [](const char* effect, const char* title, const char* step) {
            QTest::newRow(effect) << effect << QString::fromUtf8(title) << step;
        };
        row("Sketch", "Sketch", "Blur");
        row("Sepia", "", ""); // computed by the library
        row("MotionBlur", "Bewegungsunschärfe", "Blur");
        row("Arc", "[ZelImageProcessorArcImpl]Kreisbogen erzeugen", "Distort");
        row("Posterize", "Poster", "Posterize");
        row("OilPainting", "[ZelImageProcessorOilPaintingImpl]Ölgemälde", "OilPaint");
        row("Emboss", "[ZelImageProcessorEmbossImpl]Gravur", "Morphology");
        row("Implode", "[ZelImageProcessorImplodeImpl]Implosion", "");
        row("Explode", "[ZelImageProcessorExplodeImpl]Explosion", "");
        row("Shade", "Sketch", "Shade"); // the sketch's title, as the application has it
        row("Swirl", "[ZelImageProcessorSwirlImpl]Wirbel", "Swirl");
        row("Wave", "Welle", "Wave");
    }
    // Untranslated titles come out unmarked. The first report carries the step name known before it
    // (none at first): the monitor reports progress before it names the step.
    void progress()
    {
        QFETCH(QString, effect);
        QFETCH(QString, title);
        QFETCH(QString, step);
        const auto processor = makeEffect(effect, photo(24, 16));
        QSignalSpy progress(processor.get(), &ZelImageProcessor::progress);
        QVERIFY(!processor->result().isNull());
        QCOMPARE(progress.isEmpty(), title.isEmpty());
        QSet<QString> steps;
        for (const QList<QVariant>& report : progress) {
            QCOMPARE(report.at(0).toString(), title);
            steps.insert(report.at(1).toString());
        }
        QVERIFY(title.isEmpty() || progress.first().at(1).toString().isEmpty());
        QVERIFY2(step.isEmpty() ? steps.size() <= 1 : steps.contains(step), qPrintable(steps.values().join(',')));
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
        const auto row = [&](const char* name, const char* effect, const QVariantMap& values, const QImage& image,
                             const QImage& expected) { QTest::newRow(name) << effect << values << image << expected; };
        // The explosion passes the same positive amount: the application's behaviour, kept.
        row("Implode 2", "Implode", {{"Strength", 2}}, source, magick.implode(source, 2));
        row("Explode 2", "Explode", {{"Strength", 2}}, source, magick.implode(source, 2));
        row("Posterize: 4 levels, no dither", "Posterize", {}, source, magick.posterize(source, 4, false));
        row("Emboss: sigma 1.2", "Emboss", {}, source, magick.emboss(source, 0.0, 1.2));
        row("Shade", "Shade", {}, source, magick.shade(source));
        row("Swirl 40", "Swirl", {{"Angle", 40}}, source, magick.swirl(source, 40));
        // The bottom radius becomes 0.99 times the top one instead of a reversed ring; radii of 0:
        // ImageMagick refuses and the picture stays as it was.
        const QImage ring = magick.arc(source, 180, 0, 0.5, 0.5 * 0.99);
        row("Arc, inner 80 outside 50", "Arc", {{"CInnerRadius", 80}, {"DOuterRadius", 50}}, source, ring);
        row("Arc, equal radii", "Arc", {{"CInnerRadius", 50}, {"DOuterRadius", 50}}, source, ring);
        row("Arc without outer radius", "Arc", {{"DOuterRadius", 0}}, source, source);
        // A brush of 1e6 becomes twice the longer side, 18 (ImageMagick would refuse more and change nothing).
        row("OilPainting 2", "OilPainting", {{"BrushSize", 2}}, small, magick.oilPainting(small, 2));
        row("OilPainting 1e6", "OilPainting", {{"BrushSize", 1000000}}, small, magick.oilPainting(small, 18));
        // Sigma is limited to 512 (6 + 4) = 5120; ImageMagick gives the same for twice that.
        row("MotionBlur 3", "MotionBlur", {{"Sigma", 3}, {"Angle", 30}}, tiny, magick.motionBlur(tiny, 3, 30));
        row("MotionBlur INT_MAX", "MotionBlur", {{"Sigma", INT_MAX}}, tiny, magick.motionBlur(tiny, 10240, 0));
        row("MotionBlur INT_MIN", "MotionBlur", {{"Sigma", INT_MIN}}, tiny, magick.motionBlur(tiny, 10240, 0));
        // m = min(maxima, width / 4), wave length 2 width / m; amplitude 30 % of a height of 10: 3 pixels.
        const QImage w400 = photo(400, 10), w401 = photo(401, 10), w3 = photo(3, 10), w40 = photo(40, 10);
        const auto wave = [](int maxima) { return QVariantMap{{"NumberOfMaxima", maxima}, {"Amplitude", 30}}; };
        row("Wave 400 wide, 150 maxima: m = 100", "Wave", wave(150), w400, magick.wave(w400, 8.0, 3.0));
        row("Wave 400 wide, 3 maxima", "Wave", wave(3), w400, magick.wave(w400, 800.0 / 3, 3.0));
        row("Wave 401 wide, 150 maxima: m = 100", "Wave", wave(150), w401, magick.wave(w401, 8.02, 3.0));
        row("Wave 3 wide: m = 0", "Wave", wave(1), w3, magick.wave(w3, std::numeric_limits<double>::infinity(), 3.0));
        row("Wave -4 maxima", "Wave", wave(-4), w40, magick.wave(w40, -20.0, 3.0));
        // (int)(strength x 2.55); 2.55 is stored a little below, so 100 gives 254.
        QImage translucent = photo(16, 16);
        translucent.setPixel(0, 0, qRgba(200, 100, 50, 20));
        row("Sepia 0: pure grey", "Sepia", {{"Strength", 0}}, translucent, sepia(translucent, 0));
        row("Sepia 100", "Sepia", {{"Strength", 100}}, translucent, sepia(translucent, 254));
        row("Sepia 101: refused", "Sepia", {{"Strength", 101}}, translucent, sepia(translucent, -1));
    }
    void bridgeArguments()
    {
        QFETCH(QString, effect);
        QFETCH(QVariantMap, values);
        QFETCH(QImage, source);
        QTEST(makeEffect(effect, source, values)->result(), "expected");
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
        // Radii in percent, truncated.
        ZelImageProcessorArc arc(source);
        arc.setParameters(90, 30, 10.9, 60.7);
        QCOMPARE(arc.result(), magick.arc(source, 90, 30, 0.6, 0.1));
        // 20.9 % is stored as 20: on a height of 10, 2 pixels.
        ZelImageProcessorWave wave(photo(40, 10));
        wave.setParameters(2, 20.9);
        QCOMPARE(wave.result(), magick.wave(photo(40, 10), 40.0, 2.0));
    }

    // s = 300: outer radius 300 x 0.75 x 0.5 = 112.5, inner 300 x 0.25 x 0.5 = 37.5. The half ring over
    // the centre spans x -112.5 .. 112.5 and y -112.5 .. 0; ImageMagick's best fit starts each axis at
    // floor(min - 0.5) = -113 and spans ceil(max - start + 0.5): 226 x 114.
    void arcDefaultsGiveAHalfRing()
    {
        const QImage arc = makeEffect("Arc", photo(400, 300))->result();
        QCOMPARE(arc.size(), QSize(226, 114));
        const auto alpha = [&arc](int x, int y) { return qAlpha(arc.pixel(x, y)); }; // hole, ring, ring, corners
        QCOMPARE((QList<int>{alpha(113, 93), alpha(113, 68), alpha(113, 8), alpha(0, 0), alpha(225, 0)}),
                 (QList<int>{0, 255, 255, 0, 0}));
    }

private:
    MarkingTranslator myTranslator;
};

QTEST_MAIN(TestArtistic)
#include "tst_artistic.moc"
