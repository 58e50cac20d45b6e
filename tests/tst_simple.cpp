#include "ZelImageProcessorExampleGauss.h"
#include "ZelImageProcessorExampleGrayscale.h"
#include "ZelImageProcessorFlipHorizontal.h"
#include "ZelImageProcessorFlipVertical.h"
#include "ZelImageProcessorTemplate.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

#include <cmath>
#include <memory>
#include <thread>

namespace {

// A width x height image whose pixel (x, y) is 0xFF000000 | x << 8 | y, so every pixel tells
// where it came from.
QImage coordinateImage(int width, int height, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, 0xFF000000u | uint(x) << 8 | uint(y));
    return image.convertToFormat(format);
}

// The channel arithmetic of the Gaussian example: an unsigned sum times the reciprocal of the
// kernel's sum, truncated.
int blurChannel(unsigned weightedSum, double kernelSum)
{
    return int(double(weightedSum) * (1.0 / kernelSum)) & 0xFF;
}

} // namespace

class TestSimple : public QObject
{
    Q_OBJECT

private slots:
    void metadata_data();
    void metadata();
    void flipMapsPixels_data();
    void flipMapsPixels();
    void flipTwiceGivesTheSource_data();
    void flipTwiceGivesTheSource();
    void flipEndsWithFinishedFalse();
    void flipPreviews();
    void nullSources_data();
    void nullSources();

    void grayscaleLevels();
    void grayscaleKeepsGraySourcesSilently_data();
    void grayscaleKeepsGraySourcesSilently();
    void grayscaleCancelFromProgress();
    void grayscaleCancelFromAnotherThread();

    void gaussReadsTheCentreOutsideTheImage();
    void gaussBoxSizeFromSigma_data();
    void gaussBoxSizeFromSigma();
    void gaussConvertsOtherFormats();
    void gaussPreviewUsesDefaults();

    void templateReturnsNull();
};

void TestSimple::metadata_data()
{
    QTest::addColumn<QSharedPointer<ZelImageProcessor>>("effect");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("toolTip");
    QTest::addColumn<QString>("iconName");

    QTest::newRow("FlipHorizontal") << QSharedPointer<ZelImageProcessor>(new ZelImageProcessorFlipHorizontal)
        << "Horizontal spiegeln" << "Aktuelles Foto horizontal spiegeln " << "ico_fx_horiz_mirror";
    QTest::newRow("FlipVertical") << QSharedPointer<ZelImageProcessor>(new ZelImageProcessorFlipVertical)
        << "Vertikal spiegeln" << "Aktuelles Foto vertikal spiegeln " << "ico_fx_vert_mirror";
    QTest::newRow("ExampleGauss") << QSharedPointer<ZelImageProcessor>(new ZelImageProcessorExampleGauss)
        << QString() << QString() << QString();
    QTest::newRow("ExampleGrayscale") << QSharedPointer<ZelImageProcessor>(new ZelImageProcessorExampleGrayscale)
        << QString() << QString() << QString();
    QTest::newRow("Template") << QSharedPointer<ZelImageProcessor>(new ZelImageProcessorTemplate)
        << QString() << QString() << QString();
}

void TestSimple::metadata()
{
    QFETCH(QSharedPointer<ZelImageProcessor>, effect);
    QFETCH(QString, name);
    QFETCH(QString, toolTip);
    QFETCH(QString, iconName);
    QCOMPARE(effect->effectName(), name);
    // The flips use the lower-case key; nothing here sets the upper-case one.
    QCOMPARE(effect->property("toolTip").toString(), toolTip);
    QVERIFY(!effect->property("ToolTip").isValid());
    QCOMPARE(effect->property("IconName").toString(), iconName);
    QVERIFY(effect->parameterContainer().isEmpty());
}

void TestSimple::flipMapsPixels_data()
{
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<int>("format");
    QTest::newRow("horizontal ARGB32") << true << int(QImage::Format_ARGB32);
    QTest::newRow("horizontal RGB32") << true << int(QImage::Format_RGB32);
    QTest::newRow("vertical ARGB32") << false << int(QImage::Format_ARGB32);
    QTest::newRow("vertical RGB888") << false << int(QImage::Format_RGB888);
}

// "Horizontal spiegeln" reverses the rows (turns the picture upside down), "Vertikal spiegeln"
// the columns: the application's naming of the axes.
void TestSimple::flipMapsPixels()
{
    QFETCH(bool, horizontal);
    QFETCH(int, format);
    const QImage source = coordinateImage(3, 2, QImage::Format(format));
    std::unique_ptr<ZelImageProcessor> flip;
    if (horizontal)
        flip.reset(new ZelImageProcessorFlipHorizontal(source));
    else
        flip.reset(new ZelImageProcessorFlipVertical(source));
    const QImage flipped = flip->result();
    QCOMPARE(flipped.size(), QSize(3, 2));
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 3; ++x) {
            const int fromX = horizontal ? x : 2 - x;
            const int fromY = horizontal ? 1 - y : y;
            QCOMPARE(flipped.pixel(x, y), source.pixel(fromX, fromY));
        }
    }
}

void TestSimple::flipTwiceGivesTheSource_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("1 x 1") << QSize(1, 1);
    QTest::newRow("7 x 5") << QSize(7, 5);
}

void TestSimple::flipTwiceGivesTheSource()
{
    QFETCH(QSize, size);
    const QImage source = coordinateImage(size.width(), size.height());
    ZelImageProcessorFlipHorizontal horizontal(source);
    ZelImageProcessorFlipVertical vertical(source);
    // Qt's smooth transform hands ARGB32 back premultiplied; the pixels are what count.
    auto asSource = [&](const QImage& image) { return image.convertToFormat(source.format()); };
    QCOMPARE(asSource(ZelImageProcessorFlipHorizontal(horizontal.result()).result()), source);
    QCOMPARE(asSource(ZelImageProcessorFlipVertical(vertical.result()).result()), source);
    if (size == QSize(1, 1)) {
        QCOMPARE(asSource(horizontal.result()), source);
        QCOMPARE(asSource(vertical.result()), source);
    }
}

void TestSimple::flipEndsWithFinishedFalse()
{
    ZelImageProcessorFlipVertical flip(coordinateImage(4, 4));
    QSignalSpy finished(&flip, &ZelImageProcessor::finished);
    QSignalSpy progress(&flip, &ZelImageProcessor::progress);
    flip.result();
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
    QCOMPARE(progress.count(), 0);
}

void TestSimple::flipPreviews()
{
    const QImage source = coordinateImage(40, 20);
    ZelImageProcessorFlipVertical flip(source);
    QCOMPARE(flip.generatePreview(QSize(10, 10)).size(), QSize(10, 5));
    const QImage section = flip.generatePreview(QRect(5, 2, 3, 4));
    QCOMPARE(section.size(), QSize(3, 4));
    QCOMPARE(section.pixel(0, 0), source.pixel(7, 2));
}

void TestSimple::nullSources_data()
{
    QTest::addColumn<QSharedPointer<ZelImageProcessor>>("effect");
    QTest::newRow("FlipHorizontal") << QSharedPointer<ZelImageProcessor>(new ZelImageProcessorFlipHorizontal);
    QTest::newRow("FlipVertical") << QSharedPointer<ZelImageProcessor>(new ZelImageProcessorFlipVertical);
    QTest::newRow("ExampleGauss") << QSharedPointer<ZelImageProcessor>(new ZelImageProcessorExampleGauss);
    QTest::newRow("ExampleGrayscale") << QSharedPointer<ZelImageProcessor>(new ZelImageProcessorExampleGrayscale);
    QTest::newRow("Template") << QSharedPointer<ZelImageProcessor>(new ZelImageProcessorTemplate);
}

void TestSimple::nullSources()
{
    QFETCH(QSharedPointer<ZelImageProcessor>, effect);
    QVERIFY(effect->result().isNull());
    QVERIFY(effect->generatePreview(QSize(10, 10)).isNull());
    QVERIFY(effect->generatePreview(QRect(0, 0, 5, 5)).isNull());
    effect->setSourceImage(QImage(0, 7, QImage::Format_ARGB32));
    QVERIFY(effect->result().isNull());
}

void TestSimple::grayscaleLevels()
{
    QImage source(2, 1, QImage::Format_ARGB32);
    source.setPixel(0, 0, qRgba(255, 0, 0, 100));
    source.setPixel(1, 0, qRgb(10, 200, 30));
    ZelImageProcessorExampleGrayscale grayscale(source);
    QSignalSpy finished(&grayscale, &ZelImageProcessor::finished);
    QSignalSpy progress(&grayscale, &ZelImageProcessor::progress);
    const QImage gray = grayscale.result();
    QCOMPARE(gray.format(), QImage::Format_RGB32);
    // (11 R + 16 G + 5 B) >> 5: 2805 >> 5 = 87 and 3460 >> 5 = 108; always opaque.
    QCOMPARE(gray.pixel(0, 0), 0xFF575757u);
    QCOMPARE(gray.pixel(1, 0), 0xFF6C6C6Cu);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
    QCOMPARE(progress.count(), 1);
    QCOMPARE(progress.at(0), (QVariantList{"Example", "", 0, 0}));
}

void TestSimple::grayscaleKeepsGraySourcesSilently_data()
{
    QTest::addColumn<QImage>("source");
    QImage gray(3, 3, QImage::Format_RGB32);
    gray.fill(qRgb(80, 80, 80));
    QImage indexed(2, 2, QImage::Format_Indexed8);
    indexed.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    indexed.fill(1);
    QTest::newRow("gray RGB32") << gray;
    QTest::newRow("gray color table") << indexed;
}

void TestSimple::grayscaleKeepsGraySourcesSilently()
{
    QFETCH(QImage, source);
    ZelImageProcessorExampleGrayscale grayscale(source);
    QSignalSpy finished(&grayscale, &ZelImageProcessor::finished);
    QCOMPARE(grayscale.result(), source);
    QCOMPARE(finished.count(), 0);
}

void TestSimple::grayscaleCancelFromProgress()
{
    const QImage source = coordinateImage(4, 120);
    ZelImageProcessorExampleGrayscale grayscale(source);
    QSignalSpy finished(&grayscale, &ZelImageProcessor::finished);
    int rows = 0;
    connect(&grayscale, &ZelImageProcessor::progress, this, [&](const QString&, const QString&, int current, int) {
        rows = current + 1;
        if (current == 2)
            grayscale.cancel();
    });
    QCOMPARE(grayscale.result(), source);
    QCOMPARE(rows, 3);
    // The only finished is cancel()'s own.
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
}

void TestSimple::grayscaleCancelFromAnotherThread()
{
    // 2000 rows pause 40 times for 100 ms: four seconds unless the cancel stops it.
    const QImage source = coordinateImage(8, 2000);
    ZelImageProcessorExampleGrayscale grayscale(source);
    QImage result;
    QElapsedTimer timer;
    timer.start();
    std::thread worker([&] { result = grayscale.result(); });
    QThread::msleep(150);
    grayscale.cancel();
    worker.join();
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(result, source);
}

void TestSimple::gaussReadsTheCentreOutsideTheImage()
{
    // Radius 1, sigma 1: taps trunc(10^4 * exp(-0.5 d^2)) = 6065, 10000, 6065, sum 22130. A tap
    // outside the image reads the centre pixel, so each pixel of a 2 x 1 image weighs itself
    // 16065 and its neighbour 6065.
    QImage source(2, 1, QImage::Format_ARGB32);
    source.setPixel(0, 0, qRgba(200, 0, 40, 10));
    source.setPixel(1, 0, qRgba(0, 100, 40, 10));
    ZelImageProcessorExampleGauss gauss(source);
    gauss.setSigmaAndBoxSize(1.0, 1);
    QSignalSpy finished(&gauss, &ZelImageProcessor::finished);
    const QImage blurred = gauss.result();
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), true);

    const double sum = 22130;
    auto expectedPixel = [&](QRgb self, QRgb other) {
        // Along x, then along y, where all taps but the centre lie outside the single row.
        auto channel = [&](int a, int b) {
            const int alongX = blurChannel(unsigned(a) * 16065u + unsigned(b) * 6065u, sum);
            return blurChannel(unsigned(alongX) * 22130u, sum);
        };
        return qRgb(channel(qRed(self), qRed(other)), channel(qGreen(self), qGreen(other)),
                    channel(qBlue(self), qBlue(other)));
    };
    QCOMPARE(blurred.pixel(0, 0), expectedPixel(source.pixel(0, 0), source.pixel(1, 0)));
    QCOMPARE(blurred.pixel(1, 0), expectedPixel(source.pixel(1, 0), source.pixel(0, 0)));
    QCOMPARE(qRed(blurred.pixel(0, 0)), 145);
    QCOMPARE(qAlpha(blurred.pixel(1, 0)), 255);
}

void TestSimple::gaussBoxSizeFromSigma_data()
{
    QTest::addColumn<int>("boxSize");
    QTest::addColumn<int>("expectedRadius");
    QTest::newRow("derived from sigma 1") << 0 << 3;
    QTest::newRow("negative derives too") << -3 << 3;
    QTest::newRow("kept") << 2 << 2;
}

// The centre of a dark 5 x 5 block in a white 11 x 11 image is three pixels from the white: a
// radius of 3 reaches it, a radius of 2 leaves it black.
void TestSimple::gaussBoxSizeFromSigma()
{
    QFETCH(int, boxSize);
    QFETCH(int, expectedRadius);
    QImage source(11, 11, QImage::Format_RGB32);
    source.fill(qRgb(255, 255, 255));
    for (int y = 3; y <= 7; ++y)
        for (int x = 3; x <= 7; ++x)
            source.setPixel(x, y, qRgb(0, 0, 0));
    ZelImageProcessorExampleGauss gauss(source);
    gauss.setSigmaAndBoxSize(1.0, boxSize);
    const bool reachesThreeAway = qRed(gauss.result().pixel(5, 5)) > 0;
    QCOMPARE(reachesThreeAway, expectedRadius == 3);
}

void TestSimple::gaussConvertsOtherFormats()
{
    QImage indexed(3, 3, QImage::Format_Indexed8);
    indexed.setColorTable({qRgb(90, 90, 90)});
    indexed.fill(0);
    ZelImageProcessorExampleGauss gauss(indexed);
    const QImage blurred = gauss.result();
    QCOMPARE(blurred.format(), QImage::Format_RGB32);
    QCOMPARE(blurred.size(), QSize(3, 3));
    // A flat image stays flat up to the truncations of the two passes.
    QVERIFY(qAbs(qRed(blurred.pixel(1, 1)) - 90) <= 2);
}

void TestSimple::gaussPreviewUsesDefaults()
{
    QImage source(40, 1, QImage::Format_RGB32);
    source.fill(qRgb(0, 0, 0));
    source.setPixel(20, 0, qRgb(255, 255, 255));
    ZelImageProcessorExampleGauss gauss(source);
    gauss.setSigmaAndBoxSize(8.0, 10);
    // The preview runs on a fresh object: sigma 1, radius 3, so nothing spreads ten columns.
    const QImage preview = gauss.generatePreview(QRect(0, 0, 40, 1));
    QCOMPARE(qRed(preview.pixel(10, 0)), 0);
    QVERIFY(qRed(gauss.result().pixel(12, 0)) > 0);
}

void TestSimple::templateReturnsNull()
{
    ZelImageProcessorTemplate skeleton(coordinateImage(3, 3));
    QSignalSpy finished(&skeleton, &ZelImageProcessor::finished);
    QVERIFY(skeleton.result().isNull());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
    QVERIFY(skeleton.generatePreview(QSize(2, 2)).isNull());
}

QTEST_MAIN(TestSimple)
#include "tst_simple.moc"
