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
};

QTEST_MAIN(TestMagick)
#include "tst_magick.moc"
