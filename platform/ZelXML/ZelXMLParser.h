#ifndef ZELXMLPARSER_H
#define ZELXMLPARSER_H

#include <QColor>
#include <QDomElement>
#include <QSize>
#include <QString>

class ZelXMLParser
{
public:
    // The size given by the element's integer attributes "width" and "height" (0 where one is
    // missing or not a number).
    static QSize readSize(const QDomElement& element);

    // The colour named by the attribute, parsed as QColor parses names ("#rrggbb", "#aarrggbb",
    // SVG names), or defaultColor when the attribute is missing or unparseable.
    static QColor colorAttribute(const QDomElement& element, const QString& attribute,
                                 const QColor& defaultColor);
};

#endif
