#include "ZelImageProcessorImpl_p.h"
#include "ZelLogging_p.h"
#include "ZelMagickWandWrapper_p.h"
#include "ZelProgressSignalizer.h"
#include "ZelTestProbe.h"

#include <QSignalSpy>
#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

namespace {

// Opaque, translucent and transparent pixels with distinct channels.
QImage translucentImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgba(10 + 20 * x, 200 - 15 * y, 7 * (x + y), (x * 97 + y * 31) % 256));
    return image;
}

QImage flatImage(int width, int height, QRgb colour)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

// The zel.magick messages written while an instance lives, with the category's warnings enabled.
struct MagickWarnings
{
    MagickWarnings()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("zel.magick.warning=true"));
        messages().clear();
        previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext& context, const QString& text) {
            if (QByteArray(context.category) == "zel.magick")
                messages().append(text);
        });
    }
    ~MagickWarnings()
    {
        qInstallMessageHandler(previous);
        QLoggingCategory::setFilterRules(QString());
    }
    static QStringList& messages()
    {
        static QStringList list;
        return list;
    }
    QtMessageHandler previous;
};

struct Bridge
{
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper{&signalizer};
};

} // namespace

class TestMagick : public QObject
{
    Q_OBJECT

private slots:
    void roundTripKeepsEveryChannel_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::newRow("ARGB32 with alpha") << translucentImage(7, 5);
        QTest::newRow("indexed") << translucentImage(4, 4).convertToFormat(QImage::Format_Indexed8);
    }
    void roundTripKeepsEveryChannel()
    {
        QFETCH(QImage, image);
        Bridge magick;
        const QImage back = magick.wrapper.consumeWand(magick.wrapper.createWand(image));
        QCOMPARE(back, image.convertToFormat(QImage::Format_ARGB32));
    }

    void monitorReportsAndStops_data()
    {
        QTest::addColumn<bool>("cancelled");
        QTest::addColumn<bool>("allowed");
        QTest::addColumn<bool>("goesOn");
        QTest::newRow("no cancel") << false << true << true;
        QTest::newRow("cancel") << true << true << false;
        QTest::newRow("cancel not allowed") << true << false << true;
    }
    void monitorReportsAndStops()
    {
        QFETCH(bool, cancelled);
        QFETCH(bool, allowed);
        ZelProgressSignalizer signalizer;
        signalizer.setCancelled(cancelled);
        signalizer.setCancelAllowed(allowed);
        QSignalSpy progress(&signalizer, &ZelProgressSignalizer::progressChanged);
        const MagickBooleanType answer = TessaroonMagickProgressMonitor("Swirl/Image/Swirl/Image/", 3, 40, &signalizer);
        QTEST(answer == MagickTrue, "goesOn");
        QCOMPARE(progress, (QList<QVariantList>{{3, 40}}));
        QCOMPARE(signalizer.processName(), QString("SwirlSwirl")); // every "/Image/" goes, case-sensitively
        // Without a signalizer ImageMagick goes on.
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("ZelProgressSignalizer"));
        QCOMPARE(TessaroonMagickProgressMonitor("Swirl/Image", 1, 2, nullptr), MagickTrue);
    }

    // The step name is made again only when ImageMagick's text changes, and a name given as text in
    // between is not mistaken for the last one made. A receiver connected after a report without
    // receivers gets the next ones.
    void monitorNamesEachStep()
    {
        ZelProgressSignalizer signalizer;
        TessaroonMagickProgressMonitor("Dither/Image/", 0, 2, &signalizer);
        QSignalSpy names(&signalizer, qOverload<const QString&>(&ZelProgressSignalizer::processName));
        QSignalSpy progress(&signalizer, &ZelProgressSignalizer::progressChanged);
        for (const char* text : {"Dither/Image/", "Dither/Image/", "Sketch/Image/", "", "Sketch/Image/"}) {
            if (!*text)
                signalizer.setProcessName(QStringLiteral("own"));
            else
                TessaroonMagickProgressMonitor(text, 1, 2, &signalizer);
        }
        QCOMPARE(names, (QList<QVariantList>{{"Dither"}, {"Dither"}, {"Sketch"}, {"own"}, {"Sketch"}}));
        QCOMPARE(progress.size(), 4);
    }

    // Progress reaches a receiver of the implementation's own signal while nobody receives the public
    // object's.
    void progressReachesEveryReceiver()
    {
        ZelImageProcessorProbe probe(translucentImage(2, 2));
        QSignalSpy progress(probe.baseImpl(), &ZelImageProcessorImpl::progress);
        probe.result();
        QCOMPARE(progress.size(), 2);
        QSignalSpy publicProgress(&probe, &ZelImageProcessor::progress);
        probe.result();
        QCOMPARE(progress.size(), 4);
        QCOMPARE(publicProgress.size(), 2);
    }

    // The blur step cannot be cancelled: it runs to its end, the result is dropped all the same, and
    // cancelling is allowed again after the step.
    void cancelWhileNotAllowedRunsToTheEnd()
    {
        Bridge magick;
        int reports = 0;
        connect(&magick.signalizer, &ZelProgressSignalizer::progressChanged, this, [&] {
            if (++reports == 1)
                magick.signalizer.setCancelled(true);
        });
        QVERIFY(magick.wrapper.blur(translucentImage(30, 50), 0, 2, 0).isNull());
        QVERIFY(reports > 2);
        QVERIFY(magick.signalizer.cancelled());
        QVERIFY(magick.signalizer.cancelAllowed());
    }

    void blurFadesTowardWhite_data()
    {
        QTest::addColumn<int>("softness");
        QTest::addColumn<int>("expected");
        // A grey of 100 under alpha 255 - 23 s, drawn over white: 100 a / 255 + 255 (1 - a / 255).
        QTest::newRow("softness 12: plain white") << 12 << 255;
        QTest::newRow("softness 0: unchanged") << 0 << 100;
        QTest::newRow("softness 5: alpha 140") << 5 << 170;
    }
    void blurFadesTowardWhite()
    {
        QFETCH(int, softness);
        QFETCH(int, expected);
        const QRgb pixel = Bridge().wrapper.blur(flatImage(6, 4, qRgb(100, 100, 100)), softness, 0, 0).pixel(3, 2);
        QVERIFY2(qAbs(qRed(pixel) - expected) <= 1 && qAlpha(pixel) == 255, qPrintable(QString::number(pixel, 16)));
    }

    // ImageMagick sees the channels where it expects them: its grey of red is lighter than that of blue (a
    // swap in both directions would pass the round trip).
    void operations()
    {
        Bridge magick;
        const int red = qRed(magick.wrapper.grayscale(flatImage(2, 2, qRgb(255, 0, 0))).pixel(1, 1));
        const int blue = qRed(magick.wrapper.grayscale(flatImage(2, 2, qRgb(0, 0, 255))).pixel(1, 1));
        QVERIFY2(red > blue + 20, qPrintable(QString("%1 %2").arg(red).arg(blue)));
        const QImage image = translucentImage(9, 7);
        QCOMPARE(magick.wrapper.adjustContrast(image, 0, 1.0), image);
        double absolute = -1, mean = -1, peak = -1;
        QCOMPARE(magick.wrapper.compare(image, image, absolute, mean, peak).size(), image.size());
        QCOMPARE((QList<double>{absolute, mean, peak}), (QList<double>{0, 0, 0}));
        QImage changed = image;
        changed.setPixel(2, 3, qRgba(255, 0, 0, 255));
        magick.wrapper.compare(image, changed, absolute, mean, peak);
        QCOMPARE(absolute, 1.0); // one differing pixel
        QVERIFY(mean > 0 && peak > 0 && peak <= 1.0);
        QCOMPARE(magick.wrapper.implode(image, 100), image);
        QVERIFY(magick.wrapper.implode(image, 2) != image);
    }

    // A call ImageMagick fails (an implosion of 100 samples from beyond the policy's side limit) is told
    // through zel.magick, which is off by default, and keeps the picture; a cancel is no failure.
    void failuresAreLogged()
    {
        QVERIFY(!zelMagick().isWarningEnabled());
        const QImage image = translucentImage(9, 7);
        MagickWarnings warnings;
        Bridge magick;
        QCOMPARE(magick.wrapper.implode(image, 100), image);
        QCOMPARE(warnings.messages().size(), 1);
        QVERIFY2(warnings.messages().at(0).contains(QRegularExpression("MagickImplodeImage.*exceeds limit")),
                 qPrintable(warnings.messages().at(0)));
        QVERIFY(magick.wrapper.implode(image, 2) != image);
        connect(&magick.signalizer, &ZelProgressSignalizer::progressChanged, &magick.signalizer,
                qOverload<>(&ZelProgressSignalizer::setCancelled));
        QVERIFY(magick.wrapper.swirl(image, 90).isNull());
        QCOMPARE(warnings.messages().size(), 1);
    }

    void startsOnceFromSeveralThreads()
    {
        std::atomic<int> good{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&good] { good += !Bridge().wrapper.grayscale(translucentImage(16, 16)).isNull(); });
        for (std::thread& thread : threads)
            thread.join();
        QCOMPARE(good.load(), 4);
    }

    void sketchTiling_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QList<double>>("limits"); // bytes, area, side
        QTest::addColumn<int>("tiles");
        QTest::addColumn<int>("overlap");
        const double unlimited = 1e30;
        // 138 bytes a pixel for 100 x 80 = 1104000: just enough.
        QTest::newRow("memory just enough") << QSize(100, 80) << QList<double>{1104000, unlimited, unlimited} << 1 << 0;
        // Debian's policy: 768 MiB of memory and map, 128 MP, 16 KP sides. 805306368 - 20 x 24 M bytes leave
        // 2541456 canvas pixels of 128 bytes: bands of 2541456 / (6000 + 64) - 64 = 355 rows, so 12 bands;
        // the overlap is 1.5 x 20 + 2.
        QTest::newRow("24 MP") << QSize(6000, 4000) << QList<double>{805306368, 128e6, 16384} << 12 << 32;
        // Twice 10000 exceeds 16384: two columns of at most 8192 - 64 pixels.
        QTest::newRow("too wide") << QSize(10000, 1000) << QList<double>{unlimited, unlimited, 16384} << 2 << 32;
        // Four times the area must stay within 4 M: tiles of 1 M pixels including the overlap.
        QTest::newRow("area") << QSize(2000, 2000) << QList<double>{unlimited, 4e6, unlimited} << 5 << 32;
    }
    // The tiles cover the picture once, and each widened tile fits the limits.
    void sketchTiling()
    {
        QFETCH(QSize, size);
        QFETCH(QList<double>, limits);
        QFETCH(int, overlap);
        const ZelSketchTiling tiling = zelSketchTiling(size, 20.0, {limits[0], limits[1], limits[2], limits[2]});
        QTEST(int(tiling.tiles.size()), "tiles");
        QCOMPARE(tiling.overlap, overlap);
        QRegion covered;
        qint64 coveredArea = 0;
        for (const QRect& tile : tiling.tiles) {
            const QRect widened = tile.adjusted(-overlap, -overlap, overlap, overlap) & QRect(QPoint(0, 0), size);
            QVERIFY(2.0 * widened.width() <= limits[2] && 2.0 * widened.height() <= limits[2]);
            QVERIFY(4.0 * widened.width() * widened.height() <= limits[1]);
            covered += tile;
            coveredArea += qint64(tile.width()) * tile.height();
        }
        QCOMPARE(covered, QRegion(QRect(QPoint(0, 0), size)));
        QCOMPARE(coveredArea, qint64(size.width()) * size.height());
    }

    // With limits lowered so far that a small picture is sketched in bands, every band is drawn like the
    // same rows of the whole picture.
    void sketchInTilesDrawsEveryTile()
    {
        const MagickSizeType memory = MagickGetResourceLimit(MemoryResource), map = MagickGetResourceLimit(MapResource);
        Bridge magick;
        const QImage image = QImage(QStringLiteral(ZEL_SOURCE_DIR "/samples/chelsea.png")).copy(0, 0, 400, 120);
        const QImage whole = magick.wrapper.sketch(image, 4, 4, 120);
        // 3420000 - 20 x 48000 bytes leave 19218 canvas pixels: 19218 / (400 + 16) - 16 = 30.2 rows a band.
        MagickSetResourceLimit(MemoryResource, 1710000);
        MagickSetResourceLimit(MapResource, 1710000);
        QCOMPARE(zelSketchTiling(image.size(), 4, {3420000, 1e30, 1e30, 1e30}).tiles.size(), 4);
        const QImage tiled = magick.wrapper.sketch(image, 4, 4, 120);
        MagickSetResourceLimit(MemoryResource, memory);
        MagickSetResourceLimit(MapResource, map);
        const auto meanOfRows = [](const QImage& picture, int top) {
            qint64 sum = 0;
            for (int y = top; y < top + 30; ++y)
                for (int x = 0; x < picture.width(); ++x)
                    sum += qGray(picture.pixel(x, y));
            return double(sum) / (picture.width() * 30);
        };
        QCOMPARE(tiled.size(), image.size());
        QVERIFY(meanOfRows(whole, 0) > meanOfRows(magick.wrapper.grayscale(image), 0) + 20); // lighter than grey
        for (int top = 0; top < 120; top += 30)
            QVERIFY2(qAbs(meanOfRows(tiled, top) - meanOfRows(whole, top)) < 3, qPrintable(QString::number(top)));
    }
};

QTEST_MAIN(TestMagick)
#include "tst_magick.moc"
