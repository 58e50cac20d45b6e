#include "ZelImageProcessorExampleGauss.h"
#include "ZelImageProcessorExampleGrayscale.h"
#include "ZelImageProcessorFlipHorizontal.h"
#include "ZelImageProcessorFlipVertical.h"

#include <QColorSpace>
#include <QPainter>
#include <QSignalSpy>
#include <QtTest>

// The pixels of the flips and the examples; sources, previews, cancels and metadata are in tst_effects.
namespace {

// Pixel (x, y) is 0xFF000000 | x << 8 | y, so every pixel tells where it came from.
QImage coordinateImage(int width, int height, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, 0xFF000000u | uint(x) << 8 | uint(y));
    return image.convertToFormat(format);
}

} // namespace

class TestSimple : public QObject
{
    Q_OBJECT

private slots:
    void flipMapsPixels_data()
    {
        QTest::addColumn<bool>("horizontal");
        QTest::addColumn<int>("format");
        QTest::addColumn<QSize>("size");
        QTest::newRow("horizontal ARGB32") << true << int(QImage::Format_ARGB32) << QSize(3, 2);
        QTest::newRow("vertical RGB888") << false << int(QImage::Format_RGB888) << QSize(7, 5);
    }
    // "Horizontal spiegeln" reverses the rows (turns the picture upside down), "Vertikal spiegeln" the
    // columns: the application's naming of the axes.
    void flipMapsPixels()
    {
        QFETCH(bool, horizontal);
        QFETCH(int, format);
        QFETCH(QSize, size);
        const QImage source = coordinateImage(size.width(), size.height(), QImage::Format(format));
        const QImage flipped = horizontal ? ZelImageProcessorFlipHorizontal(source).result()
                                          : ZelImageProcessorFlipVertical(source).result();
        QCOMPARE(flipped.size(), size);
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < size.width(); ++x)
                QCOMPARE(flipped.pixel(x, y), source.pixel(horizontal ? x : size.width() - 1 - x,
                                                           horizontal ? size.height() - 1 - y : y));
    }

    void flipKeepsQtsWords_data()
    {
        QTest::addColumn<bool>("horizontal");
        QTest::addColumn<int>("format");
        QTest::newRow("horizontal ARGB32") << true << int(QImage::Format_ARGB32);
        QTest::newRow("vertical ARGB32") << false << int(QImage::Format_ARGB32);
        QTest::newRow("vertical RGB32") << false << int(QImage::Format_RGB32);
        QTest::newRow("horizontal premultiplied") << true << int(QImage::Format_ARGB32_Premultiplied);
    }
    // The flips mirror pixel words themselves; the words, the format (ARGB32 comes back
    // premultiplied) and the metadata stay those of Qt's transformed().
    void flipKeepsQtsWords()
    {
        QFETCH(bool, horizontal);
        QFETCH(int, format);
        QImage source(5, 3, QImage::Format(format));
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 5; ++x)
                reinterpret_cast<QRgb*>(source.scanLine(y))[x] = qRgba(200 - 30 * x, 40 * y, 77, 60 + 40 * x + y);
        source.setText("Author", "Z");
        source.setOffset(QPoint(2, 3));
        source.setColorSpace(QColorSpace::SRgbLinear);
        const QImage flipped = horizontal ? ZelImageProcessorFlipHorizontal(source).result()
                                          : ZelImageProcessorFlipVertical(source).result();
        const QImage qt = source.transformed(QTransform(horizontal ? 1 : -1, 0, 0, horizontal ? -1 : 1, 0, 0),
                                             Qt::SmoothTransformation);
        QCOMPARE(flipped.format(), qt.format());
        QCOMPARE(flipped.text(), qt.text());
        QCOMPARE(flipped.offset(), qt.offset());
        QCOMPARE(flipped.colorSpace(), qt.colorSpace());
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 5; ++x)
                QCOMPARE(reinterpret_cast<const QRgb*>(flipped.constScanLine(y))[x],
                         reinterpret_cast<const QRgb*>(qt.constScanLine(y))[x]);
    }

    void grayscaleLevels()
    {
        QImage source(2, 1, QImage::Format_ARGB32);
        source.setPixel(0, 0, qRgba(255, 0, 0, 100));
        source.setPixel(1, 0, qRgb(10, 200, 30));
        ZelImageProcessorExampleGrayscale grayscale(source);
        QSignalSpy progress(&grayscale, &ZelImageProcessor::progress);
        const QImage gray = grayscale.result();
        QCOMPARE(gray.format(), QImage::Format_RGB32);
        // (11 R + 16 G + 5 B) >> 5: 2805 >> 5 = 87 and 3460 >> 5 = 108; always opaque.
        QCOMPARE(gray.pixel(0, 0), 0xFF575757u);
        QCOMPARE(gray.pixel(1, 0), 0xFF6C6C6Cu);
        QCOMPARE(progress, (QList<QVariantList>{{"Example", "", 0, 0}}));
        // A grey source comes back as it is.
        QImage grey(3, 3, QImage::Format_RGB32);
        grey.fill(qRgb(80, 80, 80));
        QCOMPARE(ZelImageProcessorExampleGrayscale(grey).result(), grey);
    }

    void gaussReadsTheCentreOutsideTheImage()
    {
        // Radius 1, sigma 1: taps trunc(10^4 * exp(-0.5 d^2)) = 6065, 10000, 6065, sum 22130. A tap
        // outside the image reads the centre pixel, so each pixel of a 2 x 1 image weighs itself
        // 16065 and its neighbour 6065; along y all taps but the centre lie outside the single row.
        QImage source(2, 1, QImage::Format_ARGB32);
        source.setPixel(0, 0, qRgba(200, 0, 40, 10));
        source.setPixel(1, 0, qRgba(0, 100, 40, 10));
        ZelImageProcessorExampleGauss gauss(source);
        gauss.setSigmaAndBoxSize(1.0, 1);
        const QImage blurred = gauss.result();
        auto blur = [](unsigned weightedSum) { return int(double(weightedSum) * (1.0 / 22130)) & 0xFF; };
        auto channel = [&](int self, int other) { return blur(blur(self * 16065u + other * 6065u) * 22130u); };
        auto expected = [&](QRgb self, QRgb other) {
            return qRgb(channel(qRed(self), qRed(other)), channel(qGreen(self), qGreen(other)),
                        channel(qBlue(self), qBlue(other)));
        };
        QCOMPARE(blurred.pixel(0, 0), expected(source.pixel(0, 0), source.pixel(1, 0)));
        QCOMPARE(blurred.pixel(1, 0), expected(source.pixel(1, 0), source.pixel(0, 0)));
        QCOMPARE(qRed(blurred.pixel(0, 0)), 145);
        QCOMPARE(qAlpha(blurred.pixel(1, 0)), 255);
    }

    void gaussBoxSizeFromSigma_data()
    {
        QTest::addColumn<int>("boxSize");
        QTest::addColumn<bool>("preview");
        QTest::addColumn<int>("expectedRadius");
        QTest::newRow("derived from sigma 1") << 0 << false << 3;
        QTest::newRow("negative derives too") << -3 << false << 3;
        QTest::newRow("kept") << 2 << false << 2;
        QTest::newRow("preview on a fresh object") << 2 << true << 3; // sigma 1, box size 3
    }
    // The centre of a dark 5 x 5 block in a white 11 x 11 image is three pixels from the white: a
    // radius of 3 reaches it, a radius of 2 leaves it black.
    void gaussBoxSizeFromSigma()
    {
        QFETCH(int, boxSize);
        QFETCH(bool, preview);
        QFETCH(int, expectedRadius);
        QImage source(11, 11, QImage::Format_RGB32);
        source.fill(qRgb(255, 255, 255));
        QPainter(&source).fillRect(3, 3, 5, 5, Qt::black);
        ZelImageProcessorExampleGauss gauss(source);
        gauss.setSigmaAndBoxSize(1.0, boxSize);
        const QImage blurred = preview ? gauss.generatePreview(source.rect()) : gauss.result();
        QCOMPARE(qRed(blurred.pixel(5, 5)) > 0, expectedRadius == 3);
    }
};

QTEST_MAIN(TestSimple)
#include "tst_simple.moc"
