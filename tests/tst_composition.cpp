// Composition effects: the film-strip grid, the photo collage, composers and photos-in-photo.

#include "ZelEffectRegistry.h"
#include "ZelImageProcessorComposer.h"
#include "ZelImageProcessorDropShadow.h"
#include "ZelImageProcessorExampleComposer.h"
#include "ZelImageProcessorExampleGauss.h"
#include "ZelImageProcessorExampleGrayscale.h"
#include "ZelImageProcessorFotoCollage.h"
#include "ZelImageProcessorImageGrid.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelImageProcessorPhotosInPhoto.h"
#include "ZelParameterDescriptionNumber_p.h"

#include <QPainter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

class ZelImageProcessorChainProbe;

Q_DECLARE_METATYPE(QImage::Format)

// A step of a chain that marks the first black pixel of row 0 with its colour, so that a chain's
// result shows which steps ran and in which order, each on the previous one's result. It reports
// one progress signal and then returns its source unchanged if it was cancelled.
class ZelImageProcessorChainProbeImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorChainProbeImpl(const QImage& image)
        : ZelImageProcessorImpl(image, QString())
    {
    }

    QRgb mark = 0;

public slots:
    QImage result() override
    {
        emit progress(QStringLiteral("Probe"), QString::number(mark, 16), 1, 1);
        if (resetCancel())
            return sourceImage();
        QImage image = sourceImage().convertToFormat(QImage::Format_ARGB32);
        QRgb* row = reinterpret_cast<QRgb*>(image.scanLine(0));
        for (int x = 0; x < image.width(); ++x) {
            if (row[x] == 0xFF000000u) {
                row[x] = mark;
                break;
            }
        }
        emit finished(false);
        return image;
    }
    QImage generatePreview(const QSize&) override { return QImage(); }
    QImage generatePreview(const QRect&) override { return QImage(); }
};

class ZelImageProcessorChainProbe : public ZelImageProcessor
{
    Q_OBJECT
public:
    explicit ZelImageProcessorChainProbe(QRgb mark)
    {
        installImplementation(new ZelImageProcessorChainProbeImpl(QImage()));
        static_cast<ZelImageProcessorChainProbeImpl*>(myImpl)->mark = mark;
    }

public slots:
    QImage result() override { return myImpl->result(); }
    QImage generatePreview(const QSize& size) override { return myImpl->generatePreview(size); }
    QImage generatePreview(const QRect& rect) override { return myImpl->generatePreview(rect); }
};

namespace {

using Images = QList<QImage>;

QImage solid(int width, int height, QRgb colour, QImage::Format format = QImage::Format_ARGB32)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image.convertToFormat(format);
}

QRgb rawPixel(const QImage& image, int x, int y)
{
    return reinterpret_cast<const QRgb*>(image.constScanLine(y))[x];
}

// Noise from a generator of its own, leaving qrand() alone; translucent images mix alphas 255,
// 0, 128 and random ones.
QImage noiseImage(int width, int height, bool translucent, quint32 seed)
{
    QImage image(width, height, QImage::Format_ARGB32);
    quint32 state = seed;
    const auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return state >> 8;
    };
    for (int y = 0; y < height; ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const quint32 alphas[] = {255, 0, 128, next() & 0xFF};
            line[x] = (next() & 0xFFFFFF) | (translucent ? alphas[next() % 4] : 255u) << 24;
        }
    }
    return image;
}

// The runs of fully transparent pixels along a row or a column.
int transparentRuns(const QImage& image, int fixed, bool alongRow)
{
    const int length = alongRow ? image.width() : image.height();
    int runs = 0;
    bool inRun = false;
    for (int i = 0; i < length; ++i) {
        const QRgb pixel = alongRow ? rawPixel(image, i, fixed) : rawPixel(image, fixed, i);
        const bool clear = qAlpha(pixel) == 0;
        if (clear && !inRun)
            ++runs;
        inRun = clear;
    }
    return runs;
}

int countPixels(const QImage& image, QRgb value, const QRect& area)
{
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            count += rawPixel(image, x, y) == value;
    return count;
}

bool hasTransparentPixel(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(rawPixel(image, x, y)) == 0)
                return true;
    return false;
}

bool closeColour(QRgb a, QRgb b, int tolerance = 2)
{
    return qAbs(qRed(a) - qRed(b)) <= tolerance && qAbs(qGreen(a) - qGreen(b)) <= tolerance
        && qAbs(qBlue(a) - qBlue(b)) <= tolerance;
}

std::unique_ptr<ZelImageProcessor> makeEffect(const QString& name, const QImage& image = QImage())
{
    return std::unique_ptr<ZelImageProcessor>(ZelEffectRegistry::create(ZelEffectRegistry::find(name), image));
}

// A grid of images without strip: no gaps, margins or holes.
std::unique_ptr<ZelImageProcessorImageGrid> plainGrid(const Images& images)
{
    auto grid = std::make_unique<ZelImageProcessorImageGrid>(images);
    grid->setPaintFilmStrip(false);
    return grid;
}

// The collage with every colour white, so that only the photos show.
void whiteCollage(ZelImageProcessorFotoCollage& collage, int columns, int rows, int outline, int shadow, int angle)
{
    collage.setParameters(columns, rows, outline, shadow, angle, Qt::white, Qt::white, Qt::white);
}

struct ProgressLog
{
    QList<int> current;
    QList<int> total;
};

} // namespace

class TestComposition : public QObject
{
    Q_OBJECT

private slots:
    void shadowPlacement_data();
    void shadowPlacement();
    void shadowHiddenBehindThePhoto();
    void shadowBlurMargin_data();
    void shadowBlurMargin();
    void shadowTransparentBackground_data();
    void shadowTransparentBackground();
    void shadowColouredFromTranslucentParts();
    void shadowColouredBlursTheBackground();
    void shadowImageAlone();
    void shadowOpaqueSourcesOfAnyFormat_data();
    void shadowOpaqueSourcesOfAnyFormat();
    void shadowPreview();
    void shadowGuards_data();
    void shadowGuards();
    void shadowAvoidRegion();

    void registeredEffects_data();
    void registeredEffects();
    void parameters_data();
    void parameters();

    void gridSize_data();
    void gridSize();
    void gridRepeatsPhotos();
    void gridWithoutStrip();
    void gridHoles_data();
    void gridHoles();
    void gridSelectionFrame_data();
    void gridSelectionFrame();
    void gridIndexAtPoint_data();
    void gridIndexAtPoint();
    void gridCopiesLikeQPainter();
    void gridGuards_data();
    void gridGuards();
    void gridEmptyListAndSignals();
    void gridPreviewUsesDefaults();

    void collageSize_data();
    void collageSize();
    void collageStraightTiles();
    void collageLayout_data();
    void collageLayout();
    void collageMultiPhotoTilt();
    void collageBackground_data();
    void collageBackground();
    void collageCancel_data();
    void collageCancel();
    void collageGuards_data();
    void collageGuards();
    void collagePreviewSwapsRowsAndColumns();

    void chainOrder();
    void emptyChain();
    void chainCancel();
    void chainCancelWhileRunning();
    void chainSkipsDeletedAndItself();
    void exampleComposer();
    void composerPreview();

    void photosInPhotoBlocks();
    void photosInPhotoThumbnailArea_data();
    void photosInPhotoThumbnailArea();
    void photosInPhotoUnloadableFile();
    void photosInPhotoUnchanged_data();
    void photosInPhotoUnchanged();
    void photosInPhotoCancel();

private:
    QString writeImage(const QString& name, const QImage& image)
    {
        const QString path = myDir.filePath(name);
        return image.save(path) ? path : QString();
    }

    QTemporaryDir myDir;
};

// --- drop shadow ---------------------------------------------------------------------------

namespace {

// A hard black shadow: full intensity, no blur.
std::unique_ptr<ZelImageProcessorDropShadow> hardShadow(const QImage& photo, int distance, int angle)
{
    auto shadow = std::make_unique<ZelImageProcessorDropShadow>(photo);
    shadow->setDistance(distance);
    shadow->setAngle(angle);
    shadow->setBlur(0);
    shadow->setIntensity(255);
    return shadow;
}

} // namespace

void TestComposition::shadowPlacement_data()
{
    QTest::addColumn<int>("angle");
    QTest::addColumn<QSize>("canvas");
    QTest::addColumn<QRect>("photo");
    QTest::addColumn<QRect>("shadow"); // where it shows beside the photo

    // A 20 x 10 photo, the shadow's centre trunc(20 * 50 / 100) = 10 pixels away: x from the
    // sine, y from the cosine (deliberate), so 0 is below and 90 to the right.
    QTest::newRow("0: below") << 0 << QSize(20, 20) << QRect(0, 0, 20, 10) << QRect(0, 10, 20, 10);
    QTest::newRow("90: right") << 90 << QSize(30, 10) << QRect(0, 0, 20, 10) << QRect(20, 0, 10, 10);
    QTest::newRow("180: above") << 180 << QSize(20, 20) << QRect(0, 10, 20, 10) << QRect(0, 0, 20, 10);
    QTest::newRow("270: left") << 270 << QSize(30, 10) << QRect(10, 0, 20, 10) << QRect(0, 0, 10, 10);
}

void TestComposition::shadowPlacement()
{
    QFETCH(int, angle);
    QFETCH(QSize, canvas);
    QFETCH(QRect, photo);
    QFETCH(QRect, shadow);

    const auto effect = hardShadow(solid(20, 10, 0xFFFF0000), 50, angle);
    QSignalSpy progress(effect.get(), &ZelImageProcessor::progress);
    QSignalSpy finished(effect.get(), &ZelImageProcessor::finished);
    const QImage result = effect->result();
    QCOMPARE(result.size(), canvas);
    QCOMPARE(result.format(), QImage::Format_ARGB32);
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x) {
            const QRgb expected = photo.contains(x, y) ? 0xFFFF0000u : shadow.contains(x, y) ? 0xFF000000u : 0u;
            QCOMPARE(rawPixel(result, x, y), expected);
        }
    }
    // Blur 0: no convolution, so no progress at all.
    QCOMPARE(progress.count(), 0);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
}

void TestComposition::shadowHiddenBehindThePhoto()
{
    // Size 50: a 20 x 10 shadow centred 4 pixels below the middle of a 40 x 20 photo lies
    // entirely behind it.
    const QImage photo = noiseImage(40, 20, false, 7);
    const auto effect = hardShadow(photo, 10, 0);
    effect->setSize(50);
    QCOMPARE(effect->result(), photo);
    QCOMPARE(effect->totalScale(), QSizeF(0.5, 0.5));
}

void TestComposition::shadowBlurMargin_data()
{
    QTest::addColumn<int>("blur");
    QTest::addColumn<QSize>("canvas");
    QTest::addColumn<QSizeF>("totalScale");
    QTest::addColumn<bool>("convolved");

    // Distance 0, Size 100 on 100 x 100: the canvas grows by blurOffset = blur / 100 * 100 * 0.25 * 6
    // on the right and bottom of the shadow, which is then centred under the photo.
    QTest::newRow("no blur") << 0 << QSize(100, 100) << QSizeF(1.0, 1.0) << false;
    QTest::newRow("blur 4: 6 more") << 4 << QSize(106, 106) << QSizeF(1.06, 1.06) << true;
    QTest::newRow("blur 8: 12 more") << 8 << QSize(112, 112) << QSizeF(1.12, 1.12) << true;
}

void TestComposition::shadowBlurMargin()
{
    QFETCH(int, blur);
    QFETCH(QSize, canvas);
    QFETCH(QSizeF, totalScale);
    QFETCH(bool, convolved);

    const QImage photo = noiseImage(100, 100, false, 8);
    ZelImageProcessorDropShadow effect(photo);
    effect.setDistance(0);
    effect.setBlur(blur);
    QStringList titles;
    connect(&effect, &ZelImageProcessor::progress, this,
            [&titles](const QString& title, const QString&, int, int) { titles << title; });
    const QImage result = effect.result();
    QCOMPARE(result.size(), canvas);
    QVERIFY(qAbs(effect.totalScale().width() - totalScale.width()) < 1e-9);
    QVERIFY(qAbs(effect.totalScale().height() - totalScale.height()) < 1e-9);
    const int margin = (canvas.width() - 100) / 2;
    QCOMPARE(result.copy(margin, margin, 100, 100), photo);
    // The blur runs the convolution effect, whose progress is relayed.
    QCOMPARE(!titles.isEmpty(), convolved);
    QCOMPARE(titles.count(QStringLiteral("Faltung")), titles.size());
}

void TestComposition::shadowTransparentBackground_data()
{
    QTest::addColumn<bool>("greyOnly");
    QTest::newRow("grey") << true;
    QTest::newRow("coloured, whole canvas blurred") << false;
}

void TestComposition::shadowTransparentBackground()
{
    QFETCH(bool, greyOnly);

    // 100 x 100, Blur 8, Distance 0: 6 pixels of margin around the photo, three times the
    // support of the Gaussian: the corners stay fully transparent, the shadow shows below and
    // right of the middle of each edge.
    ZelImageProcessorDropShadow effect(noiseImage(100, 100, false, 9));
    effect.setDistance(0);
    effect.setBlur(8);
    effect.setGreyOnly(greyOnly);
    const QImage result = effect.result();
    QCOMPARE(result.size(), QSize(112, 112));
    for (const QPoint corner : {QPoint(0, 0), QPoint(111, 0), QPoint(0, 111), QPoint(111, 111), QPoint(1, 1)})
        QCOMPARE(rawPixel(result, corner.x(), corner.y()), 0u);
    QVERIFY(qAlpha(rawPixel(result, 56, 106)) > 0);
    QVERIFY(qAlpha(rawPixel(result, 106, 56)) > 0);
    QCOMPARE(qRed(rawPixel(result, 56, 106)) | qGreen(rawPixel(result, 56, 106)), 0);
}

void TestComposition::shadowColouredFromTranslucentParts()
{
    // Left half opaque blue, right half red at alpha 128. Grey only: the shadow below is black
    // with the photo's alpha. Otherwise the opaque half casts black and the translucent half
    // its own colour (intended asymmetry).
    QImage photo(20, 10, QImage::Format_ARGB32);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x)
            reinterpret_cast<QRgb*>(photo.scanLine(y))[x] = x < 10 ? 0xFF0000FFu : 0x80FF0000u;
    for (const bool greyOnly : {true, false}) {
        const auto effect = hardShadow(photo, 50, 0);
        effect->setGreyOnly(greyOnly);
        const QImage result = effect->result();
        QCOMPARE(result.size(), QSize(20, 20));
        QCOMPARE(rawPixel(result, 5, 15), 0xFF000000u);
        QCOMPARE(rawPixel(result, 15, 15), greyOnly ? 0x80000000u : 0x80FF0000u);
        QCOMPARE(rawPixel(result, 5, 5), 0xFF0000FFu);
    }
}

void TestComposition::shadowColouredBlursTheBackground()
{
    // Grey only, the background far from the shadow keeps its colour exactly. In colour the
    // blur runs over the whole canvas, background included (deliberate), and the Gaussian's
    // truncated weights leave even a uniform background a little darker and translucent.
    const QRgb background = 0xFF00C800;
    for (const bool greyOnly : {true, false}) {
        ZelImageProcessorDropShadow effect(solid(100, 100, 0xFFC81E1E));
        effect.setDistance(0);
        effect.setBlur(8);
        effect.setBackgroundColor(QColor::fromRgba(background));
        effect.setGreyOnly(greyOnly);
        const QImage result = effect.result();
        const QRgb corner = rawPixel(result, 0, 0);
        QCOMPARE(corner == background, greyOnly);
        QVERIFY(qAlpha(corner) >= 250 && qGreen(corner) >= 190);
        QCOMPARE(rawPixel(result, 56, 56), 0xFFC81E1Eu);
    }
}

void TestComposition::shadowImageAlone()
{
    // Intensity 128 on an opaque photo: trunc(255 - 255 * 128 / 255) = 127 in the mask, 128 alpha.
    ZelImageProcessorDropShadow effect(noiseImage(100, 100, false, 10));
    effect.setBlur(0);
    QImage shadow = effect.shadowImage();
    QCOMPARE(shadow.size(), QSize(100, 100));
    QCOMPARE(countPixels(shadow, 0x80000000u, shadow.rect()), 100 * 100);

    // With the blur, blurOffset 12 more, the mask placed at (6, 6): transparent corners, the
    // middle at the full 128.
    effect.setBlur(8);
    shadow = effect.shadowImage();
    QCOMPARE(shadow.size(), QSize(112, 112));
    QCOMPARE(rawPixel(shadow, 0, 0), 0x00000000u);
    QCOMPARE(rawPixel(shadow, 56, 56), 0x80000000u);

    effect.setGreyOnly(false);
    QVERIFY(effect.shadowImage().isNull());
}

void TestComposition::shadowOpaqueSourcesOfAnyFormat_data()
{
    QTest::addColumn<QImage>("photo");
    QTest::newRow("ARGB32") << noiseImage(13, 7, false, 11);
    QTest::newRow("RGB32") << noiseImage(13, 7, false, 12).convertToFormat(QImage::Format_RGB32);
    QTest::newRow("RGB888") << noiseImage(13, 7, false, 13).convertToFormat(QImage::Format_RGB888);
    QTest::newRow("Indexed8") << noiseImage(13, 7, false, 14).convertToFormat(QImage::Format_Indexed8);
    QTest::newRow("Mono") << noiseImage(13, 7, false, 15).convertToFormat(QImage::Format_Mono);
    QTest::newRow("premultiplied") << noiseImage(13, 7, false, 16).convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

void TestComposition::shadowOpaqueSourcesOfAnyFormat()
{
    QFETCH(QImage, photo);
    // The shadow lies right under the photo, which covers it: the photo comes back as 32-bit.
    const auto effect = hardShadow(photo, 0, 0);
    QCOMPARE(effect->result(), photo.convertToFormat(QImage::Format_ARGB32));
}

void TestComposition::shadowPreview()
{
    // The preview runs on the scaled source with this effect's values: a 50 x 50 photo with a
    // shadow trunc(50 * 50 / 100) = 25 below.
    const auto effect = hardShadow(solid(100, 100, 0xFFFF0000), 50, 0);
    QCOMPARE(effect->result().size(), QSize(100, 150));
    const QImage preview = effect->generatePreview(QSize(50, 50));
    QCOMPARE(preview.size(), QSize(50, 75));
    QCOMPARE(rawPixel(preview, 25, 70), 0xFF000000u);
    QCOMPARE(effect->generatePreview(QRect(0, 0, 20, 10)).size(), QSize(20, 20));
}

void TestComposition::shadowGuards_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("nullResult");

    QTest::newRow("negative size") << "Size" << QVariant(-50) << true;
    QTest::newRow("size 0") << "Size" << QVariant(0) << false;
    QTest::newRow("negative blur") << "Blur" << QVariant(-3) << true;
    QTest::newRow("blur far beyond 8") << "Blur" << QVariant(1e12) << true;
    QTest::newRow("blur 100") << "Blur" << QVariant(100) << false;
    QTest::newRow("distance beyond any canvas") << "Distance" << QVariant(2000000000) << true;
    QTest::newRow("negative distance") << "Distance" << QVariant(-100) << false;
    QTest::newRow("angle not a number") << "Angle" << QVariant(std::nan("")) << true;
    QTest::newRow("angle of many turns") << "Angle" << QVariant(1e300) << false;
    QTest::newRow("intensity beyond 255") << "Intensity" << QVariant(100000) << false;
    QTest::newRow("negative intensity") << "Intensity" << QVariant(-255) << false;
    QTest::newRow("size beyond any canvas") << "Size" << QVariant(1e12) << true;
}

void TestComposition::shadowGuards()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(bool, nullResult);

    for (const bool greyOnly : {true, false}) {
        ZelImageProcessorDropShadow effect(noiseImage(30, 20, true, 17));
        effect.setGreyOnly(greyOnly);
        ZelUIParameterMap values;
        values.insert(key, qMakePair(value, true));
        effect.setParameters(values);
        QSignalSpy finished(&effect, &ZelImageProcessor::finished);
        QCOMPARE(effect.result().isNull(), nullResult);
        QCOMPARE(finished.count(), 1);
        effect.shadowImage();
    }
    ZelImageProcessorDropShadow withoutSource;
    QVERIFY(withoutSource.result().isNull());
    QVERIFY(withoutSource.shadowImage().isNull());
    QVERIFY(!withoutSource.totalScale().isValid());
}

void TestComposition::shadowAvoidRegion()
{
    // Scaled by 2 to (20, 40, 60, 80), inset by trunc(3.7) = 3 on every side.
    const QPainterPath region = ZelImageProcessorDropShadow::createAvoidRegion(QRect(10, 20, 30, 40), 2.0, 3.7);
    QCOMPARE(region.boundingRect(), QRectF(23, 43, 54, 74));
    QVERIFY(ZelImageProcessorDropShadow::createAvoidRegion(QRect(), 2.0, 1.0).isEmpty());
}

// --- metadata ------------------------------------------------------------------------------

void TestComposition::registeredEffects_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("toolTip");
    QTest::addColumn<QVariant>("iconName");

    QTest::newRow("DropShadow") << "DropShadow" << "Schatten" << QVariant(QStringLiteral("Dieser Effekt erzeugt einen Schatten"))
                                << QVariant(QStringLiteral("ico_dropshadow"));
    QTest::newRow("ImageGrid") << "ImageGrid" << "Filmstreifen"
                               << QVariant(QStringLiteral("Dieser Effekt reiht mehrere Fotos aneinander ")) << QVariant();
    QTest::newRow("FotoCollage") << "FotoCollage" << "Collage" << QVariant(QStringLiteral("Fotocollage"))
                                 << QVariant(QStringLiteral("ico_collage"));
    QTest::newRow("Composer") << "Composer" << QString() << QVariant() << QVariant();
    QTest::newRow("ExampleComposer") << "ExampleComposer" << QString() << QVariant() << QVariant();
    QTest::newRow("PhotosInPhoto") << "PhotosInPhoto" << QString() << QVariant() << QVariant();
}

void TestComposition::registeredEffects()
{
    QFETCH(QString, effect);
    QFETCH(QString, name);
    QFETCH(QVariant, toolTip);
    QFETCH(QVariant, iconName);
    for (const QImage& image : {QImage(), solid(4, 3, 0xFF102030)}) {
        const auto processor = makeEffect(effect, image);
        QVERIFY(processor);
        QCOMPARE(processor->effectName(), name);
        QCOMPARE(processor->property("ToolTip"), toolTip);
        QCOMPARE(processor->property("IconName"), iconName);
    }
}

void TestComposition::parameters_data()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("visibleName");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("defaultValue");
    QTest::addColumn<QVariantList>("range"); // min, max[, user-visible min, max]
    QTest::addColumn<QPoint>("place");
    QTest::addColumn<bool>("shown");

    const QVariantList none;
    QTest::newRow("Distance") << "DropShadow" << "Distance" << "Abstand" << QVariant(5) << QVariant(5)
                              << QVariantList{0, 100} << QPoint(0, 0) << true;
    QTest::newRow("Angle") << "DropShadow" << "Angle" << "Winkel" << QVariant(0) << QVariant(0) << QVariantList{0, 360}
                           << QPoint(1, 0) << true;
    QTest::newRow("Intensity") << "DropShadow" << "Intensity" << "Intensität" << QVariant(128) << QVariant(128)
                               << QVariantList{0, 255, 0, 100} << QPoint(2, 0) << true;
    QTest::newRow("Blur") << "DropShadow" << "Blur" << "Unschärfe" << QVariant(5) << QVariant(5) << QVariantList{0, 8}
                          << QPoint(3, 0) << true;
    QTest::newRow("Size") << "DropShadow" << "Size" << "Größe" << QVariant(100) << QVariant(100)
                          << QVariantList{50, 200} << QPoint(4, 0) << true;
    QTest::newRow("AbBackgroundColor") << "DropShadow" << "AbBackgroundColor" << "Hintergrundfarbe"
                                       << QVariant(QColor(Qt::transparent)) << QVariant(QColor(Qt::transparent)) << none
                                       << QPoint(5, 0) << true;
    QTest::newRow("AaGreyOnly") << "DropShadow" << "AaGreyOnly" << "Nur graue Schatten" << QVariant(true)
                                << QVariant(true) << none << QPoint(6, 0) << true;
    QTest::newRow("GridDistance") << "ImageGrid" << "GridDistance" << "Gitterabstand" << QVariant(0.1) << QVariant(0.1)
                                  << QVariantList{0.0, 1.0, 0, 100} << QPoint(0, 0) << true;
    QTest::newRow("BackgroundColor") << "ImageGrid" << "BackgroundColor" << "Hintergrundfarbe"
                                     << QVariant(QColor(Qt::black)) << QVariant(QColor(Qt::black)) << none
                                     << QPoint(1, 0) << true;
    QTest::newRow("RoundnessHole") << "ImageGrid" << "RoundnessHole" << "Abrundung der Löcher " << QVariant(25)
                                   << QVariant(25) << QVariantList{0, 100} << QPoint(0, 1) << true;
    QTest::newRow("HoleToDistanceRatio") << "ImageGrid" << "HoleToDistanceRatio" << "Loch/Streifen Verhältnis "
                                         << QVariant(0.44) << QVariant(0.44) << QVariantList{0.0, 1.0, 0, 100}
                                         << QPoint(1, 1) << true;
    QTest::newRow("HoleHeight") << "ImageGrid" << "HoleHeight" << "Höhe der Löcher" << QVariant(0.56) << QVariant(0.56)
                                << QVariantList{0.0, 1.0, 0, 100} << QPoint(0, 2) << true;
    QTest::newRow("NumberOfHoles") << "ImageGrid" << "NumberOfHoles" << "Lochzahl pro Frame" << QVariant(7)
                                   << QVariant(7) << QVariantList{1, 10} << QPoint(1, 2) << true;
    QTest::newRow("LeftMargin") << "ImageGrid" << "LeftMargin" << "Linker Rand" << QVariant(8) << QVariant(8)
                                << QVariantList{0, 100} << QPoint(0, 3) << true;
    // Deliberately a default other than the value.
    QTest::newRow("RightMargin") << "ImageGrid" << "RightMargin" << "Rechter Rand" << QVariant(8) << QVariant(2)
                                 << QVariantList{0, 100} << QPoint(1, 3) << true;
    QTest::newRow("BottomMargin") << "ImageGrid" << "BottomMargin" << "Unterer Rand" << QVariant(15) << QVariant(15)
                                  << QVariantList{0, 100} << QPoint(0, 4) << true;
    QTest::newRow("TopMargin") << "ImageGrid" << "TopMargin" << "Oberer Rand" << QVariant(15) << QVariant(15)
                               << QVariantList{0, 100} << QPoint(1, 4) << true;
    QTest::newRow("IsHorizontal") << "ImageGrid" << "IsHorizontal" << "Horizontal" << QVariant(true) << QVariant(true)
                                  << none << QPoint(2, 0) << true;
    QTest::newRow("ShowStrip") << "ImageGrid" << "ShowStrip" << "Filmstreifen einzeichnen" << QVariant(true)
                               << QVariant(true) << none << QPoint(2, 1) << true;
    QTest::newRow("GridSize") << "ImageGrid" << "GridSize" << "Gittergröße" << QVariant(QSize(0, 0))
                              << QVariant(QSize(0, 0)) << none << QPoint(-1, -1) << false;

    QTest::newRow("ANumberOfColumns") << "FotoCollage" << "ANumberOfColumns" << "Anzahl der Spalten" << QVariant(5)
                                      << QVariant(5) << QVariantList{1, 20} << QPoint(0, 0) << true;
    QTest::newRow("BNumberOfRows") << "FotoCollage" << "BNumberOfRows" << "Anzahl der Zeilen" << QVariant(5)
                                   << QVariant(5) << QVariantList{1, 20} << QPoint(1, 0) << true;
    QTest::newRow("COutlineWidth") << "FotoCollage" << "COutlineWidth" << "Breite des Randes" << QVariant(5)
                                   << QVariant(5) << QVariantList{0, 100} << QPoint(2, 0) << true;
    QTest::newRow("DShadowWidth") << "FotoCollage" << "DShadowWidth" << "Größe des Schattens" << QVariant(5)
                                  << QVariant(5) << QVariantList{0, 100} << QPoint(3, 0) << true;
    QTest::newRow("EMaxAngle") << "FotoCollage" << "EMaxAngle" << "Maximaler Drehwinkel" << QVariant(10)
                               << QVariant(10) << QVariantList{0, 90} << QPoint(4, 0) << true;
    QTest::newRow("AABgColor") << "FotoCollage" << "AABgColor" << "Hintergrundfarbe" << QVariant(QColor(Qt::blue))
                               << QVariant(QColor(Qt::blue)) << none << QPoint(5, 0) << true;
    QTest::newRow("ABOutlineColor") << "FotoCollage" << "ABOutlineColor" << "Farbe der Ränder "
                                    << QVariant(QColor(Qt::blue)) << QVariant(QColor(Qt::blue)) << none
                                    << QPoint(6, 0) << true;
    QTest::newRow("ACShadowColor") << "FotoCollage" << "ACShadowColor" << "Farbe des Schattens"
                                   << QVariant(QColor(Qt::blue)) << QVariant(QColor(Qt::blue)) << none
                                   << QPoint(7, 0) << true;
}

void TestComposition::parameters()
{
    QFETCH(QString, effect);
    QFETCH(QString, key);
    QFETCH(QString, visibleName);
    QFETCH(QVariant, value);
    QFETCH(QVariant, defaultValue);
    QFETCH(QVariantList, range);
    QFETCH(QPoint, place);
    QFETCH(bool, shown);

    const ZelParameterDescriptionContainer container = makeEffect(effect)->parameterContainer();
    QCOMPARE(container.parameterNames().size(), effect == "ImageGrid" ? 13 : effect == "DropShadow" ? 7 : 8);
    QCOMPARE(container.position(key), place);
    const ZelParameterDescription parameter = container.parameter(key);
    QCOMPARE(parameter.visibleName(), visibleName);
    QCOMPARE(parameter.value(), value);
    QCOMPARE(parameter.constData()->defaultValue(), defaultValue);
    QCOMPARE(parameter.visibleInUI(), shown);
    QVERIFY(!parameter.isCheckable());
    const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(parameter.constData());
    QCOMPARE(number != nullptr, !range.isEmpty());
    if (!number)
        return;
    QCOMPARE(number->min(), range.at(0));
    QCOMPARE(number->max(), range.at(1));
    QCOMPARE(number->hasUserVisibleRange(), range.size() == 4);
    if (range.size() == 4) {
        QCOMPARE(number->minUserVisibleValue(), range.at(2));
        QCOMPARE(number->maxUserVisibleValue(), range.at(3));
    }
    if (effect == "ImageGrid")
        QCOMPARE(container.xmlTagName(), QStringLiteral("ZelImageProcessorImageGridParameters"));
}

// --- image grid ----------------------------------------------------------------------------

void TestComposition::gridSize_data()
{
    QTest::addColumn<Images>("images");
    QTest::addColumn<QSize>("gridSize");
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<bool>("strip");
    QTest::addColumn<bool>("rightMarginToDefault");
    QTest::addColumn<QSize>("expected");

    const QImage photo = solid(100, 60, 0xFF808080);
    const Images three{photo, photo, photo};
    // 100 x 60 photos: gap trunc(100 * 0.1) = 10; margins in percent of the first width:
    // left and right 8, top and bottom 15.
    QTest::newRow("three in a row") << three << QSize(0, 0) << true << true << false
                                    << QSize(3 * 100 + 2 * 10 + 8 + 8, 60 + 15 + 15);
    QTest::newRow("three in a column") << three << QSize(0, 0) << false << true << false
                                       << QSize(100 + 8 + 8, 3 * 60 + 2 * 10 + 15 + 15);
    QTest::newRow("row without strip: no gaps, no margins") << three << QSize(0, 0) << true << false << false
                                                            << QSize(300, 60);
    QTest::newRow("column without strip") << three << QSize(0, 0) << false << false << false << QSize(100, 180);
    QTest::newRow("2 x 2 of three") << three << QSize(2, 2) << true << true << false
                                    << QSize(2 * 100 + 10 + 16, 2 * 60 + 10 + 30);
    QTest::newRow("2 x 1 transposed for a vertical strip") << three << QSize(2, 1) << false << true << false
                                                           << QSize(100 + 16, 2 * 60 + 10 + 30);
    QTest::newRow("negative size: one row") << three << QSize(-2, 3) << true << true << false << QSize(336, 90);
    // The right margin's default is 2, not its initial 8.
    QTest::newRow("right margin reset to its default") << three << QSize(0, 0) << true << true << true
                                                       << QSize(300 + 20 + 8 + 2, 90);
    // Cells sized for the largest width and height; margins from the first photo's width:
    // trunc(40 * 0.08) = 3, trunc(40 * 0.15) = 6.
    QTest::newRow("mixed sizes") << Images{solid(40, 80, 0xFF808080), photo} << QSize(0, 0) << true << true << false
                                 << QSize(2 * 100 + 10 + 3 + 3, 80 + 6 + 6);
}

void TestComposition::gridSize()
{
    QFETCH(Images, images);
    QFETCH(QSize, gridSize);
    QFETCH(bool, horizontal);
    QFETCH(bool, strip);
    QFETCH(bool, rightMarginToDefault);
    QFETCH(QSize, expected);

    ZelImageProcessorImageGrid grid(images);
    grid.setGridSize(gridSize);
    grid.setHorizontalFilmStrip(horizontal);
    grid.setPaintFilmStrip(strip);
    if (rightMarginToDefault) {
        ZelUIParameterMap reset;
        reset.insert(QStringLiteral("RightMargin"), qMakePair(QVariant(8), false));
        grid.setParameters(reset);
    }
    const QImage result = grid.result();
    QCOMPARE(result.size(), expected);
    QCOMPARE(result.format(), QImage::Format_ARGB32);
}

void TestComposition::gridRepeatsPhotos()
{
    const QRgb red = 0xFFFF0000, green = 0xFF00FF00, blue = 0xFF0000FF;
    const auto grid = plainGrid({solid(10, 10, red), solid(10, 10, green), solid(10, 10, blue)});
    grid->setGridSize(QSize(2, 2));
    const QImage result = grid->result();
    QCOMPARE(result.size(), QSize(20, 20));
    QCOMPARE(rawPixel(result, 5, 5), red);
    QCOMPARE(rawPixel(result, 15, 5), green);
    QCOMPARE(rawPixel(result, 5, 15), blue);
    QCOMPARE(rawPixel(result, 15, 15), red); // the fourth cell starts over
}

void TestComposition::gridWithoutStrip()
{
    // A 20 x 20 and a 10 x 10 photo touch; the smaller one sits top left in its cell, the rest of
    // the cell is background, and the 1-pixel border line along the top still shows above it.
    const QRgb red = 0xFFFF0000, green = 0xFF00FF00;
    const auto grid = plainGrid({solid(20, 20, red), solid(10, 10, green)});
    grid->setBackgroundColor(Qt::black);
    const QImage result = grid->result();
    QCOMPARE(result.size(), QSize(40, 20));
    QCOMPARE(rawPixel(result, 19, 19), red);
    QCOMPARE(rawPixel(result, 20, 0), green);
    QCOMPARE(rawPixel(result, 29, 9), green);
    QCOMPARE(rawPixel(result, 35, 0), 0xFFFFFFFFu);
    QCOMPARE(rawPixel(result, 35, 15), 0xFF000000u);
    QCOMPARE(rawPixel(result, 25, 15), 0xFF000000u);
    QVERIFY(!hasTransparentPixel(result));
}

void TestComposition::gridHoles_data()
{
    QTest::addColumn<int>("photos");
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<int>("expectedRuns");

    // 200 x 100 photos in a row: 7 holes per frame, a pitch of width / (7 * columns), and the
    // first hole starts half outside the strip.
    QTest::newRow("three in a row: 21 + 1") << 3 << true << 22;
    QTest::newRow("two in a row: 14 + 1") << 2 << true << 15;
    // 100 x 200 photos in a column: 7 holes over the whole length, whatever the number of
    // frames (deliberate), plus the half one at the start.
    QTest::newRow("three in a column: 7 + 1") << 3 << false << 8;
    QTest::newRow("two in a column: 7 + 1") << 2 << false << 8;
}

void TestComposition::gridHoles()
{
    QFETCH(int, photos);
    QFETCH(bool, horizontal);
    QFETCH(int, expectedRuns);

    const QImage photo = horizontal ? solid(200, 100, 0xFF808080) : solid(100, 200, 0xFF808080);
    Images images;
    for (int i = 0; i < photos; ++i)
        images << photo;
    ZelImageProcessorImageGrid grid(images);
    grid.setHorizontalFilmStrip(horizontal);
    if (horizontal) {
        const QImage result = grid.result();
        // Top margin trunc(200 * 0.15) = 30, holes trunc(30 * 0.56) = 16 high from y = 6.
        QCOMPARE(transparentRuns(result, 14, true), expectedRuns);
        QCOMPARE(transparentRuns(result, result.height() - 30 + 14, true), expectedRuns);
        QCOMPARE(transparentRuns(result, 40, true), 0);
        return;
    }
    // A left margin of 40 px: holes trunc(40 * 0.56) = 22 wide from x = 8, under a 3-pixel
    // outline, so that their middle column is clear.
    grid.setLeftMargin(40);
    const QImage result = grid.result();
    QCOMPARE(transparentRuns(result, 19, false), expectedRuns);
    QCOMPARE(transparentRuns(result, 60, false), 0);
}

void TestComposition::gridSelectionFrame_data()
{
    QTest::addColumn<int>("selected");
    QTest::addColumn<QList<int>>("framedCells");

    QTest::newRow("none") << -1 << QList<int>();
    QTest::newRow("second") << 1 << QList<int>{1};
    // The fourth cell repeats photo 0 and is framed with it.
    QTest::newRow("first, repeated") << 0 << QList<int>{0, 3};
    QTest::newRow("beyond the list") << 3 << QList<int>();
}

void TestComposition::gridSelectionFrame()
{
    QFETCH(int, selected);
    QFETCH(QList<int>, framedCells);

    const QImage photo = solid(40, 30, 0xFF808080);
    const auto grid = plainGrid({photo, photo, photo});
    grid->setGridSize(QSize(2, 2));
    grid->setSelectedIndex(selected);
    QCOMPARE(grid->selectedIndex(), selected);
    const QImage result = grid->result();
    for (int cell = 0; cell < 4; ++cell) {
        // The middle of the cell's top edge, and the middle of the cell.
        const QPoint top(cell % 2 * 40 + 20, cell / 2 * 30 + 2);
        const bool framed = framedCells.contains(cell);
        QCOMPARE(rawPixel(result, top.x(), top.y()) == 0xFFFF0000u, framed);
        QCOMPARE(rawPixel(result, top.x(), top.y() + 13), 0xFF808080u);
    }
    QCOMPARE(countPixels(result, 0xFFFF0000u, result.rect()) > 0, !framedCells.isEmpty());
}

void TestComposition::gridIndexAtPoint_data()
{
    QTest::addColumn<QSize>("gridSize");
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<QPointF>("point");
    QTest::addColumn<int>("index");

    QTest::newRow("row, middle") << QSize(0, 0) << true << QPointF(0.5, 0.9) << 1;
    QTest::newRow("row, right edge") << QSize(0, 0) << true << QPointF(0.99, 0.0) << 2;
    QTest::newRow("row, not clamped") << QSize(0, 0) << true << QPointF(1.0, 0.5) << 3;
    QTest::newRow("row, left of it truncates to 0") << QSize(0, 0) << true << QPointF(-0.1, 0.5) << 0;
    QTest::newRow("column reads y") << QSize(0, 0) << false << QPointF(0.9, 0.5) << 1;
    QTest::newRow("4 x 2 grid") << QSize(4, 2) << true << QPointF(0.6, 0.9) << 2;
    QTest::newRow("4 x 2 transposed for a column") << QSize(4, 2) << false << QPointF(0.0, 0.6) << 2;
}

void TestComposition::gridIndexAtPoint()
{
    QFETCH(QSize, gridSize);
    QFETCH(bool, horizontal);
    QFETCH(QPointF, point);
    QFETCH(int, index);

    const QImage photo = solid(4, 4, 0xFF808080);
    ZelImageProcessorImageGrid grid(Images{photo, photo, photo});
    grid.setGridSize(gridSize);
    grid.setHorizontalFilmStrip(horizontal);
    QCOMPARE(grid.normalizedCoordinatesToImageIndex(point), index);
}

void TestComposition::gridCopiesLikeQPainter()
{
    // Opaque photos are copied row by row; the grid must look exactly as if QPainter had drawn
    // every photo, whatever its format, translucent or not.
    QImage indexedOpaque = noiseImage(7, 9, false, 3).convertToFormat(QImage::Format_Indexed8);
    QImage indexedTranslucent = noiseImage(9, 5, true, 4).convertToFormat(QImage::Format_Indexed8);
    QImage strayAlpha(6, 6, QImage::Format_RGB32);
    const QImage words = noiseImage(6, 6, true, 5);
    for (int y = 0; y < 6; ++y)
        std::copy_n(words.constScanLine(y), 6 * 4, strayAlpha.scanLine(y));
    const Images images{noiseImage(11, 8, false, 1),
                        noiseImage(10, 10, true, 2),
                        strayAlpha,
                        indexedOpaque,
                        indexedTranslucent,
                        noiseImage(5, 12, false, 6).convertToFormat(QImage::Format_RGB888),
                        noiseImage(8, 7, false, 7).convertToFormat(QImage::Format_ARGB32_Premultiplied),
                        noiseImage(8, 7, true, 8).convertToFormat(QImage::Format_ARGB32_Premultiplied),
                        noiseImage(13, 4, false, 9).convertToFormat(QImage::Format_Mono)};
    const auto grid = plainGrid(images);
    grid->setBackgroundColor(QColor(10, 20, 30, 100));
    grid->setSelectedIndex(2);
    const QImage result = grid->result();

    // Cells of 13 x 12; border pen max(1, trunc(12 * 0.01)) = 1.
    QImage expected(13 * images.size(), 12, QImage::Format_ARGB32);
    expected.fill(QColor(10, 20, 30, 100));
    QPainter painter(&expected);
    painter.setPen(QPen(QBrush(Qt::white), 1, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    const QRect frame = expected.rect();
    painter.drawRects(&frame, 1);
    for (int k = 0; k < images.size(); ++k) {
        const QRectF target(13 * k, 0, images.at(k).width(), images.at(k).height());
        painter.drawImage(target, images.at(k), QRectF(QPointF(0, 0), images.at(k).size()));
        if (k == 2) {
            painter.setPen(QPen(QBrush(Qt::red), 10.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
            painter.drawRect(target);
        }
    }
    painter.end();
    QCOMPARE(result, expected);
}

void TestComposition::gridGuards_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("nullResult");
    QTest::addColumn<bool>("holes");

    QTest::newRow("canvas beyond int") << "GridSize" << QVariant(QSize(100000, 100000)) << true << false;
    QTest::newRow("no holes per frame") << "NumberOfHoles" << QVariant(0) << false << false;
    QTest::newRow("negative holes") << "NumberOfHoles" << QVariant(-3) << false << false;
    QTest::newRow("holes finer than a pixel") << "NumberOfHoles" << QVariant(100000000) << false << false;
    QTest::newRow("absurd hole ratio") << "HoleToDistanceRatio" << QVariant(1e20) << false << false;
    QTest::newRow("negative hole ratio") << "HoleToDistanceRatio" << QVariant(-3.0) << false << true;
    // Holes whose height does not fit an int lie far outside the canvas.
    QTest::newRow("absurd hole height") << "HoleHeight" << QVariant(1e12) << false << false;
    QTest::newRow("absurd roundness") << "RoundnessHole" << QVariant(100000) << false << true;
    QTest::newRow("negative gap") << "GridDistance" << QVariant(-0.5) << false << true;
    QTest::newRow("gap beyond int") << "GridDistance" << QVariant(1e12) << true << false;
    QTest::newRow("negative margin") << "LeftMargin" << QVariant(-50) << false << true;
    QTest::newRow("huge margin") << "TopMargin" << QVariant(1000000000) << true << false;
}

void TestComposition::gridGuards()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(bool, nullResult);
    QFETCH(bool, holes);

    const QImage photo = solid(200, 100, 0xFF808080);
    ZelImageProcessorImageGrid grid(Images{photo, photo});
    ZelUIParameterMap values;
    values.insert(key, qMakePair(value, true));
    grid.setParameters(values);
    QSignalSpy finished(&grid, &ZelImageProcessor::finished);
    const QImage result = grid.result();
    QCOMPARE(result.isNull(), nullResult);
    QCOMPARE(finished.count(), 1);
    if (!nullResult)
        QCOMPARE(hasTransparentPixel(result), holes);
}

void TestComposition::gridEmptyListAndSignals()
{
    ZelImageProcessorImageGrid grid(solid(8, 6, 0xFF808080));
    QSignalSpy finished(&grid, &ZelImageProcessor::finished);
    QSignalSpy progress(&grid, &ZelImageProcessor::progress);
    QCOMPARE(grid.result().size(), QSize(8 + 0 + 0, 6 + 1 + 1));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
    QCOMPARE(progress.count(), 0);

    grid.setImages(Images());
    QVERIFY(grid.result().isNull());
    QCOMPARE(finished.count(), 1);

    grid.setImages(Images{QImage(), QImage()});
    QVERIFY(grid.result().isNull());

    ZelImageProcessorImageGrid defaultGrid;
    QVERIFY(defaultGrid.result().isNull());
}

void TestComposition::gridPreviewUsesDefaults()
{
    // The preview lays out the scaled source alone with default parameters: 50 x 30 with
    // margins trunc(50 * 0.08) = 4 and trunc(50 * 0.15) = 7.
    const QImage source = solid(100, 60, 0xFF808080);
    ZelImageProcessorImageGrid grid(Images{source, source, source});
    grid.setPaintFilmStrip(false);
    grid.setGridSize(QSize(3, 3));
    QCOMPARE(grid.generatePreview(QSize(50, 50)).size(), QSize(50 + 4 + 4, 30 + 7 + 7));
    QCOMPARE(grid.generatePreview(QRect(0, 0, 40, 20)).size(), QSize(40 + 3 + 3, 20 + 6 + 6));
}

// --- photo collage -------------------------------------------------------------------------

void TestComposition::collageSize_data()
{
    QTest::addColumn<QSize>("source");
    QTest::addColumn<int>("outline");
    QTest::addColumn<int>("shadow");
    QTest::addColumn<QSize>("expected");

    // 100 x 50 in 5 x 5 tiles of 20 x 10; outline trunc(20 * 0.05) = 1 on every side gives
    // 22 x 12, the shadow trunc(22 * 0.05) = 1 plus 2 gives 25 x 15; the border is
    // trunc(max(2.5, 5)) = 5 on every side.
    QTest::newRow("defaults") << QSize(100, 50) << 5 << 5 << QSize(5 * 25 + 10, 5 * 15 + 10);
    // No outline and no shadow offset: the shadow image still adds 2.
    QTest::newRow("no outline, no shadow") << QSize(100, 50) << 0 << 0 << QSize(5 * 22 + 10, 5 * 12 + 10);
    // Fewer pixels than columns: tiles of width 0 are null, each a 2 x 2 shadow image; border
    // trunc(50 * 0.05) = 2.
    QTest::newRow("source narrower than the grid") << QSize(3, 50) << 5 << 5 << QSize(4 + 5 * 2, 4 + 5 * 2);
    // Fewer pixels than columns and rows: QImage::copy takes a null rectangle for the whole
    // image, so every tile is the 3 x 3 photo, 5 x 5 with its shadow.
    QTest::newRow("source smaller than the grid") << QSize(3, 3) << 5 << 5 << QSize(5 * 5, 5 * 5);
}

void TestComposition::collageSize()
{
    QFETCH(QSize, source);
    QFETCH(int, outline);
    QFETCH(int, shadow);
    QFETCH(QSize, expected);

    ZelImageProcessorFotoCollage collage(solid(source.width(), source.height(), 0xFF808080));
    collage.setParameters(5, 5, outline, shadow, 10, Qt::blue, Qt::blue, Qt::blue);
    QCOMPARE(collage.result().size(), expected);
}

void TestComposition::collageStraightTiles()
{
    // "EMaxAngle" 0: single-photo tiles are not turned, so their corners keep the photo's exact
    // colours. 40 x 40 in 2 x 2 tiles of 20 x 20 without outline; border trunc(2) = 2.
    QImage source(40, 40, QImage::Format_ARGB32);
    const QRgb quarters[] = {0xFFC00000, 0xFF00C000, 0xFF0000C0, 0xFFC0C000};
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 40; ++x)
            reinterpret_cast<QRgb*>(source.scanLine(y))[x] = quarters[y / 20 * 2 + x / 20];
    ZelImageProcessorFotoCollage collage(source);
    whiteCollage(collage, 2, 2, 0, 0, 0);
    const QImage result = collage.result();
    QCOMPARE(result.size(), QSize(2 + 2 * 22 + 2, 2 + 2 * 22 + 2));
    for (int tile = 0; tile < 4; ++tile) {
        const QPoint corner(2 + tile % 2 * 22, 2 + tile / 2 * 22);
        QCOMPARE(rawPixel(result, corner.x(), corner.y()), quarters[tile]);
        QCOMPARE(rawPixel(result, corner.x() + 19, corner.y() + 19), quarters[tile]);
    }
}

void TestComposition::collageLayout_data()
{
    QTest::addColumn<int>("photos");
    QTest::addColumn<QSize>("background");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");

    // Wider than high: rows = trunc(sqrt(n + 1)), columns = trunc(n / rows + 0.9).
    QTest::newRow("four: 2 x 2") << 4 << QSize(180, 120) << 2 << 2;
    QTest::newRow("three: 2 x 2, one cell repeats") << 3 << QSize(180, 120) << 2 << 2;
    QTest::newRow("two: one row") << 2 << QSize(180, 120) << 1 << 2;
    QTest::newRow("five: 2 x 3") << 5 << QSize(270, 120) << 2 << 3;
    // Otherwise columns = trunc(sqrt(n + 1)), rows = trunc(n / columns + 0.9).
    QTest::newRow("two on a tall background: one column") << 2 << QSize(120, 180) << 2 << 1;
    QTest::newRow("five on a square: 3 x 2") << 5 << QSize(180, 180) << 3 << 2;
}

void TestComposition::collageLayout()
{
    QFETCH(int, photos);
    QFETCH(QSize, background);
    QFETCH(int, rows);
    QFETCH(int, columns);

    const QRgb colours[] = {0xFFC00000, 0xFF00C000, 0xFF0000C0, 0xFFC0C000, 0xFF00C0C0};
    Images images;
    for (int i = 0; i < photos; ++i)
        images << solid(60, 40, colours[i]);
    ZelImageProcessorFotoCollage collage;
    collage.setImages(images);
    collage.setBgSize(background.width(), background.height());
    whiteCollage(collage, 5, 5, 0, 0, 0);
    ProgressLog log;
    connect(&collage, &ZelImageProcessor::progress, this, [&log](const QString& title, const QString& step, int current, int total) {
        QCOMPARE(title, QStringLiteral("Foto To Collage"));
        QVERIFY(step.isEmpty());
        log.current << current;
        log.total << total;
    });
    QSignalSpy finished(&collage, &ZelImageProcessor::finished);
    qsrand(11);
    const QImage result = collage.result();

    QCOMPARE(result.size(), background);
    const int cells = rows * columns;
    QCOMPARE(log.total, QVector<int>(2 * cells, 2 * cells).toList());
    QCOMPARE(log.current.first(), 1);
    QCOMPARE(log.current.last(), 2 * cells);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), true);

    // The middle of every cell shows its photo, turned by 5 degrees; a cell too many repeats
    // photo trunc(qrand() / 2^31 * n / 2 + 1).
    const int cellWidth = background.width() / columns;
    const int cellHeight = background.height() / rows;
    for (int k = 0; k < cells; ++k) {
        const QRgb pixel = rawPixel(result, k % columns * cellWidth + cellWidth / 2, k / columns * cellHeight + cellHeight / 2);
        if (k < photos) {
            QVERIFY2(closeColour(pixel, colours[k]), qPrintable(QString::number(k)));
            continue;
        }
        bool repeated = false;
        for (int i = 1; i < photos / 2.0 + 1; ++i)
            repeated = repeated || closeColour(pixel, colours[i]);
        QVERIFY(repeated);
    }
}

void TestComposition::collageMultiPhotoTilt()
{
    // With "EMaxAngle" 0 every print of several is still turned by 5 degrees: the corner of the
    // first print's place stays white, where a straight print would show the photo.
    ZelImageProcessorFotoCollage collage;
    collage.setImages({solid(60, 40, 0xFFC00000), solid(60, 40, 0xFF00C000)});
    collage.setBgSize(180, 60);
    whiteCollage(collage, 5, 5, 0, 0, 0);
    const QImage result = collage.result();
    // One row of two 90 x 60 cells; the print is fitted to the cell's height and centred.
    QVERIFY(closeColour(rawPixel(result, 45, 30), 0xFFC00000));
    QCOMPARE(rawPixel(result, 4, 1), 0xFFFFFFFFu);
}

void TestComposition::collageBackground_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QImage>("texture");
    QTest::addColumn<QRgb>("corner");
    QTest::addColumn<QImage::Format>("format");

    QImage texture(2, 1, QImage::Format_RGB32);
    reinterpret_cast<QRgb*>(texture.scanLine(0))[0] = 0xFF112233;
    reinterpret_cast<QRgb*>(texture.scanLine(0))[1] = 0xFF445566;
    QTest::newRow("colour") << 0 << QImage() << QRgb(0xFFFFFFFF) << QImage::Format_ARGB32;
    QTest::newRow("transparent: raw 19") << 1 << QImage() << QRgb(19) << QImage::Format_ARGB32;
    QTest::newRow("tiled texture") << 2 << texture << QRgb(0xFF112233) << QImage::Format_RGB32;
    QTest::newRow("tiled without texture: black") << 2 << QImage() << QRgb(0xFF000000) << QImage::Format_RGB32;
    QTest::newRow("stretched texture") << 3 << texture << QRgb(0xFF112233) << QImage::Format_RGB32;
    QTest::newRow("stretched without texture: black") << 3 << QImage() << QRgb(0xFF000000) << QImage::Format_RGB32;
}

void TestComposition::collageBackground()
{
    QFETCH(int, mode);
    QFETCH(QImage, texture);
    QFETCH(QRgb, corner);
    QFETCH(QImage::Format, format);

    // The top left corner lies outside every print.
    for (const bool several : {false, true}) {
        ZelImageProcessorFotoCollage collage(solid(40, 40, 0xFF808080));
        whiteCollage(collage, 2, 2, 0, 0, 0);
        collage.setBgMode(ZelImageProcessorFotoCollage::BackGroundMode(mode));
        collage.setBgTexture(texture);
        if (several) {
            collage.setImages({solid(20, 20, 0xFF808080)});
            collage.setBgSize(60, 40);
        }
        const QImage result = collage.result();
        QCOMPARE(result.format(), format);
        QCOMPARE(rawPixel(result, 0, 0), corner);
    }
}

void TestComposition::collageCancel_data()
{
    QTest::addColumn<bool>("several");
    QTest::addColumn<int>("cancelAt");

    // Single: 2 x 2 tiles, reports 1 ... 4 cutting, 5 ... 8 laying out. Several: two photos
    // in one row, reports 1 and 2 preparing the prints, 3 and 4 laying them out.
    QTest::newRow("single, first pass") << false << 1;
    QTest::newRow("single, second pass") << false << 5;
    QTest::newRow("several, first pass") << true << 1;
    QTest::newRow("several, second pass") << true << 3;
}

void TestComposition::collageCancel()
{
    QFETCH(bool, several);
    QFETCH(int, cancelAt);

    const QImage source = solid(40, 40, 0xFF808080);
    ZelImageProcessorFotoCollage collage(source);
    whiteCollage(collage, 2, 2, 0, 0, 10);
    if (several) {
        collage.setImages({solid(20, 20, 0xFFC00000), solid(20, 20, 0xFF00C000)});
        collage.setBgSize(120, 60);
    }
    int reports = 0;
    connect(&collage, &ZelImageProcessor::progress, this, [&](const QString&, const QString&, int, int) {
        if (++reports == cancelAt)
            collage.cancel();
    });
    QSignalSpy finished(&collage, &ZelImageProcessor::finished);
    QCOMPARE(collage.result(), source);
    QCOMPARE(reports, cancelAt);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);
}

void TestComposition::collageGuards_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("several");
    QTest::addColumn<int>("border"); // outline and shadow width
    QTest::addColumn<QString>("outcome"); // "source", "null" or "image"

    QTest::newRow("no columns") << 0 << 5 << 0 << false << 0 << "source";
    QTest::newRow("negative rows") << 5 << -2 << 0 << false << 0 << "source";
    QTest::newRow("more than 10000 tiles") << 101 << 100 << 0 << false << 0 << "source";
    QTest::newRow("tiles of nothing") << 30 << 30 << 0 << false << 0 << "image";
    QTest::newRow("unknown mode, single") << 2 << 2 << 7 << false << 0 << "null";
    QTest::newRow("unknown mode, several") << 2 << 2 << -1 << true << 0 << "null";
    // Prints too large to allocate are null and drawn as nothing.
    QTest::newRow("huge outline and shadow, single") << 2 << 2 << 0 << false << 2000000000 << "image";
    QTest::newRow("huge outline and shadow, several") << 2 << 2 << 0 << true << 2000000000 << "image";
    QTest::newRow("negative outline and shadow") << 2 << 2 << 0 << false << -60 << "image";
}

void TestComposition::collageGuards()
{
    QFETCH(int, columns);
    QFETCH(int, rows);
    QFETCH(int, mode);
    QFETCH(bool, several);
    QFETCH(int, border);
    QFETCH(QString, outcome);

    const QImage source = solid(20, 10, 0xFF808080);
    ZelImageProcessorFotoCollage collage(source);
    whiteCollage(collage, columns, rows, border, border, 0);
    collage.setBgSize(60, 40);
    collage.setBgMode(ZelImageProcessorFotoCollage::BackGroundMode(mode));
    if (several)
        collage.setImages({source});
    QSignalSpy finished(&collage, &ZelImageProcessor::finished);
    const QImage result = collage.result();
    QCOMPARE(finished.count(), 1);
    if (outcome == "source")
        QCOMPARE(result, source);
    else if (outcome == "null")
        QVERIFY(result.isNull());
    else
        QVERIFY(!result.isNull() && result != source);
}

void TestComposition::collagePreviewSwapsRowsAndColumns()
{
    // 3 columns x 1 row: tiles of 20 x 40, each 22 x 42 with its shadow image; border 3.
    const QImage source = solid(60, 40, 0xFF808080);
    ZelImageProcessorFotoCollage collage(source);
    whiteCollage(collage, 3, 1, 0, 0, 0);
    QCOMPARE(collage.result().size(), QSize(6 + 3 * 22, 6 + 42));
    // The preview passes rows as columns and columns as rows (deliberate): 1 column x 3 rows of
    // 60 x 13 tiles, 62 x 15 each.
    QCOMPARE(collage.generatePreview(QSize(60, 40)).size(), QSize(6 + 62, 6 + 3 * 15));
    QCOMPARE(collage.generatePreview(QRect(0, 0, 60, 40)).size(), QSize(6 + 62, 6 + 3 * 15));
}

// --- composers -----------------------------------------------------------------------------

void TestComposition::chainOrder()
{
    const QImage source = solid(4, 2, 0xFF000000);
    ZelImageProcessorChainProbe first(0xFF0000FF);
    ZelImageProcessorChainProbe second(0xFF00FF00);
    ZelImageProcessorComposer composer(source);
    composer.addProcessor(&second);
    composer.addProcessor(&first);
    composer.addProcessor(&second);
    QStringList steps;
    connect(&composer, &ZelImageProcessor::progress, this,
            [&steps](const QString& title, const QString& step, int, int) { steps << title + QLatin1Char(' ') + step; });
    QSignalSpy finished(&composer, &ZelImageProcessor::finished);

    const QImage result = composer.result();
    // Each step marks the next black pixel of row 0 of the previous step's result.
    QCOMPARE(rawPixel(result, 0, 0), 0xFF00FF00u);
    QCOMPARE(rawPixel(result, 1, 0), 0xFF0000FFu);
    QCOMPARE(rawPixel(result, 2, 0), 0xFF00FF00u);
    QCOMPARE(rawPixel(result, 3, 0), 0xFF000000u);
    QCOMPARE(steps, QStringList({"Probe ff00ff00", "Probe ff0000ff", "Probe ff00ff00"}));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), true);

    // A second run starts from the source again and relays each step once.
    steps.clear();
    QCOMPARE(composer.result(), result);
    QCOMPARE(steps.size(), 3);
}

void TestComposition::emptyChain()
{
    const QImage source = noiseImage(5, 4, true, 1);
    ZelImageProcessorComposer composer(source);
    QSignalSpy finished(&composer, &ZelImageProcessor::finished);
    QCOMPARE(composer.result(), source);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), true);

    ZelImageProcessorComposer withoutSource;
    QVERIFY(withoutSource.result().isNull());
}

void TestComposition::chainCancel()
{
    // A cancel from inside the second step's progress cancels that step and stops the chain
    // before the third: the source comes back, without a closing finished.
    const QImage source = solid(4, 1, 0xFF000000);
    ZelImageProcessorChainProbe first(0xFF0000FF);
    ZelImageProcessorChainProbe second(0xFF00FF00);
    ZelImageProcessorChainProbe third(0xFFFF0000);
    ZelImageProcessorComposer composer(source);
    for (ZelImageProcessor* step : {static_cast<ZelImageProcessor*>(&first), static_cast<ZelImageProcessor*>(&second),
                                    static_cast<ZelImageProcessor*>(&third)})
        composer.addProcessor(step);
    int reports = 0;
    connect(&composer, &ZelImageProcessor::progress, this, [&](const QString&, const QString&, int, int) {
        if (++reports == 2)
            composer.cancel();
    });
    QSignalSpy finished(&composer, &ZelImageProcessor::finished);
    QSignalSpy canceled(&composer, &ZelImageProcessor::operationCanceled);
    QSignalSpy secondFinished(&second, &ZelImageProcessor::finished);

    QCOMPARE(composer.result(), source);
    QCOMPARE(reports, 2);
    QCOMPARE(canceled.count(), 1);
    QCOMPARE(secondFinished.count(), 1); // from its own cancel()
    QCOMPARE(finished.count(), 0);

    // The flag was used up: the next run goes through.
    QCOMPARE(rawPixel(composer.result(), 2, 0), 0xFFFF0000u);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.last().at(0).toBool(), true);
}

void TestComposition::chainCancelWhileRunning()
{
    // Cancelled in the last step (a real effect that polls its flag per row, and returns its own
    // source then), the chain returns that step's result and reports false.
    QImage source(4, 3, QImage::Format_ARGB32);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            reinterpret_cast<QRgb*>(source.scanLine(y))[x] = qRgb(20 + 50 * x, 200 - 60 * y, 40 + 10 * x * y);
    reinterpret_cast<QRgb*>(source.scanLine(0))[0] = 0xFF000000u; // for the probe to mark
    ZelImageProcessorChainProbe probe(0xFF0000FF);
    ZelImageProcessorExampleGrayscale grey;
    ZelImageProcessorComposer composer(source);
    composer.addProcessor(&probe);
    composer.addProcessor(&grey);
    QStringList titles;
    connect(&composer, &ZelImageProcessor::progress, this, [&](const QString& title, const QString&, int, int) {
        titles << title;
        if (title == QLatin1String("Example"))
            composer.cancel();
    });
    QSignalSpy finished(&composer, &ZelImageProcessor::finished);
    ZelImageProcessorChainProbe sameProbe(0xFF0000FF);
    sameProbe.setSourceImage(source);
    const QImage probed = sameProbe.result();
    QVERIFY(probed != source);
    QCOMPARE(composer.result(), probed);
    QCOMPARE(titles, QStringList({"Probe", "Example"}));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), false);

    // Cancelled before it runs: no step runs, and no finished comes.
    titles.clear();
    composer.cancel();
    QCOMPARE(composer.result(), source);
    QVERIFY(titles.isEmpty());
    QCOMPARE(finished.count(), 1);
}

void TestComposition::chainSkipsDeletedAndItself()
{
    const QImage source = solid(3, 1, 0xFF000000);
    ZelImageProcessorComposer composer(source);
    auto gone = std::make_unique<ZelImageProcessorChainProbe>(0xFFFF0000);
    ZelImageProcessorChainProbe kept(0xFF00FF00);
    composer.addProcessor(gone.get());
    composer.addProcessor(nullptr);
    composer.addProcessor(&composer);
    composer.addProcessor(&kept);
    gone.reset();
    const QImage result = composer.result();
    QCOMPARE(rawPixel(result, 0, 0), 0xFF00FF00u);
    QCOMPARE(rawPixel(result, 1, 0), 0xFF000000u);
}

void TestComposition::exampleComposer()
{
    QImage photo(12, 9, QImage::Format_ARGB32);
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 12; ++x)
            reinterpret_cast<QRgb*>(photo.scanLine(y))[x] = qRgb(20 * x, 255 - 25 * y, 9 * x * y % 256);
    ZelImageProcessorExampleGauss blur(photo);
    blur.setSigmaAndBoxSize(10.0, 0);
    ZelImageProcessorExampleGrayscale grey(blur.result());
    const QImage expected = grey.result();

    const auto composer = makeEffect(QStringLiteral("ExampleComposer"), photo);
    QVERIFY(qobject_cast<ZelImageProcessorComposer*>(composer.get()));
    QSignalSpy finished(composer.get(), &ZelImageProcessor::finished);
    QCOMPARE(composer->result(), expected);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
}

void TestComposition::composerPreview()
{
    const QImage source = noiseImage(40, 20, false, 2);
    ZelImageProcessorChainProbe probe(0xFF0000FF);
    ZelImageProcessorComposer composer(source);
    composer.addProcessor(&probe);
    // The preview's composer has no chain.
    QCOMPARE(composer.generatePreview(QSize(20, 20)),
             source.scaled(QSize(20, 20), Qt::KeepAspectRatio, Qt::SmoothTransformation));
    QCOMPARE(composer.generatePreview(QRect(2, 3, 5, 4)), source.copy(2, 3, 5, 4));
}

// --- photos in photo -----------------------------------------------------------------------

void TestComposition::photosInPhotoBlocks()
{
    // 100 x 100 in 30 x 30 blocks: 100 / 30 + 1 = 4 rows and columns, the last ones clipped.
    // Over a transparent source the hard-light overlay leaves the grey mosaic as it is: red
    // (200, 0, 0) turns (11 * 200) >> 5 = 68, blue (0, 0, 255) (5 * 255) >> 5 = 39.
    const QString red = writeImage(QStringLiteral("red.png"), solid(50, 50, qRgb(200, 0, 0)));
    const QString blue = writeImage(QStringLiteral("blue.png"), solid(40, 40, qRgb(0, 0, 255)));
    const QImage source = solid(100, 100, 0x00000000);
    ZelImageProcessorPhotosInPhoto effect(source);
    effect.setImageFileList({red, blue});
    effect.setBlockSize(QSize(30, 30));
    ProgressLog log;
    connect(&effect, &ZelImageProcessor::progress, this, [&log](const QString& title, const QString& step, int current, int total) {
        QCOMPARE(title, QStringLiteral("Photos In Photo"));
        QVERIFY(step.isEmpty());
        log.current << current;
        log.total << total;
    });
    QSignalSpy finished(&effect, &ZelImageProcessor::finished);

    // The blocks take their thumbnails in rows, each drawn by one qrand().
    qsrand(5);
    QList<uint> greys;
    for (int block = 0; block < 16; ++block)
        greys << (int(qrand() * 4.656612873077393e-10 * 2) == 0 ? 68u : 39u);
    qsrand(5);
    const QImage result = effect.result();

    QCOMPARE(result.size(), source.size());
    QCOMPARE(result.format(), QImage::Format_RGB32);
    QVERIFY(greys.contains(68u) && greys.contains(39u));
    for (int y = 0; y < 100; ++y) {
        for (int x = 0; x < 100; ++x) {
            const uint grey = greys.at(y / 30 * 4 + x / 30);
            QCOMPARE(rawPixel(result, x, y), 0xFF000000u | grey << 16 | grey << 8 | grey);
        }
    }
    // Two thumbnails, then four block rows, out of 2 + 4.
    QCOMPARE(log.current, QList<int>({1, 2, 3, 4, 5, 6}));
    QCOMPARE(log.total, QList<int>({6, 6, 6, 6, 6, 6}));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toBool(), true);
}

void TestComposition::photosInPhotoThumbnailArea_data()
{
    QTest::addColumn<QSize>("fileSize");
    QTest::addColumn<QPoint>("redProbe");
    QTest::addColumn<QPoint>("blueProbe");

    // Scaled to cover the 30 x 30 block, the middle of the axis that overfills it is taken: a
    // 60 x 30 photo red on the left half and blue on the right keeps its columns 15 ... 44.
    QTest::newRow("wide") << QSize(60, 30) << QPoint(5, 15) << QPoint(25, 15);
    // A 30 x 60 photo red on top keeps its rows 15 ... 44.
    QTest::newRow("tall") << QSize(30, 60) << QPoint(15, 5) << QPoint(15, 25);
}

void TestComposition::photosInPhotoThumbnailArea()
{
    QFETCH(QSize, fileSize);
    QFETCH(QPoint, redProbe);
    QFETCH(QPoint, blueProbe);

    QImage photo(fileSize, QImage::Format_RGB32);
    const bool wide = fileSize.width() > fileSize.height();
    for (int y = 0; y < fileSize.height(); ++y)
        for (int x = 0; x < fileSize.width(); ++x)
            reinterpret_cast<QRgb*>(photo.scanLine(y))[x] = (wide ? x < 30 : y < 30) ? qRgb(255, 0, 0) : qRgb(0, 0, 255);
    const QString file = writeImage(QStringLiteral("halves.png"), photo);
    ZelImageProcessorPhotosInPhoto effect(solid(30, 30, 0x00000000));
    effect.setImageFileList({file});
    effect.setBlockSize(QSize(30, 30));
    const QImage result = effect.result();
    // Grey of red (11 * 255) >> 5 = 87, of blue (5 * 255) >> 5 = 39.
    QCOMPARE(rawPixel(result, redProbe.x(), redProbe.y()), 0xFF575757u);
    QCOMPARE(rawPixel(result, blueProbe.x(), blueProbe.y()), 0xFF272727u);
}

void TestComposition::photosInPhotoUnloadableFile()
{
    ZelImageProcessorPhotosInPhoto effect(solid(20, 10, 0x00000000));
    effect.setImageFileList({myDir.filePath(QStringLiteral("missing.png"))});
    effect.setBlockSize(QSize(8, 8));
    const QImage result = effect.result();
    QCOMPARE(result.size(), QSize(20, 10));
    QCOMPARE(countPixels(result, 0xFF000000u, result.rect()), 200);
}

void TestComposition::photosInPhotoUnchanged_data()
{
    QTest::addColumn<bool>("withFiles");
    QTest::addColumn<QSize>("block");

    QTest::newRow("no files") << false << QSize(8, 8);
    QTest::newRow("block size never set") << true << QSize(-1, -1);
    QTest::newRow("empty block") << true << QSize(0, 8);
    QTest::newRow("negative block") << true << QSize(8, -3);
    QTest::newRow("block too large to allocate") << true << QSize(2000000000, 2000000000);
}

void TestComposition::photosInPhotoUnchanged()
{
    QFETCH(bool, withFiles);
    QFETCH(QSize, block);

    const QImage source = noiseImage(20, 10, true, 3);
    ZelImageProcessorPhotosInPhoto effect(source);
    if (withFiles)
        effect.setImageFileList({writeImage(QStringLiteral("grey.png"), solid(8, 8, 0xFF808080))});
    if (block != QSize(-1, -1))
        effect.setBlockSize(block);
    QSignalSpy finished(&effect, &ZelImageProcessor::finished);
    QCOMPARE(effect.result(), source);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(effect.generatePreview(QSize(10, 10)), source.scaled(10, 10, Qt::KeepAspectRatio, Qt::SmoothTransformation));

    ZelImageProcessorPhotosInPhoto withoutSource;
    withoutSource.setImageFileList({QStringLiteral("x.png")});
    withoutSource.setBlockSize(QSize(4, 4));
    QVERIFY(withoutSource.result().isNull());
}

void TestComposition::photosInPhotoCancel()
{
    const QString file = writeImage(QStringLiteral("grey.png"), solid(8, 8, 0xFF808080));
    const QImage source = noiseImage(40, 40, false, 4);
    for (const int cancelAt : {1, 3}) {
        ZelImageProcessorPhotosInPhoto effect(source);
        effect.setImageFileList({file, file});
        effect.setBlockSize(QSize(10, 10));
        int reports = 0;
        connect(&effect, &ZelImageProcessor::progress, this, [&](const QString&, const QString&, int, int) {
            if (++reports == cancelAt)
                effect.cancel();
        });
        QCOMPARE(effect.result(), source);
        QCOMPARE(reports, cancelAt);
    }
}

QTEST_MAIN(TestComposition)
#include "tst_composition.moc"
