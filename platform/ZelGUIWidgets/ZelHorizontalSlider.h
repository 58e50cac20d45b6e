#ifndef ZELHORIZONTALSLIDER_H
#define ZELHORIZONTALSLIDER_H

#include <QSlider>

// The editor of numeric parameters: a QSlider that is always horizontal.
class ZelHorizontalSlider : public QSlider
{
    Q_OBJECT
public:
    explicit ZelHorizontalSlider(QWidget* parent = nullptr);
};

#endif
