#include "ZelXMLBuilder.h"

#include <QDomDocument>

QDomElement ZelXMLBuilder::buildDomElement(QDomNode& node, const QString& name)
{
    QDomDocument document = node.isDocument() ? node.toDocument() : node.ownerDocument();
    if (document.isNull())
        return QDomElement();
    QDomElement element = document.createElement(name);
    node.appendChild(element);
    return element;
}

QDomElement ZelXMLBuilder::buildDomElement(QDomDocument& document, const QString& name)
{
    QDomElement element = document.createElement(name);
    document.appendChild(element);
    return element;
}
