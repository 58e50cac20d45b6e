// Settings XML read by parameter containers: the container of every registered effect reads the
// document's root element as the parent of its own element, and is written back. Reading leaves a
// container's values as they were (each parameter reads into a copy); a change aborts.

#include "FuzzSupport.h"

#include "ZelParameterDescriptionContainer.h"

#include <QDomDocument>
#include <QDomElement>

#include <memory>

namespace {

QList<ZelParameterDescriptionContainer> containersToRead()
{
    QList<ZelParameterDescriptionContainer> containers;
    for (const QMetaObject* meta : registeredEffects()) {
        std::unique_ptr<ZelImageProcessor> effect(ZelEffectRegistry::create(meta));
        if (effect)
            containers << effect->parameterContainer();
    }
    return containers;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    zelFuzzInitialize();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QList<ZelParameterDescriptionContainer> containers = containersToRead();
    QDomDocument document;
    if (!document.setContent(QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size))))
        return 0;
    const QDomElement root = document.documentElement();
    for (const ZelParameterDescriptionContainer& original : containers) {
        ZelParameterDescriptionContainer container = original;
        container.setXML(root);
        container.setXML(root.firstChildElement());
        if (container != original) {
            fprintf(stderr, "reading XML changed the container %s\n", qPrintable(original.typeName()));
            abort();
        }
        QDomElement parent = document.createElement(QStringLiteral("written"));
        container.toXml(parent);
    }
    return 0;
}
