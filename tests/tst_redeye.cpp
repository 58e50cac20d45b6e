// Red-eye removal: libRedEye's detection and correction on synthetic eyes, the ground truth of the
// sample photos, and the arguments ZelImageProcessorRedEyeRemoval passes to libRedEye, seen
// through the library's per-thread trace: its flags, radius and shape codes are the closed
// library's interface, which results on small pictures do not reveal.
#include "ZelImageProcessorRedEyeRemoval.h"

#include "RedEye.h"
#include "RedEyeTrace_p.h"

#include <QPainter>
#include <QSignalSpy>
#include <QtMath>
#include <QtTest>

#include <climits>
#include <cmath>

namespace {

const QString kSamples = QStringLiteral(ZEL_SOURCE_DIR "/samples/");
const QRgb kSkin = qRgb(205, 165, 145);
const QRgb kRedPupil = qRgb(200, 30, 35);
const QRgb kHighlight = qRgb(250, 250, 250);

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
                const double dx = x + 0.5 - eye.x;
                const double dy = y + 0.5 - eye.y;
                const double r = eye.radius;
                if (std::pow(dx / (3.4 * r), 2) + std::pow(dy / (2.0 * r), 2) <= 1.0)
                    image.setPixel(x, y, qRgb(235, 230, 225));
                const double d = std::hypot(dx, dy);
                if (d <= 1.9 * r)
                    image.setPixel(x, y, d <= r ? eye.pupil : qRgb(95, 70, 50));
                if (std::hypot(dx + 0.4 * r, dy + 0.4 * r) <= 0.25 * r)
                    image.setPixel(x, y, kHighlight);
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

enum class Fault { NoImage, RecordSize32, Format, ShortLines, OptionsSize, HintWithoutRects, NoList, NegativeRadius };
// How a detection searches: the whole image, near a click, or inside a hint of a shape code.
enum Search { Whole = -1, Click = 0 };
enum EffectSearch { WholePhoto, Nearest, Rectangle };

} // namespace

Q_DECLARE_METATYPE(Eye)
Q_DECLARE_METATYPE(Fault)

class TestRedEye : public QObject
{
    Q_OBJECT

private slots:
    // libRedEye
    void detects_data();
    void detects();
    void correction();
    void correctionHasASoftEdge();
    void rejectsBadRecords_data();
    void rejectsBadRecords();

    // the effect
    void effectCallsTheLibrary_data();
    void effectCallsTheLibrary();
    void oddPhotos_data();
    void oddPhotos();
    void previewsSearchTheWholePreview();

    // the sample photos, with their ground truth
    void samples_data();
    void samples();
};

// ---- libRedEye -------------------------------------------------------------------------------

namespace {
// Expected pupils in the image's own coordinates, the nearest first for a click; scale gives the
// full-size photo (fields 11 and 12) in image sizes, where takes the click or the hint in it.
void addDetection(const char* tag, const QImage& image, uint flags, const QVector<Eye>& expected, int search = Whole,
                  const QRect& where = QRect(), int scale = 1)
{
    QTest::newRow(tag) << image << flags << expected << search << where << scale;
}
} // namespace

void TestRedEye::detects_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<uint>("flags");
    QTest::addColumn<QVector<Eye>>("expected");
    QTest::addColumn<int>("search");
    QTest::addColumn<QRect>("where");
    QTest::addColumn<int>("scale");

    const Eye left{100.5, 80.5, 5, kRedPupil};
    const Eye right{160.5, 82.5, 5, kRedPupil};
    const QImage pair = face(320, 240, {left, right});
    addDetection("a pair, strict", pair, RE_PASS_STRICT, {left, right});
    addDetection("a pair, sensitive", pair, RE_PASS_SENSITIVE, {left, right});
    addDetection("both passes, each once", pair, RE_PASS_STRICT | RE_PASS_SENSITIVE, {left, right});
    addDetection("in full-size coordinates", pair, RE_PASS_STRICT, {left, right}, Whole, QRect(), 3);
    addDetection("no pass asked for", pair, RE_LARGE_PUPILS, {});
    const Eye small{60.5, 60.5, 2.5, kRedPupil};
    addDetection("small pupil", face(320, 240, {small}), RE_PASS_STRICT, {small});
    // The strict pass takes red of at least 2.5 times green and blue, the sensitive one 1.6 times.
    for (const int other : {79, 81, 122, 128}) {
        const Eye pupil{100.5, 100.5, 6, qRgb(200, other, other)};
        const QImage image = face(320, 240, {pupil});
        QTest::addRow("red %.2f times, strict", 200.0 / other) << image << uint(RE_PASS_STRICT)
                                                                 << (other < 80 ? QVector<Eye>{pupil} : QVector<Eye>())
                                                                 << int(Whole) << QRect() << 1;
        QTest::addRow("red %.2f times, sensitive", 200.0 / other) << image << uint(RE_PASS_SENSITIVE)
                                                                    << (other < 125 ? QVector<Eye>{pupil} : QVector<Eye>())
                                                                    << int(Whole) << QRect() << 1;
    }
    // 240 / 40 = 6 pixels is the largest radius without RE_LARGE_PUPILS, 240 / 12 = 20 with it.
    const Eye large{150.5, 120.5, 18.5, kRedPupil};
    addDetection("large pupil", face(320, 240, {large}), RE_PASS_STRICT, {});
    addDetection("large pupil, large allowed", face(320, 240, {large}), RE_PASS_STRICT | RE_LARGE_PUPILS, {large});
    QImage bar = face(320, 240, {});
    QPainter(&bar).fillRect(100, 100, 12, 6, QColor(kRedPupil));
    addDetection("a red bar is not round", bar, RE_FLAGS_NEAREST, {});
    QImage ringed = face(320, 240, {left});
    QImage dot(320, 240, QImage::Format_RGB32);
    dot.fill(Qt::white);
    for (int y = 0; y < 240; ++y) {
        for (int x = 0; x < 320; ++x) {
            const double d = std::hypot(x + 0.5 - left.x, y + 0.5 - left.y);
            if (d > 9 && d < 12)
                ringed.setPixel(x, y, qRgb(190, 40, 40));
            if (d <= 5)
                dot.setPixel(x, y, kRedPupil);
        }
    }
    addDetection("red around it", ringed, RE_FLAGS_NEAREST, {});
    addDetection("cut by the border", face(320, 240, {{3, 100.5, 5, kRedPupil}}), RE_FLAGS_NEAREST, {});
    // Deliberately: a small round red patch among non-red is what the library calls a pupil.
    addDetection("a red dot on white", dot, RE_PASS_STRICT, {left});

    // Hints in the coordinates of a photo twice the size: pupils at (201, 161) and (361, 165),
    // radius 12 there.
    const Eye hintLeft{100.5, 80.5, 6, kRedPupil};
    const Eye hintRight{180.5, 82.5, 6, kRedPupil};
    const QImage hinted = face(320, 240, {hintLeft, hintRight});
    const uint whole = RE_FLAGS_WHOLE_FIRST;
    addDetection("hint around both eyes", hinted, whole, {hintLeft, hintRight}, RE_SHAPE_RECTANGLE,
                 QRect(150, 120, 280, 90), 2);
    addDetection("hint around one eye", hinted, whole, {hintLeft}, RE_SHAPE_SQUARE, QRect(170, 130, 64, 64), 2);
    addDetection("hint elsewhere", hinted, whole, {}, RE_SHAPE_RECTANGLE, QRect(400, 300, 200, 100), 2);
    addDetection("hint outside the photo", hinted, whole, {}, RE_SHAPE_RECTANGLE, QRect(700, 500, 100, 100), 2);
    addDetection("empty hint", hinted, whole, {}, RE_SHAPE_RECTANGLE, QRect(200, 160, 0, 0), 2);
    // A square of 12 pixels cannot hold a pupil of radius 12: it framed something smaller.
    addDetection("square smaller than the pupil", hinted, whole, {}, RE_SHAPE_SQUARE, QRect(195, 155, 12, 12), 2);
    addDetection("rectangle smaller than the pupil", hinted, whole, {hintLeft}, RE_SHAPE_RECTANGLE,
                 QRect(195, 155, 12, 12), 2);

    // Clicks find the pupil nearest to them within 75 pixels, and its partner.
    const Eye near{100.5, 80.5, 4, kRedPupil};
    const Eye partner{150.5, 84.5, 4, kRedPupil};
    const Eye far{300.5, 200.5, 4, kRedPupil};
    const QImage couple = face(400, 300, {near, partner});
    const uint nearest = RE_FLAGS_NEAREST;
    addDetection("click on the left pupil", couple, nearest, {near, partner}, Click, QRect(100, 80, 1, 1));
    addDetection("click beside the right pupil", couple, nearest, {partner, near}, Click, QRect(160, 90, 1, 1));
    addDetection("click on a lone pupil", face(400, 300, {near, far}), nearest, {near}, Click, QRect(95, 75, 1, 1));
    addDetection("click too far from any", couple, nearest, {}, Click, QRect(100, 200, 1, 1));
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
        QVERIFY2(std::any_of(regions.begin(), regions.end(), [&](const ReRegion* region) { return matches(region, eye); }),
                 qPrintable(QStringLiteral("no region at %1, %2").arg(eye.x).arg(eye.y)));
    }
    if (search == Click && !expected.isEmpty())
        QVERIFY(matches(regions.first(), expected.first()));
    // The box bounds the circle of two radii, within the photo.
    for (const ReRegion* region : regions) {
        QCOMPARE(region->left, std::max(0, int32_t(std::floor(region->centerX - 2 * region->radius))));
        QCOMPARE(region->bottom, std::min(full.height() - 1, int32_t(std::ceil(region->centerY + 2 * region->radius)) - 1));
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
    const ReRegion* first = strict.regions().first();
    ReListMerge(&strict.head, &sensitive.head);
    QCOMPARE(strict.regions().size(), 4);
    QCOMPARE(strict.regions().first(), first); // appended
    QVERIFY(sensitive.regions().isEmpty());
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

    // An empty list, and regions outside the photo or not a number, correct nothing.
    QImage image = before;
    ReImage r = record(&image);
    QCOMPARE(ReCorrectRegions(&r, &sensitive.head, 0, 0, 0), RE_NOT_FOUND);
    ReRegion outside{{&sensitive.head, &sensitive.head}, 0, 0, 0, 0, -100, 50, 10, 50};
    sensitive.head.next = sensitive.head.previous = &outside.link;
    QCOMPARE(ReCorrectRegions(&r, &sensitive.head, 0, 0, 0), RE_NOT_FOUND);
    outside.centerX = std::nanf("");
    QCOMPARE(ReCorrectRegions(&r, &sensitive.head, 0, 0, 0), RE_NOT_FOUND);
    sensitive.head.next = sensitive.head.previous = &sensitive.head; // not the library's to free
    QCOMPARE(image, before);
}

void TestRedEye::correctionHasASoftEdge()
{
    // All red, so the pupil's own pixels say nothing about its edge: the fade shows alone.
    QImage image(200, 200, QImage::Format_RGB32);
    image.fill(kRedPupil);
    ReImage r = record(&image);
    List regions;
    ReRegion region{{&regions.head, &regions.head}, 60, 60, 139, 139, 100, 100, 20, 50};
    regions.head.next = regions.head.previous = &region.link;
    QCOMPARE(ReCorrectRegions(&r, &regions.head, 0, 0, 0), RE_OK);
    regions.head.next = regions.head.previous = &regions.head; // not the library's to free

    const auto redAt = [&image](double distance) { return qRed(image.pixel(int(100 + distance), 100)); };
    QCOMPARE(redAt(0), 30);
    QCOMPARE(redAt(20), 30);
    QVERIFY(redAt(35) > 30 && redAt(35) < 200);
    QVERIFY(redAt(30) < redAt(37));
    QCOMPARE(redAt(41), 200);
    QCOMPARE(image.pixel(100, 100) & 0xff00ffffu, kRedPupil & 0xff00ffffu);
    QCOMPARE(image.pixel(10, 10), kRedPupil);
}

void TestRedEye::rejectsBadRecords_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<QString>("rejectedBy"); // D: ReDetectAutoEx, N: ReDetectNearest, C: ReCorrectRegions

    QTest::newRow("no image") << Fault::NoImage << "DNC";
    // The record's size on a 32-bit platform: its addresses do not fit there on this one.
    QTest::newRow("32-bit record size 64") << Fault::RecordSize32 << "DNC";
    QTest::newRow("unknown format") << Fault::Format << "DNC";
    QTest::newRow("lines shorter than the width") << Fault::ShortLines << "DNC";
    QTest::newRow("options of the wrong size") << Fault::OptionsSize << "D";
    QTest::newRow("hint without rectangles") << Fault::HintWithoutRects << "D";
    QTest::newRow("no list") << Fault::NoList << "DNC";
    QTest::newRow("negative radius") << Fault::NegativeRadius << "N";
}

void TestRedEye::rejectsBadRecords()
{
    QFETCH(Fault, fault);
    QFETCH(QString, rejectedBy);

    QImage image = face(100, 80, {{50.5, 40.5, 4, kRedPupil}});
    ReImage r = record(&image);
    ReImage* target = &r;
    ReOptions options{int32_t(sizeof(ReOptions)), &r};
    const int32_t corners[4] = {0, 0, 99, 79};
    ReRegionHint hint{RE_SHAPE_RECTANGLE, 100, 80, 1, corners};
    List found;
    ReListHead* list = &found.head;
    int32_t radius = 75;
    switch (fault) {
    case Fault::NoImage: target = nullptr; break;
    case Fault::RecordSize32: r.size = 64; break;
    case Fault::Format: r.format = 1; break;
    case Fault::ShortLines: r.bytesPerLine = 4 * r.width - 1; break;
    case Fault::OptionsSize: options.size = 8; break;
    case Fault::HintWithoutRects: hint.rects = nullptr; break;
    case Fault::NoList: list = nullptr; break;
    case Fault::NegativeRadius: radius = -1; break;
    }
    QString rejected;
    if (ReDetectAutoEx(target, &options, &hint, 0, 0, RE_FLAGS_WHOLE_FIRST, list) == RE_BAD_ARGUMENT)
        rejected += 'D';
    if (ReDetectNearest(target, 50, 40, radius, 0, 0, RE_FLAGS_NEAREST, list) == RE_BAD_ARGUMENT)
        rejected += 'N';
    if (ReCorrectRegions(target, list, 0, 0, 0) == RE_BAD_ARGUMENT)
        rejected += 'C';
    QCOMPARE(rejected, rejectedBy);
    QCOMPARE(found.regions().size(), 2 - rejected.count('D') - rejected.count('N'));
}

// ---- the effect ------------------------------------------------------------------------------

void TestRedEye::effectCallsTheLibrary_data()
{
    QTest::addColumn<QSize>("photoSize");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<int>("search");
    QTest::addColumn<QPoint>("point"); // of the nearest-point search, on the detection copy
    QTest::addColumn<int>("shape");    // of the rectangle search

    const QSize s400(400, 300);
    const QSize large(2048, 1536); // fits 1024 x 768 at one half
    const QSize small(512, 384);   // enlarged to 1024 x 768: two pixels stay two
    const QSize odd(966, 966);
    for (const QSize size : {QSize(1, 1), s400, QSize(2048, 2048), QSize(4000, 1000), QSize(600, 400)})
        QTest::addRow("%dx%d", size.width(), size.height()) << size << QRect() << int(WholePhoto) << QPoint() << 0;
    QTest::newRow("0 x 0 region") << s400 << QRect(50, 60, 0, 0) << int(WholePhoto) << QPoint() << 0;
    QTest::newRow("1 x 1, large photo") << large << QRect(1001, 601, 1, 1) << int(Nearest) << QPoint(500, 300) << 0;
    QTest::newRow("2 x 2, large photo") << large << QRect(1000, 600, 2, 2) << int(Nearest) << QPoint(500, 300) << 0;
    QTest::newRow("3 x 3, large photo") << large << QRect(1000, 600, 3, 3) << int(Rectangle) << QPoint() << 2;
    QTest::newRow("1 x 1, small photo") << small << QRect(101, 51, 1, 1) << int(Nearest) << QPoint(202, 102) << 0;
    QTest::newRow("2 x 2, small photo") << small << QRect(100, 50, 2, 2) << int(Rectangle) << QPoint() << 2;
    QTest::newRow("outside the photo") << small << QRect(-300, -200, 50, 40) << int(Rectangle) << QPoint() << 3;
    QTest::newRow("huge") << small << QRect(INT_MIN / 2, INT_MIN / 2, INT_MAX, INT_MAX) << int(Rectangle) << QPoint() << 2;
    // 966 x 966 fits as 768 x 768. For the top edge 161, (768 / 966) * 161 falls just below 128
    // in floating point while 161 * 768 / 966 is 128: the 1 x 1 region becomes two rows high.
    QTest::newRow("top edge, quotient first") << odd << QRect(500, 161, 1, 1) << int(Rectangle) << QPoint() << 2;
    QTest::newRow("top edge, a point") << odd << QRect(500, 160, 1, 1) << int(Nearest) << QPoint(397, 127) << 0;
    // Shape code 3 when |width / height - 1| >= 0.2; 1.2 - 1 is 0.19999999999999996 in binary
    // floating point, just short of it.
    const QVector<QPair<QSize, int>> shapes{{{100, 130}, 3}, {{100, 110}, 2}, {{130, 100}, 3}, {{120, 100}, 2}, {{121, 100}, 3}};
    for (const auto& [size, code] : shapes)
        QTest::addRow("%d x %d", size.width(), size.height()) << s400 << QRect(QPoint(10, 20), size) << int(Rectangle)
                                                              << QPoint() << code;
}

void TestRedEye::effectCallsTheLibrary()
{
    QFETCH(QSize, photoSize);
    QFETCH(QRect, region);
    QFETCH(int, search);
    QFETCH(QPoint, point);
    QFETCH(int, shape);

    QImage photo(photoSize, QImage::Format_RGB32);
    photo.fill(kSkin);
    ZelImageProcessorRedEyeRemoval effect(photo);
    effect.setParameters(region, false);
    ReTraceClear();
    QCOMPARE(effect.result(), photo);
    QVERIFY(!effect.removed());
    const QVector<ReTraceCall> automatic = calls(ReTraceDetectAutoEx);
    const QVector<ReTraceCall> nearest = calls(ReTraceDetectNearest);
    QCOMPARE(automatic.size(), search == WholePhoto ? 2 : search == Rectangle ? 1 : 0);
    QCOMPARE(nearest.size(), search == Nearest ? 1 : 0);
    // The rectangle search counts as successful whatever it finds, so correction is always tried.
    QCOMPARE(calls(ReTraceCorrectRegions).size(), search == Rectangle ? 1 : 0);
    const ReTraceCall detection = search == Nearest ? nearest[0] : automatic[0];
    // Detection runs on a copy that fits 1024 x 768 and reports for the full-size photo.
    QCOMPARE(QSize(detection.imageWidth, detection.imageHeight), photoSize.scaled(1024, 768, Qt::KeepAspectRatio));
    QCOMPARE(QSize(detection.fullWidth, detection.fullHeight), photoSize);
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

void TestRedEye::oddPhotos_data()
{
    QTest::addColumn<QImage>("photo");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<bool>("searches");

    QImage grey(64, 48, QImage::Format_RGB32);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x)
            grey.setPixel(x, y, qRgb(x * 4, x * 4, x * 4));
    // No red eyes in a grey photo: returned as it is, without a library call.
    QTest::newRow("32-bit grey") << grey << QRect(1, 1, 1, 1) << false;
    QTest::newRow("8-bit grey") << grey.convertToFormat(QImage::Format_Grayscale8) << QRect() << false;
    QTest::newRow("indexed grey") << grey.convertToFormat(QImage::Format_Indexed8) << QRect() << false;
    QTest::newRow("mono") << grey.convertToFormat(QImage::Format_Mono) << QRect() << false;
    QTest::newRow("null") << QImage() << QRect() << false;
    QImage wide(3000, 1, QImage::Format_RGB32);
    wide.fill(kRedPupil);
    QTest::newRow("3000 x 1: a detection copy of 1024 x 1") << wide << QRect() << true;
    QTest::newRow("1 x 1 red, point") << wide.copy(0, 0, 1, 1) << QRect(0, 0, 1, 1) << true;
    QTest::newRow("indexed colours") << face(40, 30, {}).convertToFormat(QImage::Format_Indexed8) << QRect() << true;
    const QImage rgb888 = face(40, 30, {}).convertToFormat(QImage::Format_RGB888);
    QTest::newRow("24-bit, region at the end of int") << rgb888 << QRect(INT_MAX - 5, INT_MAX - 5, 5, 5) << true;
    QTest::newRow("negative region") << rgb888 << QRect(-2000000000, -2000000000, 3, 2000000000) << true;
}

void TestRedEye::oddPhotos()
{
    QFETCH(QImage, photo);
    QFETCH(QRect, region);
    QFETCH(bool, searches);

    ZelImageProcessorRedEyeRemoval effect(photo);
    effect.setParameters(region, true);
    QSignalSpy finished(&effect, &ZelImageProcessor::finished);
    ReTraceClear();
    const QImage result = effect.result();
    QCOMPARE(ReTraceCount() > 0, searches);
    QCOMPARE(result, searches ? photo.convertToFormat(QImage::Format_RGB32) : photo);
    QCOMPARE(result.format(), searches ? QImage::Format_RGB32 : photo.format());
    QVERIFY(!effect.removed());
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.first().first().toBool(), false);
}

void TestRedEye::previewsSearchTheWholePreview()
{
    const QImage photo = face(800, 600, {{200.5, 160.5, 8, kRedPupil}, {300.5, 164.5, 8, kRedPupil}});
    ZelImageProcessorRedEyeRemoval effect(photo);
    // A point far from the eyes: the previews search their whole image regardless.
    effect.setParameters(QRect(700, 500, 1, 1), false);
    const QImage preview = effect.generatePreview(QSize(400, 400));
    QCOMPARE(preview.size(), QSize(400, 300));
    QVERIFY(meanRedness(preview, 100.25, 80.25, 4) < 0.6);
    QVERIFY(meanRedness(effect.generatePreview(QRect(150, 100, 120, 120)), 50.5, 60.5, 8) < 0.6);
    // The effect's own region is untouched: its result searches near the point and finds nothing.
    QCOMPARE(effect.result(), photo);
    QVERIFY(!effect.removed());
}

// ---- the sample photos -----------------------------------------------------------------------

void TestRedEye::samples_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<QVector<Eye>>("pupils"); // the ground truth: centres and radii

    const QVector<Eye> pupils{{818, 398, 10.4, 0}, {988, 411, 10.4, 0}};
    QTest::newRow("portrait, whole photo") << "redeye_portrait.jpg" << QRect() << pupils;
    QTest::newRow("portrait, rectangle") << "redeye_portrait.jpg" << QRect(740, 340, 330, 130) << pupils;
    for (const Eye& pupil : pupils) {
        for (int angle = 0; angle < 360; angle += 45) {
            for (int distance : {0, 10, 20}) {
                const QPoint click(int(std::lround(pupil.x + distance * std::cos(qDegreesToRadians(double(angle))))),
                                   int(std::lround(pupil.y + distance * std::sin(qDegreesToRadians(double(angle))))));
                if (distance > 0 || angle == 0)
                    QTest::addRow("portrait, click %d,%d", click.x(), click.y())
                        << "redeye_portrait.jpg" << QRect(click, QSize(1, 1)) << pupils;
            }
        }
    }
    for (const char* file : {"coffee.png", "chelsea.png", "rocket.jpg", "astronaut.png"})
        QTest::newRow(file) << QString::fromLatin1(file) << QRect() << QVector<Eye>();
}

// The pupils corrected, nothing changed farther than two radii from either.
void TestRedEye::samples()
{
    QFETCH(QString, file);
    QFETCH(QRect, region);
    QFETCH(QVector<Eye>, pupils);

    const QImage before = QImage(kSamples + file).convertToFormat(QImage::Format_RGB32);
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
