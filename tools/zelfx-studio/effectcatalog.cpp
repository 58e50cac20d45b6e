#include "effectcatalog.h"

#include "effectsettings.h"
#include "showcase.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"

#include <QFutureWatcher>
#include <QHash>
#include <QPixmap>
#include <QtConcurrent>

#include <memory>

namespace {

const QSize kIconSize(48, 48);

// By the folder the effect's sources live in; effects outside the family folders are the
// framework's own examples.
const QHash<QString, QString> kFamilies = {
    {"AdjustContrast", "Tonal"}, {"AdjustHSB", "Tonal"}, {"AdjustRGBIntensity", "Tonal"},
    {"BlackWhite", "Tonal"}, {"Combine", "Tonal"}, {"ContrastStretch", "Tonal"},
    {"GammaCorrection", "Tonal"}, {"Grayscale", "Tonal"}, {"Intensity", "Tonal"}, {"Invert", "Tonal"},
    {"Tint", "Tonal"},
    {"BackgroundImage", "Filter"}, {"Convolution", "Filter"}, {"StrongContur", "Filter"},
    {"WeakContur", "Filter"},
    {"Arc", "ImageMagick"}, {"Charcoal", "ImageMagick"}, {"Emboss", "ImageMagick"},
    {"Explode", "ImageMagick"}, {"Implode", "ImageMagick"}, {"MotionBlur", "ImageMagick"},
    {"OilPainting", "ImageMagick"}, {"Posterize", "ImageMagick"}, {"Sepia", "ImageMagick"},
    {"Shade", "ImageMagick"}, {"Sketch", "ImageMagick"}, {"Swirl", "ImageMagick"}, {"Wave", "ImageMagick"},
    {"Illusion", "Distortion"}, {"Mosaic", "Distortion"}, {"Ripple", "Distortion"},
    {"SoftLense", "Distortion"}, {"Splash", "Distortion"}, {"ThreeDGrid", "Distortion"},
    {"Compare", "Composition"}, {"Composer", "Composition"}, {"DropShadow", "Composition"},
    {"ExampleComposer", "Composition"}, {"FotoCollage", "Composition"}, {"ImageGrid", "Composition"},
    {"PhotosInPhoto", "Composition"},
    {"Cut", "Geometry"}, {"RedEyeRemoval", "Geometry"}, {"Rotate", "Geometry"}, {"Scale", "Geometry"},
    {"Shift", "Geometry"},
};

// The two flips, rotate and scale spell the property in lower case.
QString toolTipOf(const ZelImageProcessor& effect)
{
    const QVariant toolTip = effect.property("ToolTip");
    return toolTip.isValid() ? toolTip.toString() : effect.property("toolTip").toString();
}

QImage iconPreview(const QMetaObject* meta, const QImage& sample)
{
    const std::unique_ptr<ZelImageProcessor> effect = createShowcaseEffect(meta, sample);
    if (!effect)
        return QImage();
    effect->setParameters(EffectSettings::unsharedContainer(meta, showcaseSettings(meta)));
    return effect->generatePreview(kIconSize);
}

} // namespace

// The resources live in a static library, whose registration the linker would otherwise drop.
static void initStudioResources()
{
    Q_INIT_RESOURCE(studio);
}

QImage iconSample()
{
    initStudioResources();
    static const QImage sample = QImage(QStringLiteral(":/studio/sample.png"))
                                     .scaled(kIconSize * 2, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                                     .convertToFormat(QImage::Format_ARGB32);
    return sample;
}

EffectCatalog::EffectCatalog(QObject* parent)
    : QStandardItemModel(parent)
{
    // One thread: effects share a few unlocked singletons (the kernel generator) that must not
    // be first used from two threads at once, and the window's previews need the other core.
    myIconPool.setMaxThreadCount(1);
    const QImage sample = iconSample();
    for (const QMetaObject* meta : ZelEffectRegistry::effects()) {
        const QString shortName = ZelEffectRegistry::shortName(meta);
        const std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(meta));
        if (!effect)
            continue;
        // A few of the framework's examples have no display name.
        const QString name = effect->effectName().isEmpty() ? shortName : effect->effectName();
        auto* item = new QStandardItem(name);
        item->setToolTip(toolTipOf(*effect));
        item->setData(shortName, ShortNameRole);
        item->setEditable(false);
        familyItem(family(shortName))->appendRow(item);
        drawIcon(item, meta, sample);
    }
}

EffectCatalog::~EffectCatalog()
{
    myIconPool.clear();
    myIconPool.waitForDone();
}

QString EffectCatalog::family(const QString& shortName)
{
    return kFamilies.value(shortName, QStringLiteral("Basics"));
}

QModelIndex EffectCatalog::indexOf(const QString& shortName) const
{
    const QModelIndexList found = match(index(0, 0), ShortNameRole, shortName, 1,
                                        Qt::MatchFixedString | Qt::MatchRecursive);
    return found.isEmpty() ? QModelIndex() : found.first();
}

QStandardItem* EffectCatalog::familyItem(const QString& family)
{
    const QList<QStandardItem*> found = findItems(family);
    if (!found.isEmpty())
        return found.first();
    auto* item = new QStandardItem(family);
    item->setEditable(false);
    item->setSelectable(false);
    appendRow(item);
    return item;
}

void EffectCatalog::drawIcon(QStandardItem* item, const QMetaObject* effect, const QImage& sample)
{
    ++myPendingIcons;
    auto* watcher = new QFutureWatcher<QImage>(this);
    connect(watcher, &QFutureWatcher<QImage>::finished, this, [this, watcher, item] {
        watcher->deleteLater();
        const QImage icon = watcher->result();
        if (!icon.isNull())
            item->setIcon(QPixmap::fromImage(icon));
        if (--myPendingIcons == 0)
            emit iconsDone();
    });
    watcher->setFuture(QtConcurrent::run(&myIconPool, iconPreview, effect, sample));
}
