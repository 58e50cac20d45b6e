#ifndef ZELMETATYPECOREREGISTRY_H
#define ZELMETATYPECOREREGISTRY_H

#include <QMetaType>
#include <QPainterPath>

// The application's registry of meta-types that travel inside QVariant, for example the area a
// convolution has to avoid, which is a QPainterPath parameter.
class ZelMetaTypeCoreRegistry
{
public:
    static ZelMetaTypeCoreRegistry& instance();

    // Registers QPainterPath as a meta-type on the first call; returns its QVariant user type id.
    int qPainterPathVariantUserType();

private:
    ZelMetaTypeCoreRegistry();
    ZelMetaTypeCoreRegistry(const ZelMetaTypeCoreRegistry&) = delete;
    ZelMetaTypeCoreRegistry& operator=(const ZelMetaTypeCoreRegistry&) = delete;

    int myPainterPathType;
};

// QPainterPath values travel inside QVariant (QVariant::fromValue / value<QPainterPath>()).
Q_DECLARE_METATYPE(QPainterPath)

#endif
