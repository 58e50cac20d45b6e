#ifndef ZELEFFECTCONTRACTS_H
#define ZELEFFECTCONTRACTS_H

// What each registered effect documents beyond the common contract, above all what a cancel
// returns: one table for the contract suite, the cancel stress program and the thread suite.

#include <QHash>
#include <QImage>
#include <QString>

#include <cstdlib>

// Where an effect's documentation departs from the common contract.
enum Trait : unsigned {
    FinishedTrue = 1u << 0,        // a normal run ends with finished(true) instead of false
    SilentUnlessIndexed = 1u << 1, // no finished() at all unless the source is 8-bit indexed
    SilentOnGrey = 1u << 2,        // a grey (or null) source comes back without finished()
    OwnSizePreview = 1u << 3,      // generatePreview(QSize) is not the effect on the scaled source
    OwnRectPreview = 1u << 4,      // generatePreview(QRect) is not the effect on the section
    PreviewDefaults = 1u << 5,     // previews use the default parameters, not the effect's values
    LowerToolTip = 1u << 6,        // the tooltip property is spelled "toolTip"
    DefaultOutOfRange = 1u << 7,   // parameter defaults outside their range, as documented
    SilentWithoutPhotos = 1u << 8, // without photos (default constructed) no finished() either
    Unrepeatable = 1u << 9,        // no two runs are alike: any full result stands for a normal one
    ProcessRandom = 1u << 10,      // draws from std::rand(), whose one sequence all threads share
};

// What result() returns after a cancel, requested before the work (cancel(), then result()) or
// during it (from another thread). A run the cancel did not reach in time may always give the
// normal result. Normal: the effect has no cancel check, or its ImageMagick bridge clears the
// request when it starts; Source: pixel loops that poll the request; Null: an ImageMagick call
// stopped at its next progress callback; Any: a result that is none of these (see the table).
enum Outcome { Normal, Source, Null, Any };

struct Contract
{
    unsigned traits = 0;
    Outcome cancelBefore = Normal;
    Outcome cancelDuring = Normal;
};

// Every effect not listed keeps the plain contract: finished(false) once, standard previews, no
// cancel check. Effects drawing from qrand() (FotoCollage, PhotosInPhoto) need no entry: every
// run compared is seeded alike, and qrand() keeps a sequence per thread. Those drawing from
// std::rand() repeat their results only while no other thread draws.
inline const QHash<QString, Contract>& contracts()
{
    const Contract pixelLoop{FinishedTrue, Source, Source};
    const Contract magick{0, Normal, Null};
    static const QHash<QString, Contract> table = {
        {"FlipHorizontal", {LowerToolTip}},
        {"FlipVertical", {LowerToolTip}},
        {"Rotate", {LowerToolTip}},
        {"Scale", {LowerToolTip}},
        {"ExampleGauss", pixelLoop},
        {"ExampleGrayscale", {FinishedTrue | SilentOnGrey, Source, Source}},
        {"Template", {FinishedTrue, Null, Null}}, // computes nothing: its result is null
        {"ContrastStretch", {SilentUnlessIndexed}},
        {"Combine", {OwnSizePreview}}, // the second image is scaled fast, the source smoothly
        {"Tint", {DefaultOutOfRange}}, // both defaults are 0 below ranges starting at 1
        {"Convolution", {0, Source, Source}},
        {"Shift", {FinishedTrue | ProcessRandom, Source, Source}},
        {"Ripple", pixelLoop},
        {"Splash", {FinishedTrue | ProcessRandom, Source, Source}},
        {"ThreeDGrid", pixelLoop},
        {"Mosaic", pixelLoop},
        {"Illusion", pixelLoop},
        {"Charcoal", {0, Source, Source}}, // the chain stops after the running step
        {"FotoCollage", pixelLoop},
        {"PhotosInPhoto", pixelLoop},
        {"Composer", pixelLoop},
        // Previews run on a composer without the chain. A cancel during the last step (the
        // only one reporting progress) returns that step's input, the blurred picture.
        {"ExampleComposer", {FinishedTrue | OwnSizePreview | OwnRectPreview, Source, Any}},
        {"ImageGrid", {PreviewDefaults | SilentWithoutPhotos}},
        // The blur cannot be cancelled and the source comes back; size previews scale the
        // softness to the preview.
        {"SoftLense", {OwnSizePreview, Normal, Source}},
        // ImageMagick draws the sketch on noise of its own, which nothing here can seed.
        {"Sketch", {OwnSizePreview | OwnRectPreview | Unrepeatable, Normal, Null}},
        {"AdjustHSB", {FinishedTrue, Normal, Null}},
        {"Posterize", {FinishedTrue, Normal, Null}},
        {"AdjustContrast", magick}, {"GammaCorrection", magick}, {"BlackWhite", magick},
        {"BackgroundImage", magick}, {"MotionBlur", magick}, {"Arc", magick}, {"OilPainting", magick},
        {"Emboss", magick}, {"Implode", magick}, {"Explode", magick}, {"Shade", magick},
        {"Swirl", magick}, {"Wave", magick},
    };
    return table;
}

inline Contract contractOf(const QString& effect)
{
    return contracts().value(effect);
}

// The random numbers every comparison of runs starts from.
inline void seed()
{
    std::srand(7);
    qsrand(7);
}

inline QString outcomeText(const QImage& result, const QImage& source)
{
    if (result.isNull())
        return QStringLiteral("a null image");
    if (result == source)
        return QStringLiteral("the source");
    return QStringLiteral("%1 x %2 image of format %3").arg(result.width()).arg(result.height()).arg(result.format());
}

// Whether result is what a cancel may give: the expected outcome, or, where the cancel may have
// come too late (normalAllowed, or an effect that documents none), the normal result, which
// normal() computes when it is needed (a fresh effect's result() after seed()).
template <class NormalResult>
bool cancelOutcomeAccepted(const QImage& result, const QImage& source, Outcome expected, bool normalAllowed,
                           unsigned traits, NormalResult normal)
{
    if (expected == Any || (expected == Source && result == source) || (expected == Null && result.isNull()))
        return true;
    if (expected != Normal && !normalAllowed)
        return false;
    if ((traits & Unrepeatable) && result.size() == source.size())
        return true;
    return result == normal();
}

#endif
