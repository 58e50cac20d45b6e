#ifndef ZELFX_STUDIO_PHOTOVIEW_H
#define ZELFX_STUDIO_PHOTOVIEW_H

#include <QImage>
#include <QPoint>
#include <QRect>
#include <QWidget>

// Shows the photo fitted into the widget, zoomed by a factor of that fit, with the effect's
// preview over the visible part. The mouse pans, or with a tool picks a pupil, drags a
// rectangle or turns the photo; dropped image files are offered for opening.
class PhotoView : public QWidget
{
    Q_OBJECT
public:
    enum class Tool { Pan, RedEye, Cut, Rotate };

    explicit PhotoView(QWidget* parent = nullptr);

    void setPhoto(const QImage& photo);
    const QImage& photo() const { return myPhoto; }
    // The preview shows the part visiblePhotoRect() held when it was requested.
    void setPreview(const QImage& preview, const QRect& photoRect);
    void clearPreview();
    const QImage& preview() const { return myPreview; }
    void setShowOriginal(bool showOriginal);
    void setTool(Tool tool) { myTool = tool; }

    // 1 is the photo fitted into the widget.
    void setZoom(double zoom);
    double zoom() const { return myZoom; }

    QRect visiblePhotoRect() const;
    QSize visibleDisplaySize() const;
    QPoint toWidget(const QPoint& photoPoint) const;
    QPoint toPhoto(const QPoint& widgetPoint) const;

signals:
    void visibleAreaChanged();
    void pupilClicked(const QPoint& photoPoint);
    void rectangleDragged(PhotoView::Tool tool, const QRect& photoRect);
    void rotationDragged(int degrees);
    void fileDropped(const QString& path);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    double scale() const;
    QRect displayRect(const QRect& photoRect) const;
    void finishDrag(const QPoint& end);
    int dragDegrees(const QPoint& end) const;

    QImage myPhoto;
    QImage myPreview;
    QRect myPreviewRect;
    bool myShowOriginal = false;
    Tool myTool = Tool::Pan;
    double myZoom = 1.0;
    QPointF myCenter;      // photo coordinates shown in the widget's centre
    QPoint myDragStart;    // widget coordinates
    QPoint myDragNow;
    bool myDragging = false;
};

#endif
