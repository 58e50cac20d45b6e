// Composition effects: the drop shadow, the film-strip grid, the photo collage, composers and photos-in-photo.

#include "ZelEffectTestSupport.h"
#include "ZelImageProcessorComposer.h"
#include "ZelImageProcessorDropShadow.h"
#include "ZelImageProcessorExampleGrayscale.h"
#include "ZelImageProcessorFotoCollage.h"
#include "ZelImageProcessorImageGrid.h"
#include "ZelImageProcessorPhotosInPhoto.h"
#include "ZelTestProbe.h"

#include <QPainter>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {

using Images = QList<QImage>;
using Finished = QList<QVariantList>;
using Map = QVariantMap;

QImage solid(int width, int height, QRgb colour)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

Images copies(int count, const QImage& image) { return QVector<QImage>(count, image).toList(); }

QRgb rawPixel(const QImage& image, int x, int y) { return reinterpret_cast<const QRgb*>(image.constScanLine(y))[x]; }

QRgb& rawPixel(QImage& image, int x, int y) { return reinterpret_cast<QRgb*>(image.scanLine(y))[x]; }

// Noise from a generator of its own, leaving qrand() alone; translucent images mix alphas 255, 0, 128 and random ones.
QImage noiseImage(int width, int height, bool translucent, quint32 state)
{
    QImage image(width, height, QImage::Format_ARGB32);
    const auto next = [&state] { return (state = state * 1664525u + 1013904223u) >> 8; };
    for (int i = 0; i < width * height; ++i) {
        const quint32 alphas[] = {255, 0, 128, next() & 0xFF};
        const QRgb colour = next() & 0xFFFFFF;
        rawPixel(image, i % width, i / width) = colour | (translucent ? alphas[next() % 4] : 255u) << 24;
    }
    return image;
}

bool closeColour(QRgb a, QRgb b)
{
    return qAbs(qRed(a) - qRed(b)) <= 2 && qAbs(qGreen(a) - qGreen(b)) <= 2 && qAbs(qBlue(a) - qBlue(b)) <= 2;
}

ZelImageProcessor* marking(ZelImageProcessorProbe& probe, QRgb mark) { return probe.behaviour().mark = mark, &probe; }

// The collage with every colour white, so that only the photos show.
void whiteCollage(ZelImageProcessorFotoCollage& collage, int columns, int rows)
{
    collage.setParameters(columns, rows, 0, 0, 0, Qt::white, Qt::white, Qt::white);
}

struct ShadowCase
{
    QSize photo;
    QVariantList values; // Angle, Distance, Size, Blur
    QSize canvas;
    QPoint photoAt;
    QRect shadow; // where the hard shadow shows beside the photo
    double totalScale;
};

struct GridCase
{
    QSize gridSize;
    bool horizontal, strip;
    QSize expected;
    QPointF point; // normalised, and the index of the photo there
    int index;
    bool rightMarginToDefault = false;
    Images images = {}; // three 100 x 60 photos if empty
};

struct CollageCase
{
    QSize source, grid;
    int border; // outline and shadow width
    QSize expected, preview = {};
};

} // namespace

Q_DECLARE_METATYPE(ShadowCase)
Q_DECLARE_METATYPE(GridCase)
Q_DECLARE_METATYPE(CollageCase)

class TestComposition : public QObject
{
    Q_OBJECT

    QString writeImage(const QString& name, const QImage& image)
    {
        return image.save(myDir.filePath(name)) ? myDir.filePath(name) : QString();
    }

    QTemporaryDir myDir;

private slots:
    void shadowCanvas_data()
    {
        QTest::addColumn<ShadowCase>("c");
        // The shadow's centre trunc(20 * 50 / 100) = 10 pixels away: x from the sine, y from the cosine (deliberate).
        QTest::newRow("0: below") << ShadowCase{{20, 10}, {0, 50, 100, 0}, {20, 20}, {0, 0}, {0, 10, 20, 10}, 1};
        QTest::newRow("90: right") << ShadowCase{{20, 10}, {90, 50, 100, 0}, {30, 10}, {0, 0}, {20, 0, 10, 10}, 1};
        QTest::newRow("180: above") << ShadowCase{{20, 10}, {180, 50, 100, 0}, {20, 20}, {0, 10}, {0, 0, 20, 10}, 1};
        QTest::newRow("270: left") << ShadowCase{{20, 10}, {270, 50, 100, 0}, {30, 10}, {10, 0}, {0, 0, 10, 10}, 1};
        // A 20 x 10 shadow centred 4 pixels below the middle of a 40 x 20 photo lies entirely behind it.
        QTest::newRow("size 50: hidden") << ShadowCase{{40, 20}, {0, 10, 50, 0}, {40, 20}, {0, 0}, {}, 0.5};
        // The canvas grows by blurOffset = blur * 0.25 * 6 on the right and bottom of the shadow, centred.
        QTest::newRow("blur 4: 6 more") << ShadowCase{{100, 100}, {0, 0, 100, 4}, {106, 106}, {3, 3}, {}, 1.06};
        QTest::newRow("blur 8: 12 more") << ShadowCase{{100, 100}, {0, 0, 100, 8}, {112, 112}, {6, 6}, {}, 1.12};
    }
    void shadowCanvas()
    {
        QFETCH(ShadowCase, c);
        const QVariantList& values = c.values;
        const auto effect = makeEffect("DropShadow", solid(c.photo.width(), c.photo.height(), 0xFFFF0000),
                                       {{"Angle", values[0]}, {"Distance", values[1]}, {"Size", values[2]},
                                        {"Blur", values[3]}, {"Intensity", 255}});
        QSignalSpy progress(effect.get(), &ZelImageProcessor::progress);
        const QImage result = effect->result();
        QCOMPARE(result.size(), c.canvas);
        const QSizeF scale = static_cast<ZelImageProcessorDropShadow*>(effect.get())->totalScale();
        QVERIFY(qAbs(scale.width() - c.totalScale) < 1e-9 && qAbs(scale.height() - c.totalScale) < 1e-9);
        QImage expected = solid(c.canvas.width(), c.canvas.height(), 0);
        QPainter(&expected).fillRect(c.shadow, Qt::black);
        QPainter(&expected).fillRect(QRect(c.photoAt, c.photo), Qt::red);
        const QRect exact = values[3] == 0 ? expected.rect() : QRect(c.photoAt, c.photo); // the blur leaves the photo
        QCOMPARE(result.copy(exact), expected.copy(exact));
        QCOMPARE(progress.isEmpty(), values[3] == 0); // only the blur's convolution reports
    }

    // The shadow is the smooth-scaled photo's own premultiplied words, drawn: grey only their alpha; in colour opaque
    // words turn black and translucent ones keep their colour (intended). The photo's clear half hides nothing.
    void shadowKeepsTheScaledWords()
    {
        QImage photo = solid(40, 30, 0);
        for (int x = 0, y = 0; y < 15; x = (x + 1) % 40, y += x == 0)
            photo.setPixel(x, y, qRgba(x * 7 % 256, y * 9 % 256, 120, x > 10 && x < 30 ? 255 : x * 6 % 256));
        const QImage scaled = photo.scaled(80, 60, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        for (const bool greyOnly : {true, false}) {
            QImage words = scaled.copy(), expected = solid(80, 60, 0);
            for (int i = 0; i < 80 * 60; ++i) {
                QRgb& word = rawPixel(words, i % 80, i / 80);
                word = greyOnly ? word & 0xFF000000u : qAlpha(word) == 255 ? 0xFF000000u : word;
            }
            QPainter(&expected).drawImage(0, 0, words);
            const QImage result = makeEffect("DropShadow", photo, {{"AaGreyOnly", greyOnly}, {"Blur", 0}, {"Size", 200},
                                             {"Distance", 100}, {"Intensity", 255}, {"Angle", 0}})->result();
            bool found = false;
            for (int top = 0; top + 60 <= result.height() && !found; ++top)
                found = result.copy(0, top, 80, 60) == expected;
            QVERIFY2(found, greyOnly ? "grey only" : "coloured");
        }
    }

    // In colour the blur runs over the whole canvas, background included (deliberate): the Gaussian's truncated
    // weights leave even a uniform background a little darker and translucent. Grey only, it keeps its colour.
    void shadowBlursTheBackgroundInColour()
    {
        for (const bool greyOnly : {true, false}) {
            const QRgb corner = rawPixel(makeEffect("DropShadow", solid(100, 100, 0xFFC81E1E),
                                                    {{"Distance", 0}, {"Blur", 8}, {"AaGreyOnly", greyOnly},
                                                     {"AbBackgroundColor", QColor(0, 200, 0)}})->result(), 0, 0);
            QCOMPARE(corner == 0xFF00C800u, greyOnly);
            QVERIFY(qAlpha(corner) >= 250 && qGreen(corner) >= 190);
        }
    }

    void shadowImageAlone()
    {
        // Intensity 128 on an opaque photo: trunc(255 - 255 * 128 / 255) = 127 in the mask, 128 alpha.
        ZelImageProcessorDropShadow effect(noiseImage(100, 100, false, 10));
        effect.setBlur(0);
        QCOMPARE(effect.shadowImage().convertToFormat(QImage::Format_ARGB32), solid(100, 100, 0x80000000u));
        effect.setGreyOnly(false);
        QVERIFY(effect.shadowImage().isNull());
        const QPainterPath region = ZelImageProcessorDropShadow::createAvoidRegion(QRect(10, 20, 30, 40), 2.0, 3.7);
        QCOMPARE(region.boundingRect(), QRectF(23, 43, 54, 74)); // scaled by 2, inset by trunc(3.7) on every side
        QVERIFY(ZelImageProcessorDropShadow::createAvoidRegion(QRect(), 2.0, 1.0).isEmpty());
    }

    // Values far outside the ranges must neither crash nor allocate beyond reason.
    void guards_data()
    {
        QTest::addColumn<QString>("effect");
        QTest::addColumn<QVariantMap>("values");
        QTest::addColumn<QString>("outcome"); // "null", "source" or "image"
        QTest::newRow("shadow of negative size") << "DropShadow" << QVariantMap{{"Size", -50}} << "null";
        QTest::newRow("shadow far away") << "DropShadow" << QVariantMap{{"Distance", 2000000000}} << "null";
        QTest::newRow("grid beyond int") << "ImageGrid" << QVariantMap{{"GridSize", QSize(100000, 100000)}} << "null";
        QTest::newRow("grid gap") << "ImageGrid" << Map{{"GridDistance", 1e12}, {"GridSize", QSize(2, 1)}} << "null";
        QTest::newRow("tiles") << "FotoCollage" << Map{{"ANumberOfColumns", 101}, {"BNumberOfRows", 100}} << "source";
        QTest::newRow("prints") << "FotoCollage" << Map{{"COutlineWidth", 2e9}, {"DShadowWidth", 2e9}} << "image";
    }
    void guards()
    {
        QFETCH(QString, effect);
        QFETCH(QVariantMap, values);
        QFETCH(QString, outcome);
        const QImage source = noiseImage(20, 10, true, 17), result = makeEffect(effect, source, values)->result();
        QCOMPARE(result.isNull(), outcome == "null");
        QCOMPARE(result == source, outcome == "source");
    }

    void gridLayout_data()
    {
        QTest::addColumn<GridCase>("c");
        const Images wider{solid(40, 80, 0xFF808080), solid(100, 60, 0xFF808080)};
        // 100 x 60 photos: gap trunc(100 * 0.1) = 10; margins in percent of the first width: sides 8, top, bottom 15.
        // The index is trunc(columns * x) in a row, trunc(rows * y) in a column: neither clamped nor floored.
        QTest::newRow("three in a row") << GridCase{{0, 0}, true, true, {300 + 20 + 16, 60 + 30}, {0.5, 0.9}, 1};
        QTest::newRow("three in a column") << GridCase{{0, 0}, false, true, {100 + 16, 180 + 20 + 30}, {0.9, 0.5}, 1};
        QTest::newRow("row without strip: no gaps, margins") << GridCase{{0, 0}, true, false, {300, 60}, {0.99, 0}, 2};
        QTest::newRow("column without strip") << GridCase{{0, 0}, false, false, {100, 180}, {0, 0.99}, 2};
        QTest::newRow("2 x 2 of three") << GridCase{{2, 2}, true, true, {200 + 10 + 16, 120 + 10 + 30}, {1.0, 0.5}, 2};
        QTest::newRow("4 x 2") << GridCase{{4, 2}, true, true, {400 + 30 + 16, 120 + 10 + 30}, {0.6, 0.9}, 2};
        QTest::newRow("2 x 1 transposed for a column") << GridCase{{2, 1}, false, true, {116, 160}, {0, 0.6}, 1};
        QTest::newRow("negative size: one row") << GridCase{{-2, 3}, true, true, {336, 90}, {-0.1, 0.5}, 0};
        QTest::newRow("right margin to its default 2, not 8") << GridCase{{0, 0}, true, true, {330, 90}, {}, 0, true};
        // Cells sized for the largest width and height; margins trunc(40 * 0.08) = 3, trunc(40 * 0.15) = 6.
        QTest::newRow("mixed sizes") << GridCase{{0, 0}, true, true, {216, 92}, {0.99, 0}, 1, false, wider};
    }
    void gridLayout()
    {
        QFETCH(GridCase, c);
        ZelImageProcessorImageGrid grid(c.images.isEmpty() ? copies(3, solid(100, 60, 0xFF808080)) : c.images);
        grid.setGridSize(c.gridSize);
        grid.setHorizontalFilmStrip(c.horizontal);
        grid.setPaintFilmStrip(c.strip);
        if (c.rightMarginToDefault)
            grid.setParameters({{"RightMargin", {8, false}}});
        QCOMPARE(grid.result().size(), c.expected);
        QCOMPARE(grid.normalizedCoordinatesToImageIndex(c.point), c.index);
    }

    void gridMatchesQPainter_data()
    {
        QTest::addColumn<int>("selected");
        QTest::newRow("none selected") << -1;
        QTest::newRow("selected") << 2;
        QTest::newRow("selected and repeated") << 0; // the last two cells repeat photos 0 and 1, framed with them
        QTest::newRow("beyond the list") << 10;
    }
    // Without strip the grid must look exactly as if QPainter had drawn every photo top left in its cell, whatever its
    // format, and framed the selected one in red. Cells of 13 x 34, border pen max(1, trunc(102 * 0.01)).
    void gridMatchesQPainter()
    {
        QFETCH(int, selected);
        QImage strayAlpha = noiseImage(6, 6, true, 5);
        strayAlpha.reinterpretAsFormat(QImage::Format_RGB32);
        const auto as = [](const QImage& image, QImage::Format format) { return image.convertToFormat(format); };
        const Images images{noiseImage(11, 8, false, 1), noiseImage(10, 10, true, 2), strayAlpha,
                            as(noiseImage(7, 9, false, 3), QImage::Format_Indexed8),
                            as(noiseImage(9, 5, true, 4), QImage::Format_Indexed8),
                            as(noiseImage(5, 12, false, 6), QImage::Format_RGB888),
                            as(noiseImage(8, 7, false, 7), QImage::Format_ARGB32_Premultiplied),
                            as(noiseImage(8, 7, true, 8), QImage::Format_ARGB32_Premultiplied),
                            as(noiseImage(13, 4, false, 9), QImage::Format_Mono), noiseImage(3, 34, true, 10)};
        ZelImageProcessorImageGrid grid(images);
        grid.setPaintFilmStrip(false);
        grid.setGridSize(QSize(4, 3));
        grid.setBackgroundColor(QColor(10, 20, 30, 100));
        grid.setSelectedIndex(selected);
        QImage expected = solid(4 * 13, 3 * 34, qRgba(10, 20, 30, 100));
        QPainter painter(&expected);
        painter.setPen(QPen(QBrush(Qt::white), 1, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        painter.drawRect(expected.rect());
        for (int cell = 0; cell < 12; ++cell) {
            // RGB32 words are 0xffRRGGBB whatever they hold: the grid sets the alpha bytes.
            QImage image = images.at(cell % images.size());
            image = image.format() == QImage::Format_RGB32 ? image.convertToFormat(QImage::Format_ARGB32) : image;
            const QRectF target(cell % 4 * 13, cell / 4 * 34, image.width(), image.height());
            painter.drawImage(target, image, QRectF(QPointF(0, 0), image.size()));
            if (cell % images.size() == selected) {
                painter.setPen(QPen(QBrush(Qt::red), 10.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
                painter.drawRect(target);
            }
        }
        painter.end();
        QCOMPARE(grid.result(), expected);
        grid.setImages(Images());
        QVERIFY(grid.result().isNull());
    }

    void collageSize_data()
    {
        QTest::addColumn<CollageCase>("c");
        // 5 x 5 tiles of 20 x 10 grow by an outline of 1 on every side and a shadow of 1 + 2 to 25 x 15; border 5.
        QTest::newRow("defaults") << CollageCase{{100, 50}, {5, 5}, 5, {5 * 25 + 10, 5 * 15 + 10}};
        QTest::newRow("no outline, no shadow: still 2 more") << CollageCase{{100, 50}, {5, 5}, 0, {120, 70}};
        QTest::newRow("source narrower: null tiles, 2 x 2 shadows") << CollageCase{{3, 50}, {5, 5}, 5, {14, 14}};
        QTest::newRow("source smaller: every tile the whole photo") << CollageCase{{3, 3}, {5, 5}, 5, {5 * 5, 5 * 5}};
        // The preview passes rows as columns and columns as rows (deliberate): 3 x 1 tiles of 20 x 40, 22 x 42 with
        // the shadow image, border 3; the preview's 1 x 3 tiles of 60 x 13, 62 x 15.
        QTest::newRow("preview exchanges rows and columns")
            << CollageCase{{60, 40}, {3, 1}, 0, {6 + 3 * 22, 6 + 42}, {6 + 62, 6 + 3 * 15}};
    }
    void collageSize()
    {
        QFETCH(CollageCase, c);
        ZelImageProcessorFotoCollage collage(solid(c.source.width(), c.source.height(), 0xFF808080));
        collage.setParameters(c.grid.width(), c.grid.height(), c.border, c.border, 0, Qt::blue, Qt::blue, Qt::blue);
        QCOMPARE(collage.result().size(), c.expected);
        if (c.preview.isValid())
            QCOMPARE(collage.generatePreview(QRect(QPoint(0, 0), c.source)).size(), c.preview);
    }

    void collageLayout_data()
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
        QTest::newRow("ten: 3 x trunc(3.33 + 0.9)") << 10 << QSize(360, 180) << 3 << 4;
        // Otherwise columns = trunc(sqrt(n + 1)), rows = trunc(n / columns + 0.9).
        QTest::newRow("two on a tall background: one column") << 2 << QSize(120, 180) << 2 << 1;
        QTest::newRow("five on a square: 3 x 2") << 5 << QSize(180, 180) << 3 << 2;
    }
    void collageLayout()
    {
        QFETCH(int, photos);
        QFETCH(QSize, background);
        QFETCH(int, rows);
        QFETCH(int, columns);
        const QRgb colours[] = {0xFFC00000, 0xFF00C000, 0xFF0000C0, 0xFFC0C000, 0xFF00C0C0,
                                0xFFC000C0, 0xFF606060, 0xFF600000, 0xFF006000, 0xFF000060};
        ZelImageProcessorFotoCollage collage;
        Images images;
        for (int i = 0; i < photos; ++i)
            images << solid(60, 40, colours[i]);
        collage.setImages(images);
        collage.setBgSize(background.width(), background.height());
        whiteCollage(collage, 5, 5);
        QSignalSpy progress(&collage, &ZelImageProcessor::progress);
        const QImage result = collage.result();
        QCOMPARE(result.size(), background);
        const int cells = rows * columns, width = background.width() / columns, height = background.height() / rows;
        QCOMPARE(progress.last(), (QVariantList{"Foto To Collage", QString(), 2 * cells, 2 * cells})); // two passes
        // Each cell's middle shows its photo, turned by 5 degrees; extra ones repeat trunc(qrand() / 2^31 * n / 2 + 1).
        for (int k = 0; k < cells; ++k) {
            const QRgb pixel = rawPixel(result, k % columns * width + width / 2, k / columns * height + height / 2);
            const auto shows = [pixel](QRgb colour) { return closeColour(pixel, colour); };
            QVERIFY2(k < photos ? shows(colours[k]) : std::any_of(colours + 1, colours + 1 + cells / 2, shows),
                     qPrintable(QString::number(k)));
        }
    }

    // Maximum angle 0 turns no 20 x 20 tile of one photo, but every print of several by 5 degrees (deliberate): the
    // first print's corner stays white (two 90 x 60 cells, the print centred). Background mode 1 is the raw value 19,
    // the texture modes are RGB32 (a missing texture stretches to black), unknown ones null.
    void collageTiltAndBackground()
    {
        QImage source = solid(40, 40, 0xFFC00000);
        QPainter(&source).fillRect(20, 20, 20, 20, QColor(0, 0xC0, 0));
        ZelImageProcessorFotoCollage collage(source);
        whiteCollage(collage, 2, 2);
        QImage result = collage.result();
        QVERIFY(rawPixel(result, 2, 2) == 0xFFC00000u && rawPixel(result, 21, 21) == 0xFFC00000u);
        QVERIFY(rawPixel(result, 24, 24) == 0xFF00C000u && rawPixel(result, 43, 43) == 0xFF00C000u);
        collage.setImages({solid(60, 40, 0xFFC00000), solid(60, 40, 0xFF00C000)});
        collage.setBgSize(180, 60);
        result = collage.result();
        QVERIFY(closeColour(rawPixel(result, 45, 30), 0xFFC00000));
        QCOMPARE(rawPixel(result, 4, 1), 0xFFFFFFFFu);
        QImage texture = solid(2, 1, 0xFF445566).convertToFormat(QImage::Format_RGB32);
        texture.setPixel(0, 0, 0xFF112233);
        const QList<QPair<QImage, QRgb>> corners{{QImage(), 19}, {texture, 0xFF112233}, {QImage(), 0xFF000000}};
        for (int mode = 1; mode <= 4; ++mode) {
            collage.setBgMode(ZelImageProcessorFotoCollage::BackGroundMode(mode));
            collage.setBgTexture(corners.value(mode - 1).first);
            result = collage.result();
            QCOMPARE(result.format(), mode == 4 ? QImage::Format_Invalid
                                                : mode == 1 ? QImage::Format_ARGB32 : QImage::Format_RGB32);
            QCOMPARE(result.isNull() ? 0 : rawPixel(result, 0, 0), corners.value(mode - 1).second);
        }
    }

    // Each step marks the next black pixel of row 0 of the previous step's result. Steps that are gone, null or the
    // composer itself are skipped.
    void chain()
    {
        const QImage source = solid(4, 2, 0xFF000000);
        ZelImageProcessorProbe first, second;
        auto gone = std::make_unique<ZelImageProcessorProbe>();
        ZelImageProcessorComposer composer(source);
        const QList<ZelImageProcessor*> steps{marking(second, 0xFF00FF00), marking(*gone, 0xFFFF0000), nullptr,
                                              &composer, marking(first, 0xFF0000FF), &second};
        for (ZelImageProcessor* step : steps)
            composer.addProcessor(step);
        gone.reset();
        QCOMPARE(composer.generatePreview(QRect(1, 0, 2, 2)), source.copy(1, 0, 2, 2)); // no chain (deliberate)
        QSignalSpy progress(&composer, &ZelImageProcessor::progress), finished(&composer, &ZelImageProcessor::finished);
        const QImage result = composer.result();
        QImage expected = source;
        QPainter(&expected).fillRect(0, 0, 3, 1, QColor(0, 255, 0));
        expected.setPixel(1, 0, 0xFF0000FFu);
        QCOMPARE(result, expected);
        QCOMPARE(progress.count(), 3 * 2);
        QCOMPARE(progress.first(), (QVariantList{"Probe title", "step", 1, 2}));
        QCOMPARE(Finished(finished), Finished{{true}});
        // Like every step, the composer in its own chain was handed the running picture as its
        // source (after the first step): a second run starts from there.
        expected.setPixel(1, 0, 0xFF00FF00u);
        expected.setPixel(2, 0, 0xFF0000FFu);
        expected.setPixel(3, 0, 0xFF00FF00u);
        QCOMPARE(composer.result(), expected);
    }

    // Cancelled from the second step's progress, the chain stops before the third: the source comes back, without
    // finished; the request is used up. Cancelled in the last step (a real effect polling per row, which returns its
    // own source), it returns that step's result and reports false; cancelled before, no step runs, no finished.
    void chainCancel()
    {
        const QImage source = solid(4, 1, 0xFF000000);
        ZelImageProcessorProbe steps[3];
        ZelImageProcessorComposer composer(source);
        for (int i = 0; i < 3; ++i)
            composer.addProcessor(marking(steps[i], 0xFF000000u | 0x10u * (i + 1)));
        int reports = 0;
        connect(&composer, &ZelImageProcessor::progress, this, [&] {
            if (++reports == 4)
                composer.cancel();
        });
        QSignalSpy finished(&composer, &ZelImageProcessor::finished);
        QSignalSpy canceled(&composer, &ZelImageProcessor::operationCanceled);
        QCOMPARE(composer.result(), source);
        QVERIFY(reports == 4 && canceled.count() == 1 && finished.isEmpty());
        QCOMPARE(rawPixel(composer.result(), 2, 0), 0xFF000030u);
        QCOMPARE(Finished(finished), Finished{{true}});
        QImage picture = photo(4, 3);
        picture.setPixel(0, 0, 0xFF000000u); // for the probe to mark
        ZelImageProcessorExampleGrayscale grey;
        ZelImageProcessorComposer last(picture);
        last.addProcessor(&steps[2]);
        last.addProcessor(&grey);
        connect(&last, &ZelImageProcessor::progress, this, [&](const QString& title) {
            if (title == QLatin1String("Example"))
                last.cancel();
        });
        QSignalSpy titles(&last, &ZelImageProcessor::progress), lastFinished(&last, &ZelImageProcessor::finished);
        QImage probed = picture;
        probed.setPixel(0, 0, 0xFF000030u);
        QCOMPARE(last.result(), probed);
        QCOMPARE(titles.count(), 3); // the probe's two steps, then the first row of the last step
        last.cancel();
        QCOMPARE(last.result(), picture);
        QCOMPARE(titles.count(), 3);
        QCOMPARE(Finished(lastFinished), Finished{{false}});
    }

    // 100 x 100 in 30 x 30 blocks, the last ones clipped, each a thumbnail drawn by qrand(). Over a transparent source
    // the overlay leaves the grey mosaic: red (200, 0, 0) turns (11 * 200) >> 5 = 68, blue (5 * 255) >> 5 = 39. Two
    // thumbnails and four block rows are reported; a cancel after a report gives the source.
    void photosInPhotoBlocks()
    {
        const QImage source = solid(100, 100, 0x00000000);
        ZelImageProcessorPhotosInPhoto effect(source);
        effect.setImageFileList({writeImage(QStringLiteral("red.png"), solid(50, 50, qRgb(200, 0, 0))),
                                 writeImage(QStringLiteral("blue.png"), solid(40, 40, qRgb(0, 0, 255)))});
        effect.setBlockSize(QSize(30, 30));
        QSignalSpy progress(&effect, &ZelImageProcessor::progress);
        qsrand(5);
        const QImage result = effect.result();
        QCOMPARE(result.format(), QImage::Format_RGB32);
        QSet<QRgb> greys;
        for (int i = 0; i < 100 * 100; ++i) {
            greys << rawPixel(result, i % 100, i / 100);
            QCOMPARE(rawPixel(result, i % 100, i / 100), rawPixel(result, i % 100 / 30 * 30, i / 100 / 30 * 30));
        }
        QCOMPARE(greys, (QSet<QRgb>{0xFF444444u, 0xFF272727u}));
        QCOMPARE(progress.size(), 6);
        QCOMPARE(progress.last(), (QVariantList{"Photos In Photo", QString(), 6, 6}));
        int cancelAt = 0;
        connect(&effect, &ZelImageProcessor::progress, this, [&](QString, QString, int report) {
            if (report == cancelAt)
                effect.cancel();
        });
        for (cancelAt = 1; cancelAt <= 3; cancelAt += 2) { // after a thumbnail, then after a block row
            QCOMPARE(effect.result(), source);
            QCOMPARE(progress.last().at(2).toInt(), cancelAt);
        }
    }

    // Scaled to cover the block, the middle of the axis that overfills it is taken: of a 60 x 30 photo red on the left
    // half, columns 15 ... 44 (grey of red (11 * 255) >> 5 = 87, of blue 39). A file that does not load gives a black
    // block. Without files, or before a block size is set, the source comes back unchanged.
    void photosInPhotoThumbnails()
    {
        QImage halves = solid(60, 30, qRgb(0, 0, 255));
        QPainter(&halves).fillRect(0, 0, 30, 30, Qt::red);
        ZelImageProcessorPhotosInPhoto effect(solid(30, 30, 0x00000000));
        effect.setImageFileList({writeImage(QStringLiteral("halves.png"), halves)});
        effect.setBlockSize(QSize(30, 30));
        const QImage result = effect.result();
        QVERIFY(rawPixel(result, 5, 15) == 0xFF575757u && rawPixel(result, 25, 15) == 0xFF272727u);
        effect.setImageFileList({myDir.filePath(QStringLiteral("missing.png"))});
        QCOMPARE(effect.result(), solid(30, 30, 0xFF000000).convertToFormat(QImage::Format_RGB32));
        const QImage source = noiseImage(20, 10, true, 3);
        ZelImageProcessorPhotosInPhoto unset(source);
        QCOMPARE(unset.result(), source);
        unset.setImageFileList({myDir.filePath(QStringLiteral("halves.png"))});
        QCOMPARE(unset.result(), source);
    }
};

QTEST_MAIN(TestComposition)
#include "tst_composition.moc"
