#include <ZelEffectRegistry.h>
#include <ZelImageProcessorFlipHorizontal.h>

#include <QImage>
#include <cstdio>

// Flips a 1 x 2 image through the installed headers and checks that its rows swapped.
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
    std::puts("consumer ok");
    return 0;
}
