#ifndef ZELEFFECTTESTSUPPORT_H
#define ZELEFFECTTESTSUPPORT_H

// Helpers shared by the effect suites.

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"
#include "ZelParameterDescriptionContainer.h"

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

// A data table of effect metadata: effect short name, display name, tooltip, icon name.
inline void addEffectMetadataColumns()
{
    QTest::addColumn<QString>("effect");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("toolTip");
    QTest::addColumn<QString>("iconName");
}

inline void addEffectMetadataRow(const char* effect, const char* name, const char* toolTip, const char* iconName)
{
    QTest::newRow(effect) << QString::fromLatin1(effect) << QString::fromUtf8(name) << QString::fromUtf8(toolTip)
                          << QString::fromUtf8(iconName);
}

// Checks the current row of that table under a MarkingTranslator: the name is translated in the
// implementation's context, the tooltip (property "ToolTip", never "toolTip") in the public
// class's; the icon name is plain.
inline void verifyEffectMetadata()
{
    QFETCH(QString, effect);
    QFETCH(QString, name);
    QFETCH(QString, toolTip);
    QFETCH(QString, iconName);
    const QString publicClass = "ZelImageProcessor" + effect;
    const auto processor = makeEffect(effect, QImage());
    QCOMPARE(QString::fromLatin1(processor->metaObject()->className()), publicClass);
    QCOMPARE(processor->effectName(), QStringLiteral("[%1Impl]%2").arg(publicClass, name));
    QCOMPARE(processor->property("ToolTip").toString(), QStringLiteral("[%1]%2").arg(publicClass, toolTip));
    QVERIFY(!processor->property("toolTip").isValid());
    QCOMPARE(processor->property("IconName").toString(), iconName);
}

#endif
