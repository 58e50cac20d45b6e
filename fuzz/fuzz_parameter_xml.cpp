// Settings XML read by single parameters: every parameter of every registered effect, and plain
// ones of every value type, read the document element (and its first child element) with setXML,
// then show their value in the units of the editor and write it back.

#include "FuzzSupport.h"

#include "ZelParameterDescription.h"
#include "ZelParameterDescriptionContainer.h"
#include "ZelParameterDescriptionNumber.h"

#include <QColor>
#include <QDomDocument>
#include <QDomElement>
#include <QSize>
#include <QSizeF>

#include <memory>

namespace {

QList<ZelParameterDescription> parametersToRead()
{
    QList<ZelParameterDescription> parameters;
    for (const QMetaObject* meta : registeredEffects()) {
        std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(meta));
        if (effect)
            parameters += effect->parameterContainer().parameters();
    }
    // Plain parameters of the types the effects may not all use, all under the name "P".
    const QVariant values[] = {QVariant(1), QVariant(1.5), QVariant(true), QVariant(QStringLiteral("text")),
                               QVariant(QColor(Qt::red)), QVariant(QSize(3, 4)), QVariant(QSizeF(3, 4)),
                               QVariant(QPoint(1, 2)), QVariant(QRect(1, 2, 3, 4)), QVariant(1u),
                               QVariant(qlonglong(1)), QVariant(QStringList{QStringLiteral("a")})};
    for (const QVariant& value : values) {
        ZelParameterDescription parameter;
        parameter.setParameterName(QStringLiteral("P"));
        parameter.setValue(value);
        parameter.setDefaultValue(value);
        parameters << parameter;
    }
    // Numeric ones with ordinary, empty and reversed ranges: the editor units divide by the span.
    const QPair<QVariant, QVariant> ranges[] = {{0, 100}, {5, 5}, {10, -10}, {0.0, 1.0}, {2.5, 2.5}};
    for (const auto& range : ranges) {
        ZelParameterDescriptionNumber number;
        number.setParameterName(QStringLiteral("P"));
        number.setValue(range.first);
        number.setDefaultValue(range.first);
        number.setRange(range.first, range.second);
        number.setUserVisibleRange(range.second, range.first);
        parameters << number;
    }
    return parameters;
}

void exercise(ZelParameterDescription parameter, const QDomElement& element)
{
    parameter.setXML(element);
    (void)parameter.uiValue();
    (void)parameter.defaultUIValue();
    parameter.setUIValue(parameter.value());
    QDomDocument written;
    QDomElement root = written.createElement(QStringLiteral("r"));
    written.appendChild(root);
    parameter.toXml(root);
    parameter.setXML(root);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    zelFuzzInitialize();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QList<ZelParameterDescription> parameters = parametersToRead();
    QDomDocument document;
    if (!document.setContent(QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size))))
        return 0;
    const QDomElement root = document.documentElement();
    const QDomElement child = root.firstChildElement();
    for (const ZelParameterDescription& parameter : parameters) {
        exercise(parameter, root);
        if (!child.isNull())
            exercise(parameter, child);
    }
    return 0;
}
