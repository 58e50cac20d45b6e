#include <ZelConvolution.h>
#include <ZelEditImageManipulator.h>
#include <ZelEffectRegistry.h>
#include <ZelImageProcessorFlipHorizontal.h>

#include <QImage>
#include <cstdio>

// Flips a 1 x 2 image through the installed headers and checks that its rows swapped, then runs
// two toolkit helpers on it.
int main()
{
    QImage image(1, 2, QImage::Format_ARGB32);
    image.setPixel(0, 0, 0xFF102030);
    image.setPixel(0, 1, 0xFF405060);

    ZelImageProcessorFlipHorizontal flip(image);
    const QImage flipped = flip.result();
    if (flipped.pixel(0, 0) != 0xFF405060u || flipped.pixel(0, 1) != 0xFF102030u) {
        std::puts("flip gave the wrong pixels");
        return 1;
    }
    if (!ZelEffectRegistry::find(QStringLiteral("FlipVertical"))) {
        std::puts("registry does not know FlipVertical");
        return 1;
    }
    // The toolkit: invert doubles the negative ((255 - 0x10) * 2 mod 256 = 0xDE), a quarter turn
    // swaps the sides.
    const QImage inverted = ZelConvolution(ZelConvolution::confSobel).invert(image);
    if (inverted.pixel(0, 0) != 0xFFDEBE9Eu || ZelEditImageManipulator::rotateCW(image).size() != QSize(2, 1)) {
        std::puts("toolkit gave the wrong pixels");
        return 1;
    }
    std::puts("consumer ok");
    return 0;
}
