#include "ZelEffectRegistry.h"

#include "ZelImageProcessor.h"
#include "ZelImageProcessorExampleGauss.h"
#include "ZelImageProcessorExampleGrayscale.h"
#include "ZelImageProcessorFlipHorizontal.h"
#include "ZelImageProcessorFlipVertical.h"
#include "ZelImageProcessorTemplate.h"
// tonal
#include "ZelImageProcessorAdjustContrast.h"
#include "ZelImageProcessorAdjustHSB.h"
#include "ZelImageProcessorAdjustRGBIntensity.h"
#include "ZelImageProcessorBlackWhite.h"
#include "ZelImageProcessorCombine.h"
#include "ZelImageProcessorContrastStretch.h"
#include "ZelImageProcessorGammaCorrection.h"
#include "ZelImageProcessorGrayscale.h"
#include "ZelImageProcessorIntensity.h"
#include "ZelImageProcessorInvert.h"
#include "ZelImageProcessorTint.h"
// filter
#include "ZelImageProcessorBackgroundImage.h"
#include "ZelImageProcessorConvolution.h"
#include "ZelImageProcessorStrongContur.h"
#include "ZelImageProcessorWeakContur.h"
// geometry
#include "ZelImageProcessorCut.h"
#include "ZelImageProcessorRedEyeRemoval.h"
#include "ZelImageProcessorRotate.h"
#include "ZelImageProcessorScale.h"
#include "ZelImageProcessorShift.h"
// distortion
#include "ZelImageProcessorIllusion.h"
#include "ZelImageProcessorMosaic.h"
#include "ZelImageProcessorRipple.h"
#include "ZelImageProcessorSoftLense.h"
#include "ZelImageProcessorSplash.h"
#include "ZelImageProcessorThreeDGrid.h"
// magick
#include "ZelImageProcessorArc.h"
#include "ZelImageProcessorCharcoal.h"
#include "ZelImageProcessorEmboss.h"
#include "ZelImageProcessorExplode.h"
#include "ZelImageProcessorImplode.h"
#include "ZelImageProcessorMotionBlur.h"
#include "ZelImageProcessorOilPainting.h"
#include "ZelImageProcessorPosterize.h"
#include "ZelImageProcessorSepia.h"
#include "ZelImageProcessorShade.h"
#include "ZelImageProcessorSketch.h"
#include "ZelImageProcessorSwirl.h"
#include "ZelImageProcessorWave.h"
// composition
#include "ZelImageProcessorCompare.h"
#include "ZelImageProcessorDropShadow.h"
#include "ZelImageProcessorImageGrid.h"
#include "ZelImageProcessorFotoCollage.h"
#include "ZelImageProcessorComposer.h"
#include "ZelImageProcessorExampleComposer.h"
#include "ZelImageProcessorPhotosInPhoto.h"

#include <QMetaMethod>
#include <QMetaObject>

namespace {

const QString kClassPrefix = QStringLiteral("ZelImageProcessor");

// Every public effect class, one line each, grouped by family.
const QList<const QMetaObject*> kEffects = {
    // framework
    &ZelImageProcessorFlipHorizontal::staticMetaObject,
    &ZelImageProcessorFlipVertical::staticMetaObject,
    &ZelImageProcessorExampleGauss::staticMetaObject,
    &ZelImageProcessorExampleGrayscale::staticMetaObject,
    &ZelImageProcessorTemplate::staticMetaObject,
    // tonal
    &ZelImageProcessorIntensity::staticMetaObject,
    &ZelImageProcessorInvert::staticMetaObject,
    &ZelImageProcessorCombine::staticMetaObject,
    &ZelImageProcessorContrastStretch::staticMetaObject,
    &ZelImageProcessorAdjustRGBIntensity::staticMetaObject,
    &ZelImageProcessorTint::staticMetaObject,
    &ZelImageProcessorGrayscale::staticMetaObject,
    &ZelImageProcessorAdjustContrast::staticMetaObject,
    &ZelImageProcessorAdjustHSB::staticMetaObject,
    &ZelImageProcessorGammaCorrection::staticMetaObject,
    &ZelImageProcessorBlackWhite::staticMetaObject,
    // filter
    &ZelImageProcessorConvolution::staticMetaObject,
    &ZelImageProcessorStrongContur::staticMetaObject,
    &ZelImageProcessorWeakContur::staticMetaObject,
    &ZelImageProcessorBackgroundImage::staticMetaObject,
    // geometry
    &ZelImageProcessorRotate::staticMetaObject,
    &ZelImageProcessorCut::staticMetaObject,
    &ZelImageProcessorScale::staticMetaObject,
    &ZelImageProcessorShift::staticMetaObject,
    &ZelImageProcessorRedEyeRemoval::staticMetaObject,
    // distortion
    &ZelImageProcessorRipple::staticMetaObject,
    &ZelImageProcessorSplash::staticMetaObject,
    &ZelImageProcessorThreeDGrid::staticMetaObject,
    &ZelImageProcessorMosaic::staticMetaObject,
    &ZelImageProcessorIllusion::staticMetaObject,
    &ZelImageProcessorSoftLense::staticMetaObject,
    // magick
    &ZelImageProcessorSketch::staticMetaObject,
    &ZelImageProcessorMotionBlur::staticMetaObject,
    &ZelImageProcessorSepia::staticMetaObject,
    &ZelImageProcessorArc::staticMetaObject,
    &ZelImageProcessorPosterize::staticMetaObject,
    &ZelImageProcessorOilPainting::staticMetaObject,
    &ZelImageProcessorEmboss::staticMetaObject,
    &ZelImageProcessorCharcoal::staticMetaObject,
    &ZelImageProcessorImplode::staticMetaObject,
    &ZelImageProcessorExplode::staticMetaObject,
    &ZelImageProcessorShade::staticMetaObject,
    &ZelImageProcessorSwirl::staticMetaObject,
    &ZelImageProcessorWave::staticMetaObject,
    // composition
    &ZelImageProcessorCompare::staticMetaObject,
    &ZelImageProcessorDropShadow::staticMetaObject,
    &ZelImageProcessorImageGrid::staticMetaObject,
    &ZelImageProcessorFotoCollage::staticMetaObject,
    &ZelImageProcessorComposer::staticMetaObject,
    &ZelImageProcessorExampleComposer::staticMetaObject,
    &ZelImageProcessorPhotosInPhoto::staticMetaObject,
};

} // namespace

QList<const QMetaObject*> ZelEffectRegistry::effects()
{
    return kEffects;
}

QString ZelEffectRegistry::shortName(const QMetaObject* effect)
{
    const QString className = QString::fromLatin1(effect->className());
    return className.startsWith(kClassPrefix) ? className.mid(kClassPrefix.size()) : className;
}

const QMetaObject* ZelEffectRegistry::find(const QString& name)
{
    for (const QMetaObject* effect : kEffects) {
        if (name.compare(QLatin1String(effect->className()), Qt::CaseInsensitive) == 0
            || name.compare(shortName(effect), Qt::CaseInsensitive) == 0)
            return effect;
    }
    return nullptr;
}

namespace {

// The number of QImage arguments of a constructor that takes nothing else, or -1.
int imageArgumentCount(const QMetaMethod& constructor)
{
    const QList<QByteArray> types = constructor.parameterTypes();
    for (const QByteArray& type : types) {
        if (type != "QImage")
            return -1;
    }
    return types.size();
}

QObject* newInstanceOnImage(const QMetaObject* effect, const QImage& image)
{
    // The constructor on one image; effects that combine several (Combine) get it for each.
    int best = -1;
    for (int i = 0; i < effect->constructorCount(); ++i) {
        const int count = imageArgumentCount(effect->constructor(i));
        if (count == 1)
            return effect->newInstance(Q_ARG(QImage, image));
        if (count > 1 && (best < 0 || count < imageArgumentCount(effect->constructor(best))))
            best = i;
    }
    if (best < 0)
        return nullptr;
    switch (imageArgumentCount(effect->constructor(best))) {
    case 2:
        return effect->newInstance(Q_ARG(QImage, image), Q_ARG(QImage, image));
    case 3:
        return effect->newInstance(Q_ARG(QImage, image), Q_ARG(QImage, image), Q_ARG(QImage, image));
    default:
        return nullptr;
    }
}

} // namespace

ZelImageProcessor* ZelEffectRegistry::create(const QMetaObject* effect, const QImage& image)
{
    if (!effect)
        return nullptr;
    QObject* object = image.isNull() ? effect->newInstance() : newInstanceOnImage(effect, image);
    auto* processor = qobject_cast<ZelImageProcessor*>(object);
    if (!processor)
        delete object;
    return processor;
}
