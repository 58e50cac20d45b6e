#include "ZelMagickWandWrapper.h"
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

QTEST_MAIN(TestMagick)
#include "tst_magick.moc"
