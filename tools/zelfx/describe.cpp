#include "describe.h"

#include "bench.h"
#include "console.h"
#include "effects.h"
#include "options.h"
#include "valueconversion.h"

#include "ZelEffectRegistry.h"
#include "ZelImageProcessor.h"
#include "ZelParameterDescriptionContainer.h"
#include "ZelParameterDescriptionNumber_p.h"

#include <QColor>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QPoint>

namespace {

// Numbers and booleans as JSON numbers and booleans, everything else in the text form that
// --set reads back; null where there is no value.
QJsonValue jsonValue(const QVariant& value)
{
    switch (int(value.type())) {
    case QMetaType::UnknownType:
        return QJsonValue();
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        return value.toDouble();
    case QMetaType::QColor:
        if (!value.value<QColor>().isValid())
            return QJsonValue();
        break;
    default:
        break;
    }
    return formatValue(value);
}

// The meta-type's name, also for values of user types such as QPainterPath.
QJsonValue typeNameJson(const QVariant& value)
{
    const char* name = QMetaType::typeName(value.userType());
    return name ? QJsonValue(QString::fromLatin1(name)) : QJsonValue();
}

QJsonObject parameterJson(const ZelParameterDescriptionContainer& container, const QString& key)
{
    const ZelParameterDescription parameter = container.parameter(key);
    // Only the shared data is read: the numeric accessors of the value class detach, and a
    // detached numeric parameter turns plain.
    const ZelParameterDescriptionImpl* data = parameter.constData();
    const auto* number = dynamic_cast<const ZelParameterDescriptionNumberImpl*>(data);
    const QPoint position = container.position(key);
    return QJsonObject{
        {QStringLiteral("key"), key},
        {QStringLiteral("visibleName"), data->visibleName()},
        {QStringLiteral("type"), typeNameJson(data->value())},
        {QStringLiteral("value"), jsonValue(data->value())},
        {QStringLiteral("default"), jsonValue(data->defaultValue())},
        {QStringLiteral("min"), number ? jsonValue(number->min()) : QJsonValue()},
        {QStringLiteral("max"), number ? jsonValue(number->max()) : QJsonValue()},
        {QStringLiteral("uiMin"), number ? jsonValue(number->minUserVisibleValue()) : QJsonValue()},
        {QStringLiteral("uiMax"), number ? jsonValue(number->maxUserVisibleValue()) : QJsonValue()},
        {QStringLiteral("checkable"), data->isCheckable()},
        {QStringLiteral("enabled"), data->isEnabled()},
        {QStringLiteral("visible"), data->visibleInUI()},
        {QStringLiteral("row"), position.x()},
        {QStringLiteral("column"), position.y()},
    };
}

QString jsonText(const QJsonValue& value)
{
    if (value.isNull())
        return QStringLiteral("-");
    if (value.isBool())
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    if (value.isDouble())
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    return value.toString();
}

QString parameterText(const QJsonObject& parameter)
{
    auto field = [&parameter](const char* name) { return jsonText(parameter.value(QLatin1String(name))); };
    QStringList parts;
    parts << QStringLiteral("%1 (%2) \"%3\" = %4, default %5")
                 .arg(field("key"), field("type"), field("visibleName"), field("value"), field("default"));
    if (!parameter.value(QLatin1String("min")).isNull()) {
        parts << QStringLiteral("range %1..%2, shown as %3..%4")
                     .arg(field("min"), field("max"), field("uiMin"), field("uiMax"));
    }
    parts << QStringLiteral("row %1, column %2").arg(field("row"), field("column"));
    if (parameter.value(QLatin1String("checkable")).toBool())
        parts << QStringLiteral("checkable");
    if (!parameter.value(QLatin1String("enabled")).toBool())
        parts << QStringLiteral("disabled");
    if (!parameter.value(QLatin1String("visible")).toBool())
        parts << QStringLiteral("hidden");
    return QStringLiteral("    ") + parts.join(QStringLiteral(", ")) + QLatin1Char('\n');
}

QString descriptionText(const QString& shortName, const QJsonObject& description)
{
    auto field = [&description](const char* name) { return description.value(QLatin1String(name)).toString(); };
    QString text = QStringLiteral("%1: %2\n").arg(shortName, field("name"));
    text += QStringLiteral("  class:    %1\n").arg(field("class"));
    text += QStringLiteral("  tooltip:  %1\n").arg(field("toolTip"));
    text += QStringLiteral("  icon:     %1\n").arg(field("iconName"));
    text += QStringLiteral("  xml tag:  %1\n").arg(field("xmlTag"));
    const QJsonArray parameters = description.value(QLatin1String("parameters")).toArray();
    text += parameters.isEmpty() ? QStringLiteral("  parameters: none\n") : QStringLiteral("  parameters:\n");
    for (const QJsonValue& parameter : parameters)
        text += parameterText(parameter.toObject());
    text += QStringLiteral("  invokables:\n");
    for (const QJsonValue& signature : description.value(QLatin1String("invokables")).toArray())
        text += QStringLiteral("    ") + signature.toString() + QLatin1Char('\n');
    return text;
}

Status listBenchmarkedEffects()
{
    QString text;
    for (const QMetaObject* meta : ZelEffectRegistry::effects()) {
        if (isBenchmarked(meta))
            text += effectShortName(meta) + QLatin1Char('\n');
    }
    printOut(text);
    return Status::success();
}

QJsonObject summaryOf(const QMetaObject* meta)
{
    std::unique_ptr<ZelImageProcessor> effect;
    const Status status = createEffect(meta, QImage(), &effect);
    if (status.ok())
        return effectSummaryJson(*effect);
    printErr(QStringLiteral("zelfx: warning: %1\n").arg(status.message));
    return QJsonObject{{QStringLiteral("class"), QString::fromLatin1(meta->className())},
                       {QStringLiteral("name"), QString()},
                       {QStringLiteral("toolTip"), QString()},
                       {QStringLiteral("iconName"), QString()}};
}

} // namespace

QJsonObject effectSummaryJson(const ZelImageProcessor& effect)
{
    return QJsonObject{
        {QStringLiteral("class"), QString::fromLatin1(effect.metaObject()->className())},
        {QStringLiteral("name"), effect.effectName()},
        {QStringLiteral("toolTip"), effectToolTip(&effect)},
        {QStringLiteral("iconName"), effectIconName(&effect)},
    };
}

QJsonObject effectDescriptionJson(const ZelImageProcessor& effect)
{
    const ZelParameterDescriptionContainer container = effect.parameterContainer();
    QJsonArray parameters;
    for (const QString& key : container.parameterNames())
        parameters.append(parameterJson(container, key));

    QJsonObject description = effectSummaryJson(effect);
    description.insert(QStringLiteral("xmlTag"), containerTagName(container));
    description.insert(QStringLiteral("parameters"), parameters);
    description.insert(QStringLiteral("invokables"), QJsonArray::fromStringList(invokableSignatures(effect.metaObject())));
    return description;
}

Status runList(const QStringList& arguments)
{
    const QString command = QStringLiteral("list");
    CommandLine commandLine;
    Status status = parseCommandLine(command, arguments, AcceptJson | AcceptBenchList, &commandLine);
    if (status.ok())
        status = expectPositional(command, commandLine, {});
    if (!status.ok())
        return status;
    if (commandLine.json && commandLine.benchList)
        return Status::usageError(QStringLiteral("--json and --bench exclude each other"));
    if (commandLine.benchList)
        return listBenchmarkedEffects();

    QJsonArray summaries;
    QString text;
    for (const QMetaObject* meta : ZelEffectRegistry::effects()) {
        const QJsonObject summary = summaryOf(meta);
        summaries.append(summary);
        text += QStringLiteral("%1\t%2\n").arg(effectShortName(meta), summary.value(QLatin1String("name")).toString());
    }
    printOut(commandLine.json ? QString::fromUtf8(QJsonDocument(summaries).toJson()) : text);
    return Status::success();
}

Status runDescribe(const QStringList& arguments)
{
    const QString command = QStringLiteral("describe");
    CommandLine commandLine;
    Status status = parseCommandLine(command, arguments, AcceptJson, &commandLine);
    if (status.ok())
        status = expectPositional(command, commandLine, {QStringLiteral("EFFECT")});
    if (!status.ok())
        return status;

    const QMetaObject* meta = nullptr;
    status = findEffect(commandLine.positional.at(0), &meta);
    std::unique_ptr<ZelImageProcessor> effect;
    if (status.ok())
        status = createEffect(meta, QImage(), &effect);
    if (!status.ok())
        return status;

    const QJsonObject description = effectDescriptionJson(*effect);
    printOut(commandLine.json ? QString::fromUtf8(QJsonDocument(description).toJson())
                              : descriptionText(effectShortName(meta), description));
    return Status::success();
}
