#ifndef ZELFX_DESCRIBE_H
#define ZELFX_DESCRIBE_H

#include "status.h"

#include <QJsonObject>
#include <QStringList>

class ZelImageProcessor;

// {"class", "name", "toolTip", "iconName"}
QJsonObject effectSummaryJson(const ZelImageProcessor& effect);
// The summary plus "xmlTag", "parameters" and "invokables".
QJsonObject effectDescriptionJson(const ZelImageProcessor& effect);

// zelfx list [--json | --bench]
Status runList(const QStringList& arguments);
// zelfx describe EFFECT [--json]
Status runDescribe(const QStringList& arguments);

#endif
