#include "ZelMath.h"

#include <QtMath>

double ZelMath::degreeToRadiant(double degrees)
{
    return degrees * M_PI / 180.0;
}
