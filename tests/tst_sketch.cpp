#include "ZelEffectTestSupport.h"
#include "ZelMagickSketch_p.h"
#include "ZelMagickWandWrapper_p.h"
#include "ZelProgressSignalizer.h"

#include <QtTest>

#include <algorithm>

namespace {

// ImageMagick draws the same noise again after the same secret key.
constexpr unsigned long kSeed = 4711;

// The wrapper's sketch with ImageMagick's own MagickSketchImage in place of the library's.
QImage magickSketch(const QImage& image, double radius, double sigma, double angle)
{
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    MagickWand* wand = wrapper.createWand(image);
    MagickQuantizeImages(wand, 256, GRAYColorspace, 0, MagickTrue, MagickFalse);
    SetRandomSecretKey(kSeed);
    MagickSketchImage(wand, radius, sigma, angle);
    return wrapper.consumeWand(wand);
}

QImage librarySketch(const QImage& image, double radius, double sigma, double angle)
{
    ZelProgressSignalizer signalizer;
    const ZelMagickWandWrapper wrapper(&signalizer);
    SetRandomSecretKey(kSeed); // the quantization draws no random numbers
    return wrapper.sketch(image, radius, sigma, angle);
}

int largestDifference(const QImage& a, const QImage& b)
{
    int largest = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            largest = std::max({largest, qAbs(qRed(p) - qRed(q)), qAbs(qGreen(p) - qGreen(q)),
                                qAbs(qBlue(p) - qBlue(q)), qAbs(qAlpha(p) - qAlpha(q))});
        }
    return largest;
}

QImage translucent(int width, int height)
{
    QImage image = photo(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const QRgb pixel = image.pixel(x, y);
            image.setPixel(x, y, qRgba(qRed(pixel), qGreen(pixel), qBlue(pixel), (x * 37 + y * 11) % 256));
        }
    return image;
}

} // namespace

// The library's sketch against ImageMagick's, and the running-sum edge filter against its
// definition.
class TestSketch : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false")); }

    void matchesImageMagick_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<double>("radius");
        QTest::addColumn<double>("angle");
        const QImage cat = QImage(QStringLiteral(ZEL_SOURCE_DIR "/samples/chelsea.png")).copy(100, 60, 120, 90);
        QTest::newRow("photo, the effect's 20 / 120") << cat << 20.0 << 120.0;
        QTest::newRow("photo, radius 4 at 30 degrees") << cat << 4.0 << 30.0;
        QTest::newRow("photo, radius 2.5 at 260 degrees") << cat << 2.5 << 260.0;
        // Several composite tiles and the resize margins between them.
        QTest::newRow("tall") << photo(30, 1100) << 20.0 << 120.0;
        QTest::newRow("wide") << photo(1100, 20) << 4.0 << 120.0;
        QTest::newRow("translucent") << translucent(50, 40) << 20.0 << 120.0;
        // Canvas smaller than the filters: every tap beyond the edge.
        QTest::newRow("3 x 2") << photo(3, 2) << 20.0 << 120.0;
    }
    void matchesImageMagick()
    {
        QFETCH(QImage, image);
        QFETCH(double, radius);
        QFETCH(double, angle);
        const QImage expected = magickSketch(image, radius, radius, angle);
        const QImage actual = librarySketch(image, radius, radius, angle);
        QCOMPARE(actual.size(), image.size());
        QVERIFY(largestDifference(expected, ZelMagickWandWrapper(nullptr).grayscale(image)) > 20); // drawn on
        const int difference = largestDifference(actual, expected);
        QVERIFY2(difference <= 2, qPrintable(QString::number(difference)));
    }

    void edgeFilter_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("r");
        QTest::addColumn<bool>("saturating");
        QTest::newRow("radius beyond both sides") << 3 << 2 << 4 << false;
        QTest::newRow("wide") << 17 << 5 << 2 << false;
        QTest::newRow("tall") << 4 << 23 << 3 << false;
        QTest::newRow("tall, saturating") << 4 << 23 << 3 << true;
    }
    // Every output pixel is (2r + 1)^2 times the centre minus the square's sum, with the edge
    // rows and columns repeated outside, clamped to 16 bits; saturating, every positive value 65535.
    void edgeFilter()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, r);
        QFETCH(bool, saturating);
        std::vector<std::uint16_t> pixels(std::size_t(width * height));
        for (std::size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = std::uint16_t((i * 40503u + (i % 7 == 0 ? 60000u : 0u)) % 65536u);
        const std::vector<std::uint16_t> edge = zelSketchEdge(pixels, width, height, r, saturating);
        const auto at = [&](int x, int y) {
            return qint64(pixels[std::size_t(qBound(0, y, height - 1) * width + qBound(0, x, width - 1))]);
        };
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                qint64 sum = 0;
                for (int v = -r; v <= r; ++v)
                    for (int u = -r; u <= r; ++u)
                        sum += at(x + u, y + v);
                const qint64 response = qint64(2 * r + 1) * (2 * r + 1) * at(x, y) - sum;
                const qint64 expected = qBound<qint64>(0, saturating && response > 0 ? 65535 : response, 65535);
                QCOMPARE(qint64(edge[std::size_t(y * width + x)]), expected);
            }
    }

    // Progress rises within each step, often enough to be seen; a cancel from a report stops the
    // sketch with a null image.
    void progressAndCancel_data()
    {
        QTest::addColumn<QString>("cancelAt"); // empty: run through
        QTest::newRow("run through") << QString();
        QTest::newRow("cancel while blurring") << QStringLiteral("Blur");
        QTest::newRow("cancel while compositing") << QStringLiteral("Composite");
    }
    void progressAndCancel()
    {
        QFETCH(QString, cancelAt);
        ZelProgressSignalizer signalizer;
        const ZelMagickWandWrapper wrapper(&signalizer);
        // Each report sets the progress, then names its step.
        QMap<QString, QList<int>> reports;
        int current = -1;
        connect(&signalizer, &ZelProgressSignalizer::progressChanged, [&](int value, int) { current = value; });
        connect(&signalizer, qOverload<const QString&>(&ZelProgressSignalizer::processName), [&](const QString& name) {
            reports[name].append(current);
            if (name == cancelAt && reports[name].size() == 3)
                signalizer.setCancelled(true);
        });
        const QImage sketch = wrapper.sketch(photo(1100, 600), 20, 20, 120); // six composite tiles
        QCOMPARE(sketch.isNull(), !cancelAt.isEmpty());
        if (!cancelAt.isEmpty()) {
            QCOMPARE(reports.value(cancelAt).size(), 3); // stopped at the report that saw the cancel
            return;
        }
        for (const QString& name : {QStringLiteral("Blur"), QStringLiteral("Composite")}) {
            const QList<int> values = reports.value(name);
            QVERIFY2(values.size() >= 3, qPrintable(name));
            QVERIFY(std::is_sorted(values.begin(), values.end()));
            QVERIFY(values.first() < values.last());
        }
    }
};

QTEST_MAIN(TestSketch)
#include "tst_sketch.moc"
