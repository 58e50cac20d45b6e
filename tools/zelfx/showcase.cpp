#include "showcase.h"

#include "effects.h"
#include "parameteroptions.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"

#include <QDomDocument>
#include <QFile>

#include <memory>

namespace {

// A chain step or reference is set up by its own showcase, which could name the first effect
// again; this bounds the nesting.
const int kMaximumNesting = 3;

QString showcasePath(const QMetaObject* effect)
{
    return QStringLiteral(":/showcase/%1.xml").arg(effectShortName(effect));
}

QString applyShowcaseNested(ZelImageProcessor* effect, const QImage& source, ShowcaseInput input, int depth);

ZelImageProcessor* createNested(const QString& shortName, const QImage& source, int depth)
{
    const QMetaObject* meta = ZelEffectRegistry::find(shortName.trimmed());
    ZelImageProcessor* effect = meta ? ZelEffectRegistry::create(meta) : nullptr;
    // A step or reference works on what it is handed, never on a picture of its own.
    if (effect)
        applyShowcaseNested(effect, source, ShowcaseInput::Ignore, depth + 1);
    return effect;
}

void addChain(ZelImageProcessor* effect, const QDomElement& root, const QImage& source, int depth)
{
    for (QDomElement step = root.firstChildElement(QStringLiteral("chain")); !step.isNull();
         step = step.nextSiblingElement(QStringLiteral("chain"))) {
        ZelImageProcessor* processor = createNested(step.text(), source, depth);
        if (!processor)
            continue;
        processor->setParent(effect);
        QMetaObject::invokeMethod(effect, "addProcessor", Qt::DirectConnection, Q_ARG(ZelImageProcessor*, processor));
    }
}

void setReference(ZelImageProcessor* effect, const QDomElement& root, const QImage& source, int depth)
{
    const QDomElement reference = root.firstChildElement(QStringLiteral("reference"));
    if (reference.isNull() || source.isNull())
        return;
    const std::unique_ptr<ZelImageProcessor> changer(createNested(reference.text(), source, depth));
    if (!changer)
        return;
    changer->setSourceImage(source);
    const QImage changed = changer->result();
    QMetaObject::invokeMethod(effect, "setParameters", Qt::DirectConnection, Q_ARG(QImage, changed));
}

// Tones pulled towards mid-grey so that only percent of the range is left: a flat picture for
// effects that spread the range out again.
QImage withContrast(const QImage& image, int percent)
{
    QImage flat = image.convertToFormat(QImage::Format_ARGB32);
    const auto squeeze = [percent](int v) { return 128 + (v - 128) * percent / 100; };
    for (int y = 0; y < flat.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(flat.scanLine(y));
        for (int x = 0; x < flat.width(); ++x)
            line[x] = qRgba(squeeze(qRed(line[x])), squeeze(qGreen(line[x])), squeeze(qBlue(line[x])), qAlpha(line[x]));
    }
    return flat;
}

void useInput(ZelImageProcessor* effect, const QDomElement& root, const QImage& source)
{
    const QDomElement input = root.firstChildElement(QStringLiteral("input"));
    if (input.isNull())
        return;
    QImage picture = source;
    const QString photo = input.attribute(QStringLiteral("photo"));
    if (!photo.isEmpty())
        picture = QImage(QStringLiteral(":/showcase/") + photo);
    const QStringList section = input.attribute(QStringLiteral("section")).split(QLatin1Char(','));
    if (section.size() == 4)
        picture = picture.copy(section[0].toInt(), section[1].toInt(), section[2].toInt(), section[3].toInt());
    bool hasContrast = false;
    const int contrast = input.attribute(QStringLiteral("contrast")).toInt(&hasContrast);
    if (hasContrast)
        picture = withContrast(picture, qBound(0, contrast, 100));
    // A picture that is not there leaves the effect on source rather than on nothing.
    if (picture.isNull())
        return;
    effect->setSourceImage(picture);
    for (QDomElement call = input.firstChildElement(QStringLiteral("call")); !call.isNull();
         call = call.nextSiblingElement(QStringLiteral("call")))
        applyCall(effect, call.text());
}

QString applyShowcaseNested(ZelImageProcessor* effect, const QImage& source, ShowcaseInput input, int depth)
{
    const QDomDocument document = showcaseDocument(effect->metaObject());
    if (document.isNull())
        return QString();
    const QString path = showcasePath(effect->metaObject());
    const QDomElement root = document.documentElement();
    for (QDomElement call = root.firstChildElement(QStringLiteral("call")); !call.isNull();
         call = call.nextSiblingElement(QStringLiteral("call")))
        applyCall(effect, call.text());
    if (!root.firstChildElement(settingsTagName(*effect)).isNull())
        applySettingsFile(effect, path);
    if (depth < kMaximumNesting) {
        addChain(effect, root, source, depth);
        setReference(effect, root, source, depth);
    }
    if (input == ShowcaseInput::Use)
        useInput(effect, root, source);
    return document.toString(2);
}

} // namespace

QDomDocument showcaseDocument(const QMetaObject* effect)
{
    QFile file(showcasePath(effect));
    QDomDocument document;
    if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file))
        return QDomDocument();
    return document;
}

QString applyShowcase(ZelImageProcessor* effect, const QImage& source, ShowcaseInput input)
{
    return applyShowcaseNested(effect, source, input, 0);
}
