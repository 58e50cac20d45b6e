#include "photoview.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <QtMath>

namespace {

const double kMaximumZoom = 16.0;
// A press and release closer than this count as a click, not as a drag.
const int kClickTolerance = 3;

} // namespace

PhotoView::PhotoView(QWidget* parent)
    : QWidget(parent)
{
    setAcceptDrops(true);
    setMinimumSize(200, 150);
    setFocusPolicy(Qt::StrongFocus);
}

void PhotoView::setPhoto(const QImage& photo)
{
    const bool sizeChanged = photo.size() != myPhoto.size();
    myPhoto = photo;
    clearPreview();
    if (sizeChanged) {
        myZoom = 1.0;
        myCenter = QRectF(photo.rect()).center();
    }
    emit visibleAreaChanged();
}

void PhotoView::setPreview(const QImage& preview, const QRect& photoRect)
{
    myPreview = preview;
    myPreviewRect = photoRect;
    update();
}

void PhotoView::clearPreview()
{
    myPreview = QImage();
    update();
}

void PhotoView::setShowOriginal(bool showOriginal)
{
    myShowOriginal = showOriginal;
    update();
}

void PhotoView::setZoom(double zoom)
{
    myZoom = qBound(1.0, zoom, kMaximumZoom);
    update();
    emit visibleAreaChanged();
}

double PhotoView::scale() const
{
    if (myPhoto.isNull())
        return 1.0;
    const double fit = qMin(double(width()) / myPhoto.width(), double(height()) / myPhoto.height());
    return fit * myZoom;
}

QRect PhotoView::visiblePhotoRect() const
{
    const double s = scale();
    const QSizeF shown(width() / s, height() / s);
    const QRectF around(myCenter.x() - shown.width() / 2, myCenter.y() - shown.height() / 2,
                        shown.width(), shown.height());
    return around.toAlignedRect().intersected(myPhoto.rect());
}

QSize PhotoView::visibleDisplaySize() const
{
    return displayRect(visiblePhotoRect()).size().expandedTo(QSize(1, 1));
}

QPoint PhotoView::toWidget(const QPoint& photoPoint) const
{
    const double s = scale();
    return QPointF(width() / 2.0 + (photoPoint.x() + 0.5 - myCenter.x()) * s,
                   height() / 2.0 + (photoPoint.y() + 0.5 - myCenter.y()) * s).toPoint();
}

QPoint PhotoView::toPhoto(const QPoint& widgetPoint) const
{
    const double s = scale();
    return QPoint(qFloor(myCenter.x() + (widgetPoint.x() - width() / 2.0) / s),
                  qFloor(myCenter.y() + (widgetPoint.y() - height() / 2.0) / s));
}

QRect PhotoView::displayRect(const QRect& photoRect) const
{
    const double s = scale();
    const QPointF topLeft(width() / 2.0 + (photoRect.x() - myCenter.x()) * s,
                          height() / 2.0 + (photoRect.y() - myCenter.y()) * s);
    return QRectF(topLeft, QSizeF(photoRect.width() * s, photoRect.height() * s)).toRect();
}

void PhotoView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().dark());
    if (myPhoto.isNull())
        return;
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRect visible = visiblePhotoRect();
    painter.drawImage(displayRect(visible), myPhoto, visible);
    if (!myShowOriginal && !myPreview.isNull())
        painter.drawImage(displayRect(myPreviewRect), myPreview);
    if (myDragging && myTool != Tool::Pan) {
        painter.setPen(QPen(Qt::yellow, 1, Qt::DashLine));
        if (myTool == Tool::Rotate)
            painter.drawText(myDragNow + QPoint(12, 0), tr("%1°").arg(dragDegrees(myDragNow)));
        else
            painter.drawRect(QRect(myDragStart, myDragNow).normalized());
    }
}

void PhotoView::resizeEvent(QResizeEvent*)
{
    emit visibleAreaChanged();
}

void PhotoView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || myPhoto.isNull())
        return;
    myDragging = true;
    myDragStart = myDragNow = event->pos();
}

void PhotoView::mouseMoveEvent(QMouseEvent* event)
{
    if (!myDragging)
        return;
    if (myTool == Tool::Pan) {
        myCenter -= QPointF(event->pos() - myDragNow) / scale();
        emit visibleAreaChanged();
    }
    myDragNow = event->pos();
    update();
}

void PhotoView::mouseReleaseEvent(QMouseEvent* event)
{
    if (!myDragging || event->button() != Qt::LeftButton)
        return;
    myDragging = false;
    finishDrag(event->pos());
    update();
}

// The angle the pointer turned through around the centre of the widget, in whole degrees,
// clockwise as on screen.
int PhotoView::dragDegrees(const QPoint& end) const
{
    const QPointF centre(width() / 2.0, height() / 2.0);
    const QPointF from = myDragStart - centre;
    const QPointF to = end - centre;
    const double radians = qAtan2(to.y(), to.x()) - qAtan2(from.y(), from.x());
    int degrees = qRound(qRadiansToDegrees(radians));
    if (degrees > 180)
        degrees -= 360;
    if (degrees < -180)
        degrees += 360;
    return degrees;
}

void PhotoView::finishDrag(const QPoint& end)
{
    const bool isClick = (end - myDragStart).manhattanLength() <= kClickTolerance;
    switch (myTool) {
    case Tool::Pan:
        return;
    case Tool::RedEye:
        if (isClick)
            emit pupilClicked(toPhoto(end));
        else
            emit rectangleDragged(myTool, QRect(toPhoto(myDragStart), toPhoto(end)).normalized());
        return;
    case Tool::Cut:
        if (!isClick)
            emit rectangleDragged(myTool, QRect(toPhoto(myDragStart), toPhoto(end)).normalized() & myPhoto.rect());
        return;
    case Tool::Rotate:
        if (!isClick && dragDegrees(end) != 0)
            emit rotationDragged(dragDegrees(end));
        return;
    }
}

void PhotoView::wheelEvent(QWheelEvent* event)
{
    const double steps = event->angleDelta().y() / 120.0;
    setZoom(myZoom * qPow(1.25, steps));
}

void PhotoView::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void PhotoView::dropEvent(QDropEvent* event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.isEmpty() || !urls.first().isLocalFile())
        return;
    event->acceptProposedAction();
    emit fileDropped(urls.first().toLocalFile());
}
