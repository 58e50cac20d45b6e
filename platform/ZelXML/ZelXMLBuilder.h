#ifndef ZELXMLBUILDER_H
#define ZELXMLBUILDER_H

#include <QDomDocument>
#include <QDomElement>
#include <QString>

class ZelXMLBuilder
{
public:
    // Creates an element called name, appends it to node (a document or an element) and returns
    // it. A null node yields a null element.
    static QDomElement buildDomElement(QDomNode& node, const QString& name);
    // The same for a document, which may still be empty (a default-constructed QDomDocument).
    static QDomElement buildDomElement(QDomDocument& document, const QString& name);
};

#endif
