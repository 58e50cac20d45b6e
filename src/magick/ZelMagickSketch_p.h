#ifndef ZELMAGICKSKETCH_P_H
#define ZELMAGICKSKETCH_P_H

#include <wand/MagickWand.h>

#include <cstdint>
#include <vector>

class ZelProgressSignalizer;

// ImageMagick's sketch of the wand's image, computed to ImageMagick's numbers but without its
// cost: the wand's image is replaced by what MagickSketchImage(wand, radius, sigma, angle) would
// make of it. ImageMagick draws noise on a canvas of twice the width and height, blurs it along
// the angle, runs an edge filter whose (2r + 1)^2 taps are all -1 but the centre, normalizes,
// negates, halves the canvas and lays it over the picture with a colour dodge and a 20/80 blend.
// The noise, the blur and the edge filter are computed here on 16-bit rows streamed through small
// row rings (the edge filter with running sums: constant work a pixel whatever the radius); the
// halving and both composites stay ImageMagick's, done tile by tile on images small enough for
// any resource policy.
//
// Progress goes to the signalizer under the step names "Blur" and "Composite"; a cancel (when
// allowed) stops at the next report and leaves the wand's image unfinished, as a cancelled
// ImageMagick operation does. A radius of 0 (ImageMagick then picks the widths from sigma) and a
// picture without alpha go to MagickSketchImage itself.
void zelSketchWand(MagickWand* wand, double radius, double sigma, double angle, ZelProgressSignalizer* signalizer);

// ImageMagick's edge filter on a 16-bit grey image: every pixel becomes (2r + 1)^2 times itself
// minus the sum of the (2r + 1) x (2r + 1) square around it (edge pixels repeated outside),
// clamped to 0 ... 65535. Computed with running sums. Saturating, as ImageMagick computes it for
// an image with alpha (the sketch's case): every positive response becomes 65535; not saturating,
// the full response, which shows every error in the sums.
std::vector<std::uint16_t> zelSketchEdge(const std::vector<std::uint16_t>& pixels, int width, int height, int r,
                                         bool saturating);

#endif
