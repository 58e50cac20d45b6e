#ifndef ZELEFFECTTESTSUPPORT_H
#define ZELEFFECTTESTSUPPORT_H

// Helpers shared by the effect suites.

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"
#include "ZelParameterDescriptionContainer.h"
#include "ZelParameterDescriptionNumber_p.h"

#include <QTranslator>
#include <QtTest>

#include <memory>

// Marks every translated text with its context, so that tests see which texts go through tr()
// and in which class.
class MarkingTranslator : public QTranslator
{
public:
    QString translate(const char* context, const char* sourceText, const char* = nullptr, int = -1) const override
    {
        return QStringLiteral("[%1]%2").arg(QLatin1String(context), QString::fromUtf8(sourceText));
    }
    bool isEmpty() const override { return false; }
};

// Opaque, photo-like: smooth gradients with a pattern of detail.
inline QImage photo(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const bool detail = (x / 3 + y / 2) % 4 == 0;
            line[x] = qRgb(255 * x / width, detail ? 40 : 255 * y / height, (x * 7 + y * 13) % 256);
        }
    }
    return image;
}

// The registered effect of that short name on image, with the values set by key.
inline std::unique_ptr<ZelImageProcessor> makeEffect(const QString& name, const QImage& image,
                                                     const QVariantMap& values = {})
{
    std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(ZelEffectRegistry::find(name), image));
    ZelUIParameterMap map;
    for (auto it = values.constBegin(); it != values.constEnd(); ++it)
        map.insert(it.key(), qMakePair(it.value(), true));
    effect->setParameters(map);
    return effect;
}

// Moves every numeric parameter a third of the way from its value toward its maximum (or its
// minimum, at the maximum) and turns every bool, so that a test sees whether values travel.
inline void nudgeParameters(ZelImageProcessor& effect)
{
    const ZelParameterDescriptionContainer container = effect.parameterContainer();
    ZelUIParameterMap map;
    for (const QString& key : container.parameterNames()) {
        const ZelParameterDescription parameter = container.parameter(key);
        const QVariant value = parameter.value();
        const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(parameter.constData());
        QVariant nudged;
        if (value.type() == QVariant::Bool) {
            nudged = !value.toBool();
        } else if (number && number->max().isValid()) {
            const double from = value.toDouble(), max = number->max().toDouble(), min = number->min().toDouble();
            const double to = from + ((from < max ? max : min) - from) / 3;
            nudged = value.type() == QVariant::Int ? QVariant(int(to)) : QVariant(to);
        }
        if (nudged.isValid())
            map.insert(key, qMakePair(nudged, true));
    }
    effect.setParameters(map);
}

#endif
