#ifndef ZELMATH_H
#define ZELMATH_H

namespace ZelMath
{
double degreeToRadiant(double degrees);
}

#endif
