#ifndef ZELCONVOLUTION_H
#define ZELCONVOLUTION_H

#include <QImage>
#include <QPair>

// A fixed 3 x 3 integer kernel applied to 32-bit images (RGB32, ARGB32, ARGB32_Premultiplied
// words: alpha in bits 24-31, red 16-23, green 8-15, blue 0-7), and Sobel energy measures of
// sharpness. Every operation reads its image and returns a new one or a number.
//
// The convolutions read only the red byte of each neighbour, which is the grey level of the grey
// images createMaxImage() makes, and keep the low 8 bits of their responses: strong responses
// wrap around instead of saturating (sharpening a flat colour of value 200 gives 10), and so do
// combine() (two 255s give 104) and invert() (which doubles the negative). Edits saved by
// existing installations are replayed through these functions, so their pictures depend on it.
//
// Border rows and columns are copies of their inner neighbours. Images of other formats are
// converted to 32-bit words first; a null image gives a null image (or 0). A kernel whose divisor
// (totalWeight() / 2 for the grey path, / 4 for the colour path) is 0 gives a null image. Images
// narrower or lower than 3 pixels have no interior: their results are transparent black.
class ZelConvolution
{
public:
    // The values are part of the interface; any other value behaves like confSobelHColor.
    enum convolutionConfiguration : int {
        confSobelHColor = 0,
        confLaplaceInverted = 1,
        confSobelInverted = 2,
        confSobel = 3,
        confSobelV = 4,
        confSobelH = 5,
        confEdgeEnhance = 6,
        confEmboss = 7,
        confSharpen = 8,
        confSoften = 9,
        confLaplace = 10
    };

    // Stores the configuration and sets its kernel.
    explicit ZelConvolution(convolutionConfiguration configuration);

    // Each overwrites the nine weights; the configuration stays.
    void configureEdgeEnhance();
    void configureEmboss();
    void configureSharpen();
    void configureSoften();
    void configureLaplace();
    void configureSobelV();
    void configureSobelH();

    // The sum of the absolute weights.
    int totalWeight() const;

    // The pipeline of the configuration: the grey or colour convolution, sobelCombined(), and
    // for the inverted configurations invert() of that.
    QImage convolute(const QImage& image);

    // Red, green and blue of every pixel become their maximum; alpha stays.
    QImage createMaxImage(const QImage& image) const;
    // convoluteBWFromMax(createMaxImage(image)).
    QImage convoluteBW(const QImage& image) const;
    // Grey convolution of a grey image: (|sum| / (totalWeight() / 2)) modulo 256, alpha of the
    // centre pixel.
    QImage convoluteBWFromMax(const QImage& image) const;
    // Convolution of the maximum image with divisor totalWeight() / 4, whose result becomes the
    // HSV value of saturated pixels (saturation above 99), is blended with the pixel for weakly
    // saturated ones and leaves grey pixels as they are. Hue and saturation are QColor's.
    QImage convoluteColor(const QImage& image) const;
    // The gradient magnitude of the Sobel H and V grey convolutions. Leaves the Sobel V kernel.
    QImage sobelCombined(const QImage& image);
    // trunc(sqrt(h^2 + v^2)) modulo 256 of the red bytes, alpha of the first image. The images
    // must have the same size (otherwise the result is null).
    QImage combine(const QImage& horizontal, const QImage& vertical) const;
    // ((255 - c) * 2) modulo 256 per colour channel; alpha stays.
    QImage invert(const QImage& image) const;

    // Mean Sobel energy of the grey image of a w/n x h/n canvas onto which the image is drawn,
    // offset by half the size difference (so for n > 1 the canvas shows the upper-left part of
    // the image, shifted right and down; the rest of the canvas is black). n = 1 measures the
    // whole image. When the 32-bit sum passes 2000000000 it warns with the row and returns the
    // mean so far. n below 1 gives 0.
    int averageSobel(const QImage& image, int n) const;
    // The Sobel energy per colour channel of the image's centre part (1 / n of each side, less a
    // margin of 20 pixels), squared per term and summed in 64 bits. n below 1 gives 0.
    int averageColorSobel(const QImage& image, int n) const;
    // Mean and mean square of the red byte over the interior pixels; an image lower than 3 rows,
    // or empty, gives (0, 0).
    QPair<quint32, quint32> edgesPerPixel(const QImage& image) const;

    // Row-major: 0 above-left, 1 above, 2 above-right, 3 left, 4 centre, 5 right, 6 below-left,
    // 7 below, 8 below-right.
    int myKernel[9];
    convolutionConfiguration myConfiguration;
};

#endif
