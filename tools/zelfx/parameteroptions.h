#ifndef ZELFX_PARAMETEROPTIONS_H
#define ZELFX_PARAMETEROPTIONS_H

#include "status.h"

#include <QList>
#include <QString>

class ZelImageProcessor;

// One of the options that change an effect before it runs, applied in command-line order.
struct ParameterOption
{
    enum Kind { Set, SetUI, Settings, Call };
    Kind kind;
    QString argument;
};

// In the given order; stops at the first that fails.
Status applyParameterOptions(ZelImageProcessor* effect, const QList<ParameterOption>& options);

// "KEY=VALUE", the text converted to the parameter's current type; through the container's
// setValue, or its setUIValue (user-visible units) when inUserUnits.
Status applySetOption(ZelImageProcessor* effect, const QString& assignment, bool inUserUnits);
// Settings XML as settingsDocument writes it; every parameter reads its own value.
Status applySettingsFile(ZelImageProcessor* effect, const QString& path);
// "NAME(ARG,...)": invokes a public method of the effect with the arguments converted.
Status applyCall(ZelImageProcessor* effect, const QString& call);

// The effect's settings as an XML document: the container's element under a <zelfx> root.
Status settingsDocument(const ZelImageProcessor& effect, QString* xml);

#endif
