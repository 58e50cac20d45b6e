#include "ZelXMLParser.h"

QSize ZelXMLParser::readSize(const QDomElement& element)
{
    return QSize(element.attribute(QStringLiteral("width")).toInt(),
                 element.attribute(QStringLiteral("height")).toInt());
}

QColor ZelXMLParser::colorAttribute(const QDomElement& element, const QString& attribute,
                                    const QColor& defaultColor)
{
    if (!element.hasAttribute(attribute))
        return defaultColor;
    const QColor color(element.attribute(attribute));
    return color.isValid() ? color : defaultColor;
}
