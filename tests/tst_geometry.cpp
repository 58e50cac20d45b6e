#include "ZelImageProcessorCut.h"
#include "ZelImageProcessorRotate.h"
#include "ZelImageProcessorScale.h"
#include "ZelImageProcessorShift.h"

#include <QSignalSpy>
#include <QtTest>

#include <climits>
#include <cstdlib>

namespace {

// Pixel i, row by row, has colour i % 256 of 256 different opaque colours (exactly so when indexed).
QImage coordinates(int width, int height, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, height, QImage::Format_Indexed8);
    for (int i = 0; i < 256; ++i)
        image.setColor(i, qRgb(i, 255 - i, 7));
    for (int i = 0; i < width * height; ++i)
        image.setPixel(i % width, i / width, uint(i % 256));
    return image.convertToFormat(format);
}

// The shift e for which pixel x of row y shows source pixel x + e clamped to the row (e > 0 moves left, repeating
// the last pixel), or INT_MIN. The rows of coordinates() have no equal pixels.
int rowShift(const QImage& source, const QImage& shifted, int y)
{
    const int w = source.width();
    for (int e = -(w - 1); e < w; ++e) {
        bool match = true;
        for (int x = 0; x < w && match; ++x)
            match = shifted.pixel(x, y) == source.pixel(qBound(0, x + e, w - 1), y);
        if (match)
            return e;
    }
    return INT_MIN;
}

} // namespace

class TestGeometry : public QObject
{
    Q_OBJECT

private slots:
    void rotateAndScale_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<double>("a"); // degrees or horizontal factor
        QTest::addColumn<double>("b"); // vertical factor
        QTest::addColumn<QSize>("size"); // invalid: not checked
        QTest::newRow("Rotate 0") << "Rotate" << 0.0 << 0.0 << QSize(3, 2);
        QTest::newRow("Rotate 90") << "Rotate" << 90.0 << 0.0 << QSize(2, 3);
        QTest::newRow("Rotate 270") << "Rotate" << 270.0 << 0.0 << QSize(2, 3);
        QTest::newRow("Rotate 45: larger, transparent corners") << "Rotate" << 45.0 << 0.0 << QSize();
        QTest::newRow("Scale 2 x 0.5") << "Scale" << 2.0 << 0.5 << QSize(6, 1);
        QTest::newRow("Scale 1 x 1") << "Scale" << 1.0 << 1.0 << QSize(3, 2);
        QTest::newRow("Scale 0: Qt gives a null image") << "Scale" << 0.0 << 1.0 << QSize(0, 0);
    }

    // Rotation is clockwise on screen: by 90 the result's pixel (x, y) is the source's (y, 1 - x).
    void rotateAndScale()
    {
        QFETCH(QString, effect);
        QFETCH(double, a);
        QFETCH(double, b);
        QFETCH(QSize, size);
        const QImage source = coordinates(3, 2);
        ZelImageProcessorRotate rotate(source);
        ZelImageProcessorScale scale(source);
        if (effect == "Rotate")
            QVERIFY(QMetaObject::invokeMethod(&rotate, "setDegrees", Q_ARG(double, a)));
        else
            QVERIFY(QMetaObject::invokeMethod(&scale, "setParameters", Q_ARG(double, a), Q_ARG(double, b)));
        const QImage result = effect == "Rotate" ? rotate.result() : scale.result();
        QVERIFY(!size.isValid() || result.size() == size);
        for (int y = 0; a == 90 && y < 3; ++y)
            for (int x = 0; x < 2; ++x)
                QCOMPARE(result.pixel(x, y), source.pixel(y, 1 - x));
        if ((effect == "Rotate" && a == 0) || (a == 1 && b == 1))
            QCOMPARE(result, source);
        if (a == 45)
            QVERIFY(result.width() >= 4 && result.height() >= 4 && qAlpha(result.pixel(0, 0)) == 0);
        // Deliberately: the preview object never receives the factors.
        if (effect == "Scale")
            QCOMPARE(scale.generatePreview(QRect(0, 1, 3, 1)), source.copy(0, 1, 3, 1));
    }

    void cut_data()
    {
        QTest::addColumn<QRectF>("rect");
        QTest::addColumn<QRect>("area"); // of the preview; null for result()
        QTest::addColumn<QRect>("section"); // of the source or the preview; null for a null image
        const QRect whole(0, 0, 40, 20);
        const QRectF fractions(10.9, 10.9, 5.9, 5.9);
        QTest::newRow("fractions truncated one by one") << fractions << QRect() << QRect(10, 10, 5, 5);
        // QImage::copy takes the null rectangle for the whole image.
        QTest::newRow("default null") << QRectF() << QRect() << whole;
        QTest::newRow("negative: toward zero, outside 0") << QRectF(-2.5, -2.5, 4, 4) << QRect() << QRect(-2, -2, 4, 4);
        QTest::newRow("partly outside") << QRectF(38, 18, 5, 5) << QRect() << QRect(38, 18, 5, 5);
        // Empty but not null, beyond int, or too large to allocate: null.
        QTest::newRow("no width") << QRectF(3, 3, 0, 4) << QRect() << QRect();
        QTest::newRow("negative size") << QRectF(3, 3, -2, -2) << QRect() << QRect();
        QTest::newRow("right edge beyond int") << QRectF(2147483000, 0, 5000, 5) << QRect() << QRect();
        QTest::newRow("NaN") << QRectF(qQNaN(), 0, 5, 5) << QRect() << QRect();
        QTest::newRow("too large") << QRectF(0, 0, 1e6, 1e6) << QRect() << QRect();
        // Previews scale by preview / source in whole numbers (deliberate): by 0 for any smaller one, so a null cut.
        QTest::newRow("smaller preview") << fractions << QRect(5, 5, 10, 10) << QRect(0, 0, 10, 10);
        QTest::newRow("preview of the source's size") << fractions << whole << QRect(10, 10, 5, 5);
        QTest::newRow("twice the source: 21.8, 21.8, 11.8, 11.8") << fractions << QRect(0, 0, 80, 40) << QRect(21, 21, 11, 11);
    }

    void cut()
    {
        QFETCH(QRectF, rect);
        QFETCH(QRect, area);
        QFETCH(QRect, section);
        const QImage source = coordinates(40, 20);
        ZelImageProcessorCut cut(source);
        if (!rect.isNull())
            QVERIFY(QMetaObject::invokeMethod(&cut, "setRect", Q_ARG(QRectF, rect)));
        const QImage base = area.isNull() ? source : source.copy(area);
        const QImage result = area.isNull() ? cut.result() : cut.generatePreview(area);
        QCOMPARE(result, section.isNull() ? QImage() : base.copy(section));
    }

    void shiftRowsAreShiftedCopies_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<bool>("preview");
        QTest::addColumn<int>("maxShift");
        QTest::addColumn<QList<int>>("shifts"); // all seen over three seeds
        const QList<int> upTo3{-3, -2, -1, 0, 1, 2, 3};
        const QList<int> upTo7{-7, -6, -5, -4, -3, -2, -1, 0, 1, 2, 3, 4, 5, 6, 7};
        QTest::newRow("ARGB32") << int(QImage::Format_ARGB32) << false << 3 << upTo3;
        QTest::newRow("indexed, byte-wise") << int(QImage::Format_Indexed8) << false << 3 << upTo3;
        QTest::newRow("RGB888, 3 bytes") << int(QImage::Format_RGB888) << false << 3 << upTo3;
        QTest::newRow("RGBA64, 8 bytes") << int(QImage::Format_RGBA64) << false << 3 << upTo3;
        QTest::newRow("beyond the width: the edge pixel") << int(QImage::Format_RGB32) << false << 9 << upTo7;
        QTest::newRow("max 0") << int(QImage::Format_ARGB32) << false << 0 << QList<int>{0};
        QTest::newRow("max -1") << int(QImage::Format_ARGB32) << false << -1 << QList<int>{0};
        QTest::newRow("preview: a fresh object, max 10") << int(QImage::Format_ARGB32) << true << 0 << upTo7;
        // max + 1 overflows int; the sanitizer build traps if that is computed in int.
        QTest::newRow("max INT_MAX") << int(QImage::Format_ARGB32) << false << INT_MAX << QList<int>{-7, 7};
    }

    // The row choice is random (rand()), so the rows are checked for what they may be: each a copy
    // of its source row shifted by at most the maximum, every allowed shift turning up.
    void shiftRowsAreShiftedCopies()
    {
        QFETCH(int, format);
        QFETCH(bool, preview);
        QFETCH(int, maxShift);
        QFETCH(QList<int>, shifts);
        const QImage source = coordinates(8, 100, QImage::Format(format));
        QSet<int> seen;
        for (unsigned seed : {1u, 5u, 9u}) {
            ZelImageProcessorShift shift(source);
            QVERIFY(QMetaObject::invokeMethod(&shift, "setShiftValue", Q_ARG(int, maxShift)));
            QSignalSpy progress(&shift, &ZelImageProcessor::progress);
            std::srand(seed);
            const QImage shifted = preview ? shift.generatePreview(source.rect()) : shift.result();
            // A report per row, untranslated; previews report on their own object.
            QCOMPARE(progress.count(), preview ? 0 : 100);
            QVERIFY(preview || progress.last() == (QVariantList{"Shift", "", 99, 99}));
            std::srand(seed);
            QCOMPARE(preview ? shift.generatePreview(source.rect()) : shift.result(), shifted);
            QCOMPARE(shifted.format(), source.format());
            for (int y = 0; y < source.height(); ++y)
                seen << rowShift(source, shifted, y);
        }
        QCOMPARE(seen, QSet<int>(shifts.begin(), shifts.end()));
    }
};

QTEST_MAIN(TestGeometry)
#include "tst_geometry.moc"
