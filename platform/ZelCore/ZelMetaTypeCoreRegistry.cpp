#include "ZelMetaTypeCoreRegistry.h"

#include <QMetaType>
#include <QPainterPath>

ZelMetaTypeCoreRegistry::ZelMetaTypeCoreRegistry()
    : myPainterPathType(qRegisterMetaType<QPainterPath>())
{
}

ZelMetaTypeCoreRegistry& ZelMetaTypeCoreRegistry::instance()
{
    static ZelMetaTypeCoreRegistry registry;
    return registry;
}

int ZelMetaTypeCoreRegistry::qPainterPathVariantUserType()
{
    return myPainterPathType;
}
