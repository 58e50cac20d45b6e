// Red-eye removal: libRedEye's detection and correction on synthetic eyes, the ground truth of the
// sample portrait, and the arguments ZelImageProcessorRedEyeRemoval passes to libRedEye, seen through
// the library's per-thread trace: its flags, radius and shape codes do not show in small results.
#include "ZelImageProcessorRedEyeRemoval.h"

#include "RedEye.h"
#include "RedEyeTrace_p.h"

#include <QtTest>

#include <cmath>

namespace {

const QRgb kSkin = qRgb(205, 165, 145);
const QRgb kRedPupil = qRgb(200, 30, 35);

struct Eye
{
    double x; // centre, pixel x covering x to x + 1
    double y;
    double radius; // of the pupil
    QRgb pupil;
};

// Skin with eyes: an elliptic white, an iris of 1.9 pupil radii, the pupil with a white
// highlight up and left of its centre. Edges are hard, so pixels are exactly one of the colours.
QImage face(int width, int height, const QVector<Eye>& eyes)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(kSkin);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (const Eye& eye : eyes) {
                const double dx = x + 0.5 - eye.x, dy = y + 0.5 - eye.y, r = eye.radius, d = std::hypot(dx, dy);
                if (std::hypot(dx + 0.4 * r, dy + 0.4 * r) <= 0.25 * r)
                    image.setPixel(x, y, qRgb(250, 250, 250));
                else if (d <= 1.9 * r)
                    image.setPixel(x, y, d <= r ? eye.pupil : qRgb(95, 70, 50));
                else if (std::pow(dx / (3.4 * r), 2) + std::pow(dy / (2.0 * r), 2) <= 1.0)
                    image.setPixel(x, y, qRgb(235, 230, 225));
            }
        }
    }
    return image;
}

ReImage record(QImage* image, int fullWidth = 0, int fullHeight = 0)
{
    return ReImage{int32_t(sizeof(ReImage)), image->width(), image->height(), RE_FORMAT_RGB32, image->bytesPerLine(),
                   image->bits(), 0, 0, 0, 0, 0, fullWidth, fullHeight, 0, 0, 0};
}

// A region list that frees its regions.
struct List
{
    List() { head.next = head.previous = &head; }
    ~List() { ReListEmpty(&head); }
    QVector<const ReRegion*> regions() const
    {
        QVector<const ReRegion*> all;
        for (const ReListHead* node = head.next; node != &head; node = node->next)
            all << reinterpret_cast<const ReRegion*>(node);
        return all;
    }
    ReListHead head;
};

// The mean of R / (G + B) over the pixels whose centres lie within radius of (x, y).
double meanRedness(const QImage& image, double x, double y, double radius)
{
    double sum = 0;
    int count = 0;
    for (int py = int(y - radius) - 1; py <= int(y + radius) + 1; ++py) {
        for (int px = int(x - radius) - 1; px <= int(x + radius) + 1; ++px) {
            if (std::hypot(px + 0.5 - x, py + 0.5 - y) <= radius) {
                const QRgb p = image.pixel(px, py);
                sum += double(qRed(p)) / std::max(1, qGreen(p) + qBlue(p));
                ++count;
            }
        }
    }
    return count ? sum / count : 0.0;
}

// The calls of one libRedEye function in this thread's trace.
QVector<ReTraceCall> calls(int function)
{
    QVector<ReTraceCall> found;
    for (int i = 0; i < ReTraceCount(); ++i)
        if (ReTraceAt(i)->function == function)
            found << *ReTraceAt(i);
    return found;
}

// How a detection searches: the whole image, near a click, or inside a hint of a shape code.
enum Search { Whole = -1, Click = 0 };
enum EffectSearch { NoSearch, WholePhoto, Nearest, Rectangle };

} // namespace

Q_DECLARE_METATYPE(Eye)

class TestRedEye : public QObject
{
    Q_OBJECT

private slots:
    void detects_data();
    void detects();
    void correction();
    void effectCallsTheLibrary_data();
    void effectCallsTheLibrary();
    void samples_data();
    void samples();
};

void TestRedEye::detects_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<uint>("flags");
    QTest::addColumn<QVector<Eye>>("expected"); // in the image's own coordinates, the nearest first for a click
    QTest::addColumn<int>("search");
    QTest::addColumn<QRect>("where"); // the click, or the hint in the full-size photo
    QTest::addColumn<int>("scale");   // the full-size photo (fields 11 and 12) in image sizes

    const auto row = [](const QByteArray& tag, const QImage& image, uint flags, const QVector<Eye>& expected,
                        int search = Whole, const QRect& where = QRect(), int scale = 1) {
        QTest::newRow(tag.constData()) << image << flags << expected << search << where << scale;
    };
    const Eye left{100.5, 80.5, 5, kRedPupil};
    const Eye right{160.5, 82.5, 5, kRedPupil};
    const QImage pair = face(320, 240, {left, right});
    row("a pair, strict", pair, RE_PASS_STRICT, {left, right});
    row("both passes, each pupil once", pair, RE_PASS_STRICT | RE_PASS_SENSITIVE, {left, right});
    row("in full-size coordinates", pair, RE_PASS_STRICT, {left, right}, Whole, QRect(), 3);
    row("no pass asked for", pair, RE_LARGE_PUPILS, {});
    // The strict pass takes red of at least 2.5 times green and blue, the sensitive one 1.6 times.
    for (const int other : {79, 81, 122, 128}) {
        const Eye pupil{100.5, 100.5, 6, qRgb(200, other, other)};
        const QImage image = face(320, 240, {pupil});
        const QByteArray ratio = "red " + QByteArray::number(200.0 / other, 'f', 2) + " times, ";
        row(ratio + "strict", image, RE_PASS_STRICT, other < 80 ? QVector<Eye>{pupil} : QVector<Eye>());
        row(ratio + "sensitive", image, RE_PASS_SENSITIVE, other < 125 ? QVector<Eye>{pupil} : QVector<Eye>());
    }
    // 240 / 40 = 6 pixels is the largest radius without RE_LARGE_PUPILS, 240 / 12 = 20 with it.
    const Eye large{150.5, 120.5, 18.5, kRedPupil};
    row("large pupil", face(320, 240, {large}), RE_PASS_STRICT, {});
    row("large pupil, large allowed", face(320, 240, {large}), RE_PASS_STRICT | RE_LARGE_PUPILS, {large});

    // Hints in a photo twice the size: pupils at (201, 161) and (361, 165), radius 12 there. A square of
    // 12 pixels cannot hold a pupil of radius 12: it framed something smaller.
    const Eye hintLeft{100.5, 80.5, 6, kRedPupil};
    const QImage hinted = face(320, 240, {hintLeft, {180.5, 82.5, 6, kRedPupil}});
    const uint whole = RE_FLAGS_WHOLE_FIRST;
    row("hint around one eye", hinted, whole, {hintLeft}, RE_SHAPE_SQUARE, QRect(170, 130, 64, 64), 2);
    row("square smaller than the pupil", hinted, whole, {}, RE_SHAPE_SQUARE, QRect(195, 155, 12, 12), 2);
    row("rectangle smaller than the pupil", hinted, whole, {hintLeft}, RE_SHAPE_RECTANGLE, QRect(195, 155, 12, 12), 2);

    // Clicks find the pupil nearest to them within 75 pixels, and its partner.
    const Eye near{100.5, 80.5, 4, kRedPupil};
    const Eye partner{150.5, 84.5, 4, kRedPupil};
    const QImage couple = face(400, 300, {near, partner});
    const uint nearest = RE_FLAGS_NEAREST;
    row("click beside the right pupil", couple, nearest, {partner, near}, Click, QRect(160, 90, 1, 1));
    row("click too far from any", couple, nearest, {}, Click, QRect(100, 200, 1, 1));
}

void TestRedEye::detects()
{
    QFETCH(QImage, image);
    QFETCH(uint, flags);
    QFETCH(QVector<Eye>, expected);
    QFETCH(int, search);
    QFETCH(QRect, where);
    QFETCH(int, scale);

    const QSize full = image.size() * scale;
    ReImage r = record(&image, scale > 1 ? full.width() : 0, scale > 1 ? full.height() : 0);
    const ReOptions options{int32_t(sizeof(ReOptions)), nullptr};
    const int32_t corners[4] = {where.left(), where.top(), where.right(), where.bottom()};
    const ReRegionHint hint{search, full.width(), full.height(), 1, corners};
    List found;
    const int status = search == Click
        ? ReDetectNearest(&r, where.x(), where.y(), 75, 0, 0, flags, &found.head)
        : ReDetectAutoEx(&r, &options, search == Whole ? nullptr : &hint, 0, 0, flags, &found.head);
    QCOMPARE(status, expected.isEmpty() ? RE_NOT_FOUND : RE_OK);
    const QVector<const ReRegion*> regions = found.regions();
    QCOMPARE(regions.size(), expected.size());
    const auto matches = [scale](const ReRegion* region, const Eye& eye) {
        return std::hypot(region->centerX - eye.x * scale, region->centerY - eye.y * scale) <= scale
            && region->radius >= 0.8 * eye.radius * scale && region->radius <= 1.5 * eye.radius * scale
            && region->confidence >= 1 && region->confidence <= 100;
    };
    for (const Eye& eye : expected) {
        const bool found = std::any_of(regions.begin(), regions.end(), [&](auto r) { return matches(r, eye); });
        QVERIFY2(found, qPrintable(QStringLiteral("no region at %1, %2").arg(eye.x).arg(eye.y)));
    }
    if (search == Click && !expected.isEmpty())
        QVERIFY(matches(regions.first(), expected.first()));
    // The box bounds the circle of two radii, within the photo.
    for (const ReRegion* r : regions) {
        QCOMPARE(r->left, std::max(0, int32_t(std::floor(r->centerX - 2 * r->radius))));
        QCOMPARE(r->bottom, std::min(full.height() - 1, int32_t(std::ceil(r->centerY + 2 * r->radius)) - 1));
    }
}

void TestRedEye::correction()
{
    // Both passes find both eyes: the merged list holds each twice, and each is corrected once.
    const QVector<Eye> eyes{{100.5, 80.5, 8, kRedPupil}, {170.5, 82.5, 8, kRedPupil}};
    const QImage before = face(320, 240, eyes);
    QImage once = before;
    QImage merged = before;
    ReImage r1 = record(&once);
    ReImage r2 = record(&merged);
    List strict;
    List sensitive;
    QCOMPARE(ReDetectAutoEx(&r1, nullptr, nullptr, 0, 0, RE_FLAGS_WHOLE_FIRST, &strict.head), RE_OK);
    QCOMPARE(ReDetectAutoEx(&r1, nullptr, nullptr, 0, 0, RE_PASS_SENSITIVE | RE_LARGE_PUPILS, &sensitive.head), RE_OK);
    QCOMPARE(ReCorrectRegions(&r1, &strict.head, 0, 0, 0), RE_OK);
    ReListMerge(&strict.head, &sensitive.head);
    QCOMPARE(strict.regions().size(), 4);
    QCOMPARE(ReCorrectRegions(&r2, &strict.head, 0, 0, 0), RE_OK);
    QCOMPARE(merged, once);
    for (const Eye& eye : eyes) {
        QVERIFY(meanRedness(once, eye.x, eye.y, eye.radius) < 0.6);
        // Inside, red (200) falls to the weaker of green (30) and blue (35).
        QCOMPARE(once.pixel(int(eye.x + 0.5 * eye.radius), int(eye.y)), qRgb(30, 30, 35));
    }
    // Skin, iris, white and the highlight: nothing red to take out.
    for (int y = 0; y < before.height(); ++y)
        for (int x = 0; x < before.width(); ++x)
            if (before.pixel(x, y) != kRedPupil)
                QCOMPARE(once.pixel(x, y), before.pixel(x, y));

    // All red, so the pupil's own pixels say nothing about its edge: the fade beyond the radius shows alone.
    QImage red(200, 200, QImage::Format_RGB32);
    red.fill(kRedPupil);
    ReImage r = record(&red);
    ReRegion region{{&sensitive.head, &sensitive.head}, 60, 60, 139, 139, 100, 100, 20, 50};
    sensitive.head.next = sensitive.head.previous = &region.link;
    QCOMPARE(ReCorrectRegions(&r, &sensitive.head, 0, 0, 0), RE_OK);
    sensitive.head.next = sensitive.head.previous = &sensitive.head; // not the library's to free
    const auto redAt = [&red](double distance) { return qRed(red.pixel(int(100 + distance), 100)); };
    QCOMPARE(redAt(20), 30);
    QVERIFY(redAt(35) > 30 && redAt(35) < 200);
    QCOMPARE(redAt(41), 200);
    QCOMPARE(red.pixel(100, 100) & 0xff00ffffu, kRedPupil & 0xff00ffffu);
}

void TestRedEye::effectCallsTheLibrary_data()
{
    QTest::addColumn<QImage>("photo");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<int>("search");
    QTest::addColumn<QPoint>("point"); // of the nearest-point search, on the detection copy
    QTest::addColumn<int>("shape");    // of the rectangle search

    const auto row = [](const QByteArray& tag, const QImage& photo, QRect region, EffectSearch search,
                        QPoint point = QPoint(), int shape = 0) {
        QTest::newRow(tag.constData()) << photo << region << int(search) << point << shape;
    };
    const auto skin = [](int width, int height) {
        QImage photo(width, height, QImage::Format_RGB32);
        photo.fill(kSkin);
        return photo;
    };
    const QImage s400 = skin(400, 300);
    const QImage large = skin(2048, 1536); // fits 1024 x 768 at one half
    const QImage small = skin(512, 384);   // enlarged to 1024 x 768: two pixels stay two
    row("whole photo", s400, QRect(), WholePhoto);
    row("0 x 0 region", s400, QRect(50, 60, 0, 0), WholePhoto);
    row("1 x 1, large photo", large, QRect(1001, 601, 1, 1), Nearest, QPoint(500, 300));
    row("2 x 2, large photo", large, QRect(1000, 600, 2, 2), Nearest, QPoint(500, 300));
    row("3 x 3, large photo", large, QRect(1000, 600, 3, 3), Rectangle, QPoint(), 2);
    row("1 x 1, small photo", small, QRect(101, 51, 1, 1), Nearest, QPoint(202, 102));
    // 966 x 966 fits as 768 x 768. For the top edge 161, (768 / 966) * 161 falls just below 128
    // in floating point while 161 * 768 / 966 is 128: the 1 x 1 region becomes two rows high.
    row("top edge, quotient first", skin(966, 966), QRect(500, 161, 1, 1), Rectangle, QPoint(), 2);
    // Shape code 3 when |width / height - 1| >= 0.2; 1.2 - 1 is 0.19999999999999996 in binary
    // floating point, just short of it.
    for (const auto& [size, code] : QVector<QPair<QSize, int>>{{{100, 130}, 3}, {{120, 100}, 2}, {{121, 100}, 3}})
        row(QByteArray::number(size.width()) + " x " + QByteArray::number(size.height()), s400,
            QRect(QPoint(10, 20), size), Rectangle, QPoint(), code);

    QImage grey(64, 48, QImage::Format_RGB32);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x)
            grey.setPixel(x, y, qRgb(x * 4, x * 4, x * 4));
    row("grey: no red eyes, no call", grey, QRect(1, 1, 1, 1), NoSearch);
    row("3000 x 1: a detection copy of 1024 x 1", skin(3000, 1), QRect(), WholePhoto);
    row("indexed colours", face(40, 30, {}).convertToFormat(QImage::Format_Indexed8), QRect(), WholePhoto);
}

void TestRedEye::effectCallsTheLibrary()
{
    QFETCH(QImage, photo);
    QFETCH(QRect, region);
    QFETCH(int, search);
    QFETCH(QPoint, point);
    QFETCH(int, shape);

    ZelImageProcessorRedEyeRemoval effect(photo);
    effect.setParameters(region, false);
    ReTraceClear();
    QCOMPARE(effect.result(), search == NoSearch ? photo : photo.convertToFormat(QImage::Format_RGB32));
    QVERIFY(!effect.removed());
    const QVector<ReTraceCall> automatic = calls(ReTraceDetectAutoEx);
    const QVector<ReTraceCall> nearest = calls(ReTraceDetectNearest);
    QCOMPARE(automatic.size(), search == WholePhoto ? 2 : search == Rectangle ? 1 : 0);
    QCOMPARE(nearest.size(), search == Nearest ? 1 : 0);
    // The rectangle search counts as successful whatever it finds, so correction is always tried.
    QCOMPARE(calls(ReTraceCorrectRegions).size(), search == Rectangle ? 1 : 0);
    if (search == NoSearch)
        return;
    const ReTraceCall detection = search == Nearest ? nearest[0] : automatic[0];
    // Detection runs on a copy that fits 1024 x 768 (at least a pixel high) and reports for the full-size photo.
    QCOMPARE(QSize(detection.imageWidth, detection.imageHeight),
             photo.size().scaled(1024, 768, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    QCOMPARE(QSize(detection.fullWidth, detection.fullHeight), photo.size());
    if (search == Nearest) {
        QCOMPARE(QPoint(detection.x, detection.y), point);
        QCOMPARE(detection.radius, 75);
        QCOMPARE(detection.flags, 0x7000000u);
        return;
    }
    QCOMPARE(detection.flags, 0x5000000u);
    QCOMPARE(detection.hasHint, search == Rectangle ? 1 : 0);
    if (search == WholePhoto) {
        QCOMPARE(automatic[1].flags, 0x2000000u);
        QCOMPARE(automatic[1].hasHint, 0);
        return;
    }
    QCOMPARE(detection.shape, shape);
    // The hint holds the region in photo coordinates.
    QCOMPARE(QVector<int32_t>(detection.rect, detection.rect + 4),
             (QVector<int32_t>{region.left(), region.top(), region.right(), region.bottom()}));
}

void TestRedEye::samples_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<QVector<Eye>>("pupils"); // the ground truth: centres and radii

    const QVector<Eye> pupils{{818, 398, 10.4, 0}, {988, 411, 10.4, 0}};
    QTest::newRow("portrait, whole photo") << "redeye_portrait.jpg" << QRect() << pupils;
    QTest::newRow("portrait, rectangle") << "redeye_portrait.jpg" << QRect(740, 340, 330, 130) << pupils;
    // Clicks on a pupil and two radii off it, on either side.
    for (const QPoint click : {QPoint(818, 398), QPoint(798, 398), QPoint(988, 431), QPoint(988, 391)})
        QTest::addRow("portrait, click %d,%d", click.x(), click.y())
            << "redeye_portrait.jpg" << QRect(click, click) << pupils;
    for (const char* file : {"coffee.png", "chelsea.png"})
        QTest::newRow(file) << QString::fromLatin1(file) << QRect() << QVector<Eye>();
}

// The pupils corrected, nothing changed farther than two radii from either.
void TestRedEye::samples()
{
    QFETCH(QString, file);
    QFETCH(QRect, region);
    QFETCH(QVector<Eye>, pupils);

    const QImage before = QImage(ZEL_SOURCE_DIR "/samples/" + file).convertToFormat(QImage::Format_RGB32);
    QVERIFY(!before.isNull());
    ZelImageProcessorRedEyeRemoval effect(before);
    effect.setParameters(region, false);
    const QImage after = effect.result();
    QCOMPARE(effect.removed(), !pupils.isEmpty());
    for (const Eye& pupil : pupils) {
        QVERIFY(meanRedness(before, pupil.x, pupil.y, pupil.radius) > 2.0);
        QVERIFY(meanRedness(after, pupil.x, pupil.y, pupil.radius) < 0.6);
    }
    const auto near = [&pupils](int x, int y) {
        return std::any_of(pupils.begin(), pupils.end(), [x, y](const Eye& eye) {
            return std::hypot(x + 0.5 - eye.x, y + 0.5 - eye.y) <= 2.0 * eye.radius;
        });
    };
    for (int y = 0; y < before.height(); ++y)
        for (int x = 0; x < before.width(); ++x)
            if (before.pixel(x, y) != after.pixel(x, y) && !near(x, y))
                QFAIL(qPrintable(QStringLiteral("changed at %1, %2").arg(x).arg(y)));
}

QTEST_MAIN(TestRedEye)
#include "tst_redeye.moc"
