#include "ZelImageProcessorImageGrid.h"
#include "ZelImageProcessorImpl_p.h"
#include "ZelOpaqueCopy_p.h"
#include "ZelParameterDescriptionNumber.h"
#include "ZelPixelMath_p.h"
#include "ZelProgressSignalizer.h"

#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <climits>
#include <cmath>

namespace {

const QString kGridDistance = QStringLiteral("GridDistance");
const QString kBackgroundColor = QStringLiteral("BackgroundColor");
const QString kRoundnessHole = QStringLiteral("RoundnessHole");
const QString kHoleToDistanceRatio = QStringLiteral("HoleToDistanceRatio");
const QString kHoleHeight = QStringLiteral("HoleHeight");
const QString kNumberOfHoles = QStringLiteral("NumberOfHoles");
const QString kLeftMargin = QStringLiteral("LeftMargin");
const QString kRightMargin = QStringLiteral("RightMargin");
const QString kBottomMargin = QStringLiteral("BottomMargin");
const QString kTopMargin = QStringLiteral("TopMargin");
const QString kIsHorizontal = QStringLiteral("IsHorizontal");
const QString kShowStrip = QStringLiteral("ShowStrip");
const QString kGridSize = QStringLiteral("GridSize");

ZelParameterDescriptionNumber numberParameter(const QString& key, const QString& visibleName, const QVariant& value,
                                              const QVariant& minimum, const QVariant& maximum)
{
    ZelParameterDescriptionNumber number;
    number.setParameterName(key);
    number.setVisibleName(visibleName);
    number.setValue(value);
    number.setDefaultValue(value);
    number.setRange(minimum, maximum);
    return number;
}

ZelParameterDescription plainParameter(const QString& key, const QString& visibleName, const QVariant& value)
{
    ZelParameterDescription plain;
    plain.setParameterName(key);
    plain.setVisibleName(visibleName);
    plain.setValue(value);
    plain.setDefaultValue(value);
    return plain;
}

} // namespace

class ZelImageProcessorImageGridImpl : public ZelImageProcessorImpl
{
    Q_OBJECT
public:
    explicit ZelImageProcessorImageGridImpl(const QImage& image)
        : ZelImageProcessorImpl(image, tr("Filmstreifen"))
        , myImages{image}
    {
        createParameterDescriptions();
    }

    void setImages(const QList<QImage>& images) { myImages = images; }

    bool stripIsHorizontal() const { return myParameters.value(kIsHorizontal).toBool(); }
    bool showStrip() const { return myParameters.value(kShowStrip).toBool(); }
    QSize gridSize() const;
    int normalizedCoordinatesToImageIndex(const QPointF& p) const;

public slots:
    QImage result() override;
    QImage generatePreview(const QSize& size) override { return previewOn(sourceImageScaled(size)); }
    QImage generatePreview(const QRect& rect) override { return previewOn(sectionOfSourceImage(rect)); }
    void setSelectedIndex(int index) { mySelectedIndex = index; }
    int selectedIndex() const { return mySelectedIndex; }

protected:
    QString progressTitle() const override { return tr("Filmstreifen"); }

private:
    void createParameterDescriptions();

    QSize maxImageSize() const;
    int referenceSize() const { return myImages.isEmpty() ? 0 : myImages.first().width(); }
    double distance() const { return showStrip() ? myParameters.value(kGridDistance).toDouble() : 0.0; }
    int absoluteDistance() const;
    int margin(const QString& key) const { return showStrip() ? myParameters.value(key).toInt() : 0; }
    int absoluteMargin(const QString& key) const { return zelTruncToInt(referenceSize() * 0.01 * margin(key)); }
    // Empty when the canvas would not fit an int.
    QSize totalSize() const;
    QPen holePen(const QSize& total) const;
    QPen borderPen(const QSize& total) const;

    QImage paintGrid();
    void paintHoles(QPainter& painter, const QSize& total);
    void paintHorizontalHoles(QPainter& painter, const QSize& total);
    void paintVerticalHoles(QPainter& painter, const QSize& total);
    void paintHolePath(QPainter& painter, const QPainterPath& path, const QSize& total);

    QImage previewOn(const QImage& image) const
    {
        ZelImageProcessorImageGrid preview(image);
        return preview.result();
    }

    QList<QImage> myImages;
    int mySelectedIndex = -1;
};

void ZelImageProcessorImageGridImpl::createParameterDescriptions()
{
    myParameters.setXMLTagName(QStringLiteral("ZelImageProcessorImageGridParameters"));

    ZelParameterDescriptionNumber gridDistance = numberParameter(kGridDistance, tr("Gitterabstand"), 0.1, 0.0, 1.0);
    gridDistance.setUserVisibleRange(0, 100);
    addParameter(kGridDistance, gridDistance, 0, 0);

    addParameter(kBackgroundColor, plainParameter(kBackgroundColor, tr("Hintergrundfarbe"), QColor(Qt::black)), 1, 0);

    addNumberParameter(kRoundnessHole, tr("Abrundung der Löcher "), 25, 0, 100, 0, 1);

    ZelParameterDescriptionNumber ratio = numberParameter(kHoleToDistanceRatio, tr("Loch/Streifen Verhältnis "), 0.44,
                                                          0.0, 1.0);
    ratio.setUserVisibleRange(0, 100);
    addParameter(kHoleToDistanceRatio, ratio, 1, 1);

    ZelParameterDescriptionNumber holeHeight = numberParameter(kHoleHeight, tr("Höhe der Löcher"), 0.56, 0.0, 1.0);
    holeHeight.setUserVisibleRange(0, 100);
    addParameter(kHoleHeight, holeHeight, 0, 2);

    addNumberParameter(kNumberOfHoles, tr("Lochzahl pro Frame"), 7, 1, 10, 1, 2);
    addNumberParameter(kLeftMargin, tr("Linker Rand"), 8, 0, 100, 0, 3);

    // A default (2) other than its value (8): settings files that reset it expect the narrower
    // margin, so resetting it changes the layout.
    ZelParameterDescriptionNumber rightMargin = numberParameter(kRightMargin, tr("Rechter Rand"), 8, 0, 100);
    rightMargin.setDefaultValue(2);
    addParameter(kRightMargin, rightMargin, 1, 3);

    addNumberParameter(kBottomMargin, tr("Unterer Rand"), 15, 0, 100, 0, 4);
    addNumberParameter(kTopMargin, tr("Oberer Rand"), 15, 0, 100, 1, 4);

    addParameter(kIsHorizontal, plainParameter(kIsHorizontal, tr("Horizontal"), true), 2, 0);
    addParameter(kShowStrip, plainParameter(kShowStrip, tr("Filmstreifen einzeichnen"), true), 2, 1);

    ZelParameterDescription gridSize = plainParameter(kGridSize, tr("Gittergröße"), QSize(0, 0));
    gridSize.setUIVisiblity(false);
    addParameter(kGridSize, gridSize, -1, -1);
}

QSize ZelImageProcessorImageGridImpl::maxImageSize() const
{
    QSize size(0, 0);
    for (const QImage& image : myImages)
        size = size.expandedTo(image.size());
    return size;
}

int ZelImageProcessorImageGridImpl::absoluteDistance() const
{
    const QSize largest = maxImageSize();
    return zelTruncToInt(qMax(largest.width(), largest.height()) * distance());
}

QSize ZelImageProcessorImageGridImpl::gridSize() const
{
    QSize size = myParameters.value(kGridSize).toSize();
    if (size.width() < 1 || size.height() < 1)
        size = QSize(myImages.size(), 1);
    return stripIsHorizontal() ? size : size.transposed();
}

QSize ZelImageProcessorImageGridImpl::totalSize() const
{
    const QSize grid = gridSize();
    const QSize largest = maxImageSize();
    const qint64 gap = absoluteDistance();
    const qint64 width = qint64(grid.width()) * largest.width() + (grid.width() - 1) * gap
        + absoluteMargin(kLeftMargin) + absoluteMargin(kRightMargin);
    const qint64 height = qint64(grid.height()) * largest.height() + (grid.height() - 1) * gap
        + absoluteMargin(kTopMargin) + absoluteMargin(kBottomMargin);
    // Out-of-range distances and margins (INT_MIN from the truncation among them) would wrap.
    if (width <= 0 || height <= 0 || width > INT_MAX || height > INT_MAX)
        return QSize();
    return QSize(int(width), int(height));
}

QPen ZelImageProcessorImageGridImpl::holePen(const QSize& total) const
{
    return QPen(QBrush(Qt::white, Qt::SolidPattern), qMax(1, zelTruncToInt(total.height() * 0.005)), Qt::SolidLine,
                Qt::SquareCap, Qt::BevelJoin);
}

QPen ZelImageProcessorImageGridImpl::borderPen(const QSize& total) const
{
    return QPen(QBrush(Qt::white, Qt::SolidPattern), qMax(1, zelTruncToInt(total.height() * 0.01)), Qt::SolidLine,
                Qt::SquareCap, Qt::BevelJoin);
}

int ZelImageProcessorImageGridImpl::normalizedCoordinatesToImageIndex(const QPointF& p) const
{
    const QSize grid = gridSize();
    return stripIsHorizontal() ? zelTruncToInt(grid.width() * p.x()) : zelTruncToInt(grid.height() * p.y());
}

QImage ZelImageProcessorImageGridImpl::result()
{
    if (myImages.isEmpty())
        return QImage();
    connectProgressSignalizer();
    myProgressSignalizer->start();
    const QImage grid = paintGrid();
    disconnectProgressSignalizer();
    emit finished(false);
    return grid;
}

QImage ZelImageProcessorImageGridImpl::paintGrid()
{
    const QSize total = totalSize();
    if (total.isEmpty())
        return QImage();
    QImage canvas(total, QImage::Format_ARGB32);
    if (canvas.isNull())
        return canvas;
    // Filled rather than painted: a translucent colour replaces the uninitialised pixels.
    canvas.fill(myParameters.value(kBackgroundColor).value<QColor>());
    QPainter painter(&canvas);
    painter.setPen(borderPen(total));
    const QRect canvasRect = canvas.rect();
    painter.drawRects(&canvasRect, 1);

    const QSize grid = gridSize();
    const QSize largest = maxImageSize();
    const int gap = absoluteDistance();
    int k = 0;
    for (int r = 0; r < grid.height(); ++r) {
        const int y = r * (gap + largest.height()) + absoluteMargin(kTopMargin);
        for (int c = 0; c < grid.width(); ++c) {
            const int x = c * (gap + largest.width()) + absoluteMargin(kLeftMargin);
            const QImage& image = myImages.at(k);
            const QRectF target(x, y, image.width(), image.height());
            if (!zelCopyOpaqueImage(canvas, image, x, y))
                painter.drawImage(target, image, QRectF(0, 0, image.width(), image.height()));
            if (k == mySelectedIndex) {
                painter.setPen(QPen(QBrush(Qt::red, Qt::SolidPattern), 10.0, Qt::SolidLine, Qt::SquareCap,
                                    Qt::BevelJoin));
                painter.drawRect(target);
            }
            if (++k == myImages.size())
                k = 0;
        }
    }
    if (showStrip())
        paintHoles(painter, total);
    painter.end();
    return canvas;
}

void ZelImageProcessorImageGridImpl::paintHoles(QPainter& painter, const QSize& total)
{
    if (stripIsHorizontal())
        paintHorizontalHoles(painter, total);
    else
        paintVerticalHoles(painter, total);
}

// A pitch below one pixel (out-of-range hole counts) would place more holes than there are
// pixels, and a pitch of zero or less would never end the row: such strips get no holes.
static bool isDrawablePitch(double pitch, double holeWidth)
{
    return std::isfinite(pitch) && pitch >= 1.0 && std::isfinite(holeWidth);
}

// The holes along a length advance by one pitch each; the bound only stops the rounding of
// absurd ratios from holding the walk in place.
static int holeCountBound(int length, double pitch)
{
    return zelTruncToInt(qMin(length / pitch + 2.0, double(INT_MAX)));
}

void ZelImageProcessorImageGridImpl::paintHorizontalHoles(QPainter& painter, const QSize& total)
{
    const double pitch = total.width() / (double(myParameters.value(kNumberOfHoles).toInt()) * gridSize().width());
    const double ratio = myParameters.value(kHoleToDistanceRatio).toDouble();
    const double holeWidth = pitch * ratio;
    if (!isDrawablePitch(pitch, holeWidth))
        return;
    painter.save();
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setRenderHint(QPainter::Antialiasing, true);
    const int top = absoluteMargin(kTopMargin);
    const int bottom = absoluteMargin(kBottomMargin);
    const double h = myParameters.value(kHoleHeight).toDouble();
    const int roundness = myParameters.value(kRoundnessHole).toInt();
    QPainterPath path;
    const int bound = holeCountBound(total.width(), pitch);
    int count = 0;
    for (double x = holeWidth * -0.5; x < total.width() && count++ < bound; x = x + holeWidth + pitch * (1 - ratio)) {
        path.addRoundedRect(zelTruncToInt(x), zelTruncToInt((top - top * h) * 0.5), zelTruncToInt(holeWidth),
                            zelTruncToInt(top * h), roundness, roundness, Qt::RelativeSize);
        path.addRoundedRect(zelTruncToInt(x), zelTruncToInt((bottom - bottom * h) * 0.5 + (total.height() - bottom)),
                            zelTruncToInt(holeWidth), zelTruncToInt(bottom * h), roundness, roundness,
                            Qt::RelativeSize);
    }
    paintHolePath(painter, path, total);
    painter.restore();
}

// Unlike the horizontal strip, the vertical one spreads "NumberOfHoles" over its whole length,
// whatever the number of frames, with a whole-pixel pitch: deliberate.
void ZelImageProcessorImageGridImpl::paintVerticalHoles(QPainter& painter, const QSize& total)
{
    const int holes = myParameters.value(kNumberOfHoles).toInt();
    if (holes < 1)
        return;
    const int pitch = total.height() / holes;
    const double ratio = myParameters.value(kHoleToDistanceRatio).toDouble();
    const double holeWidth = pitch * ratio;
    if (!isDrawablePitch(pitch, holeWidth))
        return;
    painter.save();
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.setRenderHint(QPainter::Antialiasing, true);
    const int left = absoluteMargin(kLeftMargin);
    const int right = absoluteMargin(kRightMargin);
    const double h = myParameters.value(kHoleHeight).toDouble();
    const int roundness = myParameters.value(kRoundnessHole).toInt();
    QPainterPath path;
    const int bound = holeCountBound(total.height(), pitch);
    int count = 0;
    for (double y = holeWidth * -0.5; y < total.height() && count++ < bound; y = y + holeWidth + pitch * (1 - ratio)) {
        path.addRoundedRect(zelTruncToInt((left - left * h) * 0.5), zelTruncToInt(y), zelTruncToInt(left * h),
                            zelTruncToInt(holeWidth), roundness, roundness, Qt::RelativeSize);
        path.addRoundedRect(zelTruncToInt((right - right * h) * 0.5 + (total.width() - right)), zelTruncToInt(y),
                            zelTruncToInt(right * h), zelTruncToInt(holeWidth), roundness, roundness,
                            Qt::RelativeSize);
    }
    paintHolePath(painter, path, total);
    painter.restore();
}

void ZelImageProcessorImageGridImpl::paintHolePath(QPainter& painter, const QPainterPath& path, const QSize& total)
{
    painter.fillPath(path, QBrush(Qt::transparent, Qt::SolidPattern));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setPen(borderPen(total));
    painter.strokePath(path, holePen(total));
}

ZelImageProcessorImageGrid::ZelImageProcessorImageGrid(const QImage& image)
    : ZelImageProcessor(image)
{
    setProperty("ToolTip", tr("Dieser Effekt reiht mehrere Fotos aneinander "));
    installImplementation(new ZelImageProcessorImageGridImpl(image));
}

ZelImageProcessorImageGrid::ZelImageProcessorImageGrid(const QList<QImage>& images)
    : ZelImageProcessor(images.value(0))
{
    setProperty("ToolTip", tr("Dieser Effekt reiht mehrere Fotos aneinander "));
    installImplementation(new ZelImageProcessorImageGridImpl(images.value(0)));
    setImages(images);
}

static ZelImageProcessorImageGridImpl* gridImpl(ZelImageProcessorImpl* impl)
{
    return static_cast<ZelImageProcessorImageGridImpl*>(impl);
}

void ZelImageProcessorImageGrid::setImages(const QList<QImage>& images) { gridImpl(myImpl)->setImages(images); }
void ZelImageProcessorImageGrid::setBackgroundColor(const QColor& color) { myImpl->parameters().setValue(kBackgroundColor, color); }
void ZelImageProcessorImageGrid::setDistance(double distance) { myImpl->parameters().setValue(kGridDistance, distance); }
void ZelImageProcessorImageGrid::setGridSize(const QSize& size) { myImpl->parameters().setValue(kGridSize, size); }
void ZelImageProcessorImageGrid::setLeftMargin(int margin) { myImpl->parameters().setValue(kLeftMargin, margin); }
void ZelImageProcessorImageGrid::setRightMargin(int margin) { myImpl->parameters().setValue(kRightMargin, margin); }
void ZelImageProcessorImageGrid::setTopMargin(int margin) { myImpl->parameters().setValue(kTopMargin, margin); }
void ZelImageProcessorImageGrid::setBottomMargin(int margin) { myImpl->parameters().setValue(kBottomMargin, margin); }
void ZelImageProcessorImageGrid::setPaintFilmStrip(bool paint) { myImpl->parameters().setValue(kShowStrip, paint); }
void ZelImageProcessorImageGrid::setHorizontalFilmStrip(bool horizontal) { myImpl->parameters().setValue(kIsHorizontal, horizontal); }
bool ZelImageProcessorImageGrid::stripIsHorizontal() const { return gridImpl(myImpl)->stripIsHorizontal(); }
bool ZelImageProcessorImageGrid::showStrip() const { return gridImpl(myImpl)->showStrip(); }
int ZelImageProcessorImageGrid::normalizedCoordinatesToImageIndex(const QPointF& p) const
{
    return gridImpl(myImpl)->normalizedCoordinatesToImageIndex(p);
}
void ZelImageProcessorImageGrid::setSelectedIndex(int index) { gridImpl(myImpl)->setSelectedIndex(index); }
int ZelImageProcessorImageGrid::selectedIndex() const { return gridImpl(myImpl)->selectedIndex(); }

#include "ZelImageProcessorImageGrid.moc"
