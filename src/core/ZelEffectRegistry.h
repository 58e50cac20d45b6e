#ifndef ZELEFFECTREGISTRY_H
#define ZELEFFECTREGISTRY_H

#include <QImage>
#include <QList>
#include <QString>

class ZelImageProcessor;
struct QMetaObject;

// Knows every public effect class of the library by its meta-object, so that tools and
// applications can list effects and construct one by name. Every effect class has Q_INVOKABLE
// constructors (a default one and one taking the source QImage).
class ZelEffectRegistry
{
public:
    // Every effect class, in the order of the registry's table.
    static QList<const QMetaObject*> effects();
    // By class name ("ZelImageProcessorFlipHorizontal") or short name ("FlipHorizontal"),
    // case-insensitively; null when there is no such effect.
    static const QMetaObject* find(const QString& name);
    // The class name without the "ZelImageProcessor" prefix.
    static QString shortName(const QMetaObject* effect);
    // A new effect object (the caller owns it), on image unless image is null; null when the
    // class cannot be constructed that way. An effect without a constructor on one image but
    // with one on several (Combine) gets image for each.
    static ZelImageProcessor* create(const QMetaObject* effect, const QImage& image = QImage());
};

#endif
