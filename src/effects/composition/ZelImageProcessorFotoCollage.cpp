#include "ZelImageProcessorFotoCollage.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelPixelMath_p.h"

#include <QGraphicsDropShadowEffect>
#include <QGraphicsPixmapItem>
#include <QGraphicsScene>
#include <QMatrix>
#include <QPainter>
#include <QPixmap>

#include <climits>
#include <cmath>

namespace {

const QString kNumberOfColumns = QStringLiteral("ANumberOfColumns");
const QString kNumberOfRows = QStringLiteral("BNumberOfRows");
const QString kOutlineWidth = QStringLiteral("COutlineWidth");
const QString kShadowWidth = QStringLiteral("DShadowWidth");
const QString kMaxAngle = QStringLiteral("EMaxAngle");
const QString kBgColor = QStringLiteral("AABgColor");
const QString kOutlineColor = QStringLiteral("ABOutlineColor");
const QString kShadowColor = QStringLiteral("ACShadowColor");

const QString kProgressName = QStringLiteral("Foto To Collage");

// More tiles than this (far outside the 20 x 20 the parameters allow) would keep the collage
// busy for hours; the source is returned instead.
const qint64 kMaximumCellCount = 10000;

// qrand() / 2^31
const double kRandomScale = 4.656612873077393e-10;

// A value in lo ... hi from qrand(); in doubles, so that no angle overflows.
int randomInRange(double lo, double hi)
{
    return zelTruncToInt(qrand() * kRandomScale * (hi - lo + 1) + lo);
}

ZelParameterDescription colorParameter(const QString& key, const QString& visibleName, const QColor& color)
{
    ZelParameterDescription plain;
    plain.setParameterName(key);
    plain.setVisibleName(visibleName);
    plain.setValue(color);
    plain.setDefaultValue(color);
    return plain;
}

// A null image where the size does not fit an int or is empty.
QImage imageOfSize(qint64 width, qint64 height, QImage::Format format)
{
    if (width <= 0 || height <= 0 || width > INT_MAX || height > INT_MAX)
        return QImage();
    return QImage(int(width), int(height), format);
}

} // namespace

class ZelImageProcessorFotoCollageImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    using BackGroundMode = ZelImageProcessorFotoCollage::BackGroundMode;

    explicit ZelImageProcessorFotoCollageImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Collage"))
    {
        createParameterDescriptions();
    }

    using ZelImageProcessorImpl::setParameters;
    void setParameters(int columns, int rows, int outlineWidth, int shadowWidth, int maxAngle,
                       const QColor& background, const QColor& outline, const QColor& shadow)
    {
        myParameters.setValue(kNumberOfColumns, columns);
        myParameters.setValue(kNumberOfRows, rows);
        myParameters.setValue(kOutlineWidth, outlineWidth);
        myParameters.setValue(kShadowWidth, shadowWidth);
        myParameters.setValue(kMaxAngle, maxAngle);
        myParameters.setValue(kBgColor, background);
        myParameters.setValue(kOutlineColor, outline);
        myParameters.setValue(kShadowColor, shadow);
    }
    void setImages(const QList<QImage>& images) { myImages = images; }
    void setBgSize(int width, int height)
    {
        myBgWidth = width;
        myBgHeight = height;
    }
    void setBgTexture(const QImage& texture) { myBgTexture = texture; }
    void setBgMode(BackGroundMode mode) { myBgMode = mode; }

    int numberOfColumns() const { return myParameters.value(kNumberOfColumns).toInt(); }
    int numberOfRows() const { return myParameters.value(kNumberOfRows).toInt(); }
    int outlineWidth() const { return myParameters.value(kOutlineWidth).toInt(); }
    int shadowWidth() const { return myParameters.value(kShadowWidth).toInt(); }
    int maxAngle() const { return myParameters.value(kMaxAngle).toInt(); }
    QColor bgColor() const { return myParameters.value(kBgColor).value<QColor>(); }
    QColor outlineColor() const { return myParameters.value(kOutlineColor).value<QColor>(); }
    QColor shadowColor() const { return myParameters.value(kShadowColor).value<QColor>(); }

public slots:
    QImage result() override { return myImages.isEmpty() ? fotoToCollage() : fotoToCollageFromMultiPleImage(); }
    QImage generatePreview(const QSize& size) override { return previewOn(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return previewOn(sectionOfSourceImage(rect)); }

private:
    void createParameterDescriptions();

    QImage fotoToCollage();
    QImage fotoToCollageFromMultiPleImage();
    QImage prepareBackGround() const;

    static QImage cropImage(const QImage& image, int x, int y, int width, int height)
    {
        return image.copy(x, y, width, height);
    }
    QImage outlineImage(const QImage& image) const;
    static QImage rotateImage(const QImage& image, int degrees)
    {
        return image.transformed(QMatrix().rotate(degrees), Qt::SmoothTransformation);
    }
    QImage shadowImage(const QImage& image) const;
    static void composeImage(QImage& canvas, const QImage& image, int x, int y);
    static QRect getRectWithAspectRatio(const QRect& cell, const QSize& size);

    void reportProgress(int current, int total) { emit progress(kProgressName, QString(), current, total); }

    // Rows and columns are exchanged on purpose: a preview of 3 x 5 shows 5 x 3.
    QImage previewOn(const QImage& image) const
    {
        ZelImageProcessorFotoCollage preview(image);
        preview.setParameters(numberOfRows(), numberOfColumns(), outlineWidth(), shadowWidth(), maxAngle(), bgColor(),
                              outlineColor(), shadowColor());
        return preview.result();
    }

    int myCellCount = 0;
    QList<QImage> myImages;
    int myBgWidth = 1800;
    int myBgHeight = 1200;
    QImage myBgTexture;
    BackGroundMode myBgMode = ZelImageProcessorFotoCollage::ColoredBackground;
};

void ZelImageProcessorFotoCollageImpl::createParameterDescriptions()
{
    addNumberParameter(kNumberOfColumns, tr("Anzahl der Spalten"), 5, 1, 20, 0, 0);
    addNumberParameter(kNumberOfRows, tr("Anzahl der Zeilen"), 5, 1, 20, 1, 0);
    addNumberParameter(kOutlineWidth, tr("Breite des Randes"), 5, 0, 100, 2, 0);
    addNumberParameter(kShadowWidth, tr("Größe des Schattens"), 5, 0, 100, 3, 0);
    addNumberParameter(kMaxAngle, tr("Maximaler Drehwinkel"), 10, 0, 90, 4, 0);
    addParameter(kBgColor, colorParameter(kBgColor, tr("Hintergrundfarbe"), Qt::blue), 5, 0);
    addParameter(kOutlineColor, colorParameter(kOutlineColor, tr("Farbe der Ränder "), Qt::blue), 6, 0);
    addParameter(kShadowColor, colorParameter(kShadowColor, tr("Farbe des Schattens"), Qt::blue), 7, 0);
}

QImage ZelImageProcessorFotoCollageImpl::prepareBackGround() const
{
    switch (myBgMode) {
    case ZelImageProcessorFotoCollage::ColoredBackground: {
        QImage canvas = imageOfSize(myBgWidth, myBgHeight, QImage::Format_ARGB32);
        if (!canvas.isNull())
            canvas.fill(bgColor());
        return canvas;
    }
    case ZelImageProcessorFotoCollage::TransparentBackground: {
        QImage canvas = imageOfSize(myBgWidth, myBgHeight, QImage::Format_ARGB32);
        if (!canvas.isNull())
            canvas.fill(19u);
        return canvas;
    }
    case ZelImageProcessorFotoCollage::TiledTexture:
    case ZelImageProcessorFotoCollage::StretchedTexture: {
        QImage canvas = imageOfSize(myBgWidth, myBgHeight, QImage::Format_RGB32);
        if (canvas.isNull())
            return canvas;
        // Black where no texture is set, rather than whatever the memory held.
        canvas.fill(Qt::black);
        if (myBgTexture.isNull())
            return canvas;
        QPainter painter(&canvas);
        if (myBgMode == ZelImageProcessorFotoCollage::TiledTexture) {
            painter.setRenderHint(QPainter::Antialiasing, true);
            painter.fillRect(QRect(0, 0, myBgWidth, myBgHeight), QBrush(myBgTexture));
        } else {
            painter.drawImage(canvas.rect(), myBgTexture);
        }
        return canvas;
    }
    }
    return QImage();
}

// The outline is a percentage of the photo's width on all four sides.
QImage ZelImageProcessorFotoCollageImpl::outlineImage(const QImage& image) const
{
    const int border = zelTruncToInt(image.width() * double(outlineWidth()) * 0.01);
    QImage outlined = imageOfSize(image.width() + 2 * qint64(border), image.height() + 2 * qint64(border),
                                  QImage::Format_ARGB32);
    if (outlined.isNull())
        return outlined;
    outlined.fill(outlineColor());
    QPainter painter(&outlined);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.drawImage(border, border, image);
    return outlined;
}

QImage ZelImageProcessorFotoCollageImpl::shadowImage(const QImage& image) const
{
    const int offset = zelTruncToInt(image.width() * double(shadowWidth()) * 0.01);
    QImage shadowed = imageOfSize(image.width() + qint64(offset) + 2, image.height() + qint64(offset) + 2,
                                  QImage::Format_ARGB32);
    if (shadowed.isNull())
        return shadowed;
    shadowed.fill(19u);

    QGraphicsScene scene;
    // Without an index: the index is built from a timer, which a thread without an event
    // dispatcher (std::thread, a pool's worker) cannot start, and an unindexed scene renders
    // none of its items there. One item needs no index anyway.
    scene.setItemIndexMethod(QGraphicsScene::NoIndex);
    scene.setSceneRect(0, 0, shadowed.width(), shadowed.height());
    auto* item = new QGraphicsPixmapItem(QPixmap::fromImage(image));
    item->setTransformationMode(Qt::SmoothTransformation);
    auto* shadow = new QGraphicsDropShadowEffect;
    shadow->setOffset(offset, offset);
    shadow->setColor(shadowColor());
    shadow->setBlurRadius(10.0);
    item->setGraphicsEffect(shadow);
    scene.addItem(item);

    QPainter painter(&shadowed);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setBackgroundMode(Qt::TransparentMode);
    scene.render(&painter);
    return shadowed;
}

void ZelImageProcessorFotoCollageImpl::composeImage(QImage& canvas, const QImage& image, int x, int y)
{
    if (canvas.isNull())
        return;
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.drawImage(x, y, image);
}

QRect ZelImageProcessorFotoCollageImpl::getRectWithAspectRatio(const QRect& cell, const QSize& size)
{
    if (size.isEmpty() || cell.isEmpty())
        return cell;
    const double sizeRatio = double(size.width()) / size.height();
    const double cellRatio = double(cell.width()) / cell.height();
    if (sizeRatio > cellRatio) {
        const int height = zelTruncToInt(size.height() * (double(cell.width()) / size.width()));
        return QRect(cell.left(), cell.top() + (cell.height() - height) / 2, cell.width(), height);
    }
    if (sizeRatio < cellRatio) {
        const int width = zelTruncToInt(size.width() * (double(cell.height()) / size.height()));
        return QRect(cell.left() + (cell.width() - width) / 2, cell.top(), width, cell.height());
    }
    return cell;
}

QImage ZelImageProcessorFotoCollageImpl::fotoToCollage()
{
    const QImage source = sourceImage();
    const int columns = numberOfColumns();
    const int rows = numberOfRows();
    if (source.isNull() || columns < 1 || rows < 1 || qint64(columns) * rows > kMaximumCellCount) {
        emit finished(true);
        return source;
    }
    const int maximum = maxAngle();
    const int tileWidth = source.width() / columns;
    const int tileHeight = source.height() / rows;
    myCellCount = rows * columns;
    int p = 1;

    QList<QImage> tiles;
    int largestRowWidth = 0;
    int totalHeight = 0;
    for (int r = 0; r < rows; ++r) {
        int rowWidth = 0;
        QImage tile;
        for (int c = 0; c < columns; ++c) {
            tile = shadowImage(outlineImage(cropImage(source, c * tileWidth, r * tileHeight, tileWidth, tileHeight)));
            tiles.append(tile);
            rowWidth += tile.width();
            largestRowWidth = qMax(largestRowWidth, rowWidth);
            reportProgress(p++, myCellCount);
            if (resetCancel())
                return source;
        }
        totalHeight += tile.height();
    }

    const int border = zelTruncToInt(qMax(source.height() * 0.05, source.width() * 0.05));
    myBgWidth = 2 * border + largestRowWidth;
    myBgHeight = 2 * border + totalHeight;
    QImage canvas = prepareBackGround();

    int y = border;
    for (int r = 0; r < rows; ++r) {
        int x = border;
        int lastHeight = 0;
        for (int c = 0; c < columns; ++c) {
            const QImage tile = tiles.takeFirst();
            lastHeight = tile.height();
            composeImage(canvas, rotateImage(tile, randomInRange(-double(maximum), maximum)), x, y);
            x += tile.width();
            reportProgress(p++, myCellCount);
            if (resetCancel())
                return source;
        }
        y += lastHeight;
    }
    emit finished(true);
    return canvas;
}

QImage ZelImageProcessorFotoCollageImpl::fotoToCollageFromMultiPleImage()
{
    const QImage source = sourceImage();
    QList<QImage> prints = myImages;
    const int n = prints.size();
    int rows = 0;
    int columns = 0;
    if (myBgWidth > myBgHeight) {
        rows = zelTruncToInt(std::sqrt(n + 1.0));
        columns = zelTruncToInt(double(n) / rows + 0.9);
    } else {
        columns = zelTruncToInt(std::sqrt(n + 1.0));
        rows = zelTruncToInt(double(n) / columns + 0.9);
    }
    myCellCount = rows * columns;

    QImage canvas = prepareBackGround();
    if (canvas.isNull()) {
        emit finished(true);
        return canvas;
    }
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::Antialiasing, true);
    const int cellWidth = myBgWidth / columns;
    const int cellHeight = myBgHeight / rows;

    QList<QRect> cells;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            if (cells.size() == prints.size()) {
                const int count = prints.size();
                const int index = zelTruncToInt(qrand() * kRandomScale * (count / 2.0) + 1.0);
                prints.append(prints.at(qBound(0, index, count - 1)));
            }
            cells.append(QRect(c * cellWidth, r * cellHeight, cellWidth, cellHeight));
        }
    }

    const int maximum = maxAngle();
    const int total = 2 * myCellCount;
    int counter = 0;
    int overflowX = 0;
    int overflowY = 0;
    for (int k = 0; k < cells.size(); ++k) {
        QImage print = outlineImage(prints.at(k).scaled(cells.at(k).size(), Qt::KeepAspectRatio,
                                                        Qt::SmoothTransformation));
        int angle = randomInRange(-double(maximum), maximum);
        // No print of several lies straight: a straight one looks like a mistake in a pile.
        if (angle == 0)
            angle = 5;
        print = shadowImage(rotateImage(print, angle));
        prints[k] = print;
        cells[k] = getRectWithAspectRatio(cells.at(k), print.size());
        overflowX = qMax(overflowX, cells.at(k).left() + print.width() - myBgWidth);
        overflowY = qMax(overflowY, cells.at(k).top() + print.height() - myBgHeight);
        reportProgress(++counter, total);
        if (resetCancel())
            return source;
    }

    for (int k = 0; k < cells.size(); ++k) {
        const int r = k / columns;
        const int c = k % columns;
        const QImage& print = prints.at(k);
        int x = cells.at(k).left();
        int y = cells.at(k).top();
        if (c == columns - 1) {
            if (x + print.width() > myBgWidth)
                x = myBgWidth - print.width();
        } else if (c > 0) {
            x -= overflowX / (columns - 1);
        }
        if (r == rows - 1) {
            if (y + print.height() > myBgHeight)
                y = myBgHeight - print.height();
        } else if (r > 0) {
            y -= overflowY / (rows - 1);
        }
        painter.drawImage(x, y, print);
        reportProgress(++counter, total);
        if (resetCancel())
            return source;
    }
    painter.end();
    emit finished(true);
    return canvas;
}

ZelImageProcessorFotoCollage::ZelImageProcessorFotoCollage(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Fotocollage"));
    setProperty("IconName", QStringLiteral("ico_collage"));
    installImplementation(new ZelImageProcessorFotoCollageImpl(image));
}

static ZelImageProcessorFotoCollageImpl* collageImpl(ZelImageProcessorImpl* impl)
{
    return static_cast<ZelImageProcessorFotoCollageImpl*>(impl);
}

void ZelImageProcessorFotoCollage::setParameters(int columns, int rows, int outlineWidth, int shadowWidth,
                                                 int maxAngle, const QColor& background, const QColor& outline,
                                                 const QColor& shadow)
{
    collageImpl(myImpl)->setParameters(columns, rows, outlineWidth, shadowWidth, maxAngle, background, outline,
                                       shadow);
}

void ZelImageProcessorFotoCollage::setImages(const QList<QImage>& images) { collageImpl(myImpl)->setImages(images); }
void ZelImageProcessorFotoCollage::setBgSize(int width, int height) { collageImpl(myImpl)->setBgSize(width, height); }
void ZelImageProcessorFotoCollage::setBgTexture(const QImage& texture) { collageImpl(myImpl)->setBgTexture(texture); }
void ZelImageProcessorFotoCollage::setBgMode(BackGroundMode mode) { collageImpl(myImpl)->setBgMode(mode); }

#include "ZelImageProcessorFotoCollage.moc"
