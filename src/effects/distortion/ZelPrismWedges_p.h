#ifndef ZELPRISMWEDGES_P_H
#define ZELPRISMWEDGES_P_H

#include "ZelPixelMath_p.h"

#include <cmath>
#include <limits>

// The wedge index of the pixels of a row, found without an atan2 per pixel. For a fixed row the
// angle atan2(ny, nx) is monotonic in nx, and so is the wedge index floor(angle * 0.5 / θ): a row
// is a few runs of one wedge each. The runs' ends are searched with the very same per-pixel
// formula, so they are exact; the boundary rays only guess where to look. (Neighbouring pixels'
// angles differ by far more than atan2's rounding error, so its results keep that order.)
class ZelPrismWedges
{
public:
    ZelPrismWedges(int width, double radius, double centreX, double halfWedgeAngle)
        : myWidth(width), myRadius(radius), myCentreX(centreX), myHalfWedgeAngle(halfWedgeAngle)
    {
    }

    int wedgeAt(int x, double ny) const
    {
        const double angle = std::atan2(ny, (x - myCentreX) / myRadius);
        return zelTruncToInt(std::floor(angle * 0.5 / myHalfWedgeAngle));
    }

    // The last pixel from `from` on in the wedge of `from`, searched from a guess of it (any
    // value will do; a close one saves evaluations).
    int runEnd(int from, int wedge, double ny, int guess) const
    {
        const int last = myWidth - 1;
        if (wedgeAt(last, ny) == wedge)
            return last;
        int inside = from; // in the wedge
        int outside = last; // past it
        const bool guessInRange = guess > inside && guess < outside;
        int step = 1;
        if (guessInRange && wedgeAt(guess, ny) != wedge) {
            outside = guess;
            for (; outside - step > inside; step *= 2) {
                const int probe = outside - step;
                if (wedgeAt(probe, ny) == wedge) {
                    inside = probe;
                    break;
                }
                outside = probe;
            }
        } else {
            if (guessInRange)
                inside = guess;
            for (; inside + step < outside; step *= 2) {
                const int probe = inside + step;
                if (wedgeAt(probe, ny) != wedge) {
                    outside = probe;
                    break;
                }
                inside = probe;
            }
        }
        while (outside - inside > 1) {
            const int middle = inside + (outside - inside) / 2;
            (wedgeAt(middle, ny) == wedge ? inside : outside) = middle;
        }
        return inside;
    }

    // Where the wedge's nearer boundary ray ahead crosses the row, or -1.
    int guessedRunEnd(int from, int wedge, double ny) const
    {
        double nearest = std::numeric_limits<double>::infinity();
        for (const double boundary : {double(wedge), double(wedge) + 1.0}) {
            const double angle = 2.0 * myHalfWedgeAngle * boundary;
            const double sine = std::sin(angle);
            if (!(sine * ny > 0.0))
                continue;
            const double crossing = myCentreX + myRadius * (ny * std::cos(angle) / sine);
            if (crossing > from && crossing < nearest)
                nearest = crossing;
        }
        return nearest < myWidth ? int(nearest) : -1;
    }

private:
    const int myWidth;
    const double myRadius;
    const double myCentreX;
    const double myHalfWedgeAngle;
};

#endif
