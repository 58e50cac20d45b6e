#ifndef ZELXMLBUILDER_H
#define ZELXMLBUILDER_H

#include <QDomElement>
#include <QString>

class ZelXMLBuilder
{
public:
    // Creates an element called name, appends it to node (a document or an element) and returns
    // it. A null node yields a null element.
    static QDomElement buildDomElement(QDomNode& node, const QString& name);
};

#endif
