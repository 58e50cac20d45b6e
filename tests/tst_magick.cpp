#include "ZelMagickWandWrapper_p.h"
#include "ZelProgressSignalizer.h"

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

} // namespace

class TestMagick : public QObject
{
    Q_OBJECT

private slots:
    void roundTripKeepsEveryChannel_data();
    void roundTripKeepsEveryChannel();
    void monitorWithoutClientGoesOn();
    void monitorReportsAndStops_data();
    void monitorReportsAndStops();
    void cancelBeforeTheCallDoesNotStopIt();
    void cancelDuringTheCallYieldsNull();
    void cancelWhileNotAllowedRunsToTheEnd();
    void blurFadesTowardWhite_data();
    void blurFadesTowardWhite();
    void neutralOperationsKeepThePicture();
    void operationsOnNullImagesGiveNull();
    void compareMeasuresDifferences();
    void startsOnceFromSeveralThreads();
    void sketchTiling_data();
    void sketchTiling();
    void sketchInTilesDrawsEveryTile();
    void implodeBeyondTheSideLimitKeepsThePicture();
};

void TestMagick::roundTripKeepsEveryChannel_data()
{
    QTest::addColumn<QImage>("image");
    QTest::newRow("ARGB32 with alpha") << translucentImage(7, 5);
    QTest::newRow("RGB32") << translucentImage(3, 4).convertToFormat(QImage::Format_RGB32);
    QTest::newRow("indexed") << translucentImage(4, 4).convertToFormat(QImage::Format_Indexed8);
    QTest::newRow("1 x 1") << translucentImage(1, 1);
}

void TestMagick::roundTripKeepsEveryChannel()
{
    QFETCH(QImage, image);
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    const QImage back = wrapper.consumeWand(wrapper.createWand(image));
    QCOMPARE(back.format(), QImage::Format_ARGB32);
    QCOMPARE(back, image.convertToFormat(QImage::Format_ARGB32));
}

void TestMagick::monitorWithoutClientGoesOn()
{
    QTest::ignoreMessage(QtWarningMsg, "TessaroonMagickProgressMonitor, cast to ZelProgressSignalizer failed.");
    QCOMPARE(TessaroonMagickProgressMonitor("Swirl/Image", 1, 2, nullptr), MagickTrue);
}

void TestMagick::monitorReportsAndStops_data()
{
    QTest::addColumn<bool>("cancelled");
    QTest::addColumn<bool>("allowed");
    QTest::addColumn<bool>("goesOn");
    QTest::newRow("no cancel") << false << true << true;
    QTest::newRow("cancel") << true << true << false;
    QTest::newRow("cancel not allowed") << true << false << true;
    QTest::newRow("not allowed, no cancel") << false << false << true;
}

void TestMagick::monitorReportsAndStops()
{
    QFETCH(bool, cancelled);
    QFETCH(bool, allowed);
    QFETCH(bool, goesOn);
    ZelProgressSignalizer signalizer;
    signalizer.setCancelled(cancelled);
    signalizer.setCancelAllowed(allowed);
    QSignalSpy progress(&signalizer, &ZelProgressSignalizer::progressChanged);
    const MagickBooleanType answer =
        TessaroonMagickProgressMonitor("Swirl/Image/Swirl/Image/", MagickOffsetType(3), MagickSizeType(40), &signalizer);
    QCOMPARE(answer == MagickTrue, goesOn);
    QCOMPARE(progress.count(), 1);
    QCOMPARE(progress.at(0), (QVariantList{3, 40}));
    // Every "/Image/" goes, case-sensitively.
    QCOMPARE(signalizer.processName(), QString("SwirlSwirl"));
}

void TestMagick::cancelBeforeTheCallDoesNotStopIt()
{
    ZelProgressSignalizer signalizer;
    signalizer.setCancelled();
    const ZelMagickWandWrapper wrapper(&signalizer);
    QSignalSpy progress(&signalizer, &ZelProgressSignalizer::progressChanged);
    const QImage swirled = wrapper.swirl(translucentImage(40, 30), 90);
    QVERIFY(!swirled.isNull());
    QVERIFY(progress.count() > 0);
    QVERIFY(!signalizer.cancelled());
}

void TestMagick::cancelDuringTheCallYieldsNull()
{
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    int reports = 0;
    connect(&signalizer, &ZelProgressSignalizer::progressChanged, this, [&](int, int) {
        if (++reports == 2)
            signalizer.setCancelled(true);
    });
    QVERIFY(wrapper.swirl(translucentImage(40, 60), 90).isNull());
    QCOMPARE(reports, 2); // ImageMagick stopped at the report that saw the cancel
    signalizer.disconnect(this);
    // The next operation starts afresh.
    QVERIFY(!wrapper.swirl(translucentImage(40, 60), 90).isNull());
}

void TestMagick::cancelWhileNotAllowedRunsToTheEnd()
{
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    QList<int> positions;
    connect(&signalizer, &ZelProgressSignalizer::progressChanged, this, [&](int current, int total) {
        positions << current;
        if (positions.size() == 1)
            signalizer.setCancelled(true);
        Q_UNUSED(total);
    });
    // The blur step cannot be cancelled: it runs to its end; the result is dropped all the same.
    QVERIFY(wrapper.blur(translucentImage(30, 50), 0, 2, 0).isNull());
    QVERIFY(positions.size() > 2);
    QVERIFY(signalizer.cancelled());
    QVERIFY(signalizer.cancelAllowed()); // restored after the step
}

void TestMagick::blurFadesTowardWhite_data()
{
    QTest::addColumn<int>("softness");
    QTest::addColumn<QRgb>("expected");
    // A grey of 100 under alpha 255 - 23 s, drawn over white: 100 a / 255 + 255 (1 - a / 255).
    QTest::newRow("softness 12: plain white") << 12 << qRgb(255, 255, 255);
    QTest::newRow("softness 1000: plain white") << 1000 << qRgb(255, 255, 255);
    QTest::newRow("softness 0: unchanged") << 0 << qRgb(100, 100, 100);
    QTest::newRow("softness 5: alpha 140") << 5 << qRgb(170, 170, 170);
}

void TestMagick::blurFadesTowardWhite()
{
    QFETCH(int, softness);
    QFETCH(QRgb, expected);
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    const QImage faded = wrapper.blur(flatImage(6, 4, qRgb(100, 100, 100)), softness, 0, 0);
    QCOMPARE(faded.size(), QSize(6, 4));
    const QRgb pixel = faded.pixel(3, 2);
    QVERIFY2(qAbs(qRed(pixel) - qRed(expected)) <= 1 && qAlpha(pixel) == 255,
             qPrintable(QString::number(pixel, 16)));
}

void TestMagick::neutralOperationsKeepThePicture()
{
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    const QImage image = translucentImage(9, 7);
    QCOMPARE(wrapper.adjustContrast(image, 0, 1.0), image);
    QCOMPARE(wrapper.gammaCorrection(image, 1.0), image);
    QCOMPARE(wrapper.adjustHSB(image, 100, 100, 100), image);
    const QImage twoGreys = wrapper.blackWhite(image);
    for (int y = 0; y < twoGreys.height(); ++y) {
        for (int x = 0; x < twoGreys.width(); ++x) {
            const QRgb pixel = twoGreys.pixel(x, y);
            QCOMPARE(qRed(pixel), qGreen(pixel));
            QCOMPARE(qGreen(pixel), qBlue(pixel));
        }
    }
}

void TestMagick::operationsOnNullImagesGiveNull()
{
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    QVERIFY(wrapper.swirl(QImage(), 90).isNull());
    QVERIFY(wrapper.arc(QImage(), 180, 0, 0.75, 0.25).isNull());
    QVERIFY(wrapper.blur(QImage(), 3, 2, 1).isNull());
    double absolute = -1, mean = -1, peak = -1;
    QVERIFY(wrapper.compare(QImage(), QImage(), absolute, mean, peak).isNull());
}

void TestMagick::compareMeasuresDifferences()
{
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    const QImage image = translucentImage(8, 6);
    double absolute = -1, mean = -1, peak = -1;
    const QImage same = wrapper.compare(image, image, absolute, mean, peak);
    QCOMPARE(same.size(), image.size());
    QCOMPARE(absolute, 0.0);
    QCOMPARE(mean, 0.0);
    QCOMPARE(peak, 0.0);

    QImage changed = image;
    changed.setPixel(2, 3, qRgba(255, 0, 0, 255));
    const QImage difference = wrapper.compare(image, changed, absolute, mean, peak);
    QCOMPARE(difference.size(), image.size());
    QCOMPARE(absolute, 1.0); // one differing pixel
    QVERIFY(mean > 0 && peak > 0 && peak <= 1.0);
}

void TestMagick::startsOnceFromSeveralThreads()
{
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&good] {
            ZelProgressSignalizer signalizer;
            const ZelMagickWandWrapper wrapper(&signalizer);
            if (!wrapper.grayscale(translucentImage(16, 16)).isNull())
                ++good;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    QCOMPARE(good.load(), 4);
}

void TestMagick::sketchTiling_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("bytes");
    QTest::addColumn<double>("area");
    QTest::addColumn<double>("side");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("overlap");

    const double unlimited = 1e30;
    QTest::newRow("fits at once") << QSize(100, 80) << unlimited << unlimited << unlimited << 1 << 1 << 0;
    // 138 bytes a pixel for 100 x 80 = 1104000: just enough.
    QTest::newRow("memory just enough") << QSize(100, 80) << 1104000.0 << unlimited << unlimited << 1 << 1 << 0;
    // Debian's policy: 768 MiB of memory and map, 128 MP, 16 KP sides. 805306368 - 20 x 24 M bytes
    // leave 325306368 / 128 = 2541456 canvas pixels: bands of 2541456 / (6000 + 64) - 64 = 355 rows,
    // so 12 bands; the overlap is 1.5 x 20 + 2.
    QTest::newRow("24 MP under the default policy")
        << QSize(6000, 4000) << 805306368.0 << 128e6 << 16384.0 << 1 << 12 << 32;
    // Twice 10000 exceeds 16384: two columns of at most 8192 - 64 pixels.
    QTest::newRow("too wide") << QSize(10000, 1000) << unlimited << unlimited << 16384.0 << 2 << 1 << 32;
    // Four times the area must stay within 4 M: tiles of 1 M pixels including the overlap.
    QTest::newRow("area") << QSize(2000, 2000) << unlimited << 4e6 << unlimited << 1 << 5 << 32;
}

void TestMagick::sketchTiling()
{
    QFETCH(QSize, size);
    QFETCH(double, bytes);
    QFETCH(double, area);
    QFETCH(double, side);
    QFETCH(int, columns);
    QFETCH(int, rows);
    QFETCH(int, overlap);

    ZelSketchResourceLimits limits;
    limits.bytes = bytes;
    limits.area = area;
    limits.width = side;
    limits.height = side;
    const ZelSketchTiling tiling = zelSketchTiling(size, 20.0, limits);
    QCOMPARE(tiling.tiles.size(), columns * rows);
    QCOMPARE(tiling.overlap, overlap);

    // The tiles cover the picture once, and each widened tile fits the limits.
    QRegion covered;
    qint64 coveredArea = 0;
    for (const QRect& tile : tiling.tiles) {
        const QRect widened = tile.adjusted(-overlap, -overlap, overlap, overlap) & QRect(QPoint(0, 0), size);
        QVERIFY(2.0 * widened.width() <= side && 2.0 * widened.height() <= side);
        QVERIFY(4.0 * widened.width() * widened.height() <= area);
        covered += tile;
        coveredArea += qint64(tile.width()) * tile.height();
    }
    QCOMPARE(covered, QRegion(QRect(QPoint(0, 0), size)));
    QCOMPARE(coveredArea, qint64(size.width()) * size.height());
}

void TestMagick::sketchInTilesDrawsEveryTile()
{
    // Limits lowered so far that a small picture is sketched in bands; they are raised again
    // (up to the policy's maxima) at the end.
    const MagickSizeType memory = MagickGetResourceLimit(MemoryResource);
    const MagickSizeType map = MagickGetResourceLimit(MapResource);
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    const QImage image = QImage(QStringLiteral(ZEL_SOURCE_DIR "/samples/chelsea.png")).copy(0, 0, 400, 120);
    const QImage whole = wrapper.sketch(image, 4, 4, 120);

    // 3420000 - 20 x 48000 bytes leave 19218 canvas pixels: 19218 / (400 + 16) - 16 = 30.2 rows a band.
    MagickSetResourceLimit(MemoryResource, 1710000);
    MagickSetResourceLimit(MapResource, 1710000);
    ZelSketchResourceLimits limits;
    limits.bytes = 3420000;
    limits.area = limits.width = limits.height = 1e30;
    QCOMPARE(zelSketchTiling(image.size(), 4, limits).tiles.size(), 4);
    const QImage tiled = wrapper.sketch(image, 4, 4, 120);
    MagickSetResourceLimit(MemoryResource, memory);
    MagickSetResourceLimit(MapResource, map);

    // The sketch lightens the picture; every band is drawn like the same rows of the whole picture.
    const QImage grey = wrapper.grayscale(image);
    auto meanOfRows = [](const QImage& picture, int top, int bottom) {
        qint64 sum = 0;
        for (int y = top; y < bottom; ++y)
            for (int x = 0; x < picture.width(); ++x)
                sum += qGray(picture.pixel(x, y));
        return double(sum) / (picture.width() * (bottom - top));
    };
    QCOMPARE(tiled.size(), image.size());
    for (int band = 0; band < 4; ++band) {
        const int top = band * 30;
        const double wholeMean = meanOfRows(whole, top, top + 30);
        const double bandMean = meanOfRows(tiled, top, top + 30);
        QVERIFY(wholeMean > meanOfRows(grey, top, top + 30) + 20);
        QVERIFY2(qAbs(bandMean - wholeMean) < 3, qPrintable(QString("band %1: %2 vs %3").arg(band).arg(bandMean).arg(wholeMean)));
    }
}

void TestMagick::implodeBeyondTheSideLimitKeepsThePicture()
{
    // Strength 100 samples from far beyond the policy's side limit: ImageMagick gives up and the
    // wand keeps the picture, which is what the operation returns.
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    const QImage image = translucentImage(40, 30);
    QCOMPARE(wrapper.implode(image, 100), image);
    QVERIFY(wrapper.implode(image, 2) != image);
}

QTEST_MAIN(TestMagick)
#include "tst_magick.moc"
