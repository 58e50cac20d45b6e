#include "parameteroptions.h"

#include "effects.h"
#include "valueconversion.h"

#include "ZelImageProcessor.h"
#include "ZelParameterDescriptionContainer.h"

#include <QDomDocument>
#include <QDomElement>
#include <QFile>
#include <QGenericArgument>
#include <QMetaEnum>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QVector>

#include <algorithm>

// A numeric parameter whose data is shared turns plain when it is written (copy on write copies
// the common fields only). So the effect's container is read only through short-lived copies,
// which are gone before the effect writes its own container.

namespace {

const int maximumInvokeArguments = 10;

QString effectLabel(const ZelImageProcessor& effect)
{
    return effectShortName(effect.metaObject());
}

QStringList parameterNames(const ZelImageProcessor& effect)
{
    return effect.parameterContainer().parameterNames();
}

bool hasParameter(const ZelImageProcessor& effect, const QString& key)
{
    return effect.parameterContainer().contains(key);
}

// The meta-type id, also for values of user types such as QPainterPath.
int parameterType(const ZelImageProcessor& effect, const QString& key)
{
    return effect.parameterContainer().parameter(key).value().userType();
}

Status unknownParameter(const ZelImageProcessor& effect, const QString& key)
{
    const QStringList names = parameterNames(effect);
    const QString known = names.isEmpty() ? QStringLiteral("it has none")
                                          : QStringLiteral("its parameters: ") + names.join(QStringLiteral(", "));
    return Status::failure(ExitUsage, QStringLiteral("effect %1 has no parameter %2 (%3)")
                                          .arg(effectLabel(effect), key, known));
}

struct CallExpression
{
    QString name;
    QStringList tokens;
};

bool parseCallExpression(const QString& text, CallExpression* call)
{
    static const QRegularExpression pattern(QStringLiteral("^\\s*([A-Za-z_]\\w*)\\s*\\((.*)\\)\\s*$"),
                                            QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return false;
    call->name = match.captured(1);
    const QString arguments = match.captured(2);
    call->tokens.clear();
    if (arguments.trimmed().isEmpty())
        return true;
    for (const QString& token : arguments.split(QLatin1Char(',')))
        call->tokens << token.trimmed();
    return true;
}

// Rectangles and points are written with commas themselves, so they span several tokens;
// kernels and painter paths span as many as the arguments after them leave (-1 here).
int tokensPerArgument(int typeId)
{
    if (isVariableLengthType(typeId))
        return -1;
    switch (typeId) {
    case QMetaType::QRect:
    case QMetaType::QRectF:
        return 4;
    case QMetaType::QPoint:
    case QMetaType::QPointF:
        return 2;
    default:
        return 1;
    }
}

// A Q_ENUM of the class that declares method, for a parameter type such as "BackGroundMode";
// invalid for every other type.
QMetaEnum enumParameter(const QMetaMethod& method, const QByteArray& typeName)
{
    const QMetaObject* owner = method.enclosingMetaObject();
    const QByteArray name = typeName.mid(typeName.lastIndexOf(':') + 1);
    const int index = owner ? owner->indexOfEnumerator(name.constData()) : -1;
    return index < 0 ? QMetaEnum() : owner->enumerator(index);
}

bool isConvertibleParameter(const QMetaMethod& method, const QByteArray& typeName)
{
    return isConvertibleType(typeIdForName(typeName)) || enumParameter(method, typeName).isValid();
}

bool hasUnconvertibleParameter(const QMetaMethod& method)
{
    const QList<QByteArray> typeNames = method.parameterTypes();
    return std::any_of(typeNames.begin(), typeNames.end(),
                       [&](const QByteArray& typeName) { return !isConvertibleParameter(method, typeName); });
}

// An enumerator given by its key or its number.
bool convertEnumText(const QString& text, const QMetaEnum& enumeration, QVariant* value)
{
    bool ok = false;
    int number = text.toInt(&ok);
    if (!ok)
        number = enumeration.keyToValue(text.toLatin1().constData(), &ok);
    if (ok)
        *value = QVariant(number);
    return ok;
}

QString enumKeys(const QMetaEnum& enumeration)
{
    QStringList keys;
    for (int i = 0; i < enumeration.keyCount(); ++i)
        keys << QString::fromLatin1(enumeration.key(i));
    return keys.join(QStringLiteral(", "));
}

// The argument texts for method's parameters, or false when the tokens do not fit them. A kernel
// text must convert here already, so that a 2-D kernel finds the 2-D overload.
bool splitArguments(const QMetaMethod& method, const QStringList& tokens, QStringList* arguments)
{
    if (method.parameterCount() > maximumInvokeArguments)
        return false;
    QVector<int> counts;
    int fixedTokens = 0;
    int variableArguments = 0;
    for (const QByteArray& typeName : method.parameterTypes()) {
        const int typeId = typeIdForName(typeName);
        if (!isConvertibleParameter(method, typeName))
            return false;
        counts << tokensPerArgument(typeId);
        if (counts.last() < 0)
            ++variableArguments;
        else
            fixedTokens += counts.last();
    }
    if (variableArguments > 1 || (variableArguments == 1 && fixedTokens >= tokens.size()))
        return false;
    int next = 0;
    for (int i = 0; i < counts.size(); ++i) {
        const int count = counts.at(i) < 0 ? tokens.size() - fixedTokens : counts.at(i);
        if (next + count > tokens.size())
            return false;
        arguments->append(tokens.mid(next, count).join(QLatin1Char(',')));
        QVariant ignored;
        if (counts.at(i) < 0 && !convertText(arguments->last(), typeIdForName(method.parameterTypes().at(i)), &ignored))
            return false;
        next += count;
    }
    return next == tokens.size();
}

Status convertArgument(const ZelImageProcessor& effect, const QMetaMethod& method, int index,
                       const QString& text, QVariant* value)
{
    const QByteArray typeName = method.parameterTypes().at(index);
    const int typeId = typeIdForName(typeName);
    const QMetaEnum enumeration = enumParameter(method, typeName);
    QString reason;
    if (enumeration.isValid() ? convertEnumText(text, enumeration, value) : convertText(text, typeId, value, &reason))
        return Status::success();
    const QString where = QStringLiteral("argument %1 of %2 on effect %3")
                              .arg(index + 1)
                              .arg(QString::fromLatin1(method.methodSignature()), effectLabel(effect));
    if (enumeration.isValid()) {
        return Status::failure(ExitUsage, QStringLiteral("%1 expects one of %2 or a number, got \"%3\"")
                                              .arg(where, enumKeys(enumeration), text));
    }
    if (isImageType(typeId))
        return Status::failure(ExitInputUnreadable, QStringLiteral("%1: %2").arg(where, reason));
    return Status::failure(ExitUsage, QStringLiteral("%1 expects %2, got \"%3\"").arg(where, expectedForm(typeId), text));
}

Status invoke(ZelImageProcessor* effect, const QMetaMethod& method, const QStringList& arguments)
{
    const QList<QByteArray> typeNames = method.parameterTypes();
    QVector<QVariant> values(typeNames.size());
    for (int i = 0; i < typeNames.size(); ++i) {
        const Status status = convertArgument(*effect, method, i, arguments.at(i), &values[i]);
        if (!status.ok())
            return status;
    }
    QGenericArgument a[maximumInvokeArguments];
    for (int i = 0; i < typeNames.size(); ++i)
        a[i] = QGenericArgument(typeNames.at(i).constData(), values[i].data());
    if (method.invoke(effect, Qt::DirectConnection, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]))
        return Status::success();
    return Status::failure(ExitUsage, QStringLiteral("calling %1 on effect %2 failed")
                                          .arg(QString::fromLatin1(method.methodSignature()), effectLabel(*effect)));
}

Status applyParameterOption(ZelImageProcessor* effect, const ParameterOption& option)
{
    switch (option.kind) {
    case ParameterOption::Set:
        return applySetOption(effect, option.argument, false);
    case ParameterOption::SetUI:
        return applySetOption(effect, option.argument, true);
    case ParameterOption::Settings:
        return applySettingsFile(effect, option.argument);
    case ParameterOption::Call:
        return applyCall(effect, option.argument);
    }
    return Status::success();
}

} // namespace

Status applyParameterOptions(ZelImageProcessor* effect, const QList<ParameterOption>& options)
{
    for (const ParameterOption& option : options) {
        const Status status = applyParameterOption(effect, option);
        if (!status.ok())
            return status;
    }
    return Status::success();
}

Status applySetOption(ZelImageProcessor* effect, const QString& assignment, bool inUserUnits)
{
    const int separator = assignment.indexOf(QLatin1Char('='));
    if (separator <= 0) {
        const QString option = inUserUnits ? QStringLiteral("--set-ui") : QStringLiteral("--set");
        return Status::usageError(QStringLiteral("%1 expects KEY=VALUE, got \"%2\"").arg(option, assignment));
    }
    const QString key = assignment.left(separator);
    const QString text = assignment.mid(separator + 1);
    if (!hasParameter(*effect, key))
        return unknownParameter(*effect, key);

    const int typeId = parameterType(*effect, key);
    QVariant value;
    if (!isConvertibleType(typeId) || isImageType(typeId) || !convertText(text, typeId, &value)) {
        return Status::failure(ExitUsage, QStringLiteral("parameter %1 of effect %2 expects %3, got \"%4\"")
                                              .arg(key, effectLabel(*effect), expectedForm(typeId), text));
    }
    ZelUIParameterMap entry;
    entry.insert(key, qMakePair(value, true));
    if (inUserUnits)
        effect->setUIParameters(entry);
    else
        effect->setParameters(entry);
    return Status::success();
}

Status applySettingsFile(ZelImageProcessor* effect, const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return Status::failure(ExitUsage, QStringLiteral("cannot read settings file %1: %2")
                                              .arg(path, file.errorString()));
    }
    QDomDocument document;
    QString error;
    int line = 0;
    int column = 0;
    if (!document.setContent(&file, &error, &line, &column)) {
        return Status::failure(ExitUsage, QStringLiteral("malformed XML in settings file %1 at line %2, column %3: %4")
                                              .arg(path)
                                              .arg(line)
                                              .arg(column)
                                              .arg(error));
    }
    const QString tag = settingsTagName(*effect);
    const QDomElement element = document.documentElement().firstChildElement(tag);
    if (element.isNull()) {
        return Status::failure(ExitUsage, QStringLiteral("settings file %1 has no element <%2> for effect %3")
                                              .arg(path, tag, effectLabel(*effect)));
    }
    // The container's own setXML leaves its values as they are, so each parameter reads its own.
    for (const QString& name : parameterNames(*effect)) {
        ZelParameterDescription parameter = effect->parameterContainer().parameter(name);
        parameter.setXML(element);
        effect->setParameters(QList<ZelParameterDescription>{parameter});
    }
    return Status::success();
}

Status applyCall(ZelImageProcessor* effect, const QString& call)
{
    CallExpression expression;
    if (!parseCallExpression(call, &expression))
        return Status::usageError(QStringLiteral("--call expects NAME(ARG,...), got \"%1\"").arg(call));
    const QList<QMetaMethod> methods = invokableMethods(effect->metaObject());
    for (const QMetaMethod& method : methods) {
        QStringList arguments;
        if (QString::fromLatin1(method.name()) == expression.name
            && splitArguments(method, expression.tokens, &arguments)) {
            return invoke(effect, method, arguments);
        }
    }
    const QString invokables = invokableSignatures(effect->metaObject()).join(QStringLiteral(", "));
    for (const QMetaMethod& method : methods) {
        if (QString::fromLatin1(method.name()) == expression.name && hasUnconvertibleParameter(method)) {
            return Status::failure(ExitUsage, QStringLiteral("effect %1: --call cannot convert text to the arguments of %2; "
                                                             "invokable methods: %3")
                                                  .arg(effectLabel(*effect),
                                                       QString::fromLatin1(method.methodSignature()), invokables));
        }
    }
    return Status::failure(ExitUsage, QStringLiteral("effect %1 has no invokable method matching %2; invokable methods: %3")
                                          .arg(effectLabel(*effect), call.trimmed(), invokables));
}

Status settingsDocument(const ZelImageProcessor& effect, QString* xml)
{
    ZelParameterDescriptionContainer container = effect.parameterContainer();
    container.setXMLTagName(settingsTagName(effect));
    QDomDocument document;
    document.appendChild(document.createProcessingInstruction(QStringLiteral("xml"),
                                                              QStringLiteral("version=\"1.0\" encoding=\"UTF-8\"")));
    QDomElement root = document.createElement(QStringLiteral("zelfx"));
    root.setAttribute(QStringLiteral("effect"), QString::fromLatin1(effect.metaObject()->className()));
    document.appendChild(root);
    container.toXml(root);
    *xml = document.toString(2);
    return Status::success();
}
