// Red-eye removal: libRedEye's detection and correction on synthetic eyes and on the sample
// photos, and the calls ZelImageProcessorRedEyeRemoval makes, seen through libRedEye's
// per-thread trace of its entry points.
#include "ZelEffectRegistry.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelImageProcessorRedEyeRemoval.h"
#include "ZelProgressSignalizer.h"

#include "RedEye.h"
#include "RedEyeTrace_p.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

#include <climits>
#include <cmath>
#include <memory>
#include <optional>
#include <thread>

namespace {

const double kPi = 3.14159265358979323846;
const QString kSamples = QStringLiteral(ZEL_SOURCE_DIR "/samples/");

const QRgb kSkin = qRgb(205, 165, 145);
const QRgb kRedPupil = qRgb(200, 30, 35);
// Red not quite two and a half times green and blue: only the sensitive pass sees it.
const QRgb kPinkPupil = qRgb(215, 105, 110);
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
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            for (const Eye& eye : eyes) {
                const double dx = x + 0.5 - eye.x;
                const double dy = y + 0.5 - eye.y;
                const double r = eye.radius;
                if (std::pow(dx / (3.4 * r), 2) + std::pow(dy / (2.0 * r), 2) <= 1.0)
                    line[x] = qRgb(235, 230, 225);
                if (std::hypot(dx, dy) <= 1.9 * r)
                    line[x] = qRgb(95, 70, 50);
                if (std::hypot(dx, dy) <= r)
                    line[x] = eye.pupil;
                if (std::hypot(dx + 0.4 * r, dy + 0.4 * r) <= 0.25 * r)
                    line[x] = kHighlight;
            }
        }
    }
    return image;
}

ReImage record(QImage* image, int fullWidth = 0, int fullHeight = 0)
{
    ReImage r{};
    r.size = int32_t(sizeof(ReImage));
    r.width = image->width();
    r.height = image->height();
    r.format = RE_FORMAT_RGB32;
    r.bytesPerLine = image->bytesPerLine();
    r.bits = image->bits();
    r.fullWidth = fullWidth;
    r.fullHeight = fullHeight;
    return r;
}

// A region list that frees its regions.
struct List
{
    List() { head.next = head.previous = &head; }
    ~List() { ReListEmpty(&head); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    QVector<const ReRegion*> regions() const
    {
        QVector<const ReRegion*> all;
        for (const ReListHead* node = head.next; node != &head; node = node->next)
            all << reinterpret_cast<const ReRegion*>(node);
        return all;
    }
    ReListHead head;
};

double redness(QRgb p)
{
    return double(qRed(p)) / std::max(1, qGreen(p) + qBlue(p));
}

// The mean of R / (G + B) over the pixels whose centres lie within radius of (x, y).
double meanRedness(const QImage& image, double x, double y, double radius)
{
    double sum = 0;
    int count = 0;
    for (int py = int(y - radius) - 1; py <= int(y + radius) + 1; ++py) {
        for (int px = int(x - radius) - 1; px <= int(x + radius) + 1; ++px) {
            if (std::hypot(px + 0.5 - x, py + 0.5 - y) <= radius) {
                sum += redness(image.pixel(px, py));
                ++count;
            }
        }
    }
    return count ? sum / count : 0.0;
}

// Pixels that differ between the images and lie farther than twice its radius from every eye.
int changesAwayFrom(const QImage& before, const QImage& after, const QVector<Eye>& eyes)
{
    const QImage a = before.convertToFormat(QImage::Format_RGB32);
    const QImage b = after.convertToFormat(QImage::Format_RGB32);
    int count = 0;
    for (int y = 0; y < a.height(); ++y) {
        const QRgb* la = reinterpret_cast<const QRgb*>(a.constScanLine(y));
        const QRgb* lb = reinterpret_cast<const QRgb*>(b.constScanLine(y));
        for (int x = 0; x < a.width(); ++x) {
            if (la[x] == lb[x])
                continue;
            const bool near = std::any_of(eyes.begin(), eyes.end(), [x, y](const Eye& eye) {
                return std::hypot(x + 0.5 - eye.x, y + 0.5 - eye.y) <= 2.0 * eye.radius;
            });
            count += near ? 0 : 1;
        }
    }
    return count;
}

QVector<ReTraceCall> trace()
{
    QVector<ReTraceCall> calls;
    for (int i = 0; i < ReTraceCount(); ++i)
        calls << *ReTraceAt(i);
    return calls;
}

QVector<int> functionsOf(const QVector<ReTraceCall>& calls)
{
    QVector<int> functions;
    for (const ReTraceCall& call : calls)
        functions << call.function;
    return functions;
}

std::optional<ReTraceCall> firstCall(const QVector<ReTraceCall>& calls, int function)
{
    for (const ReTraceCall& call : calls)
        if (call.function == function)
            return call;
    return std::nullopt;
}

// Gives tests the implementation behind the public object.
class RedEyeProbe : public ZelImageProcessorRedEyeRemoval
{
public:
    using ZelImageProcessorRedEyeRemoval::ZelImageProcessorRedEyeRemoval;
    ZelProgressSignalizer* signalizer() const { return myImpl->progressSignalizer(); }
};

enum class Fault { NoImage, RecordSize32, Format, ZeroWidth, ShortLines, NoPixels, OptionsSize, HintWithoutRects, NoList,
                   NegativeRadius };

// The photo of the ground truth: pupil centres and radius.
const QVector<Eye> kPortraitPupils{{818, 398, 10.4, 0}, {988, 411, 10.4, 0}};

} // namespace

Q_DECLARE_METATYPE(Eye)
Q_DECLARE_METATYPE(Fault)

class TestRedEye : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    // libRedEye
    void detectsSyntheticPupils_data();
    void detectsSyntheticPupils();
    void reportsInFullSizeCoordinates();
    void searchesInsideTheHint_data();
    void searchesInsideTheHint();
    void nearestFindsTheClickedPupilAndItsPartner_data();
    void nearestFindsTheClickedPupilAndItsPartner();
    void correctionTakesTheRedOutAndKeepsTheRest();
    void correctionHasASoftEdge();
    void correctionOfARepeatedRegionIsTheSame();
    void correctionOfNothing();
    void listsMergeAndEmpty();
    void rejectsBadRecords_data();
    void rejectsBadRecords();
    void traceBelongsToTheCallingThread();

    // the effect
    void describesItself();
    void greyPhotoMakesNoLibraryCall_data();
    void greyPhotoMakesNoLibraryCall();
    void nullRegionSearchesTheWholePhotoTwice();
    void regionChoosesTheSearch_data();
    void regionChoosesTheSearch();
    void topEdgeTakesTheQuotientFirst();
    void shapeCode_data();
    void shapeCode();
    void detectionCopyFitsInto1024x768_data();
    void detectionCopyFitsInto1024x768();
    void correctsOnlyAfterASuccessfulDetection();
    void previewsSearchTheWholePreview();
    void progressTitleIsTheFlipsAndGreyPhotosStayConnected();
    void badInput_data();
    void badInput();
    void photoTooLargeToCopy();

    // the sample photos
    void portraitWholePhoto();
    void portraitClick_data();
    void portraitClick();
    void portraitRectangle();
    void photosWithoutRedEyesStayUnchanged_data();
    void photosWithoutRedEyesStayUnchanged();
    void portraitIsFast();

private:
    QImage myPortrait;
};

void TestRedEye::initTestCase()
{
    QVERIFY(myPortrait.load(kSamples + QStringLiteral("redeye_portrait.jpg")));
    QCOMPARE(myPortrait.size(), QSize(2048, 2048));
}

// ---- libRedEye -------------------------------------------------------------------------------

void TestRedEye::detectsSyntheticPupils_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<uint>("flags");
    QTest::addColumn<QVector<Eye>>("expected");

    const Eye left{100.5, 80.5, 5, kRedPupil};
    const Eye right{160.5, 82.5, 5, kRedPupil};
    const QImage pair = face(320, 240, {left, right});
    QTest::newRow("a pair, strict") << pair << uint(RE_PASS_STRICT) << QVector<Eye>{left, right};
    QTest::newRow("a pair, sensitive") << pair << uint(RE_PASS_SENSITIVE) << QVector<Eye>{left, right};
    QTest::newRow("a pair, both passes, each once")
        << pair << uint(RE_PASS_STRICT | RE_PASS_SENSITIVE) << QVector<Eye>{left, right};
    QTest::newRow("no pass asked for") << pair << uint(RE_LARGE_PUPILS) << QVector<Eye>();

    const Eye small{60.5, 60.5, 2.5, kRedPupil};
    QTest::newRow("small pupil") << face(320, 240, {small}) << uint(RE_PASS_STRICT) << QVector<Eye>{small};

    const Eye pink{100.5, 100.5, 6, kPinkPupil};
    QTest::newRow("pink pupil, strict") << face(320, 240, {pink}) << uint(RE_PASS_STRICT) << QVector<Eye>();
    QTest::newRow("pink pupil, sensitive") << face(320, 240, {pink}) << uint(RE_PASS_SENSITIVE) << QVector<Eye>{pink};

    // 240 / 40 = 6 pixels is the largest radius without RE_LARGE_PUPILS, 240 / 12 = 20 with it.
    const Eye large{150.5, 120.5, 15, kRedPupil};
    QTest::newRow("large pupil") << face(320, 240, {large}) << uint(RE_PASS_STRICT) << QVector<Eye>();
    QTest::newRow("large pupil, large allowed")
        << face(320, 240, {large}) << uint(RE_PASS_STRICT | RE_LARGE_PUPILS) << QVector<Eye>{large};

    QImage stripe(320, 240, QImage::Format_RGB32);
    stripe.fill(kSkin);
    for (int y = 100; y < 106; ++y)
        for (int x = 100; x < 112; ++x)
            stripe.setPixel(x, y, kRedPupil);
    QTest::newRow("a red bar is not round") << stripe << uint(RE_FLAGS_NEAREST) << QVector<Eye>();

    QImage ringed = face(320, 240, {left});
    for (int y = 0; y < 240; ++y)
        for (int x = 0; x < 320; ++x) {
            const double d = std::hypot(x + 0.5 - left.x, y + 0.5 - left.y);
            if (d > 9 && d < 12)
                ringed.setPixel(x, y, qRgb(190, 40, 40));
        }
    QTest::newRow("red around it") << ringed << uint(RE_FLAGS_NEAREST) << QVector<Eye>();

    const Eye atBorder{3, 100.5, 5, kRedPupil};
    QTest::newRow("cut by the border") << face(320, 240, {atBorder}) << uint(RE_FLAGS_NEAREST) << QVector<Eye>();

    QImage disc(320, 240, QImage::Format_RGB32);
    disc.fill(Qt::white);
    for (int y = 0; y < 240; ++y)
        for (int x = 0; x < 320; ++x)
            if (std::hypot(x + 0.5 - 200, y + 0.5 - 120) <= 5)
                disc.setPixel(x, y, kRedPupil);
    // Deliberately: a small round red patch among non-red is what the library calls a pupil.
    QTest::newRow("a red dot on white") << disc << uint(RE_PASS_STRICT) << QVector<Eye>{{200, 120, 5, 0}};
}

void TestRedEye::detectsSyntheticPupils()
{
    QFETCH(QImage, image);
    QFETCH(uint, flags);
    QFETCH(QVector<Eye>, expected);

    ReImage r = record(&image);
    List found;
    const int status = ReDetectAutoEx(&r, nullptr, nullptr, 0, 0, flags, &found.head);
    QCOMPARE(status, expected.isEmpty() ? RE_NOT_FOUND : RE_OK);
    const QVector<const ReRegion*> regions = found.regions();
    QCOMPARE(regions.size(), expected.size());
    for (const Eye& eye : expected) {
        const bool hit = std::any_of(regions.begin(), regions.end(), [&eye](const ReRegion* region) {
            return std::hypot(region->centerX - eye.x, region->centerY - eye.y) <= 1.0
                && region->radius >= 0.8 * eye.radius && region->radius <= 1.5 * eye.radius
                && region->confidence >= 1 && region->confidence <= 100;
        });
        QVERIFY2(hit, qPrintable(QStringLiteral("no region at %1, %2").arg(eye.x).arg(eye.y)));
    }
}

void TestRedEye::reportsInFullSizeCoordinates()
{
    // Fields 11 and 12 say the image is a third of a 960 x 720 photo.
    const Eye eye{100.5, 80.5, 5, kRedPupil};
    QImage image = face(320, 240, {eye});
    ReImage r = record(&image, 960, 720);
    List found;
    QCOMPARE(ReDetectAutoEx(&r, nullptr, nullptr, 0, 0, RE_PASS_STRICT, &found.head), RE_OK);
    QCOMPARE(found.regions().size(), 1);
    const ReRegion* region = found.regions().first();
    QVERIFY(std::abs(region->centerX - 301.5) <= 3.0);
    QVERIFY(std::abs(region->centerY - 241.5) <= 3.0);
    QVERIFY(region->radius >= 12 && region->radius <= 20);
    // The box bounds the circle of two radii.
    QCOMPARE(region->left, int32_t(std::floor(region->centerX - 2 * region->radius)));
    QCOMPARE(region->bottom, int32_t(std::ceil(region->centerY + 2 * region->radius)) - 1);
}

void TestRedEye::searchesInsideTheHint_data()
{
    QTest::addColumn<int>("shape");
    QTest::addColumn<QRect>("rect"); // in the coordinates of a photo twice the size
    QTest::addColumn<int>("found");

    // The pupil: centre (201, 161), radius 12 in the photo's coordinates.
    QTest::newRow("around both eyes") << RE_SHAPE_RECTANGLE << QRect(150, 120, 280, 90) << 2;
    QTest::newRow("around one eye") << RE_SHAPE_SQUARE << QRect(170, 130, 64, 64) << 1;
    QTest::newRow("elsewhere") << RE_SHAPE_RECTANGLE << QRect(400, 300, 200, 100) << 0;
    QTest::newRow("outside the photo") << RE_SHAPE_RECTANGLE << QRect(700, 500, 100, 100) << 0;
    QTest::newRow("empty") << RE_SHAPE_RECTANGLE << QRect(200, 160, 0, 0) << 0;
    // A square of 12 pixels cannot hold a pupil of radius 12: it framed something smaller.
    QTest::newRow("square smaller than the pupil") << RE_SHAPE_SQUARE << QRect(195, 155, 12, 12) << 0;
    QTest::newRow("rectangle smaller than the pupil") << RE_SHAPE_RECTANGLE << QRect(195, 155, 12, 12) << 1;
}

void TestRedEye::searchesInsideTheHint()
{
    QFETCH(int, shape);
    QFETCH(QRect, rect);
    QFETCH(int, found);

    QImage image = face(320, 240, {{100.5, 80.5, 6, kRedPupil}, {180.5, 82.5, 6, kRedPupil}});
    ReImage r = record(&image, 640, 480);
    const ReOptions options{int32_t(sizeof(ReOptions)), nullptr};
    const int32_t corners[4] = {rect.left(), rect.top(), rect.right(), rect.bottom()};
    const ReRegionHint hint{shape, 640, 480, 1, corners};
    List list;
    const int status = ReDetectAutoEx(&r, &options, &hint, 0, 0, RE_FLAGS_WHOLE_FIRST, &list.head);
    QCOMPARE(status, found ? RE_OK : RE_NOT_FOUND);
    QCOMPARE(list.regions().size(), found);
    for (const ReRegion* region : list.regions())
        QVERIFY(rect.contains(int(region->centerX), int(region->centerY)));
}

void TestRedEye::nearestFindsTheClickedPupilAndItsPartner_data()
{
    QTest::addColumn<QVector<Eye>>("eyes");
    QTest::addColumn<QPoint>("click");
    QTest::addColumn<QVector<int>>("expected"); // indices into eyes, the nearest first

    const Eye left{100.5, 80.5, 4, kRedPupil};
    const Eye right{150.5, 84.5, 4, kRedPupil};
    const Eye far{300.5, 200.5, 4, kRedPupil};
    QTest::newRow("on the left pupil") << QVector<Eye>{left, right} << QPoint(100, 80) << QVector<int>{0, 1};
    QTest::newRow("beside the right pupil") << QVector<Eye>{left, right} << QPoint(160, 90) << QVector<int>{1, 0};
    QTest::newRow("a lone pupil") << QVector<Eye>{left, far} << QPoint(95, 75) << QVector<int>{0};
    QTest::newRow("too far from any") << QVector<Eye>{left, right} << QPoint(100, 200) << QVector<int>();
}

void TestRedEye::nearestFindsTheClickedPupilAndItsPartner()
{
    QFETCH(QVector<Eye>, eyes);
    QFETCH(QPoint, click);
    QFETCH(QVector<int>, expected);

    QImage image = face(400, 300, eyes);
    ReImage r = record(&image);
    List found;
    const int status = ReDetectNearest(&r, click.x(), click.y(), 75, 0, 0, RE_FLAGS_NEAREST, &found.head);
    QCOMPARE(status, expected.isEmpty() ? RE_NOT_FOUND : RE_OK);
    const QVector<const ReRegion*> regions = found.regions();
    QCOMPARE(regions.size(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        const Eye& eye = eyes.at(expected.at(i));
        QVERIFY(std::hypot(regions.at(i)->centerX - eye.x, regions.at(i)->centerY - eye.y) <= 1.0);
    }
}

void TestRedEye::correctionTakesTheRedOutAndKeepsTheRest()
{
    const QVector<Eye> eyes{{100.5, 80.5, 8, kRedPupil}, {170.5, 82.5, 8, kRedPupil}};
    const QImage before = face(320, 240, eyes);
    QImage image = before;
    ReImage r = record(&image);
    List found;
    QCOMPARE(ReDetectAutoEx(&r, nullptr, nullptr, 0, 0, RE_FLAGS_WHOLE_FIRST, &found.head), RE_OK);
    QCOMPARE(ReCorrectRegions(&r, &found.head, 0, 0, 0), RE_OK);

    int highlights = 0;
    for (const Eye& eye : eyes) {
        QVERIFY(meanRedness(before, eye.x, eye.y, eye.radius) > 2.5);
        QVERIFY(meanRedness(image, eye.x, eye.y, eye.radius) < 0.6);
        // Inside, red (200) falls to the weaker of green (30) and blue (35).
        QCOMPARE(image.pixel(int(eye.x + 0.5 * eye.radius), int(eye.y)), qRgb(30, 30, 35));
    }
    for (int y = 0; y < before.height(); ++y) {
        for (int x = 0; x < before.width(); ++x) {
            if (before.pixel(x, y) == kHighlight) {
                QCOMPARE(image.pixel(x, y), kHighlight);
                ++highlights;
            } else if (before.pixel(x, y) != kRedPupil) {
                // Skin, iris and white: nothing red to take out.
                QCOMPARE(image.pixel(x, y), before.pixel(x, y));
            }
        }
    }
    QVERIFY(highlights > 0);
}

void TestRedEye::correctionHasASoftEdge()
{
    // All red, so the pupil's own pixels say nothing about its edge: the fade shows alone.
    QImage image(200, 200, QImage::Format_RGB32);
    image.fill(kRedPupil);
    ReImage r = record(&image);
    List regions;
    ReRegion region{};
    region.link.next = region.link.previous = &regions.head;
    regions.head.next = regions.head.previous = &region.link;
    region.centerX = 100;
    region.centerY = 100;
    region.radius = 20;
    region.left = 60;
    region.top = 60;
    region.right = 139;
    region.bottom = 139;
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

void TestRedEye::correctionOfARepeatedRegionIsTheSame()
{
    const QVector<Eye> eyes{{100.5, 80.5, 8, kRedPupil}};
    QImage once = face(240, 160, eyes);
    QImage twice = once;
    ReImage r1 = record(&once);
    ReImage r2 = record(&twice);
    List found;
    List second;
    QCOMPARE(ReDetectAutoEx(&r1, nullptr, nullptr, 0, 0, RE_PASS_STRICT | RE_LARGE_PUPILS, &found.head), RE_OK);
    QCOMPARE(ReDetectAutoEx(&r1, nullptr, nullptr, 0, 0, RE_PASS_SENSITIVE | RE_LARGE_PUPILS, &second.head), RE_OK);
    QCOMPARE(ReCorrectRegions(&r1, &found.head, 0, 0, 0), RE_OK);
    ReListMerge(&found.head, &second.head);
    QCOMPARE(found.regions().size(), 2);
    QCOMPARE(ReCorrectRegions(&r2, &found.head, 0, 0, 0), RE_OK);
    QCOMPARE(twice, once);
}

void TestRedEye::correctionOfNothing()
{
    const QImage before = face(240, 160, {{100.5, 80.5, 8, kRedPupil}});
    QImage image = before;
    ReImage r = record(&image);
    List empty;
    QCOMPARE(ReCorrectRegions(&r, &empty.head, 0, 0, 0), RE_NOT_FOUND);
    ReRegion outside{};
    outside.link.next = outside.link.previous = &empty.head;
    empty.head.next = empty.head.previous = &outside.link;
    outside.centerX = -100;
    outside.centerY = 50;
    outside.radius = 10;
    QCOMPARE(ReCorrectRegions(&r, &empty.head, 0, 0, 0), RE_NOT_FOUND);
    outside.centerX = std::nanf("");
    QCOMPARE(ReCorrectRegions(&r, &empty.head, 0, 0, 0), RE_NOT_FOUND);
    empty.head.next = empty.head.previous = &empty.head;
    QCOMPARE(image, before);
}

void TestRedEye::listsMergeAndEmpty()
{
    QImage image = face(320, 240, {{100.5, 80.5, 5, kRedPupil}, {160.5, 82.5, 5, kRedPupil}});
    ReImage r = record(&image);
    List a;
    List b;
    QCOMPARE(ReDetectAutoEx(&r, nullptr, nullptr, 0, 0, RE_PASS_STRICT, &a.head), RE_OK);
    QCOMPARE(ReDetectAutoEx(&r, nullptr, nullptr, 0, 0, RE_PASS_STRICT, &b.head), RE_OK);
    const ReListHead* firstOfB = b.head.next;
    ReListMerge(&a.head, &b.head);
    QCOMPARE(a.regions().size(), 4);
    QVERIFY(b.regions().isEmpty());
    QCOMPARE(b.head.next, &b.head);
    QCOMPARE(a.regions().at(2), reinterpret_cast<const ReRegion*>(firstOfB));
    QCOMPARE(a.head.previous->next, &a.head);
    ReListMerge(&a.head, &b.head);
    QCOMPARE(a.regions().size(), 4);
    ReListMerge(&b.head, &a.head);
    QCOMPARE(b.regions().size(), 4);
    ReListEmpty(&b.head);
    QVERIFY(b.regions().isEmpty());
    QCOMPARE(b.head.previous, &b.head);
    // A head never initialised (null links) counts as empty.
    ReListHead blank{nullptr, nullptr};
    ReListEmpty(&blank);
    QCOMPARE(blank.next, &blank);
    ReListEmpty(nullptr);
    ReListMerge(nullptr, &a.head);
}

void TestRedEye::rejectsBadRecords_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<bool>("detectRejects");
    QTest::addColumn<bool>("nearestRejects");
    QTest::addColumn<bool>("correctRejects");

    QTest::newRow("no image") << Fault::NoImage << true << true << true;
    // The record's size on a 32-bit platform: its addresses do not fit there on this one.
    QTest::newRow("32-bit record size 64") << Fault::RecordSize32 << true << true << true;
    QTest::newRow("unknown format") << Fault::Format << true << true << true;
    QTest::newRow("zero width") << Fault::ZeroWidth << true << true << true;
    QTest::newRow("lines shorter than the width") << Fault::ShortLines << true << true << true;
    QTest::newRow("no pixels") << Fault::NoPixels << true << true << true;
    QTest::newRow("options of the wrong size") << Fault::OptionsSize << true << false << false;
    QTest::newRow("hint without rectangles") << Fault::HintWithoutRects << true << false << false;
    QTest::newRow("no list") << Fault::NoList << true << true << true;
    QTest::newRow("negative radius") << Fault::NegativeRadius << false << true << false;
}

void TestRedEye::rejectsBadRecords()
{
    QFETCH(Fault, fault);
    QFETCH(bool, detectRejects);
    QFETCH(bool, nearestRejects);
    QFETCH(bool, correctRejects);

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
    case Fault::ZeroWidth: r.width = 0; break;
    case Fault::ShortLines: r.bytesPerLine = 4 * r.width - 1; break;
    case Fault::NoPixels: r.bits = nullptr; break;
    case Fault::OptionsSize: options.size = 8; break;
    case Fault::HintWithoutRects: hint.rects = nullptr; break;
    case Fault::NoList: list = nullptr; break;
    case Fault::NegativeRadius: radius = -1; break;
    }

    QCOMPARE(ReDetectAutoEx(target, &options, &hint, 0, 0, RE_FLAGS_WHOLE_FIRST, list) == RE_BAD_ARGUMENT,
             detectRejects);
    QCOMPARE(ReDetectNearest(target, 50, 40, radius, 0, 0, RE_FLAGS_NEAREST, list) == RE_BAD_ARGUMENT, nearestRejects);
    QCOMPARE(ReCorrectRegions(target, list, 0, 0, 0) == RE_BAD_ARGUMENT, correctRejects);
    QCOMPARE(found.regions().size(), (detectRejects ? 0 : 1) + (nearestRejects ? 0 : 1));
}

void TestRedEye::traceBelongsToTheCallingThread()
{
    ReTraceClear();
    std::thread other([] {
        ReListHead head{&head, &head};
        ReListEmpty(&head);
    });
    other.join();
    QCOMPARE(ReTraceCount(), 0);
    ReListHead head{&head, &head};
    ReListEmpty(&head);
    QCOMPARE(ReTraceCount(), 1);
    QCOMPARE(ReTraceAt(0)->function, int(ReTraceListEmpty));
    QVERIFY(!ReTraceAt(1));
}

// ---- the effect ------------------------------------------------------------------------------

void TestRedEye::describesItself()
{
    const ZelImageProcessorRedEyeRemoval effect;
    QCOMPARE(effect.effectName(), QStringLiteral("Rote Augen Korrektur"));
    QCOMPARE(effect.property("ToolTip").toString(), QStringLiteral("Rote Augen im Foto finden und entfernen "));
    QCOMPARE(effect.property("IconName").toString(), QStringLiteral("ico_red_eyes"));
    QCOMPARE(ZelEffectRegistry::find(QStringLiteral("RedEyeRemoval")), &ZelImageProcessorRedEyeRemoval::staticMetaObject);
    QVERIFY(effect.parameterContainer().parameterNames().isEmpty());
    QVERIFY(!effect.removed());
}

void TestRedEye::greyPhotoMakesNoLibraryCall_data()
{
    QTest::addColumn<QImage>("photo");

    QImage grey(64, 48, QImage::Format_RGB32);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x)
            grey.setPixel(x, y, qRgb(x * 4, x * 4, x * 4));
    QTest::newRow("32-bit grey") << grey;
    QTest::newRow("8-bit grey") << grey.convertToFormat(QImage::Format_Grayscale8);
    QTest::newRow("indexed grey") << grey.convertToFormat(QImage::Format_Indexed8);
    QTest::newRow("mono") << grey.convertToFormat(QImage::Format_Mono);
    QTest::newRow("null") << QImage();
}

void TestRedEye::greyPhotoMakesNoLibraryCall()
{
    QFETCH(QImage, photo);

    ZelImageProcessorRedEyeRemoval effect(photo);
    effect.setParameters(QRect(1, 1, 1, 1), true);
    QSignalSpy finished(&effect, &ZelImageProcessor::finished);
    ReTraceClear();
    const QImage result = effect.result();
    QCOMPARE(ReTraceCount(), 0);
    QCOMPARE(result, photo);
    QCOMPARE(result.format(), photo.format());
    QVERIFY(!effect.removed());
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.first().first().toBool(), false);
}

void TestRedEye::nullRegionSearchesTheWholePhotoTwice()
{
    const QImage photo = face(400, 300, {{100.5, 80.5, 3, kRedPupil}, {140.5, 82.5, 3, kRedPupil}});
    for (const QRect& region : {QRect(), QRect(50, 60, 0, 0)}) {
        ZelImageProcessorRedEyeRemoval effect(photo);
        effect.setParameters(region, false);
        ReTraceClear();
        const QImage result = effect.result();
        const QVector<ReTraceCall> calls = trace();
        QCOMPARE(functionsOf(calls), (QVector<int>{ReTraceListEmpty, ReTraceDetectAutoEx, ReTraceDetectAutoEx,
                                                   ReTraceListMerge, ReTraceCorrectRegions, ReTraceListEmpty,
                                                   ReTraceListEmpty, ReTraceListEmpty, ReTraceListEmpty}));
        QCOMPARE(calls[1].flags, 0x5000000u);
        QCOMPARE(calls[2].flags, 0x2000000u);
        QCOMPARE(calls[1].hasHint, 0);
        QCOMPARE(calls[2].hasHint, 0);
        QCOMPARE(calls[1].regionCount, 2);
        // Each pass found both; the merged list holds all four, corrected as two.
        QCOMPARE(calls[3].regionCount, 4);
        QCOMPARE(calls[4].status, RE_OK);
        QVERIFY(effect.removed());
        QCOMPARE(result.format(), QImage::Format_RGB32);
        QVERIFY(meanRedness(result, 100.5, 80.5, 3) < 0.6);
    }
}

void TestRedEye::regionChoosesTheSearch_data()
{
    QTest::addColumn<QSize>("photoSize");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<int>("search");
    QTest::addColumn<QPoint>("point"); // on the detection copy

    // 2048 x 1536 fits 1024 x 768 at one half.
    QTest::newRow("1 x 1, large photo") << QSize(2048, 1536) << QRect(1001, 601, 1, 1) << int(ReTraceDetectNearest)
                                        << QPoint(500, 300);
    QTest::newRow("2 x 2, large photo") << QSize(2048, 1536) << QRect(1000, 600, 2, 2) << int(ReTraceDetectNearest)
                                        << QPoint(500, 300);
    QTest::newRow("3 x 3, large photo") << QSize(2048, 1536) << QRect(1000, 600, 3, 3) << int(ReTraceDetectAutoEx)
                                        << QPoint();
    // 512 x 384 is enlarged to 1024 x 768: two pixels stay two.
    QTest::newRow("1 x 1, small photo") << QSize(512, 384) << QRect(101, 51, 1, 1) << int(ReTraceDetectNearest)
                                        << QPoint(202, 102);
    QTest::newRow("2 x 2, small photo") << QSize(512, 384) << QRect(100, 50, 2, 2) << int(ReTraceDetectAutoEx)
                                        << QPoint();
    QTest::newRow("outside the photo") << QSize(512, 384) << QRect(-300, -200, 50, 40) << int(ReTraceDetectAutoEx)
                                       << QPoint();
    QTest::newRow("huge") << QSize(512, 384) << QRect(INT_MIN / 2, INT_MIN / 2, INT_MAX, INT_MAX)
                          << int(ReTraceDetectAutoEx) << QPoint();
}

void TestRedEye::regionChoosesTheSearch()
{
    QFETCH(QSize, photoSize);
    QFETCH(QRect, region);
    QFETCH(int, search);
    QFETCH(QPoint, point);

    QImage photo(photoSize, QImage::Format_RGB32);
    photo.fill(kSkin);
    ZelImageProcessorRedEyeRemoval effect(photo);
    effect.setParameters(region, false);
    ReTraceClear();
    QCOMPARE(effect.result(), photo);
    const QVector<ReTraceCall> calls = trace();
    QVERIFY(!effect.removed());
    if (search == ReTraceDetectNearest) {
        QCOMPARE(functionsOf(calls), (QVector<int>{ReTraceListEmpty, ReTraceDetectNearest, ReTraceListMerge,
                                                   ReTraceListEmpty, ReTraceListEmpty, ReTraceListEmpty,
                                                   ReTraceListEmpty}));
        QCOMPARE(QPoint(calls[1].x, calls[1].y), point);
        QCOMPARE(calls[1].radius, 75);
        QCOMPARE(calls[1].flags, 0x7000000u);
        QCOMPARE(calls[1].status, RE_NOT_FOUND);
        return;
    }
    // The rectangle search counts as successful whatever it finds, so correction is always tried.
    QCOMPARE(functionsOf(calls), (QVector<int>{ReTraceListEmpty, ReTraceListEmpty, ReTraceDetectAutoEx,
                                               ReTraceListMerge, ReTraceCorrectRegions, ReTraceListEmpty,
                                               ReTraceListEmpty, ReTraceListEmpty, ReTraceListEmpty}));
    QCOMPARE(calls[2].flags, 0x5000000u);
    QCOMPARE(calls[2].hasHint, 1);
    // The hint holds the region in photo coordinates.
    QCOMPARE(QVector<int32_t>(calls[2].rect, calls[2].rect + 4),
             (QVector<int32_t>{region.left(), region.top(), region.right(), region.bottom()}));
    QCOMPARE(calls[4].status, RE_NOT_FOUND);
}

void TestRedEye::topEdgeTakesTheQuotientFirst()
{
    // 966 x 966 fits as 768 x 768. For the top edge 161, (768 / 966) * 161 falls just below 128
    // in floating point while 161 * 768 / 966 is 128: the 1 x 1 region becomes two rows high,
    // so the search is the rectangle one, not the nearest-point one.
    QImage photo(966, 966, QImage::Format_RGB32);
    photo.fill(kSkin);
    ZelImageProcessorRedEyeRemoval effect(photo);
    effect.setParameters(QRect(500, 161, 1, 1), false);
    ReTraceClear();
    effect.result();
    QVERIFY(firstCall(trace(), ReTraceDetectAutoEx).has_value());
    QVERIFY(!firstCall(trace(), ReTraceDetectNearest).has_value());

    effect.setParameters(QRect(500, 160, 1, 1), false);
    ReTraceClear();
    effect.result();
    QVERIFY(firstCall(trace(), ReTraceDetectNearest).has_value());
}

void TestRedEye::shapeCode_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("shape");

    QTest::newRow("100 x 130") << QSize(100, 130) << 3; // |100 / 130 - 1| = 0.23
    QTest::newRow("100 x 110") << QSize(100, 110) << 2; // 0.09
    QTest::newRow("130 x 100") << QSize(130, 100) << 3; // 0.3
    QTest::newRow("100 x 100") << QSize(100, 100) << 2;
    // 1.2 - 1 is 0.19999999999999996 in binary floating point: just short of 0.2.
    QTest::newRow("120 x 100") << QSize(120, 100) << 2;
    QTest::newRow("121 x 100") << QSize(121, 100) << 3;
}

void TestRedEye::shapeCode()
{
    QFETCH(QSize, size);
    QFETCH(int, shape);

    QImage photo(400, 300, QImage::Format_RGB32);
    photo.fill(kSkin);
    ZelImageProcessorRedEyeRemoval effect(photo);
    effect.setParameters(QRect(QPoint(10, 20), size), false);
    ReTraceClear();
    effect.result();
    const std::optional<ReTraceCall> detection = firstCall(trace(), ReTraceDetectAutoEx);
    QVERIFY(detection.has_value());
    QCOMPARE(detection->shape, shape);
}

void TestRedEye::detectionCopyFitsInto1024x768_data()
{
    QTest::addColumn<QSize>("photoSize");
    QTest::addColumn<QSize>("detectionSize");

    QTest::newRow("2048 x 2048") << QSize(2048, 2048) << QSize(768, 768);
    QTest::newRow("4000 x 1000") << QSize(4000, 1000) << QSize(1024, 256);
    QTest::newRow("600 x 400, enlarged") << QSize(600, 400) << QSize(1024, 682);
    QTest::newRow("1 x 1") << QSize(1, 1) << QSize(768, 768);
}

void TestRedEye::detectionCopyFitsInto1024x768()
{
    QFETCH(QSize, photoSize);
    QFETCH(QSize, detectionSize);

    QImage photo(photoSize, QImage::Format_ARGB32);
    photo.fill(qRgba(10, 200, 30, 128));
    ZelImageProcessorRedEyeRemoval effect(photo);
    ReTraceClear();
    const QImage result = effect.result();
    QCOMPARE(result.format(), QImage::Format_RGB32);
    QCOMPARE(result, photo.convertToFormat(QImage::Format_RGB32));
    const std::optional<ReTraceCall> detection = firstCall(trace(), ReTraceDetectAutoEx);
    QVERIFY(detection.has_value());
    QCOMPARE(QSize(detection->imageWidth, detection->imageHeight), detectionSize);
    QCOMPARE(QSize(detection->fullWidth, detection->fullHeight), photoSize);
}

void TestRedEye::correctsOnlyAfterASuccessfulDetection()
{
    // Whole photo and point: ReCorrectRegions only when a detection reported success.
    QImage plain(400, 300, QImage::Format_RGB32);
    plain.fill(kSkin);
    const QImage eyes = face(400, 300, {{100.5, 80.5, 3, kRedPupil}});
    const QRect click(100, 80, 1, 1); // 400 x 300 doubles to 800 x 600: a point stays a point
    struct Case
    {
        QImage photo;
        QRect region;
        bool corrects;
    };
    for (const Case& c : {Case{plain, QRect(), false}, Case{eyes, QRect(), true}, Case{plain, click, false},
                          Case{eyes, click, true}}) {
        ZelImageProcessorRedEyeRemoval effect(c.photo);
        effect.setParameters(c.region, false);
        ReTraceClear();
        const QImage result = effect.result();
        QCOMPARE(firstCall(trace(), ReTraceCorrectRegions).has_value(), c.corrects);
        QCOMPARE(effect.removed(), c.corrects);
        QCOMPARE(result == c.photo, !c.corrects);
    }
}

void TestRedEye::previewsSearchTheWholePreview()
{
    const QImage photo = face(800, 600, {{200.5, 160.5, 8, kRedPupil}, {300.5, 164.5, 8, kRedPupil}});
    ZelImageProcessorRedEyeRemoval effect(photo);
    // A point far from the eyes: the previews search their whole image regardless.
    effect.setParameters(QRect(700, 500, 1, 1), false);

    ReTraceClear();
    const QImage preview = effect.generatePreview(QSize(400, 400));
    QCOMPARE(preview.size(), QSize(400, 300));
    const std::optional<ReTraceCall> search = firstCall(trace(), ReTraceDetectAutoEx);
    QVERIFY(search.has_value());
    QCOMPARE(search->hasHint, 1);
    QCOMPARE(QVector<int32_t>(search->rect, search->rect + 4), (QVector<int32_t>{0, 0, 399, 299}));
    QCOMPARE(search->shape, 3);
    QVERIFY(meanRedness(preview, 100.25, 80.25, 4) < 0.6);

    ReTraceClear();
    const QImage section = effect.generatePreview(QRect(150, 100, 120, 120));
    const std::optional<ReTraceCall> sectionSearch = firstCall(trace(), ReTraceDetectAutoEx);
    QVERIFY(sectionSearch.has_value());
    QCOMPARE(QVector<int32_t>(sectionSearch->rect, sectionSearch->rect + 4), (QVector<int32_t>{0, 0, 119, 119}));
    QCOMPARE(sectionSearch->shape, 2);
    QVERIFY(meanRedness(section, 50.5, 60.5, 8) < 0.6);

    // The effect's own region is untouched: its result searches near the point.
    ReTraceClear();
    effect.result();
    QVERIFY(firstCall(trace(), ReTraceDetectNearest).has_value());
}

void TestRedEye::progressTitleIsTheFlipsAndGreyPhotosStayConnected()
{
    QImage grey(16, 16, QImage::Format_RGB32);
    grey.fill(qRgb(90, 90, 90));
    RedEyeProbe effect(grey);
    QSignalSpy progress(&effect, &ZelImageProcessor::progress);

    effect.result();
    // Deliberately still connected after the early return for a grey photo.
    effect.signalizer()->setProgress(3, 10);
    QCOMPARE(progress.size(), 1);
    QCOMPARE(progress.first(), (QVariantList{QStringLiteral("Horizontal spiegeln"), QString(), 3, 10}));

    effect.setSourceImage(face(64, 48, {}));
    effect.result();
    effect.signalizer()->setProgress(4, 10);
    QCOMPARE(progress.size(), 1);
}

void TestRedEye::badInput_data()
{
    QTest::addColumn<QImage>("photo");
    QTest::addColumn<QRect>("region");
    QTest::addColumn<bool>("searches");

    QImage wide(3000, 1, QImage::Format_RGB32);
    wide.fill(kRedPupil);
    QTest::newRow("3000 x 1: a detection copy of 1024 x 1") << wide << QRect() << true;
    QImage one(1, 1, QImage::Format_RGB32);
    one.fill(kRedPupil);
    QTest::newRow("1 x 1 red") << one << QRect() << true;
    QTest::newRow("1 x 1 red, point") << one << QRect(0, 0, 1, 1) << true;
    QImage indexed = face(40, 30, {}).convertToFormat(QImage::Format_Indexed8);
    QTest::newRow("indexed colours") << indexed << QRect() << true;
    QImage rgb888 = face(40, 30, {}).convertToFormat(QImage::Format_RGB888);
    QTest::newRow("24-bit") << rgb888 << QRect(INT_MAX - 5, INT_MAX - 5, 5, 5) << true;
    QTest::newRow("negative region") << rgb888 << QRect(-2000000000, -2000000000, 3, 2000000000) << true;
}

void TestRedEye::badInput()
{
    QFETCH(QImage, photo);
    QFETCH(QRect, region);
    QFETCH(bool, searches);

    ZelImageProcessorRedEyeRemoval effect(photo);
    effect.setParameters(region, false);
    ReTraceClear();
    const QImage result = effect.result();
    QCOMPARE(ReTraceCount() > 0, searches);
    QCOMPARE(result.size(), photo.size());
    QCOMPARE(result.format(), QImage::Format_RGB32);
    QVERIFY(!effect.removed());
}

void TestRedEye::photoTooLargeToCopy()
{
    // One row of 600 million pixels at one bit (75 MB, never touched) in two colours: a 32-bit
    // row that long is more than a QImage can hold.
    QImage photo(600000000, 1, QImage::Format_Mono);
    if (photo.isNull())
        QSKIP("no memory for the one-bit photo");
    photo.setColorTable({qRgb(200, 30, 35), qRgb(20, 40, 200)});
    ZelImageProcessorRedEyeRemoval effect(photo);
    ReTraceClear();
    QTest::ignoreMessage(QtWarningMsg, "QImage: out of memory, returning null image");
    const QImage result = effect.result();
    QCOMPARE(ReTraceCount(), 0);
    QVERIFY(result.constBits() == photo.constBits());
    QVERIFY(!effect.removed());
}

// ---- the sample photos -----------------------------------------------------------------------

namespace {

// Both pupils corrected, nothing changed farther than two radii from either.
void verifyPortraitCorrected(const QImage& before, const QImage& after)
{
    for (const Eye& pupil : kPortraitPupils) {
        QVERIFY(meanRedness(before, pupil.x, pupil.y, pupil.radius) > 2.0);
        const double corrected = meanRedness(after, pupil.x, pupil.y, pupil.radius);
        QVERIFY2(corrected < 0.6, qPrintable(QString::number(corrected)));
    }
    QCOMPARE(changesAwayFrom(before, after, kPortraitPupils), 0);
}

} // namespace

void TestRedEye::portraitWholePhoto()
{
    ZelImageProcessorRedEyeRemoval effect(myPortrait);
    verifyPortraitCorrected(myPortrait, effect.result());
    QVERIFY(effect.removed());
}

void TestRedEye::portraitClick_data()
{
    QTest::addColumn<QPoint>("click");

    for (const Eye& pupil : kPortraitPupils) {
        for (int angle = 0; angle < 360; angle += 45) {
            for (int distance : {0, 10, 20}) {
                const QPoint click(int(std::lround(pupil.x + distance * std::cos(angle * kPi / 180))),
                                   int(std::lround(pupil.y + distance * std::sin(angle * kPi / 180))));
                if (distance == 0 && angle > 0)
                    continue;
                QTest::addRow("%d,%d", click.x(), click.y()) << click;
            }
        }
    }
}

void TestRedEye::portraitClick()
{
    QFETCH(QPoint, click);

    ZelImageProcessorRedEyeRemoval effect(myPortrait);
    effect.setParameters(QRect(click, QSize(1, 1)), false);
    ReTraceClear();
    verifyPortraitCorrected(myPortrait, effect.result());
    QVERIFY(firstCall(trace(), ReTraceDetectNearest).has_value());
    QVERIFY(effect.removed());
}

void TestRedEye::portraitRectangle()
{
    ZelImageProcessorRedEyeRemoval effect(myPortrait);
    effect.setParameters(QRect(740, 340, 330, 130), false);
    ReTraceClear();
    verifyPortraitCorrected(myPortrait, effect.result());
    QCOMPARE(firstCall(trace(), ReTraceDetectAutoEx).value_or(ReTraceCall{}).hasHint, 1);
    QVERIFY(effect.removed());
}

void TestRedEye::photosWithoutRedEyesStayUnchanged_data()
{
    QTest::addColumn<QString>("file");
    for (const char* file : {"coffee.png", "chelsea.png", "rocket.jpg", "astronaut.png"})
        QTest::newRow(file) << QString::fromLatin1(file);
}

void TestRedEye::photosWithoutRedEyesStayUnchanged()
{
    QFETCH(QString, file);

    QImage photo;
    QVERIFY(photo.load(kSamples + file));
    ZelImageProcessorRedEyeRemoval effect(photo);
    QCOMPARE(effect.result(), photo.convertToFormat(QImage::Format_RGB32));
    QVERIFY(!effect.removed());
}

void TestRedEye::portraitIsFast()
{
#if !defined(NDEBUG) || defined(__SANITIZE_ADDRESS__)
    QSKIP("timed in optimised builds without sanitizers only");
#endif
    ZelImageProcessorRedEyeRemoval effect(myPortrait);
    qint64 best = LLONG_MAX;
    for (int run = 0; run < 3; ++run) {
        QElapsedTimer timer;
        timer.start();
        effect.result();
        best = std::min(best, timer.elapsed());
    }
    qInfo("red-eye removal on the 2048 x 2048 portrait: %lld ms", best);
    QVERIFY2(best <= 150, qPrintable(QString::number(best)));
}

QTEST_MAIN(TestRedEye)
#include "tst_redeye.moc"
