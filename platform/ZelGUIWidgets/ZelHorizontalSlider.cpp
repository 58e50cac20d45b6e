#include "ZelHorizontalSlider.h"

ZelHorizontalSlider::ZelHorizontalSlider(QWidget* parent)
    : QSlider(Qt::Horizontal, parent)
{
}
